#include "UtfCase.h"

using namespace TestSupport;

namespace {

using To16_t = std::vector<UtfRow_s<uint8_t, uint16_t>>;
using To32_t = std::vector<UtfRow_s<uint8_t, uint32_t>>;

constexpr std::size_t ample = 64;

// What stops a conversion at its beginning, or behind two characters.
struct Stop_s {
  const char* name;
  std::vector<uint8_t> bytes;
  int result;
};

// The same for both targets, in both modes, with nothing but ASCII around.
void expectStops(const std::vector<Stop_s>& stops) {
  for (const Stop_s& stop : stops) {
    std::vector<uint8_t> behind = {'a', 0xC3, 0xA9};
    behind.insert(behind.end(), stop.bytes.begin(), stop.bytes.end());
    expectRows<uint8_t, uint16_t>({{stop.name, stop.bytes, ample, inBothModes, stop.result, 0, {}},
                                   {stop.name, behind, ample, inBothModes, stop.result, 3, {'a', 0xE9}}});
    expectRows<uint8_t, uint32_t>({{stop.name, stop.bytes, ample, inBothModes, stop.result, 0, {}},
                                   {stop.name, behind, ample, inBothModes, stop.result, 3, {'a', 0xE9}}});
  }
}

} // namespace

TEST(ConvertUTF8toUTF16, ConvertsCharactersOfOneToFourBytes) {
  expectRows<uint8_t, uint16_t>(To16_t{
      {"U+0000", {0x00}, ample, inBothModes, 0, 1, {0x0000}},
      {"U+007F", {0x7F}, ample, inBothModes, 0, 1, {0x007F}},
      {"U+0080", {0xC2, 0x80}, ample, inBothModes, 0, 2, {0x0080}},
      {"U+07FF", {0xDF, 0xBF}, ample, inBothModes, 0, 2, {0x07FF}},
      {"U+0800", {0xE0, 0xA0, 0x80}, ample, inBothModes, 0, 3, {0x0800}},
      {"U+D7FF", {0xED, 0x9F, 0xBF}, ample, inBothModes, 0, 3, {0xD7FF}},
      {"U+E000", {0xEE, 0x80, 0x80}, ample, inBothModes, 0, 3, {0xE000}},
      {"U+FFFD", {0xEF, 0xBF, 0xBD}, ample, inBothModes, 0, 3, {0xFFFD}},
      {"U+FFFF", {0xEF, 0xBF, 0xBF}, ample, inBothModes, 0, 3, {0xFFFF}},
      {"U+10000", {0xF0, 0x90, 0x80, 0x80}, ample, inBothModes, 0, 4, {0xD800, 0xDC00}},
      {"U+1F600", {0xF0, 0x9F, 0x98, 0x80}, ample, inBothModes, 0, 4, {0xD83D, 0xDE00}},
      {"U+10FFFF", {0xF4, 0x8F, 0xBF, 0xBF}, ample, inBothModes, 0, 4, {0xDBFF, 0xDFFF}},
      {"a mix",
       {'a', 0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0xF0, 0x9F, 0x98, 0x80, 'z'},
       ample,
       inBothModes,
       0,
       11,
       {'a', 0xE9, 0x20AC, 0xD83D, 0xDE00, 'z'}},
  });
}

TEST(ConvertUTF8toUTF32, ConvertsCharactersOfOneToFourBytes) {
  expectRows<uint8_t, uint32_t>(To32_t{
      {"U+0000", {0x00}, ample, inBothModes, 0, 1, {0x0000}},
      {"U+007F", {0x7F}, ample, inBothModes, 0, 1, {0x007F}},
      {"U+0080", {0xC2, 0x80}, ample, inBothModes, 0, 2, {0x0080}},
      {"U+07FF", {0xDF, 0xBF}, ample, inBothModes, 0, 2, {0x07FF}},
      {"U+0800", {0xE0, 0xA0, 0x80}, ample, inBothModes, 0, 3, {0x0800}},
      {"U+D7FF", {0xED, 0x9F, 0xBF}, ample, inBothModes, 0, 3, {0xD7FF}},
      {"U+E000", {0xEE, 0x80, 0x80}, ample, inBothModes, 0, 3, {0xE000}},
      {"U+FFFF", {0xEF, 0xBF, 0xBF}, ample, inBothModes, 0, 3, {0xFFFF}},
      {"U+10000", {0xF0, 0x90, 0x80, 0x80}, ample, inBothModes, 0, 4, {0x10000}},
      {"U+10FFFF", {0xF4, 0x8F, 0xBF, 0xBF}, ample, inBothModes, 0, 4, {0x10FFFF}},
      {"a mix",
       {'a', 0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0xF0, 0x9F, 0x98, 0x80, 'z'},
       ample,
       inBothModes,
       0,
       11,
       {'a', 0xE9, 0x20AC, 0x1F600, 'z'}},
  });
}

TEST(ConvertFromUTF8, LeavesBothCursorsOfAnEmptySource) {
  expectRows<uint8_t, uint16_t>({{"room", {}, ample, inBothModes, 0, 0, {}}, {"none", {}, 0, inBothModes, 0, 0, {}}});
  expectRows<uint8_t, uint32_t>({{"room", {}, ample, inBothModes, 0, 0, {}}, {"none", {}, 0, inBothModes, 0, 0, {}}});
}

TEST(ConvertFromUTF8, IsExhaustedByATextThatEndsWithinACharacter) {
  expectStops({
      {"two, one left", {0xC3}, 1},
      {"three, one left", {0xE2}, 1},
      {"three, two left", {0xE2, 0x82}, 1},
      {"four, one left", {0xF0}, 1},
      {"four, two left", {0xF0, 0x9F}, 1},
      {"four, three left", {0xF0, 0x9F, 0x98}, 1},
  });
}

TEST(ConvertFromUTF8, IsExhaustedBeforeBytesAreJudged) {
  expectStops({
      {"a lead that is never legal, two bytes", {0xC0}, 1},
      {"a lead of three and ASCII", {0xE2, 'a'}, 1},
      {"a surrogate without its last byte", {0xED, 0xA0}, 1},
      {"above U+10FFFF without its last byte", {0xF4, 0x90, 0x80}, 1},
      {"F7, three bytes left", {0xF7, 'a', 'a'}, 1},
      {"F8, four bytes left", {0xF8, 0x88, 0x80, 0x80}, 1},
      {"FB, four bytes left", {0xFB, 'a', 'a', 'a'}, 1},
      {"FC, five bytes left", {0xFC, 0x84, 0x80, 0x80, 0x80}, 1},
      {"FF, five bytes left", {0xFF, 'a', 'a', 'a', 'a'}, 1},
      {"FF alone", {0xFF}, 1},
  });
}

TEST(ConvertFromUTF8, StopsOnTheLeadByteOfWhatIsIllFormed) {
  expectStops({
      {"a continuation alone", {0x80}, 3},
      {"the last continuation alone", {0xBF, 'a', 'a'}, 3},
      {"overlong U+0000", {0xC0, 0x80}, 3},
      {"overlong U+007F", {0xC1, 0xBF}, 3},
      {"overlong in three", {0xE0, 0x9F, 0xBF}, 3},
      {"overlong in four", {0xF0, 0x8F, 0xBF, 0xBF}, 3},
      {"surrogate U+D800", {0xED, 0xA0, 0x80}, 3},
      {"surrogate U+DFFF", {0xED, 0xBF, 0xBF}, 3},
      {"U+110000", {0xF4, 0x90, 0x80, 0x80}, 3},
      {"F4 and the last second byte", {0xF4, 0xBF, 0xBF, 0xBF}, 3},
      {"F5", {0xF5, 0x80, 0x80, 0x80}, 3},
      {"F7", {0xF7, 0xBF, 0xBF, 0xBF}, 3},
      {"five bytes", {0xF8, 0x88, 0x80, 0x80, 0x80}, 3},
      {"six bytes", {0xFC, 0x84, 0x80, 0x80, 0x80, 0x80}, 3},
      {"FE", {0xFE, 0x80, 0x80, 0x80, 0x80, 0x80}, 3},
      {"FF", {0xFF, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF}, 3},
      {"second byte of two too small", {0xC2, 0x7F}, 3},
      {"second byte of two too large", {0xDF, 0xC0}, 3},
      {"second byte of three too small", {0xE1, 0x7F, 0x80}, 3},
      {"second byte of three too large", {0xEF, 0xC0, 0x80}, 3},
      {"third byte too small", {0xE1, 0x80, 0x7F}, 3},
      {"third byte too large", {0xE1, 0x80, 0xC0}, 3},
      {"second byte of four too small", {0xF1, 0x7F, 0x80, 0x80}, 3},
      {"second byte of four too large", {0xF3, 0xC0, 0x80, 0x80}, 3},
      {"third byte of four too small", {0xF1, 0x80, 0x7F, 0x80}, 3},
      {"third byte of four too large", {0xF1, 0x80, 0xC0, 0x80}, 3},
      {"fourth byte too small", {0xF1, 0x80, 0x80, 0x7F}, 3},
      {"fourth byte too large", {0xF1, 0x80, 0x80, 0xC0}, 3},
      {"ED with a third byte that is none", {0xED, 0x41, 0x41}, 3},
      {"F4 with a third byte that is none", {0xF4, 0x41, 0x41, 0x80}, 3},
      {"F4 with a fourth byte that is none", {0xF4, 0x41, 0x80, 0x41}, 3},
  });
}

TEST(ConvertFromUTF8, LetsLeniencyChangeNothingForSurrogates) {
  expectRows<uint8_t, uint16_t>({{"in between", {'a', 0xED, 0xA0, 0x80, 'b'}, ample, inLenientMode, 3, 1, {'a'}}});
  expectRows<uint8_t, uint32_t>({{"in between", {'a', 0xED, 0xA0, 0x80, 'b'}, ample, inLenientMode, 3, 1, {'a'}}});
}

// The value is what the bytes and the offset add up to: 0xED * 4096 + 0x41 * 64 + 0x80 - 0xE2080, for example.
TEST(ConvertFromUTF8, TakesASecondByteBelow80AfterEDAndF4) {
  expectRows<uint8_t, uint16_t>(To16_t{
      {"ED 00", {0xED, 0x00, 0x80}, ample, inBothModes, 0, 3, {0xB000}},
      {"ED 41", {0xED, 0x41, 0x80}, ample, inBothModes, 0, 3, {0xC040}},
      {"ED 7F", {0xED, 0x7F, 0xBF}, ample, inBothModes, 0, 3, {0xCFFF}},
      {"F4 00", {0xF4, 0x00, 0x80, 0x80}, ample, inBothModes, 0, 4, {0xD9C0, 0xDC00}},
      {"F4 7F", {0xF4, 0x7F, 0xBF, 0xBF}, ample, inBothModes, 0, 4, {0xDBBF, 0xDFFF}},
      {"in a text",
       {'a', 0xED, 0x41, 0x80, 0xF4, 0x00, 0x80, 0x80, 'b'},
       ample,
       inBothModes,
       0,
       9,
       {'a', 0xC040, 0xD9C0, 0xDC00, 'b'}},
  });
  expectRows<uint8_t, uint32_t>(To32_t{
      {"ED 00", {0xED, 0x00, 0x80}, ample, inBothModes, 0, 3, {0xB000}},
      {"ED 41", {0xED, 0x41, 0x80}, ample, inBothModes, 0, 3, {0xC040}},
      {"ED 7F", {0xED, 0x7F, 0xBF}, ample, inBothModes, 0, 3, {0xCFFF}},
      {"F4 00", {0xF4, 0x00, 0x80, 0x80}, ample, inBothModes, 0, 4, {0x80000}},
      {"F4 7F", {0xF4, 0x7F, 0xBF, 0xBF}, ample, inBothModes, 0, 4, {0xFFFFF}},
  });
}

TEST(ConvertUTF8toUTF16, StopsInFrontOfACharacterThatDoesNotFit) {
  expectRows<uint8_t, uint16_t>(To16_t{
      {"no room for ASCII", {'a'}, 0, inBothModes, 2, 0, {}},
      {"no room for two bytes", {0xC3, 0xA9}, 0, inBothModes, 2, 0, {}},
      {"no room for three bytes", {0xE2, 0x82, 0xAC}, 0, inBothModes, 2, 0, {}},
      {"no room for a pair", {0xF0, 0x9F, 0x98, 0x80}, 0, inBothModes, 2, 0, {}},
      {"room for half a pair", {0xF0, 0x9F, 0x98, 0x80}, 1, inBothModes, 2, 0, {}},
      {"room for half a pair behind a letter", {'a', 0xF0, 0x9F, 0x98, 0x80}, 2, inBothModes, 2, 1, {'a'}},
      {"room for the pair", {0xF0, 0x9F, 0x98, 0x80}, 2, inBothModes, 0, 4, {0xD83D, 0xDE00}},
      {"room for one of two", {'a', 'b'}, 1, inBothModes, 2, 1, {'a'}},
      {"exactly the room", {'a', 0xE2, 0x82, 0xAC}, 2, inBothModes, 0, 4, {'a', 0x20AC}},
  });
}

TEST(ConvertUTF8toUTF32, StopsInFrontOfACharacterThatDoesNotFit) {
  expectRows<uint8_t, uint32_t>(To32_t{
      {"no room for ASCII", {'a'}, 0, inBothModes, 2, 0, {}},
      {"no room for four bytes", {0xF0, 0x9F, 0x98, 0x80}, 0, inBothModes, 2, 0, {}},
      {"room for one of two", {'a', 0xF0, 0x9F, 0x98, 0x80}, 1, inBothModes, 2, 1, {'a'}},
      {"exactly the room", {'a', 0xF0, 0x9F, 0x98, 0x80}, 2, inBothModes, 0, 5, {'a', 0x1F600}},
  });
}

TEST(ConvertFromUTF8, JudgesACharacterBeforeTheRoomForIt) {
  const std::vector<Stop_s> stops = {{"cut off", {0xE2, 0x82}, 1}, {"ill-formed", {0xC0, 0x80}, 3}};
  for (const Stop_s& stop : stops) {
    expectRows<uint8_t, uint16_t>({{stop.name, stop.bytes, 0, inBothModes, stop.result, 0, {}}});
    expectRows<uint8_t, uint32_t>({{stop.name, stop.bytes, 0, inBothModes, stop.result, 0, {}}});
  }
}

TEST(ConvertFromUTF8, TakesNothingWhereTheEndIsBeforeTheCursor) {
  const uint8_t text[] = {'a', 'b', 'c'};
  for (const Way_s& way : ways()) {
    const uint8_t* source = text + 2;
    uint16_t target = 0x1234;
    uint16_t* targetCursor = &target;
    EXPECT_EQ(0, (converterOf<uint8_t, uint16_t>(way)(&source, text + 1, &targetCursor, &target + 1, strict)));
    EXPECT_EQ(text + 2, source) << way.name;
    EXPECT_EQ(&target, targetCursor) << way.name;
    EXPECT_EQ(0x1234, target) << way.name;
  }
}

TEST(ConvertFromUTF8, HasNoRoomWhereTheTargetEndsBeforeTheCursor) {
  const uint8_t text[] = {'a', 'b', 'c'};
  for (const Way_s& way : ways()) {
    const uint8_t* source = text;
    uint16_t targets[] = {0x1234, 0x5678};
    uint16_t* targetCursor = targets + 1;
    EXPECT_EQ(2, (converterOf<uint8_t, uint16_t>(way)(&source, text + 3, &targetCursor, targets, strict)));
    EXPECT_EQ(text, source) << way.name;
    EXPECT_EQ(targets + 1, targetCursor) << way.name;
    EXPECT_EQ(0x5678, targets[1]) << way.name;
  }
}
