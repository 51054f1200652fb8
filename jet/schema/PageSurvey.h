#pragma once

#include "jet/page/PagesInUse.h"

namespace jet {

struct TableSpace;

/// Walks header, maps, definitions, rows, long values and indexes of all tables that the catalog's rows name. It reads the file itself,
/// without the open tables and the catalog, which may be in the middle of a change. What is damaged is left out and told by Complete().
[[nodiscard]] PagesInUse SurveyPages(TableSpace& space);

}  // namespace jet
