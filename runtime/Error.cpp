#include "runtime/Error.h"

namespace tamlo::runtime {

std::string Describe(std::int32_t number) {
  switch (number) {
    case kInvalidArgument:
      return "Argument ou appel de procédure incorrect";
    case kOverflow:
      return "Dépassement de capacité";
    case kSubscriptOutOfRange:
      return "L'indice n'appartient pas à la sélection";
    case kTypeMismatch:
      return "Incompatibilité de type";
    case kObjectNotSet:
      return "Variable objet ou variable de bloc With non définie";
    case kInvalidUseOfNull:
      return "Utilisation incorrecte de Null";
    case kBadArguments:
      return "Les arguments sont de type incorrect, en dehors des limites autorisées ou en conflit les uns avec les autres.";
    case kIllegalOperation:
      return "L'opération n'est pas autorisée dans ce contexte.";
    case kDataConversion:
      return "L'application utilise une valeur de type incorrect pour l'opération en cours.";
    case kValueRefused:
      return "La valeur n'entre pas dans le champ.";
    case kChangedByAnother:
      return "La ligne ne peut pas être trouvée pour la mise à jour : certaines de ses valeurs ont changé depuis la dernière lecture.";
    case kNoCurrentRecord:
      return "BOF ou EOF est égal à True ou l'enregistrement actuel a été supprimé. L'opération demandée nécessite un "
             "enregistrement actuel.";
    case kTransactionOpen:
      return "Impossible de fermer explicitement un objet Connection au cours d'une transaction.";
    case kNoTransaction:
      return "Aucune transaction n'est active.";
    case kOperationNotSupported:
      return "L'objet ou le fournisseur n'est pas capable d'exécuter l'opération demandée.";
    case kItemNotFound:
      return "Impossible de trouver l'objet dans la collection correspondant au nom ou à la référence ordinale "
             "demandé.";
    case kObjectInCollection:
      return "L'objet se trouve déjà dans la collection. Impossible de l'ajouter.";
    case kObjectExists:
      return "La base de données existe déjà.";
    case kObjectClosed:
      return "Cette opération n'est pas autorisée si l'objet est fermé.";
    case kObjectOpen:
      return "Cette opération n'est pas autorisée si l'objet est ouvert.";
    case kProviderNotFound:
      return "Impossible de trouver le fournisseur. Il est peut-être mal installé.";
    case kConnectionInvalid:
      return "La connexion ne peut pas être utilisée pour effectuer cette opération. Elle est fermée ou non valide "
             "dans "
             "ce contexte.";
    default:
      return {};
  }
}

}  // namespace tamlo::runtime
