#pragma once

#include "db/kinds/Moteur.h"

namespace tamlo::db::kinds {

/// Kind 2, Oracle: names in double quotes behind the owner, storage parameters from the parameter file, index names that begin with the table's.
class MoteurOracle final : public Moteur {
 public:
  MoteurOracle();

  [[nodiscard]] std::optional<std::string> TypeRelu(std::int32_t typ, std::int32_t lg) const override;
  [[nodiscard]] TypeDeChamp LitType(const TypeDeBase& base) const override;
  [[nodiscard]] std::string SupprimeTable(const std::string& nom, const std::string& owner) const override;
  [[nodiscard]] std::string QuestionTables(const std::string& owner, const std::string& nomBase) const override;
  [[nodiscard]] std::vector<std::string> QuestionsPrivilege(const std::string& compte, const std::string& privilege) const override;
  [[nodiscard]] std::string QuestionPrivilege(const std::string& compte, const std::string& owner, const std::string& table,
                                              const std::string& privilege) const override;

 protected:
  void Traduit(std::string& sql, const Contexte& contexte) const override;
  [[nodiscard]] Rangement Range(const DefTbl& tbl, bool nouvelle) const override;
};

}  // namespace tamlo::db::kinds
