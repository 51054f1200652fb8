#include "db/catalogue/ChargementRelations.h"

#include <string>

#include "db/DbUtil.h"
#include "db/LignesCatalogue.h"
#include "db/catalogue/ConstructionCatalogue.h"
#include "db/kinds/Moteur.h"
#include "runtime/Conversions.h"

namespace tamlo::db::catalogue {

namespace {

DbRlt RelationLue(const ado::Recordset& rs) {
  const auto type = [](const ado::Variant& valeur) { return valeur.IsNull() ? 0 : runtime::ToInt32(valeur); };
  // Read in the order of the columns, which the order of arguments would not promise.
  const std::string aliasSrc = TexteCatalogue(rs.Fields("ALIASSRC").Value());
  const std::string fldSrc = TexteCatalogue(rs.Fields("FLDSRC").Value());
  const std::string aliasCbl = TexteCatalogue(rs.Fields("ALIASCBL").Value());
  const std::string fldCbl = TexteCatalogue(rs.Fields("FLDCBL").Value());
  const std::int32_t typ = type(rs.Fields("TYP").Value());
  const std::int32_t typInv = type(rs.Fields("TYPINV").Value());
  DbRlt relation;
  relation.Init(aliasSrc, fldSrc, aliasCbl, fldCbl, typ, typInv, DrapeauCatalogue(rs.Fields("OBLIGATOIRE").Value()));
  return relation;
}

}  // namespace

void LitRelations(DataBase& db) {
  ado::Recordset rs = db.OpenRecordSet("SELECT * FROM [$RLTKORV$]", 0);
  const bool vide = rs.Eof();
  for (; !rs.Eof(); rs.MoveNext()) db.RelationsListees().Ajoute(RelationLue(rs));
  rs.Close();
  if (!vide || !SansCle(db, kRltKorv)) return;
  if (db.Moteur().faits.construitEnCommun) return CompleteCle(db, DefinitionCatalogue(kRltKorv));
  db.SupTbl(kRltKorv);
  CreeCatRlt(db);
}

}  // namespace tamlo::db::catalogue
