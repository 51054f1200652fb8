#include "ado/Secrets.h"

#include <gtest/gtest.h>

namespace tamlo::ado {
namespace {

TEST(WithoutSecrets, EverySpellingOfAPasswordIsStruckOut) {
  const std::pair<const char*, const char*> texts[] = {
      {"DSN=V;UID=moi;PWD=p", "DSN=V;UID=moi;PWD=***"},
      {"PWD=secret;DSN=V", "PWD=***;DSN=V"},
      {" pwd = secret ; DSN=V", " pwd = ***; DSN=V"},
      {"DSN=V;Password\t=\tsecret", "DSN=V;Password\t=\t***"},
      {"DSN=V;pAsSwOrD=secret;UID=moi", "DSN=V;pAsSwOrD=***;UID=moi"},
      {"DSN=V;PWD={a;b}}c};UID=moi", "DSN=V;PWD=***;UID=moi"},
      {"DSN=V;PWD={a}};b};UID=moi", "DSN=V;PWD=***;UID=moi"},
      {"DSN=V;PWD=\"a\"\";b\";UID=moi", "DSN=V;PWD=***;UID=moi"},
      {"DSN=V;PWD={a;b}reste;UID=moi", "DSN=V;PWD=***;UID=moi"},
      {"DSN=V;PWD={never closed;UID=moi", "DSN=V;PWD=***"},
      {"DSN=V;PWD=\"a;b\"\"c\";UID=moi", "DSN=V;PWD=***;UID=moi"},
      {"DSN=V;PWD='a;b';UID=moi", "DSN=V;PWD=***;UID=moi"},
      {"DSN=V;PWD=a b=c;UID=moi", "DSN=V;PWD=***;UID=moi"},
      {"DSN=V;PWD==;UID=moi", "DSN=V;PWD=***;UID=moi"},
      {"DSN=V;PWD=x;Password=y;PWD=z", "DSN=V;PWD=***;Password=***;PWD=***"},
      {"DSN=V;PWD1=x;OldPassword=y;SSLKeyPassphrase=z;pass=t", "DSN=V;PWD1=***;OldPassword=***;SSLKeyPassphrase=***;pass=***"},
      {"Data Source=A.MDB;Jet OLEDB:Database Password=x;Mode=Read", "Data Source=A.MDB;Jet OLEDB:Database Password=***;Mode=Read"},
      {"Provider=MSDASQL;Extended Properties=\"DSN=V;PWD=x\";UID=moi", "Provider=MSDASQL;Extended Properties=\"DSN=V;PWD=***;UID=moi"},
      {"refused: DRIVER={D};UID=moi;PWD=x", "refused: DRIVER={D};UID=moi;PWD=***"},
      {"DSN=V;PWD=é€😀;UID=moi", "DSN=V;PWD=***;UID=moi"},
  };
  for (const auto& [text, shown] : texts) EXPECT_EQ(WithoutSecrets(text), shown) << text;
}

TEST(WithoutSecrets, EverythingElseStaysAsItIs) {
  for (const char* text : {"", "=", "VOLUMES", "C:\\Bases\\V.MDB", "DSN=V;UID=pwd", "DSN=V;PWD=;UID=moi", "DSN=V;PWD=", "DSN=V;PWD",
                           "Adaptive Server connection failed", "Access denied for user 'p'@'localhost' (using password: YES)",
                           "DSN=pwd;PWDX;UID=a", "COMPASS=1;Trusted_Connection=yes"}) {
    EXPECT_EQ(WithoutSecrets(text), text);
  }
}

TEST(SecretRanges, AreBytesOfTheText) {
  const auto ranges = SecretRanges("DSN=é;PWD=abc;Password={d}");
  ASSERT_EQ(ranges.size(), 2U);
  EXPECT_EQ(ranges[0].start, 11U);
  EXPECT_EQ(ranges[0].length, 3U);
  EXPECT_EQ(ranges[1].start, 24U);
  EXPECT_EQ(ranges[1].length, 3U);
}

}  // namespace
}  // namespace tamlo::ado
