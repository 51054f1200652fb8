#include "ado/odbc/driver/Handle.h"

#include <memory>
#include <utility>

#include "ado/odbc/driver/Diagnostics.h"
#include "ado/odbc/driver/DriverManager.h"
#include "ado/odbc/driver/NativeHeaders.h"
#include "runtime/Error.h"

namespace tamlo::ado::odbc {

Handle::Handle(Kind kind, void* parent) : kind_(kind) {
  const auto result = SQLAllocHandle(static_cast<SQLSMALLINT>(kind), parent, &native_);
  if (SQL_SUCCEEDED(result)) return;
  native_ = nullptr;
  if (parent == nullptr) throw runtime::Error(runtime::kProviderFailure, "Il n'y a pas d'environnement ODBC.");
  const auto parentKind = kind == Kind::kStatement ? Kind::kConnection : Kind::kEnvironment;
  throw MakeError(ReadDiagnostics(parentKind, parent), {});
}

Handle::~Handle() { Free(); }

Handle::Handle(Handle&& other) noexcept : kind_(other.kind_), native_(std::exchange(other.native_, nullptr)) {}

Handle& Handle::operator=(Handle&& other) noexcept {
  if (this == &other) return *this;
  Free();
  kind_ = other.kind_;
  native_ = std::exchange(other.native_, nullptr);
  return *this;
}

void Handle::Free() noexcept {
  if (native_) SQLFreeHandle(static_cast<SQLSMALLINT>(kind_), native_);
  native_ = nullptr;
}

void* SharedEnvironment() {
  // Never freed: a thread that was left alone with an attempt to connect may still be below it when the process ends.
  static const Handle* const environment = [] {
    RequireDriverManager();
    auto made = std::make_unique<Handle>(Handle::Kind::kEnvironment, nullptr);
    SQLSetEnvAttr(made->Get(), SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    return made.release();
  }();
  return environment->Get();
}

}  // namespace tamlo::ado::odbc
