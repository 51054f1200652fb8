#include "app/Utilisateurs.h"

#include "ado/Recordset.h"
#include "app/BasesOuvertes.h"
#include "app/Gardes.h"
#include "app/TableCode.h"
#include "app/Valeurs.h"
#include "db/DataBase.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"

namespace tamlo::app {

namespace {

/// How often a new row may be refused as a duplicate under one and the same id, which then cannot be what is duplicate.
constexpr int kMaxRefusMemeId = 100;

std::string RequeteUtl(const std::string& nom) { return "SELECT * FROM Utl WHERE Nom='" + nom + "'"; }

/// The row that is being saved, and what became of it.
struct LigneUtl {
  double id = 0;
  bool refusee = false;
};

/// As often as the id is taken meanwhile, the next one. Any other refusal is passed over.
void MetAJour(ado::Recordset& rs, LigneUtl& ligne) {
  int refusMemeId = 0;
  for (;;) {
    const runtime::PendingError erreur = runtime::IgnoringErrors([&] { rs.Update(); });
    ligne.refusee = static_cast<bool>(erreur);
    if (erreur.number != runtime::kDuplicateKey) return;
    const double precedent = ligne.id;
    runtime::IgnoringErrors([&] {
      ligne.id = IdSuivant("Utl");
      rs.Fields("IdUtl").Value(ligne.id);
    });
    refusMemeId = ligne.id == precedent ? refusMemeId + 1 : 0;
    if (refusMemeId == kMaxRefusMemeId) return;
  }
}

LigneUtl SauveUtl(const Utilisateur& utilisateur) {
  ado::Recordset rs = BaseVlmOuverte().OpenRecordSet(RequeteUtl(utilisateur.nom), 2);
  LigneUtl ligne;
  if (rs.Eof()) {
    rs.AddNew();
    ligne.id = IdSuivant("Utl");
    rs.Fields("IdUtl").Value(ligne.id);
  } else {
    ExigeMemeNom(TexteOuVide(rs.Fields("Nom").Value()), utilisateur.nom);
    ligne.id = runtime::ToDouble(rs.Fields("IdUtl").Value());
  }
  rs.Fields("Nom").Value(utilisateur.nom);
  rs.Fields("MotPasse").Value(CodePwd(utilisateur.motPasse));
  MetAJour(rs, ligne);
  runtime::IgnoringErrors([&] { rs.CancelUpdate(); });
  rs.Close();
  return ligne;
}

void SauveVlmUtl(double id, const Utilisateur& utilisateur) {
  ado::Recordset rs = BaseVlmOuverte().OpenRecordSet(
      "SELECT * FROM VlmUtl WHERE IdUtl=" + runtime::ShortestText(id) + " AND IdVlm=" + runtime::ShortestText(utilisateur.idVlm), 2);
  // A link that exists keeps its level.
  if (rs.Eof()) {
    rs.AddNew();
    rs.Fields("IdUtl").Value(id);
    rs.Fields("IdVlm").Value(utilisateur.idVlm);
    rs.Fields("Niveau").Value(utilisateur.niveau);
    rs.Update();
  }
  rs.Close();
}

}  // namespace

std::string LitMotPasse(const std::string& nom) {
  ado::Recordset rs = BaseVlmOuverte().OpenRecordSet(RequeteUtl(nom), 0);
  std::string motPasse;
  if (!rs.Eof()) {
    ExigeMemeNom(TexteOuVide(rs.Fields("Nom").Value()), nom);
    motPasse = DecodePwd(TexteOuVide(rs.Fields("MotPasse").Value()));
  }
  rs.Close();
  return motPasse;
}

bool SauveUtilisateur(const Utilisateur& utilisateur) {
  const LigneUtl ligne = SauveUtl(utilisateur);
  SauveVlmUtl(ligne.id, utilisateur);
  return !ligne.refusee;
}

double IdSuivant(const std::string& table) {
  db::DataBase& base = BaseVlmOuverte();
  const std::string champ = base.ListeTbl(table).ListeFld("0").Nom();
  ado::Recordset rs = base.OpenRecordSet("SELECT Max([" + champ + "]) FROM " + table, 0);
  double id = 1;
  if (!rs.Eof()) {
    const runtime::Variant maximum = rs.Fields(0).Value();
    if (!maximum.IsNull()) id = runtime::ToDouble(maximum) + 1;
  }
  rs.Close();
  return id;
}

}  // namespace tamlo::app
