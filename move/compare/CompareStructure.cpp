// Two descriptions of databases, and what differs between them in words.
#include <algorithm>
#include <set>

#include "base/Case.h"
#include "move/compare/Compare.h"

namespace tamlo::move {
namespace {

using schema::Column;
using schema::Index;
using schema::Kind;
using schema::Relation;
using schema::Table;

template <typename Named>
const Named* Find(const std::vector<Named>& all, const std::string& name) {
  const Named* found = nullptr;
  for (const Named& one : all) {
    if (one.name == name) return &one;
    if (found == nullptr && base::SameName(one.name, name)) found = &one;
  }
  return found;
}

std::string InWords(const schema::Type& type) {
  static constexpr const char* kNames[schema::kKinds] = {"Yes/No", "Byte",   "Integer",  "Long",       "Big Integer",
                                                         "Single", "Double", "Currency", "Decimal",    "Date/Time",
                                                         "Text",   "Memo",   "Binary",   "OLE Object", "GUID"};
  std::string words = kNames[static_cast<std::size_t>(type.kind)];
  if (type.kind == Kind::kDecimal) words += "(" + std::to_string(type.precision) + "," + std::to_string(type.scale) + ")";
  if (type.kind == Kind::kText || type.kind == Kind::kBinary) words += "(" + std::to_string(type.length) + ")";
  return words;
}

std::string InWords(const schema::Default& initial) {
  using Of = schema::Default::Kind;
  switch (initial.kind) {
    case Of::kNone:
      return "none";
    case Of::kText:
      return "\"" + initial.text + "\"";
    case Of::kTruth:
      return initial.text == "1" ? "true" : "false";
    case Of::kNow:
      return "now";
    case Of::kToday:
      return "today";
    case Of::kTimeOfDay:
      return "the time of day";
    case Of::kNewGuid:
      return "a new GUID";
    default:
      return initial.text;
  }
}

std::string InWords(const std::optional<schema::Counter>& counter) {
  if (!counter) return "none";
  if (counter->kind == schema::Counter::Kind::kRandom) return "at random";
  if (counter->kind == schema::Counter::Kind::kGuid) return "GUIDs";
  return "from " + std::to_string(counter->next);
}

std::string InWords(const Index& index) {
  std::string words = index.primary ? "primary key" : index.unique ? "unique index" : "index";
  words += " on ";
  for (std::size_t i = 0; i < index.parts.size(); ++i)
    words += (i == 0 ? "" : ", ") + index.parts[i].column + (index.parts[i].descending ? " descending" : "");
  if (index.ignoreNulls) words += ", without nulls";
  if (index.required && !index.primary) words += ", taking no nulls";
  return words;
}

/// The pairs in an order that does not depend on which one was named first.
std::string InWords(const Relation& relation) {
  std::vector<std::string> pairs;
  for (const auto& [own, other] : relation.columns) pairs.push_back(own + "=" + other);
  std::sort(pairs.begin(), pairs.end(), [](const auto& x, const auto& y) { return base::LowerName(x) < base::LowerName(y); });
  std::string words = "relation of " + relation.table + " to " + relation.referenced + " by ";
  for (std::size_t i = 0; i < pairs.size(); ++i) words += (i == 0 ? "" : ", ") + pairs[i];
  if (!relation.enforced) words += ", not enforced";
  if (relation.oneToOne) words += ", one to one";
  if (relation.cascadeUpdates) words += ", updates cascade";
  if (relation.cascadeDeletes) words += ", deletes cascade";
  return words;
}

class StructureComparison {
 public:
  StructureComparison(const CompareSide& a, const CompareSide& b, const CompareOptions& options) : a_(a), b_(b), options_(options) {}

  std::vector<std::string> Run(const schema::Database& inA, const schema::Database& inB) {
    EachPair(inA.tables, inB.tables, "table ", [&](const Table& x, const Table& y) { Tables(x, y); });
    Alike(Described(inA.relations), Described(inB.relations));
    if (a_.file != nullptr && b_.file != nullptr) {
      EachPair(inA.queries, inB.queries, "query ",
               [&](const schema::Query& x, const schema::Query& y) { Differ("query " + x.name, "text", x.sql, y.sql); });
      EachPair(inA.links, inB.links, "link ", [&](const schema::Link& x, const schema::Link& y) {
        Differ("link " + x.name, "target", x.table + " of " + x.target, y.table + " of " + y.target);
      });
    }
    return std::move(lines_);
  }

 private:
  [[nodiscard]] bool Wanted(const std::string& name) const { return !options_.wanted || options_.wanted(name); }

  void Differ(const std::string& what, const char* property, const std::string& x, const std::string& y) {
    if (x != y)
      lines_.push_back(what + ": " + property + " is " + (x.empty() ? "none" : x) + " in " + a_.name + ", " + (y.empty() ? "none" : y) +
                       " in " + b_.name);
  }
  void Differ(const std::string& what, const char* property, bool x, bool y) {
    Differ(what, property, std::string(x ? "yes" : "no"), y ? "yes" : "no");
  }
  void Only(const std::string& what, const CompareSide& side) { lines_.push_back(what + " is only in " + side.name); }

  template <typename Named, typename Both>
  void EachPair(const std::vector<Named>& inA, const std::vector<Named>& inB, const std::string& word, const Both& both) {
    for (const Named& one : inA) {
      const bool plain = word == "table ";
      if (plain && !Wanted(one.name)) continue;
      if (const Named* other = Find(inB, one.name)) {
        both(one, *other);
      } else {
        Only(word + one.name, a_);
      }
    }
    for (const Named& one : inB)
      if (Find(inA, one.name) == nullptr && (word != "table " || Wanted(one.name))) Only(word + one.name, b_);
  }

  void Tables(const Table& x, const Table& y) {
    EachPair(x.columns, y.columns, "column " + x.name + ".", [&](const Column& own, const Column& other) { Columns(x.name, own, other); });
    Order(x, y);
    Differ(x.name, "rule", x.rule, y.rule);
    Differ(x.name, "comment", x.comment, y.comment);
    Alike(Described(x), Described(y));
  }

  void Columns(const std::string& table, const Column& x, const Column& y) {
    const std::string name = table + "." + x.name;
    const bool isText = x.type.kind == Kind::kText || x.type.kind == Kind::kMemo;
    Differ(name, "type", InWords(x.type), InWords(y.type));
    Differ(name, "required", x.required, y.required);
    if (isText) Differ(name, "empty text", x.allowEmpty, y.allowEmpty);
    Differ(name, "hyperlink", x.hyperlink, y.hyperlink);
    Differ(name, "default", InWords(x.initial), InWords(y.initial));
    Differ(name, "counter", InWords(x.counter), InWords(y.counter));
    Differ(name, "rule", x.rule, y.rule);
    Differ(name, "comment", x.comment, y.comment);
  }

  void Order(const Table& x, const Table& y) {
    std::vector<std::string> there;
    for (const Column& column : y.columns)
      if (Find(x.columns, column.name) != nullptr) there.push_back(base::LowerName(column.name));
    std::vector<std::string> here;
    for (const Column& column : x.columns)
      if (Find(y.columns, column.name) != nullptr) here.push_back(base::LowerName(column.name));
    if (here != there) lines_.push_back(x.name + ": the columns stand in another order");
  }

  [[nodiscard]] bool NamesCount() const { return a_.file != nullptr && b_.file != nullptr; }
  [[nodiscard]] std::string Named(const std::string& words, const std::string& name) const {
    return NamesCount() ? words + ", called " + name : words;
  }

  [[nodiscard]] std::vector<std::string> Described(const Table& table) const {
    std::vector<std::string> words;
    for (const Index& index : table.indexes) words.push_back(Named(table.name + ": " + InWords(index), index.name));
    return words;
  }
  [[nodiscard]] std::vector<std::string> Described(const std::vector<Relation>& relations) const {
    std::vector<std::string> words;
    for (const Relation& relation : relations)
      if (Wanted(relation.table) && Wanted(relation.referenced)) words.push_back(Named(InWords(relation), relation.name));
    return words;
  }

  /// Things that are told by all that they are: equal ones go together, whatever their order.
  void Alike(const std::vector<std::string>& inA, std::vector<std::string> inB) {
    for (const std::string& words : inA) {
      const auto same = std::find_if(inB.begin(), inB.end(), [&](const std::string& other) { return base::SameName(words, other); });
      if (same == inB.end()) {
        Only(words, a_);
      } else {
        inB.erase(same);
      }
    }
    for (const std::string& words : inB) Only(words, b_);
  }

  const CompareSide& a_;
  const CompareSide& b_;
  const CompareOptions& options_;
  std::vector<std::string> lines_;
};

}  // namespace

std::vector<std::string> CompareStructure(const CompareSide& a, const schema::Database& inA, const CompareSide& b,
                                          const schema::Database& inB, const CompareOptions& options) {
  return StructureComparison(a, b, options).Run(inA, inB);
}

std::vector<TablePair> PairTables(const schema::Database& inA, const schema::Database& inB, const CompareOptions& options) {
  std::vector<TablePair> pairs;
  for (const Table& table : inA.tables) {
    const Table* other = Find(inB.tables, table.name);
    if (other == nullptr || (options.wanted && !options.wanted(table.name))) continue;
    TablePair pair{.a = table.name, .b = other->name, .columns = {}};
    std::set<std::string> keys;
    for (const Index& index : table.indexes)
      if (index.primary)
        for (const auto& part : index.parts) keys.insert(base::LowerName(part.column));
    for (const Column& column : table.columns)
      if (const Column* there = Find(other->columns, column.name))
        pair.columns.push_back({column.name, there->name, column.type, there->type, keys.contains(base::LowerName(column.name))});
    pairs.push_back(std::move(pair));
  }
  return pairs;
}

}  // namespace tamlo::move
