#include "TransportProtocolFrames.h"

#include <algorithm>

namespace IsoBusHost {

namespace {

constexpr uint8_t transportPriority = 7;
constexpr uint8_t filler = 0xFF;
constexpr uint32_t firstPdu2Format = 0xF0;

// The first byte of a frame of PGN EC00 and of PGN C800.
constexpr uint8_t tpRequestToSend = 0x10;
constexpr uint8_t tpClearToSend = 0x11;
constexpr uint8_t tpEndOfMessage = 0x13;
constexpr uint8_t tpBroadcastAnnounce = 0x20;
constexpr uint8_t etpRequestToSend = 0x14;
constexpr uint8_t etpClearToSend = 0x15;
constexpr uint8_t etpDataOffset = 0x16;
constexpr uint8_t etpEndOfMessage = 0x17;
constexpr uint8_t connectionAbort = 0xFF;

constexpr unsigned int tpSizeBytes = 2;
constexpr unsigned int etpSizeBytes = 4;
constexpr unsigned int tpNextBytes = 1;
constexpr unsigned int etpNextBytes = 3;
constexpr std::size_t pgnAt = 5;

void put(CanFrame_s& frame, std::size_t at, unsigned int bytes, std::size_t value) {
  for (unsigned int index = 0; index < bytes; ++index) {
    frame.data.at(at + index) = static_cast<uint8_t>((value >> (8U * index)) & 0xFFU);
  }
}

uint32_t get(const CanFrame_s& frame, std::size_t at, unsigned int bytes) {
  uint32_t value = 0;
  for (unsigned int index = 0; index < bytes; ++index) {
    value |= uint32_t{frame.data.at(at + index)} << (8U * index);
  }
  return value;
}

CanFrame_s makeFrame(Link_s link, uint32_t pgn) {
  CanFrame_s frame;
  frame.identifier = encodeIdentifier({transportPriority, pgn, link.to, link.from});
  frame.length = 8;
  frame.data.fill(filler);
  return frame;
}

CanFrame_s makeControl(Protocol_e protocol, Link_s link, uint8_t control, uint32_t pgn) {
  const bool isExtended = protocol == Protocol_e::etp;
  CanFrame_s frame = makeFrame(link, isExtended ? Pgn::extendedTransportManagement : Pgn::transportManagement);
  frame.data[0] = control;
  put(frame, pgnAt, 3, pgn);
  return frame;
}

CanFrame_s makeSizeFrame(Link_s link, uint8_t tpControl, uint8_t etpControl, std::size_t bytes, uint32_t pgn) {
  if (protocolFor(bytes) == Protocol_e::etp) {
    CanFrame_s frame = makeControl(Protocol_e::etp, link, etpControl, pgn);
    put(frame, 1, etpSizeBytes, bytes);
    return frame;
  }
  CanFrame_s frame = makeControl(Protocol_e::tp, link, tpControl, pgn);
  put(frame, 1, tpSizeBytes, bytes);
  put(frame, 3, 1, tpPackets(bytes));
  return frame;
}

} // namespace

unsigned int tpPackets(std::size_t bytes) {
  return static_cast<unsigned int>((bytes + tpPacketBytes - 1) / tpPacketBytes);
}

Protocol_e protocolFor(std::size_t bytes) {
  return bytes > TransportProtocol_c::maxBytes ? Protocol_e::etp : Protocol_e::tp;
}

uint32_t normalPgn(uint32_t pgn) {
  return ((pgn >> 8U) & 0xFFU) < firstPdu2Format ? pgn & ~0xFFU : pgn;
}

// Byte 5 of the RTS of TP stays FF: the receiver may ask for any number of packets at once.
CanFrame_s makeRequestToSend(Link_s link, const IsoMessage_s& message) {
  return makeSizeFrame(link, tpRequestToSend, etpRequestToSend, message.data.size(), message.pgn);
}

CanFrame_s makeBroadcastAnnounce(Link_s link, const IsoMessage_s& message) {
  return makeSizeFrame(link, tpBroadcastAnnounce, tpBroadcastAnnounce, message.data.size(), message.pgn);
}

CanFrame_s makeClearToSend(Protocol_e protocol, Link_s link, unsigned int count, unsigned int next, uint32_t pgn) {
  const bool isExtended = protocol == Protocol_e::etp;
  CanFrame_s frame = makeControl(protocol, link, isExtended ? etpClearToSend : tpClearToSend, pgn);
  put(frame, 1, 1, count);
  put(frame, 2, isExtended ? etpNextBytes : tpNextBytes, next);
  return frame;
}

CanFrame_s makeEndOfMessage(Link_s link, std::size_t bytes, uint32_t pgn) {
  return makeSizeFrame(link, tpEndOfMessage, etpEndOfMessage, bytes, pgn);
}

CanFrame_s makeAbort(Protocol_e protocol, Link_s link, AbortReason_e reason, uint32_t pgn) {
  CanFrame_s frame = makeControl(protocol, link, connectionAbort, pgn);
  frame.data[1] = static_cast<uint8_t>(reason);
  return frame;
}

CanFrame_s makeDataOffset(Link_s link, unsigned int count, unsigned int offset, uint32_t pgn) {
  CanFrame_s frame = makeControl(Protocol_e::etp, link, etpDataOffset, pgn);
  put(frame, 1, 1, count);
  put(frame, 2, etpNextBytes, offset);
  return frame;
}

CanFrame_s makeData(Link_s link, unsigned int packet, unsigned int offset, const std::vector<uint8_t>& data) {
  const bool isExtended = protocolFor(data.size()) == Protocol_e::etp;
  CanFrame_s frame = makeFrame(link, isExtended ? Pgn::extendedTransportData : Pgn::transportData);
  put(frame, 0, 1, packet - offset);
  const std::size_t begin = std::size_t{tpPacketBytes} * (packet - 1);
  const std::size_t bytes = std::min<std::size_t>(tpPacketBytes, data.size() - begin);
  std::copy_n(data.data() + begin, bytes, frame.data.data() + 1);
  return frame;
}

std::optional<Family_s> familyOf(uint32_t pgn) {
  switch (pgn) {
  case Pgn::transportManagement:
    return Family_s{Protocol_e::tp, false};
  case Pgn::transportData:
    return Family_s{Protocol_e::tp, true};
  case Pgn::extendedTransportManagement:
    return Family_s{Protocol_e::etp, false};
  case Pgn::extendedTransportData:
    return Family_s{Protocol_e::etp, true};
  default:
    return std::nullopt;
  }
}

Control_e controlOf(Protocol_e protocol, const CanFrame_s& frame) {
  const bool isExtended = protocol == Protocol_e::etp;
  switch (frame.data[0]) {
  case connectionAbort:
    return Control_e::abort;
  case tpRequestToSend:
    return isExtended ? Control_e::unknown : Control_e::requestToSend;
  case tpClearToSend:
    return isExtended ? Control_e::unknown : Control_e::clearToSend;
  case tpEndOfMessage:
    return isExtended ? Control_e::unknown : Control_e::endOfMessage;
  case tpBroadcastAnnounce:
    return isExtended ? Control_e::unknown : Control_e::broadcastAnnounce;
  case etpRequestToSend:
    return isExtended ? Control_e::requestToSend : Control_e::unknown;
  case etpClearToSend:
    return isExtended ? Control_e::clearToSend : Control_e::unknown;
  case etpDataOffset:
    return isExtended ? Control_e::dataOffset : Control_e::unknown;
  case etpEndOfMessage:
    return isExtended ? Control_e::endOfMessage : Control_e::unknown;
  default:
    return Control_e::unknown;
  }
}

std::size_t controlSize(Protocol_e protocol, const CanFrame_s& frame) {
  return get(frame, 1, protocol == Protocol_e::etp ? etpSizeBytes : tpSizeBytes);
}

unsigned int controlCount(const CanFrame_s& frame) {
  return frame.data[1];
}

unsigned int controlNext(Protocol_e protocol, const CanFrame_s& frame) {
  return get(frame, 2, protocol == Protocol_e::etp ? etpNextBytes : tpNextBytes);
}

uint32_t controlPgn(const CanFrame_s& frame) {
  return get(frame, pgnAt, 3);
}

// In TP more than 1785 bytes take more packets than the byte for their number can say.
bool hasPossibleSize(Protocol_e protocol, const CanFrame_s& frame) {
  const std::size_t size = controlSize(protocol, frame);
  if (protocol == Protocol_e::etp) {
    return size > TransportProtocol_c::maxBytes && size <= TransportProtocol_c::maxExtendedBytes;
  }
  return size >= tpMinBytes && frame.data[3] == tpPackets(size);
}

} // namespace IsoBusHost
