#include "tests/cli/Csv.h"

namespace tamlo::tests {

std::vector<std::vector<Cell>> ReadCsv(const std::string& text) {
  std::vector<std::vector<Cell>> rows;
  std::vector<Cell> row;
  Cell cell;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '"') {
      if (!cell) cell.emplace();
      for (++i; i < text.size() && (text[i] != '"' || (i + 1 < text.size() && text[i + 1] == '"')); ++i) {
        if (text[i] == '"') ++i;
        *cell += text[i];
      }
    } else if (c == ',' || c == '\n') {
      row.push_back(std::move(cell));
      cell.reset();
      if (c == '\n') {
        rows.push_back(std::move(row));
        row.clear();
      }
    } else {
      if (!cell) cell.emplace();
      *cell += c;
    }
  }
  return rows;
}

}  // namespace tamlo::tests
