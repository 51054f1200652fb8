#include "jet/sql/Names.h"

#include "jet/sql/Schema.h"

namespace jet::sql {

std::size_t PlaceOfColumn(const std::vector<ColumnInfo>& columns, std::string_view name, std::string_view folded) {
  std::size_t found = columns.size();
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (columns[i].name == name) return i;
    if (found == columns.size() && columns[i].folded == folded) found = i;
  }
  return found;
}

std::u32string Letters(std::string_view text) {
  std::u32string letters;
  letters.reserve(text.size());
  while (!text.empty()) letters += TakeLetter(text);
  return letters;
}

std::string FromLetters(std::u32string_view letters) {
  std::string text;
  text.reserve(letters.size());
  for (const char32_t letter : letters) base::AppendCharacter(text, letter);
  return text;
}

}  // namespace jet::sql
