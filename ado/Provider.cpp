#include "ado/Provider.h"

#include <map>
#include <utility>

#include "ado/Errors.h"
#include "runtime/Text.h"

namespace tamlo::ado {
namespace {

struct Registered {
  ProviderFactory open;
  DatabaseCreator create;
};

std::map<std::string, Registered>& Registry() {
  static std::map<std::string, Registered> registry;
  return registry;
}

const Registered& Find(const std::string& name) {
  const auto found = Registry().find(runtime::UpperCase(name));
  if (found == Registry().end()) throw AdoError(runtime::kProviderNotFound, name);
  return found->second;
}

}  // namespace

std::size_t ProviderRowset::RowCount() { throw AdoError(runtime::kOperationNotSupported); }
bool ProviderRowset::MoveTo(std::size_t /*position*/) { throw AdoError(runtime::kOperationNotSupported); }

bool ProviderRowset::Refresh() { throw AdoError(runtime::kOperationNotSupported); }

void ProviderCatalog::RenameTable(const std::string& /*table*/, const std::string& /*name*/) {
  throw AdoError(runtime::kOperationNotSupported);
}
void ProviderCatalog::DeleteTable(const std::string& /*table*/) { throw AdoError(runtime::kOperationNotSupported); }
void ProviderCatalog::DeleteColumn(const std::string& /*table*/, const std::string& /*column*/) {
  throw AdoError(runtime::kOperationNotSupported);
}
void ProviderCatalog::DeleteIndex(const std::string& /*table*/, const std::string& /*index*/) {
  throw AdoError(runtime::kOperationNotSupported);
}

std::vector<Key> ProviderCatalog::Keys(const std::string& /*table*/) { throw AdoError(runtime::kOperationNotSupported); }
void ProviderCatalog::AppendKey(const std::string& /*table*/, const Key& /*key*/) { throw AdoError(runtime::kOperationNotSupported); }
void ProviderCatalog::DeleteKey(const std::string& /*table*/, const Key& /*key*/) { throw AdoError(runtime::kOperationNotSupported); }
std::vector<View> ProviderCatalog::Views() { throw AdoError(runtime::kOperationNotSupported); }
void ProviderCatalog::AppendView(const std::string& /*name*/, const std::string& /*command*/) {
  throw AdoError(runtime::kOperationNotSupported);
}
void ProviderCatalog::DeleteView(const std::string& /*name*/) { throw AdoError(runtime::kOperationNotSupported); }

std::int64_t ProviderConnection::ExecuteWith(const std::string& text, std::span<const Parameter> parameters, std::int32_t timeoutSeconds) {
  if (!parameters.empty()) throw AdoError(runtime::kOperationNotSupported);
  return Execute(text, timeoutSeconds);
}

std::vector<Parameter> ProviderConnection::DescribeParameters(const std::string& /*text*/) {
  throw AdoError(runtime::kOperationNotSupported);
}

void ProviderConnection::Backup(const std::string& /*path*/) { throw AdoError(runtime::kOperationNotSupported); }

std::string ProviderConnection::TableStatement(const std::string& table) {
  const bool quoted = !table.empty() && table.front() == '[';
  return "SELECT * FROM " + (quoted ? table : "[" + table + "]");
}

std::string ProviderConnection::CallStatement(const std::string& name, std::size_t parameters, bool returns) {
  std::string call = (returns ? "{? = CALL " : "{CALL ") + name;
  const std::size_t given = parameters - (returns ? 1 : 0);
  for (std::size_t i = 0; i < given; ++i) call += i == 0 ? "(?" : ",?";
  return call + (given > 0 ? ")}" : "}");
}

void RegisterProvider(const std::string& name, ProviderFactory factory, DatabaseCreator create) {
  Registry()[runtime::UpperCase(name)] = {std::move(factory), std::move(create)};
}

const ProviderFactory& FindProvider(const std::string& name) { return Find(name).open; }
const DatabaseCreator& FindCreator(const std::string& name) { return Find(name).create; }

}  // namespace tamlo::ado
