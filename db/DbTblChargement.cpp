#include <algorithm>

#include "ado/Types.h"
#include "db/DataBase.h"
#include "db/DbTbl.h"
#include "db/DbUtil.h"
#include "db/LignesCatalogue.h"
#include "db/kinds/Moteur.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db {

namespace {

/// Type, length and counter flag of a backend's column as the layer knows them.
struct DescriptionChamp {
  std::int16_t typ;
  double lg;
  bool estCpt;
};

DescriptionChamp Decrit(const kinds::Moteur& moteur, const ado::Column& colonne) {
  const auto [typ, lg] = moteur.LitType({colonne.type, static_cast<double>(colonne.definedSize), colonne.precision, colonne.numericScale});
  const bool estCpt = moteur.faits.compteurs && colonne.type == ado::adInteger && colonne.properties.Has("AutoIncrement") &&
                      runtime::ToBoolean(colonne.properties.Item("AutoIncrement"));
  return {typ, lg, estCpt};
}

std::vector<ado::Column>::const_iterator ColonneDe(ado::Table& table, const std::string& nom) {
  const std::string cherche = runtime::UpperCase(nom);
  const auto& colonnes = table.Columns();
  return std::find_if(colonnes.begin(), colonnes.end(), [&](const ado::Column& c) { return runtime::UpperCase(c.name) == cherche; });
}

}  // namespace

void DbTbl::Init(DataBase& db, ado::Table& table, bool avecMvt, ado::Recordset* rsFld, ado::Recordset* rsIdx, const std::string& owner) {
  db_ = &db;
  Nom(table.Name());
  Owner(owner);
  if (rsFld != nullptr) {
    ChargeFldCatalogue(&table, *rsFld);
  } else if (!ChargeFldTable()) {
    return;
  }
  avecMvt_ = avecMvt;
  if (rsIdx != nullptr) {
    ChargeIdxCatalogue(*rsIdx);
  } else {
    ChargeIdxTable(table);
  }
}

void DbTbl::Relit(ado::Table& table) {
  std::vector<std::string> ordre;
  for (const auto& champ : champs_) ordre.push_back(champ->Nom());
  index_.clear();
  Init(*db_, table, avecMvt_, nullptr, nullptr, owner_);
  std::stable_sort(champs_.begin(), champs_.end(), [&](const auto& un, const auto& autre) {
    return std::find(ordre.begin(), ordre.end(), un->Nom()) < std::find(ordre.begin(), ordre.end(), autre->Nom());
  });
}

bool DbTbl::ChargeFldTable() {
  const kinds::Moteur& moteur = db_->Moteur();
  ado::Recordset rs;
  try {
    rs = db_->OpenRecordSet((moteur.faits.premiereLigne ? "SELECT TOP 1 * FROM [" : "SELECT * FROM [") + nom_ + "]", 0);
  } catch (const runtime::Error& refus) {
    // A table that is not there under its upper-case name stays without fields; one that another program hinders us to read does not.
    if (moteur.faits.construitEnCommun && moteur.DUnAutreProgramme(refus) && refus.NativeCode() != moteur.faits.sansTable) throw;
    db_->NoteErreur(nom_, {refus.Number(), refus.Description()});
    return false;
  }
  const std::int16_t nombre = runtime::CheckedInt16(static_cast<std::int64_t>(rs.FieldCount()));
  champs_.clear();
  for (std::int16_t i = 0; i < nombre; ++i) {
    const ado::Field& champ = rs.Fields(static_cast<std::size_t>(i));
    const auto [typ, lg] =
        moteur.LitType({champ.Type(), static_cast<double>(champ.DefinedSize()), champ.Precision(), champ.NumericScale()});
    bool estCpt = false;
    if (moteur.faits.compteurs && champ.Type() == ado::adInteger) {
      runtime::IgnoringErrors([&] { estCpt = runtime::ToBoolean(champ.Property("IsAutoIncrement")); });
    }
    AjouteChampCharge(champ.Name(), typ, lg, estCpt, i);
  }
  runtime::IgnoringErrors([&] { rs.Close(); });
  return true;
}

void DbTbl::AjouteChampCharge(const std::string& nom, std::int16_t typ, double lg, bool estCpt, std::int16_t no) const {
  champs_.push_back(std::make_unique<DbFld>());
  // A length beyond 16 bits leaves a field without a length.
  const auto refus = runtime::IgnoringErrors([&] { champs_.back()->Init(nom, typ, lg, estCpt, this, no, false, "", ""); });
  if (refus) db_->NoteErreur(nom_, {refus.number, "longueur du champ " + champs_.back()->Nom() + " : " + refus.description});
}

void DbTbl::ChargeFldCatalogue(ado::Table* table, ado::Recordset& rsFld) {
  if (!ChercheCle(rsFld, "TBLNO", "TABLE", nom_)) return;
  const ado::Field& tbl = rsFld.Fields("TABLE");
  const ado::Field& nom = rsFld.Fields("NOM");
  const ado::Field& no = rsFld.Fields("NO");
  std::int64_t lignes = 0;
  for (; !rsFld.Eof() && runtime::UpperCase(TexteCatalogue(tbl.Value())) == nom_; rsFld.MoveNext()) {
    const std::string champ = TexteCatalogue(nom.Value());
    const std::int16_t numero = runtime::ToInt16(no.Value());
    numerosTroues_ = numerosTroues_ || numero != lignes;
    ++lignes;
    if (FldNomme(champ) != -1) continue;  // dropped behind the layer's back and made anew: a row was left behind
    (void)runtime::CheckedInt16(static_cast<std::int64_t>(champs_.size()) + 1);
    if (table == nullptr) {
      AjouteChampCharge(champ, 0, 0, false, numero);
      champs_.back()->typeAttendu_ = true;
      continue;
    }
    const auto colonne = ColonneDe(*table, champ);
    if (colonne == table->Columns().end()) continue;  // dropped behind the layer's back: the backend knows what there is
    const auto [typ, lg, estCpt] = Decrit(db_->Moteur(), *colonne);
    AjouteChampCharge(champ, typ, lg, estCpt, numero);
  }
  numerosTroues_ = numerosTroues_ || lignes != static_cast<std::int64_t>(champs_.size());
}

void DbTbl::InitAttachee(DataBase& db, const std::string& nom, bool avecMvt, ado::Recordset* rsFld, ado::Recordset* rsIdx) {
  db_ = &db;
  Nom(nom);
  avecMvt_ = avecMvt;
  attachee_ = true;
  if (rsFld != nullptr) ChargeFldCatalogue(nullptr, *rsFld);
  if (rsIdx != nullptr) ChargeIdxCatalogue(*rsIdx);
  aLire_ = champs_.empty();
}

const DbTbl& DbTbl::Connue() const {
  if (aLire_ && !db_->EnOuverture()) runtime::IgnoringErrors([&] { LitDefinition(); });
  return *this;
}

void DbTbl::LitDefinition() const {
  ado::Table table = db_->ResoutLien(nom_);
  const std::vector<ado::Column>& colonnes = table.Columns();
  aLire_ = false;
  for (const ado::Column& colonne : colonnes) {
    const std::int16_t no = runtime::CheckedInt16(static_cast<std::int64_t>(champs_.size()));
    const auto [typ, lg, estCpt] = Decrit(db_->Moteur(), colonne);
    AjouteChampCharge(colonne.name, typ, lg, estCpt, no);
  }
  if (index_.empty()) ChargeIdxTable(table);
}

void DbTbl::LitTypes() const {
  ado::Table table = db_->ResoutLien(nom_);
  for (const auto& champ : champs_) {
    const auto colonne = ColonneDe(table, champ->nom_);
    if (!champ->typeAttendu_ || colonne == table.Columns().end()) continue;
    const auto [typ, lg, estCpt] = Decrit(db_->Moteur(), *colonne);
    champ->typeAttendu_ = false;
    // A length beyond 16 bits leaves a field without a length.
    runtime::IgnoringErrors([&, typ = typ, lg = lg, estCpt = estCpt] {
      champ->Init(std::string(champ->nom_), typ, lg, estCpt, this, champ->no_, champ->obg_, std::string(champ->fmt_),
                  std::string(champ->ini_));
    });
  }
}

void DbTbl::Reprend(const DbTbl& source) {
  if (champs_.empty()) {
    for (const DbFld& fld : source.Champs())
      AjouteChampCharge(fld.Nom(), fld.Typ(), fld.Lg(), fld.EstCpt(), static_cast<std::int16_t>(champs_.size()));
    aLire_ = champs_.empty();
  }
  index_.clear();
  for (const DbIdx& idx : source.Index()) {
    index_.push_back(std::make_unique<DbIdx>());
    index_.back()->Init(LitChampsIdx(idx.Nom(), idx.SFld(), idx.Primary(), idx.Unique()), this);
  }
}

void DbTbl::ChargeIdxTable(ado::Table& table) const {
  CacheCles cles;
  for (const ado::Index& index : table.Indexes()) AjouteIndexCharge(index, cles);
}

void DbTbl::ChargeIdxCatalogue(ado::Recordset& rsIdx) {
  if (!ChercheCle(rsIdx, "TBLNOM", "TABLE", nom_)) return;
  const ado::Field& tbl = rsIdx.Fields("TABLE");
  const ado::Field& nom = rsIdx.Fields("NOM");
  const ado::Field& champs = rsIdx.Fields("CHAMPS");
  const ado::Field& primaire = rsIdx.Fields("PRIMAIRE");
  const ado::Field& unique = rsIdx.Fields("UNIQUE");
  CacheCles cles;
  for (; !rsIdx.Eof() && runtime::UpperCase(TexteCatalogue(tbl.Value())) == nom_; rsIdx.MoveNext()) {
    AjouteIndexCharge(LitChampsIdx(TexteCatalogue(nom.Value()), TexteCatalogue(champs.Value()), DrapeauCatalogue(primaire.Value()),
                                   DrapeauCatalogue(unique.Value())),
                      cles);
  }
}

void DbTbl::AjouteIndexCharge(const ado::Index& index, CacheCles& cles) const {
  (void)runtime::CheckedInt16(static_cast<std::int64_t>(index_.size()) + 1);
  auto nouvel = std::make_unique<DbIdx>();
  if (db_->Moteur().faits.questionCles != nullptr) {
    // One reading of the keys serves all indexes of the table.
    if (!cles) cles = LitCles(*db_, nom_);
    nouvel->Init(index, this, *cles);
  } else {
    nouvel->Init(index, this);
  }
  index_.push_back(std::move(nouvel));
}

ado::Index DbTbl::LitChampsIdx(const std::string& nom, const std::string& champs, bool primaire, bool unique) const {
  ado::Index index;
  index.name = nom;
  index.primaryKey = primaire;
  index.unique = unique;
  index.indexNulls = ado::adIndexNullsIgnore;
  std::string_view reste = champs;
  while (!reste.empty()) {
    std::string_view champ = reste.substr(0, reste.find(';'));
    reste.remove_prefix(std::min(champ.size() + 1, reste.size()));
    ado::Column colonne;
    if (!champ.empty() && (champ.front() == '-' || champ.front() == '+')) {
      if (champ.front() == '-') colonne.sortOrder = ado::adSortDescending;
      champ.remove_prefix(1);
    }
    colonne.name = champ;
    index.columns.push_back(std::move(colonne));
  }
  return index;
}

}  // namespace tamlo::db
