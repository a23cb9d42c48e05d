// The parts of ISO 8859 that the fonts of a VT have (ISO 11783-6, font type), and Unicode.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace IsoBusHost::CodePage {

// Upper_t: A0 to FF in Unicode. What is below is the same in all parts and in Unicode.
constexpr std::size_t firstUpper = 0xA0;
constexpr char16_t none = 0xFFFF; // no character
using Upper_t = std::array<char16_t, 0x100 - firstUpper>;

// upperPartOf: by the font type; null for ISO 8859-1, which is Unicode up to FF, and for types without a part.
const Upper_t* upperPartOf(uint8_t fontType);

// characterOf: none where the part has no character.
inline char16_t characterOf(uint8_t byte, const Upper_t* upper) {
  return upper == nullptr || byte < firstUpper ? char16_t{byte} : (*upper)[byte - firstUpper];
}

// byteOf: nothing where the part lacks the character.
inline std::optional<uint8_t> byteOf(uint32_t character, const Upper_t* upper) {
  if (character < firstUpper || (upper == nullptr && character <= UINT8_MAX)) {
    return static_cast<uint8_t>(character);
  }
  if (upper == nullptr || character >= none) {
    return std::nullopt;
  }
  const auto* place = std::find(upper->begin(), upper->end(), static_cast<char16_t>(character));
  if (place == upper->end()) {
    return std::nullopt;
  }
  return static_cast<uint8_t>(firstUpper + static_cast<std::size_t>(place - upper->begin()));
}

} // namespace IsoBusHost::CodePage
