#include "jet/sql/bind/Bound.h"

namespace jet::sql::bound {

bool IsSame(const Node& a, const Node& b) {
  if (&a == &b) return true;
  if (a.weight != b.weight || a.form != b.form || a.number != b.number || a.text != b.text || a.query != b.query) return false;
  if (a.parts.size() != b.parts.size() || (a.filter == nullptr) != (b.filter == nullptr)) return false;
  if (a.filter != nullptr && !IsSame(*a.filter, *b.filter)) return false;
  for (std::size_t i = 0; i < a.parts.size(); ++i) {
    if (!IsSame(*a.parts[i], *b.parts[i])) return false;
  }
  return true;
}

}  // namespace jet::sql::bound
