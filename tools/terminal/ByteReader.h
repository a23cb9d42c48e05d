// Reads numbers, least significant byte first, from bytes that nobody has checked.
#pragma once

#include <cstddef>
#include <cstdint>

class ByteReader_c {
public:
  ByteReader_c(const uint8_t* bytes, std::size_t size) : m_bytes(bytes), m_left(size) {}

  std::size_t left() const { return m_left; }
  const uint8_t* position() const { return m_bytes; }

  // isGood: false once more was asked for than there was.
  bool isGood() const { return m_bGood; }

  // number: 0 where too few bytes are left; nothing is taken then.
  uint32_t number(std::size_t size) {
    const uint8_t* bytes = take(size);
    uint32_t value = 0;
    for (std::size_t index = 0; bytes != nullptr && index < size; ++index) {
      value |= static_cast<uint32_t>(bytes[index]) << (8U * index);
    }
    return value;
  }

  uint8_t byte() { return static_cast<uint8_t>(number(1)); }
  uint16_t word() { return static_cast<uint16_t>(number(2)); }

  // take: the next bytes, null where too few are left.
  const uint8_t* take(std::size_t size) {
    if (size > m_left) {
      m_bGood = false;
      return nullptr;
    }
    const uint8_t* bytes = m_bytes;
    m_bytes += size;
    m_left -= size;
    return bytes;
  }

private:
  const uint8_t* m_bytes;
  std::size_t m_left;
  bool m_bGood = true;
};
