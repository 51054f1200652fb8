#include "jet/sql/emit/ExpressionWriter.h"

#include <cstdlib>

#include "jet/sql/emit/Literals.h"

namespace jet::sql {

namespace {

using namespace bound;

/// What stands before, between and behind the parts of a form that needs no more.
struct Frame {
  const char* open;
  const char* glue;
  const char* close;
};

Frame UnaryFrameOf(Form form) {
  switch (form) {
    case Form::kTruth:
    case Form::kMinus:
      return {"(-", "", ")"};
    case Form::kSame:
      return {"(+", "", ")"};
    case Form::kParentheses:
      return {"(", "", ")"};
    case Form::kNot:
      return {"(NOT ", "", ")"};
    case Form::kBitNot:
      return {"(~", "", ")"};
    case Form::kComplement:
      return {"~", "", ""};
    case Form::kIsNull:
      return {"(", "", " IS NULL)"};
    case Form::kIsNotNull:
      return {"(", "", " IS NOT NULL)"};
    case Form::kCollated:
      return {"", "", " COLLATE JET"};
    case Form::kAboveZero:
      return {"", "", " > 0"};
    default:
      std::abort();  // no form is without its frame or its case in Write
  }
}

Frame FrameOf(Form form) {
  switch (form) {
    case Form::kAnd:
      return {"(", " AND ", ")"};
    case Form::kOr:
      return {"(", " OR ", ")"};
    case Form::kBitAnd:
      return {"(", " & ", ")"};
    case Form::kBitOr:
      return {"(", " | ", ")"};
    case Form::kEqual:
      return {"(", " = ", ")"};
    case Form::kLess:
      return {"(", " < ", ")"};
    case Form::kGreater:
      return {"(", " > ", ")"};
    case Form::kAtMost:
      return {"(", " <= ", ")"};
    case Form::kAtLeast:
      return {"(", " >= ", ")"};
    case Form::kDiffers:
      return {"(", " <> ", ")"};
    case Form::kIs:
      return {"", " IS ", ""};
    case Form::kTextJoin:
      return {"(", " || ", ")"};
    default:
      return UnaryFrameOf(form);
  }
}

class ExpressionWriter {
 public:
  explicit ExpressionWriter(std::string& out) : out_(out) {}

  void Write(const Node& node) {
    switch (node.form) {
      case Form::kNull:
        out_ += "NULL";
        return;
      case Form::kTrue:
        out_ += "(-1)";
        return;
      case Form::kFalse:
        out_ += "0";
        return;
      case Form::kWhole:
        return Whole(static_cast<std::int64_t>(node.number));
      case Form::kReal:
        out_ += RealLiteral(node.number);
        return;
      case Form::kText:
        out_ += TextLiteral(node.text);
        return;
      case Form::kColumn:
      case Form::kOuterColumn:
        out_ += node.text;
        return;
      case Form::kParameter:
        out_ += "?" + std::to_string(static_cast<std::size_t>(node.number) + 1);
        return;
      default:
        return WriteParts(node);
    }
  }

 private:
  void WriteParts(const Node& node) {
    switch (node.form) {
      case Form::kArithmetic:
        return Arithmetic(node, "(");
      case Form::kAmount:
        return Arithmetic(node, "jet_ccur(");
      case Form::kBetween:
        return Between(node, " BETWEEN ");
      case Form::kNotBetween:
        return Between(node, " NOT BETWEEN ");
      case Form::kIn:
        return In(node, " IN (");
      case Form::kNotIn:
        return In(node, " NOT IN (");
      case Form::kCall:
        out_ += node.text + "(";
        List(node, 0);
        out_ += ")";
        return;
      case Form::kAggregate:
        return Aggregate(node);
      case Form::kCase:
        return Case(node);
      case Form::kChoose:
        return Choose(node);
      case Form::kExists:
        return OfQuery("(EXISTS (", node, "))");
      case Form::kAllOf:
      case Form::kAnyOf:
        return Quantified(node);
      case Form::kOneRow:
        return OfQuery("(", node, ")");
      case Form::kOnlyRow:
        return OfQuery("(SELECT jet_only(c0) FROM (", node, "))");
      default:
        return Framed(node, FrameOf(node.form));
    }
  }

  void Whole(std::int64_t number) { out_ += number < 0 ? "(" + std::to_string(number) + ")" : std::to_string(number); }

  void Framed(const Node& node, const Frame& frame) {
    out_ += frame.open;
    for (std::size_t i = 0; i < node.parts.size(); ++i) {
      if (i > 0) out_ += frame.glue;
      Write(*node.parts[i]);
    }
    out_ += frame.close;
  }

  void List(const Node& node, std::size_t first) {
    for (std::size_t i = first; i < node.parts.size(); ++i) {
      if (i > first) out_ += ", ";
      Write(*node.parts[i]);
    }
  }

  void Arithmetic(const Node& node, const char* open) {
    out_ += open;
    Write(*node.parts[0]);
    for (std::size_t i = 1; i < node.parts.size(); ++i) {
      out_ += ' ';
      out_ += node.text[i - 1];
      out_ += ' ';
      Write(*node.parts[i]);
    }
    out_ += ")";
  }

  void Between(const Node& node, const char* word) {
    out_ += "(";
    Write(*node.parts[0]);
    out_ += word;
    Write(*node.parts[1]);
    out_ += " AND ";
    Write(*node.parts[2]);
    out_ += ")";
  }

  void In(const Node& node, const char* word) {
    out_ += "(";
    Write(*node.parts[0]);
    out_ += word;
    if (node.query != nullptr) {
      WriteQuery(*node.query, out_);
    } else {
      List(node, 1);
    }
    out_ += "))";
  }

  void Filter(const Node& node) {
    if (node.filter == nullptr) return;
    out_ += " FILTER (WHERE ";
    Write(*node.filter);
    out_ += ")";
  }

  void Aggregate(const Node& node) {
    out_ += node.text + "(";
    if (node.parts.empty()) out_ += "*";
    List(node, 0);
    out_ += ")";
    Filter(node);
  }

  void Case(const Node& node) {
    out_ += "(CASE";
    std::size_t i = 0;
    for (; i + 1 < node.parts.size(); i += 2) {
      out_ += " WHEN ";
      Write(*node.parts[i]);
      out_ += " THEN ";
      Write(*node.parts[i + 1]);
    }
    if (i < node.parts.size()) {
      out_ += " ELSE ";
      Write(*node.parts[i]);
    }
    out_ += " END)";
  }

  void Choose(const Node& node) {
    out_ += "(CASE ";
    Write(*node.parts[0]);
    for (std::size_t i = 1; i < node.parts.size(); ++i) {
      out_ += " WHEN " + std::to_string(i) + " THEN ";
      Write(*node.parts[i]);
    }
    out_ += " END)";
  }

  void OfQuery(const char* open, const Node& node, const char* close) {
    out_ += open;
    WriteQuery(*node.query, out_);
    out_ += close;
  }

  void Quantified(const Node& node) {
    const bool all = node.form == Form::kAllOf;
    OfQuery(all ? "(NOT EXISTS (SELECT 1 FROM (" : "(EXISTS (SELECT 1 FROM (", node, ") AS ");
    out_ += node.text + (all ? " WHERE NOT COALESCE(" : " WHERE ");
    Write(*node.parts[0]);
    out_ += all ? ", 0)))" : "))";
  }

  std::string& out_;
};

}  // namespace

void WriteExpression(const bound::Node& node, std::string& out) { ExpressionWriter(out).Write(node); }

}  // namespace jet::sql
