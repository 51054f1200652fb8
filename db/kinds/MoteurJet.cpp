#include "db/kinds/MoteurJet.h"

namespace tamlo::db::kinds {

namespace {

constexpr std::int16_t kVerrous = 12000;

constexpr Faits kFaits{
    .provider = "Microsoft.Jet.OLEDB.4.0",
    .avecLogin = false,
    .preparation = {.etape = "verrous du fichier", .propriete = "Jet OLEDB:Max Locks Per File", .valeur = kVerrous},
    .proprieteVersion = "JET OLEDB:ENGINE TYPE",
    .definitionsEnTransaction = true,
    .estFichier = true,
    .attache = true,
    .ouvre = '[',
    .ferme = ']',
    .premiereLigne = true,
    .tables = Voie::kCatalogue,
    .index = Voie::kCatalogue,
    .compteurs = true,
    .gardePrimaire = true,
};

}  // namespace

MoteurJet::MoteurJet() : Moteur(kFaits) {}

void MoteurJet::Traduit(std::string& /*sql*/, const Contexte& /*contexte*/) const {}

}  // namespace tamlo::db::kinds
