#include "db/kinds/FichierPartage.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace tamlo::db::kinds {

// A file that another process opened without sharing cannot be opened: the system's own sharing lock does the work.
std::optional<std::string> LitFichierLibre(const std::string& chemin) {
  const std::u8string utf8(chemin.begin(), chemin.end());
  std::ifstream fichier(std::filesystem::path(utf8), std::ios::binary);
  if (!fichier) return std::nullopt;
  std::string octets{std::istreambuf_iterator<char>(fichier), std::istreambuf_iterator<char>()};
  if (fichier.bad()) return std::nullopt;
  return octets;
}

}  // namespace tamlo::db::kinds
