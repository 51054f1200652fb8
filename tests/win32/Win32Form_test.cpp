#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "tests/win32/Windows.h"
#include "ui/win32/Win32Form.h"
#include "ui/win32/Win32Platform.h"

namespace tamlo::ui::win32 {
namespace {

using tests::Eventually;
using tests::TextOf;

constexpr const wchar_t* kTitle = L"Création d'un essai";
constexpr Rectangle kName{2625, 480, 2790, 315};
constexpr Rectangle kSecret{2625, 1080, 705, 315};
constexpr Rectangle kOkPlace{3300, 2640, 1320, 330};
constexpr Rectangle kCancelPlace{4710, 2640, 1320, 330};

/// A form like the tool's, with a log of its events.
class Win32FormTest : public testing::Test {
 protected:
  Win32FormTest() : platform_(CreatePlatform()), form_(platform_->CreateForm(6150, 3090)) {
    form_->Caption("Création d'un essai");
    secret_ = &form_->AddTextBox("secret", kSecret);
    name_ = &form_->AddTextBox("name", kName);
    cancel_ = &form_->AddButton("cancel", kCancelPlace);
    ok_ = &form_->AddButton("ok", kOkPlace);
    label_ = &form_->AddLabel("label", {120, 400, 2385, 480});
    label_->Caption("Nom");
    label_->Buddy(*name_);
    secret_->AccessibleName("Mot de passe");
    cancel_->Caption("&Annuler");
    cancel_->Cancel(true);
    ok_->Caption("&OK");
    ok_->Default(true);
    form_->TabOrder({secret_, ok_, cancel_, name_});
    secret_->onGotFocus = [this] { log_ += "+secret "; };
    secret_->onLostFocus = [this] { log_ += "-secret "; };
    name_->onGotFocus = [this] { log_ += "+name "; };
    name_->onLostFocus = [this] { log_ += "-name "; };
    ok_->onClick = [this] { log_ += "ok "; };
    cancel_->onClick = [this] { log_ += "cancel "; };
    form_->onUnload = [this] { log_ += "unload "; };
    window_ = FindWindowW(L"#32770", kTitle);
  }

  [[nodiscard]] HWND Item(int index) const { return GetDlgItem(window_, 1000 + index); }
  [[nodiscard]] HWND SecretWindow() const { return Item(0); }
  [[nodiscard]] HWND NameWindow() const { return Item(1); }
  [[nodiscard]] HWND CancelWindow() const { return Item(2); }
  [[nodiscard]] HWND OkWindow() const { return Item(3); }

  /// Handles what is in the queue, as the loop does.
  static void Pump() {
    MSG message{};
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0) {
      if (FormsTake(&message)) continue;
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
  }
  static void PressKey(WPARAM key) {
    PostMessageW(GetFocus(), WM_KEYDOWN, key, 1);
    Pump();
  }
  static void Type(HWND window, const wchar_t* text) {
    for (; *text != L'\0'; ++text) SendMessageW(window, WM_CHAR, static_cast<WPARAM>(*text), 1);
  }
  void Show() {
    form_->Show();
    Pump();
  }

  std::unique_ptr<Platform> platform_;
  std::unique_ptr<Form> form_;
  TextBox* secret_ = nullptr;
  TextBox* name_ = nullptr;
  Button* ok_ = nullptr;
  Button* cancel_ = nullptr;
  Label* label_ = nullptr;
  HWND window_ = nullptr;
  std::string log_;
};

TEST_F(Win32FormTest, IsHiddenUntilShown) {
  ASSERT_NE(window_, nullptr);
  EXPECT_FALSE(IsWindowVisible(window_));
  EXPECT_EQ(log_, "");
  Show();
  EXPECT_TRUE(IsWindowVisible(window_));
  EXPECT_EQ(log_, "+secret ");
  EXPECT_EQ(GetFocus(), SecretWindow());
}

TEST_F(Win32FormTest, TheClientAreaAndTheControlsStandAtTheirTwips) {
  Show();
  const UINT dpi = GetDpiForWindow(window_);
  RECT client{};
  GetClientRect(window_, &client);
  EXPECT_EQ(client.right, MulDiv(6150, static_cast<int>(dpi), 1440));
  EXPECT_EQ(client.bottom, MulDiv(3090, static_cast<int>(dpi), 1440));
  RECT place{};
  GetWindowRect(OkWindow(), &place);
  MapWindowPoints(nullptr, window_, reinterpret_cast<POINT*>(&place), 2);
  EXPECT_EQ(place.left, MulDiv(3300, static_cast<int>(dpi), 1440));
  EXPECT_EQ(place.top, MulDiv(2640, static_cast<int>(dpi), 1440));
  EXPECT_EQ(place.right - place.left, MulDiv(1320, static_cast<int>(dpi), 1440));
  EXPECT_EQ(place.bottom - place.top, MulDiv(330, static_cast<int>(dpi), 1440));
  EXPECT_GT(form_->Width(), 6150);
  EXPECT_GT(form_->Height(), 3090);
}

TEST_F(Win32FormTest, MovesToATwipsPosition) {
  form_->Move(1500, 3000);
  RECT place{};
  GetWindowRect(window_, &place);
  const int dpi = static_cast<int>(GetDpiForWindow(window_));
  EXPECT_EQ(place.left, MulDiv(1500, dpi, 1440));
  EXPECT_EQ(place.top, MulDiv(3000, dpi, 1440));
}

TEST_F(Win32FormTest, AccentedTextsComeBack) {
  name_->Text("Élodie Œuvré €𐐀");
  EXPECT_EQ(name_->Text(), "Élodie Œuvré €𐐀");
  EXPECT_EQ(TextOf(NameWindow()), L"Élodie Œuvré €𐐀");
  EXPECT_EQ(TextOf(window_), kTitle);
  EXPECT_EQ(TextOf(CancelWindow()), L"&Annuler");
}

TEST_F(Win32FormTest, SelectionsCountCharacters) {
  name_->Text("a𐐀é€");
  name_->Select(1, 2);
  EXPECT_EQ(name_->SelectionStart(), 1);
  EXPECT_EQ(name_->SelectionLength(), 2);
  DWORD start = 0;
  DWORD end = 0;
  SendMessageW(NameWindow(), EM_GETSEL, reinterpret_cast<WPARAM>(&start), reinterpret_cast<LPARAM>(&end));
  EXPECT_EQ(start, 1U);
  EXPECT_EQ(end, 4U);
}

TEST_F(Win32FormTest, TypingStopsAtTheLengthAndAssigningIsCut) {
  Show();
  secret_->MaxLength(10);
  Type(SecretWindow(), L"éabcdefghijkl");
  EXPECT_EQ(secret_->Text(), "éabcdefghi");
  secret_->Text("0123456789ABC");
  EXPECT_EQ(secret_->Text(), "0123456789");
  secret_->MaxLength(4);
  EXPECT_EQ(secret_->Text(), "0123");
}

TEST_F(Win32FormTest, ALockedBoxTakesNoTyping) {
  Show();
  name_->Text("DUPONT");
  name_->Locked(true);
  name_->SetFocus();
  Type(NameWindow(), L"x");
  EXPECT_EQ(name_->Text(), "DUPONT");
  name_->Locked(false);
  Type(NameWindow(), L"x");
  EXPECT_NE(name_->Text(), "DUPONT");
}

TEST_F(Win32FormTest, APasswordShowsStarsAndGivesNothingToTheClipboard) {
  Show();
  secret_->Password(true);
  secret_->Text("secret");
  EXPECT_EQ(SendMessageW(SecretWindow(), EM_GETPASSWORDCHAR, 0, 0), L'*');
  ASSERT_TRUE(OpenClipboard(window_));
  EmptyClipboard();
  CloseClipboard();
  secret_->Select(0, 6);
  SendMessageW(SecretWindow(), WM_COPY, 0, 0);
  EXPECT_FALSE(IsClipboardFormatAvailable(CF_UNICODETEXT));
  SendMessageW(SecretWindow(), WM_CUT, 0, 0);
  EXPECT_EQ(secret_->Text(), "secret");
  secret_->Password(false);
  SendMessageW(SecretWindow(), WM_COPY, 0, 0);
  EXPECT_TRUE(IsClipboardFormatAvailable(CF_UNICODETEXT));
}

TEST_F(Win32FormTest, BackgroundsHaveTheirColours) {
  Show();
  name_->BackColor({192, 192, 192});
  const HDC device = GetDC(NameWindow());
  const auto brush = reinterpret_cast<HBRUSH>(
      SendMessageW(window_, WM_CTLCOLOREDIT, reinterpret_cast<WPARAM>(device), reinterpret_cast<LPARAM>(NameWindow())));
  LOGBRUSH drawn{};
  EXPECT_NE(GetObjectW(brush, sizeof drawn, &drawn), 0);
  EXPECT_EQ(drawn.lbColor, RGB(192, 192, 192));
  EXPECT_EQ(GetBkColor(device), RGB(192, 192, 192));
  EXPECT_EQ(GetTextColor(device), RGB(0, 0, 0));
  ReleaseDC(NameWindow(), device);
}

TEST_F(Win32FormTest, TabGoesThroughTheControlsInTheirOrder) {
  Show();
  EXPECT_EQ(GetFocus(), SecretWindow());
  PressKey(VK_TAB);
  EXPECT_EQ(GetFocus(), OkWindow());
  PressKey(VK_TAB);
  EXPECT_EQ(GetFocus(), CancelWindow());
  PressKey(VK_TAB);
  EXPECT_EQ(GetFocus(), NameWindow());
  PressKey(VK_TAB);
  EXPECT_EQ(GetFocus(), SecretWindow());
  EXPECT_EQ(log_, "+secret -secret +name -name +secret ");
}

TEST_F(Win32FormTest, EnterAndEscPressTheirButtonsWithoutTheFocus) {
  Show();
  PressKey(VK_RETURN);
  EXPECT_EQ(log_, "+secret ok ");
  PressKey(VK_ESCAPE);
  EXPECT_EQ(log_, "+secret ok cancel ");
  EXPECT_EQ(GetFocus(), SecretWindow());
}

TEST_F(Win32FormTest, EnterOnAButtonPressesThatOne) {
  Show();
  cancel_->SetFocus();
  PressKey(VK_RETURN);
  EXPECT_EQ(log_, "+secret -secret cancel ");
}

TEST_F(Win32FormTest, AcceleratorsPressTheirButtons) {
  Show();
  PostMessageW(SecretWindow(), WM_SYSCHAR, L'a', 1 << 29);
  Pump();
  EXPECT_NE(log_.find("cancel "), std::string::npos) << log_;
}

TEST_F(Win32FormTest, TheCloseBoxUnloadsOnce) {
  Show();
  SendMessageW(window_, WM_CLOSE, 0, 0);
  form_->Unload();
  EXPECT_EQ(log_, "+secret unload ");
  EXPECT_FALSE(IsWindowVisible(window_));
}

TEST_F(Win32FormTest, TheEndOfTheSessionUnloadsOnceAndIsNotHeldUp) {
  Show();
  EXPECT_NE(SendMessageW(window_, WM_QUERYENDSESSION, 0, 0), 0);
  SendMessageW(window_, WM_ENDSESSION, FALSE, 0);
  EXPECT_EQ(log_, "+secret ") << "another program held it up";
  SendMessageW(window_, WM_ENDSESSION, TRUE, 0);
  EXPECT_EQ(log_, "+secret unload ");
  SendMessageW(window_, WM_CLOSE, 0, 0);
  EXPECT_EQ(log_, "+secret unload ");
  platform_->Run();
}

/// Another size of the user's message texts, in hundredths of the usual one, put back at the end.
class TextSize {
 public:
  explicit TextSize(int hundredths) {
    before_.cbSize = sizeof before_;
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof before_, &before_, 0);
    NONCLIENTMETRICSW larger = before_;
    larger.lfMessageFont.lfHeight = MulDiv(-12, hundredths, 100);
    Set(larger);
  }
  ~TextSize() { Set(before_); }
  TextSize(const TextSize&) = delete;
  TextSize& operator=(const TextSize&) = delete;

 private:
  static void Set(NONCLIENTMETRICSW& metrics) { SystemParametersInfoW(SPI_SETNONCLIENTMETRICS, sizeof metrics, &metrics, 0); }
  NONCLIENTMETRICSW before_{};
};

/// The size that a window's text needs in its own font, on lines of its own width.
SIZE Needed(HWND window, bool wraps) {
  RECT client{};
  GetClientRect(window, &client);
  const HDC device = GetDC(window);
  const HGDIOBJ before = SelectObject(device, reinterpret_cast<HFONT>(SendMessageW(window, WM_GETFONT, 0, 0)));
  DrawTextW(device, TextOf(window).c_str(), -1, &client, DT_CALCRECT | (wraps ? DT_WORDBREAK : DT_SINGLELINE));
  SelectObject(device, before);
  ReleaseDC(window, device);
  return {client.right, client.bottom};
}

RECT ClientOf(HWND window) {
  RECT client{};
  GetClientRect(window, &client);
  return client;
}

TEST_F(Win32FormTest, TextsStandWholeAtEverySizeOfTheUsersTexts) {
  label_->Caption("Confirmation du mot de passe");
  Show();
  const LONG usual = ClientOf(window_).right;
  for (const int hundredths : {100, 125, 150, 200, 225, 300, 500}) {
    const TextSize size(hundredths);
    SendMessageW(window_, WM_SETTINGCHANGE, SPI_SETNONCLIENTMETRICS, 0);
    for (const HWND button : {OkWindow(), CancelWindow()}) {
      EXPECT_LE(Needed(button, false).cx + 8, ClientOf(button).right) << hundredths;
      EXPECT_LE(Needed(button, false).cy + 2, ClientOf(button).bottom) << hundredths;
    }
    EXPECT_LE(Needed(Item(4), true).cx, ClientOf(Item(4)).right) << hundredths;
    EXPECT_LE(Needed(Item(4), true).cy, ClientOf(Item(4)).bottom) << hundredths;
    EXPECT_LE(Needed(NameWindow(), false).cy, ClientOf(NameWindow()).bottom) << hundredths;
    RECT work{};
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
    RECT outer{};
    GetWindowRect(window_, &outer);
    EXPECT_LE(outer.right - outer.left, work.right - work.left) << hundredths;
    EXPECT_LE(outer.bottom - outer.top, work.bottom - work.top) << hundredths;
    if (hundredths == 100) {
      EXPECT_EQ(ClientOf(window_).right, usual);
    }
    if (hundredths >= 225) {
      EXPECT_GT(ClientOf(window_).right, usual) << hundredths;
    }
    // A form made now is as large from the start: that is the size that it is centred with.
    const auto other = platform_->CreateForm(6150, 3090);
    Label& same = other->AddLabel("label", {120, 400, 2385, 480});
    same.Caption("Confirmation du mot de passe");
    EXPECT_GE(other->Width(), 6150) << hundredths;
  }
  SendMessageW(window_, WM_SETTINGCHANGE, SPI_SETNONCLIENTMETRICS, 0);
  EXPECT_EQ(ClientOf(window_).right, usual);
}

TEST_F(Win32FormTest, ACharacterOfCode0StandsAsOneThatTheBoxCanHold) {
  secret_->Text(std::string("a\0b", 3));
  EXPECT_EQ(secret_->Text(),
            "a\xEF\xBF\xBD"
            "b");
}

TEST_F(Win32FormTest, AMessageBoxWithTwoButtonsTellsWhichOneWasPressed) {
  for (const int button : {IDOK, IDCANCEL}) {
    std::thread operatorThread([&] {
      const HWND box = tests::WaitForDialog(L"Mot de passe");
      PostMessageW(box, WM_COMMAND, static_cast<WPARAM>(button), 0);
    });
    EXPECT_EQ(platform_->MessageBox("Enregistrer ?", kExclamation | kOkCancel, "Mot de passe"), button == IDOK ? kOk : kCancel);
    operatorThread.join();
  }
}

TEST_F(Win32FormTest, AClickThatGivesTheFocusKeepsASelectionMadeThen) {
  Show();
  name_->Text("DUPONT");
  name_->onGotFocus = [this] { name_->Select(0, 6); };
  SendMessageW(NameWindow(), WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(5, 5));
  SendMessageW(NameWindow(), WM_LBUTTONUP, 0, MAKELPARAM(5, 5));
  EXPECT_EQ(GetFocus(), NameWindow());
  EXPECT_EQ(name_->SelectionLength(), 6);
}

TEST_F(Win32FormTest, ComingBackToTheWindowIsNoChangeOfFocus) {
  Show();
  SendMessageW(SecretWindow(), WM_KILLFOCUS, 0, 0);
  SendMessageW(SecretWindow(), WM_SETFOCUS, 0, 0);
  EXPECT_EQ(log_, "+secret ");
}

TEST_F(Win32FormTest, ALabelStandsRightBeforeItsBuddyForAssistivePrograms) {
  Show();
  const HWND before = GetWindow(NameWindow(), GW_HWNDPREV);
  EXPECT_EQ(TextOf(before), L"Nom");
  const HWND hidden = GetWindow(SecretWindow(), GW_HWNDPREV);
  EXPECT_EQ(TextOf(hidden), L"Mot de passe");
  EXPECT_FALSE(IsWindowVisible(hidden));
}

TEST_F(Win32FormTest, RunEndsWhenTheFormIsUnloaded) {
  Show();
  ok_->onClick = [this] { form_->Unload(); };
  PostMessageW(SecretWindow(), WM_KEYDOWN, VK_RETURN, 1);
  platform_->Run();
  EXPECT_EQ(log_, "+secret unload ");
  platform_->Run();
}

TEST_F(Win32FormTest, AnExceptionOfAHandlerComesOutOfRunAndMessageBoxesStillShow) {
  Show();
  ok_->onClick = [] { throw std::runtime_error("refusé"); };
  PostMessageW(SecretWindow(), WM_KEYDOWN, VK_RETURN, 1);
  EXPECT_THROW(platform_->Run(), std::runtime_error);
  std::thread operatorThread([] {
    const HWND box = tests::WaitForDialog(L"Après l'erreur");
    PostMessageW(box, WM_COMMAND, IDOK, 0);
  });
  EXPECT_EQ(platform_->MessageBox("texte", kCritical, "Après l'erreur"), kOk);
  operatorThread.join();
}

TEST_F(Win32FormTest, MessageBoxesShowTextTitleAndIcon) {
  std::wstring text;
  bool icon = false;
  std::thread operatorThread([&] {
    const HWND box = tests::WaitForDialog(L"Mot de passe incorrect");
    text = tests::MessageTextOf(box);
    icon = tests::HasIcon(box);
    PostMessageW(box, WM_COMMAND, IDOK, 0);
  });
  EXPECT_EQ(platform_->MessageBox("première ligne\nça suit", kExclamation, "Mot de passe incorrect"), kOk);
  operatorThread.join();
  EXPECT_EQ(text, L"première ligne\nça suit");
  EXPECT_TRUE(icon);
}

TEST_F(Win32FormTest, TheWaitPointerStandsOverTheForm) {
  Show();
  platform_->SetPointer(Pointer::kHourglass);
  EXPECT_EQ(GetCursor(), LoadCursorW(nullptr, IDC_WAIT));
  SetCursor(nullptr);
  SendMessageW(window_, WM_SETCURSOR, reinterpret_cast<WPARAM>(SecretWindow()), MAKELPARAM(HTCLIENT, WM_MOUSEMOVE));
  EXPECT_EQ(GetCursor(), LoadCursorW(nullptr, IDC_WAIT));
  platform_->SetPointer(Pointer::kDefault);
  EXPECT_EQ(GetCursor(), LoadCursorW(nullptr, IDC_ARROW));
}

TEST_F(Win32FormTest, TipsAreMadeOnceTheFormStandsAndKeptPerControl) {
  constexpr UINT kToolCount = WM_USER + 13;  // TTM_GETTOOLCOUNT
  secret_->Tip("Mot de passe");
  name_->Tip("Nom");
  EXPECT_EQ(FindWindowExW(nullptr, nullptr, L"tooltips_class32", nullptr), nullptr);
  Show();
  const HWND tips = FindWindowExW(nullptr, nullptr, L"tooltips_class32", nullptr);
  ASSERT_NE(tips, nullptr);
  EXPECT_EQ(SendMessageW(tips, kToolCount, 0, 0), 2);
  secret_->Tip("");
  EXPECT_EQ(SendMessageW(tips, kToolCount, 0, 0), 1);
  secret_->Tip("Mot de passe");
  EXPECT_EQ(SendMessageW(tips, kToolCount, 0, 0), 2);
}

TEST_F(Win32FormTest, AnotherResolutionLaysTheFormOutAnew) {
  Show();
  RECT before{};
  GetClientRect(window_, &before);
  const RECT suggested{50, 60, 500, 400};
  SendMessageW(window_, WM_DPICHANGED, MAKEWPARAM(96, 96), reinterpret_cast<LPARAM>(&suggested));
  RECT place{};
  GetWindowRect(window_, &place);
  EXPECT_EQ(place.left, 50);
  EXPECT_EQ(place.top, 60);
  RECT after{};
  GetClientRect(window_, &after);
  EXPECT_EQ(after.right, before.right);
  EXPECT_EQ(after.bottom, before.bottom);
}

TEST(Win32Platform, TheScreenIsMeasuredInTwips) {
  const auto platform = CreatePlatform();
  EXPECT_EQ(platform->ScreenWidth(), GetSystemMetrics(SM_CXSCREEN) * 1440 / static_cast<int>(GetDpiForSystem()));
  EXPECT_GT(platform->ScreenHeight(), 0);
}

}  // namespace
}  // namespace tamlo::ui::win32
