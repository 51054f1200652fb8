#pragma once

#include <array>
#include <cstdio>
#include <string>

#include "tests/ado_suite/Source.h"

namespace tamlo::tests {

/// What a program that is not ours writes.
inline std::string OutputOf(const std::string& command) {
  FILE* pipe = ::popen(("LC_ALL=C.UTF-8 " + command + " 2>&1").c_str(), "r");
  std::string output;
  std::array<char, 4096> piece{};
  for (std::size_t read = 0; (read = std::fread(piece.data(), 1, piece.size(), pipe)) > 0;) output.append(piece.data(), read);
  EXPECT_EQ(::pclose(pipe), 0) << command;
  return output;
}

/// A test of catalogs that reads the result otherwise too.
class CatalogTest : public SuiteTest {
 protected:
  [[nodiscard]] bool Is(const std::string& name) const { return source.Name() == name; }
  [[nodiscard]] std::string Quoted(const std::string& name) const {
    if (Is("Access")) return "[" + name + "]";
    const std::string quote = Is("MariaDB") ? "`" : "\"";
    std::string quoted = quote;
    for (const char c : name) quoted += std::string(c == quote[0] ? 2U : 1U, c);
    return quoted + quote;
  }
  /// The path of the file below the connection.
  [[nodiscard]] std::string File() const {
    const std::string text = source.WholeString();
    const std::string key = Is("Access") ? "Data Source=" : "DATABASE=";
    const auto begin = text.find(key) + key.size();
    return text.substr(begin, text.find_first_of(";\"", begin) - begin);
  }
};

}  // namespace tamlo::tests
