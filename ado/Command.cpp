#include "ado/Command.h"

#include <algorithm>
#include <utility>

#include "ado/Connection.h"
#include "ado/ConnectionState.h"
#include "ado/Errors.h"
#include "ado/NamedMarks.h"
#include "ado/Provider.h"
#include "ado/Recordset.h"
#include "runtime/Text.h"

namespace tamlo::ado {

namespace {

void RequirePosition(std::size_t position, std::size_t count) {
  if (position >= count) throw AdoError(runtime::kItemNotFound, std::to_string(position));
}

std::size_t Find(const std::vector<Parameter>& items, const std::string& name) {
  const auto found = std::find_if(items.begin(), items.end(),
                                  [&](const Parameter& item) { return runtime::UpperCase(item.name) == runtime::UpperCase(name); });
  if (found == items.end()) throw AdoError(runtime::kItemNotFound, name);
  return static_cast<std::size_t>(found - items.begin());
}

}  // namespace

Parameter& Parameters::Item(std::size_t position) {
  RequirePosition(position, items_.size());
  return items_[position];
}

Parameter& Parameters::Item(const std::string& name) { return items_[Find(items_, name)]; }

void Parameters::Delete(std::size_t position) {
  RequirePosition(position, items_.size());
  items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(position));
}

void Parameters::Delete(const std::string& name) { Delete(Find(items_, name)); }

void Command::CommandTimeout(std::int32_t seconds) {
  if (seconds < 0) throw runtime::Error(runtime::kInvalidArgument);
  timeout_ = seconds;
}

/// What is kept of a statement, as long as its connection is open.
struct Command::Prepare final : Dependent {
  Prepare(std::shared_ptr<ConnectionState> owner, std::string sent, std::unique_ptr<ProviderCommand> made)
      : connection(std::move(owner)), statement(std::move(sent)), command(std::move(made)) {
    connection->dependents.push_back(this);
  }
  ~Prepare() { std::erase(connection->dependents, static_cast<Dependent*>(this)); }
  void ConnectionCloses() noexcept override {
    command.reset();
    std::erase(connection->dependents, static_cast<Dependent*>(this));
  }

  std::shared_ptr<ConnectionState> connection;
  std::string statement;
  std::unique_ptr<ProviderCommand> command;  // null once the connection is closed
};

Command::Command() = default;
Command::~Command() = default;
Command::Command(Command&&) noexcept = default;
Command& Command::operator=(Command&&) noexcept = default;

void Command::ActiveConnection(Connection* connection) noexcept {
  state_ = connection == nullptr ? nullptr : connection->state_;
  kept_.reset();
}

Connection* Command::ActiveConnection() const noexcept { return state_ == nullptr ? nullptr : state_->owner; }

void Command::CommandText(std::string text) {
  text_ = std::move(text);
  kept_.reset();
}

void Command::Prepared(bool yes) {
  prepared_ = yes;
  if (!yes) kept_.reset();
}

Connection& Command::Open() const {
  Connection* const connection = ActiveConnection();
  if (connection == nullptr || !connection->IsOpen()) throw AdoError(runtime::kConnectionInvalid);
  return *connection;
}

std::string Command::Statement() const {
  if (type_ != adCmdStoredProc) return type_ == adCmdTable ? Open().Native().TableStatement(text_) : text_;
  const bool returns = parameters_.Count() > 0 && parameters_.items_.front().direction == adParamReturnValue;
  return Open().Native().CallStatement(text_, parameters_.Count(), returns);
}

bool Command::HasOutputs() const noexcept {
  return std::any_of(parameters_.items_.begin(), parameters_.items_.end(),
                     [](const Parameter& one) { return one.direction != adParamInput; });
}

const std::vector<Parameter>& Command::Checked() const {
  if (HasOutputs() && !Open().Native().HasOutputParameters()) throw AdoError(runtime::kOperationNotSupported);
  for (const Parameter& parameter : parameters_.All()) {
    if (parameter.size <= 0) continue;
    const auto* text = parameter.value.If<std::string>();
    const auto* bytes = parameter.value.If<runtime::Bytes>();
    const auto length = static_cast<std::int64_t>(text != nullptr ? runtime::Length(*text) : bytes != nullptr ? bytes->size() : 0);
    if (length > parameter.size)
      throw runtime::Error(runtime::kProviderFailure,
                           "La valeur du paramètre \"" + parameter.name + "\" est trop longue : " + std::to_string(length) + " pour " +
                               std::to_string(parameter.size) + ".",
                           "ado");
  }
  return parameters_.All();
}

void Command::Refresh() {
  ProviderConnection& native = Open().Native();
  const std::string text = type_ == adCmdStoredProc ? native.CallStatement(text_, 0, false) : Statement();
  parameters_.items_ = native.DescribeParameters(text);
}

Command::Sent Command::ToSend() const {
  Sent sent{{}, {}, Checked()};
  if (type_ != adCmdText) {
    sent.made = Statement();
  } else if (auto positioned = Positioned(text_, parameters_.items_)) {
    sent.made = std::move(positioned->text);
    for (const std::size_t position : positioned->order) {
      Parameter& one = sent.placed.emplace_back(parameters_.items_[position]);
      one.name.clear();  // it goes by its place now
    }
    sent.parameters = sent.placed;
  }
  return sent;
}

std::int64_t Command::Execute() {
  ProviderConnection& native = Open().Native();
  if (HasOutputs()) {
    std::int64_t affected = -1;
    (void)ExecuteCall(affected);
    return affected;
  }
  const Sent sent = ToSend();
  const std::string& statement = sent.made.empty() ? text_ : sent.made;
  if (prepared_) {
    if (kept_ == nullptr || kept_->command == nullptr || kept_->statement != statement) {
      kept_.reset();
      if (auto command = native.Prepare(statement)) kept_ = std::make_unique<Prepare>(state_, statement, std::move(command));
    }
    if (kept_ != nullptr) return kept_->command->Execute(sent.parameters, timeout_);
  }
  if (sent.parameters.empty()) return native.Execute(statement, timeout_);
  return native.ExecuteWith(statement, sent.parameters, timeout_);
}

std::int64_t Command::Execute(std::span<const Variant> values) {
  if (parameters_.Count() > values.size()) parameters_.items_.resize(values.size());
  while (parameters_.Count() < values.size()) parameters_.Append({});
  for (std::size_t i = 0; i < values.size(); ++i) parameters_.items_[i].value = values[i];
  return Execute();
}

Recordset Command::ExecuteCall(std::int64_t& recordsAffected) {
  RowsetRequest request;
  request.parameters = Checked();
  request.source = Statement();
  request.lock = adLockReadOnly;
  request.options = adCmdText;
  request.timeoutSeconds = timeout_;
  request.affected = &recordsAffected;
  request.outputs = std::make_shared<std::vector<Variant>>();
  const auto outputs = request.outputs;
  Recordset rows;
  rows.Open(&Open(), std::move(request));
  for (std::size_t i = 0; i < outputs->size() && i < parameters_.Count(); ++i) {
    if (parameters_.items_[i].direction != adParamInput) parameters_.items_[i].value = std::move((*outputs)[i]);
  }
  return rows;
}

Recordset Command::Execute(std::int64_t& recordsAffected) {
  recordsAffected = -1;
  if (HasOutputs()) return ExecuteCall(recordsAffected);
  Recordset rows;
  rows.OpenCounting(*this, recordsAffected);
  return rows;
}

}  // namespace tamlo::ado
