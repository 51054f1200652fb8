#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "db/DataBase.h"
#include "db/Environnement.h"
#include "runtime/Error.h"
#include "tests/support_lib/RecordingProvider.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {

/// An open database of a kind, behind which a provider records what it is asked. The calls of the opening are forgotten.
class BaseEnregistree {
 public:
  explicit BaseEnregistree(std::int16_t kind, const std::string& nom = "BASE1") {
    db::EnvironnementCourant().dossierProgramme = dossier_.Path().string();
    // What every Oracle server has.
    provider_.AnswerPrefix("SELECT * FROM ALL_TABLES",
                           {{MakeField("OWNER", ado::adVarWChar, 30), MakeField("TABLE_NAME", ado::adVarWChar, 30)}, {}});
    EXPECT_TRUE(base_.Ouvre(nom, kind, true));
    provider_.ClearCalls();
  }
  ~BaseEnregistree() {
    base_.Ferme();
    db::EnvironnementCourant() = {};
  }

  [[nodiscard]] db::DataBase& Base() { return base_; }
  [[nodiscard]] RecordingProvider& Provider() { return provider_; }
  [[nodiscard]] const TemporaryFolder& Dossier() const { return dossier_; }

  /// Adds a table to the backend and to the list, with fields of type 202 and length 30.
  db::DbTbl& AjouteTable(const std::string& nom, const std::vector<std::string>& champs) {
    auto tbl = std::make_unique<db::DbTbl>();
    tbl->Nom(nom);
    for (const auto& champ : champs) tbl->AddFld(champ, ado::adVarWChar, 30, false);
    if (base_.Kind16() >= db::TypOdbc) {
      ScriptedTable table;
      table.name = nom;
      for (const auto& champ : champs) table.columns.push_back(MakeColumn(champ, ado::adVarWChar, 30));
      provider_.AddTable(std::move(table));
      base_.Catalogue().Refresh();
    }
    db::DbTbl& ajoutee = base_.AddTbl(std::move(tbl));
    provider_.ClearCalls();
    return ajoutee;
  }

 private:
  TemporaryFolder dossier_;
  RecordingProvider provider_;
  db::DataBase base_;
};

/// A new definition without a database.
inline std::unique_ptr<db::DbTbl> Definition(const std::string& nom) {
  auto tbl = std::make_unique<db::DbTbl>();
  tbl->Nom(nom);
  return tbl;
}

/// The number and description that a call raises; 0 when it raises nothing.
template <typename Call>
runtime::PendingError Erreur(Call&& call) {
  return runtime::IgnoringErrors(std::forward<Call>(call));
}

}  // namespace tamlo::tests
