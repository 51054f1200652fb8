#include "db/sql/QualifieUsuel.h"

#include <algorithm>
#include <bit>
#include <memory>

#include "db/sql/Octets.h"
#include "db/sql/Passes.h"
#include "db/sql/Textes.h"

namespace tamlo::db::sql {

namespace {

constexpr std::size_t kFenetre = 64;

/// A copy of the text with a blank behind it, as the qualification wants it, and room to read whole windows.
class Source {
 public:
  explicit Source(std::string_view texte) : taille_(texte.size()) {
    constexpr std::size_t kMarge = kFenetre + kBloc;
    char* octets = pile_;
    if (taille_ + kMarge > sizeof pile_) {
      tas_ = std::make_unique<char[]>(taille_ + kMarge);
      octets = tas_.get();
    }
    std::memcpy(octets, texte.data(), taille_);
    std::memset(octets + taille_, 0, kMarge);
    octets[taille_] = ' ';
    octets_ = octets;
  }
  [[nodiscard]] char operator[](std::size_t i) const { return octets_[i]; }
  [[nodiscard]] const char* Octets() const { return octets_; }
  /// The text with its blank.
  [[nodiscard]] std::size_t Taille() const { return taille_ + 1; }
  [[nodiscard]] std::string_view Partie(std::size_t debut, std::size_t fin) const { return {octets_ + debut, fin - debut}; }
  [[nodiscard]] std::size_t Cherche(char octet, std::size_t depart) const {
    const void* trouve = std::memchr(octets_ + depart, octet, Taille() - depart);
    return trouve == nullptr ? std::string::npos : static_cast<std::size_t>(static_cast<const char*>(trouve) - octets_);
  }

 private:
  char pile_[1024];
  std::unique_ptr<char[]> tas_;
  const char* octets_ = nullptr;
  std::size_t taille_;
};

/// The places of a window where something may begin: a blank, a comma, "CV".
std::uint64_t Places(const char* fenetre) {
  std::uint64_t places = 0;
  for (std::size_t i = 0; i < kFenetre; i += kBloc) {
    const Octets bloc = LitBloc(fenetre + i);
    const Octets cv = Egaux(bloc, 'C') & Egaux(LitBloc(fenetre + i + 1), 'V');
    places |= std::uint64_t{Masque(Egaux(bloc, ' ') | Egaux(bloc, ',') | cv)} << i;
  }
  return places;
}

/// Characters of which the later passes make something: brackets, and letters of " AS " and "CVDATE".
bool EstDangereux(char octet) { return octet == '[' || octet == ']' || octet == 'A'; }

Octets EnGuillemets(Octets bloc) {
  const Octets crochets = Egaux(bloc, '[') | Egaux(bloc, ']');
  return (bloc & ~crochets) | (crochets & static_cast<unsigned char>('"'));
}

/// One translation. The text is walked from left to right and rewritten behind the walk.
class Traduction {
 public:
  Traduction(std::string& sql, const TablesQualifiees& tables) : source_(sql), tables_(tables), sortie_(sql) {}

  bool Execute() {
    if (Parcourt()) return true;
    sortie_ = source_.Partie(0, source_.Taille() - 1);
    return false;
  }

 private:
  /// A place where a name is written behind a blank or comma.
  struct Site {
    const TablesQualifiees::Table* table = nullptr;
    std::size_t fin = 0;  ///< of the character behind the name, which the next site may begin with
    char avant = 0;
    bool crochets = false;
  };

  bool Parcourt();
  bool TraiteSeparateur(std::size_t place);
  bool ChercheSite(std::size_t place, Site& site) const;
  bool TraiteCvdate(std::size_t place);
  void CopieJusqua(std::size_t fin);
  /// Where the next bytes are written, with room for so many.
  char* Place(std::size_t octets);
  void Ecrit(std::string_view texte);
  void EcritMasqueAvant(std::size_t place);

  Source source_;
  const TablesQualifiees& tables_;
  std::string& sortie_;
  std::size_t ecrits_ = 0;
  std::size_t copies_ = 0;  // of the source: what stands before is written or left out
  std::size_t debut_ = 0;   // of the text without its outer blanks
  std::size_t fin_ = 0;
  std::size_t masqueEn_ = std::string::npos;  // where a date mask is to be put in
  std::size_t masqueApres_ = 0;               // further dates are looked for from here on
  bool dateSeule_ = false;
  std::string masque_;
  Site dernier_;
};

char* Traduction::Place(std::size_t octets) {
  if (ecrits_ + octets > sortie_.size()) sortie_.resize((ecrits_ + octets) * 2);
  return sortie_.data() + ecrits_;
}

inline void Traduction::Ecrit(std::string_view texte) {
  std::memcpy(Place(texte.size()), texte.data(), texte.size());
  ecrits_ += texte.size();
}

void Traduction::CopieJusqua(std::size_t fin) {
  if (fin <= copies_) return;
  // Whole blocks: the source can be read beyond its end, and what is written too much is written over.
  const std::size_t nombre = fin - copies_;
  char* const place = Place(nombre + kBloc);
  for (std::size_t i = 0; i < nombre; i += kBloc) std::memcpy(place + i, source_.Octets() + copies_ + i, kBloc);
  ecrits_ += nombre;
  copies_ = fin;
}

void Traduction::EcritMasqueAvant(std::size_t place) {
  if (masqueEn_ >= place) return;
  CopieJusqua(masqueEn_);
  Ecrit(",'");
  Ecrit(masque_);
  Ecrit(dateSeule_ ? "'" : " HH24:MI:SS'");
  masqueEn_ = std::string::npos;
}

/// True when the place holds a site, or none; false when the tables concerned want each pass on its own.
bool Traduction::ChercheSite(std::size_t place, Site& site) const {
  const bool crochets = source_[place + 1] == '[';
  const std::size_t debut = place + (crochets ? 2 : 1);
  if (crochets && tables_.AvecCrochets()) return false;
  if (!tables_.PeutCommencer(source_[debut])) return true;
  std::size_t fin = debut;
  if (crochets) {
    fin = source_.Cherche(']', debut);
    if (fin == std::string::npos) return true;
  } else {
    while (source_[fin] != ' ' && source_[fin] != ',' && source_[fin] != '.') ++fin;
  }
  const TablesQualifiees::Rangs* rangs = tables_.Cherche(source_.Partie(debut, fin));
  if (rangs == nullptr) return true;
  const TablesQualifiees::Table& table = tables_[rangs->front()];
  if (rangs->size() != 1 || !table.simple || tables_.EstNommee(table.owner)) return false;
  if (crochets) {
    const char apres = source_[++fin];
    if (apres != ' ' && apres != '.' && apres != ',' && apres != '(' && apres != ')') return true;
  }
  site = {&table, fin, source_[place], crochets};
  return true;
}

bool Traduction::TraiteSeparateur(std::size_t place) {
  Site site;
  if (!ChercheSite(place, site)) return false;
  // A search goes on behind what it found: the same form right behind itself is passed over.
  const bool chevauche = site.table != nullptr && site.table == dernier_.table && place == dernier_.fin &&
                         site.crochets == dernier_.crochets && site.avant == dernier_.avant && source_[site.fin] == source_[dernier_.fin];
  if (site.table != nullptr && !chevauche) {
    // What is put in there would count as part of the date text.
    if (masqueEn_ != std::string::npos) return false;
    dernier_ = site;
    CopieJusqua(place + 1);
    Ecrit(site.table->owner);
    Ecrit(".");
    return true;
  }
  const bool as = place >= debut_ && place >= copies_ && place + 4 <= fin_ && std::memcmp(source_.Octets() + place, " AS ", 4) == 0;
  if (as) {
    CopieJusqua(place + 1);
    copies_ = place + 4;
  }
  return true;
}

bool Traduction::TraiteCvdate(std::size_t place) {
  if (place + kCvdate.size() > fin_ || std::memcmp(source_.Octets() + place, kCvdate.data(), kCvdate.size()) != 0) return true;
  if (place >= masqueApres_) {
    masqueEn_ = source_.Cherche(')', place);
    if (masqueEn_ == std::string::npos) return false;
    masqueApres_ = masqueEn_ + 1;
    dateSeule_ = EstDateSeule(source_.Partie(place, masqueEn_));
    if (masque_.empty()) {
      masque_ = LitFmtDateCourte();
      // The later passes would act on a mask that holds what they look for.
      if (std::any_of(masque_.begin(), masque_.end(), [](char octet) { return EstDangereux(octet); })) return false;
    }
  }
  CopieJusqua(place);
  Ecrit("TO_DATE");
  copies_ = place + kCvdate.size();
  return true;
}

bool Traduction::Parcourt() {
  if (tables_.AvecMotVide()) return false;
  fin_ = source_.Taille();
  while (fin_ > 0 && source_[fin_ - 1] == ' ') --fin_;
  if (fin_ == 0) return false;
  while (source_[debut_] == ' ') ++debut_;
  copies_ = debut_;
  constexpr std::size_t kCroissance = 128;
  sortie_.resize(source_.Taille() + kCroissance);
  for (std::size_t fenetre = 0; fenetre < fin_; fenetre += kFenetre) {
    for (std::uint64_t places = Places(source_.Octets() + fenetre); places != 0; places &= places - 1) {
      const std::size_t place = fenetre + static_cast<std::size_t>(std::countr_zero(places));
      if (place >= fin_) break;
      EcritMasqueAvant(place);
      if (!(source_[place] == 'C' ? TraiteCvdate(place) : TraiteSeparateur(place))) return false;
    }
  }
  EcritMasqueAvant(fin_);
  CopieJusqua(fin_);
  // Before the names of aliases go, the text may have been longer than it is now.
  if (ecrits_ + source_.Taille() > Positions::kOctetsSurs) return false;
  sortie_.resize(ecrits_);
  SurChaqueBloc(sortie_.data(), sortie_.size(), [](Octets bloc) { return EnGuillemets(bloc); });
  return true;
}

}  // namespace

bool TraduitUsuel(std::string& sql, const TablesQualifiees& tables) {
  if (sql.size() > Positions::kOctetsSurs) return false;
  return Traduction(sql, tables).Execute();
}

}  // namespace tamlo::db::sql
