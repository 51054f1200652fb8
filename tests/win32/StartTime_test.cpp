#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "jet/Database.h"
#include "tests/support_lib/TemporaryFolder.h"
#include "tests/win32/ToolProcess.h"

namespace tamlo::tests {
namespace {

using Clock = std::chrono::steady_clock;

/// Milliseconds from the start of a program until its dialog is visible, which is closed then.
double Milliseconds(const std::wstring& program, const std::wstring& arguments, const wchar_t* title) {
  const auto start = Clock::now();
  const ToolProcess tool(program, arguments);
  HWND form = nullptr;
  while ((form = FindWindowW(L"#32770", title)) == nullptr || IsWindowVisible(form) == 0) {
    if (Clock::now() - start > std::chrono::seconds(20)) return -1;
    Sleep(1);
  }
  const double taken = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
  PostMessageW(form, WM_CLOSE, 0, 0);
  EXPECT_EQ(tool.Wait(), 0);
  return taken;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

/// The ratio is printed, not guarded: clocks tell nothing on a busy machine. docs/performance.md says what it was on a quiet one.
TEST(StartTime, IsPrintedBesideThatOfAnEmptyDialog) {
  const TemporaryFolder folder;
  const std::string path = folder.File("VOLUMES.MDB");
  static_cast<void>(jet::Database::Create(path));
  const std::wstring name = L"\"" + std::wstring(path.begin(), path.end()) + L"\"";
  ASSERT_EQ(ToolProcess(L"examples/base_exemple.exe", L"cree " + name + L" 0").Wait(), 0);

  std::vector<double> tool;
  std::vector<double> empty;
  for (int run = 0; run < 12; ++run) {
    const double emptyTaken = Milliseconds(L"tests/win32/win32_empty_dialog.exe", L"", L"Dialogue vide");
    const double toolTaken = Milliseconds(L"app/tamlo.exe", name + L" 0 12 DUPONT 3 secret", L"Création d'un utilisateur");
    ASSERT_GT(emptyTaken, 0);
    ASSERT_GT(toolTaken, 0);
    if (run < 2) continue;  // warming up
    empty.push_back(emptyTaken);
    tool.push_back(toolTaken);
  }
  const double ratio = Median(tool) / Median(empty);
  std::printf("start to dialog: tool %.0f ms, empty dialog %.0f ms, ratio %.2f\n", Median(tool), Median(empty), ratio);
}

TEST(Size, TheProgramHasAtMostSixMegabytes) {
  const auto size = std::filesystem::file_size(BuildFolder() / "app" / "tamlo.exe");
  std::printf("tamlo.exe: %.2f MB\n", static_cast<double>(size) / 1e6);
  EXPECT_LE(size, 6'000'000U);
}

}  // namespace
}  // namespace tamlo::tests
