#include "CapturedOutput.h"
#include "UtfCase.h"
#include "UtfRandomText.h"

using namespace std::string_literals;
using namespace TestSupport;

namespace {

const std::string mark = "\xFF\xFE";
const char* const errorTo16 = "Utils/src/string_util 91 ConvertUtf8String2BomString UTF8 to UTF16 conversion error \n";
const char* const errorTo8 = "Utils/src/string_util 118 ConvertBomString2Utf8String UTF16 to UTF8 conversion error \n";

std::string shown(const std::string& text) {
  return hexadecimal(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

void expectConversion(std::string (*convert)(const std::string&), const std::string& from, const std::string& expected,
                      const std::string& line) {
  std::string to;
  std::string output;
  std::string error;
  {
    const CapturedOutput_c captured;
    to = convert(from);
    output = captured.standardOutput();
    error = captured.standardError();
  }
  EXPECT_EQ(shown(expected), shown(to)) << shown(from);
  EXPECT_EQ(line, output) << shown(from);
  EXPECT_EQ("", error) << shown(from);
}

void expectToBom(const std::string& utf8, const std::string& expected, const std::string& line = {}) {
  for (const Checks_s& set : checks()) {
    expectConversion(set.toBom, utf8, expected, line);
  }
}

void expectFromBom(const std::string& bom, const std::string& expected, const std::string& line = {}) {
  for (const Checks_s& set : checks()) {
    expectConversion(set.fromBom, bom, expected, line);
  }
}

std::string withMark(const std::vector<uint16_t>& units) {
  std::string text = mark;
  for (const uint16_t unit : units) {
    text += static_cast<char>(unit & 0xFF);
    text += static_cast<char>(unit >> 8);
  }
  return text;
}

std::string asString(const std::vector<uint8_t>& bytes) {
  return {bytes.begin(), bytes.end()};
}

} // namespace

TEST(ConvertUtf8String2BomString, GivesTheMarkAloneForAnEmptyText) {
  expectToBom("", mark);
}

TEST(ConvertUtf8String2BomString, GivesTheUnitsLowByteFirst) {
  expectToBom("A", "\xFF\xFE\x41\x00"s);
  expectToBom("\xE2\x82\xAC", "\xFF\xFE\xAC\x20");
  expectToBom("\xF0\x9F\x98\x80", "\xFF\xFE\x3D\xD8\x00\xDE"s);
  expectToBom("a\xC3\xA9", "\xFF\xFE\x61\x00\xE9\x00"s);
}

TEST(ConvertUtf8String2BomString, GoesOnBehindAZero) {
  expectToBom("a\0b"s, "\xFF\xFE\x61\x00\x00\x00\x62\x00"s);
}

TEST(ConvertUtf8String2BomString, KeepsAMarkThatTheTextBeginsWith) {
  expectToBom("\xEF\xBB\xBF"
              "a",
              "\xFF\xFE\xFF\xFE\x61\x00"s);
}

TEST(ConvertUtf8String2BomString, GivesTheMarkAloneAndALineForIllFormedText) {
  for (const std::string& wrong :
       {"\xC3"s, "\x80"s, "\xC0\x80"s, "\xED\xA0\x80"s, "\xF4\x90\x80\x80"s, "\xFF"s, "\xE2\x82"s}) {
    expectToBom(wrong, mark, errorTo16);
    expectToBom("abc" + wrong, mark, errorTo16);
    expectToBom(wrong + "abcdef", mark, errorTo16);
    expectToBom(std::string(500, 'a') + wrong, mark, errorTo16);
  }
}

TEST(ConvertUtf8String2BomString, TakesWhatTheSequenceTestLetsPass) {
  expectToBom("\xED\x41\x80", "\xFF\xFE\x40\xC0");
}

TEST(ConvertUtf8String2BomString, ConvertsTextsOfEveryLength) {
  for (std::size_t size = 0; size <= 600; ++size) {
    RandomText_c random(static_cast<unsigned int>(size));
    for (const std::size_t errorsIn : {0U, 100U}) {
      const auto text = random.text<uint8_t>(size, errorsIn);
      std::vector<uint16_t> units(text.size());
      const Expected_s expected = expectedConversion(text.data(), text.size(), units.data(), units.size(), strict);
      units.resize(expected.result == 0 ? expected.written : 0);
      for (const Checks_s& set : checks()) {
        const CapturedOutput_c captured;
        ASSERT_EQ(withMark(units), set.toBom(asString(text))) << set.name << ": " << shown(asString(text));
        ASSERT_EQ(expected.result == 0 ? "" : errorTo16, captured.standardOutput()) << set.name;
      }
    }
  }
}

TEST(ConvertBomString2Utf8String, GivesNothingForLessThanAUnit) {
  expectFromBom("", "");
  expectFromBom(mark, "");
  expectFromBom("ab", "");
}

TEST(ConvertBomString2Utf8String, ReadsTheUnitsLowByteFirst) {
  expectFromBom("\xFF\xFE\x41\x00"s, "A");
  expectFromBom("\xFF\xFE\xAC\x20", "\xE2\x82\xAC");
  expectFromBom("\xFF\xFE\x3D\xD8\x00\xDE"s, "\xF0\x9F\x98\x80");
  expectFromBom("\xFF\xFE\x61\x00\x00\x00\x62\x00"s, "a\0b"s);
}

TEST(ConvertBomString2Utf8String, DoesNotHonourTheMark) {
  expectFromBom("\xFE\xFF\x00\x41"s, "\xE4\x84\x80");
  expectFromBom("\x00\x00\x41\x00"s, "A");
  expectFromBom("xy\x41\x00"s, "A");
  expectFromBom("\x00\xD8\x41\x00"s, "A");
}

TEST(ConvertBomString2Utf8String, KeepsASecondMark) {
  expectFromBom("\xFF\xFE\xFF\xFE\x61\x00"s, "\xEF\xBB\xBF"
                                             "a");
}

TEST(ConvertBomString2Utf8String, LeavesAnOddByteAtTheEndOut) {
  expectFromBom("\xFF", "");
  expectFromBom("\xFF\xFE\x41", "");
  expectFromBom("\xFF\xFE\x41\x00\x42"s, "A");
  expectFromBom("\xFF\xFE\x41\x00\x00\xD8\xFF"s, "", errorTo8);
  expectFromBom(withMark(std::vector<uint16_t>(300, 'a')) + "b", std::string(300, 'a'));
}

TEST(ConvertBomString2Utf8String, GivesNothingAndALineForALoneSurrogate) {
  for (const std::vector<uint16_t>& wrong : std::vector<std::vector<uint16_t>>{
           {0xD800}, {0xDBFF}, {0xDC00}, {0xDFFF}, {0xD800, 'a'}, {0xDC00, 0xD800}, {0xD800, 0xD800, 0xDC00}}) {
    expectFromBom(withMark(wrong), "", errorTo8);
    std::vector<uint16_t> behind(300, 'a');
    behind.insert(behind.end(), wrong.begin(), wrong.end());
    expectFromBom(withMark(behind), "", errorTo8);
  }
}

TEST(ConvertBomString2Utf8String, HasRoomForThreeBytesAUnit) {
  for (std::size_t size = 1; size <= 300; ++size) {
    std::string expected;
    for (std::size_t index = 0; index < size; ++index) {
      expected += "\xEF\xBF\xBF";
    }
    for (const Checks_s& set : checks()) {
      ASSERT_EQ(expected, set.fromBom(withMark(std::vector<uint16_t>(size, 0xFFFF)))) << set.name;
    }
  }
}

TEST(ConvertBomString2Utf8String, ConvertsTextsOfEveryLength) {
  for (std::size_t size = 0; size <= 400; ++size) {
    RandomText_c random(static_cast<unsigned int>(size));
    for (const std::size_t errorsIn : {0U, 100U}) {
      const auto units = random.text<uint16_t>(size, errorsIn);
      std::vector<uint8_t> bytes(3 * units.size());
      const Expected_s expected = expectedConversion(units.data(), units.size(), bytes.data(), bytes.size(), strict);
      bytes.resize(expected.result == 0 ? expected.written : 0);
      for (const Checks_s& set : checks()) {
        const CapturedOutput_c captured;
        ASSERT_EQ(asString(bytes), set.fromBom(withMark(units))) << set.name << ": " << shown(withMark(units));
        ASSERT_EQ(expected.result == 0 ? "" : errorTo8, captured.standardOutput()) << set.name;
      }
    }
  }
}

TEST(ConvertBomString2Utf8String, GivesBackWhatBecameAMarkedString) {
  for (unsigned int seed = 0; seed < 500; ++seed) {
    RandomText_c random(seed);
    const std::string text = asString(random.text<uint8_t>(random.below(200), 0));
    for (const Checks_s& set : checks()) {
      EXPECT_EQ(text, set.fromBom(set.toBom(text))) << set.name;
    }
  }
}
