#include "ado/Errors.h"

namespace tamlo::ado {
namespace {

const char* Text(std::int32_t number) {
  switch (number) {
    case runtime::kNoCurrentRecord:
      return "BOF ou EOF est égal à True ou l'enregistrement actuel a été supprimé. L'opération demandée nécessite un enregistrement actuel.";
    case runtime::kOperationNotSupported:
      return "L'objet ou le fournisseur ne peut pas effectuer l'opération demandée.";
    case runtime::kItemNotFound:
      return "Impossible de trouver l'objet dans la collection correspondant au nom ou à la référence ordinale demandé.";
    case runtime::kObjectClosed:
      return "Cette opération n'est pas autorisée si l'objet est fermé.";
    case runtime::kObjectOpen:
      return "Cette opération n'est pas autorisée si l'objet est ouvert.";
    case runtime::kProviderNotFound:
      return "Impossible de trouver le fournisseur. Il est peut-être mal installé.";
    case runtime::kConnectionInvalid:
      return "La connexion ne peut pas être utilisée pour effectuer cette opération. Elle est fermée ou non valide dans ce contexte.";
    default:
      return "";
  }
}

}  // namespace

runtime::Error AdoError(std::int32_t number, const std::string& detail) {
  std::string text = Text(number);
  if (!detail.empty()) text += " (" + detail + ")";
  return {number, std::move(text), "ado"};
}

}  // namespace tamlo::ado
