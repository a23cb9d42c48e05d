// Texts of the terminal in UTF-8, and changes as lines.
#include "terminal/TerminalText.h"
#include "TerminalModelFixture.h"
#include "terminal/ChangeText.h"

using namespace TerminalPool;

namespace {

std::string utf8(const std::string& bytes, uint8_t fontType) {
  return toUtf8(BusText::bytesOf(bytes), fontType);
}

TEST(TerminalText, ReadsEveryAlphabetByItsFontType) {
  EXPECT_EQ(utf8("41 7E A4 E4", 0), u8"A~\u00A4\u00E4");
  EXPECT_EQ(utf8("A4 A6 BE", 1), u8"\u20AC\u0160\u0178");
  EXPECT_EQ(utf8("A1 B3 E6", 2), u8"\u0104\u0142\u0107");
  EXPECT_EQ(utf8("A1 BD", 4), u8"\u0104\u014A");
  EXPECT_EQ(utf8("B0 EF F0", 5), u8"\u0410\u044F\u2116");
  EXPECT_EQ(utf8("A4 C1 F9", 7), u8"\u20AC\u0391\u03C9");
  EXPECT_EQ(utf8("AE FF", 7), u8"\uFFFD\uFFFD"); // stand for nothing
  EXPECT_EQ(utf8("E4", 255), u8"\u00E4");
}

TEST(TerminalText, ReadsUtf16ByItsMarkWhateverTheFontIs) {
  EXPECT_EQ(utf8("FF FE 41 00 2D 4E 3D D8 00 DE", 5), u8"A\u4E2D\U0001F600");
  EXPECT_EQ(utf8("FF FE 3D D8", 0), u8"\uFFFD");
  EXPECT_EQ(utf8("FF FE 00 DE 41 00", 0), u8"\uFFFDA");
  EXPECT_EQ(utf8("FF FE 41 00 42", 0), u8"A\uFFFD");
  EXPECT_EQ(utf8("FF FE", 0), "");
  EXPECT_EQ(utf8("FF", 0), u8"\u00FF");
}

TEST(TerminalText, WritesWhatAnAlphabetHas) {
  EXPECT_EQ(fromUtf8(u8"A\u20AC", 1), Bytes({0x41, 0xA4}));
  EXPECT_EQ(fromUtf8(u8"\u0410", 5), Bytes({0xB0}));
  EXPECT_EQ(fromUtf8(u8"\u00E4", 0), Bytes({0xE4}));
  EXPECT_EQ(fromUtf8(u8"\u0410", 0), std::nullopt);
  EXPECT_EQ(fromUtf8(u8"\u00A4", 1), std::nullopt);
  EXPECT_EQ(fromUtf8(u8"\uFFFD", 7), std::nullopt);
}

TEST(TerminalText, TakesNoMalformedUtf8) {
  for (const char* text : {"\x80", "\xC0\x80", "\xC3", "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xF8",
                           "\xC3"
                           "A"}) {
    EXPECT_EQ(fromUtf8(text, 0), std::nullopt) << text;
    EXPECT_TRUE(toUtf16(text).empty()) << text;
  }
}

TEST(TerminalText, WritesUtf16WithItsMark) {
  EXPECT_EQ(hex(toUtf16(u8"A\u4E2D\U0001F600")), "FF FE 41 00 2D 4E 3D D8 00 DE");
  EXPECT_EQ(hex(toUtf16("")), "FF FE");
}

TEST(TerminalText, QuotesOnOneLine) {
  EXPECT_EQ(quoted("a\"b\\c\nd\x7F"), "\"a\\\"b\\\\c\\x0Ad\\x7F\"");
}

class TerminalChangeText : public TerminalModelFixture {
protected:
  TerminalChangeText() { client.address = 128; }

  std::string lineOf(const std::string& command) {
    changes.clear();
    ask(command);
    return changes.empty() ? "no change" : changeText(client, changes[0], &model);
  }

  TerminalClient_s client;
};

TEST_F(TerminalChangeText, TellsTheChangeAndTheNewState) {
  EXPECT_EQ(lineOf("A8 7A 00 FF 2A 00 00 00"), "client 128: number variable 122: value 7 -> 42 (value 42)");
  EXPECT_EQ(lineOf("B3 6F 00 02 00 48 69"),
            "client 128: output string 111: text \"Hello\" -> \"Hi   \" (width 80, height 20, background 7, font 124, "
            "options 0, variable none, justification 0, text \"Hi   \")");
  EXPECT_EQ(lineOf("AF 70 00 08 00 00 20 40"),
            "client 128: output number 112: scale 1 -> 2.5 (width 80, height 20, background 7, font 124, options 0, "
            "variable 122, value 3, offset 0, scale 2.5, decimals 1, format 0, justification 0, shows \"105.0\")");
  EXPECT_EQ(lineOf("AF 70 00 06 FF FF 00 00").substr(0, 52), "client 128: output number 112: variable 122 -> none ");
  EXPECT_EQ(lineOf("A2 6D 00 00").substr(0, 44), "client 128: input number 109: open for input");
  EXPECT_EQ(
      lineOf("B1 6C 00 01 70 00"),
      "client 128: input list 108: item 1 none -> 112 (width 80, height 20, variable none, value 0, input options "
      "1, holds 111 112)");
  EXPECT_EQ(lineOf("B6 75 00 02 0A 00 14 00").substr(0, 47), "client 128: polygon 117: point 2 10,10 -> 10,20");
  EXPECT_EQ(lineOf("A5 65 00 70 00 89 75").substr(0, 57), "client 128: data mask 101: place of 112 10,20 -> 20,10 (b");
  EXPECT_EQ(lineOf("B2"), "client 128: pool deleted");
}

TEST_F(TerminalChangeText, ReadsTheTextOfAVariableByTheFontOfTheFieldThatShowsIt) {
  ask("AF 7C 00 03 05 00 00 00");
  EXPECT_EQ(lineOf("B3 7B 00 01 00 B0"),
            u8"client 128: string variable 123: text \"ABCD\" -> \"\u0410   \" (text \"\u0410   \")");
}

TEST_F(TerminalChangeText, ManagesWithoutTheClient) {
  Change_s change;
  change.kind = ChangeKind_e::clientLost;
  change.text = "no maintenance for 3 s";
  EXPECT_EQ(changeText(client, change, nullptr), "client 128: is lost: no maintenance for 3 s");
  change.kind = ChangeKind_e::attribute;
  change.object = 7;
  change.attribute = Attribute_e::value;
  change.newValue = 1;
  EXPECT_EQ(changeText(client, change, nullptr), "client 128: object 7: value 0 -> 1");
}

struct Number_s {
  const char* attributes; // changes before: aid and value
  uint32_t value;
  const char* shown;
};

TEST_F(TerminalChangeText, ShowsNumbersAsAFieldDoes) {
  const Number_s rows[] = {
      {"09 02 00 00 00", 5, "5.00"},                 // decimals
      {"07 F6 FF FF FF", 5, "-5.00"},                // offset -10
      {"08 00 00 00 3F", 5, "-2.50"},                // scale 0.5
      {"09 00 00 00 00", 5, "-2"},                   // rounded to even, as printf does
      {"07 FB FF FF FF", 4294967295U, "2147483645"}, // unsigned value, in double
      {"05 04 00 00 00", 0, ""},                     // blank if zero
      {"05 08 00 00 00", 8, "1"},                    // 1.5 truncated
      {"0A 01 00 00 00", 8, "2e+00"},                // exponential
  };
  for (const Number_s& row : rows) {
    EXPECT_EQ(ask("AF 70 00 " + std::string(row.attributes)).substr(12), "00") << row.attributes;
    EXPECT_EQ(shownNumber(*model.pool().find(0x70), row.value), row.shown) << row.attributes;
  }
}

} // namespace
