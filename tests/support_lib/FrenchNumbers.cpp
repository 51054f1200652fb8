#include "tests/support_lib/FrenchNumbers.h"

#include <clocale>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace tamlo::tests {

namespace {

/// Only the numbers are French: all other parts take seconds to make.
void WriteSource(const std::string& file) {
  std::ofstream out(file);
  out << "LC_NUMERIC\ncopy \"fr_FR\"\nEND LC_NUMERIC\n";
  for (const char* part : {"CTYPE", "COLLATE", "MONETARY", "TIME", "MESSAGES", "PAPER", "NAME", "ADDRESS", "TELEPHONE", "MEASUREMENT"})
    out << "LC_" << part << "\ncopy \"POSIX\"\nEND LC_" << part << "\n";
}

}  // namespace

FrenchNumbers::FrenchNumbers() : before_(std::setlocale(LC_NUMERIC, nullptr)) {
  const std::string source = folder_.File("source");
  WriteSource(source);
  // Its status tells of warnings too: what counts is whether the locale can be set.
  (void)!std::system(("localedef -c -i '" + source + "' -f UTF-8 '" + folder_.File("fr_FR.UTF-8") + "' >/dev/null 2>&1").c_str());
  ::setenv("LOCPATH", folder_.Path().c_str(), 1);
  const bool isSet = std::setlocale(LC_NUMERIC, "fr_FR.UTF-8") != nullptr;
  ::unsetenv("LOCPATH");
  if (!isSet || std::string(std::localeconv()->decimal_point) != ",") {
    std::setlocale(LC_NUMERIC, before_.c_str());
    throw std::runtime_error("localedef has made no French locale");
  }
}

FrenchNumbers::~FrenchNumbers() { std::setlocale(LC_NUMERIC, before_.c_str()); }

}  // namespace tamlo::tests
