// Reads the kernel's table of memory figures (proc(5), "/proc/meminfo") word by word, in pieces.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <unistd.h>

// MemoryTable_c: the text behind a descriptor, which stays the caller's. A read that fails is an end.
class MemoryTable_c {
public:
  explicit MemoryTable_c(int descriptor) : m_descriptor(descriptor) {}

  // freeKilobytes: the value of "MemFree:" and of the first key with "Cached:"; 0 where neither is there.
  //
  //   Gives    the sum of the values before a word that should be a number and is not, or has more than 18 digits
  //   Kept     the sum has 32 bits and wraps. Keys match where they contain the text. A word with "total:", the header
  //            of an older form of the table, skips the rest of its line and the next two, 100 characters each at most.
  uint32_t freeKilobytes() {
    uint32_t sum = 0;
    std::string key;
    while (readWord(key)) {
      if (contains(key, "total:")) {
        skipHeader();
        continue;
      }
      int64_t value = 0;
      if (!readNumber(value)) {
        return sum;
      }
      skipUnit();
      if (contains(key, "MemFree:")) {
        sum += static_cast<uint32_t>(value);
      } else if (contains(key, "Cached:")) {
        return sum + static_cast<uint32_t>(value);
      }
    }
    return sum;
  }

private:
  static constexpr int end = -1;

  static bool contains(const std::string& key, const char* text) { return key.find(text) != std::string::npos; }
  static bool isBlank(int character) { return character == ' ' || (character >= '\t' && character <= '\r'); }
  static bool isDigit(int character) { return character >= '0' && character <= '9'; }

  // The next character, which stays the next.
  int peek() {
    if (m_next == m_size) {
      const ssize_t count = read(m_descriptor, m_piece.data(), m_piece.size());
      m_next = 0;
      m_size = count > 0 ? static_cast<std::size_t>(count) : 0;
      if (m_size == 0) {
        return end;
      }
    }
    return static_cast<unsigned char>(m_piece[m_next]);
  }

  void skipBlanks() {
    while (isBlank(peek())) {
      ++m_next;
    }
  }

  bool isInWord() {
    const int character = peek();
    return character != end && !isBlank(character);
  }

  bool readWord(std::string& word) {
    word.clear();
    for (skipBlanks(); isInWord(); ++m_next) {
      word.push_back(m_piece[m_next]);
    }
    return !word.empty();
  }

  void skipUnit() {
    for (skipBlanks(); isInWord(); ++m_next) {
    }
  }

  // What follows the digits is left for the next word.
  bool readNumber(int64_t& value) {
    constexpr int maxDigits = 18;
    skipBlanks();
    const int sign = peek();
    if (sign == '-' || sign == '+') {
      ++m_next;
    }
    int digits = 0;
    for (value = 0; digits < maxDigits && isDigit(peek()); ++digits, ++m_next) {
      value = value * 10 + (peek() - '0');
    }
    if (sign == '-') {
      value = -value;
    }
    return digits > 0 && !isDigit(peek());
  }

  void skipHeader() {
    constexpr int lines = 3;
    for (int line = 0; line < lines; ++line) {
      skipLine();
    }
  }

  void skipLine() {
    constexpr int longest = 100;
    for (int count = 0; count < longest && peek() != end; ++count) {
      if (m_piece[m_next++] == '\n') {
        return;
      }
    }
  }

  int m_descriptor;
  std::array<char, 1024> m_piece; // NOLINT: only what has been read is used
  std::size_t m_next = 0;
  std::size_t m_size = 0;
};
