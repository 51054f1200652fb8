#include "tests/db/BaseDeTest.h"

namespace tamlo::tests {

namespace {

/// A table that the catalog speaks of and that is no longer there: a catalog without any row would count as not built.
constexpr const char* kAncienne = "$ANCIENNE$";
constexpr const char* kSonde = "TEST_DT";

}  // namespace

BaseDeTest::BaseDeTest() : precedent_(db::EnvironnementCourant()) {
  db::EnvironnementCourant() = {};
  db::EnvironnementCourant().nomUtlConnecte = [] { return std::string("ADM"); };
  db::EnvironnementCourant().pwdUtlConnecte = [] { return std::string("secret"); };
}

BaseDeTest::~BaseDeTest() { db::EnvironnementCourant() = precedent_; }

ScriptedTable& BaseDeTest::AjouteTable(const std::string& nom, const std::string& type) {
  ScriptedTable table;
  table.name = nom;
  table.type = type;
  table.columns = {MakeColumn("NOM", ado::adVarWChar, 30), MakeColumn("NIVEAU", ado::adSmallInt, 2)};
  table.indexes = {MakeIndex("PK", {"NOM"}, true, true)};
  return provider.AddTable(std::move(table));
}

void BaseDeTest::AjouteSonde() {
  ScriptedTable& table = AjouteTable(kSonde);
  table.columns = {MakeColumn("DT", ado::adDate)};
  table.indexes = {MakeIndex("DT", {"DT"})};
  if (provider.FindTable("$FLDKORV$") == nullptr) return;
  provider.FindTable("$TBLKORV$")->rows.push_back({kSonde, true});
  LigneFld(kSonde, 0, "dt");
  LigneIdx(kSonde, "DT", "dt", false, false);
}

void BaseDeTest::AjouteCatalogue() {
  const auto texte = [](const char* nom, std::int64_t lg) { return MakeColumn(nom, ado::adVarWChar, lg); };
  const auto drapeau = [](const char* nom) { return MakeColumn(nom, ado::adBoolean, 2); };
  ScriptedTable table;
  table.name = "$TBLKORV$";
  table.columns = {texte("NOM", 30), drapeau("MVT")};
  provider.AddTable(table);
  table.name = "$FLDKORV$";
  table.columns = {texte("TABLE", 30),    MakeColumn("NO", ado::adSmallInt, 2), texte("NOM", 30), texte("INI", 50), texte("FMT", 15),
                   drapeau("OBLIGATOIRE")};
  table.indexes = {MakeIndex("TBLNO", {"TABLE", "NO"}, true, true)};
  provider.AddTable(table);
  table.name = "$IDXKORV$";
  table.columns = {texte("TABLE", 30),  texte("NOM", 30),  texte("CHAMPS", 50),
                   drapeau("PRIMAIRE"), drapeau("UNIQUE"), drapeau("OBLIGATOIRE")};
  table.indexes = {MakeIndex("TBLNOM", {"TABLE", "NOM"}, true, true)};
  provider.AddTable(table);
  table.name = "$RLTKORV$";
  table.columns = {texte("ALIASSRC", 50),
                   texte("FLDSRC", 30),
                   texte("ALIASCBL", 50),
                   texte("FLDCBL", 30),
                   MakeColumn("TYP", ado::adUnsignedTinyInt, 1),
                   MakeColumn("TYPINV", ado::adUnsignedTinyInt, 1),
                   drapeau("OBLIGATOIRE")};
  table.indexes = {MakeIndex("SRCCBL", {"ALIASSRC", "ALIASCBL"}, true, true)};
  provider.AddTable(table);
  provider.FindTable("$TBLKORV$")->rows.push_back({kAncienne, false});
  LigneFld(kAncienne, 0, "x");
}

void BaseDeTest::LigneFld(const std::string& table, std::int16_t no, const std::string& nom) {
  provider.FindTable("$FLDKORV$")->rows.push_back({table, no, nom, runtime::Null{}, runtime::Null{}, false});
}

void BaseDeTest::LigneIdx(const std::string& table, const std::string& nom, const std::string& champs, bool primaire, bool unique) {
  provider.FindTable("$IDXKORV$")->rows.push_back({table, nom, champs, primaire, unique, runtime::Null{}});
}

void BaseDeTest::LigneRlt(const std::string& src, const std::string& fldSrc, const std::string& cbl, const std::string& fldCbl, int typ,
                          int typInv, bool obg) {
  provider.FindTable("$RLTKORV$")
      ->rows.push_back({src, fldSrc, cbl, fldCbl, static_cast<std::uint8_t>(typ), static_cast<std::uint8_t>(typInv), obg});
}

void BaseDeTest::ScripteCles(const std::vector<std::pair<std::string, std::string>>& cles) {
  ScriptedResult resultat;
  resultat.fields = {MakeField("Table", ado::adVarWChar, 64), MakeField("Key_name", ado::adVarWChar, 64),
                     MakeField("Column_name", ado::adVarWChar, 64)};
  for (const auto& [cle, colonne] : cles) resultat.rows.push_back({"T", cle, colonne});
  provider.AnswerPrefix("SHOW KEYS FROM ", resultat);
}

void BaseDeTest::ScripteToutesTables(const std::vector<std::pair<std::string, std::string>>& tables) {
  ScriptedResult resultat;
  resultat.fields = {MakeField("OWNER", ado::adVarWChar, 30), MakeField("TABLE_NAME", ado::adVarWChar, 30)};
  for (const auto& [nom, owner] : tables) resultat.rows.push_back({owner, nom});
  provider.AnswerPrefix("SELECT * FROM ALL_TABLES", resultat);
}

void BaseDeTest::Ouvre(std::int16_t kind, const std::string& nom) {
  ASSERT_TRUE(db.Ouvre(nom, kind, true));
  provider.ClearCalls();
}

BaseDeTest::Textes BaseDeTest::Envoyes() const {
  Textes textes;
  for (const RecordedCall& appel : provider.Calls()) {
    if (appel.kind == RecordedCall::Kind::kExecute || appel.kind == RecordedCall::Kind::kOpenRowset) textes.push_back(appel.text);
  }
  return textes;
}

std::vector<BaseDeTest::Ligne> BaseDeTest::Lignes(const std::string& table) {
  auto lignes = provider.FindTable(table)->rows;
  std::erase_if(
      lignes, [](const Ligne& ligne) { return ligne.front() == runtime::Variant(kAncienne) || ligne.front() == runtime::Variant(kSonde); });
  return lignes;
}

}  // namespace tamlo::tests
