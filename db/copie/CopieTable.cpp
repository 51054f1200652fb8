#include <algorithm>

#include "ado/ConnectionKeys.h"
#include "ado/Secrets.h"
#include "db/DataBase.h"
#include "db/copie/Copie.h"
#include "db/kinds/Moteur.h"
#include "runtime/Error.h"
#include "support/Support.h"

namespace tamlo::db::copie {

namespace {

/// Shows a message as long as it lives, then the one that stood there before.
class MessagePassager {
 public:
  explicit MessagePassager(const std::string& texte) : avant_(support::LitMessage()) { support::AfficheMessage(texte); }
  ~MessagePassager() { support::AfficheMessage(avant_); }
  MessagePassager(const MessagePassager&) = delete;
  MessagePassager& operator=(const MessagePassager&) = delete;

 private:
  std::string avant_;
};

/// A definition with the fields of another one, and its indexes where they are wanted.
std::unique_ptr<DbTbl> MemeStructure(const DbTbl& source, bool avecIndex) {
  auto copie = std::make_unique<DbTbl>();
  copie->Nom(source.Nom());
  for (const DbFld& fld : source.Champs()) copie->AddFld(fld.Nom(), fld.Typ(), fld.Lg(), fld.EstCpt());
  if (!avecIndex) return copie;
  for (const DbIdx& idx : source.Index()) {
    // A name that is a number would be taken for a position: the index is named once it is there.
    copie->AddIdx("IDX_" + idx.Nom(), idx.SFld(), idx.Primary(), idx.Unique());
    copie->ListeIdx(std::to_string(copie->NbIdx() - 1)).Nom(idx.Nom());
  }
  return copie;
}

void RefuseSoiMeme(const DataBase& source, const DataBase& cible, const std::string& nom) {
  if (&source == &cible) {
    throw runtime::Error(runtime::kInvalidArgument, "La table " + nom + " ne peut pas être copiée dans sa propre base");
  }
}

/// Between two Access files the engine copies by itself. Untranslated: the case of the file's name counts where two differ by it alone.
CopieBilan CopieParLeMoteur(const DataBase& source, const std::string& nom, const DataBase& cible) {
  const std::string sql = "INSERT INTO [" + nom + "] IN " + ado::Quoted(cible.ConnectionString()) + " SELECT * FROM [" + nom + "]";
  source.Connexion().CommandTimeout(0);
  CopieBilan bilan;
  try {
    bilan.ecrites = std::max<std::int64_t>(0, source.Connexion().Execute(sql, ado::adExecuteNoRecords));
  } catch (runtime::Error& erreur) {
    throw ErreurCopie(erreur.WithContext("copie de la table " + nom), 0, 0);
  }
  bilan.lues = bilan.ecrites;
  return bilan;
}

}  // namespace

CopieBilan CopieDonnees(const DataBase& source, const std::string& nom, DataBase& cible, const CopieOptions& options) {
  RefuseSoiMeme(source, cible, nom);
  const MessagePassager message("Copie de la table " + nom + " dans la base <" + ado::WithoutSecrets(cible.ConnectionString()) + ">");
  const bool manque = !cible.ExisteTbl(nom);
  if (manque) (void)TblCopie(source, nom, cible, true, false, {});
  if (source.Moteur().faits.estFichier && cible.Moteur().faits.estFichier && options.debut <= 0)
    return CopieParLeMoteur(source, nom, cible);
  try {
    return CopieLignes(source, cible, nom, options);
  } catch (const runtime::Error&) {
    // A generic source creates no table: the definition that was listed for it stands for nothing.
    if (manque && !cible.ExisteTbl(nom)) cible.TablesListees().Garde(static_cast<std::size_t>(cible.NbTbl()) - 1);
    throw;
  }
}

CopieBilan TblCopie(const DataBase& source, const std::string& nom, DataBase& cible, bool ajoute, bool copie, const CopieOptions& options) {
  RefuseSoiMeme(source, cible, nom);
  if (ajoute) {
    const DbTbl& tbl = source.TableNommee(nom);
    // An attached table whose source cannot be reached has no fields, and the copy would have none either: the reason is raised.
    if (tbl.NbFld() == 0 && tbl.Attachee()) tbl.LitDefinition();
    // The indexes of an Oracle table are known by names that no other backend gives them.
    cible.AddTbl(MemeStructure(tbl, !source.Moteur().faits.prefixeIndex));
  }
  return copie ? CopieLignes(source, cible, nom, options) : CopieBilan{};
}

}  // namespace tamlo::db::copie
