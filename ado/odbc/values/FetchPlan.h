#pragma once

#include <cstddef>
#include <cstdint>

#include "ado/Provider.h"
#include "ado/odbc/facts/DriverFacts.h"

namespace tamlo::ado::odbc {

/// How a column's values come from the driver and what they become.
struct FetchPlan {
  enum class Form {
    kBit,
    kUnsignedByte,
    kSignedByte,
    kShort,
    kUnsignedShort,
    kInteger,
    kUnsignedInteger,
    kBigInteger,
    kFloat,  ///< of single precision, fetched as a double
    kDouble,
    kTimestamp,
    kDate,
    kTime,
    kText,
    kBytes,
    kCheckedInteger,  ///< 64 bits for a smaller type: what does not fit stays 64 bits
    kDecimalText,
    kCurrencyText,
    kGuidText,
    kBooleanText,
    kDateText,
    kMomentText,  ///< a day, a time or both as a server writes them; what no Date holds stays a text
    kTypedIntegerText,
    kTypedDoubleText,
    kFloatText,
    kLiteral,        ///< a value as SQLite's quote() writes it
    kScaledLiteral,  ///< the same in a column of doubles: digits alone are ten-thousandths
    kLiteralText,    ///< the same in a column of texts: a number is a text too
    kHexText         ///< bytes of a text; behind an "X" bytes in a column of texts
  };
  Form form = Form::kText;
  std::int16_t nativeType = 0;  ///< C type for the driver
  std::size_t elementSize = 0;  ///< bytes of one bound value, its terminator included; 0: never bound
  std::size_t unit = 0;         ///< of a text: bytes of one unit and of its terminator, 2 for UTF-16, 1 for UTF-8; else 0
};

/// The plan for a column. Where any column keeps any value, wider forms are fetched so that none is cut.
[[nodiscard]] FetchPlan PlanFor(const FieldInfo& field, const DriverFacts& facts);
/// The plan for an expression whose type is known once a first row is there; sqlType is the one that the driver gives then.
[[nodiscard]] FetchPlan PlanForExpression(std::int16_t sqlType, const DriverFacts& facts);

}  // namespace tamlo::ado::odbc
