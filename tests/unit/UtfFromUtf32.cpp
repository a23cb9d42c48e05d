#include "UtfCase.h"

using namespace TestSupport;

namespace {

using To8_t = std::vector<UtfRow_s<uint32_t, uint8_t>>;
using To16_t = std::vector<UtfRow_s<uint32_t, uint16_t>>;

constexpr std::size_t ample = 64;

} // namespace

TEST(ConvertUTF32toUTF8, WritesOneToFourBytesByTheValue) {
  expectRows<uint32_t, uint8_t>(To8_t{
      {"U+0000", {0x0000}, ample, inBothModes, 0, 1, {0x00}},
      {"U+007F", {0x007F}, ample, inBothModes, 0, 1, {0x7F}},
      {"U+0080", {0x0080}, ample, inBothModes, 0, 1, {0xC2, 0x80}},
      {"U+07FF", {0x07FF}, ample, inBothModes, 0, 1, {0xDF, 0xBF}},
      {"U+0800", {0x0800}, ample, inBothModes, 0, 1, {0xE0, 0xA0, 0x80}},
      {"U+D7FF", {0xD7FF}, ample, inBothModes, 0, 1, {0xED, 0x9F, 0xBF}},
      {"U+E000", {0xE000}, ample, inBothModes, 0, 1, {0xEE, 0x80, 0x80}},
      {"U+FFFF", {0xFFFF}, ample, inBothModes, 0, 1, {0xEF, 0xBF, 0xBF}},
      {"U+10000", {0x10000}, ample, inBothModes, 0, 1, {0xF0, 0x90, 0x80, 0x80}},
      {"U+10FFFF", {0x10FFFF}, ample, inBothModes, 0, 1, {0xF4, 0x8F, 0xBF, 0xBF}},
  });
}

TEST(ConvertUTF32toUTF16, WritesPairsAboveTheBasicPlane) {
  expectRows<uint32_t, uint16_t>(To16_t{
      {"U+0000", {0x0000}, ample, inBothModes, 0, 1, {0x0000}},
      {"U+D7FF", {0xD7FF}, ample, inBothModes, 0, 1, {0xD7FF}},
      {"U+E000", {0xE000}, ample, inBothModes, 0, 1, {0xE000}},
      {"U+FFFF", {0xFFFF}, ample, inBothModes, 0, 1, {0xFFFF}},
      {"U+10000", {0x10000}, ample, inBothModes, 0, 1, {0xD800, 0xDC00}},
      {"U+10FFFF", {0x10FFFF}, ample, inBothModes, 0, 1, {0xDBFF, 0xDFFF}},
  });
}

TEST(ConvertFromUTF32, LeavesBothCursorsOfAnEmptySource) {
  expectRows<uint32_t, uint8_t>({{"room", {}, ample, inBothModes, 0, 0, {}}, {"none", {}, 0, inBothModes, 0, 0, {}}});
  expectRows<uint32_t, uint16_t>({{"room", {}, ample, inBothModes, 0, 0, {}}, {"none", {}, 0, inBothModes, 0, 0, {}}});
}

TEST(ConvertFromUTF32, StopsOnASurrogateInStrictMode) {
  for (const uint32_t surrogate : {0xD800U, 0xDBFFU, 0xDC00U, 0xDFFFU}) {
    expectRows<uint32_t, uint8_t>({{"alone", {surrogate}, ample, inStrictMode, 3, 0, {}},
                                   {"between letters", {'a', surrogate, 'b'}, ample, inStrictMode, 3, 1, {'a'}},
                                   {"without room", {surrogate}, 0, inStrictMode, 3, 0, {}}});
    expectRows<uint32_t, uint16_t>({{"alone", {surrogate}, ample, inStrictMode, 3, 0, {}},
                                    {"between letters", {'a', surrogate, 'b'}, ample, inStrictMode, 3, 1, {'a'}},
                                    {"without room", {surrogate}, 0, inStrictMode, 3, 0, {}}});
  }
}

TEST(ConvertFromUTF32, ReplacesASurrogateInLenientMode) {
  for (const uint32_t surrogate : {0xD800U, 0xDBFFU, 0xDC00U, 0xDFFFU}) {
    expectRows<uint32_t, uint8_t>(
        {{"between letters", {'a', surrogate, 'b'}, ample, inLenientMode, 0, 3, {'a', 0xEF, 0xBF, 0xBD, 'b'}},
         {"no room for U+FFFD", {'a', surrogate, 'b'}, 3, inLenientMode, 2, 1, {'a'}}});
    expectRows<uint32_t, uint16_t>(
        {{"between letters", {'a', surrogate, 'b'}, ample, inLenientMode, 0, 3, {'a', 0xFFFD, 'b'}},
         {"no room for U+FFFD", {'a', surrogate, 'b'}, 1, inLenientMode, 2, 1, {'a'}}});
  }
}

TEST(ConvertFromUTF32, CombinesNoPairOfSurrogates) {
  expectRows<uint32_t, uint8_t>(
      {{"a pair", {0xD83D, 0xDE00}, ample, inLenientMode, 0, 2, {0xEF, 0xBF, 0xBD, 0xEF, 0xBF, 0xBD}}});
  expectRows<uint32_t, uint16_t>({{"a pair", {0xD83D, 0xDE00}, ample, inLenientMode, 0, 2, {0xFFFD, 0xFFFD}}});
}

TEST(ConvertUTF32toUTF16, StopsOnAValueAboveTheLargestInStrictMode) {
  for (const uint32_t value : {0x110000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    expectRows<uint32_t, uint16_t>({{"alone", {value}, ample, inStrictMode, 3, 0, {}},
                                    {"between letters", {'a', value, 'b'}, ample, inStrictMode, 3, 1, {'a'}},
                                    {"without room", {value}, 0, inStrictMode, 3, 0, {}}});
  }
}

TEST(ConvertUTF32toUTF16, ReplacesAValueAboveTheLargestInLenientMode) {
  for (const uint32_t value : {0x110000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    expectRows<uint32_t, uint16_t>(
        {{"between letters", {'a', value, 'b'}, ample, inLenientMode, 0, 3, {'a', 0xFFFD, 'b'}},
         {"without room", {value}, 0, inLenientMode, 2, 0, {}}});
  }
}

TEST(ConvertUTF32toUTF8, GoesOnBehindAValueAboveTheLargestAndGivesThreeAtTheEnd) {
  for (const uint32_t value : {0x110000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    expectRows<uint32_t, uint8_t>(To8_t{
        {"alone", {value}, ample, inBothModes, 3, 1, {0xEF, 0xBF, 0xBD}},
        {"between letters", {'a', value, 'b'}, ample, inBothModes, 3, 3, {'a', 0xEF, 0xBF, 0xBD, 'b'}},
        {"twice", {value, value}, ample, inBothModes, 3, 2, {0xEF, 0xBF, 0xBD, 0xEF, 0xBF, 0xBD}},
    });
  }
}

TEST(ConvertUTF32toUTF8, LetsALaterCharacterOverwriteTheThree) {
  expectRows<uint32_t, uint8_t>(To8_t{
      {"no room for the next", {0x110000, 'b'}, 3, inBothModes, 2, 1, {0xEF, 0xBF, 0xBD}},
      {"no room for the next of four", {0x110000, 0x10000}, 6, inBothModes, 2, 1, {0xEF, 0xBF, 0xBD}},
      {"a surrogate is a three of its own", {0x110000, 0xD800, 'b'}, ample, inStrictMode, 3, 1, {0xEF, 0xBF, 0xBD}},
      {"a surrogate replaced", {0x110000, 0xD800}, ample, inLenientMode, 3, 2, {0xEF, 0xBF, 0xBD, 0xEF, 0xBF, 0xBD}},
  });
}

TEST(ConvertUTF32toUTF8, HasNoRoomForAReplacementThatDoesNotFit) {
  expectRows<uint32_t, uint8_t>(To8_t{
      {"no byte", {0x110000}, 0, inBothModes, 2, 0, {}},
      {"two of three bytes", {0x110000}, 2, inBothModes, 2, 0, {}},
      {"the second one", {0x110000, 0x110000}, 5, inBothModes, 2, 1, {0xEF, 0xBF, 0xBD}},
      {"exactly", {0x110000}, 3, inBothModes, 3, 1, {0xEF, 0xBF, 0xBD}},
  });
}

TEST(ConvertUTF32toUTF8, StopsInFrontOfACharacterThatDoesNotFit) {
  expectRows<uint32_t, uint8_t>(To8_t{
      {"no room for one byte", {'a'}, 0, inBothModes, 2, 0, {}},
      {"one of two bytes", {0x00E9}, 1, inBothModes, 2, 0, {}},
      {"two of three bytes", {0x20AC}, 2, inBothModes, 2, 0, {}},
      {"three of four bytes", {0x1F600}, 3, inBothModes, 2, 0, {}},
      {"three of four bytes behind a letter", {'a', 0x1F600}, 4, inBothModes, 2, 1, {'a'}},
      {"exactly the room", {0x00E9, 0x1F600}, 6, inBothModes, 0, 2, {0xC3, 0xA9, 0xF0, 0x9F, 0x98, 0x80}},
  });
}

TEST(ConvertUTF32toUTF16, StopsInFrontOfACharacterThatDoesNotFit) {
  expectRows<uint32_t, uint16_t>(To16_t{
      {"no room", {'a'}, 0, inBothModes, 2, 0, {}},
      {"half a pair", {0x1F600}, 1, inBothModes, 2, 0, {}},
      {"half a pair behind a letter", {'a', 0x1F600}, 2, inBothModes, 2, 1, {'a'}},
      {"exactly the room", {'a', 0x1F600}, 3, inBothModes, 0, 2, {'a', 0xD83D, 0xDE00}},
  });
}
