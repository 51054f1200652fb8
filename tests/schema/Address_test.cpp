// How a person names a database.
#include "schema/Address.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::schema {
namespace {

using tests::TemporaryFolder;

TEST(Address, FilesAreToldByTheirFirstBytesAndElseByTheirEnding) {
  const TemporaryFolder folder;
  std::ofstream(folder.File("a.mdb"), std::ios::binary) << std::string("SQLite format 3\0more", 20);
  std::ofstream(folder.File("a.db"), std::ios::binary) << std::string("\0\1\0\0Standard Jet DB\0", 20);
  std::ofstream(folder.File("empty.sqlite"));
  EXPECT_EQ(ReadAddress(folder.File("a.mdb")).engine, Engine::kSqlite);
  EXPECT_EQ(ReadAddress(folder.File("a.db")).engine, Engine::kAccess);
  EXPECT_EQ(ReadAddress(folder.File("empty.sqlite")).engine, Engine::kSqlite);
  for (const char* name : {"x.sqlite", "x.SQLite3", "x.db", "x.db3", "x.s3db"})
    EXPECT_EQ(ReadAddress(name).engine, Engine::kSqlite) << name;
  for (const char* name : {"x.mdb", "x.accdb", "x", "C:\\x.mdb"}) EXPECT_EQ(ReadAddress(name).engine, Engine::kAccess) << name;
}

TEST(Address, FilesHaveTheConnectionOfTheirProvider) {
  const Address access = ReadAddress("a b.mdb");
  EXPECT_EQ(access.provider, "Microsoft.Jet.OLEDB.4.0");
  EXPECT_EQ(access.connection, "Data Source=a b.mdb");
  EXPECT_EQ(ReadAddress("a;b.mdb").connection, "Data Source=\"a;b.mdb\"");
  const Address sqlite = ReadAddress("a b.sqlite");
  EXPECT_EQ(sqlite.provider, "MSDASQL");
  EXPECT_EQ(sqlite.connection, "DRIVER={SQLite3};FKSUPPORT=1;TIMEOUT=5000;DATABASE=a b.sqlite");
  EXPECT_EQ(sqlite.file, "a b.sqlite");
  EXPECT_NE(StreamingConnection(sqlite).find("NOCREAT=1"), std::string::npos);
}

TEST(Address, RowsOfPostgreSqlAreReadByACursorOfTheServer) {
  const Address postgres = ReadAddress("postgresql://tamlo@/tamlo");
  EXPECT_EQ(postgres.connection.find("FETCH"), std::string::npos);
  EXPECT_EQ(StreamingConnection(postgres), postgres.connection + ";USEDECLAREFETCH=1;FETCH=2000");
  const Address maria = ReadAddress("mariadb://tamlo@/tamlo");
  EXPECT_EQ(StreamingConnection(maria), maria.connection);
}

TEST(Address, UrlsOfServers) {
  const Address maria = ReadAddress("mariadb://a%40b@db.example:3307/base%20deux");
  EXPECT_EQ(maria.engine, Engine::kMariaDb);
  EXPECT_EQ(maria.user, "a@b");
  EXPECT_EQ(maria.connection, "DRIVER={MariaDB Unicode};SERVER=db.example;PORT=3307;DATABASE={base deux};CHARSET=utf8mb4");
  EXPECT_EQ(ReadAddress("MySQL:///b?socket=/run/my%2Dsql.sock").connection,
            "DRIVER={MariaDB Unicode};SOCKET=/run/my-sql.sock;DATABASE=b;CHARSET=utf8mb4");
  const Address postgres = ReadAddress("postgresql://u@[::1]:5433/b?sslmode=require&driver=My%20Own");
  EXPECT_EQ(postgres.engine, Engine::kPostgreSql);
  EXPECT_EQ(postgres.user, "u");
  EXPECT_EQ(postgres.connection,
            "DRIVER={My Own};SERVERNAME=::1;PORT=5433;DATABASE=b;SSLMODE=require;BoolsAsChar=0;ByteaAsLongVarBinary=1;MaxVarcharSize=8190");
  EXPECT_NE(ReadAddress("postgres:///b?host=/run/postgresql").connection.find("SERVERNAME=/run/postgresql;PORT=5432;"), std::string::npos);
  EXPECT_NE(ReadAddress("postgres://%2Frun%2Fpg/b").connection.find("SERVERNAME=/run/pg;"), std::string::npos);
}

TEST(Address, OdbcSources) {
  const Address odbc = ReadAddress("odbc:DSN=comptes;UID=moi");
  EXPECT_FALSE(odbc.engine);
  EXPECT_EQ(odbc.provider, "MSDASQL");
  EXPECT_EQ(odbc.connection, "DSN=comptes;UID=moi");
  EXPECT_EQ(odbc.user, "moi");
  EXPECT_EQ(ReadAddress("ODBC:comptes").connection, "comptes");
}

struct Refused {
  const char* name;
  AddressFault fault;
};

TEST(Address, WhatCannotBeReadIsRefusedAndNoPasswordIsShown) {
  const Refused refused[] = {{"mariadb://u:secret@h/b", AddressFault::kPasswordInside},
                             {"mariadb://:secret@h/b", AddressFault::kPasswordInside},
                             {"mariadb://u:se@secret/@h/b", AddressFault::kPasswordInside},
                             {"postgres://u@h/b?password=secret", AddressFault::kPasswordInside},
                             {"postgres://u@h/b?PWD=secret", AddressFault::kPasswordInside},
                             {"odbc:DSN=x;Pwd = {secret};UID=u", AddressFault::kPasswordInside},
                             {"oracle://scott:secret@h/b", AddressFault::kUnknownScheme},
                             {"mariadb://h/b?charset=latin1", AddressFault::kUnknownOption},
                             {"mariadb://h/b?sslmode=on", AddressFault::kUnknownOption},
                             {"mariadb://h/50%", AddressFault::kBadEscape},
                             {"mariadb://h/%zz", AddressFault::kBadEscape},
                             {"mariadb://h/a%00b", AddressFault::kBadEscape},
                             {"mariadb://h:x/b", AddressFault::kBadPort},
                             {"mariadb://h:65536/b", AddressFault::kBadPort},
                             {"mariadb://h", AddressFault::kNoDatabase},
                             {"postgresql:///", AddressFault::kNoDatabase},
                             {"a;b.sqlite", AddressFault::kBadFile},
                             {"odbc: ", AddressFault::kEmpty},
                             {"", AddressFault::kEmpty}};
  for (const auto& [name, fault] : refused) {
    try {
      (void)ReadAddress(name);
      ADD_FAILURE() << name << " was taken";
    } catch (const AddressError& error) {
      EXPECT_EQ(static_cast<int>(error.Fault()), static_cast<int>(fault)) << name;
      EXPECT_EQ(std::string(error.what()).find("secret"), std::string::npos) << error.what();
    }
    EXPECT_EQ(ShownName(name).find("secret"), std::string::npos) << ShownName(name);
  }
  EXPECT_EQ(ShownName("mariadb://u:secret@h/b"), "mariadb://u@h/b");
  EXPECT_EQ(ShownName("mariadb://u@h:3306/b"), "mariadb://u@h:3306/b");
}

TEST(Address, ProductsThatDriversName) {
  EXPECT_EQ(EngineNamed("MariaDB"), Engine::kMariaDb);
  EXPECT_EQ(EngineNamed("MySQL"), Engine::kMariaDb);
  EXPECT_EQ(EngineNamed("PostgreSQL"), Engine::kPostgreSql);
  EXPECT_EQ(EngineNamed("SQLite"), Engine::kSqlite);
  EXPECT_EQ(EngineNamed("Microsoft SQL Server"), Engine::kSqlServer);
  EXPECT_FALSE(EngineNamed("Firebird"));
}

}  // namespace
}  // namespace tamlo::schema
