#include "db/kinds/ParamOra.h"

#include <array>
#include <filesystem>
#include <string_view>
#include <thread>

#include "db/kinds/FichierPartage.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"
#include "support/Support.h"

namespace tamlo::db::kinds {

namespace {

constexpr std::int32_t kFinDeFichier = 62;

// The nine values of the defaults and of each table, in the file's order.
constexpr std::array<std::pair<std::string ParamOra::*, const char*>, 9> kValeurs = {{
    {&ParamOra::pctFree, "PCTFREE"},
    {&ParamOra::pctUsed, "PCTUSED"},
    {&ParamOra::tablespace, "tablespace"},
    {&ParamOra::tablespaceIndex, "tablespace des index"},
    {&ParamOra::initial, "INITIAL"},
    {&ParamOra::next, "NEXT"},
    {&ParamOra::minExtents, "MINEXTENTS"},
    {&ParamOra::maxExtents, "MAXEXTENTS"},
    {&ParamOra::pctIncrease, "PCTINCREASE"},
}};

/// Reads the values of a sequential text one after the other: separated by commas and line ends (CR LF or LF); a text in double quotes
/// holds commas and line ends as they stand; blanks around a value do not count; nothing between two commas is a blank value.
class LecteurSequentiel {
 public:
  explicit LecteurSequentiel(std::string_view texte) : reste_(texte.substr(0, texte.find('\x1A'))) {}

  /// True when nothing but blanks and line ends is left.
  [[nodiscard]] bool Fini() const noexcept { return reste_.find_first_not_of(" \t\r\n") == std::string_view::npos; }

  /// The next value; nullopt at the end of the text.
  std::optional<std::string> Suivante() {
    SauteBlancs();
    if (reste_.empty() && !apresVirgule_) return std::nullopt;
    std::string_view valeur;
    if (!reste_.empty() && reste_.front() == '"') {
      reste_.remove_prefix(1);
      const auto fin = reste_.find('"');
      if (fin == std::string_view::npos) return std::nullopt;
      valeur = reste_.substr(0, fin);
      reste_.remove_prefix(fin + 1);
      SauteBlancs();
    } else {
      const auto fin = std::min(reste_.find_first_of(",\r\n"), reste_.size());
      valeur = SansBlancsFinaux(reste_.substr(0, fin));
      reste_.remove_prefix(fin);
    }
    SauteSeparateur();
    return std::string(valeur);
  }

 private:
  static std::string_view SansBlancsFinaux(std::string_view texte) {
    const auto fin = texte.find_last_not_of(" \t");
    return fin == std::string_view::npos ? std::string_view() : texte.substr(0, fin + 1);
  }
  void SauteBlancs() { reste_.remove_prefix(std::min(reste_.find_first_not_of(" \t"), reste_.size())); }
  void SauteSeparateur() {
    apresVirgule_ = false;
    if (reste_.empty()) return;
    if (reste_.front() == ',') {
      apresVirgule_ = true;
      reste_.remove_prefix(1);
    } else if (reste_.front() == '\r' && reste_.size() > 1 && reste_[1] == '\n') {
      reste_.remove_prefix(2);
    } else if (reste_.front() == '\r' || reste_.front() == '\n') {
      reste_.remove_prefix(1);
    }
  }

  std::string_view reste_;
  bool apresVirgule_ = false;
};

class LecteurParamOra {
 public:
  LecteurParamOra(const std::string& chemin, std::string_view texte) : chemin_(chemin), lecteur_(texte) {}

  FichierParamOra Lit() {
    FichierParamOra fichier;
    const double version = LitVersion();
    LitNeuf(fichier.defauts, "les valeurs par défaut");
    if (version > 1) fichier.defauts.owner = Valeur("le propriétaire par défaut");
    while (!lecteur_.Fini()) {
      auto& [table, param] = fichier.tables.emplace_back();
      table = Valeur("un nom de table");
      LitNeuf(param, "la table " + table);
    }
    return fichier;
  }

 private:
  double LitVersion() {
    const std::string texte = Valeur("la version du format");
    runtime::RegionalSettings simples;
    if (!runtime::IsNumeric(texte, simples)) {
      throw runtime::Error(runtime::kTypeMismatch, Contexte() + "la version du format n'est pas un nombre (\"" + texte + "\")");
    }
    return runtime::ToDouble(texte, simples);
  }

  void LitNeuf(ParamOra& param, const std::string& dequoi) {
    for (const auto& [membre, nom] : kValeurs) param.*membre = Valeur(std::string(nom) + " pour " + dequoi);
  }

  std::string Valeur(const std::string& attendue) {
    auto valeur = lecteur_.Suivante();
    if (!valeur) {
      throw runtime::Error(kFinDeFichier, Contexte() + "la fin du fichier vient avant une valeur attendue, " + attendue);
    }
    return runtime::FromAnsi(*valeur);
  }

  [[nodiscard]] std::string Contexte() const { return "Fichier de paramètres Oracle " + chemin_ + " : "; }

  const std::string& chemin_;
  LecteurSequentiel lecteur_;
};

std::string CheminParamOra(std::string dossier, const std::string& suffixe) {
  const std::string nom = support::EstVide(std::string_view(suffixe)) ? "ORA.PRM" : "ORA_" + suffixe + ".PRM";
  if (!dossier.empty() && dossier.back() != '/' && dossier.back() != '\\') {
    dossier += static_cast<char>(std::filesystem::path::preferred_separator);
  }
  return dossier + nom;
}

}  // namespace

std::optional<FichierParamOra> ChargeParamOra(const std::string& dossier, const std::string& suffixe) {
  const std::string chemin = CheminParamOra(dossier, suffixe);
  if (!support::ExisteFichier(chemin)) return std::nullopt;
  std::optional<std::string> octets;
  while (!(octets = LitFichierLibre(chemin))) std::this_thread::yield();
  return LecteurParamOra(chemin, *octets).Lit();
}

ParamOra LitParamOra(const std::string& table, const std::string& dossier, const std::string& suffixe) {
  const auto fichier = ChargeParamOra(dossier, suffixe);
  if (!fichier) return {};
  ParamOra resultat = fichier->defauts;
  const std::string cherchee = runtime::UpperCase(table);
  for (const auto& [nom, param] : fichier->tables) {
    if (runtime::UpperCase(nom) != cherchee) continue;
    for (const auto& [membre, sens] : kValeurs) {
      if (!support::EstVide(std::string_view(param.*membre))) resultat.*membre = param.*membre;
    }
    break;
  }
  return resultat;
}

}  // namespace tamlo::db::kinds
