// Reads the kernel's table of memory figures (proc(5), "/proc/meminfo") word by word, in pieces.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <unistd.h>

// MemoryTable_c: the text behind a descriptor, which stays the caller's. A read that fails is an end.
class MemoryTable_c {
public:
  explicit MemoryTable_c(int descriptor) : m_descriptor(descriptor) {}
  MemoryTable_c(const MemoryTable_c&) = delete;
  MemoryTable_c& operator=(const MemoryTable_c&) = delete;

  // freeKilobytes: the value of "MemFree:" and of the first key with "Cached:"; 0 where neither is there.
  //
  //   Gives    the sum of the values before a word that should be a number and is not, or has more than 18 digits
  //   Kept     the sum has 32 bits and wraps. Keys match where they contain the text. A word with "total:", the header
  //            of an older form of the table, skips the rest of its line and the next two, 100 characters each at most.
  uint32_t freeKilobytes() {
    uint32_t sum = 0;
    for (Key_e key = readWord(); key != Key_e::none; key = readWord()) {
      if (key == Key_e::header) {
        skipHeader();
        continue;
      }
      uint32_t value = 0;
      if (!readNumber(value)) {
        return sum;
      }
      readWord(); // the unit
      if (key == Key_e::free) {
        sum += value;
      } else if (key == Key_e::cached) {
        return sum + value;
      }
    }
    return sum;
  }

private:
  // A word with several texts is the last of them; none is the end.
  enum class Key_e { none, other, cached, free, header };

  static constexpr std::size_t pieceSize = 256;
  static constexpr std::size_t longestText = 8;

  struct Text_s {
    char text[longestText + 1];
    Key_e key;
  };

  // What ends there, of a word with so many characters until then.
  static Key_e keyBefore(const char* end, std::size_t length) {
    static constexpr Text_s texts[] = {
        {"total:", Key_e::header}, {"MemFree:", Key_e::free}, {"Cached:", Key_e::cached}};
    for (const Text_s& text : texts) {
      const std::size_t size = std::strlen(text.text);
      if (size <= length && std::memcmp(end - size, text.text, size) == 0) {
        return text.key;
      }
    }
    return Key_e::other;
  }

  static bool isBlank(char character) { return character == ' ' || (character >= '\t' && character <= '\r'); }
  static bool isDigit(char character) { return character >= '0' && character <= '9'; }

  // False at the end. What came last stays in front of the new piece: a text may go on there.
  bool fill() {
    char* piece = std::copy(m_end - longestText, m_end, m_room.data());
    const ssize_t count = read(m_descriptor, piece, pieceSize);
    m_next = piece;
    m_end = piece + std::max<ssize_t>(count, 0);
    return m_next != m_end;
  }

  // Whether there is a next character.
  bool hasNext() { return m_next != m_end || fill(); }

  // Goes on as long as the characters are taken.
  template <class Take_t>
  void goOn(const Take_t& takes) {
    do {
      while (m_next != m_end && takes(*m_next)) {
        ++m_next;
      }
    } while (m_next == m_end && fill());
  }

  void skipBlanks() {
    goOn([](char character) { return isBlank(character); });
  }

  // Every text ends with the colon, wherever it is in the word.
  Key_e readWord() {
    skipBlanks();
    Key_e key = Key_e::other;
    std::size_t length = 0;
    goOn([this, &key, &length](char character) {
      if (isBlank(character)) {
        return false;
      }
      ++length;
      if (character == ':') {
        key = std::max(key, keyBefore(m_next + 1, length));
      }
      return true;
    });
    return length == 0 ? Key_e::none : key;
  }

  // In 32 bits, as it is added. What follows the digits is left for the next word.
  bool readNumber(uint32_t& value) {
    constexpr int maxDigits = 18;
    skipBlanks();
    const char sign = hasNext() ? *m_next : '\0';
    if (sign == '-' || sign == '+') {
      ++m_next;
    }
    int digits = 0;
    value = 0;
    goOn([&value, &digits](char character) {
      if (!isDigit(character) || digits > maxDigits) {
        return false;
      }
      value = value * 10 + static_cast<uint32_t>(character - '0');
      ++digits;
      return true;
    });
    if (sign == '-') {
      value = 0U - value;
    }
    return digits > 0 && digits <= maxDigits;
  }

  void skipHeader() {
    constexpr int lines = 3;
    for (int line = 0; line < lines; ++line) {
      skipLine();
    }
  }

  void skipLine() {
    constexpr int longest = 100;
    for (int count = 0; count < longest && hasNext(); ++count) {
      if (*m_next++ == '\n') {
        return;
      }
    }
  }

  int m_descriptor;
  std::array<char, longestText + pieceSize> m_room = {};
  char* m_next = m_room.data() + longestText;
  char* m_end = m_next;
};
