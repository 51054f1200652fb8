#include "db/kinds/ParamOra.h"

#include <gtest/gtest.h>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "runtime/Error.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::db::kinds {
namespace {

class ParamOraTest : public testing::Test {
 protected:
  void Ecrit(const std::string& octets, const std::string& nom = "ORA_BASE1.PRM") {
    std::ofstream(dossier_.File(nom), std::ios::binary) << octets;
  }
  [[nodiscard]] ParamOra Lit(const std::string& table, const std::string& suffixe) const {
    return LitParamOra(table, dossier_.Path().string(), suffixe);
  }
  void AttendErreur(std::int32_t numero, const std::string& fin) {
    const auto erreur = runtime::IgnoringErrors([&] { (void)Lit("UTL", "BASE1"); });
    EXPECT_EQ(erreur.number, numero);
    EXPECT_EQ(erreur.description, "Fichier de paramètres Oracle " + dossier_.File("ORA_BASE1.PRM") + " : " + fin);
  }

  tests::TemporaryFolder dossier_;
};

TEST_F(ParamOraTest, WithoutAFileEverythingIsBlank) {
  const ParamOra param = Lit("UTL", "BASE1");
  EXPECT_EQ(param.owner + param.tablespace + param.pctFree + param.next, "");
  EXPECT_FALSE(ChargeParamOra(dossier_.Path().string(), "BASE1").has_value());
}

TEST_F(ParamOraTest, ABlankSuffixReadsTheFileWithoutOne) {
  Ecrit("1\n1,2,3,4,5,6,7,8,9\n", "ORA.PRM");
  EXPECT_EQ(Lit("UTL", "  ").pctFree, "1");
  EXPECT_EQ(Lit("UTL", "").pctIncrease, "9");
}

TEST_F(ParamOraTest, TheNineDefaultsComeInTheirOrderThenTheOwner) {
  Ecrit("2\r\n10,40,\"TS1\",\"IDX\",10,0.5,1,100,0\r\n\"ADM\"\r\n");
  const ParamOra param = Lit("UTL", "BASE1");
  EXPECT_EQ(param.pctFree, "10");
  EXPECT_EQ(param.pctUsed, "40");
  EXPECT_EQ(param.tablespace, "TS1");
  EXPECT_EQ(param.tablespaceIndex, "IDX");
  EXPECT_EQ(param.initial, "10");
  EXPECT_EQ(param.next, "0.5");
  EXPECT_EQ(param.minExtents, "1");
  EXPECT_EQ(param.maxExtents, "100");
  EXPECT_EQ(param.pctIncrease, "0");
  EXPECT_EQ(param.owner, "ADM");
}

TEST_F(ParamOraTest, AVersionUpTo1HasNoOwner) {
  Ecrit("1\n,,,,,,,,\n\"UTL\",5,,,,,,,,\n");
  EXPECT_EQ(Lit("UTL", "BASE1").owner, "");
  EXPECT_EQ(Lit("UTL", "BASE1").pctFree, "5");
}

TEST_F(ParamOraTest, AVersionOfOneAndAHalfHasAnOwner) {
  Ecrit("1.5\n,,,,,,,,\nADM\n");
  EXPECT_EQ(Lit("UTL", "BASE1").owner, "ADM");
}

TEST_F(ParamOraTest, AGroupReplacesTheDefaultsThatItGives) {
  Ecrit("2\n10,40,TS1,IDX,10,2,1,100,0\nADM\n\"utl\",,,\"TS2\",,,\"  \",,,50\n\"UTL\",99,,,,,,,,\n");
  const ParamOra param = Lit("Utl", "BASE1");
  EXPECT_EQ(param.tablespace, "TS2");
  EXPECT_EQ(param.pctIncrease, "50");
  EXPECT_EQ(param.pctFree, "10") << "the first group of that name alone counts";
  EXPECT_EQ(param.next, "2") << "a blank value replaces nothing";
  EXPECT_EQ(param.owner, "ADM");
}

TEST_F(ParamOraTest, ATableWithoutAGroupTakesTheDefaults) {
  Ecrit("1\n10,,,,,,,,\n\"VLM\",20,,,,,,,,\n");
  EXPECT_EQ(Lit("UTL", "BASE1").pctFree, "10");
}

TEST_F(ParamOraTest, QuotedTextsHoldCommasBlanksAndLineEnds) {
  Ecrit("1\n\"1,5\" , \" b \" ,\"c\r\nd\",,,,,,\n");
  const ParamOra param = Lit("UTL", "BASE1");
  EXPECT_EQ(param.pctFree, "1,5");
  EXPECT_EQ(param.pctUsed, " b ");
  EXPECT_EQ(param.tablespace, "c\r\nd");
}

TEST_F(ParamOraTest, OneValuePerLineIsTheSameAsCommas) {
  Ecrit("2\r\n10\r\n40\r\nTS1\r\nIDX\r\n10\r\n2\r\n1\r\n100\r\n0\r\nADM\r\n");
  EXPECT_EQ(Lit("UTL", "BASE1").tablespaceIndex, "IDX");
  EXPECT_EQ(Lit("UTL", "BASE1").owner, "ADM");
}

TEST_F(ParamOraTest, BytesAreAnsi) {
  Ecrit(
      "2\n,,\"DONN\xC9"
      "ES\",,,,,,\n\"G\xC9RARD\x80\"\n");
  EXPECT_EQ(Lit("UTL", "BASE1").tablespace, "DONNÉES");
  EXPECT_EQ(Lit("UTL", "BASE1").owner, "GÉRARD€");
}

TEST_F(ParamOraTest, ANameWithAnAccentIsFoundWhateverItsCase) {
  Ecrit("1\n,,,,,,,,\n\"employ\xE9\",7,,,,,,,,\n");
  EXPECT_EQ(Lit("EMPLOYÉ", "BASE1").pctFree, "7");
}

TEST_F(ParamOraTest, BlankLinesAndTheOldEndOfFileMarkAtTheEndDoNotCount) {
  Ecrit(
      "1\n1,2,3,4,5,6,7,8,9\n\n \r\n\x1A"
      "anything");
  EXPECT_EQ(Lit("UTL", "BASE1").pctIncrease, "9");
}

TEST_F(ParamOraTest, AnEmptyFileIsAnError) {
  Ecrit("");
  AttendErreur(62, "la fin du fichier vient avant une valeur attendue, la version du format");
}

TEST_F(ParamOraTest, AFileCutOffInTheDefaultsIsAnError) {
  Ecrit("1\n10,40,TS1");
  AttendErreur(62, "la fin du fichier vient avant une valeur attendue, tablespace des index pour les valeurs par défaut");
}

TEST_F(ParamOraTest, ATextCutOffBeforeItsClosingQuoteIsAnError) {
  Ecrit("1\n10,\"40");
  AttendErreur(62, "la fin du fichier vient avant une valeur attendue, PCTUSED pour les valeurs par défaut");
}

TEST_F(ParamOraTest, AMissingOwnerIsAnError) {
  Ecrit("2\n1,2,3,4,5,6,7,8,9\n");
  AttendErreur(62, "la fin du fichier vient avant une valeur attendue, le propriétaire par défaut");
}

TEST_F(ParamOraTest, AGroupOfNineValuesInsteadOfTenIsAnError) {
  Ecrit("1\n,,,,,,,,\n\"UTL\",1,2,3,4,5,6,7,8\n");
  AttendErreur(62, "la fin du fichier vient avant une valeur attendue, PCTINCREASE pour la table UTL");
}

TEST_F(ParamOraTest, AVersionThatIsNoNumberIsAnError) {
  Ecrit("deux\n,,,,,,,,\n");
  AttendErreur(13, "la version du format n'est pas un nombre (\"deux\")");
}

TEST_F(ParamOraTest, ABlankVersionIsNoNumber) {
  Ecrit("\n,,,,,,,,\n");
  AttendErreur(13, "la version du format n'est pas un nombre (\"\")");
}

#ifdef _WIN32

/// A handle that shares the file with nobody, as another process would hold it.
class Detenteur {
 public:
  enum class Verrou { kSansPartage };

  Detenteur(const std::string& chemin, Verrou)
      : fichier_(::CreateFileA(chemin.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr)) {
    if (fichier_ == INVALID_HANDLE_VALUE) std::abort();
  }
  void Lache() { ::CloseHandle(fichier_); }

 private:
  HANDLE fichier_;
};

constexpr Detenteur::Verrou kVerrous[] = {Detenteur::Verrou::kSansPartage};

#else

/// Another process that holds a lock on the file until its pipe is closed.
class Detenteur {
 public:
  enum class Verrou { kFichier, kEnregistrement };

  Detenteur(const std::string& chemin, Verrou verrou) {
    int tient[2];
    int lache[2];
    if (::pipe(tient) != 0 || ::pipe(lache) != 0) std::abort();
    enfant_ = ::fork();
    if (enfant_ == 0) {
      ::close(lache[1]);
      const int fd = ::open(chemin.c_str(), O_RDWR);
      struct flock ecriture {};
      ecriture.l_type = F_WRLCK;
      const int rc = verrou == Verrou::kFichier ? ::flock(fd, LOCK_EX) : ::fcntl(fd, F_SETLK, &ecriture);
      char octet = rc == 0 ? 'x' : '!';
      if (::write(tient[1], &octet, 1) != 1) ::_exit(1);
      (void)!::read(lache[0], &octet, 1);  // waits for the other end to be closed
      ::_exit(0);
    }
    ::close(tient[1]);
    ::close(lache[0]);
    char octet = 0;
    if (::read(tient[0], &octet, 1) != 1 || octet != 'x') std::abort();
    ::close(tient[0]);
    lache_ = lache[1];
  }
  void Lache() {
    ::close(lache_);
    ::waitpid(enfant_, nullptr, 0);
  }

 private:
  pid_t enfant_ = 0;
  int lache_ = -1;
};

constexpr Detenteur::Verrou kVerrous[] = {Detenteur::Verrou::kFichier, Detenteur::Verrou::kEnregistrement};

#endif

class HeldParamOra : public ParamOraTest, public testing::WithParamInterface<Detenteur::Verrou> {};
INSTANTIATE_TEST_SUITE_P(ParamOra, HeldParamOra, testing::ValuesIn(kVerrous));

TEST_P(HeldParamOra, AFileHeldByAnotherProcessIsWaitedForAndReadOnceItIsReleased) {
  Ecrit("1\n10,,,,,,,,\n");
  Detenteur detenteur(dossier_.File("ORA_BASE1.PRM"), GetParam());
  std::atomic<bool> lu = false;
  std::string pctFree;
  std::thread lecteur([&] {
    pctFree = Lit("UTL", "BASE1").pctFree;
    lu = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_FALSE(lu) << "it must wait while the file is held";
  detenteur.Lache();
  lecteur.join();
  EXPECT_EQ(pctFree, "10");
}

}  // namespace
}  // namespace tamlo::db::kinds
