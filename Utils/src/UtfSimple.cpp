#include "UtfSimple.h"

namespace {

using namespace Utf;

constexpr uint32_t replacementCharacter = 0xFFFD;
constexpr uint32_t largestBmp = 0xFFFF;
constexpr uint32_t largestLegal = 0x10FFFF;

// What the marks of the bytes add up to, by the number of trailing bytes.
constexpr uint32_t offsets[] = {0x00000000, 0x00003080, 0x000E2080, 0x03C82080, 0xFA082080, 0x82082080};

// The mark of the first byte, by the number of bytes written.
constexpr uint8_t firstByteMarks[] = {0x00, 0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};

// One character that has been read: its value and how many bytes of the source it takes, or why it cannot be had.
struct Character_s {
  int result;
  uint32_t value;
  std::size_t size;
};

constexpr Character_s cutOff = {sourceExhausted, 0, 0};
constexpr Character_s illegal = {sourceIllegal, 0, 0};

Character_s withoutSurrogate(uint32_t value, std::size_t size, int flags) {
  if (!isSurrogate(value)) {
    return {ok, value, size};
  }
  return flags == strict ? illegal : Character_s{ok, replacementCharacter, size};
}

Character_s readUtf8(const uint8_t* source, std::size_t left, int flags) {
  const std::size_t trailing = trailingBytes(*source);
  if (trailing >= left) {
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

Character_s readUtf16(const uint8_t* source, std::size_t left, int flags) {
  const uint32_t unit = loadWord<uint16_t>(source);
  if (isHighSurrogate(unit)) {
    if (left < 2 * sizeof(uint16_t)) {
      return cutOff;
    }
    const uint32_t next = loadWord<uint16_t>(source + sizeof(uint16_t));
    if (isLowSurrogate(next)) {
      return {ok, ((unit - 0xD800) << 10) + (next - 0xDC00) + 0x10000, 2 * sizeof(uint16_t)};
    }
  }
  // Lenient: a surrogate alone goes on as a code point. On purpose.
  return isSurrogate(unit) && flags == strict ? illegal : Character_s{ok, unit, sizeof(uint16_t)};
}

Character_s readCharacter(const uint8_t* source, std::size_t left, std::size_t unit, int flags) {
  switch (unit) {
  case sizeof(uint8_t):
    return readUtf8(source, left, flags);
  case sizeof(uint16_t):
    return readUtf16(source, left, flags);
  default:
    return withoutSurrogate(loadWord<uint32_t>(source), sizeof(uint32_t), flags);
  }
}

std::size_t sizeInUtf8(uint32_t value) {
  if (value < 0x80) {
    return 1;
  }
  if (value < 0x800) {
    return 2;
  }
  return value <= largestBmp ? 3 : 4;
}

std::size_t sizeIn(std::size_t unit, uint32_t value) {
  switch (unit) {
  case sizeof(uint8_t):
    return sizeInUtf8(value);
  case sizeof(uint16_t):
    return value <= largestBmp ? sizeof(uint16_t) : 2 * sizeof(uint16_t);
  default:
    return sizeof(uint32_t);
  }
}

void writeUtf8(uint8_t* target, uint32_t value, std::size_t size) {
  for (std::size_t index = size - 1; index > 0; --index) {
    target[index] = static_cast<uint8_t>(0x80 | (value & 0x3F));
    value >>= 6;
  }
  target[0] = static_cast<uint8_t>(value | firstByteMarks[size]);
}

void writeCharacter(uint8_t* target, std::size_t unit, uint32_t value, std::size_t size) {
  if (unit == sizeof(uint8_t)) {
    writeUtf8(target, value, size);
    return;
  }
  if (unit == sizeof(uint16_t) && size > unit) {
    value = (0xD7C0 + (value >> 10)) | (0xDC00 + (value & 0x3FF)) << 16;
  }
  std::memcpy(target, &value, size);
}

// Where a conversion stands, in bytes.
struct Place_s {
  const uint8_t* source;
  const uint8_t* sourceEnd;
  uint8_t* target;
  const uint8_t* targetEnd;
};

int convertFrom(Place_s& place, std::size_t sourceUnit, std::size_t targetUnit, int flags) {
  const bool isToUtf16 = targetUnit == sizeof(uint16_t);
  int result = ok;
  while (place.source < place.sourceEnd) {
    const std::size_t left = unitsBetween(place.source, place.sourceEnd);
    Character_s character = readCharacter(place.source, left, sourceUnit, flags);
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
    const std::size_t size = sizeIn(targetUnit, character.value);
    if (unitsBetween<uint8_t>(place.target, place.targetEnd) < size) {
      return targetExhausted;
    }
    writeCharacter(place.target, targetUnit, character.value, size);
    place.source += character.size;
    place.target += size;
  }
  return result;
}

} // namespace

int Utf::convertUnits(void* source, const void* sourceEnd, std::size_t sourceUnit, void* target, const void* targetEnd,
                      std::size_t targetUnit, int flags) {
  Place_s place = {loadWord<const uint8_t*>(source), static_cast<const uint8_t*>(sourceEnd), loadWord<uint8_t*>(target),
                   static_cast<const uint8_t*>(targetEnd)};
  const int result = convertFrom(place, sourceUnit, targetUnit, flags);
  std::memcpy(source, &place.source, sizeof place.source);
  std::memcpy(target, &place.target, sizeof place.target);
  return result;
}
