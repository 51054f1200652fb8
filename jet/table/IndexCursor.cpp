#include "jet/table/IndexCursor.h"

#include <algorithm>
#include <utility>

#include "jet/table/TableSpace.h"
#include "jet/page/ReadLock.h"
#include "jet/table/Convert.h"
#include "jet/value/Error.h"
#include "jet/table/TableCore.h"

namespace jet {
namespace {

/// A bound as key bytes.
struct Limit {
  Bytes key;
  bool inclusive = true;
  bool whole = false;  ///< all columns given: only equal keys match, else all that begin so

  [[nodiscard]] bool Matches(std::span<const std::byte> entry) const {
    if (whole ? entry.size() != key.size() : entry.size() < key.size()) return false;
    return std::equal(key.begin(), key.end(), entry.begin());
  }
  [[nodiscard]] bool Before(std::span<const std::byte> entry) const {  // the entry lies before the bound's own keys
    return !Matches(entry) && std::lexicographical_compare(entry.begin(), entry.end(), key.begin(), key.end());
  }
  [[nodiscard]] bool After(std::span<const std::byte> entry) const { return !Matches(entry) && !Before(entry); }
};

KeyColumn AsOthersWrite(KeyColumn part, const TableDefinition::Column& column) {
  if (column.IsText() && part.order == TextOrder::kGeneral) part.order = TextOrder::kGeneralOnce;
  return part;
}

}  // namespace

struct IndexCursor::State {
  TableCore& table;
  std::size_t index;
  std::optional<ReadLock> lock;
  std::uint64_t generation;
  BTreeCursor cursor;
  std::optional<Limit> lower;
  std::optional<Limit> upper;
  bool backward = false;
  bool ended = false;
  RowId id;

  State(TableCore& core, std::size_t position)
      : table(core),
        index(position),
        lock(std::in_place, *core.space.pager),
        generation(core.space.pager->Generation()),
        cursor(*Tree().tree) {}

  void Wake() {
    if (!lock) lock.emplace(*table.space.pager);
  }

  void Renew() {
    cursor = BTreeCursor(*Tree().tree);
    generation = table.space.pager->Generation();
  }

  TableCore::Tree& Tree() {
    table.Refresh();
    if (index >= table.Indexes().size()) throw Error(ErrorCode::kNotFound, "There is no index of that number");
    auto& tree = table.Trees()[table.Indexes()[index].tree];
    if (!tree.supported) throw Error(ErrorCode::kUnsupported, "The order of the index \"" + tree.name + "\" is not known");
    return tree;
  }

  enum class Width : std::uint8_t { kExact, kLower, kUpper };

  /// Width other than exact: of the two keys that programs give a text, the one that lies further out.
  std::optional<Limit> MakeLimit(const std::optional<KeyBound>& bound, Width width) {
    if (!bound || bound->values.empty()) return std::nullopt;
    auto& tree = Tree();
    if (bound->values.size() > tree.columns.size())
      throw Error(ErrorCode::kTypeMismatch, "The index \"" + tree.name + "\" has " + std::to_string(tree.columns.size()) + " columns");
    Limit limit;
    Bytes others;
    limit.inclusive = bound->inclusive;
    limit.whole = bound->values.size() == tree.columns.size();
    Value scratch;
    for (std::size_t i = 0; i < bound->values.size(); ++i) {
      const Value& value = bound->values[i];
      const auto& column = table.Stored()[tree.columns[i]];
      const Value& sought = value.IsNull() ? value : ConvertForSearch(value, column, scratch);
      AppendKey(tree.keyColumns[i], sought, limit.key);
      AppendKey(AsOthersWrite(tree.keyColumns[i], column), sought, others);
    }
    if (width == Width::kLower && limit.inclusive) limit.key = std::min(limit.key, others);
    if (width == Width::kUpper && limit.inclusive) limit.key = std::max(limit.key, others);
    return limit;
  }

  void Seek() {
    ended = false;
    const auto& from = backward ? upper : lower;
    if (!from) {
      if (backward)
        cursor.SeekLast();
      else
        cursor.SeekFirst();
    } else if (from->inclusive != backward) {
      // Forward from the first match, or backward from before it. Keys that only begin like a whole one are passed over in Next.
      cursor.SeekBefore(from->key);
    } else {
      cursor.SeekAfter(from->key);
      // With all columns given, longer keys that begin alike must not be skipped on the way forward.
      if (from->whole && !backward) cursor.SeekBefore(from->key);
    }
  }

  /// -1: not yet in the range, 0: in it, 1: past it, in the direction of the walk.
  int Place(std::span<const std::byte> key) const {
    const bool below = lower && (lower->Before(key) || (!lower->inclusive && lower->Matches(key)));
    const bool above = upper && (upper->After(key) || (!upper->inclusive && upper->Matches(key)));
    if (below) return backward ? 1 : -1;
    if (above) return backward ? -1 : 1;
    return 0;
  }
};

IndexCursor::IndexCursor(Table& table, std::size_t index) : state_(std::make_unique<State>(table.Core(), index)) {}
IndexCursor::~IndexCursor() = default;
IndexCursor::IndexCursor(IndexCursor&&) noexcept = default;
IndexCursor& IndexCursor::operator=(IndexCursor&&) noexcept = default;

void IndexCursor::SetRange(const std::optional<KeyBound>& lower, const std::optional<KeyBound>& upper, bool backward, bool rowsAreTested) {
  State& state = *state_;
  state.Wake();
  auto newLower = state.MakeLimit(lower, rowsAreTested ? State::Width::kLower : State::Width::kExact);
  auto newUpper = state.MakeLimit(upper, rowsAreTested ? State::Width::kUpper : State::Width::kExact);
  state.lower = std::move(newLower);
  state.upper = std::move(newUpper);
  state.backward = backward;
  state.id = {};
  state.Renew();
  state.Seek();
}

bool IndexCursor::Next() {
  State& state = *state_;
  if (state.ended) return false;
  state.Wake();
  if (state.generation != state.table.space.pager->Generation()) {
    // The definition has been read again and the tree is another object: the walk begins anew behind the entry it stood on.
    if (state.id.page == 0) {
      state.Renew();
      state.Seek();
    } else {
      GoBehind(Bytes(state.cursor.Key().begin(), state.cursor.Key().end()), state.id);
    }
  }
  while (state.backward ? state.cursor.Previous() : state.cursor.Next()) {
    const int place = state.Place(state.cursor.Key());
    if (place > 0) break;
    if (place < 0) continue;
    state.id = state.cursor.Row();
    return true;
  }
  state.ended = true;
  return false;
}

void IndexCursor::Rest() noexcept { state_->lock.reset(); }

RowId IndexCursor::Id() const noexcept { return state_->id; }

std::span<const std::byte> IndexCursor::Key() const noexcept { return state_->cursor.Key(); }

void IndexCursor::GoBehind(std::span<const std::byte> key, RowId id) {
  State& state = *state_;
  state.Wake();
  state.Renew();
  state.ended = false;
  state.id = id;
  state.cursor.SeekEntry(key, id, !state.backward);
}

}  // namespace jet
