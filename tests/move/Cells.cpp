#include "tests/move/Cells.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "tests/cli/Command.h"

namespace tamlo::tests {
namespace {

/// The bytes of a text, of bytes in hexadecimal digits, of a GUID: letters of either case.
std::string Plain(std::string text) {
  for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  // A GUID without what stands around and between its digits, of which mdb-export forgets one.
  std::string digits;
  for (const char c : text)
    if (c != '{' && c != '}' && c != '-') digits += c;
  if (text.size() >= 36 && digits.size() == 32 && digits.find_first_not_of("0123456789abcdef") == std::string::npos) return digits;
  // A moment to the millisecond, where mdb-export knows whole seconds.
  if (text.size() == 23 && text.ends_with(".000")) return text.substr(0, 19);
  return text;
}

bool SameCell(const Cell& ours, const Cell& theirs) {
  // mdb-export writes an empty text as it writes a null.
  if (!ours || !theirs) return !theirs && (!ours || ours->empty());
  if (*ours == *theirs || Plain(*ours) == Plain(*theirs)) return true;
  double a = 0;
  double b = 0;
  const auto readA = std::from_chars(ours->data(), ours->data() + ours->size(), a);
  const auto readB = std::from_chars(theirs->data(), theirs->data() + theirs->size(), b);
  return readA.ptr == ours->data() + ours->size() && readB.ptr == theirs->data() + theirs->size() &&
         std::fabs(a - b) <= std::fabs(a) * 1e-6;
}

/// Numbers in one form, so that rows sort alike on both sides.
Cell Sortable(const Cell& cell) {
  double number = 0;
  if (!cell) return cell;
  const auto read = std::from_chars(cell->data(), cell->data() + cell->size(), number);
  if (cell->empty() || read.ptr != cell->data() + cell->size()) return Plain(*cell);
  char text[32];
  std::snprintf(text, sizeof text, "%.6e", number);
  return text;
}

void Sort(Rows& rows) {
  const auto key = [](const std::vector<Cell>& row) {
    std::vector<Cell> cells;
    for (const Cell& cell : row) cells.push_back(Sortable(cell));
    return cells;
  };
  std::vector<std::pair<std::vector<Cell>, std::vector<Cell>>> keyed;
  for (auto& row : rows) keyed.emplace_back(key(row), row);
  std::sort(keyed.begin(), keyed.end());
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = keyed[i].second;
}

}  // namespace

void Compare(const std::string& what, Rows ours, Rows theirs, Compared& compared) {
  const auto note = [&](const std::string& text) {
    ++compared.different;
    if (compared.first.empty()) compared.first = what + ": " + text;
  };
  if (ours.size() != theirs.size()) {
    note(std::to_string(ours.size()) + " and " + std::to_string(theirs.size()) + " rows");
    return;
  }
  Sort(ours);
  Sort(theirs);
  for (std::size_t r = 0; r < ours.size(); ++r) {
    if (ours[r].size() != theirs[r].size()) note("row " + std::to_string(r) + " has not as many columns");
    for (std::size_t c = 0; c < ours[r].size() && c < theirs[r].size(); ++c) {
      ++compared.cells;
      if (SameCell(ours[r][c], theirs[r][c])) continue;
      note("row " + std::to_string(r) + ", column " + std::to_string(c) + ": " + ours[r][c].value_or("NULL").substr(0, 60) + " and " +
           theirs[r][c].value_or("NULL").substr(0, 60));
    }
  }
}

Rows ExportedByMdb(const TemporaryFolder& folder, const std::string& file, const std::string& table) {
  return ReadCsv(
      RunLine(folder, "mdb-export -H -D '%Y-%m-%d %H:%M:%S' -T '%Y-%m-%d %H:%M:%S' -b hex " + Word(file) + " " + Word(table)).out);
}

}  // namespace tamlo::tests
