#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "ado/Provider.h"
#include "ado/odbc/statement/Session.h"
#include "ado/odbc/statement/Statement.h"
#include "ado/odbc/values/CommandParameters.h"

namespace tamlo::ado::odbc {

/// A statement that stays prepared. It is prepared at its first execution, and anew after a failure, a change of a definition on this
/// connection or another time limit.
class OdbcCommand final : public ProviderCommand {
 public:
  OdbcCommand(std::shared_ptr<Session> session, const std::string& text);
  std::int64_t Execute(std::span<const ado::Parameter> parameters, std::int32_t timeoutSeconds) override;

 private:
  /// What the shape of a bound value depends on.
  struct Kind {
    std::int16_t type = 0;
    std::size_t alternative = 0;
    std::int64_t size = 0;
    bool isLong = false;
    bool operator==(const Kind&) const = default;
  };

  [[nodiscard]] std::int64_t Send(std::span<const ado::Parameter> parameters, std::int32_t timeoutSeconds);
  void Prepare(std::int32_t timeoutSeconds);
  void Fill(std::span<const ado::Parameter> parameters);
  [[nodiscard]] bool Refill(std::span<const ado::Parameter> parameters);
  [[nodiscard]] static std::optional<Kind> KindOf(const ado::Parameter& parameter);

  std::shared_ptr<Session> session_;
  BoundTexts bound_;
  bool isSingle_ = false;
  bool changesSchema_ = false;
  std::optional<Statement> statement_;
  std::optional<ParameterSet> set_;         // of the last execution; its statement outlives it
  std::vector<std::optional<Kind>> kinds_;  // of its values; none where the shape depends on more
  std::optional<bool> givesRows_;           // once it has run
  std::int32_t timeoutSeconds_ = 0;
  std::int64_t schema_ = 0;  // version for which it was prepared
};

}  // namespace tamlo::ado::odbc
