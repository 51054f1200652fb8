// CREATE, ALTER and DROP.
#include "jet/sql/Names.h"
#include "jet/sql/bind/Translator.h"
#include "jet/sql/parse/TypeNames.h"

namespace jet::sql {

Statement Translator::ParseCreate() {
  if (TakeWord("TABLE")) return ParseCreateTable();
  const bool unique = TakeWord("UNIQUE");
  if (TakeWord("INDEX")) return ParseCreateIndex(unique);
  if (TakeWord("VIEW")) return ParseCreateQuery(true);
  if (TakeWord("PROC") || TakeWord("PROCEDURE")) return ParseCreateQuery(false);
  if (AtWord("USER") || AtWord("GROUP")) throw UnsupportedError("CREATE " + Peek().upper + " is not supported", Peek().position);
  Fail("TABLE, INDEX, VIEW or PROCEDURE expected");
}

// CREATE VIEW name [(columns)] AS a SELECT; CREATE PROCEDURE name [parameters with their types] AS any statement.
Statement Translator::ParseCreateQuery(bool view) {
  CreateQueryPlan plan;
  plan.view = view;
  plan.name = TakeName("name of the query");
  if (view && AtSymbol("(")) plan.columns = ParseNameList();
  const bool parenthesised = !view && TakeSymbol("(");
  const std::size_t first = position_;
  while (Peek().kind != TokenKind::kEnd && !AtWord("AS")) Take();
  const std::size_t last = position_ - (parenthesised ? 1 : 0);
  if (first < last) plan.text = "PARAMETERS " + text_.substr(tokens_[first].offset, tokens_[last - 1].end - tokens_[first].offset) + "; ";
  if (view && !plan.text.empty()) Fail("AS expected");
  ExpectWord("AS");
  const std::size_t body = Peek().offset;
  while (Peek().kind != TokenKind::kEnd) Take();
  plan.text += text_.substr(body);
  return plan;
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
  const std::optional<ColumnType> found = TypeNamed(name.upper);
  if (!found) throw SyntaxError("unknown column type " + name.text, name.position);
  column.type = *found;
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
        // COUNTER(first, step): the file keeps the last number given, and counts by one.
        if (!column.autoNumber) FailAt(name, "this type has no size");
        if (sizes.size() > 1 && sizes[1] != 1) throw UnsupportedError("a counter counts by 1", name.position);
        column.firstNumber = static_cast<std::int32_t>(sizes[0]);
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
  if (TakeWord("ALTER")) return ParseAlterColumn(table);
  Fail("ADD, ALTER or DROP expected");
}

// A type with what may follow it, or SET DEFAULT, or DROP DEFAULT.
Statement Translator::ParseAlterColumn(const std::string& table) {
  TakeWord("COLUMN");
  AlterColumnPlan plan;
  plan.table = table;
  const bool set = AtWord("SET", 1) && AtWord("DEFAULT", 2);
  if (set || (AtWord("DROP", 1) && AtWord("DEFAULT", 2))) {
    plan.column.name = TakeName("name of the column");
    Take();
    Take();
    if (set) plan.column.defaultValue = ParseDefault();
    plan.defaultValue = set ? AlterColumnPlan::Default::kSet : AlterColumnPlan::Default::kDropped;
    return plan;
  }
  const std::size_t begin = position_;
  plan.column = ParseColumn(table, plan.indexes, plan.foreignKeys);
  plan.retyped = true;
  if (!plan.column.defaultValue.empty()) plan.defaultValue = AlterColumnPlan::Default::kSet;
  for (std::size_t i = begin; i < position_; ++i) {
    if (tokens_[i].kind == TokenKind::kWord && tokens_[i].upper == "NULL") plan.required = plan.column.required;
  }
  return plan;
}

Statement Translator::ParseDrop() {
  if (TakeWord("INDEX")) {
    DropIndexPlan plan;
    plan.name = TakeName("name of the index");
    ExpectWord("ON");
    plan.table = TakeName("name of the table");
    return plan;
  }
  if (TakeWord("VIEW") || TakeWord("PROC") || TakeWord("PROCEDURE")) return DropTablePlan{TakeName("name of the query"), true};
  if (!TakeWord("TABLE")) Fail("TABLE, INDEX, VIEW or PROCEDURE expected");
  return DropTablePlan{TakeName("name of the table"), false};
}

}  // namespace jet::sql
