#include "tests/win32/VolumesTest.h"

namespace tamlo::tests {
namespace {

TEST(Tool, WithoutParametersShowsTheUsageBox) {
  const ToolProcess tool(kTool, L"  ");
  ExpectBox(tool, L"Programme interrompu",
            L"\nVeuillez indiquez les paramètres suivants :\n"
            L"\n      1 - Nom de la base des volumes"
            L"\n      2 - Type de la base des volumes"
            L"\n      3 - Identifiant du volume concerné"
            L"\n      4 - Nom de l'utilisateur à créer"
            L"\n      5 - Niveau de l'utilisateur à créer"
            L"\n      6 - Mot de passe de l'utilisateur à créer - facultatif"
            L"\n      7 - Utilisateur connecté - facultatif"
            L"\n      8 - Mot de passe de l'utilisateur connecté - facultatif");
}

TEST(Tool, SevenParametersEndWithTheSubscriptBox) {
  const ToolProcess tool(kTool, L"a 0 1 b 2 c d");
  ExpectBox(tool, L"tamlo", L"Erreur d'exécution '9' :\n\nL'indice n'appartient pas à la sélection");
}

TEST(Tool, AKindThatIsNoNumberEndsWithTheTypeMismatchBox) {
  const ToolProcess tool(kTool, L"a é 1 b 2");
  ExpectBox(tool, L"tamlo", L"Erreur d'exécution '13' :\n\nIncompatibilité de type");
}

TEST(Tool, ADataSourceThatNoOneKnowsIsNamedInTheLayersBox) {
  const ToolProcess tool(kTool, L"\"Source absente\" 4 1 b 2");
  const HWND box = WaitForDialog(L"Impossible d'ouvrir la base <SOURCE ABSENTE>");
  ASSERT_NE(box, nullptr);
  EXPECT_NE(MessageTextOf(box).find(L"SOURCE ABSENTE"), std::wstring::npos);
  PostMessageW(box, WM_COMMAND, IDOK, 0);
  EXPECT_EQ(tool.Wait(), 1);
}

TEST_F(AccessVolumes, ANewUserIsSavedAndItsPasswordReadBack) { SavesANewUserAndReadsItsPasswordBack(); }

TEST_F(AccessVolumes, TheDialogShowsWhatItWasGiven) {
  Start(L"12 DUPONT 3 secret");
  EXPECT_EQ(ItemText(form_, kNom), L"DUPONT");
  EXPECT_EQ(ItemText(form_, kPwd), L"secret");
  EXPECT_EQ(ItemText(form_, kPwd2), L"secret");
  EXPECT_EQ(ItemText(form_, kOK), L"&OK");
  EXPECT_EQ(ItemText(form_, kAnnuler), L"&Annuler");
  EXPECT_EQ(SendDlgItemMessageW(form_, kPwd, EM_GETPASSWORDCHAR, 0, 0), L'*');
  EXPECT_EQ(SendDlgItemMessageW(form_, kPwd, EM_GETLIMITTEXT, 0, 0), 10);
  EXPECT_EQ(SendDlgItemMessageW(form_, kNom, EM_GETLIMITTEXT, 0, 0), 30);
  EXPECT_NE(GetWindowLongPtrW(GetDlgItem(form_, kNom), GWL_STYLE) & ES_READONLY, 0);
  GUITHREADINFO state{};
  state.cbSize = sizeof state;
  ASSERT_TRUE(GetGUIThreadInfo(GetWindowThreadProcessId(form_, nullptr), &state));
  EXPECT_EQ(state.hwndFocus, GetDlgItem(form_, kPwd));
  PostMessageW(form_, WM_CLOSE, 0, 0);
  EXPECT_EQ(tool_->Wait(), 0);
}

TEST_F(AccessVolumes, ThePasswordsAreGoneFromTheCommandLineThatOtherProgramsSee) {
  Start(L"12 DUPONT 3 \"mon secret\" ADMIN abc");
  EXPECT_EQ(ItemText(form_, kPwd), L"mon secret");
  const std::wstring line = tool_->CommandLine();
  EXPECT_NE(line.find(L" 12 DUPONT 3 " + std::wstring(13, L' ') + L"ADMIN" + std::wstring(4, L' ')), std::wstring::npos);
  EXPECT_EQ(line.find(L"secret"), std::wstring::npos);
  EXPECT_EQ(line.find(L"abc"), std::wstring::npos);
  PostMessageW(form_, WM_CLOSE, 0, 0);
  EXPECT_EQ(tool_->Wait(), 0);
}

TEST_F(AccessVolumes, DifferentPasswordsShowTheBoxAndTheDialogStays) {
  Start(L"12 DUPONT 3");
  TypePasswords(L"abc", L"ABC");
  Press(kOK);
  const HWND box = WaitForDialog(L"Mot de passe incorrect");
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(MessageTextOf(box), L"La confirmation du mot de passe diffère de celui-ci. Merci de saisir à nouveau ces 2 zones");
  EXPECT_FALSE(IsWindowEnabled(form_));
  PostMessageW(box, WM_COMMAND, IDOK, 0);
  ASSERT_TRUE(Eventually([&] { return IsWindow(box) == 0 && IsWindowEnabled(form_) != 0; }));
  EXPECT_EQ(ItemText(form_, kPwd), L"abc");
  EXPECT_EQ(ItemText(form_, kPwd2), L"ABC");
  DWORD end = 0;
  EXPECT_TRUE(Eventually([&] {
    SendMessageW(GetDlgItem(form_, kPwd), EM_GETSEL, 0, 0);
    end = HIWORD(SendMessageW(GetDlgItem(form_, kPwd), EM_GETSEL, 0, 0));
    return end == 3;
  }));
  Press(kAnnuler);
  EXPECT_EQ(tool_->Wait(), 0);
  EXPECT_EQ(Rows().find("DUPONT"), std::string::npos);
}

TEST_F(AccessVolumes, EnterSavesAndEscDoesNot) {
  Start(L"12 MARTIN 3 secret");
  PostMessageW(GetDlgItem(form_, kPwd), WM_KEYDOWN, VK_ESCAPE, 1);
  EXPECT_EQ(tool_->Wait(), 0);
  EXPECT_EQ(Rows().find("MARTIN"), std::string::npos);
  Start(L"12 MARTIN 3 secret");
  PostMessageW(GetDlgItem(form_, kPwd), WM_KEYDOWN, VK_RETURN, 1);
  EXPECT_EQ(tool_->Wait(), 0);
  EXPECT_NE(Rows().find("MARTIN"), std::string::npos);
}

TEST_F(AccessVolumes, AFileHeldByAnotherProgramIsRefusedWithTheLayersBox) {
  const std::wstring path = Wide(source_.substr(1, source_.find('"', 1) - 1));
  const HANDLE held = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  const ToolProcess tool(kTool, Wide(source_) + L" 12 DUPONT 3");
  HWND box = nullptr;
  EXPECT_TRUE(Eventually([&] {
    box = FindWindowW(L"#32770", nullptr);
    return box != nullptr && TextOf(box).find(L"Impossible d'ouvrir la base <") == 0;
  }));
  PostMessageW(box, WM_COMMAND, IDOK, 0);
  EXPECT_EQ(tool.Wait(), 1);
  CloseHandle(held);
}

class SqliteVolumes : public OdbcVolumes {
 protected:
  std::string Source() override { return FromEnvironment("TAMLO_TEST_SQLITE"); }
};

TEST_F(SqliteVolumes, ANewUserIsSavedAndItsPasswordReadBack) {
  if (source_.empty()) GTEST_SKIP() << "TAMLO_TEST_SQLITE names no data source";
  SavesANewUserAndReadsItsPasswordBack();
}

TEST_F(MariaDbVolumes, ANewUserIsSavedAndItsPasswordReadBack) {
  if (source_.empty()) GTEST_SKIP() << "TAMLO_TEST_MARIADB names no data source";
  SavesANewUserAndReadsItsPasswordBack();
}

}  // namespace
}  // namespace tamlo::tests
