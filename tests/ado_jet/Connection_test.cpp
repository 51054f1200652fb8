#include <filesystem>
#include <fstream>

#include "jet/file/FileSystem.h"
#include "tests/ado_jet/JetFixture.h"

using namespace tamlo;
using namespace tamlo::ado;
using runtime::IgnoringErrors;

namespace {

using JetConnectionTest = tests::JetFixture;

TEST_F(JetConnectionTest, ReadsBackWhatWasGivenToOpen) {
  EXPECT_EQ(connection.ConnectionString(), path);
  EXPECT_EQ(runtime::ToText(connection.Property("JET OLEDB:ENGINE TYPE")), "5");
  connection.Property("Jet OLEDB:Max Locks Per File", std::int16_t{12000});
  EXPECT_EQ(runtime::ToText(connection.Property("jet oledb:max locks per file")), "12000");
  EXPECT_EQ(IgnoringErrors([&] { (void)connection.Property("No such"); }).number, runtime::kItemNotFound);
}

TEST_F(JetConnectionTest, AConnectionStringNamesTheFileToo) {
  Connection other;
  other.Provider("Microsoft.Jet.OLEDB.4.0");
  const std::string text = "Data Source=" + path + ";Jet OLEDB:Engine Type=5;";
  other.Open(text, "", "");
  EXPECT_EQ(other.ConnectionString(), text);
  EXPECT_EQ(runtime::ToText(other.Property("Data Source")), path);
}

/// Whether a folder may hold two names that differ in nothing but the case of their letters.
bool TellsCaseApart(const std::filesystem::path& folder) {
  std::ofstream(folder / "case") << "";
  return !std::filesystem::exists(folder / "CASE");
}

TEST_F(JetConnectionTest, UpperCasedNamesFindTheirFile) {
  std::filesystem::create_directory(folder.Path() / u8"Été");
  const std::string inside = folder.File("");
  const std::string real = inside + "Été/Volumes.mdb";
  (void)::jet::Database::Create(real);
  Connection other;
  other.Provider("Microsoft.Jet.OLEDB.4.0");
  const std::string given = inside + "ÉTÉ/VOLUMES.MDB";
  other.Open(given, "", "");
  EXPECT_EQ(other.ConnectionString(), given);
  EXPECT_EQ(runtime::ToText(other.Property("Data Source")), TellsCaseApart(folder.Path()) ? real : given);
}

TEST_F(JetConnectionTest, TwoFilesOfThatNameAreAnErrorThatNamesBoth) {
  if (!TellsCaseApart(folder.Path())) GTEST_SKIP() << "on this file system the two names are one";
  for (const char* name : {"abc.mdb", "Abc.mdb"}) (void)::jet::Database::Create(folder.File(name));
  Connection other;
  other.Provider("Microsoft.Jet.OLEDB.4.0");
  const auto error = IgnoringErrors([&] { other.Open(folder.File("ABC.MDB"), "", ""); });
  EXPECT_EQ(error.number, runtime::kProviderFailure);
  EXPECT_NE(error.description.find("abc.mdb"), std::string::npos) << error.description;
  EXPECT_NE(error.description.find("Abc.mdb"), std::string::npos) << error.description;
  other.Open(folder.File("abc.mdb"), "", "");
}

TEST_F(JetConnectionTest, WhatIsNoAccessFileIsSaidSo) {
  const std::string text = folder.File("texte.mdb");
  std::ofstream(text) << "this is no database, but a text long enough to look like one";
  Connection other;
  other.Provider("Microsoft.Jet.OLEDB.4.0");
  auto error = IgnoringErrors([&] { other.Open(text, "", ""); });
  EXPECT_EQ(error.number, runtime::kProviderFailure);
  EXPECT_EQ(error.description.rfind("Format de base de données non reconnu", 0), 0U) << error.description;
  error = IgnoringErrors([&] { other.Open(folder.File("absent.mdb"), "", ""); });
  EXPECT_EQ(error.number, runtime::kProviderFailure);
  EXPECT_EQ(error.description.rfind("Fichier introuvable", 0), 0U) << error.description;
}

TEST_F(JetConnectionTest, AFileHeldByAnotherIs3051) {
  connection.Close();
  const auto holder = ::jet::Database::Open(path, {.mode = ::jet::OpenMode::kExclusive});
  const auto error = IgnoringErrors([&] { connection.Open(path, "", ""); });
  EXPECT_EQ(error.number, 3051);
  EXPECT_FALSE(connection.IsOpen());
}

TEST_F(JetConnectionTest, TheDatabaseIsCopiedWholeOrNotAtAll) {
  connection.Execute("CREATE TABLE T (A LONG)");
  connection.Execute("INSERT INTO T VALUES (1)");
  const std::string copy = folder.File("") + "copie é.mdb";
  connection.BeginTrans();
  EXPECT_EQ(IgnoringErrors([&] { connection.Backup(copy); }).number, runtime::kTransactionOpen);
  connection.RollbackTrans();
  connection.Backup(copy);
  connection.Execute("INSERT INTO T VALUES (2)");
  Connection other;
  other.Provider("Microsoft.Jet.OLEDB.4.0");
  other.Open(copy, "", "");
  Recordset rows;
  rows.Open("SELECT A FROM T", &other, adOpenStatic, adLockUnspecified, -1);
  EXPECT_EQ(Rows(rows), "1");
  auto error = IgnoringErrors([&] { connection.Backup(copy); });
  EXPECT_EQ(error.number, runtime::kProviderFailure);
  EXPECT_EQ(error.description, "L'objet existe déjà : le fichier \"" + copy + "\" existe");
  error = IgnoringErrors([&] { connection.Backup(folder.File("absent/copie.mdb")); });
  EXPECT_EQ(error.number, runtime::kProviderFailure);
  EXPECT_EQ(error.description, "Fichier introuvable : \"" + folder.File("absent/copie.mdb") + "-new\" n'existe pas");
  error = IgnoringErrors([&] { connection.Backup(folder.File("copie.ldb")); });
  EXPECT_EQ(error.number, runtime::kProviderFailure);
  EXPECT_EQ(error.description.rfind("Opération non gérée : ", 0), 0U) << error.description;
}

TEST_F(JetConnectionTest, ACopyWaitsForTheWriterAndGivesUp) {
  connection.Execute("CREATE TABLE T (A LONG, B TEXT(255))");
  Connection other;
  other.Provider("Microsoft.Jet.OLEDB.4.0");
  other.Open(path, "", "");
  // A writer who is bringing its changes into the file.
  const auto lockFile = ::jet::FileSystem::Real().Open(folder.File("Base.ldb"), ::jet::FileMode::kReadWrite);
  ASSERT_TRUE(lockFile->TryLock(0x20000001, 1, true));
  other.Property("Lock Wait", std::int32_t{50});
  const auto error = IgnoringErrors([&] { other.Backup(folder.File("copie.mdb")); });
  EXPECT_EQ(error.number, 3006);
  EXPECT_EQ(error.description, "La base de données ou l'objet est verrouillé : un autre utilisateur écrit dans la base");
  EXPECT_FALSE(std::filesystem::exists(folder.File("copie.mdb")));
  lockFile->Unlock(0x20000001, 1);
  other.Backup(folder.File("copie.mdb"));
  EXPECT_TRUE(std::filesystem::exists(folder.File("copie.mdb")));
}

TEST_F(JetConnectionTest, TwoConnectionsSeeEachOther) {
  connection.Execute("CREATE TABLE T (A LONG)");
  Connection other;
  other.Provider("Microsoft.Jet.OLEDB.4.0");
  other.Open(path, "", "");
  other.Execute("INSERT INTO T VALUES (1)");
  EXPECT_EQ(Rows("SELECT A FROM T"), "1");
  connection.Execute("INSERT INTO T IN \"" + other.ConnectionString() + "\" SELECT A+1 AS A FROM T");
  Recordset rows;
  rows.Open("SELECT A FROM T ORDER BY A", &other, adOpenStatic, adLockUnspecified, -1);
  EXPECT_EQ(Rows(rows), "1; 2");
}

}  // namespace
