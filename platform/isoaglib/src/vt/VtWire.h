// Numbers as ISO 11783 has them on the wire: the lowest byte first.
#pragma once

#include <cstdint>

namespace IsoBusHost {

inline void put16(uint8_t* bytes, uint16_t value) {
  bytes[0] = static_cast<uint8_t>(value);
  bytes[1] = static_cast<uint8_t>(value >> 8);
}

inline void put32(uint8_t* bytes, uint32_t value) {
  put16(bytes, static_cast<uint16_t>(value));
  put16(bytes + 2, static_cast<uint16_t>(value >> 16));
}

} // namespace IsoBusHost
