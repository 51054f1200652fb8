#include "base/Base64.h"

#include <gtest/gtest.h>

#include <string>

namespace base {
namespace {

/// The bytes as text, or "none" for a text that is not read.
std::string Read(std::string_view text) {
  const auto bytes = ReadBase64(text);
  if (!bytes) return "none";
  std::string read;
  for (const std::byte byte : *bytes) read += static_cast<char>(byte);
  return read;
}

TEST(Base64, TheKnownVectorsAreRead) {
  EXPECT_EQ(Read(""), "");
  EXPECT_EQ(Read("Zg=="), "f");
  EXPECT_EQ(Read("Zm8="), "fo");
  EXPECT_EQ(Read("Zm9v"), "foo");
  EXPECT_EQ(Read("Zm9vYg=="), "foob");
  EXPECT_EQ(Read("Zm9vYmE="), "fooba");
  EXPECT_EQ(Read("Zm9vYmFy"), "foobar");
  EXPECT_EQ(Read("/+8A"), std::string("\xFF\xEF\0", 3));
}

TEST(Base64, AnyOtherTextIsNone) {
  for (const std::string_view text :
       {"Z", "Zg", "Zg=", "Zm9vYg", "Zg==Zg==", "Z===", "====", "Zm 9", "Zm9v\n", "Zm9-", "Zm9_", "Zm9\xE9"}) {
    EXPECT_EQ(Read(text), "none") << text;
  }
}

}  // namespace
}  // namespace base
