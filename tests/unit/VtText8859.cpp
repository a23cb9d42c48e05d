#include "IsoAgLib/vtobjects.h"

#include <gtest/gtest.h>
#include <iconv.h>
#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace {

// convert: the text in the code page of a font type. The target has the room that the interface asks for, and a guard.
std::string convertBytes(const char* utf8, uint16_t byteLength, uint8_t fontType) {
  std::vector<char> target(byteLength + 2U, '#');
  __IsoAgLib::convertStringUnicodeTo8859(utf8, byteLength, target.data(), fontType);
  EXPECT_EQ('#', target.back()) << "written beyond the room";
  return std::string(target.data());
}

std::string convert(const std::string& utf8, uint8_t fontType = 0) {
  return convertBytes(utf8.data(), static_cast<uint16_t>(utf8.size()), fontType);
}

std::string utf8Of(uint32_t code) {
  const auto byte = [](uint32_t value) { return static_cast<char>(value); };
  if (code < 0x80) {
    return {byte(code)};
  }
  if (code < 0x800) {
    return {byte(0xC0 | code >> 6), byte(0x80 | (code & 0x3F))};
  }
  if (code < 0x10000) {
    return {byte(0xE0 | code >> 12), byte(0x80 | (code >> 6 & 0x3F)), byte(0x80 | (code & 0x3F))};
  }
  return {byte(0xF0 | code >> 18), byte(0x80 | (code >> 12 & 0x3F)), byte(0x80 | (code >> 6 & 0x3F)),
          byte(0x80 | (code & 0x3F))};
}

struct Page_s {
  const char* name;
  uint8_t fontType;
  const char* systemName;
};

void PrintTo(const Page_s& page, std::ostream* stream) {
  *stream << page.systemName;
}

const Page_s pages[] = {
    {"Latin1", 0, "ISO-8859-1"}, {"Latin9", 1, "ISO-8859-15"},  {"Latin2", 2, "ISO-8859-2"},
    {"Latin4", 4, "ISO-8859-4"}, {"Cyrillic", 5, "ISO-8859-5"}, {"Greek", 7, "ISO-8859-7"},
};

// systemTable: what the C library says of a code page, Unicode by byte; empty where it has no such table here.
std::map<uint32_t, uint8_t> systemTable(const char* page) {
  iconv_t converter = iconv_open("UTF-32LE", page);
  std::map<uint32_t, uint8_t> bytesByCode;
  if (converter == reinterpret_cast<iconv_t>(-1)) {
    return bytesByCode;
  }
  for (unsigned int byte = 1; byte <= 0xFF; ++byte) {
    auto from = static_cast<char>(byte);
    uint32_t code = 0;
    char* fromPlace = &from;
    char* toPlace = reinterpret_cast<char*>(&code);
    std::size_t fromLeft = 1;
    std::size_t toLeft = sizeof code;
    if (iconv(converter, &fromPlace, &fromLeft, &toPlace, &toLeft) == 0) {
      bytesByCode[code] = static_cast<uint8_t>(byte);
    }
  }
  iconv_close(converter);
  return bytesByCode;
}

} // namespace

class VtText8859Page : public testing::TestWithParam<Page_s> {};

TEST_P(VtText8859Page, AgreesWithTheCLibraryOnEveryCharacterOfUnicode) {
  const std::map<uint32_t, uint8_t> table = systemTable(GetParam().systemName);
  if (table.empty()) {
    GTEST_SKIP() << "the C library of this program has no table of " << GetParam().systemName << " here";
  }
  EXPECT_LE(252U, table.size());
  for (uint32_t code = 1; code <= 0x10FFFF; ++code) {
    if (code >= 0xD800 && code <= 0xDFFF) {
      continue;
    }
    const auto place = table.find(code);
    const std::string expected(1, place == table.end() ? '?' : static_cast<char>(place->second));
    ASSERT_EQ(expected, convert(utf8Of(code), GetParam().fontType)) << std::hex << code;
  }
}

INSTANTIATE_TEST_SUITE_P(, VtText8859Page, testing::ValuesIn(pages),
                         [](const testing::TestParamInfo<Page_s>& row) { return row.param.name; });

TEST(VtText8859, HasCharactersOfEveryCodePage) {
  EXPECT_EQ("Gr\xF6\xDF\x65 25 \xB0\x43", convert(u8"Größe 25 °C", 0));
  EXPECT_EQ("\xA4 \xA6 \xBD", convert(u8"€ Š œ", 1));
  EXPECT_EQ("\xB3\xF3\xBC ", convert(u8"łóź ", 2));
  EXPECT_EQ("\xE0\xF1 \xC7", convert(u8"āņ Į", 4));
  EXPECT_EQ("\xC1\xDA\xDE\xE0\xDE\xE1\xE2\xEC \xF0\xFD", convert(u8"Скорость №§", 5));
  EXPECT_EQ("\xD4\xE1\xF7\xFD\xF4\xE7\xF4\xE1 \xA4", convert(u8"Ταχύτητα €", 7));
}

TEST(VtText8859, HasThePlacesThatALaterEditionFilledInGreek) {
  EXPECT_EQ("\xA4\xA5\xAA", convert(u8"€₯ͺ", 7));
}

TEST(VtText8859, TakesAnyOtherFontTypeAsLatin1) {
  for (const int fontType : {3, 6, 8, 255}) {
    EXPECT_EQ("\xE9?", convert(u8"éЖ", static_cast<uint8_t>(fontType))) << fontType;
  }
}

TEST(VtText8859, LeavesAsciiAndControlCharactersAsTheyAre) {
  for (const Page_s& page : pages) {
    EXPECT_EQ("a\n\x7F\x80\x9F", convert("a\n\x7F\xC2\x80\xC2\x9F", page.fontType)) << page.name;
  }
}

TEST(VtText8859, GivesOneMarkForACharacterThatThePageLacks) {
  EXPECT_EQ("[?]", convert(u8"[Ж]", 0));
  EXPECT_EQ("[?]", convert(u8"[中]", 0));
  EXPECT_EQ("[?]", convert(u8"[😀]", 5));
  EXPECT_EQ("[?]", convert(u8"[Š]", 0));
  EXPECT_EQ("[?]", convert(u8"[¤]", 1));
  EXPECT_EQ("[?]", convert("[\xEF\xBF\xBF]", 7)); // U+FFFF
}

namespace {

struct IllFormed_s {
  const char* name;
  const char* text;
  const char* converted;
};

void PrintTo(const IllFormed_s& row, std::ostream* stream) {
  *stream << row.name;
}

// One mark for each byte that belongs to no character.
const IllFormed_s illFormedTexts[] = {
    {"OverlongOfTwo", "a\xC0\x80z", "a??z"},
    {"OverlongOfTwoAtItsEnd", "a\xC1\xBFz", "a??z"},
    {"OverlongOfThree", "a\xE0\x9F\xBFz", "a???z"},
    {"OverlongOfFour", "a\xF0\x8F\xBF\xBFz", "a????z"},
    {"FirstSurrogate", "a\xED\xA0\x80z", "a???z"},
    {"LastSurrogate", "a\xED\xBF\xBFz", "a???z"},
    {"BeyondTheLastCharacter", "a\xF4\x90\x80\x80z", "a????z"},
    {"LeadThatNoCharacterHas", "a\xF5\x80\x80\x80z", "a????z"},
    {"ByteThatNoCharacterHas", "a\xFF\xFEz", "a??z"},
    {"SecondByteAlone", "a\x80z", "a?z"},
    {"CutOfTwo", "a\xC3", "a?"},
    {"CutOfThree", "a\xE2\x82", "a??"},
    {"CutOfFour", "a\xF0\x9F\x98", "a???"},
    {"OfTwoFollowedByAnother", "a\xC3z", "a?z"},
    {"OfThreeFollowedByAnother", "a\xE2\x82z", "a??z"},
    {"OfFourFollowedByAnother", "a\xF0\x9F\x98z", "a???z"},
    {"LeadFollowedByACharacter", "\xE2\xC3\xA9", "?\xE9"},
    {"SecondByteTooHigh", "a\xC3\xC0z", "a??z"},
    {"ThirdByteTooLow", "a\xE2\x82\x7Fz", "a??\x7Fz"},
};

const IllFormed_s wellFormedEdges[] = {
    {"FirstOfTwo", "\xC2\x80", "\x80"},
    {"FirstOfThree", "\xE0\xA0\x80z", "?z"},
    {"LastBeforeTheSurrogates", "\xED\x9F\xBFz", "?z"},
    {"FirstBehindTheSurrogates", "\xEE\x80\x80z", "?z"},
    {"FirstOfFour", "\xF0\x90\x80\x80z", "?z"},
    {"Last", "\xF4\x8F\xBF\xBFz", "?z"},
};

} // namespace

class VtText8859IllFormed : public testing::TestWithParam<IllFormed_s> {};

TEST_P(VtText8859IllFormed, HasAMarkForEachByte) {
  EXPECT_EQ(GetParam().converted, convert(GetParam().text, 0));
}

INSTANTIATE_TEST_SUITE_P(, VtText8859IllFormed, testing::ValuesIn(illFormedTexts),
                         [](const testing::TestParamInfo<IllFormed_s>& row) { return row.param.name; });

class VtText8859Edge : public testing::TestWithParam<IllFormed_s> {};

TEST_P(VtText8859Edge, IsOneCharacter) {
  EXPECT_EQ(GetParam().converted, convert(GetParam().text, 0));
}

INSTANTIATE_TEST_SUITE_P(, VtText8859Edge, testing::ValuesIn(wellFormedEdges),
                         [](const testing::TestParamInfo<IllFormed_s>& row) { return row.param.name; });

TEST(VtText8859, EndsAtTheLengthThatIsTold) {
  EXPECT_EQ("abc", convertBytes("abcdef", 3, 0));
  EXPECT_EQ("a?", convertBytes("a\xC3\xA9", 2, 0));
  EXPECT_EQ("", convertBytes("abc", 0, 0));
}

TEST(VtText8859, EndsAtANul) {
  std::string target = "######";
  __IsoAgLib::convertStringUnicodeTo8859("ab\0cd", 5, &target[0], 0);
  EXPECT_EQ(std::string("ab\0###", 6), target);
}

TEST(VtText8859, FillsNoMoreThanTheLengthAndANulWhateverTheText) {
  const std::string marks(0xFFFF, '\xFF');
  EXPECT_EQ(std::string(0xFFFF, '?'), convert(marks));
}
