// Messages of more than 8 bytes (ISO 11783-3): BAM to all, RTS/CTS to one destination, the extended protocol (ETP) for
// more than 1785 bytes to one destination. Sending and receiving, several sessions at once, for all addresses of one
// node on one bus.
//
//   Order of use: handleFrame for every frame of PGN EC00, EB00, C800 and C700; work() whenever nextDueMs() has come.
//   Threads: one thread. deliver and done may call anything here; sendFrame and isOwnAddress call nothing back.
#pragma once

#include "CanFrame.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace IsoBusHost {

// IsoMessage_s: one complete message, whatever number of frames carried it.
struct IsoMessage_s {
  uint32_t pgn = 0; // of a PDU1 message the low byte is 0
  uint8_t priority = 6;
  uint8_t source = nullAddress;
  uint8_t destination = globalAddress;
  std::vector<uint8_t> data;
};

// The reasons of a connection abort (ISO 11783-3).
enum class AbortReason_e : uint8_t {
  alreadyConnected = 1,
  noResources = 2,
  timeout = 3,
  ctsWhileSending = 4,
  repeatLimit = 5,
  unexpectedData = 6,
  wrongSequence = 7,
  duplicateSequence = 8,
  tooLong = 9,          // TP
  unexpectedOffset = 9, // ETP, as are all below: DPO that no CTS has asked for
  wrongOffsetPgn = 10,
  offsetBeyondGrant = 11, // more packets than the CTS has asked for
  wrongOffset = 12,
  wrongGrantPgn = 14,
  grantBeyondMessage = 15,
  other = 250,
};

// ReceiveLimits_s: what the other side may have us keep, in bytes. A message of the extended protocol beyond one of the
// limits is refused with the reason "no resources".
struct ReceiveLimits_s {
  std::size_t longest = std::size_t{16} << 20U;  // one message
  std::size_t together = std::size_t{64} << 20U; // the announced lengths of all that are being received
};

struct TransportProtocolStatistics_s {
  uint64_t messagesSent = 0;
  uint64_t messagesReceived = 0;
  uint64_t sendsFailed = 0;    // aborted, timed out, or withdrawn
  uint64_t receivesFailed = 0; // aborted, timed out, out of order
  uint64_t framesIgnored = 0;  // malformed, or belonging to no session
};

class TransportProtocol_c {
public:
  static constexpr std::size_t maxBytes = 1785; // to all, and without the extended protocol
  static constexpr std::size_t maxExtendedBytes = 117440505;
  static constexpr uint64_t bamIntervalMs = 50;

  // Callbacks_s: all of them are set.
  struct Callbacks_s {
    std::function<bool(const CanFrame_s&)> sendFrame;  // false: the frame was not taken, and comes again
    std::function<void(IsoMessage_s)> deliver;         // a message was received completely
    std::function<bool(uint8_t address)> isOwnAddress; // whether this node answers for the address
  };

  using Done = std::function<void(bool sent)>;

  explicit TransportProtocol_c(Callbacks_s callbacks);
  ~TransportProtocol_c(); // tells no done

  // setReceiving, setSending: off, frames of the other side are ignored and open sessions of the kind dropped without
  // a word. Both are off at first.
  void setReceiving(bool on);
  void setSending(bool on);

  // setReceiveLimits: counts for messages announced from now on.
  void setReceiveLimits(const ReceiveLimits_s& limits);

  // send: queues a message for work(); messages with the same source and destination go one after the other, whichever
  // protocol their lengths call for.
  //
  //   Takes    message: 9 to maxExtendedBytes bytes, to all at most maxBytes; done: told once, when it went out (and,
  //            to one destination, was acknowledged) or failed; may be empty
  //   Gives    false, and does not call done, when sending is off, the length, an address or the PGN is out of range
  //            or too much is queued (64 messages with the same source and destination, 1024 in all)
  bool send(IsoMessage_s message, Done done = {});

  // handleFrame: takes a frame of the PGNs named above; whatever else is ignored.
  void handleFrame(const CanFrame_s& frame);

  // work: sends what is due and ends sessions whose time is over.
  void work();

  // nextDueMs: returns the time of HostClock at which work() is next needed, perhaps one that has passed; `never` if
  // nothing is open.
  uint64_t nextDueMs() const;

  // dropAddress: ends all sessions of an own address that is lost, without a word on the bus.
  void dropAddress(uint8_t address);

  // openSessions: returns the messages being received and the pairs of source and destination with something to send.
  std::size_t openSessions() const;
  const TransportProtocolStatistics_s& statistics() const { return m_statistics; }

private:
  struct Parts_s;
  void dispatch(const IsoId_s& id, const CanFrame_s& frame);
  bool dispatchToParts(const IsoId_s& id, const CanFrame_s& frame);
  void tellDone();

  Callbacks_s m_callbacks;
  TransportProtocolStatistics_s m_statistics;
  std::unique_ptr<Parts_s> m_parts;
};

} // namespace IsoBusHost
