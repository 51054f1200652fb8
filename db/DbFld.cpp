#include "db/DbFld.h"

#include "ado/Types.h"
#include "db/DataBase.h"
#include "db/DbTbl.h"
#include "db/LignesCatalogue.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db {

namespace {

/// From this length on a variable text is a memo text.
constexpr double kLongueurMemo = 2000;

std::int16_t TypeNormalise(std::int16_t typ, double lg) {
  switch (typ) {
    case ado::adChar:
    case ado::adWChar:
      return ado::adVarWChar;
    case ado::adLongVarChar:
      return ado::adLongVarWChar;
    case ado::adVarChar:
      return lg < kLongueurMemo ? ado::adVarWChar : ado::adLongVarWChar;
    case ado::adDBTimeStamp:
    case ado::adDBDate:
      return ado::adDate;
    case ado::adVarNumeric:
      return ado::adDouble;
    case ado::adTinyInt:
      return ado::adUnsignedTinyInt;
    case ado::adBinary:
      return ado::adLongVarBinary;
    default:
      return typ;
  }
}

}  // namespace

void DbFld::Init(const std::string& nom, std::int16_t typ, double lg, bool estCpt, const DbTbl* table, std::int16_t no, bool obg,
                 const std::string& fmt, const std::string& ini) {
  nom_ = runtime::LowerCase(runtime::Trim(nom));
  typ_ = TypeNormalise(typ, lg);
  estCpt_ = estCpt;
  table_ = table;
  no_ = no;
  obg_ = obg;
  fmt_ = fmt;
  ini_ = ini;
  // Last: a length that does not fit leaves a field that is whole but for its length.
  lg_ = 0;
  if (typ_ == ado::adVarWChar || typ == ado::adDouble) lg_ = runtime::RoundToInt16(lg);
}

const DbFld& DbFld::Connu() const {
  if (typeAttendu_) table_->LitTypes();
  if (typeAttendu_) throw runtime::Error(runtime::kItemNotFound, runtime::Describe(runtime::kItemNotFound) + " (" + nom_ + ")");
  return *this;
}

std::int16_t DbFld::LgSais() const {
  switch (Connu().typ_) {
    case ado::adBoolean:
      return 1;
    case ado::adUnsignedTinyInt:
      return 3;
    case ado::adSmallInt:
      return 5;
    case ado::adInteger:
    case ado::adSingle:
    case ado::adDouble:
    case ado::adCurrency:
      return 15;
    case ado::adDate:
      return 10;
    case ado::adLongVarWChar:
      return 0;
    default:
      return lg_;
  }
}

void DbFld::Obg(bool obligatoire) {
  if (obligatoire == obg_) return;
  obg_ = obligatoire;
  if (table_ == nullptr || table_->Db() == nullptr) return;
  if (const NomsDeLigne noms{{"TABLE", table_->Nom()}, {"NOM", nom_}}; !TiennentDansUnLitteral(*table_->Db(), noms)) {
    PoseDrapeau(*table_->Db(), kFldKorv, "OBLIGATOIRE", obligatoire, noms);
    return;
  }
  table_->Db()->ExecuteSQL("UPDATE [$FLDKORV$] SET [OBLIGATOIRE]=" + std::string(obligatoire ? "-1" : "0") + " WHERE  [TABLE]='" +
                           table_->Nom() + "' AND [NOM]='" + nom_ + "'");
}

}  // namespace tamlo::db
