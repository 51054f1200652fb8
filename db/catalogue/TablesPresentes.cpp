#include "db/catalogue/TablesPresentes.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "db/DbUtil.h"
#include "db/LignesCatalogue.h"
#include "db/Environnement.h"
#include "db/kinds/Moteur.h"
#include "runtime/Text.h"
#include "support/Support.h"

namespace tamlo::db::catalogue {

namespace {

/// Types of catalog tables that are not the application's.
bool EstHorsListe(std::string_view type) {
  static constexpr std::array<std::string_view, 5> kHorsListe{"ACCESS TABLE", "SYSTEM TABLE", "SYSTEM VIEW", "VIEW", "SYNONYM"};
  return std::find(kHorsListe.begin(), kHorsListe.end(), type) != kHorsListe.end();
}

bool EstAttachee(std::string_view type) { return type == "LINK" || type == "PASS-THROUGH"; }

}  // namespace

std::vector<TableBase> TablesDeLaBase(DataBase& db) {
  std::vector<TableBase> tables;
  const auto ajoute = [&](ado::Table table, const std::string& owner) {
    const std::string nom = runtime::UpperCase(runtime::Trim(table.Name()));
    const bool connue = std::any_of(tables.begin(), tables.end(), [&](const TableBase& autre) { return autre.nom == nom; });
    if (!connue && !EstTableDuCatalogue(nom)) tables.push_back({nom, owner, std::move(table)});
  };
  ado::Catalog& catalogue = db.Catalogue();
  if (db.Moteur().faits.proprietaires) {
    for (const auto& [nom, owner] : TablesDesProprietaires(db)) {
      const ado::Table* table = catalogue.Find(nom);
      ajoute(table != nullptr ? *table : ado::Table(nom), owner);
    }
    return tables;
  }
  for (std::size_t i = 0; i < catalogue.TableCount(); ++i) {
    ado::Table& table = catalogue.Tables(i);
    if (!EstHorsListe(table.Type())) ajoute(table.Type() == "LINK" ? db.ResoutLien(table.Name()) : table, "");
  }
  return tables;
}

std::vector<std::pair<std::string, std::string>> TablesDesProprietaires(const DataBase& db) {
  const Environnement& environnement = EnvironnementCourant();
  const std::string owner = support::EstVide(environnement.nomLogin) ? environnement.nomUtlConnecte() : environnement.nomLogin;
  std::vector<std::pair<std::string, std::string>> tables;
  ado::Recordset rs = db.OpenRecordSet(db.Moteur().QuestionTables(owner, db.Nom()), 0);
  for (; !rs.Eof(); rs.MoveNext())
    tables.emplace_back(TexteCatalogue(rs.Fields("TABLE_NAME").Value()), TexteCatalogue(rs.Fields("OWNER").Value()));
  rs.Close();
  return tables;
}

void ListeTablesDeLaBase(DataBase& db, ado::Recordset* rsFld, ado::Recordset* rsIdx) {
  ado::Catalog& catalogue = db.Catalogue();
  if (db.Moteur().faits.proprietaires) {
    for (const auto& [nom, proprietaire] : TablesDesProprietaires(db)) {
      // The dictionary may list a table that the connection's catalog leaves out: it is known by its name alone.
      ado::Table seule(nom);
      ado::Table* table = catalogue.Find(nom);
      db.AjouteTable(table != nullptr ? *table : seule, rsFld, rsIdx, proprietaire);
    }
    return;
  }
  const std::size_t nombre = catalogue.TableCount();
  for (std::size_t i = 0; i < nombre; ++i) {
    ado::Table& table = catalogue.Tables(i);
    if (EstHorsListe(table.Type())) continue;
    if (EstAttachee(table.Type())) {
      db.AjouteTableAttachee(table.Name(), rsFld, rsIdx);
    } else {
      db.AjouteTable(table, rsFld, rsIdx, "");
    }
  }
}

}  // namespace tamlo::db::catalogue
