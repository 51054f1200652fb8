#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

/// Work on the bytes of short texts sixteen at a time.
namespace tamlo::db::sql {

/// Sixteen bytes as one value: the compilers in use give it arithmetic byte by byte, in vector instructions where the
/// machine has them.
typedef unsigned char Octets __attribute__((vector_size(16)));
inline constexpr std::size_t kBloc = sizeof(Octets);

[[nodiscard]] inline Octets LitBloc(const char* debut) {
  Octets bloc;
  std::memcpy(&bloc, debut, kBloc);
  return bloc;
}

/// 255 for each byte that meets the comparison, 0 for the others.
[[nodiscard]] inline Octets Egaux(Octets bloc, char octet) { return reinterpret_cast<Octets>(bloc == static_cast<unsigned char>(octet)); }

[[nodiscard]] inline bool EstNul(Octets bloc) {
  std::uint64_t moities[2];
  std::memcpy(moities, &bloc, kBloc);
  return (moities[0] | moities[1]) == 0;
}

/// One bit for each byte that is not 0, which must then have its lowest bit; the first byte's bit is the lowest.
[[nodiscard]] inline std::uint32_t Masque(Octets bloc) {
  std::uint64_t moities[2];
  bloc &= 1;
  std::memcpy(moities, &bloc, kBloc);
  // The product gathers the lowest bits of eight bytes in its highest byte.
  constexpr std::uint64_t kRassemble = 0x0102040810204080U;
  return static_cast<std::uint32_t>(moities[0] * kRassemble >> 56U) | static_cast<std::uint32_t>(moities[1] * kRassemble >> 56U) << 8U;
}

/// Applies an operation on blocks to all bytes of a text in place. The last block overlaps the one before it: applying
/// the operation twice must be the same as once.
template <typename Operation>
void SurChaqueBloc(char* octets, std::size_t nombre, Operation operation) {
  const auto applique = [&](char* debut) {
    const Octets bloc = operation(LitBloc(debut));
    std::memcpy(debut, &bloc, kBloc);
  };
  if (nombre < kBloc) {
    char seul[kBloc] = {};
    for (std::size_t i = 0; i < nombre; ++i) seul[i] = octets[i];
    applique(seul);
    for (std::size_t i = 0; i < nombre; ++i) octets[i] = seul[i];
    return;
  }
  for (std::size_t i = 0; i + kBloc < nombre; i += kBloc) applique(octets + i);
  applique(octets + nombre - kBloc);
}

[[nodiscard]] inline bool EstAscii(std::string_view texte) {
  constexpr std::uint64_t kHauts = 0x8080808080808080U;
  std::uint64_t reunis = 0;
  std::uint64_t mot = 0;
  std::size_t i = 0;
  for (; i + sizeof mot <= texte.size(); i += sizeof mot) {
    std::memcpy(&mot, texte.data() + i, sizeof mot);
    reunis |= mot;
  }
  for (; i < texte.size(); ++i) reunis |= static_cast<unsigned char>(texte[i]);
  return (reunis & kHauts) == 0;
}

/// Capitals of ASCII letters; every other byte stays.
[[nodiscard]] inline Octets Majuscules(Octets bloc) {
  const Octets petites = reinterpret_cast<Octets>((bloc - static_cast<unsigned char>('a')) < 26);
  return bloc - (petites & 32);
}
[[nodiscard]] constexpr char Majuscule(char octet) { return octet >= 'a' && octet <= 'z' ? static_cast<char>(octet - 32) : octet; }

}  // namespace tamlo::db::sql
