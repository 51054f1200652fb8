#include "ado/Errors.h"

namespace tamlo::ado {

runtime::Error AdoError(std::int32_t number, const std::string& detail) {
  std::string text = runtime::Describe(number);
  if (!detail.empty()) text += " (" + detail + ")";
  return {number, std::move(text), "ado"};
}

}  // namespace tamlo::ado
