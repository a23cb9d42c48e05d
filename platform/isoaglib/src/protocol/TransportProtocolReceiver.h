// The receiving half of the transport protocol (ISO 11783-3).
#pragma once

#include "TransportProtocolFrames.h"

#include <array>
#include <bitset>
#include <list>
#include <optional>

namespace IsoBusHost {

class TransportReceiver_c {
public:
  TransportReceiver_c(TransportOutlet_c& outlet, TransportProtocolStatistics_s& statistics);

  // Each takes a frame on the link from the other side to us, or to all, and gives false when it is malformed or
  // belongs to no session. The priority is the one of the frame.
  bool handleRequestToSend(Link_s link, uint8_t priority, const CanFrame_s& frame);
  bool handleBroadcastAnnounce(Link_s link, uint8_t priority, const CanFrame_s& frame);
  bool handleAbort(Link_s link, const CanFrame_s& frame);
  bool handleData(Link_s link, const CanFrame_s& frame);

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
    Link_s link;
    uint32_t pgn = 0; // as the sender writes it, answers repeat it
    uint8_t priority = 7;
    unsigned int maxCount = 1; // packets that one CTS may ask for
    std::vector<uint8_t> data;
    std::bitset<256> received;
    std::array<uint8_t, 256> timesAsked{};
    unsigned int highestAsked = 0;
    unsigned int lastAsked = 0; // last packet of the latest CTS
    Stage_e stage = Stage_e::answerDue;
    uint64_t dueMs = 0;

    unsigned int packets() const { return tpPackets(data.size()); }
    unsigned int firstMissing() const;
    bool hasGap() const { return received.count() >= firstMissing(); }
  };

  bool handleBroadcastData(Link_s link, const CanFrame_s& frame);
  bool handleDirectedData(Link_s link, const CanFrame_s& frame);
  void refuse(Link_s link, AbortReason_e reason, uint32_t pgn);
  void openDirected(Link_s link, uint8_t priority, const CanFrame_s& requestToSend);
  void complete(Link_s link, uint8_t priority, uint32_t pgn, std::vector<uint8_t> data);

  // step, answer, fail: give false when the session is over.
  bool step(Directed_s& session, uint64_t nowMs);
  bool answer(Directed_s& session, uint64_t nowMs);
  bool fail(const Directed_s& session, AbortReason_e reason);

  TransportOutlet_c& m_outlet;
  TransportProtocolStatistics_s& m_statistics;
  std::list<Directed_s> m_directed;
  std::list<Broadcast_s> m_broadcasts;
  std::optional<IsoMessage_s> m_complete;
};

} // namespace IsoBusHost
