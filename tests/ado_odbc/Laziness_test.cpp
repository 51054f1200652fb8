#include "tests/ado_odbc/Engine.h"
