// The way from a working set to its VT: who sends, where to, and the one long message that may be under way.
#pragma once

#include "../stack/HostState.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace IsoBusHost {

namespace VtPgn {
constexpr uint32_t toEcu = 0xE600;
constexpr uint32_t toVt = 0xE700;
} // namespace VtPgn

constexpr uint64_t vtAnswerMs = 1500; // how long an answer is waited for
constexpr int vtTries = 3;

class VtConnectionLink_c {
public:
  using IdentState_s = __IsoAgLib::IdentItem_c::State_s;

  VtConnectionLink_c(unsigned int instance, IdentState_s& ident) : m_instance(instance), m_ident(&ident) {}

  // The identity; null when it is gone.
  const IdentState_s* ident() const { return m_ident; }
  void forgetIdent() { m_ident = nullptr; }

  // function: returns the control function of the identity, null while it has no address on this instance.
  const OwnFunction_c* function() const;
  uint8_t ownAddress() const;

  uint8_t vtAddress() const { return m_vtAddress; }
  void setVtAddress(uint8_t address) { m_vtAddress = address; }

  // announce: sends the working-set messages; isAnnouncing: some are still to be sent.
  bool announce();
  bool isAnnouncing() const;

  // send: sends a message of up to 8 bytes to the VT, filled with FF. Takes no memory from the heap.
  bool send(const uint8_t* bytes, std::size_t length);

  // sendLong: sends a message of any length, one at a time and not while the way is held; transfer() tells how far it
  // is. False, and transfer() is failed, when it was not taken.
  enum class Transfer_e { none, underWay, sent, failed };
  bool sendLong(std::vector<uint8_t> bytes);
  Transfer_e transfer() const { return *m_transfer; }

  // forgetTransfer: nobody wants to hear of it any more. One that is under way still holds the way.
  void forgetTransfer();
  bool isHeld() const { return !m_forgotten.expired(); }

private:
  unsigned int m_instance;
  IdentState_s* m_ident;
  uint8_t m_vtAddress = nullAddress;
  std::shared_ptr<Transfer_e> m_transfer = std::make_shared<Transfer_e>(Transfer_e::none);
  std::weak_ptr<Transfer_e> m_forgotten; // lives as long as its transfer
};

// VtTries_c: a message that is sent again until it is answered, three times in all.
class VtTries_c {
public:
  // tried: it was sent just now.
  void tried(uint64_t nowMs);
  void waitAgain(uint64_t nowMs) { m_dueMs = nowMs + vtAnswerMs; }
  void over() { *this = {}; }

  // isOpen: sent, and its answer still awaited.
  bool isOpen() const { return m_count > 0; }
  bool isTimeOver(uint64_t nowMs) const { return nowMs >= m_dueMs; }
  bool isLast() const { return m_count >= vtTries; }
  uint64_t dueMs() const { return m_dueMs; }

private:
  int m_count = 0;
  uint64_t m_dueMs = never;
};

} // namespace IsoBusHost
