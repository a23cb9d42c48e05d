// The frames of the transport protocol (ISO 11783-3) and the way they take to the bus.
#pragma once

#include "TransportProtocol.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <vector>

namespace IsoBusHost {

// The first byte of a frame of PGN EC00.
namespace TpControl {
constexpr uint8_t requestToSend = 0x10;
constexpr uint8_t clearToSend = 0x11;
constexpr uint8_t endOfMessage = 0x13;
constexpr uint8_t broadcastAnnounce = 0x20;
constexpr uint8_t connectionAbort = 0xFF;
} // namespace TpControl

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

// normalPgn: returns the PGN with the low byte 0 where that byte is no part of it (PDU1).
uint32_t normalPgn(uint32_t pgn);

CanFrame_s makeRequestToSend(Link_s link, const IsoMessage_s& message);
CanFrame_s makeBroadcastAnnounce(Link_s link, const IsoMessage_s& message);
CanFrame_s makeClearToSend(Link_s link, unsigned int count, unsigned int next, uint32_t pgn);
CanFrame_s makeEndOfMessage(Link_s link, std::size_t bytes, uint32_t pgn);
CanFrame_s makeAbort(Link_s link, AbortReason_e reason, uint32_t pgn);

// makeData: returns the packet with the number given, 1 for the first one.
CanFrame_s makeData(Link_s link, unsigned int packet, const std::vector<uint8_t>& data);

// What a frame of PGN EC00 says; size and packets are those of RTS, BAM and EoMA.
unsigned int controlSize(const CanFrame_s& frame);
unsigned int controlPackets(const CanFrame_s& frame);
uint32_t controlPgn(const CanFrame_s& frame);

// hasPossibleSize: whether a message of the announced size is a message of this protocol, in as many packets as named.
bool hasPossibleSize(const CanFrame_s& announce);

// TransportOutlet_c: hands frames to the bus in order. The first one that the bus does not take ends the round.
class TransportOutlet_c {
public:
  explicit TransportOutlet_c(std::function<bool(const CanFrame_s&)> sendFrame);

  // beginRound: the bus is asked again.
  void beginRound();

  // post: queues a frame that no session repeats: EoMA, abort. When too many wait it is dropped: the other side's
  // time-out ends its session.
  void post(const CanFrame_s& frame);
  void flush();

  // send: sends a frame behind all posted ones; false: it was not taken.
  bool send(const CanFrame_s& frame);

  // dropFrom: forgets the posted frames of an own address.
  void dropFrom(uint8_t source);

  uint64_t dueMs() const { return m_posted.empty() ? never : m_postedMs; }

  // retryMs: returns the time before which it is of no use to ask the bus again.
  uint64_t retryMs() const { return m_retryMs; }

private:
  bool tryToSend(const CanFrame_s& frame);

  std::function<bool(const CanFrame_s&)> m_sendFrame;
  std::deque<CanFrame_s> m_posted;
  uint64_t m_postedMs = 0;
  uint64_t m_retryMs = 0;
  bool m_bBlocked = false;
};

} // namespace IsoBusHost
