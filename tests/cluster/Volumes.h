#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/support_lib/GaleraCluster.h"

namespace tamlo::tests {

/// The cluster of this program, started at first use.
[[nodiscard]] GaleraCluster& Cluster();

/// A volumes database on the cluster, empty before each test, read with the mariadb client alone.
class Volumes : public ::testing::Test {
 protected:
  void SetUp() override;

  /// A run of the tool for a user of volume 12, up to OK if it is not told to wait. at: "avant" or "apres" and the number of the call to the driver
  /// at which it stops once more.
  [[nodiscard]] static Child Tool(const std::string& base, const std::string& name, const std::vector<std::string>& at = {});

  /// Runs of the tool for users NOM1 to NOMcount, so many at a time, base(i) for each. Gives the output of those that failed.
  [[nodiscard]] static std::string SaveMany(int count, int atOnce, const std::function<std::string(int)>& base);

  /// Expects on each node: so many users with different ids and names, each with exactly its own link, and no link without a user.
  static void ExpectUsers(int count, const std::vector<int>& nodes);

  /// Expects on a node the whole catalog of the tool's two tables and of the probe's: each row once, each catalog table with its key.
  static void ExpectCatalog(int node);
};

}  // namespace tamlo::tests
