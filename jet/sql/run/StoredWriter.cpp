// Statements taken apart into the rows under which a file keeps a stored query.
#include <algorithm>

#include "jet/sql/Names.h"
#include "jet/sql/run/StoredParts.h"
#include "jet/sql/parse/Tokenizer.h"
#include "jet/sql/parse/TypeNames.h"

namespace jet::sql {

namespace {

using Attribute = QueryAttribute;

/// Walks over the tokens of one statement and hands out pieces of its text as they stand there.
class Splitter {
 public:
  explicit Splitter(std::string_view text) : text_(text), tokens_(Tokenize(text_)) {}

  QueryDesign Run() {
    if (TakeWord("PARAMETERS")) Parameters();
    Statement();
    TakeSymbol(";");
    if (Here().kind != TokenKind::kEnd) Refuse("what stands at character " + std::to_string(Here().position));
    return std::move(query_);
  }

 private:
  using Stops = std::initializer_list<std::string_view>;

  [[noreturn]] static void Refuse(const std::string& what) { throw Error(ErrorCode::kUnsupported, "a stored query cannot hold " + what); }

  [[nodiscard]] const Token& Here(std::size_t ahead = 0) const { return tokens_[std::min(at_ + ahead, tokens_.size() - 1)]; }
  [[nodiscard]] bool AtWord(std::string_view word, std::size_t ahead = 0) const {
    return Here(ahead).kind == TokenKind::kWord && Here(ahead).upper == word;
  }
  [[nodiscard]] bool AtSymbol(std::string_view symbol, std::size_t ahead = 0) const {
    return Here(ahead).kind == TokenKind::kSymbol && Here(ahead).text == symbol;
  }
  bool TakeWord(std::string_view word) { return AtWord(word) && ++at_ != 0; }
  bool TakeSymbol(std::string_view symbol) { return AtSymbol(symbol) && ++at_ != 0; }
  [[nodiscard]] bool AtName() const { return Here().kind == TokenKind::kWord || Here().kind == TokenKind::kBracketed; }
  std::string TakeName() {
    if (!AtName()) Refuse("what stands at character " + std::to_string(Here().position));
    return tokens_[at_++].text;
  }
  [[nodiscard]] std::string Between(std::size_t first, std::size_t last) const {
    return first == last ? std::string() : text_.substr(tokens_[first].offset, tokens_[last - 1].end - tokens_[first].offset);
  }
  /// Left and Right are functions too.
  [[nodiscard]] bool AtStop(std::string_view stop) const {
    return AtSymbol(stop) || (AtWord(stop) && !((stop == "LEFT" || stop == "RIGHT") && AtSymbol("(", 1)));
  }
  /// Goes to the first of these words or symbols that stands outside of parentheses, or to the end.
  void Skip(Stops stops) {
    for (int level = 0; Here().kind != TokenKind::kEnd; ++at_) {
      if (level == 0 && (AtSymbol(";") || AtSymbol(")"))) return;
      if (level == 0 && std::any_of(stops.begin(), stops.end(), [&](std::string_view stop) { return AtStop(stop); })) return;
      if (AtSymbol("(")) ++level;
      if (AtSymbol(")")) --level;
    }
  }
  std::string TextTo(Stops stops) {
    const std::size_t first = at_;
    Skip(stops);
    return Between(first, at_);
  }
  void Add(Attribute attribute, QueryPart part) { query_.parts[attribute].push_back(std::move(part)); }
  void Type(QueryType type, QueryPart part = {}) {
    part.flag = static_cast<int>(type);
    query_.type = type;
    query_.parts[Attribute::kType] = {std::move(part)};
  }

  void Parameters() {
    do {
      const std::size_t first = at_++;
      while (AtSymbol("!") || AtSymbol(".")) at_ += 2;
      std::string name = Between(first, at_);
      const std::optional<ColumnType> type = TypeNamed(Here().upper);
      Skip({","});
      Add(Attribute::kParameter, {std::move(name), {}, {}, type ? static_cast<int>(*type) : 0});
    } while (TakeSymbol(","));
    if (!TakeSymbol(";")) Refuse("parameters without a semicolon behind them");
  }

  void Statement() {
    if (TakeWord("TRANSFORM")) return Crosstab();
    if (TakeWord("INSERT")) return Append();
    if (TakeWord("UPDATE")) return Update();
    if (TakeWord("DELETE")) return Delete();
    if (AtWord("SELECT") || AtSymbol("(")) return Rows();
    if (!AtWord("CREATE") && !AtWord("ALTER") && !AtWord("DROP")) Refuse("a statement of this kind");
    Type(QueryType::kDefinition, {{}, {}, TextTo({}), 0});
  }

  // A SELECT, or several with UNION between them: those are kept as their texts.
  void Rows() {
    const std::size_t first = at_;
    std::vector<std::string> members;
    int all = 0;
    do {
      members.push_back(TextTo({"UNION", "ORDER"}));
      if (!TakeWord("UNION")) break;
      all += TakeWord("ALL") ? 1 : 0;
    } while (true);
    if (members.size() == 1) {
      at_ = first;
      Select();
      return;
    }
    if (all != 0 && all + 1 != static_cast<int>(members.size())) Refuse("UNION and UNION ALL together");
    Type(QueryType::kUnion);
    if (all == 0) Add(Attribute::kOptions, {{}, {}, {}, kDistinctRows});
    for (std::size_t i = 0; i < members.size(); ++i) Add(Attribute::kSource, {{}, "X7YZ_____" + std::to_string(i + 1), members[i], 0});
    OrderBy();
  }

  void Options() {
    QueryPart options;
    for (;;) {
      if (TakeWord("DISTINCT")) {
        options.flag |= kDistinctRows;
      } else if (TakeWord("DISTINCTROW")) {
        options.flag |= kDistinctRow;
      } else if (TakeWord("TOP")) {
        options.flag |= kTop;
        options.name1 = tokens_[at_++].text;
        if (TakeWord("PERCENT")) options.flag |= kPercent;
      } else if (!TakeWord("ALL")) {
        break;
      }
    }
    query_.parts[Attribute::kOptions] = {std::move(options)};
  }

  /// SELECT with all that follows it. heading: the flag of its columns.
  void Select(int heading = 0) {
    if (!TakeWord("SELECT")) Refuse("parentheses around a SELECT");
    if (!query_.parts.contains(Attribute::kType)) Type(QueryType::kSelect);
    Options();
    do {
      Column(heading);
    } while (TakeSymbol(","));
    if (TakeWord("INTO")) {
      QueryPart target{TakeName(), {}, {}, 0};
      if (TakeWord("IN")) target.name2 = tokens_[at_++].text;
      Type(QueryType::kMakeTable, std::move(target));
    }
    if (TakeWord("FROM")) From();
    Where();
    if (AtWord("GROUP")) {
      at_ += 2;
      do {
        Add(Attribute::kGroup, {{}, {}, TextTo({",", "HAVING", "ORDER", "PIVOT", "WITH"}), heading});
      } while (TakeSymbol(","));
    }
    if (TakeWord("HAVING")) Add(Attribute::kHaving, {{}, {}, TextTo({"ORDER", "WITH"}), 0});
    OrderBy();
    if (AtWord("WITH") && AtWord("OWNERACCESS", 1)) {
      at_ += 3;
      query_.parts[Attribute::kOptions].front().flag |= kOwnerAccess;
    }
  }

  // One output column. What is no more than "*" is said by the options.
  void Column(int flag) {
    if (AtSymbol("*") && !AtSymbol("*", 1)) {
      ++at_;
      if (AtSymbol(",")) Refuse("other columns behind *");
      query_.parts[Attribute::kOptions].front().flag |= kAllColumns;
      return;
    }
    QueryPart column{{}, {}, TextTo({",", "AS", "FROM", "INTO", "WHERE", "GROUP", "HAVING", "ORDER", "PIVOT", "WITH"}), flag};
    if (TakeWord("AS")) column.name1 = TakeName();
    Add(Attribute::kColumn, std::move(column));
  }

  void Where() {
    if (TakeWord("WHERE")) Add(Attribute::kWhere, {{}, {}, TextTo({"GROUP", "HAVING", "ORDER", "PIVOT", "WITH"}), 0});
  }

  void OrderBy() {
    if (!AtWord("ORDER")) return;
    at_ += 2;
    do {
      QueryPart term{{}, {}, TextTo({",", "ASC", "DESC", "PIVOT", "WITH"}), 0};
      if (TakeWord("DESC")) term.name1 = "D";
      TakeWord("ASC");
      Add(Attribute::kOrder, std::move(term));
    } while (TakeSymbol(","));
  }

  void From() {
    do {
      (void)Joined();
    } while (TakeSymbol(","));
    if (!TakeWord("IN")) return;
    if (Here().kind != TokenKind::kText) Refuse("this form of IN");
    Add(Attribute::kRemote, {tokens_[at_++].text, {}, {}, 0});
  }

  // A table, or tables with joins between them; gives the names that conditions may use for them.
  std::vector<std::string> Joined() {
    std::vector<std::string> names = Factor();
    for (;;) {
      const int kind = AtWord("INNER") ? 1 : AtWord("LEFT") ? 2 : AtWord("RIGHT") ? 3 : AtWord("JOIN") ? 1 : 0;
      if (kind == 0) return names;
      while (!TakeWord("JOIN")) ++at_;
      const std::vector<std::string> right = Factor();
      if (!TakeWord("ON")) Refuse("a join whose condition does not follow its tables");
      const std::size_t first = at_;
      Skip({",", "INNER", "LEFT", "RIGHT", "JOIN", "WHERE", "GROUP", "HAVING", "ORDER", "IN", "SET", "PIVOT", "WITH"});
      // IN may belong to the condition.
      while (AtWord("IN") && AtSymbol("(", 1)) {
        ++at_;
        Skip({",", "INNER", "LEFT", "RIGHT", "JOIN", "WHERE", "GROUP", "HAVING", "ORDER", "IN", "SET", "PIVOT", "WITH"});
      }
      Add(Attribute::kJoin, {NamedIn(names, first), NamedIn(right, first), Between(first, at_), kind});
      names.insert(names.end(), right.begin(), right.end());
    }
  }

  /// Which of the tables the condition from that token on speaks of; the last one when it names none.
  [[nodiscard]] std::string NamedIn(const std::vector<std::string>& names, std::size_t first) const {
    for (std::size_t i = first; i + 1 < at_; ++i) {
      if (tokens_[i + 1].text != "." && tokens_[i + 1].text != "!") continue;
      for (const std::string& name : names) {
        if (SameName(name, tokens_[i].text)) return name;
      }
    }
    return names.back();
  }

  std::vector<std::string> Factor() {
    if (AtSymbol("(") && !AtWord("SELECT", 1)) {
      ++at_;
      std::vector<std::string> names = Joined();
      if (!TakeSymbol(")")) Refuse("these parentheses in FROM");
      return names;
    }
    QueryPart source;
    if (TakeSymbol("(")) {
      source.expression = TextTo({});
      ++at_;
    } else {
      source.name1 = TakeName();
      if (AtSymbol(".")) Refuse("this table in FROM");
    }
    const bool named = TakeWord("AS");
    if (named || (AtName() && !EndsFactor())) source.name2 = TakeName();
    if (source.name1.empty() && source.name2.empty()) Refuse("a query in FROM without a name");
    std::vector<std::string> names{source.name2.empty() ? source.name1 : source.name2};
    Add(Attribute::kSource, std::move(source));
    return names;
  }
  [[nodiscard]] bool EndsFactor() const {
    if (Here().kind == TokenKind::kBracketed) return false;
    static constexpr std::string_view kWords[] = {"INNER",  "LEFT",  "RIGHT", "JOIN", "ON",   "WHERE", "GROUP",
                                                  "HAVING", "ORDER", "SET",   "IN",   "WITH", "PIVOT", "UNION"};
    return std::find(std::begin(kWords), std::end(kWords), Here().upper) != std::end(kWords);
  }

  void Crosstab() {
    QueryPart value{{}, {}, TextTo({"AS", "SELECT"}), 0};
    if (TakeWord("AS")) value.name1 = TakeName();
    Type(QueryType::kCrosstab);
    Select(kHeadingColumn);
    if (!TakeWord("PIVOT")) Refuse("TRANSFORM without PIVOT");
    const std::string pivot = TextTo({});
    Add(Attribute::kColumn, std::move(value));
    Add(Attribute::kColumn, {{}, {}, pivot, kPivotColumn});
    Add(Attribute::kGroup, {{}, {}, pivot.substr(0, PivotEnd(pivot)), kPivotColumn});
  }
  /// Where "IN (the columns)" begins.
  [[nodiscard]] static std::size_t PivotEnd(const std::string& pivot) {
    int level = 0;
    for (const Token& token : Tokenize(pivot)) {
      if (token.kind == TokenKind::kSymbol && token.text == "(") ++level;
      if (token.kind == TokenKind::kSymbol && token.text == ")") --level;
      if (level == 0 && token.kind == TokenKind::kWord && token.upper == "IN")
        return pivot.find_last_not_of(" \r\n\t", token.offset - 1) + 1;
    }
    return pivot.size();
  }

  void Append() {
    if (!TakeWord("INTO")) Refuse("INSERT without INTO");
    QueryPart target{TakeName(), {}, {}, 0};
    std::vector<std::string> columns;
    if (TakeWord("IN")) target.name2 = tokens_[at_++].text;
    if (TakeSymbol("(")) {
      do {
        columns.push_back(TakeName());
      } while (TakeSymbol(","));
      ++at_;
    }
    Type(QueryType::kAppend, target);
    if (TakeWord("VALUES")) {
      ++at_;
      do {
        Add(Attribute::kColumn, {{}, {}, TextTo({","}), kAppendedValue});
      } while (TakeSymbol(","));
      ++at_;
    } else {
      Select();
      if (query_.type != QueryType::kAppend) Refuse("INSERT with SELECT INTO");
    }
    std::vector<QueryPart>& values = query_.parts[Attribute::kColumn];
    if (!columns.empty() && columns.size() != values.size()) Refuse("INSERT of * into named columns");
    for (std::size_t i = 0; i < columns.size(); ++i) values[i].name2 = columns[i];
  }

  void Update() {
    Type(QueryType::kUpdate);
    From();
    if (!TakeWord("SET")) Refuse("UPDATE without SET");
    do {
      std::string column = TextTo({"="});
      ++at_;
      Add(Attribute::kColumn, {{}, std::move(column), TextTo({",", "WHERE"}), 0});
    } while (TakeSymbol(","));
    Where();
  }

  void Delete() {
    Type(QueryType::kDelete);
    TakeWord("DISTINCTROW");
    if (std::string list = TextTo({"FROM"}); !list.empty() && list != "*") Add(Attribute::kColumn, {{}, {}, std::move(list), 0});
    if (TakeWord("FROM")) From();
    Where();
  }

  std::string text_;
  std::vector<Token> tokens_;
  std::size_t at_ = 0;
  QueryDesign query_;
};

// What the row of the catalog tells of the kind.
std::uint32_t KindOf(QueryType type) {
  switch (type) {
    case QueryType::kCrosstab:
      return 0x10;
    case QueryType::kDelete:
      return 0x20;
    case QueryType::kUpdate:
      return 0x30;
    case QueryType::kAppend:
      return 0x40;
    case QueryType::kMakeTable:
      return 0x50;
    case QueryType::kDefinition:
      return 0x60;
    case QueryType::kPassThrough:
      return 0x70;
    case QueryType::kUnion:
      return 0x80;
    default:
      return 0;
  }
}

// The other rows leave the column null.
bool HasFlag(Attribute attribute) {
  switch (attribute) {
    case Attribute::kBegin:
    case Attribute::kType:
    case Attribute::kParameter:
    case Attribute::kOptions:
    case Attribute::kColumn:
    case Attribute::kJoin:
    case Attribute::kGroup:
      return true;
    default:
      return false;
  }
}

}  // namespace

void StoreQuery(Database& database, const std::string& name, const QueryDesign& design) {
  QuerySpec spec;
  spec.name = name;
  spec.flags = KindOf(design.type);
  QueryParts parts = design.parts;
  parts[Attribute::kBegin] = {QueryPart{}};
  parts[Attribute::kEnd] = {QueryPart{}};
  for (const auto& [attribute, list] : parts) {
    std::uint32_t order = 0;
    for (const QueryPart& part : list) {
      spec.rows.push_back({static_cast<std::uint8_t>(attribute), ++order, part.name1, part.name2, part.expression, std::nullopt});
      if (HasFlag(attribute)) spec.rows.back().flag = static_cast<std::int16_t>(part.flag);
    }
  }
  database.CreateQuery(spec);
}

QueryDesign DesignOf(std::string_view text) { return Splitter(text).Run(); }

}  // namespace jet::sql
