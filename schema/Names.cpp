#include "schema/Names.h"

#include "base/Case.h"
#include "base/Utf8.h"

namespace tamlo::schema {
namespace {

/// The longest beginning of the name, of whole characters, that has up to that many units of UTF-16.
std::string_view FirstUnits(std::string_view name, std::size_t units) {
  std::string_view rest = name;
  while (!rest.empty()) {
    const std::string_view before = rest;
    const std::size_t wide = base::TakeCharacter(rest) > 0xFFFF ? 2 : 1;
    if (wide > units) return name.substr(0, name.size() - before.size());
    units -= wide;
  }
  return name;
}

}  // namespace

void Names::Reserve(std::string_view name) { taken_.insert(base::LowerName(name)); }

std::string Names::Fitted(std::string_view name, std::string_view behind) const {
  std::string_view kept = name;
  if (dialect_.nameLimit > 0 && dialect_.limitInBytes)
    kept = kept.substr(0, base::WholeCharacters(kept, dialect_.nameLimit - behind.size()));
  else if (dialect_.engine == Engine::kAccess)
    kept = FirstUnits(kept, dialect_.nameLimit - behind.size());
  else if (dialect_.nameLimit > 0)
    kept = base::FirstCharacters(kept, dialect_.nameLimit - behind.size());
  return std::string(kept) + std::string(behind);
}

std::string Names::Take(std::string_view wish) {
  // MariaDB has no names that end in a blank; on the others they are a trap for whoever types them.
  while (wish.ends_with(' ')) wish.remove_suffix(1);
  std::string name = Fitted(wish, {});
  for (int number = 2; !taken_.insert(base::LowerName(name)).second; ++number) name = Fitted(wish, "_" + std::to_string(number));
  return name;
}

}  // namespace tamlo::schema
