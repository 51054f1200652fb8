#include "ado/odbc/command/CallRowset.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ado/Errors.h"
#include "ado/Pieces.h"
#include "ado/RowStore.h"
#include "ado/odbc/command/CallText.h"
#include "ado/odbc/driver/Diagnostics.h"
#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/rows/ReadQuery.h"
#include "ado/odbc/rows/RowReader.h"
#include "ado/odbc/statement/SqlText.h"
#include "ado/odbc/statement/Statement.h"
#include "ado/odbc/values/CommandParameters.h"
#include "ado/odbc/values/ParameterSet.h"
#include "ado/odbc/values/TypeMap.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

constexpr int kMostResults = 100000;

bool ComesOut(const ado::Parameter& parameter) { return parameter.direction != adParamInput; }

[[noreturn]] void Refuse(const std::string& why) { throw runtime::Error(runtime::kOperationNotSupported, why, "odbc"); }
[[noreturn]] void Fail(const std::string& why) { throw runtime::Error(runtime::kProviderFailure, why, "odbc"); }

/// The rows of one result, kept.
struct ResultSet {
  std::vector<ColumnDescription> columns;
  std::vector<FieldInfo> fields;
  RowStore rows;
};

/// A cursor over them.
class CallRowset final : public ProviderRowset {
 public:
  explicit CallRowset(std::unique_ptr<ResultSet> rows) : rows_(std::move(rows)) {}

  [[nodiscard]] const std::vector<FieldInfo>& Fields() const override { return rows_->fields; }
  bool MoveFirst() override { return StandOn(0); }
  bool MoveNext() override { return StandOn(std::min(row_, rows_->rows.Count()) + 1); }
  [[nodiscard]] bool CanScroll() const override { return true; }
  [[nodiscard]] std::size_t RowCount() override { return rows_->rows.Count(); }
  bool MoveTo(std::size_t position) override { return StandOn(position); }
  [[nodiscard]] std::optional<std::size_t> Position() const override { return row_; }
  [[nodiscard]] Variant Value(std::size_t field) override { return rows_->rows.At(row_)[field]; }
  std::size_t ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) override;
  void Insert(std::span<const Assignment>) override { throw AdoError(runtime::kOperationNotSupported); }
  void Update(std::span<const Assignment>) override { throw AdoError(runtime::kOperationNotSupported); }
  void Delete() override { throw AdoError(runtime::kOperationNotSupported); }

 private:
  bool StandOn(std::size_t position) {
    row_ = position;
    chunkField_ = SIZE_MAX;
    return row_ < rows_->rows.Count();
  }

  std::unique_ptr<ResultSet> rows_;
  std::size_t row_ = 0;
  std::size_t chunkField_ = SIZE_MAX;
  std::size_t chunkOffset_ = 0;
};

std::size_t CallRowset::ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) {
  if (std::exchange(chunkField_, field) != field) chunkOffset_ = 0;
  return PieceOf(rows_->rows.At(row_)[field], chunkOffset_, buffer, capacity);
}

/// One execution of a call.
class Call {
 public:
  Call(const std::shared_ptr<Session>& session, const RowsetRequest& request);
  std::unique_ptr<ProviderRowset> Run();

 private:
  void PlanCall();
  void PlanQuery();
  [[nodiscard]] bool IsProcedureOfPostgres() const;
  void Execute();
  [[nodiscard]] std::unique_ptr<ResultSet> Described();
  void Read(ResultSet& result, std::size_t most, const ReadPlan& plan);
  [[nodiscard]] bool NextResult();
  void WalkResults();
  [[nodiscard]] bool IsOutputRow(const ResultSet& result) const;
  [[nodiscard]] std::vector<Variant> Outputs();

  std::shared_ptr<Session> session_;
  const RowsetRequest& request_;
  CallText call_;
  Statement statement_;
  std::string sql_;
  std::vector<ado::Parameter> bound_;
  bool isQuery_ = false;              // described before it runs
  std::size_t wanted_ = 0;            // values that come out
  std::unique_ptr<ResultSet> first_;  // the first result with rows
  std::unique_ptr<ResultSet> last_;   // the last one, where it is another
};

Call::Call(const std::shared_ptr<Session>& session, const RowsetRequest& request)
    : session_(session), request_(request), statement_(session, request.timeoutSeconds) {
  if (!request.outputs) Refuse("Une commande aux paramètres de sortie s'exécute par Command::Execute.");
  auto call = ReadCall(request.source);
  if (!call) Refuse("Des paramètres de sortie ne vont qu'avec l'appel d'une procédure ou d'une fonction.");
  call_ = *std::move(call);
  const auto& parameters = request.parameters;
  wanted_ = static_cast<std::size_t>(std::count_if(parameters.begin(), parameters.end(), ComesOut));
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    const bool returns = parameters[i].direction == adParamReturnValue;
    if (returns != (i == 0 && call_.returns)) Refuse("Une valeur de retour est le premier paramètre de \"{? = call ...}\", et nul autre.");
  }
  if (call_.returns && wanted_ > 1) Refuse("Une fonction a une valeur de retour ou des paramètres de sortie, non les deux.");
  for (const ado::Parameter& one : parameters) {
    if (one.direction == adParamReturnValue) continue;
    bound_.push_back(one);
    if (one.direction == adParamOutput) bound_.back().value = runtime::Null{};
  }
  session_->Facts().callOutputs == CallOutputs::kOnlyRow ? PlanQuery() : PlanCall();
}

void Call::PlanCall() {
  isQuery_ = call_.returns;
  sql_ = (call_.returns ? "SELECT " : "CALL ") + call_.name + "(" + call_.arguments + ")";
}

void Call::PlanQuery() {
  isQuery_ = true;
  if (call_.returns) {
    sql_ = "SELECT " + call_.name + "(" + call_.arguments + ")";
  } else if (!call_.inBraces || IsProcedureOfPostgres()) {
    isQuery_ = false;
    // psqlODBC makes other days of "infinity" and of years that it does not know. Of a query they are asked for as texts.
    for (const ado::Parameter& one : request_.parameters) {
      const bool spoilt = one.type == adDate || one.type == adDBDate || one.type == adDBTimeStamp || one.type == adCurrency;
      if (ComesOut(one) && spoilt)
        Refuse("Une procédure de PostgreSQL ne rend ni jours ni montants de façon sûre : une fonction le fait, ou un texte.");
    }
    sql_ = "CALL " + call_.name + "(" + call_.arguments + ")";
  } else {
    // A function is not given what comes out alone.
    const auto marks = call_.Marks();
    if (!marks || *marks != bound_.size())
      Refuse("Une fonction aux paramètres de sortie s'appelle avec un \"?\" pour chacun de ses paramètres.");
    std::erase_if(bound_, [](const ado::Parameter& one) { return one.direction == adParamOutput; });
    sql_ = "SELECT * FROM " + call_.name + "(";
    for (std::size_t i = 0; i < bound_.size(); ++i) sql_ += i == 0 ? "?" : ",?";
    sql_ += ")";
  }
}

bool Call::IsProcedureOfPostgres() const {
  const bool quoted = call_.name.ends_with('"');
  std::string name = PlainName(call_.name);
  if (!quoted)
    std::transform(name.begin(), name.end(), name.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  ado::Parameter one;
  one.value = name;
  std::int64_t count = 0;
  // Servers before 11 have no procedures, and no such column.
  (void)runtime::IgnoringErrors([&] {
    Statement statement(session_);
    statement.Prepare("SELECT COUNT(*) FROM pg_catalog.pg_proc WHERE prokind = 'p' AND proname = ?");
    ParameterSet set(statement);
    set.Add(one.value, ShapeFor({}, 0, session_->Facts()));
    set.Execute();
    if (statement.Fetch()) count = statement.Integer(1, 0);
  });
  return count > 0;
}

void Call::Execute() {
  ParameterSet set(statement_);
  const BoundTexts texts(sql_, session_->Facts());
  texts.AddTo(set, statement_, bound_, session_->Facts());
  set.Execute();
}

std::unique_ptr<ResultSet> Call::Described() {
  const std::size_t count = statement_.ColumnCount();
  if (count == 0) return nullptr;
  auto result = std::make_unique<ResultSet>();
  for (std::size_t i = 1; i <= count; ++i) result->columns.push_back(statement_.Describe(i));
  for (const auto& column : result->columns) result->fields.push_back(ToFieldInfo(column, session_->Facts()));
  return result;
}

void Call::Read(ResultSet& result, std::size_t most, const ReadPlan& plan) {
  RowReader reader(statement_, result.fields, result.columns, plan);
  reader.Restart();
  std::vector<Variant> row(result.fields.size());
  while (result.rows.Count() < most && reader.Next()) {
    for (std::size_t i = 0; i < row.size(); ++i) row[i] = reader.Value(i);
    result.rows.Add(row);
  }
  // The reader's buffers go with it.
  SQLFreeStmt(statement_.Native(), SQL_UNBIND);
  statement_.SetAttribute(SQL_ATTR_ROW_ARRAY_SIZE, std::size_t{1});
  statement_.SetAttribute(SQL_ATTR_ROWS_FETCHED_PTR, nullptr);
  statement_.SetAttribute(SQL_ATTR_ROW_STATUS_PTR, nullptr);
}

bool Call::NextResult() {
  const auto result = SQLMoreResults(statement_.Native());
  statement_.Check(result);
  return result != SQL_NO_DATA;
}

void Call::WalkResults() {
  for (int results = 0; results < kMostResults; ++results) {
    if (auto result = Described()) {
      const ReadPlan plan = PlanReading(sql_, result->fields, result->columns, *session_, ReadMode::kFast);
      // Of those behind the first only the last one counts, and of it whether it has one row.
      Read(*result, first_ ? 2 : SIZE_MAX, plan);
      (first_ ? last_ : first_) = std::move(result);
    }
    if (!NextResult()) return;
  }
  throw Unbelievable("une instruction aux résultats sans fin");
}

/// MariaDB's row of output parameters is told from the rows of a query by its "table", the procedure.
bool Call::IsOutputRow(const ResultSet& result) const {
  if (isQuery_ || session_->Facts().callOutputs != CallOutputs::kRowBehind) return true;
  const std::string procedure = runtime::UpperCase(PlainName(call_.name));
  return std::all_of(result.columns.begin(), result.columns.end(),
                     [&](const ColumnDescription& column) { return runtime::UpperCase(column.table) == procedure; });
}

/// A value as its parameter's type says. What the type has no room for is refused; where it rounds, as an assignment does.
Variant As(const Variant& value, const ado::Parameter& parameter, const Session& session) {
  if (value.IsNull() || value.IsEmpty()) return runtime::Null{};
  const auto fits = [&](std::size_t length) {
    if (parameter.size <= 0 || static_cast<std::int64_t>(length) <= parameter.size) return;
    Fail("La valeur rendue pour le paramètre \"" + parameter.name + "\" est trop longue : " + std::to_string(length) + " pour " +
         std::to_string(parameter.size) + ".");
  };
  try {
    Variant held = OfType(value, parameter, session.Facts());
    if (const auto* text = held.If<std::string>(); text != nullptr && IsTextType(parameter.type)) fits(runtime::Length(*text));
    if (const auto* bytes = held.If<runtime::Bytes>()) fits(bytes->size());
    return held;
  } catch (const runtime::Error& error) {
    if (session.GeneralNumbers() || (error.Number() != runtime::kTypeMismatch && error.Number() != runtime::kOverflow)) throw;
    throw AdoError(error.Number() == runtime::kTypeMismatch ? runtime::kDataConversion : runtime::kValueRefused, parameter.name);
  }
}

std::vector<Variant> Call::Outputs() {
  auto& given = last_ ? last_ : first_;
  const std::size_t count = given && IsOutputRow(*given) ? given->fields.size() : 0;
  const bool onlyRow = session_->Facts().callOutputs == CallOutputs::kOnlyRow;
  const bool alone = onlyRow && isQuery_ && !call_.returns && count == 1;
  // A function of PostgreSQL without output parameters gives its own value, under its own name.
  const bool isValue = alone && runtime::UpperCase(given->fields[0].name) == runtime::UpperCase(PlainName(call_.name));
  if (count != wanted_ || isValue) {
    Fail(call_.name + " rend " + std::to_string(isValue ? 0 : count) + " paramètres, " + std::to_string(wanted_) + " sont attendus.");
  }
  if (given->rows.Count() != 1) Fail(call_.name + " rend plusieurs lignes, ou aucune, à la place de ses paramètres de sortie.");
  const bool spoilsDays = onlyRow && !isQuery_;
  std::vector<Variant> outputs(request_.parameters.size());
  std::size_t next = 0;
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    const ado::Parameter& parameter = request_.parameters[i];
    if (!ComesOut(parameter)) continue;
    const std::int16_t type = given->fields[next].type;
    const Variant& value = given->rows.At(0)[next++];
    const bool spoilt = spoilsDays && (type == adDBDate || type == adDBTimeStamp || type == adDate || type == adCurrency);
    if (spoilt && !value.IsNull())
      Fail("Le pilote ne rend pas de façon sûre le jour ou le montant du paramètre \"" + parameter.name + "\" d'une procédure.");
    outputs[i] = As(value, parameter, *session_);
  }
  given.reset();
  return outputs;
}

std::unique_ptr<ProviderRowset> Call::Run() {
  if (ChangesSchema(sql_)) session_->SchemaChanged();
  statement_.Prepare(sql_);
  try {
    if (auto described = isQuery_ && session_->Facts().callOutputs == CallOutputs::kOnlyRow ? Described() : nullptr) {
      const ReadPlan plan = PlanReading(sql_, described->fields, described->columns, *session_, ReadMode::kFast);
      if (!plan.sql.empty()) statement_.Prepare(plan.sql);
      Execute();
      Read(*described, 2, plan);
      first_ = std::move(described);
      statement_.FinishResults();
    } else {
      Execute();
      WalkResults();
    }
  } catch (...) {
    (void)runtime::IgnoringErrors([&] { statement_.FinishResults(); });
    throw;
  }
  *request_.outputs = Outputs();
  return first_ ? std::make_unique<CallRowset>(std::move(first_)) : nullptr;
}

}  // namespace

bool HasCalls(const DriverFacts& facts) { return facts.callOutputs != CallOutputs::kNone; }

bool HasOutputs(std::span<const ado::Parameter> parameters) { return std::any_of(parameters.begin(), parameters.end(), ComesOut); }

std::unique_ptr<ProviderRowset> OpenCall(const std::shared_ptr<Session>& session, const RowsetRequest& request) {
  return Call(session, request).Run();
}

}  // namespace tamlo::ado::odbc
