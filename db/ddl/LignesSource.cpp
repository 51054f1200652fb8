#include "db/ddl/LignesSource.h"

#include "runtime/Error.h"
#include "runtime/Text.h"
#include "support/Support.h"

namespace tamlo::db::ddl {

namespace {

constexpr std::size_t kLignesParBloc = 512;
constexpr std::size_t kOctetsParBloc = 4 << 20;
constexpr std::size_t kBlocsEnAvance = 4;

bool EstTexteCourt(std::int16_t type) { return type == ado::adChar || type == ado::adWChar || type == ado::adVarWChar; }

ado::Variant TexteACopier(ado::Variant valeur) {
  if (support::EstVide(valeur)) return {};
  if (const auto* texte = valeur.If<std::string>(); texte != nullptr && texte->ends_with(' ')) {
    return std::string(runtime::TrimRight(*texte));
  }
  return valeur;
}

std::size_t Octets(const ado::Variant& valeur) {
  if (const auto* texte = valeur.If<std::string>()) return texte->size();
  if (const auto* octets = valeur.If<runtime::Bytes>()) return octets->size();
  return 0;
}

}  // namespace

LignesSource::LignesSource(ado::Recordset& recordset, bool enParallele) : recordset_(recordset) {
  for (std::size_t i = 0; i < recordset.FieldCount(); ++i) champs_.push_back(&recordset.Fields(i));
  if (enParallele) fil_.emplace([this] { Travaille(); });
}

LignesSource::~LignesSource() {
  if (!fil_) return;
  {
    const std::lock_guard garde(verrou_);
    arret_ = true;
  }
  change_.notify_all();
  fil_->join();
}

void LignesSource::LitLigne(LigneSource& ligne) {
  ligne.valeurs.reserve(champs_.size());
  for (std::size_t i = 0; i < champs_.size(); ++i) {
    const std::int16_t type = champs_[i]->Type();
    if (EstTexteCourt(type)) {
      ligne.valeurs.push_back(TexteACopier(champs_[i]->Value()));
    } else if (ado::IsLongType(type)) {
      ValeurLongue longue = ValeurLongue::Lit(*champs_[i]);
      ligne.valeurs.push_back(longue.Courte());
      if (longue.EnFichier()) ligne.fichiers.emplace_back(i, std::move(longue));
    } else {
      ligne.valeurs.push_back(champs_[i]->Value());
    }
    ligne.octets += Octets(ligne.valeurs.back());
  }
}

LignesSource::Bloc LignesSource::LitBloc() {
  Bloc bloc;
  if (fini_) return bloc;
  bloc.reserve(kLignesParBloc);
  std::size_t octets = 0;
  try {
    while (bloc.size() < kLignesParBloc && octets < kOctetsParBloc && !recordset_.Eof()) {
      LigneSource ligne;
      LitLigne(ligne);
      octets += ligne.octets;
      bloc.push_back(std::move(ligne));
      recordset_.MoveNext();
    }
    fini_ = bloc.size() < kLignesParBloc && recordset_.Eof();
  } catch (const runtime::Error&) {
    erreur_ = std::current_exception();
    fini_ = true;
  }
  return bloc;
}

// An end or a failure leaves an empty block behind the last rows. Anything but runtime::Error is a defect of ours and ends the process.
void LignesSource::Travaille() {
  for (bool encore = true; encore;) {
    Bloc bloc = LitBloc();
    std::unique_lock garde(verrou_);
    change_.wait(garde, [this] { return arret_ || prets_.size() < kBlocsEnAvance; });
    encore = !arret_ && !bloc.empty();
    prets_.push_back(std::move(bloc));
    garde.unlock();
    change_.notify_all();
  }
}

LignesSource::Bloc LignesSource::Suivant() {
  Bloc bloc;
  if (fil_) {
    std::unique_lock garde(verrou_);
    change_.wait(garde, [this] { return !prets_.empty(); });
    bloc = std::move(prets_.front());
    if (!bloc.empty()) prets_.pop_front();  // the empty one at the end stays
    garde.unlock();
    change_.notify_all();
  } else {
    bloc = LitBloc();
  }
  if (bloc.empty() && erreur_) std::rethrow_exception(erreur_);
  return bloc;
}

}  // namespace tamlo::db::ddl
