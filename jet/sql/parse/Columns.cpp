// The columns and constraints of a table that is defined: types with their sizes, defaults, keys.
#include "jet/sql/parse/Parser.h"
#include "jet/sql/parse/TypeNames.h"

namespace jet::sql::syntax {

using Type = ColumnType;

void Parser::ReadType(ColumnDef& column) {
  const Token name = Peek();
  TakeName("type of the column");
  const std::optional<Type> found = TypeNamed(name.upper);
  if (!found) throw SyntaxError("unknown column type " + name.text, name.position);
  column.type = *found;
  column.autoNumber = name.upper == "COUNTER" || name.upper == "AUTOINCREMENT" || name.upper == "IDENTITY";
  if (name.upper == "DOUBLE") TakeWord("PRECISION");
  if (name.upper == "CHAR" || name.upper == "CHARACTER" || name.upper == "NCHAR") TakeWord("VARYING");
  if (column.type == Type::kText) column.size = 255;
  if (column.type == Type::kBinary) column.size = 510;
  const std::vector<unsigned long> sizes = Sizes();
  if (!sizes.empty()) ApplySizes(column, sizes, name);
}

std::vector<unsigned long> Parser::Sizes() {
  std::vector<unsigned long> sizes;
  if (!TakeSymbol("(")) return sizes;
  for (bool first = true; first || TakeSymbol(","); first = false) {
    const Token& number = Take();
    if (number.kind != TokenKind::kNumber || number.text.size() > 9 || number.text.find_first_not_of("0123456789") != std::string::npos)
      FailAt(number, "number expected");
    sizes.push_back(std::stoul(number.text));
  }
  ExpectSymbol(")");
  return sizes;
}

void Parser::ApplySizes(ColumnDef& column, const std::vector<unsigned long>& sizes, const Token& name) const {
  switch (column.type) {
    case Type::kText:
      if (sizes[0] == 0) FailAt(name, "a text column needs at least one character");
      if (sizes[0] > 255) column.type = Type::kMemo;  // as Access: a longer text is a memo
      column.size = sizes[0] > 255 ? 0 : static_cast<std::uint16_t>(sizes[0]);
      break;
    case Type::kBinary:
      if (sizes[0] == 0 || sizes[0] > 510) FailAt(name, "a binary column has 1 to 510 bytes");
      column.size = static_cast<std::uint16_t>(sizes[0]);
      break;
    case Type::kNumeric:
      if (sizes[0] < 1 || sizes[0] > 28 || (sizes.size() > 1 && sizes[1] > sizes[0]))
        FailAt(name, "precision 1 to 28, scale up to the precision");
      column.precision = static_cast<std::uint8_t>(sizes[0]);
      column.scale = sizes.size() > 1 ? static_cast<std::uint8_t>(sizes[1]) : 0;
      break;
    case Type::kLong:
      // COUNTER(first, step): the file keeps the last number given, and counts by one.
      if (!column.autoNumber) FailAt(name, "this type has no size");
      if (sizes.size() > 1 && sizes[1] != 1) throw UnsupportedError("a counter counts by 1", name.position);
      column.firstNumber = static_cast<std::int32_t>(sizes[0]);
      break;
    default:
      break;
  }
}

ColumnDef Parser::Column(const std::string& table, const Wishes& wishes) {
  ColumnDef column;
  column.name = TakeName("name of the column");
  ReadType(column);
  while (ColumnWish(column, table, wishes)) {
  }
  return column;
}

// One of the things that may follow the type; false when none does.
bool Parser::ColumnWish(ColumnDef& column, const std::string& table, const Wishes& wishes) {
  if (TakeWord("NOT")) {
    ExpectWord("NULL");
    column.required = true;
  } else if (TakeWord("NULL")) {
    column.required = false;
  } else if (TakeWord("WITH")) {
    if (!TakeWord("COMPRESSION") && !TakeWord("COMP")) Fail("COMPRESSION expected");
    column.compressed = true;
  } else if (TakeWord("DEFAULT")) {
    column.defaultValue = Default();
  } else if (AtAnyWord({"CONSTRAINT", "PRIMARY", "UNIQUE", "REFERENCES"})) {
    ColumnConstraint(column, table, wishes);
  } else if (AtWord("CHECK")) {
    throw UnsupportedError("CHECK constraints are not supported", Peek().position);
  } else {
    return false;
  }
  return true;
}

void Parser::ColumnConstraint(ColumnDef& column, const std::string& table, const Wishes& wishes) {
  const auto addIndex = [&](std::string name, bool primary) {
    IndexSpec index;
    index.name = !name.empty() ? std::move(name) : primary ? "PrimaryKey" : table + "_" + column.name;
    index.columns.push_back({column.name, false});
    index.primary = primary;
    index.unique = true;
    wishes.indexes.push_back(std::move(index));
  };
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
    wishes.keys.push_back(References(std::move(name), {column.name}));
  } else {
    Fail("PRIMARY KEY, UNIQUE or REFERENCES expected");
  }
}

bool Parser::EndsDefault() const { return AtAnyWord({"NOT", "CONSTRAINT", "PRIMARY", "UNIQUE", "REFERENCES", "NULL"}); }

// A default is kept as its text: everything up to the next comma, closing parenthesis or constraint on this level.
std::string Parser::Default() {
  const std::size_t begin = Peek().offset;
  std::size_t end = begin;
  int level = 0;
  for (;; Take()) {
    const Token& token = Peek();
    if (token.kind == TokenKind::kEnd || AtSymbol(";")) break;
    if (level == 0 && (AtSymbol(",") || AtSymbol(")"))) break;
    if (level == 0 && end > begin && EndsDefault()) break;
    if (AtSymbol("(")) ++level;
    if (AtSymbol(")")) --level;
    end = token.end;
  }
  if (end == begin) Fail("value of the default expected");
  return text_.substr(begin, end - begin);
}

std::vector<std::string> Parser::NameList() {
  std::vector<std::string> names;
  ExpectSymbol("(");
  for (bool first = true; first || TakeSymbol(","); first = false) names.push_back(TakeName("name of a column"));
  ExpectSymbol(")");
  return names;
}

ForeignKeySpec Parser::References(std::string name, std::vector<std::string> columns) {
  ForeignKeySpec key;
  key.name = std::move(name);
  key.columns = std::move(columns);
  ExpectWord("REFERENCES");
  key.referencedTable = TakeName("name of the table");
  if (AtSymbol("(")) key.referencedColumns = NameList();
  while (TakeWord("ON")) {
    const bool update = AtWord("UPDATE");
    if (!TakeWord("UPDATE")) ExpectWord("DELETE");
    const std::size_t position = Peek().position;
    if (TakeWord("CASCADE")) {
      (update ? key.cascadeUpdates : key.cascadeDeletes) = true;
    } else if (TakeWord("NO")) {
      ExpectWord("ACTION");
    } else {
      throw UnsupportedError("only CASCADE and NO ACTION are supported", position);
    }
  }
  return key;
}

void Parser::TableConstraint(const std::string& table, const Wishes& wishes) {
  std::string name;
  if (TakeWord("CONSTRAINT")) name = TakeName("name of the constraint");
  if (AtWord("CHECK")) throw UnsupportedError("CHECK constraints are not supported", Peek().position);
  if (TakeWord("FOREIGN")) {
    ExpectWord("KEY");
    TakeWord("NO"), TakeWord("INDEX");
    std::vector<std::string> columns = NameList();
    wishes.keys.push_back(References(std::move(name), std::move(columns)));
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
  for (std::string& column : NameList()) index.columns.push_back({std::move(column), false});
  wishes.indexes.push_back(std::move(index));
}

}  // namespace jet::sql::syntax
