#include <algorithm>

#include "db/DataBase.h"
#include "db/copie/CopieLignes.h"
#include "db/kinds/Moteur.h"
#include "runtime/Error.h"
#include "support/Support.h"

namespace tamlo::db {

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
std::unique_ptr<DbTbl> MemeStructure(DbTbl& source, bool avecIndex) {
  auto copie = std::make_unique<DbTbl>();
  copie->Nom(source.Nom());
  for (std::int16_t i = 0; i < source.NbFld(); ++i) {
    const DbFld& fld = source.ListeFld(std::to_string(i));
    copie->AddFld(fld.Nom(), fld.Typ(), fld.Lg(), fld.EstCpt());
  }
  for (std::int16_t i = 0; avecIndex && i < source.NbIdx(); ++i) {
    const DbIdx& idx = source.ListeIdx(std::to_string(i));
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

}  // namespace

CopieBilan DataBase::CopieDonnees(const std::string& nom, DataBase& cible, const CopieOptions& options) {
  RefuseSoiMeme(*this, cible, nom);
  const MessagePassager message("Copie de la table " + nom + " dans la base <" + cible.ConnectionString() + ">");
  const bool manque = !cible.ExisteTbl(nom);
  if (manque) TblCopie(nom, cible, true, false);
  if (!Moteur().faits.estFichier || !cible.Moteur().faits.estFichier || options.debut > 0) {
    try {
      return ddl::CopieLignes(*this, cible, nom, options);
    } catch (const runtime::Error&) {
      // A generic source creates no table: the definition that was listed for it stands for nothing.
      if (manque && !cible.ExisteTbl(nom)) cible.Raye();
      throw;
    }
  }

  // Between two Access files the engine copies by itself. Untranslated: the case of the file's name counts where two differ by it alone.
  const std::string sql = "INSERT INTO [" + nom + "] IN \"" + cible.ConnectionString() + "\" SELECT * FROM [" + nom + "]";
  Connexion().CommandTimeout(0);
  CopieBilan bilan;
  try {
    bilan.ecrites = std::max<std::int64_t>(0, Connexion().Execute(sql, ado::adExecuteNoRecords));
  } catch (runtime::Error& erreur) {
    throw ErreurCopie(erreur.WithContext("copie de la table " + nom), 0, 0);
  }
  bilan.lues = bilan.ecrites;
  return bilan;
}

CopieBilan DataBase::TblCopie(const std::string& nom, DataBase& cible, bool ajoute, bool copie, const CopieOptions& options) {
  RefuseSoiMeme(*this, cible, nom);
  // The indexes of an Oracle table are known by names that no other backend gives them.
  if (ajoute) {
    DbTbl& source = TableNommee(nom);
    // An attached table whose source cannot be reached has no fields, and the copy would have none either: the reason is raised.
    if (source.NbFld() == 0 && source.attachee_) source.LitDefinition();
    cible.AddTbl(MemeStructure(source, !Moteur().faits.prefixeIndex));
  }
  return copie ? ddl::CopieLignes(*this, cible, nom, options) : CopieBilan{};
}

}  // namespace tamlo::db
