#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ado/Catalog.h"

/// A table as the kinds are told of it: plain values, which know neither a database nor a list.
namespace tamlo::db::kinds {

/// A field: name as the caller gave it, ADO data-type code, length.
struct DefFld {
  std::string nom;
  std::int32_t typ = 0;
  std::int32_t lg = 0;
  bool estCpt = false;
};

/// An index, its fields under the names kept in memory, and those names in the case in which the index was described.
struct DefIdx {
  ado::Index index;
  std::vector<std::string> champsDecrits;
};

struct DefTbl {
  std::string nom;
  std::string owner;
  std::vector<DefFld> champs;
  std::vector<DefIdx> index;
  /// Where the file of storage parameters lies and what its name ends in; blank for the kinds that have none.
  std::string dossierParametres;
  std::string suffixeParametres;
};

/// A text of the backend's own and the quoted names in it: it goes through the translation unless that would change one of them.
struct Edition {
  std::string texte;
  std::vector<std::string> noms;
};

/// The statements that make a table: one for the table, then one for each index that has a statement of its own. A blank text: nothing to do.
struct CreationTbl {
  std::string table;
  std::vector<Edition> index;
};

}  // namespace tamlo::db::kinds
