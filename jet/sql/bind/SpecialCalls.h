#pragma once

#include <string_view>

#include "jet/sql/bind/Binder.h"

namespace jet::sql {

/// A function that is more than a function of SQLite with the same arguments.
struct Binder::SpecialCall {
  std::string_view name;
  std::size_t least = 0;  ///< number of arguments
  std::size_t most = 0;
  Expression (Binder::*bind)(const syntax::Call& call, Arguments& arguments) = nullptr;
};

}  // namespace jet::sql
