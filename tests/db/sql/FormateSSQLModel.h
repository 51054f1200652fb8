#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tamlo::tests {

/// The translation of statements as it is described, replacement by replacement, without any thought for speed: the
/// measure for the one that the layer uses. Texts are rows of characters here and every position is a 16-bit number.
struct FormateSSQLModel {
  struct Table {
    std::string nom;
    std::string owner;
  };

  std::int16_t kind = 0;
  std::string fmtDate;
  std::string fmtDateCourte;  ///< as LitFmtDateCourte gives it
  std::vector<Table> tables;

  /// Translates in place. Errors 5 and 6 as runtime::Error; the text is then what the steps before the failing one made
  /// of it.
  void Traduit(std::string& sql) const;
};

}  // namespace tamlo::tests
