#pragma once

#include <cstdio>
#include <memory>

#include "ado/Recordset.h"
#include "ado/Types.h"

namespace tamlo::db::pompe {

/// A long value on its way from one database to another: in memory while it is short, in a temporary file beyond that. So a row of any
/// size passes in bounded memory, and the two connections are never needed at the same moment.
class ValeurLongue {
 public:
  /// Values up to this many bytes stay in memory.
  static constexpr std::size_t kSeuil = 1 << 20;

  /// Reads the field's value whole. Provider errors; error 57 when the temporary file cannot be made or written.
  static ValeurLongue Lit(const ado::Field& champ);

  /// The value when it is short: text, bytes or null; Empty when it lies in a file.
  [[nodiscard]] const ado::Variant& Courte() const noexcept { return courte_; }
  [[nodiscard]] bool EnFichier() const noexcept { return fichier_ != nullptr; }
  /// Gives the value from its beginning. This object must outlive the source.
  [[nodiscard]] ado::ChunkSource Source() const;

 private:
  struct Ferme {
    void operator()(std::FILE* fichier) const noexcept { std::fclose(fichier); }
  };
  ado::Variant courte_;
  bool texte_ = false;
  std::unique_ptr<std::FILE, Ferme> fichier_;
};

}  // namespace tamlo::db::pompe
