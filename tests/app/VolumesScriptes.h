#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "app/TableCode.h"
#include "tests/support_lib/FakePlatform.h"
#include "tests/support_lib/RecordingProvider.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::app {

/// A volumes database that answers from a script, and a platform without a screen: the tool around them is the real
/// one. It is opened as kind 0, whose statements reach the provider as they are written, in upper case.
class VolumesScriptes : public testing::Test {
 protected:
  using Row = std::vector<runtime::Variant>;
  using Rows = std::vector<Row>;

  VolumesScriptes();
  ~VolumesScriptes() override;

  /// The rows of Utl (id, name, stored password) that a search by name or id finds, and the largest id.
  void UtlFound(Rows rows, const runtime::Variant& largestId);
  /// The rows of VlmUtl (user, volume, level) that a search finds.
  void VlmUtlFound(Rows rows);

  /// Runs the tool on a command line; what a person does goes into platform.whileRunning. Returns the exit status.
  int Execute(const std::string& line);
  /// Main alone, the form staying.
  void Start(const std::string& line);
  void OpenVolumes();

  tests::FakeForm& Form() { return platform.Form(); }
  tests::FakeTextBox& Box(const std::string& name) { return Form().TextBox(name); }
  [[nodiscard]] std::string Encoded(const std::string& clear) const;
  /// The values written into new (changed) rows of the source that begins so, in order, as "COLUMN=value" joined by
  /// blanks.
  [[nodiscard]] std::vector<std::string> Inserted(const std::string& sourcePrefix) const;
  [[nodiscard]] std::vector<std::string> Updated(const std::string& sourcePrefix) const;
  /// The sources that the tool itself opened: those on Utl and VlmUtl but for the reading of their columns.
  [[nodiscard]] std::vector<std::string> OwnSources() const;

  tests::FakePlatform platform;
  tests::RecordingProvider provider;
  tests::TemporaryFolder folder;

 private:
  [[nodiscard]] std::vector<std::string> Written(tests::RecordedCall::Kind kind, const std::string& sourcePrefix) const;

  std::filesystem::path folderBefore_ = std::filesystem::current_path();
};

inline constexpr const char* kUtl = "SELECT * FROM UTL WHERE";
inline constexpr const char* kVlmUtl = "SELECT * FROM VLMUTL WHERE";

}  // namespace tamlo::app
