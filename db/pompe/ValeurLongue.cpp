#include "db/pompe/ValeurLongue.h"

#include <algorithm>
#include <string>
#include <vector>

#include "base/Utf8.h"
#include "runtime/Error.h"

namespace tamlo::db::pompe {

namespace {

constexpr std::size_t kMorceau = 64 * 1024;
constexpr std::int32_t kErreurEntreeSortie = 57;

[[noreturn]] void FichierRefuse() {
  throw runtime::Error(kErreurEntreeSortie, "Le fichier temporaire d'une valeur longue ne peut pas être écrit ou relu");
}

void Ecrit(std::FILE* fichier, const std::byte* octets, std::size_t nombre) {
  if (std::fwrite(octets, 1, nombre, fichier) != nombre) FichierRefuse();
}

}  // namespace

ValeurLongue ValeurLongue::Lit(const ado::Field& champ) {
  ValeurLongue valeur;
  valeur.texte_ = ado::IsTextType(champ.Type());
  std::vector<std::byte> tete;
  const auto morceau = std::make_unique_for_overwrite<std::byte[]>(kMorceau);
  while (const std::size_t lus = champ.ReadChunk(morceau.get(), kMorceau)) {
    if (valeur.fichier_ == nullptr && tete.size() + lus > kSeuil) {
      valeur.fichier_.reset(std::tmpfile());
      if (valeur.fichier_ == nullptr) FichierRefuse();
      Ecrit(valeur.fichier_.get(), tete.data(), tete.size());
      tete = {};
    }
    if (valeur.fichier_ != nullptr) {
      Ecrit(valeur.fichier_.get(), morceau.get(), lus);
    } else {
      tete.insert(tete.end(), morceau.get(), morceau.get() + lus);
    }
  }
  if (valeur.fichier_ != nullptr) {
    if (std::fflush(valeur.fichier_.get()) != 0) FichierRefuse();
  } else if (tete.empty()) {
    valeur.courte_ = champ.Value();  // null or empty: the pieces alone do not tell
  } else if (valeur.texte_) {
    valeur.courte_ = std::string(reinterpret_cast<const char*>(tete.data()), tete.size());
  } else {
    valeur.courte_ = std::move(tete);
  }
  return valeur;
}

ado::ChunkSource ValeurLongue::Source() const {
  std::rewind(fichier_.get());
  return [fichier = fichier_.get(), texte = texte_](std::byte* tampon, std::size_t place) {
    const std::size_t lus = std::fread(tampon, 1, place, fichier);
    if (lus < place && std::ferror(fichier) != 0) FichierRefuse();
    const std::size_t entame = texte ? base::BegunCharacter({reinterpret_cast<const char*>(tampon), lus}) : 0;
    if (entame == 0 || entame == lus) return lus;
    if (std::fseek(fichier, -static_cast<long>(entame), SEEK_CUR) != 0) FichierRefuse();
    return lus - entame;
  };
}

}  // namespace tamlo::db::pompe
