#include "TransportProtocolReceiver.h"

#include "HostClock.h"

#include <algorithm>
#include <utility>

namespace IsoBusHost {

namespace {

// Each kind has its own limit: announcements to all, however many, leave room for what is meant for us alone.
constexpr std::size_t maxDirected = 64;
constexpr std::size_t maxBroadcasts = 64;
constexpr unsigned int packetsPerClearToSend = 16;

template <typename Sessions>
auto findSession(Sessions& sessions, Link_s link) {
  return std::find_if(sessions.begin(), sessions.end(), [link](const auto& session) { return session.link == link; });
}

void storePacket(std::vector<uint8_t>& data, const CanFrame_s& frame) {
  const std::size_t begin = std::size_t{tpPacketBytes} * (frame.data[0] - 1U);
  const std::size_t bytes = std::min<std::size_t>(tpPacketBytes, data.size() - begin);
  std::copy_n(frame.data.data() + 1, bytes, data.data() + begin);
}

} // namespace

TransportReceiver_c::TransportReceiver_c(TransportOutlet_c& outlet, TransportProtocolStatistics_s& statistics)
    : m_outlet(outlet), m_statistics(statistics) {}

unsigned int TransportReceiver_c::Directed_s::firstMissing() const {
  unsigned int packet = 1;
  while (packet <= packets() && received[packet]) {
    ++packet;
  }
  return packet;
}

bool TransportReceiver_c::handleRequestToSend(Link_s link, uint8_t priority, const CanFrame_s& frame) {
  const uint32_t pgn = controlPgn(frame);
  if (link.to == globalAddress || pgn > maxPgn) {
    return false;
  }
  const auto open = findSession(m_directed, link);
  if (open != m_directed.end()) {
    if (open->pgn != pgn) {
      refuse(link, AbortReason_e::alreadyConnected, pgn);
      return true;
    }
    // The sender begins anew.
    ++m_statistics.receivesFailed;
    m_directed.erase(open);
  }
  if (!hasPossibleSize(frame)) {
    refuse(link, AbortReason_e::tooLong, pgn);
  } else if (frame.data[4] == 0) {
    refuse(link, AbortReason_e::other, pgn);
  } else if (m_directed.size() >= maxDirected) {
    refuse(link, AbortReason_e::noResources, pgn);
  } else {
    openDirected(link, priority, frame);
  }
  return true;
}

void TransportReceiver_c::refuse(Link_s link, AbortReason_e reason, uint32_t pgn) {
  ++m_statistics.receivesFailed;
  m_outlet.post(makeAbort(link.reversed(), reason, pgn));
}

void TransportReceiver_c::openDirected(Link_s link, uint8_t priority, const CanFrame_s& requestToSend) {
  Directed_s& session = m_directed.emplace_back();
  session.link = link;
  session.pgn = controlPgn(requestToSend);
  session.priority = priority;
  session.maxCount = std::min<unsigned int>(packetsPerClearToSend, requestToSend.data[4]);
  session.data.resize(controlSize(requestToSend));
  session.dueMs = HostClock::nowMs();
}

bool TransportReceiver_c::handleBroadcastAnnounce(Link_s link, uint8_t priority, const CanFrame_s& frame) {
  if (link.to != globalAddress || controlPgn(frame) > maxPgn || !hasPossibleSize(frame)) {
    return false;
  }
  const auto open = findSession(m_broadcasts, link);
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
  session.data.resize(controlSize(frame));
  session.dueMs = HostClock::nowMs() + TpTime::t1;
  return true;
}

bool TransportReceiver_c::handleAbort(Link_s link, const CanFrame_s& frame) {
  const auto session = findSession(m_directed, link);
  if (session == m_directed.end() || session->pgn != controlPgn(frame)) {
    return false;
  }
  ++m_statistics.receivesFailed;
  m_directed.erase(session);
  return true;
}

bool TransportReceiver_c::handleData(Link_s link, const CanFrame_s& frame) {
  return link.to == globalAddress ? handleBroadcastData(link, frame) : handleDirectedData(link, frame);
}

bool TransportReceiver_c::handleBroadcastData(Link_s link, const CanFrame_s& frame) {
  const auto session = findSession(m_broadcasts, link);
  if (session == m_broadcasts.end()) {
    return false;
  }
  if (frame.data[0] != session->next) {
    ++m_statistics.receivesFailed;
    m_broadcasts.erase(session);
    return true;
  }
  storePacket(session->data, frame);
  session->dueMs = HostClock::nowMs() + TpTime::t1;
  if (session->next++ == tpPackets(session->data.size())) {
    complete(link, session->priority, session->pgn, std::move(session->data));
    m_broadcasts.erase(session);
  }
  return true;
}

// A packet that was not asked for, or is there already, changes nothing, not even the time-out.
bool TransportReceiver_c::handleDirectedData(Link_s link, const CanFrame_s& frame) {
  const unsigned int packet = frame.data[0];
  const auto session = findSession(m_directed, link);
  if (session == m_directed.end() || packet == 0 || packet > session->highestAsked || session->received[packet]) {
    return false;
  }
  storePacket(session->data, frame);
  session->received.set(packet);
  if (session->received.count() == session->packets()) {
    m_outlet.post(makeEndOfMessage(link.reversed(), session->data.size(), session->pgn));
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
  if (session.stage == Stage_e::awaitingNext && session.hasGap()) {
    session.stage = Stage_e::answerDue;
    session.dueMs = nowMs;
  }
  return session.stage == Stage_e::answerDue ? answer(session, nowMs) : fail(session, AbortReason_e::timeout);
}

// answer: asks for the first packets that are missing, one behind the other.
bool TransportReceiver_c::answer(Directed_s& session, uint64_t nowMs) {
  const unsigned int first = session.firstMissing();
  unsigned int end = first;
  while (end <= session.packets() && end - first < session.maxCount && !session.received[end]) {
    if (session.timesAsked[end] > tpMaxRepeats) {
      return fail(session, AbortReason_e::repeatLimit);
    }
    ++end;
  }
  if (!m_outlet.send(makeClearToSend(session.link.reversed(), end - first, first, session.pgn))) {
    return nowMs < session.dueMs + TpTime::t2 || fail(session, AbortReason_e::timeout);
  }
  for (unsigned int packet = first; packet < end; ++packet) {
    ++session.timesAsked[packet];
  }
  session.lastAsked = end - 1;
  session.highestAsked = std::max(session.highestAsked, session.lastAsked);
  session.stage = Stage_e::awaitingFirst;
  session.dueMs = nowMs + TpTime::t2;
  return true;
}

bool TransportReceiver_c::fail(const Directed_s& session, AbortReason_e reason) {
  refuse(session.link, reason, session.pgn);
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
