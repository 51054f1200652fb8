#pragma once

#include <functional>
#include <string>

namespace tamlo::db {

class DataBase;

/// An exclamation box of the platform in force; nothing where there is none.
void MontreMessage(const std::string& texte, const std::string& titre);

/// What the layer asks of the program that it lives in. Process-wide; the defaults answer blank and none.
struct Environnement {
  /// The connected user: name and clear password, read at the moment of opening.
  std::function<std::string()> nomUtlConnecte = [] { return std::string(); };
  std::function<std::string()> pwdUtlConnecte = [] { return std::string(); };
  /// Explicit login: when its name is not blank it is used instead of the connected user.
  std::string nomLogin;
  std::string pwdLogin;
  /// Another open database by its name, or nullptr.
  std::function<DataBase*(const std::string&)> baseOuverte = [](const std::string&) -> DataBase* { return nullptr; };
  /// Tells a person that a database does not open and why; title last. Through the platform in force (ui/Platform.h), if there is one, as long
  /// as the program puts nothing else here. Whether anybody is told or not, DataBase::ListeErr tells the program.
  std::function<void(const std::string& texte, const std::string& titre)> message = MontreMessage;
  /// The program's own folder, where the Oracle parameter files lie.
  std::string dossierProgramme = ".";
};

[[nodiscard]] Environnement& EnvironnementCourant() noexcept;

}  // namespace tamlo::db
