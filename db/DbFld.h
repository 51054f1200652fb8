#pragma once

#include <cstdint>
#include <string>

namespace tamlo::db {

class DbTbl;

/// One field of a table. Belongs to its table, which it knows by a back-reference; filled once by Init.
class DbFld {
 public:
  /// Stores a field. nom is trimmed and lower-cased; typ is an ADO data-type code, normalised (129, 130 to 202; 200 to
  /// 202 or, from length 2000 on, 203; 201 to 203; 133, 135 to 7; 139 to 5; 16 to 17; 128 to 205); lg is kept for 202
  /// and for a given 5 only. Error 6 when a kept length does not fit in 16 bits.
  void Init(const std::string& nom, std::int16_t typ, double lg, bool estCpt, const DbTbl* table, std::int16_t no, bool obg,
            const std::string& fmt, const std::string& ini);

  /// Width of an input of this field in characters; 0 for long texts. Errors as for Typ.
  [[nodiscard]] std::int16_t LgSais() const;
  /// The field's logical number in its table, from 0.
  [[nodiscard]] std::int16_t No() const noexcept { return no_; }
  [[nodiscard]] const std::string& Fmt() const noexcept { return fmt_; }
  [[nodiscard]] const std::string& Nom() const noexcept { return nom_; }
  [[nodiscard]] bool Obg() const noexcept { return obg_; }
  /// Stores the mandatory flag and writes it to the catalog; nothing when it does not change. Errors of the statement
  /// go to the caller, the flag being stored.
  void Obg(bool obligatoire);
  [[nodiscard]] const std::string& Ini() const noexcept { return ini_; }
  /// Type, length and counter flag of a field of an attached table are read from its source when they are first asked for: the source's
  /// errors go to the caller, 3265 for a field that it no longer has. Those of other fields are known.
  [[nodiscard]] std::int16_t Typ() const { return Connu().typ_; }
  [[nodiscard]] std::int16_t Lg() const { return Connu().lg_; }
  /// True for a counter (auto-increment).
  [[nodiscard]] bool EstCpt() const { return Connu().estCpt_; }

 private:
  friend class DbTbl;  // its table numbers it and gives the type that is awaited
  [[nodiscard]] const DbFld& Connu() const;

  std::string nom_;
  std::string fmt_;
  std::string ini_;
  const DbTbl* table_ = nullptr;
  std::int16_t typ_ = 0;
  std::int16_t lg_ = 0;
  std::int16_t no_ = 0;
  bool estCpt_ = false;
  bool obg_ = false;
  bool typeAttendu_ = false;
};

}  // namespace tamlo::db
