#include "tests/support_lib/RecordingBackend.h"

#include <array>
#include <cctype>

#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::tests {
namespace {

using Backend = RecordingProvider::Backend;

void SkipBlanks(std::string_view& text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())) != 0) text.remove_prefix(1);
}

bool TakeWord(std::string_view& text, std::string_view upperWord) {
  SkipBlanks(text);
  if (runtime::UpperCase(text.substr(0, upperWord.size())) != upperWord) return false;
  text.remove_prefix(upperWord.size());
  return true;
}

std::string TakeNamePart(std::string_view& text) {
  static constexpr std::array<std::pair<char, char>, 3> kQuotes{{{'[', ']'}, {'"', '"'}, {'`', '`'}}};
  SkipBlanks(text);
  for (const auto& [open, close] : kQuotes) {
    if (text.empty() || text.front() != open) continue;
    const auto end = text.find(close, 1);
    const std::string name(text.substr(1, end == std::string_view::npos ? end : end - 1));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return name;
  }
  const std::string name(text.substr(0, text.find_first_of(" .(,;)\r\n\t")));
  text.remove_prefix(name.size());
  return name;
}

std::int16_t TypeOfWord(std::string_view definition) {
  struct Entry {
    std::string_view word;
    std::int16_t type;
  };
  static constexpr std::array<Entry, 17> kTypes{{{"NVARCHAR", ado::adVarWChar},
                                                 {"CHAR", ado::adWChar},
                                                 {"MEDIUMTEXT", ado::adLongVarWChar},
                                                 {"NTEXT", ado::adLongVarWChar},
                                                 {"VARCHAR2", ado::adVarChar},
                                                 {"DATETIME", ado::adDBTimeStamp},
                                                 {"DATE", ado::adDBTimeStamp},
                                                 {"BIT", ado::adBoolean},
                                                 {"TINYINT", ado::adUnsignedTinyInt},
                                                 {"SMALLINT", ado::adSmallInt},
                                                 {"INT", ado::adInteger},
                                                 {"DOUBLE", ado::adDouble},
                                                 {"FLOAT", ado::adDouble},
                                                 {"MONEY", ado::adCurrency},
                                                 {"LONGBLOB", ado::adLongVarBinary},
                                                 {"BLOB", ado::adLongVarBinary},
                                                 {"NUM", ado::adNumeric}}};
  const std::string upper = runtime::UpperCase(runtime::Trim(definition));
  for (const auto& [word, type] : kTypes) {
    if (upper.starts_with(word)) return type;
  }
  return ado::adVarWChar;
}

/// The parts of a list at its own level of brackets; text begins behind "(" and reading stops at its ")".
std::vector<std::string_view> SplitList(std::string_view text) {
  std::vector<std::string_view> parts;
  int depth = 0;
  std::size_t start = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '(') ++depth;
    if ((text[i] == ',' && depth == 0) || (text[i] == ')' && depth-- == 0)) {
      parts.push_back(text.substr(start, i - start));
      start = i + 1;
      if (text[i] == ')') break;
    }
  }
  return parts;
}

}  // namespace

std::string TakeName(std::string_view& text) {
  std::string name = TakeNamePart(text);
  while (!text.empty() && text.front() == '.') {
    text.remove_prefix(1);
    name = TakeNamePart(text);
  }
  return name;
}

std::string WholeTableOf(const std::string& statement) {
  std::string_view rest = statement;
  if (!TakeWord(rest, "SELECT ")) return {};
  if (TakeWord(rest, "TOP ")) {
    SkipBlanks(rest);
    while (!rest.empty() && rest.front() != ' ') rest.remove_prefix(1);
  }
  if (!TakeWord(rest, "*") || !TakeWord(rest, "FROM ")) return {};
  std::string name = TakeName(rest);
  SkipBlanks(rest);
  return rest.empty() || TakeWord(rest, "ORDER BY ") ? name : std::string();
}

std::string WithoutTableFilter(const std::string& statement) {
  const auto where = statement.find(" WHERE ");
  if (where == std::string::npos || statement.empty() || statement.back() != '\'') return statement;
  std::string_view rest = std::string_view(statement).substr(where + 7);
  return TakeName(rest) == "TABLE" && rest.starts_with("='") ? statement.substr(0, where) : statement;
}

ScriptedTable ParseCreateTable(std::string_view afterKeyword) {
  ScriptedTable table;
  table.name = TakeName(afterKeyword);
  SkipBlanks(afterKeyword);
  if (!afterKeyword.empty()) afterKeyword.remove_prefix(1);
  for (std::string_view part : SplitList(afterKeyword)) {
    std::string_view probe = part;
    if (TakeWord(probe, "CONSTRAINT ")) continue;
    ado::Column column;
    column.name = TakeName(part);
    column.type = TypeOfWord(part);
    column.attributes = ado::adColNullable;
    const auto open = part.find('(');
    if (open != std::string_view::npos) column.definedSize = std::strtoll(std::string(part.substr(open + 1)).c_str(), nullptr, 10);
    table.columns.push_back(std::move(column));
  }
  return table;
}

void Backend::Record(RecordedCall::Kind kind, const std::string& text) {
  RecordedCall call;
  call.kind = kind;
  call.text = text;
  Record(std::move(call));
}

void Backend::RaiseScripted(Failures& failures, const std::string& text) {
  for (auto& failure : failures) {
    if (failure.times == 0 || (failure.prefix ? !text.starts_with(failure.text) : text != failure.text)) continue;
    if (failure.times > 0) --failure.times;
    runtime::Error error(failure.number, failure.description, "recording");
    if (failure.native != 0) error.WithDiagnostics({{failure.sqlState, failure.native, failure.description}});
    throw error;
  }
}

ScriptedTable* Backend::Find(const std::string& name) const {
  const std::string upper = runtime::UpperCase(name);
  for (const auto& table : tables) {
    if (runtime::UpperCase(table->name) == upper) return table.get();
  }
  return nullptr;
}

ScriptedTable& Backend::Existing(const std::string& name) const {
  ScriptedTable* table = Find(name);
  if (!table) throw runtime::Error(runtime::kProviderFailure, "no such table: " + name, "recording");
  return *table;
}

void Backend::Apply(const std::string& statement) {
  std::string_view rest = statement;
  if (TakeWord(rest, "DROP TABLE ")) {
    const ScriptedTable* gone = &Existing(TakeName(rest));
    std::erase_if(tables, [&](const auto& table) { return table.get() == gone; });
  } else if (TakeWord(rest, "CREATE TABLE ")) {
    ScriptedTable created = ParseCreateTable(rest);
    if (Find(created.name)) throw runtime::Error(runtime::kProviderFailure, "table exists: " + created.name, "recording");
    tables.push_back(std::make_shared<ScriptedTable>(std::move(created)));
  }
}

}  // namespace tamlo::tests
