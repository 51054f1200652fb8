#include "app/frmTamlo.h"

#include <string_view>

#include "app/BasesOuvertes.h"
#include "app/Gardes.h"
#include "app/TableCode.h"
#include "app/Utilisateurs.h"
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

constexpr std::int16_t kUneLigne = 345;
/// As high as the label above leaves room.
constexpr std::int16_t kDeuxLignes = 645;

/// The free space left of a box, of a height about the box's middle.
ui::Rectangle AGauche(ui::Rectangle zone, std::int16_t hauteur) {
  constexpr std::int16_t kMarge = 120;
  const int haut = zone.top + (zone.height - hauteur) / 2;
  return {kMarge, static_cast<std::int16_t>(haut), static_cast<std::int16_t>(zone.left - 2 * kMarge), hauteur};
}

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

void frmTamlo::Sauve() {
  Utilisateur utilisateur{txtNom_->Text(), txtPwd_->Text(), idVlm_, niveau_};
  const runtime::WipedAtEnd efface(utilisateur.motPasse);
  motPasseRefuse_ = !SauveUtilisateur(utilisateur);
}

void frmTamlo::OnUnload() {
  FermeBase(BaseVlm());
  LibereTableCode();
}

}  // namespace tamlo::app
