#include "db/copie/CopieLignes.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <string_view>
#include <vector>

#include "ado/BulkInsert.h"
#include "db/copie/LignesSource.h"
#include "db/kinds/Moteur.h"
#include "runtime/Error.h"
#include "runtime/Text.h"
#include "support/Support.h"

namespace tamlo::db::ddl {

namespace {

using Horloge = std::chrono::steady_clock;
constexpr auto kEntreDeuxAppels = std::chrono::milliseconds(100);
constexpr std::size_t kOctetsRetenus = 16 << 20;

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

/// A column of the target: its name there, the characters that it holds at most (0: whatever the backend takes), and whether it holds days or
/// times as the source's does.
struct ColonneCible {
  std::string nom;
  std::size_t longueur = 0;
  bool moments = false;
};

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

/// Writes rows into the target: in batches until a row comes that is too long for memory, row by row from then on.
class EcritureCible {
 public:
  EcritureCible(DataBase& cible, const std::string& nom, const ado::Recordset& source, std::int64_t debut)
      : cible_(cible), nom_(nom), debut_(debut), lignes_(debut) {
    auto description = cible.OpenRecordSet("SELECT * FROM [" + nom + "]", 0);
    std::vector<std::string> noms;
    for (std::size_t i = 0; i < source.FieldCount(); ++i) {
      colonnes_.push_back(Colonne(description, source.Fields(i)));
      noms.push_back(colonnes_.back().nom);
    }
    description.Close();
    lots_.emplace(cible.Connexion(), NomBase(), std::move(noms), Proprietaire());
    lots_->RowsBefore(debut);
  }

  /// How many rows of the source, from its first one, are in the target.
  [[nodiscard]] ado::StoredRows Presentes() const {
    const ado::StoredRows lots = lots_ ? lots_->Stored() : ado::StoredRows{enLots_, enLots_};
    return {debut_ + lots.atLeast + seulesEcrites_, debut_ + lots.atMost + seulesEcrites_ + (seuleEnDoute_ ? 1 : 0)};
  }

  void Ecrit(const LigneSource& ligne) {
    ++lignes_;
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

  /// Sends what is held back.
  void Termine() {
    if (lots_) lots_->Flush();
    retenus_ = 0;
  }

 private:
  [[nodiscard]] ColonneCible Colonne(const ado::Recordset& description, const ado::Field& source) const {
    const ado::Field& champ = description.Fields(source.Name());
    // The sizes of some kinds' drivers are no promise: a column without a length is told with one.
    const bool sur = cible_.Moteur().faits.longueursSures;
    const bool limite = sur && ado::IsTextType(champ.Type()) && !ado::IsLongType(champ.Type()) && champ.DefinedSize() > 0;
    return {champ.Name(), limite ? static_cast<std::size_t>(champ.DefinedSize()) : 0, EstMoment(source.Type()) && EstMoment(champ.Type())};
  }

  /// The owner behind which the target's table stands, where tables have one; statements name it without quotes.
  [[nodiscard]] std::string Proprietaire() const {
    const std::string nom = runtime::UpperCase(runtime::Trim(nom_));
    for (std::int16_t i = 0; cible_.Moteur().faits.proprietaires && i < cible_.NbTbl(); ++i) {
      const DbTbl& tbl = cible_.ListeTbl(std::to_string(i));
      if (tbl.Nom() == nom) return runtime::UpperCase(runtime::Trim(tbl.Owner()));
    }
    return {};
  }

  /// The table as the backend spells it.
  [[nodiscard]] std::string NomBase() const {
    ado::Table* table = cible_.Catalogue().Find(nom_);
    return table == nullptr ? nom_ : table->Name();
  }

  /// A backend that cuts texts silently must not get the chance.
  void VerifieLongueurs(const LigneSource& ligne) {
    for (std::size_t i = 0; i < colonnes_.size(); ++i) {
      const auto* texte = ligne.valeurs[i].If<std::string>();
      if (texte == nullptr || colonnes_[i].longueur == 0 || texte->size() <= colonnes_[i].longueur) continue;
      const std::size_t longueur = runtime::Length(*texte);
      if (longueur <= colonnes_[i].longueur) continue;
      Termine();
      throw runtime::Error(runtime::kProviderFailure, "ligne " + std::to_string(lignes_) + " : colonne " + colonnes_[i].nom +
                                                          " : texte de " + std::to_string(longueur) + " caractères pour une colonne de " +
                                                          std::to_string(colonnes_[i].longueur));
    }
  }

  /// What stands as a text in a column of days or times is never guessed at.
  void VerifieMoments(const LigneSource& ligne) {
    for (std::size_t i = 0; i < colonnes_.size(); ++i) {
      const auto* texte = colonnes_[i].moments ? ligne.valeurs[i].If<std::string>() : nullptr;
      if (texte == nullptr || EcritParUnServeur(*texte)) continue;
      Termine();
      throw runtime::Error(runtime::kTypeMismatch).WithContext("ligne " + std::to_string(lignes_) + ", colonne " + colonnes_[i].nom);
    }
  }

  void PasseLigneALigne() {
    Termine();
    enLots_ = lots_->Stored().atLeast;
    lots_.reset();
    seules_ = cible_.OpenRecordSet("SELECT * FROM [" + nom_ + "]", 2);
  }

  void EcritSeule(const LigneSource& ligne) {
    try {
      seules_.AddNew();
      for (std::size_t i = 0; i < colonnes_.size(); ++i) {
        if (!ligne.valeurs[i].IsEmpty()) seules_.Fields(colonnes_[i].nom).Value(ligne.valeurs[i]);
      }
      for (const auto& [place, longue] : ligne.fichiers) seules_.Fields(colonnes_[place].nom).WriteFrom(longue.Source());
      seules_.Update();
      ++seulesEcrites_;
    } catch (runtime::Error& erreur) {
      // A duplicate or a value that is refused is not there; after anything else nobody knows.
      seuleEnDoute_ = erreur.Number() == runtime::kProviderFailure;
      throw erreur.WithContext("ligne " + std::to_string(lignes_));
    }
  }

  DataBase& cible_;
  const std::string& nom_;
  std::vector<ColonneCible> colonnes_;
  std::optional<ado::BulkInsert> lots_;
  ado::Recordset seules_;
  std::int64_t debut_;
  std::int64_t lignes_;
  std::int64_t enLots_ = 0;         // rows in the target by batches, once there are no more of them
  std::int64_t seulesEcrites_ = 0;  // rows in the target one by one
  bool seuleEnDoute_ = false;
  std::size_t retenus_ = 0;
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

void Copie(DataBase& source, DataBase& cible, const std::string& nom, const CopieOptions& options, CopieBilan& bilan, Fin& fin) {
  fin.presentes = {options.debut, options.debut};
  auto lues = source.OpenRecordSet("SELECT * FROM [" + nom + "]", 0);
  EcritureCible ecriture(cible, nom, lues, options.debut);
  fin.deLaSource = true;
  Saute(lues, options.debut, bilan);
  const std::int64_t sautees = bilan.lues;
  Progression progression(options);
  try {
    LignesSource lignes(lues, &source.Connexion() != &cible.Connexion());
    for (auto bloc = lignes.Suivant(); bloc.nombre > 0; bloc = lignes.Suivant(std::move(bloc))) {
      fin.deLaSource = false;
      for (const LigneSource& ligne : bloc.Lues()) {
        ++bilan.lues;
        ecriture.Ecrit(ligne);
        if (!progression.Continue(bilan.lues)) {
          bilan.arretee = true;
          break;
        }
      }
      if (bilan.arretee) break;
      fin.deLaSource = true;
    }
    fin.deLaSource = false;
    ecriture.Termine();
  } catch (const runtime::Error&) {
    fin.presentes = ecriture.Presentes();
    throw;
  }
  bilan.ecrites = bilan.lues - sautees;
  lues.Close();
}

/// What is known of the target goes into the text where the number of the row alone does not tell it.
ErreurCopie Complete(runtime::Error& erreur, const std::string& nom, const Fin& fin) {
  erreur.WithContext("copie de la table " + nom);
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

CopieBilan CopieLignes(DataBase& source, DataBase& cible, const std::string& nom, const CopieOptions& options) {
  CopieBilan bilan;
  Fin fin;
  try {
    Copie(source, cible, nom, options, bilan, fin);
  } catch (runtime::Error& erreur) {
    throw Complete(erreur, nom, fin);
  }
  return bilan;
}

}  // namespace tamlo::db::ddl
