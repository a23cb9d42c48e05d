// Input of the terminal's operator, the client's answers, versions, and faults on request.
#include "TerminalClientOnBus.h"

#include <algorithm>

using namespace IsoBusHost;
using namespace TerminalOnBus;
using TerminalPool::sample;
using TerminalPool::smallest;

namespace {

constexpr uint64_t firstName = 0xA000800000000010U;

class TerminalWithAClient : public Fixture {
protected:
  void SetUp() override {
    addClient(firstName, 128);
    run(1000);
    begin(client());
    ASSERT_EQ(load(client(), sample()), "12 00 FF FF FF FF 00");
    maintain();
    client().take();
    changes.clear();
  }

  Client_s& client() { return *clients[0]; }

  // heard: what the client has heard of the operator.
  std::string heard() {
    settle();
    return client().take();
  }
};

class TerminalOperator : public TerminalWithAClient {};
class TerminalVersion : public TerminalWithAClient {};
class TerminalFault : public TerminalWithAClient {};

// --- Input

TEST_F(TerminalOperator, PressesAndReleasesASoftKey) {
  EXPECT_EQ(terminal.key(128, 0x69, KeyState_e::pressed), "");
  EXPECT_EQ(heard(), "00 01 69 00 65 00 07");
  EXPECT_EQ(terminal.key(128, 0x69, KeyState_e::released), "");
  EXPECT_EQ(heard(), "00 00 69 00 65 00 07");
}

TEST_F(TerminalOperator, RepeatsAHeldKeyEvery200Milliseconds) {
  terminal.key(128, 0x69, KeyState_e::pressed);
  heard();
  run(199);
  EXPECT_EQ(heard(), "");
  run(1);
  EXPECT_EQ(heard(), "00 02 69 00 65 00 07");
  run(200);
  EXPECT_EQ(heard(), "00 02 69 00 65 00 07");
  terminal.key(128, 0x69, KeyState_e::released);
  heard();
  run(1000);
  EXPECT_EQ(heard(), "");
}

TEST_F(TerminalOperator, AbortsAHeldKeyThatGoesFromTheScreen) {
  terminal.key(128, 0x69, KeyState_e::pressed);
  ask(client(), "AE 01 65 00 FF FF");
  run(200);
  EXPECT_EQ(heard(), "00 03 69 00 65 00 07");
  run(400);
  EXPECT_EQ(heard(), "");
}

TEST_F(TerminalOperator, TakesNoKeyThatIsNoKeyNotSeenNotPressedOrPressedAlready) {
  EXPECT_EQ(terminal.key(128, 0x70, KeyState_e::pressed), "object 112 is no key");
  EXPECT_EQ(terminal.key(128, 0x1388, KeyState_e::pressed), "object 5000 is no key");
  EXPECT_EQ(terminal.key(129, 0x69, KeyState_e::pressed), "there is no client at address 129");
  EXPECT_EQ(terminal.key(128, 0x69, KeyState_e::released), "object 105 is not pressed");
  EXPECT_EQ(terminal.key(128, 0x69, KeyState_e::pressed), "");
  EXPECT_EQ(terminal.key(128, 0x69, KeyState_e::pressed), "object 105 is pressed already");
  terminal.key(128, 0x69, KeyState_e::released);
  ask(client(), "AE 01 65 00 FF FF");
  EXPECT_EQ(terminal.key(128, 0x69, KeyState_e::pressed), "object 105 is not on the screen");
}

TEST_F(TerminalOperator, PressesAButtonAndLatchesIt) {
  EXPECT_EQ(terminal.button(128, 0x6A, KeyState_e::pressed), "");
  EXPECT_EQ(heard(), "01 01 6A 00 65 00 09");
  EXPECT_EQ(terminal.object(128, 0x6A)->value(Attribute_e::options), 3U);
  terminal.button(128, 0x6A, KeyState_e::released);
  EXPECT_EQ(heard(), "01 00 6A 00 65 00 09");
  ask(client(), "A1 6A 00 00");
  EXPECT_EQ(terminal.button(128, 0x6A, KeyState_e::pressed), "object 106 is disabled");
}

TEST_F(TerminalOperator, EntersANumber) {
  EXPECT_EQ(terminal.enterNumber(128, 0x6D, 1000), "");
  EXPECT_EQ(heard(), "05 6D 00 FF E8 03 00 00");
  EXPECT_EQ(terminal.object(128, 0x6D)->value(Attribute_e::value), 1000U);
  EXPECT_EQ(terminal.enterNumber(128, 0x6D, 1001), "1001 is out of range for object 109");
  EXPECT_EQ(terminal.enterNumber(128, 0x6B, 2), "2 is out of range for object 107");
  EXPECT_EQ(terminal.enterNumber(128, 0x6C, 2), "2 is out of range for object 108");
  EXPECT_EQ(terminal.enterNumber(128, 0x70, 2), "object 112 takes no number");
}

TEST_F(TerminalOperator, EntersANumberIntoTheVariableOfTheField) {
  ask(client(), "AF 6D 00 06 7A 00 00 00");
  EXPECT_EQ(terminal.enterNumber(128, 0x6D, 9), "");
  EXPECT_EQ(heard(), "05 7A 00 FF 09 00 00 00");
  EXPECT_EQ(terminal.object(128, 0x7A)->value(Attribute_e::value), 9U);
  EXPECT_EQ(terminal.object(128, 0x6D)->value(Attribute_e::value), 5U);
}

TEST_F(TerminalOperator, EntersATextThatTheFieldAllows) {
  EXPECT_EQ(terminal.enterText(128, 0x6E, {0x41, 0x42}), "");
  EXPECT_EQ(heard(), "08 7B 00 02 41 42");
  EXPECT_EQ(TerminalPool::hex(terminal.object(128, 0x7B)->text), "41 42 20 20");
  EXPECT_EQ(terminal.enterText(128, 0x6E, {0x41, 0x41, 0x41, 0x41, 0x41}), "the text is too long for object 110");
  EXPECT_EQ(terminal.enterText(128, 0x6E, {0x44}), "a character of the text is not allowed in object 110");
  EXPECT_EQ(terminal.enterText(128, 0x6F, {0x41}), "object 111 takes no text");
}

TEST_F(TerminalOperator, SelectsOpensLeavesAndUnselectsAField) {
  EXPECT_EQ(terminal.select(128, 0x6D, false), "");
  EXPECT_EQ(heard(), "03 6D 00 01 00");
  EXPECT_EQ(terminal.escape(128), "nothing is open for input");
  EXPECT_EQ(terminal.select(128, 0x6D, true), "");
  EXPECT_EQ(heard(), "03 6D 00 01 01");
  EXPECT_EQ(ask(client(), "A8 6D 00 FF 09 00 00 00"), "A8 6D 00 04 09 00 00 00");
  EXPECT_EQ(terminal.escape(128), "");
  EXPECT_EQ(heard(), "04 6D 00 00");
  EXPECT_EQ(terminal.unselect(128), "");
  EXPECT_EQ(heard(), "03 6D 00 00 00");
  EXPECT_EQ(terminal.unselect(128), "nothing is selected");
  EXPECT_EQ(terminal.select(128, 0x70, false), "object 112 cannot be selected");
}

TEST_F(TerminalOperator, TouchesTheMask) {
  EXPECT_EQ(terminal.point(128, 0x0102, 0x0304, KeyState_e::pressed), "");
  EXPECT_EQ(heard(), "02 02 01 04 03 01");
}

TEST_F(TerminalOperator, CountsTheAnswersOfTheClient) {
  terminal.key(128, 0x69, KeyState_e::pressed);
  terminal.key(128, 0x69, KeyState_e::released);
  client().say("00 01 69 00 65 00 07");
  settle();
  EXPECT_EQ(terminal.clients()[0].inputsSent, 2U);
  EXPECT_EQ(terminal.clients()[0].inputsAnswered, 1U);
  EXPECT_EQ(changes.back().kind, ChangeKind_e::inputAnswered);
  run(1499);
  EXPECT_EQ(terminal.clients()[0].inputsUnanswered, 0U);
  run(1);
  EXPECT_EQ(terminal.clients()[0].inputsUnanswered, 1U);
  client().say("00 00 69 00 65 00 07"); // too late
  client().say("05 6D 00 FF 00 00 00 00");
  settle();
  EXPECT_EQ(terminal.clients()[0].inputsAnswered, 1U);
  EXPECT_EQ(heard(), "00 01 69 00 65 00 07 | 00 00 69 00 65 00 07");
}

TEST_F(TerminalOperator, TakesCommandsInLongMessages) {
  client().say("B4 65 00 70 00 F6 FF 14 00");
  run(500);
  EXPECT_EQ(client().take(), "B4 65 00 70 00 00");
  EXPECT_EQ(terminal.object(128, 0x65)->children[2].x, -10);
  client().say("B3 6F 00 05 00 57 6F 72 6C 64");
  run(500);
  EXPECT_EQ(client().take(), "B3 FF FF 6F 00 00");
  EXPECT_EQ(TerminalPool::hex(terminal.object(128, 0x6F)->text), "57 6F 72 6C 64");
}

// --- Versions

TEST_F(TerminalVersion, IsStoredListedLoadedAndDeleted) {
  EXPECT_EQ(ask(client(), "D0 56 31 20 20 20 20 20"), "D0 FF FF FF FF 00");
  client().say("DF");
  run(300);
  ASSERT_FALSE(client().whole.empty());
  EXPECT_EQ(TerminalPool::hex(client().whole.back()), "E0 01 56 31 20 20 20 20 20");
  ask(client(), "A8 7A 00 FF 2A 00 00 00");
  EXPECT_EQ(ask(client(), "D1 56 31 20 20 20 20 20"), "D1 FF FF FF FF 00");
  EXPECT_EQ(terminal.object(128, 0x7A)->value(Attribute_e::value), 7U); // as it was transferred
  EXPECT_TRUE(terminal.clients()[0].isShown);
  EXPECT_EQ(ask(client(), "D1 20 20 20 20 20 20 20"), "D1 FF FF FF FF 00"); // the last one
  EXPECT_EQ(ask(client(), "D2 56 31 20 20 20 20 20"), "D2 FF FF FF FF 00");
  EXPECT_EQ(ask(client(), "D2 56 31 20 20 20 20 20"), "D2 FF FF FF FF 02");
  EXPECT_EQ(ask(client(), "D1 56 31 20 20 20 20 20"), "D1 FF FF FF FF 02");
  EXPECT_TRUE(terminal.clients()[0].hasPool); // nothing was loaded
}

TEST_F(TerminalVersion, TellsAWrongLabelAndAMissingPool) {
  EXPECT_EQ(ask(client(), "D0 56 2F 20 20 20 20 20"), "D0 FF FF FF FF 02");
  EXPECT_EQ(ask(client(), "D0 20 20 20 20 20 20 20"), "D0 FF FF FF FF 02");
  ask(client(), "B2");
  EXPECT_EQ(ask(client(), "D0 56 31 20 20 20 20 20"), "D0 FF FF FF FF 08");
}

TEST_F(TerminalVersion, OutlivesTheClient) {
  ask(client(), "D0 56 31 20 20 20 20 20");
  begin(client());
  EXPECT_FALSE(terminal.clients()[0].hasPool);
  EXPECT_EQ(ask(client(), "D1 56 31 20 20 20 20 20"), "D1 FF FF FF FF 00");
  EXPECT_EQ(terminal.clients()[0].activeMask, 0x65);
  EXPECT_TRUE(terminal.clients()[0].isShown);
}

// --- Pools

TEST_F(TerminalFault, TellsTheFirstErrorOfAPoolAndDeletesIt) {
  EXPECT_EQ(load(client(), BusText::bytesOf("65 00 01 01 88 13 00 00")), "12 01 65 00 88 13 0A");
  EXPECT_FALSE(terminal.clients()[0].hasPool);
  EXPECT_FALSE(terminal.clients()[0].isShown);
  EXPECT_EQ(load(client(), BusText::bytesOf("65 00 C8 01 88 13 00 00")), "12 01 FF FF 65 00 0C");
  EXPECT_EQ(ask(client(), "12"), "12 01 FF FF FF FF 0C"); // nothing at all
  EXPECT_EQ(load(client(), sample()), "12 00 FF FF FF FF 00");
}

TEST_F(TerminalFault, AddsObjectsToAPoolThatIsThere) {
  ask(client(), "AD 64 00 82 00");
  EXPECT_EQ(load(client(), BusText::bytesOf("7A 00 15 09 00 00 00")), "12 00 FF FF FF FF 00");
  EXPECT_EQ(terminal.object(128, 0x7A)->value(Attribute_e::value), 9U);
  EXPECT_EQ(terminal.clients()[0].activeMask, 0x82);
}

TEST_F(TerminalFault, RefusesAPoolOnRequestOnce) {
  terminal.refuseNextPool({4, 0x65, 0x70, 0x0C});
  EXPECT_EQ(load(client(), sample()), "12 04 65 00 70 00 0C");
  EXPECT_FALSE(terminal.clients()[0].hasPool);
  EXPECT_EQ(load(client(), sample()), "12 00 FF FF FF FF 00");
}

// --- Answers

TEST_F(TerminalFault, AnswersLate) {
  AnswerFault_s fault;
  fault.delayMs = 700;
  terminal.addFault(fault);
  EXPECT_EQ(ask(client(), "C2"), "");
  EXPECT_EQ(ask(client(), "C0 FF 00 00 00 00"), "C0 04 00"); // only the first one
  run(699);
  EXPECT_EQ(client().take(), "");
  run(1);
  EXPECT_EQ(client().take(), "C2 00 FF FF 3C 3C 40 08");
}

TEST_F(TerminalFault, SaysThatItIsParsingWhileTheEndOfAPoolIsAnsweredLate) {
  AnswerFault_s fault;
  fault.delayMs = 1500;
  fault.code = 0x12;
  terminal.addFault(fault);
  wire.take();
  EXPECT_EQ(ask(client(), "12"), "");
  run(250);
  const std::vector<std::string> during = statuses();
  ASSERT_FALSE(during.empty());
  EXPECT_EQ(during.back().substr(during.back().size() - 5), "10 12");
  maintain();
  run(1250);
  EXPECT_EQ(client().take(), "12 00 FF FF FF FF 00");
  run(200);
  EXPECT_EQ(statuses().back().substr(during.back().size() - 5), "00 FF");
}

TEST_F(TerminalFault, AnswersWronglyOrNeverAsOftenAsItIsTold) {
  AnswerFault_s fault;
  fault.kind = AnswerFault_s::wrong;
  fault.code = 0xA8;
  fault.count = 2;
  terminal.addFault(fault);
  EXPECT_EQ(ask(client(), "C0 FF 00 00 00 00"), "C0 04 00");
  EXPECT_EQ(ask(client(), "A8 7A 00 FF 01 00 00 7F"), "A8 7A 00 00 01 00 00 80");
  ask(client(), "A8 7A 00 FF 01 00 00 00");
  EXPECT_EQ(ask(client(), "A8 7A 00 FF 01 00 00 00"), "A8 7A 00 00 01 00 00 00");
  fault.bytes = {0xA8, 1, 2};
  fault.count = 1;
  terminal.addFault(fault);
  EXPECT_EQ(ask(client(), "A8 7A 00 FF 01 00 00 00"), "A8 01 02 in 3 bytes");
  fault.kind = AnswerFault_s::never;
  terminal.addFault(fault);
  EXPECT_EQ(ask(client(), "A8 7A 00 FF 02 00 00 00"), "");
  EXPECT_EQ(terminal.object(128, 0x7A)->value(Attribute_e::value), 2U);
  terminal.addFault(fault);
  terminal.clearFaults();
  EXPECT_EQ(ask(client(), "A8 7A 00 FF 02 00 00 00"), "A8 7A 00 00 02 00 00 00");
}

// --- Away and back

TEST_F(TerminalFault, VanishesAndComesBackWithoutItsClients) {
  ask(client(), "D0 56 31 20 20 20 20 20");
  terminal.vanish();
  EXPECT_FALSE(terminal.isOnBus());
  EXPECT_TRUE(terminal.clients().empty());
  EXPECT_EQ(changes.back().text, "the terminal has left the bus");
  wire.take();
  EXPECT_EQ(ask(client(), "C2"), "");
  EXPECT_EQ(ask(client(), "FF 01 04"), "");
  run(2000);
  EXPECT_TRUE(statuses().empty());
  terminal.comeBack();
  wire.take();
  run(1499); // a status comes 3.5 s after the last one at the earliest
  EXPECT_TRUE(statuses().empty());
  run(1);
  EXPECT_EQ(statuses().size(), 1U);
  EXPECT_EQ(ask(client(), "C2"), "ack 01 FF FF FF 80 00 E7 00");
  wire.say("1CFE0D80 01 FF FF FF FF FF FF FF");
  settle();
  begin(client());
  EXPECT_EQ(ask(client(), "D1 56 31 20 20 20 20 20"), "D1 FF FF FF FF 00");
}

TEST_F(TerminalFault, VanishesInTheMiddleOfATransfer) {
  TerminalPool::Bytes pool = sample();
  pool.insert(pool.begin(), 0x11);
  client().send(std::move(pool));
  settle();
  terminal.vanish();
  wire.take();
  run(3000);
  for (const std::string& frame : wire.take()) {
    EXPECT_NE(frame.substr(6, 2), "26") << frame;
  }
}

TEST_F(TerminalFault, LeavesTheNodeToOthersWhenItGoes) {
  BusText::Station_s other(wire);
  {
    TerminalSettings_s settings;
    settings.preferredAddress = 39;
    Terminal_c second(other.node, settings);
    for (int count = 0; count < 1000; ++count) {
      HostClock::advanceMs(1);
      second.poll();
    }
    EXPECT_EQ(second.address(), 39);
  }
  wire.take();
  wire.say("1CFE0D80 01 FF FF FF FF FF FF FF");
  wire.say("14E72780 FF 01 04 FF FF FF FF FF");
  for (int count = 0; count < 1500; ++count) {
    HostClock::advanceMs(1);
    other.node.poll();
  }
  EXPECT_TRUE(wire.take().empty());
}

} // namespace
