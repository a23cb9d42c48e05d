#include "WireFixture.h"

using namespace IsoBusHost;
using namespace BusText;

namespace {

const std::string slowest = "00 00 00 00 00 5F 00 A0"; // RTxD 153 ms
const std::string hasty = "02 00 00 00 00 5F 00 A0";   // RTxD 0.6 ms

class NetworkManagement : public WireFixture {};

// --- Joining and claiming

TEST_F(NetworkManagement, AsksForAllAddressesWhenSwitchedOn) {
  start(station);
  settle();
  EXPECT_EQ(wire.takeTimed(), Frames{"0 18EAFFFE 00 EE 00"});
}

TEST_F(NetworkManagement, AsksOnceOnlyHoweverOftenItIsSwitchedOn) {
  start(station);
  node.setNetworkManagement(true);
  run(1000);
  EXPECT_EQ(wire.take(), Frames{"18EAFFFE 00 EE 00"});
}

TEST_F(NetworkManagement, ClaimsAQuarterOfASecondAfterTheRequest) {
  start(station);
  const OwnFunction_c* function = add(station, first, 0x80);
  wire.take();
  run(249);
  EXPECT_EQ(wire.take(), Frames{});
  EXPECT_EQ(function->state(), ClaimState_e::claiming);
  EXPECT_EQ(function->address(), nullAddress);
  run(1);
  EXPECT_EQ(wire.takeTimed(), Frames{"250 " + claimOf("80", first)});
  EXPECT_EQ(function->state(), ClaimState_e::claiming);
  EXPECT_EQ(function->address(), 0x80);
}

TEST_F(NetworkManagement, WaitsForTheRandomDelayOfTheNameToo) {
  start(station);
  add(station, slowest, 0x80);
  add(station, hasty, 0x81);
  wire.take();
  run(1000);
  EXPECT_EQ(wire.takeTimed(), (Frames{"251 " + claimOf("81", hasty), "403 " + claimOf("80", slowest)}));
}

TEST_F(NetworkManagement, HasClaimedAQuarterOfASecondAfterTheClaim) {
  std::vector<uint8_t> claimed;
  start(station);
  FunctionSettings_s settings = settingsOf(first, 0x80);
  settings.onClaimed = [&claimed](uint8_t address) { claimed.push_back(address); };
  const OwnFunction_c* function = node.add(settings);
  run(499);
  EXPECT_EQ(function->state(), ClaimState_e::claiming);
  EXPECT_TRUE(claimed.empty());
  run(1);
  EXPECT_EQ(function->state(), ClaimState_e::claimed);
  EXPECT_EQ(claimed, std::vector<uint8_t>{0x80});
}

TEST_F(NetworkManagement, SaysWhenItIsNeededNext) {
  const uint64_t startMs = HostClock::nowMs();
  EXPECT_EQ(node.nextDueMs(), never);
  start(station);
  EXPECT_EQ(node.nextDueMs(), never);
  add(station, first, 0x80);
  EXPECT_EQ(node.nextDueMs(), startMs + 250);
  run(250);
  EXPECT_EQ(node.nextDueMs(), startMs + 500);
  run(250);
  EXPECT_EQ(node.nextDueMs(), never);
}

TEST_F(NetworkManagement, LetsAFunctionThatComesLaterClaimAtOnce) {
  start(station);
  run(250);
  wire.take();
  add(station, first, 0x80);
  EXPECT_EQ(wire.takeTimed(), Frames{"250 " + claimOf("80", first)});
}

TEST_F(NetworkManagement, LetsAFunctionThatComesABitLaterWaitForTheAnswersOnly) {
  start(station);
  run(200);
  wire.take();
  add(station, first, 0x80);
  run(300);
  EXPECT_EQ(wire.takeTimed(), Frames{"250 " + claimOf("80", first)});
}

TEST_F(NetworkManagement, SendsNothingElseBeforeTheAddressIsClaimed) {
  start(station);
  const OwnFunction_c* function = add(station, first, 0x80);
  IsoMessage_s message;
  message.pgn = 0xFF00;
  message.data = {1};
  EXPECT_FALSE(node.send(*function, message));
  run(499);
  wire.take();
  EXPECT_FALSE(node.send(*function, message));
  EXPECT_FALSE(node.request(*function, Pgn::ecuIdentification, globalAddress));
  EXPECT_EQ(wire.take(), Frames{});
  run(1);
  EXPECT_TRUE(node.send(*function, message));
  EXPECT_EQ(wire.take(), Frames{"18FF0080 01"});
}

TEST_F(NetworkManagement, TriesAClaimAgainThatThePortDidNotTake) {
  start(station);
  const OwnFunction_c* function = add(station, first, 0x80);
  wire.setBroken(true);
  run(260);
  EXPECT_EQ(function->address(), nullAddress);
  wire.take();
  wire.setBroken(false);
  run(40);
  EXPECT_EQ(wire.takeTimed(), Frames{"300 " + claimOf("80", first)});
  run(250);
  EXPECT_EQ(function->state(), ClaimState_e::claimed);
}

TEST_F(NetworkManagement, AddsNothingWhileItIsOff) {
  EXPECT_EQ(add(station, first, 0x80), nullptr);
  run(1000);
  EXPECT_EQ(wire.take(), Frames{});
}

TEST_F(NetworkManagement, AddsANameOnce) {
  start(station);
  EXPECT_NE(add(station, first, 0x80), nullptr);
  EXPECT_EQ(add(station, first, 0x81), nullptr);
}

TEST_F(NetworkManagement, TakesAFunctionOffTheBusWithoutAWord) {
  start(station);
  OwnFunction_c* function = add(station, first, 0x80);
  settleIn();
  node.remove(function);
  say("18EAFFFE 00 EE 00");
  run(1000);
  EXPECT_EQ(wire.take(), Frames{});
  EXPECT_NE(add(station, first, 0x80), nullptr);
  EXPECT_EQ(wire.take(), Frames{claimOf("80", first)});
}

TEST_F(NetworkManagement, SwitchedOffForgetsAddressesAndSwitchedOnClaimsAgain) {
  start(station);
  const OwnFunction_c* function = add(station, first, 0x80);
  settleIn();
  say(claimOf("26", third));
  node.setNetworkManagement(false);
  EXPECT_EQ(function->state(), ClaimState_e::idle);
  EXPECT_EQ(function->address(), nullAddress);
  EXPECT_TRUE(node.others().empty());
  say("18EAFFFE 00 EE 00");
  say(claimOf("26", third));
  run(1000);
  EXPECT_TRUE(node.others().empty());
  EXPECT_EQ(wire.take(), Frames{});
  node.setNetworkManagement(true);
  run(500);
  EXPECT_EQ(wire.take(), (Frames{"18EAFFFE 00 EE 00", claimOf("80", first)}));
  EXPECT_EQ(function->state(), ClaimState_e::claimed);
}

TEST_F(NetworkManagement, ClaimsTheAddressThatItHadLastWhenSwitchedOnAgain) {
  start(station);
  say(claimOf("80", first));
  const OwnFunction_c* function = add(station, second, 0x80);
  settleIn();
  ASSERT_EQ(function->address(), 0x81);
  node.setNetworkManagement(false);
  node.setNetworkManagement(true);
  run(250);
  EXPECT_EQ(function->address(), 0x81);
}

TEST_F(NetworkManagement, IsNotNeededWhileItIsOff) {
  node.setRequestPeriodMs(100);
  EXPECT_EQ(node.nextDueMs(), never);
}

TEST_F(NetworkManagement, CountsItsClaims) {
  start(station);
  add(station, first, 0x80);
  settleIn();
  say("18EAFFFE 00 EE 00");
  EXPECT_EQ(node.statistics().claimsSent, 2U);
}

// --- Choosing an address

TEST_F(NetworkManagement, TakesTheFirstFreeAddressFrom128OnWithoutAPreferredOne) {
  start(station);
  say(claimOf("80", fixedFirst));
  say(claimOf("81", fixedSecond));
  const OwnFunction_c* function = add(station, first, nullAddress);
  run(500);
  EXPECT_EQ(function->address(), 0x82);
}

TEST_F(NetworkManagement, TreatsAPreferredAddressOf255LikeNone) {
  start(station);
  const OwnFunction_c* function = add(station, first, 255);
  const OwnFunction_c* fixed = add(station, fixedFirst, 255);
  run(500);
  EXPECT_EQ(function->address(), 0x80);
  EXPECT_EQ(fixed->state(), ClaimState_e::cannotClaim);
}

TEST_F(NetworkManagement, PassesOverAKnownAddressOfALowerName) {
  start(station);
  add(station, second, 0x26);
  say(claimOf("26", first));
  wire.take();
  run(500);
  EXPECT_EQ(wire.take(), Frames{claimOf("80", second)});
}

TEST_F(NetworkManagement, ContendsForAKnownAddressOfAHigherName) {
  start(station);
  add(station, second, 0x26);
  say(claimOf("26", third));
  wire.take();
  run(250);
  EXPECT_EQ(wire.take(), Frames{claimOf("26", second)});
  EXPECT_TRUE(node.others().empty());
}

TEST_F(NetworkManagement, PassesOverAnAddressThatItsOwnNameWasClaimedFor) {
  start(station);
  say(claimOf("26", first));
  const OwnFunction_c* function = add(station, first, 0x26);
  run(250);
  EXPECT_EQ(function->address(), 0x80);
}

TEST_F(NetworkManagement, CannotClaimAKnownAddressOfALowerNameWhenItsAddressIsFixed) {
  start(station);
  const OwnFunction_c* function = add(station, fixedSecond, 0x26);
  say(claimOf("26", fixedFirst));
  wire.take();
  run(1000);
  EXPECT_EQ(wire.take(), Frames{claimOf("FE", fixedSecond)});
  EXPECT_EQ(function->state(), ClaimState_e::cannotClaim);
  EXPECT_EQ(function->address(), nullAddress);
}

TEST_F(NetworkManagement, UsesTheAddressesBeyond235LastAndNoneBeyond247) {
  start(station);
  for (unsigned int address = 128; address <= 235; ++address) {
    char frame[64];
    std::snprintf(frame, sizeof frame, "18EEFF%02X 01 00 00 00 00 00 00 %02X", address, address - 128);
    say(frame);
  }
  const OwnFunction_c* function = add(station, first, nullAddress);
  run(500);
  EXPECT_EQ(function->address(), 236);
  for (unsigned int address = 236; address <= 247; ++address) {
    char frame[64];
    std::snprintf(frame, sizeof frame, "18EEFF%02X 02 00 00 00 00 00 00 %02X", address, address - 236);
    say(frame);
  }
  EXPECT_EQ(function->state(), ClaimState_e::cannotClaim);
  EXPECT_EQ(node.statistics().contentionsLost, 12U);
}

TEST_F(NetworkManagement, KeepsFunctionsOfOneNodeApart) {
  start(station);
  const OwnFunction_c* a = add(station, first, nullAddress);
  const OwnFunction_c* b = add(station, second, nullAddress);
  const OwnFunction_c* c = add(station, third, 0x80);
  wire.take();
  run(250);
  EXPECT_EQ(wire.take(), (Frames{claimOf("81", first), claimOf("82", second), claimOf("80", third)}));
  run(250);
  for (const OwnFunction_c* function : {a, b, c}) {
    EXPECT_EQ(function->state(), ClaimState_e::claimed);
  }
}

TEST_F(NetworkManagement, SettlesAWishOfTwoOwnFunctionsByTheirNames) {
  start(station);
  const OwnFunction_c* loser = add(station, third, 0x26);
  const OwnFunction_c* winner = add(station, first, 0x26);
  wire.take();
  run(500);
  EXPECT_EQ(wire.take(), (Frames{claimOf("26", third), claimOf("26", first), claimOf("80", third)}));
  EXPECT_EQ(winner->address(), 0x26);
  EXPECT_EQ(loser->address(), 0x80);
}

TEST_F(NetworkManagement, LetsAnOwnFunctionOfLowerNameTakeAClaimedAddress) {
  start(station);
  const OwnFunction_c* loser = add(station, fixedSecond, 0x26);
  settleIn();
  const OwnFunction_c* winner = add(station, fixedFirst, 0x26);
  run(500);
  EXPECT_EQ(wire.take(), (Frames{claimOf("26", fixedFirst), claimOf("FE", fixedSecond)}));
  EXPECT_EQ(winner->state(), ClaimState_e::claimed);
  EXPECT_EQ(loser->state(), ClaimState_e::cannotClaim);
}

TEST_F(NetworkManagement, LeavesAnOwnFunctionAloneUntilTheClaimForItsAddressIsOut) {
  start(station);
  const OwnFunction_c* holder = add(station, second, 0x26);
  settleIn();
  wire.setBroken(true);
  const OwnFunction_c* taker = add(station, first, 0x26);
  EXPECT_EQ(holder->state(), ClaimState_e::claimed);
  EXPECT_EQ(holder->address(), 0x26);
  wire.setBroken(false);
  run(50);
  EXPECT_EQ(taker->address(), 0x26);
  EXPECT_EQ(holder->address(), 0x80);
}

// --- The table of the others

TEST_F(NetworkManagement, KnowsTheOthersByTheirClaims) {
  start(station);
  say(claimOf("80", first));
  say(claimOf("26", second));
  EXPECT_EQ(node.others(), (std::map<uint8_t, uint64_t>{{0x26, nameOf(second)}, {0x80, nameOf(first)}}));
}

TEST_F(NetworkManagement, FollowsANameToItsNewAddress) {
  start(station);
  say(claimOf("80", first));
  say(claimOf("26", first));
  EXPECT_EQ(node.others(), (std::map<uint8_t, uint64_t>{{0x26, nameOf(first)}}));
}

TEST_F(NetworkManagement, ForgetsWhoCannotClaim) {
  start(station);
  say(claimOf("80", first));
  say(claimOf("FE", first));
  EXPECT_TRUE(node.others().empty());
}

TEST_F(NetworkManagement, ForgetsTheOldAddressOfWhoContendsForOurs) {
  start(station);
  add(station, first, 0x80);
  settleIn();
  say(claimOf("26", second));
  say(claimOf("80", second));
  EXPECT_TRUE(node.others().empty());
}

TEST_F(NetworkManagement, KnowsAtMostOneNameForEachAddress) {
  start(station);
  for (unsigned int i = 0; i < 10000; ++i) {
    char frame[64];
    std::snprintf(frame, sizeof frame, "18EEFF%02X %02X %02X 00 00 00 00 00 A0", i % 256, i & 0xFFU, i >> 8U);
    wire.say(frame);
  }
  run(1);
  EXPECT_EQ(node.others().size(), 254U);
}

} // namespace
