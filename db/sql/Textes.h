#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tamlo::db::sql {

/// texte with every occurrence of cherche (never empty) replaced, from left to right; what was put in is not searched
/// again. Positions count characters in 16 bits: error 6 for an occurrence behind which the search cannot go on, at
/// position 32768 or beyond.
[[nodiscard]] std::string Remplace(std::string_view texte, std::string_view cherche, std::string_view remplace);
/// The same on the text itself, which stays as it was after an error.
void RemplaceDans(std::string& texte, std::string_view cherche, std::string_view remplace);

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
