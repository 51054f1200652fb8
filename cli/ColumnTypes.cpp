#include "cli/ColumnTypes.h"

#include <algorithm>
#include <array>

#include "base/Case.h"
#include "base/MomentText.h"
#include "base/Numbers.h"
#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Messages.h"
#include "jet/value/Text.h"

namespace tamlo::cli {
namespace {

constexpr int kMostDigits = 28;
constexpr int kDigitsOfBig = 18;  // which any number of 64 bits holds
constexpr std::uint16_t kLongestText = 255;

bool IsPlainMoment(const std::string& text, const Reading& reading) {
  const auto serial = ReadMoment(text, reading.dateFormat);
  if (!serial || !reading.dateFormat.empty()) return serial.has_value();
  std::string again;
  return base::AppendMomentText(again, *serial) && (again == text || (again.ends_with(" 00:00:00") && again.substr(0, 10) == text));
}

bool IsPlainGuid(const std::string& text) {
  const auto guid = jet::Guid::Parse(text);
  return guid && guid->Text() == text;
}

}  // namespace

void TypeGuess::See(const Cell& cell) {
  using Kind = Cell::Kind;
  // A truth value is never null in Access.
  if (cell.kind == Kind::kNull) {
    truth_ = false;
    return;
  }
  any_ = true;
  const std::string& text = cell.text;
  const bool words = reading_.yes != "1" && (text == reading_.yes || text == reading_.no);
  truth_ = truth_ && (cell.kind == Kind::kTruth || (words && cell.kind == Kind::kBare));
  const bool bare = cell.kind == Kind::kBare;
  const auto whole = base::ReadWhole<std::int32_t>(text);
  whole_ = whole_ && bare && whole && std::to_string(*whole) == text;
  const auto real = base::ReadReal(text);
  real_ = real_ && bare && real && base::ShortestText(*real) == text;
  decimal_ = decimal_ && bare;
  if (decimal_) SeeDecimal(text);
  moment_ = moment_ && cell.kind != Kind::kTruth && IsPlainMoment(text, reading_);
  guid_ = guid_ && IsPlainGuid(text);
  length_ = std::max(length_, jet::CountUtf16(text));
}

void TypeGuess::SeeDecimal(const std::string& text) {
  const auto number = jet::Numeric::Parse(text);
  decimal_ = number && number->Text() == text && (scale_ < 0 || scale_ == number->scale);
  if (!decimal_) return;
  scale_ = number->scale;
  digits_ = std::max(digits_, std::max(number->Digits(), scale_));
  decimal_ = digits_ <= kMostDigits;
}

WantedColumn TypeGuess::Column(const std::string& name, bool big) const {
  WantedColumn wanted;
  jet::ColumnDef& column = wanted.column;
  column.name = name;
  column.size = kLongestText;
  column.allowZeroLength = true;
  if (any_ && truth_) {
    column.type = jet::ColumnType::kBoolean;
  } else if (any_ && whole_) {
    column.type = jet::ColumnType::kLong;
  } else if (any_ && decimal_) {
    column.type = jet::ColumnType::kNumeric;
    column.precision = static_cast<std::uint8_t>(std::max(18, digits_));
    column.scale = static_cast<std::uint8_t>(scale_);
    wanted.big = big && scale_ == 0 && digits_ <= kDigitsOfBig;
  } else if (any_ && real_) {
    column.type = jet::ColumnType::kDouble;
  } else if (any_ && moment_) {
    column.type = jet::ColumnType::kDate;
  } else if (any_ && guid_) {
    column.type = jet::ColumnType::kGuid;
  } else if (length_ > kLongestText) {
    column.type = jet::ColumnType::kMemo;
  }
  return wanted;
}

std::optional<WantedColumn> TypeNamed(std::string_view text, const TypeLimits& limits) {
  const std::string lower = base::LowerName(text);
  const auto open = lower.find('(');
  const std::string word = lower.substr(0, open);
  std::vector<int> sizes;
  if (open != std::string::npos) {
    if (!lower.ends_with(')')) return std::nullopt;
    const std::string inside = lower.substr(open + 1, lower.size() - open - 2);
    for (std::size_t at = 0; at <= inside.size();) {
      const auto end = std::min(inside.find(',', at), inside.size());
      const auto size = base::ReadWhole<int>(inside.substr(at, end - at));
      if (!size) return std::nullopt;
      sizes.push_back(*size);
      at = end + 1;
    }
  }
  struct Word {
    const char* name;
    jet::ColumnType type;
    std::size_t sizes;
    int most;
  };
  using Type = jet::ColumnType;
  const std::array kWords{Word{"boolean", Type::kBoolean, 0, 0},
                          Word{"byte", Type::kByte, 0, 0},
                          Word{"integer", Type::kInteger, 0, 0},
                          Word{"long", Type::kLong, 0, 0},
                          Word{"big", Type::kNumeric, 0, 0},
                          Word{"counter", Type::kLong, 0, 0},
                          Word{"single", Type::kSingle, 0, 0},
                          Word{"double", Type::kDouble, 0, 0},
                          Word{"currency", Type::kCurrency, 0, 0},
                          Word{"date", Type::kDate, 0, 0},
                          Word{"memo", Type::kMemo, 0, 0},
                          Word{"ole", Type::kOle, 0, 0},
                          Word{"guid", Type::kGuid, 0, 0},
                          Word{"text", Type::kText, 1, limits.text},
                          Word{"binary", Type::kBinary, 1, limits.binary},
                          Word{"decimal", Type::kNumeric, 2, limits.digits}};
  for (const Word& known : kWords) {
    if (word != known.name || sizes.size() != known.sizes) continue;
    WantedColumn wanted;
    jet::ColumnDef& column = wanted.column;
    column.type = known.type;
    column.allowZeroLength = true;
    column.autoNumber = word == "counter";
    wanted.big = word == "big";
    if (wanted.big && !limits.big) return std::nullopt;
    if (known.sizes > 0 && (sizes[0] < 1 || sizes[0] > known.most)) return std::nullopt;
    if (known.sizes == 1) column.size = static_cast<std::uint16_t>(sizes[0]);
    if (known.sizes == 2) {
      if (sizes[1] < 0 || sizes[1] > sizes[0]) return std::nullopt;
      column.precision = static_cast<std::uint8_t>(sizes[0]);
      column.scale = static_cast<std::uint8_t>(sizes[1]);
    }
    return wanted;
  }
  return std::nullopt;
}

std::vector<WantedColumn> ReadTypes(const std::string& text, const TypeLimits& limits) {
  std::vector<WantedColumn> columns;
  for (std::size_t at = 0; at < text.size();) {
    // Commas between parentheses belong to a type.
    std::size_t end = at;
    for (int depth = 0; end < text.size() && (text[end] != ',' || depth > 0); ++end)
      depth += text[end] == '(' ? 1 : text[end] == ')' ? -1 : 0;
    const std::string one = text.substr(at, end - at);
    const auto equals = one.rfind('=');
    auto column = equals == std::string::npos ? std::nullopt : TypeNamed(std::string_view(one).substr(equals + 1), limits);
    if (!column) throw Failure(Status::kUsage, Say(Said::kUnknownType, {one}));
    column->column.name = one.substr(0, equals);
    columns.push_back(std::move(*column));
    at = end + 1;
  }
  return columns;
}

}  // namespace tamlo::cli
