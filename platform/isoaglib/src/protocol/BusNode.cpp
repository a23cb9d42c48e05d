#include "BusNode.h"

#include "HostClock.h"
#include "Identification.h"
#include "NetworkManagement.h"

#include <algorithm>
#include <utility>

namespace IsoBusHost {

namespace {

constexpr std::size_t frameBytes = 8;
constexpr std::size_t requestBytes = 3;
constexpr std::size_t commandedAddressBytes = 9;
constexpr uint32_t maxPgn = 0x3FFFF;
constexpr uint32_t otherProtocol = 0x30000; // EDP and DP set: ISO 15765-3
constexpr uint8_t unused = 0xFF;
constexpr uint8_t workingSetPriority = 7;
constexpr uint64_t memberIntervalMs = 100;
constexpr int maxMembers = 254;

// What an acknowledgement says.
constexpr uint8_t notSupported = 1;
constexpr uint8_t cannotRespond = 3;

uint32_t pgnFromBytes(const uint8_t* bytes) {
  return bytes[0] | static_cast<uint32_t>(bytes[1]) << 8U | static_cast<uint32_t>(bytes[2]) << 16U;
}

std::array<uint8_t, requestBytes> pgnBytes(uint32_t pgn) {
  return {static_cast<uint8_t>(pgn & 0xFFU), static_cast<uint8_t>((pgn >> 8U) & 0xFFU),
          static_cast<uint8_t>((pgn >> 16U) & 0xFFU)};
}

bool isTransport(uint32_t pgn) {
  return pgn == Pgn::transportManagement || pgn == Pgn::transportData || pgn == Pgn::extendedTransportManagement ||
         pgn == Pgn::extendedTransportData;
}

// The members that are announced: as many as are known by NAME.
int knownMembers(const FunctionSettings_s& settings) {
  const auto names = static_cast<int>(std::min<std::size_t>(settings.memberNames.size(), maxMembers));
  return std::min(settings.workingSetMembers, names);
}

bool isRequestForClaim(const IsoId_s& id, const CanFrame_s& frame) {
  return id.pgn == Pgn::request && pgnFromBytes(frame.data.data()) == Pgn::addressClaimed;
}

} // namespace

BusNode_c::BusNode_c(CanPort_c& port)
    : m_port(port), m_networkManagement(std::make_unique<NetworkManagement_c>(
                        NetworkManagement_c::Callbacks_s{
                            [this](const IsoId_s& id, const std::vector<uint8_t>& data) {
                              return sendFrame(id, data.data(), data.size());
                            },
                            [this](OwnFunction_c& function, uint8_t address) { addressLost(function, address); },
                            [this](OwnFunction_c& function) { claimed(function); }},
                        m_statistics)),
      m_transportProtocol(TransportProtocol_c::Callbacks_s{
          [this](const CanFrame_s& frame) { return m_port.send(frame); },
          [this](IsoMessage_s message) {
            m_deferred.push_back([this, kept = std::make_shared<IsoMessage_s>(std::move(message))] { deliver(*kept); });
          },
          [this](uint8_t address) { return m_networkManagement->findClaimed(address) != nullptr; }}) {}

BusNode_c::~BusNode_c() = default;

// --- Services

void BusNode_c::setNetworkManagement(bool on) {
  m_networkManagement->setOn(on);
}

void BusNode_c::setRequests(bool on) {
  m_bRequests = on;
}

void BusNode_c::setMultiReceive(bool on) {
  m_transportProtocol.setReceiving(on);
}

void BusNode_c::setReceiveLimits(const ReceiveLimits_s& limits) {
  m_transportProtocol.setReceiveLimits(limits);
}

void BusNode_c::setMultiSend(bool on) {
  m_transportProtocol.setSending(on);
}

void BusNode_c::setWorkingSets(bool on) {
  if (on == m_bWorkingSets) {
    return;
  }
  m_bWorkingSets = on;
  for (OwnFunction_c* function : m_networkManagement->functions()) {
    function->m_memberDueMs = never;
    if (function->m_state == ClaimState_e::claimed) {
      announceWorkingSet(*function);
    }
  }
}

void BusNode_c::setRequestPeriodMs(int periodMs) {
  m_networkManagement->setRequestPeriodMs(periodMs);
}

OwnFunction_c* BusNode_c::add(FunctionSettings_s settings) {
  return m_networkManagement->add(std::move(settings));
}

void BusNode_c::remove(OwnFunction_c* function) {
  m_networkManagement->remove(function);
}

const std::map<uint8_t, uint64_t>& BusNode_c::others() const {
  return m_networkManagement->others();
}

BusNode_c::HandlerId BusNode_c::onMessage(MessageHandler handler) {
  m_handlers.push_back({++m_lastHandler, std::move(handler)});
  return m_lastHandler;
}

// A handler that is being called, by this message or one around it, must not go away under its own feet.
void BusNode_c::removeHandler(HandlerId id) {
  const auto known =
      std::find_if(m_handlers.begin(), m_handlers.end(), [id](const Handler_s& entry) { return entry.id == id; });
  if (known == m_handlers.end()) {
    return;
  }
  known->id = noHandler;
  if (m_delivering == 0) {
    m_handlers.erase(known);
  }
}

const NodeStatistics_s& BusNode_c::statistics() const {
  return m_statistics;
}

const TransportProtocolStatistics_s& BusNode_c::transportStatistics() const {
  return m_transportProtocol.statistics();
}

// --- Sending

bool BusNode_c::sendFrame(const IsoId_s& id, const uint8_t* data, std::size_t length) {
  CanFrame_s frame;
  frame.identifier = encodeIdentifier(id);
  frame.length = static_cast<uint8_t>(length);
  std::copy(data, data + length, frame.data.begin());
  return m_port.send(frame);
}

bool BusNode_c::maySend(const OwnFunction_c& from, uint32_t pgn, uint8_t destination) const {
  return m_networkManagement->contains(&from) && from.m_state == ClaimState_e::claimed && pgn <= maxPgn &&
         destination != nullAddress;
}

bool BusNode_c::send(const OwnFunction_c& from, uint32_t pgn, uint8_t priority, uint8_t destination,
                     const uint8_t* data, std::size_t length) {
  return length <= frameBytes && maySend(from, pgn, destination) &&
         sendFrame({priority, pgn, destination, from.m_address}, data, length);
}

bool BusNode_c::send(const OwnFunction_c& from, IsoMessage_s message, TransportProtocol_c::Done done) {
  if (!maySend(from, message.pgn, message.destination)) {
    return false;
  }
  if (message.data.size() > frameBytes) {
    message.source = from.m_address;
    return m_transportProtocol.send(std::move(message), deferred(std::move(done)));
  }
  if (!send(from, message.pgn, message.priority, message.destination, message.data.data(), message.data.size())) {
    return false;
  }
  if (done) {
    deferred(std::move(done))(true);
  }
  return true;
}

bool BusNode_c::request(const OwnFunction_c& from, uint32_t pgn, uint8_t destination) {
  const auto bytes = pgnBytes(pgn);
  const bool isSent = pgn <= maxPgn && send(from, Pgn::request, 6, destination, bytes.data(), bytes.size());
  if (isSent && pgn == Pgn::addressClaimed && destination == globalAddress) {
    m_networkManagement->answerRequest(globalAddress);
  }
  return isSent;
}

// deferred: returns a function that has done called from poll(), when nothing else is half done.
TransportProtocol_c::Done BusNode_c::deferred(TransportProtocol_c::Done done) {
  if (!done) {
    return {};
  }
  return [this, done = std::move(done)](bool sent) { m_deferred.push_back([done, sent] { done(sent); }); };
}

// What the call-backs themselves put here waits for the next round: a round always ends.
void BusNode_c::runDeferred() {
  for (std::size_t left = m_deferred.size(); left > 0 && !m_deferred.empty(); --left) {
    const std::function<void()> action = std::move(m_deferred.front());
    m_deferred.pop_front();
    action();
  }
}

// --- Receiving

std::size_t BusNode_c::poll(std::size_t maxFrames) {
  std::size_t frames = 0;
  while (frames < maxFrames) {
    const std::optional<CanFrame_s> frame = m_port.receive();
    if (!frame) {
      break;
    }
    ++frames;
    dispatch(*frame);
    runDeferred();
  }
  m_networkManagement->work();
  workOnWorkingSets();
  m_transportProtocol.work();
  runDeferred();
  m_port.flush();
  return frames;
}

uint64_t BusNode_c::nextDueMs() const {
  if (!m_deferred.empty()) {
    return HostClock::nowMs();
  }
  uint64_t dueMs = std::min(m_networkManagement->nextDueMs(), m_transportProtocol.nextDueMs());
  for (const auto& function : m_networkManagement->owned()) {
    dueMs = std::min(dueMs, function->m_memberDueMs);
  }
  return dueMs;
}

void BusNode_c::dispatch(const CanFrame_s& frame) {
  const IsoId_s id = decodeIdentifier(frame.identifier);
  const bool isOurProtocol = frame.extended && (id.pgn & otherProtocol) != otherProtocol;
  const bool isClaim = id.pgn == Pgn::addressClaimed;
  const bool isSound = frame.length <= frameBytes && id.source != globalAddress && id.destination != nullAddress &&
                       (!isClaim || (frame.length == frameBytes && id.destination == globalAddress)) &&
                       (id.pgn != Pgn::request || frame.length == requestBytes) &&
                       (!isTransport(id.pgn) || id.source != nullAddress);
  if (!isOurProtocol || !isSound) {
    ++m_statistics.framesIgnored;
    return;
  }
  if (isClaim) {
    m_networkManagement->handleClaim(id.source, nameFromBytes(frame.data.data()));
  } else if (isRequestForClaim(id, frame)) {
    m_networkManagement->answerRequest(id.destination);
  }
  if (!isClaim && m_networkManagement->findClaimed(id.source) != nullptr) {
    handleViolation(id, frame);
    return;
  }
  if (!isForUs(id.destination)) {
    return;
  }
  if (isTransport(id.pgn)) {
    m_transportProtocol.handleFrame(frame);
    return;
  }
  deliverShort(id, frame);
}

// A double of one of our addresses: what it says is not for us. Its request to all was answered with our claim already.
void BusNode_c::handleViolation(const IsoId_s& id, const CanFrame_s& frame) {
  ++m_statistics.framesIgnored;
  if (id.destination != globalAddress || !isRequestForClaim(id, frame)) {
    m_networkManagement->handleViolation(id.source);
  }
}

bool BusNode_c::isForUs(uint8_t destination) const {
  return destination == globalAddress || m_networkManagement->findClaimed(destination) != nullptr;
}

// The buffer is on loan to the message: a poll() inside a handler finds it gone and takes one of its own.
void BusNode_c::deliverShort(const IsoId_s& id, const CanFrame_s& frame) {
  IsoMessage_s message{id.pgn, id.priority, id.source, id.destination, std::exchange(m_shortData, {})};
  message.data.assign(frame.data.begin(), frame.data.begin() + frame.length);
  deliver(message);
  m_shortData = std::move(message.data);
}

void BusNode_c::deliver(const IsoMessage_s& message) {
  if (message.pgn == Pgn::request) {
    handleRequest(message);
  } else if (message.pgn == Pgn::commandedAddress) {
    handleCommandedAddress(message);
  }
  tellHandlers(message);
}

void BusNode_c::tellHandlers(const IsoMessage_s& message) {
  ++m_delivering;
  for (const Handler_s& entry : m_handlers) {
    if (entry.id != noHandler) {
      entry.handler(message);
    }
  }
  if (--m_delivering == 0) {
    m_handlers.remove_if([](const Handler_s& entry) { return entry.id == noHandler; });
  }
}

void BusNode_c::handleCommandedAddress(const IsoMessage_s& message) {
  if (message.data.size() != commandedAddressBytes) {
    ++m_statistics.framesIgnored;
    return;
  }
  m_networkManagement->command(nameFromBytes(message.data.data()), message.data.back());
}

// --- Requests

void BusNode_c::handleRequest(const IsoMessage_s& message) {
  const bool isRequest = message.data.size() == requestBytes;
  const uint32_t pgn = isRequest ? pgnFromBytes(message.data.data()) : 0;
  if (pgn == Pgn::addressClaimed || !m_bRequests) {
    return;
  }
  // Who has no address may ask for addresses only: an answer could not reach it.
  if (!isRequest || pgn > maxPgn || message.source > maxAddress) {
    ++m_statistics.framesIgnored;
    return;
  }
  if (message.destination == globalAddress) {
    for (OwnFunction_c* function : m_networkManagement->functions()) {
      answerRequest(function, pgn, globalAddress);
    }
    return;
  }
  if (!answerRequest(m_networkManagement->findClaimed(message.destination), pgn, message.source)) {
    acknowledge(message.destination, notSupported, message.source, pgn);
  }
}

// answerRequest: gives false when the function refuses. It may have left the bus before or while it was asked.
bool BusNode_c::answerRequest(OwnFunction_c* function, uint32_t pgn, uint8_t destination) {
  if (!m_networkManagement->contains(function) || function->m_state != ClaimState_e::claimed) {
    return true;
  }
  if (pgn == Pgn::workingSetMaster && announceWorkingSet(*function)) {
    ++m_statistics.requestsAnswered;
    return true;
  }
  const auto answer = function->m_settings.answer; // a copy: the call-back may remove the function
  const uint8_t source = function->m_address;
  std::optional<std::vector<uint8_t>> data = answer ? answer(pgn) : std::nullopt;
  if (!data) {
    return false;
  }
  if (m_networkManagement->findClaimed(source) == function) {
    sendAnswer(source, pgn, destination, std::move(*data));
  }
  return true;
}

void BusNode_c::sendAnswer(uint8_t source, uint32_t pgn, uint8_t destination, std::vector<uint8_t> data) {
  if (data.size() <= frameBytes) {
    data.resize(frameBytes, unused);
    m_statistics.requestsAnswered += sendFrame({6, pgn, destination, source}, data.data(), data.size()) ? 1 : 0;
    return;
  }
  const AnswerKey key{source, destination, pgn};
  if (!m_longAnswers.insert(key).second) {
    return; // the answer that is under way serves this request too
  }
  const auto done = [this, key](bool) { m_longAnswers.erase(key); };
  if (m_transportProtocol.send({pgn, 6, source, destination, std::move(data)}, done)) {
    ++m_statistics.requestsAnswered;
    return;
  }
  m_longAnswers.erase(key);
  if (destination != globalAddress) {
    acknowledge(source, cannotRespond, destination, pgn);
  }
}

void BusNode_c::acknowledge(uint8_t source, uint8_t control, uint8_t answered, uint32_t pgn) {
  const auto requested = pgnBytes(pgn);
  const std::array<uint8_t, frameBytes> data{control,  unused,       unused,       unused,
                                             answered, requested[0], requested[1], requested[2]};
  ++m_statistics.requestsRefused;
  sendFrame({6, Pgn::acknowledgement, globalAddress, source}, data.data(), data.size());
}

// --- What network management reports

void BusNode_c::addressLost(OwnFunction_c& function, uint8_t address) {
  function.m_memberDueMs = never;
  m_transportProtocol.dropAddress(address);
}

void BusNode_c::claimed(OwnFunction_c& function) {
  announceWorkingSet(function);
  m_deferred.push_back([this, name = function.name(), address = function.m_address] {
    const OwnFunction_c* claimer = m_networkManagement->findClaimed(address);
    if (claimer == nullptr || claimer->name() != name || !claimer->m_settings.onClaimed) {
      return;
    }
    const auto onClaimed = claimer->m_settings.onClaimed; // a copy: the call-back may remove the function
    onClaimed(address);
  });
}

// --- Working sets

// announceWorkingSet: sends the master message, the members follow. False when the function is no master.
bool BusNode_c::announceWorkingSet(OwnFunction_c& function) {
  if (!m_bWorkingSets || function.m_settings.workingSetMembers < 0) {
    return false;
  }
  if (function.m_memberDueMs != never) {
    function.m_bAnnounceAgain = true;
    return true;
  }
  const int members = knownMembers(function.m_settings);
  std::array<uint8_t, frameBytes> data{};
  data.fill(unused);
  data[0] = static_cast<uint8_t>(members + 1);
  sendFrame({workingSetPriority, Pgn::workingSetMaster, globalAddress, function.m_address}, data.data(), data.size());
  function.m_bAnnounceAgain = false;
  function.m_nextMember = 0;
  if (members > 0) {
    function.m_memberDueMs = HostClock::nowMs() + memberIntervalMs;
  }
  return true;
}

bool BusNode_c::announce(const OwnFunction_c& from) {
  OwnFunction_c* function = m_networkManagement->findClaimed(from.m_address);
  return function == &from && announceWorkingSet(*function);
}

bool BusNode_c::isAnnouncing(const OwnFunction_c& from) const {
  return from.m_memberDueMs != never;
}

void BusNode_c::workOnWorkingSets() {
  for (const auto& function : m_networkManagement->owned()) {
    if (function->m_memberDueMs <= HostClock::nowMs()) {
      announceMember(*function);
    }
  }
}

void BusNode_c::announceMember(OwnFunction_c& function) {
  const auto member = static_cast<std::size_t>(function.m_nextMember++);
  const auto data = nameBytes(function.m_settings.memberNames[member]);
  sendFrame({workingSetPriority, Pgn::workingSetMember, globalAddress, function.m_address}, data.data(), data.size());
  if (function.m_nextMember < knownMembers(function.m_settings)) {
    function.m_memberDueMs = HostClock::nowMs() + memberIntervalMs;
    return;
  }
  function.m_memberDueMs = never;
  if (function.m_bAnnounceAgain) {
    announceWorkingSet(function);
  }
}

} // namespace IsoBusHost
