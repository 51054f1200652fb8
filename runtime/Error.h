#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "base/Error.h"

namespace tamlo::runtime {

/// Error numbers that the system tests or shows. Those of the runtime carry a fixed French description (see Describe).
enum ErrorNumber : std::int32_t {
  kInvalidArgument = 5,
  kOverflow = 6,
  kSubscriptOutOfRange = 9,
  kTypeMismatch = 13,
  kObjectNotSet = 91,
  kInvalidUseOfNull = 94,
  kBadArguments = 3001,
  kNoCurrentRecord = 3021,
  kDuplicateKey = 3022,
  kFileInUseExclusively = 3006,
  kFileInUse = 3051,
  kDatabaseInUse = 3196,
  kIllegalOperation = 3219,
  kTransactionOpen = 3246,
  kOperationNotSupported = 3251,
  kItemNotFound = 3265,
  kObjectInCollection = 3367,
  kDataConversion = 3421,
  kObjectClosed = 3704,
  kObjectOpen = 3705,
  kProviderNotFound = 3706,
  kConnectionInvalid = 3709,
  kNoTransaction = -2147168242,
  kProviderFailure = -2147467259,
  kStatementRefused = -2147217900,
  kObjectExists = -2147217897,
  kTimeout = -2147217871,
  kValueRefused = -2147217887,
  kNoSuchTable = -2147217865,
  kChangedByAnother = -2147217864,
  kPasswordRefused = -2147217843,
};

/// The runtime's French description of one of its own numbers; empty for a number that it does not know.
[[nodiscard]] std::string Describe(std::int32_t number);

/// One diagnostic record as a driver gave it.
struct Diagnostic {
  std::string sqlState;     ///< five characters, or empty
  std::int32_t native = 0;  ///< the backend's own code
  std::string text;
};

/// What the layer and its providers raise: a number as the runtime or the provider gives it, a description and a source.
/// Providers add every diagnostic record of the driver and the text that was sent. Passwords never stand in any of them.
class Error : public base::Error {
 public:
  /// An error of the runtime with its own description.
  explicit Error(std::int32_t number) : Error(number, Describe(number)) {}
  Error(std::int32_t number, std::string description, std::string source = "tamlo")
      : base::Error(description), description_(std::move(description)), source_(std::move(source)), number_(number) {}

  [[nodiscard]] std::int32_t Number() const noexcept { return number_; }
  [[nodiscard]] const std::string& Description() const noexcept { return description_; }
  [[nodiscard]] const std::string& Source() const noexcept { return source_; }
  [[nodiscard]] const char* what() const noexcept override { return description_.c_str(); }

  /// All records of the driver, the decisive one first; empty for errors that no driver raised.
  [[nodiscard]] const std::vector<Diagnostic>& Diagnostics() const noexcept { return diagnostics_; }
  /// The statement that the provider was asked to run, or empty.
  [[nodiscard]] const std::string& Sent() const noexcept { return sent_; }
  /// SQLSTATE of the first record, or empty.
  [[nodiscard]] std::string SqlState() const { return diagnostics_.empty() ? std::string() : diagnostics_.front().sqlState; }
  /// The backend's own code of the first record, or 0.
  [[nodiscard]] std::int32_t NativeCode() const noexcept { return diagnostics_.empty() ? 0 : diagnostics_.front().native; }

  Error& WithDiagnostics(std::vector<Diagnostic> records) {
    diagnostics_ = std::move(records);
    return *this;
  }
  Error& WithSent(std::string text) {
    sent_ = std::move(text);
    return *this;
  }
  /// Puts a sentence behind the description.
  Error& WithRemark(const std::string& sentence) {
    description_ += ' ' + sentence;
    return *this;
  }
  /// Puts a context in front of the description ("copie de la table T, ligne 1204 : ...").
  Error& WithContext(const std::string& context) {
    description_ = context + " : " + description_;
    return *this;
  }

 private:
  std::string description_;
  std::string source_;
  std::string sent_;
  std::vector<Diagnostic> diagnostics_;
  std::int32_t number_;
};

/// What a call left pending under "errors ignored": number 0 when it succeeded.
struct PendingError {
  std::int32_t number = 0;
  std::string description;

  explicit operator bool() const noexcept { return number != 0; }
};

/// The system's "errors ignored": runs the call and hands back the number and description that it raised, if any.
/// Only runtime::Error is taken; anything else is a defect of ours and goes on.
template <typename Call>
PendingError IgnoringErrors(Call&& call) {
  try {
    std::forward<Call>(call)();
    return {};
  } catch (const Error& error) {
    return {error.Number(), error.Description()};
  }
}

}  // namespace tamlo::runtime
