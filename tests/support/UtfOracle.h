// What the conversions of Unicode text have to give, told a second time and in another way than the library does it: by
// the rows of well-formed byte sequences in the Unicode Standard (chapter 3.9, table 3-7), and two rows of what passes
// besides.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace TestSupport {

// Judgement_s: one character at the start of a text.
//
//   result   0: there is one; 1: the text ends within it; 3: it is illegal
//   length   in units, of a character that there is
struct Judgement_s {
  int result;
  uint32_t value;
  std::size_t length;
};

// judge: what stands at the start of a text of at least one unit. Values above U+10FFFF are given as they are.
Judgement_s judge(const uint8_t* text, std::size_t size, bool isStrict);
Judgement_s judge(const uint16_t* text, std::size_t size, bool isStrict);
Judgement_s judge(const uint32_t* text, std::size_t size, bool isStrict);

// isWellFormedSequence: the sequence test of bytes that are one character of a length.
bool isWellFormedSequence(const uint8_t* bytes, std::size_t length);

// isInTheStandard: the same by the standard alone, without what passes besides.
bool isInTheStandard(const uint8_t* bytes, std::size_t length);

// sequenceLength: 1 to 6, by a lead byte alone.
std::size_t sequenceLength(uint8_t lead);

// encode: writes a value up to U+10FFFF, surrogates among them; gives how many units.
std::size_t encode(uint32_t value, uint8_t* target);
std::size_t encode(uint32_t value, uint16_t* target);
std::size_t encode(uint32_t value, uint32_t* target);

// Expected_s: what a conversion has to give: its result, and how many units are taken and written.
struct Expected_s {
  int result;
  std::size_t taken;
  std::size_t written;
};

// expectedConversion: converts a text into a room of units, as the library has to.
template <class Source_t, class Target_t>
Expected_s expectedConversion(const Source_t* source, std::size_t size, Target_t* target, std::size_t room, int flags) {
  constexpr bool isToUtf16 = sizeof(Target_t) == sizeof(uint16_t);
  Expected_s expected = {0, 0, 0};
  while (expected.taken < size) {
    Judgement_s next = judge(source + expected.taken, size - expected.taken, flags == 0);
    const bool isTooLarge = next.result == 0 && next.value > 0x10FFFF;
    if (next.result != 0 || (isTooLarge && isToUtf16 && flags == 0)) {
      return {isTooLarge ? 3 : next.result, expected.taken, expected.written};
    }
    if (isTooLarge) {
      next.value = 0xFFFD;
      expected.result = isToUtf16 ? expected.result : 3;
    }
    Target_t units[4];
    const std::size_t length = encode(next.value, units);
    if (room - expected.written < length) {
      return {2, expected.taken, expected.written};
    }
    for (std::size_t index = 0; index < length; ++index) {
      target[expected.written++] = units[index];
    }
    expected.taken += next.length;
  }
  return expected;
}

} // namespace TestSupport
