#pragma once

#include <chrono>
#include <cstdlib>

#include "tests/support_lib/Seed.h"

namespace tamlo::attaque {

using Horloge = std::chrono::steady_clock;

/// The seconds that TAMLO_ATTAQUE_SECONDES gives each test; 0: a short run of given seeds alone.
inline int Secondes() {
  const char* dites = std::getenv("TAMLO_ATTAQUE_SECONDES");
  return dites == nullptr ? 0 : std::atoi(dites);
}

/// Counts seeds up until the time is over.
class Graines {
 public:
  explicit Graines(int courte)
      : graine_(tests::Seed()), fin_(Horloge::now() + std::chrono::seconds(Secondes())), reste_(Secondes() > 0 ? -1 : courte) {}
  [[nodiscard]] bool Encore() { return reste_ < 0 ? Horloge::now() < fin_ : reste_-- > 0; }
  [[nodiscard]] std::uint32_t Suivante() { return ++nombre_, graine_++; }
  [[nodiscard]] int Nombre() const { return nombre_; }

 private:
  std::uint32_t graine_;
  Horloge::time_point fin_;
  int reste_;
  int nombre_ = 0;
};

constexpr int kMaxFautes = 5;  // after which a run ends

}  // namespace tamlo::attaque
