#pragma once

#include <string>
#include <vector>

#include "ado/Command.h"
#include "jet/sql/Session.h"

namespace tamlo::cli {

/// Values for the parameters of statements, from the command line: each a text with a name.
class Given {
 public:
  Given() = default;
  /// Of texts "NAME=VALUE". Failure with kUsage for one without a name.
  explicit Given(const std::vector<std::string>& pairs);

  [[nodiscard]] bool Empty() const noexcept { return values_.empty(); }
  /// Those that a statement on an Access file has. A text serves there wherever its declared type can be made of it; asNumbers: one without a
  /// declared type that is a number is given as that.
  [[nodiscard]] std::vector<jet::sql::Parameter> For(jet::sql::Session& session, const std::string& sql, bool asNumbers);
  /// Gives a command on a server those that its text has as ":name".
  void Into(ado::Command& command);
  /// Failure with kUsage that names one which no statement had.
  void LookForUnused() const;

 private:
  struct One {
    std::string name;
    std::string value;
    bool used = false;
  };
  std::vector<One> values_;
};

}  // namespace tamlo::cli
