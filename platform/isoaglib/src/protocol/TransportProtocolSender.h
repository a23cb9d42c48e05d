// The sending half of the transport protocol and of the extended one (ISO 11783-3).
#pragma once

#include "TransportProtocolFrames.h"
#include "TransportProtocolOutlet.h"

#include <deque>
#include <list>
#include <vector>

namespace IsoBusHost {

class TransportSender_c {
public:
  using Done = TransportProtocol_c::Done;

  TransportSender_c(TransportOutlet_c& outlet, TransportProtocolStatistics_s& statistics);

  // add: queues a message whose addresses, PGN and length are in range; false when too much is queued.
  bool add(IsoMessage_s message, Done done);

  // Each takes a frame on the link from the other side to us and gives false when it belongs to no session.
  bool handleClearToSend(Protocol_e protocol, Link_s link, const CanFrame_s& frame);
  bool handleEndOfMessage(Protocol_e protocol, Link_s link, const CanFrame_s& frame);
  bool handleAbort(Protocol_e protocol, Link_s link, const CanFrame_s& frame);

  void work(uint64_t nowMs);
  uint64_t dueMs() const;
  std::size_t sessions() const { return m_sessions.size(); }

  void dropAddress(uint8_t address);
  void dropAll();

  // takeFinished: takes out the next message that is over and not told yet.
  bool takeFinished(Done& done, bool& sent);

private:
  struct Outgoing_s {
    IsoMessage_s message;
    Done done;
  };

  enum class Phase_e {
    announce,     // RTS or BAM has still to go out
    broadcasting, // BAM: packets go one by one
    waiting,      // for CTS or EoMA
    held,         // by a CTS for no packets
    sending,      // the packets of a CTS
  };

  // Session_s: what goes from one address to another; the message in front is the open one.
  struct Session_s {
    Link_s link;
    std::deque<Outgoing_s> queue;
    Phase_e phase = Phase_e::announce;
    uint64_t dueMs = 0;
    unsigned int first = 1; // packets of the CTS: first to last, next is the next one to go out
    unsigned int next = 1;
    unsigned int last = 0;
    bool isOffsetDue = false; // ETP: the DPO of the CTS has still to go out
    unsigned int highestSent = 0;
    std::vector<uint8_t> timesSent; // by packet number

    const IsoMessage_s& message() const { return queue.front().message; }
    unsigned int packets() const { return tpPackets(message().data.size()); }
    Protocol_e protocol() const { return protocolFor(message().data.size()); }
    unsigned int offset() const { return protocol() == Protocol_e::etp ? first - 1 : 0; }
    bool isBroadcast() const { return link.to == globalAddress; }
    bool isUnderWay() const { return phase == Phase_e::sending && next != first; }
  };

  struct Finished_s {
    Done done;
    bool sent = false;
  };

  Session_s* findOpen(Protocol_e protocol, Link_s link);
  Session_s* findMeant(Protocol_e protocol, Link_s link, const CanFrame_s& frame);
  Session_s& sessionFor(Link_s link);
  bool isRepeatLimitReached(const Session_s& session, unsigned int first, unsigned int last) const;
  void grant(Session_s& session, const CanFrame_s& clearToSend);

  void step(Session_s& session, uint64_t nowMs);
  void announce(Session_s& session, uint64_t nowMs);
  void sendBroadcastPacket(Session_s& session, uint64_t nowMs);
  void sendGranted(Session_s& session, uint64_t nowMs);
  bool sendPacket(Session_s& session);

  void abort(Session_s& session, AbortReason_e reason);
  void finish(Session_s& session, bool sent);
  void finishAll(Session_s& session);
  void removeEmpty();

  TransportOutlet_c& m_outlet;
  TransportProtocolStatistics_s& m_statistics;
  std::list<Session_s> m_sessions;
  std::deque<Finished_s> m_finished;
  std::size_t m_queued = 0;
};

} // namespace IsoBusHost
