#include "TransportProtocolReceiver.h"

#include "HostClock.h"

#include <algorithm>
#include <utility>

namespace IsoBusHost {

namespace {

// Each kind has its own limit: announcements to all, however many, leave room for what is meant for us alone.
constexpr std::size_t maxDirected = 64;
constexpr std::size_t maxExtended = 16;
constexpr std::size_t maxBroadcasts = 64;
constexpr unsigned int packetsPerClearToSend = 16;
constexpr std::size_t firstBytes = 1024;

void copyPacket(std::vector<uint8_t>& data, unsigned int packet, const CanFrame_s& frame) {
  const std::size_t begin = std::size_t{tpPacketBytes} * (packet - 1U);
  const std::size_t bytes = std::min<std::size_t>(tpPacketBytes, data.size() - begin);
  std::copy_n(frame.data.data() + 1, bytes, data.data() + begin);
}

// maxCountOf: in TP the sender may allow less, even nothing.
unsigned int maxCountOf(Protocol_e protocol, const CanFrame_s& requestToSend) {
  return protocol == Protocol_e::etp ? packetsPerClearToSend
                                     : std::min<unsigned int>(packetsPerClearToSend, requestToSend.data[4]);
}

} // namespace

TransportReceiver_c::Directed_s::Directed_s(Protocol_e ofProtocol, Link_s onLink, const CanFrame_s& requestToSend)
    : protocol(ofProtocol), link(onLink), pgn(controlPgn(requestToSend)), size(controlSize(ofProtocol, requestToSend)),
      maxCount(maxCountOf(ofProtocol, requestToSend)), window(tpPackets(size)), isOpen(ofProtocol == Protocol_e::tp),
      dueMs(HostClock::nowMs()) {}

// The memory grows with what has come: an announcement alone costs nothing.
void TransportReceiver_c::Directed_s::store(unsigned int packet, const CanFrame_s& frame) {
  const std::size_t end = std::min(size, std::size_t{tpPacketBytes} * packet);
  if (end > data.capacity()) {
    data.reserve(std::min(size, std::max({end, firstBytes, 2 * data.capacity()})));
  }
  if (end > data.size()) {
    data.resize(end);
  }
  copyPacket(data, packet, frame);
  window.store(packet);
}

TransportReceiver_c::TransportReceiver_c(TransportOutlet_c& outlet, TransportProtocolStatistics_s& statistics)
    : m_outlet(outlet), m_statistics(statistics) {}

TransportReceiver_c::Directed::iterator TransportReceiver_c::find(Protocol_e protocol, Link_s link) {
  return std::find_if(m_directed.begin(), m_directed.end(), [protocol, link](const Directed_s& session) {
    return session.protocol == protocol && session.link == link;
  });
}

std::list<TransportReceiver_c::Broadcast_s>::iterator TransportReceiver_c::findBroadcast(Link_s link) {
  return std::find_if(m_broadcasts.begin(), m_broadcasts.end(),
                      [link](const Broadcast_s& session) { return session.link == link; });
}

bool TransportReceiver_c::handleRequestToSend(Protocol_e protocol, Link_s link, uint8_t priority,
                                              const CanFrame_s& frame) {
  const uint32_t pgn = controlPgn(frame);
  if (link.to == globalAddress || pgn > maxPgn) {
    return false;
  }
  const auto open = find(protocol, link);
  if (open != m_directed.end()) {
    if (open->pgn != pgn) {
      refuse(protocol, link, AbortReason_e::alreadyConnected, pgn);
      return true;
    }
    // The sender begins anew.
    ++m_statistics.receivesFailed;
    m_directed.erase(open);
  }
  if (const std::optional<AbortReason_e> reason = reasonToRefuse(protocol, frame)) {
    refuse(protocol, link, *reason, pgn);
    return true;
  }
  m_directed.emplace_back(protocol, link, frame).priority = priority;
  return true;
}

std::optional<AbortReason_e> TransportReceiver_c::reasonToRefuse(Protocol_e protocol,
                                                                 const CanFrame_s& requestToSend) const {
  const bool isExtended = protocol == Protocol_e::etp;
  if (!hasPossibleSize(protocol, requestToSend)) {
    return isExtended ? AbortReason_e::other : AbortReason_e::tooLong;
  }
  if (maxCountOf(protocol, requestToSend) == 0) {
    return AbortReason_e::other;
  }
  std::size_t sessions = 0;
  std::size_t bytes = controlSize(protocol, requestToSend);
  const bool isTooLong = isExtended && bytes > m_limits.longest;
  for (const Directed_s& session : m_directed) {
    if (session.protocol == protocol) {
      ++sessions;
      bytes += session.size;
    }
  }
  const bool isTooMuch = isExtended && bytes > m_limits.together;
  const bool hasRoom = sessions < (isExtended ? maxExtended : maxDirected) && !isTooLong && !isTooMuch;
  return hasRoom ? std::nullopt : std::optional(AbortReason_e::noResources);
}

void TransportReceiver_c::refuse(Protocol_e protocol, Link_s link, AbortReason_e reason, uint32_t pgn) {
  ++m_statistics.receivesFailed;
  m_outlet.post(makeAbort(protocol, link.reversed(), reason, pgn));
}

bool TransportReceiver_c::abort(Directed::iterator session, AbortReason_e reason) {
  refuse(session->protocol, session->link, reason, session->pgn);
  m_directed.erase(session);
  return true;
}

bool TransportReceiver_c::handleBroadcastAnnounce(Link_s link, uint8_t priority, const CanFrame_s& frame) {
  if (link.to != globalAddress || controlPgn(frame) > maxPgn || !hasPossibleSize(Protocol_e::tp, frame)) {
    return false;
  }
  const auto open = findBroadcast(link);
  if (open != m_broadcasts.end()) {
    ++m_statistics.receivesFailed;
    m_broadcasts.erase(open);
  }
  if (m_broadcasts.size() >= maxBroadcasts) {
    return false;
  }
  Broadcast_s& session = m_broadcasts.emplace_back();
  session.link = link;
  session.pgn = controlPgn(frame);
  session.priority = priority;
  session.data.resize(controlSize(Protocol_e::tp, frame));
  session.dueMs = HostClock::nowMs() + TpTime::t1;
  return true;
}

bool TransportReceiver_c::handleAbort(Protocol_e protocol, Link_s link, const CanFrame_s& frame) {
  const auto session = find(protocol, link);
  if (session == m_directed.end() || session->pgn != controlPgn(frame)) {
    return false;
  }
  ++m_statistics.receivesFailed;
  m_directed.erase(session);
  return true;
}

// A DPO may come again, and say something else, until the first packet has come. It may name fewer packets than the
// CTS.
bool TransportReceiver_c::handleDataOffset(Link_s link, const CanFrame_s& frame) {
  const auto session = find(Protocol_e::etp, link);
  if (session == m_directed.end()) {
    return false;
  }
  if (controlPgn(frame) != session->pgn) {
    return abort(session, AbortReason_e::wrongOffsetPgn);
  }
  if (session->stage != Stage_e::awaitingFirst) {
    return abort(session, AbortReason_e::unexpectedOffset);
  }
  const unsigned int count = controlCount(frame);
  const unsigned int end = session->firstAsked + count;
  if (end > session->lastAsked + 1) {
    return abort(session, AbortReason_e::offsetBeyondGrant);
  }
  if (controlNext(Protocol_e::etp, frame) != session->firstAsked - 1) {
    return abort(session, AbortReason_e::wrongOffset);
  }
  if (count == 0) {
    return abort(session, AbortReason_e::other);
  }
  session->window.withdraw(end, session->lastAsked + 1);
  session->lastAsked = end - 1;
  session->offset = session->firstAsked - 1;
  session->isOpen = true;
  return true;
}

bool TransportReceiver_c::handleBroadcastData(Link_s link, const CanFrame_s& frame) {
  const auto session = findBroadcast(link);
  if (session == m_broadcasts.end()) {
    return false;
  }
  if (frame.data[0] != session->next) {
    ++m_statistics.receivesFailed;
    m_broadcasts.erase(session);
    return true;
  }
  copyPacket(session->data, session->next, frame);
  session->dueMs = HostClock::nowMs() + TpTime::t1;
  if (session->next++ == tpPackets(session->data.size())) {
    complete(link, session->priority, session->pgn, std::move(session->data));
    m_broadcasts.erase(session);
  }
  return true;
}

// isMisplaced: whether a data frame of ETP belongs to no DPO. The last frame of the block before may come twice.
bool TransportReceiver_c::isMisplaced(const Directed_s& session, unsigned int sequence) const {
  if (session.protocol == Protocol_e::tp) {
    return false;
  }
  const bool isInside =
      session.isOpen ? sequence <= session.lastAsked - session.offset : sequence == session.lastSequence;
  return sequence == 0 || !isInside;
}

// A packet that was not asked for, or is there already, changes nothing, not even the time-out.
bool TransportReceiver_c::handleData(Protocol_e protocol, Link_s link, const CanFrame_s& frame) {
  if (link.to == globalAddress) {
    return protocol == Protocol_e::tp && handleBroadcastData(link, frame);
  }
  const unsigned int sequence = frame.data[0];
  const auto session = find(protocol, link);
  if (session == m_directed.end()) {
    return false;
  }
  if (isMisplaced(*session, sequence)) {
    return abort(session, session->isOpen ? AbortReason_e::wrongSequence : AbortReason_e::unexpectedData);
  }
  const unsigned int packet = session->offset + sequence;
  if (!session->isOpen || !session->window.isWanted(packet)) {
    return false;
  }
  session->store(packet, frame);
  session->lastSequence = sequence;
  if (session->window.isComplete()) {
    m_outlet.post(makeEndOfMessage(link.reversed(), session->size, session->pgn));
    complete(link, session->priority, session->pgn, std::move(session->data));
    m_directed.erase(session);
    return true;
  }
  if (session->stage == Stage_e::answerDue) {
    return true;
  }
  // What is missing is asked for when the sender is through with the last CTS: before, a CTS would end the session.
  const bool isLast = packet == session->lastAsked;
  session->stage = isLast ? Stage_e::answerDue : Stage_e::awaitingNext;
  session->dueMs = HostClock::nowMs() + (isLast ? 0 : TpTime::t1);
  return true;
}

void TransportReceiver_c::complete(Link_s link, uint8_t priority, uint32_t pgn, std::vector<uint8_t> data) {
  ++m_statistics.messagesReceived;
  m_complete = IsoMessage_s{normalPgn(pgn), priority, link.from, link.to, std::move(data)};
}

std::optional<IsoMessage_s> TransportReceiver_c::takeMessage() {
  return std::exchange(m_complete, std::nullopt);
}

void TransportReceiver_c::work(uint64_t nowMs) {
  m_directed.remove_if([this, nowMs](Directed_s& session) { return !step(session, nowMs); });
  m_broadcasts.remove_if([this, nowMs](const Broadcast_s& session) {
    if (nowMs < session.dueMs) {
      return false;
    }
    ++m_statistics.receivesFailed;
    return true;
  });
}

bool TransportReceiver_c::step(Directed_s& session, uint64_t nowMs) {
  if (nowMs < session.dueMs) {
    return true;
  }
  if (session.stage == Stage_e::awaitingNext && session.window.hasGap()) {
    session.stage = Stage_e::answerDue;
    session.dueMs = nowMs;
  }
  return session.stage == Stage_e::answerDue ? answer(session, nowMs) : fail(session, AbortReason_e::timeout);
}

// answer: asks for the first packets that are missing, one behind the other.
bool TransportReceiver_c::answer(Directed_s& session, uint64_t nowMs) {
  const unsigned int first = session.window.firstMissing();
  const unsigned int end = session.window.endOfMissing(session.maxCount);
  if (session.window.timesAsked(first, end) > tpMaxRepeats) {
    return fail(session, AbortReason_e::repeatLimit);
  }
  if (!m_outlet.send(makeClearToSend(session.protocol, session.link.reversed(), end - first, first, session.pgn))) {
    return nowMs < session.dueMs + TpTime::t2 || fail(session, AbortReason_e::timeout);
  }
  session.window.ask(first, end);
  session.firstAsked = first;
  session.lastAsked = end - 1;
  session.isOpen = session.protocol == Protocol_e::tp;
  session.stage = Stage_e::awaitingFirst;
  session.dueMs = nowMs + TpTime::t2;
  return true;
}

bool TransportReceiver_c::fail(const Directed_s& session, AbortReason_e reason) {
  refuse(session.protocol, session.link, reason, session.pgn);
  return false;
}

uint64_t TransportReceiver_c::dueMs() const {
  uint64_t due = never;
  for (const Directed_s& session : m_directed) {
    due = std::min(due, session.dueMs);
  }
  for (const Broadcast_s& session : m_broadcasts) {
    due = std::min(due, session.dueMs);
  }
  return due;
}

void TransportReceiver_c::dropAddress(uint8_t address) {
  m_directed.remove_if([this, address](const Directed_s& session) {
    const bool isOver = session.link.to == address;
    m_statistics.receivesFailed += isOver ? 1 : 0;
    return isOver;
  });
}

void TransportReceiver_c::dropAll() {
  m_statistics.receivesFailed += sessions();
  m_directed.clear();
  m_broadcasts.clear();
}

} // namespace IsoBusHost
