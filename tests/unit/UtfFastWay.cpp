// The fast ways by themselves: they leave nothing of a well-formed text to the plain way. That the results are the same
// is seen elsewhere; here, that the fast way is gone to its end.
#include "../../Utils/src/Utf16Blocks.h"
#include "../../Utils/src/Utf8Blocks.h"
#include "UtfCase.h"
#include "UtfRandomText.h"

#include <fstream>

using namespace TestSupport;

class UtfFastWay : public testing::Test {
protected:
  void SetUp() override {
#if !defined(ZEMO_UTF_BLOCKS)
    GTEST_SKIP() << "the tests are built for a processor without blocks";
#else
    if (!Utf::hasShuffle()) {
      GTEST_SKIP() << "this processor has no SSSE3";
    }
#endif
  }
};

#if defined(ZEMO_UTF_BLOCKS)

namespace {

// Texts of one script each, and of mixes.
template <class Unit_t>
std::vector<std::vector<Unit_t>> textsOf(std::size_t size) {
  std::vector<std::vector<Unit_t>> texts;
  for (const uint32_t value : {0x41U, 0xE9U, 0x20ACU, 0x1F600U}) {
    Unit_t units[4];
    const std::size_t length = encode(value, units);
    texts.emplace_back();
    while (texts.back().size() < size) {
      texts.back().insert(texts.back().end(), units, units + length);
    }
  }
  RandomText_c random(static_cast<unsigned int>(size));
  for (unsigned int mix = 0; mix < 4; ++mix) {
    texts.push_back(random.text<Unit_t>(size, 0));
  }
  return texts;
}

template <class Source_t, class Target_t>
void expectTakenWhole(const std::vector<Source_t>& text, std::size_t room, const std::vector<Target_t>& expected) {
  std::vector<Target_t> units(room);
  const Source_t* source = text.data();
  Target_t* target = units.data();
  Utf::takeFast(&source, text.data() + text.size(), &target, units.data() + units.size());
  ASSERT_EQ(text.data() + text.size(), source) << hexadecimal(text.data(), text.size()) << ", room " << room;
  units.resize(static_cast<std::size_t>(target - units.data()));
  ASSERT_EQ(expected, units);
}

// spares: rooms, counted from the exact one
template <class Source_t, class Target_t>
void expectAllTakenWhole(const std::vector<std::size_t>& spares) {
  for (std::size_t size = 1; size <= 600; size += size < 80 ? 1 : 7) {
    for (const std::vector<Source_t>& text : textsOf<Source_t>(size)) {
      std::vector<Target_t> expected(4 * text.size());
      expected.resize(expectedConversion(text.data(), text.size(), expected.data(), expected.size(), strict).written);
      for (const std::size_t spare : spares) {
        expectTakenWhole(text, expected.size() + spare, expected);
        ASSERT_FALSE(testing::Test::HasFatalFailure());
      }
    }
  }
}

bool isToldOfTheProcessor(const std::string& flag) {
  std::ifstream file("/proc/cpuinfo");
  for (std::string word; file >> word;) {
    if (word == flag) {
      return true;
    }
  }
  return false;
}

} // namespace

TEST_F(UtfFastWay, TakesUTF8toUTF16WholeInAnyRoomThatIsEnough) {
  expectAllTakenWhole<uint8_t, uint16_t>({0, 1, 7, 8, 9, 100});
}

TEST_F(UtfFastWay, TakesUTF16toUTF8WholeInAnyRoomThatIsEnough) {
  expectAllTakenWhole<uint16_t, uint8_t>({0, 1, 31, 32, 33, 100});
}

// Characters of four bytes go by way of UTF-16, which needs room for twice as many.
TEST_F(UtfFastWay, TakesUTF8toUTF32WholeInAmpleRoom) {
  expectAllTakenWhole<uint8_t, uint32_t>({600});
}

TEST_F(UtfFastWay, ChecksAWellFormedTextWhole) {
  for (std::size_t size = 1; size <= 600; ++size) {
    for (const std::vector<uint8_t>& text : textsOf<uint8_t>(size)) {
      ASSERT_TRUE(Utf::isWellFormedText(text.data(), text.size())) << hexadecimal(text.data(), text.size());
    }
  }
}

#endif

TEST(UtfFastWayChoice, AsksForWhatTheProcessorHas) {
#if defined(ZEMO_UTF_BLOCKS)
  EXPECT_EQ(isToldOfTheProcessor("ssse3"), Utf::hasShuffle());
#else
  GTEST_SKIP() << "the tests are built for a processor without blocks";
#endif
}
