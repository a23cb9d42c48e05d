// The survey of a bus, against nodes that answer, refuse, stay silent, move and leave.
#include "desk/BusSurvey.h"
#include "BusText.h"

#include <gtest/gtest.h>

using namespace BusText;
using namespace IsoBusHost;

namespace {

constexpr uint64_t surveyorName = 0x8000810000000001U;
constexpr uint64_t firstName = 0xA000800000000010U;
constexpr uint64_t secondName = 0xA000800800000010U;
constexpr uint64_t longEnoughMs = 20000;

std::vector<uint8_t> bytesOfText(const std::string& text) {
  return {text.begin(), text.end()};
}

class BusSurvey : public testing::Test {
protected:
  void SetUp() override {
    other.node.setNetworkManagement(true);
    other.node.setRequests(true);
    other.node.setMultiReceive(true);
    other.node.setMultiSend(true);
    other.node.setWorkingSets(true);
  }

  OwnFunction_c* add(uint64_t name, uint8_t address, std::map<uint32_t, std::vector<uint8_t>> answers,
                     int workingSetMembers = -1) {
    FunctionSettings_s settings;
    settings.name = name;
    settings.preferredAddress = address;
    settings.workingSetMembers = workingSetMembers;
    settings.answer = [answers](uint32_t pgn) -> std::optional<std::vector<uint8_t>> {
      const auto answer = answers.find(pgn);
      return answer == answers.end() ? std::nullopt : std::make_optional(answer->second);
    };
    return other.node.add(settings);
  }

  void step() {
    stations.settle();
    survey.work();
    HostClock::advanceMs(1);
  }

  void runToEnd() {
    const uint64_t endMs = HostClock::nowMs() + longEnoughMs;
    while (!survey.isDone() && HostClock::nowMs() < endMs) {
      step();
    }
  }

  Wire_c wire;
  Station_s tool{wire};
  Station_s other{wire};
  BusSurvey_c survey{tool.node, surveyorName, 249};
  Stations_c stations{{&tool.node, &other.node}};
};

TEST_F(BusSurvey, AsksEveryFunctionFourQuestionsAndKeepsTheAnswers) {
  const std::map<uint32_t, std::vector<uint8_t>> answers = {
      {Pgn::ecuIdentification, bytesOfText("part*serial*place*type*maker*hardware*")},
      {Pgn::productIdentification, bytesOfText("code*brand*model*")},
      {Pgn::softwareIdentification, bytesOfText("\x01soft-1.0*")},
      {Pgn::certification, {1, 2, 3, 4, 5, 6, 7, 8}}};
  add(firstName, 128, answers, 0);
  add(secondName, 129, answers);
  runToEnd();
  ASSERT_TRUE(survey.isDone());
  EXPECT_FALSE(survey.hasFailed());
  EXPECT_EQ(survey.ownAddress(), 249);
  EXPECT_EQ(survey.asked(), 8U);
  EXPECT_EQ(survey.count(AnswerState_e::answered), 8U);
  ASSERT_EQ(survey.functions().size(), 2U);
  EXPECT_EQ(survey.functions()[0].name, firstName);
  EXPECT_EQ(survey.functions()[0].address, 128);
  EXPECT_EQ(survey.functions()[0].workingSetMembers, 1);
  EXPECT_EQ(survey.functions()[1].name, secondName);
  EXPECT_EQ(survey.functions()[1].address, 129);
  EXPECT_EQ(survey.functions()[1].workingSetMembers, -1);
  for (const SurveyedFunction_s& function : survey.functions()) {
    for (std::size_t question = 0; question < surveyQuestions.size(); ++question) {
      EXPECT_EQ(function.answers[question].data, answers.at(surveyQuestions[question])) << question;
    }
  }
}

TEST_F(BusSurvey, TellsARefusalFromSilence) {
  add(firstName, 128, {{Pgn::certification, {1, 2, 3, 4, 5, 6, 7, 8}}});
  runToEnd();
  EXPECT_EQ(survey.count(AnswerState_e::refused), 3U);
  EXPECT_EQ(survey.count(AnswerState_e::answered), 1U);
  EXPECT_EQ(survey.count(AnswerState_e::silent), 0U);
}

TEST_F(BusSurvey, WaitsThreeSecondsForAnAnswerAndGoesOn) {
  other.node.setRequests(false);
  add(firstName, 128, {});
  while (survey.asked() == 0) {
    step();
  }
  HostClock::advanceMs(2998);
  survey.work();
  EXPECT_EQ(survey.count(AnswerState_e::silent), 0U);
  HostClock::advanceMs(1);
  survey.work();
  EXPECT_EQ(survey.count(AnswerState_e::silent), 1U);
  EXPECT_EQ(survey.asked(), 2U);
  runToEnd();
  EXPECT_TRUE(survey.isDone());
  EXPECT_EQ(survey.count(AnswerState_e::silent), 4U);
}

TEST_F(BusSurvey, IgnoresAnswersThatNobodyHasAskedFor) {
  other.node.setRequests(false);
  add(firstName, 128, {});
  while (survey.asked() == 0) {
    step();
  }
  wire.say("18FDC581 41 2A 42 2A 43 2A 44 2A"); // another address
  wire.say("18FC8D80 41 2A 42 2A 43 2A FF FF"); // another question
  wire.say("18E8FF80 01 FF FF FF F8 C5 FD 00"); // refused to another address
  wire.say("18E8FF80 00 FF FF FF F9 C5 FD 00"); // not a refusal
  wire.say("18E8FF80 01 FF FF FF");             // cut off
  step();
  EXPECT_EQ(survey.count(AnswerState_e::asked), 1U);
  wire.say("18E8FF80 01 FF FF FF F9 C5 FD 00");
  step();
  EXPECT_EQ(survey.count(AnswerState_e::refused), 1U);
}

TEST_F(BusSurvey, EndsOnAnEmptyBusAfterTheQuietTime) {
  runToEnd();
  EXPECT_TRUE(survey.isDone());
  EXPECT_TRUE(survey.functions().empty());
  EXPECT_EQ(survey.asked(), 0U);
}

TEST_F(BusSurvey, WaitsForItsOwnAddressHoweverLongThatTakes) {
  add(firstName, 128, {{Pgn::certification, {1, 2, 3, 4, 5, 6, 7, 8}}});
  wire.setBroken(true);
  for (int count = 0; count < 5000; ++count) {
    step();
    ASSERT_FALSE(survey.isDone());
  }
  wire.setBroken(false);
  runToEnd();
  EXPECT_EQ(survey.count(AnswerState_e::answered), 1U);
}

TEST_F(BusSurvey, FollowsAFunctionToItsNewAddress) {
  add(firstName, 128, {{Pgn::certification, {1, 2, 3, 4, 5, 6, 7, 8}}});
  runToEnd();
  wire.say("18EEFF80 01 00 00 00 00 00 00 00"); // a lower NAME takes 128
  for (int count = 0; count < 300; ++count) {
    step();
  }
  ASSERT_EQ(survey.functions().size(), 2U);
  EXPECT_EQ(survey.functions()[0].name, firstName);
  EXPECT_EQ(survey.functions()[0].address, 129);
  EXPECT_EQ(survey.functions()[1].name, 1U);
  EXPECT_EQ(survey.functions()[1].address, 128);
}

TEST_F(BusSurvey, ShowsAFunctionWithoutAddressAsGone) {
  add(firstName & 0x7FFFFFFFFFFFFFFFU, 100, {});
  runToEnd();
  ASSERT_EQ(survey.functions().size(), 1U);
  wire.say("18EEFF64 01 00 00 00 00 00 00 00");
  for (int count = 0; count < 300; ++count) {
    step();
  }
  EXPECT_EQ(survey.functions()[0].address, nullAddress);
}

TEST_F(BusSurvey, FailsWhenItsOwnAddressCannotBeClaimed) {
  Station_s poor{wire};
  BusSurvey_c fixedSurvey(poor.node, surveyorName & 0x7FFFFFFFFFFFFFFFU, 200);
  wire.say("18EEFFC8 01 00 00 00 00 00 00 00");
  for (int count = 0; count < 1000; ++count) {
    poor.node.poll();
    fixedSurvey.work();
    HostClock::advanceMs(1);
  }
  EXPECT_TRUE(fixedSurvey.hasFailed());
  EXPECT_TRUE(fixedSurvey.isDone());
}

TEST_F(BusSurvey, HoldsWhoHasAnsweredSinceTheAddressesWereAskedForAgain) {
  OwnFunction_c* first = add(firstName, 128, {});
  add(secondName, 129, {});
  runToEnd();
  other.node.remove(first);
  ASSERT_TRUE(survey.askForClaims());
  EXPECT_TRUE(survey.claims().empty());
  for (int count = 0; count < 300; ++count) {
    step();
  }
  EXPECT_EQ(survey.claims(), std::set<uint64_t>({secondName}));
}

} // namespace
