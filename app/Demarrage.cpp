#include "app/Demarrage.h"

#include <algorithm>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "app/ErreurExecution.h"
#include "app/Gardes.h"
#include "app/Processus.h"
#include "app/TableCode.h"
#include "app/Utilisateurs.h"
#include "app/frmTamlo.h"
#include "db/Environnement.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Secret.h"
#include "runtime/Text.h"
#include "support/Support.h"
#include "ui/Platform.h"

namespace tamlo::app {

namespace {

constexpr int kEchec = 1;
constexpr std::int16_t kMinParametres = 5;
constexpr std::int16_t kMaxParametres = 8;

/// Positions of the parameters.
enum Parametre : std::int16_t {
  kNomBase = 1,
  kTypBase = 2,
  kIdVlm = 3,
  kNomUtl = 4,
  kNiveau = 5,
  kMotPasse = 6,
  kNomConnecte = 7,
  kMotPasseConnecte = 8,
};

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

struct Etat {
  std::string ligneCommande;
  std::int16_t guillemet = 0;
  bool guillemetOuvert = false;
  std::vector<std::string> parametres;
  ReferenceBase baseVlm;
  std::vector<ReferenceBase> basesOuvertes;
  std::unique_ptr<frmTamlo> feuille;
};

Etat& EtatCourant() noexcept {
  static Etat etat;
  return etat;
}

/// An element of a list counted from 1.
template <typename T>
const T& Element(const std::vector<T>& liste, std::int16_t position) {
  if (position < 1 || static_cast<std::size_t>(position) > liste.size()) {
    throw runtime::Error(runtime::kSubscriptOutOfRange);
  }
  return liste[static_cast<std::size_t>(position) - 1];
}

/// Passwords leave no copy behind among the parameters.
void EffaceParametres() noexcept {
  Etat& etat = EtatCourant();
  runtime::Wipe(etat.ligneCommande);
  for (const std::size_t motPasse : {kMotPasse, kMotPasseConnecte}) {
    if (motPasse <= etat.parametres.size()) runtime::Wipe(etat.parametres[motPasse - 1]);
  }
}

void ExigeParametres() {
  const Etat& etat = EtatCourant();
  if (etat.guillemet > 0) RefuseGuillemet(etat.guillemet);
  if (etat.guillemetOuvert) RefuseGuillemet(0);
  ExigeNom(Parametres(kNomUtl));
}

void VaAuDossierProgramme() { ChangeDossierCourant(db::EnvironnementCourant().dossierProgramme); }

int ExecuteJusquALaFin() {
  try {
    Main();
    ui::CurrentPlatform().Run();
    return EtatCourant().feuille->MotPasseRefuse() ? kEchec : 0;
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
  ExigeParametres();
  if (!OuvreBase(BaseVlm(), Parametres(kNomBase), runtime::ToInt16(Parametres(kTypBase)))) throw FinProgramme{kEchec};

  support::Sablier(true);
  std::unique_ptr<frmTamlo>& feuille = EtatCourant().feuille;
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
  Etat& etat = EtatCourant();
  etat.feuille.reset();
  for (ReferenceBase& base : etat.basesOuvertes) {
    runtime::IgnoringErrors([&] { base->Ferme(); });
  }
  etat.basesOuvertes.clear();
  etat.baseVlm.reset();
  LibereTableCode();
  OublieUtlConnecte();
  EffaceParametres();
  support::Sablier(false);
}

void LigneCommande(const std::string& ligne, std::int16_t guillemet) {
  EtatCourant().ligneCommande = ligne;
  EtatCourant().guillemet = guillemet;
}

void LitParametres() {
  std::vector<std::string>& liste = EtatCourant().parametres;
  liste.clear();
  EtatCourant().guillemetOuvert = false;
  const std::string_view ligne = runtime::Trim(EtatCourant().ligneCommande);
  if (ligne.empty()) return;
  liste.emplace_back();
  bool entreGuillemets = false;
  for (std::size_t i = 0; i < ligne.size();) {
    if (ligne[i] == '"') {
      entreGuillemets = !entreGuillemets;
      ++i;
    } else if (ligne[i] == ' ' && !entreGuillemets) {
      liste.emplace_back();
      i = std::min(ligne.find_first_not_of(' ', i), ligne.size());
    } else {
      liste.back().push_back(ligne[i]);
      ++i;
    }
  }
  EtatCourant().guillemetOuvert = entreGuillemets;
}

const std::string& Parametres(std::int16_t position) { return Element(EtatCourant().parametres, position); }

std::int16_t NbParametres() noexcept {
  constexpr std::size_t kPlusGrand = 32767;
  return static_cast<std::int16_t>(std::min(EtatCourant().parametres.size(), kPlusGrand));
}

ReferenceBase& BaseVlm() noexcept { return EtatCourant().baseVlm; }

db::DataBase& BaseVlmOuverte() {
  if (!BaseVlm()) throw runtime::Error(runtime::kObjectNotSet);
  return *BaseVlm();
}

bool OuvreBase(ReferenceBase& base, std::string nom, std::int16_t typ) {
  VaAuDossierProgramme();
  if (typ != db::TypMySql) nom = runtime::UpperCase(nom);
  if (const std::int16_t position = IndiceBase(nom); position > 0) {
    base = BasesOuvertes(position);
    return true;
  }
  // In the registry while it opens: the layer may ask for it by name.
  const auto nouvelle = std::make_shared<db::DataBase>();
  EtatCourant().basesOuvertes.push_back(nouvelle);
  bool ouverte = false;
  runtime::IgnoringErrors([&] { ouverte = nouvelle->Ouvre(nom, typ, true); });
  if (ouverte) {
    base = nouvelle;
  } else {
    EtatCourant().basesOuvertes.pop_back();
  }
  return ouverte;
}

void FermeBase(ReferenceBase& base) {
  if (!base) return;
  const std::int16_t position = IndiceBase(base->Nom());
  base->Ferme();
  base.reset();
  std::vector<ReferenceBase>& ouvertes = EtatCourant().basesOuvertes;
  if (position > 0) ouvertes.erase(ouvertes.begin() + (position - 1));
}

ReferenceBase BaseOuverte(const std::string& nom) {
  VaAuDossierProgramme();
  const std::int16_t position = IndiceBase(runtime::UpperCase(nom));
  return position > 0 ? BasesOuvertes(position) : nullptr;
}

std::int16_t IndiceBase(const std::string& nom) {
  const std::vector<ReferenceBase>& ouvertes = EtatCourant().basesOuvertes;
  const auto trouvee = std::find_if(ouvertes.begin(), ouvertes.end(), [&](const auto& base) { return base->Nom() == nom; });
  return trouvee == ouvertes.end() ? std::int16_t{0} : runtime::CheckedInt16(trouvee - ouvertes.begin() + 1);
}

const ReferenceBase& BasesOuvertes(std::int16_t position) { return Element(EtatCourant().basesOuvertes, position); }

std::int16_t NbBasesOuvertes() noexcept { return static_cast<std::int16_t>(EtatCourant().basesOuvertes.size()); }

void BrancheCouche(const std::string& dossierProgramme) {
  db::Environnement& environnement = db::EnvironnementCourant();
  environnement.nomUtlConnecte = NomUtlConnecte;
  environnement.pwdUtlConnecte = PwdUtlConnecte;
  environnement.baseOuverte = [](const std::string& nom) { return BaseOuverte(nom).get(); };
  environnement.dossierProgramme = dossierProgramme;
}

}  // namespace tamlo::app
