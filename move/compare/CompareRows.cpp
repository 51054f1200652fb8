// The rows of two tables, compared by what their values mean.
#include <algorithm>
#include <map>

#include "base/Numbers.h"
#include "base/Utf8.h"
#include "move/compare/Compare.h"
#include "move/compare/Multiset.h"

namespace tamlo::move {
namespace {

/// Ends a walk in the middle.
struct Cancelled {};

constexpr std::size_t kCollected = 200;  ///< odd rows of each side that are held whole
constexpr std::size_t kShownCharacters = 40;

struct OddRow {
  std::vector<Cell> cells;
  bool alsoThere = false;
};

/// Access files get no zero with a sign, MariaDB and SQLite lose it.
bool KeepsSignOfZero(const CompareSide& side) { return side.engine == schema::Engine::kPostgreSql; }

bool IsOrdered(Form form) { return form == Form::kNumber || form == Form::kSingle || form == Form::kDouble; }

/// Ends of lines look alike, and two texts may differ in nothing else.
void AppendVisible(std::string& shown, char c) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const auto code = static_cast<unsigned char>(c);
  if (c == '\r') {
    shown += "\\r";
  } else if (c == '\n') {
    shown += "\\n";
  } else if (code < 0x20) {
    shown += {'\\', 'x', kDigits[code >> 4U], kDigits[code & 15U]};
  } else {
    shown += c;
  }
}

/// A value as people are shown it: texts between quotes, long ones around the place where they differ.
std::string Shown(const Cell& cell, Form form, std::size_t from) {
  if (cell.null) return "Null";
  std::string_view text = cell.text;
  std::string shown;
  if (from > kShownCharacters / 2 && text.size() > kShownCharacters) {
    std::size_t begin = std::min(from - kShownCharacters / 4, text.size());
    while (begin > 0 && begin < text.size() && base::IsInsideCharacter(text[begin])) --begin;
    text.remove_prefix(begin);
    shown = "...";
  }
  const auto piece = base::FirstCharacters(text, kShownCharacters);
  for (const char c : piece) AppendVisible(shown, c);
  if (piece.size() < text.size()) shown += "...";
  return form == Form::kText ? "\"" + shown + "\"" : shown;
}

class RowComparison {
 public:
  RowComparison(const CompareSide& a, const CompareSide& b, const TablePair& pair, const CompareOptions& options)
      : sides_{&a, &b}, pair_(pair), options_(options) {
    precision_.signOfZero = KeepsSignOfZero(a) && KeepsSignOfZero(b);
    precision_.wholeMoment = a.file != nullptr && b.file != nullptr;
    for (std::size_t i = 0; i < pair.columns.size(); ++i) {
      forms_.push_back(FormOf(pair.columns[i].typeA.kind, pair.columns[i].typeB.kind));
      if (pair.columns[i].key) keys_.push_back(i);
    }
  }

  RowDifferences Run() {
    const OddRows odd = FindOddRows(WalkOf(0), WalkOf(1));
    RowDifferences found{.table = pair_.a, .rowsA = odd.rowsA, .rowsB = odd.rowsB, .onlyA = odd.onlyA, .onlyB = odd.onlyB, .told = {}};
    if (found.Equal() || options_.shown == 0) return found;
    Tell(Collect(0, odd.a), Collect(1, odd.b), found.told);
    return found;
  }

 private:
  [[nodiscard]] std::unique_ptr<RowStream> Open(std::size_t side) const {
    std::vector<StreamColumn> columns;
    for (std::size_t i = 0; i < pair_.columns.size(); ++i) {
      const auto& column = pair_.columns[i];
      columns.push_back({side == 0 ? column.a : column.b, side == 0 ? column.typeA.kind : column.typeB.kind, forms_[i]});
    }
    return OpenStream(*sides_[side], side == 0 ? pair_.a : pair_.b, columns, precision_);
  }

  template <typename Take>
  void EachRow(std::size_t side, const Take& take) const {
    const auto stream = Open(side);
    std::vector<Cell> row;
    std::string bytes;
    while (stream->Next(row)) {
      if (options_.cancelled && options_.cancelled()) throw Cancelled();
      bytes.clear();
      for (const Cell& cell : row) {
        const std::uint64_t length = cell.null ? ~std::uint64_t{0} : cell.text.size();
        bytes.append(reinterpret_cast<const char*>(&length), sizeof length);
        bytes += cell.text;
      }
      take(row, DigestOf(bytes));
    }
  }

  [[nodiscard]] Walk WalkOf(std::size_t side) const {
    return [this, side](const std::function<void(const Digest&)>& take) {
      EachRow(side, [&](const std::vector<Cell>&, const Digest& digest) { take(digest); });
    };
  }

  /// Whether the key of the one comes first: numbers as numbers, all else as texts.
  [[nodiscard]] bool Before(const OddRow& left, const OddRow& right) const {
    for (const std::size_t i : keys_) {
      const Cell& a = left.cells[i];
      const Cell& b = right.cells[i];
      if (a == b) continue;
      if (a.null != b.null) return a.null;
      const auto x = IsOrdered(forms_[i]) ? base::ReadReal(a.text) : std::nullopt;
      const auto y = IsOrdered(forms_[i]) ? base::ReadReal(b.text) : std::nullopt;
      return x && y && *x != *y ? *x < *y : a.text < b.text;
    }
    return false;
  }

  /// The first odd rows of a side by their key; each one once, however often it is there.
  [[nodiscard]] std::vector<OddRow> Collect(std::size_t side, const std::vector<Odd>& odd) const {
    std::vector<OddRow> rows;
    if (odd.empty()) return rows;
    std::vector<bool> seen(odd.size(), false);
    const auto shrink = [&] {
      std::stable_sort(rows.begin(), rows.end(), [&](const OddRow& x, const OddRow& y) { return Before(x, y); });
      if (rows.size() > kCollected) rows.resize(kCollected);
    };
    EachRow(side, [&](const std::vector<Cell>& cells, const Digest& digest) {
      const auto found =
          std::lower_bound(odd.begin(), odd.end(), digest, [](const Odd& held, const Digest& wanted) { return held.digest < wanted; });
      if (found == odd.end() || found->digest != digest || seen[static_cast<std::size_t>(found - odd.begin())]) return;
      seen[static_cast<std::size_t>(found - odd.begin())] = true;
      rows.push_back({cells, found->alsoThere});
      if (rows.size() >= 2 * kCollected) shrink();
    });
    shrink();
    return rows;
  }

  [[nodiscard]] std::size_t Differing(const OddRow& left, const OddRow& right) const {
    std::size_t count = 0;
    for (std::size_t i = 0; i < forms_.size(); ++i) count += left.cells[i] == right.cells[i] ? 0 : 1;
    return count;
  }

  /// The row of B that a row of A has become: that of the same key, without a key the one that differs least, in less than half of its columns.
  [[nodiscard]] std::size_t Partner(const OddRow& row, const std::vector<OddRow>& others, const std::vector<bool>& taken) const {
    std::size_t best = others.size();
    std::size_t fewest = keys_.empty() ? (forms_.size() + 1) / 2 : 0;
    for (std::size_t i = 0; i < others.size(); ++i) {
      if (taken[i] || others[i].alsoThere) continue;
      if (!keys_.empty()) {
        if (!Before(row, others[i]) && !Before(others[i], row)) return i;
      } else if (const std::size_t count = Differing(row, others[i]); count < fewest || (count == fewest && forms_.size() == 1)) {
        best = i;
        fewest = count;
      }
    }
    return best;
  }

  [[nodiscard]] std::string NameOf(const OddRow& row) const {
    std::string name;
    const auto add = [&](std::size_t i) {
      name += (name.empty() ? "" : ", ") + pair_.columns[i].a + "=" + Shown(row.cells[i], forms_[i], 0);
    };
    for (const std::size_t i : keys_) add(i);
    constexpr std::size_t kColumns = 4;
    if (keys_.empty())
      for (std::size_t i = 0; i < std::min(kColumns, forms_.size()); ++i) add(i);
    return "row " + name;
  }

  [[nodiscard]] std::string Changes(const OddRow& inA, const OddRow& inB) const {
    std::string text;
    for (std::size_t i = 0; i < forms_.size(); ++i) {
      const Cell& a = inA.cells[i];
      const Cell& b = inB.cells[i];
      if (a == b) continue;
      const auto from =
          static_cast<std::size_t>(std::mismatch(a.text.begin(), a.text.end(), b.text.begin(), b.text.end()).first - a.text.begin());
      text += (text.empty() ? "" : "; ") + pair_.columns[i].a + " is " + Shown(a, forms_[i], from) + " in " + sides_[0]->name + ", " +
              Shown(b, forms_[i], from) + " in " + sides_[1]->name;
    }
    return text;
  }

  void Tell(const std::vector<OddRow>& inA, const std::vector<OddRow>& inB, std::vector<std::string>& told) const {
    std::vector<std::pair<const OddRow*, std::string>> lines;
    std::vector<bool> taken(inB.size(), false);
    const auto alone = [&](const OddRow& row, std::size_t side) {
      const char* words = row.alsoThere ? " is more often in " : " is only in ";
      lines.emplace_back(&row, NameOf(row) + words + sides_[side]->name);
    };
    for (const OddRow& row : inA) {
      const std::size_t partner = row.alsoThere ? inB.size() : Partner(row, inB, taken);
      if (partner == inB.size()) {
        alone(row, 0);
        continue;
      }
      taken[partner] = true;
      lines.emplace_back(&row, NameOf(row) + ": " + Changes(row, inB[partner]));
    }
    for (std::size_t i = 0; i < inB.size(); ++i)
      if (!taken[i]) alone(inB[i], 1);
    std::stable_sort(lines.begin(), lines.end(), [&](const auto& x, const auto& y) { return Before(*x.first, *y.first); });
    for (std::size_t i = 0; i < std::min(lines.size(), options_.shown); ++i) told.push_back(std::move(lines[i].second));
  }

  const CompareSide* sides_[2];
  const TablePair& pair_;
  const CompareOptions& options_;
  Precision precision_;
  std::vector<Form> forms_;
  std::vector<std::size_t> keys_;
};

}  // namespace

RowDifferences CompareRows(const CompareSide& a, const CompareSide& b, const TablePair& pair, const CompareOptions& options) {
  return RowComparison(a, b, pair, options).Run();
}

bool Comparison::Equal() const noexcept {
  return !cancelled && structure.empty() &&
         std::all_of(tables.begin(), tables.end(), [](const RowDifferences& table) { return table.Equal(); });
}

Comparison Compare(const CompareSide& a, const schema::Database& inA, const CompareSide& b, const schema::Database& inB,
                   const CompareOptions& options) {
  Comparison comparison;
  if (options.structure) comparison.structure = CompareStructure(a, inA, b, inB, options);
  if (!options.rows) return comparison;
  try {
    for (const TablePair& pair : PairTables(inA, inB, options)) comparison.tables.push_back(CompareRows(a, b, pair, options));
  } catch (const Cancelled&) {
    comparison.cancelled = true;
  }
  return comparison;
}

}  // namespace tamlo::move
