#include "UtfOracle.h"

namespace TestSupport {

namespace {

struct Range_s {
  unsigned int from;
  unsigned int to;

  bool has(unsigned int byte) const { return byte >= from && byte <= to; }
};

// The bytes of a character, one range each.
struct Row_s {
  std::size_t length;
  Range_s bytes[4];
};

constexpr Range_s tail = {0x80, 0xBF};
constexpr Range_s none = {1, 0};

constexpr Row_s standardRows[] = {
    {1, {{0x00, 0x7F}, none, none, none}},         //
    {2, {{0xC2, 0xDF}, tail, none, none}},         //
    {3, {{0xE0, 0xE0}, {0xA0, 0xBF}, tail, none}}, //
    {3, {{0xE1, 0xEC}, tail, tail, none}},         //
    {3, {{0xED, 0xED}, {0x80, 0x9F}, tail, none}}, //
    {3, {{0xEE, 0xEF}, tail, tail, none}},         //
    {4, {{0xF0, 0xF0}, {0x90, 0xBF}, tail, tail}}, //
    {4, {{0xF1, 0xF3}, tail, tail, tail}},         //
    {4, {{0xF4, 0xF4}, {0x80, 0x8F}, tail, tail}},
};

constexpr Row_s rowsBesides[] = {
    {3, {{0xED, 0xED}, {0x00, 0x7F}, tail, none}},
    {4, {{0xF4, 0xF4}, {0x00, 0x7F}, tail, tail}},
};

bool isInRow(const Row_s& row, const uint8_t* bytes, std::size_t length) {
  if (length != row.length) {
    return false;
  }
  for (std::size_t index = 0; index < length; ++index) {
    if (!row.bytes[index].has(bytes[index])) {
      return false;
    }
  }
  return true;
}

template <std::size_t Count>
bool isInRows(const Row_s (&rows)[Count], const uint8_t* bytes, std::size_t length) {
  for (const Row_s& row : rows) {
    if (isInRow(row, bytes, length)) {
      return true;
    }
  }
  return false;
}

// Each byte counts by how far it is above the first of its kind; one that passes besides counts below nothing.
uint32_t valueOf(const uint8_t* bytes, std::size_t length) {
  constexpr int firstLeads[] = {0x00, 0xC0, 0xE0, 0xF0};
  int value = bytes[0] - firstLeads[length - 1];
  for (std::size_t index = 1; index < length; ++index) {
    value = value * 64 + bytes[index] - 0x80;
  }
  return static_cast<uint32_t>(value);
}

bool isLoneSurrogate(uint32_t value) {
  return value / 0x800 == 0xD800 / 0x800;
}

} // namespace

bool isInTheStandard(const uint8_t* bytes, std::size_t length) {
  return isInRows(standardRows, bytes, length);
}

bool isWellFormedSequence(const uint8_t* bytes, std::size_t length) {
  return isInTheStandard(bytes, length) || isInRows(rowsBesides, bytes, length);
}

std::size_t sequenceLength(uint8_t lead) {
  constexpr unsigned int leadsFrom[] = {0xC0, 0xE0, 0xF0, 0xF8, 0xFC};
  std::size_t length = 1;
  for (const unsigned int from : leadsFrom) {
    length += lead >= from ? 1 : 0;
  }
  return length;
}

Judgement_s judge(const uint8_t* text, std::size_t size, bool /*isStrict*/) {
  const std::size_t length = sequenceLength(*text);
  if (length > size) {
    return {1, 0, 0};
  }
  if (!isWellFormedSequence(text, length)) {
    return {3, 0, 0};
  }
  return {0, valueOf(text, length), length};
}

Judgement_s judge(const uint16_t* text, std::size_t size, bool isStrict) {
  const bool isHigh = *text / 0x400 == 0xD800 / 0x400;
  if (isHigh && size == 1) {
    return {1, 0, 0};
  }
  if (isHigh && text[1] / 0x400 == 0xDC00 / 0x400) {
    return {0, 0x10000 + (*text % 0x400U) * 0x400 + text[1] % 0x400U, 2};
  }
  return {isStrict && isLoneSurrogate(*text) ? 3 : 0, *text, 1};
}

Judgement_s judge(const uint32_t* text, std::size_t /*size*/, bool isStrict) {
  if (!isLoneSurrogate(*text)) {
    return {0, *text, 1};
  }
  return {isStrict ? 3 : 0, 0xFFFD, 1};
}

std::size_t encode(uint32_t value, uint8_t* target) {
  if (value < 0x80) {
    target[0] = static_cast<uint8_t>(value);
    return 1;
  }
  if (value < 0x800) {
    target[0] = static_cast<uint8_t>(0xC0 + value / 64);
    target[1] = static_cast<uint8_t>(0x80 + value % 64);
    return 2;
  }
  if (value < 0x10000) {
    target[0] = static_cast<uint8_t>(0xE0 + value / 4096);
    target[1] = static_cast<uint8_t>(0x80 + value / 64 % 64);
    target[2] = static_cast<uint8_t>(0x80 + value % 64);
    return 3;
  }
  target[0] = static_cast<uint8_t>(0xF0 + value / 262144);
  target[1] = static_cast<uint8_t>(0x80 + value / 4096 % 64);
  target[2] = static_cast<uint8_t>(0x80 + value / 64 % 64);
  target[3] = static_cast<uint8_t>(0x80 + value % 64);
  return 4;
}

std::size_t encode(uint32_t value, uint16_t* target) {
  if (value < 0x10000) {
    target[0] = static_cast<uint16_t>(value);
    return 1;
  }
  target[0] = static_cast<uint16_t>(0xD7C0 + value / 0x400);
  target[1] = static_cast<uint16_t>(0xDC00 + value % 0x400);
  return 2;
}

std::size_t encode(uint32_t value, uint32_t* target) {
  target[0] = value;
  return 1;
}

} // namespace TestSupport
