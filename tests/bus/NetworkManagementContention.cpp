#include "WireFixture.h"

using namespace IsoBusHost;
using namespace BusText;

namespace {

class NetworkManagementContention : public WireFixture {};

TEST_F(NetworkManagementContention, WinsAgainstAHigherNameByClaimingAgain) {
  start(station);
  const OwnFunction_c* function = add(station, first, 0x80);
  settleIn();
  say(claimOf("80", second));
  EXPECT_EQ(wire.take(), Frames{claimOf("80", first)});
  EXPECT_EQ(function->state(), ClaimState_e::claimed);
  EXPECT_EQ(node.statistics().contentionsWon, 1U);
  EXPECT_TRUE(node.others().empty());
}

TEST_F(NetworkManagementContention, WonAfterTheAddressIsClaimedIsNoNewBeginning) {
  int claimed = 0;
  start(station);
  FunctionSettings_s settings = settingsOf(first, 0x80);
  settings.onClaimed = [&claimed](uint8_t) { ++claimed; };
  node.add(settings);
  settleIn();
  say(claimOf("80", second));
  run(1000);
  EXPECT_EQ(claimed, 1);
}

TEST_F(NetworkManagementContention, WaitsAnewAfterAContentionWhileClaiming) {
  start(station);
  const OwnFunction_c* function = add(station, first, 0x80);
  run(350);
  wire.take();
  say(claimOf("80", second));
  EXPECT_EQ(wire.take(), Frames{claimOf("80", first)});
  run(249);
  EXPECT_EQ(function->state(), ClaimState_e::claiming);
  run(1);
  EXPECT_EQ(function->state(), ClaimState_e::claimed);
}

TEST_F(NetworkManagementContention, LosesToALowerNameAndClaimsAnotherAddressAtOnce) {
  std::vector<uint8_t> claimed;
  start(station);
  FunctionSettings_s settings = settingsOf(second, 0x80);
  settings.onClaimed = [&claimed](uint8_t address) { claimed.push_back(address); };
  const OwnFunction_c* function = node.add(settings);
  settleIn();
  say(claimOf("80", first));
  EXPECT_EQ(wire.take(), Frames{claimOf("81", second)});
  EXPECT_EQ(node.others(), (std::map<uint8_t, uint64_t>{{0x80, nameOf(first)}}));
  EXPECT_EQ(node.statistics().contentionsLost, 1U);
  run(249);
  EXPECT_EQ(function->state(), ClaimState_e::claiming);
  EXPECT_EQ(claimed, std::vector<uint8_t>{0x80});
  run(1);
  EXPECT_EQ(function->state(), ClaimState_e::claimed);
  EXPECT_EQ(claimed, (std::vector<uint8_t>{0x80, 0x81}));
}

TEST_F(NetworkManagementContention, LosesWhileClaimingWithoutHavingBeenThere) {
  std::vector<uint8_t> claimed;
  start(station);
  FunctionSettings_s settings = settingsOf(second, 0x80);
  settings.onClaimed = [&claimed](uint8_t address) { claimed.push_back(address); };
  node.add(settings);
  run(300);
  wire.take();
  say(claimOf("80", first));
  EXPECT_EQ(wire.take(), Frames{claimOf("81", second)});
  run(250);
  EXPECT_EQ(claimed, std::vector<uint8_t>{0x81});
}

TEST_F(NetworkManagementContention, ReadsANameFromItsLastByteOn) {
  start(station);
  add(station, "FF 00 00 00 00 00 01 A0", 0x80);
  settleIn();
  say(claimOf("80", "00 00 00 00 00 00 02 A0"));
  EXPECT_EQ(wire.take(), Frames{claimOf("80", "FF 00 00 00 00 00 01 A0")});
}

TEST_F(NetworkManagementContention, CannotClaimAfterALossWithAFixedAddress) {
  start(station);
  const OwnFunction_c* function = add(station, fixedSecond, 0x80);
  settleIn();
  say(claimOf("80", fixedFirst));
  EXPECT_EQ(function->state(), ClaimState_e::cannotClaim);
  run(1);
  EXPECT_EQ(wire.take(), Frames{claimOf("FE", fixedSecond)});
}

TEST_F(NetworkManagementContention, SaysThatItCannotClaimAfterTheRandomDelay) {
  const std::string fixedSlowest = "00 00 00 00 00 DF 00 20"; // RTxD 153 ms
  start(station);
  add(station, fixedSlowest, 0x80);
  settleIn();
  say(claimOf("80", "00 00 00 00 00 00 00 20"));
  run(152);
  EXPECT_EQ(wire.take(), Frames{});
  run(1);
  EXPECT_EQ(wire.take(), Frames{claimOf("FE", fixedSlowest)});
}

TEST_F(NetworkManagementContention, DoesNotTryAgainWhenAnAddressBecomesFree) {
  start(station);
  const OwnFunction_c* function = add(station, fixedSecond, 0x80);
  settleIn();
  say(claimOf("80", fixedFirst));
  say(claimOf("26", fixedFirst));
  run(1000);
  EXPECT_EQ(wire.take(), Frames{claimOf("FE", fixedSecond)});
  EXPECT_EQ(function->state(), ClaimState_e::cannotClaim);
}

TEST_F(NetworkManagementContention, SettlesBetweenTwoNodesWhoWantTheSameAddressAtTheSameTime) {
  Station_s other(wire);
  start(station);
  start(other);
  const OwnFunction_c* winner = add(station, first, 0x80);
  const OwnFunction_c* loser = add(other, second, 0x80);
  wire.take();
  run(1000);
  EXPECT_EQ(wire.takeTimed(), (Frames{"250 " + claimOf("80", first), "250 " + claimOf("81", second)}));
  EXPECT_EQ(winner->address(), 0x80);
  EXPECT_EQ(loser->address(), 0x81);
  EXPECT_EQ(node.others(), (std::map<uint8_t, uint64_t>{{0x81, nameOf(second)}}));
  EXPECT_EQ(other.node.others(), (std::map<uint8_t, uint64_t>{{0x80, nameOf(first)}}));
}

TEST_F(NetworkManagementContention, SettlesBetweenThreeNodesWhoWantTheSameAddress) {
  Station_s other(wire);
  Station_s another(wire);
  // The lowest NAME comes last, so that each of the others is driven out once.
  for (Station_s* each : {&another, &other, &station}) {
    start(*each);
  }
  const OwnFunction_c* c = add(another, third, 0x80);
  const OwnFunction_c* b = add(other, second, 0x80);
  const OwnFunction_c* a = add(station, first, 0x80);
  run(1000);
  for (const OwnFunction_c* function : {a, b, c}) {
    EXPECT_EQ(function->state(), ClaimState_e::claimed);
  }
  EXPECT_EQ(a->address(), 0x80);
  EXPECT_NE(b->address(), c->address());
  EXPECT_NE(b->address(), 0x80);
  EXPECT_NE(c->address(), 0x80);
  EXPECT_EQ(node.others(),
            (std::map<uint8_t, uint64_t>{{b->address(), nameOf(second)}, {c->address(), nameOf(third)}}));
}

TEST_F(NetworkManagementContention, MovesANodeThatIsThereWhenALowerNameComes) {
  Station_s newcomer(wire);
  start(station);
  const OwnFunction_c* loser = add(station, second, 0x80);
  settleIn();
  start(newcomer);
  settle();
  EXPECT_EQ(wire.take(), (Frames{"18EAFFFE 00 EE 00", claimOf("80", second)}));
  const OwnFunction_c* winner = add(newcomer, first, 0x80);
  run(500);
  EXPECT_EQ(wire.take(), (Frames{claimOf("80", first), claimOf("81", second)}));
  EXPECT_EQ(winner->state(), ClaimState_e::claimed);
  EXPECT_EQ(loser->state(), ClaimState_e::claimed);
}

TEST_F(NetworkManagementContention, GivesUpWhenItsOwnNameIsClaimedByAnotherWhileClaiming) {
  start(station);
  const OwnFunction_c* function = add(station, first, 0x80);
  run(300);
  wire.take();
  say(claimOf("80", first));
  run(1000);
  EXPECT_EQ(function->state(), ClaimState_e::cannotClaim);
  EXPECT_EQ(wire.take(), Frames{claimOf("FE", first)});
}

TEST_F(NetworkManagementContention, TwoNodesOfOneNameDoNotBounceTheirClaims) {
  Station_s twin(wire);
  start(station);
  const OwnFunction_c* function = add(station, first, 0x80);
  settleIn();
  start(twin);
  const OwnFunction_c* late = add(twin, first, 0x80);
  run(10000);
  EXPECT_EQ(function->state(), ClaimState_e::claimed);
  EXPECT_EQ(late->state(), ClaimState_e::cannotClaim);
  EXPECT_EQ(wire.take(), (Frames{"18EAFFFE 00 EE 00", claimOf("80", first), claimOf("FE", first)}));
}

TEST_F(NetworkManagementContention, WithItsOwnNameIsAnsweredNowAndThen) {
  start(station);
  add(station, first, 0x80);
  settleIn();
  for (int i = 0; i < 100; ++i) {
    say(claimOf("80", first));
  }
  EXPECT_EQ(wire.take(), Frames{claimOf("80", first)});
  EXPECT_EQ(node.statistics().contentionsWon, 0U);
}

TEST_F(NetworkManagementContention, GivesUpBeforeItClaimsWhenItsNameIsThere) {
  start(station);
  const OwnFunction_c* function = add(station, first, 0x80);
  wire.take();
  say(claimOf("90", first));
  run(1000);
  EXPECT_EQ(function->state(), ClaimState_e::cannotClaim);
  EXPECT_EQ(wire.take(), Frames{claimOf("FE", first)});
  EXPECT_EQ(node.others(), (std::map<uint8_t, uint64_t>{{0x90, nameOf(first)}}));
}

TEST_F(NetworkManagementContention, DefendsItsNameAgainstAClaimForAnotherAddressNowAndThen) {
  start(station);
  const OwnFunction_c* function = add(station, first, 0x80);
  settleIn();
  for (int i = 0; i < 100; ++i) {
    say(claimOf("90", first));
  }
  EXPECT_EQ(wire.take(), Frames{claimOf("80", first)});
  EXPECT_EQ(function->state(), ClaimState_e::claimed);
}

} // namespace
