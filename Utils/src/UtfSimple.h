// The conversions of Unicode text, one character at a time and in so many words. They are the whole truth: what the
// fast ways do not take, errors and last characters among it, is left to them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Utf {

enum Result_e { ok = 0, sourceExhausted = 1, targetExhausted = 2, sourceIllegal = 3 };

constexpr int strict = 0;

// How many units lie between two places, the whole address space if need be; none where the end is not behind.
template <class Unit_t>
std::size_t unitsBetween(const Unit_t* begin, const Unit_t* end) {
  const auto first = reinterpret_cast<std::uintptr_t>(begin);
  const auto last = reinterpret_cast<std::uintptr_t>(end);
  return last > first ? (last - first) / sizeof(Unit_t) : 0;
}

// How many bytes follow a lead byte.
constexpr std::size_t trailingBytes(uint8_t lead) {
  constexpr uint8_t firstLeads[] = {0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};
  std::size_t trailing = 5;
  while (lead < firstLeads[trailing]) {
    --trailing;
  }
  return trailing;
}

inline bool isHighSurrogate(uint32_t value) {
  return value >= 0xD800 && value <= 0xDBFF;
}

inline bool isLowSurrogate(uint32_t value) {
  return value >= 0xDC00 && value <= 0xDFFF;
}

inline bool isSurrogate(uint32_t value) {
  return value >= 0xD800 && value <= 0xDFFF;
}

// What stands at a place, which may be any address.
template <class Word_t>
Word_t loadWord(const void* place) {
  Word_t word;
  std::memcpy(&word, place, sizeof word);
  return word;
}

inline bool isContinuation(uint8_t byte) {
  return byte >= 0x80 && byte <= 0xBF;
}

// What may follow a lead byte: no character in more bytes than it needs, no surrogate, none above U+10FFFF.
// There is no lower bound after 0xED and 0xF4: bytes below 0x80 pass there. On purpose.
inline bool isSecondByte(uint8_t lead, uint8_t byte) {
  if (byte > 0xBF) {
    return false;
  }
  switch (lead) {
  case 0xE0:
    return byte >= 0xA0;
  case 0xED:
    return byte <= 0x9F;
  case 0xF0:
    return byte >= 0x90;
  case 0xF4:
    return byte <= 0x8F;
  default:
    return byte >= 0x80;
  }
}

// Whether bytes are one well-formed character of a length; other lengths than 1 to 4 are not. That many bytes are
// readable, or as many as there are up to a zero: a byte that is wrong is the last one read.
__attribute__((noinline)) inline bool isWellFormed(const uint8_t* bytes, std::size_t length) {
  if (length < 1 || length > 4) {
    return false;
  }
  if ((bytes[0] >= 0x80 && bytes[0] <= 0xC1) || bytes[0] > 0xF4) {
    return false;
  }
  if (length >= 2 && !isSecondByte(bytes[0], bytes[1])) {
    return false;
  }
  if (length >= 3 && !isContinuation(bytes[2])) {
    return false;
  }
  return length < 4 || isContinuation(bytes[3]);
}

// Converts between units of one, two and four bytes; UtfConversion.h tells what it gives.
//
//   Takes    source, target: the cursors, pointers of whatever kind
//            sourceUnit, targetUnit: the sizes of the units
int convertUnits(void* source, const void* sourceEnd, std::size_t sourceUnit, void* target, const void* targetEnd,
                 std::size_t targetUnit, int flags);

template <class Source_t, class Target_t>
int convert(const Source_t** source, const Source_t* sourceEnd, Target_t** target, Target_t* targetEnd, int flags) {
  return convertUnits(source, sourceEnd, sizeof(Source_t), target, targetEnd, sizeof(Target_t), flags);
}

} // namespace Utf
