#include "tests/backends/Accord.h"

#include <algorithm>

#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::tests {

namespace {

using Textes = std::vector<std::string>;

std::string Liste(const Textes& textes) {
  std::string liste;
  for (const std::string& texte : textes) liste += (liste.empty() ? "" : ", ") + texte;
  return "{" + liste + "}";
}

std::string Compare(const std::string& quoi, const Textes& attendus, const Textes& trouves) {
  return attendus == trouves ? std::string() : quoi + ": " + Liste(trouves) + " instead of " + Liste(attendus) + "\n";
}

Textes Triees(Textes textes) {
  std::sort(textes.begin(), textes.end());
  return textes;
}

Textes ColonnesDuBackend(db::DataBase& base, const std::string& table) {
  Textes noms;
  auto rs = base.OpenRecordSet("SELECT * FROM [" + table + "]", 0);
  for (std::size_t i = 0; i < rs.FieldCount(); ++i) noms.push_back(runtime::LowerCase(rs.Fields(i).Name()));
  return noms;
}

std::string Drapeaux(bool primaire, bool unique) { return std::string(primaire ? "p" : "") + (unique ? "u" : ""); }

/// The fields of an encoded list without their directions.
std::string SansSens(std::string champs) {
  std::erase(champs, '-');
  return champs;
}

/// The indexes as the backend must have them: under its own names, a primary one being unique.
Textes IndexAttendus(const Backend& sur, db::DbTbl& tbl) {
  const Capacites capacites = sur.Capacite();
  Textes index;
  for (std::int16_t i = 0; i < tbl.NbIdx(); ++i) {
    const db::DbIdx& idx = tbl.ListeIdx(std::to_string(i));
    std::string nom = idx.Nom();
    if (capacites.nomPrimary && idx.Primary()) nom = "PRIMARY";
    if (capacites.indexPrefixes) nom = tbl.Nom() + "_" + nom;
    index.push_back(nom + "(" + (capacites.indexDescendant ? idx.SFld() : SansSens(idx.SFld())) + ")" + (idx.Unique() ? "u" : ""));
  }
  return Triees(index);
}

Textes IndexDuBackend(const Backend& sur, db::DataBase& base, const std::string& table) {
  Textes textes;
  base.Catalogue().Refresh();
  ado::Table* trouvee = base.Catalogue().Find(table);
  if (trouvee == nullptr) return textes;
  for (const ado::Index& index : trouvee->Indexes()) {
    std::string champs;
    for (const ado::Column& colonne : index.columns) {
      champs += champs.empty() ? "" : ";";
      if (sur.Capacite().indexDescendant && colonne.sortOrder == ado::adSortDescending) champs += '-';
      champs += runtime::LowerCase(colonne.name);
    }
    textes.push_back(runtime::UpperCase(index.name) + "(" + champs + ")" + (index.unique ? "u" : ""));
  }
  return Triees(textes);
}

/// The rows that a query on the catalog gives, the columns of each joined by blanks.
Textes Rangees(db::DataBase& base, const std::string& sql) {
  const runtime::RegionalSettings simples;
  Textes rangees;
  auto rs = base.OpenRecordSet(sql, 0);
  for (; !rs.Eof(); rs.MoveNext()) {
    std::string rangee;
    for (std::size_t i = 0; i < rs.FieldCount(); ++i) {
      const ado::Variant valeur = rs.Fields(i).Value();
      rangee += (i > 0 ? " " : "") + (valeur.IsNull() ? "" : std::string(runtime::Trim(runtime::ToText(valeur, simples))));
    }
    rangees.push_back(rangee);
  }
  rs.Close();
  return rangees;
}

Textes SansSens(Textes textes) {
  for (std::string& texte : textes) texte = SansSens(texte);
  return Triees(textes);
}

Textes IndexDuCatalogue(db::DataBase& base, const std::string& table) {
  Textes textes;
  auto rs = base.OpenRecordSet("SELECT [NOM],[CHAMPS],[PRIMAIRE],[UNIQUE] FROM [$IDXKORV$] WHERE [TABLE]='" + table + "'", 0);
  for (; !rs.Eof(); rs.MoveNext()) {
    textes.push_back(std::string(runtime::Trim(runtime::ToText(rs.Fields(0).Value()))) + "(" +
                     std::string(runtime::Trim(runtime::ToText(rs.Fields(1).Value()))) + ")" +
                     Drapeaux(runtime::ToBoolean(rs.Fields(2).Value()), runtime::ToBoolean(rs.Fields(3).Value())));
  }
  rs.Close();
  return textes;
}

std::string CatalogueEnDesaccord(const Backend& sur, db::DataBase& base, const std::string& table, const Textes& tables,
                                 const Textes& champs, const Textes& index) {
  const std::string ou = " WHERE [TABLE]='" + table + "'";
  // A direction that the backend does not tell is read back as ascending; the row keeps the one that was written.
  const auto comparables = [&](const Textes& textes) { return sur.Capacite().indexDescendant ? Triees(textes) : SansSens(textes); };
  return Compare("$TBLKORV$", tables, Rangees(base, "SELECT [NOM] FROM [$TBLKORV$] WHERE [NOM]='" + table + "'")) +
         Compare("$FLDKORV$", champs, Rangees(base, "SELECT [NO],[NOM] FROM [$FLDKORV$]" + ou + " ORDER BY [NO]")) +
         Compare("$IDXKORV$", comparables(index), comparables(IndexDuCatalogue(base, table)));
}

}  // namespace

std::vector<std::string> ChampsEnMemoire(db::DbTbl& tbl) {
  Textes noms;
  for (std::int16_t i = 0; i < tbl.NbFld(); ++i) noms.push_back(tbl.ListeFld(std::to_string(i)).Nom());
  return noms;
}

std::vector<std::string> IndexEnMemoire(db::DbTbl& tbl) {
  Textes noms;
  for (std::int16_t i = 0; i < tbl.NbIdx(); ++i) {
    const db::DbIdx& idx = tbl.ListeIdx(std::to_string(i));
    noms.push_back(idx.Nom() + "(" + idx.SFld() + ")" + Drapeaux(idx.Primary(), idx.Unique()));
  }
  return noms;
}

std::string Desaccord(BaseOuverte& base, const std::string& table) {
  const bool catalogue = base.Sur().Capacite().creeTables;
  db::DbTbl* tbl = nullptr;
  runtime::IgnoringErrors([&] { tbl = &base->ListeTbl(table); });
  if (base->ExisteTbl(table) != (tbl != nullptr)) return table + (tbl != nullptr ? " is listed alone\n" : " stands in the backend alone\n");
  if (tbl == nullptr) return catalogue ? CatalogueEnDesaccord(base.Sur(), *base, table, {}, {}, {}) : std::string();

  const Textes champs = ChampsEnMemoire(*tbl);
  std::string defauts = Compare("columns of the backend", champs, ColonnesDuBackend(*base, table));
  if (!catalogue) return defauts;
  defauts += Compare("indexes of the backend", IndexAttendus(base.Sur(), *tbl), IndexDuBackend(base.Sur(), *base, table));
  Textes numerotes;
  for (std::size_t i = 0; i < champs.size(); ++i) numerotes.push_back(std::to_string(i) + " " + champs[i]);
  return defauts + CatalogueEnDesaccord(base.Sur(), *base, table, {table}, numerotes, IndexEnMemoire(*tbl));
}

}  // namespace tamlo::tests
