#include "db/ddl/CopieLignes.h"

#include <chrono>
#include <optional>
#include <vector>

#include "ado/BulkInsert.h"
#include "db/ddl/LignesSource.h"
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

/// A column of the target: its name there, and the characters that it holds at most (0: whatever the backend takes).
struct ColonneCible {
  std::string nom;
  std::size_t longueur = 0;
};

/// Writes rows into the target: in batches until a row comes that is too long for memory, row by row from then on.
class EcritureCible {
 public:
  EcritureCible(DataBase& cible, const std::string& nom, const ado::Recordset& source) : cible_(cible), nom_(nom) {
    auto description = cible.OpenRecordSet("SELECT * FROM [" + nom + "]", 0);
    std::vector<std::string> noms;
    for (std::size_t i = 0; i < source.FieldCount(); ++i) {
      colonnes_.push_back(Colonne(description, source.Fields(i).Name()));
      noms.push_back(colonnes_.back().nom);
    }
    description.Close();
    lots_.emplace(cible.Connexion(), NomBase(), std::move(noms), Proprietaire());
  }

  void Ecrit(const LigneSource& ligne) {
    ++lignes_;
    VerifieLongueurs(ligne);
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
  [[nodiscard]] ColonneCible Colonne(const ado::Recordset& description, const std::string& nom) const {
    const ado::Field& champ = description.Fields(nom);
    // The sizes of the other kinds' drivers are no promise: a column without a length is told with one.
    const bool sur = cible_.Kind16() >= TypJet && cible_.Kind16() < TypOdbc;
    const bool limite = sur && ado::IsTextType(champ.Type()) && !ado::IsLongType(champ.Type()) && champ.DefinedSize() > 0;
    return {champ.Name(), limite ? static_cast<std::size_t>(champ.DefinedSize()) : 0};
  }

  /// The owner behind which the target's table stands, on Oracle alone; statements name it without quotes.
  [[nodiscard]] std::string Proprietaire() const {
    const std::string nom = runtime::UpperCase(runtime::Trim(nom_));
    for (std::int16_t i = 0; cible_.Kind16() == TypOracle && i < cible_.NbTbl(); ++i) {
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

  void PasseLigneALigne() {
    Termine();
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
    } catch (runtime::Error& erreur) {
      throw erreur.WithContext("ligne " + std::to_string(lignes_));
    }
  }

  DataBase& cible_;
  const std::string& nom_;
  std::vector<ColonneCible> colonnes_;
  std::optional<ado::BulkInsert> lots_;
  ado::Recordset seules_;
  std::int64_t lignes_ = 0;
  std::size_t retenus_ = 0;
};

void Copie(DataBase& source, DataBase& cible, const std::string& nom, const CopieOptions& options, CopieBilan& bilan) {
  auto lues = source.OpenRecordSet("SELECT * FROM [" + nom + "]", 0);
  EcritureCible ecriture(cible, nom, lues);
  Progression progression(options);
  {
    LignesSource lignes(lues, &source.Connexion() != &cible.Connexion());
    for (auto bloc = lignes.Suivant(); bloc.nombre > 0; bloc = lignes.Suivant(std::move(bloc))) {
      for (const LigneSource& ligne : bloc.Lues()) {
        ++bilan.lues;
        ecriture.Ecrit(ligne);
        if (!progression.Continue(bilan.lues)) {
          bilan.arretee = true;
          break;
        }
      }
      if (bilan.arretee) break;
    }
    ecriture.Termine();
  }
  bilan.ecrites = bilan.lues;
  lues.Close();
}

}  // namespace

CopieBilan CopieLignes(DataBase& source, DataBase& cible, const std::string& nom, const CopieOptions& options) {
  CopieBilan bilan;
  try {
    Copie(source, cible, nom, options, bilan);
  } catch (runtime::Error& erreur) {
    throw erreur.WithContext("copie de la table " + nom);
  }
  return bilan;
}

}  // namespace tamlo::db::ddl
