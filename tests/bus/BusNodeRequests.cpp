#include "WireFixture.h"

#include <algorithm>

using namespace IsoBusHost;
using namespace BusText;

namespace {

using Answers = std::map<uint32_t, std::string>;

FunctionSettings_s settingsWith(const std::string& name, uint8_t address, const Answers& answers) {
  FunctionSettings_s settings = settingsOf(name, address);
  settings.answer = [answers](uint32_t pgn) -> std::optional<std::vector<uint8_t>> {
    const auto found = answers.find(pgn);
    return found == answers.end() ? std::nullopt : std::make_optional(bytesOf(found->second));
  };
  return settings;
}

const std::string tenBytes = "41 42 43 44 45 46 47 48 49 2A";

class BusNodeRequests : public WireFixture {
protected:
  void SetUp() override {
    node.setMultiSend(true);
    node.setRequests(true);
    start(station);
    function = node.add(settingsWith(
        first, 0x80, {{0xFD42, "CD BF 5B 00 00 00 00 00"}, {0xFDC5, tenBytes}, {0xFC8D, "41 2A"}, {0xEF00, "01"}}));
    node.add(settingsWith(second, 0x81, {{0xFD42, "01 02 03 04 05 06 07 08"}}));
    settleIn();
  }

  OwnFunction_c* function = nullptr;
};

TEST_F(BusNodeRequests, AreAnsweredByTheFunctionThatIsAsked) {
  say("18EA8026 42 FD 00");
  EXPECT_EQ(wire.take(), Frames{"18FD4280 CD BF 5B 00 00 00 00 00"});
  say("18EA8126 42 FD 00");
  EXPECT_EQ(wire.take(), Frames{"18FD4281 01 02 03 04 05 06 07 08"});
  EXPECT_EQ(node.statistics().requestsAnswered, 2U);
}

TEST_F(BusNodeRequests, ToAllAreAnsweredByEveryFunctionThatCan) {
  say("18EAFF26 42 FD 00");
  EXPECT_EQ(wire.take(), (Frames{"18FD4280 CD BF 5B 00 00 00 00 00", "18FD4281 01 02 03 04 05 06 07 08"}));
  say("18EAFF26 8D FC 00");
  EXPECT_EQ(wire.take(), Frames{"18FC8D80 41 2A FF FF FF FF FF FF"});
}

TEST_F(BusNodeRequests, ToOneAreRefusedForAnUnknownPgn) {
  say("18EA8126 C5 FD 00");
  EXPECT_EQ(wire.take(), Frames{"18E8FF81 01 FF FF FF 26 C5 FD 00"});
  say("18EA8126 34 12 03");
  EXPECT_EQ(wire.take(), Frames{"18E8FF81 01 FF FF FF 26 34 12 03"});
  EXPECT_EQ(node.statistics().requestsRefused, 2U);
}

TEST_F(BusNodeRequests, ToAllAreNeverRefused) {
  say("18EAFF26 34 12 00");
  run(1000);
  EXPECT_EQ(wire.take(), Frames{});
  EXPECT_EQ(node.statistics().requestsRefused, 0U);
}

TEST_F(BusNodeRequests, ToAFunctionWithoutAnswersAreRefused) {
  add(station, third, 0x82);
  settleIn();
  say("18EA8226 42 FD 00");
  EXPECT_EQ(wire.take(), Frames{"18E8FF82 01 FF FF FF 26 42 FD 00"});
}

TEST_F(BusNodeRequests, AreAnsweredToTheRequesterWhereThePgnHasADestination) {
  say("18EA8026 00 EF 00");
  EXPECT_EQ(wire.take(), Frames{"18EF2680 01 FF FF FF FF FF FF FF"});
  say("18EAFF26 00 EF 00");
  EXPECT_EQ(wire.take(), Frames{"18EFFF80 01 FF FF FF FF FF FF FF"});
}

TEST_F(BusNodeRequests, ForALongAnswerToOneAreAnsweredByConnection) {
  say("18EA8026 C5 FD 00");
  run(1);
  const Frames opened = wire.take();
  ASSERT_EQ(opened.size(), 1U);
  EXPECT_EQ(opened[0].substr(0, 20), "1CEC2680 10 0A 00 02"); // the largest number of packets is the sender's choice
  EXPECT_EQ(opened[0].substr(23), " C5 FD 00");
  say("1CEC8026 11 02 01 FF FF C5 FD 00");
  EXPECT_EQ(wire.take(), (Frames{"1CEB2680 01 41 42 43 44 45 46 47", "1CEB2680 02 48 49 2A FF FF FF FF"}));
}

TEST_F(BusNodeRequests, ForALongAnswerToAllAreAnsweredByBam) {
  say("18EAFF26 C5 FD 00");
  run(200);
  EXPECT_EQ(wire.take(), (Frames{"1CECFF80 20 0A 00 02 FF C5 FD 00", "1CEBFF80 01 41 42 43 44 45 46 47",
                                 "1CEBFF80 02 48 49 2A FF FF FF FF"}));
}

TEST_F(BusNodeRequests, RepeatedWhileTheLongAnswerIsUnderWayAreServedByIt) {
  for (int i = 0; i < 1000; ++i) {
    say("18EAFF26 C5 FD 00");
    say("18EA8026 C5 FD 00");
  }
  run(200);
  const Frames frames = wire.take();
  const auto count = [&frames](const std::string& head) {
    return std::count_if(frames.begin(), frames.end(),
                         [&head](const std::string& frame) { return frame.compare(0, head.size(), head) == 0; });
  };
  EXPECT_EQ(count("1CECFF80 20"), 1);
  EXPECT_EQ(count("1CEC2680 10"), 1);
  EXPECT_EQ(frames.size(), 4U);
  say("18EAFF26 C5 FD 00");
  run(200);
  EXPECT_EQ(wire.take().front(), "1CECFF80 20 0A 00 02 FF C5 FD 00");
}

TEST_F(BusNodeRequests, ForALongAnswerThatCannotBeSentNowSaySo) {
  node.setMultiSend(false);
  say("18EA8026 C5 FD 00");
  EXPECT_EQ(wire.take(), Frames{"18E8FF80 03 FF FF FF 26 C5 FD 00"});
  say("18EAFF26 C5 FD 00");
  EXPECT_EQ(wire.take(), Frames{});
  node.setMultiSend(true);
  say("18EAFF26 C5 FD 00");
  EXPECT_EQ(wire.take(), Frames{"1CECFF80 20 0A 00 02 FF C5 FD 00"});
}

TEST_F(BusNodeRequests, FromSomebodyWithoutAnAddressAreIgnored) {
  say("18EA80FE 42 FD 00");
  say("18EAFFFE 42 FD 00");
  EXPECT_EQ(wire.take(), Frames{});
  EXPECT_EQ(node.statistics().framesIgnored, 2U);
}

TEST_F(BusNodeRequests, ForANumberThatIsNoPgnAreIgnored) {
  say("18EA8026 42 FD 04");
  EXPECT_EQ(wire.take(), Frames{});
  EXPECT_EQ(node.statistics().framesIgnored, 1U);
}

TEST_F(BusNodeRequests, AreNotAnsweredWithTheServiceOff) {
  node.setRequests(false);
  Frames heard;
  node.onMessage([&heard](const IsoMessage_s& message) { heard.push_back(textOf(message)); });
  say("18EA8026 42 FD 00");
  say("18EA8126 C5 FD 00");
  EXPECT_EQ(wire.take(), Frames{});
  EXPECT_EQ(heard, (Frames{"0EA00 26>80 42 FD 00", "0EA00 26>81 C5 FD 00"}));
  say("18EA8026 00 EE 00");
  EXPECT_EQ(wire.take(), Frames{claimOf("80", first)});
}

TEST_F(BusNodeRequests, AreNotAnsweredByAFunctionThatIsStillClaiming) {
  bool isAsked = false;
  FunctionSettings_s settings = settingsOf(third, 0x82);
  settings.answer = [&isAsked](uint32_t) {
    isAsked = true;
    return std::make_optional(bytesOf("01"));
  };
  node.add(settings);
  wire.take();
  say("18EA8226 42 FD 00");
  EXPECT_EQ(wire.take(), Frames{});
  say("18EAFF26 42 FD 00");
  EXPECT_EQ(wire.take().size(), 2U);
  EXPECT_FALSE(isAsked);
}

TEST_F(BusNodeRequests, MayRemoveTheFunctionThatIsAsked) {
  FunctionSettings_s settings = settingsOf(third, 0x82);
  OwnFunction_c* leaving = nullptr;
  settings.answer = [&](uint32_t) {
    node.remove(leaving);
    return std::make_optional(bytesOf("01"));
  };
  leaving = node.add(settings);
  settleIn();
  say("18EA8226 42 FD 00");
  EXPECT_EQ(wire.take(), Frames{});
}

TEST_F(BusNodeRequests, ToAllMayRemoveAFunctionThatWasToAnswerNext) {
  Station_s other(wire);
  start(other);
  OwnFunction_c* next = nullptr;
  FunctionSettings_s settings = settingsOf(third, 0x90);
  settings.answer = [&](uint32_t) {
    other.node.remove(next);
    return std::make_optional(bytesOf("01"));
  };
  other.node.setRequests(true);
  other.node.add(settings);
  next = other.node.add(settingsWith(fixedFirst, 0x91, {{0xFF77, "02"}}));
  settleIn();
  say("18EAFF26 77 FF 00");
  EXPECT_EQ(wire.take(), Frames{"18FF7790 01 FF FF FF FF FF FF FF"});
}

TEST_F(BusNodeRequests, GoFromOneNodeToAnother) {
  Station_s asker(wire);
  Frames heard;
  asker.node.setMultiReceive(true);
  asker.node.onMessage([&heard](const IsoMessage_s& message) { heard.push_back(textOf(message)); });
  start(asker);
  const OwnFunction_c* from = add(asker, third, 0x90);
  settleIn();
  heard.clear();
  EXPECT_TRUE(asker.node.request(*from, Pgn::ecuIdentification, 0x80));
  EXPECT_TRUE(asker.node.request(*from, Pgn::certification, 0x81));
  run(100);
  EXPECT_EQ(heard, (Frames{"0FD42 81>FF 01 02 03 04 05 06 07 08", "0FDC5 80>90 " + tenBytes}));
  EXPECT_TRUE(asker.node.request(*from, Pgn::productIdentification, 0x81));
  wire.take();
  settle();
  EXPECT_EQ(wire.take(), Frames{"18E8FF81 01 FF FF FF 90 8D FC 00"});
}

// --- Working sets

class BusNodeWorkingSets : public WireFixture {
protected:
  void SetUp() override {
    node.setRequests(true);
    node.setWorkingSets(true);
    start(station);
  }

  OwnFunction_c* addMaster(int members, const std::vector<std::string>& names) {
    FunctionSettings_s settings = settingsOf(first, 0x80);
    settings.workingSetMembers = members;
    for (const std::string& name : names) {
      settings.memberNames.push_back(nameOf(name));
    }
    return node.add(settings);
  }

  // announced: returns what follows the claim, until a second after it stands.
  Frames announced() {
    run(250);
    wire.take();
    run(1250);
    return wire.takeTimed();
  }
};

TEST_F(BusNodeWorkingSets, AreAnnouncedWhenTheAddressIsClaimed) {
  addMaster(2, {second, third});
  EXPECT_EQ(announced(),
            (Frames{"500 1CFE0D80 03 FF FF FF FF FF FF FF", "600 1CFE0C80 " + second, "700 1CFE0C80 " + third}));
}

TEST_F(BusNodeWorkingSets, OfTheMasterAloneHaveOneMember) {
  addMaster(0, {});
  EXPECT_EQ(announced(), Frames{"500 1CFE0D80 01 FF FF FF FF FF FF FF"});
}

TEST_F(BusNodeWorkingSets, CountTheMembersThatAreKnown) {
  addMaster(3, {second});
  EXPECT_EQ(announced(), (Frames{"500 1CFE0D80 02 FF FF FF FF FF FF FF", "600 1CFE0C80 " + second}));
}

TEST_F(BusNodeWorkingSets, LeaveOutNamesBeyondTheirNumber) {
  addMaster(1, {second, third});
  EXPECT_EQ(announced(), (Frames{"500 1CFE0D80 02 FF FF FF FF FF FF FF", "600 1CFE0C80 " + second}));
}

TEST_F(BusNodeWorkingSets, HaveAtMost254Members) {
  addMaster(1000, std::vector<std::string>(1000, second));
  run(500);
  EXPECT_EQ(wire.take().back(), "1CFE0D80 FF FF FF FF FF FF FF FF");
  run(60000);
  EXPECT_EQ(wire.take().size(), 254U);
}

TEST_F(BusNodeWorkingSets, AreNotAnnouncedByAFunctionThatIsNoMaster) {
  addMaster(-1, {second});
  EXPECT_EQ(announced(), Frames{});
}

TEST_F(BusNodeWorkingSets, AreNotAnnouncedWithTheServiceOff) {
  node.setWorkingSets(false);
  addMaster(1, {second});
  EXPECT_EQ(announced(), Frames{});
  say("18EA8026 0D FE 00");
  EXPECT_EQ(wire.take(), Frames{"18E8FF80 01 FF FF FF 26 0D FE 00"});
  node.setWorkingSets(true);
  EXPECT_EQ(wire.take(), Frames{"1CFE0D80 02 FF FF FF FF FF FF FF"});
}

TEST_F(BusNodeWorkingSets, EndWithTheService) {
  addMaster(2, {second, third});
  run(500);
  wire.take();
  node.setWorkingSets(false);
  run(1000);
  EXPECT_EQ(wire.take(), Frames{});
  EXPECT_EQ(node.nextDueMs(), never);
}

TEST_F(BusNodeWorkingSets, AreAnnouncedWhenAskedFor) {
  addMaster(1, {second});
  settleIn();
  say("18EAFF26 0D FE 00");
  run(1000);
  EXPECT_EQ(wire.take(), (Frames{"1CFE0D80 02 FF FF FF FF FF FF FF", "1CFE0C80 " + second}));
  say("18EA8026 0D FE 00");
  run(1000);
  EXPECT_EQ(wire.take(), (Frames{"1CFE0D80 02 FF FF FF FF FF FF FF", "1CFE0C80 " + second}));
}

TEST_F(BusNodeWorkingSets, AskedForWhileTheyAreAnnouncedAreAnnouncedOnceMore) {
  addMaster(1, {second});
  settleIn();
  for (int i = 0; i < 100; ++i) {
    say("18EAFF26 0D FE 00");
  }
  run(1000);
  EXPECT_EQ(wire.take(), (Frames{"1CFE0D80 02 FF FF FF FF FF FF FF", "1CFE0C80 " + second,
                                 "1CFE0D80 02 FF FF FF FF FF FF FF", "1CFE0C80 " + second}));
}

TEST_F(BusNodeWorkingSets, AreAnnouncedAnewFromANewAddress) {
  addMaster(2, {second, third});
  run(500);
  wire.take();
  say(claimOf("80", "00 00 00 00 00 00 00 A0"));
  wire.take();
  run(1000);
  EXPECT_EQ(wire.takeTimed(),
            (Frames{"750 1CFE0D81 03 FF FF FF FF FF FF FF", "850 1CFE0C81 " + second, "950 1CFE0C81 " + third}));
}

TEST_F(BusNodeWorkingSets, EndWithTheFunction) {
  OwnFunction_c* master = addMaster(2, {second, third});
  run(500);
  wire.take();
  node.remove(master);
  run(1000);
  EXPECT_EQ(wire.take(), Frames{});
}

TEST_F(BusNodeWorkingSets, MakeTheNodeNeededAtTheNextMember) {
  addMaster(1, {second});
  run(500);
  EXPECT_EQ(node.nextDueMs(), HostClock::nowMs() + 100);
  run(100);
  EXPECT_EQ(node.nextDueMs(), never);
}

} // namespace
