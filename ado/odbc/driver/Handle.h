#pragma once

#include <cstdint>

namespace tamlo::ado::odbc {

/// Owner of one handle of the driver manager; frees it when it goes.
class Handle {
 public:
  enum class Kind : std::int16_t { kEnvironment = 1, kConnection = 2, kStatement = 3 };

  Handle() = default;
  /// Allocates a handle below parent (nullptr for an environment). A failure is raised with the parent's records.
  Handle(Kind kind, void* parent);
  ~Handle();
  Handle(Handle&& other) noexcept;
  Handle& operator=(Handle&& other) noexcept;

  [[nodiscard]] void* Get() const noexcept { return native_; }
  [[nodiscard]] Kind Type() const noexcept { return kind_; }

 private:
  void Free() noexcept;

  Kind kind_ = Kind::kStatement;
  void* native_ = nullptr;
};

/// The process's ODBC 3 environment, made at first use.
[[nodiscard]] void* SharedEnvironment();

}  // namespace tamlo::ado::odbc
