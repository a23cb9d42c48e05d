// The frames of the transport protocol and of the extended one (ISO 11783-3).
#pragma once

#include "TransportProtocol.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace IsoBusHost {

// Protocol_e: tp carries messages to 1785 bytes, etp those that are longer. A message's length decides, so a session of
// the one never is taken for a session of the other.
enum class Protocol_e { tp, etp };

// Time-outs, in milliseconds.
namespace TpTime {
constexpr uint64_t t1 = 750;  // receiver: next data packet
constexpr uint64_t t2 = 1250; // receiver: first data packet after its CTS
constexpr uint64_t t3 = 1250; // sender: CTS or EoMA after RTS or after the last data packet
constexpr uint64_t t4 = 1050; // sender: next CTS after a CTS that holds
} // namespace TpTime

constexpr unsigned int tpMinBytes = 9;
constexpr unsigned int tpPacketBytes = 7;
constexpr unsigned int tpMaxRepeats = 2;
constexpr uint32_t maxPgn = 0x3FFFF;

// Link_s: who talks to whom.
struct Link_s {
  uint8_t from = nullAddress;
  uint8_t to = globalAddress;

  Link_s reversed() const { return {to, from}; }
  bool operator==(const Link_s& other) const { return from == other.from && to == other.to; }
};

unsigned int tpPackets(std::size_t bytes);

// protocolFor: returns the protocol that carries a message of so many bytes.
Protocol_e protocolFor(std::size_t bytes);

// normalPgn: returns the PGN with the low byte 0 where that byte is no part of it (PDU1).
uint32_t normalPgn(uint32_t pgn);

// Packets are numbered through the whole message, 1 for the first one, in both protocols.
CanFrame_s makeRequestToSend(Link_s link, const IsoMessage_s& message);
CanFrame_s makeBroadcastAnnounce(Link_s link, const IsoMessage_s& message);
CanFrame_s makeClearToSend(Protocol_e protocol, Link_s link, unsigned int count, unsigned int next, uint32_t pgn);
CanFrame_s makeEndOfMessage(Link_s link, std::size_t bytes, uint32_t pgn);
CanFrame_s makeAbort(Protocol_e protocol, Link_s link, AbortReason_e reason, uint32_t pgn);

// makeDataOffset: the DPO of the extended protocol; `offset` packets are before the `count` ones that follow.
CanFrame_s makeDataOffset(Link_s link, unsigned int count, unsigned int offset, uint32_t pgn);

// makeData: returns a packet; its frame says the number less the offset.
CanFrame_s makeData(Link_s link, unsigned int packet, unsigned int offset, const std::vector<uint8_t>& data);

// Family_s: which of the four PGNs a frame has.
struct Family_s {
  Protocol_e protocol;
  bool isData;
};
std::optional<Family_s> familyOf(uint32_t pgn);

enum class Control_e { requestToSend, broadcastAnnounce, clearToSend, dataOffset, endOfMessage, abort, unknown };
Control_e controlOf(Protocol_e protocol, const CanFrame_s& frame);

// What a frame of PGN EC00 or C800 says. Size: of RTS, BAM and EoMA. Count: of CTS and DPO. Next: of CTS; the offset of
// a DPO lies at the same place.
std::size_t controlSize(Protocol_e protocol, const CanFrame_s& frame);
unsigned int controlCount(const CanFrame_s& frame);
unsigned int controlNext(Protocol_e protocol, const CanFrame_s& frame);
uint32_t controlPgn(const CanFrame_s& frame);

// hasPossibleSize: whether RTS, BAM or EoMA names a size that this protocol can carry and, in TP, its packets.
bool hasPossibleSize(Protocol_e protocol, const CanFrame_s& frame);

} // namespace IsoBusHost
