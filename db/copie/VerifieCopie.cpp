#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "db/DataBase.h"
#include "db/copie/Copie.h"
#include "db/copie/EmpreinteLigne.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db::copie {

namespace {

/// The columns of the source, each with the column of that name of the target; a source column that the target lacks is error 3265.
std::vector<ColonneComparee> Colonnes(const ado::Recordset& source, const ado::Recordset& cible) {
  std::vector<ColonneComparee> colonnes;
  for (std::size_t i = 0; i < source.FieldCount(); ++i) {
    const ado::Field& ici = source.Fields(i);
    const ado::Field& labas = cible.Fields(ici.Name());
    const std::int16_t chiffres = std::min(ChiffresDeSeconde(ici), ChiffresDeSeconde(labas));
    colonnes.push_back({ici.Name(), RegleDe(ici.Type(), labas.Type()), chiffres, false});
  }
  return colonnes;
}

/// Marks the columns of the first unique index that either side knows; none when there is no such index.
void MarqueCle(std::vector<ColonneComparee>& colonnes, const DataBase& base, const std::string& nom) {
  const DbTbl* tbl = nullptr;
  if (runtime::IgnoringErrors([&] { tbl = &base.TableNommee(nom); })) return;
  for (const DbIdx& idx : tbl->Index()) {
    if (!idx.Unique() && !idx.Primary()) continue;
    for (ColonneComparee& colonne : colonnes) {
      for (const DbIdx::Champ& champ : idx.Champs()) colonne.cle = colonne.cle || runtime::LowerCase(colonne.nom) == champ.nom;
    }
    return;
  }
}

/// All fingerprints of one side, sorted.
std::vector<Empreinte> Toutes(LecteurEmpreintes& lecteur) {
  std::vector<Empreinte> toutes;
  Empreinte empreinte;
  while (lecteur.Suivante(empreinte)) toutes.push_back(empreinte);
  std::sort(toutes.begin(), toutes.end());
  return toutes;
}

/// What stands in a and not in b, counting repetitions.
std::vector<Empreinte> Reste(const std::vector<Empreinte>& a, const std::vector<Empreinte>& b) {
  std::vector<Empreinte> reste;
  std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(reste));
  return reste;
}

/// A row of one key on both sides is one difference, not two; without a key, so are as many rows as stand on both sides.
std::int64_t Compte(const std::vector<Empreinte>& ici, const std::vector<Empreinte>& labas, bool avecCle) {
  if (!avecCle) return static_cast<std::int64_t>(std::max(ici.size(), labas.size()));
  auto total = static_cast<std::int64_t>(ici.size() + labas.size());
  for (auto a = ici.begin(), b = labas.begin(); a != ici.end() && b != labas.end();) {
    if (a->cle == b->cle) {
      --total;
      ++a;
      ++b;
    } else {
      ++(a->cle < b->cle ? a : b);
    }
  }
  return total;
}

class Comparaison {
 public:
  Comparaison(const DataBase& source, const DataBase& cible, const std::string& nom)
      : source_(source), cible_(cible), nom_(nom), texte_("SELECT * FROM [" + nom + "]") {
    auto ici = source.OpenRecordSet(texte_, 0);
    auto labas = cible.OpenRecordSet(texte_, 0);
    colonnes_ = Colonnes(ici, labas);
    MarqueCle(colonnes_, source, nom);
    if (!AvecCle()) MarqueCle(colonnes_, cible, nom);
  }

  VerifieBilan Fait() {
    VerifieBilan bilan;
    if (MemesSommes(bilan)) return bilan;
    auto ici = Toutes(Lecteur(source_));
    auto labas = Toutes(Lecteur(cible_));
    const auto sansPareille = Reste(ici, labas);
    const auto enTrop = Reste(labas, ici);
    bilan.differences = Compte(sansPareille, enTrop, AvecCle());
    bilan.premiereDifference = sansPareille.empty() ? PremiereEnTrop(enTrop) : PremiereSansPareille(sansPareille);
    return bilan;
  }

 private:
  [[nodiscard]] bool AvecCle() const {
    return std::any_of(colonnes_.begin(), colonnes_.end(), [](const ColonneComparee& c) { return c.cle; });
  }

  /// By another way than the one by which rows are copied: what a driver spoils in the one must not look right because the other spoils it too.
  LecteurEmpreintes Lecteur(const DataBase& base) {
    std::string texte = texte_;
    base.FormateSSQL(texte);
    ado::Recordset rangees;
    rangees.ReadsByAnotherWay(true);
    rangees.Open(texte, &base.Connexion(), ado::adOpenForwardOnly, ado::adLockUnspecified, ado::adOptionUnspecified);
    return {std::move(rangees), colonnes_};
  }

  /// Counts, and adds up the fingerprints of each side: equal sums mean equal rows, whatever their order and number, in constant memory.
  bool MemesSommes(VerifieBilan& bilan) {
    const auto somme = [&](const DataBase& base, std::int64_t& lignes) {
      auto lecteur = Lecteur(base);
      Empreinte total;
      Empreinte une;
      for (lignes = 0; lecteur.Suivante(une); ++lignes) {
        total.ligne += une.ligne;
        total.cle += une.cle * une.ligne;
      }
      return total;
    };
    return somme(source_, bilan.lignesSource) == somme(cible_, bilan.lignesCible) && bilan.lignesSource == bilan.lignesCible;
  }

  std::string PremiereSansPareille(const std::vector<Empreinte>& sansPareille) {
    auto lecteur = Lecteur(source_);
    Empreinte une;
    std::int64_t ligne = 1;
    while (lecteur.Suivante(une) && !std::binary_search(sansPareille.begin(), sansPareille.end(), une)) ++ligne;
    const std::string ou = "table " + nom_ + ", ligne " + std::to_string(ligne) + lecteur.TexteCle();
    if (!AvecCle()) return ou + " : absente de la cible";
    auto enFace = Lecteur(cible_);
    Empreinte autre;
    while (enFace.Suivante(autre)) {
      if (autre.cle == une.cle) return ou + ", colonne " + lecteur.PremiereColonneDifferente(enFace);
    }
    return ou + " : absente de la cible";
  }

  std::string PremiereEnTrop(const std::vector<Empreinte>& enTrop) {
    auto lecteur = Lecteur(cible_);
    Empreinte une;
    std::int64_t ligne = 1;
    while (lecteur.Suivante(une) && !std::binary_search(enTrop.begin(), enTrop.end(), une)) ++ligne;
    return "table " + nom_ + ", ligne " + std::to_string(ligne) + " de la cible" + lecteur.TexteCle() + " : absente de la source";
  }

  static std::vector<Empreinte> Toutes(LecteurEmpreintes lecteur) { return copie::Toutes(lecteur); }

  const DataBase& source_;
  const DataBase& cible_;
  const std::string& nom_;
  std::string texte_;
  std::vector<ColonneComparee> colonnes_;
};

}  // namespace

VerifieBilan VerifieCopie(const DataBase& source, const std::string& nom, const DataBase& cible) {
  try {
    return Comparaison(source, cible, nom).Fait();
  } catch (runtime::Error& erreur) {
    throw erreur.WithContext("vérification de la table " + nom);
  }
}

}  // namespace tamlo::db::copie
