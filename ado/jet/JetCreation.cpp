#include "ado/jet/JetCreation.h"

#include "ado/ConnectionKeys.h"
#include "ado/Errors.h"
#include "ado/jet/FileSearch.h"
#include "ado/jet/JetErrors.h"
#include "jet/Database.h"
#include "runtime/Secret.h"
#include "runtime/Text.h"

namespace tamlo::ado::jetprovider {

namespace {

[[noreturn]] void Refuse(const std::string& why) {
  throw runtime::Error(runtime::kOperationNotSupported, runtime::Describe(runtime::kOperationNotSupported) + " (" + why + ")",
                       "Microsoft JET Database Engine");
}

/// What is asked of the new file and would not be so must not be passed over.
void RequirePlain(const ConnectionKeys& keys, bool ace) {
  for (const auto& [key, value] : keys) {
    if (value.empty()) continue;
    if (key == "JET OLEDB:ENGINE TYPE" && (ace ? value != "6" : value != "4" && value != "5")) Refuse("Jet OLEDB:Engine Type=" + value);
    if (key == "JET OLEDB:NEW DATABASE PASSWORD") Refuse("Jet OLEDB:New Database Password");
    if (key == "LOCALE IDENTIFIER" && value != "1033") Refuse("Locale Identifier=" + value);
  }
}

bool IsTrue(const std::string& value) {
  const std::string upper = runtime::UpperCase(value);
  return !upper.empty() && upper != "FALSE" && upper != "NO" && upper != "0";
}

/// Such a file is one of Access 2007, any other one of Access 2000.
bool IsAceName(const std::string& path) {
  const std::string upper = runtime::UpperCase(path);
  return upper.ends_with(".ACCDB") || upper.ends_with(".ACCDE");
}

}  // namespace

void CreateDatabase(const OpenRequest& request) {
  ConnectionText text = ReadConnectionText(request.connectionString);
  const runtime::WipedAtEnd wipe(text.password);
  const ConnectionKeys keys = ParseKeys(request.connectionString);
  const int version = ValueOf(keys, {"JET OLEDB:ENGINE TYPE"}) == "4" ? 3 : 4;
  if (runtime::Trim(text.dataSource).empty()) throw AdoError(runtime::kBadArguments, "Data Source");
  // A file of that name in other letters is the one that a connection would open.
  const std::string path = FindFile(text.dataSource);
  RequirePlain(keys, IsAceName(path));
  jet::Protection protection{.password = text.password, .encoded = IsTrue(ValueOf(keys, {"JET OLEDB:ENCRYPT DATABASE"}))};
  const runtime::WipedAtEnd wipeProtection(*protection.password);
  try {
    (void)jet::Database::Create(path, {}, protection, version);
  } catch (const jet::Error& error) {
    if (error.Code() == jet::ErrorCode::kAlreadyExists) throw AdoError(runtime::kObjectExists, path);
    throw Translated(error, {}, true);
  }
}

}  // namespace tamlo::ado::jetprovider
