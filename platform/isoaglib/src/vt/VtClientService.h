// The VT client of one ISOBUS instance: its connections, and the VTs that they may choose from.
#pragma once

#include "VtClientInbox.h"
#include "VtConnectionState.h"

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace IsoBusHost {

class VtClientService_c {
public:
  using Connection_c = __IsoAgLib::VtClientConnection_c;

  explicit VtClientService_c(unsigned int instance) : m_instance(instance) {}

  // setOn: off, all connections are ended.
  void setOn(bool on);

  // busOpened, busClosed: the node of the instance is there; it is about to go.
  void busOpened();
  void busClosed();

  // forgetIdent: an identity item is destroyed. Its connections stay, without an address.
  void forgetIdent(const VtConnectionLink_c::IdentState_s& ident);

  // add: begins a connection. Null, and a line to the error observer, when it cannot be.
  Connection_c* add(VtConnectionSettings_s settings, VtConnectionLink_c::IdentState_s& ident);
  bool remove(const IsoAgLib::iVtObjectPool_c& pool);

  // find: returns the connection of a number, null for none; numberOf: the number of a pool, vtObject_c::noClient for
  // none.
  Connection_c* find(uint8_t clientID) const;
  uint8_t numberOf(const IsoAgLib::iVtObjectPool_c& pool) const;

  // work: takes what has arrived and does what is due.
  void work();
  uint64_t dueMs() const;

private:
  using Slot = std::shared_ptr<Connection_c>;

  void hear(const IsoMessage_s& message);
  void takeMessages();
  void dispatch(const IsoMessage_s& message);
  void dispatchStatus(const IsoMessage_s& message);
  void dispatchMessage(const IsoMessage_s& message);
  void dispatchRefusal(const IsoMessage_s& message);
  Slot slotAt(uint8_t ownAddress) const;
  void end(std::size_t slot);
  uint8_t freeNumber();
  std::string whatIsWrong(const VtConnectionSettings_s& settings, const VtConnectionLink_c::IdentState_s& ident) const;

  unsigned int m_instance;
  bool m_isOn = false;
  bool m_isWorking = false;
  BusNode_c::HandlerId m_handler = 0; // 0: none
  VtClientInbox_c m_inbox;
  IsoMessage_s m_message; // the one that is worked on
  VtConnectionServers_c m_servers;
  std::vector<Slot> m_slots; // by number, null: free
};

// vtClientService: returns the client of an ISOBUS instance, null for any other number.
VtClientService_c* vtClientService(unsigned int instance);

} // namespace IsoBusHost
