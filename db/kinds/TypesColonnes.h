#pragma once

#include <cstdint>
#include <string_view>

namespace tamlo::db::kinds {

/// The column types that a backend writes for the ADO type codes, each with the blank that stands before it; "#" is the field's length. A
/// blank one is not known to the backend.
struct TypesColonnes {
  std::string_view texte;         ///< adVarWChar, adChar, adWChar
  std::string_view memo;          ///< adLongVarWChar, adLongVarChar, adVarChar
  std::string_view date;          ///< adDate, adDBTimeStamp
  std::string_view booleen;       ///< adBoolean
  std::string_view octet;         ///< adUnsignedTinyInt, adTinyInt
  std::string_view court;         ///< adSmallInt
  std::string_view entier;        ///< adInteger
  std::string_view numerique;     ///< adNumeric
  std::string_view reel;          ///< adDouble
  std::string_view reel15;        ///< adDouble of length 15
  std::string_view monnaie;       ///< adCurrency
  std::string_view varNumerique;  ///< adVarNumeric
  std::string_view simple;        ///< adSingle
  std::string_view binaire;       ///< adLongVarBinary, adBinary

  /// The one for a type code and a length; blank for a code that stands nowhere.
  [[nodiscard]] std::string_view De(std::int32_t typ, std::int32_t lg) const noexcept;
};

}  // namespace tamlo::db::kinds
