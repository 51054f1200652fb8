#include "move/Ask.h"

#include <cstdlib>

#include "ado/Recordset.h"
#include "move/Values.h"

namespace tamlo::move {

std::vector<std::vector<std::string>> Ask(ado::Connection& connection, const std::string& query) {
  ado::Recordset rows;
  rows.Open(query, &connection, ado::adOpenForwardOnly, ado::adLockReadOnly, ado::adCmdText);
  std::vector<std::vector<std::string>> texts;
  for (; !rows.Eof(); rows.MoveNext()) {
    auto& text = texts.emplace_back();
    for (std::size_t i = 0; i < rows.FieldCount(); ++i) {
      const ado::Variant value = rows.Fields(i).Value();
      text.push_back(value.IsNull() ? std::string() : PlainText(value));
    }
  }
  rows.Close();
  return texts;
}

std::int64_t AskNumber(ado::Connection& connection, const std::string& query) {
  const auto rows = Ask(connection, query);
  return rows.empty() || rows[0].empty() ? 0 : std::strtoll(rows[0][0].c_str(), nullptr, 10);
}

}  // namespace tamlo::move
