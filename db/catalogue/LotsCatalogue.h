#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ado/BulkInsert.h"
#include "db/DbTbl.h"
#include "db/LignesCatalogue.h"

namespace tamlo::db::catalogue {

/// The rows of one table in the catalog, in their order: its own, one for each field, one for each index. ecrit(place, valeurs) is called for
/// each; place counts from 0 inside its part. Every writer of the catalog goes through these.
template <typename Ecrit>
void LigneTbl(const DbTbl& tbl, Ecrit&& ecrit) {
  ecrit(std::int16_t{0}, ValeursTbl(tbl));
}
template <typename Ecrit>
void LignesFld(const DbTbl& tbl, Ecrit&& ecrit) {
  // By position: a field keeps its number when one before it is dropped, and the next one's number is their count.
  std::int16_t place = 0;
  for (const DbFld& fld : tbl.Champs()) {
    ecrit(place, ValeursFld(tbl, fld, place));
    ++place;
  }
}
template <typename Ecrit>
void LignesIdx(const DbTbl& tbl, Ecrit&& ecrit) {
  std::int16_t place = 0;
  for (const DbIdx& idx : tbl.Index()) ecrit(place++, ValeursIdx(tbl, idx));
}

enum class PartieCatalogue : std::uint8_t { kTbl, kFld, kIdx };

/// Where a row stands in the order in which the catalog is written: table by table, and in each its own row, its fields, its indexes.
struct RangCatalogue {
  std::size_t table = 0;  ///< position in the table list
  PartieCatalogue partie = PartieCatalogue::kTbl;
  std::int16_t place = 0;
  auto operator<=>(const RangCatalogue&) const = default;
};

/// The rows of many tables on their way into three catalog tables that nobody else writes, in batches where the provider has them. The rows of
/// "$TBLKORV$" go last: where the backend cannot hold the rows together, that table stays empty until the others are whole.
class LotsCatalogue {
 public:
  explicit LotsCatalogue(ado::Connection& connexion);

  /// Takes the rows of a table that stand before arret (all without one).
  void Ecrit(const DbTbl& tbl, std::size_t table, const std::optional<RangCatalogue>& arret);
  /// Sends what is held back. Must be called at the end.
  void Termine();
  /// After an error: the first row that was refused, as far as the batches have come; none when the error was none of a row.
  [[nodiscard]] std::optional<RangCatalogue> RangRefuse() const;

 private:
  struct Lot {
    ado::BulkInsert lignes;
    std::vector<RangCatalogue> rangs;  // of the rows added, in order
  };
  struct LigneTenue {
    RangCatalogue rang;
    std::array<runtime::Variant, kColonnesTbl.size()> valeurs;
  };
  static void Ajoute(Lot& lot, const RangCatalogue& rang, std::span<const runtime::Variant> valeurs);

  Lot tbl_;
  Lot fld_;
  Lot idx_;
  std::vector<LigneTenue> tenues_;
};

}  // namespace tamlo::db::catalogue
