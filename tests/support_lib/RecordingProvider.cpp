#include "tests/support_lib/RecordingProvider.h"

#include <algorithm>

#include "ado/Errors.h"
#include "runtime/Text.h"
#include "tests/support_lib/RecordingBackend.h"

namespace tamlo::tests {
namespace {

const char* Verb(RecordedCall::Kind kind) {
  using Kind = RecordedCall::Kind;
  switch (kind) {
    case Kind::kOpen:
      return "OPEN";
    case Kind::kClose:
      return "CLOSE";
    case Kind::kExecute:
      return "EXECUTE";
    case Kind::kOpenRowset:
      return "ROWSET";
    case Kind::kFirstRow:
      return "READ";
    case Kind::kInsert:
      return "INSERT";
    case Kind::kUpdate:
      return "UPDATE";
    case Kind::kDelete:
      return "DELETE";
    case Kind::kSeek:
      return "SEEK";
    case Kind::kBegin:
      return "BEGIN";
    case Kind::kCommit:
      return "COMMIT";
    case Kind::kRollback:
      return "ROLLBACK";
    case Kind::kListTables:
      return "TABLES";
    case Kind::kListColumns:
      return "COLUMNS";
    case Kind::kListIndexes:
      return "INDEXES";
    case Kind::kAppendTable:
      return "APPEND TABLE";
    case Kind::kAppendColumn:
      return "APPEND COLUMN";
    case Kind::kAppendIndex:
      return "APPEND INDEX";
    case Kind::kForget:
      return "REFRESH";
    case Kind::kSetProperty:
      return "PROPERTY";
  }
  return "";
}

}  // namespace

RecordingProvider::RecordingProvider() : backend_(std::make_shared<Backend>()) {
  for (const char* name : {"Microsoft.Jet.OLEDB.4.0", "sqloledb", "OraOLEDB.Oracle", "MSDASQL.1", "MSDASQL"}) {
    ado::RegisterProvider(name, [backend = backend_](const ado::OpenRequest& request) { return ConnectTo(backend, request); });
  }
}

RecordingProvider::~RecordingProvider() = default;

void RecordingProvider::Answer(const std::string& text, ScriptedResult result) {
  backend_->answers[text] = std::make_shared<ScriptedResult>(std::move(result));
}

void RecordingProvider::AnswerPrefix(const std::string& prefix, ScriptedResult result) {
  backend_->prefixAnswers[prefix] = std::make_shared<ScriptedResult>(std::move(result));
}

void RecordingProvider::Fail(const std::string& text, std::int32_t number, const std::string& description, int times) {
  backend_->statementFailures.push_back({text, false, number, description, times});
}

void RecordingProvider::FailPrefix(const std::string& prefix, std::int32_t number, const std::string& description, int times) {
  backend_->statementFailures.push_back({prefix, true, number, description, times});
}

void RecordingProvider::FailNative(const std::string& prefix, std::int32_t native, const std::string& description) {
  backend_->statementFailures.push_back({prefix, true, runtime::kProviderFailure, description, 1, native});
}

void RecordingProvider::FailWriteNative(const std::string& sourcePrefix, std::int32_t native, const std::string& description,
                                        const std::string& sqlState) {
  backend_->writeFailures.push_back({sourcePrefix, true, runtime::kProviderFailure, description, 1, native, sqlState});
}

void RecordingProvider::FailRollback(std::int32_t number, const std::string& description, int times) {
  backend_->rollbackFailures.push_back({"", true, number, description, times});
}

void RecordingProvider::FailOpen(std::int32_t number, const std::string& description, int times) {
  backend_->openFailures.push_back({"", true, number, description, times});
}

void RecordingProvider::FailWrite(const std::string& sourcePrefix, std::int32_t number, const std::string& description, int times) {
  backend_->writeFailures.push_back({sourcePrefix, true, number, description, times});
}

void RecordingProvider::FailRead(const std::string& sourcePrefix, std::int32_t number, const std::string& description, int times) {
  backend_->readFailures.push_back({sourcePrefix, true, number, description, times});
}

ScriptedTable& RecordingProvider::AddTable(ScriptedTable table) {
  backend_->tables.push_back(std::make_shared<ScriptedTable>(std::move(table)));
  return *backend_->tables.back();
}

ScriptedTable* RecordingProvider::FindTable(const std::string& name) { return backend_->Find(name); }

std::vector<std::string> RecordingProvider::TableNames() const {
  std::vector<std::string> names;
  for (const auto& table : backend_->tables) names.push_back(table->name);
  return names;
}

void RecordingProvider::SetProperty(const std::string& name, runtime::Variant value) {
  backend_->properties[runtime::UpperCase(name)] = std::move(value);
}

runtime::Variant RecordingProvider::Property(const std::string& name) const {
  const auto found = backend_->properties.find(runtime::UpperCase(name));
  return found == backend_->properties.end() ? runtime::Variant() : found->second;
}

void RecordingProvider::SupportSeek(bool yes) { backend_->seek = yes; }
void RecordingProvider::SupportUpdate(bool yes) { backend_->update = yes; }

void RecordingProvider::OnCall(std::function<void(const RecordedCall&)> look) { backend_->onCall = std::move(look); }

const std::vector<RecordedCall>& RecordingProvider::Calls() const { return backend_->calls; }

std::vector<std::string> RecordingProvider::Statements() const {
  std::vector<std::string> texts;
  for (const auto& call : backend_->calls) {
    if (call.kind == RecordedCall::Kind::kExecute) texts.push_back(call.text);
  }
  return texts;
}

std::vector<std::string> RecordingProvider::Sources() const {
  std::vector<std::string> texts;
  for (const auto& call : backend_->calls) {
    if (call.kind == RecordedCall::Kind::kOpenRowset) texts.push_back(call.text);
  }
  return texts;
}

std::vector<std::string> RecordingProvider::Log() const {
  std::vector<std::string> lines;
  for (const auto& call : backend_->calls) lines.push_back(std::string(Verb(call.kind)) + (call.text.empty() ? "" : " " + call.text));
  return lines;
}

std::size_t RecordingProvider::Count(RecordedCall::Kind kind) const {
  return static_cast<std::size_t>(
      std::count_if(backend_->calls.begin(), backend_->calls.end(), [&](const RecordedCall& call) { return call.kind == kind; }));
}

void RecordingProvider::ClearCalls() { backend_->calls.clear(); }
void RecordingProvider::ForgetTransactions() { backend_->transactionLevel = 0; }

int RecordingProvider::TransactionLevel() const { return backend_->transactionLevel; }

ado::FieldInfo MakeField(const std::string& name, std::int16_t type, std::int64_t size, std::int16_t precision, std::int16_t scale) {
  ado::FieldInfo field;
  field.name = name;
  field.type = type;
  field.definedSize = size;
  field.precision = precision;
  field.numericScale = scale;
  return field;
}

ado::Column MakeColumn(const std::string& name, std::int16_t type, std::int64_t size) {
  ado::Column column;
  column.name = name;
  column.type = type;
  column.definedSize = size;
  column.attributes = ado::adColNullable;
  return column;
}

ado::Index MakeIndex(const std::string& name, const std::vector<std::string>& columns, bool primary, bool unique) {
  ado::Index index;
  index.name = name;
  index.primaryKey = primary;
  index.unique = unique || primary;
  for (const auto& text : columns) {
    const bool descending = text.starts_with('-');
    ado::Column column;
    column.name = descending ? text.substr(1) : text;
    column.sortOrder = descending ? ado::adSortDescending : ado::adSortAscending;
    index.columns.push_back(std::move(column));
  }
  return index;
}

}  // namespace tamlo::tests
