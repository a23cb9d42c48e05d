#include "TransportProtocol.h"

#include "HostClock.h"
#include "TransportProtocolReceiver.h"
#include "TransportProtocolSender.h"

#include <algorithm>
#include <utility>

namespace IsoBusHost {

struct TransportProtocol_c::Parts_s {
  Parts_s(const std::function<bool(const CanFrame_s&)>& sendFrame, TransportProtocolStatistics_s& statistics)
      : outlet(sendFrame), sender(outlet, statistics), receiver(outlet, statistics) {}

  TransportOutlet_c outlet;
  TransportSender_c sender;
  TransportReceiver_c receiver;
  bool isSending = false;
  bool isReceiving = false;
};

TransportProtocol_c::TransportProtocol_c(Callbacks_s callbacks)
    : m_callbacks(std::move(callbacks)), m_parts(std::make_unique<Parts_s>(m_callbacks.sendFrame, m_statistics)) {}

TransportProtocol_c::~TransportProtocol_c() = default;

void TransportProtocol_c::setReceiving(bool on) {
  m_parts->isReceiving = on;
  if (!on) {
    m_parts->receiver.dropAll();
  }
}

void TransportProtocol_c::setSending(bool on) {
  m_parts->isSending = on;
  if (!on) {
    m_parts->sender.dropAll();
    tellDone();
  }
}

void TransportProtocol_c::setReceiveLimits(const ReceiveLimits_s& limits) {
  m_parts->receiver.setLimits(limits);
}

bool TransportProtocol_c::send(IsoMessage_s message, Done done) {
  const std::size_t bytes = message.data.size();
  const std::size_t most = message.destination == globalAddress ? maxBytes : maxExtendedBytes;
  if (!m_parts->isSending || bytes < tpMinBytes || bytes > most || message.pgn > maxPgn ||
      message.source > maxAddress || message.destination == nullAddress) {
    return false;
  }
  message.pgn = normalPgn(message.pgn);
  return m_parts->sender.add(std::move(message), std::move(done));
}

void TransportProtocol_c::handleFrame(const CanFrame_s& frame) {
  if (!frame.extended) {
    return;
  }
  const IsoId_s id = decodeIdentifier(frame.identifier);
  const bool isForUs = id.destination == globalAddress || m_callbacks.isOwnAddress(id.destination);
  if (familyOf(id.pgn) && isForUs) {
    dispatch(id, frame);
  }
}

// A frame from an own address comes from somebody who has no right to it.
void TransportProtocol_c::dispatch(const IsoId_s& id, const CanFrame_s& frame) {
  if (frame.length != 8 || id.source > maxAddress || m_callbacks.isOwnAddress(id.source)) {
    ++m_statistics.framesIgnored;
    return;
  }
  if (!dispatchToParts(id, frame)) {
    ++m_statistics.framesIgnored;
    return;
  }
  if (std::optional<IsoMessage_s> message = m_parts->receiver.takeMessage()) {
    m_parts->outlet.flush(); // its acknowledgement stands on the bus before any answer to it
    m_callbacks.deliver(std::move(*message));
  }
  tellDone();
}

bool TransportProtocol_c::dispatchToParts(const IsoId_s& id, const CanFrame_s& frame) {
  const std::optional<Family_s> family = familyOf(id.pgn);
  if (!family) {
    return false;
  }
  const Protocol_e protocol = family->protocol;
  const Link_s link{id.source, id.destination};
  const bool isReceiving = m_parts->isReceiving;
  TransportSender_c& sender = m_parts->sender;
  TransportReceiver_c& receiver = m_parts->receiver;
  if (family->isData) {
    return isReceiving && receiver.handleData(protocol, link, frame);
  }
  switch (controlOf(protocol, frame)) {
  case Control_e::requestToSend:
    return isReceiving && receiver.handleRequestToSend(protocol, link, id.priority, frame);
  case Control_e::broadcastAnnounce:
    return isReceiving && receiver.handleBroadcastAnnounce(link, id.priority, frame);
  case Control_e::dataOffset:
    return isReceiving && receiver.handleDataOffset(link, frame);
  case Control_e::clearToSend:
    return sender.handleClearToSend(protocol, link, frame);
  case Control_e::endOfMessage:
    return sender.handleEndOfMessage(protocol, link, frame);
  case Control_e::abort: {
    // The frame does not say which direction it means: with the same PGN both ways it ends both.
    const bool isSenders = sender.handleAbort(protocol, link, frame);
    const bool isReceivers = receiver.handleAbort(protocol, link, frame);
    return isSenders || isReceivers;
  }
  case Control_e::unknown:
    break;
  }
  return false;
}

void TransportProtocol_c::work() {
  const uint64_t nowMs = HostClock::nowMs();
  m_parts->outlet.beginRound();
  m_parts->receiver.work(nowMs);
  m_parts->sender.work(nowMs);
  m_parts->outlet.flush();
  tellDone();
}

// While the bus takes nothing, what is ready waits for the next attempt instead of being due all the time.
uint64_t TransportProtocol_c::nextDueMs() const {
  const uint64_t due = std::min({m_parts->outlet.dueMs(), m_parts->receiver.dueMs(), m_parts->sender.dueMs()});
  return std::max(due, m_parts->outlet.retryMs());
}

void TransportProtocol_c::dropAddress(uint8_t address) {
  m_parts->outlet.dropFrom(address);
  m_parts->receiver.dropAddress(address);
  m_parts->sender.dropAddress(address);
  tellDone();
}

// A done that sends, drops or works on finds everything in order: its own message is out of the queue.
void TransportProtocol_c::tellDone() {
  Done done;
  bool sent = false;
  while (m_parts->sender.takeFinished(done, sent)) {
    if (done) {
      done(sent);
    }
  }
}

std::size_t TransportProtocol_c::openSessions() const {
  return m_parts->sender.sessions() + m_parts->receiver.sessions();
}

} // namespace IsoBusHost
