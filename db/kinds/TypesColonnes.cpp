#include "db/kinds/TypesColonnes.h"

#include "ado/Types.h"

namespace tamlo::db::kinds {

namespace {

struct Ligne {
  std::int32_t typ;
  std::string_view TypesColonnes::*texte;
};

// Deliberate: 200 counts as a long text, while 202 is one of fixed length.
constexpr Ligne kLignes[] = {
    {ado::adVarWChar, &TypesColonnes::texte},
    {ado::adChar, &TypesColonnes::texte},
    {ado::adWChar, &TypesColonnes::texte},
    {ado::adLongVarWChar, &TypesColonnes::memo},
    {ado::adLongVarChar, &TypesColonnes::memo},
    {ado::adVarChar, &TypesColonnes::memo},
    {ado::adDate, &TypesColonnes::date},
    {ado::adDBTimeStamp, &TypesColonnes::date},
    {ado::adBoolean, &TypesColonnes::booleen},
    {ado::adUnsignedTinyInt, &TypesColonnes::octet},
    {ado::adTinyInt, &TypesColonnes::octet},
    {ado::adSmallInt, &TypesColonnes::court},
    {ado::adInteger, &TypesColonnes::entier},
    {ado::adNumeric, &TypesColonnes::numerique},
    {ado::adDouble, &TypesColonnes::reel},
    {ado::adCurrency, &TypesColonnes::monnaie},
    {ado::adVarNumeric, &TypesColonnes::varNumerique},
    {ado::adSingle, &TypesColonnes::simple},
    {ado::adLongVarBinary, &TypesColonnes::binaire},
    {ado::adBinary, &TypesColonnes::binaire},
};

}  // namespace

std::string_view TypesColonnes::De(std::int32_t typ, std::int32_t lg) const noexcept {
  constexpr std::int32_t kLgExacte = 15;
  if (typ == ado::adDouble && lg == kLgExacte) return reel15;
  for (const Ligne& ligne : kLignes) {
    if (ligne.typ == typ) return this->*ligne.texte;
  }
  return {};
}

}  // namespace tamlo::db::kinds
