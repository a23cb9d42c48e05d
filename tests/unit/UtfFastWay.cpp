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

template <class Unit_t>
const uint8_t* takeFast(Utf::Cursors_s<uint8_t> cursors, std::vector<Unit_t>& /*units*/, uint8_t** end) {
  cursors = Utf::takeFast(cursors, sizeof(Unit_t) == sizeof(uint16_t) ? Utf::utf16 : Utf::utf32);
  *end = cursors.target;
  return cursors.source;
}

const uint16_t* takeFast(Utf::Cursors_s<uint16_t> cursors, std::vector<uint8_t>& /*units*/, uint8_t** end) {
  cursors = Utf::takeFast(cursors);
  *end = cursors.target;
  return cursors.source;
}

template <class Source_t, class Target_t>
void expectTakenWhole(const std::vector<Source_t>& text, std::size_t room, const std::vector<Target_t>& expected) {
  std::vector<Target_t> units(room);
  auto* begin = reinterpret_cast<uint8_t*>(units.data());
  uint8_t* end = begin;
  const Source_t* textEnd = text.data() + text.size();
  const Source_t* taken = takeFast({text.data(), textEnd, begin, begin + room * sizeof(Target_t)}, units, &end);
  ASSERT_EQ(textEnd, taken) << hexadecimal(text.data(), text.size()) << ", room " << room;
  units.resize(static_cast<std::size_t>(end - begin) / sizeof(Target_t));
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

// The fast way stops in front of up to three characters of four bytes, each time.
const uint8_t* skipWhole(const uint8_t* text, const uint8_t* end) {
  text = Utf::skipFast(text, end);
  while (text < end && *text >= 0xF0) {
    text = Utf::skipFast(text + 4, end);
  }
  return text;
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

TEST_F(UtfFastWay, TakesUTF8toUTF32WholeInAnyRoomThatIsEnough) {
  expectAllTakenWhole<uint8_t, uint32_t>({0, 1, 7, 8, 9, 100});
}

TEST_F(UtfFastWay, ChecksAWellFormedTextWhole) {
  for (std::size_t size = 1; size <= 600; ++size) {
    for (const std::vector<uint8_t>& text : textsOf<uint8_t>(size)) {
      const uint8_t* end = text.data() + text.size();
      ASSERT_EQ(end, skipWhole(text.data(), end)) << hexadecimal(text.data(), text.size());
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
