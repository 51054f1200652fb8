#include <functional>
#include <optional>

#include "support/Support.h"
#include "tests/ddl/BaseEnregistree.h"

namespace tamlo::tests {
namespace {

using db::TypJet;
using db::TypMySql;
using db::TypOracle;
using db::TypSqlServer;
using runtime::Null;
using runtime::Variant;
using testing::ElementsAre;
using testing::IsEmpty;
using Rangees = std::vector<std::vector<Variant>>;
using Ecritures = std::vector<std::vector<std::pair<std::string, Variant>>>;

ScriptedTable TableDe(const std::string& nom, const std::vector<ado::Column>& colonnes, const Rangees& rangees = {}) {
  ScriptedTable table;
  table.name = nom;
  table.columns = colonnes;
  table.rows = rangees;
  return table;
}

/// What was written into a table of the provider, row by row.
Ecritures Ecrites(const RecordingProvider& provider) {
  Ecritures ecrites;
  for (const auto& appel : provider.Calls()) {
    if (appel.kind == RecordedCall::Kind::kInsert) ecrites.push_back(appel.values);
  }
  return ecrites;
}

class CopieTable : public testing::Test {
 protected:
  /// Gives both sides a table T of these columns; the source has the rows.
  void Prepare(const std::vector<ado::Column>& colonnes, const Rangees& rangees) {
    source_.Provider().AddTable(TableDe("T", colonnes, rangees));
    cible_.Provider().AddTable(TableDe("T", colonnes));
    source_.Base().Catalogue().Refresh();
    cible_.Base().Catalogue().Refresh();
  }
  db::CopieBilan Copie(const db::CopieOptions& options = {}) { return source_.Base().CopieDonnees("T", cible_.Base(), options); }

  BaseEnregistree source_{TypOracle, "SOURCE"};
  BaseEnregistree cible_{TypSqlServer, "CIBLE"};
};

TEST_F(CopieTable, BlankTextsAreNotWrittenAndOthersLoseTheirTrailingBlanks) {
  Prepare({MakeColumn("A", ado::adChar, 10), MakeColumn("B", ado::adWChar, 10), MakeColumn("C", ado::adVarWChar, 10)},
          {{"  x  ", "", "  "}, {Null{}, "y", "z "}});
  const auto bilan = Copie();
  EXPECT_TRUE(Ecrites(cible_.Provider()) == (Ecritures{{{"A", "  x"}}, {{"B", "y"}, {"C", "z"}}}));
  EXPECT_EQ(bilan.lues, 2);
  EXPECT_EQ(bilan.ecrites, 2);
  EXPECT_FALSE(bilan.arretee);
}

TEST_F(CopieTable, EveryOtherTypeIsWrittenAsItStands) {
  Prepare({MakeColumn("M", ado::adLongVarWChar), MakeColumn("V", ado::adVarChar, 10), MakeColumn("N", ado::adInteger),
           MakeColumn("B", ado::adBoolean)},
          {{" memo  ", "v ", Null{}, false}});
  (void)Copie();
  EXPECT_TRUE(Ecrites(cible_.Provider()) == (Ecritures{{{"M", " memo  "}, {"V", "v "}, {"N", Null{}}, {"B", false}}}));
}

TEST_F(CopieTable, FieldsAreMatchedByNameWhateverTheirOrder) {
  source_.Provider().AddTable(TableDe("T", {MakeColumn("A", ado::adInteger), MakeColumn("B", ado::adInteger)}, {{1, 2}}));
  cible_.Provider().AddTable(
      TableDe("T", {MakeColumn("b", ado::adInteger), MakeColumn("EN_PLUS", ado::adInteger), MakeColumn("a", ado::adInteger)}));
  cible_.Base().Catalogue().Refresh();
  (void)Copie();
  EXPECT_TRUE(cible_.Provider().FindTable("T")->rows == (Rangees{{2, Null{}, 1}}));
}

TEST_F(CopieTable, AFieldThatTheTargetLacksIsAnErrorBeforeAnyRow) {
  source_.Provider().AddTable(TableDe("T", {MakeColumn("A", ado::adInteger), MakeColumn("B", ado::adInteger)}, {{1, 2}}));
  cible_.Provider().AddTable(TableDe("T", {MakeColumn("A", ado::adInteger)}));
  cible_.Base().Catalogue().Refresh();
  EXPECT_EQ(Erreur([&] { (void)Copie(); }).number, 3265);
  EXPECT_TRUE(Ecrites(cible_.Provider()).empty());
}

TEST_F(CopieTable, AMissingTargetTableIsCreatedFirst) {
  auto tbl = Definition("T");
  tbl->AddFld("A", ado::adVarWChar, 30, false);
  tbl->AddIdx("PK", "A", true, true);
  source_.Base().AddTbl(std::move(tbl));
  source_.Provider().FindTable("T")->rows = {{"x"}};
  (void)Copie();
  EXPECT_EQ(cible_.Provider().Statements()[0], "CREATE TABLE \"T\" (\"A\"  NVARCHAR(30))") << "the indexes of an Oracle table stay behind";
  EXPECT_TRUE(cible_.Provider().FindTable("T")->rows == (Rangees{{"x"}}));
}

TEST_F(CopieTable, TheFlagsOfTblCopieStandForTheTableAndItsRows) {
  auto tbl = Definition("T");
  tbl->AddFld("A", ado::adVarWChar, 30, false);
  tbl->AddIdx("IX", "-A", false, true);
  cible_.Base().AddTbl(std::move(tbl));
  cible_.Provider().FindTable("T")->rows = {{"x"}};
  BaseEnregistree troisieme(TypMySql, "TROIS");
  EXPECT_EQ(cible_.Base().TblCopie("T", troisieme.Base(), true, false).lues, 0);
  EXPECT_THAT(troisieme.Provider().Statements(),
              ElementsAre("CREATE TABLE `T` (`A`  CHAR(30))", "CREATE UNIQUE INDEX `IX` ON `T` (`A` DESC)"));
  EXPECT_TRUE(troisieme.Provider().FindTable("T")->rows.empty());
  EXPECT_EQ(cible_.Base().TblCopie("T", troisieme.Base(), false, true).lues, 1);
  EXPECT_TRUE(troisieme.Provider().FindTable("T")->rows == (Rangees{{"x"}}));
}

TEST_F(CopieTable, ATextLongerThanTheTargetColumnIsAnErrorWithTableRowAndColumn) {
  source_.Provider().AddTable(TableDe("T", {MakeColumn("NOM", ado::adVarWChar, 50)}, {{"ok"}, {"été et hiver"}, {"après"}}));
  cible_.Provider().AddTable(TableDe("T", {MakeColumn("NOM", ado::adVarWChar, 10)}));
  cible_.Base().Catalogue().Refresh();
  const auto erreur = Erreur([&] { (void)Copie(); });
  EXPECT_EQ(erreur.number, -2147467259);
  EXPECT_EQ(erreur.description, "copie de la table T : ligne 2 : colonne NOM : texte de 12 caractères pour une colonne de 10");
  EXPECT_TRUE(cible_.Provider().FindTable("T")->rows == (Rangees{{"ok"}}));
}

TEST_F(CopieTable, ARefusedRowIsNamedAndTheRowsBeforeItStay) {
  Prepare({MakeColumn("A", ado::adInteger)}, {{1}, {2}, {3}});
  cible_.Provider().FailWrite("T", 3022, "duplicate");
  const auto erreur = Erreur([&] { (void)Copie(); });
  EXPECT_EQ(erreur.number, 3022);
  EXPECT_EQ(erreur.description, "copie de la table T : ligne 1 : duplicate");
}

/// How many rows are there when the third one fails.
class CopieRompue : public CopieTable {
 protected:
  /// Copies five rows; with longues the second is too long for batches, and it and those behind it go one by one.
  std::optional<db::ErreurCopie> Rompt(const std::function<void()>& echec, bool longues = false, std::int64_t debut = 0) {
    const std::string memo(longues ? 3 << 20 : 1, 'm');
    Prepare({MakeColumn("A", ado::adInteger), MakeColumn("M", ado::adLongVarWChar)}, {{1, "n"}, {2, memo}, {3, "n"}, {4, "n"}, {5, "n"}});
    cible_.Provider().OnCall([&, ecritures = 0](const RecordedCall& appel) mutable {
      if (appel.kind == RecordedCall::Kind::kInsert && ++ecritures == 3) echec();
    });
    std::optional<db::ErreurCopie> erreur;
    db::CopieOptions options;
    options.debut = debut;
    try {
      (void)Copie(options);
    } catch (const db::ErreurCopie& rompue) {
      erreur = rompue;
    }
    cible_.Provider().OnCall({});
    return erreur;
  }
  void AttendPresentes(std::int64_t combien) {
    EXPECT_EQ(static_cast<std::int64_t>(cible_.Provider().FindTable("T")->rows.size()), combien);
  }
};

TEST_F(CopieRompue, ByARefusedRowKnowsHowManyAreThere) {
  const auto erreur = Rompt([&] { cible_.Provider().FailWrite("T", 3022, "duplicate"); });
  ASSERT_TRUE(erreur);
  EXPECT_EQ(erreur->Description(), "copie de la table T : ligne 3 : duplicate");
  EXPECT_EQ(erreur->AuMoins(), 2);
  EXPECT_EQ(erreur->AuPlus(), 2);
  AttendPresentes(2);
}

TEST_F(CopieRompue, ByALostConnectionDoesNotKnowWhetherTheLastRowIsThere) {
  const auto erreur = Rompt([&] { cible_.Provider().FailWriteNative("T", 2013, "gone", "08S01"); });
  ASSERT_TRUE(erreur);
  EXPECT_EQ(erreur->Description(), "copie de la table T : ligne 3 : gone (lignes copiées présentes dans la cible : au moins 2, au plus 3)");
  EXPECT_EQ(erreur->AuMoins(), 2);
  EXPECT_EQ(erreur->AuPlus(), 3);
  EXPECT_EQ(erreur->NativeCode(), 2013);
  EXPECT_EQ(erreur->SqlState(), "08S01");
}

TEST_F(CopieRompue, ThatWentOnCountsTheRowsOfTheEarlierOnesToo) {
  const auto erreur = Rompt([&] { cible_.Provider().FailWrite("T", 3022, "duplicate"); }, false, 2);
  ASSERT_TRUE(erreur);
  EXPECT_EQ(erreur->Description(), "copie de la table T : ligne 5 : duplicate");
  EXPECT_EQ(erreur->AuMoins(), 4);
  EXPECT_EQ(erreur->AuPlus(), 4);
}

TEST_F(CopieRompue, RowByRowByARefusedRowKnowsHowManyAreThere) {
  const auto refusee = Rompt([&] { cible_.Provider().FailWrite("SELECT", 3022, "duplicate"); }, true);
  ASSERT_TRUE(refusee);
  EXPECT_EQ(refusee->AuMoins(), 2);
  EXPECT_EQ(refusee->AuPlus(), 2);
  AttendPresentes(2);
}

TEST_F(CopieRompue, RowByRowByAnythingElseLeavesTheLastRowInDoubt) {
  const auto rompue = Rompt([&] { cible_.Provider().FailWriteNative("SELECT", 2013, "gone"); }, true);
  ASSERT_TRUE(rompue);
  EXPECT_EQ(rompue->AuMoins(), 2);
  EXPECT_EQ(rompue->AuPlus(), 3);
}

TEST_F(CopieTable, AFailureToReadComesAfterTheRowsThatWereRead) {
  Prepare({MakeColumn("A", ado::adInteger)}, {{1}});
  source_.Provider().FailRead("SELECT * FROM \"T\"", -2147467259, "gone");
  const auto erreur = Erreur([&] { (void)Copie(); });
  EXPECT_EQ(erreur.number, -2147467259);
  EXPECT_EQ(erreur.description, "copie de la table T : gone");
}

TEST_F(CopieTable, ATableIsNotCopiedIntoItsOwnDatabase) {
  Prepare({MakeColumn("A", ado::adInteger)}, {{1}});
  const auto erreur = Erreur([&] { (void)source_.Base().CopieDonnees("T", source_.Base()); });
  EXPECT_EQ(erreur.number, 5);
  EXPECT_EQ(erreur.description, "La table T ne peut pas être copiée dans sa propre base");
}

/// A status bar that remembers every text of its panel.
class Barre final : public ui::StatusBar {
 public:
  [[nodiscard]] std::string PanelText(std::int16_t) const override { return textes.empty() ? "" : textes.back(); }
  void PanelText(std::int16_t, const std::string& texte) override { textes.push_back(texte); }
  void Refresh() override {}
  std::vector<std::string> textes{" Prêt"};
};

TEST_F(CopieTable, TheStatusBarShowsTheCopyAndThenWhatStoodThere) {
  Prepare({MakeColumn("A", ado::adInteger)}, {{1}});
  Barre barre;
  support::BarreEtat(&barre);
  (void)Copie();
  support::BarreEtat(nullptr);
  EXPECT_THAT(barre.textes, ElementsAre(" Prêt", " Copie de la table T dans la base <Initial Catalog=CIBLE;>", " Prêt"));
}

TEST_F(CopieTable, AFailedCopyPutsTheStatusTextBackToo) {
  Prepare({MakeColumn("A", ado::adInteger)}, {{1}});
  cible_.Provider().FailWrite("T", 3022, "duplicate");
  Barre barre;
  support::BarreEtat(&barre);
  EXPECT_EQ(Erreur([&] { (void)Copie(); }).number, 3022);
  support::BarreEtat(nullptr);
  EXPECT_EQ(barre.textes.back(), " Prêt");
}

TEST_F(CopieTable, ALongValuePassesThroughAFileOfItsOwn) {
  const std::string memo(3 << 20, 'm');
  const runtime::Bytes octets(2 << 20, std::byte{7});
  Prepare({MakeColumn("ID", ado::adInteger), MakeColumn("M", ado::adLongVarWChar), MakeColumn("B", ado::adLongVarBinary)},
          {{1, "court", Null{}}, {2, memo, octets}, {3, Null{}, Null{}}});
  EXPECT_EQ(Copie().ecrites, 3);
  const auto& rangees = cible_.Provider().FindTable("T")->rows;
  ASSERT_EQ(rangees.size(), 3U);
  EXPECT_TRUE(rangees[0][1] == Variant("court"));
  EXPECT_TRUE(rangees[1][1] == Variant(memo));
  EXPECT_TRUE(rangees[1][2] == Variant(octets));
  EXPECT_TRUE(rangees[2][1].IsNull());
}

TEST(CopieEntreAccess, IsASingleStatementOnTheSource) {
  BaseEnregistree source(TypJet, "C:\\A.MDB");
  BaseEnregistree cible(TypJet, "C:\\B.MDB");
  source.Provider().AddTable(TableDe("UTL", {MakeColumn("A", ado::adInteger)}));
  cible.Provider().AddTable(TableDe("UTL", {MakeColumn("A", ado::adInteger)}));
  cible.Base().Catalogue().Refresh();
  (void)source.Base().CopieDonnees("UTL", cible.Base());
  EXPECT_THAT(source.Provider().Statements(), ElementsAre("INSERT INTO [UTL] IN \"C:\\B.MDB\" SELECT * FROM [UTL]"));
  EXPECT_THAT(cible.Provider().Statements(), IsEmpty());
  EXPECT_EQ(cible.Provider().Count(RecordedCall::Kind::kInsert), 0U);
}

}  // namespace
}  // namespace tamlo::tests
