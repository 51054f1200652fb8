#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ado/Errors.h"
#include "ado/ExactNumber.h"
#include "ado/FindCriterion.h"
#include "ado/RecordsetState.h"
#include "runtime/Text.h"

// Which rows a recordset shows, and in which order.
namespace tamlo::ado {
namespace {

struct SortField {
  std::size_t field = 0;
  bool descending = false;
};

/// A row that is shown, with the values that it is sorted by.
struct Line {
  std::size_t row = 0;
  std::vector<Variant> keys;
};

[[noreturn]] void RefuseArguments() { throw AdoError(runtime::kBadArguments); }

/// The next piece of a list, up to a comma outside of brackets.
std::string_view TakePiece(std::string_view& text) {
  bool inName = false;
  std::size_t end = 0;
  for (; end < text.size() && (inName || text[end] != ','); ++end) {
    if (text[end] == '[') inName = true;
    if (text[end] == ']') inName = false;
  }
  const std::string_view piece = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return runtime::Trim(piece);
}

std::vector<SortField> ReadSort(std::string_view text, const RecordsetState& state) {
  std::vector<SortField> order;
  while (!runtime::Trim(text).empty()) {
    std::string_view piece = TakePiece(text);
    std::string_view name;
    if (piece.starts_with('[')) {
      const auto end = piece.find(']');
      if (end == std::string_view::npos) RefuseArguments();
      name = piece.substr(1, end - 1);
      piece.remove_prefix(end + 1);
    } else {
      name = piece.substr(0, piece.find(' '));
      piece.remove_prefix(name.size());
    }
    const std::string way = runtime::UpperCase(runtime::Trim(piece));
    if (name.empty() || (!way.empty() && way != "ASC" && way != "DESC")) RefuseArguments();
    order.push_back({state.FieldNamed(std::string(name)), way == "DESC"});
  }
  return order;
}

/// What a filter's text asks of a row, by fields of the recordset.
class RowFilter {
 public:
  RowFilter(const std::string& criteria, const RecordsetState& state) {
    if (runtime::Trim(criteria).empty()) return;
    wanted_.emplace(criteria);
    for (const FindCriterion& part : wanted_->Parts()) compared_.push_back(state.FieldNamed(part.FieldName()));
  }

  [[nodiscard]] bool IsNone() const noexcept { return !wanted_; }
  /// Of the row on which the rowset stands.
  [[nodiscard]] bool Shows(const RecordsetState& state) const {
    if (!wanted_) return true;
    return wanted_->Shows([&](std::size_t part) {
      return wanted_->Parts()[part].Matches(state.Rowset().Value(compared_[part]), state.infos[compared_[part]].type);
    });
  }

 private:
  std::optional<FilterCriterion> wanted_;
  std::vector<std::size_t> compared_;
};

std::vector<std::size_t> Sorted(std::vector<Line> lines, const std::vector<SortField>& order) {
  std::stable_sort(lines.begin(), lines.end(), [&](const Line& a, const Line& b) {
    for (std::size_t i = 0; i < order.size(); ++i) {
      const auto way = OrderOf(a.keys[i], b.keys[i]);
      if (way != 0) return order[i].descending ? way > 0 : way < 0;
    }
    return false;
  });
  std::vector<std::size_t> shown;
  shown.reserve(lines.size());
  for (const Line& line : lines) shown.push_back(line.row);
  return shown;
}

/// The rows that are there and shown; those that are gone are remembered. grouped is null where no group of rows is asked for.
std::vector<Line> LinesOf(const RecordsetState& state, const RowFilter& filter, const std::vector<SortField>& order,
                          const LocalRowset* grouped, FilterGroup group) {
  std::vector<Line> lines;
  for (std::size_t row = 0; row < state.Rowset().RowCount(); ++row) {
    if (grouped != nullptr && !grouped->IsIn(group, row)) continue;
    if (state.rows->gone.contains(row) || !state.Rowset().MoveTo(row)) {
      state.rows->gone.insert(row);
      continue;
    }
    if (!filter.Shows(state)) continue;
    Line line{row, {}};
    for (const SortField& key : order) line.keys.push_back(state.Rowset().Value(key.field));
    lines.push_back(std::move(line));
  }
  return lines;
}

}  // namespace

void RecordsetState::Filter(const std::string& criteria, FilterGroup wanted) {
  RequireScroll();
  Update();
  RebuildView(criteria, sort, wanted);
  filter = criteria;
  group = wanted;
  (void)MoveFirst();
}

void RecordsetState::Sort(const std::string& order) {
  RequireScroll();
  Update();
  RebuildView(filter, order, group);
  sort = order;
  (void)MoveFirst();
}

void RecordsetState::RebuildView(const std::string& criteria, const std::string& order, FilterGroup wantedGroup) {
  const RowFilter wanted(criteria, *this);
  const std::vector<SortField> sorted = ReadSort(order, *this);
  const LocalRowset* const grouped = wantedGroup == adFilterNone ? nullptr : &Local();
  if (wanted.IsNone() && sorted.empty() && grouped == nullptr) {
    view.reset();
    return;
  }
  const bool hadRow = position == Position::kOnRow;
  const std::size_t before = hadRow ? Ordinal() : 0;
  rows->user = this;
  std::vector<Line> lines;
  try {
    lines = LinesOf(*this, wanted, sorted, grouped, wantedGroup);
  } catch (...) {
    if (hadRow && !StandOn(before)) position = Position::kDeleted;
    throw;
  }
  view = Sorted(std::move(lines), sorted);
}

}  // namespace tamlo::ado
