#include "db/DbRlt.h"

namespace tamlo::db {

void DbRlt::Init(const std::string& aliasSrc, const std::string& fldSrc, const std::string& aliasCbl, const std::string& fldCbl,
                 std::int32_t typ, std::int32_t typInv, bool obg) {
  aliasSrc_ = aliasSrc;
  fldSrc_ = fldSrc;
  aliasCbl_ = aliasCbl;
  fldCbl_ = fldCbl;
  typ_ = typ;
  typInv_ = typInv;
  obg_ = obg;
}

}  // namespace tamlo::db
