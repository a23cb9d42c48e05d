#include "CodePage.h"
#include "IsoAgLib/vtobjects.h"

#include <algorithm>
#include <cstddef>

using namespace IsoBusHost;

namespace {

constexpr char replacement = '?';

char characterFor(uint32_t code, const CodePage::Upper_t* upper) {
  const std::optional<uint8_t> byte = CodePage::byteOf(code, upper);
  return byte ? static_cast<char>(*byte) : replacement;
}

// Character_s: a character and the bytes it takes. Length 0: the first byte belongs to no character.
struct Character_s {
  uint32_t code;
  std::size_t length;
};

bool isBetween(uint8_t byte, uint8_t first, uint8_t last) {
  return byte >= first && byte <= last;
}

// The lengths and the bounds of the second byte are those of the Unicode Standard's table of well-formed UTF-8.
std::size_t lengthByLead(uint8_t lead) {
  if (lead < 0x80) {
    return 1;
  }
  if (isBetween(lead, 0xC2, 0xDF)) {
    return 2;
  }
  if (isBetween(lead, 0xE0, 0xEF)) {
    return 3;
  }
  return isBetween(lead, 0xF0, 0xF4) ? 4 : 0;
}

bool isSecondByte(uint8_t lead, uint8_t second) {
  switch (lead) {
  case 0xE0:
    return isBetween(second, 0xA0, 0xBF); // below: a shorter form exists
  case 0xED:
    return isBetween(second, 0x80, 0x9F); // above: surrogates
  case 0xF0:
    return isBetween(second, 0x90, 0xBF);
  case 0xF4:
    return isBetween(second, 0x80, 0x8F); // above: beyond the last character
  default:
    return isBetween(second, 0x80, 0xBF);
  }
}

Character_s characterAt(const uint8_t* text, std::size_t left) {
  constexpr Character_s illFormed = {0, 0};
  const std::size_t length = lengthByLead(text[0]);
  if (length < 2) {
    return {text[0], length};
  }
  if (length > left || !isSecondByte(text[0], text[1])) {
    return illFormed;
  }
  uint32_t code = text[0] & (0x7FU >> length);
  for (std::size_t index = 1; index < length; ++index) {
    if (!isBetween(text[index], 0x80, 0xBF)) {
      return illFormed;
    }
    code = code << 6 | (text[index] & 0x3FU);
  }
  return {code, length};
}

} // namespace

namespace __IsoAgLib {

void convertStringUnicodeTo8859(const char* utf8, uint16_t byteLength, char* target, uint8_t fontEncoding) {
  const CodePage::Upper_t* upper = CodePage::upperPartOf(fontEncoding);
  const auto* text = reinterpret_cast<const uint8_t*>(utf8);
  const uint8_t* const end = text + byteLength;
  while (text != end && *text != 0) {
    const Character_s character = characterAt(text, static_cast<std::size_t>(end - text));
    // One '?' for each byte that belongs to no character: ED A0 80 gives three, so does the cut F0 9F 98.
    *target = character.length == 0 ? replacement : characterFor(character.code, upper);
    target += 1;
    text += std::max<std::size_t>(character.length, 1);
  }
  *target = '\0';
}

} // namespace __IsoAgLib
