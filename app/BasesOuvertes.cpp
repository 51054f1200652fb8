#include "app/BasesOuvertes.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "app/Element.h"
#include "app/Processus.h"
#include "db/Environnement.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::app {

namespace {

struct Bases {
  ReferenceBase vlm;
  std::vector<ReferenceBase> ouvertes;
};

Bases& Registre() noexcept {
  static Bases bases;
  return bases;
}

void VaAuDossierProgramme() { ChangeDossierCourant(db::EnvironnementCourant().dossierProgramme); }

}  // namespace

ReferenceBase& BaseVlm() noexcept { return Registre().vlm; }

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
  Registre().ouvertes.push_back(nouvelle);
  bool ouverte = false;
  runtime::IgnoringErrors([&] { ouverte = nouvelle->Ouvre(nom, typ, true); });
  if (ouverte) {
    base = nouvelle;
  } else {
    Registre().ouvertes.pop_back();
  }
  return ouverte;
}

void FermeBase(ReferenceBase& base) {
  if (!base) return;
  const std::int16_t position = IndiceBase(base->Nom());
  base->Ferme();
  base.reset();
  std::vector<ReferenceBase>& ouvertes = Registre().ouvertes;
  if (position > 0) ouvertes.erase(ouvertes.begin() + (position - 1));
}

ReferenceBase BaseOuverte(const std::string& nom) {
  VaAuDossierProgramme();
  const std::int16_t position = IndiceBase(runtime::UpperCase(nom));
  return position > 0 ? BasesOuvertes(position) : nullptr;
}

std::int16_t IndiceBase(const std::string& nom) {
  const std::vector<ReferenceBase>& ouvertes = Registre().ouvertes;
  const auto trouvee = std::find_if(ouvertes.begin(), ouvertes.end(), [&](const auto& base) { return base->Nom() == nom; });
  return trouvee == ouvertes.end() ? std::int16_t{0} : runtime::CheckedInt16(trouvee - ouvertes.begin() + 1);
}

const ReferenceBase& BasesOuvertes(std::int16_t position) { return Element(Registre().ouvertes, position); }

std::int16_t NbBasesOuvertes() noexcept { return static_cast<std::int16_t>(Registre().ouvertes.size()); }

void LibereBases() {
  Bases& bases = Registre();
  for (ReferenceBase& base : bases.ouvertes) {
    runtime::IgnoringErrors([&] { base->Ferme(); });
  }
  bases.ouvertes.clear();
  bases.vlm.reset();
}

}  // namespace tamlo::app
