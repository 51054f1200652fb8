#include "tests/cluster/Volumes.h"

#include <deque>

namespace tamlo::tests {

GaleraCluster& Cluster() {
  static GaleraCluster cluster;
  return cluster;
}

void Volumes::SetUp() {
  // The tables of the tool, and the catalog of a first run that nobody disturbs.
  EXPECT_EQ(
      Cluster().Client(
          1,
          "CREATE TABLE IF NOT EXISTS UTL (IDUTL DOUBLE NOT NULL PRIMARY KEY, NOM VARCHAR(30), MOTPASSE VARCHAR(10), KEY (NOM));"
          "CREATE TABLE IF NOT EXISTS VLMUTL (IDUTL DOUBLE NOT NULL, IDVLM DOUBLE NOT NULL, NIVEAU SMALLINT, PRIMARY KEY (IDUTL, IDVLM))"),
      "");
  std::string output;
  EXPECT_EQ(Tool(Cluster().ConnectionString(1), "PREMIER").Wait(&output), 0) << output;
  EXPECT_EQ(Cluster().Client(1, "DELETE FROM VLMUTL; DELETE FROM UTL"), "");
  for (int node = 1; node <= Cluster().Nodes(); ++node) {
    EXPECT_EQ(Cluster().Client(node, "SET SESSION wsrep_sync_wait = 7; SELECT COUNT(*) FROM UTL"), "0\n");
  }
}

Child Volumes::Tool(const std::string& base, const std::string& name, const std::vector<std::string>& at) {
  std::vector<std::string> command{TAMLO_CLUSTER_OUTIL, base, "12", name, "3", "secret"};
  command.insert(command.end(), at.begin(), at.end());
  return Child(command);
}

std::string Volumes::SaveMany(int count, int atOnce, const std::function<std::string(int)>& base) {
  std::string failed;
  std::deque<std::pair<int, Child>> running;
  const auto finish = [&] {
    std::string output;
    const int status = running.front().second.Wait(&output);
    if (status != 0) failed += "NOM" + std::to_string(running.front().first) + " (" + std::to_string(status) + ") " + output;
    running.pop_front();
  };
  for (int i = 1; i <= count; ++i) {
    if (running.size() == static_cast<std::size_t>(atOnce)) finish();
    running.emplace_back(i, Tool(base(i), "NOM" + std::to_string(i)));
    running.back().second.WriteLine("");
  }
  while (!running.empty()) finish();
  return failed;
}

void Volumes::ExpectUsers(int count, const std::vector<int>& nodes) {
  const std::string number = std::to_string(count);
  for (const int node : nodes) {
    const std::string sync = "SET SESSION wsrep_sync_wait = 7; ";
    EXPECT_EQ(Cluster().Client(node, sync + "SELECT COUNT(*), COUNT(DISTINCT IDUTL), COUNT(DISTINCT NOM) FROM UTL"),
              number + "\t" + number + "\t" + number + "\n")
        << "node " << node;
    EXPECT_EQ(
        Cluster().Client(
            node,
            sync +
                "SELECT COUNT(*), COUNT(DISTINCT V.IDUTL) FROM VLMUTL V JOIN UTL U ON U.IDUTL = V.IDUTL WHERE V.IDVLM = 12 AND V.NIVEAU = 3"),
        number + "\t" + number + "\n")
        << "node " << node;
    EXPECT_EQ(Cluster().Client(node, sync + "SELECT COUNT(*) FROM VLMUTL"), number + "\n") << "node " << node;
  }
}

void Volumes::ExpectCatalog(int node) {
  const std::string sync = "SET SESSION wsrep_sync_wait = 7; ";
  EXPECT_EQ(Cluster().Client(node, sync + "SELECT NOM FROM `$TBLKORV$` ORDER BY NOM"), "TEST_DT\nUTL\nVLMUTL\n") << "node " << node;
  EXPECT_EQ(Cluster().Client(node, sync + "SELECT `TABLE`, NO, NOM FROM `$FLDKORV$` ORDER BY `TABLE`, NO"),
            "TEST_DT\t0\tdt\nUTL\t0\tidutl\nUTL\t1\tnom\nUTL\t2\tmotpasse\nVLMUTL\t0\tidutl\nVLMUTL\t1\tidvlm\nVLMUTL\t2\tniveau\n")
      << "node " << node;
  EXPECT_EQ(Cluster().Client(node, sync + "SELECT `TABLE`, NOM, CHAMPS, PRIMAIRE FROM `$IDXKORV$` ORDER BY `TABLE`, NOM"),
            "TEST_DT\tDT\tdt\t0\nUTL\tNOM\tnom\t0\nUTL\tPRIMARY\tidutl\t-1\nVLMUTL\tPRIMARY\tidutl;idvlm\t-1\n")
      << "node " << node;
  EXPECT_EQ(Cluster().Client(
                node,
                "SELECT TABLE_NAME, GROUP_CONCAT(COLUMN_NAME ORDER BY SEQ_IN_INDEX) FROM information_schema.STATISTICS WHERE "
                "TABLE_SCHEMA = 'tamlo' AND INDEX_NAME = 'PRIMARY' AND TABLE_NAME LIKE '$%' GROUP BY TABLE_NAME ORDER BY TABLE_NAME"),
            "$FLDKORV$\tTABLE,NO\n$IDXKORV$\tTABLE,NOM\n$RLTKORV$\tALIASSRC,ALIASCBL\n$TBLKORV$\tNOM\n")
      << "node " << node;
}

}  // namespace tamlo::tests
