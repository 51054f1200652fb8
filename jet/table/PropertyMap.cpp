#include "jet/table/PropertyMap.h"

#include <cstring>
#include <unordered_map>
#include <utility>

#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"
#include "jet/value/Text.h"

namespace jet {
namespace {

constexpr std::uint16_t kNames = 0x80;
constexpr std::uint16_t kObject = 0;
constexpr std::uint16_t kColumn = 1;

[[noreturn]] void Damaged(std::size_t offset) {
  throw Error(ErrorCode::kDamaged, "A property map ends too early", 0, static_cast<std::uint32_t>(offset));
}

/// A stretch of the map from which fields are taken in order.
class Reader {
 public:
  Reader(std::span<const std::byte> bytes, std::size_t base) : bytes_(bytes), base_(base) {}
  [[nodiscard]] bool AtEnd() const noexcept { return at_ == bytes_.size(); }
  std::span<const std::byte> Take(std::size_t size) {
    if (bytes_.size() - at_ < size) Damaged(base_ + at_);
    at_ += size;
    return bytes_.subspan(at_ - size, size);
  }
  std::uint8_t U8() { return Load8(Take(1).data()); }
  std::uint16_t U16() { return Load16(Take(2).data()); }
  std::uint32_t U32() { return Load32(Take(4).data()); }
  /// The rest of a part whose length field counts `taken` bytes that have been taken already.
  Reader Part(std::size_t length, std::size_t taken) {
    if (length < taken) Damaged(base_ + at_);
    const std::size_t base = base_ + at_;
    return {Take(length - taken), base};
  }

 private:
  std::span<const std::byte> bytes_;
  std::size_t base_;
  std::size_t at_ = 0;
};

std::string DecodeText(std::span<const std::byte> bytes, std::uint16_t codePage) {
  std::string text;
  if (codePage != 0)
    AppendAnsi(bytes, codePage, text);
  else
    AppendUtf16(bytes, text);
  return text;
}

/// A stored length may be more than the type needs (or less): what is there decides.
Value DecodeValue(ColumnType type, std::span<const std::byte> bytes, std::uint16_t codePage) {
  std::byte whole[8] = {};
  std::memcpy(whole, bytes.data(), std::min<std::size_t>(bytes.size(), sizeof whole));
  switch (type) {
    case ColumnType::kBoolean:
      return Value(!bytes.empty() && bytes[0] != std::byte{0});
    case ColumnType::kByte:
      return Value(Load8(whole));
    case ColumnType::kInteger:
      return Value(LoadLittle<std::int16_t>(whole));
    case ColumnType::kLong:
      return Value(LoadLittle<std::int32_t>(whole));
    case ColumnType::kCurrency:
      return Value(Currency{LoadLittle<std::int64_t>(whole)});
    case ColumnType::kSingle:
      return Value(LoadLittle<float>(whole));
    case ColumnType::kDouble:
      return Value(LoadLittle<double>(whole));
    case ColumnType::kDate:
      return Value(Date{LoadLittle<double>(whole)});
    case ColumnType::kText:
    case ColumnType::kMemo:
      return Value(DecodeText(bytes, codePage));
    default:
      return Value(Bytes(bytes.begin(), bytes.end()));
  }
}

class Writer {
 public:
  void U8(std::uint8_t value) { bytes.push_back(static_cast<std::byte>(value)); }
  void U16(std::size_t value) {
    if (value > 0xFFFF) throw Error(ErrorCode::kLimit, "A property is too long");
    bytes.resize(bytes.size() + 2);
    Store16(bytes.data() + bytes.size() - 2, static_cast<std::uint16_t>(value));
  }
  void U32(std::size_t value) {
    bytes.resize(bytes.size() + 4);
    Store32(bytes.data() + bytes.size() - 4, static_cast<std::uint32_t>(value));
  }
  void Raw(std::span<const std::byte> raw) { bytes.insert(bytes.end(), raw.begin(), raw.end()); }
  void Text(const std::string& text) { Raw(std::as_bytes(std::span(text))); }
  Bytes bytes;
};

std::string EncodeText(const std::string& text, std::uint16_t codePage) {
  if (codePage == 0) return ToUtf16(text);
  auto bytes = ToAnsi(text, codePage);
  if (!bytes)
    throw Error(ErrorCode::kUnsupported,
                "A property has a character that code page " + std::to_string(codePage) + " of the file does not have");
  return std::move(*bytes);
}

void EncodeValue(Writer& writer, const Value& value, std::uint16_t codePage) {
  std::byte raw[8];
  const auto number = [&](auto given) {
    StoreLittle(raw, given);
    writer.Raw({raw, sizeof given});
  };
  switch (value.Type()) {
    case ValueType::kBool:
      writer.U8(value.AsBool() ? 1 : 0);
      break;
    case ValueType::kByte:
      writer.U8(value.AsByte());
      break;
    case ValueType::kInteger:
      number(value.AsInteger());
      break;
    case ValueType::kLong:
      number(value.AsLong());
      break;
    case ValueType::kCurrency:
      number(value.AsCurrency().scaled);
      break;
    case ValueType::kSingle:
      number(value.AsSingle());
      break;
    case ValueType::kDouble:
      number(value.AsDouble());
      break;
    case ValueType::kDate:
      number(value.AsDate().serial);
      break;
    case ValueType::kText:
      writer.Text(EncodeText(value.AsText(), codePage));
      break;
    case ValueType::kBytes:
      writer.Raw(value.AsBytes());
      break;
    case ValueType::kGuid:
      writer.Raw(std::as_bytes(std::span(value.AsGuid().bytes)));
      break;
    case ValueType::kNull:
      break;
    case ValueType::kNumeric:
      throw Error(ErrorCode::kUnsupported, "A property cannot hold a decimal number");
  }
}

/// The type under which a value can be written when the one asked for does not fit it.
ColumnType TypeFor(const Property& property) {
  switch (property.value.Type()) {
    case ValueType::kBool:
      return ColumnType::kBoolean;
    case ValueType::kByte:
      return ColumnType::kByte;
    case ValueType::kInteger:
      return ColumnType::kInteger;
    case ValueType::kLong:
      return ColumnType::kLong;
    case ValueType::kCurrency:
      return ColumnType::kCurrency;
    case ValueType::kSingle:
      return ColumnType::kSingle;
    case ValueType::kDouble:
      return ColumnType::kDouble;
    case ValueType::kDate:
      return ColumnType::kDate;
    case ValueType::kText:
      return property.type == ColumnType::kMemo ? ColumnType::kMemo : ColumnType::kText;
    default:
      return property.type == ColumnType::kOle ? ColumnType::kOle : ColumnType::kBinary;
  }
}

}  // namespace

PropertyMap PropertyMap::Decode(std::span<const std::byte> bytes, std::uint16_t codePage) {
  PropertyMap map;
  map.codePage_ = codePage;
  if (bytes.empty()) return map;
  Reader all(bytes, 0);
  const auto magic = all.Take(4);
  if (std::memcmp(magic.data(), "MR2", 4) != 0 && std::memcmp(magic.data(), "KKD", 4) != 0)
    throw Error(ErrorCode::kDamaged, "A property map does not begin as one", 0, 0);
  auto& names = map.names_;
  while (!all.AtEnd()) {
    const std::uint32_t length = all.U32();
    const std::uint16_t type = all.U16();
    Reader block = all.Part(length, 6);
    if (type == kNames) {
      while (!block.AtEnd()) names.push_back(DecodeText(block.Take(block.U16()), codePage));
      continue;
    }
    if (type != kObject && type != kColumn) continue;
    Reader head = block.Part(block.U32(), 4);
    Group group;
    if (!head.AtEnd()) group.column = DecodeText(head.Take(head.U16()), codePage);
    while (!block.AtEnd()) {
      Reader entry = block.Part(block.U16(), 2);
      Property property;
      property.ddl = entry.U8() != 0;
      property.type = static_cast<ColumnType>(entry.U8());
      const std::uint16_t name = entry.U16();
      const std::uint16_t size = entry.U16();
      if (name >= names.size()) Damaged(0);
      property.name = names[name];
      const auto value = entry.Take(size);
      property.value = DecodeValue(property.type, value, codePage);
      group.properties.push_back(std::move(property));
      group.stored.emplace_back(value.begin(), value.end());
    }
    map.groups_.push_back(std::move(group));
  }
  return map;
}

Bytes PropertyMap::Encode(std::uint16_t codePage) const {
  std::vector<std::string> names = names_;
  std::unordered_map<std::string, std::size_t> positions;
  for (std::size_t i = 0; i < names.size(); ++i) positions.emplace(FoldCase(names[i]), i);
  for (const auto& group : groups_)
    for (const auto& property : group.properties)
      if (positions.emplace(FoldCase(property.name), names.size()).second) names.push_back(property.name);
  if (names.empty() && groups_.empty()) return {};
  Writer nameList;
  for (const auto& name : names) {
    const std::string units = EncodeText(name, codePage);
    nameList.U16(units.size());
    nameList.Text(units);
  }
  Writer writer;
  writer.Text(std::string(codePage == 0 ? "MR2\0" : "KKD\0", 4));
  writer.U32(nameList.bytes.size() + 6);
  writer.U16(kNames);
  writer.Raw(nameList.bytes);
  for (const auto& group : groups_) {
    const std::string units = EncodeText(group.column, codePage);
    Writer block;
    block.U32(6 + units.size());
    block.U16(units.size());
    block.Text(units);
    for (std::size_t i = 0; i < group.properties.size(); ++i) {
      const auto& property = group.properties[i];
      const bool asRead = codePage == codePage_ && !group.stored[i].empty();  // texts of the other format are of another form
      Writer value;
      if (asRead)
        value.Raw(group.stored[i]);
      else
        EncodeValue(value, property.value, codePage);
      block.U16(8 + value.bytes.size());
      block.U8(property.ddl ? 1 : 0);
      block.U8(static_cast<std::uint8_t>(asRead ? property.type : TypeFor(property)));
      block.U16(positions.at(FoldCase(property.name)));
      block.U16(value.bytes.size());
      block.Raw(value.bytes);
    }
    writer.U32(block.bytes.size() + 6);
    writer.U16(group.column.empty() ? kObject : kColumn);
    writer.Raw(block.bytes);
  }
  return std::move(writer.bytes);
}

PropertyMap::Group* PropertyMap::GroupOf(std::string_view column) {
  for (auto& group : groups_)
    if (EqualNames(group.column, column)) return &group;
  return nullptr;
}

const PropertyMap::Group* PropertyMap::GroupOf(std::string_view column) const {
  for (const auto& group : groups_)
    if (EqualNames(group.column, column)) return &group;
  return nullptr;
}

const Property* PropertyMap::Find(std::string_view column, std::string_view name) const {
  const Group* group = GroupOf(column);
  if (group == nullptr) return nullptr;
  for (const auto& property : group->properties)
    if (EqualNames(property.name, name)) return &property;
  return nullptr;
}

std::vector<Property> PropertyMap::Of(std::string_view column) const {
  const Group* group = GroupOf(column);
  return group == nullptr ? std::vector<Property>{} : group->properties;
}

void PropertyMap::Set(std::string_view column, const Property& property) {
  Group* group = GroupOf(column);
  if (group == nullptr) {
    // The object's own properties come first.
    const auto where = column.empty() ? groups_.begin() : groups_.end();
    group = &*groups_.insert(where, Group{std::string(column), {}, {}});
  }
  for (std::size_t i = 0; i < group->properties.size(); ++i) {
    if (!EqualNames(group->properties[i].name, property.name)) continue;
    group->properties[i] = property;
    group->stored[i].clear();
    return;
  }
  group->properties.push_back(property);
  group->stored.emplace_back();
}

void PropertyMap::Remove(std::string_view column, std::string_view name) {
  Group* group = GroupOf(column);
  if (group == nullptr) return;
  for (std::size_t i = group->properties.size(); i-- > 0;) {
    if (!EqualNames(group->properties[i].name, name)) continue;
    group->properties.erase(group->properties.begin() + static_cast<std::ptrdiff_t>(i));
    group->stored.erase(group->stored.begin() + static_cast<std::ptrdiff_t>(i));
  }
  if (group->properties.empty()) groups_.erase(groups_.begin() + (group - groups_.data()));
}

void PropertyMap::RemoveColumn(std::string_view column) {
  std::erase_if(groups_, [&](const Group& group) { return !group.column.empty() && EqualNames(group.column, column); });
}

bool PropertyMap::Truth(std::string_view column, std::string_view name) const {
  const Property* property = Find(column, name);
  return property != nullptr && property->value.Type() == ValueType::kBool && property->value.AsBool();
}

}  // namespace jet
