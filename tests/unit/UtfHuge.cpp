// Texts of more than 2 GiB: the same megabytes again and again.
#include "UtfCase.h"

#include "GuardedMemory.h"

using namespace TestSupport;

namespace {

constexpr std::size_t partSize = 3 << 20; // whole characters of every length
constexpr std::size_t partsOf2GiB = 683;  // and a little more

// Fills one part with a character again and again; so all of them.
template <class Unit_t>
void fillParts(const RepeatedMemory_c& memory, uint32_t value) {
  Unit_t units[4];
  const std::size_t length = encode(value, units);
  auto* place = reinterpret_cast<Unit_t*>(memory.begin());
  for (std::size_t index = 0; index < partSize / sizeof(Unit_t); ++index) {
    place[index] = units[index % length];
  }
}

} // namespace

class UtfHuge : public testing::Test {
protected:
  void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer takes too long for gigabytes";
#endif
  }

  // Converts a text of a little more than 2 GiB of one character into parts that lie over one another.
  template <class Source_t, class Target_t>
  void expectWhole(uint32_t value) {
    Source_t sourceUnits[4];
    Target_t targetUnits[4];
    const std::size_t characters = partsOf2GiB * partSize / sizeof(Source_t) / encode(value, sourceUnits);
    const std::size_t written = characters * encode(value, targetUnits);
    const RepeatedMemory_c text(partSize, partsOf2GiB);
    const RepeatedMemory_c room(partSize, written / (partSize / sizeof(Target_t)) + 1);
    if (text.begin() == nullptr || room.begin() == nullptr) {
      GTEST_SKIP() << "so much address space is not to be had";
    }
    fillParts<Source_t>(text, value);
    const auto* source = reinterpret_cast<const Source_t*>(text.begin());
    const Source_t* sourceEnd = source + text.size() / sizeof(Source_t);
    auto* target = reinterpret_cast<Target_t*>(room.begin());
    Target_t* const targetBegin = target;
    EXPECT_EQ(0, (converterOf<Source_t, Target_t>(ways().front())(
                     &source, sourceEnd, &target, targetBegin + room.size() / sizeof(Target_t), strict)));
    EXPECT_EQ(sourceEnd, source);
    EXPECT_EQ(written, static_cast<std::size_t>(target - targetBegin));
    EXPECT_EQ(targetUnits[0], targetBegin[0]);
  }
};

TEST_F(UtfHuge, UTF8toUTF16ConvertsMoreThan2GiB) {
  expectWhole<uint8_t, uint16_t>('a');
}

TEST_F(UtfHuge, UTF8toUTF32ConvertsMoreThan2GiB) {
  expectWhole<uint8_t, uint32_t>(0xE9);
}

TEST_F(UtfHuge, UTF16toUTF8ConvertsMoreThan2GiB) {
  expectWhole<uint16_t, uint8_t>('a');
}

// Also in 32 bit, where the target is small enough.
TEST_F(UtfHuge, UTF32toUTF8ConvertsMoreThan2GiB) {
  expectWhole<uint32_t, uint8_t>('a');
}

TEST_F(UtfHuge, UTF32toUTF16ConvertsMoreThan2GiB) {
  expectWhole<uint32_t, uint16_t>(0x1F600);
}

// Also in 32 bit: one text of nearly 2 GiB, the longest that an int can tell.
class StringUtilHuge : public testing::Test {
protected:
  void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer takes too long for gigabytes";
#endif
    if (m_text.begin() == nullptr) {
      GTEST_SKIP() << "2 GiB of address space are not to be had";
    }
  }

  const RepeatedMemory_c m_text = RepeatedMemory_c(partSize, partsOf2GiB);
};

TEST_F(StringUtilHuge, TheLongestTextIsLegal) {
  fillParts<uint8_t>(m_text, 'a');
  EXPECT_TRUE(checks().front().isLegal(m_text.begin(), INT_MAX));
}

TEST_F(StringUtilHuge, TheLongestTextIsOfSoManyCharacters) {
  fillParts<uint8_t>(m_text, 0x1F600);
  const int characters = INT_MAX / 4 + 1; // the last one is complete one byte behind the end
  EXPECT_TRUE(checks().front().isLegalUpTo(m_text.begin(), INT_MAX, characters));
  EXPECT_FALSE(checks().front().isLegalUpTo(m_text.begin(), INT_MAX, characters - 1));
}

TEST_F(StringUtilHuge, TheOffsetOfACharacterNearTheEndIsNotNegative) {
  fillParts<uint8_t>(m_text, 0x1F600);
  EXPECT_EQ(INT_MAX - 3, checks().front().offsetOf(m_text.begin(), INT_MAX, INT_MAX / 4));
  EXPECT_EQ(-1, checks().front().offsetOf(m_text.begin(), INT_MAX, INT_MAX / 4 + 1));
}

TEST_F(StringUtilHuge, AStepPastTheLargestOffsetEndsTheSearch) {
  std::fill(m_text.begin(), m_text.begin() + partSize, uint8_t{0xFF});
  EXPECT_EQ(-1, checks().front().offsetOf(m_text.begin(), INT_MAX, INT_MAX));
}
