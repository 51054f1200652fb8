#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "ado/BulkInsert.h"
#include "ado/Connection.h"
#include "ado/Recordset.h"
#include "db/pompe/LignesSource.h"

namespace tamlo::db::pompe {

/// A column of the target: its name there, the characters that it holds at most (0: whatever the backend takes), and whether it holds days or
/// times as the source's does.
struct ColonneCible {
  std::string nom;
  std::size_t longueur = 0;
  bool moments = false;
};

/// The table into which rows go.
struct CibleLignes {
  ado::Connection* connexion = nullptr;
  std::string table;                      ///< as the backend spells it
  std::string proprietaire;               ///< of a table that the login does not reach by its name alone; blank for any other
  std::vector<ColonneCible> colonnes;     ///< one for each column of the source, in its order
  std::function<ado::Recordset()> ouvre;  ///< its rows, open for AddNew: asked for once a row comes that is too long for memory
};

/// The columns of the target that take those of the source, found by their names. Both recordsets need not stand on a row. longueursSures:
/// the sizes that the target's driver tells are what its columns hold. Error 3265 for a column that the target lacks.
[[nodiscard]] std::vector<ColonneCible> ColonnesCible(const ado::Recordset& source, const ado::Recordset& cible, bool longueursSures);

/// Writes rows into the target: in batches until a row comes that is too long for memory, row by row from then on.
class EcritureLignes {
 public:
  /// cible must outlive this object. debut: rows of the source that an earlier copy brought.
  EcritureLignes(const CibleLignes& cible, std::int64_t debut);
  EcritureLignes(const EcritureLignes&) = delete;
  EcritureLignes& operator=(const EcritureLignes&) = delete;

  /// Takes the next row. Errors name it.
  void Ecrit(const LigneSource& ligne);
  /// Sends what is held back. Must be called at the end.
  void Termine();
  /// How many rows of the source, from its first one, are in the target.
  [[nodiscard]] ado::StoredRows Presentes() const;
  /// After an error of Ecrit or Termine: it is one of what stands in a row, which is not in the target; the rows behind it can be written.
  [[nodiscard]] bool RefuseUneLigne() const noexcept { return refusee_ || (lots_ && lots_->RefusedRow() > 0); }
  /// Rows go one by one since a long value came.
  [[nodiscard]] bool UneParUne() const noexcept { return !lots_; }

 private:
  void VerifieLongueurs(const LigneSource& ligne);
  void VerifieMoments(const LigneSource& ligne);
  void PasseLigneALigne();
  void EcritSeule(const LigneSource& ligne);

  const CibleLignes& cible_;
  std::optional<ado::BulkInsert> lots_;
  ado::Recordset seules_;
  std::int64_t debut_;
  std::int64_t lignes_;
  std::int64_t enLots_ = 0;         // rows in the target by batches, once there are no more of them
  std::int64_t seulesEcrites_ = 0;  // rows in the target one by one
  bool seuleEnDoute_ = false;
  bool refusee_ = false;
  std::size_t retenus_ = 0;
};

}  // namespace tamlo::db::pompe
