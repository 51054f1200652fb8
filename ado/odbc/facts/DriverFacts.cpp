#include "ado/odbc/facts/DriverFacts.h"

#include <array>

#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/facts/Drivers.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

using Learn = void (*)(DriverFacts& facts, const DriverAnswers& driver);

struct KnownProduct {
  std::string_view word;  ///< in the product's name
  Learn learn;
};

/// The first that is met counts.
constexpr std::array<KnownProduct, 7> kProducts{{{"SQLITE", LearnSqlite},
                                                 {"MARIADB", LearnMySql},
                                                 {"MYSQL", LearnMySql},
                                                 {"POSTGRES", LearnPostgres},
                                                 {"SQL SERVER", LearnSqlServer},
                                                 {"SYBASE", LearnSqlServer},
                                                 {"ORACLE", LearnOracle}}};

Learn LearnerOf(const std::string& product) {
  const std::string upper = runtime::UpperCase(product);
  for (const auto& known : kProducts) {
    if (upper.find(known.word) != std::string::npos) return known.learn;
  }
  return LearnUnknown;
}

}  // namespace

DriverFacts FactsOf(const DriverAnswers& answers) {
  using Question = DriverAnswers::Question;
  DriverFacts facts;
  const Learn learn = LearnerOf(answers.Text(Question::kProduct));
  const std::string quote = answers.Text(Question::kQuote);
  // A blank means that the driver has no quoting.
  facts.openQuote = facts.closeQuote = quote == " " ? std::string() : quote;
  facts.patternEscape = answers.Text(Question::kPatternEscape);
  const std::uint32_t reads = answers.Reads();
  facts.readsAnyColumn = (reads & SQL_GD_ANY_COLUMN) != 0;
  facts.readsAnyOrder = (reads & SQL_GD_ANY_ORDER) != 0;
  facts.readsBound = (reads & SQL_GD_BOUND) != 0;
  facts.readsInBlock = (reads & SQL_GD_BLOCK) != 0;
  learn(facts, answers);
  return facts;
}

}  // namespace tamlo::ado::odbc
