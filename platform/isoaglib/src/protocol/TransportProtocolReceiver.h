// The receiving half of the transport protocol and of the extended one (ISO 11783-3).
#pragma once

#include "PacketWindow.h"
#include "TransportProtocolFrames.h"
#include "TransportProtocolOutlet.h"

#include <list>
#include <optional>

namespace IsoBusHost {

class TransportReceiver_c {
public:
  TransportReceiver_c(TransportOutlet_c& outlet, TransportProtocolStatistics_s& statistics);

  void setLimits(const ReceiveLimits_s& limits) { m_limits = limits; }

  // Each takes a frame on the link from the other side to us, or to all, and gives false when it is malformed or
  // belongs to no session. The priority is the one of the frame.
  bool handleRequestToSend(Protocol_e protocol, Link_s link, uint8_t priority, const CanFrame_s& frame);
  bool handleBroadcastAnnounce(Link_s link, uint8_t priority, const CanFrame_s& frame);
  bool handleDataOffset(Link_s link, const CanFrame_s& frame);
  bool handleAbort(Protocol_e protocol, Link_s link, const CanFrame_s& frame);
  bool handleData(Protocol_e protocol, Link_s link, const CanFrame_s& frame);

  // takeMessage: takes out the message that the last data frame has completed.
  std::optional<IsoMessage_s> takeMessage();

  void work(uint64_t nowMs);
  uint64_t dueMs() const;
  std::size_t sessions() const { return m_directed.size() + m_broadcasts.size(); }

  void dropAddress(uint8_t address);
  void dropAll();

private:
  // Broadcast_s: a message to all; its packets come in order or not at all.
  struct Broadcast_s {
    Link_s link;
    uint32_t pgn = 0;
    uint8_t priority = 7;
    std::vector<uint8_t> data;
    unsigned int next = 1;
    uint64_t dueMs = 0;
  };

  enum class Stage_e {
    answerDue,     // a CTS has still to go out
    awaitingFirst, // the first packet after a CTS
    awaitingNext,
  };

  // Directed_s: a message to us; each packet is asked for.
  struct Directed_s {
    Directed_s(Protocol_e protocol, Link_s link, const CanFrame_s& requestToSend);

    Protocol_e protocol;
    Link_s link;
    uint32_t pgn; // as the sender writes it, answers repeat it
    uint8_t priority = 7;
    std::size_t size;          // as announced
    unsigned int maxCount;     // packets that one CTS may ask for
    std::vector<uint8_t> data; // as far as packets have come
    PacketWindow_c window;
    unsigned int firstAsked = 0; // packets of the latest CTS, less those that a DPO leaves out
    unsigned int lastAsked = 0;
    bool isOpen;                   // data may come: in ETP only after a DPO
    unsigned int offset = 0;       // of the latest DPO
    unsigned int lastSequence = 0; // of the latest data frame
    Stage_e stage = Stage_e::answerDue;
    uint64_t dueMs;

    void store(unsigned int packet, const CanFrame_s& frame);
  };
  using Directed = std::list<Directed_s>;

  Directed::iterator find(Protocol_e protocol, Link_s link);
  std::list<Broadcast_s>::iterator findBroadcast(Link_s link);
  std::optional<AbortReason_e> reasonToRefuse(Protocol_e protocol, const CanFrame_s& requestToSend) const;
  bool handleBroadcastData(Link_s link, const CanFrame_s& frame);
  bool isMisplaced(const Directed_s& session, unsigned int sequence) const;
  void refuse(Protocol_e protocol, Link_s link, AbortReason_e reason, uint32_t pgn);
  bool abort(Directed::iterator session, AbortReason_e reason);
  void complete(Link_s link, uint8_t priority, uint32_t pgn, std::vector<uint8_t> data);

  // step, answer, fail: give false when the session is over.
  bool step(Directed_s& session, uint64_t nowMs);
  bool answer(Directed_s& session, uint64_t nowMs);
  bool fail(const Directed_s& session, AbortReason_e reason);

  TransportOutlet_c& m_outlet;
  TransportProtocolStatistics_s& m_statistics;
  ReceiveLimits_s m_limits;
  Directed m_directed;
  std::list<Broadcast_s> m_broadcasts;
  std::optional<IsoMessage_s> m_complete;
};

} // namespace IsoBusHost
