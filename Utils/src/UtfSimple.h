// The conversions of Unicode text, one character at a time and in so many words. They are the whole truth: what the
// fast ways of UtfConversion.cpp do not take, errors and last characters among it, is left to them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Utf {

enum Result_e { ok = 0, sourceExhausted = 1, targetExhausted = 2, sourceIllegal = 3 };

constexpr uint32_t replacementCharacter = 0xFFFD;
constexpr uint32_t largestBmp = 0xFFFF;
constexpr uint32_t largestLegal = 0x10FFFF;
constexpr int strict = 0;

// How many units lie between two places, the whole address space if need be; none where the end is not behind.
template <class Unit_t>
std::size_t unitsBetween(const Unit_t* begin, const Unit_t* end) {
  const auto first = reinterpret_cast<std::uintptr_t>(begin);
  const auto last = reinterpret_cast<std::uintptr_t>(end);
  return last > first ? (last - first) / sizeof(Unit_t) : 0;
}

// How many bytes follow a lead byte.
extern const uint8_t trailingBytes[256];

// What the marks of the bytes add up to, by the number of trailing bytes.
constexpr uint32_t offsets[] = {0x00000000, 0x00003080, 0x000E2080, 0x03C82080, 0xFA082080, 0x82082080};

// The mark of the first byte, by the number of bytes written.
constexpr uint8_t firstByteMarks[] = {0x00, 0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};

inline bool isHighSurrogate(uint32_t value) {
  return value >= 0xD800 && value <= 0xDBFF;
}

inline bool isLowSurrogate(uint32_t value) {
  return value >= 0xDC00 && value <= 0xDFFF;
}

inline bool isSurrogate(uint32_t value) {
  return value >= 0xD800 && value <= 0xDFFF;
}

// Units are moved byte by byte as the compiler sees it: a buffer may stand at any address.
template <class Unit_t>
Unit_t load(const Unit_t* place) {
  Unit_t unit;
  std::memcpy(&unit, place, sizeof unit);
  return unit;
}

template <class Unit_t>
void store(Unit_t* place, uint32_t value) {
  const auto unit = static_cast<Unit_t>(value);
  std::memcpy(place, &unit, sizeof unit);
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
inline bool isWellFormed(const uint8_t* bytes, std::size_t length) {
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

// One character that has been read: its value and how many units of the source it takes, or why it cannot be had.
struct Character_s {
  int result;
  uint32_t value;
  std::size_t length;
};

constexpr Character_s cutOff = {sourceExhausted, 0, 0};
constexpr Character_s illegal = {sourceIllegal, 0, 0};

inline Character_s withoutSurrogate(uint32_t value, std::size_t length, int flags) {
  if (!isSurrogate(value)) {
    return {ok, value, length};
  }
  return flags == strict ? illegal : Character_s{ok, replacementCharacter, length};
}

inline Character_s readCharacter(const uint8_t* source, const uint8_t* end, int flags) {
  const std::size_t trailing = trailingBytes[*source];
  if (trailing >= unitsBetween(source, end)) {
    return cutOff;
  }
  if (!isWellFormed(source, trailing + 1)) {
    return illegal;
  }
  uint32_t value = 0;
  for (std::size_t index = 0; index <= trailing; ++index) {
    value = (value << 6) + source[index];
  }
  return withoutSurrogate(value - offsets[trailing], trailing + 1, flags);
}

inline Character_s readCharacter(const uint16_t* source, const uint16_t* end, int flags) {
  const uint32_t unit = load(source);
  if (isHighSurrogate(unit)) {
    if (unitsBetween(source, end) < 2) {
      return cutOff;
    }
    const uint32_t next = load(source + 1);
    if (isLowSurrogate(next)) {
      return {ok, ((unit - 0xD800) << 10) + (next - 0xDC00) + 0x10000, 2};
    }
  }
  // Lenient: a surrogate alone goes on as a code point. On purpose.
  return isSurrogate(unit) && flags == strict ? illegal : Character_s{ok, unit, 1};
}

inline Character_s readCharacter(const uint32_t* source, const uint32_t* /*end*/, int flags) {
  return withoutSurrogate(load(source), 1, flags);
}

inline std::size_t lengthIn(const uint8_t* /*target*/, uint32_t value) {
  if (value < 0x80) {
    return 1;
  }
  if (value < 0x800) {
    return 2;
  }
  return value <= largestBmp ? 3 : 4;
}

inline std::size_t lengthIn(const uint16_t* /*target*/, uint32_t value) {
  return value <= largestBmp ? 1 : 2;
}

inline std::size_t lengthIn(const uint32_t* /*target*/, uint32_t /*value*/) {
  return 1;
}

inline void writeCharacter(uint8_t* target, uint32_t value, std::size_t length) {
  for (std::size_t index = length - 1; index > 0; --index) {
    target[index] = static_cast<uint8_t>(0x80 | (value & 0x3F));
    value >>= 6;
  }
  target[0] = static_cast<uint8_t>(value | firstByteMarks[length]);
}

inline void writeCharacter(uint16_t* target, uint32_t value, std::size_t length) {
  if (length == 1) {
    store(target, value);
    return;
  }
  store(target, 0xD800 + ((value - 0x10000) >> 10));
  store(target + 1, 0xDC00 + ((value - 0x10000) & 0x3FF));
}

inline void writeCharacter(uint32_t* target, uint32_t value, std::size_t /*length*/) {
  store(target, value);
}

// Converts from cursor to cursor; UtfConversion.h tells what it gives.
template <class Source_t, class Target_t>
int convert(const Source_t** sourceCursor, const Source_t* sourceEnd, Target_t** targetCursor, Target_t* targetEnd,
            int flags) {
  constexpr bool isToUtf16 = sizeof(Target_t) == sizeof(uint16_t);
  int result = ok;
  while (*sourceCursor < sourceEnd) {
    Character_s character = readCharacter(*sourceCursor, sourceEnd, flags);
    if (character.result != ok) {
      return character.result;
    }
    if (character.value > largestLegal) {
      if (isToUtf16 && flags == strict) {
        return sourceIllegal;
      }
      // To UTF-8 and UTF-32 it is told at the end only, and the conversion goes on. On purpose.
      result = isToUtf16 ? result : sourceIllegal;
      character.value = replacementCharacter;
    }
    const std::size_t length = lengthIn(*targetCursor, character.value);
    if (unitsBetween<Target_t>(*targetCursor, targetEnd) < length) {
      return targetExhausted;
    }
    writeCharacter(*targetCursor, character.value, length);
    *sourceCursor += character.length;
    *targetCursor += length;
  }
  return result;
}

} // namespace Utf
