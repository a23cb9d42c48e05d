#include "../../Utils/src/UtfSimple.h"

#include <gtest/gtest.h>

TEST(UtfSequence, IsWellFormedInOneToFourBytesOnly) {
  constexpr uint8_t four[] = {0xF0, 0x90, 0x80, 0x80, 0x80, 0x80};
  EXPECT_TRUE(Utf::isWellFormed(four, 4));
  for (const std::size_t length : {std::size_t{0}, std::size_t{5}, std::size_t{6}, SIZE_MAX}) {
    EXPECT_FALSE(Utf::isWellFormed(four, length)) << length;
  }
  constexpr uint8_t letters[] = {'a', 0x80, 0x80, 0x80, 0x80, 0x80};
  EXPECT_TRUE(Utf::isWellFormed(letters, 1));
  for (const std::size_t length : {std::size_t{0}, std::size_t{5}, std::size_t{6}, SIZE_MAX}) {
    EXPECT_FALSE(Utf::isWellFormed(letters, length)) << length;
  }
}
