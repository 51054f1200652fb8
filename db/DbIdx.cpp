#include "db/DbIdx.h"

#include "db/DataBase.h"
#include "db/DbTbl.h"
#include "db/LignesCatalogue.h"
#include "db/Recherche.h"
#include "db/kinds/Moteur.h"
#include "runtime/Conversions.h"
#include "runtime/Text.h"

namespace tamlo::db {

void DbIdx::Init(const ado::Index& index, const DbTbl* table) {
  const bool apart = table != nullptr && table->Db() != nullptr && table->Db()->Moteur().faits.questionCles != nullptr;
  if (apart) {
    Init(index, table, LitCles(*table->Db(), table->Nom()));
    return;
  }
  Decrit(index);
}

void DbIdx::Init(const ado::Index& index, const DbTbl* table, const std::vector<CleLue>& cles) {
  Decrit(index);
  primary_ = nom_ == table->Db()->Moteur().faits.clePrimaire;
  std::vector<Champ> champs;
  for (const CleLue& cle : cles) {
    if (cle.index == nom_) champs.push_back({cle.champ, cle.champ, ado::adSortAscending});
  }
  // The server knows a primary key as PRIMARY alone: one that was made under another name keeps the described fields.
  if (!champs.empty()) champs_ = std::move(champs);
}

void DbIdx::Decrit(const ado::Index& index) {
  nom_ = runtime::UpperCase(index.name);
  primary_ = index.primaryKey && index.unique;
  unique_ = index.unique;
  champs_.clear();
  champs_.reserve(static_cast<std::size_t>(runtime::CheckedInt16(static_cast<std::int64_t>(index.columns.size()))));
  for (const ado::Column& colonne : index.columns) {
    champs_.push_back({runtime::LowerCase(colonne.name), colonne.name, colonne.sortOrder});
  }
}

std::int16_t DbIdx::NbFld() const { return runtime::CheckedInt16(static_cast<std::int64_t>(champs_.size())); }

const std::string& DbIdx::NomFld(std::int16_t i) const { return ChampA(i).nom; }

const std::string& DbIdx::NomFldDecrit(std::int16_t i) const { return ChampA(i).decrit; }

std::int16_t DbIdx::SensFld(std::int16_t i) const { return ChampA(i).sens; }

std::string DbIdx::SFld() const {
  std::string texte;
  for (const Champ& champ : champs_) {
    if (&champ != &champs_.front()) texte += ';';
    if (champ.sens == ado::adSortDescending) texte += '-';
    texte += champ.nom;
  }
  return texte;
}

const DbIdx::Champ& DbIdx::ChampA(std::int16_t i) const { return EntreeA(champs_, i); }

}  // namespace tamlo::db
