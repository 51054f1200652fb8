#include "runtime/Error.h"

#include <algorithm>
#include <iterator>

namespace tamlo::runtime {

namespace {

struct Description {
  std::int32_t number;
  const char* text;
};

constexpr Description kDescriptions[] = {
    {kInvalidArgument, "Argument ou appel de procédure incorrect"},
    {kOverflow, "Dépassement de capacité"},
    {kSubscriptOutOfRange, "L'indice n'appartient pas à la sélection"},
    {kTypeMismatch, "Incompatibilité de type"},
    {kObjectNotSet, "Variable objet ou variable de bloc With non définie"},
    {kInvalidUseOfNull, "Utilisation incorrecte de Null"},
    {kBadArguments, "Les arguments sont de type incorrect, en dehors des limites autorisées ou en conflit les uns avec les autres."},
    {kIllegalOperation, "L'opération n'est pas autorisée dans ce contexte."},
    {kDataConversion, "L'application utilise une valeur de type incorrect pour l'opération en cours."},
    {kValueRefused, "La valeur n'entre pas dans le champ."},
    {kChangedByAnother,
     "La ligne ne peut pas être trouvée pour la mise à jour : certaines de ses valeurs ont changé depuis la dernière lecture."},
    {kNoCurrentRecord,
     "BOF ou EOF est égal à True ou l'enregistrement actuel a été supprimé. L'opération demandée nécessite un enregistrement actuel."},
    {kTransactionOpen, "Impossible de fermer explicitement un objet Connection au cours d'une transaction."},
    {kNoTransaction, "Aucune transaction n'est active."},
    {kOperationNotSupported, "L'objet ou le fournisseur n'est pas capable d'exécuter l'opération demandée."},
    {kItemNotFound, "Impossible de trouver l'objet dans la collection correspondant au nom ou à la référence ordinale demandé."},
    {kObjectInCollection, "L'objet se trouve déjà dans la collection. Impossible de l'ajouter."},
    {kObjectExists, "La base de données existe déjà."},
    {kObjectClosed, "Cette opération n'est pas autorisée si l'objet est fermé."},
    {kObjectOpen, "Cette opération n'est pas autorisée si l'objet est ouvert."},
    {kProviderNotFound, "Impossible de trouver le fournisseur. Il est peut-être mal installé."},
    {kConnectionInvalid,
     "La connexion ne peut pas être utilisée pour effectuer cette opération. Elle est fermée ou non valide dans ce contexte."},
};

}  // namespace

std::string Describe(std::int32_t number) {
  const auto* const found = std::find_if(std::begin(kDescriptions), std::end(kDescriptions),
                                         [&](const Description& description) { return description.number == number; });
  return found == std::end(kDescriptions) ? std::string() : std::string(found->text);
}

}  // namespace tamlo::runtime
