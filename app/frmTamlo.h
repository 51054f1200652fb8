#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "ui/Platform.h"

namespace tamlo::app {

/// The tool's only form: the operator sees the user's name, types the password twice and confirms. Loaded by its
/// constructor, filled by Charge, then shown. It unloads itself after OK, Cancel or the close box, which closes the
/// volumes database; the object must live until the platform's Run has returned. Failures of its handlers are raised
/// out of them.
class frmTamlo {
 public:
  /// Loads: centres the form, builds the password code table, sets limits and colours.
  frmTamlo();
  ~frmTamlo();
  frmTamlo(const frmTamlo&) = delete;
  frmTamlo& operator=(const frmTamlo&) = delete;

  /// Fills the form. With a blank password, both boxes get the stored one of the user of that name, or nothing when the
  /// name is unknown; the query's errors go to the caller. A password longer than its box is cut by the box.
  /// FinProgramme, the user being told, when the box cannot hold the name, or the search for it finds another user.
  void Charge(double idVlm, const std::string& nom, std::int16_t niveau, const std::string& motPasse);
  /// Not modal.
  void Show();

  /// True when a save was done whose user row the database refused: the save itself says nothing of it.
  [[nodiscard]] bool MotPasseRefuse() const noexcept { return motPasseRefuse_; }

 private:
  void PlaceControles();
  void PlaceLibelles();
  void BrancheEvenements();
  void Load();
  [[nodiscard]] bool VerifiePwd();
  [[nodiscard]] bool ConfirmeCaracteres();
  void RetourPwd();
  void Sauve();
  void OnUnload();

  std::unique_ptr<ui::Form> form_;
  // The form's own.
  ui::TextBox* txtPwd2_ = nullptr;
  ui::TextBox* txtNom_ = nullptr;
  ui::TextBox* txtPwd_ = nullptr;
  ui::Button* btnAnnuler_ = nullptr;
  ui::Button* btnOK_ = nullptr;
  double idVlm_ = 0;
  std::int16_t niveau_ = 0;
  bool motPasseRefuse_ = false;
};

}  // namespace tamlo::app
