#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "db/DataBase.h"
#include "db/DbUtil.h"
#include "db/Environnement.h"
#include "db/kinds/Moteur.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"
#include "support/Support.h"

namespace tamlo::db {

namespace {

/// Types of catalog tables that are not the application's.
bool EstHorsListe(std::string_view type) {
  static constexpr std::array<std::string_view, 5> kHorsListe{"ACCESS TABLE", "SYSTEM TABLE", "SYSTEM VIEW", "VIEW", "SYNONYM"};
  return std::find(kHorsListe.begin(), kHorsListe.end(), type) != kHorsListe.end();
}

bool EstAttachee(std::string_view type) { return type == "LINK" || type == "PASS-THROUGH"; }

}  // namespace

bool DataBase::CataloguePresent() { return ExisteTbl(kTblKorv) && ExisteTbl(kFldKorv) && ExisteTbl(kIdxKorv); }

/// A table that is made by two statements, of which the second has never run.
bool DataBase::SansCle(const std::string& table) { return Moteur().faits.indexApart && Catalogue().Tables(table).Indexes().empty(); }

std::vector<DataBase::TableBase> DataBase::TablesDeLaBase() {
  std::vector<TableBase> tables;
  const auto ajoute = [&](ado::Table table, const std::string& owner) {
    const std::string nom = runtime::UpperCase(runtime::Trim(table.Name()));
    const bool connue = std::any_of(tables.begin(), tables.end(), [&](const TableBase& autre) { return autre.nom == nom; });
    if (!connue && !EstTableDuCatalogue(nom)) tables.push_back({nom, owner, std::move(table)});
  };
  if (Moteur().faits.proprietaires) {
    for (const auto& [nom, owner] : TablesDesProprietaires()) {
      const ado::Table* table = Catalogue().Find(nom);
      ajoute(table != nullptr ? *table : ado::Table(nom), owner);
    }
    return tables;
  }
  for (std::size_t i = 0; i < Catalogue().TableCount(); ++i) {
    if (!EstHorsListe(Catalogue().Tables(i).Type()))
      ajoute(Catalogue().Tables(i).Type() == "LINK" ? ResoutLien(Catalogue().Tables(i).Name()) : Catalogue().Tables(i), "");
  }
  return tables;
}

bool DataBase::CatalogueInacheve(ado::Recordset& rsFld) {
  // Rows come together, after the tables: one that has none shows that whoever built the catalog did not end. The probe table's do not count:
  // they may have been written by another program into what was not built yet.
  const auto sansLigne = [](ado::Recordset& rs, const char* colonne) {
    while (!rs.Eof() && TexteCatalogue(rs.Fields(colonne).Value()) == "TEST_DT") rs.MoveNext();
    return rs.Eof();
  };
  bool vide = sansLigne(rsFld, "TABLE");
  if (!vide) {
    ado::Recordset rsTbl = OpenRecordSet("SELECT * FROM [$TBLKORV$]", 0);
    vide = sansLigne(rsTbl, "NOM");
    rsTbl.Close();
  }
  if (!vide) return false;
  const auto tables = TablesDeLaBase();
  const bool autres = std::any_of(tables.begin(), tables.end(), [](const TableBase& table) { return table.nom != "TEST_DT"; });
  return autres || SansCle(kTblKorv) || SansCle(kFldKorv) || SansCle(kIdxKorv);
}

void DataBase::ChargeListeTbl() {
  const std::size_t nombre = tables_.size();
  const std::size_t erreurs = erreurs_.size();
  for (Patience patience;;) {
    try {
      return LitListeTbl(patience);
    } catch (const runtime::Error& erreur) {
      // Where several build the same catalog a table may be on its way while it is read: the list is then read from its beginning.
      if (!Moteur().faits.construitEnCommun || !Moteur().DUnAutreProgramme(erreur) || !patience.Encore()) throw;
    }
    tables_.resize(nombre);
    erreurs_.resize(erreurs);
    NomsChanges();
    Catalogue().Refresh();
  }
}

void DataBase::LitListeTbl(Patience& patience) {
  const bool reconstruit = nom_.find("BVIRTUEL.MDB") == std::string::npos;
  bool present = CataloguePresent();
  ado::Recordset rsFld;
  ado::Recordset rsIdx;
  if (present) {
    for (const char* nom : {kTblKorv, kFldKorv, kIdxKorv}) AjouteTable(Catalogue().Tables(nom), nullptr, nullptr, "");
    rsFld = OpenRecordSet("SELECT * FROM [$FLDKORV$] ORDER BY [TABLE],[NO]", 3);
    rsIdx = OpenRecordSet("SELECT * FROM [$IDXKORV$] ORDER BY [TABLE],[NOM]", 3);
    if (reconstruit && CatalogueInacheve(rsFld)) {
      rsFld.Close();
      rsIdx.Close();
      present = false;
    }
  }
  ado::Recordset* champs = present ? &rsFld : nullptr;
  ado::Recordset* index = present ? &rsIdx : nullptr;
  if (Moteur().faits.proprietaires) {
    AjouteTablesDesProprietaires(champs, index);
  } else {
    AjouteTablesCatalogue(champs, index);
  }
  tableEnCours_.clear();
  if (present) {
    rsFld.Close();
    rsIdx.Close();
  } else if (reconstruit) {
    ConstruitCatalogue(patience);
  }
}

void DataBase::AjouteTablesCatalogue(ado::Recordset* rsFld, ado::Recordset* rsIdx) {
  const std::size_t nombre = Catalogue().TableCount();
  for (std::size_t i = 0; i < nombre; ++i) {
    ado::Table& table = Catalogue().Tables(i);
    if (EstHorsListe(table.Type())) continue;
    if (EstAttachee(table.Type())) {
      AjouteTableAttachee(table.Name(), rsFld, rsIdx);
    } else {
      AjouteTable(table, rsFld, rsIdx, "");
    }
  }
}

std::vector<std::pair<std::string, std::string>> DataBase::TablesDesProprietaires() {
  const Environnement& environnement = EnvironnementCourant();
  const std::string owner = support::EstVide(environnement.nomLogin) ? environnement.nomUtlConnecte() : environnement.nomLogin;
  std::vector<std::pair<std::string, std::string>> tables;
  ado::Recordset rs = OpenRecordSet(Moteur().QuestionTables(owner, nom_), 0);
  for (; !rs.Eof(); rs.MoveNext())
    tables.emplace_back(TexteCatalogue(rs.Fields("TABLE_NAME").Value()), TexteCatalogue(rs.Fields("OWNER").Value()));
  rs.Close();
  return tables;
}

void DataBase::AjouteTablesDesProprietaires(ado::Recordset* rsFld, ado::Recordset* rsIdx) {
  for (const auto& [nom, proprietaire] : TablesDesProprietaires()) {
    // The dictionary may list a table that the connection's catalog leaves out: it is known by its name alone.
    ado::Table seule(nom);
    ado::Table* table = Catalogue().Find(nom);
    AjouteTable(table != nullptr ? *table : seule, rsFld, rsIdx, proprietaire);
  }
}

ado::Table DataBase::ResoutLien(const std::string& nom) {
  ado::Table& lien = Catalogue().Tables(nom);
  std::optional<ado::Table> resolue;
  runtime::IgnoringErrors([&] {
    const std::string base = runtime::ToText(lien.Property("Jet OLEDB:Link Datasource"));
    const std::string distante = runtime::ToText(lien.Property("Jet OLEDB:Remote Table Name"));
    DataBase* source = EnvironnementCourant().baseOuverte(base);
    if (source == nullptr || !source->ExisteTbl(distante)) return;
    ado::Table& table = source->Catalogue().Tables(distante);
    ado::Table locale(lien.Name());
    for (const ado::Column& colonne : table.Columns()) locale.AppendColumn(colonne);
    for (const ado::Index& index : table.Indexes()) locale.AppendIndex(index);
    resolue = std::move(locale);
  });
  return resolue ? *std::move(resolue) : lien;
}

bool DataBase::EstListee(const std::string& nom) const {
  const std::string cle = runtime::UpperCase(runtime::Trim(nom));
  return std::any_of(tables_.begin(), tables_.end(), [&](const EntreeTbl& entree) { return entree.nom == cle; });
}

void DataBase::AjouteTable(ado::Table& table, ado::Recordset* rsFld, ado::Recordset* rsIdx, const std::string& owner) {
  if (EstListee(table.Name())) return;
  tableEnCours_ = runtime::UpperCase(runtime::Trim(table.Name()));
  auto tbl = std::make_unique<DbTbl>();
  tbl->Init(*this, table, avecMvt_, rsFld, rsIdx, owner);
  Inscrit(std::move(tbl));
}

void DataBase::AjouteTableAttachee(const std::string& nom, ado::Recordset* rsFld, ado::Recordset* rsIdx) {
  if (EstListee(nom)) return;
  auto tbl = std::make_unique<DbTbl>();
  tbl->InitAttachee(*this, nom, avecMvt_, rsFld, rsIdx);
  Inscrit(std::move(tbl));
}

}  // namespace tamlo::db
