#include "app/UtlConnecte.h"

#include "ado/Recordset.h"
#include "app/BasesOuvertes.h"
#include "app/TableCode.h"
#include "app/Valeurs.h"
#include "runtime/Conversions.h"
#include "runtime/Secret.h"
#include "runtime/Text.h"
#include "support/Support.h"

namespace tamlo::app {

namespace {

struct UtlConnecte {
  double id = 0;
  std::string nom;
  std::string motPasseCode;
};

UtlConnecte& Connecte() noexcept {
  static UtlConnecte connecte;
  return connecte;
}

}  // namespace

void ConnecteUtl(double id, const std::string& nom, const std::string& motPasseCode) {
  UtlConnecte& connecte = Connecte();
  if (id == connecte.id) return;
  if (!BaseVlm()) {
    connecte.nom = nom;
    connecte.motPasseCode = motPasseCode;
    return;
  }
  connecte.id = id;
  support::Sablier(true);
  ado::Recordset rs = BaseVlm()->OpenRecordSet("SELECT * FROM Utl WHERE IdUtl=" + runtime::ShortestText(id), 0);
  if (rs.Eof()) {
    connecte.nom.clear();
    connecte.motPasseCode.clear();
  } else {
    connecte.motPasseCode = TexteOuVide(rs.Fields("MotPasse").Value());
    connecte.nom = runtime::TrimRight(TexteOuVide(rs.Fields("Nom").Value()));
  }
  rs.Close();
  support::Sablier(false);
}

double IdUtlConnecte() noexcept { return Connecte().id; }

const std::string& NomUtlConnecte() noexcept { return Connecte().nom; }

std::string PwdUtlConnecte() {
  InitTableCode();
  std::string clair = DecodePwd(Connecte().motPasseCode);
  LibereTableCode();
  return clair;
}

void OublieUtlConnecte() noexcept {
  runtime::Wipe(Connecte().motPasseCode);
  Connecte() = {};
}

}  // namespace tamlo::app
