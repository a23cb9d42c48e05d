// Reads the kernel's table of memory figures (proc(5), "/proc/meminfo") word by word, in pieces.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
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
    for (std::string_view word = readWord(); !word.empty(); word = readWord()) {
      const Key_e key = keyOf(word);
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
  // A word with several texts is the last of them.
  enum class Key_e { other, cached, free, header };

  template <std::size_t Size>
  static bool endsWith(std::string_view word, const char (&text)[Size]) {
    constexpr std::size_t length = Size - 1;
    return word.size() >= length && std::memcmp(word.data() + word.size() - length, text, length) == 0;
  }

  static Key_e keyAtEnd(std::string_view word) {
    if (endsWith(word, "total:")) {
      return Key_e::header;
    }
    if (endsWith(word, "MemFree:")) {
      return Key_e::free;
    }
    return endsWith(word, "Cached:") ? Key_e::cached : Key_e::other;
  }

  // Every text ends with the colon, wherever it is in the word.
  static Key_e keyOf(std::string_view word) {
    Key_e key = Key_e::other;
    for (std::size_t size = 1; size <= word.size(); ++size) {
      if (word[size - 1] == ':') {
        key = std::max(key, keyAtEnd(word.substr(0, size)));
      }
    }
    return key;
  }

  static bool isBlank(char character) { return character == ' ' || (character >= '\t' && character <= '\r'); }
  static bool isInWord(char character) { return !isBlank(character); }
  static bool isDigit(char character) { return character >= '0' && character <= '9'; }

  // False at the end.
  bool fill() {
    const ssize_t count = read(m_descriptor, m_piece.data(), m_piece.size());
    m_next = m_piece.data();
    m_end = m_next + std::max<ssize_t>(count, 0);
    return m_next != m_end;
  }

  // Whether there is a next character.
  bool hasNext() { return m_next != m_end || fill(); }

  // The rest of the piece as long as its characters are such.
  template <class Is>
  void skipInPiece(Is is) {
    const char* next = m_next;
    for (const char* end = m_end; next != end && is(*next); ++next) {
    }
    m_next = next;
  }

  void skipBlanks() {
    do {
      skipInPiece(isBlank);
    } while (m_next == m_end && fill());
  }

  // Stands until the next is read; empty at the end.
  std::string_view readWord() {
    skipBlanks();
    const char* begin = m_next;
    skipInPiece(isInWord);
    return m_next != m_end ? std::string_view(begin, static_cast<std::size_t>(m_next - begin)) : readLongWord(begin);
  }

  // A word that may go on in the next piece.
  std::string_view readLongWord(const char* begin) {
    m_word.assign(begin, m_end);
    while (m_next == m_end && fill()) {
      const char* rest = m_next;
      skipInPiece(isInWord);
      m_word.append(rest, m_next);
    }
    return m_word;
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
    do {
      const char* next = m_next;
      for (const char* end = m_end; next != end && isDigit(*next) && digits <= maxDigits; ++next, ++digits) {
        value = value * 10 + static_cast<uint32_t>(*next - '0');
      }
      m_next = next;
    } while (m_next == m_end && fill());
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
  std::array<char, 256> m_piece; // NOLINT: only what has been read is used
  const char* m_next = nullptr;
  const char* m_end = nullptr;
  std::string m_word;
};
