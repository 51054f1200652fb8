#pragma once

#include "db/DataBase.h"

namespace tamlo::tests {

/// Makes the tool's tables UTL and VLMUTL, with their keys, in an open database of any kind that takes definitions.
void MakeVolumesTables(db::DataBase& base);

}  // namespace tamlo::tests
