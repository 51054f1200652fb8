#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>

#include "db/Environnement.h"
#include "jet/Database.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "tests/backends/Accord.h"
#include "tests/backends/Backend.h"
#include "tests/support_lib/MariaDbServer.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {
namespace {

std::int64_t Compte(db::DataBase& base, const std::string& table) {
  auto rs = base.OpenRecordSet("SELECT COUNT(*) FROM [" + table + "]", 0);
  return runtime::ToInt32(rs.Fields(0).Value());
}

/// An SQLite database with a table GROS of that many rows, ID from 1 on.
class GrosseSource {
 public:
  explicit GrosseSource(int lignes) : base_(BackendNomme("Sqlite")) {
    base_.Cree(Table("GROS", {{"ID", ado::adInteger, 4}, {"NOM", ado::adVarWChar, 30}}));
    base_->ExecuteSQL("INSERT INTO [GROS] WITH RECURSIVE N(I) AS (SELECT 1 UNION ALL SELECT I+1 FROM N WHERE I<" + std::to_string(lignes) +
                      ") SELECT I, 'ligne ' || I FROM N");
  }
  db::DataBase& operator*() { return *base_; }
  db::DataBase* operator->() { return &*base_; }

 private:
  BaseOuverte base_;
};

std::unique_ptr<db::DbTbl> CibleUnique() {
  auto tbl = Table("GROS", {{"ID", ado::adInteger, 4}, {"NOM", ado::adVarWChar, 30}});
  tbl->AddIdx("PRIMARY", "ID", true, true);
  return tbl;
}

TEST(CopieDifficile, ADuplicateKeyAtRow300000IsNamedAndTheRowsBeforeItAreThere) {
  GrosseSource source(301000);
  source->ExecuteSQL("UPDATE [GROS] SET [ID]=5 WHERE [ID]=300000");
  BaseOuverte cible(BackendNomme("MariaDb"));
  cible.Cree(CibleUnique());
  const auto erreur = runtime::IgnoringErrors([&] { (void)source->CopieDonnees("GROS", *cible); });
  EXPECT_EQ(erreur.number, runtime::kDuplicateKey);
  EXPECT_TRUE(erreur.description.starts_with("copie de la table GROS : ligne 300000 : ")) << erreur.description;
  EXPECT_EQ(Compte(*cible, "GROS"), 299999);
  EXPECT_EQ(Compte(*source, "GROS"), 301000);
}

TEST(CopieDifficile, ATextTooLongForTheTargetIsNamedWithTableRowAndColumn) {
  GrosseSource source(2000);
  source->ExecuteSQL("UPDATE [GROS] SET [NOM]='un nom beaucoup plus long que la colonne de la cible' WHERE [ID]=1500");
  BaseOuverte cible(BackendNomme("MariaDb"));
  cible.Cree(CibleUnique());
  const auto erreur = runtime::IgnoringErrors([&] { (void)source->CopieDonnees("GROS", *cible); });
  EXPECT_EQ(erreur.number, runtime::kProviderFailure);
  EXPECT_EQ(erreur.description, "copie de la table GROS : ligne 1500 : colonne NOM : texte de 52 caractères pour une colonne de 30");
  EXPECT_EQ(Compte(*cible, "GROS"), 1499);
}

TEST(CopieDifficile, AServerKilledInTheMiddleIsAnErrorAndTheRestGoesOn) {
  MariaDbServer serveur;
  GrosseSource source(400000);
  db::EnvironnementCourant().nomLogin = "tamlo";
  db::EnvironnementCourant().pwdLogin = "tamlo";
  db::DataBase cible;
  ASSERT_TRUE(cible.Ouvre(serveur.ConnectionString(), db::TypMySql, true));
  cible.AddTbl(CibleUnique());
  db::CopieOptions options;
  options.progression = [&, tue = false](std::int64_t) mutable {
    if (!tue) serveur.Kill();
    tue = true;
    return true;
  };
  const auto erreur = runtime::IgnoringErrors([&] { (void)source->CopieDonnees("GROS", cible, options); });
  EXPECT_EQ(erreur.number, runtime::kProviderFailure);
  EXPECT_TRUE(erreur.description.starts_with("copie de la table GROS : ligne ")) << erreur.description;
  runtime::IgnoringErrors([&] { cible.Ferme(); });
  EXPECT_EQ(Compte(*source, "GROS"), 400000);

  serveur.Restart();
  db::DataBase apres;
  ASSERT_TRUE(apres.Ouvre(serveur.ConnectionString(), db::TypMySql, true));
  const auto bilan = source->VerifieCopie("GROS", apres);
  EXPECT_LT(bilan.lignesCible, 400000);
  EXPECT_EQ(bilan.differences, 400000 - bilan.lignesCible) << "what is there is whole";
  apres.Ferme();
}

/// The largest file that this process may write, as long as the object lives: a disk that is full beyond it.
class DisquePlein {
 public:
  explicit DisquePlein(rlim_t octets) {
    std::signal(SIGXFSZ, SIG_IGN);
    ::getrlimit(RLIMIT_FSIZE, &avant_);
    rlimit limite = avant_;
    limite.rlim_cur = octets;
    ::setrlimit(RLIMIT_FSIZE, &limite);
  }
  ~DisquePlein() { ::setrlimit(RLIMIT_FSIZE, &avant_); }
  DisquePlein(const DisquePlein&) = delete;
  DisquePlein& operator=(const DisquePlein&) = delete;

 private:
  rlimit avant_{};
};

TEST(CopieDifficile, AFullDiskOfTheTargetIsAnErrorAndWhatIsThereIsWhole) {
  GrosseSource source(60000);
  BaseOuverte cible(BackendNomme("Sqlite"));
  cible.Cree(Table("GROS", {{"ID", ado::adInteger, 4}, {"NOM", ado::adVarWChar, 30}}));
  {
    const DisquePlein plein(512 << 10);
    const auto erreur = runtime::IgnoringErrors([&] { (void)source->CopieDonnees("GROS", *cible); });
    EXPECT_EQ(erreur.number, runtime::kProviderFailure);
    EXPECT_TRUE(erreur.description.starts_with("copie de la table GROS : ligne ")) << erreur.description;
  }
  EXPECT_EQ(Compte(*source, "GROS"), 60000);
  const auto bilan = source->VerifieCopie("GROS", *cible);
  EXPECT_GT(bilan.lignesCible, 0);
  EXPECT_LT(bilan.lignesCible, 60000);
  EXPECT_EQ(bilan.differences, 60000 - bilan.lignesCible);
}

TEST(CopieDifficile, AFullDiskOfAnAccessFileIsAnErrorAndTheFileIsSoundAndWhole) {
  GrosseSource source(60000);
  BaseOuverte cible(BackendNomme("Jet"));
  cible.Cree(CibleUnique());
  cible.Cree(Table("AUTRE", {{"A", ado::adInteger, 4}}));
  cible->ExecuteSQL("INSERT INTO [AUTRE] ([A]) VALUES (7)");
  {
    const DisquePlein plein(512 << 10);
    const auto erreur = runtime::IgnoringErrors([&] { (void)source->CopieDonnees("GROS", *cible); });
    EXPECT_EQ(erreur.number, runtime::kProviderFailure);
    EXPECT_TRUE(erreur.description.starts_with("copie de la table GROS : ")) << erreur.description;
    EXPECT_NE(erreur.description.find("Disque plein : la transaction a été annulée"), std::string::npos) << erreur.description;
  }
  EXPECT_EQ(Compte(*source, "GROS"), 60000);
  cible.Rouvre();  // which fails on a file that is not sound
  EXPECT_EQ(Desaccord(cible, "GROS"), "");
  EXPECT_EQ(Compte(*cible, "AUTRE"), 1);
  const auto bilan = source->VerifieCopie("GROS", *cible);
  EXPECT_LT(bilan.lignesCible, 60000);
  EXPECT_EQ(bilan.differences, 60000 - bilan.lignesCible);
}

/// A copy of a table with a GUID: no kind but Access has a type of column for it.
class TypeRefuse : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(CopieDifficile, TypeRefuse, testing::Values("MariaDb", "SqlServer", "Oracle"),
                         [](const auto& cas) { return std::string(cas.param); });

TEST_P(TypeRefuse, LeavesBothSidesAsTheyWere) {
  BaseOuverte source(BackendNomme("Jet"));
  source.Cree(Table("T", {{"ID", ado::adInteger, 4}, {"G", ado::adGUID, 16}}));
  source->ExecuteSQL("INSERT INTO [T] ([ID]) VALUES (1)");
  BaseOuverte cible(BackendNomme(GetParam()));
  cible.Cree(Table("AUTRE", {{"A", ado::adInteger, 4}}));
  const std::int16_t avant = cible->NbTbl();
  const auto erreur = runtime::IgnoringErrors([&] { (void)source->CopieDonnees("T", *cible); });
  EXPECT_EQ(erreur.number, runtime::kInvalidArgument);
  EXPECT_EQ(erreur.description, "Type 72 non géré");
  EXPECT_EQ(cible->NbTbl(), avant);
  EXPECT_EQ(Desaccord(cible, "T"), "");
  EXPECT_EQ(Desaccord(cible, "AUTRE"), "");
  EXPECT_EQ(Compte(*source, "T"), 1);
}

/// Statements that the server was sent by anybody since it started.
std::int64_t Questions(ado::Connection& temoin) {
  ado::Recordset rs;
  rs.Open("SHOW GLOBAL STATUS LIKE 'Questions'", &temoin, ado::adOpenForwardOnly, ado::adLockUnspecified, ado::adOptionUnspecified);
  return static_cast<std::int64_t>(runtime::ToDouble(rs.Fields(1).Value()));
}

TEST(CopieDifficile, RowsGoInBatches) {
  GrosseSource source(20000);
  BaseOuverte cible(BackendNomme("MariaDb"));
  cible.Cree(CibleUnique());
  ado::Connection temoin;
  temoin.Provider("MSDASQL.1");
  temoin.Open(cible.Nom(), cible.Sur().Utilisateur(), cible.Sur().MotDePasse());
  const std::int64_t avant = Questions(temoin);
  EXPECT_EQ(source->CopieDonnees("GROS", *cible).ecrites, 20000);
  EXPECT_LT(Questions(temoin) - avant, 400);
}

TEST(CopieDifficile, ASmallNumberIsNotTakenForATruthValue) {
  Backend& backend = BackendNomme("MariaDb");
  const std::string nom = backend.BaseVide();
  ado::Connection brute;
  brute.Provider("MSDASQL.1");
  brute.Open(nom, backend.Utilisateur(), backend.MotDePasse());
  brute.Execute("CREATE TABLE PETITS (ID INT, OCTET TINYINT(1), VRAI NUMERIC(1))");
  brute.Execute("INSERT INTO PETITS VALUES (1,7,9)");
  BaseOuverte source(backend, nom);
  EXPECT_EQ(source->ListeTbl("PETITS").ListeFld("OCTET").Typ(), ado::adUnsignedTinyInt);
  EXPECT_EQ(source->ListeTbl("PETITS").ListeFld("VRAI").Typ(), ado::adBoolean) << "the layer's own way to keep one";
  BaseOuverte cible(BackendNomme("Oracle"));
  EXPECT_EQ(source->CopieDonnees("PETITS", *cible).ecrites, 1);
  auto rs = cible->OpenRecordSet("SELECT * FROM [PETITS]", 0);
  EXPECT_EQ(runtime::ToInt16(rs.Fields("OCTET").Value()), 7);
  EXPECT_EQ(runtime::ToInt16(rs.Fields("VRAI").Value()), 9) << "the number is written as it stands";
}

/// A target with a counter, in an Access file.
class CompteurCopie : public testing::Test {
 protected:
  static std::unique_ptr<db::DbTbl> AvecCompteur() {
    auto tbl = std::make_unique<db::DbTbl>();
    tbl->Nom("CPT");
    tbl->AddFld("NO", ado::adInteger, 4, true);
    tbl->AddFld("NOM", ado::adVarWChar, 20, false);
    return tbl;
  }
  static void Remplit(db::DataBase& base) {
    for (const int no : {5, 41, 7}) {
      base.ExecuteSQL("INSERT INTO [CPT] ([NO],[NOM]) VALUES (" + std::to_string(no) + ",'n" + std::to_string(no) + "')");
    }
  }
  /// The numbers that stand there, and the one that a new row gets.
  static std::vector<int> NumerosEtSuivant(db::DataBase& base) {
    auto ajout = base.OpenRecordSet("SELECT * FROM [CPT]", 2);
    ajout.AddNew();
    ajout.Fields("NOM").Value("neuf");
    ajout.Update();
    ajout.Close();
    std::vector<int> numeros;
    auto rs = base.OpenRecordSet("SELECT [NO] FROM [CPT] ORDER BY [NO]", 0);
    for (; !rs.Eof(); rs.MoveNext()) numeros.push_back(runtime::ToInt32(rs.Fields(0).Value()));
    return numeros;
  }
};

TEST_F(CompteurCopie, KeepsItsNumbersAndGoesOnBehindThemBetweenTwoAccessFiles) {
  BaseOuverte source(BackendNomme("Jet"));
  BaseOuverte cible(BackendNomme("Jet"));
  source.Cree(AvecCompteur());
  Remplit(*source);
  EXPECT_EQ(source->CopieDonnees("CPT", *cible).ecrites, 3);
  EXPECT_TRUE(cible->ListeTbl("CPT").ExisteCpt());
  EXPECT_EQ(NumerosEtSuivant(*cible), (std::vector<int>{5, 7, 41, 42}));
}

TEST_F(CompteurCopie, KeepsItsNumbersAndGoesOnBehindThemFromAServer) {
  BaseOuverte source(BackendNomme("MariaDb"));
  BaseOuverte cible(BackendNomme("Jet"));
  source.Cree(Table("CPT", {{"NO", ado::adInteger, 4}, {"NOM", ado::adVarWChar, 20}}));
  Remplit(*source);
  cible.Cree(AvecCompteur());
  EXPECT_EQ(source->CopieDonnees("CPT", *cible).ecrites, 3);
  EXPECT_EQ(NumerosEtSuivant(*cible), (std::vector<int>{5, 7, 41, 42}));
}

TEST_F(CompteurCopie, GoesOnBehindTheRowsThatAFailedCopyLeft) {
  BaseOuverte source(BackendNomme("MariaDb"));
  BaseOuverte cible(BackendNomme("Jet"));
  source.Cree(Table("CPT", {{"NO", ado::adInteger, 4}, {"NOM", ado::adVarWChar, 20}}));
  Remplit(*source);
  source->ExecuteSQL("INSERT INTO [CPT] ([NO],[NOM]) VALUES (41,'double')");
  auto tbl = AvecCompteur();
  tbl->AddIdx("PK", "NO", true, true);
  cible.Cree(std::move(tbl));
  EXPECT_EQ(runtime::IgnoringErrors([&] { (void)source->CopieDonnees("CPT", *cible); }).number, runtime::kDuplicateKey);
  EXPECT_EQ(NumerosEtSuivant(*cible), (std::vector<int>{5, 7, 41, 42}));
}

/// Counters that a server keeps: the layer adds them as columns of its kind, or finds them there.
TEST_F(CompteurCopie, OfAServerKeepsItsNumbersAndGoesOnBehindThem) {
  Backend& backend = BackendNomme("MariaDb");
  const std::string nom = backend.BaseVide();
  ado::Connection brute;
  brute.Provider("MSDASQL.1");
  brute.Open(nom, backend.Utilisateur(), backend.MotDePasse());
  brute.Execute("CREATE TABLE CPT (NO INT AUTO_INCREMENT PRIMARY KEY, NOM VARCHAR(20))");
  BaseOuverte source(BackendNomme("Jet"));
  BaseOuverte cible(backend, nom);
  source.Cree(AvecCompteur());
  Remplit(*source);
  EXPECT_EQ(source->CopieDonnees("CPT", *cible).ecrites, 3);
  EXPECT_EQ(NumerosEtSuivant(*cible), (std::vector<int>{5, 7, 41, 42}));
}

TEST(CopieDifficile, ACharacterThatTheTargetCannotHoldIsRefusedAndNeverAQuestionMark) {
  Backend& backend = BackendNomme("MariaDb");
  const std::string nom = backend.BaseVide();
  ado::Connection brute;
  brute.Provider("MSDASQL.1");
  brute.Open(nom, backend.Utilisateur(), backend.MotDePasse());
  brute.Execute("CREATE TABLE T (ID INT, NOM VARCHAR(30)) CHARACTER SET latin1");
  BaseOuverte source(BackendNomme("Sqlite"));
  source.Cree(Table("T", {{"ID", ado::adInteger, 4}, {"NOM", ado::adVarWChar, 30}}));
  for (const char* texte : {"1,'é è ç œ €'", "2,'Łódź'", "3,'après'"}) {
    source->ExecuteSQL(std::string("INSERT INTO [T] ([ID],[NOM]) VALUES (") + texte + ")");
  }
  BaseOuverte cible(backend, nom);
  const auto erreur = runtime::IgnoringErrors([&] { (void)source->CopieDonnees("T", *cible); });
  EXPECT_EQ(erreur.number, runtime::kProviderFailure);
  EXPECT_TRUE(erreur.description.starts_with("copie de la table T : ligne 2, colonne NOM : ")) << erreur.description;
  auto rs = cible->OpenRecordSet("SELECT * FROM [T]", 0);
  EXPECT_EQ(runtime::ToText(rs.Fields("NOM").Value()), "é è ç œ €");
  rs.MoveNext();
  EXPECT_TRUE(rs.Eof());
}

TEST(CopieDifficile, AGenericTargetWithoutTheTableIsRefusedAndListsNone) {
  BaseOuverte source(BackendNomme("MariaDb"));
  source.Cree(Table("T", {{"ID", ado::adInteger, 4}}));
  source->ExecuteSQL("INSERT INTO [T] ([ID]) VALUES (1)");
  BaseOuverte cible(BackendNomme("Sqlite"));
  const auto erreur = runtime::IgnoringErrors([&] { (void)source->CopieDonnees("T", *cible); });
  EXPECT_EQ(erreur.number, runtime::kProviderFailure);
  EXPECT_TRUE(erreur.description.starts_with("copie de la table T : ")) << erreur.description;
  EXPECT_EQ(Desaccord(cible, "T"), "");
  cible.Cree(Table("T", {{"ID", ado::adInteger, 4}}));
  EXPECT_EQ(source->CopieDonnees("T", *cible).ecrites, 1);
  EXPECT_EQ(Desaccord(cible, "T"), "");
}

TEST(CopieDifficile, TwoAccessFilesWhoseNamesDifferByTheirCaseAloneAreToldApart) {
  const TemporaryFolder dossier;
  const std::string nom = dossier.File("Base.mdb");
  (void)jet::Database::Create(nom);
  (void)jet::Database::Create(dossier.File("base.mdb"));
  BaseOuverte source(BackendNomme("Jet"));
  source.Cree(Table("T", {{"A", ado::adInteger, 4}}));
  source->ExecuteSQL("INSERT INTO [T] ([A]) VALUES (1)");
  BaseOuverte cible(BackendNomme("Jet"), nom);
  EXPECT_EQ(source->CopieDonnees("T", *cible).ecrites, 1);
  EXPECT_EQ(Compte(*cible, "T"), 1);
  BaseOuverte autre(BackendNomme("Jet"), dossier.File("base.mdb"));
  EXPECT_FALSE(autre->ExisteTbl("T"));
}

TEST(CopieDifficile, ACopyThatIsAskedToStopSendsNothingMoreAndStopsBetweenTwoRows) {
  GrosseSource source(400000);
  BaseOuverte cible(BackendNomme("MariaDb"));
  cible.Cree(CibleUnique());
  std::vector<std::int64_t> appels;
  db::CopieOptions options;
  options.progression = [&](std::int64_t faites) {
    appels.push_back(faites);
    return false;
  };
  const auto bilan = source->CopieDonnees("GROS", *cible, options);
  EXPECT_TRUE(bilan.arretee);
  EXPECT_LT(bilan.ecrites, 400000);
  EXPECT_EQ(Compte(*cible, "GROS"), bilan.ecrites);
  EXPECT_EQ(appels, std::vector<std::int64_t>{bilan.ecrites});
}

TEST(CopieDifficile, LongTextsAndBytesAreCopiedPieceByPiece) {
  BaseOuverte source(BackendNomme("Sqlite"));
  const std::vector<Champ> champs = {{"ID", ado::adInteger, 4}, {"M", ado::adLongVarWChar}, {"B", ado::adLongVarBinary}};
  auto definition = Table("LONG", champs);
  definition->AddIdx("PK", "ID", true, true);
  source.Cree(std::move(definition));
  std::string memo;
  while (memo.size() < (5 << 20)) memo += "été œuf € 😀 ";
  auto rs = source->OpenRecordSet("SELECT * FROM [LONG]", 2);
  for (int i = 1; i <= 3; ++i) {
    rs.AddNew();
    rs.Fields("ID").Value(i);
    rs.Fields("M").Value(i == 2 ? memo : "court");
    rs.Fields("B").Value(runtime::Bytes(i == 2 ? 3 << 20 : 10, std::byte{static_cast<unsigned char>(i)}));
    rs.Update();
  }
  rs.Close();
  BaseOuverte cible(BackendNomme("MariaDb"));
  cible.Cree(Table("LONG", champs));
  EXPECT_EQ(source->CopieDonnees("LONG", *cible).ecrites, 3);
  const auto bilan = source->VerifieCopie("LONG", *cible);
  EXPECT_TRUE(bilan.Egales()) << bilan.premiereDifference;
}

TEST(CopieDifficile, AMissingTableIsAnErrorAndCreatesNothing) {
  BaseOuverte source(BackendNomme("Sqlite"));
  BaseOuverte cible(BackendNomme("MariaDb"));
  EXPECT_EQ(runtime::IgnoringErrors([&] { (void)source->CopieDonnees("RIEN", *cible); }).number, 9);
  EXPECT_FALSE(cible->ExisteTbl("RIEN"));
}

TEST(CopieDifficile, AFailedTransactionOfTheCallerLeavesNothing) {
  GrosseSource source(3000);
  BaseOuverte cible(BackendNomme("MariaDb"));
  cible.Cree(CibleUnique());
  cible->BeginTrans();
  EXPECT_EQ(source->CopieDonnees("GROS", *cible).ecrites, 3000);
  cible->RollBack();
  EXPECT_EQ(Compte(*cible, "GROS"), 0);
}

}  // namespace
}  // namespace tamlo::tests
