// The terminal's bus side: status, maintenance, queries, several clients, lost ones and moved ones.
#include "TerminalClientOnBus.h"

using namespace IsoBusHost;
using namespace TerminalOnBus;
using TerminalPool::sample;
using TerminalPool::smallest;

namespace {

constexpr uint64_t firstName = 0xA000800000000010U;
constexpr uint64_t secondName = 0xA000800800000010U;
constexpr uint64_t memberName = 0xA000800800000099U;

class TerminalBus : public Fixture {
protected:
  // startOne: a client with its address and an announced working set.
  Client_s& startOne() {
    Client_s& client = addClient(firstName, 128);
    run(1000);
    return client;
  }
};

TEST_F(TerminalBus, ClaimsItsAddressAndSendsItsStatusEachSecond) {
  run(3500);
  EXPECT_EQ(terminal.address(), 38);
  const std::vector<std::string> found = statuses();
  ASSERT_EQ(found.size(), 3U);
  const uint64_t firstMs = std::stoull(found[0]);
  EXPECT_GE(firstMs, 500U); // 250 ms, up to 153 ms by chance, a claim that has stood for 250 ms
  EXPECT_LE(firstMs, 653U);
  for (std::size_t index = 0; index < found.size(); ++index) {
    EXPECT_EQ(found[index], std::to_string(firstMs + 1000 * index) + " 1CE6FF26 FE FE FF FF FF FF 00 FF");
  }
}

TEST_F(TerminalBus, NamesItselfAVirtualTerminal) {
  EXPECT_EQ(terminalName() & 0xFFFFFFFFFFE00000U, 0x80001D005BA00000U);
}

TEST_F(TerminalBus, TakesAnotherAddressWhereItsOwnIsTaken) {
  wire.say("18EEFF26 01 00 00 00 00 00 00 00");
  run(1000);
  EXPECT_NE(terminal.address(), 38);
  EXPECT_NE(terminal.address(), nullAddress);
}

TEST_F(TerminalBus, TakesAClientFromItsAnnouncementToItsMask) {
  Client_s& client = startOne();
  wire.take();
  begin(client);
  EXPECT_EQ(client.take(), "");
  EXPECT_EQ(ask(client, "C0 FF 00 00 00 00"), "C0 04 00");
  EXPECT_EQ(ask(client, "C2"), "C2 00 FF FF 3C 3C 40 08");
  EXPECT_EQ(ask(client, "C3"), "C3 FF FF FF FF 7F 7F 8F");
  EXPECT_EQ(ask(client, "C7"), "C7 FF 02 0F E0 01 E0 01");
  EXPECT_EQ(ask(client, "DF"), "E0 00");
  EXPECT_EQ(load(client, sample()), "12 00 FF FF FF FF 00");
  ASSERT_EQ(terminal.clients().size(), 1U);
  const TerminalClient_s state = terminal.clients()[0];
  EXPECT_EQ(state.address, 128);
  EXPECT_EQ(state.name, firstName);
  EXPECT_EQ(state.version, 4);
  EXPECT_TRUE(state.hasPool);
  EXPECT_TRUE(state.isShown);
  EXPECT_EQ(state.activeMask, 0x65);
  EXPECT_EQ(state.softKeyMask, 0x67);
  EXPECT_EQ(state.commands, 7U);
  EXPECT_EQ(terminal.shownClient(), 128);
  EXPECT_EQ(terminal.object(128, 0x70)->value(Attribute_e::value), 3U);
  EXPECT_EQ(terminal.object(128, 0x1388), nullptr);
  EXPECT_EQ(terminal.object(129, 0x70), nullptr);
}

TEST_F(TerminalBus, ListsTheObjectsThatItKnowsInOneLongMessage) {
  Client_s& client = startOne();
  begin(client);
  client.say("C5");
  run(500);
  ASSERT_EQ(client.whole.size(), 1U);
  TerminalPool::Bytes expected = {0xC5, 30};
  for (uint8_t type = 0; type <= 28; ++type) {
    expected.push_back(type);
  }
  expected.push_back(37);
  EXPECT_EQ(client.whole[0], expected);
}

TEST_F(TerminalBus, SendsItsStatusOnAChangeAtMostFiveTimesASecond) {
  Client_s& client = startOne();
  begin(client);
  load(client, sample());
  maintain();
  run(900);
  wire.take();
  const uint64_t startMs = wire.elapsedMs();
  // The last status may be up to a second ago: the first change is told at once or after what is left of 200 ms.
  for (int count = 0; count < 10; ++count) {
    ask(client, count % 2 == 0 ? "AD 64 00 82 00" : "AD 64 00 65 00");
    run(50);
  }
  const std::vector<std::string> found = statuses();
  ASSERT_GE(found.size(), 2U);
  EXPECT_LE(found.size(), 4U);
  uint64_t lastMs = 0;
  for (const std::string& status : found) {
    const uint64_t timeMs = std::stoull(status);
    EXPECT_TRUE(lastMs == 0 || timeMs - lastMs >= 200) << status;
    lastMs = timeMs;
  }
  EXPECT_LE(std::stoull(found[0]), startMs + 200);
}

TEST_F(TerminalBus, TellsTheOwnerAndTheMasksInItsStatus) {
  Client_s& client = startOne();
  begin(client);
  load(client, sample());
  statuses();
  runMaintained(1);
  const std::vector<std::string> found = statuses();
  ASSERT_FALSE(found.empty());
  EXPECT_EQ(found.back().substr(found.back().find("1CE6")), "1CE6FF26 FE 80 65 00 67 00 00 FF");
}

TEST_F(TerminalBus, RefusesACommandOfWhoIsNoClient) {
  Client_s& client = startOne();
  EXPECT_EQ(ask(client, "C2"), "ack 01 FF FF FF 80 00 E7 00");
  EXPECT_EQ(ask(client, "A8 7A 00 FF 01 00 00 00"), "ack 01 FF FF FF 80 00 E7 00");
  EXPECT_EQ(ask(client, "FF 00 04"), "ack 01 FF FF FF 80 00 E7 00");
  EXPECT_TRUE(terminal.clients().empty());
}

TEST_F(TerminalBus, RefusesMaintenanceWithoutAWorkingSet) {
  Client_s& client = startOne();
  wire.say("18FE0D80 00 FF FF FF FF FF FF FF"); // dissolved
  settle();
  EXPECT_EQ(ask(client, "FF 01 04"), "ack 01 FF FF FF 80 00 E7 00");
}

TEST_F(TerminalBus, LosesAClientAfterThreeSecondsWithoutMaintenance) {
  Client_s& client = startOne();
  begin(client);
  load(client, sample());
  maintain();
  run(2999);
  EXPECT_EQ(terminal.clients().size(), 1U);
  run(1);
  EXPECT_TRUE(terminal.clients().empty());
  EXPECT_EQ(changes.back().kind, ChangeKind_e::clientLost);
  EXPECT_EQ(changes.back().text, "no maintenance for 3 s");
  EXPECT_EQ(ask(client, "A8 7A 00 FF 01 00 00 00"), "ack 01 FF FF FF 80 00 E7 00");
  EXPECT_EQ(ask(client, "FF 00 04"), "ack 01 FF FF FF 80 00 E7 00");
  begin(client);
  EXPECT_EQ(ask(client, "A8 7A 00 FF 01 00 00 00"), "A8 7A 00 01 01 00 00 00"); // with nothing left of its pool
}

TEST_F(TerminalBus, BeginsAnewWithAClientThatHasStartedAgain) {
  Client_s& client = startOne();
  begin(client);
  load(client, sample());
  begin(client);
  ASSERT_EQ(terminal.clients().size(), 1U);
  EXPECT_FALSE(terminal.clients()[0].hasPool);
}

TEST_F(TerminalBus, TakesMaintenanceOfVersion2WithoutBits) {
  Client_s& client = startOne();
  client.say("FF FF FF");
  settle();
  ASSERT_EQ(terminal.clients().size(), 1U);
  EXPECT_EQ(terminal.clients()[0].version, 2);
  load(client, smallest());
  client.say("FF FF FF");
  settle();
  EXPECT_TRUE(terminal.clients()[0].hasPool);
}

TEST_F(TerminalBus, SaysNothingToAnUnknownFunctionAndCountsIt) {
  Client_s& client = startOne();
  begin(client);
  EXPECT_EQ(ask(client, "BC 05 00"), "");
  EXPECT_EQ(ask(client, "68"), "");
  client.send({0xA8, 0x7A});
  client.send({0xC0, 0xFF});
  client.send({0xD1, 0x41});
  settle();
  EXPECT_EQ(client.take(), "");
  EXPECT_EQ(terminal.clients()[0].malformed, 5U);
}

TEST_F(TerminalBus, IgnoresWhatIsForOthers) {
  Client_s& client = startOne();
  begin(client);
  const uint64_t before = terminal.clients()[0].commands;
  wire.say("14E7FF80 C2 FF FF FF FF FF FF FF");
  wire.say("14E72780 C2 FF FF FF FF FF FF FF");
  wire.say("14E72680");
  settle();
  EXPECT_EQ(client.take(), "");
  EXPECT_EQ(terminal.clients()[0].commands, before);
}

// --- Several clients

TEST_F(TerminalBus, KeepsItsClientsApart) {
  Client_s& first = addClient(firstName, 128);
  Client_s& second = addClient(secondName, 129);
  run(1000);
  begin(first);
  begin(second);
  EXPECT_EQ(load(first, sample()), "12 00 FF FF FF FF 00");
  EXPECT_EQ(load(second, sample()), "12 00 FF FF FF FF 00");
  maintain();
  EXPECT_EQ(ask(second, "A8 7A 00 FF 2A 00 00 00"), "A8 7A 00 00 2A 00 00 00");
  EXPECT_EQ(first.take(), "");
  EXPECT_EQ(terminal.object(128, 0x7A)->value(Attribute_e::value), 7U);
  EXPECT_EQ(terminal.object(129, 0x7A)->value(Attribute_e::value), 42U);
  EXPECT_EQ(terminal.shownClient(), 128); // came first
  EXPECT_EQ(ask(second, "A2 6D 00 FF"), "A2 6D 00 00 04");
  EXPECT_EQ(ask(second, "B2"), "B2 00");
  EXPECT_TRUE(terminal.clients()[0].hasPool);
  EXPECT_EQ(ask(first, "A2 6D 00 FF"), "A2 6D 00 01 00");
}

TEST_F(TerminalBus, ShowsTheNextClientWhenTheOneOnTheScreenIsLost) {
  Client_s& first = addClient(firstName, 128);
  Client_s& second = addClient(secondName, 129);
  run(1000);
  begin(first);
  begin(second);
  load(first, sample());
  load(second, sample());
  EXPECT_EQ(ask(first, "B2"), "B2 00");
  EXPECT_EQ(terminal.shownClient(), 129);
}

TEST_F(TerminalBus, ShowsTheClientThatTheOperatorWants) {
  Client_s& first = addClient(firstName, 128);
  Client_s& second = addClient(secondName, 129);
  run(1000);
  begin(first);
  begin(second);
  load(first, sample());
  EXPECT_EQ(terminal.show(129), "the client has no pool");
  EXPECT_EQ(terminal.show(77), "there is no client at address 77");
  load(second, sample());
  maintain();
  EXPECT_EQ(ask(first, "BD 01 65 00 00 00"), "BD 01 00");
  EXPECT_EQ(terminal.show(129), "");
  settle();
  EXPECT_EQ(first.take(), "BD 00 20"); // its mask is locked no longer
  EXPECT_EQ(terminal.shownClient(), 129);
  EXPECT_EQ(ask(second, "A2 6D 00 FF"), "A2 6D 00 01 00");
}

TEST_F(TerminalBus, TakesCommandsOfMembersButNoPools) {
  addClient(firstName, 128, {memberName});
  Client_s& member = addClient(memberName, 140);
  run(1000);
  Client_s& master = *clients[0];
  begin(master);
  load(master, sample());
  EXPECT_EQ(ask(member, "A8 7A 00 FF 2A 00 00 00"), "A8 7A 00 00 2A 00 00 00");
  EXPECT_EQ(terminal.object(128, 0x7A)->value(Attribute_e::value), 42U);
  for (const char* command : {"11", "12", "D0 41 20 20 20 20 20 20", "DF"}) {
    EXPECT_EQ(ask(member, command), "ack 01 FF FF FF 8C 00 E7 00") << command;
  }
  EXPECT_TRUE(terminal.clients()[0].hasPool);
}

TEST_F(TerminalBus, FollowsAClientToItsNewAddress) {
  Client_s& client = startOne();
  begin(client);
  load(client, sample());
  wire.say("18EEFF80 01 00 00 00 00 00 00 00"); // a lower NAME takes 128
  run(600);
  EXPECT_NE(client.self->address(), 128);
  ASSERT_EQ(terminal.clients().size(), 1U);
  EXPECT_EQ(terminal.clients()[0].address, client.self->address());
  EXPECT_EQ(ask(client, "A8 7A 00 FF 2A 00 00 00"), "A8 7A 00 00 2A 00 00 00");
  wire.take();
  wire.say("14E72680 C2 FF FF FF FF FF FF FF"); // the other one is no client
  settle();
  EXPECT_EQ(wire.take(), BusText::Frames({"18E8FF26 01 FF FF FF 80 00 E7 00"}));
}

TEST_F(TerminalBus, LosesAClientWhoseWorkingSetIsDissolved) {
  Client_s& client = startOne();
  begin(client);
  load(client, sample());
  wire.say("18FE0D80 00 FF FF FF FF FF FF FF");
  settle();
  EXPECT_TRUE(terminal.clients().empty());
}

// --- Other settings

class TerminalBusOfVersion3 : public Fixture {
protected:
  static TerminalSettings_s settings() {
    TerminalSettings_s settings;
    settings.version = 3;
    settings.graphic = 1;
    settings.memoryBytes = 1000;
    settings.maskPixels = 200;
    settings.keyPixels = 32;
    settings.physicalKeys = 6;
    return settings;
  }
  TerminalBusOfVersion3() : Fixture(settings()) {}
};

TEST_F(TerminalBusOfVersion3, TellsWhatItCanDo) {
  Client_s& client = addClient(firstName, 128);
  run(1000);
  begin(client);
  EXPECT_EQ(ask(client, "C0 FF E8 03 00 00"), "C0 03 00");
  EXPECT_EQ(ask(client, "C0 FF E9 03 00 00"), "C0 03 01");
  EXPECT_EQ(ask(client, "C2"), "C2 FF FF FF 20 20 40 06");
  EXPECT_EQ(ask(client, "C3"), "C3 FF FF FF FF 7F 7F 0F");
  EXPECT_EQ(ask(client, "C7"), "C7 FF 01 0F C8 00 C8 00");
  EXPECT_EQ(ask(client, "C5"), "");
  EXPECT_EQ(client.whole.back().size(), 8U);
}

TEST_F(TerminalBusOfVersion3, CountsThePoolsOfAllClientsAgainstItsMemory) {
  Client_s& first = addClient(firstName, 128);
  Client_s& second = addClient(secondName, 129);
  run(1000);
  begin(first);
  begin(second);
  EXPECT_EQ(load(first, sample(3)), "12 00 FF FF FF FF 00");
  const std::size_t size = sample(3).size();
  ASSERT_LT(size, 1000U);
  const auto left = static_cast<unsigned int>(1000 - size);
  char fits[32];
  std::snprintf(fits, sizeof fits, "C0 FF %02X %02X 00 00", left & 0xFFU, left >> 8U);
  EXPECT_EQ(ask(second, fits), "C0 03 00");
  std::snprintf(fits, sizeof fits, "C0 FF %02X %02X 00 00", (left + 1) & 0xFFU, (left + 1) >> 8U);
  EXPECT_EQ(ask(second, fits), "C0 03 01");
  EXPECT_EQ(load(second, sample(3)), "12 02 FF FF FF FF 08");
  EXPECT_FALSE(terminal.clients()[1].hasPool);
  EXPECT_EQ(load(second, smallest()), "12 00 FF FF FF FF 00"); // and it may try again
  EXPECT_TRUE(terminal.clients()[0].hasPool);
}

} // namespace
