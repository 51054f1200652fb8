#pragma once

#include "ado/Provider.h"

namespace tamlo::ado::jetprovider {

/// Makes a new, empty Access file; see Catalog::Create.
void CreateDatabase(const OpenRequest& request);

}  // namespace tamlo::ado::jetprovider
