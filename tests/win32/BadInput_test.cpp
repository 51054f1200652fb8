// What bad input gets: the same boxes, in the same words, as the tool's edition for the other system shows.

#include <fstream>
#include <utility>
#include <vector>

#include "ado/Connection.h"
#include "ado/Recordset.h"
#include "providers/Fournisseurs.h"
#include "runtime/Conversions.h"
#include "tests/win32/VolumesTest.h"

namespace tamlo::tests {
namespace {

constexpr const wchar_t* kProviderFailure = L"Erreur d'exécution '-2147467259' :\n\n";
constexpr const wchar_t* kError = L"Erreur d'exécution '";
constexpr const wchar_t* kCannotOpen = L"Impossible d'ouvrir la base <";

/// The text of the box of that title, which is dismissed then; the tool must end with status 1.
std::wstring ReadBox(const ToolProcess& tool, const std::wstring& title) {
  const HWND box = WaitForDialog(title.c_str());
  if (box == nullptr) {
    ADD_FAILURE() << "no box of that title";
    return {};
  }
  EXPECT_TRUE(HasIcon(box));
  std::wstring text = MessageTextOf(box);
  PostMessageW(box, WM_COMMAND, IDOK, 0);
  EXPECT_EQ(tool.Wait(), 1);
  return text;
}

TEST(BadInput, AWrongCountOfParametersEndsWithTheUsageBox) {
  for (const wchar_t* arguments : {L"VOLUMES 4 12 DUPONT", L"1 2 3 4 5 6 7 8 9"}) {
    const ToolProcess tool(kTool, arguments);
    EXPECT_EQ(ReadBox(tool, L"Programme interrompu").find(L"\nVeuillez indiquez les paramètres suivants :\n\n      1 - Nom"), 0U);
  }
}

class BadInputOnAccess : public AccessVolumes {
 protected:
  [[nodiscard]] std::string File() const { return folder_.File("VOLUMES.MDB"); }
  void Execute(const std::string& statement) const {
    providers::EnregistreFournisseurs();
    ado::Connection connection;
    connection.Provider("Microsoft.Jet.OLEDB.4.0");
    connection.Open(File(), "", "");
    connection.Execute(statement, ado::adExecuteNoRecords);
  }
  std::wstring BoxAfterOk() {
    Press(kOK);
    return ReadBox(*tool_, L"tamlo");
  }
};

TEST_F(BadInputOnAccess, TextForANumberAndNumbersOutOfRangeEndWithTheErrorBox) {
  const std::wstring mismatch = L"Erreur d'exécution '13' :\n\nIncompatibilité de type";
  const std::wstring overflow = L"Erreur d'exécution '6' :\n\nDépassement de capacité";
  const std::wstring subscript = L"Erreur d'exécution '9' :\n\nL'indice n'appartient pas à la sélection";
  const std::pair<const wchar_t*, std::wstring> inputs[] = {
      {L"quatre 12 DUPONT 3", mismatch},   {L"99999 12 DUPONT 3", overflow},
      {L"0 douze DUPONT 3", mismatch},     {L"0 1E400 DUPONT 3", overflow},
      {L"0 12 DUPONT trois", mismatch},    {L"0 12 DUPONT 40000", overflow},
      {L"0 douze DUPONT 40000", mismatch}, {L"0 12 DUPONT 3 Secret1 ADMIN", subscript},
  };
  for (const auto& [after, text] : inputs) {
    const ToolProcess tool(kTool, L"\"" + Wide(File()) + L"\" " + after);
    EXPECT_EQ(ReadBox(tool, L"tamlo"), text);
  }
  EXPECT_EQ(Rows().find("DUPONT"), std::string::npos);
}

TEST_F(BadInputOnAccess, AFileThatIsNotThereEndsWithTheLayersMessage) {
  const std::string absent = runtime::UpperCase(folder_.File("absente.mdb"));
  const ToolProcess tool(kTool, L"\"" + Wide(absent) + L"\" 0 12 DUPONT 3");
  EXPECT_EQ(ReadBox(tool, kCannotOpen + Wide(absent) + L">"),
            L"La base est incorrecte. Erreur -2147467259 (Fichier introuvable : \"" + Wide(absent) + L"\" n'existe pas)");
}

TEST_F(BadInputOnAccess, AFileOfAnotherKindEndsWithTheLayersMessage) {
  const std::string file = folder_.File("TEXTE.MDB");
  std::ofstream(file) << "Ceci n'est pas une base.\n";
  const ToolProcess tool(kTool, L"\"" + Wide(file) + L"\" 0 12 DUPONT 3");
  const std::wstring upper = Wide(runtime::UpperCase(file));
  const std::wstring text = ReadBox(tool, kCannotOpen + upper + L">");
  EXPECT_EQ(text.find(L"La base est incorrecte. Erreur -2147467259 (Format de base de données non reconnu : \""), 0U);
  EXPECT_NE(text.find(L"\" ne commence pas comme un fichier Access)"), std::wstring::npos);
}

TEST_F(BadInputOnAccess, ANameWithAQuoteEndsWithTheErrorBoxAndNothingWritten) {
  Start(L"12 L'HERMITE 3 Secret1");
  ASSERT_NE(form_, nullptr);
  EXPECT_EQ(BoxAfterOk(),
            std::wstring(kProviderFailure) + L"Erreur de syntaxe dans l'instruction SQL : texte sans son guillemet fermant (caractère 39)");
  EXPECT_EQ(Rows().find("HERMITE"), std::string::npos);
}

TEST_F(BadInputOnAccess, AMissingUserTableEndsWithTheErrorBoxBeforeTheDialog) {
  Execute("DROP TABLE UTL");
  const ToolProcess tool(kTool, Wide(source_) + L" 12 DUPONT 3");
  const std::wstring text = ReadBox(tool, L"tamlo");
  EXPECT_EQ(text.find(kError), 0U);
  EXPECT_NE(text.find(L"UTL"), std::wstring::npos);
}

TEST_F(BadInputOnAccess, AMissingLinkTableEndsWithTheErrorBoxAfterTheUserRow) {
  Execute("DROP TABLE VLMUTL");
  Start(L"12 DUPONT 3 Secret1");
  ASSERT_NE(form_, nullptr);
  const std::wstring text = BoxAfterOk();
  EXPECT_EQ(text.find(kError), 0U);
  EXPECT_NE(text.find(L"VLMUTL"), std::wstring::npos);
  Execute("CREATE TABLE VLMUTL (IDUTL INTEGER, IDVLM INTEGER, NIVEAU SMALLINT)");
  EXPECT_NE(Rows().find("2 | DUPONT | "), std::string::npos) << Rows();
}

TEST_F(BadInputOnAccess, AReadOnlyDatabaseIsToldAndEndsWithTheErrorBoxAndNothingWritten) {
  const std::string writable = std::exchange(source_, "\"Data Source=" + File() + ";Mode=Read\" 0");
  tool_ = std::make_unique<ToolProcess>(kTool, Wide(source_) + L" 12 DUPONT 3 Secret1");
  const HWND box = WaitForDialog(L"Base en lecture seule");
  ASSERT_NE(box, nullptr);
  EXPECT_NE(MessageTextOf(box).find(L"> est en lecture seule : l'utilisateur ne pourra pas y être enregistré."), std::wstring::npos);
  PostMessageW(box, WM_COMMAND, IDOK, 0);
  form_ = WaitForDialog(kFormTitle);
  ASSERT_NE(form_, nullptr);
  EXPECT_EQ(BoxAfterOk().find(kError), 0U);
  source_ = writable;
  EXPECT_EQ(Rows().find("DUPONT"), std::string::npos);
}

class BadInputOnMariaDb : public MariaDbVolumes {
 protected:
  void SetUp() override {
    MariaDbVolumes::SetUp();
    if (source_.empty()) GTEST_SKIP() << "TAMLO_TEST_MARIADB names no data source";
    providers::EnregistreFournisseurs();
    connection_.Provider("MSDASQL.1");
    connection_.Open(source_.substr(0, source_.find(' ')), "", "");
  }
  ado::Connection connection_;
};

TEST_F(BadInputOnMariaDb, AWrongPasswordEndsWithTheLayersMessage) {
  const ToolProcess tool(kTool, Wide(source_) + L" 12 DUPONT 3 Secret1 tamlo VqDcq:G");
  const std::wstring text = ReadBox(tool, kCannotOpen + Wide(source_.substr(0, source_.find(' '))) + L">");
  EXPECT_EQ(text.find(L"La base est incorrecte. Erreur -2147467259 ("), 0U);
  EXPECT_EQ(text.find(L"Secret1"), std::wstring::npos);
}

TEST_F(BadInputOnMariaDb, AServerThatGoesAwayBetweenOpeningAndOkEndsWithTheErrorBoxAndNothingWritten) {
  const std::string before = Rows();
  Start(L"12 DURAND 3 Secret1");
  ASSERT_NE(form_, nullptr);
  // The server hangs up on the tool.
  ado::Recordset others;
  others.Open("SELECT ID FROM INFORMATION_SCHEMA.PROCESSLIST WHERE ID <> CONNECTION_ID() AND USER = 'tamlo'", &connection_,
              ado::adOpenStatic, ado::adLockUnspecified, -1);
  int ended = 0;
  for (; !others.Eof(); others.MoveNext(), ++ended) {
    connection_.Execute("KILL " + runtime::ToText(others.Fields(std::size_t{0}).Value()), ado::adExecuteNoRecords);
  }
  others.Close();
  ASSERT_GT(ended, 0);
  Press(kOK);
  EXPECT_EQ(ReadBox(*tool_, L"tamlo").find(kProviderFailure), 0U);
  EXPECT_EQ(Rows(), before);
}

}  // namespace
}  // namespace tamlo::tests
