#include "app/frmTamlo.h"

#include "app/Demarrage.h"
#include "app/Gardes.h"
#include "app/TableCode.h"
#include "app/Utilisateurs.h"
#include "app/Valeurs.h"
#include "db/DataBase.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Secret.h"
#include "runtime/Text.h"
#include "support/Support.h"

namespace tamlo::app {

namespace {

// Twips.
constexpr std::int16_t kLargeur = 6150;
constexpr std::int16_t kHauteur = 3090;
constexpr ui::Rectangle kPlaceNom{2625, 480, 2790, 315};
constexpr ui::Rectangle kPlacePwd{2625, 1080, 705, 315};
constexpr ui::Rectangle kPlacePwd2{2640, 1575, 705, 315};
constexpr ui::Rectangle kPlaceOK{3300, 2640, 1320, 330};
constexpr ui::Rectangle kPlaceAnnuler{4710, 2640, 1320, 330};

constexpr std::int16_t kMaxPwd = 10;
constexpr ui::Color kGrisClair{192, 192, 192};
constexpr ui::Color kJauneClair{255, 255, 224};

constexpr const char* kTipNom = "Nom";
constexpr const char* kTipPwd = "Mot de passe";
constexpr const char* kTipPwd2 = "Confirmation du mot de passe";

constexpr const char* kNeComptePas =
    "Ce mot de passe contient des caractères qui ne comptent pas : seuls comptent les lettres sans accent, les chiffres, l'espace et "
    "la ponctuation courante (sans ~). Deux mots de passe qui ne diffèrent que par de tels caractères n'en font qu'un.\n\nL'enregistrer "
    "quand même ?";

/// How often a new row may be refused as a duplicate under one and the same id, which then cannot be what is duplicate.
constexpr int kMaxRefusMemeId = 100;

constexpr std::int16_t kUneLigne = 345;
/// As high as the label above leaves room.
constexpr std::int16_t kDeuxLignes = 645;

/// The free space left of a box, of a height about the box's middle.
ui::Rectangle AGauche(ui::Rectangle zone, std::int16_t hauteur) {
  constexpr std::int16_t kMarge = 120;
  const int haut = zone.top + (zone.height - hauteur) / 2;
  return {kMarge, static_cast<std::int16_t>(haut), static_cast<std::int16_t>(zone.left - 2 * kMarge), hauteur};
}

std::string TexteNombre(double nombre) { return runtime::ShortestText(nombre); }

}  // namespace

frmTamlo::frmTamlo() : form_(ui::CurrentPlatform().CreateForm(kLargeur, kHauteur)) {
  form_->Caption("Création d'un utilisateur");
  PlaceControles();
  PlaceLibelles();
  BrancheEvenements();
  Load();
}

frmTamlo::~frmTamlo() = default;

void frmTamlo::PlaceControles() {
  txtPwd2_ = &form_->AddTextBox("txtPwd2", kPlacePwd2);
  txtPwd2_->Tip(kTipPwd2);
  txtPwd2_->AccessibleName(kTipPwd2);
  txtPwd2_->Password(true);
  txtNom_ = &form_->AddTextBox("txtNom", kPlaceNom);
  txtNom_->Tip(kTipNom);
  txtNom_->AccessibleName(kTipNom);
  txtNom_->Locked(true);
  txtPwd_ = &form_->AddTextBox("txtPwd", kPlacePwd);
  txtPwd_->Tip(kTipPwd);
  txtPwd_->AccessibleName(kTipPwd);
  txtPwd_->Password(true);
  btnAnnuler_ = &form_->AddButton("btnAnnuler", kPlaceAnnuler);
  btnAnnuler_->Caption("&Annuler");
  btnAnnuler_->Cancel(true);
  btnOK_ = &form_->AddButton("btnOK", kPlaceOK);
  btnOK_->Caption("&OK");
  btnOK_->Default(true);
  form_->TabOrder({txtPwd_, txtPwd2_, btnOK_, btnAnnuler_, txtNom_});
}

void frmTamlo::PlaceLibelles() {
  const auto place = [this](const char* nom, const char* texte, ui::Rectangle libre, ui::TextBox& txt) {
    ui::Label& libelle = form_->AddLabel(nom, libre);
    libelle.Caption(texte);
    libelle.Buddy(txt);
  };
  place("lblNom", kTipNom, AGauche(kPlaceNom, kUneLigne), *txtNom_);
  place("lblPwd", kTipPwd, AGauche(kPlacePwd, kUneLigne), *txtPwd_);
  place("lblPwd2", kTipPwd2, AGauche(kPlacePwd2, kDeuxLignes), *txtPwd2_);
}

void frmTamlo::BrancheEvenements() {
  for (ui::TextBox* zone : {txtNom_, txtPwd_, txtPwd2_}) {
    zone->onGotFocus = [zone] { support::SelectionneTout(*zone); };
  }
  txtNom_->onLostFocus = [this] { txtNom_->Text(runtime::UpperCase(txtNom_->Text())); };
  btnOK_->onClick = [this] {
    if (!VerifiePwd() || !ConfirmeCaracteres()) return;
    Sauve();
    form_->Unload();
  };
  btnAnnuler_->onClick = [this] { form_->Unload(); };
  form_->onUnload = [this] { OnUnload(); };
}

void frmTamlo::Load() {
  support::CentreFeuille(*form_);
  InitTableCode();
  txtNom_->MaxLength(kMaxNom);
  txtPwd_->MaxLength(kMaxPwd);
  txtPwd2_->MaxLength(kMaxPwd);
  txtNom_->BackColor(kGrisClair);
  txtPwd_->BackColor(kJauneClair);
  txtPwd2_->BackColor(kJauneClair);
}

void frmTamlo::Charge(double idVlm, const std::string& nom, std::int16_t niveau, const std::string& motPasse) {
  idVlm_ = idVlm;
  niveau_ = niveau;
  txtNom_->Text(nom);
  ExigeNomTenu(txtNom_->Text(), nom);
  std::string texte = support::EstVide(std::string_view(motPasse)) ? LitMotPasse(nom) : motPasse;
  const runtime::WipedAtEnd efface(texte);
  txtPwd_->Text(texte);
  txtPwd2_->Text(texte);
}

std::string frmTamlo::LitMotPasse(const std::string& nom) const {
  ado::Recordset rs = BaseVlmOuverte().OpenRecordSet("SELECT * FROM Utl WHERE Nom='" + nom + "'", 0);
  std::string motPasse;
  if (!rs.Eof()) {
    ExigeMemeNom(TexteOuVide(rs.Fields("Nom").Value()), nom);
    motPasse = DecodePwd(TexteOuVide(rs.Fields("MotPasse").Value()));
  }
  rs.Close();
  return motPasse;
}

void frmTamlo::Show() { form_->Show(); }

bool frmTamlo::VerifiePwd() {
  if (txtPwd_->Text() == txtPwd2_->Text()) return true;
  support::Msg("La confirmation du mot de passe diffère de celui-ci. Merci de saisir à nouveau ces 2 zones", ui::kExclamation | ui::kOkOnly,
               "Mot de passe incorrect");
  RetourPwd();
  return false;
}

bool frmTamlo::ConfirmeCaracteres() {
  if (ToutCompte(txtPwd_->Text())) return true;
  const std::int16_t bouton = support::Msg(kNeComptePas, ui::kExclamation | ui::kOkCancel, "Mot de passe");
  if (bouton == ui::kOk) return true;
  RetourPwd();
  return false;
}

void frmTamlo::RetourPwd() {
  txtPwd_->SetFocus();
  // The box may have had the focus all along, and then gains none.
  support::SelectionneTout(*txtPwd_);
}

void frmTamlo::Sauve() { SauveVlmUtl(SauveUtl()); }

double frmTamlo::SauveUtl() {
  ado::Recordset rs = BaseVlmOuverte().OpenRecordSet("SELECT * FROM Utl WHERE Nom='" + txtNom_->Text() + "'", 2);
  double id = 0;
  if (rs.Eof()) {
    rs.AddNew();
    id = IdSuivant("Utl");
    rs.Fields("IdUtl").Value(id);
  } else {
    ExigeMemeNom(TexteOuVide(rs.Fields("Nom").Value()), txtNom_->Text());
    id = runtime::ToDouble(rs.Fields("IdUtl").Value());
  }
  rs.Fields("Nom").Value(txtNom_->Text());
  rs.Fields("MotPasse").Value(CodePwd(txtPwd_->Text()));
  MetAJourUtl(rs, id);
  runtime::IgnoringErrors([&] { rs.CancelUpdate(); });
  rs.Close();
  return id;
}

void frmTamlo::MetAJourUtl(ado::Recordset& rs, double& id) {
  int refusMemeId = 0;
  for (;;) {
    const runtime::PendingError erreur = runtime::IgnoringErrors([&] { rs.Update(); });
    motPasseRefuse_ = static_cast<bool>(erreur);
    if (erreur.number != runtime::kDuplicateKey) return;
    const double precedent = id;
    runtime::IgnoringErrors([&] {
      id = IdSuivant("Utl");
      rs.Fields("IdUtl").Value(id);
    });
    refusMemeId = id == precedent ? refusMemeId + 1 : 0;
    if (refusMemeId == kMaxRefusMemeId) return;
  }
}

void frmTamlo::SauveVlmUtl(double id) {
  ado::Recordset rs =
      BaseVlmOuverte().OpenRecordSet("SELECT * FROM VlmUtl WHERE IdUtl=" + TexteNombre(id) + " AND IdVlm=" + TexteNombre(idVlm_), 2);
  // A link that exists keeps its level.
  if (rs.Eof()) {
    rs.AddNew();
    rs.Fields("IdUtl").Value(id);
    rs.Fields("IdVlm").Value(idVlm_);
    rs.Fields("Niveau").Value(niveau_);
    rs.Update();
  }
  rs.Close();
}

void frmTamlo::OnUnload() {
  FermeBase(BaseVlm());
  LibereTableCode();
}

}  // namespace tamlo::app
