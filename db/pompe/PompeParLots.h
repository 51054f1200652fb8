#pragma once

#include <cstddef>
#include <cstdint>

#include "ado/Recordset.h"
#include "db/BilanCopie.h"
#include "db/pompe/EcritureLignes.h"

namespace tamlo::db::pompe {

/// A row that the target does not take.
struct LigneRefusee {
  std::int64_t numero;  ///< in the source, from 1
  const LigneSource& ligne;
  const runtime::Error& erreur;
};

/// What a copy in parts is told and asks for. A part is there whole or not at all: the program opens a transaction in Commence and ends it in
/// Termine or Defait, and may write besides what it wants to be there with the part.
class Lots {
 public:
  virtual ~Lots() = default;
  /// Before the first row of a part.
  virtual void Commence() = 0;
  /// Whether the part ends behind so many rows and bytes (about, as they lie in memory). Asked every few hundred rows.
  virtual bool Complet(std::int64_t lignes, std::size_t octets) = 0;
  /// The target has taken, or refused, the first so many rows of the source. False ends the copy here.
  virtual bool Termine(std::int64_t lues) = 0;
  /// Undoes the part. Its rows are then written again one by one, or the copy ends with an error.
  virtual void Defait() = 0;
  /// False when the copy is to end with the row's error.
  virtual bool Refuse(const LigneRefusee& refusee) = 0;
};

/// Brings the rows of source, open and before its first row, from behind the first `debut` on into the target, in parts, reading ahead in a
/// thread of its own: the connections of both must be two. A row that the target refuses for what stands in it is left out where lots allows
/// it. Closes the source unless it fails. bilan.ecrites are the rows taken; those that were refused are not among them.
///
/// Errors: runtime::Error, naming the row where it is one of a row. The part at hand is undone then.
[[nodiscard]] CopieBilan PompeParLots(ado::Recordset& source, const CibleLignes& cible, std::int64_t debut, Lecture lecture, Lots& lots);

}  // namespace tamlo::db::pompe
