#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <utility>

#include "db/Environnement.h"
#include "runtime/Conversions.h"
#include "tests/backends/Backend.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {
namespace {

#if !defined(__SANITIZE_ADDRESS__)
/// A line of this process's status, in KiB.
std::int64_t Etat(const std::string& nom) {
  std::ifstream etat("/proc/self/status");
  for (std::string ligne; std::getline(etat, ligne);) {
    if (ligne.starts_with(nom + ":")) return std::stoll(ligne.substr(nom.size() + 1));
  }
  return -1;
}

/// What a piece of work needs at its peak beyond what the process held before, in KiB. What it never gives back counts.
template <typename Travail>
std::int64_t Pointe(Travail&& travail) {
  const std::int64_t avant = Etat("VmRSS");
  std::ofstream("/proc/self/clear_refs") << "5";  // the peak is now what is held
  travail();
  return Etat("VmHWM") - avant;
}
#endif

TEST(CopieEnGros, MemoryDoesNotGrowWithTheNumberOfRows) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer keeps what is freed, so the process grows by itself";
#else
  const std::vector<Champ> champs = {{"ID", ado::adInteger, 4}, {"NOM", ado::adVarWChar, 60}, {"PRIX", ado::adDouble, 8},
                                     {"DEBUT", ado::adDate},    {"FIN", ado::adDate},         {"VU", ado::adDate}};
  // Without StepAPI the driver of SQLite keeps the whole result of a query.
  BaseOuverte source(BackendNomme("Sqlite"), BackendNomme("Sqlite").BaseVide() + ";StepAPI=1");
  BaseOuverte cible(BackendNomme("MariaDb"));
  constexpr int kPeu = 100000;
  constexpr int kBeaucoup = 400000;
  const auto pointe = [&](const std::string& table, int lignes) {
    source.Cree(Table(table, champs));
    cible.Cree(Table(table, champs));
    source->ExecuteSQL("INSERT INTO [" + table + "] WITH RECURSIVE N(I) AS (SELECT 1 UNION ALL SELECT I+1 FROM N WHERE I<" +
                       std::to_string(lignes) + ") SELECT I, 'un nom de longueur moyenne ' || I, I * 1.25, '2003-02-01 13:14:15', " +
                       "'2003-02-02 13:14:15', '2003-02-03 13:14:15' FROM N");
    return Pointe([&] { EXPECT_EQ(source->CopieDonnees(table, *cible).ecrites, lignes); });
  };
  const std::int64_t peu = pointe("PEU", kPeu);
  const std::int64_t beaucoup = pointe("BEAUCOUP", kBeaucoup);
  // What is read ahead may or may not fill: 8 MB. Three dates that a driver keeps would be 144 bytes for each of 300,000 rows: 43 MB.
  EXPECT_LT(beaucoup - peu, 20 * 1024) << peu << " KiB for " << kPeu << " rows, " << beaucoup << " KiB for " << kBeaucoup;
#endif
}

/// From an Access file to the server: other drivers keep a value whole themselves.
TEST(CopieEnGros, MemoryDoesNotGrowWithTheLengthOfAValue) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer keeps what is freed, so the process grows by itself";
#else
  const std::vector<Champ> champs = {{"ID", ado::adInteger, 4}, {"M", ado::adLongVarWChar}, {"B", ado::adLongVarBinary}};
  const auto pointe = [&](std::size_t octets) {
    BaseOuverte source(BackendNomme("Jet"));
    BaseOuverte cible(BackendNomme("MariaDb"));
    source.Cree(Table("GROS", champs));
    auto rs = source->OpenRecordSet("SELECT * FROM [GROS]", 2);
    rs.AddNew();
    rs.Fields("ID").Value(1);
    rs.Fields("M").Value("m");
    rs.Fields("B").WriteFrom([reste = octets](std::byte* tampon, std::size_t place) mutable {
      const std::size_t donnes = std::min(place, reste);
      std::fill_n(tampon, donnes, std::byte{7});
      reste -= donnes;
      return donnes;
    });
    rs.Update();
    rs.Close();
    return Pointe([&] { EXPECT_EQ(source->CopieDonnees("GROS", *cible).ecrites, 1); });
  };
  const std::int64_t petit = pointe(std::size_t{2} << 20);
  const std::int64_t gros = pointe(std::size_t{60} << 20);
  EXPECT_LT(gros - petit, 10 * 1024) << petit << " KiB for 2 MiB, " << gros << " KiB for 60 MiB";
#endif
}

TEST(CopieEnGros, AnOracleTableOfAnotherOwnerThanTheLoginTakesTheRows) {
  const std::vector<Champ> champs = {{"ID", ado::adInteger, 4}, {"NOM", ado::adVarWChar, 30}};
  BaseOuverte source(BackendNomme("Sqlite"));
  source.Cree(Table("GROS", champs));
  source->ExecuteSQL(
      "INSERT INTO [GROS] WITH RECURSIVE N(I) AS (SELECT 1 UNION ALL SELECT I+1 FROM N WHERE I<700) SELECT I, 'ligne ' || I FROM N");
  const TemporaryFolder programme;
  BaseOuverte cible(BackendNomme("Oracle"));
  auto& dossier = db::EnvironnementCourant().dossierProgramme;
  const std::string avant = std::exchange(dossier, programme.Path().string());
  std::ofstream(programme.File("ORA_XE.PRM")) << "2\n,,,,,,,,\n\"AUTRE\"\n";
  // The login ADM has a table of that name of its own, which must stay as it is.
  cible->ExecuteSQL("CREATE TABLE ADM.\"GROS\" (\"ID\" NUMBER(9), \"NOM\" VARCHAR2(30))");
  cible->AddTbl(Table("GROS", champs)).Owner("AUTRE");
  dossier = avant;
  EXPECT_EQ(source->CopieDonnees("GROS", *cible).ecrites, 700);
  const auto compte = [&](const std::string& table) {
    auto rs = cible->OpenRecordSet("SELECT COUNT(*) FROM " + table, 0);
    return runtime::ToInt32(rs.Fields(0).Value());
  };
  EXPECT_EQ(compte("[GROS]"), 700);
  EXPECT_EQ(compte("AUTRE.\"GROS\""), 700);
  EXPECT_EQ(compte("ADM.\"GROS\""), 0);
  EXPECT_TRUE(source->VerifieCopie("GROS", *cible).Egales());
}

}  // namespace
}  // namespace tamlo::tests
