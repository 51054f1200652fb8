#pragma once

#include <array>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "tests/attaque/Modele.h"
#include "tests/attaque/Terrain.h"

namespace tamlo::attaque {

/// One step of a history: what it does to the database and what the database must hold then.
struct Coup {
  std::string dit;
  Etat apres;
  std::string structure{};  ///< the table whose definition it changes; empty for none
  bool refus = false;       ///< an error is expected, and nothing changed
  std::function<void(db::DataBase&)> fait{};
  std::vector<Etat> etapes{};  ///< what the database must hold after each of its parts; empty for a step that is one
  std::shared_ptr<std::size_t> faites = std::make_shared<std::size_t>(0);  ///< parts done
};

/// What a recordset does to one row, and how it is left then.
struct Geste {
  enum class Fin : std::uint8_t { kUpdate, kDeplace, kAbandon, kFerme };
  enum class Quoi : std::uint8_t { kNouveau, kChange, kSupprime };
  Quoi quoi = Quoi::kNouveau;
  std::int32_t id = 0;
  std::map<std::size_t, Valeur> valeurs;
  Fin fin = Fin::kUpdate;
};

/// A random history on one database, through two objects on it at once, and the model that goes with it.
class Histoire {
 public:
  Histoire(Terrain& terrain, std::string base, std::uint32_t graine, const Particularites& traits);
  ~Histoire();
  Histoire(const Histoire&) = delete;
  Histoire& operator=(const Histoire&) = delete;

  void Pas();
  /// What readers find otherwise than the model; empty when all agrees. Told with the last steps.
  [[nodiscard]] std::string Verifie();
  [[nodiscard]] std::string DerniersPas(std::size_t nombre = 12) const;
  /// Ends the transaction and closes both.
  void Finit();

  [[nodiscard]] const Etat& Validee() const { return dansTransaction_.empty() ? etat_ : validee_; }
  [[nodiscard]] const std::vector<std::string>& Refus() const { return refus_; }
  [[nodiscard]] bool EnTransaction() const { return !dansTransaction_.empty(); }

  /// Called before each step with what is committed and what will be when the step has ended.
  std::function<void(const Etat& validee, const Etat& possible, const std::string& structure, const std::string& dit)> avant;
  bool unAUn = false;  ///< each step one change alone, so that it is done or not

 private:
  [[nodiscard]] db::DataBase& Base(std::size_t i);
  void Ferme(std::size_t i);
  void Joue(std::size_t main, Coup coup);
  void Commence(std::size_t main);
  void Termine(bool valide);
  void Lit(std::size_t main);
  void Repare(std::size_t main);
  void Vieillit(std::size_t main, const std::string& table);
  void Renumerote();
  [[nodiscard]] Coup Structure(db::DataBase& base);
  [[nodiscard]] Coup CreeTable();
  [[nodiscard]] std::string UnChamp();
  [[nodiscard]] TableModele TableNeuve();
  void CreeDans(db::DataBase& base, const std::string& nom, const TableModele& table);
  [[nodiscard]] Coup SupprimeTable(const std::string& nom);
  [[nodiscard]] Coup AjouteChamp(db::DataBase& base, const std::string& nom);
  [[nodiscard]] Coup SupprimeChamp(db::DataBase& base, const std::string& nom);
  [[nodiscard]] Coup AjouteIndex(db::DataBase& base, const std::string& nom);
  [[nodiscard]] Coup SupprimeIndex(db::DataBase& base, const std::string& nom);
  [[nodiscard]] Coup Statement();
  [[nodiscard]] std::string Insere(TableModele& table, const std::string& nom);
  [[nodiscard]] std::string Change(TableModele& table, const std::string& nom);
  [[nodiscard]] std::string Deplace(TableModele& table, const std::string& nom);
  [[nodiscard]] Coup Edition();
  [[nodiscard]] Geste TireGeste(TableModele& table);
  static void JoueGeste(ado::Recordset& rs, const Geste& geste, const std::vector<Colonne>& colonnes);
  [[nodiscard]] std::string UneTable();
  [[nodiscard]] std::int32_t UneRangee(const TableModele& table);
  [[nodiscard]] std::map<std::size_t, Valeur> Valeurs(const TableModele& table, bool toutes, bool litteraux);
  [[nodiscard]] std::string E(const std::string& nom) const { return terrain_.Entre(nom); }
  [[nodiscard]] bool Chance(int surCent) { return Tire(hasard_, 100) < surCent; }

  Terrain& terrain_;
  std::string nom_;
  Hasard hasard_;
  Particularites traits_;
  std::array<std::unique_ptr<db::DataBase>, 2> bases_;
  std::array<std::set<std::string>, 2> vieilles_;  ///< tables that the other one has changed since it was opened
  bool trouees_ = false;                           ///< the catalog's numbers may have gaps
  Etat etat_;
  Etat validee_;
  std::vector<Etat> dansTransaction_;  ///< the states to go back to, the outermost first
  std::size_t mainTransaction_ = 0;
  bool structureEnTransaction_ = false;
  std::int32_t prochain_ = 1;
  std::vector<std::string> journal_;
  std::vector<std::string> refus_;
  std::string fautes_;
};

}  // namespace tamlo::attaque
