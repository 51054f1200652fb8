#pragma once

#include <string>

#include "cli/Password.h"
#include "jet/Database.h"

namespace tamlo::cli {

/// What a command is told of the password that an Access file is to have.
struct NewPassword {
  std::string file;     ///< --set-password-file; its first line
  bool remove = false;  ///< --remove-password

  void AddTo(CLI::App& command);
  [[nodiscard]] bool Told() const noexcept { return remove || !file.empty(); }
  /// The password, empty for none: from the file, or from a person, who types it twice. Failure with kUsage for a file that cannot be read,
  /// an empty password, two that differ, and where there is nobody to ask.
  [[nodiscard]] Secret Get(const schema::Address& address) const;
};

/// The same of a file that is written anew, and whether its pages are to be encoded.
struct NewProtection {
  NewPassword password;
  bool encode = false;
  bool decode = false;

  void AddTo(CLI::App& command);
  /// For a file that is compacted: what is not told stays as it is.
  [[nodiscard]] jet::Protection Get(const schema::Address& address) const;
};

}  // namespace tamlo::cli
