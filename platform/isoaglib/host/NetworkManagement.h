// Network management of one node (ISO 11783-5): claims and defends the addresses of its own control functions and keeps
// the table of the others.
//
//   Order of use: setOn(true); add functions; hand over every claim, violation and request for address claimed; work()
//                 whenever nextDueMs() has come.
//   Threads: one thread. The call-backs must not add or remove functions.
//
//   Chosen where the standard leaves room:
//   - RTxD is made from the NAME, so that runs repeat.
//   - Each claim that is sent again during contention starts the 250 ms anew.
//   - The node answers its own global requests for address claimed like anybody else's.
//   - A claim with a NAME of ours from somebody else, for whatever address: a function that has not claimed yet
//     gives up without trying another address, one that has claims again as after a violation of its address.
//   - A function that cannot claim does not try again when an address becomes free.
#pragma once

#include "BusNode.h"

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace IsoBusHost {

class NetworkManagement_c {
public:
  static constexpr uint64_t claimTimeMs = 250;
  static constexpr uint64_t defenceIntervalMs = 5000;

  struct Callbacks_s {
    std::function<bool(const IsoId_s&, const std::vector<uint8_t>&)> send; // false: the frame was not taken
    std::function<void(OwnFunction_c&, uint8_t address)> addressLost;      // a claimed address is no longer ours
    std::function<void(OwnFunction_c&)> claimed;
  };

  NetworkManagement_c(Callbacks_s callbacks, NodeStatistics_s& statistics);

  void setOn(bool on);
  bool isOn() const { return m_bOn; }
  void setRequestPeriodMs(int periodMs);

  OwnFunction_c* add(FunctionSettings_s settings);
  void remove(const OwnFunction_c* function);
  bool contains(const OwnFunction_c* function) const;

  // functions: a copy, for a caller whom call-backs may give other functions meanwhile; owned: the functions
  // themselves.
  std::vector<OwnFunction_c*> functions() const;
  const std::list<std::unique_ptr<OwnFunction_c>>& owned() const { return m_functions; }

  OwnFunction_c* findName(uint64_t name) const;

  // findClaimed: returns the own function that has claimed an address, or null.
  OwnFunction_c* findClaimed(uint8_t address) const;

  const std::map<uint8_t, uint64_t>& others() const { return m_others; }

  void handleClaim(uint8_t source, uint64_t name);

  // handleViolation: somebody else sends from an address of ours.
  void handleViolation(uint8_t address);

  // answerRequest: answers a request for address claimed to one address or to all.
  void answerRequest(uint8_t destination);

  // command: obeys a commanded address where a function has the NAME.
  void command(uint64_t name, uint8_t address);

  void work();
  uint64_t nextDueMs() const;

private:
  OwnFunction_c* findHolder(uint8_t address) const;
  void request();
  bool isFree(const OwnFunction_c& function, uint8_t address) const;
  bool canTake(const OwnFunction_c& function, uint8_t address) const;
  uint8_t chooseAddress(const OwnFunction_c& function) const;
  void join(OwnFunction_c& function);
  void leave(OwnFunction_c& function);
  void claim(OwnFunction_c& function);
  void claimAddress(OwnFunction_c& function, uint8_t address);
  void giveUp(OwnFunction_c& function);
  void release(OwnFunction_c& function);
  void lose(OwnFunction_c& function);
  void contend(OwnFunction_c& function, uint64_t name);
  void contendWithTwin(OwnFunction_c& function);
  void defend(OwnFunction_c& function);
  bool sendClaim(const OwnFunction_c& function);
  void sendCannotClaim(const OwnFunction_c& function);
  void learn(uint8_t address, uint64_t name);
  void forget(uint64_t name);
  void workOn(OwnFunction_c& function);

  Callbacks_s m_callbacks;
  NodeStatistics_s& m_statistics;
  std::list<std::unique_ptr<OwnFunction_c>> m_functions;
  std::map<uint8_t, uint64_t> m_others;
  bool m_bOn = false;
  int m_requestPeriodMs = 0;
  uint64_t m_joinedMs = 0;    // when all addresses were asked for first
  uint64_t m_requestedMs = 0; // and last
};

} // namespace IsoBusHost
