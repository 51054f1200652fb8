#include "db/pompe/PompeParLots.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "runtime/Error.h"

namespace tamlo::db::pompe {

namespace {

/// Keeps the rows of the part at hand until it is with the target, so that they can be written again.
class EcritureParLots {
 public:
  EcritureParLots(const CibleLignes& cible, std::int64_t debut, Lots& lots) : cible_(cible), lots_(lots), acquises_(debut) {}

  /// False when the copy is to end.
  bool Ecrit(BlocLignes bloc);
  /// The part at hand is complete; false when the copy is to end.
  bool Ferme();
  /// Gives up the part at hand, where one is open.
  void Abandonne() {
    if (ouvert_) (void)runtime::IgnoringErrors([this] { lots_.Defait(); });
    ouvert_ = false;
  }
  /// A block that is of no use any more.
  BlocLignes Rendu();
  [[nodiscard]] std::int64_t Acquises() const noexcept { return acquises_; }
  [[nodiscard]] std::int64_t Refusees() const noexcept { return refusees_; }

 private:
  void Ouvre();
  void Recommence(const runtime::Error& cause);
  void EcritSeule(const LigneSource& ligne, std::int64_t numero);

  const CibleLignes& cible_;
  Lots& lots_;
  std::optional<EcritureLignes> ecriture_;
  std::vector<BlocLignes> gardes_;
  std::vector<BlocLignes> vides_;
  std::int64_t acquises_;      // rows of the source up to the part at hand
  std::int64_t lignes_ = 0;    // of the part
  std::size_t octets_ = 0;     // of them
  std::int64_t refusees_ = 0;  // of all parts
  bool ouvert_ = false;
};

void EcritureParLots::Ouvre() {
  if (!ecriture_) ecriture_.emplace(cible_, acquises_);
  lots_.Commence();
  ouvert_ = true;
}

bool EcritureParLots::Ecrit(BlocLignes bloc) {
  if (!ouvert_) Ouvre();
  lignes_ += static_cast<std::int64_t>(bloc.nombre);
  octets_ += bloc.octets;
  gardes_.push_back(std::move(bloc));
  try {
    for (const LigneSource& ligne : gardes_.back().Lues()) ecriture_->Ecrit(ligne);
  } catch (const runtime::Error& erreur) {
    Recommence(erreur);
  }
  return lots_.Complet(lignes_, octets_) ? Ferme() : true;
}

bool EcritureParLots::Ferme() {
  if (!ouvert_) return true;
  try {
    ecriture_->Termine();
  } catch (const runtime::Error& erreur) {
    Recommence(erreur);
  }
  const bool encore = lots_.Termine(acquises_ + lignes_);
  ouvert_ = false;
  acquises_ += lignes_;
  lignes_ = 0;
  octets_ = 0;
  for (BlocLignes& bloc : gardes_) vides_.push_back(std::move(bloc));
  gardes_.clear();
  // A value that is too long for a batch does not slow down what comes behind its part.
  if (ecriture_->UneParUne()) ecriture_.reset();
  return encore;
}

/// The part as a whole did not succeed: its rows one by one, so that each tells for itself.
void EcritureParLots::Recommence(const runtime::Error& cause) {
  // An undoing that fails says less than what made it necessary.
  if (runtime::IgnoringErrors([this] { lots_.Defait(); })) throw runtime::Error(cause);
  ouvert_ = false;
  ecriture_.reset();
  Ouvre();
  std::int64_t numero = acquises_;
  for (const BlocLignes& bloc : gardes_)
    for (const LigneSource& ligne : bloc.Lues()) EcritSeule(ligne, ++numero);
}

void EcritureParLots::EcritSeule(const LigneSource& ligne, std::int64_t numero) {
  try {
    ecriture_->Ecrit(ligne);
    ecriture_->Termine();
  } catch (const runtime::Error& erreur) {
    if (!ecriture_->RefuseUneLigne() || !lots_.Refuse({numero, ligne, erreur})) throw;
    ++refusees_;
  }
}

BlocLignes EcritureParLots::Rendu() {
  if (vides_.empty()) return {};
  BlocLignes bloc = std::move(vides_.back());
  vides_.pop_back();
  return bloc;
}

}  // namespace

CopieBilan PompeParLots(ado::Recordset& source, const CibleLignes& cible, std::int64_t debut, Lecture lecture, Lots& lots) {
  CopieBilan bilan;
  for (; bilan.lues < debut && !source.Eof(); ++bilan.lues) source.MoveNext();
  EcritureParLots ecriture(cible, debut, lots);
  try {
    LignesSource lignes(source, true, std::move(lecture));
    for (auto bloc = lignes.Suivant(); bloc.nombre > 0 && !bilan.arretee; bloc = lignes.Suivant(ecriture.Rendu()))
      bilan.arretee = !ecriture.Ecrit(std::move(bloc));
    if (!bilan.arretee) bilan.arretee = !ecriture.Ferme();
  } catch (const runtime::Error&) {
    ecriture.Abandonne();
    throw;
  }
  bilan.lues = std::max(bilan.lues, ecriture.Acquises());
  bilan.ecrites = bilan.lues - debut - ecriture.Refusees();
  source.Close();
  return bilan;
}

}  // namespace tamlo::db::pompe
