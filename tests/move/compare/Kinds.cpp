#include "tests/move/compare/Kinds.h"

#include <stdexcept>

#include "schema/MakeAccess.h"

namespace tamlo::tests {
namespace {

schema::Column Of(const std::string& name, schema::Type type) {
  schema::Column column;
  column.name = name;
  column.type = type;
  column.required = type.kind == schema::Kind::kBoolean;
  return column;
}

}  // namespace

schema::Table EveryKind() {
  using schema::Kind;
  schema::Table table;
  table.name = "T";
  table.columns = {Of("Id", {Kind::kLong}),           Of("Boolean", {Kind::kBoolean}),   Of("Byte", {Kind::kByte}),
                   Of("Short", {Kind::kShort}),       Of("Long", {Kind::kLong}),         Of("Single", {Kind::kSingle}),
                   Of("Double", {Kind::kDouble}),     Of("Currency", {Kind::kCurrency}), Of("Decimal", {Kind::kDecimal, 0, 28, 6}),
                   Of("Moment", {Kind::kMoment}),     Of("Text", {Kind::kText, 50}),     Of("Memo", {Kind::kMemo}),
                   Of("Binary", {Kind::kBinary, 20}), Of("Blob", {Kind::kBlob}),         Of("Guid", {Kind::kGuid})};
  schema::Index key;
  key.name = "PrimaryKey";
  key.parts = {{"Id"}};
  key.primary = key.unique = key.required = true;
  table.indexes = {key};
  return table;
}

std::vector<jet::Value> RowOfKinds(std::int32_t id) {
  const jet::Bytes bytes = {std::byte{0}, std::byte{0xFF}, std::byte{0x27}};
  return {jet::Value(id),
          jet::Value(true),
          jet::Value(std::uint8_t{200}),
          jet::Value(std::int16_t{-32000}),
          jet::Value(std::int32_t{-2147483647}),
          jet::Value(0.1F),
          jet::Value(1.0 / 3),
          jet::Value(jet::Currency{9223372036854775807}),
          jet::Value(*jet::Numeric::Parse("-1234567890123456789012.123456")),
          jet::Value(jet::Date{43861.75 + 0.125 / 86400}),
          jet::Value("O'Brien \xC3\xA9 "),
          jet::Value(std::string(5000, 'm') + "\nend"),
          jet::Value(bytes),
          jet::Value(bytes),
          jet::Value(*jet::Guid::Parse("00112233-4455-6677-8899-AABBCCDDEEFF"))};
}

void MakeKinds(const std::string& path, const std::vector<std::vector<jet::Value>>& rows) {
  schema::Database database;
  database.tables.push_back(EveryKind());
  const auto plan = PlanAccess(database, schema::Expressions::kAccess);
  const auto file = jet::Database::Create(path);
  schema::AccessTarget target(*file, plan);
  jet::Transaction whole(*file);
  target.MakeTables();
  for (const auto& row : rows) file->OpenTable("T").Insert(row);
  (void)target.Finish();
  whole.Commit();
}

std::size_t PlaceOf(const std::string& column) {
  const auto table = EveryKind();
  for (std::size_t i = 0; i < table.columns.size(); ++i)
    if (table.columns[i].name == column) return i;
  throw std::invalid_argument(column);
}

}  // namespace tamlo::tests
