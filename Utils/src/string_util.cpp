#include "string_util.h"

#include "ConsoleLine.h"
#include "UtfCheck.h"
#include "UtfConversion.h"
#include "UtfSimple.h"

#include <array>
#include <memory>

namespace {

constexpr uint16_t byteOrderMark = 0xFEFF;
constexpr std::size_t markSize = sizeof byteOrderMark;

// More than a result can need, which the conversions like.
constexpr std::size_t spareRoom = 64;

// Room for a result: on the stack for a label, on the heap for what is longer.
template <class Unit_t>
class Room_c {
public:
  explicit Room_c(std::size_t size)
      : m_heap(size > label ? new Unit_t[size + spareRoom] : nullptr), m_begin(m_heap ? m_heap.get() : m_label.data()),
        m_end(m_begin + (m_heap ? size + spareRoom : m_label.size())) {}

  Unit_t* begin() { return m_begin; }
  Unit_t* end() { return m_end; }

private:
  static constexpr std::size_t label = 192 / sizeof(Unit_t);

  std::array<Unit_t, label + spareRoom> m_label; // NOLINT: filled by the conversion
  std::unique_ptr<Unit_t[]> m_heap;
  Unit_t* m_begin;
  Unit_t* m_end;
};

template <class Unit_t>
std::string textBetween(const Unit_t* begin, const Unit_t* end) {
  return {reinterpret_cast<const char*>(begin), static_cast<std::size_t>(end - begin) * sizeof(Unit_t)};
}

// The record is fixed: line numbers are part of what is documented.
void printError(const char* line, const char* function, const char* message) {
  printLine({"Utils/src/string_util ", line, " ", function, message});
}

std::size_t lengthByLead(unsigned char lead) {
  return Utf::trailingBytes(lead) + 1;
}

std::size_t leadingOnes(unsigned char byte) {
  std::size_t count = 0;
  for (unsigned int bit = 0x80; (byte & bit) != 0; bit >>= 1) {
    ++count;
  }
  return count;
}

} // namespace

bool isStringLegalUTF8(const unsigned char* s, int length) {
  const unsigned char* end = s + (length > 0 ? length : 0);
  while (s < end) {
    s = Utf::skipWellFormed(s, end);
    // What has been left is right or wrong by itself: a character, or those of four bytes that follow each other.
    do {
      const std::size_t next = s < end ? lengthByLead(*s) : 0;
      if (next > 0 && !Utf::isWellFormed(s, next)) {
        return false;
      }
      s += next;
    } while (s < end && *s >= 0xF0);
  }
  return true;
}

bool isMaxStringLengthLegalUTF8(const unsigned char* s, int length, int maxChars) {
  if (maxChars < 0) {
    return false;
  }
  const std::size_t size = length > 0 ? static_cast<std::size_t>(length) : 0;
  std::size_t offset = 0;
  for (int count = 0; offset < size; ++count) {
    if (count == maxChars) {
      return false;
    }
    const std::size_t next = lengthByLead(s[offset]);
    if (!Utf::isWellFormed(s + offset, next)) {
      return false;
    }
    offset += next;
  }
  return true;
}

int byteOffsetToUTF8CharIndex(const unsigned char* s, int length, int n) {
  if (n == 0) {
    return 0;
  }
  if (n < 0 || n > length) {
    return -1;
  }
  const auto size = static_cast<std::size_t>(length);
  std::size_t offset = 0;
  for (int count = 0; count < n; ++count) {
    offset += lengthByLead(s[offset]);
    // Also just past the last character. On purpose.
    if (offset >= size) {
      return -1;
    }
  }
  return static_cast<int>(offset);
}

// Cuts a complete character as well: its length is counted one too long. On purpose.
void trimToValidUtf8String(std::string& s) {
  if (s.empty() || (s.back() & 0x80) == 0) {
    return;
  }
  const std::size_t last = s.size() - 1;
  std::size_t lead = last;
  while ((s[lead] & 0x40) == 0) {
    if (lead == 0) {
      return;
    }
    --lead;
  }
  if (lead == last || last < lead + 1 + leadingOnes(static_cast<unsigned char>(s[lead]))) {
    s.resize(lead);
  }
}

std::string ConvertUtf8String2BomString(const std::string& utf8) {
  Room_c<uint16_t> room(1 + utf8.size());
  const auto* source = reinterpret_cast<const uint8_t*>(utf8.data());
  uint16_t* target = room.begin();
  *target++ = byteOrderMark;
  if (ConvertUTF8toUTF16(&source, source + utf8.size(), &target, room.end(), Utf::strict) != Utf::ok) {
    printError("91", "ConvertUtf8String2BomString", " UTF8 to UTF16 conversion error ");
    target = room.begin() + 1;
  }
  return textBetween<uint16_t>(room.begin(), target);
}

std::string ConvertBomString2Utf8String(const std::string& bom) {
  if (bom.size() <= markSize) {
    return {};
  }
  const std::size_t size = (bom.size() - markSize) / sizeof(uint16_t);
  const auto* source = reinterpret_cast<const uint16_t*>(bom.data() + markSize);
  Room_c<uint8_t> room(3 * size);
  uint8_t* target = room.begin();
  if (ConvertUTF16toUTF8(&source, source + size, &target, room.end(), Utf::strict) != Utf::ok) {
    printError("118", "ConvertBomString2Utf8String", " UTF16 to UTF8 conversion error ");
    return {};
  }
  return textBetween<uint8_t>(room.begin(), target);
}
