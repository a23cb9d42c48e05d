// Asks every control function of a bus who it is: ECU, product and software identification (ISO 11783-12) and
// compliance certification (ISO 11783-7). Knows nothing but the frames.
//
//   Order of use: construct on a node; work() after each BusNode_c::poll() until isDone().
//   Threads: the thread of the node.
#pragma once

#include "BusNode.h"

#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

enum class AnswerState_e { notAsked, asked, answered, refused, silent };

struct SurveyAnswer_s {
  AnswerState_e state = AnswerState_e::notAsked;
  std::vector<uint8_t> data;
};

constexpr std::array<uint32_t, 4> surveyQuestions = {
    IsoBusHost::Pgn::ecuIdentification, IsoBusHost::Pgn::productIdentification, IsoBusHost::Pgn::softwareIdentification,
    IsoBusHost::Pgn::certification};

// SurveyedFunction_s: one control function and what it answered, in the order of surveyQuestions.
struct SurveyedFunction_s {
  uint64_t name = 0;
  uint8_t address = IsoBusHost::nullAddress; // 254 once it has gone
  uint64_t askFromMs = 0;                    // it answers nothing before its claim stands
  int workingSetMembers = -1;                // as announced by its working-set master message, -1 without one
  std::array<SurveyAnswer_s, surveyQuestions.size()> answers;
};

class BusSurvey_c {
public:
  // Takes    node: network management, requests and both directions of multi-packet messages are switched on;
  //          name, preferredAddress: the surveyor's own
  BusSurvey_c(IsoBusHost::BusNode_c& node, uint64_t name, uint8_t preferredAddress);
  ~BusSurvey_c();
  BusSurvey_c(const BusSurvey_c&) = delete;
  BusSurvey_c& operator=(const BusSurvey_c&) = delete;

  // work: asks the next question when the last one is answered or its time is over.
  void work();

  // isDone: whether everybody has been asked and nobody new has come for a while, or no address could be claimed.
  bool isDone() const;
  bool hasFailed() const;
  uint64_t nextDueMs() const;

  // askForClaims: asks everybody for the address; claims() holds the NAMEs that have answered since.
  bool askForClaims();
  const std::set<uint64_t>& claims() const { return m_claims; }

  uint8_t ownAddress() const { return m_self->address(); }
  const std::vector<SurveyedFunction_s>& functions() const { return m_functions; }
  unsigned int count(AnswerState_e state) const;
  unsigned int asked() const { return m_asked; }

private:
  struct Question_s {
    std::size_t function;
    std::size_t question;
  };

  void take(const IsoBusHost::IsoMessage_s& message);
  void takeAcknowledgement(const IsoBusHost::IsoMessage_s& message);
  void updateFunctions();
  void place(uint64_t name, uint8_t address);
  void askNext();
  void finishQuestion(AnswerState_e state, std::vector<uint8_t> data = {});
  bool isOpenQuestion(uint8_t address, uint32_t pgn) const;

  IsoBusHost::BusNode_c& m_node;
  IsoBusHost::OwnFunction_c* m_self;
  IsoBusHost::BusNode_c::HandlerId m_handler = 0;
  std::vector<SurveyedFunction_s> m_functions;
  std::map<uint8_t, int> m_announcedMembers; // working-set master messages by address
  std::set<uint64_t> m_claims;
  bool m_isOnBus = false; // its own address is claimed
  bool m_isAsking = false;
  Question_s m_question{};
  uint64_t m_deadlineMs = 0;
  uint64_t m_lastChangeMs;
  unsigned int m_asked = 0;
};
