#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "ado/Recordset.h"
#include "db/pompe/ValeurLongue.h"

namespace tamlo::db::pompe {

/// One row of the source, ready for the target: for each column its value, Empty where nothing is to be written. A long value that lies in
/// a file stands in fichiers at its column, and Empty here.
struct LigneSource {
  std::vector<ado::Variant> valeurs;
  std::vector<std::pair<std::size_t, ValeurLongue>> fichiers;
  std::size_t octets = 0;  ///< in memory, about
};

/// Rows that are read and written together. Used again, so that its memory is allocated once and stays with the thread that reads.
struct BlocLignes {
  std::vector<LigneSource> lignes;  ///< those from nombre on are left from before
  std::size_t nombre = 0;
  std::size_t octets = 0;  ///< of the rows together

  [[nodiscard]] std::span<const LigneSource> Lues() const noexcept { return std::span(lignes).first(nombre); }
};

/// How the rows of a source are to be read.
struct Lecture {
  /// Every text as it stands. Else those of the types 129, 130 and 202 follow the layer's rule: a blank one is not written, another one loses
  /// its trailing blanks.
  bool textesExacts = false;
  /// For each column what makes the target's value of the source's, in place; an empty one, or none, leaves it. Run by the thread that reads;
  /// a value that lies in a file is not given to them. What they raise is a failure to read.
  std::vector<std::function<void(ado::Variant&)>> conversions;
};

/// Reads a recordset to its end, in blocks. With a thread of its own the reading runs ahead of the writing, by some megabytes; the recordset
/// and its connection belong to that thread as long as this object lives.
class LignesSource {
 public:
  LignesSource(ado::Recordset& recordset, bool enParallele, Lecture lecture = {});
  ~LignesSource();
  LignesSource(const LignesSource&) = delete;
  LignesSource& operator=(const LignesSource&) = delete;

  /// The next rows; a block without rows at the end. The one before is given back. A failure to read is raised once the rows before it have
  /// been handed out.
  [[nodiscard]] BlocLignes Suivant(BlocLignes usage = {});

 private:
  void LitBloc(BlocLignes& bloc);
  void LitLigne(LigneSource& ligne);
  void LitLongue(std::size_t place, LigneSource& ligne);
  void Travaille();

  ado::Recordset& recordset_;
  Lecture lecture_;
  std::vector<ado::Field*> champs_;
  std::exception_ptr erreur_;
  bool fini_ = false;

  std::mutex verrou_;
  std::condition_variable change_;
  std::deque<BlocLignes> prets_;
  std::size_t octetsPrets_ = 0;
  std::vector<BlocLignes> vides_;
  bool arret_ = false;
  std::optional<std::thread> fil_;
};

}  // namespace tamlo::db::pompe
