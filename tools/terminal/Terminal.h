// A virtual terminal (ISO 11783-6, versions 2 to 4) on a bus, without a picture: it takes the pool of any working set,
// keeps the clients apart, answers every command, and sends what an operator would do when it is told to.
//
//   Order of use: a BusNode_c; the terminal; poll() from the main loop whenever frames arrived or nextDueMs() has come.
//                 It switches on the services of the node that it needs.
//   Call-backs run inside poll() and inside the functions for input; they may call every function that is const.
//   Threads: one thread.
//
//   BusNode_c node(port);
//   Terminal_c terminal(node, {});
//   terminal.onChange([](const TerminalClient_s& client, const Change_s& change) { ... });
//   while (isRunning) { terminal.poll(); ...wait until terminal.nextDueMs()... }
#pragma once

#include "BusNode.h"
#include "VersionStore.h"
#include "WorkingSetModel.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

struct TerminalSettings_s {
  uint64_t name = 0; // 0: terminalName()
  uint8_t preferredAddress = 38;
  int version = 4;                // 2, 3 or 4
  int graphic = 2;                // 0: black and white, 1: 16 colours, 2: 256 colours
  uint32_t memoryBytes = 4000000; // for the pools of all clients together, in bytes of their transfer
  uint16_t maskPixels = 480;      // width and height of a data mask
  uint8_t keyPixels = 60;         // width and height of a key designator
  uint8_t physicalKeys = 8;
};

// terminalName: function 29, manufacturer 733, self-configurable; the identity number is that of the process, so that
// two terminals may share a bus.
uint64_t terminalName();

// TerminalClient_s: one working set as it stands.
struct TerminalClient_s {
  uint8_t address = IsoBusHost::nullAddress; // of its master
  uint64_t name = 0;                         // of its master; 0 where it has not been heard claiming
  int version = 0;                           // of the client; 2 also stands for earlier ones
  bool hasPool = false;
  bool isShown = false; // its masks are the ones on the screen
  uint16_t activeMask = noObject;
  uint16_t softKeyMask = noObject;
  uint64_t commands = 0;         // taken, pool transfers included
  uint64_t malformed = 0;        // commands that were cut off, or unknown: no answer
  uint64_t inputsSent = 0;       // messages of the operator's input
  uint64_t inputsAnswered = 0;   // those that the client has answered
  uint64_t inputsUnanswered = 0; // those without an answer after 1.5 s; clients up to version 5 need not answer
};

// AnswerFault_s: what goes wrong with answers, for the tests of clients.
struct AnswerFault_s {
  enum Kind_e : uint8_t { late, wrong, never };

  Kind_e kind = late;
  std::optional<uint8_t> code; // function code of the answer; none: any
  unsigned int count = 1;      // answers that it hits
  uint64_t delayMs = 0;        // late
  std::vector<uint8_t> bytes;  // wrong: what goes out instead; empty: the answer with its last used byte inverted
};

// PoolRefusal_s: the answer to the end of a pool that is to be refused.
struct PoolRefusal_s {
  uint8_t error = 1; // b0 errors in the pool, b1 out of memory, b4 other
  uint16_t parent = noObject;
  uint16_t object = noObject;
  uint8_t poolError = 8;
};

class Terminal_c {
public:
  using Bytes = std::vector<uint8_t>;
  using ChangeHandler = std::function<void(const TerminalClient_s&, const Change_s&)>;

  Terminal_c(IsoBusHost::BusNode_c& node, TerminalSettings_s settings);
  ~Terminal_c();
  Terminal_c(const Terminal_c&) = delete;
  Terminal_c& operator=(const Terminal_c&) = delete;

  // poll: lets the node take frames and does what is due. work: the same without the node, where others poll it.
  std::size_t poll();
  void work();
  uint64_t nextDueMs() const;

  // onChange: the one handler of changes; it replaces an earlier one.
  void onChange(ChangeHandler handler) { m_changed = std::move(handler); }

  // openVersions: keeps stored versions in a folder; gives an empty text, or one line that names it and the reason.
  std::string openVersions(const std::string& folder) { return m_versions.open(folder); }

  // --- What there is

  uint8_t address() const; // 254 while there is none
  bool hasFailed() const;  // no address could be claimed
  const TerminalSettings_s& settings() const { return m_settings; }

  // clients: in the order in which they came.
  std::vector<TerminalClient_s> clients() const;
  std::optional<uint8_t> shownClient() const; // address

  // model, object: null where there is none. Both belong to the terminal until the next poll().
  const WorkingSetModel_c* model(uint8_t client) const;
  const TerminalObject_s* object(uint8_t client, uint16_t id) const;

  // --- Input of the operator: an empty text, or one line that says why there is none. Held keys repeat by themselves
  // every 200 ms until they are released.

  std::string show(uint8_t client); // its masks come on the screen
  std::string key(uint8_t client, uint16_t id, KeyState_e state);
  std::string button(uint8_t client, uint16_t id, KeyState_e state);
  std::string enterNumber(uint8_t client, uint16_t id, uint32_t value);
  std::string enterText(uint8_t client, uint16_t id, const Bytes& text); // as the field's font has it, or UTF-16
  std::string select(uint8_t client, uint16_t id, bool open);
  std::string unselect(uint8_t client);
  std::string escape(uint8_t client);
  std::string point(uint8_t client, uint16_t x, uint16_t y, KeyState_e state);

  // --- Faults

  void addFault(AnswerFault_s fault);
  void refuseNextPool(PoolRefusal_s refusal) { m_refusal = refusal; }
  void clearFaults();

  // vanish: leaves the bus without a word, in the middle of whatever goes on, and forgets its clients; stored versions
  // stay. comeBack: claims its address and begins anew.
  void vanish();
  void comeBack();
  bool isOnBus() const { return m_self != nullptr; }

private:
  struct Client_s;
  struct Answer_s {
    uint64_t dueMs;
    uint8_t destination;
    Bytes bytes;
  };
  struct WorkingSet_s {
    uint64_t name = 0; // of the master
    int members = 1;   // with the master
    std::set<uint64_t> names;
  };
  struct HeldKey_s {
    uint64_t client; // its number
    uint16_t id;
    bool isButton;
    uint64_t dueMs;
  };

  void join();
  void take(const IsoBusHost::IsoMessage_s& message);
  void takeWorkingSet(const IsoBusHost::IsoMessage_s& message);
  void takeMessage(uint8_t source, const Bytes& bytes);
  void takeMaintenance(uint8_t source, const Bytes& bytes);
  void takeInputAnswer(Client_s& client, uint8_t code);
  Bytes answerOf(Client_s& client, const Bytes& bytes);

  // Queries, pool and versions; each gives its answer.
  Bytes query(Client_s& client, const Bytes& bytes);
  Bytes memory(const Client_s& client, const Bytes& bytes) const;
  Bytes softKeys() const;
  Bytes fonts() const;
  Bytes supportedObjects() const;
  Bytes hardware() const;
  Bytes versions(const Client_s& client) const;
  Bytes storeVersion(Client_s& client, const Bytes& bytes);
  Bytes loadVersion(Client_s& client, const Bytes& bytes);
  Bytes removeVersion(Client_s& client, const Bytes& bytes);
  void takePool(Client_s& client, const uint8_t* bytes, std::size_t size);
  Bytes endPool(Client_s& client);

  Client_s* clientAt(uint8_t address) const;
  Client_s* clientOf(uint8_t source, bool& isMaster);
  uint64_t nameAt(uint8_t address) const;
  void addClient(uint8_t source, int version);
  void loseClient(const Client_s& client, const std::string& why);
  void followAddresses();
  void workOnClients();
  void repeatHeldKeys();
  void showSomebody();
  void setShown(Client_s& client);
  void poolGone(Client_s& client);
  uint64_t usedBytes(const Client_s& without) const;

  std::string input(uint8_t client, const std::function<InputResult_s(WorkingSetModel_c&)>& what);
  std::string press(uint8_t client, uint16_t id, bool isButton, KeyState_e state);
  void answer(uint8_t destination, Bytes bytes);
  void sendUnasked(Client_s& client);
  void send(uint8_t destination, Bytes bytes);
  void refuse(uint8_t source);
  uint64_t statusDueMs() const;
  void sendStatus();
  Bytes status() const;
  void queue(const Client_s& client, Change_s change);
  void tellChanges();
  TerminalClient_s stateOf(const Client_s& client) const;

  IsoBusHost::BusNode_c& m_node;
  TerminalSettings_s m_settings;
  IsoBusHost::OwnFunction_c* m_self = nullptr;
  IsoBusHost::BusNode_c::HandlerId m_handler;
  ChangeHandler m_changed;
  VersionStore_c m_versions;
  std::vector<std::unique_ptr<Client_s>> m_clients;
  uint64_t m_lastClient = 0;                                   // number of the client that came last
  std::map<uint8_t, WorkingSet_s> m_workingSets;               // announced, by the address of the master
  std::deque<std::pair<TerminalClient_s, Change_s>> m_changes; // not told yet
  bool m_bTelling = false;
  std::vector<Answer_s> m_answers; // that are late
  std::vector<AnswerFault_s> m_faults;
  std::optional<PoolRefusal_s> m_refusal;
  std::vector<HeldKey_s> m_heldKeys;
  uint64_t m_quietUntilMs = 0; // no status before: clients have to notice that the terminal was away
  uint64_t m_statusSentMs = 0;
  Bytes m_statusSent;
};
