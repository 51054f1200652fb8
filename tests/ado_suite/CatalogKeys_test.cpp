#include <algorithm>
#include <string>
#include <vector>

#include "ado/Catalog.h"
#include "jet/Database.h"
#include "tests/ado_suite/CatalogTest.h"

// The keys of tables.
namespace tamlo::tests {
namespace {

/// "FK_PERE 2 (X,Y) PERE(B,A) 1 0": name, type, columns; of a foreign key what it refers to, and its rules.
std::string Shown(const ado::Key& key) {
  std::string own;
  std::string related;
  for (const auto& column : key.columns) {
    own += (own.empty() ? "" : ",") + column.name;
    related += (related.empty() ? "" : ",") + column.relatedColumn;
  }
  std::string text = key.name + " " + std::to_string(key.type) + " (" + own + ")";
  if (key.type == ado::adKeyForeign) {
    text += " " + key.relatedTable + "(" + related + ") " + std::to_string(key.updateRule) + " " + std::to_string(key.deleteRule);
  }
  return text;
}

std::string Shown(const std::vector<ado::Key>& keys) {
  std::string text;
  for (const auto& key : keys) text += Shown(key) + "\n";
  return text;
}

ado::Key KeyOf(const std::string& name, ado::KeyType type, const std::vector<std::string>& columns) {
  ado::Key key;
  key.name = name;
  key.type = type;
  for (const auto& column : columns) key.columns.push_back({column, {}});
  return key;
}

ado::Key ForeignKey(const std::string& name, const std::string& column, const std::string& table, const std::string& related,
                    ado::RuleType updates = ado::adRINone, ado::RuleType deletes = ado::adRINone) {
  ado::Key key = KeyOf(name, ado::adKeyForeign, {column});
  key.columns[0].relatedColumn = related;
  key.relatedTable = table;
  key.updateRule = updates;
  key.deleteRule = deletes;
  return key;
}

class CatalogKeys : public CatalogTest {
 protected:
  static ado::Column Number(const std::string& name) {
    ado::Column column;
    column.name = name;
    column.type = ado::adInteger;
    return column;
  }
  /// Appends a table of required numbers with these keys.
  void Append(const std::string& name, const std::vector<std::string>& columns, const std::vector<ado::Key>& keys) {
    ado::Table table(name);
    for (const auto& column : columns) table.AppendColumn(Number(column));
    for (const auto& key : keys) table.AppendKey(key);
    ado::Catalog(connection).Append(table);
  }
  [[nodiscard]] std::string KeysOf(const std::string& table) { return Shown(ado::Catalog(connection).Tables(table).Keys()); }
  /// The name of a primary key as it reads back.
  [[nodiscard]] std::string Primary(const std::string& name) const { return source.Name() == "MariaDB" ? "PRIMARY" : name; }
};

TEST_P(CatalogKeys, AreThoseThatStatementsMade) {
  connection.Execute("CREATE TABLE PERE (A INTEGER NOT NULL, B INTEGER NOT NULL, CONSTRAINT PK_PERE PRIMARY KEY (B, A))");
  connection.Execute(
      "CREATE TABLE FILS (ID INTEGER NOT NULL, X INTEGER, Y INTEGER, U INTEGER, V INTEGER, Z INTEGER, CONSTRAINT PK_FILS PRIMARY KEY (ID), "
      "CONSTRAINT UQ_FILS UNIQUE (V, U), CONSTRAINT FK_PERE FOREIGN KEY (X, Y) REFERENCES PERE (B, A) ON UPDATE CASCADE ON DELETE CASCADE, "
      "CONSTRAINT FK_FILS FOREIGN KEY (Z) REFERENCES FILS (ID))");
  connection.Execute("CREATE UNIQUE INDEX IU ON FILS (Z)");
  const auto kept = [&](std::string name) {
    if (Is("PostgreSQL"))
      std::transform(name.begin(), name.end(), name.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; });
    return name;
  };
  EXPECT_EQ(KeysOf("pere"), Primary(kept("PK_PERE")) + " 1 (" + kept("B,A") + ")\n");
  const std::string keys = KeysOf("fils");
  const auto has = [&](const std::string& line) { return ("\n" + keys).find("\n" + line + "\n") != std::string::npos; };
  EXPECT_TRUE(keys.starts_with(Primary(kept("PK_FILS")) + " 1 (" + kept("ID") + ")\n")) << keys;
  EXPECT_TRUE(has(kept("UQ_FILS") + " 3 (" + kept("V,U") + ")")) << keys;
  EXPECT_TRUE(has(kept("FK_PERE") + " 2 (" + kept("X,Y") + ") " + kept("PERE") + "(" + kept("B,A") + ") 1 1")) << keys;
  EXPECT_TRUE(has(kept("FK_FILS") + " 2 (" + kept("Z") + ") " + kept("FILS") + "(" + kept("ID") + ") 0 0")) << keys;
  const bool toldApart = !Is("Access") && !Is("MariaDB");
  EXPECT_EQ(has(kept("IU") + " 3 (" + kept("Z") + ")"), !toldApart) << keys;
  EXPECT_EQ(std::count(keys.begin(), keys.end(), '\n'), toldApart ? 4 : 5) << keys;
}

TEST_P(CatalogKeys, OfANewTableAreMadeWithIt) {
  Append("Clients", {"Numero", "Code"},
         {KeyOf("PK_Clients", ado::adKeyPrimary, {"numero"}), KeyOf("UQ_Clients", ado::adKeyUnique, {"CODE"})});
  Append("Lignes", {"Ordre", "Client", "Suite"},
         {KeyOf("PK_Lignes", ado::adKeyPrimary, {"Client", "Ordre"}),
          ForeignKey("FK_Client", "client", "CLIENTS", "NUMERO", ado::adRICascade, ado::adRICascade),
          ForeignKey("FK_Code", "Suite", "Clients", "Code")});
  EXPECT_EQ(KeysOf("Clients"), Primary("PK_Clients") + " 1 (Numero)\nUQ_Clients 3 (Code)\n");
  const std::string keys = KeysOf("Lignes");
  EXPECT_TRUE(keys.starts_with(Primary("PK_Lignes") + " 1 (Client,Ordre)\n")) << keys;
  EXPECT_NE(keys.find("\nFK_Client 2 (Client) Clients(Numero) 1 1\n"), std::string::npos) << keys;
  EXPECT_NE(keys.find("\nFK_Code 2 (Suite) Clients(Code) 0 0\n"), std::string::npos) << keys;
  EXPECT_EQ(std::count(keys.begin(), keys.end(), '\n'), 3) << keys;
  if (Is("SQLite")) connection.Execute("PRAGMA foreign_keys = ON");
  const std::string clients = Quoted("Clients");
  const std::string lines = Quoted("Lignes");
  connection.Execute("INSERT INTO " + clients + " VALUES (1, 10)");
  connection.Execute("INSERT INTO " + clients + " VALUES (2, 20)");
  connection.Execute("INSERT INTO " + lines + " VALUES (1, 2, 10)");
  EXPECT_NE(ErrorOf([&] { connection.Execute("INSERT INTO " + lines + " VALUES (1, 7, 10)"); }), 0) << "no such client";
  EXPECT_NE(ErrorOf([&] { connection.Execute("DELETE FROM " + clients + " WHERE " + Quoted("Numero") + " = 1"); }), 0) << "FK_Code refuses";
  connection.Execute("DELETE FROM " + clients + " WHERE " + Quoted("Numero") + " = 2");
  EXPECT_EQ(Count(lines), 0) << "those of the client went with it";
  EXPECT_EQ(ErrorOf([&] { connection.Execute("INSERT INTO " + clients + " VALUES (3, 10)"); }), 3022);
}

TEST_P(CatalogKeys, AreAppendedToATableThatIsThere) {
  Append("Clients", {"Numero", "Code"}, {});
  Append("Lignes", {"Ordre", "Client"}, {});
  ado::Catalog catalog(connection);
  ado::Table& clients = catalog.Tables("Clients");
  ado::Table& lines = catalog.Tables("Lignes");
  if (Is("SQLite")) {
    EXPECT_EQ(ErrorOf([&] { clients.AppendKey(KeyOf("PK", ado::adKeyPrimary, {"Numero"})); }), 3251);
    EXPECT_EQ(ErrorOf([&] { clients.AppendKey(KeyOf("UQ", ado::adKeyUnique, {"Code"})); }), 3251);
    EXPECT_EQ(ErrorOf([&] { lines.AppendKey(ForeignKey("FK", "Client", "Clients", "Numero")); }), 3251);
    EXPECT_TRUE(clients.Keys().empty());
    return;
  }
  EXPECT_TRUE(clients.Keys().empty());
  clients.AppendKey(KeyOf("PK_Clients", ado::adKeyPrimary, {"NUMERO"}));
  clients.AppendKey(KeyOf("UQ_Clients", ado::adKeyUnique, {"Code", "Numero"}));
  lines.AppendKey(ForeignKey("FK_Client", "Client", "clients", "Numero", ado::adRINone, ado::adRICascade));
  EXPECT_EQ(Shown(clients.Keys()), Primary("PK_Clients") + " 1 (Numero)\nUQ_Clients 3 (Code,Numero)\n");
  EXPECT_EQ(Shown(lines.Keys()), "FK_Client 2 (Client) Clients(Numero) 0 1\n");
  EXPECT_TRUE(std::any_of(clients.Indexes().begin(), clients.Indexes().end(), [](const ado::Index& index) { return index.primaryKey; }));
  ado::Connection other;
  source.Connect(other);
  EXPECT_EQ(Shown(ado::Catalog(other).Tables("lignes").Keys()), "FK_Client 2 (Client) Clients(Numero) 0 1\n");
  other.Close();

  EXPECT_EQ(ErrorOf([&] { lines.DeleteKey("ABSENTE"); }), 3265);
  // MariaDB lets a primary key go that is referred to.
  if (!Is("MariaDB")) {
    EXPECT_NE(ErrorOf([&] { clients.DeleteKey("PK_Clients"); }), 0) << "it is referred to";
  }
  EXPECT_EQ(clients.Keys().size(), 2U);
  lines.DeleteKey("fk_client");
  EXPECT_TRUE(lines.Keys().empty());
  connection.Execute("INSERT INTO " + Quoted("Lignes") + " VALUES (1, 99)");
  clients.DeleteKey("uq_clients");
  clients.DeleteKey(Primary("PK_Clients"));
  EXPECT_TRUE(clients.Keys().empty());
  EXPECT_EQ(KeysOf("Clients"), "");
  const auto append = [&] { lines.AppendKey(ForeignKey("FK_Client", "Client", "Clients", "Numero")); };
  EXPECT_NE(ErrorOf(append), 0) << "nothing unique to refer to";
  clients.AppendKey(KeyOf("PK_Clients", ado::adKeyPrimary, {"Numero"}));
  EXPECT_NE(ErrorOf(append), 0) << "a row that refers to nothing";
  EXPECT_EQ(KeysOf("Lignes"), "");
  connection.Execute("DELETE FROM " + Quoted("Lignes"));
  append();
  EXPECT_EQ(KeysOf("Lignes"), "FK_Client 2 (Client) Clients(Numero) 0 0\n");
}

TEST_P(CatalogKeys, ReferToWhatIsUnique) {
  Append("Clients", {"Numero", "Code"}, {KeyOf("PK_Clients", ado::adKeyPrimary, {"Numero"})});
  EXPECT_NE(ErrorOf([&] { Append("Lignes", {"Client"}, {ForeignKey("FK", "Client", "Clients", "Code")}); }), 0);
  EXPECT_NE(ErrorOf([&] { Append("Lignes", {"Client", "Ligne"}, {ForeignKey("FK", "Client", "Lignes", "Ligne")}); }), 0);
  EXPECT_EQ(ado::Catalog(connection).Find("Lignes"), nullptr) << "nothing is left behind";
  connection.Execute("CREATE UNIQUE INDEX IU ON " + Quoted("Clients") + " (" + Quoted("Code") + ")");
  Append("Lignes", {"Client"}, {ForeignKey("FK", "Client", "Clients", "Code")});
  EXPECT_EQ(KeysOf("Lignes"), "FK 2 (Client) Clients(Code) 0 0\n");
}

TEST_P(CatalogKeys, GoWithTheTransactionWhereDefinitionsDo) {
  if (Is("SQLite") || Is("MariaDB")) return;  // the one has nothing to append to, the other commits
  Append("Clients", {"Numero"}, {});
  connection.BeginTrans();
  ado::Catalog(connection).Tables("Clients").AppendKey(KeyOf("PK_Clients", ado::adKeyPrimary, {"Numero"}));
  ado::Catalog(connection).AppendView("Vue", "SELECT CODE FROM ART");
  connection.RollbackTrans();
  EXPECT_EQ(KeysOf("Clients"), "");
  EXPECT_EQ(ado::Catalog(connection).Find("Vue"), nullptr);
}

TEST_P(CatalogKeys, SetNullWhereTheProviderCan) {
  ado::Table parent("PARENT");
  parent.AppendColumn(Number("ID"));
  parent.AppendKey(KeyOf("PK_PARENT", ado::adKeyPrimary, {"ID"}));
  ado::Catalog catalog(connection);
  catalog.Append(parent);
  const auto append = [&](ado::RuleType updates, ado::RuleType deletes) {
    ado::Table child("ENFANT");
    child.AppendColumn(Number("N"));
    ado::Column refers = Number("P");
    refers.attributes = ado::adColNullable;
    child.AppendColumn(refers);
    child.AppendKey(ForeignKey("FK_P", "P", "PARENT", "ID", updates, deletes));
    return ErrorOf([&] { catalog.Append(child); });
  };
  const bool hasDefaults = Is("SQLite") || Is("PostgreSQL");
  EXPECT_EQ(append(ado::adRINone, ado::adRISetDefault), hasDefaults ? 0 : 3251);
  EXPECT_EQ(catalog.Find("ENFANT") != nullptr, hasDefaults);
  if (hasDefaults) {
    EXPECT_EQ(KeysOf("ENFANT"), "FK_P 2 (P) PARENT(ID) 0 3\n");
    catalog.Delete("ENFANT");
  }
  EXPECT_EQ(append(ado::adRICascade, ado::adRISetNull), Is("Access") ? 3251 : 0);
  EXPECT_EQ(catalog.Find("ENFANT") == nullptr, Is("Access")) << "nothing is left of what was refused";
  if (!Is("Access")) {
    EXPECT_EQ(KeysOf("ENFANT"), "FK_P 2 (P) PARENT(ID) 1 2\n");
  }
}

TEST_P(CatalogKeys, ThatAreNotWholeOrNameWhatIsNotThereAreRefused) {
  Append("Clients", {"Numero", "Code"}, {KeyOf("PK_Clients", ado::adKeyPrimary, {"Numero"})});
  Append("Lignes", {"Ordre", "Client"}, {});
  ado::Catalog catalog(connection);
  ado::Table& lines = catalog.Tables("Lignes");
  const auto errorOf = [&](const ado::Key& key) { return ErrorOf([&] { lines.AppendKey(key); }); };
  EXPECT_EQ(errorOf(KeyOf("", ado::adKeyPrimary, {"Ordre"})), 3001);
  EXPECT_EQ(errorOf(KeyOf("PK", ado::adKeyPrimary, {})), 3001);
  EXPECT_EQ(errorOf(KeyOf("PK", ado::adKeyPrimary, {""})), 3001);
  EXPECT_EQ(errorOf(KeyOf("PK", static_cast<ado::KeyType>(4), {"Ordre"})), 3001);
  EXPECT_EQ(errorOf(ForeignKey("FK", "Client", "", "Numero")), 3001);
  EXPECT_EQ(errorOf(ForeignKey("FK", "Client", "Clients", "")), 3001);
  EXPECT_EQ(errorOf(ForeignKey("FK", "Client", "Clients", "Numero", static_cast<ado::RuleType>(9))), 3001);
  EXPECT_EQ(errorOf(KeyOf("PK", ado::adKeyPrimary, {"Ordre", "Absente"})), 3265);
  EXPECT_EQ(errorOf(ForeignKey("FK", "Absente", "Clients", "Numero")), 3265);
  EXPECT_EQ(errorOf(ForeignKey("FK", "Client", "Absents", "Numero")), 3265);
  const auto missing = runtime::IgnoringErrors([&] { lines.AppendKey(ForeignKey("FK", "Client", "Clients", "Absente")); });
  EXPECT_EQ(missing.number, 3265);
  EXPECT_NE(missing.description.find("(Absente)"), std::string::npos) << missing.description;
  EXPECT_EQ(KeysOf("Lignes"), "");
  ado::Table& clients = catalog.Tables("Clients");
  const auto taken = runtime::IgnoringErrors([&] { clients.AppendKey(KeyOf(clients.Keys()[0].name, ado::adKeyUnique, {"Code"})); });
  EXPECT_EQ(taken.number, 3367);
  EXPECT_TRUE(taken.description.starts_with("L'objet se trouve déjà dans la collection.")) << taken.description;

  ado::Table made("Neuve");
  made.AppendColumn(Number("ID"));
  made.AppendKey(KeyOf("PK", ado::adKeyPrimary, {"id"}));
  EXPECT_EQ(ErrorOf([&] { made.AppendKey(KeyOf("pk", ado::adKeyUnique, {"ID"})); }), 3367);
  EXPECT_EQ(ErrorOf([&] { made.DeleteKey("ABSENTE"); }), 3265);
  made.AppendKey(ForeignKey("FK", "Absente", "Clients", "Numero"));
  EXPECT_EQ(ErrorOf([&] { catalog.Append(made); }), 3265);
  EXPECT_EQ(catalog.Find("Neuve"), nullptr);
  made.DeleteKey("fk");
  made.AppendKey(ForeignKey("FK", "ID", "neuve", "ID"));
  catalog.Append(made);
  EXPECT_EQ(KeysOf("Neuve"), Primary("PK") + " 1 (ID)\nFK 2 (ID) Neuve(ID) 0 0\n");
}

TEST_P(CatalogKeys, HaveWhateverNames) {
  const std::string odd = Is("Access") ? "L'été \"n° 1\" (é); x-- ? %_ {x}" : "L'été \"n° 1\" [x] `y` (é); x-- \\ ? %_ {x}";
  const std::string other = Is("Access") ? "Père, clé" : "Père, [clé] \"'` /*";
  Append(other, {"La clé", odd}, {KeyOf("PK " + other, ado::adKeyPrimary, {"LA CLÉ"}), KeyOf("UQ " + odd, ado::adKeyUnique, {odd})});
  Append(odd, {odd, "à"}, {ForeignKey("FK " + odd, odd, other, "La clé", ado::adRICascade)});
  EXPECT_EQ(KeysOf(other), Primary("PK " + other) + " 1 (La clé)\nUQ " + odd + " 3 (" + odd + ")\n");
  const std::string foreign = "FK " + odd + " 2 (" + odd + ") " + other + "(La clé) 1 0\n";
  EXPECT_EQ(KeysOf(odd), foreign);
  if (Is("SQLite")) return;
  ado::Catalog catalog(connection);
  ado::Table& table = catalog.Tables(odd);
  table.DeleteKey("fk " + odd);
  EXPECT_EQ(KeysOf(odd), "");
  table.AppendKey(ForeignKey("FK " + odd, odd, other, "La clé", ado::adRICascade));
  EXPECT_EQ(KeysOf(odd), foreign);
}

TEST_P(CatalogKeys, KeepTheirWholeNameOrAreRefused) {
  const std::string name(70, 'N');
  ado::Catalog catalog(connection);
  EXPECT_EQ(ErrorOf([&] { Append("Neuve", {"A"}, {KeyOf(name, ado::adKeyUnique, {"A"})}); }), Is("SQLite")    ? 0
                                                                                              : Is("MariaDB") ? -2147217900
                                                                                                              : -2147467259);
  EXPECT_EQ(catalog.Find("Neuve") != nullptr, Is("SQLite"));
  EXPECT_EQ(ErrorOf([&] { catalog.AppendView(name, "SELECT CODE FROM ART"); }), Is("SQLite")    ? 0
                                                                                : Is("MariaDB") ? -2147217900
                                                                                                : -2147467259);
  EXPECT_EQ(catalog.Views().size(), Is("SQLite") ? 1U : 0U);
  if (!Is("SQLite")) return;
  EXPECT_EQ(KeysOf("Neuve"), name + " 3 (A)\n");
  EXPECT_EQ(catalog.Views()[0].name, name);
}

TEST_P(CatalogKeys, AreNotThereForViewsAndClosedConnections) {
  const std::string name = source.Kept("VUE");
  ado::Catalog catalog(connection);
  catalog.AppendView(name, "SELECT CODE FROM ART");
  EXPECT_TRUE(catalog.Tables(name).Keys().empty());
  ado::Table table = catalog.Tables("ART");
  connection.Close();
  EXPECT_EQ(ErrorOf([&] { (void)table.Keys(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { table.AppendKey(KeyOf("UQ", ado::adKeyUnique, {"CODE"})); }), 3704);
  EXPECT_EQ(ErrorOf([&] { table.DeleteKey("UQ"); }), 3704);
  EXPECT_EQ(ErrorOf([&] { (void)catalog.Views(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { catalog.AppendView("V", "SELECT 1"); }), 3704);
  EXPECT_EQ(ErrorOf([&] { catalog.DeleteView(name); }), 3704);
}

TEST_P(CatalogKeys, AreWhatToolsOfOthersRead) {
  Append("Clients", {"Numero"}, {KeyOf("PK_Clients", ado::adKeyPrimary, {"Numero"})});
  Append("Lignes", {"Client"}, {ForeignKey("FK_Client", "Client", "Clients", "Numero", ado::adRICascade, ado::adRICascade)});
  if (Is("Access")) {
    connection.Close();
    const std::string schema = OutputOf("mdb-schema --relations '" + File() + "' postgres");
    EXPECT_NE(schema.find("FOREIGN KEY (\"client\") REFERENCES \"Clients\"(\"numero\") ON UPDATE CASCADE ON DELETE CASCADE"),
              std::string::npos)
        << schema;
    EXPECT_NE(schema.find("ADD CONSTRAINT \"clients_pkey\" PRIMARY KEY (\"numero\")"), std::string::npos) << schema;
  } else if (Is("SQLite")) {
    const auto text = Open("SELECT sql FROM sqlite_master WHERE name = 'Lignes'", ado::adOpenForwardOnly).GetString(-1, "|", "");
    EXPECT_NE(text.find("FOREIGN KEY (\"Client\") REFERENCES \"Clients\" (\"Numero\") ON UPDATE CASCADE ON DELETE CASCADE"),
              std::string::npos)
        << text;
  } else {
    ado::Connection other;
    source.Connect(other);
    ado::Recordset rows;
    rows.Open(
        "SELECT CONSTRAINT_NAME, UPDATE_RULE, DELETE_RULE FROM INFORMATION_SCHEMA.REFERENTIAL_CONSTRAINTS WHERE CONSTRAINT_SCHEMA = " +
            std::string(Is("MariaDB") ? "DATABASE()" : "'public'"),
        &other, ado::adOpenForwardOnly, ado::adLockReadOnly, -1);
    EXPECT_EQ(rows.GetString(-1, "|", "\n"), "FK_Client|CASCADE|CASCADE\n");
  }
}

using CatalogOfMySql = CatalogKeys;

TEST_P(CatalogOfMySql, ForeignKeysOfTablesWhoseEngineHasNoneAreRefused) {
  Append("Clients", {"Numero"}, {KeyOf("PK_Clients", ado::adKeyPrimary, {"Numero"})});
  connection.Execute("CREATE TABLE Simple (Client INTEGER) ENGINE=MyISAM");
  ado::Catalog catalog(connection);
  EXPECT_EQ(ErrorOf([&] { catalog.Tables("Simple").AppendKey(ForeignKey("FK", "Client", "Clients", "Numero")); }), 3251);
  connection.Execute("SET SESSION default_storage_engine = MyISAM");
  ado::Table made("Neuve");
  made.AppendColumn(Number("Client"));
  made.AppendKey(ForeignKey("FK", "Client", "Clients", "Numero"));
  EXPECT_EQ(ErrorOf([&] { catalog.Append(made); }), 3251);
  catalog.Refresh();
  EXPECT_EQ(catalog.Find("Neuve"), nullptr);
}

using CatalogOfSqlite = CatalogKeys;

TEST_P(CatalogOfSqlite, KeysHaveTheNamesOfTheirDefinition) {
  connection.Execute("CREATE TABLE P (A INTEGER PRIMARY KEY, B INTEGER UNIQUE)");
  connection.Execute(
      "CREATE TABLE IF NOT EXISTS main.[F (1)] -- CONSTRAINT NON UNIQUE (X),\n"
      "(X INTEGER DEFAULT ((1)) CONSTRAINT \"fk, \"\"x\"\"\" REFERENCES P ON DELETE CASCADE, /* , CONSTRAINT NON */ [y] VARCHAR(10) DEFAULT ',(' "
      "CONSTRAINT uq_y UNIQUE CONSTRAINT ck CHECK (y <> ')'), `Z` INTEGER REFERENCES P(B) ON UPDATE SET NULL, "
      "CONSTRAINT 'pk é' PRIMARY KEY (Y COLLATE NOCASE DESC, x), UNIQUE (Z), CONSTRAINT two FOREIGN KEY (x) REFERENCES P (A))");
  EXPECT_EQ(KeysOf("P"), "PRIMARY 1 (A)\nsqlite_autoindex_P_1 3 (B)\n");
  EXPECT_EQ(
      KeysOf("f (1)"),
      "pk é 1 (y,X)\nuq_y 3 (y)\nsqlite_autoindex_F (1)_3 3 (Z)\nfk, \"x\" 2 (X) P(A) 0 1\nFK_P 2 (Z) P(B) 2 0\ntwo 2 (X) P(A) 0 0\n");
}

TEST_P(CatalogOfSqlite, ACounterIsTheKeyThatItsOwnTableRefersTo) {
  ado::Table tree("ARBRE");
  ado::Column counter = Number("ID");
  counter.properties.Set("AutoIncrement", true);
  tree.AppendColumn(counter);
  tree.AppendColumn(Number("PARENT"));
  tree.AppendKey(KeyOf("PK_ARBRE", ado::adKeyPrimary, {"ID"}));
  tree.AppendKey(ForeignKey("FK_ARBRE", "PARENT", "ARBRE", "ID"));
  ado::Catalog(connection).Append(tree);
  EXPECT_EQ(KeysOf("ARBRE"), "PRIMARY 1 (ID)\nFK_ARBRE 2 (PARENT) ARBRE(ID) 0 0\n");
}

using CatalogOfAccess = CatalogKeys;

TEST_P(CatalogOfAccess, RelationshipsThatAreNotEnforcedAreNoKeys) {
  Append("Clients", {"Numero"}, {KeyOf("PK_Clients", ado::adKeyPrimary, {"Numero"})});
  Append("Lignes", {"Client"}, {});
  connection.Close();
  {
    const auto database = ::jet::Database::Open(File());
    ::jet::Relationship loose;
    loose.name = "Libre";
    loose.table = "Lignes";
    loose.referencedTable = "Clients";
    loose.columns = {{"Client", "Numero"}};
    loose.enforced = false;
    database->CreateRelationship(loose);
  }
  source.Connect(connection);
  EXPECT_EQ(KeysOf("Lignes"), "");
}

TEST_P(CatalogOfAccess, LinkedTablesShowTheKeysOfTheTableBehindThem) {
  Append("Clients", {"Numero"}, {KeyOf("PK_Clients", ado::adKeyPrimary, {"Numero"})});
  Append("Lignes", {"Client"}, {ForeignKey("FK_Client", "Client", "Clients", "Numero")});
  const TemporaryFolder folder;
  const std::string text = "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + folder.File("Liens.mdb");
  ado::Catalog::Create(text);
  ado::Connection linked;
  linked.Open(text);
  ado::Catalog catalog(linked);
  ado::Table link("Attachée");
  link.Property("Jet OLEDB:Create Link", true);
  link.Property("Jet OLEDB:Link Datasource", File());
  link.Property("Jet OLEDB:Remote Table Name", "Lignes");
  catalog.Append(link);
  ado::Table& table = catalog.Tables("Attachée");
  EXPECT_EQ(Shown(table.Keys()), "FK_Client 2 (Client) Clients(Numero) 0 0\n");
  EXPECT_EQ(ErrorOf([&] { table.AppendKey(KeyOf("UQ", ado::adKeyUnique, {"Client"})); }), 3251);
  EXPECT_EQ(ErrorOf([&] { table.DeleteKey("FK_Client"); }), 3251);
  ado::Table own("Propre");
  own.AppendColumn(Number("N"));
  own.AppendKey(ForeignKey("FK", "N", "Attachée", "Client"));
  EXPECT_EQ(ErrorOf([&] { catalog.Append(own); }), 3251);
  EXPECT_EQ(catalog.Find("Propre"), nullptr);
  link.AppendKey(KeyOf("PK", ado::adKeyPrimary, {"X"}));
  link.Name("Autre");
  EXPECT_NE(ErrorOf([&] { catalog.Append(link); }), 0) << "a link has no keys of its own";
}

INSTANTIATE_TEST_SUITE_P(Suite, CatalogKeys, ::testing::Values("Access", "SQLite", "MariaDB", "PostgreSQL"), NameOf);
INSTANTIATE_TEST_SUITE_P(Suite, CatalogOfAccess, ::testing::Values("Access"), NameOf);
INSTANTIATE_TEST_SUITE_P(Suite, CatalogOfMySql, ::testing::Values("MariaDB"), NameOf);
INSTANTIATE_TEST_SUITE_P(Suite, CatalogOfSqlite, ::testing::Values("SQLite"), NameOf);

}  // namespace
}  // namespace tamlo::tests
