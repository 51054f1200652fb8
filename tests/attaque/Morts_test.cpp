// Programs and servers that are killed in the middle of a history: what was committed is there, and the next opening heals the rest.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstring>
#include <set>
#include <thread>

#include "runtime/Error.h"
#include "tests/attaque/Graines.h"
#include "tests/attaque/Histoire.h"

namespace tamlo::attaque {
namespace {

/// What the child that is killed tells the one who kills it; two places, so that a half written one is never the valid one.
struct Partage {
  static constexpr std::size_t kOctets = 24U << 20U;
  struct Place {
    std::size_t validee;
    std::size_t possible;
    char structure[64];
    char dit[400];
    char octets[kOctets];
  };
  volatile int laquelle;
  volatile int pas;
  Place places[2];
};

class PartageMemoire {
 public:
  PartageMemoire() {
    void* memoire = ::mmap(nullptr, sizeof(Partage), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memoire == MAP_FAILED) throw std::runtime_error("no memory");
    partage_ = static_cast<Partage*>(memoire);
    partage_->laquelle = -1;
  }
  ~PartageMemoire() { ::munmap(partage_, sizeof(Partage)); }
  PartageMemoire(const PartageMemoire&) = delete;
  PartageMemoire& operator=(const PartageMemoire&) = delete;
  Partage* operator->() { return partage_; }

  void Dit(const Etat& validee, const Etat& possible, const std::string& structure, const std::string& dit) {
    const int autre = partage_->laquelle == 0 ? 1 : 0;
    Partage::Place& place = partage_->places[autre];
    const std::string a = Ecrit(validee);
    const std::string b = Ecrit(possible);
    if (a.size() + b.size() > Partage::kOctets) std::abort();
    place.validee = a.size();
    place.possible = b.size();
    std::memcpy(place.octets, a.data(), a.size());
    std::memcpy(place.octets + a.size(), b.data(), b.size());
    std::snprintf(place.structure, sizeof place.structure, "%s", structure.c_str());
    std::snprintf(place.dit, sizeof place.dit, "%s", dit.c_str());
    __sync_synchronize();
    partage_->laquelle = autre;
    partage_->pas = partage_->pas + 1;
  }

 private:
  Partage* partage_;
};

/// What was committed when a death came, and what would have been when the step had ended.
struct Mort {
  Etat validee;
  Etat possible;
  std::string structure;
  std::string dit;
};

/// The table that the step was changing may be half there; nothing else may.
Etat Sans(Etat etat, const std::string& table) {
  etat.tables.erase(table);
  return etat;
}

/// Whether the foreign reader finds the fields of the table at hand alike in the backend and in the catalog.
bool AuCatalogueCommeLa(Terrain& terrain, const std::string& base, const Mort& mort) {
  if (mort.structure.empty()) return false;
  if (mort.structure == "*") return true;
  const Lecture lue = terrain.Lit(base, Sans(mort.validee, mort.structure));
  std::set<std::string> la;
  std::set<std::string> auCatalogue;
  if (const auto colonnes = lue.colonnes.find(mort.structure); colonnes != lue.colonnes.end())
    la.insert(colonnes->second.begin(), colonnes->second.end());
  if (const auto champs = lue.champs.find(mort.structure); champs != lue.champs.end()) {
    for (const auto& [no, champ] : champs->second) auCatalogue.insert(champ);
  }
  return la == auCatalogue;
}

/// Looks at a database that somebody died over: rows, then the structure after the next opening.
std::string ApresMort(Terrain& terrain, const std::string& base, const Mort& mort) {
  std::string fautes;
  // The opening that heals.
  const auto ouverture = runtime::IgnoringErrors([&] {
    db::DataBase heritiere;
    Ouvre(heritiere, terrain, base);
    for (std::int16_t e = 0; e < heritiere.NbErr() && terrain.ConnaitChamps(); ++e)
      fautes += "opening: " + heritiere.ListeErr(e).etape + " " + heritiere.ListeErr(e).description + "\n";
    heritiere.Ferme();
  });
  if (ouverture) return "the next opening: " + ouverture.description + "\n";
  std::string selonValidee;
  std::string selonPossible;
  const auto regarde = [&](bool structure) {
    const Lecture lue = terrain.Lit(base, mort.validee);
    selonValidee = Ecarts(terrain, mort.validee, lue, structure);
    selonPossible = Ecarts(terrain, mort.possible, terrain.Lit(base, mort.possible), structure);
    return selonValidee.empty() || selonPossible.empty();
  };
  bool va = false;
  for (int essai = 0; essai < 20 && !va; ++essai) {  // a server needs a moment to see that the client has gone
    va = regarde(false);
    if (!va) std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  if (!va && !mort.structure.empty() && mort.structure != "*") {
    // The table at hand may be half made; its rows are looked at where it has the old or the new columns.
    const Etat reste = Sans(mort.validee, mort.structure);
    Lecture lue = terrain.Lit(base, reste);
    lue.colonnes.erase(mort.structure);
    const std::string ailleurs = Ecarts(terrain, reste, lue, false);
    if (ailleurs.empty())
      va = true;
    else
      fautes += "elsewhere than at " + mort.structure + ": " + ailleurs;
    std::printf("half made: %s\n  %s  %s", mort.dit.c_str(), selonValidee.c_str(), selonPossible.c_str());
  }
  if (!va) fautes += "as before: " + selonValidee + "as after: " + selonPossible;
  if (!terrain.Catalogue()) return fautes;
  // What of the catalog is not so must be told, and be right after the repair.
  const bool catalogueVa = regarde(true);
  const auto erreur = runtime::IgnoringErrors([&] {
    db::DataBase base2;
    Ouvre(base2, terrain, base);
    const bool dit = !base2.VerifieCatalogue().empty();
    // A table that is half made may be so in the catalog too.
    if (!catalogueVa && !dit && !AuCatalogueCommeLa(terrain, base, mort))
      fautes += "VerifieCatalogue says nothing; as before: " + selonValidee + "as after: " + selonPossible;
    std::vector<db::EcartCatalogue> changements;
    base2.RecreeCatalogue(changements);
    for (const auto& ecart : base2.VerifieCatalogue()) fautes += "after the repair: " + ecart.table + " " + ecart.texte + "\n";
    base2.Ferme();
  });
  if (erreur) fautes += "the repair: " + std::to_string(erreur.number) + " " + erreur.description + "\n";
  return fautes;
}

class Tuees : public testing::TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(Kinds, Tuees, testing::Values("Jet", "MariaDb", "Sqlite", "Postgres"), [](const auto& nom) { return nom.param; });

TEST_P(Tuees, AProgramThatIsKilledLosesNothingThatWasCommitted) {
  Terrain& terrain = TerrainNomme(GetParam());
  Graines graines(3);
  PartageMemoire partage;
  int fautes = 0;
  int pas = 0;
  while (graines.Encore() && fautes < kMaxFautes) {
    const std::uint32_t graine = graines.Suivante();
    const std::string base = terrain.BaseVide();
    {
      // The first opening makes the catalog; a death over that is another test's matter.
      db::DataBase neuve;
      Ouvre(neuve, terrain, base);
      neuve.Ferme();
    }
    partage.Dit({}, {}, "", "nothing");
    const int debut = partage->pas;
    const pid_t enfant = ::fork();
    if (enfant == 0) {
      try {
        Histoire histoire(terrain, base, graine, terrain.Traits());
        histoire.unAUn = true;
        histoire.avant = [&](const Etat& validee, const Etat& possible, const std::string& structure, const std::string& dit) {
          partage.Dit(validee, possible, structure, dit);
        };
        for (int i = 0; i < 2000; ++i) histoire.Pas();
      } catch (const std::exception& erreur) {
        std::fprintf(stderr, "the child: %s\n", erreur.what());
        ::_exit(3);
      }
      ::_exit(0);
    }
    Hasard hasard(graine);
    while (partage->pas == debut && ::waitpid(enfant, nullptr, WNOHANG) == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    std::this_thread::sleep_for(std::chrono::microseconds(Tire(hasard, 700000)));
    ::kill(enfant, SIGKILL);
    int etat = 0;
    (void)::waitpid(enfant, &etat, 0);
    EXPECT_TRUE(WIFSIGNALED(etat)) << "seed " << graine;
    pas += partage->pas - debut;
    const Partage::Place& place = partage->places[partage->laquelle];
    const std::string octets(place.octets, place.validee + place.possible);
    const Mort mort{Relu(octets.substr(0, place.validee)), Relu(octets.substr(place.validee)), place.structure, place.dit};
    std::string ecarts;
    try {
      ecarts = ApresMort(terrain, base, mort);
    } catch (const std::exception& erreur) {
      ecarts = erreur.what();
    }
    if (ecarts.empty()) continue;
    ++fautes;
    ADD_FAILURE() << GetParam() << ", seed " << graine << ", killed at step " << partage->pas - debut << ": " << mort.dit << " (structure "
                  << mort.structure << ")\n"
                  << ecarts.substr(0, 3000);
  }
  std::printf("%s: %d programs killed, %d steps\n", GetParam().c_str(), graines.Nombre(), pas);
}

class ServeurTue : public testing::TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(Kinds, ServeurTue, testing::Values("MariaDb", "Postgres"), [](const auto& nom) { return nom.param; });

TEST_P(ServeurTue, KeepsWhatWasCommittedAndTellsTheRest) {
  Terrain& terrain = TerrainNomme(GetParam());
  Graines graines(1);
  int fautes = 0;
  int pas = 0;
  while (graines.Encore() && fautes < kMaxFautes) {
    const std::uint32_t graine = graines.Suivante();
    const std::string base = terrain.BaseVide();
    Mort mort;
    std::string journal;
    {
      Histoire histoire(terrain, base, graine, terrain.Traits());
      histoire.unAUn = true;
      std::size_t refus = 0;
      for (int i = 0; i < 15; ++i) histoire.Pas();
      std::atomic<bool> mourante = false;
      bool figee = false;
      histoire.avant = [&](const Etat& validee, const Etat& possible, const std::string& structure, const std::string& dit) {
        if (!figee) mort = {validee, possible, structure, dit};
      };
      Hasard hasard(graine);
      std::thread tueur([&terrain, attente = Tire(hasard, 400000), &mourante] {
        std::this_thread::sleep_for(std::chrono::microseconds(attente));
        terrain.Tue();
        mourante = true;
      });
      try {
        for (int i = 0; i < 3000 && !figee; ++i, ++pas) {
          refus = histoire.Refus().size();
          histoire.Pas();
          // The step that failed by the death is the last one that counts.
          if (histoire.Refus().size() > refus) {
            const std::string& dernier = histoire.Refus().back();
            for (const char* signe : {"gone away", "Lost connection", "connection lost", "server closed", "no connection", "terminating",
                                      "Can't connect", "2013", "2006", "08S01", "57P", "was not dropped"}) {
              if (dernier.find(signe) != std::string::npos) figee = true;
            }
            if (mourante) figee = true;
          }
        }
      } catch (const std::exception&) {
        figee = true;  // an opening that is refused
      }
      tueur.join();
      journal = histoire.DerniersPas(4);
      histoire.avant = nullptr;
    }
    terrain.Releve();
    std::string ecarts;
    try {
      ecarts = ApresMort(terrain, base, mort);
    } catch (const std::exception& erreur) {
      ecarts = erreur.what();
    }
    if (ecarts.empty()) continue;
    ++fautes;
    ADD_FAILURE() << GetParam() << ", seed " << graine << ", at " << mort.dit << " (structure " << mort.structure << ")\n"
                  << ecarts.substr(0, 3000) << journal;
  }
  std::printf("%s: server killed %d times, %d steps\n", GetParam().c_str(), graines.Nombre(), pas);
}

}  // namespace
}  // namespace tamlo::attaque
