#include "jet/sql/bind/Parameters.h"

#include <algorithm>

#include "base/Blanks.h"
#include "jet/sql/bind/Coercion.h"
#include "jet/sql/Names.h"
#include "jet/sql/Statement.h"

namespace jet::sql {

std::string ParameterKey(std::string_view name) {
  std::string plain;
  for (const char c : name) {
    if (c == '[' || c == ']') continue;
    plain += c == '.' ? '!' : c;
  }
  return FoldName(base::Trim(plain));
}

bool IsOfForm(std::string_view key) { return key.rfind("FORMS!", 0) == 0 || key.rfind("REPORTS!", 0) == 0; }

TypeInfo TypeOfValue(const Value& value) {
  TypeInfo info;
  switch (value.Type()) {
    case ValueType::kNull:
      break;
    case ValueType::kBool:
      info.type = ColumnType::kBoolean;
      break;
    case ValueType::kByte:
      info.type = ColumnType::kByte;
      break;
    case ValueType::kInteger:
      info.type = ColumnType::kInteger;
      break;
    case ValueType::kLong:
      info.type = ColumnType::kLong;
      break;
    case ValueType::kCurrency:
      info.type = ColumnType::kCurrency;
      break;
    case ValueType::kSingle:
      info.type = ColumnType::kSingle;
      break;
    case ValueType::kDouble:
      info.type = ColumnType::kDouble;
      break;
    case ValueType::kDate:
      info.type = ColumnType::kDate;
      break;
    case ValueType::kText: {
      const bool shortText = Letters(value.AsText()).size() <= 255;
      info.type = shortText ? ColumnType::kText : ColumnType::kMemo;
      info.size = shortText ? 255 : 0;
      break;
    }
    case ValueType::kBytes:
      info.type = value.AsBytes().size() <= 510 ? ColumnType::kBinary : ColumnType::kOle;
      info.size = info.type == ColumnType::kBinary ? 510 : 0;
      break;
    case ValueType::kGuid:
      info.type = ColumnType::kGuid;
      break;
    case ValueType::kNumeric:
      info.type = ColumnType::kNumeric;
      info.precision = 28;
      info.scale = value.AsNumeric().scale;
      break;
  }
  return info;
}

void ParameterSet::Declare(const std::string& name, const TypeInfo& type, Place place) {
  if (FindDeclared(name)) return;
  items_.push_back({name, ParameterKey(name), type, true, place, std::nullopt});
}

std::optional<std::size_t> ParameterSet::FindDeclared(std::string_view name) const {
  const std::string key = ParameterKey(name);
  for (std::size_t i = 0; i < items_.size(); ++i) {
    if (items_[i].declared && items_[i].key == key) return i;
  }
  return std::nullopt;
}

std::optional<std::size_t> ParameterSet::Find(std::string_view name, Place place) {
  const std::string key = ParameterKey(name);
  for (std::size_t i = 0; i < items_.size(); ++i) {
    if (items_[i].name.empty() || items_[i].key != key) continue;
    items_[i].place = std::min(items_[i].place, place);
    return i;
  }
  if (!collecting) return std::nullopt;
  items_.push_back({std::string(name), key, {}, false, place, std::nullopt});
  return items_.size() - 1;
}

std::optional<std::size_t> ParameterSet::FindMarker(Place place) {
  for (std::size_t i = 0; i < items_.size(); ++i) {
    if (items_[i].name.empty() && items_[i].place == place) return i;
  }
  if (!collecting) return std::nullopt;
  items_.push_back({{}, {}, {}, false, place, std::nullopt});
  return items_.size() - 1;
}

void ParameterSet::Arrange() {
  collecting = false;
  std::stable_sort(items_.begin(), items_.end(), [](const Item& a, const Item& b) {
    if (a.declared != b.declared) return a.declared;
    return !a.declared && a.place < b.place;
  });
}

void ParameterSet::Give(std::span<const Parameter> values, const TextSettings& settings) {
  const bool markersOnly = std::all_of(items_.begin(), items_.end(), [](const Item& item) { return item.name.empty(); });
  std::vector<const Parameter*> unnamed;
  const auto set = [&](Item& item, const Value& value) {
    const bool convert = item.declared && item.type.type != kNoType;
    try {
      item.value = convert ? Coerced(value, item.type, settings) : value;
    } catch (const Error& error) {
      throw Error(error.Code(), "the parameter \"" + item.name + "\": " + error.what());
    }
  };
  for (const Parameter& parameter : values) {
    if (parameter.name.empty() || markersOnly) {
      unnamed.push_back(&parameter);
      continue;
    }
    const std::string key = ParameterKey(parameter.name);
    const auto item = std::find_if(items_.begin(), items_.end(), [&](const Item& one) { return !one.name.empty() && one.key == key; });
    if (item == items_.end()) throw Error(ErrorCode::kNotFound, "the statement has no parameter \"" + parameter.name + "\"");
    if (item->value) throw Error(ErrorCode::kNotFound, "two values are given for the parameter \"" + parameter.name + "\"");
    set(*item, parameter.value);
  }
  auto next = unnamed.begin();
  for (Item& item : items_) {
    if (item.value || next == unnamed.end()) continue;
    set(item, (*next++)->value);
  }
  if (next != unnamed.end())
    throw Error(ErrorCode::kNotFound, "the statement has " + std::to_string(items_.size()) + " parameters, and more values are given");
}

std::size_t ParameterSet::Converted(std::size_t position, const TypeInfo& type, const TextSettings& settings) {
  Item item = items_[position];
  item.value = Coerced(*item.value, type, settings);
  item.type = type;
  item.declared = false;
  item.name.clear();
  item.place = {SIZE_MAX, items_.size()};
  items_.push_back(std::move(item));
  return items_.size() - 1;
}

std::vector<Value> ParameterSet::Values() const {
  std::vector<Value> values;
  for (const Item& item : items_) values.push_back(item.value.value_or(Value()));
  return values;
}

}  // namespace jet::sql
