// All sequences of one, two and three bytes, the structured ones of four, and every code point: each by itself, and in
// the middle of ASCII at every distance from its beginning, so that the fast ways meet it everywhere in their blocks.
#include "UtfCase.h"

using namespace TestSupport;

namespace {

constexpr std::size_t largestOffset = 40;
constexpr uint32_t largest = 0x10FFFF;

// A sanitizer makes each step slow: every sequence is then seen at some of the offsets, every offset with some of the
// sequences; and the last byte is not taken in all its values.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t offsetStep = 41;
constexpr unsigned int lastByteStep = 5;
#else
constexpr std::size_t offsetStep = 1;
constexpr unsigned int lastByteStep = 1;
#endif

// Bytes behind the lead, of each kind: what ends a range, what begins one, and leads.
const uint8_t kinds[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0,
                         0xBF, 0xC0, 0xC2, 0xE0, 0xED, 0xF0, 0xF4, 0xFF};

const uint8_t fourthKinds[] = {0x00, 0x7F, 0x80, 0xBF, 0xC0, 0xFF};

// Conversions of UTF-8 to both targets, compared with the oracle.
class FromUtf8_c {
public:
  void check(const uint8_t* text, std::size_t size) {
    const int flags = ++m_count % 2 == 0 ? strict : lenient;
    checkTo(m_to16, text, size, flags);
    checkTo(m_to32, text, size, flags);
  }

  void checkWithin(const uint8_t* sequence, std::size_t length) {
    for (std::size_t offset = m_turn++ % offsetStep; offset <= largestOffset; offset += offsetStep) {
      checkAt(sequence, length, offset);
    }
  }

  // At one offset, another one each time.
  void checkSomewhere(const uint8_t* sequence, std::size_t length) {
    checkAt(sequence, length, m_turn++ % (largestOffset + 1));
  }

private:
  // Puts a sequence behind so many letters and in front of none, a few, or many.
  void checkAt(const uint8_t* sequence, std::size_t length, std::size_t offset) {
    constexpr std::size_t behinds[] = {0, 5, 45};
    const std::size_t behind = behinds[(offset + m_turn) % 3];
    uint8_t text[largestOffset + 6 + 45];
    std::fill(std::begin(text), std::end(text), uint8_t{'x'});
    std::copy(sequence, sequence + length, text + offset);
    check(text, offset + length + behind);
  }

  template <class Target_t>
  void checkTo(UtfCase_c<uint8_t, Target_t>& one, const uint8_t* text, std::size_t size, int flags) {
    one.prepare(text, size, size, flags);
    for (const Way_s& way : ways()) {
      ASSERT_TRUE(one.isRightBy(way)) << one.told(way);
    }
  }

  unsigned int m_count = 0;
  std::size_t m_turn = 0;
  UtfCase_c<uint8_t, uint16_t> m_to16;
  UtfCase_c<uint8_t, uint32_t> m_to32;
};

// Calls with every byte, up to the first failure.
template <class Function_c>
void forAllBytes(const Function_c& function) {
  for (unsigned int byte = 0; byte <= 0xFF; ++byte) {
    function(static_cast<uint8_t>(byte));
    if (testing::Test::HasFatalFailure()) {
      return;
    }
  }
}

// The judgement of one sequence alone: the converters and the sequence test.
class Judge_c {
public:
  void check(const uint8_t* bytes, std::size_t size) {
    const Judgement_s expected = judge(bytes, size, true);
    uint16_t units[4] = {};
    const std::size_t count = expected.result == 0 ? encode(expected.value, units) : 0;
    for (const Way_s& way : ways()) {
      checkTo16(way, bytes, expected, units, count);
      checkTo32(way, bytes, expected);
    }
    for (const Checks_s& set : checks()) {
      ASSERT_EQ(expected.result == 0 ? 1 : 0, set.isLegalSequence(bytes, bytes + size))
          << set.name << ": " << hexadecimal(bytes, size);
    }
  }

private:
  // A text of the first character alone, or of what there is of it.
  static std::size_t sizeOf(const uint8_t* bytes, const Judgement_s& expected) {
    return expected.result == 1 ? 1 : sequenceLength(*bytes);
  }

  static void checkTo16(const Way_s& way, const uint8_t* bytes, const Judgement_s& expected, const uint16_t* units,
                        std::size_t count) {
    const uint8_t* source = bytes;
    uint16_t target[4] = {};
    uint16_t* cursor = target;
    const int result =
        converterOf<uint8_t, uint16_t>(way)(&source, bytes + sizeOf(bytes, expected), &cursor, target + 4, strict);
    ASSERT_TRUE(result == expected.result && source == bytes + expected.length && cursor == target + count &&
                std::equal(target, target + count, units))
        << way.name << ": " << hexadecimal(bytes, sizeOf(bytes, expected)) << ", result " << result;
  }

  static void checkTo32(const Way_s& way, const uint8_t* bytes, const Judgement_s& expected) {
    const std::size_t count = expected.result == 0 ? 1 : 0;
    const uint8_t* source = bytes;
    uint32_t target[2] = {};
    uint32_t* cursor = target;
    const int result =
        converterOf<uint8_t, uint32_t>(way)(&source, bytes + sizeOf(bytes, expected), &cursor, target + 2, strict);
    ASSERT_TRUE(result == expected.result && source == bytes + expected.length && cursor == target + count &&
                target[0] == expected.value)
        << way.name << ": " << hexadecimal(bytes, sizeOf(bytes, expected)) << ", result " << result;
  }
};

void judgeThreeBytes(unsigned int fromLead, unsigned int toLead) {
  Judge_c judges;
  for (unsigned int lead = fromLead; lead <= toLead; ++lead) {
    forAllBytes([&](uint8_t second) {
      forAllBytes([&](uint8_t third) {
        const uint8_t bytes[] = {static_cast<uint8_t>(lead), second, third};
        judges.check(bytes, sizeof bytes);
      });
    });
  }
}

void judgeFourBytes(unsigned int fromLead, unsigned int toLead) {
  Judge_c judges;
  for (unsigned int lead = fromLead; lead <= toLead; ++lead) {
    forAllBytes([&](uint8_t second) {
      for (const uint8_t third : kinds) {
        for (unsigned int fourth = 0; fourth <= 0xFF; fourth += lastByteStep) {
          const uint8_t bytes[] = {static_cast<uint8_t>(lead), second, third, static_cast<uint8_t>(fourth)};
          judges.check(bytes, sizeof bytes);
        }
      }
    });
  }
}

void placeThreeBytes(unsigned int fromLead, unsigned int toLead) {
  FromUtf8_c fromUtf8;
  for (unsigned int lead = fromLead; lead <= toLead; ++lead) {
    for (const uint8_t second : kinds) {
      for (const uint8_t third : kinds) {
        const uint8_t bytes[] = {static_cast<uint8_t>(lead), second, third};
        fromUtf8.checkWithin(bytes, sizeof bytes);
        ASSERT_FALSE(testing::Test::HasFatalFailure());
      }
    }
  }
}

void placeFourBytes(unsigned int fromLead, unsigned int toLead) {
  FromUtf8_c fromUtf8;
  for (unsigned int lead = fromLead; lead <= toLead; ++lead) {
    for (const uint8_t second : kinds) {
      for (const uint8_t third : kinds) {
        for (const uint8_t fourth : fourthKinds) {
          const uint8_t bytes[] = {static_cast<uint8_t>(lead), second, third, fourth};
          fromUtf8.checkWithin(bytes, sizeof bytes);
          ASSERT_FALSE(testing::Test::HasFatalFailure());
        }
      }
    }
  }
}

bool isSurrogate(uint32_t value) {
  return value >= 0xD800 && value <= 0xDFFF;
}

// A text of so many code points from one on, surrogates left out.
std::vector<uint32_t> codePoints(uint32_t first, std::size_t count) {
  std::vector<uint32_t> all;
  for (uint32_t value = first; value <= largest && all.size() < count; ++value) {
    if (!isSurrogate(value)) {
      all.push_back(value);
    }
  }
  return all;
}

template <class Unit_t>
std::vector<Unit_t> encoded(const std::vector<uint32_t>& values) {
  std::vector<Unit_t> units;
  for (const uint32_t value : values) {
    Unit_t some[4];
    units.insert(units.end(), some, some + encode(value, some));
  }
  return units;
}

template <class Source_t, class Target_t>
void expectConversion(const std::vector<Source_t>& source, const std::vector<Target_t>& target) {
  UtfCase_c<Source_t, Target_t> one;
  one.prepare(source.data(), source.size(), target.size(), strict, {0, source.size(), target.size()}, target.data());
  for (const Way_s& way : ways()) {
    ASSERT_TRUE(one.isRightBy(way)) << one.told(way);
  }
}

void expectAllConversions(const std::vector<uint32_t>& values) {
  const std::vector<uint8_t> in8 = encoded<uint8_t>(values);
  const std::vector<uint16_t> in16 = encoded<uint16_t>(values);
  expectConversion(in8, in16);
  expectConversion(in8, values);
  expectConversion(in16, in8);
  expectConversion(in16, values);
  expectConversion(values, in8);
  expectConversion(values, in16);
}

// The values of a range, each as a text of its own.
void expectEachAlone(uint32_t first, uint32_t last) {
  for (uint32_t value = first; value <= last; ++value) {
    if (!isSurrogate(value)) {
      expectAllConversions({value});
      ASSERT_FALSE(testing::Test::HasFatalFailure());
    }
  }
}

} // namespace

TEST(UtfExhaustive, JudgesEveryByte) {
  Judge_c judges;
  forAllBytes([&](uint8_t byte) { judges.check(&byte, 1); });
}

TEST(UtfExhaustive, JudgesEverySequenceOfTwo) {
  Judge_c judges;
  forAllBytes([&](uint8_t first) {
    forAllBytes([&](uint8_t second) {
      const uint8_t bytes[] = {first, second};
      judges.check(bytes, sizeof bytes);
    });
  });
}

class UtfExhaustiveThree : public testing::TestWithParam<unsigned int> {};

TEST_P(UtfExhaustiveThree, JudgesEverySequence) {
  judgeThreeBytes(GetParam(), GetParam() + 0x1F);
}

TEST_P(UtfExhaustiveThree, FindsTheSameWithinAText) {
  FromUtf8_c fromUtf8;
  for (unsigned int lead = GetParam(); lead <= GetParam() + 0x1F; ++lead) {
    forAllBytes([&](uint8_t second) {
      for (unsigned int third = second % lastByteStep; third <= 0xFF; third += lastByteStep) {
        const uint8_t bytes[] = {static_cast<uint8_t>(lead), second, static_cast<uint8_t>(third)};
        fromUtf8.checkSomewhere(bytes, sizeof bytes);
      }
    });
  }
}

TEST_P(UtfExhaustiveThree, FindsTheSameAtEveryOffset) {
  placeThreeBytes(GetParam(), GetParam() + 0x1F);
}

INSTANTIATE_TEST_SUITE_P(LeadsFrom, UtfExhaustiveThree, testing::Range(0U, 0x100U, 0x20U),
                         testing::PrintToStringParamName());

class UtfExhaustiveFour : public testing::TestWithParam<unsigned int> {};

TEST_P(UtfExhaustiveFour, JudgesTheStructuredSequences) {
  judgeFourBytes(GetParam(), GetParam() + 1);
}

TEST_P(UtfExhaustiveFour, FindsTheSameAtEveryOffset) {
  placeFourBytes(GetParam(), GetParam() + 1);
}

INSTANTIATE_TEST_SUITE_P(LeadsFrom, UtfExhaustiveFour, testing::Range(0xEEU, 0x100U, 2U),
                         testing::PrintToStringParamName());

TEST(UtfExhaustive, FindsEveryByteTheSameAtEveryOffset) {
  FromUtf8_c fromUtf8;
  forAllBytes([&](uint8_t byte) { fromUtf8.checkWithin(&byte, 1); });
}

class UtfExhaustiveTwo : public testing::TestWithParam<unsigned int> {};

TEST_P(UtfExhaustiveTwo, FindsTheSameAtEveryOffset) {
  FromUtf8_c fromUtf8;
  for (unsigned int lead = GetParam(); lead < GetParam() + 0x40; ++lead) {
    forAllBytes([&](uint8_t second) {
      const uint8_t bytes[] = {static_cast<uint8_t>(lead), second};
      fromUtf8.checkWithin(bytes, sizeof bytes);
    });
  }
}

INSTANTIATE_TEST_SUITE_P(LeadsFrom, UtfExhaustiveTwo, testing::Range(0U, 0x100U, 0x40U),
                         testing::PrintToStringParamName());

TEST(UtfExhaustive, ConvertsEveryCodePointAloneThereAndBackUpTo07FF) {
  expectEachAlone(0, 0x7FF);
}

TEST(UtfExhaustive, ConvertsEveryCodePointAloneThereAndBackUpToFFFF) {
  expectEachAlone(0x800, 0xFFFF);
}

class UtfExhaustivePlanes : public testing::TestWithParam<uint32_t> {};

TEST_P(UtfExhaustivePlanes, ConvertEveryCodePointAloneThereAndBack) {
  expectEachAlone(GetParam() << 16, (GetParam() << 16) + 0xFFFF);
}

INSTANTIATE_TEST_SUITE_P(Plane, UtfExhaustivePlanes, testing::Range(1U, 0x11U), testing::PrintToStringParamName());

TEST(UtfExhaustive, ConvertsAllCodePointsInOneTextThereAndBack) {
  expectAllConversions(codePoints(0, largest + 1));
}

TEST(UtfExhaustive, ConvertsCodePointsInTextsOfAllShortLengthsThereAndBack) {
  for (std::size_t count = 1; count <= 70; ++count) {
    for (const uint32_t first : {0x10U, 0x60U, 0x7E0U, 0xD7E0U, 0xFFE0U, 0x10FFC0U}) {
      expectAllConversions(codePoints(first, count));
    }
  }
}
