#include "UtfCase.h"

using namespace TestSupport;

namespace {

using To8_t = std::vector<UtfRow_s<uint16_t, uint8_t>>;
using To32_t = std::vector<UtfRow_s<uint16_t, uint32_t>>;

constexpr std::size_t ample = 64;

} // namespace

TEST(ConvertUTF16toUTF8, WritesOneToFourBytesByTheValue) {
  expectRows<uint16_t, uint8_t>(To8_t{
      {"U+0000", {0x0000}, ample, inBothModes, 0, 1, {0x00}},
      {"U+007F", {0x007F}, ample, inBothModes, 0, 1, {0x7F}},
      {"U+0080", {0x0080}, ample, inBothModes, 0, 1, {0xC2, 0x80}},
      {"U+07FF", {0x07FF}, ample, inBothModes, 0, 1, {0xDF, 0xBF}},
      {"U+0800", {0x0800}, ample, inBothModes, 0, 1, {0xE0, 0xA0, 0x80}},
      {"U+D7FF", {0xD7FF}, ample, inBothModes, 0, 1, {0xED, 0x9F, 0xBF}},
      {"U+E000", {0xE000}, ample, inBothModes, 0, 1, {0xEE, 0x80, 0x80}},
      {"U+FFFF", {0xFFFF}, ample, inBothModes, 0, 1, {0xEF, 0xBF, 0xBF}},
      {"U+10000", {0xD800, 0xDC00}, ample, inBothModes, 0, 2, {0xF0, 0x90, 0x80, 0x80}},
      {"U+1F600", {0xD83D, 0xDE00}, ample, inBothModes, 0, 2, {0xF0, 0x9F, 0x98, 0x80}},
      {"U+10FFFF", {0xDBFF, 0xDFFF}, ample, inBothModes, 0, 2, {0xF4, 0x8F, 0xBF, 0xBF}},
  });
}

TEST(ConvertUTF16toUTF32, CombinesPairs) {
  expectRows<uint16_t, uint32_t>(To32_t{
      {"U+0000", {0x0000}, ample, inBothModes, 0, 1, {0x0000}},
      {"U+D7FF", {0xD7FF}, ample, inBothModes, 0, 1, {0xD7FF}},
      {"U+E000", {0xE000}, ample, inBothModes, 0, 1, {0xE000}},
      {"U+FFFF", {0xFFFF}, ample, inBothModes, 0, 1, {0xFFFF}},
      {"U+10000", {0xD800, 0xDC00}, ample, inBothModes, 0, 2, {0x10000}},
      {"U+103FF", {0xD800, 0xDFFF}, ample, inBothModes, 0, 2, {0x103FF}},
      {"U+10FC00", {0xDBFF, 0xDC00}, ample, inBothModes, 0, 2, {0x10FC00}},
      {"U+10FFFF", {0xDBFF, 0xDFFF}, ample, inBothModes, 0, 2, {0x10FFFF}},
      {"between letters", {'a', 0xD83D, 0xDE00, 'b'}, ample, inBothModes, 0, 4, {'a', 0x1F600, 'b'}},
  });
}

TEST(ConvertFromUTF16, LeavesBothCursorsOfAnEmptySource) {
  expectRows<uint16_t, uint8_t>({{"room", {}, ample, inBothModes, 0, 0, {}}, {"none", {}, 0, inBothModes, 0, 0, {}}});
  expectRows<uint16_t, uint32_t>({{"room", {}, ample, inBothModes, 0, 0, {}}, {"none", {}, 0, inBothModes, 0, 0, {}}});
}

TEST(ConvertFromUTF16, IsExhaustedByAHighSurrogateAtTheEnd) {
  expectRows<uint16_t, uint8_t>(To8_t{
      {"the first one", {0xD800}, ample, inBothModes, 1, 0, {}},
      {"the last one", {0xDBFF}, ample, inBothModes, 1, 0, {}},
      {"behind a letter", {'a', 0xD83D}, ample, inBothModes, 1, 1, {'a'}},
      {"behind a pair", {0xD83D, 0xDE00, 0xD83D}, ample, inBothModes, 1, 2, {0xF0, 0x9F, 0x98, 0x80}},
      {"without room", {0xD83D}, 0, inBothModes, 1, 0, {}},
  });
  expectRows<uint16_t, uint32_t>(To32_t{
      {"the first one", {0xD800}, ample, inBothModes, 1, 0, {}},
      {"the last one", {0xDBFF}, ample, inBothModes, 1, 0, {}},
      {"behind a letter", {'a', 0xD83D}, ample, inBothModes, 1, 1, {'a'}},
      {"without room", {0xD83D}, 0, inBothModes, 1, 0, {}},
  });
}

TEST(ConvertFromUTF16, StopsOnALoneSurrogateInStrictMode) {
  expectRows<uint16_t, uint8_t>(To8_t{
      {"high, then a letter", {0xD800, 'a'}, ample, inStrictMode, 3, 0, {}},
      {"high, then the last before the surrogates", {0xD800, 0xD7FF}, ample, inStrictMode, 3, 0, {}},
      {"high, then a high one", {0xDBFF, 0xDBFF, 0xDC00}, ample, inStrictMode, 3, 0, {}},
      {"high, then the first behind the surrogates", {0xDBFF, 0xE000}, ample, inStrictMode, 3, 0, {}},
      {"low", {0xDC00}, ample, inStrictMode, 3, 0, {}},
      {"the last low one", {0xDFFF, 'a'}, ample, inStrictMode, 3, 0, {}},
      {"low behind a pair", {0xD83D, 0xDE00, 0xDE00}, ample, inStrictMode, 3, 2, {0xF0, 0x9F, 0x98, 0x80}},
      {"low, then high", {'a', 0xDE00, 0xD83D}, ample, inStrictMode, 3, 1, {'a'}},
      {"low without room", {0xDC00}, 0, inStrictMode, 3, 0, {}},
      {"high without room", {0xD800, 'a'}, 0, inStrictMode, 3, 0, {}},
  });
  expectRows<uint16_t, uint32_t>(To32_t{
      {"high, then a letter", {0xD800, 'a'}, ample, inStrictMode, 3, 0, {}},
      {"high, then a high one", {'b', 0xDBFF, 0xDBFF, 0xDC00}, ample, inStrictMode, 3, 1, {'b'}},
      {"high, then the first behind the surrogates", {0xDBFF, 0xE000}, ample, inStrictMode, 3, 0, {}},
      {"low", {0xDC00}, ample, inStrictMode, 3, 0, {}},
      {"the last low one", {'b', 0xDFFF, 'a'}, ample, inStrictMode, 3, 1, {'b'}},
      {"low without room", {0xDC00}, 0, inStrictMode, 3, 0, {}},
  });
}

TEST(ConvertFromUTF16, PassesALoneSurrogateOnInLenientMode) {
  expectRows<uint16_t, uint8_t>(To8_t{
      {"high, then a letter", {0xD800, 'a'}, ample, inLenientMode, 0, 2, {0xED, 0xA0, 0x80, 'a'}},
      {"high, then a pair",
       {0xDBFF, 0xD83D, 0xDE00},
       ample,
       inLenientMode,
       0,
       3,
       {0xED, 0xAF, 0xBF, 0xF0, 0x9F, 0x98, 0x80}},
      {"low", {0xDC00}, ample, inLenientMode, 0, 1, {0xED, 0xB0, 0x80}},
      {"low, then low", {0xDFFF, 0xDFFF}, ample, inLenientMode, 0, 2, {0xED, 0xBF, 0xBF, 0xED, 0xBF, 0xBF}},
      {"low, then high at the end", {0xDFFF, 0xD800}, ample, inLenientMode, 1, 1, {0xED, 0xBF, 0xBF}},
  });
  expectRows<uint16_t, uint32_t>(To32_t{
      {"high, then a letter", {0xD800, 'a'}, ample, inLenientMode, 0, 2, {0xD800, 'a'}},
      {"high, then a pair", {0xDBFF, 0xD83D, 0xDE00}, ample, inLenientMode, 0, 3, {0xDBFF, 0x1F600}},
      {"low", {0xDC00}, ample, inLenientMode, 0, 1, {0xDC00}},
      {"low, then high at the end", {0xDFFF, 0xD800}, ample, inLenientMode, 1, 1, {0xDFFF}},
  });
}

TEST(ConvertUTF16toUTF8, StopsInFrontOfACharacterThatDoesNotFit) {
  expectRows<uint16_t, uint8_t>(To8_t{
      {"no room for one byte", {'a'}, 0, inBothModes, 2, 0, {}},
      {"one of two bytes", {0x00E9}, 1, inBothModes, 2, 0, {}},
      {"two of three bytes", {0x20AC}, 2, inBothModes, 2, 0, {}},
      {"three of four bytes", {0xD83D, 0xDE00}, 3, inBothModes, 2, 0, {}},
      {"one of four bytes", {0xD83D, 0xDE00}, 1, inBothModes, 2, 0, {}},
      {"three of four bytes behind a letter", {'a', 0xD83D, 0xDE00}, 4, inBothModes, 2, 1, {'a'}},
      {"two of three bytes for a lone surrogate", {0xDC00}, 2, inLenientMode, 2, 0, {}},
      {"two of three bytes for a lone high surrogate", {0xD800, 'a'}, 2, inLenientMode, 2, 0, {}},
      {"exactly the room", {0x00E9, 0x20AC}, 5, inBothModes, 0, 2, {0xC3, 0xA9, 0xE2, 0x82, 0xAC}},
  });
}

TEST(ConvertUTF16toUTF32, StopsInFrontOfACharacterThatDoesNotFit) {
  expectRows<uint16_t, uint32_t>(To32_t{
      {"no room", {'a'}, 0, inBothModes, 2, 0, {}},
      {"no room for a pair", {0xD83D, 0xDE00}, 0, inBothModes, 2, 0, {}},
      {"room for one of two", {'a', 0xD83D, 0xDE00}, 1, inBothModes, 2, 1, {'a'}},
      {"exactly the room", {'a', 0xD83D, 0xDE00}, 2, inBothModes, 0, 3, {'a', 0x1F600}},
  });
}
