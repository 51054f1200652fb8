// The defaults of columns: expressions of their own.
#include "base/Blanks.h"
#include "jet/sql/Names.h"
#include "jet/sql/bind/Coercion.h"
#include "jet/sql/run/SessionState.h"

namespace jet::sql {

std::vector<std::pair<std::size_t, Value>> EvaluateDefaults(SessionState& state, const EngineTable& table) {
  std::vector<std::pair<std::size_t, Value>> defaults;
  if (table.table == nullptr) return defaults;
  const std::vector<ColumnDef>& columns = table.table->Columns();
  for (std::size_t i = 0; i < columns.size(); ++i) {
    std::string text(base::Trim(columns[i].defaultValue));
    if (!text.empty() && text[0] == '=') text.erase(0, 1);
    if (text.empty() || columns[i].autoNumber) continue;
    const std::string word = UpperCase(text);
    if (word == "YES" || word == "ON" || word == "OUI" || word == "VRAI") text = "True";
    if (word == "NO" || word == "OFF" || word == "NON" || word == "FAUX") text = "False";
    try {
      auto statement = Translate("SELECT " + text, state, state.options.text);
      const auto query = OpenPlan(state, std::move(std::get<SelectPlan>(statement)));
      if (query->Next()) defaults.emplace_back(i, Coerced(query->Get(0), table.columns[i].type, state.options.text));
    } catch (const Error& error) {
      throw Error(ErrorCode::kUnsupported,
                  "the default " + text + " of " + table.name + "." + columns[i].name + " cannot be evaluated: " + error.what());
    }
  }
  return defaults;
}

}  // namespace jet::sql
