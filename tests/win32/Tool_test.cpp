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

/// The named DLL is missing for the tool while this object lives (Wine's own setting for it).
class MissingDll {
 public:
  explicit MissingDll(const wchar_t* name) : name_(name) {
    RegSetKeyValueW(HKEY_CURRENT_USER, kOverrides, name, REG_SZ, L"", sizeof(wchar_t));
  }
  ~MissingDll() { RegDeleteKeyValueW(HKEY_CURRENT_USER, kOverrides, name_); }
  MissingDll(const MissingDll&) = delete;
  MissingDll& operator=(const MissingDll&) = delete;

 private:
  static constexpr const wchar_t* kOverrides = L"Software\\Wine\\AppDefaults\\tamlo.exe\\DllOverrides";
  const wchar_t* name_;
};

TEST(Tool, WithoutADriverManagerTheLayersBoxSaysSo) {
  const MissingDll missing(L"odbc32");
  const ToolProcess tool(kTool, L"VOLUMES 4 1 b 2");
  const HWND box = WaitForDialog(L"Impossible d'ouvrir la base <VOLUMES>");
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(MessageTextOf(box),
            L"La base est incorrecte. Erreur -2147467259 (Le gestionnaire ODBC de Windows (odbc32.dll) manque ou ne se charge pas)");
  PostMessageW(box, WM_COMMAND, IDOK, 0);
  EXPECT_EQ(tool.Wait(), 1);
}

TEST(Tool, ADoubleQuoteThatIsNotClosedIsRefused) {
  for (const wchar_t* line : {L"V.MDB 0 12 DUPONT 3 AL\"EX", L"V.MDB 0 12 DUPONT 3 \"AL\\\"EX\""}) {
    const ToolProcess tool(kTool, line);
    ExpectBox(tool, L"Programme interrompu", L"Un guillemet (\") de la ligne de commande n'est pas fermé.\n\nRien n'a été écrit.");
  }
}

TEST_F(AccessVolumes, AUserThatTheSearchConfusesWithAnotherIsNotWritten) {
  Start(L"12 MARTIN 3 Secret1");
  Press(kOK);
  EXPECT_EQ(tool_->Wait(), 0);
  const std::string before = Rows();
  Start(L"12 \"X' OR 'A'='A\" 3 pirate");
  Press(kOK);
  const HWND box = WaitForDialog(L"Programme interrompu");
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(MessageTextOf(box),
            L"La recherche de l'utilisateur <X' OR 'A'='A> a trouvé la ligne d'un autre utilisateur.\n\nRien n'a été écrit.");
  PostMessageW(box, WM_COMMAND, IDOK, 0);
  EXPECT_EQ(tool_->Wait(), 1);
  EXPECT_EQ(Rows(), before);
}

TEST_F(AccessVolumes, TheEndOfTheSessionUnloadsTheForm) {
  Start(L"12 DUPONT 3 secret");
  EXPECT_NE(SendMessageW(form_, WM_QUERYENDSESSION, 0, 0), 0);
  SendMessageW(form_, WM_ENDSESSION, TRUE, 0);
  EXPECT_EQ(tool_->Wait(), 0);
  EXPECT_EQ(Rows().find("DUPONT"), std::string::npos);
}

TEST_F(AccessVolumes, OtherProgramsOfTheUserMayNotReadTheToolsMemory) {
  Start(L"12 DUPONT 3 secret");
  const HANDLE process = OpenProcess(READ_CONTROL, FALSE, [this] {
    DWORD id = 0;
    GetWindowThreadProcessId(form_, &id);
    return id;
  }());
  ASSERT_NE(process, nullptr);
  alignas(SECURITY_DESCRIPTOR) char rights[1024];
  DWORD size = 0;
  ASSERT_TRUE(GetKernelObjectSecurity(process, DACL_SECURITY_INFORMATION, rights, sizeof rights, &size));
  CloseHandle(process);
  BOOL present = FALSE;
  BOOL defaulted = FALSE;
  PACL list = nullptr;
  ASSERT_TRUE(GetSecurityDescriptorDacl(rights, &present, &list, &defaulted));
  ASSERT_NE(list, nullptr);
  ASSERT_EQ(list->AceCount, 3);
  for (DWORD i = 0; i < list->AceCount; ++i) {
    void* entry = nullptr;
    ASSERT_TRUE(GetAce(list, i, &entry));
    auto* const allowed = static_cast<ACCESS_ALLOWED_ACE*>(entry);
    EXPECT_EQ(allowed->Header.AceType, ACCESS_ALLOWED_ACE_TYPE);
    const bool privileged =
        IsWellKnownSid(&allowed->SidStart, WinLocalSystemSid) || IsWellKnownSid(&allowed->SidStart, WinBuiltinAdministratorsSid);
    EXPECT_TRUE(privileged || (allowed->Mask & (PROCESS_VM_READ | PROCESS_DUP_HANDLE | WRITE_DAC)) == 0) << i;
  }
  PostMessageW(form_, WM_CLOSE, 0, 0);
  EXPECT_EQ(tool_->Wait(), 0);
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
