#include <algorithm>
#include <array>
#include <utility>

#include "ado/Errors.h"
#include "runtime/Error.h"
#include "runtime/Text.h"
#include "tests/support_lib/RecordingBackend.h"

namespace tamlo::tests {
namespace {

using Backend = RecordingProvider::Backend;
using Kind = RecordedCall::Kind;
using runtime::Variant;

/// A cursor over scripted rows, which are a result's own or a table's.
class RecordingRowset final : public ado::ProviderRowset {
 public:
  RecordingRowset(std::shared_ptr<Backend> backend, std::shared_ptr<void> keepAlive, const ado::RowsetRequest& request,
                  std::vector<ado::FieldInfo> fields, std::vector<std::vector<Variant>>& rows, const ScriptedTable* table)
      : backend_(std::move(backend)),
        keepAlive_(std::move(keepAlive)),
        request_(request),
        fields_(std::move(fields)),
        rows_(rows),
        table_(table) {}

  const std::vector<ado::FieldInfo>& Fields() const override { return fields_; }

  bool MoveFirst() override {
    backend_->Record(Kind::kFirstRow, request_.source);
    Backend::RaiseScripted(backend_->readFailures, request_.source);
    row_ = 0;
    return row_ < rows_.size();
  }

  bool MoveNext() override { return ++row_ < rows_.size(); }

  Variant Value(std::size_t field) override {
    const auto& row = rows_.at(row_);
    return field < row.size() ? row[field] : Variant(runtime::Null{});
  }

  std::size_t ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) override {
    const Variant value = Value(field);
    const auto* text = value.If<std::string>();
    const auto* bytes = value.If<runtime::Bytes>();
    const auto* data = text ? reinterpret_cast<const std::byte*>(text->data()) : bytes ? bytes->data() : nullptr;
    const std::size_t size = text ? text->size() : bytes ? bytes->size() : 0;
    const std::size_t count = std::min(capacity, size - offset_);
    std::copy_n(data + offset_, count, buffer);
    offset_ = count == 0 ? 0 : offset_ + count;
    return count;
  }

  bool CanUpdate() const override { return backend_->update; }

  void Insert(std::span<const ado::Assignment> values) override {
    const auto whole = Write(Kind::kInsert, values);
    rows_.emplace_back(fields_.size(), Variant(runtime::Null{}));
    row_ = rows_.size() - 1;
    Apply(values, whole);
  }

  void Update(std::span<const ado::Assignment> values) override { Apply(values, Write(Kind::kUpdate, values)); }

  void Delete() override {
    Write(Kind::kDelete, {});
    rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(row_));
    --row_;  // MoveNext then stands on the row after the deleted one (unsigned wrap at the first row is undone by it)
  }

  bool CanSeek() const override { return backend_->seek && table_ && request_.options == ado::adCmdTableDirect; }

  bool UseIndex(const std::string& name) override {
    const std::string upper = runtime::UpperCase(name);
    for (const auto& index : table_->indexes) {
      if (runtime::UpperCase(index.name) != upper) continue;
      index_ = &index;
      return true;
    }
    return false;
  }

  bool Seek(std::span<const Variant> key, ado::SeekOption option) override {
    backend_->Record(Kind::kSeek, request_.source);
    if (!index_ || option != ado::adSeekFirstEQ) throw ado::AdoError(runtime::kOperationNotSupported);
    for (row_ = 0; row_ < rows_.size(); ++row_) {
      bool same = true;
      for (std::size_t i = 0; i < key.size() && same; ++i) same = Value(FieldNamed(index_->columns.at(i).name)) == key[i];
      if (same) return true;
    }
    return false;
  }

 private:
  std::size_t FieldNamed(const std::string& name) const {
    const std::string upper = runtime::UpperCase(name);
    const auto found =
        std::find_if(fields_.begin(), fields_.end(), [&](const auto& field) { return runtime::UpperCase(field.name) == upper; });
    return static_cast<std::size_t>(found - fields_.begin());
  }

  /// Records the whole values and hands them back: a long one can be read once only.
  std::vector<Variant> Write(Kind kind, std::span<const ado::Assignment> values) {
    RecordedCall call;
    call.kind = kind;
    call.text = request_.source;
    for (const auto& value : values) call.values.emplace_back(fields_.at(value.field).name, Whole(value));
    std::vector<Variant> whole;
    for (const auto& value : call.values) whole.push_back(value.second);
    backend_->Record(std::move(call));
    Backend::RaiseScripted(backend_->writeFailures, request_.source);
    return whole;
  }

  void Apply(std::span<const ado::Assignment> values, const std::vector<Variant>& whole) {
    auto& row = rows_.at(row_);
    row.resize(fields_.size(), Variant(runtime::Null{}));
    for (std::size_t i = 0; i < values.size(); ++i) row[values[i].field] = whole[i];
  }

  /// The value itself, or a long one put together from its pieces.
  Variant Whole(const ado::Assignment& value) const {
    if (const auto* whole = std::get_if<Variant>(&value.value)) return *whole;
    runtime::Bytes bytes;
    std::array<std::byte, 4096> piece{};
    const auto& source = std::get<ado::ChunkSource>(value.value);
    while (const std::size_t read = source(piece.data(), piece.size())) bytes.insert(bytes.end(), piece.begin(), piece.begin() + read);
    if (!ado::IsTextType(fields_.at(value.field).type)) return bytes;
    return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  }

  std::shared_ptr<Backend> backend_;
  std::shared_ptr<void> keepAlive_;  // owns rows_
  ado::RowsetRequest request_;
  std::vector<ado::FieldInfo> fields_;
  std::vector<std::vector<Variant>>& rows_;
  const ScriptedTable* table_;
  const ado::Index* index_ = nullptr;
  std::size_t row_ = 0;
  std::size_t offset_ = 0;
};

class RecordingCatalog final : public ado::ProviderCatalog {
 public:
  explicit RecordingCatalog(std::shared_ptr<Backend> backend) : backend_(std::move(backend)) {}

  std::vector<std::pair<std::string, std::string>> Tables() override {
    backend_->Record(Kind::kListTables, "");
    Backend::RaiseScripted(backend_->statementFailures, "LIST TABLES");
    std::vector<std::pair<std::string, std::string>> names;
    for (const auto& table : backend_->tables) names.emplace_back(table->name, table->type);
    return names;
  }

  std::vector<ado::Column> Columns(const std::string& table) override {
    backend_->Record(Kind::kListColumns, table);
    return backend_->Existing(table).columns;
  }

  std::vector<ado::Index> Indexes(const std::string& table) override {
    backend_->Record(Kind::kListIndexes, table);
    return backend_->Existing(table).indexes;
  }

  ado::PropertyMap Properties(const std::string& table) override { return backend_->Existing(table).properties; }

  void AppendTable(ado::Table& table) override {
    auto created = std::make_shared<ScriptedTable>();
    created->name = table.Name();
    created->columns = table.Columns();
    created->indexes = table.Indexes();
    created->properties = table.Properties();
    RecordAppend(Kind::kAppendTable, table.Name(), created);
    backend_->tables.push_back(std::make_shared<ScriptedTable>(*created));
  }

  void AppendColumn(const std::string& table, const ado::Column& column) override {
    auto definition = std::make_shared<ScriptedTable>();
    definition->columns.push_back(column);
    RecordAppend(Kind::kAppendColumn, table, definition);
    backend_->Existing(table).columns.push_back(column);
  }

  void AppendIndex(const std::string& table, const ado::Index& index) override {
    auto definition = std::make_shared<ScriptedTable>();
    definition->indexes.push_back(index);
    RecordAppend(Kind::kAppendIndex, table, definition);
    backend_->Existing(table).indexes.push_back(index);
  }

  void Forget() override { backend_->Record(Kind::kForget, ""); }

 private:
  void RecordAppend(Kind kind, const std::string& table, std::shared_ptr<const ScriptedTable> definition) {
    RecordedCall call;
    call.kind = kind;
    call.text = table;
    call.table = std::move(definition);
    backend_->Record(std::move(call));
    Backend::RaiseScripted(backend_->statementFailures, table);
  }

  std::shared_ptr<Backend> backend_;
};

class RecordingConnection final : public ado::ProviderConnection {
 public:
  explicit RecordingConnection(std::shared_ptr<Backend> backend) : backend_(std::move(backend)) {}
  ~RecordingConnection() override { backend_->Record(Kind::kClose, ""); }

  std::int64_t Execute(const std::string& text, std::int32_t timeoutSeconds) override {
    RecordedCall call;
    call.kind = Kind::kExecute;
    call.text = text;
    call.timeoutSeconds = timeoutSeconds;
    backend_->Record(std::move(call));
    Backend::RaiseScripted(backend_->statementFailures, text);
    backend_->Apply(text);
    return -1;
  }

  std::unique_ptr<ado::ProviderRowset> OpenRowset(const ado::RowsetRequest& request) override {
    RecordedCall call;
    call.kind = Kind::kOpenRowset;
    call.text = request.source;
    call.request = request;
    backend_->Record(std::move(call));
    Backend::RaiseScripted(backend_->statementFailures, request.source);
    if (auto answer = ScriptedAnswer(request.source)) {
      if (answer->fields.empty() && answer->rows.empty()) return nullptr;
      return std::make_unique<RecordingRowset>(backend_, answer, request, answer->fields, answer->rows, nullptr);
    }
    return OpenTable(request);
  }

  std::int32_t BeginTransaction() override {
    backend_->Record(Kind::kBegin, "");
    auto& before = backend_->rowsBefore.emplace_back();
    for (const auto& table : backend_->tables) before.emplace_back(table, table->rows);
    return ++backend_->transactionLevel;
  }
  void CommitTransaction() override { EndTransaction(Kind::kCommit); }
  void RollbackTransaction() override { EndTransaction(Kind::kRollback); }
  std::int32_t TransactionLevel() const noexcept override { return backend_->transactionLevel; }

  std::optional<Variant> Property(const std::string& upperName) const override {
    const auto found = backend_->properties.find(upperName);
    if (found == backend_->properties.end()) return std::nullopt;
    return found->second;
  }

  bool SetProperty(const std::string& upperName, const Variant& value) override {
    RecordedCall call;
    call.kind = Kind::kSetProperty;
    call.text = upperName;
    call.values.emplace_back(upperName, value);
    backend_->Record(std::move(call));
    const auto found = backend_->properties.find(upperName);
    if (found == backend_->properties.end()) return false;
    found->second = value;
    return true;
  }

  std::unique_ptr<ado::ProviderCatalog> OpenCatalog() override { return std::make_unique<RecordingCatalog>(backend_); }

 private:
  void EndTransaction(Kind kind) {
    backend_->Record(kind, "");
    if (backend_->transactionLevel == 0) throw runtime::Error(runtime::kProviderFailure, "no transaction is active", "recording");
    if (kind == Kind::kRollback) Backend::RaiseScripted(backend_->rollbackFailures, "");
    --backend_->transactionLevel;
    if (kind == Kind::kRollback) {
      for (auto& [table, rows] : backend_->rowsBefore.back()) table->rows = std::move(rows);
    }
    backend_->rowsBefore.pop_back();
  }

  std::shared_ptr<ScriptedResult> ScriptedAnswer(const std::string& source) const {
    if (const auto exact = backend_->answers.find(source); exact != backend_->answers.end()) return exact->second;
    std::shared_ptr<ScriptedResult> best;
    std::size_t longest = 0;
    for (const auto& [prefix, result] : backend_->prefixAnswers) {
      if (!source.starts_with(prefix) || (best && prefix.size() <= longest)) continue;
      best = result;
      longest = prefix.size();
    }
    return best;
  }

  std::unique_ptr<ado::ProviderRowset> OpenTable(const ado::RowsetRequest& request) {
    const std::string filtered = WithoutTableFilter(request.source);
    const std::string whole = WholeTableOf(filtered);
    std::string_view source = request.source;
    const std::string name = whole.empty() ? TakeName(source) : whole;
    for (const auto& table : backend_->tables) {
      if (runtime::UpperCase(table->name) != runtime::UpperCase(name)) continue;
      if (whole.empty() && !source.empty()) break;
      std::vector<ado::FieldInfo> fields;
      for (const auto& column : table->columns) {
        fields.push_back(MakeField(column.name, column.type, column.definedSize, column.precision, column.numericScale));
        fields.back().autoIncrement = column.properties.Has("AutoIncrement") && column.properties.Item("AutoIncrement") == Variant(true);
      }
      return std::make_unique<RecordingRowset>(backend_, table, request, std::move(fields), table->rows, table.get());
    }
    throw runtime::Error(runtime::kProviderFailure, "no answer is scripted for: " + request.source, "recording");
  }

  std::shared_ptr<Backend> backend_;
};

}  // namespace

std::unique_ptr<ado::ProviderConnection> ConnectTo(const std::shared_ptr<Backend>& backend, const ado::OpenRequest& request) {
  RecordedCall call;
  call.kind = Kind::kOpen;
  call.text = request.connectionString;
  call.open = request;
  backend->Record(std::move(call));
  Backend::RaiseScripted(backend->openFailures, request.connectionString);
  return std::make_unique<RecordingConnection>(backend);
}

}  // namespace tamlo::tests
