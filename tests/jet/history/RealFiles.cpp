#include "tests/jet/history/RealFiles.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "jet/Database.h"
#include "jet/value/Error.h"
#include "jet/file/MemoryFileSystem.h"
#include "tests/support_lib/SampleFiles.h"

namespace jet::tests {

namespace fs = std::filesystem;

std::vector<std::string> RealFiles() { return tamlo::tests::OrOneEmpty(tamlo::tests::AllSampleFiles({".mdb", ".accdb"})); }

std::string RealFileName(const std::string& path) {
  if (path.empty()) return "none";
  std::string name = fs::path(path).parent_path().filename().string() + "_" + fs::path(path).stem().string();
  std::replace_if(
      name.begin(), name.end(), [](char c) { return !(c >= '0' && c <= '9') && !(c >= 'A' && c <= 'Z') && !(c >= 'a' && c <= 'z'); }, '_');
  return name;
}

std::vector<std::byte> ContentOf(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  const std::string content{std::istreambuf_iterator<char>(stream), {}};
  const auto* bytes = reinterpret_cast<const std::byte*>(content.data());
  return {bytes, bytes + content.size()};
}

int VersionOf(const std::vector<std::byte>& content, const std::string& password) {
  MemoryFileSystem files;
  files.SetContent("/file.mdb", content);
  OpenOptions options;
  options.fileSystem = &files;
  options.password = password;
  return Database::Open("/file.mdb", options)->FormatVersion();
}

std::string WhyNotWritten(const std::vector<std::byte>& content, const std::string& password) {
  MemoryFileSystem files;
  files.SetContent("/file.mdb", content);
  OpenOptions options;
  options.fileSystem = &files;
  options.password = password;
  try {
    const auto database = Database::Open("/file.mdb", options);
    database->Begin();
    TableSpec probe;
    probe.name = "Probe";
    probe.columns.emplace_back();
    probe.columns.back().name = "Id";
    probe.columns.back().type = ColumnType::kLong;
    database->CreateTable(probe);
    database->Rollback();
    if (database->Release() != 0 && !database->Check().empty()) return "its own program has left it with findings";
  } catch (const Error& error) {
    constexpr std::byte kAceMark{'A'};  // "Standard ACE DB": the catalog of some has its names in an order that is not written
    const bool ace = content.size() > 0x14 && content[13] == kAceMark;
    if (error.Code() != ErrorCode::kReadOnly && !(ace && error.Code() == ErrorCode::kUnsupported)) throw;
    return error.what();
  }
  return {};
}

}  // namespace jet::tests
