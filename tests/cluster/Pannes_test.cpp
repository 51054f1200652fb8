// The long look: many users on three nodes at once, and nodes that are killed at the worst moments. Read with the mariadb client alone.
#include <filesystem>
#include <random>
#include <thread>

#include "app/Demarrage.h"
#include "app/UtlConnecte.h"
#include "ado/odbc/OdbcProvider.h"
#include "app/TableCode.h"
#include "db/DataBase.h"
#include "runtime/Error.h"
#include "tests/cluster/Volumes.h"
#include "tests/support_lib/FakePlatform.h"
#include "tests/support_lib/Seed.h"

namespace tamlo::tests {
namespace {

class Pannes : public Volumes {
 protected:
  void SetUp() override {
    ASSERT_TRUE(Cluster().HasNodes(1, 3));
    Volumes::SetUp();
  }
  void TearDown() override {
    for (const int node : killed_) Cluster().Restart(node);
    EXPECT_TRUE(Cluster().HasNodes(1, 3));
  }
  void Kill(int node) {
    Cluster().Kill(node);
    killed_.push_back(node);
  }

 private:
  std::vector<int> killed_;
};

TEST_F(Pannes, TwoHundredUsersOfThreeNodesAtOnce) {
  constexpr int kUsers = 200;
  EXPECT_EQ(SaveMany(kUsers, 24, [](int i) { return Cluster().ConnectionString(1 + i % 3); }), "");
  ExpectUsers(kUsers, {1, 2, 3});
}

TEST_F(Pannes, UsersThroughTheProxyWhoseNodeDies) {
  constexpr int kUsers = 60;
  const std::string proxy = Cluster().ThroughProxy();
  std::thread killer([this] {
    while (std::stoi(Cluster().Client(2, "SELECT COUNT(*) FROM UTL")) < 15) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    Kill(1);
  });
  const std::string failed = SaveMany(kUsers, 8, [&](int) { return proxy; });
  killer.join();
  EXPECT_NE(failed, "") << "the node died while nobody needed it";
  ASSERT_TRUE(Cluster().HasNodes(2, 2));
  // A tool whose server died has said so: every user that nobody complained about is there, with its link.
  const std::string sync = "SET SESSION wsrep_sync_wait = 7; ";
  for (int i = 1; i <= kUsers; ++i) {
    const std::string name = "NOM" + std::to_string(i);
    if (failed.find(name + " (") != std::string::npos) continue;
    EXPECT_EQ(Cluster().Client(2, sync + "SELECT COUNT(*) FROM UTL U JOIN VLMUTL V ON V.IDUTL = U.IDUTL WHERE U.NOM = '" + name + "'"),
              "1\n")
        << name;
  }
  // Those who were told run it again, on the other node now.
  for (int i = 1; i <= kUsers; ++i) {
    const std::string name = "NOM" + std::to_string(i);
    if (failed.find(name + " (") == std::string::npos) continue;
    std::string output;
    EXPECT_EQ(Tool(proxy, name).Wait(&output), 0) << name << output;
  }
  ExpectUsers(kUsers, {2, 3});
}

TEST_F(Pannes, ANodeThatDiesBetweenOpeningAndOk) {
  Child tool = Tool(Cluster().ConnectionString(3), "DUPONT");
  ASSERT_EQ(tool.ReadLine(), "pret");
  Kill(3);
  tool.WriteLine("");
  std::string output;
  EXPECT_EQ(tool.Wait(&output), 1);
  EXPECT_NE(output.find("boite: "), std::string::npos) << "it is told";
  ASSERT_TRUE(Cluster().HasNodes(1, 2));
  ExpectUsers(0, {1, 2});
  EXPECT_EQ(Tool(Cluster().AnyOf({3, 2, 1}), "DUPONT").Wait(&output), 0) << output;
  ExpectUsers(1, {1, 2});
}

TEST_F(Pannes, ANodeThatDiesDuringOk) {
  std::minstd_rand random(Seed());
  for (int round = 1; round <= 4; ++round) {
    Child tool = Tool(Cluster().ConnectionString(3), "DUPONT");
    ASSERT_EQ(tool.ReadLine(), "pret");
    const int wait = std::uniform_int_distribution<int>(0, 12)(random);
    tool.WriteLine("");
    std::this_thread::sleep_for(std::chrono::milliseconds(wait));
    Cluster().Kill(3);
    std::string output;
    const int status = tool.Wait(&output);
    ASSERT_TRUE(Cluster().HasNodes(1, 2));
    const std::string users = Cluster().Client(1, "SET SESSION wsrep_sync_wait = 7; SELECT COUNT(*) FROM UTL");
    const std::string links = Cluster().Client(1, "SELECT COUNT(*) FROM VLMUTL");
    std::cout << "killed after " << wait << " ms: exit " << status << ", users " << users.substr(0, 1) << ", links " << links.substr(0, 1)
              << "\n";
    if (status == 0) {
      ExpectUsers(1, {1, 2});
    } else {
      EXPECT_TRUE(users == "0\n" || users == "1\n") << users;
      EXPECT_TRUE(links == "0\n" || users == "1\n") << "a link without its user";
      // The same again makes it whole.
      EXPECT_EQ(Tool(Cluster().ConnectionString(2), "DUPONT").Wait(&output), 0) << output;
      ExpectUsers(1, {1, 2});
    }
    EXPECT_EQ(Cluster().Client(1, "DELETE FROM VLMUTL; DELETE FROM UTL"), "");
    Cluster().Restart(3);
    ASSERT_TRUE(Cluster().HasNodes(1, 3));
  }
}

TEST_F(Pannes, ANodeThatDiesAtEveryStatementOfOk) {
  const std::string sync = "SET SESSION wsrep_sync_wait = 7; ";
  int blows = 0;
  int whole = 0;
  int withoutLink = 0;
  for (int call = 1; call < 100; ++call) {
    // Before one call and after the next one: what lies between two calls is looked at once.
    const std::string side = call % 2 == 0 ? "apres" : "avant";
    const std::string where = side + " " + std::to_string(call);
    Child tool = Tool(Cluster().ConnectionString(3), "DUPONT", {side, std::to_string(call)});
    ASSERT_EQ(tool.ReadLine(), "pret");
    tool.WriteLine("");
    const bool struck = tool.ReadLine() == "coup";
    if (struck) {
      Cluster().Kill(3);
      tool.WriteLine("");
    }
    std::string output;
    const int status = tool.Wait(&output);
    if (!struck) {
      EXPECT_EQ(status, 0) << output;
      break;
    }
    ++blows;
    ASSERT_TRUE(Cluster().HasNodes(1, 2));
    EXPECT_EQ(status == 0, output.find("boite: ") == std::string::npos) << where << output;
    const std::string users = Cluster().Client(1, sync + "SELECT NOM FROM UTL WHERE LENGTH(MOTPASSE) = 6");
    const std::string links = Cluster().Client(1, sync + "SELECT NIVEAU FROM VLMUTL V JOIN UTL U ON U.IDUTL = V.IDUTL WHERE IDVLM = 12");
    EXPECT_EQ(Cluster().Client(2, sync + "SELECT NOM FROM UTL"), users) << where;
    EXPECT_TRUE(users.empty() || users == "DUPONT\n") << where << users;
    EXPECT_TRUE(links.empty() || (links == "3\n" && !users.empty())) << where << links;
    if (status == 0) EXPECT_EQ(links, "3\n") << where << ": nothing was told";
    whole += links.empty() ? 0 : 1;
    withoutLink += !users.empty() && links.empty() ? 1 : 0;
    EXPECT_EQ(Tool(Cluster().ConnectionString(2), "DUPONT").Wait(&output), 0) << where << output;
    ExpectUsers(1, {1, 2});
    EXPECT_EQ(Cluster().Client(1, "DELETE FROM VLMUTL; DELETE FROM UTL"), "");
    Cluster().Restart(3);
    ASSERT_TRUE(Cluster().HasNodes(1, 3));
  }
  EXPECT_GT(blows, 10);
  std::cout << blows << " blows: " << whole << " times the user whole, " << withoutLink << " times without the link, and told\n";
}

TEST_F(Pannes, ANodeThatDiesDuringACopyOfAMillionRows) {
  constexpr int kRows = 1000000;
  ado::odbc::RegisterOdbcProviders();
  const FakePlatform platform;
  app::BrancheCouche("/");
  app::InitTableCode();
  const std::string code = app::CodePwd("tamlo");
  app::LibereTableCode();
  app::ConnecteUtl(1, "tamlo", code);
  ASSERT_EQ(Cluster().Client(1, "CREATE OR REPLACE TABLE GROS (ID INTEGER PRIMARY KEY, TEXTE VARCHAR(40))"), "");
  const TemporaryFolder folder;
  db::DataBase source;
  ASSERT_TRUE(source.Ouvre("DRIVER={SQLite3};DATABASE=" + folder.File("source.db"), db::TypOdbc, false));
  source.ExecuteSQL("CREATE TABLE [GROS] ([ID] INTEGER PRIMARY KEY, [TEXTE] VARCHAR(40))");
  source.ExecuteSQL("INSERT INTO [GROS] WITH RECURSIVE N(I) AS (SELECT 1 UNION ALL SELECT I+1 FROM N WHERE I<" + std::to_string(kRows) +
                    ") SELECT I, 'ligne ' || I FROM N");
  db::DataBase target;
  ASSERT_TRUE(target.Ouvre(Cluster().ConnectionString(3), db::TypMySql, false));
  std::string told;
  try {
    db::CopieOptions options;
    bool killed = false;
    options.progression = [&](std::int64_t rows) {
      if (rows > 300000 && !killed) {
        killed = true;
        Kill(3);
      }
      return true;
    };
    (void)source.CopieDonnees("GROS", target, options);
    FAIL() << "no error";
  } catch (const runtime::Error& error) {
    told = error.Description();
  }
  std::cout << told << "\n";
  runtime::IgnoringErrors([&] { target.Ferme(); });
  ASSERT_TRUE(Cluster().HasNodes(1, 2));
  const std::string count = Cluster().Client(1, "SET SESSION wsrep_sync_wait = 7; SELECT COUNT(*) FROM GROS");
  std::cout << "rows there: " << count;
  EXPECT_EQ(Cluster().Client(
                2, "SET SESSION wsrep_sync_wait = 7; SELECT COUNT(*), MIN(ID), MAX(ID), SUM(TEXTE = CONCAT('ligne ', ID)) FROM GROS"),
            count.substr(0, count.size() - 1) + "\t1\t" + count.substr(0, count.size() - 1) + "\t" + count)
      << "whole rows from the first on, without a gap";
  EXPECT_GT(std::stoi(count), 250000);
  const auto named = told.find("ligne");
  ASSERT_NE(named, std::string::npos) << told;
  const auto digits = told.find_first_of("0123456789", named);
  ASSERT_NE(digits, std::string::npos) << told;
  EXPECT_GE(std::stoi(count), std::stoi(told.substr(digits)) - 1) << "the rows before the one that the error names are there";
  // The same again on another node, after the rows that are there are taken away.
  db::DataBase other;
  ASSERT_TRUE(other.Ouvre(Cluster().AnyOf({3, 2}), db::TypMySql, false));
  other.ExecuteSQL("DELETE * FROM [GROS]");
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(source.CopieDonnees("GROS", other).ecrites, kRows);
  std::cout << "copied in " << std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count() << " s\n";
  EXPECT_EQ(Cluster().Client(
                1, "SET SESSION wsrep_sync_wait = 7; SELECT COUNT(*), COUNT(DISTINCT ID), SUM(TEXTE = CONCAT('ligne ', ID)) FROM GROS"),
            "1000000\t1000000\t1000000\n");
  other.Ferme();
  source.Ferme();
  app::LibereTout();
}

}  // namespace
}  // namespace tamlo::tests
