#include "schema/SqliteText.h"

#include "base/Case.h"
#include "schema/SqlText.h"

namespace tamlo::schema {
namespace {

using Items = std::vector<Token>;

/// One column or constraint of the table.
class Item {
 public:
  Item(std::string_view sql, Items tokens) : sql_(sql), tokens_(std::move(tokens)) {}

  void AddTo(SqliteTable& table) {
    const Token& first = tokens_[0];
    const bool constraint = first.Is("CONSTRAINT") || first.Is("PRIMARY") || first.Is("UNIQUE") || first.Is("CHECK") || first.Is("FOREIGN");
    if (!constraint) column_ = first.text;
    for (at_ = constraint ? 0 : 1; at_ < tokens_.size(); ++at_) Take(table);
    if (isInteger_ && isKey_) table.counter = column_;
  }

 private:
  [[nodiscard]] bool At(std::string_view word, std::size_t ahead = 0) const {
    return at_ + ahead < tokens_.size() && tokens_[at_ + ahead].depth == tokens_[0].depth && tokens_[at_ + ahead].Is(word);
  }
  void Take(SqliteTable& table) {
    if (At("CONSTRAINT") && at_ + 1 < tokens_.size()) {
      name_ = tokens_[++at_].text;
    } else if (At("CHECK")) {
      table.checks.push_back(Group());
    } else if (At("AS")) {
      table.computed.push_back({column_, Group()});
    } else if (At("FOREIGN") && At("KEY", 1)) {
      ++at_;
      own_ = Names();
    } else if (At("REFERENCES") && at_ + 1 < tokens_.size()) {
      if (own_.empty()) own_.push_back(column_);
      table.foreignKeys.push_back({name_, own_, tokens_[++at_].text});
      name_.clear();
    } else if (At("PRIMARY") && At("KEY", 1)) {
      isKey_ = !column_.empty();
    } else if (At("INTEGER") && at_ == 1) {
      isInteger_ = true;
    }
  }
  /// The tokens of the parentheses that come next; at_ then stands at the closing one.
  std::pair<std::size_t, std::size_t> Parentheses() {
    std::size_t open = at_ + 1;
    if (open >= tokens_.size() || !tokens_[open].Is("(")) return {at_, at_};
    std::size_t close = open + 1;
    while (close < tokens_.size() && tokens_[close].depth > tokens_[open].depth) ++close;
    at_ = std::min(close, tokens_.size() - 1);
    return {open, at_};
  }
  std::string Group() {
    const auto [open, close] = Parentheses();
    return open == close ? std::string() : std::string(sql_.substr(tokens_[open].end, tokens_[close].begin - tokens_[open].end));
  }
  std::vector<std::string> Names() {
    const auto [open, close] = Parentheses();
    std::vector<std::string> names;
    for (std::size_t i = open + 1; i < close; ++i)
      if (tokens_[i].kind != Token::Kind::kSign) names.push_back(tokens_[i].text);
    return names;
  }

  std::string_view sql_;
  Items tokens_;
  std::size_t at_ = 0;
  std::string column_, name_;
  std::vector<std::string> own_;
  bool isInteger_ = false, isKey_ = false;
};

}  // namespace

SqliteTable ReadSqliteTable(std::string_view sql) {
  SqliteTable table;
  Items item;
  const auto end = [&] {
    if (!item.empty()) Item(sql, std::move(item)).AddTo(table);
    item.clear();
  };
  for (Token& token : Tokens(sql)) {
    const bool between = token.kind == Token::Kind::kSign && token.text == "," && token.depth == 1;
    if (token.depth == 0 || between) {
      end();
    } else {
      item.push_back(std::move(token));
    }
  }
  end();
  return table;
}

std::string SqliteIndexCondition(std::string_view sql) {
  for (const Token& token : Tokens(sql))
    if (token.depth == 0 && token.Is("WHERE")) return std::string(sql.substr(token.end));
  return {};
}

}  // namespace tamlo::schema
