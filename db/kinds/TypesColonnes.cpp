#include "db/kinds/TypesColonnes.h"

#include <array>
#include <initializer_list>
#include <string_view>

#include "ado/Types.h"

namespace tamlo::db::ddl {

namespace {

constexpr std::int32_t kToute = -1;  // the row holds for every length

// "#" stands for the field's length.
struct Ligne {
  std::array<std::int16_t, 3> types;  // ADO codes, adEmpty for none
  std::int32_t lg;
  std::array<std::string_view, 3> textes;  // in the order of Dialecte
};

// Deliberate irregularities: a variable text is a fixed CHAR on MySQL and Oracle while 200 counts as a long text; a double of length 15
// is exact on MySQL alone; 131 has no type on SQL Server; only a boolean has a default; VARCHAR2 is always of 2000, VARBINARY of no length.
constexpr Ligne kTable[] = {
    {{ado::adVarWChar, ado::adChar, ado::adWChar}, kToute, {" CHAR(#)", " NVARCHAR(#)", " CHAR(#)"}},
    {{ado::adLongVarWChar, ado::adLongVarChar, ado::adVarChar}, kToute, {" MEDIUMTEXT", " NTEXT", " VARCHAR2(2000)"}},
    {{ado::adDate, ado::adDBTimeStamp}, kToute, {" DATETIME", " DATETIME", " DATE"}},
    {{ado::adBoolean}, kToute, {" NUMERIC(1)", " BIT DEFAULT 0", " NUMBER(1,0) DEFAULT 0"}},
    {{ado::adUnsignedTinyInt, ado::adTinyInt}, kToute, {" TINYINT UNSIGNED", " TINYINT", " NUMBER(3,0)"}},
    {{ado::adSmallInt}, kToute, {" SMALLINT", " SMALLINT", " NUMBER(5,0)"}},
    {{ado::adInteger}, kToute, {" INT", " INT", " NUMBER(10,0)"}},
    {{ado::adNumeric}, kToute, {" INT", "", " NUMBER(10,0)"}},
    {{ado::adDouble}, 15, {" DECIMAL(15,0)", " FLOAT", " NUMBER"}},
    {{ado::adDouble}, kToute, {" DOUBLE", " FLOAT", " NUMBER"}},
    {{ado::adCurrency}, kToute, {" DOUBLE", " MONEY", " NUMBER"}},
    {{ado::adVarNumeric}, kToute, {" DOUBLE", " FLOAT", " NUMBER"}},
    {{ado::adSingle}, kToute, {" FLOAT", " REAL", " FLOAT"}},
    {{ado::adLongVarBinary, ado::adBinary}, kToute, {" LONGBLOB", " VARBINARY", " BLOB"}},
};

bool Vaut(const Ligne& ligne, std::int32_t typ, std::int32_t lg) {
  if (ligne.lg != kToute && ligne.lg != lg) return false;
  for (const std::int16_t code : ligne.types) {
    if (code != ado::adEmpty && code == typ) return true;
  }
  return false;
}

}  // namespace

std::optional<std::string> TypeColonne(Dialecte dialecte, std::int32_t typ, std::int32_t lg) {
  for (const Ligne& ligne : kTable) {
    if (!Vaut(ligne, typ, lg)) continue;
    std::string texte(ligne.textes[static_cast<std::size_t>(dialecte)]);
    if (const auto place = texte.find('#'); place != std::string::npos) texte.replace(place, 1, std::to_string(lg));
    return texte;
  }
  return std::nullopt;
}

}  // namespace tamlo::db::ddl
