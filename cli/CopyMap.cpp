#include "cli/CopyMap.h"

#include <fstream>
#include <iterator>

#include "base/FilePath.h"
#include "cli/ColumnTypes.h"
#include "cli/Messages.h"
#include "schema/ReadAccess.h"

namespace tamlo::cli {
namespace {

std::optional<move::MappedType> MappedTypeNamed(std::string_view name) {
  constexpr TypeLimits kLimits{.text = 16000, .binary = 16000, .digits = 38, .big = true};
  const auto wanted = TypeNamed(name, kLimits);
  if (!wanted) return std::nullopt;
  const schema::Type type = wanted->big ? schema::Type{.kind = schema::Kind::kBig} : schema::TypeOf(wanted->column);
  return move::MappedType{type, wanted->column.autoNumber};
}

Said SaidOf(move::MapError::Why why) {
  using Why = move::MapError::Why;
  switch (why) {
    case Why::kNoTable:
      return Said::kMapNoTable;
    case Why::kNoColumn:
      return Said::kMapNoColumn;
    case Why::kTwice:
      return Said::kMapTwice;
    case Why::kTaken:
      return Said::kMapTaken;
    case Why::kUnknownType:
      return Said::kMapUnknownType;
    case Why::kNotExact:
      return Said::kMapNotExact;
    case Why::kNotUnderstood:
      break;
  }
  return Said::kMapNotUnderstood;
}

}  // namespace

move::Map ReadMap(const std::string& path, const schema::Database& source) {
  std::ifstream file(base::FilePath(path), std::ios::binary);
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  if (!file) throw Failure(Status::kUsage, Say(Said::kCannotRead, {path}));
  try {
    return {text, source, MappedTypeNamed};
  } catch (const move::MapError& error) {
    throw MapFailure(path, error);
  }
}

Failure MapFailure(const std::string& path, const move::MapError& error) {
  return {Status::kUsage, Say(Said::kAtLine, {path, std::to_string(error.Line()), Say(SaidOf(error.Reason()), {error.About()})})};
}

}  // namespace tamlo::cli
