#include "string_util.h"

#include "GuardedMemory.h"
#include "UtfCase.h"

using namespace std::string_literals;
using namespace TestSupport;

namespace {

const unsigned char* bytesOf(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

std::string shown(const std::string& text) {
  return hexadecimal(bytesOf(text), text.size());
}

// An address that must not be touched.
const unsigned char* untouchable() {
  static const GuardedMemory_c memory(1);
  return memory.end();
}

void expectLegal(bool expected, const std::string& text, int length) {
  for (const Checks_s& set : checks()) {
    EXPECT_EQ(expected, set.isLegal(bytesOf(text), length)) << set.name << ": " << shown(text) << ", length " << length;
    EXPECT_EQ(expected, set.isLegalUpTo(bytesOf(text), length, INT_MAX)) << set.name << ": " << shown(text);
  }
}

void expectLegal(bool expected, const std::string& text) {
  expectLegal(expected, text, static_cast<int>(text.size()));
}

void expectLegalUpTo(bool expected, const std::string& text, int maxChars) {
  for (const Checks_s& set : checks()) {
    EXPECT_EQ(expected, set.isLegalUpTo(bytesOf(text), static_cast<int>(text.size()), maxChars))
        << set.name << ": " << shown(text) << ", " << maxChars << " characters";
  }
}

void expectOffset(int expected, const std::string& text, int length, int n) {
  for (const Checks_s& set : checks()) {
    EXPECT_EQ(expected, set.offsetOf(bytesOf(text), length, n))
        << set.name << ": " << shown(text) << ", length " << length << ", character " << n;
  }
}

// Characters of one, two, three and four bytes: 10 bytes.
const std::string mix = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";

} // namespace

TEST(IsStringLegalUTF8, HoldsForALengthOfZeroOrLessWithoutALook) {
  for (const int length : {0, -1, INT_MIN}) {
    for (const Checks_s& set : checks()) {
      EXPECT_TRUE(set.isLegal(untouchable(), length)) << set.name << ", length " << length;
      EXPECT_TRUE(set.isLegal(nullptr, length)) << set.name << ", length " << length;
    }
  }
}

TEST(IsStringLegalUTF8, HoldsForWellFormedCharacters) {
  for (const std::string& text :
       {"a"s, "\0"s, "\xC3\xA9"s, "\xE2\x82\xAC"s, "\xF0\x9F\x98\x80"s, mix, mix + mix + mix}) {
    expectLegal(true, text);
  }
}

TEST(IsStringLegalUTF8, DoesNotHoldWithOneIllFormedCharacter) {
  for (const std::string& wrong :
       {"\x80"s, "\xBF"s, "\xC0\x80"s, "\xC1\xBF"s, "\xE0\x9F\xBF"s, "\xED\xA0\x80"s, "\xF0\x8F\xBF\xBF"s,
        "\xF4\x90\x80\x80"s, "\xF5\x80\x80\x80"s, "\xF8\x88\x80\x80\x80"s, "\xFC\x84\x80\x80\x80\x80"s, "\xFF"s,
        "\xC3"s, "\xE2\x82"s, "\xF0\x9F\x98"s}) {
    expectLegal(false, wrong);
    expectLegal(false, mix + wrong + mix);
    expectLegal(false, std::string(64, 'a') + wrong + mix);
    expectLegal(false, std::string(100, 'a') + wrong + std::string(100, 'a'));
  }
}

TEST(IsStringLegalUTF8, LetsASecondByteBelow80PassAfterEDAndF4) {
  expectLegal(true, "\xED\x41\x80");
  expectLegal(true, "\xED\x00\xBF"s);
  expectLegal(true, "\xF4\x41\x80\x80");
  expectLegal(true, mix + "\xED\x7F\x80" + mix + mix);
  expectLegal(true, std::string(80, 'a') + "\xF4\x7F\x80\x80" + mix);
  expectLegal(false, mix + "\xED\x7F\x7F" + mix + mix);
}

TEST(IsStringLegalUTF8, FailsForACutCharacterByTheZeroBehindIt) {
  expectLegal(false, "\xC3");
  expectLegal(false, mix + "\xE2\x82");
  for (int length = 1; length < 10; ++length) {
    const std::string cut = mix.substr(0, static_cast<std::size_t>(length));
    expectLegal(length == 1 || length == 3 || length == 6, cut);
  }
}

// Where the zero is no second byte: after ED and F4 it is, and what comes then is looked at.
TEST(IsStringLegalUTF8, ReadsNothingBehindTheZeroThatEndsACutCharacter) {
  const GuardedMemory_c memory(8);
  for (unsigned int lead = 0xC0; lead <= 0xFF; ++lead) {
    for (std::size_t size = lead == 0xED || lead == 0xF4 ? 2 : 1; size < sequenceLength(static_cast<uint8_t>(lead));
         ++size) {
      uint8_t* text = memory.end() - size - 1;
      std::fill(text, memory.end() - 1, lead == 0xE0 || lead == 0xF0 ? uint8_t{0xA0} : uint8_t{0x80});
      text[0] = static_cast<uint8_t>(lead);
      memory.end()[-1] = 0;
      for (const Checks_s& set : checks()) {
        EXPECT_FALSE(set.isLegal(text, static_cast<int>(size))) << set.name << ", lead " << lead << ", size " << size;
        EXPECT_FALSE(set.isLegalUpTo(text, static_cast<int>(size), 1)) << set.name << ", lead " << lead;
      }
    }
  }
}

TEST(IsStringLegalUTF8, ReadsTheBytesOfACutCharacterBehindTheLength) {
  for (int length = 1; length <= 10; ++length) {
    expectLegal(true, mix, length);
  }
  expectLegal(true, std::string(70, 'a') + "\xF0\x9F\x98\x80", 71);
  expectLegal(false, std::string(70, 'a') + "\xF0\x9F\x98\x41", 71);
  expectLegal(true, "\xED\x41\x80", 1);
}

TEST(IsStringLegalUTF8, DoesNotLookAtCharactersBehindTheLength) {
  expectLegal(true, "a\xFF", 1);
  expectLegal(true, mix + "\x80", 10);
  expectLegal(true, std::string(64, 'a') + "\xFF", 64);
}

TEST(IsMaxStringLengthLegalUTF8, DoesNotHoldForANegativeBudgetWhateverTheLength) {
  for (const int maxChars : {-1, INT_MIN}) {
    for (const int length : {-1, 0, 1, INT_MAX}) {
      for (const Checks_s& set : checks()) {
        EXPECT_FALSE(set.isLegalUpTo(untouchable(), length, maxChars)) << set.name << ", length " << length;
      }
    }
  }
}

TEST(IsMaxStringLengthLegalUTF8, HoldsForALengthOfZeroOrLessAlsoWithNoBudget) {
  for (const int maxChars : {0, 1, INT_MAX}) {
    for (const int length : {0, -1, INT_MIN}) {
      for (const Checks_s& set : checks()) {
        EXPECT_TRUE(set.isLegalUpTo(untouchable(), length, maxChars)) << set.name << ", length " << length;
      }
    }
  }
}

TEST(IsMaxStringLengthLegalUTF8, DoesNotHoldForATextWithNoBudgetWithoutALook) {
  for (const Checks_s& set : checks()) {
    EXPECT_FALSE(set.isLegalUpTo(untouchable(), 1, 0)) << set.name;
    EXPECT_FALSE(set.isLegalUpTo(untouchable(), INT_MAX, 0)) << set.name;
  }
}

TEST(IsMaxStringLengthLegalUTF8, CountsCharactersAndNotBytes) {
  expectLegalUpTo(true, mix, 4);
  expectLegalUpTo(true, mix, 5);
  expectLegalUpTo(true, mix, INT_MAX);
  expectLegalUpTo(false, mix, 3);
  expectLegalUpTo(false, mix, 1);
  expectLegalUpTo(true, "abc", 3);
  expectLegalUpTo(false, "abc", 2);
  expectLegalUpTo(true, std::string(200, 'a'), 200);
  expectLegalUpTo(false, std::string(200, 'a'), 199);
}

TEST(IsMaxStringLengthLegalUTF8, DoesNotHoldForAnIllFormedCharacterWithinTheBudget) {
  expectLegalUpTo(false, "\xC0\x80", 10);
  expectLegalUpTo(false, mix + "\xFF", 5);
  expectLegalUpTo(false, mix + "\xFF", 4);
  expectLegalUpTo(false, mix + "\xC3", INT_MAX);
  expectLegalUpTo(true, "\xED\x41\x80", 1);
}

TEST(IsMaxStringLengthLegalUTF8, CountsACutCharacterWhole) {
  for (const Checks_s& set : checks()) {
    EXPECT_TRUE(set.isLegalUpTo(bytesOf(mix), 7, 4)) << set.name;
    EXPECT_FALSE(set.isLegalUpTo(bytesOf(mix), 7, 3)) << set.name;
    EXPECT_TRUE(set.isLegalUpTo(bytesOf(mix), 6, 3)) << set.name;
  }
}

TEST(ByteOffsetToUTF8CharIndex, GivesZeroForCharacterZeroOfAnything) {
  for (const int length : {0, 1, -1, INT_MIN, INT_MAX}) {
    for (const Checks_s& set : checks()) {
      EXPECT_EQ(0, set.offsetOf(untouchable(), length, 0)) << set.name << ", length " << length;
      EXPECT_EQ(0, set.offsetOf(nullptr, length, 0)) << set.name << ", length " << length;
    }
  }
}

TEST(ByteOffsetToUTF8CharIndex, FindsNothingForANegativeNumberOrOneAboveTheLengthWithoutALook) {
  struct Row_s {
    int length;
    int n;
  };
  for (const Row_s& row : {Row_s{1, -1}, Row_s{INT_MAX, -1}, Row_s{5, INT_MIN}, Row_s{0, 1}, Row_s{-1, 1},
                           Row_s{INT_MIN, 1}, Row_s{3, 4}, Row_s{INT_MAX - 1, INT_MAX}, Row_s{-5, -5}}) {
    for (const Checks_s& set : checks()) {
      EXPECT_EQ(-1, set.offsetOf(untouchable(), row.length, row.n)) << set.name << ": " << row.length << ", " << row.n;
    }
  }
}

TEST(ByteOffsetToUTF8CharIndex, GivesWhereACharacterBegins) {
  expectOffset(1, "ab", 2, 1);
  expectOffset(1, mix, 10, 1);
  expectOffset(3, mix, 10, 2);
  expectOffset(6, mix, 10, 3);
}

TEST(ByteOffsetToUTF8CharIndex, NeverGivesTheOffsetJustPastTheLastCharacter) {
  expectOffset(-1, "ab", 2, 2);
  expectOffset(-1, "a", 1, 1);
  expectOffset(-1, mix, 10, 4);
  expectOffset(-1, mix, 10, 5);
  expectOffset(-1, mix, 6, 3);
  expectOffset(6, mix, 7, 3);
}

TEST(ByteOffsetToUTF8CharIndex, FindsNothingWhereAStepPassesTheEnd) {
  expectOffset(-1, mix, 9, 4);
  expectOffset(-1, mix, 7, 4);
  expectOffset(-1, "a\xF0", 2, 2);
  expectOffset(-1,
               "\xFF"
               "ab",
               3, 1);
}

TEST(ByteOffsetToUTF8CharIndex, StepsByTheLeadBytesOfIllFormedTextToo) {
  expectOffset(1, "\x80\x80\x80", 3, 1);
  expectOffset(2, "\x80\xBF\x80", 3, 2);
  expectOffset(2,
               "\xC0"
               "abc",
               4, 1);
  expectOffset(3,
               "\xE0"
               "abc",
               4, 1);
  expectOffset(4,
               "\xF7"
               "abcd",
               5, 1);
  expectOffset(5,
               "\xF8"
               "abcdef",
               7, 1);
  expectOffset(5,
               "\xFB"
               "abcdef",
               7, 1);
  expectOffset(6,
               "\xFC"
               "abcdef",
               7, 1);
  expectOffset(6,
               "\xFF"
               "abcdef",
               7, 1);
}

namespace {

struct TrimRow_s {
  const char* name;
  std::string text;
  std::string becomes;
};

void expectTrimmed(const std::vector<TrimRow_s>& rows) {
  for (const TrimRow_s& row : rows) {
    for (const Checks_s& set : checks()) {
      std::string text = row.text;
      set.trim(text);
      EXPECT_EQ(shown(row.becomes), shown(text)) << set.name << ": " << row.name;
    }
  }
}

} // namespace

TEST(TrimToValidUtf8String, LeavesATextThatEndsInASCII) {
  expectTrimmed({{"nothing", "", ""},
                 {"letters", "abc", "abc"},
                 {"one letter", "a", "a"},
                 {"a zero", "\0"s, "\0"s},
                 {"the last of ASCII", "\xC3\x7F", "\xC3\x7F"},
                 {"ASCII behind rubbish", "\xFF\x80\xC3 z", "\xFF\x80\xC3 z"}});
}

TEST(TrimToValidUtf8String, CutsALeadByteAtTheEnd) {
  expectTrimmed({{"of two", "a\xC3", "a"},
                 {"of three", "a\xE2", "a"},
                 {"of four", "a\xF0", "a"},
                 {"of none", "a\xFF", "a"},
                 {"the first one", "a\xC0", "a"},
                 {"alone", "\xC3", ""},
                 {"only the last of two", "\xC3\xC3", "\xC3"},
                 {"behind a whole character", "\xC3\xA9\xC3", "\xC3\xA9"}});
}

TEST(TrimToValidUtf8String, CutsACompleteFinalMultiByteCharacter) {
  expectTrimmed({{"of two", "a\xC3\xA9", "a"},
                 {"of three", "a\xE2\x82\xAC", "a"},
                 {"of four", "a\xF0\x9F\x98\x80", "a"},
                 {"alone", "\xC3\xA9", ""},
                 {"only the last one", "\xC3\xA9\xE2\x82\xAC", "\xC3\xA9"}});
}

TEST(TrimToValidUtf8String, CutsAPartialFinalCharacter) {
  expectTrimmed({{"two of three", "a\xE2\x82", "a"},
                 {"two of four", "a\xF0\x9F", "a"},
                 {"three of four", "a\xF0\x9F\x98", "a"},
                 {"of six", "a\xFC\x80\x80\x80", "a"}});
}

// The lead byte is counted with one continuation more than belongs to it.
TEST(TrimToValidUtf8String, LeavesACharacterWithContinuationsTooMany) {
  expectTrimmed({{"two and one", "a\xC3\xA9\x80", "a"},
                 {"two and two", "a\xC3\xA9\x80\x80", "a\xC3\xA9\x80\x80"},
                 {"three and one", "a\xE2\x82\xAC\x80", "a"},
                 {"three and two", "a\xE2\x82\xAC\x80\x80", "a\xE2\x82\xAC\x80\x80"},
                 {"four and one", "a\xF0\x9F\x98\x80\x80", "a"},
                 {"four and two", "a\xF0\x9F\x98\x80\x80\x80", "a\xF0\x9F\x98\x80\x80\x80"},
                 {"five ones", "\xF8\x80\x80\x80\x80\x80", ""},
                 {"five ones and six more", "\xF8\x80\x80\x80\x80\x80\x80", "\xF8\x80\x80\x80\x80\x80\x80"},
                 {"six ones", "\xFC" + std::string(6, '\x80'), ""},
                 {"six ones and seven more", "\xFC" + std::string(7, '\x80'), "\xFC" + std::string(7, '\x80')},
                 {"seven ones", "\xFE" + std::string(7, '\x80'), ""},
                 {"seven ones and eight more", "\xFE" + std::string(8, '\x80'), "\xFE" + std::string(8, '\x80')},
                 {"eight ones", "\xFF" + std::string(8, '\x80'), ""},
                 {"eight ones and nine more", "\xFF" + std::string(9, '\x80'), "\xFF" + std::string(9, '\x80')}});
}

TEST(TrimToValidUtf8String, LeavesContinuationsBehindALetter) {
  expectTrimmed({{"one", "a\x80", "a\x80"},
                 {"several", "a\x80\x80\xBF", "a\x80\x80\xBF"},
                 {"behind a capital", "Z\x80", "Z\x80"},
                 {"behind the first with that bit", "@\x80", "@\x80"},
                 {"a letter between",
                  "\xC3\xA9"
                  "a\x80",
                  "\xC3\xA9"
                  "a\x80"}});
}

TEST(TrimToValidUtf8String, LooksThroughDigitsAndBlanksForALeadByte) {
  expectTrimmed({{"a digit alone", "1\x80", "1\x80"},
                 {"behind a lead of two",
                  "\xC3"
                  "1\x80",
                  ""},
                 {"behind a lead of two, further away",
                  "\xC3"
                  "12\x80",
                  "\xC3"
                  "12\x80"},
                 {"behind a lead of four", "a\xF0 1 \x80", "a"},
                 {"behind a letter", "a1\x80", "a1\x80"},
                 {"a zero", "\xE2\0\x80"s, ""}});
}

TEST(TrimToValidUtf8String, LeavesContinuationsAlone) {
  expectTrimmed({{"one", "\x80", "\x80"},
                 {"the last one", "\xBF", "\xBF"},
                 {"many", "\x80\x80\x80\x80\x80", "\x80\x80\x80\x80\x80"}});
}
