#include "ado/odbc/catalog/ReadViews.h"

#include <algorithm>

#include "ado/odbc/catalog/SqliteText.h"
#include "ado/odbc/statement/Statement.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

std::string WithoutEnd(std::string_view text) {
  text = runtime::Trim(text);
  while (text.ends_with(';')) text = runtime::Trim(text.substr(0, text.size() - 1));
  return std::string(text);
}

void Read(const std::shared_ptr<Session>& session, const std::map<std::string, std::string>& schemas, std::vector<View>& views) {
  Statement statement(session);
  statement.ExecuteDirect(session->Facts().viewsQuery);
  while (statement.FetchCatalogRow()) {
    const std::string schema = statement.Text(1).value_or("");
    const std::string name = statement.Text(2).value_or("");
    const auto view = std::find_if(views.begin(), views.end(), [&](const View& one) { return one.name == name; });
    const auto meant = schemas.find(name);
    const bool another = meant != schemas.end() && !schema.empty() && !meant->second.empty() && meant->second != schema;
    if (view == views.end() || another) continue;
    const std::string text = statement.Text(3).value_or("");
    const std::string query = QueryOfView(text);
    view->command = WithoutEnd(query.empty() ? text : query);
  }
}

}  // namespace

void ReadViewTexts(const std::shared_ptr<Session>& session, const std::map<std::string, std::string>& schemas, std::vector<View>& views) {
  if (!session->Facts().catalogsMayFail) return Read(session, schemas, views);
  // A backend that is not known may have no such table.
  const runtime::PendingError failure = runtime::IgnoringErrors([&] { Read(session, schemas, views); });
  for (View& view : views) view.failure = failure.description;
}

void RequireReadable(const std::shared_ptr<Session>& session, const std::string& name, std::string_view query) {
  const bool beyond = std::any_of(query.begin(), query.end(), [](char c) { return static_cast<unsigned char>(c) >= 0xF0; });
  if (beyond && !session->Facts().keepsWideStatements) {
    throw runtime::Error(runtime::kProviderFailure,
                         "Le texte de la vue " + name + " contient un caractère que le pilote ne peut pas transmettre.", "odbc");
  }
  Statement statement(session);
  statement.Prepare(query);
  (void)statement.ColumnCount();
}

}  // namespace tamlo::ado::odbc
