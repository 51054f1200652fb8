#include <gtest/gtest.h>

#include <random>

#include "runtime/Error.h"
#include "tests/backends/Accord.h"
#include "tests/backends/Backend.h"
#include "tests/support_lib/Seed.h"

namespace tamlo::tests {
namespace {

/// Random edits with names that mean something else somewhere: made or refused, backend, memory and catalog agree after each one.
class NomsHostiles : public testing::TestWithParam<std::string> {
 protected:
  [[nodiscard]] Backend& Sur() const { return BackendNomme(GetParam()); }

  [[nodiscard]] std::string Nom() {
    static const std::vector<std::string> kNoms = {"a",
                                                   "b",
                                                   "1",
                                                   "0",
                                                   "2",
                                                   "2.5",
                                                   "&H1",
                                                   "-1",
                                                   "a b",
                                                   "Date d'entrée",
                                                   "été",
                                                   "ÉTÉ",
                                                   "select",
                                                   "ORDER",
                                                   "NO",
                                                   "TABLE",
                                                   "x]y",
                                                   "x\"y",
                                                   "x`y",
                                                   "x'y",
                                                   "x\\y",
                                                   "x*y",
                                                   "x;y",

                                                   "+x",
                                                   "#x",
                                                   "x%y",
                                                   " bord ",
                                                   "",
                                                   "$x",
                                                   "[x]",
                                                   "in",
                                                   "PRIMARY",

                                                   "x/*y",
                                                   "true",
                                                   "cvdate",
                                                   "?x",
                                                   "x,y",
                                                   "(x)",
                                                   "NULL",
                                                   "trente_caracteres_exactement_3",
                                                   "trente_et_un_caracteres_exactem",
                                                   std::string(64, 'q'),
                                                   std::string(65, 'q')};
    return kNoms[hasard_() % kNoms.size()];
  }
  [[nodiscard]] std::string Champ(db::DbTbl& tbl) {
    if (tbl.NbFld() == 0 || hasard_() % 8 == 0) return Nom();
    return tbl.ListeFld(std::to_string(hasard_() % static_cast<unsigned>(tbl.NbFld()))).Nom();
  }

  /// One random edit, told in words.
  std::string Edite(db::DbTbl& tbl) {
    std::string recit;
    const auto note = [&](const std::string& quoi, const std::string& nom, const std::string& suite = "") {
      recit = quoi + "(\"" + nom + "\"" + suite + ")";
    };
    const auto erreur = runtime::IgnoringErrors([&] {
      const auto tirage = hasard_() % 10;
      if (tirage < 4) {
        const std::string nom = Nom();
        note("AddFld", nom);
        tbl.AddFld(nom, hasard_() % 2 == 0 ? ado::adInteger : ado::adVarWChar, 20, false);
      } else if (tirage < 6) {
        const std::string nom = Champ(tbl);
        note("SupFld", nom);
        tbl.SupFld(nom);
      } else if (tirage < 8) {
        const std::string nom = Nom();
        std::string champs = Champ(tbl);
        if (hasard_() % 2 == 0) champs += ";" + Champ(tbl);
        note("AddIdx", nom, ", \"" + champs + "\"");
        // Where the primary key has one name, under another it is known to the backend alone.
        tbl.AddIdx(nom, champs, !Sur().Capacite().nomPrimary && hasard_() % 4 == 0, true);
      } else {
        const std::string nom = tbl.NbIdx() > 0 && hasard_() % 2 == 0
                                    ? tbl.ListeIdx(std::to_string(hasard_() % static_cast<unsigned>(tbl.NbIdx()))).Nom()
                                    : Nom();
        note("SupIdx", nom);
        tbl.SupIdx(nom);
      }
    });
    return erreur ? recit + " : " + erreur.description : recit;
  }

  std::mt19937 hasard_;
};
INSTANTIATE_TEST_SUITE_P(Backends, NomsHostiles, testing::Values("Jet", "MariaDb", "Sqlite"), [](const auto& nom) { return nom.param; });

TEST_P(NomsHostiles, LeaveBackendMemoryAndCatalogAgreeing) {
  constexpr int kEditions = 40;
  const unsigned premiere = Seed();
  for (unsigned graine = premiere; graine < premiere + 3; ++graine) {
    hasard_.seed(graine);
    BaseOuverte base(Sur());
    base.Cree(Table("UTL", {{"A", ado::adInteger, 4}, {"B", ado::adInteger, 4}, {"1", ado::adInteger, 4}, {"2", ado::adInteger, 4}}));
    std::string recit;
    for (int i = 0; i < kEditions; ++i) {
      recit += Edite(base->ListeTbl("UTL")) + "\n";
      ASSERT_EQ(Desaccord(base, "UTL"), "") << "TAMLO_GRAINE=" << graine << "\n" << recit;
      if (i % 8 != 7) continue;
      base.Rouvre();
      ASSERT_EQ(Desaccord(base, "UTL"), "") << "opened again, TAMLO_GRAINE=" << graine << "\n" << recit;
    }
  }
}

TEST_P(NomsHostiles, NamesThatTheTranslationChangesInsideALiteralLeaveNoRowBehind) {
  for (const std::string nom : {"X]Y", "[X]", "XCVDATEY", "X*Y", "L'X", "X\"Y", "X\\Y", "X`Y"}) {
    BaseOuverte base(Sur());
    base.Cree(Table("UTL", {{"A", ado::adInteger, 4}, {"B", ado::adInteger, 4}}));
    auto& tbl = base->ListeTbl("UTL");
    // What the backend refuses as a name is nobody's row.
    if (!runtime::IgnoringErrors([&] { tbl.AddIdx(nom, "B", false, true); })) {
      EXPECT_EQ(Desaccord(base, "UTL"), "") << nom;
      // The backend drops the index with its only field, or refuses both.
      (void)runtime::IgnoringErrors([&] { tbl.SupFld("B"); });
      EXPECT_EQ(Desaccord(base, "UTL"), "") << nom << ", its field dropped";
      (void)runtime::IgnoringErrors([&] { tbl.SupIdx(nom); });
      EXPECT_EQ(Desaccord(base, "UTL"), "") << nom << ", index dropped";
    }
    if (!runtime::IgnoringErrors([&] { tbl.AddFld(nom, ado::adInteger, 4, false); })) {
      (void)runtime::IgnoringErrors([&] { tbl.SupFld(nom); });
      EXPECT_EQ(Desaccord(base, "UTL"), "") << nom << ", field dropped";
    }
  }
}

}  // namespace
}  // namespace tamlo::tests
