#include "db/pompe/EcritureLignes.h"

#include <algorithm>
#include <string_view>

#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db::pompe {

namespace {

constexpr std::size_t kOctetsRetenus = 16 << 20;

bool EstMoment(std::int16_t type) {
  return type == ado::adDate || type == ado::adDBDate || type == ado::adDBTime || type == ado::adDBTimeStamp;
}

/// A text for which there is no Date, as servers write it: "0000-00-00", "838:59:59", "-infinity". SQLite lets any text stand in a column of
/// days, and one like "1/2" would be read as a day of this year.
bool EcritParUnServeur(std::string_view texte) {
  if (texte.starts_with('-')) texte.remove_prefix(1);
  if (texte == "infinity") return true;
  const std::size_t chiffres = std::min(texte.find_first_not_of("0123456789"), texte.size());
  if (chiffres == texte.size()) return false;
  return texte[chiffres] == '-' ? chiffres >= 4 : texte[chiffres] == ':' && chiffres >= 2;
}

/// The values of a row were refused: a conversion, a length, a key, a rule.
bool DitLaLigne(const runtime::Error& erreur) {
  const std::string etat = erreur.SqlState();
  return erreur.Number() != runtime::kProviderFailure || etat.starts_with("22") || etat.starts_with("23");
}

std::vector<std::string> Noms(const std::vector<ColonneCible>& colonnes) {
  std::vector<std::string> noms;
  for (const ColonneCible& colonne : colonnes) noms.push_back(colonne.nom);
  return noms;
}

}  // namespace

std::vector<ColonneCible> ColonnesCible(const ado::Recordset& source, const ado::Recordset& cible, bool longueursSures) {
  std::vector<ColonneCible> colonnes;
  for (std::size_t i = 0; i < source.FieldCount(); ++i) {
    const ado::Field& ici = source.Fields(i);
    const ado::Field& champ = cible.Fields(ici.Name());
    const bool limite = longueursSures && ado::IsTextType(champ.Type()) && !ado::IsLongType(champ.Type()) && champ.DefinedSize() > 0;
    colonnes.push_back(
        {champ.Name(), limite ? static_cast<std::size_t>(champ.DefinedSize()) : 0, EstMoment(ici.Type()) && EstMoment(champ.Type())});
  }
  return colonnes;
}

EcritureLignes::EcritureLignes(const CibleLignes& cible, std::int64_t debut) : cible_(cible), debut_(debut), lignes_(debut) {
  lots_.emplace(*cible.connexion, cible.table, Noms(cible.colonnes), cible.proprietaire);
  lots_->RowsBefore(debut);
}

ado::StoredRows EcritureLignes::Presentes() const {
  const ado::StoredRows lots = lots_ ? lots_->Stored() : ado::StoredRows{enLots_, enLots_};
  return {debut_ + lots.atLeast + seulesEcrites_, debut_ + lots.atMost + seulesEcrites_ + (seuleEnDoute_ ? 1 : 0)};
}

void EcritureLignes::Ecrit(const LigneSource& ligne) {
  ++lignes_;
  refusee_ = false;
  VerifieLongueurs(ligne);
  VerifieMoments(ligne);
  if (!ligne.fichiers.empty() && lots_) PasseLigneALigne();
  if (!lots_) {
    EcritSeule(ligne);
    return;
  }
  lots_->Add(ligne.valeurs);
  retenus_ += ligne.octets;
  if (retenus_ > kOctetsRetenus) Termine();
}

void EcritureLignes::Termine() {
  if (lots_) lots_->Flush();
  retenus_ = 0;
}

/// A backend that cuts texts silently must not get the chance.
void EcritureLignes::VerifieLongueurs(const LigneSource& ligne) {
  const std::vector<ColonneCible>& colonnes = cible_.colonnes;
  for (std::size_t i = 0; i < colonnes.size(); ++i) {
    const auto* texte = ligne.valeurs[i].If<std::string>();
    if (texte == nullptr || colonnes[i].longueur == 0 || texte->size() <= colonnes[i].longueur) continue;
    const std::size_t longueur = runtime::Length(*texte);
    if (longueur <= colonnes[i].longueur) continue;
    Termine();
    refusee_ = true;
    throw runtime::Error(runtime::kProviderFailure, "ligne " + std::to_string(lignes_) + " : colonne " + colonnes[i].nom + " : texte de " +
                                                        std::to_string(longueur) + " caractères pour une colonne de " +
                                                        std::to_string(colonnes[i].longueur));
  }
}

/// What stands as a text in a column of days or times is never guessed at.
void EcritureLignes::VerifieMoments(const LigneSource& ligne) {
  const std::vector<ColonneCible>& colonnes = cible_.colonnes;
  for (std::size_t i = 0; i < colonnes.size(); ++i) {
    const auto* texte = colonnes[i].moments ? ligne.valeurs[i].If<std::string>() : nullptr;
    if (texte == nullptr || EcritParUnServeur(*texte)) continue;
    Termine();
    refusee_ = true;
    throw runtime::Error(runtime::kTypeMismatch).WithContext("ligne " + std::to_string(lignes_) + ", colonne " + colonnes[i].nom);
  }
}

void EcritureLignes::PasseLigneALigne() {
  Termine();
  enLots_ = lots_->Stored().atLeast;
  lots_.reset();
  seules_ = cible_.ouvre();
}

void EcritureLignes::EcritSeule(const LigneSource& ligne) {
  try {
    seules_.AddNew();
    for (std::size_t i = 0; i < cible_.colonnes.size(); ++i) {
      if (!ligne.valeurs[i].IsEmpty()) seules_.Fields(cible_.colonnes[i].nom).Value(ligne.valeurs[i]);
    }
    for (const auto& [place, longue] : ligne.fichiers) seules_.Fields(cible_.colonnes[place].nom).WriteFrom(longue.Source());
    seules_.Update();
    ++seulesEcrites_;
  } catch (runtime::Error& erreur) {
    // A duplicate or a value that is refused is not there; after anything else nobody knows.
    seuleEnDoute_ = erreur.Number() == runtime::kProviderFailure;
    refusee_ = DitLaLigne(erreur);
    if (seules_.IsOpen()) seules_.CancelUpdate();
    throw erreur.WithContext("ligne " + std::to_string(lignes_));
  }
}

}  // namespace tamlo::db::pompe
