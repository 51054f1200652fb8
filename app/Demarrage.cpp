#include "app/Demarrage.h"

#include <cstdint>
#include <memory>
#include <new>

#include "app/BasesOuvertes.h"
#include "app/ErreurExecution.h"
#include "app/FinProgramme.h"
#include "app/Gardes.h"
#include "app/LigneCommande.h"
#include "app/TableCode.h"
#include "app/UtlConnecte.h"
#include "app/frmTamlo.h"
#include "db/Environnement.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "support/Support.h"
#include "ui/Platform.h"

namespace tamlo::app {

namespace {

constexpr std::int16_t kMinParametres = 5;
constexpr std::int16_t kMaxParametres = 8;

constexpr const char* kUsage =
    "\nVeuillez indiquez les paramètres suivants :\n"
    "\n      1 - Nom de la base des volumes"
    "\n      2 - Type de la base des volumes"
    "\n      3 - Identifiant du volume concerné"
    "\n      4 - Nom de l'utilisateur à créer"
    "\n      5 - Niveau de l'utilisateur à créer"
    "\n      6 - Mot de passe de l'utilisateur à créer - facultatif"
    "\n      7 - Utilisateur connecté - facultatif"
    "\n      8 - Mot de passe de l'utilisateur connecté - facultatif";

std::unique_ptr<frmTamlo>& Feuille() noexcept {
  static std::unique_ptr<frmTamlo> feuille;
  return feuille;
}

int ExecuteJusquALaFin() {
  try {
    Main();
    ui::CurrentPlatform().Run();
    return Feuille()->MotPasseRefuse() ? kEchec : 0;
  } catch (const FinProgramme& fin) {
    return fin.statut;
  } catch (const runtime::Error& erreur) {
    AfficheErreurExecution(erreur);
  } catch (const std::bad_alloc&) {
    AfficheErreurExecution(runtime::Error(kMemoireInsuffisante, "Mémoire insuffisante"));
  } catch (const std::exception& erreur) {
    AfficheErreurExecution(runtime::Error(kErreurInterne, std::string("Erreur interne : ") + erreur.what()));
  }
  return kEchec;
}

}  // namespace

void Main() {
  LitParametres();
  const std::int16_t nombre = NbParametres();
  if (nombre < kMinParametres || nombre > kMaxParametres) {
    support::Msg(kUsage, ui::kCritical | ui::kOkOnly, "Programme interrompu");
    throw FinProgramme{kEchec};
  }
  // The eighth is read though it may be absent: seven parameters end here with error 9.
  if (nombre >= kNomConnecte) ConnecteUtl(1, Parametres(kNomConnecte), Parametres(kMotPasseConnecte));
  ExigeGuillemets();
  ExigeNom(Parametres(kNomUtl));
  if (!OuvreBase(BaseVlm(), Parametres(kNomBase), runtime::ToInt16(Parametres(kTypBase)))) throw FinProgramme{kEchec};

  support::Sablier(true);
  std::unique_ptr<frmTamlo>& feuille = Feuille();
  feuille = std::make_unique<frmTamlo>();
  // The volume before the level: the first one that is no number is the one that is told.
  const double idVlm = runtime::ToDouble(Parametres(kIdVlm));
  const std::int16_t niveau = runtime::ToInt16(Parametres(kNiveau));
  const std::string aucun;
  const std::string& motPasse = nombre >= kMotPasse ? Parametres(kMotPasse) : aucun;
  feuille->Charge(idVlm, Parametres(kNomUtl), niveau, motPasse);
  EffaceParametres();
  support::Sablier(false);
  AnnonceLectureSeule(BaseVlmOuverte());
  feuille->Show();
}

int ExecuteProgramme() {
  const int statut = ExecuteJusquALaFin();
  LibereTout();
  return statut;
}

void LibereTout() {
  Feuille().reset();
  LibereBases();
  LibereTableCode();
  OublieUtlConnecte();
  EffaceParametres();
  support::Sablier(false);
}

void BrancheCouche(const std::string& dossierProgramme) {
  db::Environnement& environnement = db::EnvironnementCourant();
  environnement.nomUtlConnecte = NomUtlConnecte;
  environnement.pwdUtlConnecte = PwdUtlConnecte;
  environnement.baseOuverte = [](const std::string& nom) { return BaseOuverte(nom).get(); };
  environnement.dossierProgramme = dossierProgramme;
}

}  // namespace tamlo::app
