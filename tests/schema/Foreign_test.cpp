// Databases that others have made, read. Their scripts stand in the folder foreign.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "schema/FindingTexts.h"
#include "schema/Read.h"
#include "tests/schema/Engine.h"
#include "tests/schema/Told.h"

namespace tamlo::tests {
namespace {

using schema::Kind;

constexpr const char* kKinds[] = {"boolean", "byte",   "short", "long", "big",    "single", "double", "currency",
                                  "decimal", "moment", "text",  "memo", "binary", "blob",   "guid"};

/// "long required counts 3 = 5"
std::string Described(const schema::Column& column) {
  std::string text = kKinds[static_cast<int>(column.type.kind)];
  if (column.type.length > 0) text += " " + std::to_string(column.type.length);
  if (column.type.kind == Kind::kDecimal) text += " " + std::to_string(column.type.precision) + "," + std::to_string(column.type.scale);
  if (column.required) text += " required";
  if (!column.allowEmpty) text += " filled";
  if (column.counter) text += " counts " + std::to_string(column.counter->next);
  if (column.initial.kind != schema::Default::Kind::kNone)
    text += " = " + (column.initial.text.empty() ? "#" + std::to_string(static_cast<int>(column.initial.kind)) : column.initial.text);
  if (!column.rule.empty()) text += " if " + column.rule;
  return text;
}

std::string Described(const schema::Index& index) {
  std::string text = index.name + (index.primary ? " primary" : index.unique ? " unique" : "") + (index.ignoreNulls ? " filled:" : ":");
  for (const auto& part : index.parts) text += " " + part.column + (part.descending ? "-" : "");
  return text;
}

std::string Described(const schema::Relation& relation) {
  std::string text = relation.name + ": " + relation.table + " -> " + relation.referenced + (relation.cascadeUpdates ? " u" : "") +
                     (relation.cascadeDeletes ? " d" : "") + ":";
  for (const auto& [from, to] : relation.columns) text += " " + from + "=" + to;
  return text;
}

struct Expectation {
  const char* column;
  const char* is;
};

class Foreign {
 public:
  explicit Foreign(const std::string& name) : engine_(name) {
    std::ifstream script(std::string(TAMLO_FOREIGN) + "/" + name + ".sql");
    const Ran loaded = engine_.Client({std::istreambuf_iterator<char>(script), {}});
    EXPECT_EQ(loaded.err, "");
    const auto connection = engine_.Connect();
    read_ = schema::Read(*connection, engine_.Dialect().engine);
  }

  void Expect(const std::string& table, std::initializer_list<Expectation> columns) const {
    const auto found = std::find_if(read_.tables.begin(), read_.tables.end(), [&](const auto& one) { return one.name == table; });
    ASSERT_NE(found, read_.tables.end()) << table;
    ASSERT_EQ(found->columns.size(), columns.size()) << table;
    std::size_t place = 0;
    for (const auto& [name, is] : columns) {
      EXPECT_EQ(found->columns[place].name, name);
      EXPECT_EQ(Described(found->columns[place]), is) << table << "." << name;
      ++place;
    }
  }
  [[nodiscard]] std::vector<std::string> Indexes(const std::string& table) const {
    std::vector<std::string> all;
    for (const auto& one : read_.tables)
      if (one.name == table)
        for (const auto& index : one.indexes) all.push_back(Described(index));
    return all;
  }
  [[nodiscard]] std::vector<std::string> Relations() const {
    std::vector<std::string> all;
    for (const auto& relation : read_.relations) all.push_back(Described(relation));
    return all;
  }
  void ExpectFinding(const std::string& place, const std::string& part) const {
    const bool told = std::any_of(read_.findings.begin(), read_.findings.end(), [&](const auto& finding) {
      return finding.table + (finding.column.empty() ? "" : "." + finding.column) == place &&
             English(finding).find(part) != std::string::npos;
    });
    EXPECT_TRUE(told) << place << ": " << part;
  }
  [[nodiscard]] const schema::Database& Read() const { return read_; }

 private:
  Engine engine_;
  schema::Database read_;
};

using Texts = std::vector<std::string>;

/// None of them says in French what it says in English.
void ExpectFrench(const std::vector<schema::Finding>& findings) {
  for (const auto& finding : findings) EXPECT_NE(schema::French(finding), schema::English(finding));
}

TEST(Foreign, AShopOnMariaDb) {
  const Foreign shop("mariadb");
  shop.Expect("actor",
              {{"actor_id", "long required counts 3"}, {"first_name", "text 45 required"}, {"last_update", "moment required = #5"}});
  shop.Expect("film", {{"film_id", "long required counts 2"},
                       {"title", "text 255 required"},
                       {"description", "memo"},
                       {"release_year", "short"},
                       {"rental_duration", "byte required = 3"},
                       {"rental_rate", "decimal 4,2 required = 4.99"},
                       {"rating", "text 5 = G if `rating` IN ('G','PG','PG-13','R','NC-17')"},
                       {"special_features", "text 36"},
                       {"stars", "short required = 0"},
                       {"seen", "decimal 20,0"},
                       {"size", "long if `size` > 0"},
                       {"extra", "memo"},
                       {"flags", "binary 2"},
                       {"hours", "text 29"},
                       {"night", "moment"},
                       {"born", "moment"},
                       {"exact", "text 29"},
                       {"millis", "moment"},
                       {"twice", "long"},
                       {"old", "moment"}});
  shop.Expect("film_actor", {{"actor_id", "long required"}, {"film_id", "long required"}, {"other", "long"}});
  EXPECT_EQ(shop.Indexes("film"), (Texts{"both_ways unique: release_year title-", "PrimaryKey primary: film_id"}));
  EXPECT_EQ(shop.Indexes("film_actor"), (Texts{"PrimaryKey primary: film_id actor_id"})) << "the server's own indexes are not among them";
  EXPECT_EQ(shop.Relations(), (Texts{"fk_actor: film_actor -> actor u: actor_id=actor_id",
                                     "fk_film: film_actor -> film u d: film_id=film_id", "fk_other: film_actor -> film: other=film_id"}));
  shop.ExpectFinding("film.rating", "becomes a text");
  shop.ExpectFinding("film.stars", "holds other numbers");
  shop.ExpectFinding("film.twice", "is computed as");
  shop.ExpectFinding("film.extra", "JSON");
  shop.ExpectFinding("film.old", "days that are none");
  shop.ExpectFinding("film", "the index words is FULLTEXT");
  shop.ExpectFinding("film_actor", "SET NULL");
  shop.ExpectFinding("actor", "the trigger upper_name");
  shop.ExpectFinding("actor.last_update", "each change of its row");
  EXPECT_THAT(ToldInFrench(shop.Read().findings),
              testing::IsSupersetOf(
                  {"actor.last_update : est un instant avec fuseau horaire ; devient un instant UTC",
                   "actor.last_update : est remise à jour à chaque modification de sa ligne, ce qui n'est pas repris",
                   "film.rating : est enum('G','PG','PG-13','R','NC-17') ; devient un texte",
                   "film.stars : est déclarée booléenne mais contient d'autres nombres ; devient un nombre de 16 bits",
                   "film.extra : est du JSON ; devient un texte", "film.flags : est bit(12) ; ses bits deviennent des octets",
                   "film.twice : est calculée comme `size` * 2 ; devient une colonne ordinaire",
                   "film.old : a des jours qui n'en sont pas, de mois ou de jour 0 ou d'avant l'an 100 ; leurs lignes sont refusées",
                   "film : l'index words est FULLTEXT et n'est pas repris",
                   "film_actor : la relation fk_other fait SET NULL dans la source ; sans cela la modification est refusée",
                   "actor : le déclencheur upper_name n'est pas repris"}));
  ExpectFrench(shop.Read().findings);
  ASSERT_EQ(shop.Read().queries.size(), 1U);
  EXPECT_EQ(shop.Read().queries[0].name, "actors");
  EXPECT_EQ(shop.Read().tables[1].columns[2].comment, "what it's about");
  EXPECT_EQ(shop.Read().tables[2].rows, 2U);
}

TEST(Foreign, AShopOnPostgreSql) {
  const Foreign shop("postgresql");
  shop.Expect("customer", {{"customer_id", "long required counts 3"},
                           {"email", "memo"},
                           {"activebool", "boolean required = 1"},
                           {"maybe", "boolean"},
                           {"create_date", "moment required = ('now'::text)::date"},
                           {"last_update", "moment = #5"},
                           {"amount", "currency"},
                           {"free", "decimal 18,3"},
                           {"huge", "memo"},
                           {"tags", "memo"},
                           {"doc", "memo"},
                           {"born", "long"},
                           {"code", "text 4"},
                           {"name", "text 63"},
                           {"spent", "memo"},
                           {"near", "memo"},
                           {"exact", "text 40"},
                           {"millis", "moment"},
                           {"ends", "moment"},
                           {"bits", "memo"}});
  shop.Expect("film", {{"film_id", "long required counts 110"},
                       {"title", "text 255 required filled"},
                       {"rating", "text 5 = G if \"rating\" IN ('G', 'PG', 'NC-17')"},
                       {"length", "short if (length > 0)"},
                       {"minutes", "decimal 5,2"}});
  EXPECT_EQ(shop.Indexes("rental"), (Texts{"filled filled: a c-", "Inventory: Inventory Id"}));
  EXPECT_EQ(shop.Relations(), (Texts{"to_customer: rental -> customer d: a=customer_id", "to_film: rental -> film u: b=title c=length"}));
  shop.ExpectFinding("rental", "lower_b is over an expression");
  shop.ExpectFinding("rental", "few is over the rows with");
  shop.ExpectFinding("rental", "SET NULL");
  shop.ExpectFinding("film", "the exclusion");
  shop.ExpectFinding("film.minutes", "is computed as");
  shop.ExpectFinding("customer.born", "domain year");
  shop.ExpectFinding("customer.tags", "text[]");
  shop.ExpectFinding("customer.last_update", "UTC");
  shop.ExpectFinding("customer.ends", "infinite");
  shop.ExpectFinding("", "schema other (1)");
  shop.ExpectFinding("", "the view kept keeps its rows");
  EXPECT_THAT(ToldInFrench(shop.Read().findings),
              testing::IsSupersetOf({"customer.born : est du domaine year, dont les conditions ne sont pas reprises",
                                     "customer.tags : est text[] ; devient le texte que le serveur en écrit",
                                     "customer.last_update : est un instant avec fuseau horaire ; devient un instant UTC",
                                     "customer.ends : a des jours d'avant l'an 100, d'après 9999, ou infinis ; leurs lignes sont refusées",
                                     "rental : l'index lower_b porte sur une expression et n'est pas repris",
                                     " : les tables du schéma other (1) ne sont pas reprises",
                                     " : la vue kept garde ses lignes ; devient une vue ordinaire"}));
  ExpectFrench(shop.Read().findings);
  EXPECT_EQ(shop.Read().tables[1].comment, "what is lent");
  EXPECT_EQ(shop.Read().tables[0].rows, 2U);
}

TEST(Foreign, AShopOnSqlite) {
  const Foreign shop("sqlite");
  shop.Expect("Artist", {{"ArtistId", "long required"}, {"Name", "text 120"}});
  shop.Expect("Track", {{"TrackId", "long required counts 3"},
                        {"Name", "text 200 required"},
                        {"ArtistId", "long"},
                        {"UnitPrice", "decimal 10,2 required = 0.99"},
                        {"Bytes", "big"},
                        {"Wrong", "memo"},
                        {"Any", "memo"},
                        {"Day", "moment"},
                        {"Stamp", "moment = #5"},
                        {"Small", "long"},
                        {"Ratio", "double"},
                        {"Twice", "big"},
                        {"Odd", "memo"}});
  EXPECT_EQ(shop.Indexes("Pair"), (Texts{"PrimaryKey primary: b a"}));
  EXPECT_EQ(shop.Indexes("Track"), (Texts{"IFK_Track: ArtistId-", "Name_ArtistId unique: Name ArtistId", "PrimaryKey primary: TrackId"}));
  EXPECT_EQ(shop.Relations(), (Texts{"Track_artist: Track -> Artist: ArtistId=ArtistId"}));
  shop.ExpectFinding("Track.Wrong", "another form");
  shop.ExpectFinding("Track.Bytes", "too large");
  shop.ExpectFinding("Track.Twice", "is computed as Bytes * 2");
  shop.ExpectFinding("Track.Any", "has no type");
  shop.ExpectFinding("Track.Odd", "WIBBLE");
  shop.ExpectFinding("Track", "Cheap is over the rows with");
  shop.ExpectFinding("Track", "Lower is over an expression");
  shop.ExpectFinding("Track", "the trigger T");
  EXPECT_THAT(
      ToldInFrench(shop.Read().findings),
      testing::IsSupersetOf(
          {"Track.Wrong : a des valeurs d'une autre forme que celle de son type ; devient un texte",
           "Track.Bytes : a des nombres trop grands pour son type déclaré ; en reçoit un plus large",
           "Track.Twice : est calculée comme Bytes * 2 ; devient une colonne ordinaire", "Track.Any : n'a pas de type ; devient un texte",
           "Track : l'index Lower porte sur une expression et n'est pas repris", "Track : le déclencheur T n'est pas repris"}));
  ExpectFrench(shop.Read().findings);
  ASSERT_EQ(shop.Read().queries.size(), 1U);
  EXPECT_EQ(shop.Read().queries[0].sql, "SELECT Name FROM Track");
}

}  // namespace
}  // namespace tamlo::tests
