#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "runtime/Error.h"

namespace tamlo::db {

/// What a copy of rows tells the program; see DataBase::CopieDonnees.
struct CopieOptions {
  /// Called with the rows done, at most every 100 ms; false stops the copy between two rows. Not called between two Access files, where one
  /// statement, whole or not at all, copies everything. It must leave the source alone, which another thread is reading.
  std::function<bool(std::int64_t lignes)> progression;
  /// Rows at the beginning of the source that are left out, because an earlier copy brought them: a copy that broke off goes on so. The source
  /// must give its rows in the order of that time.
  std::int64_t debut = 0;
};
struct CopieBilan {
  std::int64_t lues = 0;     ///< those left out included
  std::int64_t ecrites = 0;  ///< by this copy
  bool arretee = false;      ///< stopped by the progress callback
};
/// A copy that broke off: how many rows of the source, counted from its first one, are in the target (CopieOptions::debut included). The two
/// numbers differ when the connection went while the answer to the last batch was awaited; the target itself then tells, and the copy can go on
/// from there.
class ErreurCopie : public runtime::Error {
 public:
  ErreurCopie(const runtime::Error& erreur, std::int64_t auMoins, std::int64_t auPlus)
      : runtime::Error(erreur), auMoins_(auMoins), auPlus_(auPlus) {}
  [[nodiscard]] std::int64_t AuMoins() const noexcept { return auMoins_; }
  [[nodiscard]] std::int64_t AuPlus() const noexcept { return auPlus_; }

 private:
  std::int64_t auMoins_;
  std::int64_t auPlus_;
};
/// What a comparison of a table on both sides found.
struct VerifieBilan {
  std::int64_t lignesSource = 0;
  std::int64_t lignesCible = 0;
  std::int64_t differences = 0;    ///< rows that differ or stand on one side only
  std::string premiereDifference;  ///< table, row and column of the first one, in words; empty when there is none
  [[nodiscard]] bool Egales() const noexcept { return differences == 0 && lignesSource == lignesCible; }
};

}  // namespace tamlo::db
