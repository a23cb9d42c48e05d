#include "CapturedOutput.h"
#include "VtTextObjects.h"

using namespace TestSupport;
using namespace IsoAgLib;

namespace {

std::string objectName(const testing::TestParamInfo<VtTextObject_s>& row) {
  return row.param.name;
}

// UTF-16 with a byte-order mark, of letters that are one byte in UTF-8.
std::string marked(const std::string& letters) {
  std::string bytes = "\xFF\xFE";
  for (const char letter : letters) {
    bytes += letter;
    bytes += '\0';
  }
  return bytes;
}

// As the journal shows bytes.
std::string shown(const std::string& bytes) {
  std::string text;
  for (const char byte : bytes) {
    if (byte >= ' ' && byte <= '~') {
      text += byte;
    } else {
      char code[8];
      std::snprintf(code, sizeof code, "\\x%02X", static_cast<unsigned int>(static_cast<unsigned char>(byte)));
      text += code;
    }
  }
  return text;
}

} // namespace

class VtUtf16Text : public VtTextFixture, public testing::WithParamInterface<VtTextObject_s> {
protected:
  void hold(uint16_t length, const std::string& bytes) { giveStorage(GetParam(), length, bytes); }

  std::string callsOfSetting(const std::string& text, bool force) {
    return callsOf([&] { GetParam().setUtf16(m_screen, text, force); });
  }

  static std::string sent(const std::string& bytes) {
    return "vt " + GetParam().id + ": setValueCopyUTF16(\"" + shown(bytes) + "\", " + std::to_string(bytes.size()) +
           ", true, false)\n";
  }
};

TEST_P(VtUtf16Text, HasAMarkAndIsPaddedWithBlanksToTheLengthOfTheObject) {
  hold(10, "");
  EXPECT_EQ(sent(std::string("\xFF\xFE"
                             "a\0b\0 \0 \0",
                             10)),
            callsOfSetting("ab", false));
  EXPECT_EQ(marked("ab  "), stored());
}

TEST_P(VtUtf16Text, IsUtf16LowByteFirst) {
  hold(8, "");
  // U+4E2D, U+1F69C
  EXPECT_EQ(sent("\xFF\xFE\x2D\x4E\x3D\xD8\x9C\xDE"), callsOfSetting("\xE4\xB8\xAD\xF0\x9F\x9A\x9C", false));
}

TEST_P(VtUtf16Text, IsSentOnceAndAgainWhereItIsForced) {
  hold(8, "");
  EXPECT_EQ(sent(marked("ab ")), callsOfSetting("ab", false));
  EXPECT_EQ("", callsOfSetting("ab", false));
  EXPECT_EQ("", callsOfSetting("ab ", false));
  EXPECT_EQ(sent(marked("ab ")), callsOfSetting("ab", true));
  EXPECT_EQ(sent(marked("abc")), callsOfSetting("abc", false));
  EXPECT_EQ(sent(marked("ab ")), callsOfSetting("ab", false));
}

TEST_P(VtUtf16Text, IsComparedBehindItsZeroBytes) {
  hold(8, marked("abc"));
  EXPECT_EQ("", callsOfSetting("abc", false));
  EXPECT_EQ(sent(marked("abd")), callsOfSetting("abd", false));
  hold(8, marked("xbc"));
  EXPECT_EQ(sent(marked("abc")), callsOfSetting("abc", false));
}

TEST_P(VtUtf16Text, ThatIsLongerIsSentWholeButComparedInTheLengthOfTheObject) {
  hold(6, "");
  EXPECT_EQ(sent(marked("abcdef")), callsOfSetting("abcdef", false));
  EXPECT_EQ(marked("ab"), stored());
  EXPECT_EQ("", callsOfSetting("abcdef", false));
  EXPECT_EQ("", callsOfSetting("abxyz", false));
  EXPECT_EQ("", callsOfSetting("ab", false));
  EXPECT_EQ(sent(marked("abxyz")), callsOfSetting("abxyz", true));
  EXPECT_EQ(sent(marked("axcdef")), callsOfSetting("axcdef", false));
}

// A pair of bytes less: the last one does not fit.
TEST_P(VtUtf16Text, OfAnOddLengthIsPaddedToOneByteLess) {
  hold(9, "");
  EXPECT_EQ(sent(marked("ab ")), callsOfSetting("ab", false));
  EXPECT_EQ(marked("ab ") + '\0', stored());
  m_storage[8] = 'x';
  EXPECT_EQ("", callsOfSetting("ab", false));
  EXPECT_EQ(sent(marked("abcd")), callsOfSetting("abcd", true));
}

TEST_P(VtUtf16Text, ThatIsShorterThanTheObjectIsComparedToItsEnd) {
  hold(9, marked("abx"));
  EXPECT_EQ(sent(marked("aby")), callsOfSetting("aby", false));
}

TEST_P(VtUtf16Text, OfOneByteIsComparedInOneByte) {
  hold(1, "");
  EXPECT_EQ(sent("\xFF\xFE"), callsOfSetting("", false));
  EXPECT_EQ("\xFF", stored());
  EXPECT_EQ("", callsOfSetting("abc", false));
}

TEST_P(VtUtf16Text, OfAnObjectWithoutLengthIsSentOnlyWhereItIsForced) {
  hold(0, "");
  EXPECT_EQ("", callsOfSetting("", false));
  EXPECT_EQ("", callsOfSetting("abc", false));
  EXPECT_EQ(sent(marked("abc")), callsOfSetting("abc", true));
  EXPECT_EQ("", stored());
  GetParam().setStorage(m_screen, 0, nullptr);
  EXPECT_EQ("", callsOfSetting("", false));
  EXPECT_EQ("", callsOfSetting("abc", false));
  EXPECT_EQ(sent(marked("abc")), callsOfSetting("abc", true));
}

TEST_P(VtUtf16Text, IsAMarkAndBlanksWhereItIsNotWellFormedOrEmpty) {
  hold(6, "");
  const CapturedOutput_c output;
  EXPECT_EQ(sent(marked("  ")), callsOfSetting("a\xC3(", false));
  EXPECT_EQ("Utils/src/string_util 91 ConvertUtf8String2BomString UTF8 to UTF16 conversion error \n",
            output.standardOutput());
  EXPECT_EQ("", callsOfSetting("", false));
  hold(6, "");
  EXPECT_EQ(sent(marked("  ")), callsOfSetting("", false));
}

// 32767 characters and the mark are 65536 bytes: they count as none.
TEST_P(VtUtf16Text, IsMeasuredInItsSizeModulo65536) {
  hold(6, "");
  EXPECT_EQ(sent(marked("xx")), callsOfSetting(std::string(32767, 'x'), false));
  EXPECT_EQ("", callsOfSetting(std::string(32767, 'x'), false));
  EXPECT_EQ(sent(marked("yyyyyyy").substr(0, 14)), callsOfSetting(std::string(32767 + 7, 'y'), false));
}

TEST_P(VtUtf16Text, FillsTheLongestObject) {
  hold(65534, "");
  EXPECT_EQ(sent(marked("ab" + std::string(32764, ' '))), callsOfSetting("ab", false));
  hold(65535, "");
  EXPECT_EQ(sent(marked("ab" + std::string(32764, ' '))), callsOfSetting("ab", false));
  EXPECT_EQ("", callsOfSetting("ab", false));
}

TEST_P(VtUtf16Text, DoesNotDependOnTheFontEncoding) {
  setFontEncoding(5);
  hold(4, "");
  EXPECT_EQ(sent(std::string("\xFF\xFE\xFC\0", 4)), callsOfSetting("\xC3\xBC", false));
}

INSTANTIATE_TEST_SUITE_P(, VtUtf16Text, testing::ValuesIn(vtTextObjects()), objectName);

class VtForcedEmptyUtf16Text : public VtTextFixture {};

TEST_F(VtForcedEmptyUtf16Text, EmptiesAnOutputStringWithoutAMark) {
  for (const bool bSend : {true, false}) {
    giveStorage(6, marked("ab"));
    EXPECT_EQ("vt 2100: setValueCopy(\"\", true, false)\n",
              callsOf([&] { EXPECT_FALSE(SetVtObjectUTF8(m_screen.outputString, "", true, bSend)); }));
    EXPECT_EQ(std::string(6, '\0'), stored());
  }
}

TEST_F(VtForcedEmptyUtf16Text, IsAMarkAndBlanksForTheOtherObjects) {
  for (const VtTextObject_s& object : {vtTextObjects()[1], vtTextObjects()[2]}) {
    giveStorage(object, 4, "");
    EXPECT_EQ("vt " + object.id + ": setValueCopyUTF16(\"\\xFF\\xFE \\x00\", 4, true, false)\n",
              callsOf([&] { object.setUtf16(m_screen, "", true); }));
  }
}

class VtStoredUtf16Text : public VtTextFixture {
protected:
  std::string callsOfStoring(const std::string& text, bool force, bool expected) {
    return callsOf([&] { EXPECT_EQ(expected, SetVtObjectUTF8(m_screen.outputString, text, force, false)); });
  }
};

TEST_F(VtStoredUtf16Text, IsPutIntoTheObjectWithoutACommand) {
  giveStorage(8, "12345678");
  EXPECT_EQ("", callsOfStoring("ab", false, true));
  EXPECT_EQ(marked("ab "), stored());
  EXPECT_EQ("", callsOfStoring("abcdefg", false, true));
  EXPECT_EQ(marked("abc"), stored());
}

TEST_F(VtStoredUtf16Text, IsUnchangedTheNextTime) {
  giveStorage(8, "");
  callsOfStoring("ab", false, true);
  EXPECT_EQ("", callsOfStoring("ab", false, false));
  EXPECT_EQ("", callsOf([&] { EXPECT_FALSE(SetVtObjectUTF8(m_screen.outputString, "ab", false, true)); }));
  EXPECT_EQ("", callsOfStoring("ab", true, true));
}

TEST_F(VtStoredUtf16Text, OfAnOddLengthEndsWithAZero) {
  giveStorage(7, "1234567");
  EXPECT_EQ("", callsOfStoring("a", false, true));
  EXPECT_EQ(marked("a ") + '\0', stored());
  giveStorage(1, "1");
  EXPECT_EQ("", callsOfStoring("a", false, true));
  EXPECT_EQ("\xFF", stored());
}

TEST_F(VtStoredUtf16Text, IsExactlyTheLengthOfTheObject) {
  giveStorage(4, "1234");
  m_storage[4] = untouched;
  EXPECT_EQ("", callsOfStoring("abc", true, true));
  EXPECT_EQ(untouched, m_storage[4]);
  m_storage[4] = '\0';
  EXPECT_EQ(marked("a"), stored());
}

TEST_F(VtStoredUtf16Text, OfAnObjectWithoutStorageIsNothing) {
  m_screen.records.outputString.length = 0;
  m_screen.records.outputString.value = nullptr;
  EXPECT_EQ("", callsOfStoring("abc", false, false));
  EXPECT_EQ("", callsOfStoring("abc", true, true));
}

namespace {

// As it is told: a pair at a time.
std::string paddedOneByOne(std::string s, int length) {
  const bool bLowByteFirst = !s.empty() && s[0] == '\xFF';
  while (static_cast<int>(s.size() % 65536) < length - 1) {
    s += bLowByteFirst ? ' ' : '\0';
    s += bLowByteFirst ? '\0' : ' ';
  }
  return s;
}

std::string padded(std::string s, int length) {
  spacePadUTF16String(s, static_cast<uint16_t>(length));
  return s;
}

} // namespace

TEST(SpacePadUtf16String, AppendsBlanksInTheOrderOfTheMark) {
  EXPECT_EQ(std::string("\xFF\xFE \0 \0", 6), padded("\xFF\xFE", 6));
  EXPECT_EQ(std::string("\xFF\xFE \0", 4), padded("\xFF\xFE", 5));
  EXPECT_EQ(std::string("\xFE\xFF\0 ", 4), padded("\xFE\xFF", 4));
}

TEST(SpacePadUtf16String, PutsTheHighByteFirstWhereThereIsNoMark) {
  EXPECT_EQ(std::string("\0 \0 ", 4), padded("", 4));
  EXPECT_EQ(std::string("ab\0 ", 4), padded("ab", 4));
}

// Only the first byte is looked at.
TEST(SpacePadUtf16String, TakesTheFirstByteForTheMark) {
  EXPECT_EQ(std::string("\xFF"
                        "a \0",
                        4),
            padded("\xFF"
                   "a",
                   4));
  EXPECT_EQ(std::string("\xFE\xFE\0 ", 4), padded("\xFE\xFE", 4));
}

TEST(SpacePadUtf16String, NeverCuts) {
  for (const int length : {0, 1, 2, 5, 6}) {
    EXPECT_EQ("\xFF\xFE"
              "abcd",
              padded("\xFF\xFE"
                     "abcd",
                     length));
  }
}

TEST(SpacePadUtf16String, LeavesALengthOfNoneOrOneAlone) {
  EXPECT_EQ("", padded("", 0));
  EXPECT_EQ("", padded("", 1));
  EXPECT_EQ(std::string("\0 ", 2), padded("", 2));
}

TEST(SpacePadUtf16String, OfAnOddSizeStaysOdd) {
  EXPECT_EQ(std::string("\xFF \0", 3), padded("\xFF", 3));
  EXPECT_EQ(std::string("\xFF \0", 3), padded("\xFF", 4));
}

TEST(SpacePadUtf16String, AppendsPairsAsLongAsTheSizeIsLessThanTheLengthLessOne) {
  for (const char* first : {"\xFF", "\xFE", "a"}) {
    for (std::size_t size = 0; size < 20; ++size) {
      const std::string s = size == 0 ? "" : first + std::string(size - 1, 'x');
      for (int length = 0; length < 24; ++length) {
        EXPECT_EQ(paddedOneByOne(s, length), padded(s, length)) << first << " " << size << " " << length;
      }
    }
  }
}

TEST(SpacePadUtf16String, CountsTheSizeModulo65536) {
  for (const std::size_t size : {0U, 1U, 2U, 65533U, 65534U, 65535U, 65536U, 65537U, 65538U, 65546U, 131072U}) {
    const std::string s = size == 0 ? "" : "\xFF" + std::string(size - 1, 'x');
    for (const int length : {0, 1, 2, 3, 10, 11, 32767, 32768, 65533, 65534, 65535}) {
      EXPECT_TRUE(paddedOneByOne(s, length) == padded(s, length)) << size << " " << length;
    }
  }
}
