#include "cli/Diagram.h"

#include <algorithm>
#include <optional>
#include <set>

#include "base/Case.h"
#include "base/Utf8.h"
#include "cli/Markup.h"
#include "schema/Dialect.h"
#include "schema/Find.h"

namespace tamlo::cli {
namespace {

using schema::PlaceOf;

bool InPrimaryKey(const schema::Table& table, const schema::Column& column) {
  for (const auto& index : table.indexes)
    if (index.primary)
      for (const auto& part : index.parts)
        if (part.column == column.name) return true;
  return false;
}

bool Refers(const schema::Database& database, const schema::Table& table, const schema::Column& column) {
  for (const auto& relation : database.relations)
    if (relation.table == table.name)
      for (const auto& [from, to] : relation.columns)
        if (from == column.name) return true;
  return false;
}

std::string KeyMark(const schema::Database& database, const schema::Table& table, const schema::Column& column, const char* between) {
  const bool refers = Refers(database, table, column);
  if (!InPrimaryKey(table, column)) return refers ? "FK" : "";
  return refers ? std::string("PK") + between + "FK" : "PK";
}

std::string TypeText(const schema::Column& column) {
  if (column.counter && column.counter->kind == schema::Counter::Kind::kIncrement) return "COUNTER";
  return schema::Spelled(schema::DialectOf(schema::Engine::kAccess), column.type);
}

/// The same in a label of Graphviz's, which takes a letter behind a backslash for an order: two of them are one.
std::string Label(std::string_view text) {
  std::string label;
  for (const char c : Markup(text)) label += c == '\\' ? std::string("&#92;&#92;") : std::string(1, c);
  return label;
}

std::string Cell(const std::string& text, const std::string& attributes = {}) {
  return "<TD ALIGN=\"LEFT\"" + attributes + ">" + (text.empty() ? " " : text) + "</TD>";
}

void AppendDotTable(std::string& dot, const schema::Database& database, std::size_t place) {
  const schema::Table& table = database.tables[place];
  dot += "  t" + std::to_string(place) +
         " [label=<<TABLE BORDER=\"0\" CELLBORDER=\"1\" CELLSPACING=\"0\" CELLPADDING=\"4\" COLOR=\"#5a6b7b\">\n    <TR><TD COLSPAN=\"3\" "
         "BGCOLOR=\"#dce6f0\"><B>" +
         Label(table.name) + "</B></TD></TR>\n";
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    const auto& column = table.columns[i];
    const std::string name = Label(column.name);
    dot += "    <TR>" + Cell(KeyMark(database, table, column, " "), " PORT=\"k" + std::to_string(i) + "\"") +
           Cell(column.required || InPrimaryKey(table, column) ? "<B>" + name + "</B>" : name) +
           Cell(Label(TypeText(column)), " PORT=\"c" + std::to_string(i) + "\"") + "</TR>\n";
  }
  dot += "  </TABLE>>];\n";
}

void AppendDotRelation(std::string& dot, const schema::Database& database, const schema::Relation& relation) {
  const auto from = PlaceOf(database.tables, relation.table);
  const auto to = PlaceOf(database.tables, relation.referenced);
  if (!from || !to) return;
  // A row's right side refers to another row's left side.
  const auto port = [&](std::size_t table, const std::string* column, const char* letter, const char* side) {
    const auto at = column == nullptr ? std::nullopt : PlaceOf(database.tables[table].columns, *column);
    return "t" + std::to_string(table) + (at ? ":" + (letter + std::to_string(*at)) + side : "");
  };
  const bool named = !relation.columns.empty();
  const Cardinality many = CardinalityOf(database, relation);
  dot += "  " + port(*from, named ? &relation.columns[0].first : nullptr, "c", ":e") + " -> " +
         port(*to, named ? &relation.columns[0].second : nullptr, "k", ":w") +
         " [dir=both, arrowtail=" + (many.oneReferring ? "teeodot" : "crowodot") +
         ", arrowhead=" + (many.alwaysReferred ? "teetee" : "teeodot") + ", taillabel=\"" + (many.oneReferring ? "0..1" : "0..n") +
         "\", headlabel=\"" + (many.alwaysReferred ? "1" : "0..1") + "\"" + (relation.enforced ? "" : ", style=dashed") + "];\n";
}

/// A word of Mermaid's: a letter, then letters, digits and "_"; none of two are the same.
std::string Word(std::string_view name, std::set<std::string>& taken) {
  std::string word;
  for (const char c : name) {
    const bool plain = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
    if (plain || !base::IsInsideCharacter(c)) word += plain ? c : '_';
  }
  if (word.empty() || (word[0] >= '0' && word[0] <= '9')) word.insert(0, "c");
  std::string unique = word;
  for (int i = 2; !taken.insert(base::LowerName(unique)).second; ++i) unique = word + "_" + std::to_string(i);
  return unique;
}

/// A text between Mermaid's quotes, which has no quotes and no line ends of its own.
std::string MermaidText(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '"') {
      escaped += "#quot;";
    } else if (c == '#') {
      escaped += "#35;";
    } else {
      escaped += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    }
  }
  return "\"" + escaped + "\"";
}

std::string MermaidType(const schema::Column& column) {
  std::string type = TypeText(column);
  std::replace_if(
      type.begin(), type.end(), [](char c) { return c == ' ' || c == ','; }, '_');
  return type;
}

}  // namespace

Cardinality CardinalityOf(const schema::Database& database, const schema::Relation& relation) {
  Cardinality cardinality{.oneReferring = relation.oneToOne, .alwaysReferred = !relation.columns.empty()};
  const auto place = PlaceOf(database.tables, relation.table);
  if (!place) return cardinality;
  const schema::Table& table = database.tables[*place];
  const auto refers = [&](const std::string& column) {
    return std::any_of(relation.columns.begin(), relation.columns.end(), [&](const auto& pair) { return pair.first == column; });
  };
  for (const auto& index : table.indexes)
    if ((index.unique || index.primary) &&
        std::all_of(index.parts.begin(), index.parts.end(), [&](const auto& part) { return refers(part.column); }))
      cardinality.oneReferring = true;
  for (const auto& column : table.columns)
    if (refers(column.name) && !column.required && !InPrimaryKey(table, column)) cardinality.alwaysReferred = false;
  return cardinality;
}

std::string DotOf(const schema::Database& database) {
  std::string dot =
      "digraph tables {\n  graph [rankdir=LR, charset=\"UTF-8\", nodesep=0.4, ranksep=1.2, pack=20, packmode=\"array_t3\"];\n"
      "  node [shape=plain, fontname=\"Helvetica\", fontsize=10];\n"
      "  edge [color=\"#5a6b7b\", fontname=\"Helvetica\", fontsize=9, labeldistance=2];\n";
  for (std::size_t i = 0; i < database.tables.size(); ++i) AppendDotTable(dot, database, i);
  for (const auto& relation : database.relations) AppendDotRelation(dot, database, relation);
  return dot + "}\n";
}

std::string MermaidOf(const schema::Database& database) {
  std::string text = "erDiagram\n";
  for (std::size_t i = 0; i < database.tables.size(); ++i) {
    const auto& table = database.tables[i];
    text += "  t" + std::to_string(i) + "[" + MermaidText(table.name) + "] {\n";
    std::set<std::string> taken;
    for (const auto& column : table.columns) {
      const std::string word = Word(column.name, taken);
      const std::string mark = KeyMark(database, table, column, ", ");
      text += "    " + MermaidType(column) + " " + word + (mark.empty() ? "" : " " + mark) +
              (word == column.name ? "" : " " + MermaidText(column.name)) + "\n";
    }
    text += "  }\n";
  }
  for (const auto& relation : database.relations) {
    const auto from = PlaceOf(database.tables, relation.table);
    const auto to = PlaceOf(database.tables, relation.referenced);
    if (!from || !to) continue;
    const Cardinality many = CardinalityOf(database, relation);
    text += "  t" + std::to_string(*to) + (many.alwaysReferred ? " ||" : " |o") + (relation.enforced ? "--" : "..") +
            (many.oneReferring ? "o| " : "o{ ") + "t" + std::to_string(*from) + " : " + MermaidText(relation.name) + "\n";
  }
  return text;
}

}  // namespace tamlo::cli
