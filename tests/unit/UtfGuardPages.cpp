// Nothing is read outside a text and nothing is written outside the room: text and room each end, or begin, where
// memory does. One byte too many ends the test with SIGSEGV.
#include "UtfCase.h"

#include "GuardedMemory.h"
#include "UtfRandomText.h"

using namespace TestSupport;

namespace {

// How a buffer lies between its guards.
struct Place_s {
  bool isAtEnd;
  std::size_t gap; // bytes between buffer and guard; 1 and 3 make odd addresses
};

constexpr Place_s places[] = {{false, 0}, {true, 0}, {false, 1}, {true, 1}, {false, 3}, {true, 3}};

constexpr std::size_t longest = 4 * 1100 + 64; // bytes

template <class Unit_t>
Unit_t* put(const GuardedMemory_c& memory, std::size_t size, const Place_s& place) {
  uint8_t* begin = place.isAtEnd ? memory.end() - size * sizeof(Unit_t) - place.gap : memory.begin() + place.gap;
  return reinterpret_cast<Unit_t*>(begin); // at any address
}

template <class Source_t, class Target_t>
class GuardedConversion_c {
public:
  void check(const std::vector<Source_t>& text, std::size_t room, int flags, const Place_s& sourcePlace,
             const Place_s& targetPlace) {
    std::vector<Target_t> expectedTarget(room);
    fillWithSentinels(expectedTarget, room);
    const std::vector<Target_t> sentinels = expectedTarget;
    const Expected_s expected = expectedConversion(text.data(), text.size(), expectedTarget.data(), room, flags);
    auto* source = put<Source_t>(m_sourceMemory, text.size(), sourcePlace);
    auto* target = put<Target_t>(m_targetMemory, room, targetPlace);
    copy(source, text.data(), text.size());
    for (const Way_s& way : ways()) {
      copy(target, sentinels.data(), room);
      const Source_t* sourceCursor = source;
      Target_t* targetCursor = target;
      const int result = converterOf<Source_t, Target_t>(way)(
          &sourceCursor, advanced<const Source_t>(source, text.size()), &targetCursor, advanced(target, room), flags);
      ASSERT_EQ(expected.result, result) << way.name;
      ASSERT_EQ(expected.taken * sizeof(Source_t), distance(source, sourceCursor)) << way.name;
      ASSERT_EQ(expected.written * sizeof(Target_t), distance(target, targetCursor)) << way.name;
      ASSERT_TRUE(room == 0 || std::memcmp(target, expectedTarget.data(), room * sizeof(Target_t)) == 0) << way.name;
    }
  }

private:
  // By bytes: the addresses may be odd.
  template <class Unit_t>
  static void copy(Unit_t* target, const Unit_t* source, std::size_t size) {
    if (size > 0) {
      std::memcpy(static_cast<void*>(target), source, size * sizeof(Unit_t));
    }
  }

  template <class Unit_t>
  static Unit_t* advanced(Unit_t* place, std::size_t size) {
    return reinterpret_cast<Unit_t*>(reinterpret_cast<std::uintptr_t>(place) + size * sizeof(Unit_t));
  }

  static std::size_t distance(const void* from, const void* to) {
    return reinterpret_cast<std::uintptr_t>(to) - reinterpret_cast<std::uintptr_t>(from);
  }

  GuardedMemory_c m_sourceMemory = GuardedMemory_c(longest);
  GuardedMemory_c m_targetMemory = GuardedMemory_c(longest);
};

// Texts of one script each, of a mix, and of a mix with errors; cut to exactly so many units.
template <class Unit_t>
std::vector<std::vector<Unit_t>> textsOf(std::size_t size) {
  std::vector<std::vector<Unit_t>> texts;
  for (const uint32_t value : {0x41U, 0xE9U, 0x20ACU, 0x1F600U}) {
    Unit_t units[4];
    const std::size_t length = encode(value, units);
    texts.emplace_back();
    for (std::size_t index = 0; index < size; ++index) {
      texts.back().push_back(units[index % length]);
    }
  }
  RandomText_c random(static_cast<unsigned int>(size));
  for (const std::size_t errorsIn : {0U, 0U, 20U}) {
    texts.push_back(random.text<Unit_t>(size, errorsIn));
    texts.back().resize(size);
  }
  return texts;
}

template <class Source_t, class Target_t>
void checkTexts(GuardedConversion_c<Source_t, Target_t>& guarded, std::size_t size) {
  for (const std::vector<Source_t>& text : textsOf<Source_t>(size)) {
    std::vector<Target_t> ample(4 * size + 4);
    const std::size_t exact = expectedConversion(text.data(), text.size(), ample.data(), ample.size(), strict).written;
    for (const std::size_t room : {exact, exact + 1, exact + 9, exact + 33, exact - std::min<std::size_t>(exact, 1)}) {
      for (const Place_s& sourcePlace : places) {
        for (const Place_s& targetPlace : places) {
          guarded.check(text, room, strict, sourcePlace, targetPlace);
        }
      }
    }
  }
}

template <class Source_t, class Target_t>
void checkSizes(std::size_t from, std::size_t to) {
  GuardedConversion_c<Source_t, Target_t> guarded;
  for (std::size_t size = from; size <= to; ++size) {
    checkTexts(guarded, size);
    ASSERT_FALSE(testing::Test::HasFatalFailure()) << "size " << size;
  }
}

} // namespace

TEST(UtfGuardPages, UTF8toUTF16StaysWithinItsBuffers) {
  checkSizes<uint8_t, uint16_t>(0, 80);
}

TEST(UtfGuardPages, UTF8toUTF32StaysWithinItsBuffers) {
  checkSizes<uint8_t, uint32_t>(0, 80);
}

TEST(UtfGuardPages, UTF16toUTF8StaysWithinItsBuffers) {
  checkSizes<uint16_t, uint8_t>(0, 80);
}

TEST(UtfGuardPages, UTF16toUTF32StaysWithinItsBuffers) {
  checkSizes<uint16_t, uint32_t>(0, 40);
}

TEST(UtfGuardPages, UTF32toUTF8StaysWithinItsBuffers) {
  checkSizes<uint32_t, uint8_t>(0, 40);
}

TEST(UtfGuardPages, UTF32toUTF16StaysWithinItsBuffers) {
  checkSizes<uint32_t, uint16_t>(0, 40);
}

// Around what the fast ways take at once.
TEST(UtfGuardPages, UTF8toUTF16StaysWithinItsBuffersInLongTexts) {
  checkSizes<uint8_t, uint16_t>(250, 274);
  checkSizes<uint8_t, uint16_t>(506, 534);
}

TEST(UtfGuardPages, UTF8toUTF32StaysWithinItsBuffersInLongTexts) {
  checkSizes<uint8_t, uint32_t>(250, 274);
  checkSizes<uint8_t, uint32_t>(506, 534);
}

TEST(UtfGuardPages, UTF16toUTF8StaysWithinItsBuffersInLongTexts) {
  checkSizes<uint16_t, uint8_t>(250, 274);
  checkSizes<uint16_t, uint8_t>(506, 534);
}

namespace {

// The characters that lie wholly within a text, and how many bytes they are.
struct Whole_s {
  std::size_t size;
  int characters;
};

Whole_s wholeCharacters(const std::vector<uint8_t>& text) {
  Whole_s whole = {0, 0};
  while (whole.size < text.size() && whole.size + sequenceLength(text[whole.size]) <= text.size()) {
    whole.size += sequenceLength(text[whole.size]);
    ++whole.characters;
  }
  return whole;
}

} // namespace

TEST(UtfGuardPages, TheChecksReadNothingBehindATextThatEndsWithACharacter) {
  const GuardedMemory_c memory(longest);
  for (std::size_t size = 1; size <= 300; ++size) {
    for (const std::vector<uint8_t>& text : textsOf<uint8_t>(size)) {
      const Whole_s whole = wholeCharacters(text);
      const auto length = static_cast<int>(whole.size);
      uint8_t* place = memory.end() - whole.size;
      std::copy(text.begin(), text.begin() + length, place);
      for (const Checks_s& set : checks()) {
        EXPECT_EQ(set.isLegal(place, length), set.isLegalUpTo(place, length, length)) << set.name;
        EXPECT_EQ(length == 0 ? 0 : -1, set.offsetOf(place, length, whole.characters)) << set.name;
      }
    }
  }
}

TEST(UtfGuardPages, TheChecksReadNothingInFrontOfAText) {
  const GuardedMemory_c memory(longest);
  for (std::size_t size = 1; size <= 80; ++size) {
    for (const std::vector<uint8_t>& text : textsOf<uint8_t>(size)) {
      const auto length = static_cast<int>(size);
      std::copy(text.begin(), text.end(), memory.begin());
      std::fill(memory.begin() + size, memory.begin() + size + 8, uint8_t{0});
      for (const Checks_s& set : checks()) {
        EXPECT_EQ(set.isLegal(memory.begin(), length), set.isLegalUpTo(memory.begin(), length, length)) << set.name;
      }
    }
  }
}
