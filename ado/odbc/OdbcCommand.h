#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "ado/Provider.h"
#include "ado/odbc/CommandParameters.h"
#include "ado/odbc/Session.h"
#include "ado/odbc/Statement.h"

namespace tamlo::ado::odbc {

/// A statement that stays prepared. It is prepared at its first execution, and anew after a failure, a change of a definition on this
/// connection or another time limit.
class OdbcCommand final : public ProviderCommand {
 public:
  OdbcCommand(std::shared_ptr<Session> session, const std::string& text);
  std::int64_t Execute(std::span<const ado::Parameter> parameters, std::int32_t timeoutSeconds) override;

 private:
  [[nodiscard]] std::int64_t Send(std::span<const ado::Parameter> parameters, std::int32_t timeoutSeconds);

  std::shared_ptr<Session> session_;
  BoundTexts bound_;
  bool isSingle_ = false;
  bool changesSchema_ = false;
  std::optional<Statement> statement_;
  std::int32_t timeoutSeconds_ = 0;
  std::int64_t schema_ = 0;  // version for which it was prepared
};

}  // namespace tamlo::ado::odbc
