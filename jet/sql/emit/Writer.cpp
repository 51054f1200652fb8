#include "jet/sql/emit/Writer.h"

#include "jet/sql/emit/ExpressionWriter.h"

namespace jet::sql {

namespace {

using namespace bound;

/// Appends to one text what the tree says, from left to right.
class QueryWriter {
 public:
  explicit QueryWriter(std::string& out) : out_(out) {}

  void Write(const Query& query) {
    std::visit([&](const auto& what) { Write(what); }, query.what);
  }

 private:
  void Write(const Select& select) {
    switch (select.cut) {
      case Cut::kNone:
        Rows(select);
        return Order(select);
      case Cut::kRows:
        Rows(select);
        out_ += " LIMIT " + std::to_string(select.top);
        return;
      case Cut::kShare:
        Rows(select);
        out_ += " LIMIT (SELECT (COUNT(*) * " + std::to_string(select.top) + " + 99) / 100 FROM (";
        Rows(select);
        out_ += "))";
        return;
      case Cut::kRanks:
      case Cut::kRanksShare:
        return Ranked(select);
    }
  }

  // Rows equal to the last one belong to the first ones too.
  void Ranked(const Select& select) {
    out_ += "SELECT ";
    for (std::size_t i = 0; i < select.items.size(); ++i) out_ += (i > 0 ? ", " : "") + select.items[i].name;
    out_ += " FROM (";
    if (select.distinct) {
      out_ += "SELECT *";
      Ranks(select);
      out_ += " FROM (";
      Rows(select);
      out_ += ")";
    } else {
      Rows(select, true);
    }
    const std::string top = std::to_string(select.top);
    out_ += ") WHERE place <= " + (select.cut == Cut::kRanksShare ? "(total * " + top + " + 99) / 100" : top) + " ORDER BY place";
  }

  void Ranks(const Select& select) {
    out_ += ", RANK() OVER (";
    if (select.distinct) {
      ByColumns(select.order, "c", 0);
    } else {
      Order(select);
    }
    out_ += ") AS place";
    if (select.cut == Cut::kRanksShare) out_ += ", COUNT(*) OVER () AS total";
  }

  void Rows(const Select& select, bool ranked = false) {
    out_ += select.distinct ? "SELECT DISTINCT " : "SELECT ";
    Items(select.items);
    if (ranked) Ranks(select);
    From(select.from);
    if (select.where != nullptr) {
      out_ += " WHERE ";
      Write(*select.where);
    }
    for (std::size_t i = 0; i < select.groups.size(); ++i) {
      out_ += i > 0 ? ", " : " GROUP BY ";
      Write(*select.groups[i]);
    }
    if (select.oneGroup) out_ += " GROUP BY NULL";
    if (select.having != nullptr) {
      out_ += " HAVING ";
      Write(*select.having);
    }
  }

  void Items(const std::vector<Item>& items) {
    for (std::size_t i = 0; i < items.size(); ++i) {
      if (i > 0) out_ += ", ";
      Write(*items[i].value);
      if (!items[i].name.empty()) out_ += " AS " + items[i].name;
    }
  }

  void Order(const Select& select) {
    for (std::size_t i = 0; i < select.order.size(); ++i) {
      out_ += i > 0 ? ", " : " ORDER BY ";
      Write(*select.order[i].key);
      if (select.order[i].descending) out_ += " DESC";
    }
  }

  void ByColumns(const std::vector<OrderTerm>& order, const char* prefix, std::size_t first) {
    for (std::size_t i = 0; i < order.size(); ++i) {
      out_ += (i > 0 ? ", " : " ORDER BY ") + (prefix + std::to_string(order[i].column + first));
      if (order[i].descending) out_ += " DESC";
    }
  }

  void From(const std::vector<Joined>& from) {
    for (std::size_t i = 0; i < from.size(); ++i) {
      const bool enclosed = from.size() > 1 && HoldsJoin(from[i]);
      out_ += i > 0 ? ", " : " FROM ";
      if (enclosed) out_ += "(";
      Write(from[i]);
      if (enclosed) out_ += ")";
    }
  }

  void Write(const Joined& joined) {
    Write(joined.first);
    for (const Join& join : joined.joins) {
      out_ += join.kind == JoinKind::kInner ? " INNER JOIN " : join.kind == JoinKind::kLeft ? " LEFT JOIN " : " RIGHT JOIN ";
      Write(join.right);
      out_ += " ON ";
      Write(*join.on);
    }
  }

  void Write(const Source& source) {
    if (source.group != nullptr) {
      out_ += "(";
      Write(*source.group);
      out_ += ")";
      return;
    }
    if (source.query != nullptr) {
      out_ += "(";
      Write(*source.query);
      out_ += ")";
    } else {
      out_ += source.table;
    }
    out_ += " AS " + source.alias;
  }

  void Write(const Union& united) {
    for (std::size_t i = 0; i < united.parts.size(); ++i) {
      const UnionPart& part = united.parts[i];
      if (i > 0) out_ += part.all ? " UNION ALL " : " UNION ";
      out_ += "SELECT ";
      if (part.items.empty()) out_ += "*";
      Items(part.items);
      out_ += " FROM (";
      Write(*part.query);
      out_ += ")";
    }
    ByColumns(united.order, "", 1);
  }

  void Write(const Node& node) { WriteExpression(node, out_); }

  std::string& out_;
};

}  // namespace

void WriteQuery(const bound::Query& query, std::string& out) { QueryWriter(out).Write(query); }

std::string Written(const bound::Query& query) {
  std::string out;
  out.reserve(query.weight + query.weight / 4);
  WriteQuery(query, out);
  return out;
}

}  // namespace jet::sql
