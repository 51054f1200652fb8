#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tamlo::app {

/// A real volumes database for one test, with empty tables UTL and VLMUTL, looked at past the tool.
class VolumesDatabase {
 public:
  virtual ~VolumesDatabase() = default;

  /// The tool's first two parameters.
  [[nodiscard]] virtual std::string Name() const = 0;
  [[nodiscard]] virtual std::string Kind() const = 0;
  /// What the tool needs in its environment.
  [[nodiscard]] virtual std::map<std::string, std::string> Environment() const = 0;
  /// A name (first parameter) of a database that is not there.
  [[nodiscard]] virtual std::string AbsentName() const = 0;
  virtual void Execute(const std::string& statement) = 0;
  /// Each row as its values joined by "|".
  [[nodiscard]] virtual std::vector<std::string> Rows(const std::string& query) = 0;
  /// The encoded passwords of UTL, each as its bytes in hexadecimal.
  [[nodiscard]] virtual std::vector<std::string> PasswordBytes() { return Rows("SELECT HEX(MOTPASSE) FROM UTL"); }
  /// Adds a row to UTL in a transaction that nobody else sees the end of before Release. For servers and SQLite.
  virtual void Hold(const std::string& insertion) = 0;
  virtual void Release() = 0;
  /// From now on the tool can read, but not write; Name may change.
  virtual void MakeReadOnly() = 0;
};

/// An Access file, kind 0.
[[nodiscard]] std::unique_ptr<VolumesDatabase> MakeAccessVolumes();

/// A file reached through the SQLite driver, kind 4.
[[nodiscard]] std::unique_ptr<VolumesDatabase> MakeSqliteVolumes();

/// A database of its own on the test program's MariaDB server, kind 3.
[[nodiscard]] std::unique_ptr<VolumesDatabase> MakeMariaDbVolumes();
/// The server dies; the server is there again.
void KillMariaDb();
void RestartMariaDb();

}  // namespace tamlo::app
