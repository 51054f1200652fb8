#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <thread>
#include <utility>

#include "ado/Connection.h"
#include "db/DataBase.h"
#include "db/DbUtil.h"
#include "db/ddl/Generateur.h"
#include "db/kinds/Moteur.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"

namespace tamlo::db {

namespace {

/// A rowset of the server's own language, beside the dialect.
ado::Recordset Demande(DataBase& db, const std::string& sql) {
  ado::Recordset rs;
  rs.Open(sql, &db.Connexion(), ado::adOpenForwardOnly, ado::adLockUnspecified, ado::adOptionUnspecified);
  return rs;
}

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
      ado::Recordset rs = Demande(db_, question);
      oui = !rs.Eof() && runtime::ToText(rs.Fields(0).Value()) == "1";
      rs.Close();
    });
    return oui;
  }
  DataBase& db_;
  bool pris_;
};

}  // namespace

bool Patience::Encore() {
  using std::chrono::milliseconds;
  const auto maintenant = std::chrono::steady_clock::now();
  if (essais_++ == 0) debut_ = maintenant;
  if (maintenant - debut_ > std::chrono::seconds(10)) return false;
  std::this_thread::sleep_for(std::min(milliseconds(25) * essais_, milliseconds(250)));
  return true;
}

/// At the opening. Another program may be building the same catalog: whoever is hindered by it begins anew, for it may have taken away what the
/// other one has written, so that the last of them leaves it whole.
void DataBase::ConstruitCatalogue(Patience& patience) {
  if (Moteur().faits.construitEnCommun) return ConstruitCatalogueMySql(patience);
  constexpr int kEssais = 6;
  std::optional<runtime::Error> refus;
  for (int essai = 1;; ++essai) {
    try {
      refus = RefaitCatalogue();
      break;
    } catch (const runtime::Error&) {
      Catalogue().Refresh();
      const bool aucune =
          std::none_of(kTablesReconstruites.begin(), kTablesReconstruites.end(), [&](const char* nom) { return ExisteTbl(nom); });
      // Generic ODBC has no catalog unless somebody made one.
      if (aucune && Moteur().faits.tables == kinds::Voie::kAucune) return;
      if (aucune || essai == kEssais) throw;
      std::this_thread::sleep_for(std::chrono::milliseconds(50) * essai);
      Catalogue().Refresh();
    }
  }
  if (refus) throw *std::move(refus);
}

/// Several programs may do this at once, on several servers of a cluster too: nobody takes away what another has made. A table or a key that
/// is refused because it is there is taken as it is, and the rows, which are one transaction, are written by the first who ends it.
void DataBase::ConstruitCatalogueMySql(Patience& patience) {
  const VerrouConstruction verrou(*this);
  std::optional<runtime::Error> refus;
  for (;;) {
    try {
      for (const char* nom : kTablesReconstruites) EtablitTableCatalogue(nom);
      tableEnCours_.clear();
      refus = EcritLignesCatalogue(true);
      break;
    } catch (const runtime::Error& erreur) {
      if (!Moteur().DUnAutreProgramme(erreur) || !patience.Encore()) throw;
    }
  }
  if (refus) throw *std::move(refus);
}

void DataBase::EtablitTableCatalogue(const std::string& nom) {
  tableEnCours_ = nom;
  Catalogue().Refresh();
  auto voulue = DefinitionCatalogue(nom);
  if (!ExisteTbl(nom)) {
    AddTbl(std::move(voulue));
  } else if (!MemesColonnes(Catalogue().Tables(nom), *voulue)) {
    SupTbl(nom);
    AddTbl(std::move(voulue));
  } else if (SansCle(nom)) {
    CompleteCle(std::move(voulue));
  } else {
    AjouteTable(Catalogue().Tables(nom), nullptr, nullptr, "");
  }
}

/// The second of the two statements that make a catalog table, where the first alone has run.
void DataBase::CompleteCle(std::unique_ptr<DbTbl> voulue) {
  const std::string nom = voulue->Nom();
  try {
    ddl::CreeIndex(*this, *voulue, ddl::Description(voulue->ListeIdx("0")));
  } catch (const runtime::Error& erreur) {
    // Rows that no key allows: nobody writes any before there is one, they are of another origin. A key that another program has given it
    // meanwhile is refused otherwise, for the table may have its rows by then.
    if (erreur.Number() != runtime::kDuplicateKey) throw;
    SupTbl(nom);
    AddTbl(std::move(voulue));
    return;
  }
  Catalogue().Refresh();
  AjouteTable(Catalogue().Tables(nom), nullptr, nullptr, "");
}

/// Inside of a transaction, which holds the rows from here on.
DataBase::LignesPresentes DataBase::TientLignesCatalogue() {
  bool champs = false;
  bool tables = false;
  bool restes = false;
  const auto regarde = [&](const char* nom, const char* colonne, bool& autres) {
    ado::Recordset rs = Demande(*this, std::string("SELECT `") + colonne + "` FROM `" + nom + "` FOR UPDATE");
    for (; !rs.Eof(); rs.MoveNext()) {
      restes = true;
      // The probe's rows are written by whoever made it, into what is not built yet too.
      autres = autres || TexteCatalogue(rs.Fields(0).Value()) != "TEST_DT";
    }
    rs.Close();
  };
  bool index = false;
  try {
    regarde(kFldKorv, "TABLE", champs);
    regarde(kIdxKorv, "TABLE", index);
    regarde(kTblKorv, "NOM", tables);
  } catch (const runtime::Error& erreur) {
    if (Moteur().DUnAutreProgramme(erreur)) throw;
    return LignesPresentes::kAucune;
  }
  if (champs && tables) return LignesPresentes::kAchevees;
  return restes ? LignesPresentes::kRestes : LignesPresentes::kAucune;
}

/// After a rollback: lists the catalog tables that the backend has, and no others.
void DataBase::AccordeTablesCatalogue() {
  Catalogue().Refresh();
  for (const char* nom : kTablesReconstruites) {
    if (ExisteTbl(nom)) {
      AjouteTable(Catalogue().Tables(nom), nullptr, nullptr, "");
    } else {
      std::erase_if(tables_, [&](const EntreeTbl& entree) { return entree.nom == nom; });
      NomsChanges();
    }
  }
}

}  // namespace tamlo::db
