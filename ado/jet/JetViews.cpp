#include <algorithm>

#include "ado/Errors.h"
#include "ado/jet/JetCatalog.h"
#include "ado/jet/JetErrors.h"
#include "jet/sql/Names.h"
#include "jet/sql/Session.h"

namespace tamlo::ado::jetprovider {

std::vector<View> JetCatalog::Views() {
  std::vector<View> views;
  for (auto& [name, type] : Tables()) {
    if (type != "VIEW") continue;
    View& view = views.emplace_back();
    view.name = std::move(name);
    OnEngine([&] {
      try {
        view.command = connection_.Session().StoredQueryText(view.name).value_or("");
      } catch (const jet::Error& error) {
        // A query that cannot be worded hides no other one.
        if (error.Code() != jet::ErrorCode::kUnsupported && error.Code() != jet::ErrorCode::kSyntax) throw;
        view.failure = error.what();
      }
    });
  }
  return views;
}

void JetCatalog::AppendView(const std::string& name, const std::string& command) {
  if (name.find_first_of("[]") != std::string::npos) {
    throw Translated(jet::Error(jet::ErrorCode::kUnsupported, "The name \"" + name + "\" holds a character that names cannot have"));
  }
  OnEngine([&] {
    jet::Transaction transaction(connection_.Database());
    (void)connection_.Execute("CREATE VIEW [" + name + "] AS " + command, 0);
    const auto tables = Tables();
    const bool isView = std::any_of(tables.begin(), tables.end(),
                                    [&](const auto& table) { return table.second == "VIEW" && jet::sql::SameName(table.first, name); });
    if (!isView) throw AdoError(runtime::kOperationNotSupported, name);
    transaction.Commit();
  });
}

void JetCatalog::DeleteView(const std::string& name) { DeleteTable(name); }

}  // namespace tamlo::ado::jetprovider
