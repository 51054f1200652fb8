#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tamlo::tests {

/// Access files with one of the endings in a folder and those in it, sorted; none where there is no such folder.
inline std::vector<std::filesystem::path> FilesBelow(const std::filesystem::path& folder, std::initializer_list<std::string_view> endings) {
  std::vector<std::filesystem::path> files;
  if (!std::filesystem::is_directory(folder)) return files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
    if (std::find(endings.begin(), endings.end(), entry.path().extension().string()) != endings.end()) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

/// The folder that JET_SAMPLES names, in which real Access files are; empty where it is not set.
inline std::filesystem::path SampleFolder() {
  const char* const folder = std::getenv("JET_SAMPLES");
  return folder == nullptr ? std::filesystem::path() : std::filesystem::absolute(folder);
}

/// "samples2" beside it, with files that other programs left in unusual states; empty as it is.
inline std::filesystem::path SecondSampleFolder() {
  const std::filesystem::path first = SampleFolder();
  return first.empty() ? first : first.parent_path() / "samples2";
}

/// The files of the first folder.
inline std::vector<std::filesystem::path> SampleFiles(std::initializer_list<std::string_view> endings = {".mdb"}) {
  return FilesBelow(SampleFolder(), endings);
}

/// Those of both folders.
inline std::vector<std::filesystem::path> AllSampleFiles(std::initializer_list<std::string_view> endings = {".mdb"}) {
  std::vector<std::filesystem::path> files = SampleFiles(endings);
  for (auto& file : FilesBelow(SecondSampleFolder(), endings)) files.push_back(std::move(file));
  return files;
}

/// Each path as text. Where there is none, one empty text: a test with parameters that has none would vanish instead of being skipped.
inline std::vector<std::string> OrOneEmpty(const std::vector<std::filesystem::path>& files) {
  std::vector<std::string> paths;
  for (const auto& file : files) paths.push_back(file.string());
  if (paths.empty()) paths.emplace_back();
  return paths;
}

}  // namespace tamlo::tests
