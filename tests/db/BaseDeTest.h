#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "db/DataBase.h"
#include "db/DbUtil.h"
#include "db/Environnement.h"
#include "runtime/Error.h"
#include "runtime/RegionalSettings.h"
#include "tests/support_lib/FakePlatform.h"
#include "tests/support_lib/RecordingProvider.h"

namespace tamlo::tests {

/// A scripted backend, a platform without a screen, and one DataBase on them. The connected user is ADM with the
/// password secret.
class BaseDeTest : public testing::Test {
 protected:
  using Ligne = std::vector<runtime::Variant>;
  using Textes = std::vector<std::string>;

  BaseDeTest();
  ~BaseDeTest() override;

  /// A table of the backend with the fields NOM (text 30) and NIVEAU (16-bit integer), and a primary index PK on NOM.
  ScriptedTable& AjouteTable(const std::string& nom, const std::string& type = "TABLE");
  /// The probe table of MySQL databases, with its rows in the catalog where there is one; Lignes leaves those out.
  void AjouteSonde();
  /// The four catalog tables, empty but for the rows of a table that is not there; Lignes leaves those out.
  void AjouteCatalogue();
  void LigneFld(const std::string& table, std::int16_t no, const std::string& nom);
  void LigneIdx(const std::string& table, const std::string& nom, const std::string& champs, bool primaire, bool unique);
  void LigneRlt(const std::string& src, const std::string& fldSrc, const std::string& cbl, const std::string& fldCbl, int typ, int typInv,
                bool obg);
  /// Answers SHOW KEYS of every table with these (key, column) pairs.
  void ScripteCles(const std::vector<std::pair<std::string, std::string>>& cles);
  /// Answers ALL_TABLES with these (name, owner) pairs.
  void ScripteToutesTables(const std::vector<std::pair<std::string, std::string>>& tables);

  /// Opens the database of that kind and forgets the calls that this took.
  void Ouvre(std::int16_t kind, const std::string& nom = "VOLUMES");
  /// Statements and sources sent since then, in order.
  [[nodiscard]] Textes Envoyes() const;
  [[nodiscard]] std::vector<Ligne> Lignes(const std::string& table);

  RecordingProvider provider;
  FakePlatform platform;
  db::DataBase db;

 private:
  db::Environnement precedent_;
  runtime::RegionalSettingsOverride reglages_{{"dd/MM/yyyy", ','}};
};

/// Runs a call and hands back the number of the error that it raised; 0 for none.
template <typename Appel>
std::int32_t Numero(Appel&& appel) {
  return runtime::IgnoringErrors(std::forward<Appel>(appel)).number;
}

}  // namespace tamlo::tests
