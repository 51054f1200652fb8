#include "schema/Ask.h"

#include "ado/Recordset.h"
#include "base/Case.h"
#include "base/Error.h"
#include "base/Numbers.h"

namespace tamlo::schema {
namespace {

std::string BytesText(const runtime::Bytes& bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

std::optional<std::string> TextOf(const ado::Variant& value) {
  if (value.IsNull() || value.IsEmpty()) return std::nullopt;
  if (const auto* text = value.If<std::string>()) return *text;
  if (const auto* truth = value.If<bool>()) return *truth ? "1" : "0";
  if (const auto* number = value.If<std::uint8_t>()) return std::to_string(*number);
  if (const auto* number = value.If<std::int16_t>()) return std::to_string(*number);
  if (const auto* number = value.If<std::int32_t>()) return std::to_string(*number);
  if (const auto* number = value.If<std::int64_t>()) return std::to_string(*number);
  if (const auto* number = value.If<float>()) return base::ShortestText(*number);
  if (const auto* number = value.If<double>()) return base::ShortestText(*number);
  if (const auto* decimal = value.If<runtime::Decimal>()) return decimal->text;
  if (const auto* bytes = value.If<runtime::Bytes>()) return BytesText(*bytes);
  if (const auto* guid = value.If<runtime::Guid>()) return guid->text;
  throw base::Error("a catalog gave a value that is neither a text nor a number");
}

}  // namespace

const std::string& Answer::operator[](std::size_t place) const {
  static const std::string kNone;
  const auto& value = values_.at(place);
  return value ? *value : kNone;
}

std::int64_t Answer::Number(std::size_t place) const {
  const std::string& text = (*this)[place];
  return base::ReadWhole<std::int64_t>(std::string_view(text).substr(0, text.find('.'))).value_or(0);
}

bool Answer::Truth(std::size_t place) const {
  const std::string lower = base::LowerCase((*this)[place]);
  return lower == "1" || lower == "yes" || lower == "t" || lower == "true" || lower == "-1";
}

std::vector<Answer> Ask(ado::Connection& connection, const std::string& sql) {
  std::vector<Answer> answers;
  ado::Recordset rows;
  rows.Open(sql, &connection, ado::adOpenForwardOnly, ado::adLockReadOnly, ado::adCmdText);
  const std::size_t columns = rows.FieldCount();
  for (; !rows.Eof(); rows.MoveNext()) {
    std::vector<std::optional<std::string>> values;
    values.reserve(columns);
    for (std::size_t i = 0; i < columns; ++i) values.push_back(TextOf(rows.Fields(i).Value()));
    answers.emplace_back(std::move(values));
  }
  return answers;
}

}  // namespace tamlo::schema
