#pragma once

#include <cstddef>
#include <string_view>

#include "ado/Provider.h"
#include "ado/odbc/values/FetchPlan.h"

namespace tamlo::ado::odbc {

/// A value out of its bytes (length of them) as the driver wrote them. Never a null: those are seen by the length before.
[[nodiscard]] runtime::Variant Decode(const FetchPlan& plan, const FieldInfo& field, const std::byte* data, std::size_t length);

/// The same for the forms and values that are read by the million, without any detour; Empty for all others.
[[nodiscard]] runtime::Variant DecodeUsual(const FetchPlan& plan, const FieldInfo& field, const std::byte* data, std::size_t length);
[[nodiscard]] bool HasUsual(FetchPlan::Form form) noexcept;

/// Text of a number ("1.50", ".5", "1E+3", "$1,234.50") as exact plain decimal text; empty when it reads as none.
[[nodiscard]] std::string PlainDecimal(std::string_view text);

}  // namespace tamlo::ado::odbc
