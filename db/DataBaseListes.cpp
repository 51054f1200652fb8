#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "db/DataBase.h"
#include "db/Environnement.h"
#include "db/kinds/Moteur.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db {

DbTbl& DataBase::TableNommee(const std::string& nom) const {
  DbTbl* tbl = tables_.Nommee(nom);
  if (tbl == nullptr) throw runtime::Error(runtime::kSubscriptOutOfRange);
  return *tbl;
}

bool DataBase::ExisteTbl(const std::string& nom) const {
  bool existe = false;
  const std::string cherche(runtime::Trim(nom));
  runtime::IgnoringErrors([&] { existe = runtime::UpperCase(Catalogue().Tables(cherche).Name()) == runtime::UpperCase(cherche); });
  return existe;
}

void DataBase::AddRltAttachee(const DbRlt& rlt) {
  if (Moteur().faits.attache) relations_.Ajoute(rlt);
}

ado::Table DataBase::ResoutLien(const std::string& nom) const {
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

void DataBase::AjouteTable(ado::Table& table, ado::Recordset* rsFld, ado::Recordset* rsIdx, const std::string& owner) {
  if (EstListee(table.Name())) return;
  tableEnCours_ = runtime::UpperCase(runtime::Trim(table.Name()));
  auto tbl = std::make_unique<DbTbl>();
  tbl->Init(*this, table, avecMvt_, rsFld, rsIdx, owner);
  tables_.Ajoute(std::move(tbl));
}

void DataBase::AjouteTableAttachee(const std::string& nom, ado::Recordset* rsFld, ado::Recordset* rsIdx) {
  if (EstListee(nom)) return;
  auto tbl = std::make_unique<DbTbl>();
  tbl->InitAttachee(*this, nom, avecMvt_, rsFld, rsIdx);
  tables_.Ajoute(std::move(tbl));
}

}  // namespace tamlo::db
