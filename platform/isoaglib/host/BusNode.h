// One node on one bus: network management (ISO 11783-5) for any number of own control functions, requests and
// acknowledgements and the transport protocol (ISO 11783-3). The published services of an instance and the service
// tool are both built on it.
//
//   Order of use: switch services on; add functions; poll() from the main loop whenever frames arrived or nextDueMs()
//                 has come.
//   Threads: one thread.
#pragma once

#include "CanPort.h"
#include "TransportProtocol.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace IsoBusHost {

enum class ClaimState_e {
  idle,          // not on the bus (network management off)
  claiming,      // claim sent, 250 ms not over
  claimed,       // owns its address, may send
  cannotClaim,   // no address left; only requests for address claimed are answered
};

// FunctionSettings_s: what the owner of an own control function decides.
struct FunctionSettings_s {
  uint64_t name = 0;
  uint8_t preferredAddress = nullAddress; // 0 to 253; 254: any free one of a self-configurable function
  int workingSetMembers = -1;             // -1: no master; n: master with n members besides itself
  std::vector<uint64_t> memberNames;      // workingSetMembers NAMEs, or none
  std::function<void(uint8_t address)> onClaimed;                         // an address is claimed; may be empty
  std::function<std::optional<std::vector<uint8_t>>(uint32_t pgn)> answer; // data of a requested PGN; none: refused
};

class OwnFunction_c {
public:
  uint64_t name() const { return m_settings.name; }
  ClaimState_e state() const { return m_state; }
  uint8_t address() const { return m_address; } // 254 while there is none

private:
  friend class NetworkManagement_c;
  friend class BusNode_c;
  FunctionSettings_s m_settings;
  ClaimState_e m_state = ClaimState_e::idle;
  uint8_t m_address = nullAddress;
  // (left to the implementation)
};

struct NodeStatistics_s {
  uint64_t claimsSent = 0;
  uint64_t contentionsWon = 0;
  uint64_t contentionsLost = 0;
  uint64_t requestsAnswered = 0;
  uint64_t requestsRefused = 0; // acknowledged negatively
  uint64_t framesIgnored = 0;   // malformed, or of no meaning here
};

class BusNode_c {
public:
  using MessageHandler = std::function<void(const IsoMessage_s&)>;

  explicit BusNode_c(CanPort_c& port);
  ~BusNode_c();

  // The services of the node, all off at first.
  void setNetworkManagement(bool on); // on: asks all functions for their address, and the own ones claim
  void setRequests(bool on);
  void setMultiReceive(bool on);
  void setMultiSend(bool on);

  // setWorkingSets: whether own functions send working-set master and member messages.
  void setWorkingSets(bool on);

  // setRequestPeriodMs: how often all functions are asked for their address; 0 and less: only at the start.
  void setRequestPeriodMs(int periodMs);

  // add: puts an own function on the bus. Null when network management is off or the NAME is there already.
  OwnFunction_c* add(FunctionSettings_s settings);

  // remove: takes it off the bus, without a word. The pointer is not valid afterwards.
  void remove(OwnFunction_c* function);

  // send: sends a message of any length to 1785 bytes from a function that has claimed its address.
  //
  //   Takes    message: source is set here; done as TransportProtocol_c::send takes it, also called for short messages
  //   Gives    false when the function has no address or the message cannot be taken
  bool send(const OwnFunction_c& from, IsoMessage_s message, TransportProtocol_c::Done done = {});

  // request: asks a destination, or all with 255, for a PGN.
  bool request(const OwnFunction_c& from, uint32_t pgn, uint8_t destination);

  // onMessage: handlers see every complete message for this node or for all, requests and acknowledgements included.
  void onMessage(MessageHandler handler);

  // The control functions of others that claim an address on this bus: address, NAME.
  const std::map<uint8_t, uint64_t>& others() const;

  // poll: takes at most maxFrames frames from the port and does what is due. Returns the number of frames taken.
  std::size_t poll(std::size_t maxFrames = 1000);
  uint64_t nextDueMs() const;

  const NodeStatistics_s& statistics() const;
  const TransportProtocolStatistics_s& transportStatistics() const;
  CanPort_c& port() { return m_port; }

private:
  CanPort_c& m_port;
  // (left to the implementation)
};

} // namespace IsoBusHost
