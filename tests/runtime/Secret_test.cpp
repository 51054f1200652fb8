#include "runtime/Secret.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tamlo::runtime {
namespace {

TEST(Secret, AWipedTextIsEmptyAndItsMemoryHoldsNothing) {
  std::string text = "a password of more than fifteen characters, on the heap";
  text.resize(20);  // the rest is spare room
  const char* const memory = text.data();
  const std::size_t size = text.capacity();
  Wipe(text);
  EXPECT_TRUE(text.empty());
  ASSERT_EQ(text.data(), memory);
  EXPECT_EQ(text.capacity(), size);
  EXPECT_EQ(std::count(memory, memory + size, '\0'), static_cast<std::ptrdiff_t>(size));
}

TEST(Secret, AShortTextIsWipedWhereItStands) {
  std::string text = "secret";
  const char* const memory = text.data();
  Wipe(text);
  EXPECT_EQ(std::string(memory, 6), std::string(6, '\0'));
}

TEST(Secret, ATextIsWipedWhenItsGuardGoes) {
  std::u16string text = u"secret";
  const char16_t* const memory = text.data();
  { const WipedAtEnd wipe(text); }
  EXPECT_TRUE(text.empty());
  EXPECT_EQ(std::u16string(memory, 6), std::u16string(6, u'\0'));
}

}  // namespace
}  // namespace tamlo::runtime
