// One CAN 2.0B data frame and the reading of its 29-bit identifier (ISO 11783-3).
#pragma once

#include <array>
#include <cstdint>

namespace IsoBusHost {

struct CanFrame_s {
  uint32_t identifier = 0; // 29 bits; 11 where extended is false
  bool extended = true;
  uint8_t length = 0; // data bytes, 0 to 8
  std::array<uint8_t, 8> data{};
};

bool operator==(const CanFrame_s& left, const CanFrame_s& right);

constexpr uint8_t globalAddress = 255;
constexpr uint8_t nullAddress = 254;
constexpr uint8_t maxAddress = 253;
constexpr uint64_t never = UINT64_MAX; // no time at which something is due

// IsoId_s: an identifier taken apart. For PDU1 (PF below F0) the low byte of the PGN is 0 and destination is PS; for
// PDU2 destination is 255. The PGN has 18 bits: EDP, DP, PF, PS.
struct IsoId_s {
  uint8_t priority = 6;
  uint32_t pgn = 0;
  uint8_t destination = globalAddress;
  uint8_t source = nullAddress;
};

IsoId_s decodeIdentifier(uint32_t identifier);
uint32_t encodeIdentifier(const IsoId_s& id);

// frameBits: returns the bits that the frame takes on the bus: stuffing, CRC and the gap of 3 included.
unsigned int frameBits(const CanFrame_s& frame);

namespace Pgn {
constexpr uint32_t request = 0xEA00;
constexpr uint32_t acknowledgement = 0xE800;
constexpr uint32_t transportManagement = 0xEC00;
constexpr uint32_t transportData = 0xEB00;
constexpr uint32_t extendedTransportManagement = 0xC800;
constexpr uint32_t extendedTransportData = 0xC700;
constexpr uint32_t addressClaimed = 0xEE00;
constexpr uint32_t commandedAddress = 0xFED8;
constexpr uint32_t workingSetMaster = 0xFE0D;
constexpr uint32_t workingSetMember = 0xFE0C;
constexpr uint32_t ecuIdentification = 0xFDC5;
constexpr uint32_t productIdentification = 0xFC8D;
constexpr uint32_t softwareIdentification = 0xFEDA;
constexpr uint32_t certification = 0xFD42;
} // namespace Pgn

} // namespace IsoBusHost
