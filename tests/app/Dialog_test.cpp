// The tool's own program, its real dialog and real databases: an operator types, the rows are looked at past the tool.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <thread>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "runtime/Text.h"
#include "tests/app/ToolRun.h"
#include "tests/app/VirtualDisplay.h"
#include "tests/app/VolumesDatabase.h"

namespace tamlo::app {
namespace {

using Texts = std::vector<std::string>;

constexpr const char* kDialog = "Création d'un utilisateur";
constexpr const char* kUsage =
    "\n"
    "Veuillez indiquez les paramètres suivants :\n"
    "\n"
    "      1 - Nom de la base des volumes\n"
    "      2 - Type de la base des volumes\n"
    "      3 - Identifiant du volume concerné\n"
    "      4 - Nom de l'utilisateur à créer\n"
    "      5 - Niveau de l'utilisateur à créer\n"
    "      6 - Mot de passe de l'utilisateur à créer - facultatif\n"
    "      7 - Utilisateur connecté - facultatif\n"
    "      8 - Mot de passe de l'utilisateur connecté - facultatif";
// Encoded forms, as the program's table gives them.
constexpr const char* kSecret1 = "VqDcq:G";
constexpr const char* kTamlo = ":'u]Z";

VirtualDisplay& Screen() {
  static VirtualDisplay display;
  return display;
}

class DialogTest : public testing::Test {
 protected:
  void StartWith(const Texts& arguments, std::map<std::string, std::string> environment = {}) {
    environment["DISPLAY"] = Screen().Name();
    Screen().EmptyClipboard();
    tool.reset();
    tool = std::make_unique<ToolRun>(ToolRun::Settings{arguments, environment});
  }
  VirtualDisplay::WindowId WaitForDialog() { return Screen().WaitFor(tool->Process(), kDialog); }

  /// The text of the box of that title, which is then dismissed.
  std::string ReadBox(const std::string& title) {
    Screen().WaitFor(tool->Process(), title);
    Screen().Screenshot(PictureName());
    Screen().Press("ctrl+c");
    const std::string text = Screen().Clipboard();
    Screen().Press("Return");
    Screen().WaitUntilGone(tool->Process(), title);
    EXPECT_EQ(text.substr(0, title.size() + 1), title + "\n");
    return text.substr(std::min(text.size(), title.size() + 1));
  }
  static std::string PictureName() {
    std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
    std::replace(name.begin(), name.end(), '/', '-');
    return name;
  }
  std::string ReadErrorBox() { return ReadBox("tamlo"); }

  void TypePasswords(const std::string& first, const std::string& second) {
    Screen().Type(first);
    Screen().Press("Tab");
    Screen().Type(second);
  }

  std::unique_ptr<ToolRun> tool;
};

struct Backend {
  const char* name;
  std::function<std::unique_ptr<VolumesDatabase>()> make;
  /// A table that is missing is one that the collection does not hold.
  bool missingIsNotFound = false;
  /// A new row, or an edit of one, is refused where it begins, which nobody passes over in silence, and not at its Update.
  bool refusesEdits = false;
  /// That nothing can be written is known before it is tried. (A server's grants are known to the server alone.)
  bool knowsReadOnly = true;

  [[nodiscard]] std::string MissingTable() const { return ErrorStart(missingIsNotFound ? 3265 : -2147467259); }
  [[nodiscard]] std::string ReadOnly() const { return ErrorStart(refusesEdits ? 3251 : -2147467259); }

 private:
  static std::string ErrorStart(std::int32_t number) { return "Erreur d'exécution '" + std::to_string(number) + "' :\n\n"; }
};

class SessionTest : public DialogTest, public testing::WithParamInterface<Backend> {
 protected:
  /// Volume 12, level 3, and what follows.
  void Start(const std::string& user, const Texts& more = {}) {
    Texts arguments{volumes->Name(), volumes->Kind(), "12", user, "3"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    StartWith(arguments, volumes->Environment());
  }
  /// The box that tells of a database without writing, where that is known.
  void ReadReadOnlyBox() {
    if (!GetParam().knowsReadOnly) return;
    EXPECT_EQ(ReadBox("Base en lecture seule"), "La base <" + runtime::UpperCase(volumes->Name()) +
                                                    "> est en lecture seule : l'utilisateur ne pourra pas y être enregistré.");
  }
  Texts Users() { return volumes->Rows("SELECT IDUTL, NOM, MOTPASSE FROM UTL ORDER BY IDUTL"); }
  Texts Links() { return volumes->Rows("SELECT IDUTL, IDVLM, NIVEAU FROM VLMUTL ORDER BY IDUTL, IDVLM"); }

  std::unique_ptr<VolumesDatabase> volumes = GetParam().make();
};

INSTANTIATE_TEST_SUITE_P(Databases, SessionTest,
                         testing::Values(Backend{"Access", MakeAccessVolumes, true, true}, Backend{"Sqlite", MakeSqliteVolumes},
                                         Backend{"MariaDb", MakeMariaDbVolumes, false, false, false}),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST_P(SessionTest, ANewUserAfterAWrongConfirmation) {
  Start("DUPONT");
  WaitForDialog();
  Screen().Screenshot(std::string("1-dialog-") + GetParam().name);
  TypePasswords("Secret1", "secret1");
  Screen().Press("Return");
  EXPECT_EQ(ReadBox("Mot de passe incorrect"),
            "La confirmation du mot de passe diffère de celui-ci. Merci de saisir à nouveau ces 2 zones");
  WaitForDialog();
  EXPECT_EQ(Users(), Texts{});
  Screen().Screenshot(std::string("2-after-message-") + GetParam().name);
  // The first box has the focus and its text is selected: typing replaces it. So it is in the second.
  TypePasswords("Secret1", "Secret1");
  Screen().Screenshot(std::string("3-corrected-") + GetParam().name);
  Screen().Press("Return");
  EXPECT_EQ(tool->Wait(), 0);
  EXPECT_EQ(Users(), Texts{std::string("1|DUPONT|") + kSecret1});
  EXPECT_EQ(Links(), Texts{"1|12|3"});
  EXPECT_EQ(tool->Errors(), "");
}

TEST_P(SessionTest, TheNextUserGetsTheLargestIdPlus1) {
  volumes->Execute("INSERT INTO UTL VALUES (41, 'MARTIN', 'x')");
  Start("DUPONT", {"Secret1"});
  WaitForDialog();
  Screen().Press("Return");
  EXPECT_EQ(tool->Wait(), 0);
  EXPECT_EQ(Users(), (Texts{"41|MARTIN|x", std::string("42|DUPONT|") + kSecret1}));
  EXPECT_EQ(Links(), Texts{"42|12|3"});
}

TEST_P(SessionTest, AnIdThatAnotherWriterTakesAtThatMomentIsComputedAnew) {
  Start("DUPONT", {"Secret1"});
  WaitForDialog();
  volumes->Hold("INSERT INTO UTL VALUES (1, 'MARTIN', 'x')");
  Screen().Press("Return");
  // The tool takes 1 for the next id, as it cannot see the other row yet, and waits with its insert. Were the row there before it
  // asks, it would take 2 at once.
  std::this_thread::sleep_for(std::chrono::milliseconds(700));
  volumes->Release();
  EXPECT_EQ(tool->Wait(), 0);
  EXPECT_EQ(Users(), (Texts{"1|MARTIN|x", std::string("2|DUPONT|") + kSecret1}));
  EXPECT_EQ(Links(), Texts{"2|12|3"});
}

TEST_P(SessionTest, AKnownUserKeepsItsIdAndItsLevelAndGetsTheNewPassword) {
  volumes->Execute("INSERT INTO UTL VALUES (7, 'DUPONT', 'x')");
  volumes->Execute("INSERT INTO VLMUTL VALUES (7, 12, 9)");
  Start("DUPONT", {"Secret1"});
  WaitForDialog();
  Screen().Press("Return");
  EXPECT_EQ(tool->Wait(), 0);
  EXPECT_EQ(Users(), Texts{std::string("7|DUPONT|") + kSecret1});
  EXPECT_EQ(Links(), Texts{"7|12|9"});
}

TEST_P(SessionTest, AKnownUserGetsAMissingLinkAndKeepsTheStoredPassword) {
  volumes->Execute(std::string("INSERT INTO UTL VALUES (7, 'DUPONT', '") + kSecret1 + "')");
  volumes->Execute("INSERT INTO VLMUTL VALUES (7, 1, 9)");
  Start("DUPONT");
  WaitForDialog();
  // Both boxes hold the decoded password: nothing is typed.
  Screen().Press("Return");
  EXPECT_EQ(tool->Wait(), 0);
  EXPECT_EQ(Users(), Texts{std::string("7|DUPONT|") + kSecret1});
  EXPECT_EQ(Links(), (Texts{"7|1|9", "7|12|3"}));
}

TEST_P(SessionTest, AnAccentedNameIsSavedAsTheBoxShowsIt) {
  Start("Éloïse GARÇON-Œuvré");
  WaitForDialog();
  Screen().Press("shift+Tab");  // to the name, which is upper-cased when the focus leaves it
  Screen().Press("Tab");
  TypePasswords("Secret1", "Secret1");
  Screen().Screenshot(std::string("accents-") + GetParam().name);
  Screen().Press("Return");
  EXPECT_EQ(tool->Wait(), 0);
  EXPECT_EQ(Users(), Texts{std::string("1|ÉLOÏSE GARÇON-ŒUVRÉ|") + kSecret1});
}

TEST_P(SessionTest, TheAcceleratorOfOkTakesTheFocusOffTheNameBeforeItSaves) {
  Start("dupont", {"Secret1"});
  WaitForDialog();
  Screen().Press("shift+Tab");
  Screen().Press("alt+o");
  EXPECT_EQ(tool->Wait(), 0);
  EXPECT_EQ(Users(), Texts{std::string("1|DUPONT|") + kSecret1});
}

TEST_P(SessionTest, TheEleventhCharacterIsRefused) {
  Start("DUPONT");
  WaitForDialog();
  TypePasswords("Secret1Secret1", "Secret1Secret1");
  Screen().Press("Tab");
  Screen().Press("space");  // OK has the focus
  EXPECT_EQ(tool->Wait(), 0);
  EXPECT_EQ(Users(), Texts{"1|DUPONT|VqDcq:GVqD"});
}

TEST_P(SessionTest, AnEmptyPasswordIsAccepted) {
  Start("DUPONT");
  WaitForDialog();
  Screen().Press("Return");
  EXPECT_EQ(tool->Wait(), 0);
  EXPECT_EQ(Users(), Texts{"1|DUPONT|"});
  EXPECT_EQ(Links(), Texts{"1|12|3"});
}

TEST_P(SessionTest, ACharacterThatTheTableDoesNotHoldIsWrittenAsCode0) {
  Start("DUPONT", {"aéb"});
  WaitForDialog();
  Screen().Press("Return");
  EXPECT_EQ(ReadBox("Mot de passe").find("Ce mot de passe contient des caractères qui ne comptent pas"), 0U);
  EXPECT_EQ(tool->Wait(), 0);
  EXPECT_EQ(volumes->PasswordBytes(), Texts{"27005C"});
}

TEST_P(SessionTest, ToldOfACharacterThatDoesNotCountTheOperatorMayTypeAgain) {
  Start("DUPONT", {"a😀"});
  WaitForDialog();
  Screen().Press("Return");
  Screen().WaitFor(tool->Process(), "Mot de passe");
  Screen().Press("Escape");
  WaitForDialog();
  TypePasswords("Secret1", "Secret1");
  Screen().Press("Return");
  EXPECT_EQ(tool->Wait(), 0);
  EXPECT_EQ(Users(), Texts{std::string("1|DUPONT|") + kSecret1});
}

TEST_P(SessionTest, NoNameTakesAnothersAccountOverNorShowsItsPassword) {
  volumes->Execute(std::string("INSERT INTO UTL VALUES (1, 'ADMIN', '") + kSecret1 + "')");
  volumes->Execute("INSERT INTO UTL VALUES (2, 'BOB', 'x')");
  const std::string kind = volumes->Kind();
  Texts names{"X' OR 'A'='A", "X' OR NOM>'"};
  if (kind == "0") names.push_back("B' & 'OB");
  if (kind == "3") names.insert(names.end(), {"' OR 1=1 -- ", "B' 'OB"});
  // There a text stands between double quotes, and one that is the name of a column is that column.
  if (kind == "4") names = {"NOM", "X\" OR 1=1 --"};
  for (const std::string& name : names) {
    if (name.find('"') != std::string::npos) continue;
    Start(name);
    EXPECT_EQ(ReadBox("Programme interrompu"),
              "La recherche de l'utilisateur <" + name + "> a trouvé la ligne d'un autre utilisateur.\n\nRien n'a été écrit.");
    EXPECT_EQ(tool->Wait(), 1);
    Start(name, {"pirate"});
    WaitForDialog();
    Screen().Press("Return");
    EXPECT_EQ(ReadBox("Programme interrompu"),
              "La recherche de l'utilisateur <" + name + "> a trouvé la ligne d'un autre utilisateur.\n\nRien n'a été écrit.");
    EXPECT_EQ(tool->Wait(), 1);
  }
  EXPECT_EQ(Users(), (Texts{std::string("1|ADMIN|") + kSecret1, "2|BOB|x"}));
  EXPECT_EQ(Links(), Texts{});
}

TEST_P(SessionTest, ANameThatIsBlankTooLongOrHoldsADoubleQuoteIsRefused) {
  volumes->Execute("INSERT INTO UTL VALUES (1, 'ABCDEFGHIJKLMNOPQRSTUVWXYZ0123', 'x')");
  const std::pair<const char*, const char*> names[] = {
      {"", "Le nom de l'utilisateur à créer (paramètre 4) est vide."},
      {"  ", "Le nom de l'utilisateur à créer (paramètre 4) est vide."},
      {"ABCDEFGHIJKLMNOPQRSTUVWXYZ01234", "Le nom de l'utilisateur à créer (paramètre 4) compte 31 caractères ; il en tient 30 au plus."},
      {"AL\"EX", "Le paramètre 4 contient un guillemet (\"), qu'un paramètre ne peut pas contenir."},
      {"AL\xFF"
       "EX",
       "Le nom de l'utilisateur à créer (paramètre 4) contient des caractères que la fenêtre ne peut pas tenir."},
  };
  for (const auto& [name, reason] : names) {
    Start(name, {"Secret1"});
    EXPECT_EQ(ReadBox("Programme interrompu"), std::string(reason) + "\n\nRien n'a été écrit.");
    EXPECT_EQ(tool->Wait(), 1);
  }
  EXPECT_EQ(Users(), Texts{"1|ABCDEFGHIJKLMNOPQRSTUVWXYZ0123|x"});
  EXPECT_EQ(Links(), Texts{});
}

TEST_P(SessionTest, ANameOf30CharactersOutsideOfTheFirstPlaneIsKeptWhole) {
  std::string name;
  for (int i = 0; i < 30; ++i) name += "𝔄";
  if (volumes->Kind() == "0") name = "É" + std::string(29, 'X');  // a TEXT(30) holds 15 of them
  Start(name, {"Secret1"});
  WaitForDialog();
  Screen().Press("Return");
  EXPECT_EQ(tool->Wait(), 0);
  EXPECT_EQ(Users(), Texts{"1|" + name + "|" + kSecret1});
}

TEST_P(SessionTest, EscTheAcceleratorAndTheCloseBoxWriteNothing) {
  const std::function<void(VirtualDisplay::WindowId)> ways[] = {
      [](auto) { Screen().Press("Escape"); }, [](auto) { Screen().Press("alt+a"); }, [](auto window) { Screen().Close(window); }};
  for (const auto& way : ways) {
    Start("DUPONT", {"Secret1"});
    const auto window = WaitForDialog();
    way(window);
    EXPECT_EQ(tool->Wait(), 0);
  }
  EXPECT_EQ(Users(), Texts{});
  EXPECT_EQ(Links(), Texts{});
}

TEST_P(SessionTest, NothingCanBeCopiedOutOfAPasswordBox) {
  Start("DUPONT", {"Secret1"});
  WaitForDialog();
  Screen().Press("ctrl+a");
  Screen().Press("ctrl+c");
  Screen().Press("shift+Tab");
  Screen().Press("ctrl+c");  // the name: what arrives after nothing did
  EXPECT_EQ(Screen().Clipboard(), "DUPONT");
  Screen().Press("Escape");
  EXPECT_EQ(tool->Wait(), 0);
}

TEST_P(SessionTest, PasswordsLeaveTheProcesssArgumentListAndTheProgramsFolderIsCurrent) {
  Start("DUPONT", {"Secret1", "tamlo", kTamlo});
  WaitForDialog();
  const std::string list = tool->ProcFile("cmdline");
  EXPECT_EQ(list.find("Secret1"), std::string::npos);
  EXPECT_EQ(list.find(kTamlo), std::string::npos);
  EXPECT_NE(list.find("DUPONT"), std::string::npos);
  EXPECT_EQ(tool->ProcFile("environ").find("Secret1"), std::string::npos);
  EXPECT_EQ(list.find("PWD=tamlo"), std::string::npos) << "inside the first argument";
  EXPECT_EQ(tool->ProcLink("cwd"), std::filesystem::path(tool->ProcLink("exe")).parent_path());
  Screen().Press("Return");
  EXPECT_EQ(tool->Wait(), 0);
  EXPECT_EQ(Users(), Texts{std::string("1|DUPONT|") + kSecret1});
}

TEST_P(SessionTest, AfterTheDialogFilledAPasswordStandsInTheBoxesAlone) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "memory that is given back is wiped by the program's own allocator, in whose place stands the sanitizer's";
#endif
  // Not the password itself, or this program's own memory would be a place too; the tool's is read by root alone.
  const std::string secret = std::string("Zq7") + "kW4xT9";
  Start("DUPONT", {secret});
  WaitForDialog();
  std::size_t seen = 0;
  std::size_t copies = 0;
  if (!tool->CountInMemory(secret, seen, copies)) GTEST_SKIP() << "this user may not read the memory of another process, as it should be";
  EXPECT_GT(seen, 1000000U);
  // In UTF-16 in the two boxes; none of the texts it came through.
  EXPECT_EQ(copies, 0U);
  Screen().Press("Escape");
  EXPECT_EQ(tool->Wait(), 0);
}

TEST_P(SessionTest, ADatabaseThatIsNotThereEndsWithTheLayersMessage) {
  StartWith({volumes->AbsentName(), volumes->Kind(), "12", "DUPONT", "3"}, volumes->Environment());
  // A password inside the name is not shown.
  const std::string known = volumes->AbsentName().substr(0, volumes->AbsentName().find("PWD=tamlo"));
  const std::string shown = volumes->Kind() == "3" ? known + "PWD=***" : runtime::UpperCase(known);
  const std::string text = ReadBox("Impossible d'ouvrir la base <" + shown + ">");
  EXPECT_EQ(text.find("La base est incorrecte. Erreur -2147467259 ("), 0U) << text;
  EXPECT_EQ(text.back(), ')');
  EXPECT_EQ(tool->Wait(), 1);
}

TEST_P(SessionTest, ANameWithAQuoteEndsWithTheErrorBoxAndNothingWritten) {
  Start("L'HERMITE", {"Secret1"});
  WaitForDialog();
  Screen().Press("Return");
  const std::string text = ReadErrorBox();
  EXPECT_EQ(text.find("Erreur d'exécution '-2147467259' :\n\n"), 0U) << text;
  EXPECT_EQ(text.find(kSecret1), std::string::npos);
  EXPECT_EQ(text.find("Secret1"), std::string::npos);
  EXPECT_EQ(tool->Wait(), 1);
  EXPECT_EQ(Users(), Texts{});
  EXPECT_EQ(Links(), Texts{});
}

TEST_P(SessionTest, AMissingUserTableEndsWithTheErrorBoxBeforeTheDialog) {
  volumes->Execute("DROP TABLE UTL");
  Start("DUPONT");
  const std::string text = ReadErrorBox();
  EXPECT_EQ(text.find(GetParam().MissingTable()), 0U) << text;
  EXPECT_NE(text.find("UTL"), std::string::npos) << text;
  EXPECT_EQ(tool->Wait(), 1);
}

TEST_P(SessionTest, AMissingLinkTableEndsWithTheErrorBoxAfterTheUserRow) {
  volumes->Execute("DROP TABLE VLMUTL");
  Start("DUPONT", {"Secret1"});
  WaitForDialog();
  Screen().Press("Return");
  const std::string text = ReadErrorBox();
  EXPECT_EQ(text.find(GetParam().MissingTable()), 0U) << text;
  EXPECT_NE(text.find("VLMUTL"), std::string::npos) << text;
  EXPECT_EQ(tool->Wait(), 1);
  EXPECT_EQ(Users(), Texts{std::string("1|DUPONT|") + kSecret1});
}

TEST_P(SessionTest, AReadOnlyDatabaseIsToldAndEndsWithTheErrorBoxAndNothingWritten) {
  volumes->MakeReadOnly();
  Start("DUPONT", {"Secret1"});
  ReadReadOnlyBox();
  WaitForDialog();
  Screen().Press("Return");
  const std::string text = ReadErrorBox();
  EXPECT_EQ(text.find(GetParam().ReadOnly()), 0U) << text;
  EXPECT_EQ(tool->Wait(), 1);
  EXPECT_EQ(Users(), Texts{});
  EXPECT_EQ(Links(), Texts{});
}

TEST_P(SessionTest, ARefusedUpdateOfAKnownUserIsSilentAndGivesStatus1) {
  volumes->Execute("INSERT INTO UTL VALUES (7, 'DUPONT', 'x')");
  volumes->Execute("INSERT INTO VLMUTL VALUES (7, 12, 9)");
  volumes->MakeReadOnly();
  Start("DUPONT", {"Secret1"});
  ReadReadOnlyBox();
  WaitForDialog();
  Screen().Press("Return");
  if (GetParam().refusesEdits) {
    EXPECT_EQ(ReadErrorBox().find(GetParam().ReadOnly()), 0U);
  }
  EXPECT_EQ(tool->Wait(), 1);
  EXPECT_EQ(Users(), Texts{"7|DUPONT|x"});
}

TEST_P(SessionTest, TextForANumberAndNumbersOutOfRangeEndWithTheErrorBox) {
  const std::string mismatch = "Erreur d'exécution '13' :\n\nIncompatibilité de type";
  const std::string overflow = "Erreur d'exécution '6' :\n\nDépassement de capacité";
  const std::string subscript = "Erreur d'exécution '9' :\n\nL'indice n'appartient pas à la sélection";
  const std::string kind = volumes->Kind();
  const std::pair<Texts, std::string> inputs[] = {
      {{"quatre", "12", "DUPONT", "3"}, mismatch},    {{"99999", "12", "DUPONT", "3"}, overflow},
      {{kind, "douze", "DUPONT", "3"}, mismatch},     {{kind, "1E400", "DUPONT", "3"}, overflow},
      {{kind, "12", "DUPONT", "trois"}, mismatch},    {{kind, "12", "DUPONT", "40000"}, overflow},
      {{kind, "douze", "DUPONT", "40000"}, mismatch}, {{kind, "12", "DUPONT", "3", "Secret1", "ADMIN"}, subscript},
  };
  for (const auto& [after, box] : inputs) {
    Texts arguments{volumes->Name()};
    arguments.insert(arguments.end(), after.begin(), after.end());
    StartWith(arguments, volumes->Environment());
    EXPECT_EQ(ReadErrorBox(), box);
    EXPECT_EQ(tool->Wait(), 1);
  }
  EXPECT_EQ(Users(), Texts{});
}

TEST_F(DialogTest, OtherProgramsOfTheSameUserMayNotLookIntoTheProcess) {
  ToolRun watched({{}, {{"DISPLAY", Screen().Name()}}, true});
  Screen().WaitFor(watched.Process(), "Programme interrompu");
  // Open to them as long as it is dumpable, which a core file asks for too.
  EXPECT_FALSE(watched.ReadableByItsUser());
  Screen().Press("Return");
  EXPECT_EQ(watched.Wait(), 1);
}

TEST_F(DialogTest, AWrongCountOfParametersEndsWithTheUsageBox) {
  for (const Texts& arguments : {Texts{}, Texts{"VOLUMES", "4", "12", "DUPONT"}, Texts{"1", "2", "3", "4", "5", "6", "7", "8", "9"}}) {
    StartWith(arguments);
    EXPECT_EQ(ReadBox("Programme interrompu"), kUsage);
    EXPECT_EQ(tool->Wait(), 1);
  }
}

class AccessTest : public DialogTest {
 protected:
  void Start() { StartWith({volumes->Name(), "0", "12", "DUPONT", "3", "Secret1"}); }
  std::string ReadRefusal() { return ReadBox("Impossible d'ouvrir la base <" + runtime::UpperCase(volumes->Name()) + ">"); }

  std::unique_ptr<VolumesDatabase> volumes = MakeAccessVolumes();
};

TEST_F(AccessTest, AFileThatAnotherStationHoldsAloneIsBeingDefinedThere) {
  jet::OpenOptions alone;
  alone.mode = jet::OpenMode::kExclusive;
  const auto held = jet::Database::Open(volumes->Name(), alone);
  Start();
  EXPECT_EQ(ReadRefusal(), "La base est en cours de définition par un autre poste");
  EXPECT_EQ(tool->Wait(), 1);
}

TEST_F(AccessTest, AFileThatOthersHaveOpenIsShared) {
  const auto other = jet::Database::Open(volumes->Name());
  Start();
  WaitForDialog();
  Screen().Press("Return");
  EXPECT_EQ(tool->Wait(), 0);
  EXPECT_EQ(volumes->Rows("SELECT IDUTL, IDVLM, NIVEAU FROM VLMUTL"), Texts{"1|12|3"});
}

TEST_F(AccessTest, AUserIsSavedWhileAnotherProgramStandsInTheTable) {
  volumes->Execute("INSERT INTO UTL VALUES (7, 'DUPONT', 'x')");
  volumes->Execute("INSERT INTO UTL VALUES (8, 'DURAND', 'x')");
  const auto other = jet::Database::Open(volumes->Name());
  jet::sql::Session session(*other);
  const auto rows = session.Open("SELECT * FROM UTL");
  ASSERT_TRUE(rows->Next());
  Start();
  WaitForDialog();
  Screen().Screenshot(PictureName());
  Screen().Press("Return");
  EXPECT_EQ(tool->Wait(), 0);
  EXPECT_EQ(volumes->Rows("SELECT IDUTL, IDVLM, NIVEAU FROM VLMUTL"), Texts{"7|12|3"});
  EXPECT_TRUE(rows->Next());
}

TEST_F(AccessTest, AFileThatIsNoDatabaseEndsWithTheLayersMessageAndStaysAsItWas) {
  const std::string text(10000, 'x');
  std::ofstream(volumes->Name()) << text;
  Start();
  EXPECT_EQ(ReadRefusal().find("La base est incorrecte. Erreur -2147467259 (Format de base de données non reconnu"), 0U);
  EXPECT_EQ(tool->Wait(), 1);
  std::ostringstream after;
  after << std::ifstream(volumes->Name()).rdbuf();
  EXPECT_EQ(after.str(), text);
}

class ServerTest : public DialogTest {
 protected:
  std::unique_ptr<VolumesDatabase> volumes = MakeMariaDbVolumes();
  std::string NameWithoutLogin() const { return volumes->Name().substr(0, volumes->Name().find(";UID=")); }
};

TEST_F(ServerTest, TheConnectedUserLogsIn) {
  StartWith({NameWithoutLogin(), "3", "12", "DUPONT", "3", "Secret1", "tamlo", kTamlo});
  WaitForDialog();
  Screen().Press("Return");
  EXPECT_EQ(tool->Wait(), 0);
  EXPECT_EQ(volumes->Rows("SELECT IDUTL, IDVLM, NIVEAU FROM VLMUTL"), Texts{"1|12|3"});
}

TEST_F(ServerTest, AWrongPasswordEndsWithTheLayersMessage) {
  StartWith({NameWithoutLogin(), "3", "12", "DUPONT", "3", "Secret1", "tamlo", kSecret1});
  const std::string text = ReadBox("Impossible d'ouvrir la base <" + NameWithoutLogin() + ">");
  EXPECT_EQ(text.find("La base est incorrecte. Erreur -2147467259 ("), 0U) << text;
  EXPECT_EQ(text.find("Secret1"), std::string::npos) << text;
  EXPECT_EQ(tool->Wait(), 1);
}

TEST_F(ServerTest, AServerThatGoesAwayBetweenOpeningAndOkEndsWithTheErrorBoxAndNothingWritten) {
  StartWith({volumes->Name(), "3", "12", "DUPONT", "3", "Secret1"});
  WaitForDialog();
  KillMariaDb();
  Screen().Press("Return");
  const std::string text = ReadErrorBox();
  EXPECT_EQ(text.find("Erreur d'exécution '-2147467259' :\n\n"), 0U) << text;
  EXPECT_EQ(tool->Wait(), 1);
  RestartMariaDb();
  EXPECT_EQ(volumes->Rows("SELECT * FROM UTL"), Texts{});
  EXPECT_EQ(volumes->Rows("SELECT * FROM VLMUTL"), Texts{});
}

TEST_F(ServerTest, AServerThatGoesAwayBeforeCancelEndsInOrder) {
  StartWith({volumes->Name(), "3", "12", "DUPONT", "3", "Secret1"});
  WaitForDialog();
  KillMariaDb();
  Screen().Press("Escape");
  EXPECT_EQ(tool->Wait(), 0);
  RestartMariaDb();
}

TEST(WithoutDisplay, ALineOnTheStandardErrorAndStatus1) {
  ToolRun unset({{"VOLUMES", "4", "12", "DUPONT", "3"}, {}});
  EXPECT_EQ(unset.Wait(), 1);
  EXPECT_EQ(unset.Errors(), "tamlo : impossible d'afficher la fenêtre. Ni DISPLAY ni WAYLAND_DISPLAY ne désigne un affichage.\n");

  ToolRun dead({{"VOLUMES", "4", "12", "DUPONT", "3"}, {{"DISPLAY", ":59999"}}});
  EXPECT_EQ(dead.Wait(), 1);
  EXPECT_EQ(dead.Errors(), "tamlo : impossible d'afficher la fenêtre. L'affichage ne s'ouvre pas (DISPLAY=:59999).\n");

  ToolRun unknown({{"VOLUMES", "4", "12", "DUPONT", "3"}, {{"QT_QPA_PLATFORM", "nosuch"}}});
  EXPECT_EQ(unknown.Wait(), 1);
  EXPECT_EQ(unknown.Errors(), "tamlo : impossible d'afficher la fenêtre. L'affichage ne s'ouvre pas (QT_QPA_PLATFORM=nosuch).\n");
}

}  // namespace
}  // namespace tamlo::app
