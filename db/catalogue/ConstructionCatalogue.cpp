#include "db/catalogue/ConstructionCatalogue.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <thread>
#include <utility>

#include "ado/Connection.h"
#include "db/DbUtil.h"
#include "db/catalogue/EcritureCatalogue.h"
#include "db/ddl/Generateur.h"
#include "db/kinds/Moteur.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"

namespace tamlo::db::catalogue {

namespace {

/// Where definitions are no part of a transaction: one program at a time builds the catalog of a database. The server lets go of
/// the lock when the connection ends, however it ends. A server that has no such locks is worked with as it is, and the servers of a cluster
/// do not know each other's: the lock spares work, what is built does not depend on it.
class VerrouConstruction {
 public:
  explicit VerrouConstruction(DataBase& db) : db_(db), pris_(Verrou(db.Moteur().faits.prendVerrou)) {}
  ~VerrouConstruction() {
    if (pris_) (void)Verrou(db_.Moteur().faits.rendVerrou);
  }
  VerrouConstruction(const VerrouConstruction&) = delete;
  VerrouConstruction& operator=(const VerrouConstruction&) = delete;

 private:
  [[nodiscard]] bool Verrou(const char* question) {
    bool oui = false;
    (void)runtime::IgnoringErrors([&] {
      // In the server's own language, beside the dialect.
      ado::Recordset rs;
      rs.Open(question, &db_.Connexion(), ado::adOpenForwardOnly, ado::adLockUnspecified, ado::adOptionUnspecified);
      oui = !rs.Eof() && runtime::ToText(rs.Fields(0).Value()) == "1";
      rs.Close();
    });
    return oui;
  }
  DataBase& db_;
  bool pris_;
};

void EtablitTableCatalogue(DataBase& db, const std::string& nom) {
  db.TableEnCours(nom);
  db.Catalogue().Refresh();
  auto voulue = DefinitionCatalogue(nom);
  if (!db.ExisteTbl(nom)) {
    db.AddTbl(std::move(voulue));
  } else if (!MemesColonnes(db.Catalogue().Tables(nom), *voulue)) {
    db.SupTbl(nom);
    db.AddTbl(std::move(voulue));
  } else if (SansCle(db, nom)) {
    CompleteCle(db, std::move(voulue));
  } else {
    db.AjouteTable(db.Catalogue().Tables(nom), nullptr, nullptr, "");
  }
}

/// Several programs may do this at once, on several servers of a cluster too: nobody takes away what another has made. A table or a key that
/// is refused because it is there is taken as it is, and the rows, which are one transaction, are written by the first who ends it.
std::optional<runtime::Error> ConstruitEnCommun(DataBase& db, Patience& patience) {
  const VerrouConstruction verrou(db);
  for (;;) {
    try {
      for (const char* nom : kTablesReconstruites) EtablitTableCatalogue(db, nom);
      db.TableEnCours("");
      return EcritLignes(db, true);
    } catch (const runtime::Error& erreur) {
      if (!db.Moteur().DUnAutreProgramme(erreur) || !patience.Encore()) throw;
    }
  }
}

/// Another program may be building the same catalog: whoever is hindered by it begins anew, for it may have taken away what the other one has
/// written, so that the last of them leaves it whole.
std::optional<runtime::Error> ConstruitParEssais(DataBase& db) {
  constexpr int kEssais = 6;
  for (int essai = 1;; ++essai) {
    try {
      return Refait(db);
    } catch (const runtime::Error&) {
      db.Catalogue().Refresh();
      const bool aucune =
          std::none_of(kTablesReconstruites.begin(), kTablesReconstruites.end(), [&](const char* nom) { return db.ExisteTbl(nom); });
      // Generic ODBC has no catalog unless somebody made one.
      if (aucune && db.Moteur().faits.tables == kinds::Voie::kAucune) return std::nullopt;
      if (aucune || essai == kEssais) throw;
      std::this_thread::sleep_for(std::chrono::milliseconds(50) * essai);
      db.Catalogue().Refresh();
    }
  }
}

}  // namespace

void Construit(DataBase& db, Patience& patience) {
  auto refus = db.Moteur().faits.construitEnCommun ? ConstruitEnCommun(db, patience) : ConstruitParEssais(db);
  if (refus) throw *std::move(refus);
}

bool SansCle(const DataBase& db, const std::string& table) {
  return db.Moteur().faits.indexApart && db.Catalogue().Tables(table).Indexes().empty();
}

void CompleteCle(DataBase& db, std::unique_ptr<DbTbl> voulue) {
  const std::string nom = voulue->Nom();
  try {
    ddl::CreeIndex(db, *voulue, ddl::Description(voulue->ListeIdx("0")));
  } catch (const runtime::Error& erreur) {
    // Rows that no key allows: nobody writes any before there is one, they are of another origin. A key that another program has given it
    // meanwhile is refused otherwise, for the table may have its rows by then.
    if (erreur.Number() != runtime::kDuplicateKey) throw;
    db.SupTbl(nom);
    db.AddTbl(std::move(voulue));
    return;
  }
  db.Catalogue().Refresh();
  db.AjouteTable(db.Catalogue().Tables(nom), nullptr, nullptr, "");
}

}  // namespace tamlo::db::catalogue
