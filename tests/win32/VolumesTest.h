#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "jet/Database.h"
#include "runtime/Text.h"
#include "tests/support_lib/TemporaryFolder.h"
#include "tests/win32/ToolProcess.h"

namespace tamlo::tests {

inline constexpr const wchar_t* kTool = L"app/tamlo.exe";
inline constexpr const wchar_t* kExample = L"examples/base_exemple.exe";
inline constexpr const wchar_t* kFormTitle = L"Création d'un utilisateur";

// The controls in the order in which the form places them.
inline constexpr int kPwd2 = 1000;
inline constexpr int kNom = 1001;
inline constexpr int kPwd = 1002;
inline constexpr int kAnnuler = 1003;
inline constexpr int kOK = 1004;

inline std::wstring Wide(const std::string& text) {
  const std::u16string units = runtime::ToUtf16(text);
  return {units.begin(), units.end()};
}

inline std::wstring ItemText(HWND form, int item) { return TextOf(GetDlgItem(form, item)); }

/// Starts the tool, waits for its message box, checks text and icon, and closes it.
inline void ExpectBox(const ToolProcess& tool, const std::wstring& title, const std::wstring& text) {
  const HWND box = WaitForDialog(title.c_str());
  ASSERT_NE(box, nullptr) << "no box of that title";
  EXPECT_EQ(MessageTextOf(box), text);
  EXPECT_TRUE(HasIcon(box));
  PostMessageW(box, WM_COMMAND, IDOK, 0);
  EXPECT_EQ(tool.Wait(), 1);
}

/// A volumes database that the sample program makes, and the tool's dialog on it.
class VolumesTest : public testing::Test {
 protected:
  /// Gives the tool's first two parameters, or nothing after a skip or a failure.
  virtual std::string Source() = 0;

  void SetUp() override {
    source_ = Source();
    if (source_.empty()) return;
    const ToolProcess example(kExample, L"cree " + Wide(source_));
    ASSERT_EQ(example.Wait(), 0) << example.Output();
  }

  void Start(const std::wstring& parameters) {
    tool_ = std::make_unique<ToolProcess>(kTool, Wide(source_) + L" " + parameters);
    form_ = WaitForDialog(kFormTitle);
    ASSERT_NE(form_, nullptr) << "no dialog";
  }
  void TypePasswords(const wchar_t* first, const wchar_t* second) const {
    SetDlgItemTextW(form_, kPwd, first);
    SetDlgItemTextW(form_, kPwd2, second);
  }
  void Press(int button) const {
    PostMessageW(form_, WM_COMMAND, MAKEWPARAM(button, BN_CLICKED), reinterpret_cast<LPARAM>(GetDlgItem(form_, button)));
  }
  [[nodiscard]] std::string Rows() const {
    const ToolProcess example(kExample, L"liste " + Wide(source_));
    EXPECT_EQ(example.Wait(), 0);
    return example.Output();
  }

  void SavesANewUserAndReadsItsPasswordBack() {
    Start(L"12 \"Élodie Œuvré\" 3");
    ASSERT_NE(form_, nullptr);
    EXPECT_EQ(ItemText(form_, kNom), L"Élodie Œuvré");
    EXPECT_EQ(ItemText(form_, kPwd), L"");
    TypePasswords(L"Secret1", L"Secret1");
    SendMessageW(GetDlgItem(form_, kNom), WM_SETFOCUS, 0, 0);
    SendMessageW(GetDlgItem(form_, kPwd), WM_SETFOCUS, 0, 0);
    Press(kOK);
    ASSERT_EQ(tool_->Wait(), 0);
    EXPECT_NE(Rows().find("2 | ÉLODIE ŒUVRÉ | "), std::string::npos) << Rows();
    EXPECT_NE(Rows().find("2 | 12 | 3"), std::string::npos) << Rows();
    Start(L"12 \"ÉLODIE ŒUVRÉ\" 5");
    ASSERT_NE(form_, nullptr);
    EXPECT_EQ(ItemText(form_, kPwd), L"Secret1");
    EXPECT_EQ(ItemText(form_, kPwd2), L"Secret1");
    Press(kAnnuler);
    EXPECT_EQ(tool_->Wait(), 0);
  }

  std::string source_;
  std::unique_ptr<ToolProcess> tool_;
  HWND form_ = nullptr;
};

class AccessVolumes : public VolumesTest {
 protected:
  std::string Source() override {
    const std::string path = folder_.File("VOLUMES.MDB");
    static_cast<void>(jet::Database::Create(path));
    return "\"" + path + "\" 0";
  }
  TemporaryFolder folder_;
};

/// A data source that the run's driver manager knows; its name and kind stand in an environment variable.
class OdbcVolumes : public VolumesTest {
 protected:
  static std::string FromEnvironment(const char* variable) {
    const char* value = std::getenv(variable);
    return value == nullptr ? std::string() : value;
  }
};

class MariaDbVolumes : public OdbcVolumes {
 protected:
  std::string Source() override { return FromEnvironment("TAMLO_TEST_MARIADB"); }
};

}  // namespace tamlo::tests
