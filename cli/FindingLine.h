#pragma once

#include <string>

#include "schema/Finding.h"

namespace tamlo::cli {

/// What a finding says, in the user's language.
[[nodiscard]] std::string FindingText(const schema::Finding& finding);
/// With where it is in front ("Clients.Nom: is JSON..."), on one line whatever names hold, so that it never ends a comment.
[[nodiscard]] std::string FindingLine(const schema::Finding& finding);

/// For programs: a JSON object with table, column, key and text.
[[nodiscard]] std::string FindingObject(const schema::Finding& finding);

/// "table.column", or what there is of it.
[[nodiscard]] std::string PlaceOf(const std::string& table, const std::string& column);

}  // namespace tamlo::cli
