#include "ado/jet/JetErrors.h"

#include <algorithm>
#include <array>

#include "ado/Secrets.h"
#include "ado/jet/FrenchReason.h"
#include "runtime/Text.h"

namespace tamlo::ado::jetprovider {

namespace {

struct Wording {
  jet::ErrorCode code;
  std::int32_t number;
  const char* text;
};

constexpr Wording kWordings[] = {
    {jet::ErrorCode::kNotAnAccessFile, runtime::kProviderFailure, "Format de base de données non reconnu"},
    {jet::ErrorCode::kPasswordProtected, runtime::kPasswordRefused, "La base de données est protégée par un mot de passe"},
    {jet::ErrorCode::kWrongPassword, runtime::kPasswordRefused, "Mot de passe incorrect"},
    {jet::ErrorCode::kInUse, runtime::kFileInUseExclusively, "La base de données ou l'objet est verrouillé"},
    {jet::ErrorCode::kReadOnly, runtime::kProviderFailure, "Mise à jour impossible : la base de données ou l'objet est en lecture seule"},
    {jet::ErrorCode::kDamaged, runtime::kProviderFailure, "La base de données est endommagée"},
    {jet::ErrorCode::kIo, runtime::kProviderFailure, "Erreur d'accès au fichier"},
    {jet::ErrorCode::kDiskFull, runtime::kProviderFailure, "Disque plein : la transaction a été annulée"},
    {jet::ErrorCode::kDuplicateKey, runtime::kDuplicateKey,
     "La modification créerait un doublon dans un index, une clé primaire ou une relation"},
    {jet::ErrorCode::kNullNotAllowed, runtime::kProviderFailure, "Le champ ne peut pas contenir de valeur Null"},
    {jet::ErrorCode::kZeroLengthNotAllowed, runtime::kProviderFailure, "Le champ ne peut pas contenir une chaîne vide"},
    {jet::ErrorCode::kValueTooLong, runtime::kProviderFailure, "Le champ est trop petit pour la valeur"},
    {jet::ErrorCode::kTypeMismatch, runtime::kProviderFailure, "Type de données incompatible"},
    {jet::ErrorCode::kNotFound, runtime::kItemNotFound, "Objet introuvable"},
    {jet::ErrorCode::kAlreadyExists, runtime::kProviderFailure, "L'objet existe déjà"},
    {jet::ErrorCode::kLimit, runtime::kProviderFailure, "Une limite du format est dépassée"},
    {jet::ErrorCode::kUnsupported, runtime::kProviderFailure, "Opération non gérée"},
    {jet::ErrorCode::kSyntax, runtime::kProviderFailure, "Erreur de syntaxe dans l'instruction SQL"},
    {jet::ErrorCode::kLinkUnreachable, runtime::kProviderFailure, "La table attachée est inaccessible"},
    {jet::ErrorCode::kRelationViolated, runtime::kProviderFailure, "Une relation entre tables interdit la modification"},
    {jet::ErrorCode::kNoTransaction, runtime::kNoTransaction, "Il n'y a pas de transaction à terminer"},
    {jet::ErrorCode::kChangedMeanwhile, runtime::kProviderFailure, "La ligne a été modifiée par un autre utilisateur depuis sa lecture"},
};

/// A statement may name another database by its connection string.
std::string Shown(const std::string& statement) {
  return runtime::UpperCase(statement).find("DATABASE PASSWORD") == std::string::npos ? statement : WithoutSecrets(statement);
}

}  // namespace

runtime::Error Translated(const jet::Error& error, const std::string& sent, bool opening) {
  Wording found{error.Code(), runtime::kProviderFailure, "Erreur de la base de données"};
  for (const Wording& wording : kWordings) {
    if (wording.code == error.Code()) found = wording;
  }
  if (opening && error.Code() == jet::ErrorCode::kNotFound) found = {error.Code(), runtime::kProviderFailure, "Fichier introuvable"};
  if (opening && error.Code() == jet::ErrorCode::kInUse) found.number = runtime::kFileInUse;
  // The name of a file may be a connection string.
  const std::string detail = WithoutSecrets(error.what());
  const std::string reason = FrenchReason(detail);
  runtime::Error translated(found.number, reason.empty() ? found.text : found.text + (" : " + reason), "Microsoft JET Database Engine");
  translated.WithDiagnostics({{"", static_cast<std::int32_t>(error.Code()), detail}});
  if (!sent.empty()) translated.WithSent(Shown(sent));
  return translated;
}

runtime::Error TranslatedOfStatement(const jet::Error& error, const std::string& sent) {
  runtime::Error translated = Translated(error, sent);
  const bool noTable = dynamic_cast<const jet::NoSuchTable*>(&error) != nullptr;
  if (!noTable && error.Code() != jet::ErrorCode::kSyntax) return translated;
  runtime::Error numbered(noTable ? runtime::kNoSuchTable : runtime::kStatementRefused, translated.Description(), translated.Source());
  return numbered.WithDiagnostics(translated.Diagnostics()).WithSent(translated.Sent());
}

bool IsOfTheRow(const runtime::Error& error) {
  static constexpr std::array kOfTheFile{
      jet::ErrorCode::kInUse,    jet::ErrorCode::kReadOnly, jet::ErrorCode::kDamaged,        jet::ErrorCode::kIo,
      jet::ErrorCode::kDiskFull, jet::ErrorCode::kNotFound, jet::ErrorCode::kLinkUnreachable};
  return std::none_of(kOfTheFile.begin(), kOfTheFile.end(), [&](jet::ErrorCode code) {
    const auto& records = error.Diagnostics();
    return !records.empty() && records.front().native == static_cast<std::int32_t>(code);
  });
}

}  // namespace tamlo::ado::jetprovider
