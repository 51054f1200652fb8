#pragma once

#include <cstdint>

#include "db/kinds/TypesColonnes.h"

namespace tamlo::db::kinds {

/// How a kind makes a table, a column or an index: not at all, as an object of the connection's catalog, or by a statement of its own.
enum class Voie : std::uint8_t { kAucune, kCatalogue, kOrdre };

/// What is done once the connection stands: a property of it is set, or a statement run.
struct Preparation {
  const char* etape = nullptr;  ///< its name in the errors of an opening; nullptr for a kind that needs none
  const char* propriete = nullptr;
  std::int16_t valeur = 0;
  const char* ordre = nullptr;
};

/// All that is plain data in what the layer knows of a kind. What is left out is as with a backend that we know nothing of.
struct Faits {
  // The connection.
  const char* provider = nullptr;
  const char* avantNom = "";  ///< around the database's name in the connection text
  const char* apresNom = "";
  bool avecLogin = true;
  bool curseurClient = false;
  const char* messageRefus = nullptr;  ///< what a refusal without a number of its own means
  Preparation preparation = {};
  const char* proprieteVersion = nullptr;  ///< of the connection; nullptr: nobody is asked
  bool transactions = true;
  bool definitionsEnTransaction = false;  ///< a definition can be taken back with the transaction around it

  // Who owns what.
  bool proprietaires = false;  ///< tables have owners, which stand before their names, and the dictionary lists them
  bool privileges = false;     ///< the dictionary tells what a user may do
  bool estFichier = false;     ///< one file: another one of its kind reads and links its tables by the file's name
  bool attache = false;        ///< holds links to tables of other databases

  // Names and statements.
  char marque = '"';  ///< around the names of definitions
  char ouvre = '`';   ///< around a name as the translation leaves it
  char ferme = '`';
  bool premiereLigne = false;  ///< "TOP 1" is understood
  bool sondeDates = false;     ///< the order of day and year in date texts has to be tried

  // Definitions.
  Voie tables = Voie::kAucune;
  Voie colonnes = Voie::kCatalogue;
  Voie index = Voie::kAucune;
  TypesColonnes types = {};
  bool compteurs = false;       ///< columns tell whether they count
  bool longueursSures = true;   ///< the length of a text column is what it holds
  bool indexApart = false;      ///< the indexes of a new table have statements of their own: a table may be left without them
  bool prefixeIndex = false;    ///< index names begin with the table's
  bool indexSurTable = true;    ///< DROP INDEX names the table
  bool avecParametres = false;  ///< storage parameters stand in a file

  // Keys as they are read back.
  bool gardePrimaire = false;          ///< a primary key is known as one; elsewhere it is a unique index
  const char* clePrimaire = nullptr;   ///< the one name that every primary key has
  const char* questionCles = nullptr;  ///< lists the keys of the table "#" where the catalog does not tell their fields
  bool sensDesCles = true;             ///< they are read with the direction of each field

  // Several programs that build the same catalog at the same moment, where definitions are no part of a transaction.
  bool construitEnCommun = false;
  const char* prendVerrou = nullptr;  ///< asks the server to hold back the others; it answers 1
  const char* rendVerrou = nullptr;
  std::int32_t sansTable = 0;  ///< the number by which the server tells that there is no such table
};

}  // namespace tamlo::db::kinds
