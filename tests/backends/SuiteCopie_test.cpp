#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>

#include "runtime/Conversions.h"
#include "runtime/Dates.h"
#include "runtime/Error.h"
#include "runtime/Text.h"
#include "support/Support.h"
#include "tests/backends/Accord.h"
#include "tests/backends/Backend.h"

namespace tamlo::tests {
namespace {

using runtime::Null;
using runtime::Variant;

runtime::Date Instant(int annee, int mois, int jour, int heure = 0, int minute = 0, int seconde = 0) {
  return runtime::ToSerial({annee, mois, jour, heure, minute, seconde, 0});
}

/// A fraction of a second that only some date types hold.
runtime::Date AvecFraction(runtime::Date instant, double secondes) {
  constexpr double kSecondesParJour = 86400;
  return runtime::Date{instant.serial + secondes / kSecondesParJour};
}

runtime::Bytes Octets(std::initializer_list<int> valeurs) {
  runtime::Bytes octets;
  for (const int valeur : valeurs) octets.push_back(static_cast<std::byte>(valeur));
  return octets;
}

/// Every field type that the layer has column types for on all kinds. 131 is not among them: SQL Server refuses it. The codes of the second
/// half are kept as one of the first.
const std::vector<Champ> kDefinition = {
    {"ID", ado::adInteger, 4},         {"TEXTE", ado::adVarWChar, 40},
    {"MEMO", ado::adLongVarWChar},     {"JOUR", ado::adDate},
    {"OUI", ado::adBoolean, 1},        {"OCTET", ado::adUnsignedTinyInt, 1},
    {"COURT", ado::adSmallInt, 2},     {"ENTIER", ado::adInteger, 4},
    {"DBL", ado::adDouble, 8},         {"EXACT", ado::adDouble, 15},
    {"ARGENT", ado::adCurrency, 8},    {"SIMPLE", ado::adSingle, 4},
    {"BINAIRE", ado::adLongVarBinary}, {"T129", ado::adChar, 40},
    {"T130", ado::adWChar, 40},        {"T200", ado::adVarChar, 40},
    {"T201", ado::adLongVarChar},      {"T135", ado::adDBTimeStamp},
    {"T16", ado::adTinyInt, 1},        {"T139", ado::adVarNumeric, 8},
    {"T128", ado::adBinary, 16},
};

/// For each of the second half, the field of the first whose type it is kept as; the rows have its values too.
constexpr std::array<std::size_t, 8> kPareils = {1, 1, 1, 2, 3, 5, 8, 12};

/// The fields as they are kept.
const std::vector<Champ>& Champs() {
  static const std::vector<Champ> champs = [] {
    std::vector<Champ> gardes = kDefinition;
    const std::size_t moitie = gardes.size() - kPareils.size();
    for (std::size_t i = 0; i < kPareils.size(); ++i) gardes[moitie + i].typ = kDefinition[kPareils[i]].typ;
    return gardes;
  }();
  return champs;
}

constexpr std::size_t kMemo = 2;
constexpr std::size_t kOui = 4;

using Rangee = std::vector<Variant>;

/// The rows of the journey; the first value is the key. The limits of doubles are those that fifteen digits can write: the SQLite driver
/// hands doubles on as texts of that many.
const std::vector<Rangee>& Rangees() {
  static std::vector<Rangee> rangees = {
      {1, "Dupont", "Un mémo", Instant(2003, 2, 1, 13, 14, 15), true, std::uint8_t{7}, std::int16_t{-5}, 123456, 0.1, 123456789012345.0,
       runtime::Currency{125000}, 0.5F, Octets({0, 1, 255})},
      {2, "é è ç œ €", "ligne 1\r\nligne 2\nfin œ€", Instant(1999, 12, 31), false, std::uint8_t{0}, std::int16_t{0}, 0, 0.0, 0.0,
       runtime::Currency{0}, 0.0F, Octets({13, 10})},
      {3, "' \" [ ] ` ; -- /* %_\\", "' \" [ ] ` ; ? $1 :a \\", Instant(2024, 2, 29), true, std::uint8_t{1}, std::int16_t{1}, 1, -1.5, -1.0,
       runtime::Currency{-1}, -1.5F, Octets({39, 34, 0})},
      {4, Null{}, Null{}, Null{}, Null{}, Null{}, Null{}, Null{}, Null{}, Null{}, Null{}, Null{}, Null{}},
      {5, "   ", "   ", Instant(1899, 12, 29, 6), false, std::uint8_t{9}, std::int16_t{9}, 9, 9.0, 9.0, runtime::Currency{9}, 9.0F,
       Octets({9})},
      {6, std::string(40, 'M'), std::string(1999, 'm'), Instant(9999, 12, 31, 23, 59, 59), true, std::uint8_t{255}, std::int16_t{32767},
       2147483647, 1.7976931348623e308, 999999999999999.0, runtime::Currency{922337203685477}, 3.402823e38F, Octets({255, 254})},
      {7, "blancs de fin   ", " m ", Instant(100, 1, 1), false, std::uint8_t{1}, std::int16_t{-32768}, -2147483647 - 1,
       -1.7976931348623e308, -999999999999999.0, runtime::Currency{-922337203685477}, -3.402823e38F, Octets({0})},
      {8, "😀 hors\r\ndu\nplan\t;", "x", Instant(1000, 6, 15, 0, 0, 1), true, std::uint8_t{2}, std::int16_t{2}, 2, 2.2250738585073e-308, 1.0,
       runtime::Currency{1}, 1.17549435e-38F, Octets({1})},
      {9, "fraction de seconde", "x", AvecFraction(Instant(2003, 2, 1, 13, 14, 15), 0.6), false, std::uint8_t{3}, std::int16_t{3}, 3, 3.0,
       3.0, runtime::Currency{3}, 3.0F, Octets({3})},
      {10, "", "", Instant(1899, 12, 30, 12), true, std::uint8_t{4}, std::int16_t{4}, 4, 4.0, 4.0, runtime::Currency{4}, 4.0F, Octets({4})},
  };
  for (Rangee& rangee : rangees) {
    for (std::size_t i = 0; i < kPareils.size() && rangee.size() < kDefinition.size(); ++i) rangee.push_back(rangee[kPareils[i]]);
  }
  return rangees;
}

/// A value as a text that says what it is worth for a field of that type.
std::string Texte(const Variant& valeur, std::int16_t typ) {
  const runtime::RegionalSettings simples;
  if (valeur.IsNull() || valeur.IsEmpty()) return "nul";
  switch (typ) {
    case ado::adBoolean:
      return runtime::ToBoolean(valeur, simples) ? "-1" : "0";
    case ado::adDate: {
      runtime::CalendarTime instant = runtime::ToCalendarWithFraction(runtime::ToDate(valeur, simples));
      const int millisecondes = instant.nanosecond / 1000000;
      instant.nanosecond = 0;
      return runtime::FormatDate(runtime::ToSerial(instant), "YYYY-MM-DD HH:NN:SS", simples) +
             (millisecondes == 0 ? std::string() : "." + std::to_string(millisecondes));
    }
    case ado::adSingle:
      return runtime::ShortestText(static_cast<double>(static_cast<float>(runtime::ToDouble(valeur, simples))));
    case ado::adUnsignedTinyInt:
    case ado::adSmallInt:
    case ado::adInteger:
    case ado::adDouble:
    case ado::adCurrency:
      return runtime::ShortestText(runtime::ToDouble(valeur, simples));
    default:
      break;
  }
  if (const auto* octets = valeur.If<runtime::Bytes>()) {
    std::string texte = "x";
    for (const std::byte octet : *octets) texte += std::to_string(static_cast<int>(octet)) + ".";
    return texte;
  }
  return "<" + runtime::ToText(valeur, simples) + ">";
}

/// The text of a value without its trailing blanks; the brackets of Texte stay outside.
std::string SansBlancsFinaux(const std::string& texte) {
  return std::string(runtime::TrimRight(std::string_view(texte).substr(1, texte.size() - 2)));
}

/// What a value becomes when it is stored in a backend: every loss that its column types imply, one by one.
std::string Perte(const std::string& backend, const Champ& champ, const std::string& texte) {
  if (backend == "Jet" && texte == "nul") {
    // A truth value of Access is never unknown.
    if (champ.typ == ado::adBoolean) return "0";
    // A text that is not written is empty.
    if (champ.typ == ado::adVarWChar) return "<>";
  }
  // MySQL's DATETIME and Oracle's DATE hold no fraction of a second: it is rounded before it is sent.
  if (texte == "2003-02-01 13:14:15.600" && (backend == "MariaDb" || backend == "Oracle")) return "2003-02-01 13:14:16";
  // Oracle's empty text is a null.
  if (backend == "Oracle" && texte == "<>") return "nul";
  if (texte == "nul" || champ.typ != ado::adVarWChar) return texte;
  // Oracle's CHAR is padded with blanks to its length; the engine counts a character outside the basic plane as two.
  if (backend == "Oracle") {
    const std::string contenu = SansBlancsFinaux(texte);
    const std::size_t longueur = runtime::ToUtf16(contenu).size();
    return "<" + contenu + std::string(40 - longueur, ' ') + ">";
  }
  // MySQL takes the blanks off the end of a CHAR when it is read.
  if (backend == "MariaDb") return "<" + SansBlancsFinaux(texte) + ">";
  return texte;
}

/// The rule of the copy: blank texts are not written, others lose their trailing blanks. SQLite's texts are of type 200, which the rule
/// leaves as they stand; between two Access files the statement that copies leaves everything as it stands.
std::string Copie(const std::string& source, const std::string& cible, const Champ& champ, const std::string& texte) {
  if (source == "Jet" && cible == "Jet") return texte;
  if (champ.typ != ado::adVarWChar || texte == "nul" || source == "Sqlite") return texte;
  const std::string contenu = SansBlancsFinaux(texte);
  return contenu.empty() ? "nul" : "<" + contenu + ">";
}

using Voyage = std::pair<std::string, std::string>;

/// The rows of a journey, without what an Access file refuses: its text and memo columns made by the layer take no null that is written, and
/// the copy writes all nulls but those of short texts. To SQLite, whose texts are of type 200, no short text is one; to Oracle the empty text
/// is a null.
std::vector<Rangee> RangeesDe(const Voyage& voyage) {
  const auto& [depart, arrivee] = voyage;
  std::vector<Rangee> rangees = Rangees();
  const auto refuse = [](const std::string& backend) { return !BackendNomme(backend).Capacite().texteNul; };
  if (!refuse(depart) && !refuse(arrivee)) return rangees;
  const auto passePar = [&](const char* backend) { return depart == backend || arrivee == backend; };
  for (Rangee& rangee : rangees) {
    for (std::size_t i = 0; i < Champs().size(); ++i) {
      const bool memo = Champs()[i].typ == ado::adLongVarWChar;
      const bool texte = Champs()[i].typ == ado::adVarWChar && (refuse(depart) || passePar("Sqlite"));
      if (memo && (rangee[i].IsNull() || rangee[i] == Variant(""))) rangee[i] = passePar("Oracle") ? "plein" : "";
      if (texte && rangee[i].IsNull()) rangee[i] = "";
      if (texte && arrivee == "Sqlite" && support::EstVide(rangee[i])) rangee[i] = "plein";
    }
  }
  return rangees;
}

/// The rows that are not the same on the other side, each as the comparison names it: an unknown truth value has become false, or an empty
/// memo a null.
std::vector<std::string> Differences(const Voyage& voyage, const std::vector<Rangee>& rangees) {
  const bool faux = !BackendNomme(voyage.second).Capacite().booleenNul && BackendNomme(voyage.first).Capacite().booleenNul;
  const bool nul = voyage.second == "Oracle";
  std::vector<std::string> differences;
  for (const Rangee& rangee : rangees) {
    const std::string id = runtime::ToText(rangee[0]);
    const std::string ou = "TABLE TOUT, LIGNE " + id + " (CLÉ ID=" + id + "), COLONNE ";
    if (faux && rangee[kOui].IsNull()) differences.push_back(ou + "OUI");
    if (nul && rangee[kMemo] == Variant("")) differences.push_back(ou + "MEMO");
  }
  return differences;
}

void Remplit(db::DataBase& base, const std::vector<Rangee>& rangees) {
  auto rs = base.OpenRecordSet("SELECT * FROM [TOUT]", 2);
  for (const Rangee& rangee : rangees) {
    rs.AddNew();
    for (std::size_t i = 0; i < Champs().size(); ++i) rs.Fields(Champs()[i].nom).Value(rangee[i]);
    rs.Update();
  }
  rs.Close();
}

using Contenu = std::map<int, std::map<std::string, std::string>>;

Contenu Lit(db::DataBase& base) {
  Contenu contenu;
  auto rs = base.OpenRecordSet("SELECT * FROM [TOUT] ORDER BY [ID]", 0);
  for (; !rs.Eof(); rs.MoveNext()) {
    auto& rangee = contenu[runtime::ToInt32(rs.Fields("ID").Value())];
    for (const Champ& champ : Champs()) rangee[champ.nom] = Texte(rs.Fields(champ.nom).Value(), champ.typ);
  }
  return contenu;
}

void Compare(const Contenu& lu, const std::vector<Rangee>& rangees, const std::vector<std::string>& chemin) {
  ASSERT_EQ(lu.size(), rangees.size());
  for (const Rangee& rangee : rangees) {
    const int id = *rangee[0].If<std::int32_t>();
    for (std::size_t i = 0; i < Champs().size(); ++i) {
      std::string attendu = Texte(rangee[i], Champs()[i].typ);
      for (std::size_t etape = 0; etape < chemin.size(); ++etape) {
        if (etape > 0) attendu = Copie(chemin[etape - 1], chemin[etape], Champs()[i], attendu);
        attendu = Perte(chemin[etape], Champs()[i], attendu);
      }
      EXPECT_EQ(lu.at(id).at(Champs()[i].nom), attendu) << "row " << id << ", " << Champs()[i].nom;
    }
  }
}

std::vector<Voyage> Voyages() {
  std::vector<Voyage> voyages;
  for (const char* depart : {"Jet", "MariaDb", "Sqlite", "SqlServer", "Oracle"}) {
    for (const char* arrivee : {"Jet", "MariaDb", "Sqlite", "SqlServer", "Oracle"}) {
      // A copy from one file to another is a statement of its own; the other kinds only differ from one another.
      if (std::string(depart) != arrivee || std::string(depart) == "Jet") voyages.emplace_back(depart, arrivee);
    }
  }
  return voyages;
}

class AllerRetour : public testing::TestWithParam<Voyage> {};
INSTANTIATE_TEST_SUITE_P(Backends, AllerRetour, testing::ValuesIn(Voyages()),
                         [](const auto& voyage) { return voyage.param.first + "Vers" + voyage.param.second; });

TEST_P(AllerRetour, EveryFieldTypeComesBackWithTheLossesOfTheTypeMappingAlone) {
  const auto& [depart, arrivee] = GetParam();
  BaseOuverte ici(BackendNomme(depart));
  BaseOuverte labas(BackendNomme(arrivee));
  auto definition = Table("TOUT", kDefinition);
  definition->AddIdx("UNIQUE_ID", "ID", false, true);
  ici.Cree(std::move(definition));
  const std::vector<Rangee> rangees = RangeesDe(GetParam());
  Remplit(*ici, rangees);
  {
    SCOPED_TRACE("stored");
    Compare(Lit(*ici), rangees, {depart});
  }
  if (!labas.Sur().Capacite().creeTables) labas.Cree(Table("TOUT", kDefinition));
  EXPECT_EQ(ici->CopieDonnees("TOUT", *labas).ecrites, static_cast<std::int64_t>(Rangees().size()));
  EXPECT_EQ(Desaccord(labas, "TOUT"), "");
  // A table that the copy creates has the indexes of the source; those of an Oracle source stay behind.
  if (labas.Sur().Capacite().creeTables) {
    const std::vector<std::string> index = depart == "Oracle" ? std::vector<std::string>() : std::vector<std::string>{"UNIQUE_ID(id)u"};
    EXPECT_EQ(IndexEnMemoire(labas->ListeTbl("TOUT")), index);
  }
  {
    SCOPED_TRACE("there");
    Compare(Lit(*labas), rangees, {depart, arrivee});
    const auto bilan = ici->VerifieCopie("TOUT", *labas);
    const auto attendues = Differences(GetParam(), rangees);
    EXPECT_EQ(bilan.differences, static_cast<std::int64_t>(attendues.size())) << bilan.premiereDifference;
    EXPECT_EQ(runtime::UpperCase(bilan.premiereDifference), attendues.empty() ? "" : attendues.front());
  }
  ici->ExecuteSQL("DELETE * FROM [TOUT]");
  EXPECT_EQ(labas->CopieDonnees("TOUT", *ici).lues, static_cast<std::int64_t>(Rangees().size()));
  {
    SCOPED_TRACE("and back");
    Compare(Lit(*ici), rangees, {depart, arrivee, depart});
  }
}

/// The journeys between kinds on which the layer creates tables.
std::vector<Voyage> VoyagesDeTables() {
  std::vector<Voyage> voyages = Voyages();
  std::erase_if(voyages, [](const Voyage& voyage) { return voyage.first == "Sqlite" || voyage.second == "Sqlite"; });
  return voyages;
}

class CopieStructure : public testing::TestWithParam<Voyage> {};
INSTANTIATE_TEST_SUITE_P(Backends, CopieStructure, testing::ValuesIn(VoyagesDeTables()),
                         [](const auto& voyage) { return voyage.param.first + "Vers" + voyage.param.second; });

TEST_P(CopieStructure, KeysAndIndexesOfATableGoWithItsRows) {
  const auto& [depart, arrivee] = GetParam();
  BaseOuverte ici(BackendNomme(depart));
  BaseOuverte labas(BackendNomme(arrivee));
  auto definition = Table("T", {{"ID", ado::adInteger, 4}, {"A", ado::adInteger, 4}, {"B", ado::adVarWChar, 20}});
  definition->AddIdx(ici.Sur().Capacite().nomPrimary ? "PRIMARY" : "PK", "ID", true, true);
  definition->AddIdx("UQ", "A;-B", false, true);
  // SQL Server refuses a table with a plain index.
  const bool simple = ici.Sur().Capacite().indexSimple && labas.Sur().Capacite().indexSimple;
  if (simple) definition->AddIdx("IX", "-B", false, false);
  ici.Cree(std::move(definition));
  ici->ExecuteSQL("INSERT INTO [T] ([ID],[A],[B]) VALUES (1,1,'x')");
  ici.Rouvre();
  EXPECT_EQ(ici->CopieDonnees("T", *labas).ecrites, 1);
  EXPECT_EQ(Desaccord(labas, "T"), "");
  labas.Rouvre();

  const bool sens = ici.Sur().Capacite().indexDescendant && labas.Sur().Capacite().indexDescendant;
  std::vector<std::string> index;
  if (depart != "Oracle") {
    const bool primaire = arrivee != "MariaDb" || ici.Sur().Capacite().nomPrimary;  // there a primary key has one name
    index = {std::string(ici.Sur().Capacite().nomPrimary ? "PRIMARY" : "PK") + "(id)" + (primaire ? "pu" : "u"),
             sens ? "UQ(a;-b)u" : "UQ(a;b)u"};
    if (simple) index.emplace_back(sens ? "IX(-b)" : "IX(b)");
  }
  EXPECT_THAT(IndexEnMemoire(labas->ListeTbl("T")), testing::UnorderedElementsAreArray(index));
  const auto ajoute = [&](const char* valeurs) {
    return runtime::IgnoringErrors([&] { labas->ExecuteSQL(std::string("INSERT INTO [T] ([ID],[A],[B]) VALUES (") + valeurs + ")"); })
        .number;
  };
  EXPECT_EQ(ajoute("1,2,'y'"), depart == "Oracle" ? 0 : runtime::kDuplicateKey);
  EXPECT_EQ(ajoute("2,1,'x'"), depart == "Oracle" ? 0 : runtime::kDuplicateKey);
  EXPECT_EQ(ajoute("3,1,'y'"), 0);
}

TEST_P(CopieStructure, ATableIsFoundByItsNameInAnyCaseEvenWhereItIsANumber) {
  const auto& [depart, arrivee] = GetParam();
  BaseOuverte ici(BackendNomme(depart));
  BaseOuverte labas(BackendNomme(arrivee));
  for (const char* nom : {"ART", "2", "2003"}) {
    SCOPED_TRACE(nom);
    auto definition = Table(nom, {{"ID", ado::adInteger, 4}, {"A", ado::adVarWChar, 20}});
    definition->AddIdx(std::string("UQ") + nom, "ID", false, true);
    ici.Cree(std::move(definition));
    EXPECT_EQ(ici->TblCopie(nom, *labas, true, true).ecrites, 0) << "a table without rows";
    for (const char* id : {"1", "2"}) ici->ExecuteSQL(std::string("INSERT INTO [") + nom + "] ([ID],[A]) VALUES (" + id + ",'x')");
    EXPECT_EQ(ici->CopieDonnees(runtime::LowerCase(nom), *labas).ecrites, 2);
    EXPECT_TRUE(labas->ExisteTbl(nom));
    labas->ExecuteSQL(std::string("UPDATE [") + nom + "] SET [A]='y' WHERE [ID]=2");
    const auto bilan = ici->VerifieCopie(nom, *labas);
    EXPECT_EQ(bilan.differences, 1);
    EXPECT_EQ(runtime::UpperCase(bilan.premiereDifference), std::string("TABLE ") + nom + ", LIGNE 2 (CLÉ ID=2), COLONNE A");
  }
}

/// Journeys of a table whose fields have names as people give them.
class CopieNoms : public testing::TestWithParam<Voyage> {};
INSTANTIATE_TEST_SUITE_P(Backends, CopieNoms, testing::ValuesIn(VoyagesDeTables()),
                         [](const auto& voyage) { return voyage.param.first + "Vers" + voyage.param.second; });

TEST_P(CopieNoms, FieldsWithQuotesBlanksAndSignsGoThereAndBack) {
  const auto& [depart, arrivee] = GetParam();
  BaseOuverte ici(BackendNomme(depart));
  BaseOuverte labas(BackendNomme(arrivee));
  const std::vector<Champ> champs = {{"N° (1); %", ado::adInteger, 4}, {"Date d'entrée", ado::adDate}, {"L'été, où?", ado::adVarWChar, 20}};
  ici.Cree(Table("Pièces d’or", champs));
  auto rs = ici->OpenRecordSet("SELECT * FROM [Pièces d’or]", 2);
  rs.AddNew();
  rs.Fields("n° (1); %").Value(7);
  rs.Fields("DATE D'ENTRÉE").Value(Instant(2003, 2, 1));
  rs.Fields("L'été, où?").Value("d'or");
  rs.Update();
  rs.Close();
  EXPECT_EQ(ici->CopieDonnees("Pièces d’or", *labas).ecrites, 1);
  auto bilan = ici->VerifieCopie("Pièces d’or", *labas);
  EXPECT_TRUE(bilan.Egales()) << bilan.premiereDifference;
  labas.Rouvre();
  EXPECT_THAT(ChampsEnMemoire(labas->ListeTbl("PIÈCES D’OR")), testing::ElementsAre("n° (1); %", "date d'entrée", "l'été, où?"));
  ici->ExecuteSQL("DELETE * FROM [Pièces d’or]");
  EXPECT_EQ(labas->CopieDonnees("Pièces d’or", *ici).ecrites, 1);
  bilan = labas->VerifieCopie("Pièces d’or", *ici);
  EXPECT_TRUE(bilan.Egales()) << bilan.premiereDifference;
}

/// The journeys between kinds that have a column for type 131.
std::vector<Voyage> Voyages131() {
  std::vector<Voyage> voyages = Voyages();
  std::erase_if(voyages, [](const Voyage& voyage) { return voyage.first == "SqlServer" || voyage.second == "SqlServer"; });
  return voyages;
}

class AllerRetour131 : public testing::TestWithParam<Voyage> {};
INSTANTIATE_TEST_SUITE_P(Backends, AllerRetour131, testing::ValuesIn(Voyages131()),
                         [](const auto& voyage) { return voyage.param.first + "Vers" + voyage.param.second; });

TEST_P(AllerRetour131, ANumericComesBackWhereItHasAColumn) {
  const auto& [depart, arrivee] = GetParam();
  BaseOuverte ici(BackendNomme(depart));
  BaseOuverte labas(BackendNomme(arrivee));
  const std::vector<Champ> champs = {{"ID", ado::adInteger, 4}, {"N", ado::adNumeric, 10}};
  ici.Cree(Table("T", champs));
  if (!labas.Sur().Capacite().creeTables) labas.Cree(Table("T", champs));
  auto rs = ici->OpenRecordSet("SELECT * FROM [T]", 2);
  const std::vector<Variant> valeurs = {0, 1, -1, 2147483647, -2147483647 - 1, Null{}};
  for (std::size_t i = 0; i < valeurs.size(); ++i) {
    rs.AddNew();
    rs.Fields("ID").Value(static_cast<std::int32_t>(i));
    rs.Fields("N").Value(valeurs[i]);
    rs.Update();
  }
  rs.Close();
  EXPECT_EQ(ici->CopieDonnees("T", *labas).ecrites, 6);
  const auto bilan = ici->VerifieCopie("T", *labas);
  EXPECT_TRUE(bilan.Egales()) << bilan.premiereDifference;
  ici->ExecuteSQL("DELETE * FROM [T]");
  EXPECT_EQ(labas->CopieDonnees("T", *ici).ecrites, 6);
  std::vector<std::string> lues;
  rs = ici->OpenRecordSet("SELECT [N] FROM [T] ORDER BY [ID]", 0);
  for (; !rs.Eof(); rs.MoveNext()) lues.push_back(rs.Fields(0).Value().IsNull() ? "nul" : runtime::ToText(rs.Fields(0).Value()));
  EXPECT_THAT(lues, testing::ElementsAre("0", "1", "-1", "2147483647", "-2147483648", "nul"));
}

/// A row with a null in the text and one in the memo, copied into a new Access file.
class NulVersAccess : public testing::Test {
 protected:
  runtime::PendingError Copie(const std::string& depart, const std::string& valeurs) {
    BaseOuverte ici(BackendNomme(depart));
    BaseOuverte labas(BackendNomme("Jet"));
    ici.Cree(Table("T", {{"ID", ado::adInteger, 4}, {"TEXTE", ado::adVarWChar, 40}, {"MEMO", ado::adLongVarWChar}}));
    ici->ExecuteSQL("INSERT INTO [T] ([ID],[TEXTE],[MEMO]) VALUES (1,'a','b')");
    ici->ExecuteSQL("INSERT INTO [T] ([ID],[TEXTE],[MEMO]) VALUES (2," + valeurs + ")");
    const auto erreur = runtime::IgnoringErrors([&] { (void)ici->CopieDonnees("T", *labas); });
    auto rs = labas->OpenRecordSet("SELECT [ID],[TEXTE] FROM [T]", 0);
    for (; !rs.Eof(); rs.MoveNext()) arrivees_.push_back(runtime::ToText(rs.Fields(0).Value()) + runtime::ToText(rs.Fields(1).Value()));
    rs.Close();
    return erreur;
  }
  std::vector<std::string> arrivees_;
};

TEST_F(NulVersAccess, AShortTextIsNotWrittenAndIsEmptyThere) {
  EXPECT_EQ(Copie("MariaDb", "NULL,'b'").number, 0);
  EXPECT_THAT(arrivees_, testing::ElementsAre("1a", "2"));
}

TEST_F(NulVersAccess, AMemoIsRefusedWithTheRowNamedAndTheRowsBeforeItAreThere) {
  const auto erreur = Copie("MariaDb", "'a',NULL");
  EXPECT_EQ(erreur.number, runtime::kProviderFailure);
  EXPECT_TRUE(erreur.description.starts_with("copie de la table T : ligne 2 : Le champ ne peut pas contenir de valeur Null"))
      << erreur.description;
  EXPECT_TRUE(runtime::LowerCase(erreur.description).find("\"memo\"") != std::string::npos) << erreur.description;
  EXPECT_THAT(arrivees_, testing::ElementsAre("1a"));
}

TEST_F(NulVersAccess, ATextOfAGenericSourceIsRefusedLikeAMemo) {
  const auto erreur = Copie("Sqlite", "NULL,'b'");
  EXPECT_EQ(erreur.number, runtime::kProviderFailure);
  EXPECT_TRUE(erreur.description.starts_with("copie de la table T : ligne 2 : Le champ ne peut pas contenir de valeur Null"))
      << erreur.description;
  EXPECT_TRUE(runtime::LowerCase(erreur.description).find("\"texte\"") != std::string::npos) << erreur.description;
  EXPECT_THAT(arrivees_, testing::ElementsAre("1a"));
}

}  // namespace
}  // namespace tamlo::tests
