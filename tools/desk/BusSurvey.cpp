#include "BusSurvey.h"

#include "HostClock.h"
#include "Identification.h"

#include <algorithm>

using namespace IsoBusHost;

namespace {

// A long answer takes a second and more where it is sent in packets 200 ms apart.
constexpr uint64_t answerTimeMs = 3000;

// The 250 ms that a claim must stand, and some more for the way.
constexpr uint64_t claimTimeMs = 300;

// A function that starts together with the survey claims within this time.
constexpr uint64_t quietTimeMs = 1500;

} // namespace

BusSurvey_c::BusSurvey_c(BusNode_c& node, uint64_t name, uint8_t preferredAddress)
    : m_node(node), m_self(nullptr), m_lastChangeMs(HostClock::nowMs()) {
  node.setNetworkManagement(true);
  node.setRequests(true);
  node.setMultiReceive(true);
  node.setMultiSend(true);
  m_handler = node.onMessage([this](const IsoMessage_s& message) { take(message); });
  FunctionSettings_s settings;
  settings.name = name;
  settings.preferredAddress = preferredAddress;
  settings.answer = [](uint32_t) { return std::nullopt; };
  m_self = node.add(settings);
}

BusSurvey_c::~BusSurvey_c() {
  m_node.removeHandler(m_handler);
  m_node.remove(m_self);
}

void BusSurvey_c::work() {
  updateFunctions();
  if (m_self->state() != ClaimState_e::claimed) {
    return;
  }
  if (!m_isOnBus) {
    m_isOnBus = true;
    m_lastChangeMs = HostClock::nowMs();
  }
  if (m_isAsking && HostClock::nowMs() >= m_deadlineMs) {
    finishQuestion(AnswerState_e::silent);
  }
  if (!m_isAsking) {
    askNext();
  }
}

bool BusSurvey_c::hasFailed() const {
  return m_self->state() == ClaimState_e::cannotClaim;
}

bool BusSurvey_c::isDone() const {
  return hasFailed() || (m_isOnBus && !m_isAsking && HostClock::nowMs() >= m_lastChangeMs + quietTimeMs);
}

bool BusSurvey_c::askForClaims() {
  m_claims.clear();
  return m_node.request(*m_self, Pgn::addressClaimed, globalAddress);
}

uint64_t BusSurvey_c::nextDueMs() const {
  if (!m_isOnBus) {
    return never;
  }
  uint64_t dueMs = m_isAsking ? m_deadlineMs : m_lastChangeMs + quietTimeMs;
  for (const SurveyedFunction_s& function : m_functions) {
    if (!m_isAsking && function.askFromMs > HostClock::nowMs()) {
      dueMs = std::min(dueMs, function.askFromMs);
    }
  }
  return dueMs;
}

unsigned int BusSurvey_c::count(AnswerState_e state) const {
  unsigned int number = 0;
  for (const SurveyedFunction_s& function : m_functions) {
    number += static_cast<unsigned int>(
        std::count_if(function.answers.begin(), function.answers.end(),
                      [state](const SurveyAnswer_s& answer) { return answer.state == state; }));
  }
  return number;
}

void BusSurvey_c::take(const IsoMessage_s& message) {
  if (message.pgn == Pgn::acknowledgement) {
    takeAcknowledgement(message);
    return;
  }
  if (message.pgn == Pgn::addressClaimed && message.data.size() == 8) {
    m_claims.insert(nameFromBytes(message.data.data()));
    return;
  }
  if (message.pgn == Pgn::workingSetMaster && !message.data.empty()) {
    m_announcedMembers[message.source] = message.data[0];
    return;
  }
  if (isOpenQuestion(message.source, message.pgn)) {
    finishQuestion(AnswerState_e::answered, message.data);
  }
}

void BusSurvey_c::takeAcknowledgement(const IsoMessage_s& message) {
  constexpr uint8_t positive = 0;
  if (message.data.size() != 8 || message.data[0] == positive || message.data[4] != m_self->address()) {
    return;
  }
  const uint32_t pgn =
      message.data[5] | static_cast<uint32_t>(message.data[6]) << 8U | static_cast<uint32_t>(message.data[7]) << 16U;
  if (isOpenQuestion(message.source, pgn)) {
    finishQuestion(AnswerState_e::refused);
  }
}

void BusSurvey_c::updateFunctions() {
  for (SurveyedFunction_s& function : m_functions) {
    const auto there = m_node.others().find(function.address);
    if (there == m_node.others().end() || there->second != function.name) {
      function.address = nullAddress;
    }
  }
  for (const auto& [address, name] : m_node.others()) {
    place(name, address);
  }
}

// place: puts a function at the address that it claims.
void BusSurvey_c::place(uint64_t name, uint8_t address) {
  auto function = std::find_if(m_functions.begin(), m_functions.end(),
                               [name](const SurveyedFunction_s& known) { return known.name == name; });
  if (function == m_functions.end()) {
    function = m_functions.emplace(m_functions.end());
    function->name = name;
  }
  if (function->address != address) {
    function->address = address;
    m_lastChangeMs = HostClock::nowMs();
    function->askFromMs = m_lastChangeMs + claimTimeMs;
  }
  const auto announced = m_announcedMembers.find(address);
  if (announced != m_announcedMembers.end()) {
    function->workingSetMembers = announced->second;
  }
}

void BusSurvey_c::askNext() {
  for (std::size_t function = 0; function < m_functions.size(); ++function) {
    for (std::size_t question = 0; question < surveyQuestions.size(); ++question) {
      SurveyAnswer_s& answer = m_functions[function].answers[question];
      const uint8_t address = m_functions[function].address;
      const bool mayAsk = address != nullAddress && HostClock::nowMs() >= m_functions[function].askFromMs;
      if (answer.state != AnswerState_e::notAsked || !mayAsk ||
          !m_node.request(*m_self, surveyQuestions[question], address)) {
        continue;
      }
      answer.state = AnswerState_e::asked;
      m_question = {function, question};
      m_isAsking = true;
      m_deadlineMs = HostClock::nowMs() + answerTimeMs;
      ++m_asked;
      return;
    }
  }
}

void BusSurvey_c::finishQuestion(AnswerState_e state, std::vector<uint8_t> data) {
  m_functions[m_question.function].answers[m_question.question] = {state, std::move(data)};
  m_isAsking = false;
  m_lastChangeMs = HostClock::nowMs();
}

bool BusSurvey_c::isOpenQuestion(uint8_t address, uint32_t pgn) const {
  return m_isAsking && m_functions[m_question.function].address == address &&
         surveyQuestions[m_question.question] == pgn;
}
