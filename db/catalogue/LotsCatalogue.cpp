#include "db/catalogue/LotsCatalogue.h"

#include "db/DataBase.h"

namespace tamlo::db::catalogue {

LotsCatalogue::LotsCatalogue(ado::Connection& connexion)
    : tbl_{ado::BulkInsert(connexion, kTblKorv, {kColonnesTbl.begin(), kColonnesTbl.end()}), {}},
      fld_{ado::BulkInsert(connexion, kFldKorv, {kColonnesFld.begin(), kColonnesFld.end()}), {}},
      idx_{ado::BulkInsert(connexion, kIdxKorv, {kColonnesIdx.begin(), kColonnesIdx.end()}), {}} {}

void LotsCatalogue::Ajoute(Lot& lot, const RangCatalogue& rang, std::span<const runtime::Variant> valeurs) {
  lot.rangs.push_back(rang);
  lot.lignes.Add(valeurs);
}

void LotsCatalogue::Ecrit(const DbTbl& tbl, std::size_t table, const std::optional<RangCatalogue>& arret) {
  const auto avant = [&](const RangCatalogue& rang) { return !arret || rang < *arret; };
  LigneTbl(tbl, [&](std::int16_t place, auto&& valeurs) {
    const RangCatalogue rang{table, PartieCatalogue::kTbl, place};
    if (avant(rang)) tenues_.push_back({rang, valeurs});
  });
  LignesFld(tbl, [&](std::int16_t place, auto&& valeurs) {
    const RangCatalogue rang{table, PartieCatalogue::kFld, place};
    if (avant(rang)) Ajoute(fld_, rang, valeurs);
  });
  LignesIdx(tbl, [&](std::int16_t place, auto&& valeurs) {
    const RangCatalogue rang{table, PartieCatalogue::kIdx, place};
    if (avant(rang)) Ajoute(idx_, rang, valeurs);
  });
}

void LotsCatalogue::Termine() {
  idx_.lignes.Flush();
  fld_.lignes.Flush();
  for (const LigneTenue& ligne : tenues_) Ajoute(tbl_, ligne.rang, ligne.valeurs);
  tenues_.clear();
  tbl_.lignes.Flush();
}

std::optional<RangCatalogue> LotsCatalogue::RangRefuse() const {
  std::optional<RangCatalogue> premier;
  for (const Lot* lot : {&tbl_, &fld_, &idx_}) {
    const auto ligne = static_cast<std::size_t>(lot->lignes.RefusedRow());
    if (ligne == 0 || ligne > lot->rangs.size()) continue;
    const RangCatalogue& rang = lot->rangs[ligne - 1];
    if (!premier || rang < *premier) premier = rang;
  }
  return premier;
}

}  // namespace tamlo::db::catalogue
