#include "TransportProtocolFrames.h"

#include "HostClock.h"

#include <algorithm>
#include <utility>

namespace IsoBusHost {

namespace {

constexpr uint8_t transportPriority = 7;
constexpr uint8_t filler = 0xFF;
constexpr std::size_t maxPosted = 256;
constexpr uint64_t retryAfterMs = 1;
constexpr uint32_t firstPdu2Format = 0xF0;

uint8_t byteOf(std::size_t value, unsigned int index) {
  return static_cast<uint8_t>((value >> (8U * index)) & 0xFFU);
}

CanFrame_s makeFrame(Link_s link, uint32_t pgn) {
  CanFrame_s frame;
  frame.identifier = encodeIdentifier({transportPriority, pgn, link.to, link.from});
  frame.length = 8;
  frame.data.fill(filler);
  return frame;
}

CanFrame_s makeControl(Link_s link, uint8_t control, uint32_t pgn) {
  CanFrame_s frame = makeFrame(link, Pgn::transportManagement);
  frame.data[0] = control;
  for (unsigned int index = 0; index < 3; ++index) {
    frame.data[5 + index] = byteOf(pgn, index);
  }
  return frame;
}

void putSize(CanFrame_s& frame, std::size_t bytes) {
  frame.data[1] = byteOf(bytes, 0);
  frame.data[2] = byteOf(bytes, 1);
  frame.data[3] = byteOf(tpPackets(bytes), 0);
}

} // namespace

unsigned int tpPackets(std::size_t bytes) {
  return static_cast<unsigned int>((bytes + tpPacketBytes - 1) / tpPacketBytes);
}

uint32_t normalPgn(uint32_t pgn) {
  return ((pgn >> 8U) & 0xFFU) < firstPdu2Format ? pgn & ~0xFFU : pgn;
}

// Byte 5 of RTS stays FF: the receiver may ask for any number of packets at once.
CanFrame_s makeRequestToSend(Link_s link, const IsoMessage_s& message) {
  CanFrame_s frame = makeControl(link, TpControl::requestToSend, message.pgn);
  putSize(frame, message.data.size());
  return frame;
}

CanFrame_s makeBroadcastAnnounce(Link_s link, const IsoMessage_s& message) {
  CanFrame_s frame = makeControl(link, TpControl::broadcastAnnounce, message.pgn);
  putSize(frame, message.data.size());
  return frame;
}

CanFrame_s makeClearToSend(Link_s link, unsigned int count, unsigned int next, uint32_t pgn) {
  CanFrame_s frame = makeControl(link, TpControl::clearToSend, pgn);
  frame.data[1] = byteOf(count, 0);
  frame.data[2] = byteOf(next, 0);
  return frame;
}

CanFrame_s makeEndOfMessage(Link_s link, std::size_t bytes, uint32_t pgn) {
  CanFrame_s frame = makeControl(link, TpControl::endOfMessage, pgn);
  putSize(frame, bytes);
  return frame;
}

CanFrame_s makeAbort(Link_s link, AbortReason_e reason, uint32_t pgn) {
  CanFrame_s frame = makeControl(link, TpControl::connectionAbort, pgn);
  frame.data[1] = static_cast<uint8_t>(reason);
  return frame;
}

CanFrame_s makeData(Link_s link, unsigned int packet, const std::vector<uint8_t>& data) {
  CanFrame_s frame = makeFrame(link, Pgn::transportData);
  frame.data[0] = byteOf(packet, 0);
  const std::size_t begin = std::size_t{tpPacketBytes} * (packet - 1);
  const std::size_t bytes = std::min<std::size_t>(tpPacketBytes, data.size() - begin);
  std::copy_n(data.data() + begin, bytes, frame.data.data() + 1);
  return frame;
}

unsigned int controlSize(const CanFrame_s& frame) {
  return frame.data[1] + 256U * frame.data[2];
}

unsigned int controlPackets(const CanFrame_s& frame) {
  return frame.data[3];
}

uint32_t controlPgn(const CanFrame_s& frame) {
  return frame.data[5] + (uint32_t{frame.data[6]} << 8U) + (uint32_t{frame.data[7]} << 16U);
}

// More than 1785 bytes take more packets than the byte for their number can say.
bool hasPossibleSize(const CanFrame_s& announce) {
  const unsigned int size = controlSize(announce);
  return size >= tpMinBytes && controlPackets(announce) == tpPackets(size);
}

TransportOutlet_c::TransportOutlet_c(std::function<bool(const CanFrame_s&)> sendFrame)
    : m_sendFrame(std::move(sendFrame)) {}

void TransportOutlet_c::beginRound() {
  m_bBlocked = false;
  m_retryMs = 0;
}

void TransportOutlet_c::post(const CanFrame_s& frame) {
  if (m_posted.size() >= maxPosted) {
    return;
  }
  if (m_posted.empty()) {
    m_postedMs = HostClock::nowMs();
  }
  m_posted.push_back(frame);
}

void TransportOutlet_c::flush() {
  while (!m_posted.empty() && tryToSend(m_posted.front())) {
    m_posted.pop_front();
  }
}

bool TransportOutlet_c::send(const CanFrame_s& frame) {
  flush();
  return tryToSend(frame);
}

bool TransportOutlet_c::tryToSend(const CanFrame_s& frame) {
  if (!m_bBlocked && !m_sendFrame(frame)) {
    m_bBlocked = true;
    m_retryMs = HostClock::nowMs() + retryAfterMs;
  }
  return !m_bBlocked;
}

void TransportOutlet_c::dropFrom(uint8_t source) {
  const auto isFromSource = [source](const CanFrame_s& frame) {
    return decodeIdentifier(frame.identifier).source == source;
  };
  m_posted.erase(std::remove_if(m_posted.begin(), m_posted.end(), isFromSource), m_posted.end());
}

} // namespace IsoBusHost
