#pragma once

#include <cstdint>
#include <string>

namespace tamlo::db {

/// One relation between two aliases: a value, in the registry of its DataBase.
class DbRlt {
 public:
  /// Arguments in the order of the catalog's columns.
  void Init(const std::string& aliasSrc, const std::string& fldSrc, const std::string& aliasCbl, const std::string& fldCbl,
            std::int32_t typ, std::int32_t typInv, bool obg);

  [[nodiscard]] bool Obg() const noexcept { return obg_; }
  /// Direction seen from the source: 2 (undirected) when both types are 0, else 0.
  [[nodiscard]] std::int16_t Sens() const noexcept { return typ_ == 0 && typInv_ == 0 ? std::int16_t{2} : std::int16_t{0}; }
  /// Direction seen from the target: 2 (undirected) when both types are 0, else 1.
  [[nodiscard]] std::int16_t SensInv() const noexcept { return typ_ == 0 && typInv_ == 0 ? std::int16_t{2} : std::int16_t{1}; }
  [[nodiscard]] const std::string& FldSrc() const noexcept { return fldSrc_; }
  [[nodiscard]] const std::string& FldCbl() const noexcept { return fldCbl_; }
  [[nodiscard]] std::int32_t Typ() const noexcept { return typ_; }
  [[nodiscard]] std::int32_t TypInv() const noexcept { return typInv_; }
  [[nodiscard]] const std::string& AliasSrc() const noexcept { return aliasSrc_; }
  [[nodiscard]] const std::string& AliasCbl() const noexcept { return aliasCbl_; }

 private:
  std::string aliasSrc_;
  std::string fldSrc_;
  std::string aliasCbl_;
  std::string fldCbl_;
  std::int32_t typ_ = 0;
  std::int32_t typInv_ = 0;
  bool obg_ = false;
};

}  // namespace tamlo::db
