// One node on one bus: network management (ISO 11783-5) for any number of own control functions, requests and
// acknowledgements and the transport protocol (ISO 11783-3). The published services of an instance and the service
// tool are both built on it.
//
//   Call-backs (handlers, onClaimed, answer, done) run inside poll() only and may call every function of the node.
//   Order of use: switch services on; add functions; poll() from the main loop whenever frames arrived or nextDueMs()
//                 has come.
//   Threads: one thread.
#pragma once

#include "CanPort.h"
#include "TransportProtocol.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace IsoBusHost {

enum class ClaimState_e {
  idle,        // not on the bus (network management off)
  claiming,    // waiting to claim, or claim sent and 250 ms not over
  claimed,     // owns its address, may send
  cannotClaim, // no address left; only requests for address claimed are answered. Stays so until removed or commanded
};

// FunctionSettings_s: what the owner of an own control function decides.
struct FunctionSettings_s {
  uint64_t name = 0;
  uint8_t preferredAddress = nullAddress;         // 0 to 253; 254: any free one of a self-configurable function
  int workingSetMembers = -1;                     // -1: no master; n: master with n members besides itself
  std::vector<uint64_t> memberNames;              // workingSetMembers NAMEs, or none
  std::function<void(uint8_t address)> onClaimed; // an address is claimed; may be empty
  std::function<std::optional<std::vector<uint8_t>>(uint32_t pgn)> answer; // data of a requested PGN; none: refused
};

class OwnFunction_c {
public:
  uint64_t name() const { return m_settings.name; }
  ClaimState_e state() const { return m_state; }
  uint8_t address() const { return m_address; } // claimed or being claimed; 254 while there is none

private:
  friend class NetworkManagement_c;
  friend class BusNode_c;
  FunctionSettings_s m_settings;
  ClaimState_e m_state = ClaimState_e::idle;
  uint8_t m_address = nullAddress;
  uint8_t m_wanted = nullAddress; // the address to try first
  uint64_t m_dueMs = never;       // claiming: when to claim or when claimed; cannotClaim: when to say so
  uint64_t m_mayDefendMs = 0;     // not before this time is a violation of the address answered again
  int m_nextMember = 0;           // the next working-set member to announce
  uint64_t m_memberDueMs = never; // when; never: the announcement is over
  bool m_bAnnounceAgain = false;  // the working set was asked for while it was being announced
};

struct NodeStatistics_s {
  uint64_t claimsSent = 0;
  uint64_t contentionsWon = 0;
  uint64_t contentionsLost = 0;
  uint64_t requestsAnswered = 0;
  uint64_t requestsRefused = 0; // acknowledged negatively
  uint64_t framesIgnored = 0;   // malformed, or of no meaning here
};

class NetworkManagement_c;

class BusNode_c {
public:
  using MessageHandler = std::function<void(const IsoMessage_s&)>;
  using HandlerId = uint64_t; // never 0, never given twice by one node

  explicit BusNode_c(CanPort_c& port);
  ~BusNode_c();
  BusNode_c(const BusNode_c&) = delete;
  BusNode_c& operator=(const BusNode_c&) = delete;

  // The services of the node, all off at first.
  void setNetworkManagement(bool on); // on: asks all functions for their address, and the own ones claim
  void setRequests(bool on);
  void setMultiReceive(bool on);
  void setMultiSend(bool on);

  // setReceiveLimits: as those of TransportProtocol_c.
  void setReceiveLimits(const ReceiveLimits_s& limits);

  // setWorkingSets: whether own functions send working-set master and member messages.
  void setWorkingSets(bool on);

  // setRequestPeriodMs: how often all functions are asked for their address; 0 and less: only at the start.
  void setRequestPeriodMs(int periodMs);

  // add: puts an own function on the bus. Null when network management is off or the NAME is there already.
  OwnFunction_c* add(FunctionSettings_s settings);

  // remove: takes it off the bus, without a word. The pointer is not valid afterwards.
  void remove(OwnFunction_c* function);

  // send: sends a message of any length that the transport protocol can carry from a function that has claimed its
  // address.
  //
  //   Takes    message: source is set here; up to 8 bytes go out as they are; done as TransportProtocol_c::send
  //            takes it, also called for short messages
  //   Gives    false when the function has no address or the message cannot be taken
  bool send(const OwnFunction_c& from, IsoMessage_s message, TransportProtocol_c::Done done = {});

  // send: sends a message of up to 8 bytes. Takes no memory from the heap on the way to the port's transport.
  //
  //   Takes    data: length bytes
  //   Gives    false when the function has no address, the message is none or the port does not take the frame
  bool send(const OwnFunction_c& from, uint32_t pgn, uint8_t priority, uint8_t destination, const uint8_t* data,
            std::size_t length);

  // announce: sends the working-set messages of a master again, as when it claims its address: the master message at
  // once, the members one after the other.
  //
  //   Gives    false when working sets are off, the function has no address or is no master
  bool announce(const OwnFunction_c& from);

  // isAnnouncing: whether members of its working set are still to be announced.
  bool isAnnouncing(const OwnFunction_c& from) const;

  // request: asks a destination, or all with 255, for a PGN.
  bool request(const OwnFunction_c& from, uint32_t pgn, uint8_t destination);

  // onMessage: handlers see every complete message for this node or for all, requests and acknowledgements included.
  // Gives what removeHandler wants to know; a handler that is never taken back stays as long as the node. The message
  // and its data are there during the call only.
  HandlerId onMessage(MessageHandler handler);

  // removeHandler: takes a handler back; it is not called again, not even about the message that is being told. What it
  // has captured lives until no handler runs. An id that is unknown or taken back already is ignored.
  void removeHandler(HandlerId id);

  // The control functions of others that claim an address on this bus: address, NAME.
  const std::map<uint8_t, uint64_t>& others() const;

  // poll: takes at most maxFrames frames from the port and does what is due, which a flood of frames thus cannot hold
  // back. Returns the number of frames taken.
  std::size_t poll(std::size_t maxFrames = 100);
  uint64_t nextDueMs() const;

  const NodeStatistics_s& statistics() const;
  const TransportProtocolStatistics_s& transportStatistics() const;
  CanPort_c& port() { return m_port; }

private:
  using AnswerKey = std::tuple<uint8_t, uint8_t, uint32_t>; // own address, destination, PGN

  struct Handler_s {
    HandlerId id; // noHandler: taken back while messages were being told
    MessageHandler handler;
  };
  static constexpr HandlerId noHandler = 0;

  bool maySend(const OwnFunction_c& from, uint32_t pgn, uint8_t destination) const;
  bool sendFrame(const IsoId_s& id, const uint8_t* data, std::size_t length);
  bool sendRequest(uint8_t source, uint32_t pgn, uint8_t destination);
  TransportProtocol_c::Done deferred(TransportProtocol_c::Done done);
  void runDeferred();

  void dispatch(const CanFrame_s& frame);
  bool isForUs(uint8_t destination) const;
  void handleViolation(const IsoId_s& id, const CanFrame_s& frame);
  void deliverShort(const IsoId_s& id, const CanFrame_s& frame);
  void deliver(const IsoMessage_s& message);
  void tellHandlers(const IsoMessage_s& message);

  void handleRequest(const IsoMessage_s& message);
  bool answerRequest(OwnFunction_c* function, uint32_t pgn, uint8_t destination);
  void sendAnswer(uint8_t source, uint32_t pgn, uint8_t destination, std::vector<uint8_t> data);
  void acknowledge(uint8_t source, uint8_t control, uint8_t answered, uint32_t pgn);
  void handleCommandedAddress(const IsoMessage_s& message);

  void addressLost(OwnFunction_c& function, uint8_t address);
  void claimed(OwnFunction_c& function);
  bool announceWorkingSet(OwnFunction_c& function);
  void announceMember(OwnFunction_c& function);
  void workOnWorkingSets();

  CanPort_c& m_port;
  NodeStatistics_s m_statistics;
  std::deque<std::function<void()>> m_deferred; // call-backs that wait for the end of what is being done
  std::list<Handler_s> m_handlers;
  HandlerId m_lastHandler = 0;
  unsigned int m_delivering = 0;     // messages that are being told, one inside the other
  std::vector<uint8_t> m_shortData;  // the data of short messages, one after the other
  std::set<AnswerKey> m_longAnswers; // under way
  bool m_bRequests = false;
  bool m_bWorkingSets = false;
  std::unique_ptr<NetworkManagement_c> m_networkManagement;
  TransportProtocol_c m_transportProtocol;
};

} // namespace IsoBusHost
