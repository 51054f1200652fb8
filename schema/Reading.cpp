#include "schema/Reading.h"

#include <algorithm>

#include "base/Case.h"
#include "schema/DdlWriter.h"
#include "schema/Find.h"

namespace tamlo::schema {
namespace {

template <typename Named>
void SortByName(std::vector<Named>& named) {
  std::stable_sort(named.begin(), named.end(),
                   [](const Named& a, const Named& b) { return base::LowerName(a.name) < base::LowerName(b.name); });
}

void AddRule(std::string& rule, const std::string& condition) { rule += (rule.empty() ? "" : " AND ") + condition; }

bool IsWhole(Kind kind) {
  return kind == Kind::kByte || kind == Kind::kShort || kind == Kind::kLong || kind == Kind::kBig || kind == Kind::kDecimal;
}

/// Whether a name of the condition is the column's.
bool Mentions(const std::vector<Token>& tokens, const std::string& column) {
  return std::any_of(tokens.begin(), tokens.end(), [&](const Token& token) {
    return (token.kind == Token::Kind::kName || token.kind == Token::Kind::kWord) && base::SameName(token.text, column);
  });
}

bool Apply(const KnownCheck& check, Column& column) {
  const Kind kind = column.type.kind;
  switch (check.kind) {
    case KnownCheck::Kind::kNotEmpty:
      if (kind != Kind::kText && kind != Kind::kMemo) return false;
      column.allowEmpty = false;
      return true;
    case KnownCheck::Kind::kByteRange:
      if (!IsWhole(kind)) return false;
      column.type = {.kind = Kind::kByte};
      return true;
    case KnownCheck::Kind::kBytesLimit:
      if (kind != Kind::kBlob) return false;
      column.type = {.kind = Kind::kBinary, .length = check.limit};
      return true;
  }
  return false;
}

}  // namespace

Table* Reading::Find(const std::string& table) { return schema::Find(database_.tables, table); }

void Reading::AddCheck(Table& table, const std::string& condition) {
  std::vector<Column*> mentioned;
  const auto tokens = Tokens(condition);
  for (Column& column : table.columns) {
    if (const auto known = CheckOf(condition, column.name, dialect_); known && Apply(*known, column)) return;
    if (Mentions(tokens, column.name)) mentioned.push_back(&column);
  }
  AddRule(mentioned.size() == 1 ? mentioned[0]->rule : table.rule, condition);
}

void Reading::NameIndex(const Table& table, Index& index) const {
  if (index.primary) {
    index.name = "PrimaryKey";
    return;
  }
  const std::string front = table.name + "_";
  if (dialect_.indexNamesAreGlobal && index.name.size() > front.size() &&
      base::SameName(std::string_view(index.name).substr(0, front.size()), front))
    index.name = index.name.substr(front.size());
}

void Reading::SetRules(Relation& relation, const std::string& onUpdate, const std::string& onDelete) {
  relation.cascadeUpdates = base::UpperCase(onUpdate) == "CASCADE";
  relation.cascadeDeletes = base::UpperCase(onDelete) == "CASCADE";
  for (const std::string& rule : {onUpdate, onDelete})
    if (base::UpperCase(rule).starts_with("SET")) Lost(relation.table, {}, What::kRelationDoes, {relation.name, rule});
}

void Reading::AskRows(Table& table) {
  std::vector<const Question*> asked;
  std::string list = options_.counts ? "COUNT(*)" : "0";
  for (const Question& question : questions_) {
    if (!options_.values || question.table != table.name) continue;
    asked.push_back(&question);
    list += ", MAX(CASE WHEN " + question.condition + " THEN 1 ELSE 0 END)";
  }
  if (asked.empty() && !options_.counts) return;
  const auto answers = Ask("SELECT " + list + " FROM " + Quoted(dialect_, table.name));
  if (options_.counts) table.rows = static_cast<std::uint64_t>(answers.at(0).Number(0));
  for (std::size_t i = 0; i < asked.size(); ++i) {
    if (answers.at(0).Number(i + 1) == 0) continue;
    Column* column = schema::Find(table.columns, asked[i]->column);
    if (column != nullptr && asked[i]->becomes) column->type = *asked[i]->becomes;
    Lost(table.name, asked[i]->column, asked[i]->finding);
  }
}

/// A column that refers to a counter has the counter's type, whatever its own declaration makes of it.
void Reading::AlignRelations() {
  for (std::size_t round = 0; round < 5; ++round)
    for (const Relation& relation : database_.relations) {
      Table* table = Find(relation.table);
      Table* referenced = Find(relation.referenced);
      if (table == nullptr || referenced == nullptr) continue;
      for (const auto& [from, to] : relation.columns) {
        Column* own = schema::Find(table->columns, from);
        const Column* other = schema::Find(referenced->columns, to);
        if (own == nullptr || other == nullptr || own->type == other->type) continue;
        const bool free = other->counter || own->type.kind == Kind::kDecimal || other->type.kind == Kind::kDecimal;
        if (free && IsWhole(own->type.kind) && IsWhole(other->type.kind)) {
          own->type = other->type;
          Lost(table->name, own->name, What::kTypeOfReferred, {relation.referenced, other->name});
        } else {
          AlignTexts(relation, *own, *schema::Find(referenced->columns, to));
        }
      }
    }
}

/// In SQLite one column of a pair may hold numbers and the other one texts: then both are texts.
void Reading::AlignTexts(const Relation& relation, Column& own, Column& other) {
  const auto isText = [](const Column& column) { return column.type.kind == Kind::kText || column.type.kind == Kind::kMemo; };
  if (IsWhole(own.type.kind) && isText(other)) {
    own.type = other.type;
    Lost(relation.table, own.name, What::kRefersToTexts, {relation.referenced, other.name});
  } else if (isText(own) && IsWhole(other.type.kind) && !other.counter) {
    other.type = own.type;
    Lost(relation.referenced, other.name, What::kTextsReferTo, {relation.table, own.name});
  }
}

/// A relation is one to one when its columns are those of a unique index.
void Reading::FindOneToOne() {
  for (Relation& relation : database_.relations) {
    const Table* table = Find(relation.table);
    if (table == nullptr) continue;
    const auto holds = [&](const Index& index, const std::string& column) {
      return std::any_of(index.parts.begin(), index.parts.end(), [&](const IndexPart& part) { return part.column == column; });
    };
    relation.oneToOne = std::any_of(table->indexes.begin(), table->indexes.end(), [&](const Index& index) {
      return index.unique && index.parts.size() == relation.columns.size() &&
             std::all_of(relation.columns.begin(), relation.columns.end(), [&](const auto& pair) { return holds(index, pair.first); });
    });
  }
}

Database Reading::Finish() {
  SpellReferences(database_);
  for (Table& table : database_.tables) AskRows(table);
  AlignRelations();
  FindOneToOne();
  for (Table& table : database_.tables) SortByName(table.indexes);
  SortByName(database_.tables);
  SortByName(database_.relations);
  SortByName(database_.queries);
  return std::move(database_);
}

}  // namespace tamlo::schema
