// CREATE, ALTER and DROP.
#include "jet/sql/Names.h"
#include "jet/sql/Translator.h"

namespace jet::sql {

namespace {

struct TypeName {
  std::string_view name;
  ColumnType type;
};

// The names of column types in Access and their synonyms.
constexpr TypeName kTypeNames[] = {
    {"COUNTER", ColumnType::kLong},      {"AUTOINCREMENT", ColumnType::kLong}, {"IDENTITY", ColumnType::kLong},
    {"LONG", ColumnType::kLong},         {"INTEGER", ColumnType::kLong},       {"INT", ColumnType::kLong},
    {"INTEGER4", ColumnType::kLong},     {"SHORT", ColumnType::kInteger},      {"SMALLINT", ColumnType::kInteger},
    {"INTEGER2", ColumnType::kInteger},  {"BYTE", ColumnType::kByte},          {"TINYINT", ColumnType::kByte},
    {"INTEGER1", ColumnType::kByte},     {"SINGLE", ColumnType::kSingle},      {"REAL", ColumnType::kSingle},
    {"FLOAT4", ColumnType::kSingle},     {"IEEESINGLE", ColumnType::kSingle},  {"DOUBLE", ColumnType::kDouble},
    {"FLOAT", ColumnType::kDouble},      {"FLOAT8", ColumnType::kDouble},      {"NUMBER", ColumnType::kDouble},
    {"IEEEDOUBLE", ColumnType::kDouble}, {"CURRENCY", ColumnType::kCurrency},  {"MONEY", ColumnType::kCurrency},
    {"DECIMAL", ColumnType::kNumeric},   {"NUMERIC", ColumnType::kNumeric},    {"DEC", ColumnType::kNumeric},
    {"YESNO", ColumnType::kBoolean},     {"BIT", ColumnType::kBoolean},        {"LOGICAL", ColumnType::kBoolean},
    {"LOGICAL1", ColumnType::kBoolean},  {"BOOLEAN", ColumnType::kBoolean},    {"DATETIME", ColumnType::kDate},
    {"DATE", ColumnType::kDate},         {"TIME", ColumnType::kDate},          {"TIMESTAMP", ColumnType::kDate},
    {"TEXT", ColumnType::kText},         {"CHAR", ColumnType::kText},          {"VARCHAR", ColumnType::kText},
    {"CHARACTER", ColumnType::kText},    {"STRING", ColumnType::kText},        {"ALPHANUMERIC", ColumnType::kText},
    {"NCHAR", ColumnType::kText},        {"NVARCHAR", ColumnType::kText},      {"MEMO", ColumnType::kMemo},
    {"LONGTEXT", ColumnType::kMemo},     {"LONGCHAR", ColumnType::kMemo},      {"NOTE", ColumnType::kMemo},
    {"NTEXT", ColumnType::kMemo},        {"GUID", ColumnType::kGuid},          {"UNIQUEIDENTIFIER", ColumnType::kGuid},
    {"BINARY", ColumnType::kBinary},     {"VARBINARY", ColumnType::kBinary},   {"LONGBINARY", ColumnType::kOle},
    {"OLEOBJECT", ColumnType::kOle},     {"GENERAL", ColumnType::kOle},        {"IMAGE", ColumnType::kOle},
};

}  // namespace

Statement Translator::ParseCreate() {
  if (TakeWord("TABLE")) return ParseCreateTable();
  const bool unique = TakeWord("UNIQUE");
  if (TakeWord("INDEX")) return ParseCreateIndex(unique);
  if (AtWord("VIEW") || AtWord("PROC") || AtWord("PROCEDURE") || AtWord("USER") || AtWord("GROUP")) {
    throw UnsupportedError("CREATE " + Peek().upper + " is not supported", Peek().position);
  }
  Fail("TABLE or INDEX expected");
}

Statement Translator::ParseCreateTable() {
  CreateTablePlan plan;
  plan.table.name = TakeName("name of the table");
  ExpectSymbol("(");
  for (bool first = true; first || TakeSymbol(","); first = false) {
    if (AtWord("CONSTRAINT") || (AtWord("PRIMARY") && AtWord("KEY", 1)) || (AtWord("UNIQUE") && AtSymbol("(", 1)) ||
        (AtWord("FOREIGN") && AtWord("KEY", 1))) {
      ParseTableConstraint(plan.table.name, plan.table.indexes, plan.foreignKeys);
    } else {
      plan.table.columns.push_back(ParseColumn(plan.table.name, plan.table.indexes, plan.foreignKeys));
    }
  }
  ExpectSymbol(")");
  if (plan.table.columns.empty()) Fail("a table needs a column");
  return plan;
}

void Translator::ParseColumnType(ColumnDef& column) {
  const Token name = Peek();
  TakeName("type of the column");
  const TypeName* found = nullptr;
  for (const TypeName& candidate : kTypeNames) {
    if (candidate.name == name.upper) found = &candidate;
  }
  if (found == nullptr) throw SyntaxError("unknown column type " + name.text, name.position);
  column.type = found->type;
  column.autoNumber = name.upper == "COUNTER" || name.upper == "AUTOINCREMENT" || name.upper == "IDENTITY";
  if (name.upper == "DOUBLE") TakeWord("PRECISION");
  if (name.upper == "CHAR" || name.upper == "CHARACTER" || name.upper == "NCHAR") TakeWord("VARYING");
  if (column.type == ColumnType::kText) column.size = 255;
  if (column.type == ColumnType::kBinary) column.size = 510;

  std::vector<unsigned long> sizes;
  if (TakeSymbol("(")) {
    for (bool first = true; first || TakeSymbol(","); first = false) {
      const Token number = Take();
      if (number.kind != TokenKind::kNumber || number.text.size() > 9 || number.text.find_first_not_of("0123456789") != std::string::npos) {
        FailAt(number, "number expected");
      }
      sizes.push_back(std::stoul(number.text));
    }
    ExpectSymbol(")");
  }
  if (!sizes.empty()) {
    switch (column.type) {
      case ColumnType::kText:
        if (sizes[0] > 255) {  // as Access: a longer text is a memo
          column.type = ColumnType::kMemo;
          column.size = 0;
        } else if (sizes[0] == 0) {
          FailAt(name, "a text column needs at least one character");
        } else {
          column.size = static_cast<std::uint16_t>(sizes[0]);
        }
        break;
      case ColumnType::kBinary:
        if (sizes[0] == 0 || sizes[0] > 510) FailAt(name, "a binary column has 1 to 510 bytes");
        column.size = static_cast<std::uint16_t>(sizes[0]);
        break;
      case ColumnType::kNumeric:
        if (sizes[0] < 1 || sizes[0] > 28 || (sizes.size() > 1 && sizes[1] > sizes[0]))
          FailAt(name, "precision 1 to 28, scale up to the precision");
        column.precision = static_cast<std::uint8_t>(sizes[0]);
        column.scale = sizes.size() > 1 ? static_cast<std::uint8_t>(sizes[1]) : 0;
        break;
      case ColumnType::kLong:
        // COUNTER(seed, step): only the counting from 1 by 1 is kept by the file.
        if (!column.autoNumber) FailAt(name, "this type has no size");
        if (sizes[0] != 1 || (sizes.size() > 1 && sizes[1] != 1))
          throw UnsupportedError("a counter begins at 1 and counts by 1", name.position);
        break;
      default:
        break;
    }
  }
}

ColumnDef Translator::ParseColumn(const std::string& table, std::vector<IndexSpec>& indexes, std::vector<ForeignKeySpec>& keys) {
  ColumnDef column;
  column.name = TakeName("name of the column");
  ParseColumnType(column);
  const auto addIndex = [&](std::string name, bool primary) {
    IndexSpec index;
    index.name = !name.empty() ? std::move(name) : primary ? "PrimaryKey" : table + "_" + column.name;
    index.columns.push_back({column.name, false});
    index.primary = primary;
    index.unique = true;
    indexes.push_back(std::move(index));
  };
  for (;;) {
    if (TakeWord("NOT")) {
      ExpectWord("NULL");
      column.required = true;
    } else if (TakeWord("NULL")) {
      column.required = false;
    } else if (TakeWord("WITH")) {
      if (!TakeWord("COMPRESSION") && !TakeWord("COMP")) Fail("COMPRESSION expected");
      column.compressed = true;
    } else if (TakeWord("DEFAULT")) {
      column.defaultValue = ParseDefault();
    } else if (AtWord("CONSTRAINT") || AtWord("PRIMARY") || AtWord("UNIQUE") || AtWord("REFERENCES")) {
      std::string name;
      if (TakeWord("CONSTRAINT")) name = TakeName("name of the constraint");
      if (TakeWord("PRIMARY")) {
        ExpectWord("KEY");
        addIndex(std::move(name), true);
      } else if (TakeWord("UNIQUE")) {
        addIndex(std::move(name), false);
      } else if (TakeWord("NOT")) {
        ExpectWord("NULL");
        column.required = true;
      } else if (AtWord("REFERENCES")) {
        keys.push_back(ParseReferences(std::move(name), {column.name}));
      } else {
        Fail("PRIMARY KEY, UNIQUE or REFERENCES expected");
      }
    } else if (AtWord("CHECK")) {
      throw UnsupportedError("CHECK constraints are not supported", Peek().position);
    } else {
      return column;
    }
  }
}

// A default is kept as its text: everything up to the next comma, closing parenthesis or constraint on this level.
std::string Translator::ParseDefault() {
  const std::size_t begin = Peek().offset;
  std::size_t end = begin;
  int level = 0;
  for (;; Take()) {
    const Token& token = Peek();
    if (token.kind == TokenKind::kEnd || AtSymbol(";")) break;
    if (level == 0 && (AtSymbol(",") || AtSymbol(")"))) break;
    if (level == 0 && end > begin &&
        (AtWord("NOT") || AtWord("CONSTRAINT") || AtWord("PRIMARY") || AtWord("UNIQUE") || AtWord("REFERENCES") || AtWord("NULL")))
      break;
    if (AtSymbol("(")) ++level;
    if (AtSymbol(")")) --level;
    end = token.end;
  }
  if (end == begin) Fail("value of the default expected");
  return text_.substr(begin, end - begin);
}

std::vector<std::string> Translator::ParseNameList() {
  std::vector<std::string> names;
  ExpectSymbol("(");
  for (bool first = true; first || TakeSymbol(","); first = false) names.push_back(TakeName("name of a column"));
  ExpectSymbol(")");
  return names;
}

ForeignKeySpec Translator::ParseReferences(std::string name, std::vector<std::string> columns) {
  ForeignKeySpec key;
  key.name = std::move(name);
  key.columns = std::move(columns);
  ExpectWord("REFERENCES");
  key.referencedTable = TakeName("name of the table");
  if (AtSymbol("(")) key.referencedColumns = ParseNameList();
  while (TakeWord("ON")) {
    const bool update = AtWord("UPDATE");
    if (!TakeWord("UPDATE")) ExpectWord("DELETE");
    const Token at = Peek();
    if (TakeWord("CASCADE")) {
      (update ? key.cascadeUpdates : key.cascadeDeletes) = true;
    } else if (TakeWord("NO")) {
      ExpectWord("ACTION");
    } else {
      throw UnsupportedError("only CASCADE and NO ACTION are supported", at.position);
    }
  }
  return key;
}

void Translator::ParseTableConstraint(const std::string& table, std::vector<IndexSpec>& indexes, std::vector<ForeignKeySpec>& keys) {
  std::string name;
  if (TakeWord("CONSTRAINT")) name = TakeName("name of the constraint");
  if (AtWord("CHECK")) throw UnsupportedError("CHECK constraints are not supported", Peek().position);
  if (TakeWord("FOREIGN")) {
    ExpectWord("KEY");
    TakeWord("NO"), TakeWord("INDEX");
    std::vector<std::string> columns = ParseNameList();
    keys.push_back(ParseReferences(std::move(name), std::move(columns)));
    return;
  }
  IndexSpec index;
  index.primary = AtWord("PRIMARY");
  if (index.primary) {
    Take();
    ExpectWord("KEY");
  } else {
    ExpectWord("UNIQUE");
  }
  index.unique = true;
  index.name = !name.empty() ? name : index.primary ? "PrimaryKey" : table + "_Unique";
  for (std::string& column : ParseNameList()) index.columns.push_back({std::move(column), false});
  indexes.push_back(std::move(index));
}

Statement Translator::ParseCreateIndex(bool unique) {
  CreateIndexPlan plan;
  plan.index.unique = unique;
  plan.index.name = TakeName("name of the index");
  ExpectWord("ON");
  plan.table = TakeName("name of the table");
  ExpectSymbol("(");
  for (bool first = true; first || TakeSymbol(","); first = false) {
    IndexSpec::Part part;
    part.column = TakeName("name of a column");
    part.descending = TakeWord("DESC");
    if (!part.descending) TakeWord("ASC");
    plan.index.columns.push_back(std::move(part));
  }
  ExpectSymbol(")");
  if (TakeWord("WITH")) {
    for (bool first = true; first || AtWord("PRIMARY") || AtWord("DISALLOW") || AtWord("IGNORE"); first = false) {
      if (TakeWord("PRIMARY")) {
        plan.index.primary = true;
        plan.index.unique = true;
      } else if (TakeWord("DISALLOW")) {
        ExpectWord("NULL");
        plan.index.required = true;
      } else if (TakeWord("IGNORE")) {
        ExpectWord("NULL");
        plan.index.ignoreNulls = true;
      } else {
        Fail("PRIMARY, DISALLOW NULL or IGNORE NULL expected");
      }
      TakeSymbol(",");
    }
  }
  return plan;
}

Statement Translator::ParseAlter() {
  ExpectWord("TABLE");
  const std::string table = TakeName("name of the table");
  if (TakeWord("ADD")) {
    AddColumnPlan plan;
    plan.table = table;
    if (AtWord("CONSTRAINT") || (AtWord("PRIMARY") && AtWord("KEY", 1)) || (AtWord("UNIQUE") && AtSymbol("(", 1)) ||
        (AtWord("FOREIGN") && AtWord("KEY", 1))) {
      ParseTableConstraint(table, plan.indexes, plan.foreignKeys);
      return plan;
    }
    TakeWord("COLUMN");
    const bool parenthesised = TakeSymbol("(");
    for (bool first = true; first || TakeSymbol(","); first = false)
      plan.columns.push_back(ParseColumn(table, plan.indexes, plan.foreignKeys));
    if (parenthesised) ExpectSymbol(")");
    return plan;
  }
  if (TakeWord("DROP")) {
    if (TakeWord("CONSTRAINT")) return DropConstraintPlan{table, TakeName("name of the constraint")};
    TakeWord("COLUMN");
    DropColumnPlan plan;
    plan.table = table;
    for (bool first = true; first || TakeSymbol(","); first = false) plan.columns.push_back(TakeName("name of the column"));
    return plan;
  }
  if (AtWord("ALTER")) throw UnsupportedError("changing a column's type is not supported", Peek().position);
  Fail("ADD or DROP expected");
}

Statement Translator::ParseDrop() {
  if (TakeWord("INDEX")) {
    DropIndexPlan plan;
    plan.name = TakeName("name of the index");
    ExpectWord("ON");
    plan.table = TakeName("name of the table");
    return plan;
  }
  if (!TakeWord("TABLE")) {
    if (AtWord("VIEW") || AtWord("PROCEDURE"))
      Take();
    else
      Fail("TABLE or INDEX expected");
  }
  return DropTablePlan{TakeName("name of the table")};
}

}  // namespace jet::sql
