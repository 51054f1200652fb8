#pragma once

#include "ado/Catalog.h"
#include "ado/Provider.h"
#include "jet/Row.h"
#include "jet/Value.h"
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

/// The dates and numbers of texts under the user's settings.
[[nodiscard]] jet::sql::TextSettings UserTextSettings();

}  // namespace tamlo::ado::jetprovider
