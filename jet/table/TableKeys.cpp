// The entries of rows in the trees of their table.
#include <algorithm>

#include "jet/page/ChangeScope.h"
#include "jet/table/TableCore.h"
#include "jet/table/TableSpace.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"

namespace jet {

// ----- making keys

void TableCore::RefuseKey(const Tree& tree, const Error& error) const {
  if (error.Code() != ErrorCode::kUnsupported) throw error;
  if (!tree.supported)
    throw Error(ErrorCode::kUnsupported,
                "The table \"" + name + "\" cannot be changed: the order of its index \"" + tree.name + "\" is not known");
  throw Error(ErrorCode::kUnsupported,
              "The index \"" + tree.name + "\" of the table \"" + name + "\" cannot take the row: " + error.what());
}

void TableCore::AppendKeyOf(const Tree& tree, const KeyColumn& part, const Value& value, Bytes& key) const {
  try {
    AppendKey(part, value, key);
  } catch (const Error& error) {
    RefuseKey(tree, error);
  }
}

bool TableCore::KeyOf(const Tree& tree, const std::vector<KeyColumn>& parts, Row& row, Bytes& key, bool& anyNull) {
  key.clear();
  anyNull = false;
  bool allNull = true;
  Value value;
  for (std::size_t i = 0; i < tree.columns.size(); ++i) {
    row.Get(tree.columns[i], value);
    if (value.IsNull())
      anyNull = true;
    else
      allNull = false;
    AppendKeyOf(tree, parts[i], value, key);
  }
  return !(allNull && tree.IgnoresNulls());
}

std::optional<Bytes> TableCore::OtherKeyOf(const Tree& tree, Row& row, std::span<const std::byte> key) {
  std::vector<KeyColumn> parts = tree.keyColumns;
  bool any = false;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (parts[i].order != TextOrder::kGeneral || !layout_.columns[tree.columns[i]].IsText()) continue;
    parts[i].order = TextOrder::kGeneralOnce;
    any = true;
  }
  Bytes other;
  bool anyNull = false;
  if (!any || !KeyOf(tree, parts, row, other, anyNull) || std::equal(other.begin(), other.end(), key.begin(), key.end()))
    return std::nullopt;
  return other;
}

const Value& TableCore::DraftedValue(std::size_t position, Value& kept) {
  switch (draft_.StateOf(position)) {
    case RowDraft::State::kStored:
      return *draft_.ValueOf(position);
    case RowDraft::State::kKept:
      oldRow_.Get(position, kept);
      return kept;
    case RowDraft::State::kNull:
      break;
  }
  static const Value kNull;
  return kNull;
}

bool TableCore::KeyOfDraft(const Tree& tree, Bytes& key, bool& anyNull) {
  key.clear();
  anyNull = false;
  bool allNull = true;
  Value kept;
  for (std::size_t i = 0; i < tree.columns.size(); ++i) {
    const std::size_t position = tree.columns[i];
    const Value& value = DraftedValue(position, kept);
    if (value.IsNull())
      anyNull = true;
    else
      allNull = false;
    if (value.IsNull() && tree.IsRequired())
      throw Error(ErrorCode::kNullNotAllowed,
                  "The column \"" + layout_.columns[position].name + "\" must have a value: the index \"" + tree.name + "\" asks for it");
    AppendKeyOf(tree, tree.keyColumns[i], value, key);
  }
  if (key.size() > tree.tree->MostKeyBytes()) throw Error(ErrorCode::kLimit, "The values are too long for the index \"" + tree.name + "\"");
  return !(allNull && tree.IgnoresNulls());
}

TableCore::KeyBits TableCore::MakeKeys() {
  KeyBits bits;
  keys_.resize(trees_.size());
  for (std::size_t t = 0; t < trees_.size(); ++t) {
    bool anyNull = false;
    if (KeyOfDraft(trees_[t], keys_[t], anyNull)) bits.present |= 1u << t;
    if (anyNull) bits.nulls |= 1u << t;
  }
  return bits;
}

TableCore::KeyBits TableCore::CompareKeys(const std::vector<bool>& assigned) {
  KeyBits bits;
  keys_.resize(trees_.size());
  oldKeys_.resize(trees_.size());
  for (std::size_t t = 0; t < trees_.size(); ++t) {
    const auto& columns = trees_[t].columns;
    if (std::none_of(columns.begin(), columns.end(), [&](std::size_t position) { return assigned[position]; })) continue;
    bool anyNull = false;
    bool ignored = false;
    if (KeyOfDraft(trees_[t], keys_[t], anyNull)) bits.present |= 1u << t;
    if (KeyOf(trees_[t], oldRow_, oldKeys_[t], ignored)) bits.oldPresent |= 1u << t;
    if (anyNull) bits.nulls |= 1u << t;
    if (keys_[t] != oldKeys_[t] || KeyBits::Has(bits.present, t) != KeyBits::Has(bits.oldPresent, t)) bits.changed |= 1u << t;
  }
  return bits;
}

// ----- entries

void TableCore::Duplicate(const Tree& tree) const {
  throw Error(ErrorCode::kDuplicateKey, "The index \"" + tree.name + "\" of the table \"" + name + "\" already holds these values");
}

bool TableCore::EnterKey(const KeyBits& bits, std::size_t t, RowId id) {
  const bool unique = trees_[t].IsUnique() && !KeyBits::Has(bits.nulls, t);
  return !trees_[t].tree->Insert(keys_[t], id, unique);
}

void TableCore::EraseKey(const Tree& tree, Row& row, std::span<const std::byte> key, RowId id) {
  if (tree.tree->Erase(key, id)) return;
  const auto other = OtherKeyOf(tree, row, key);
  if (other && tree.tree->Erase(*other, id)) return;
  throw Error(ErrorCode::kDamaged, "The index \"" + tree.name + "\" does not hold a row of its table", tree.tree->Root(), 0);
}

void TableCore::EnterKeys(const KeyBits& bits, RowId id, ChangeScope& scope) {
  for (std::size_t t = 0; t < trees_.size(); ++t) {
    if (!KeyBits::Has(bits.present, t)) continue;
    if (EnterKey(bits, t, id)) {
      CountKey(t);
      continue;
    }
    for (std::size_t undo = 0; undo < t; ++undo)
      if (KeyBits::Has(bits.present, undo)) trees_[undo].tree->Erase(keys_[undo], id);
    places_.Remove(id);
    draft_.FreeNewLongValues();
    scope.Untouched();
    Duplicate(trees_[t]);
  }
}

void TableCore::ReplaceKeys(const KeyBits& bits, RowId id, ChangeScope& scope) {
  for (std::size_t t = 0; t < trees_.size(); ++t) {
    if (!KeyBits::Has(bits.changed, t)) continue;
    if (KeyBits::Has(bits.oldPresent, t)) EraseKey(trees_[t], oldRow_, oldKeys_[t], id);
    if (!KeyBits::Has(bits.present, t) || EnterKey(bits, t, id)) continue;
    for (std::size_t undo = 0; undo <= t; ++undo) {
      if (!KeyBits::Has(bits.changed, undo)) continue;
      if (undo < t && KeyBits::Has(bits.present, undo)) trees_[undo].tree->Erase(keys_[undo], id);
      if (KeyBits::Has(bits.oldPresent, undo)) (void)trees_[undo].tree->Insert(oldKeys_[undo], id, false);
    }
    draft_.FreeNewLongValues();
    scope.Untouched();
    Duplicate(trees_[t]);
  }
}

void TableCore::CountKey(std::size_t tree) {
  const Format& format = space.Layout();
  const std::size_t offset = format.treeCounts + format.treeCountSize * tree + 4;
  const PageRef first = space.pager->Edit(page);
  if (offset + 4 > first.Bytes().size()) return;
  std::byte* field = first.Writable().data() + offset;
  Store32(field, Load32(field) + 1);
}

}  // namespace jet
