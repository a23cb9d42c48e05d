#include "WireFixture.h"

using namespace IsoBusHost;
using namespace BusText;

namespace {

class NetworkManagementRequest : public WireFixture {};

TEST_F(NetworkManagementRequest, AnswersARequestToAllWithEveryFunction) {
  start(station);
  add(station, first, 0x80);
  add(station, second, 0x81);
  settleIn();
  say("18EAFF26 00 EE 00");
  EXPECT_EQ(wire.take(), (Frames{claimOf("80", first), claimOf("81", second)}));
}

TEST_F(NetworkManagementRequest, AnswersARequestToItsAddressWithThatFunctionToAll) {
  start(station);
  add(station, first, 0x80);
  add(station, second, 0x81);
  settleIn();
  say("18EA81FE 00 EE 00");
  EXPECT_EQ(wire.take(), Frames{claimOf("81", second)});
  say("18EA82FE 00 EE 00");
  EXPECT_EQ(wire.take(), Frames{});
}

TEST_F(NetworkManagementRequest, AnswersWhileClaimingButNotBefore) {
  start(station);
  add(station, first, 0x80);
  wire.take();
  run(249);
  say("18EAFFFE 00 EE 00");
  EXPECT_EQ(wire.take(), Frames{});
  run(1);
  wire.take();
  say("18EAFFFE 00 EE 00");
  say("18EA80FE 00 EE 00");
  EXPECT_EQ(wire.take(), (Frames{claimOf("80", first), claimOf("80", first)}));
}

TEST_F(NetworkManagementRequest, AnswersThatItCannotClaim) {
  start(station);
  add(station, fixedSecond, 0x80);
  settleIn();
  say(claimOf("80", fixedFirst));
  settleIn();
  say("18EAFF26 00 EE 00");
  EXPECT_EQ(wire.take(), Frames{claimOf("FE", fixedSecond)});
  say("18EAFE26 00 EE 00");
  say("18EA8026 00 EE 00");
  say("18EA8026 C5 FD 00");
  EXPECT_EQ(wire.take(), Frames{});
}

TEST_F(NetworkManagementRequest, AnswersThatItCannotClaimAfterTheRandomDelayOnce) {
  const std::string fixedSlowest = "00 00 00 00 00 DF 00 20"; // RTxD 153 ms
  start(station);
  add(station, fixedSlowest, 255);
  settleIn();
  say("18EAFF26 00 EE 00");
  run(100);
  say("18EAFF26 00 EE 00");
  run(52);
  EXPECT_EQ(wire.take(), Frames{});
  run(1000);
  EXPECT_EQ(wire.take(), Frames{claimOf("FE", fixedSlowest)});
}

TEST_F(NetworkManagementRequest, AsksAgainAndAgainWithAPeriod) {
  start(station);
  node.setRequestPeriodMs(1000);
  run(2000);
  EXPECT_EQ(wire.takeTimed(), (Frames{"0 18EAFFFE 00 EE 00", "1000 18EAFFFE 00 EE 00", "2000 18EAFFFE 00 EE 00"}));
}

TEST_F(NetworkManagementRequest, AsksFromAClaimedFunctionAndAnswersItself) {
  start(station);
  node.setRequestPeriodMs(1000);
  add(station, first, 0x80);
  run(999);
  wire.take();
  run(1);
  EXPECT_EQ(wire.takeTimed(), (Frames{"1000 18EAFF80 00 EE 00", "1000 " + claimOf("80", first)}));
  const OwnFunction_c* function = add(station, second, 0x81);
  settleIn();
  EXPECT_TRUE(node.request(*function, Pgn::addressClaimed, globalAddress));
  EXPECT_EQ(wire.take(), (Frames{"18EAFF81 00 EE 00", claimOf("80", first), claimOf("81", second)}));
}

TEST_F(NetworkManagementRequest, DoesNotMakeUpForPeriodsThatItMissed) {
  start(station);
  node.setRequestPeriodMs(100);
  wire.take();
  HostClock::advanceMs(5000);
  run(99);
  EXPECT_EQ(wire.takeTimed(), Frames{"5000 18EAFFFE 00 EE 00"});
  node.setRequestPeriodMs(0);
  run(1000);
  EXPECT_EQ(wire.take(), Frames{});
}

class NetworkManagementViolation : public WireFixture {};

TEST_F(NetworkManagementViolation, ClaimsAgainWhenSomebodyElseUsesItsAddress) {
  start(station);
  add(station, first, 0x80);
  settleIn();
  say("18FF0080 01 02");
  EXPECT_EQ(wire.take(), Frames{claimOf("80", first)});
}

TEST_F(NetworkManagementViolation, ClaimsAgainOnceIn5SecondsForEachAddress) {
  start(station);
  add(station, first, 0x80);
  add(station, second, 0x81);
  settleIn();
  for (int i = 0; i < 1000; ++i) {
    say("18FF0080 01 02");
    say("18EF2680 01 02");
    say("1CECFF81 20 09 00 02 FF C5 FD 00");
  }
  EXPECT_EQ(wire.take(), (Frames{claimOf("80", first), claimOf("81", second)}));
  run(4999);
  say("18FF0080 01 02");
  EXPECT_EQ(wire.take(), Frames{});
  run(1);
  say("18FF0080 01 02");
  EXPECT_EQ(wire.take(), Frames{claimOf("80", first)});
}

TEST_F(NetworkManagementViolation, AnswersARequestForAddressClaimedFromADoubleOnce) {
  start(station);
  add(station, first, 0x80);
  settleIn();
  say("18EAFF80 00 EE 00");
  EXPECT_EQ(wire.take(), Frames{claimOf("80", first)});
}

TEST_F(NetworkManagementViolation, OfANewAddressIsAnsweredAtOnce) {
  start(station);
  add(station, second, 0x80);
  settleIn();
  say("18FF0080 01 02");
  say(claimOf("80", first));
  run(250);
  wire.take();
  say("18FF0081 01 02");
  EXPECT_EQ(wire.take(), Frames{claimOf("81", second)});
}

TEST_F(NetworkManagementViolation, HearsNothingFromADouble) {
  int heard = 0;
  node.onMessage([&heard](const IsoMessage_s&) { ++heard; });
  start(station);
  add(station, first, 0x80);
  settleIn();
  say("18FF0080 01 02");
  EXPECT_EQ(heard, 0);
  EXPECT_EQ(node.statistics().framesIgnored, 1U);
}

class NetworkManagementCommand : public WireFixture {
protected:
  // command: sends a commanded address from address 26.
  void command(const std::string& name, const std::string& address) {
    say("1CECFF26 20 09 00 02 FF D8 FE 00");
    run(50);
    say("1CEBFF26 01 " + name.substr(0, 20));
    run(50);
    say("1CEBFF26 02 " + name.substr(21) + " " + address + " FF FF FF FF FF");
  }

  void SetUp() override {
    node.setMultiReceive(true);
    start(station);
  }
};

TEST_F(NetworkManagementCommand, IsObeyedByASelfConfigurableFunction) {
  std::vector<uint8_t> claimed;
  FunctionSettings_s settings = settingsOf(first, 0x80);
  settings.onClaimed = [&claimed](uint8_t address) { claimed.push_back(address); };
  const OwnFunction_c* function = node.add(settings);
  add(station, second, 0x81);
  settleIn();
  command(first, "90");
  EXPECT_EQ(wire.take(), Frames{claimOf("90", first)});
  EXPECT_EQ(function->state(), ClaimState_e::claiming);
  run(250);
  EXPECT_EQ(function->state(), ClaimState_e::claimed);
  EXPECT_EQ(claimed, (std::vector<uint8_t>{0x80, 0x90}));
}

TEST_F(NetworkManagementCommand, IsRefusedWithTheOldClaimByAFixedFunction) {
  const OwnFunction_c* function = add(station, fixedFirst, 0x80);
  settleIn();
  command(fixedFirst, "90");
  EXPECT_EQ(wire.take(), Frames{claimOf("80", fixedFirst)});
  EXPECT_EQ(function->state(), ClaimState_e::claimed);
}

TEST_F(NetworkManagementCommand, IsRefusedForAnAddressThatIsNoneOrTakenByALowerName) {
  const OwnFunction_c* function = add(station, second, 0x80);
  settleIn();
  say(claimOf("90", first));
  for (const char* address : {"90", "FE", "FF"}) {
    command(second, address);
    EXPECT_EQ(wire.take(), Frames{claimOf("80", second)}) << address;
  }
  EXPECT_EQ(function->state(), ClaimState_e::claimed);
}

TEST_F(NetworkManagementCommand, ForTheAddressThatItHasIsAnsweredWithTheClaimOnly) {
  const OwnFunction_c* function = add(station, first, 0x80);
  settleIn();
  command(first, "80");
  EXPECT_EQ(wire.take(), Frames{claimOf("80", first)});
  EXPECT_EQ(function->state(), ClaimState_e::claimed);
}

TEST_F(NetworkManagementCommand, BeforeTheClaimChangesTheAddressToClaim) {
  add(station, first, 0x80);
  wire.take();
  command(first, "90");
  run(1000);
  EXPECT_EQ(wire.takeTimed(), Frames{"250 " + claimOf("90", first)});
}

TEST_F(NetworkManagementCommand, GivesAnAddressToAFunctionThatCouldNotClaim) {
  const OwnFunction_c* function = add(station, second, 0x80);
  run(300);
  say(claimOf("80", second)); // a double: gives up
  settleIn();
  ASSERT_EQ(function->state(), ClaimState_e::cannotClaim);
  command(second, "90");
  EXPECT_EQ(wire.take(), Frames{claimOf("90", second)});
}

TEST_F(NetworkManagementCommand, DrivesOutAnOwnFunctionOfHigherName) {
  const OwnFunction_c* a = add(station, first, 0x80);
  const OwnFunction_c* b = add(station, second, 0x81);
  settleIn();
  command(first, "81");
  EXPECT_EQ(wire.take(), (Frames{claimOf("81", first), claimOf("80", second)}));
  run(250);
  EXPECT_EQ(a->address(), 0x81);
  EXPECT_EQ(b->address(), 0x80);
}

TEST_F(NetworkManagementCommand, ToAnotherNameIsNoneOfOurs) {
  add(station, first, 0x80);
  settleIn();
  command(third, "80");
  run(1000);
  EXPECT_EQ(wire.take(), Frames{});
}

TEST_F(NetworkManagementCommand, OfAnotherLengthIsIgnored) {
  add(station, first, 0x80);
  settleIn();
  const uint64_t ignored = node.statistics().framesIgnored;
  say("18FED826 02 00 00 00 00 5E 00 A0");
  EXPECT_EQ(wire.take(), Frames{});
  EXPECT_EQ(node.statistics().framesIgnored, ignored + 1);
}

} // namespace
