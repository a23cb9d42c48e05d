#include "TransportProtocolSender.h"

#include "HostClock.h"

#include <algorithm>
#include <utility>

namespace IsoBusHost {

namespace {

constexpr std::size_t maxQueuedPerLink = 64;
constexpr std::size_t maxQueued = 1024;

} // namespace

TransportSender_c::TransportSender_c(TransportOutlet_c& outlet, TransportProtocolStatistics_s& statistics)
    : m_outlet(outlet), m_statistics(statistics) {}

bool TransportSender_c::add(IsoMessage_s message, Done done) {
  if (m_queued >= maxQueued) {
    return false;
  }
  Session_s& session = sessionFor({message.source, message.destination});
  if (session.queue.size() >= maxQueuedPerLink) {
    return false;
  }
  session.queue.push_back({std::move(message), std::move(done)});
  ++m_queued;
  return true;
}

TransportSender_c::Session_s& TransportSender_c::sessionFor(Link_s link) {
  const auto found = std::find_if(m_sessions.begin(), m_sessions.end(),
                                  [link](const Session_s& session) { return session.link == link; });
  if (found != m_sessions.end()) {
    return *found;
  }
  Session_s& session = m_sessions.emplace_back();
  session.link = link;
  session.dueMs = HostClock::nowMs();
  return session;
}

// findOpen: returns the session with a message that is announced to the sender of the frame.
TransportSender_c::Session_s* TransportSender_c::findOpen(Protocol_e protocol, Link_s link) {
  const Link_s ours = link.reversed();
  for (Session_s& session : m_sessions) {
    if (session.link == ours) {
      const bool isOpen = session.phase != Phase_e::announce && session.protocol() == protocol;
      return isOpen ? &session : nullptr;
    }
  }
  return nullptr;
}

// findMeant: returns it when the frame is about this very message.
TransportSender_c::Session_s* TransportSender_c::findMeant(Protocol_e protocol, Link_s link, const CanFrame_s& frame) {
  Session_s* session = findOpen(protocol, link);
  return session != nullptr && controlPgn(frame) == session->message().pgn ? session : nullptr;
}

bool TransportSender_c::handleClearToSend(Protocol_e protocol, Link_s link, const CanFrame_s& frame) {
  Session_s* session = findOpen(protocol, link);
  const bool isPgnWrong = session != nullptr && controlPgn(frame) != session->message().pgn;
  if (session == nullptr || (isPgnWrong && protocol == Protocol_e::tp)) {
    return false;
  }
  if (isPgnWrong) {
    abort(*session, AbortReason_e::wrongGrantPgn);
    removeEmpty();
    return true;
  }
  // A CTS of which no packet has gone out yet may still be replaced.
  if (session->isUnderWay()) {
    abort(*session, AbortReason_e::ctsWhileSending);
  } else if (controlCount(frame) == 0) {
    session->phase = Phase_e::held;
    session->dueMs = HostClock::nowMs() + TpTime::t4;
  } else {
    grant(*session, frame);
  }
  removeEmpty();
  return true;
}

// grant: a CTS may repeat or go on, but not skip. More packets than are left means all that are left.
void TransportSender_c::grant(Session_s& session, const CanFrame_s& clearToSend) {
  const unsigned int first = controlNext(session.protocol(), clearToSend);
  if (session.protocol() == Protocol_e::etp && first > session.packets()) {
    abort(session, AbortReason_e::grantBeyondMessage);
    return;
  }
  if (first == 0 || first > session.packets() || first > session.highestSent + 1) {
    abort(session, AbortReason_e::other);
    return;
  }
  const unsigned int last = std::min(first + controlCount(clearToSend) - 1, session.packets());
  if (isRepeatLimitReached(session, first, last)) {
    abort(session, AbortReason_e::repeatLimit);
    return;
  }
  session.phase = Phase_e::sending;
  session.dueMs = HostClock::nowMs();
  session.first = first;
  session.next = first;
  session.last = last;
  session.isOffsetDue = session.protocol() == Protocol_e::etp;
}

bool TransportSender_c::isRepeatLimitReached(const Session_s& session, unsigned int first, unsigned int last) const {
  const auto begin = session.timesSent.begin();
  return std::any_of(begin + static_cast<std::ptrdiff_t>(first), begin + static_cast<std::ptrdiff_t>(last) + 1,
                     [](uint8_t times) { return times > tpMaxRepeats; });
}

bool TransportSender_c::handleEndOfMessage(Protocol_e protocol, Link_s link, const CanFrame_s& frame) {
  Session_s* session = findMeant(protocol, link, frame);
  if (session == nullptr || session->highestSent != session->packets() || !hasPossibleSize(protocol, frame) ||
      controlSize(protocol, frame) != session->message().data.size()) {
    return false;
  }
  finish(*session, true);
  removeEmpty();
  return true;
}

bool TransportSender_c::handleAbort(Protocol_e protocol, Link_s link, const CanFrame_s& frame) {
  Session_s* session = findMeant(protocol, link, frame);
  if (session == nullptr) {
    return false;
  }
  finish(*session, false);
  removeEmpty();
  return true;
}

void TransportSender_c::work(uint64_t nowMs) {
  for (Session_s& session : m_sessions) {
    if (nowMs >= session.dueMs) {
      step(session, nowMs);
    }
  }
  removeEmpty();
}

void TransportSender_c::step(Session_s& session, uint64_t nowMs) {
  switch (session.phase) {
  case Phase_e::announce:
    announce(session, nowMs);
    break;
  case Phase_e::broadcasting:
    sendBroadcastPacket(session, nowMs);
    break;
  case Phase_e::sending:
    sendGranted(session, nowMs);
    break;
  case Phase_e::waiting:
  case Phase_e::held:
    abort(session, AbortReason_e::timeout);
    break;
  }
}

void TransportSender_c::announce(Session_s& session, uint64_t nowMs) {
  const bool isBroadcast = session.isBroadcast();
  if (!m_outlet.send(isBroadcast ? makeBroadcastAnnounce(session.link, session.message())
                                 : makeRequestToSend(session.link, session.message()))) {
    return;
  }
  session.next = 1;
  session.highestSent = 0;
  session.first = 1;
  session.timesSent.assign(session.packets() + std::size_t{1}, 0);
  session.phase = isBroadcast ? Phase_e::broadcasting : Phase_e::waiting;
  session.dueMs = nowMs + (isBroadcast ? TransportProtocol_c::bamIntervalMs : TpTime::t3);
}

// The interval counts from the packet before, not from the plan: no burst after a pause of the application.
void TransportSender_c::sendBroadcastPacket(Session_s& session, uint64_t nowMs) {
  if (!sendPacket(session)) {
    return;
  }
  session.dueMs = nowMs + TransportProtocol_c::bamIntervalMs;
  if (session.next > session.packets()) {
    finish(session, true);
  }
}

void TransportSender_c::sendGranted(Session_s& session, uint64_t nowMs) {
  if (session.isOffsetDue) {
    const unsigned int count = session.last - session.first + 1;
    if (!m_outlet.send(makeDataOffset(session.link, count, session.offset(), session.message().pgn))) {
      return;
    }
    session.isOffsetDue = false;
  }
  while (session.next <= session.last) {
    if (!sendPacket(session)) {
      return;
    }
  }
  session.phase = Phase_e::waiting;
  session.dueMs = nowMs + TpTime::t3;
}

bool TransportSender_c::sendPacket(Session_s& session) {
  if (!m_outlet.send(makeData(session.link, session.next, session.offset(), session.message().data))) {
    return false;
  }
  ++session.timesSent[session.next];
  session.highestSent = std::max(session.highestSent, session.next);
  ++session.next;
  return true;
}

uint64_t TransportSender_c::dueMs() const {
  uint64_t due = never;
  for (const Session_s& session : m_sessions) {
    due = std::min(due, session.dueMs);
  }
  return due;
}

void TransportSender_c::abort(Session_s& session, AbortReason_e reason) {
  m_outlet.post(makeAbort(session.protocol(), session.link, reason, session.message().pgn));
  finish(session, false);
}

// finish: the message in front is over; the next one is announced with the next work().
void TransportSender_c::finish(Session_s& session, bool sent) {
  ++(sent ? m_statistics.messagesSent : m_statistics.sendsFailed);
  m_finished.push_back({std::move(session.queue.front().done), sent});
  session.queue.pop_front();
  --m_queued;
  session.phase = Phase_e::announce;
  session.dueMs = HostClock::nowMs();
}

void TransportSender_c::finishAll(Session_s& session) {
  while (!session.queue.empty()) {
    finish(session, false);
  }
}

void TransportSender_c::removeEmpty() {
  m_sessions.remove_if([](const Session_s& session) { return session.queue.empty(); });
}

void TransportSender_c::dropAddress(uint8_t address) {
  for (Session_s& session : m_sessions) {
    if (session.link.from == address) {
      finishAll(session);
    }
  }
  removeEmpty();
}

void TransportSender_c::dropAll() {
  for (Session_s& session : m_sessions) {
    finishAll(session);
  }
  m_sessions.clear();
}

bool TransportSender_c::takeFinished(Done& done, bool& sent) {
  if (m_finished.empty()) {
    return false;
  }
  done = std::move(m_finished.front().done);
  sent = m_finished.front().sent;
  m_finished.pop_front();
  return true;
}

} // namespace IsoBusHost
