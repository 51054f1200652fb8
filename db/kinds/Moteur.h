#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "db/kinds/Definitions.h"
#include "db/kinds/Faits.h"
#include "runtime/Error.h"

namespace tamlo::db::sql {
class TablesQualifiees;
}

namespace tamlo::db::kinds {

/// What a translation takes from the database: the picture of date literals, and the tables with their owners (nullptr: none).
struct Contexte {
  std::string_view fmtDate;
  const sql::TablesQualifiees* tables = nullptr;
};

/// A column as the backend describes it.
struct TypeDeBase {
  std::int16_t typ = 0;
  double lg = 0;
  std::int16_t precision = 0;
  std::int16_t echelle = 0;
};
/// The type and length that it has as a field of the layer.
struct TypeDeChamp {
  std::int16_t typ = 0;
  double lg = 0;
};

/// Where a table of a backend lies: what stands before its name and behind its definitions, each with its blank.
struct Rangement {
  std::string proprietaire;
  std::string suiteTable;
  std::string suiteIndex;
};

/// All that the layer knows of one kind of backend: facts, and hooks for what no fact can say. It gives texts and answers, and does
/// nothing itself: it knows no database. One stateless object for the whole process; a kind of its own overrides what differs.
class Moteur {
 public:
  virtual ~Moteur() = default;
  Moteur(const Moteur&) = delete;
  Moteur& operator=(const Moteur&) = delete;

  const Faits faits;

  /// Rewrites a statement of the layer's dialect in place. Outside of single-quoted literals everything comes back in upper case. Error 5
  /// for a "CVDATE" without its ")", error 6 for a searched token beyond position 32767; the text is then partly translated.
  void FormateSSQL(std::string& sql, const Contexte& contexte) const;

  /// The message for an opening that was refused with this number and description.
  [[nodiscard]] std::string MessageRefus(const runtime::PendingError& erreur) const;

  /// The column type for an ADO type code and a length, with the blank that stands before it; nothing for a code that the kind cannot write.
  [[nodiscard]] std::optional<std::string> TypeColonne(std::int32_t typ, std::int32_t lg) const;
  /// The same for a comparison with what the backend tells of its columns: equal texts cannot be told apart.
  [[nodiscard]] virtual std::optional<std::string> TypeRelu(std::int32_t typ, std::int32_t lg) const { return TypeColonne(typ, lg); }
  /// What a column of the backend is to the layer.
  [[nodiscard]] virtual TypeDeChamp LitType(const TypeDeBase& base) const { return {base.typ, base.lg}; }

  /// The statements that make a table (Voie::kOrdre); blank for one without fields. Error 5 "Type <code> non géré" for a column that would
  /// have no type.
  [[nodiscard]] CreationTbl CreeTable(const DefTbl& tbl) const;
  /// The statement that gives an existing table a column; a code that the kind cannot write leaves the column without a type.
  [[nodiscard]] Edition AjouteColonne(const DefTbl& tbl, const DefFld& champ) const;
  /// The statement that gives an existing table an index.
  [[nodiscard]] Edition CreeIndex(const DefTbl& tbl, const ado::Index& index) const;
  /// The name under which the backend knows an index.
  [[nodiscard]] std::string NomIndex(const std::string& table, const std::string& nom) const;
  /// The statement that drops an index. table and nom: as they are quoted; nom is the backend's name of it.
  [[nodiscard]] std::string SupprimeIndex(const std::string& table, const std::string& nom, bool primaire) const;
  /// The statement that drops a table, to be sent as it stands. owner: of the listed table; blank where there is none.
  [[nodiscard]] virtual std::string SupprimeTable(const std::string& nom, const std::string& owner) const;
  /// The same for a name that the backend did not take like that; blank where there is no other way to write it.
  [[nodiscard]] virtual std::string SupprimeTableCitee(const std::string& /*nom*/) const { return {}; }

  /// A name as the translation leaves it, quoted and in upper case.
  [[nodiscard]] std::string CiteTraduit(const std::string& nom) const;

  /// The question for the tables of an owner and of the further one that the database's name may hold (Faits::proprietaires).
  [[nodiscard]] virtual std::string QuestionTables(const std::string& /*owner*/, const std::string& /*nomBase*/) const { return {}; }
  /// Questions of which one must have an answer for a user to have a privilege (Faits::privileges).
  [[nodiscard]] virtual std::vector<std::string> QuestionsPrivilege(const std::string& /*compte*/, const std::string& /*privilege*/) const {
    return {};
  }
  /// The same for a privilege on one table.
  [[nodiscard]] virtual std::string QuestionPrivilege(const std::string& /*compte*/, const std::string& /*owner*/,
                                                      const std::string& /*table*/, const std::string& /*privilege*/) const {
    return {};
  }

  /// True when a statement may have been refused because of what another program does to the same tables at this moment: looked at again,
  /// the matter may be settled.
  [[nodiscard]] virtual bool DUnAutreProgramme(const runtime::Error& /*erreur*/) const { return false; }

 protected:
  explicit Moteur(const Faits& connus) : faits(connus) {}

  /// What remains to be done once the case is folded.
  virtual void Traduit(std::string& sql, const Contexte& contexte) const = 0;
  /// nouvelle: for the definition of a new table, whose clause is then wanted.
  [[nodiscard]] virtual Rangement Range(const DefTbl& /*tbl*/, bool /*nouvelle*/) const { return {}; }
  /// What stands behind the columns of a new table, each part with its comma.
  [[nodiscard]] virtual std::string Contraintes(const DefTbl& /*tbl*/) const { return {}; }
  [[nodiscard]] virtual Edition TexteIndex(const DefTbl& tbl, const ado::Index& index, const Rangement& rangement) const;

  /// A name between the kind's marks, as it is and in upper case.
  [[nodiscard]] std::string Entre(const std::string& nom) const;
  [[nodiscard]] std::string EntreMajuscules(const std::string& nom) const;
  /// "(" the columns between marks, joined by ",", each followed by " DESC" when descending ")".
  [[nodiscard]] std::string ListeChamps(const ado::Index& index, bool majuscules) const;
};

/// An owner that stands before a name: "" for a blank one.
[[nodiscard]] std::string Devant(const std::string& owner);

}  // namespace tamlo::db::kinds
