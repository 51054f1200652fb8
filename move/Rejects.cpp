#include "move/Rejects.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "base/FilePath.h"
#include "base/Utf8.h"
#include "move/Json.h"
#include "move/Trouble.h"
#include "move/Values.h"

namespace tamlo::move {
namespace {

constexpr std::size_t kShownCharacters = 40;

/// "ligne 3, colonne NOM : reason" and "ligne 3 : colonne NOM : reason", as bulk inserts and the pump say it.
void TakeApart(const std::string& description, Refusal& refusal) {
  refusal.reason = description;
  if (!description.starts_with("ligne ")) return;
  const auto end = description.find(" : ");
  if (end == std::string::npos) return;
  const std::string place = description.substr(0, end);
  refusal.reason = description.substr(end + 3);
  constexpr std::string_view kColumn = "colonne ";
  if (const auto column = place.find(kColumn); column != std::string::npos) {
    refusal.column = place.substr(column + kColumn.size());
  } else if (const auto next = refusal.reason.find(" : "); refusal.reason.starts_with(kColumn) && next != std::string::npos) {
    refusal.column = refusal.reason.substr(kColumn.size(), next - kColumn.size());
    refusal.reason = refusal.reason.substr(next + 3);
  }
}

std::string Beginning(const std::string& text) {
  const auto first = base::FirstCharacters(text, kShownCharacters);
  return first.size() == text.size() ? text : std::string(first) + "...";
}

}  // namespace

Refusal Explain(const PlannedTable& table, const db::pompe::LigneRefusee& refused) {
  Refusal refusal{.table = table.name, .row = refused.numero, .column = {}, .value = {}, .reason = {}};
  TakeApart(refused.erreur.Description(), refusal);
  for (std::size_t i = 0; i < table.columns.size() && i < refused.ligne.valeurs.size(); ++i)
    if (table.columns[i].there == refusal.column) {
      refusal.column = table.columns[i].name;
      refusal.value = Beginning(PlainText(refused.ligne.valeurs[i]));
      break;
    }
  return refusal;
}

RejectFile::RejectFile(std::string path, std::uint64_t keep) : path_(std::move(path)), bytes_(keep) {
  if (path_.empty()) return;
  std::error_code error;
  if (keep == 0) {
    std::filesystem::remove(base::FilePath(path_), error);
  } else if (std::filesystem::file_size(base::FilePath(path_), error) > keep && !error) {
    std::filesystem::resize_file(base::FilePath(path_), keep, error);
  }
  if (error) throw CopyError(Trouble::kCannotWrite, {path_, error.message()});
}

std::string RejectLine(const PlannedTable& table, const Refusal& refusal, const db::pompe::LigneSource& row) {
  std::string line = "{\"table\":";
  AppendJson(line, refusal.table);
  line += ",\"row\":" + std::to_string(refusal.row) + ",\"column\":";
  AppendJson(line, refusal.column);
  line += ",\"reason\":";
  AppendJson(line, refusal.reason);
  line += ",\"values\":{";
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    const ado::Variant& value = row.valeurs.at(i);
    line += i == 0 ? "" : ",";
    AppendJson(line, table.columns[i].name);
    line += ':';
    if (value.IsNull() || value.IsEmpty()) {
      line += "null";
    } else {
      AppendJson(line, PlainText(value));
    }
  }
  return line + "}}\n";
}

std::uint64_t RejectFile::Append(std::string_view lines) {
  std::ofstream file(base::FilePath(path_), std::ios::binary | std::ios::app);
  file << lines << std::flush;
  if (!file) throw CopyError(Trouble::kCannotWrite, {path_, std::strerror(errno)});
  return bytes_ += lines.size();
}

}  // namespace tamlo::move
