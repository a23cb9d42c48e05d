// The terminal on the bus: messages, maintenance, status.
#include "TerminalClient.h"

#include "HostClock.h"
#include "Identification.h"

#include <algorithm>
#include <unistd.h>
#include <utility>

using namespace IsoBusHost;

namespace {

constexpr uint64_t statusPeriodMs = 1000;
constexpr uint64_t leastStatusGapMs = 200;
constexpr uint64_t maintenanceTimeMs = 3000;
constexpr uint64_t pauseMs = 3500; // ISO 11783-6: more than 3 s without a status after a restart
constexpr uint8_t priority = 7;
constexpr uint8_t notSupported = 1;
constexpr uint8_t versionBefore3 = 0xFF;
constexpr std::size_t nameBytesCount = 8;

uint8_t low(uint16_t value) {
  return static_cast<uint8_t>(value);
}

uint8_t high(uint16_t value) {
  return static_cast<uint8_t>(value >> 8U);
}

} // namespace

uint64_t terminalName() {
  Name_s name;
  name.selfConfigurable = true;
  name.function = 29;
  name.manufacturerCode = 733;
  name.identityNumber = static_cast<uint32_t>(getpid()) & 0x1FFFFFU;
  return encodeName(name);
}

Terminal_c::Terminal_c(BusNode_c& node, TerminalSettings_s settings) : m_node(node), m_settings(settings) {
  m_settings.name = settings.name == 0 ? terminalName() : settings.name;
  node.setNetworkManagement(true);
  node.setRequests(true);
  node.setMultiReceive(true);
  node.setMultiSend(true);
  m_handler = node.onMessage([this](const IsoMessage_s& message) { take(message); });
  join();
}

Terminal_c::~Terminal_c() {
  m_node.removeHandler(m_handler);
  if (m_self != nullptr) {
    m_node.remove(m_self);
  }
}

void Terminal_c::join() {
  FunctionSettings_s settings;
  settings.name = m_settings.name;
  settings.preferredAddress = m_settings.preferredAddress;
  settings.answer = [](uint32_t) { return std::nullopt; };
  m_self = m_node.add(std::move(settings));
}

void Terminal_c::vanish() {
  if (m_self == nullptr) {
    return;
  }
  m_node.remove(m_self);
  m_self = nullptr;
  while (!m_clients.empty()) {
    loseClient(*m_clients.back(), "the terminal has left the bus");
  }
  m_workingSets.clear();
  m_answers.clear();
  m_heldKeys.clear();
  m_statusSent.clear();
  m_quietUntilMs = HostClock::nowMs() + pauseMs;
  tellChanges();
}

void Terminal_c::comeBack() {
  if (m_self == nullptr) {
    join();
  }
}

// --- Work

std::size_t Terminal_c::poll() {
  const std::size_t frames = m_node.poll();
  work();
  return frames;
}

void Terminal_c::work() {
  followAddresses();
  workOnClients();
  repeatHeldKeys();
  const uint64_t nowMs = HostClock::nowMs();
  for (std::size_t index = 0; index < m_answers.size();) {
    if (m_answers[index].dueMs > nowMs) {
      ++index;
      continue;
    }
    send(m_answers[index].destination, std::move(m_answers[index].bytes));
    m_answers.erase(m_answers.begin() + static_cast<std::ptrdiff_t>(index));
  }
  tellChanges();
  sendStatus();
}

uint64_t Terminal_c::nextDueMs() const {
  uint64_t dueMs = m_node.nextDueMs();
  for (const auto& client : m_clients) {
    dueMs = std::min({dueMs, client->maintainedMs + maintenanceTimeMs, client->model.nextDueMs()});
    for (const auto& waiting : client->waiting) {
      dueMs = std::min(dueMs, waiting.untilMs);
    }
  }
  for (const Answer_s& late : m_answers) {
    dueMs = std::min(dueMs, late.dueMs);
  }
  for (const HeldKey_s& key : m_heldKeys) {
    dueMs = std::min(dueMs, key.dueMs);
  }
  if (address() != nullAddress) {
    dueMs = std::min(dueMs, statusDueMs());
  }
  return dueMs;
}

void Terminal_c::workOnClients() {
  const uint64_t nowMs = HostClock::nowMs();
  for (std::size_t index = 0; index < m_clients.size();) {
    Client_s& client = *m_clients[index];
    if (client.maintainedMs + maintenanceTimeMs <= nowMs) {
      loseClient(client, "no maintenance for 3 s");
      continue;
    }
    client.model.work();
    sendUnasked(client);
    while (!client.waiting.empty() && client.waiting.front().untilMs <= nowMs) {
      ++client.state.inputsUnanswered;
      Change_s change;
      change.kind = ChangeKind_e::inputUnanswered;
      change.newValue = client.waiting.front().code;
      client.waiting.erase(client.waiting.begin());
      queue(client, std::move(change));
    }
    ++index;
  }
}

// --- Status

Terminal_c::Bytes Terminal_c::status() const {
  constexpr uint8_t parsing = 16;
  uint8_t owner = nullAddress;
  uint16_t mask = noObject;
  uint16_t keyMask = noObject;
  for (const auto& client : m_clients) {
    if (client->model.isShown()) {
      owner = client->state.address;
      mask = client->model.activeMask();
      keyMask = client->model.softKeyMask();
    }
  }
  const bool isParsing = m_settings.version > 2 &&
                         std::any_of(m_answers.begin(), m_answers.end(),
                                     [](const Answer_s& late) { return late.bytes[0] == TerminalCode::endOfPool; });
  return {TerminalCode::status,
          owner,
          low(mask),
          high(mask),
          low(keyMask),
          high(keyMask),
          isParsing ? parsing : uint8_t{0},
          isParsing ? TerminalCode::endOfPool : unusedByte};
}

uint64_t Terminal_c::statusDueMs() const {
  if (m_statusSent.empty()) {
    return m_quietUntilMs;
  }
  return m_statusSentMs + (status() == m_statusSent ? statusPeriodMs : leastStatusGapMs);
}

void Terminal_c::sendStatus() {
  const uint64_t nowMs = HostClock::nowMs();
  if (address() == nullAddress || statusDueMs() > nowMs) {
    return;
  }
  m_statusSent = status();
  m_statusSentMs = nowMs;
  send(globalAddress, m_statusSent);
}

// --- Messages

uint8_t Terminal_c::address() const {
  return m_self != nullptr && m_self->state() == ClaimState_e::claimed ? m_self->address() : nullAddress;
}

bool Terminal_c::hasFailed() const {
  return m_self != nullptr && m_self->state() == ClaimState_e::cannotClaim;
}

void Terminal_c::send(uint8_t destination, Bytes bytes) {
  if (m_self == nullptr) {
    return;
  }
  IsoMessage_s message;
  message.pgn = TerminalPgn::toEcu;
  message.priority = priority;
  message.destination = destination;
  message.data = std::move(bytes);
  m_node.send(*m_self, std::move(message));
}

// refuse: the negative acknowledgement to who is no client.
void Terminal_c::refuse(uint8_t source) {
  IsoMessage_s message;
  message.pgn = Pgn::acknowledgement;
  message.destination = globalAddress;
  message.data = {notSupported,
                  unusedByte,
                  unusedByte,
                  unusedByte,
                  source,
                  low(TerminalPgn::toTerminal),
                  high(TerminalPgn::toTerminal),
                  0};
  m_node.send(*m_self, std::move(message));
}

void Terminal_c::take(const IsoMessage_s& message) {
  followAddresses();
  if (message.pgn == Pgn::workingSetMaster || message.pgn == Pgn::workingSetMember) {
    takeWorkingSet(message);
  } else if (message.pgn == TerminalPgn::toTerminal && address() != nullAddress && message.destination == address() &&
             message.source <= maxAddress && !message.data.empty()) {
    takeMessage(message.source, message.data);
  }
  tellChanges();
}

void Terminal_c::takeWorkingSet(const IsoMessage_s& message) {
  const uint8_t master = message.source;
  if (m_self == nullptr || master > maxAddress || message.data.empty()) {
    return;
  }
  if (message.pgn == Pgn::workingSetMaster && message.data[0] != 0) {
    m_workingSets[master] = {nameAt(master), message.data[0], {}};
    return;
  }
  const auto known = m_workingSets.find(master);
  if (known == m_workingSets.end()) {
    return;
  }
  if (message.pgn == Pgn::workingSetMember) {
    const bool hasRoom = static_cast<int>(known->second.names.size()) + 1 < known->second.members;
    if (hasRoom && message.data.size() == nameBytesCount) {
      known->second.names.insert(nameFromBytes(message.data.data()));
    }
    return;
  }
  m_workingSets.erase(known);
  const Client_s* client = clientAt(master);
  if (client != nullptr) {
    loseClient(*client, "its working set is dissolved");
  }
}

void Terminal_c::takeMessage(uint8_t source, const Bytes& bytes) {
  if (bytes[0] == TerminalCode::maintenance) {
    takeMaintenance(source, bytes);
    return;
  }
  bool isMaster = false;
  Client_s* client = clientOf(source, isMaster);
  const bool isForMaster = bytes[0] == TerminalCode::poolPart || bytes[0] == TerminalCode::endOfPool ||
                           (bytes[0] >= TerminalCode::storeVersion && bytes[0] <= TerminalCode::getVersions);
  if (client == nullptr || (isForMaster && !isMaster)) {
    refuse(source);
    return;
  }
  if (bytes[0] <= TerminalCode::lastInput) {
    takeInputAnswer(*client, bytes[0]);
    return;
  }
  ++client->state.commands;
  answer(source, answerOf(*client, bytes));
  sendUnasked(*client);
}

void Terminal_c::takeMaintenance(uint8_t source, const Bytes& bytes) {
  constexpr uint8_t initiating = 1;
  constexpr std::size_t shortest = 3;
  if (bytes.size() < shortest) {
    return;
  }
  const bool isOld = bytes[2] == versionBefore3; // its first byte says nothing
  const bool begins = (bytes[1] & initiating) != 0;
  Client_s* client = clientAt(source);
  if (client != nullptr && (isOld || !begins)) {
    client->maintainedMs = HostClock::nowMs();
    return;
  }
  const auto workingSet = m_workingSets.find(source);
  const bool isAnnounced = workingSet != m_workingSets.end() && workingSet->second.name == nameAt(source);
  if (!begins || !isAnnounced) {
    refuse(source);
    return;
  }
  if (client != nullptr) {
    loseClient(*client, "it has started again");
  }
  addClient(source, isOld ? 2 : bytes[2]);
}

void Terminal_c::takeInputAnswer(Client_s& client, uint8_t code) {
  const auto waiting = std::find_if(client.waiting.begin(), client.waiting.end(),
                                    [code](const Client_s::Waiting_s& sent) { return sent.code == code; });
  if (waiting == client.waiting.end()) {
    return;
  }
  client.waiting.erase(waiting);
  ++client.state.inputsAnswered;
  Change_s change;
  change.kind = ChangeKind_e::inputAnswered;
  change.newValue = code;
  queue(client, std::move(change));
}

// --- Faults

void Terminal_c::addFault(AnswerFault_s fault) {
  m_faults.push_back(std::move(fault));
}

void Terminal_c::clearFaults() {
  m_faults.clear();
  m_refusal.reset();
}

// answer: sends an answer, unless a fault has been asked for.
void Terminal_c::answer(uint8_t destination, Bytes bytes) {
  if (bytes.empty()) {
    return;
  }
  const auto hit = std::find_if(m_faults.begin(), m_faults.end(), [&bytes](const AnswerFault_s& fault) {
    return !fault.code || *fault.code == bytes[0];
  });
  if (hit == m_faults.end()) {
    send(destination, std::move(bytes));
    return;
  }
  const AnswerFault_s fault = *hit;
  if (hit->count <= 1) {
    m_faults.erase(hit);
  } else {
    --hit->count;
  }
  if (fault.kind == AnswerFault_s::late) {
    m_answers.push_back({HostClock::nowMs() + fault.delayMs, destination, std::move(bytes)});
  } else if (fault.kind == AnswerFault_s::wrong) {
    const auto last = std::find_if(bytes.rbegin(), bytes.rend(), [](uint8_t byte) { return byte != unusedByte; });
    *last = static_cast<uint8_t>(~*last);
    send(destination, fault.bytes.empty() ? bytes : fault.bytes);
  }
}

// --- Changes

void Terminal_c::queue(const Client_s& client, Change_s change) {
  m_changes.emplace_back(stateOf(client), std::move(change));
}

void Terminal_c::tellChanges() {
  if (std::exchange(m_bTelling, true)) {
    return;
  }
  while (!m_changes.empty()) {
    const auto [client, change] = std::move(m_changes.front());
    m_changes.pop_front();
    if (m_changed) {
      m_changed(client, change);
    }
  }
  m_bTelling = false;
}
