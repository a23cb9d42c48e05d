#include "TerminalText.h"

#include "CodePage.h"

using namespace IsoBusHost;

namespace {

constexpr char16_t missing = 0xFFFD;

bool isUtf16(const std::vector<uint8_t>& text) {
  return text.size() >= 2 && text[0] == 0xFF && text[1] == 0xFE;
}

void append(std::string& text, char32_t character) {
  const auto tail = [character](unsigned int shift) {
    return static_cast<char>(0x80U | ((character >> shift) & 0x3FU));
  };
  if (character < 0x80) {
    text += static_cast<char>(character);
  } else if (character < 0x800) {
    text += static_cast<char>(0xC0U | (character >> 6U));
    text += tail(0);
  } else if (character < 0x10000) {
    text += static_cast<char>(0xE0U | (character >> 12U));
    text += tail(6);
    text += tail(0);
  } else {
    text += static_cast<char>(0xF0U | (character >> 18U));
    text += tail(12);
    text += tail(6);
    text += tail(0);
  }
}

// fromUtf16: text behind its mark; a half of a pair that stands alone, and a byte that is left, are missing characters.
std::u32string fromUtf16(const std::vector<uint8_t>& text) {
  std::u32string characters;
  for (std::size_t at = 2; at < text.size(); at += 2) {
    const auto unitAt = [&text](std::size_t index) {
      return index + 1 < text.size() ? static_cast<char32_t>(text[index] | text[index + 1] << 8) : char32_t{missing};
    };
    const char32_t unit = unitAt(at);
    const char32_t next = unitAt(at + 2);
    if (unit >= 0xD800 && unit < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
      characters += static_cast<char32_t>(0x10000 + ((unit - 0xD800) << 10U) + (next - 0xDC00));
      at += 2;
    } else {
      characters += unit >= 0xD800 && unit < 0xE000 ? char32_t{missing} : unit;
    }
  }
  return characters;
}

std::u32string from8859(const std::vector<uint8_t>& text, uint8_t fontType) {
  const CodePage::Upper_t* upper = CodePage::upperPartOf(fontType);
  std::u32string characters;
  for (const uint8_t byte : text) {
    const char16_t character = CodePage::characterOf(byte, upper);
    characters += character == CodePage::none ? char32_t{missing} : char32_t{character};
  }
  return characters;
}

// decode: gives false where the bytes are no UTF-8.
bool decode(const std::string& text, std::u32string& characters) {
  for (std::size_t at = 0; at < text.size();) {
    const auto first = static_cast<uint8_t>(text[at]);
    const std::size_t length = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    char32_t character = length == 1 ? first : first & (0x7FU >> length);
    if ((first >= 0x80 && first < 0xC2) || first > 0xF4 || at + length > text.size()) {
      return false;
    }
    for (std::size_t index = 1; index < length; ++index) {
      const auto next = static_cast<uint8_t>(text[at + index]);
      if ((next & 0xC0U) != 0x80) {
        return false;
      }
      character = (character << 6U) | (next & 0x3FU);
    }
    if (character < smallest[length] || character > 0x10FFFF || (character >= 0xD800 && character < 0xE000)) {
      return false;
    }
    characters += character;
    at += length;
  }
  return true;
}

} // namespace

std::string toUtf8(const std::vector<uint8_t>& text, uint8_t fontType) {
  std::string result;
  for (const char32_t character : isUtf16(text) ? fromUtf16(text) : from8859(text, fontType)) {
    append(result, character);
  }
  return result;
}

std::optional<std::vector<uint8_t>> fromUtf8(const std::string& text, uint8_t fontType) {
  std::u32string characters;
  if (!decode(text, characters)) {
    return std::nullopt;
  }
  const CodePage::Upper_t* upper = CodePage::upperPartOf(fontType);
  std::vector<uint8_t> bytes;
  for (const char32_t character : characters) {
    const std::optional<uint8_t> byte = CodePage::byteOf(character, upper);
    if (!byte) {
      return std::nullopt;
    }
    bytes.push_back(*byte);
  }
  return bytes;
}

std::vector<uint8_t> toUtf16(const std::string& text) {
  std::u32string characters;
  std::vector<uint8_t> bytes = {0xFF, 0xFE};
  const auto push = [&bytes](char32_t unit) {
    bytes.push_back(static_cast<uint8_t>(unit));
    bytes.push_back(static_cast<uint8_t>(unit >> 8U));
  };
  if (!decode(text, characters)) {
    return {};
  }
  for (const char32_t character : characters) {
    if (character < 0x10000) {
      push(character);
      continue;
    }
    push(0xD800 + ((character - 0x10000) >> 10U));
    push(0xDC00 + ((character - 0x10000) & 0x3FFU));
  }
  return bytes;
}

std::string quoted(const std::string& text) {
  constexpr char hexadecimal[] = "0123456789ABCDEF";
  std::string result = "\"";
  for (const char character : text) {
    const auto byte = static_cast<uint8_t>(character);
    if (byte < 0x20 || byte == 0x7F) {
      result += "\\x";
      result += hexadecimal[byte >> 4U];
      result += hexadecimal[byte & 15U];
      continue;
    }
    if (character == '"' || character == '\\') {
      result += '\\';
    }
    result += character;
  }
  return result + '"';
}
