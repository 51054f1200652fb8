#include "db/pompe/LignesSource.h"

#include <chrono>

#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db::pompe {

namespace {

constexpr std::size_t kLignesParBloc = 512;
constexpr std::size_t kOctetsParBloc = 4 << 20;
// More than the largest batch that is sent: while the target works on one, the next is read.
constexpr std::size_t kOctetsEnAvance = 8 << 20;
// The rows of a slow source are handed out before their block is full, so that the program hears of them.
constexpr auto kDureeParBloc = std::chrono::milliseconds(50);

bool EstTexteCourt(std::int16_t type) { return type == ado::adChar || type == ado::adWChar || type == ado::adVarWChar; }

ado::Variant TexteACopier(ado::Variant valeur) {
  if (valeur.IsNull()) return {};
  const auto* texte = valeur.If<std::string>();
  if (texte == nullptr) return valeur;
  if (runtime::Trim(*texte).empty()) return {};
  return texte->ends_with(' ') ? std::string(runtime::TrimRight(*texte)) : valeur;
}

std::size_t Octets(const ado::Variant& valeur) {
  if (const auto* texte = valeur.If<std::string>()) return texte->size();
  if (const auto* octets = valeur.If<runtime::Bytes>()) return octets->size();
  return 0;
}

}  // namespace

LignesSource::LignesSource(ado::Recordset& recordset, bool enParallele, Lecture lecture)
    : recordset_(recordset), lecture_(std::move(lecture)) {
  for (std::size_t i = 0; i < recordset.FieldCount(); ++i) champs_.push_back(&recordset.Fields(i));
  lecture_.conversions.resize(champs_.size());
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

void LignesSource::LitLongue(std::size_t place, LigneSource& ligne) {
  ValeurLongue longue = ValeurLongue::Lit(*champs_[place]);
  ligne.valeurs[place] = longue.Courte();
  if (!longue.EnFichier()) return;
  ligne.fichiers.emplace_back(place, std::move(longue));
  ligne.octets += ValeurLongue::kSeuil;  // each is an open file: few are read ahead
}

void LignesSource::LitLigne(LigneSource& ligne) {
  ligne.valeurs.resize(champs_.size());
  ligne.fichiers.clear();
  ligne.octets = champs_.size() * sizeof(ado::Variant);
  for (std::size_t i = 0; i < champs_.size(); ++i) {
    const std::int16_t type = champs_[i]->Type();
    ado::Variant& valeur = ligne.valeurs[i];
    if (ado::IsLongType(type)) {
      LitLongue(i, ligne);
    } else {
      valeur = champs_[i]->Value();
      if (!lecture_.textesExacts && EstTexteCourt(type)) valeur = TexteACopier(std::move(valeur));
    }
    if (lecture_.conversions[i] && !valeur.IsEmpty()) lecture_.conversions[i](valeur);
    ligne.octets += Octets(valeur);
  }
}

void LignesSource::LitBloc(BlocLignes& bloc) {
  bloc.nombre = 0;
  bloc.octets = 0;
  if (fini_) return;
  const auto limite = std::chrono::steady_clock::now() + kDureeParBloc;
  const auto plein = [&] {
    return bloc.nombre == kLignesParBloc || bloc.octets >= kOctetsParBloc ||
           (bloc.nombre > 0 && std::chrono::steady_clock::now() >= limite);
  };
  try {
    while (!plein() && !recordset_.Eof()) {
      if (bloc.nombre == bloc.lignes.size()) bloc.lignes.emplace_back();
      LigneSource& ligne = bloc.lignes[bloc.nombre];
      LitLigne(ligne);
      bloc.octets += ligne.octets;
      ++bloc.nombre;
      recordset_.MoveNext();
    }
    fini_ = bloc.nombre < kLignesParBloc && recordset_.Eof();
  } catch (const runtime::Error&) {
    erreur_ = std::current_exception();
    fini_ = true;
  }
}

// An end or a failure leaves an empty block behind the last rows. Anything but runtime::Error is a defect of ours and ends the process.
void LignesSource::Travaille() {
  for (bool encore = true; encore;) {
    BlocLignes bloc;
    {
      const std::lock_guard garde(verrou_);
      if (!vides_.empty()) {
        bloc = std::move(vides_.back());
        vides_.pop_back();
      }
    }
    LitBloc(bloc);
    std::unique_lock garde(verrou_);
    change_.wait(garde, [this] { return arret_ || octetsPrets_ < kOctetsEnAvance; });
    encore = !arret_ && bloc.nombre > 0;
    octetsPrets_ += bloc.octets;
    prets_.push_back(std::move(bloc));
    garde.unlock();
    change_.notify_all();
  }
}

BlocLignes LignesSource::Suivant(BlocLignes usage) {
  BlocLignes bloc = std::move(usage);
  if (fil_) {
    std::unique_lock garde(verrou_);
    if (!bloc.lignes.empty() && bloc.octets <= kOctetsParBloc / 4) vides_.push_back(std::move(bloc));
    change_.wait(garde, [this] { return !prets_.empty(); });
    if (prets_.front().nombre == 0) {
      bloc = {};  // the one at the end stays
    } else {
      bloc = std::move(prets_.front());
      prets_.pop_front();
    }
    octetsPrets_ -= bloc.octets;
    garde.unlock();
    change_.notify_all();
  } else {
    LitBloc(bloc);
  }
  if (bloc.nombre == 0 && erreur_) std::rethrow_exception(erreur_);
  return bloc;
}

}  // namespace tamlo::db::pompe
