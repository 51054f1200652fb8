// CREATE, ALTER and DROP of whole objects. Names in them mean themselves: what is read is the plan.
#include "jet/sql/parse/Parser.h"

namespace jet::sql::syntax {

DefinitionPlan Parser::Create() {
  if (TakeWord("TABLE")) return CreateTable();
  const bool unique = TakeWord("UNIQUE");
  if (TakeWord("INDEX")) return CreateIndex(unique);
  if (TakeWord("VIEW")) return CreateQuery(true);
  if (TakeWord("PROC") || TakeWord("PROCEDURE")) return CreateQuery(false);
  if (AtWord("USER") || AtWord("GROUP")) throw UnsupportedError("CREATE " + Peek().upper + " is not supported", Peek().position);
  Fail("TABLE, INDEX, VIEW or PROCEDURE expected");
}

// CREATE VIEW name [(columns)] AS a SELECT; CREATE PROCEDURE name [parameters with their types] AS any statement.
DefinitionPlan Parser::CreateQuery(bool view) {
  CreateQueryPlan plan;
  plan.view = view;
  plan.name = TakeName("name of the query");
  if (view && AtSymbol("(")) plan.columns = NameList();
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

bool Parser::AtTableConstraint() const {
  return AtWord("CONSTRAINT") || (AtWord("PRIMARY") && AtWord("KEY", 1)) || (AtWord("UNIQUE") && AtSymbol("(", 1)) ||
         (AtWord("FOREIGN") && AtWord("KEY", 1));
}

DefinitionPlan Parser::CreateTable() {
  CreateTablePlan plan;
  const Wishes wishes{plan.table.indexes, plan.foreignKeys};
  plan.table.name = TakeName("name of the table");
  ExpectSymbol("(");
  for (bool first = true; first || TakeSymbol(","); first = false) {
    if (AtTableConstraint()) {
      TableConstraint(plan.table.name, wishes);
    } else {
      plan.table.columns.push_back(Column(plan.table.name, wishes));
    }
  }
  ExpectSymbol(")");
  if (plan.table.columns.empty()) Fail("a table needs a column");
  return plan;
}

DefinitionPlan Parser::CreateIndex(bool unique) {
  CreateIndexPlan plan;
  plan.index.unique = unique;
  plan.index.name = TakeName("name of the index");
  ExpectWord("ON");
  plan.table = TakeName("name of the table");
  ExpectSymbol("(");
  for (bool first = true; first || TakeSymbol(","); first = false) {
    IndexSpec::Part part;
    part.column = TakeName("name of a column");
    part.descending = Descending();
    plan.index.columns.push_back(std::move(part));
  }
  ExpectSymbol(")");
  if (TakeWord("WITH")) IndexOptions(plan.index);
  return plan;
}

void Parser::IndexOptions(IndexSpec& index) {
  for (bool first = true; first || AtAnyWord({"PRIMARY", "DISALLOW", "IGNORE"}); first = false) {
    if (TakeWord("PRIMARY")) {
      index.primary = true;
      index.unique = true;
    } else if (TakeWord("DISALLOW")) {
      ExpectWord("NULL");
      index.required = true;
    } else if (TakeWord("IGNORE")) {
      ExpectWord("NULL");
      index.ignoreNulls = true;
    } else {
      Fail("PRIMARY, DISALLOW NULL or IGNORE NULL expected");
    }
    TakeSymbol(",");
  }
}

DefinitionPlan Parser::Alter() {
  ExpectWord("TABLE");
  const std::string table = TakeName("name of the table");
  if (TakeWord("ADD")) return AddToTable(table);
  if (TakeWord("DROP")) return DropFromTable(table);
  if (TakeWord("ALTER")) return AlterColumn(table);
  Fail("ADD, ALTER or DROP expected");
}

DefinitionPlan Parser::AddToTable(const std::string& table) {
  AddColumnPlan plan;
  const Wishes wishes{plan.indexes, plan.foreignKeys};
  plan.table = table;
  if (AtTableConstraint()) {
    TableConstraint(table, wishes);
    return plan;
  }
  TakeWord("COLUMN");
  const bool parenthesised = TakeSymbol("(");
  for (bool first = true; first || TakeSymbol(","); first = false) plan.columns.push_back(Column(table, wishes));
  if (parenthesised) ExpectSymbol(")");
  return plan;
}

DefinitionPlan Parser::DropFromTable(const std::string& table) {
  if (TakeWord("CONSTRAINT")) return DropConstraintPlan{table, TakeName("name of the constraint")};
  TakeWord("COLUMN");
  DropColumnPlan plan;
  plan.table = table;
  for (bool first = true; first || TakeSymbol(","); first = false) plan.columns.push_back(TakeName("name of the column"));
  return plan;
}

// A type with what may follow it, or SET DEFAULT, or DROP DEFAULT.
DefinitionPlan Parser::AlterColumn(const std::string& table) {
  TakeWord("COLUMN");
  AlterColumnPlan plan;
  plan.table = table;
  const bool set = AtWord("SET", 1) && AtWord("DEFAULT", 2);
  if (set || (AtWord("DROP", 1) && AtWord("DEFAULT", 2))) {
    plan.column.name = TakeName("name of the column");
    Take();
    Take();
    if (set) plan.column.defaultValue = Default();
    plan.defaultValue = set ? AlterColumnPlan::Default::kSet : AlterColumnPlan::Default::kDropped;
    return plan;
  }
  const std::size_t begin = position_;
  plan.column = Column(table, {plan.indexes, plan.foreignKeys});
  plan.retyped = true;
  if (!plan.column.defaultValue.empty()) plan.defaultValue = AlterColumnPlan::Default::kSet;
  for (std::size_t i = begin; i < position_; ++i) {
    if (tokens_[i].kind == TokenKind::kWord && tokens_[i].upper == "NULL") plan.required = plan.column.required;
  }
  return plan;
}

DefinitionPlan Parser::Drop() {
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

}  // namespace jet::sql::syntax
