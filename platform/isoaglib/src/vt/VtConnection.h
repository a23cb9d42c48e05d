// One working set and its VT, from the first status of the VT to the operator's input and back to the start when one of
// them is lost.
//
//   Call-backs of the application are made by work(), receive() and acknowledgedNegatively() only; any of them may end
//   the connection, which the caller keeps alive meanwhile.
#pragma once

#include "VtConnectionCommands.h"
#include "VtConnectionInput.h"
#include "VtConnectionLink.h"
#include "VtConnectionPool.h"
#include "VtConnectionQuestions.h"
#include "VtConnectionServers.h"

#include <optional>
#include <string>
#include <vector>

namespace IsoBusHost {

// VtConnectionSettings_s: what the application decides.
struct VtConnectionSettings_s {
  unsigned int instance = 0;
  uint8_t clientID = 0;
  IsoAgLib::iVtObjectPool_c* pool = nullptr;
  std::string label; // 7 characters; empty: the VT does not store the pool
  IsoAgLib::iVtClientDataStorage_c* storage = nullptr;
};

class VtConnection_c {
public:
  VtConnection_c(VtConnectionSettings_s settings, VtConnectionLink_c::IdentState_s& ident,
                 const VtConnectionServers_c& servers);

  IsoAgLib::iVtObjectPool_c& pool() const { return *m_settings.pool; }
  VtConnectionLink_c& link() { return m_link; }
  const VtConnectionLink_c& link() const { return m_link; }
  VtConnectionCommands_c& commands() { return m_commands; }
  const VtClientStatistics_s& statistics() const { return m_statistics; }

  IsoAgLib::iVtClientState_t state() const;
  const IsoAgLib::iVtProperties_s& properties() const { return m_properties; }
  void setSelection(__IsoAgLib::VtClientConnection_c::VtServerSelection accepts);

  // putCommand: keeps a command of one of the objects.
  bool putCommand(const uint8_t* bytes, std::size_t length, bool mayReplace);

  // What the bus says: a status of any VT; a message to the working set; a negative acknowledgement of what working
  // sets send.
  void status(uint8_t address, uint8_t busy);
  void receive(uint8_t source, const std::vector<uint8_t>& data);
  void acknowledgedNegatively(uint8_t source);
  void ignored() { ++m_statistics.messagesIgnored; }

  // work: does what is due.
  void work();
  uint64_t dueMs() const;

  // end: the connection is over; tells the VT, and the application nothing.
  void end();

private:
  enum class Step_e {
    waitsForAddress,
    waitsForVt,
    announces,
    asks,
    loads,
    uploads,
    stores,
    connected,
    refused,
  };

  bool isSpeaking() const { return m_step >= Step_e::announces && m_step <= Step_e::connected; }

  void watch();
  void step();
  void fallBack(Step_e step);
  void beginAgain(const std::string& why);

  void lookForVt();
  void beginSearch();
  bool isAcceptable(uint64_t name) const;
  uint64_t preferredUntilMs() const;
  uint64_t searchDueMs() const;
  void take(uint8_t address, const VtServer_s& server);

  void announce();
  void ask();
  void load();
  void upload();
  void store();
  void beginPool();
  void beginUpload();
  std::vector<uint8_t> writeForVt();
  bool isAsRegistered() const;
  void keepRegistered();
  void connect();
  void refuse(const std::string& why);

  void sendMaintenance();
  void workOnCommands();
  void tellFailure(const std::optional<VtFailure_s>& failure);
  void complain(const std::string& why);
  std::string vtName() const;

  VtConnectionSettings_s m_settings;
  const VtConnectionServers_c& m_servers;
  VtClientStatistics_s m_statistics;
  VtConnectionLink_c m_link;
  VtConnectionQuestions_c m_questions;
  VtConnectionPool_c m_pool;
  VtConnectionCommands_c m_commands;
  VtConnectionInput_c m_input;
  __IsoAgLib::VtClientConnection_c::VtServerSelection m_accepts;
  std::vector<uint8_t> m_registered; // the records as they were registered, kept for a label

  Step_e m_step = Step_e::waitsForAddress;
  IsoAgLib::iVtProperties_s m_properties{};
  uint64_t m_vtName = 0;

  bool m_isSearching = false;
  bool m_isSearchDue = false; // something has changed: the VTs are looked at once more
  bool m_isPreferredOnly = false;
  uint64_t m_searchMs = 0; // since when a VT is looked for
  uint64_t m_pauseUntilMs = 0;
  uint64_t m_preferredName = 0; // 0: none
  uint8_t m_preferredBootTime = 0;

  bool m_isAnnounced = false;
  bool m_isInitiated = false; // the first maintenance message was sent
  uint64_t m_maintenanceMs = never;
  bool m_isUploadAsRegistered = false;
  bool m_isOverflowTold = false;
  bool m_isOver = false;
  std::string m_complaint; // the last one
};

} // namespace IsoBusHost
