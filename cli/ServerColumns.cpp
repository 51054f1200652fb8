#include "cli/ServerColumns.h"

#include <array>

#include "base/Case.h"
#include "schema/Ask.h"
#include "schema/DeclaredType.h"
#include "schema/Dialect.h"
#include "schema/Read.h"
#include "schema/SqlText.h"

namespace tamlo::cli {
namespace {

using schema::Answer;
using schema::Engine;
using Takes = ServerColumn::Takes;

/// Types that are all said with their name.
struct Plain {
  std::string_view name;
  Takes takes;
  std::int64_t least = 0;
  std::uint64_t most = 0;
  std::uint64_t mostUnsigned = 0;
};

constexpr std::array kMariaDb{Plain{"tinyint", Takes::kWhole, INT8_MIN, INT8_MAX, UINT8_MAX},
                              Plain{"smallint", Takes::kWhole, INT16_MIN, INT16_MAX, UINT16_MAX},
                              Plain{"mediumint", Takes::kWhole, -8388608, 8388607, 16777215},
                              Plain{"int", Takes::kWhole, INT32_MIN, INT32_MAX, UINT32_MAX},
                              Plain{"bigint", Takes::kWhole, INT64_MIN, INT64_MAX, UINT64_MAX},
                              Plain{"year", Takes::kWhole, 0, 2155, 2155},
                              Plain{"decimal", Takes::kDecimal},
                              Plain{"float", Takes::kSingle},
                              Plain{"double", Takes::kDouble},
                              Plain{"date", Takes::kDay},
                              Plain{"time", Takes::kTime},
                              Plain{"datetime", Takes::kMoment},
                              Plain{"timestamp", Takes::kMoment},
                              Plain{"char", Takes::kText},
                              Plain{"varchar", Takes::kText},
                              Plain{"tinytext", Takes::kText},
                              Plain{"text", Takes::kText},
                              Plain{"mediumtext", Takes::kText},
                              Plain{"longtext", Takes::kText},
                              Plain{"binary", Takes::kBytes},
                              Plain{"varbinary", Takes::kBytes},
                              Plain{"tinyblob", Takes::kBytes},
                              Plain{"blob", Takes::kBytes},
                              Plain{"mediumblob", Takes::kBytes},
                              Plain{"longblob", Takes::kBytes},
                              Plain{"bit", Takes::kBytes},
                              Plain{"uuid", Takes::kGuid}};

constexpr std::array kPostgreSql{Plain{"boolean", Takes::kTruth},
                                 Plain{"smallint", Takes::kWhole, INT16_MIN, INT16_MAX},
                                 Plain{"integer", Takes::kWhole, INT32_MIN, INT32_MAX},
                                 Plain{"bigint", Takes::kWhole, INT64_MIN, INT64_MAX},
                                 Plain{"oid", Takes::kWhole, 0, UINT32_MAX},
                                 Plain{"numeric", Takes::kDecimal},
                                 Plain{"money", Takes::kDecimal},
                                 Plain{"real", Takes::kSingle},
                                 Plain{"double precision", Takes::kDouble},
                                 Plain{"date", Takes::kDay},
                                 Plain{"time without time zone", Takes::kTime},
                                 Plain{"timestamp without time zone", Takes::kMoment},
                                 Plain{"timestamp with time zone", Takes::kMoment},
                                 Plain{"character", Takes::kText},
                                 Plain{"character varying", Takes::kText},
                                 Plain{"bpchar", Takes::kText},
                                 Plain{"text", Takes::kText},
                                 Plain{"citext", Takes::kText},
                                 Plain{"bytea", Takes::kBytes},
                                 Plain{"uuid", Takes::kGuid}};

constexpr std::array kSqlite{Plain{"BOOLEAN", Takes::kTruth},  Plain{"BOOL", Takes::kTruth},      Plain{"BIT", Takes::kTruth},
                             Plain{"DATE", Takes::kDay},       Plain{"DATETIME", Takes::kMoment}, Plain{"TIMESTAMP", Takes::kMoment},
                             Plain{"TIME", Takes::kTime},      Plain{"UUID", Takes::kGuid},       Plain{"UUID_TEXT", Takes::kGuid},
                             Plain{"GUID", Takes::kGuid},      Plain{"DECIMAL", Takes::kDecimal}, Plain{"DECIMAL_TEXT", Takes::kDecimal},
                             Plain{"NUMERIC", Takes::kDecimal}};

template <std::size_t kCount>
const Plain* Named(const std::array<Plain, kCount>& types, std::string_view name) {
  for (const Plain& type : types)
    if (type.name == name) return &type;
  return nullptr;
}

ServerColumn Called(const std::string& name, const std::string& declared) {
  ServerColumn column;
  column.name = name;
  column.declared = declared;
  return column;
}

void Size(ServerColumn& column, int precision, int scale) {
  column.whole = precision - scale;
  column.scale = scale;
}

ServerColumn OfMariaDb(const Answer& answer) {
  ServerColumn column = Called(answer[0], answer[2]);
  const std::string& type = answer[1];
  if (type == "enum" || type == "set") {
    for (const auto& token : schema::Tokens(answer[2]))
      if (token.kind == schema::Token::Kind::kText) column.labels.push_back(token.text);
    column.several = type == "set";
  }
  const Plain* plain = Named(kMariaDb, type);
  if (plain == nullptr) return column;
  const bool isUnsigned = answer[2].find("unsigned") != std::string::npos;
  column.takes = plain->takes;
  column.least = isUnsigned ? 0 : plain->least;
  column.most = isUnsigned ? plain->mostUnsigned : plain->most;
  if (answer[2] == "tinyint(1)") {
    column.takes = Takes::kTruth;
    column.numberToo = true;
  }
  if (column.takes == Takes::kDecimal) Size(column, static_cast<int>(answer.Number(4)), static_cast<int>(answer.Number(5)));
  // FLOAT(7,2) rounds.
  if ((type == "float" || type == "double") && !answer.IsNull(5)) column.scale = static_cast<int>(answer.Number(5));
  if (type == "char" || type == "varchar" || type == "binary" || type == "varbinary") column.length = static_cast<int>(answer.Number(3));
  if (type == "bit") column.length = static_cast<int>((answer.Number(4) + 7) / 8);
  column.fixed = type == "char" || type == "binary";
  column.fraction = static_cast<int>(answer.Number(6));
  return column;
}

ServerColumn OfPostgreSql(const Answer& answer) {
  const schema::DeclaredType declared(answer[1]);
  ServerColumn column = Called(answer[0], answer[1]);
  const Plain* plain = Named(kPostgreSql, declared.name);
  if (plain == nullptr) {
    // What stands in a list of sized values would be rounded without a word.
    if (declared.sized && declared.name.ends_with("[]")) column.takes = Takes::kNothing;
    return column;
  }
  column.takes = plain->takes;
  column.least = plain->least;
  column.most = plain->most;
  if (plain->takes == Takes::kDecimal && declared.sized) Size(column, declared.first, declared.second);
  if (declared.name == "money") Size(column, 17, 2);
  if (plain->takes == Takes::kText && declared.sized) column.length = declared.first;
  column.fixed = declared.name == "character" || declared.name == "bpchar";
  if (declared.sized && (plain->takes == Takes::kMoment || plain->takes == Takes::kTime)) column.fraction = declared.first;
  return column;
}

bool Has(const std::string& text, std::string_view word) { return text.find(word) != std::string::npos; }

/// SQLite keeps what it is given, but for what the letters of the type's name make it change.
ServerColumn OfSqlite(const Answer& answer) {
  const schema::DeclaredType declared(base::UpperCase(answer[1]));
  ServerColumn column = Called(answer[0], answer[1]);
  const bool isText = Has(declared.name, "CHAR") || Has(declared.name, "CLOB") || Has(declared.name, "TEXT");
  const bool isReal = Has(declared.name, "REAL") || Has(declared.name, "FLOA") || Has(declared.name, "DOUB");
  if (Has(declared.name, "INT")) {
    column.takes = Takes::kWhole;
  } else if (const Plain* plain = Named(kSqlite, declared.name)) {
    column.takes = plain->takes;
    column.numberToo = plain->takes == Takes::kTruth;
    column.least = INT8_MIN;
    column.most = INT8_MAX;
    if (plain->takes == Takes::kDecimal && declared.sized) Size(column, declared.first, declared.second);
    // Without a text's letters in its name it is kept as a binary number.
    if (plain->takes == Takes::kDecimal && !isText) column.digits = 15;
  } else if (isText) {
    column.takes = Takes::kText;
  } else if (Has(declared.name, "BLOB") || Has(declared.name, "BINARY")) {
    column.takes = Takes::kBytes;
  } else if (isReal) {
    column.takes = declared.name == "FLOAT" && declared.first == 24 ? Takes::kSingle : Takes::kDouble;
  } else {
    column.numeric = !declared.name.empty();
  }
  return column;
}

/// What is known of a source whose product is not.
ServerColumn OfOther(const schema::Column& read) {
  using schema::Kind;
  ServerColumn column = Called(read.name, schema::Spelled(schema::DialectOf(Engine::kAccess), read.type));
  const auto whole = [&](std::int64_t least, std::uint64_t most) {
    column.takes = Takes::kWhole;
    column.least = least;
    column.most = most;
  };
  switch (read.type.kind) {
    case Kind::kBoolean:
      column.takes = Takes::kTruth;
      break;
    case Kind::kByte:
      whole(0, UINT8_MAX);
      break;
    case Kind::kShort:
      whole(INT16_MIN, INT16_MAX);
      break;
    case Kind::kLong:
      whole(INT32_MIN, INT32_MAX);
      break;
    case Kind::kBig:
      whole(INT64_MIN, INT64_MAX);
      break;
    case Kind::kSingle:
      column.takes = Takes::kSingle;
      break;
    case Kind::kDouble:
      column.takes = Takes::kDouble;
      break;
    case Kind::kCurrency:
      column.takes = Takes::kDecimal;
      Size(column, 19, 4);
      break;
    case Kind::kDecimal:
      column.takes = Takes::kDecimal;
      Size(column, read.type.precision, read.type.scale);
      break;
    case Kind::kMoment:
      column.takes = Takes::kMoment;
      column.fraction = 3;
      break;
    case Kind::kText:
    case Kind::kMemo:
      column.takes = Takes::kText;
      if (read.type.length > 0) column.length = read.type.length;
      break;
    case Kind::kBinary:
    case Kind::kBlob:
      column.takes = Takes::kBytes;
      if (read.type.length > 0) column.length = read.type.length;
      break;
    case Kind::kGuid:
      column.takes = Takes::kGuid;
      break;
  }
  return column;
}

std::string QuestionFor(Engine engine, const std::string& table) {
  const std::string name = schema::Literal(schema::DialectOf(engine), table);
  if (engine == Engine::kMariaDb)
    return "SELECT COLUMN_NAME, DATA_TYPE, COLUMN_TYPE, CHARACTER_MAXIMUM_LENGTH, NUMERIC_PRECISION, NUMERIC_SCALE, DATETIME_PRECISION "
           "FROM information_schema.COLUMNS WHERE TABLE_SCHEMA = DATABASE() AND TABLE_NAME = " +
           name + " ORDER BY ORDINAL_POSITION";
  if (engine == Engine::kPostgreSql)
    return "SELECT a.attname, CASE WHEN t.typtype = 'd' THEN format_type(t.typbasetype, t.typtypmod) ELSE format_type(a.atttypid, "
           "a.atttypmod) END FROM pg_attribute a JOIN pg_class c ON c.oid = a.attrelid JOIN pg_type t ON t.oid = a.atttypid WHERE "
           "c.relnamespace = quote_ident(current_schema())::regnamespace AND c.relkind IN ('r', 'p') AND c.relname = " +
           name + " AND a.attnum > 0 AND NOT a.attisdropped ORDER BY a.attnum";
  return "SELECT name, type FROM pragma_table_xinfo(" + name + ") ORDER BY cid";
}

}  // namespace

std::vector<ServerColumn> ServerColumns(ado::Connection& connection, std::optional<Engine> engine, const std::string& table) {
  std::vector<ServerColumn> columns;
  const bool known = engine == Engine::kMariaDb || engine == Engine::kPostgreSql || engine == Engine::kSqlite;
  if (known) {
    for (const Answer& answer : schema::Ask(connection, QuestionFor(*engine, table)))
      columns.push_back(engine == Engine::kMariaDb      ? OfMariaDb(answer)
                        : engine == Engine::kPostgreSql ? OfPostgreSql(answer)
                                                        : OfSqlite(answer));
    return columns;
  }
  for (const auto& read : schema::Read(connection, engine, {.values = false, .counts = false}).tables)
    if (read.name == table)
      for (const auto& column : read.columns) columns.push_back(OfOther(column));
  return columns;
}

}  // namespace tamlo::cli
