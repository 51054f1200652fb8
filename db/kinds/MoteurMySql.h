#pragma once

#include "db/kinds/Moteur.h"

namespace tamlo::db::kinds {

/// Kind 3, MySQL and MariaDB: names in back quotes, a primary key by ALTER TABLE, every other index by CREATE INDEX.
class MoteurMySql final : public Moteur {
 public:
  MoteurMySql();

  [[nodiscard]] TypeDeChamp LitType(const TypeDeBase& base) const override;
  [[nodiscard]] std::string SupprimeTable(const std::string& nom, const std::string& owner) const override;
  [[nodiscard]] std::string SupprimeTableCitee(const std::string& nom) const override;
  [[nodiscard]] bool DUnAutreProgramme(const runtime::Error& erreur) const override;

 protected:
  void Traduit(std::string& sql, const Contexte& contexte) const override;
  [[nodiscard]] Edition TexteIndex(const DefTbl& tbl, const ado::Index& index, const Rangement& rangement) const override;
};

/// What this family makes of a statement: double quotes around texts, back quotes around names, dates as texts by the picture fmtDate.
void TraduitPourMySql(std::string& sql, std::string_view fmtDate);

/// The numbers by which servers of this family tell that another program was at the same tables.
[[nodiscard]] bool EstDUnAutreMySql(const runtime::Error& erreur);

}  // namespace tamlo::db::kinds
