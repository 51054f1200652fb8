#include "db/Patience.h"

#include <algorithm>
#include <thread>

namespace tamlo::db {

bool Patience::Encore() {
  using std::chrono::milliseconds;
  const auto maintenant = std::chrono::steady_clock::now();
  if (essais_++ == 0) debut_ = maintenant;
  if (maintenant - debut_ > std::chrono::seconds(10)) return false;
  std::this_thread::sleep_for(std::min(milliseconds(25) * essais_, milliseconds(250)));
  return true;
}

}  // namespace tamlo::db
