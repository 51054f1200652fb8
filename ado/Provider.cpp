#include "ado/Provider.h"

#include <map>
#include <utility>

#include "ado/Errors.h"
#include "runtime/Text.h"

namespace tamlo::ado {
namespace {

std::map<std::string, ProviderFactory>& Registry() {
  static std::map<std::string, ProviderFactory> registry;
  return registry;
}

}  // namespace

void RegisterProvider(const std::string& name, ProviderFactory factory) { Registry()[runtime::UpperCase(name)] = std::move(factory); }

const ProviderFactory& FindProvider(const std::string& name) {
  const auto found = Registry().find(runtime::UpperCase(name));
  if (found == Registry().end()) throw AdoError(runtime::kProviderNotFound, name);
  return found->second;
}

}  // namespace tamlo::ado
