#pragma once

#include <span>
#include <vector>

#include "ado/Catalog.h"
#include "ado/Provider.h"
#include "jet/table/Row.h"
#include "jet/value/Value.h"
#include "jet/sql/Schema.h"
#include "jet/sql/Statement.h"

namespace tamlo::ado::jetprovider {

[[nodiscard]] Variant ToVariant(const jet::Value& value);
/// A column of a row, without a value in between.
void ReadColumn(jet::Row& row, std::size_t column, jet::ColumnType type, Variant& out);
/// Not yet of the column's type: see jet::sql::Coerced.
[[nodiscard]] jet::Value ToValue(const Variant& value);

/// The ADO code of a column type and back; the way back is none for a code that Access files cannot hold.
[[nodiscard]] std::int16_t AdoType(jet::ColumnType type);
[[nodiscard]] std::optional<jet::ColumnType> EngineType(std::int16_t adoType);

/// How a rowset describes a column.
[[nodiscard]] FieldInfo Described(const std::string& name, const jet::sql::TypeInfo& type);

/// Parameters as statements of the engine take them, each value as the type that is given with it. Errors 6 and 13 for a value that is not of its type,
/// 5 for one that is longer than its size.
[[nodiscard]] std::vector<jet::sql::Parameter> EngineParameters(std::span<const Parameter> parameters);

/// The dates and numbers of texts under the user's settings.
[[nodiscard]] jet::sql::TextSettings UserTextSettings();

}  // namespace tamlo::ado::jetprovider
