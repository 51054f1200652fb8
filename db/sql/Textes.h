#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tamlo::db::sql {

/// Replaces every occurrence of cherche (never empty), from left to right; what was put in is not searched again. Positions count
/// characters in 16 bits: error 6, and the text stays as it was, for an occurrence behind which the search cannot go on, at position 32768 or
/// beyond.
void RemplaceDans(std::string& texte, std::string_view cherche, std::string_view remplace);
void RemplaceDans(std::string& texte, char cherche, char remplace);
/// The same on a copy.
[[nodiscard]] std::string Remplace(std::string texte, std::string_view cherche, std::string_view remplace);

/// Writes capitals for the ASCII letters. False when there are other characters besides, which stay.
bool MajusculesAscii(std::span<char> octets);

/// Exactly longueur characters: the first ones of texte, padded with blanks; all blanks when texte is blank.
[[nodiscard]] std::string ChaineFixe(std::string_view texte, std::size_t longueur);

/// The user's short date format in the operating system's letters ("dd/MM/yyyy"), at most 19 characters; one blank when
/// there is none.
[[nodiscard]] std::string LitFmtDateCourte();

/// Positions in a text that is walked from left to right, held in 16 bits and counted in characters from 1.
class Positions {
 public:
  /// The greatest number of bytes whose positions all fit, the one behind the last byte included.
  static constexpr std::size_t kOctetsSurs = 32766;

  explicit Positions(std::string_view texte) noexcept : texte_(texte), sures_(texte.size() <= kOctetsSurs) {}
  /// Error 6 when the position of this byte does not fit. octet: not before that of the previous call, at most the
  /// text's size.
  void Verifie(std::size_t octet) {
    if (!sures_) Compte(octet);
  }

 private:
  void Compte(std::size_t octet);

  std::string_view texte_;
  std::size_t octet_ = 0;
  std::int64_t caracteres_ = 0;
  bool sures_;
};

}  // namespace tamlo::db::sql
