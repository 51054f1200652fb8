#pragma once

#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace jet::sql::tests {

/// Statements at random over the tables A, B and C and the stored queries Q and Big of EmittedSchema: whatever the language has, now and then
/// with a name that means nothing or a piece that is missing.
class StatementMaker {
 public:
  explicit StatementMaker(unsigned seed) : random_(seed) {}

  std::string Next() {
    std::string text = Statement();
    if (Chance(12)) Spoil(text);
    return text;
  }

 private:
  bool Chance(unsigned oneIn) { return random_() % oneIn == 0; }
  std::size_t Below(std::size_t count) { return random_() % count; }
  template <std::size_t N>
  std::string Of(const char* const (&list)[N]) {
    return list[Below(N)];
  }

  void Spoil(std::string& text) {
    const std::size_t at = Below(text.size());
    static const char* const kWrong[] = {")", "(", ",", "[", "'", " AND ", " FROM ", "#", ".", " SELECT ", " é ", "~", " = "};
    if (Chance(2))
      text.erase(at, 1 + Below(4));
    else
      text.insert(at, Of(kWrong));
  }

  std::string Statement() {
    scope_.clear();
    nextAlias_ = 1;
    switch (Below(14)) {
      case 0:
        return Insert();
      case 1:
        return Update();
      case 2:
        return Delete();
      case 3:
        return Crosstab();
      case 4:
        return "PARAMETERS p LONG, [Un Texte] TEXT(20), d DATETIME; " + Query(2);
      case 5:
        return Chance(2) ? "EXECUTE Q " + Expression(1) : Chance(2) ? "Q" : "EXEC Big";
      case 6:
        return Definition();
      default:
        return Query(3);
    }
  }

  // A table of a FROM clause: its alias, and its columns with their kinds (n number, t text, d date).
  struct Known {
    std::string alias;
    std::vector<std::pair<std::string, char>> columns;
  };

  std::string Source() { return scope_.empty() ? "A" : scope_[Below(scope_.size())].alias; }

  std::string Column(char kind) {
    if (Chance(150)) return "Inconnu";
    if (Chance(80)) return "[un paramètre]";
    if (Chance(60)) return "Id";
    std::vector<std::string> fitting;
    for (const Known& known : scope_) {
      for (const auto& [name, its] : known.columns) {
        if (its == kind || Chance(40)) fitting.push_back(known.alias + (Chance(8) ? "!" : ".") + "[" + name + "]");
      }
    }
    if (fitting.empty()) return Constant(kind);
    const std::string& column = fitting[Below(fitting.size())];
    return scope_.size() == 1 && Chance(2) ? column.substr(column.find('[')) : column;
  }
  std::string Column() { return Column(Kind()); }
  char Kind() { return "nnntttd"[Below(7)]; }

  std::string Constant(char kind) {
    static const char* const kNumbers[] = {"1",     "0",    "-3", "2.5", "0.3", "1E3",  "&HFF", "12345678901",
                                           "99.99", "True", "No", "Yes", "On",  "Null", "?",    "[Forms]![F]![x]",
                                           "3",     "7"};
    static const char* const kTexts[] = {"'abc'", "\"d\"\"e\"", "''", "'10'", "'l''été'", "Null", "'a'", "'B'"};
    static const char* const kDates[] = {"#1/2/2003#", "#10:30#", "#2003-12-31 23:59:59#", "Date()-Date()+30000", "CDate('01/02/2003')"};
    return kind == 'n' ? Of(kNumbers) : kind == 't' ? Of(kTexts) : Of(kDates);
  }

  std::string Call(int depth, char kind) {
    static const char* const kOfNumber[] = {"Abs", "Int", "Sgn", "Fix", "CLng", "CCur", "CDbl", "Sqr", "-", "+", "CBool", "Round", "Nz"};
    static const char* const kOfText[] = {"Len", "Val", "Asc", "IsDate", "IsNull", "IsNumeric"};
    static const char* const kTextOfText[] = {"UCase$", "LCase", "Trim", "StrReverse", "Nz", "CStr", "Format"};
    const auto x = [&](char of) { return Expression(depth - 1, of); };
    switch (Below(8)) {
      case 0:
        return "IIf(" + Condition(depth - 1) + ", " + x(kind) + ", " +
               (Chance(3) ? "IIf(" + Condition(0) + ", " + x(kind) + ", " + x(kind) + ")" : x(kind)) + ")";
      case 1:
        return "Switch(" + Condition(depth - 1) + ", " + x(kind) + ", True, " + x(kind) + ")";
      case 2:
        return "Choose(" + x('n') + ", " + x(kind) + ", " + x(kind) + ")";
      case 3:
        return "Nz(" + x(kind) + ", " + x(kind) + ")";
      case 4:
        return kind == 'n'   ? Chance(2) ? "DSum('N', 'B')" : "InStr(" + x('t') + ", " + x('t') + ")"
               : kind == 't' ? Chance(2) ? "DLookup('T', 'A', 'Id=1')" : "Left(" + x(Kind()) + ", " + x('n') + ")"
                             : "DateAdd('d', " + x('n') + ", " + x('d') + ")";
      case 5:
        return kind == 'n' ? "Year(" + x('d') + ")" : kind == 't' ? "Format(" + x(Kind()) + ", '0.00')" : "DateValue(" + x('d') + ")";
      default:
        if (kind == 'n') return Chance(2) ? Of(kOfNumber) + "(" + x('n') + ")" : Of(kOfText) + "(" + x('t') + ")";
        return kind == 't' ? Of(kTextOfText) + "(" + x(Chance(3) ? Kind() : 't') + ")" : "CDate(" + x(Kind()) + ")";
    }
  }

  std::string Expression(int depth) { return Expression(depth, Kind()); }
  std::string Expression(int depth, char kind) {
    if (Chance(60)) kind = Kind();
    if (depth <= 0) return Chance(3) ? Constant(kind) : Column(kind);
    static const char* const kNumeric[] = {" + ", " - ", " * ", " / ", " \\ ", " MOD ", " ^ ", " + ", " * "};
    static const char* const kTextual[] = {" & ", " & ", " + "};
    switch (Below(10)) {
      case 0:
      case 1:
        return Column(kind);
      case 2:
        return Constant(kind);
      case 3:
      case 4:
        if (kind == 'd') return Expression(depth - 1, 'd') + (Chance(2) ? " + " : " - ") + Expression(depth - 1, 'n');
        return Expression(depth - 1, kind) + (kind == 'n' ? Of(kNumeric) : Of(kTextual)) + Expression(depth - 1, kind);
      case 5:
        return "(" + Expression(depth - 1, kind) + ")";
      case 6:
      case 7:
        return Call(depth, kind);
      case 8:
        return Chance(3) ? Long(kind) : Chance(3) ? "(" + Query(depth - 1, kind) + ")" : Column(kind);
      default:
        return kind == 'n' && Chance(4) ? Condition(depth - 1) : Expression(depth - 1, kind);
    }
  }

  // So many operands of one operator that they stand side by side.
  std::string Long(char kind) {
    static const char* const kOperators[] = {" + ", " * ", " - "};
    const std::string glue = kind == 'n' ? Of(kOperators) : Chance(2) ? " & " : " + ";
    std::string text = Column(kind);
    for (std::size_t i = 0; i < 12; ++i) text += glue + (Chance(2) ? Column(kind) : Constant(kind));
    return text;
  }

  std::string Condition(int depth) {
    static const char* const kCompare[] = {" = ", " < ", " > ", " <= ", " >= ", " <> ", "=<", " = "};
    static const char* const kLogical[] = {" AND ", " OR ", " XOR ", " EQV ", " IMP ", " AND "};
    const char kind = Kind();
    const auto x = [&](int less) { return Expression(depth - less, kind); };
    switch (Below(depth <= 0 ? 4 : 12)) {
      case 0:
        return x(2) + " Is " + (Chance(2) ? "Not " : "") + "Null";
      case 1:
        return x(1) + (Chance(3) ? " Not Like " : " Like ") + (Chance(4) ? Expression(0, 't') : "'a*'");
      case 2:
      case 3:
        return x(1) + Of(kCompare) + x(1);
      case 4:
        return x(1) + (Chance(3) ? " Not" : "") + " Between " + x(2) + " And " + x(2);
      case 5:
        return x(1) + (Chance(3) ? " Not" : "") + " In (" + x(2) + ", " + x(2) + ")";
      case 6:
        return x(2) + (Chance(3) ? " Not" : "") + " In (" + Query(depth - 1, kind) + ")";
      case 7:
        return std::string(Chance(3) ? "Not " : "") + "Exists (" + Query(depth - 1, kind) + ")";
      case 8:
        return x(2) + Of(kCompare) + (Chance(2) ? "ALL" : "ANY") + " (" + Query(depth - 1, kind) + ")";
      case 9:
        return "Not " + Condition(depth - 1);
      case 10:
        return "(" + Condition(depth - 1) + ")";
      default: {
        std::string text = Condition(depth - 1);
        const std::string glue = Of(kLogical);
        for (std::size_t i = Chance(8) ? 11 : 1; i > 0; --i) text += glue + Condition(i > 1 ? 0 : depth - 1);
        return text;
      }
    }
  }

  // A table with an alias that is new, nearly always; it comes into scope.
  std::string Table() {
    if (Chance(80)) return "Absente";
    const std::string alias = Chance(60) ? "a0" : "a" + std::to_string(nextAlias_++);
    struct Shape {
      const char* text;
      std::vector<std::pair<std::string, char>> columns;
    };
    static const Shape kShapes[] = {
        {"A", {{"Id", 'n'}, {"T", 't'}, {"N", 'n'}, {"D", 'n'}, {"W", 'd'}, {"Y", 'n'}, {"Prix", 'n'}, {"M", 't'}}},
        {"B", {{"Ref", 'n'}, {"T", 't'}, {"N", 'n'}, {"Prix", 'n'}}},
        {"[C]", {{"Id", 'n'}, {"Ma col", 't'}, {"F", 'n'}}},
        {"A", {{"Id", 'n'}, {"T", 't'}, {"N", 'n'}, {"W", 'd'}, {"Prix", 'n'}}},
        {"B", {{"Ref", 'n'}, {"T", 't'}, {"N", 'n'}}},
        {"Q", {{"Id", 'n'}, {"T", 't'}, {"N", 'n'}}},
        {"Big", {{"Id", 'n'}, {"Ref", 'n'}, {"T", 't'}}},
        {"(SELECT Id, T AS X FROM A)", {{"Id", 'n'}, {"X", 't'}}},
        {"(SELECT A.Id, B.N FROM A INNER JOIN B ON A.Id = B.Ref)", {{"Id", 'n'}, {"N", 'n'}}},
        {"[SELECT T, N FROM B].", {{"T", 't'}, {"N", 'n'}}},
        {"(SELECT Ref AS Id FROM B UNION SELECT T FROM A)", {{"Id", 't'}}},
    };
    const Shape& shape = kShapes[Below(std::size(kShapes))];
    const std::string text = shape.text;
    if (scope_.empty() && text.size() == 1 && Chance(2)) {
      scope_.push_back({text, shape.columns});
      return text;
    }
    scope_.push_back({alias, shape.columns});
    return text + (Chance(2) ? " AS " : " ") + alias;
  }

  std::string Joined(int depth) {
    static const char* const kJoins[] = {" INNER JOIN ", " LEFT JOIN ", " RIGHT JOIN ", " LEFT OUTER JOIN "};
    std::string text = depth > 0 && Chance(4) ? "(" + Joined(depth - 1) + ")" : Table();
    for (std::size_t i = Below(static_cast<std::size_t>(depth) + 1); i > 0; --i) {
      text += Of(kJoins) + (depth > 0 && Chance(3) ? "(" + Joined(depth - 1) + ")" : Table());
      const char kind = Kind();
      text += " ON " + (Chance(2) ? Column(kind) + " = " + Column(kind) : Condition(1));
    }
    return text;
  }

  std::string From() {
    std::string text = Joined(2);
    while (Chance(5)) text += ", " + Joined(1);
    return text;
  }

  std::string MaybeWhere() { return Chance(2) ? "" : " WHERE " + Condition(2); }

  std::string Aggregate() {
    static const char* const kNames[] = {"Sum", "Count", "Min", "Max", "Avg", "First", "Last", "StDev", "Var"};
    return Chance(5) ? "Count(*)" : Of(kNames) + "(" + Expression(1, Chance(6) ? Kind() : 'n') + ")";
  }

  std::string Order(const std::vector<std::string>& keys) {
    std::string text = " ORDER BY ";
    for (std::size_t i = 0; i < 2 && (i == 0 || Chance(2)); ++i) {
      const std::string key = Chance(4)                   ? std::to_string(1 + Below(3))
                              : keys.empty() || Chance(4) ? Expression(1)
                                                          : keys[Below(keys.size())];
      text += (i > 0 ? ", " : "") + key + (Chance(3) ? " DESC" : Chance(3) ? " ASC" : "");
    }
    return text;
  }

  // kind: of its one column; 0: as many as come.
  std::string Query(int depth, char kind = 0) {
    if (depth > 1 && Chance(10))
      return Query(0, 'n') + (Chance(2) ? " UNION " : " UNION ALL ") + Query(0, Kind()) + (Chance(2) ? " ORDER BY 1" : "");
    const std::size_t outer = scope_.size();
    const std::string text = Select(depth, kind);
    scope_.resize(outer);
    return text;
  }

  std::string Select(int depth, char kind) {
    const bool oneColumn = kind != 0;
    const std::string from = Chance(30) ? std::string() : " FROM " + From() + MaybeWhere();
    static const char* const kPredicates[] = {
        "", "", "", "", "DISTINCT ", "DISTINCTROW ", "TOP 3 ", "TOP 40 PERCENT ", "ALL ", "DISTINCT TOP 2 "};
    std::string text = "SELECT " + Of(kPredicates);
    const bool grouped = Chance(4);
    std::vector<std::string> keys;
    std::vector<std::string> items;
    for (std::size_t i = Below(2) + 1; grouped && i > 0; --i) keys.push_back(Expression(1));
    const std::size_t columns = oneColumn ? 1 : Below(4) + 1;
    for (std::size_t i = 0; i < columns; ++i) {
      std::string item = grouped                   ? (Chance(2) ? Aggregate() : keys[Below(keys.size())])
                         : !oneColumn && Chance(8) ? "*"
                         : Chance(30)              ? Aggregate()
                         : kind != 0               ? Expression(depth, kind)
                                                   : Expression(depth);
      if (!oneColumn && Chance(20)) item = Source() + ".*";
      items.push_back(item);
      if (item.back() != '*' && Chance(4)) item += Chance(2) ? " AS k" + std::to_string(i) : " AS [Le nom]";
      text += (i > 0 ? ", " : "") + item;
    }
    if (!oneColumn && Chance(50)) text += " INTO Neuve";
    text += from;
    if (grouped) {
      text += " GROUP BY ";
      for (std::size_t i = 0; i < keys.size(); ++i) text += (i > 0 ? ", " : "") + keys[i];
      if (Chance(2)) text += " HAVING " + Aggregate() + " > 0";
    }
    if (Chance(3)) text += Order(grouped ? keys : items);
    if (Chance(40)) text += " WITH OWNERACCESS OPTION";
    if (Chance(40)) text += ";";
    return text;
  }

  std::string Update() {
    const std::string from = From();
    return "UPDATE " + from + " SET " + Assignments() + MaybeWhere();
  }

  std::string Delete() {
    const std::string from = From();
    return std::string("DELETE ") + (scope_.size() == 1 && Chance(2) ? Chance(2) ? "" : "* " : Source() + ".* ") + "FROM " + from +
           MaybeWhere();
  }

  std::string Crosstab() {
    const std::string from = " FROM " + From() + MaybeWhere();
    const std::string key = Column();
    std::string text =
        "TRANSFORM " + Aggregate() + (Chance(4) ? " + 1" : "") + " SELECT " + key + (Chance(3) ? ", " + Aggregate() + " AS Total" : "");
    text += from + " GROUP BY " + key + (Chance(4) ? " ORDER BY " + key + " DESC" : "");
    text += " PIVOT " + (Chance(2) ? Column() : Expression(1));
    if (Chance(2)) text += Chance(2) ? " IN ('a', 'b')" : " IN (1, 2, Null)";
    return text;
  }

  std::string Assignments() {
    std::string text;
    for (std::size_t i = Below(3) + 1; i > 0; --i) {
      const char kind = Kind();
      text += (text.empty() ? "" : ", ") + Column(kind) + " = " + Expression(2, kind);
    }
    return text;
  }

  std::string Insert() {
    static const char* const kTargets[] = {
        "A (Id, T)", "B (Ref, T, N)", "C", "A (Id)", "B (T, T)", "Absente", "C (Id, [Ma col]) IN 'autre.mdb'", "A (Prix)"};
    const std::string text = "INSERT INTO " + Of(kTargets);
    if (!Chance(3)) return text + " " + Query(1, Chance(2) ? 'n' : '\0');
    std::string values;
    for (std::size_t i = Below(3) + 1; i > 0; --i) values += (values.empty() ? "" : ", ") + (Chance(3) ? Expression(1) : Constant(Kind()));
    return text + " VALUES (" + values + ")";
  }

  std::string Definition() {
    static const char* const kDefinitions[] = {
        "CREATE TABLE N (Id COUNTER CONSTRAINT PK PRIMARY KEY, T TEXT(20) NOT NULL DEFAULT 'a', D DECIMAL(10, 2), R LONG REFERENCES A (Id) ON DELETE CASCADE)",
        "CREATE TABLE N (Id LONG, T MEMO WITH COMPRESSION, CONSTRAINT U UNIQUE (Id, T), FOREIGN KEY (Id) REFERENCES A ON UPDATE CASCADE)",
        "CREATE UNIQUE INDEX I ON A (Id, T DESC) WITH DISALLOW NULL",
        "CREATE INDEX I ON [A] (Id) WITH PRIMARY",
        "ALTER TABLE A ADD COLUMN Z LONG DEFAULT 3, Z2 TEXT(300)",
        "ALTER TABLE A ADD CONSTRAINT F FOREIGN KEY (Id) REFERENCES B (Ref)",
        "ALTER TABLE A ALTER COLUMN T TEXT(10) NOT NULL",
        "ALTER TABLE A ALTER COLUMN T SET DEFAULT 'x' & 'y'",
        "ALTER TABLE A DROP COLUMN T, N",
        "ALTER TABLE A DROP CONSTRAINT F",
        "DROP TABLE A",
        "DROP INDEX I ON A",
        "DROP VIEW Q",
        "CREATE VIEW V (a, b) AS SELECT Id, T FROM A",
        "CREATE PROCEDURE P (x LONG, y TEXT(3)) AS UPDATE A SET T = y WHERE Id = x",
        "CREATE USER u",
        "GRANT SELECT ON A TO u",
        "BEGIN TRANSACTION",
        "COMMIT",
        "ROLLBACK WORK;",
        "CREATE TABLE N (Id WRONG)",
        "CREATE TABLE N (Id BINARY(600))"};
    return Of(kDefinitions);
  }

  std::mt19937 random_;
  std::vector<Known> scope_;
  int nextAlias_ = 1;
};

}  // namespace jet::sql::tests
