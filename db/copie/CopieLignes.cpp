#include "db/DataBase.h"
#include "db/copie/Copie.h"
#include "db/pompe/PompeLignes.h"
#include "db/kinds/Moteur.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::db::copie {

namespace {

/// The owner behind which the target's table stands, where tables have one; statements name it without quotes.
std::string Proprietaire(const DataBase& cible, const std::string& nom) {
  if (!cible.Moteur().faits.proprietaires) return {};
  const std::string cle = runtime::UpperCase(runtime::Trim(nom));
  for (const DbTbl& tbl : cible.Tables()) {
    if (tbl.Nom() == cle) return runtime::UpperCase(runtime::Trim(tbl.Owner()));
  }
  return {};
}

/// The table as the backend spells it.
std::string NomBase(const DataBase& cible, const std::string& nom) {
  const ado::Table* table = cible.Catalogue().Find(nom);
  return table == nullptr ? nom : table->Name();
}

pompe::CibleLignes Cible(DataBase& cible, const std::string& nom, const ado::Recordset& source) {
  const std::string texte = "SELECT * FROM [" + nom + "]";
  pompe::CibleLignes lignes;
  auto description = cible.OpenRecordSet(texte, 0);
  // The sizes of some kinds' drivers are no promise: a column without a length is told with one.
  lignes.colonnes = pompe::ColonnesCible(source, description, cible.Moteur().faits.longueursSures);
  description.Close();
  lignes.connexion = &cible.Connexion();
  lignes.table = NomBase(cible, nom);
  lignes.proprietaire = Proprietaire(cible, nom);
  lignes.ouvre = [&cible, texte] { return cible.OpenRecordSet(texte, 2); };
  return lignes;
}

}  // namespace

CopieBilan CopieLignes(const DataBase& source, DataBase& cible, const std::string& nom, const CopieOptions& options) {
  const std::string contexte = "copie de la table " + nom;
  try {
    auto lues = source.OpenRecordSet("SELECT * FROM [" + nom + "]", 0);
    return pompe::PompeLignes(lues, Cible(cible, nom, lues), options, &source.Connexion() != &cible.Connexion());
  } catch (ErreurCopie& erreur) {
    erreur.WithContext(contexte);
    throw;
  } catch (runtime::Error& erreur) {
    throw ErreurCopie(erreur.WithContext(contexte), options.debut, options.debut);
  }
}

}  // namespace tamlo::db::copie
