#include <algorithm>

#include "db/DataBase.h"
#include "db/DbUtil.h"
#include "db/kinds/Moteur.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db {

DbRlt& DataBase::ListeRlt(std::int16_t i) {
  if (i < 0 || static_cast<std::size_t>(i) >= relations_.size()) throw runtime::Error(runtime::kSubscriptOutOfRange);
  return *relations_[static_cast<std::size_t>(i)];
}

DbRlt& DataBase::AjouteRlt(const DbRlt& rlt) {
  (void)runtime::CheckedInt16(static_cast<std::int64_t>(relations_.size()) + 1);
  relations_.push_back(std::make_unique<DbRlt>(rlt));
  return *relations_.back();
}

bool DataBase::AddRlt(const std::string& aliasSrc, const std::string& fldSrc, const std::string& aliasCbl, const std::string& fldCbl,
                      std::int32_t typ, std::int32_t typInv, bool obg) {
  const std::string source = runtime::UpperCase(aliasSrc);
  const std::string cible = runtime::UpperCase(aliasCbl);
  const bool connue = std::any_of(relations_.begin(), relations_.end(),
                                  [&](const auto& relation) { return relation->AliasSrc() == source && relation->AliasCbl() == cible; });
  if (connue) return false;
  DbRlt relation;
  relation.Init(source, runtime::LowerCase(fldSrc), cible, runtime::LowerCase(fldCbl), typ, typInv, !obg);
  AjouteRlt(relation);
  return true;
}

void DataBase::AddRltAttachee(const DbRlt& rlt) {
  if (Moteur().faits.attache) AjouteRlt(rlt);
}

void DataBase::GetListeRlt(const std::string& aliasDe, const std::string& aliasVers, std::vector<DbRlt*>& chaine, std::int16_t& longueur,
                           const std::string& visites) {
  chaine.clear();
  longueur = 0;
  // Separators at both ends: an alias is not taken for a longer one that contains it.
  if ((";" + visites + ";").find(";" + aliasDe + ";") != std::string::npos) return;
  for (const auto& relation : relations_) {
    const bool direct = relation->AliasSrc() == aliasDe && relation->AliasCbl() == aliasVers;
    const bool inverse = relation->AliasCbl() == aliasDe && relation->AliasSrc() == aliasVers;
    if (!direct && !inverse) continue;
    chaine.push_back(relation.get());
    longueur = 1;
    return;
  }
  const std::string dejaVus = aliasDe + ";" + visites;
  for (const auto& relation : relations_) {
    const bool parSource = relation->AliasSrc() == aliasDe;
    if (!parSource && relation->AliasCbl() != aliasDe) continue;
    GetListeRlt(parSource ? relation->AliasCbl() : relation->AliasSrc(), aliasVers, chaine, longueur, dejaVus);
    if (longueur == 0) continue;
    chaine.insert(chaine.begin(), relation.get());
    longueur = runtime::Add16(longueur, 1);
    return;
  }
}

void DataBase::ChargeListeRlt() {
  tableEnCours_ = kRltKorv;
  const std::size_t nombre = relations_.size();
  // Where several build the same catalog the table may be on its way, or its key.
  for (Patience patience;;) {
    try {
      if (!ExisteTbl(kRltKorv)) {
        CreeCatRlt(*this);
        return;
      }
      return LitRelations();
    } catch (const runtime::Error& erreur) {
      if (!Moteur().faits.construitEnCommun || !Moteur().DUnAutreProgramme(erreur) || !patience.Encore()) throw;
      relations_.resize(nombre);
    }
    Catalogue().Refresh();
  }
}

void DataBase::LitRelations() {
  const auto type = [](const ado::Variant& valeur) { return valeur.IsNull() ? 0 : runtime::ToInt32(valeur); };
  ado::Recordset rs = OpenRecordSet("SELECT * FROM [$RLTKORV$]", 0);
  const bool vide = rs.Eof();
  for (; !rs.Eof(); rs.MoveNext()) {
    // Read in the order of the columns, which the order of arguments would not promise.
    const std::string aliasSrc = TexteCatalogue(rs.Fields("ALIASSRC").Value());
    const std::string fldSrc = TexteCatalogue(rs.Fields("FLDSRC").Value());
    const std::string aliasCbl = TexteCatalogue(rs.Fields("ALIASCBL").Value());
    const std::string fldCbl = TexteCatalogue(rs.Fields("FLDCBL").Value());
    const std::int32_t typ = type(rs.Fields("TYP").Value());
    const std::int32_t typInv = type(rs.Fields("TYPINV").Value());
    DbRlt relation;
    relation.Init(aliasSrc, fldSrc, aliasCbl, fldCbl, typ, typInv, DrapeauCatalogue(rs.Fields("OBLIGATOIRE").Value()));
    AjouteRlt(relation);
  }
  rs.Close();
  if (!vide || !SansCle(kRltKorv)) return;
  if (Moteur().faits.construitEnCommun) return CompleteCle(DefinitionCatalogue(kRltKorv));
  SupTbl(kRltKorv);
  CreeCatRlt(*this);
}

}  // namespace tamlo::db
