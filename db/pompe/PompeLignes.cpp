#include "db/pompe/PompeLignes.h"

#include <chrono>
#include <string>
#include <utility>

#include "runtime/Error.h"

namespace tamlo::db::pompe {

namespace {

using Horloge = std::chrono::steady_clock;
constexpr auto kEntreDeuxAppels = std::chrono::milliseconds(100);

/// Tells the program how far the copy is, at most every 100 ms.
class Progression {
 public:
  explicit Progression(const CopieOptions& options) : appel_(options.progression), dernier_(Horloge::now()) {}

  /// False when the program asks to stop.
  bool Continue(std::int64_t lignes) {
    if (!appel_) return true;
    const auto maintenant = Horloge::now();
    if (maintenant - dernier_ < kEntreDeuxAppels) return true;
    dernier_ = maintenant;
    return appel_(lignes);
  }

 private:
  const std::function<bool(std::int64_t)>& appel_;
  Horloge::time_point dernier_;
};

/// Where an error leaves the target.
struct Fin {
  ado::StoredRows presentes;
  bool deLaSource = false;  ///< the source failed: the number of a row says nothing of the target
};

/// The rows of a copy that goes on stand in the target already.
void Saute(ado::Recordset& lues, std::int64_t lignes, CopieBilan& bilan) {
  for (; bilan.lues < lignes && !lues.Eof(); ++bilan.lues) lues.MoveNext();
}

/// Writes the rows of a block; false when the program asks to stop.
bool EcritBloc(const BlocLignes& bloc, EcritureLignes& ecriture, Progression& progression, CopieBilan& bilan) {
  for (const LigneSource& ligne : bloc.Lues()) {
    ++bilan.lues;
    ecriture.Ecrit(ligne);
    if (!progression.Continue(bilan.lues)) return false;
  }
  return true;
}

void Pompe(ado::Recordset& source, const CibleLignes& cible, const CopieOptions& options, bool enAvance, CopieBilan& bilan, Fin& fin) {
  EcritureLignes ecriture(cible, options.debut);
  fin.deLaSource = true;
  Saute(source, options.debut, bilan);
  const std::int64_t sautees = bilan.lues;
  Progression progression(options);
  try {
    LignesSource lignes(source, enAvance);
    for (auto bloc = lignes.Suivant(); bloc.nombre > 0; bloc = lignes.Suivant(std::move(bloc))) {
      fin.deLaSource = false;
      bilan.arretee = !EcritBloc(bloc, ecriture, progression, bilan);
      if (bilan.arretee) break;
      fin.deLaSource = true;
    }
    fin.deLaSource = false;
    ecriture.Termine();
  } catch (const runtime::Error&) {
    fin.presentes = ecriture.Presentes();
    throw;
  }
  fin.presentes = ecriture.Presentes();
  bilan.ecrites = bilan.lues - sautees;
  source.Close();
}

/// What is known of the target goes into the text where the number of the row alone does not tell it.
ErreurCopie Complete(const runtime::Error& erreur, const Fin& fin) {
  const auto [moins, plus] = fin.presentes;
  std::string suite;
  if (moins != plus) {
    suite = " (lignes copiées présentes dans la cible : au moins " + std::to_string(moins) + ", au plus " + std::to_string(plus) + ")";
  } else if (fin.deLaSource && moins > 0) {
    suite = " (lignes copiées présentes dans la cible : " + std::to_string(moins) + ")";
  }
  runtime::Error complete(erreur.Number(), erreur.Description() + suite, erreur.Source());
  complete.WithDiagnostics(erreur.Diagnostics()).WithSent(erreur.Sent());
  return {complete, moins, plus};
}

}  // namespace

CopieBilan PompeLignes(ado::Recordset& source, const CibleLignes& cible, const CopieOptions& options, bool enAvance) {
  CopieBilan bilan;
  Fin fin{{options.debut, options.debut}};
  try {
    Pompe(source, cible, options, enAvance, bilan, fin);
  } catch (const runtime::Error& erreur) {
    throw Complete(erreur, fin);
  }
  return bilan;
}

}  // namespace tamlo::db::pompe
