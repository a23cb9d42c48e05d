// Sending to one destination (ISO 11783-3): RTS, CTS, data, EoMA, abort. The station has address 26, its peer 80.
#include "TransportProtocolBus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace IsoBusHost;
using namespace TransportTest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string rts17 = "1CEC8026 10 11 00 03 FF 00 E7 00";
const std::string data1 = "1CEB8026 01 01 02 03 04 05 06 07";
const std::string data2 = "1CEB8026 02 08 09 0A 0B 0C 0D 0E";
const std::string data3 = "1CEB8026 03 0F 10 11 FF FF FF FF";
const std::string endOfMessage17 = "1CEC2680 13 11 00 03 FF 00 E7 00";

std::string clearToSend(unsigned int count, unsigned int next) {
  CanFrame_s frame = frameOf("1CEC2680 11 00 00 FF FF 00 E7 00");
  frame.data[1] = static_cast<uint8_t>(count);
  frame.data[2] = static_cast<uint8_t>(next);
  return textOf(frame);
}

std::string abortBecause(const std::string& reason) {
  return "1CEC8026 FF " + reason + " FF FF FF 00 E7 00";
}

// A message of 17 bytes is queued; announced() has sent its RTS.
class TransportSending : public testing::Test {
protected:
  TransportSending() { EXPECT_TRUE(station.send(makeMessage(0x26, 0x80, 17))); }

  void announce() { ASSERT_THAT(station.workAfter(0), ElementsAre(rts17)); }

  Station_c station{{0x26, 0x27}};
};

TEST_F(TransportSending, AnnouncesSizePacketsAndNoLimitOfPackets) {
  EXPECT_THAT(station.takeSent(), IsEmpty());
  announce();
  EXPECT_THAT(station.workAfter(0), IsEmpty());
}

TEST_F(TransportSending, SendsThePacketsOfEachClearToSendAtOnceAndIsThroughWithTheAcknowledgement) {
  announce();
  EXPECT_THAT(station.hear({clearToSend(2, 1)}), ElementsAre(data1, data2));
  EXPECT_THAT(station.hear({clearToSend(1, 3)}), ElementsAre(data3));
  EXPECT_THAT(station.results, IsEmpty());
  EXPECT_THAT(station.hear({endOfMessage17}), IsEmpty());
  EXPECT_THAT(station.results, ElementsAre(true));
  EXPECT_EQ(station.statistics().messagesSent, 1U);
  EXPECT_EQ(station.statistics().sendsFailed, 0U);
  EXPECT_EQ(station.statistics().framesIgnored, 0U);
  EXPECT_EQ(station.protocol.openSessions(), 0U);
  EXPECT_EQ(station.protocol.nextDueMs(), never);
}

TEST_F(TransportSending, WritesSizeAndPgnLowByteFirst) {
  Station_c other{{0x26}};
  ASSERT_TRUE(other.send(makeMessage(0x26, 0x80, 1785, 0x1FEDA)));
  EXPECT_THAT(other.workAfter(0), ElementsAre("1CEC8026 10 F9 06 FF FF DA FE 01"));
}

TEST_F(TransportSending, SendsAFullLastPacketWithoutFilling) {
  Station_c other{{0x26}};
  ASSERT_TRUE(other.send(makeMessage(0x26, 0x80, 14)));
  EXPECT_THAT(other.workAfter(0), ElementsAre("1CEC8026 10 0E 00 02 FF 00 E7 00"));
  EXPECT_THAT(other.hear({clearToSend(2, 1)}), ElementsAre(data1, data2));
}

TEST_F(TransportSending, LeavesTheLowByteOfAPdu1PgnZero) {
  Station_c other{{0x26}};
  ASSERT_TRUE(other.send(makeMessage(0x26, 0x80, 17, 0xE755)));
  EXPECT_THAT(other.workAfter(0), ElementsAre(rts17));
}

TEST_F(TransportSending, IsEndedAfter1250MsWithoutAnAnswerToItsRequest) {
  announce();
  EXPECT_THAT(station.workAfter(1249), IsEmpty());
  EXPECT_THAT(station.results, IsEmpty());
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("03")));
  EXPECT_THAT(station.results, ElementsAre(false));
  EXPECT_EQ(station.statistics().sendsFailed, 1U);
}

TEST_F(TransportSending, IsEndedAfter1250MsWithoutAClearToSendForTheRest) {
  announce();
  station.hear({clearToSend(2, 1)});
  EXPECT_THAT(station.workAfter(1249), IsEmpty());
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("03")));
}

TEST_F(TransportSending, IsEndedAfter1250MsWithoutAnAcknowledgement) {
  announce();
  station.hear({clearToSend(3, 1)});
  EXPECT_THAT(station.workAfter(1249), IsEmpty());
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("03")));
  EXPECT_THAT(station.hear({endOfMessage17}), IsEmpty());
  EXPECT_THAT(station.results, ElementsAre(false));
}

TEST_F(TransportSending, WaitsLongerWhileTheReceiverHolds) {
  announce();
  for (int round = 0; round < 5; ++round) {
    EXPECT_THAT(station.hear({clearToSend(0, 255)}), IsEmpty());
    EXPECT_THAT(station.workAfter(1049), IsEmpty());
  }
  EXPECT_THAT(station.hear({clearToSend(3, 1)}), ElementsAre(data1, data2, data3));
  EXPECT_THAT(station.hear({endOfMessage17}), IsEmpty());
  EXPECT_THAT(station.results, ElementsAre(true));
}

TEST_F(TransportSending, IsEnded1050MsAfterTheLastHold) {
  announce();
  station.hear({clearToSend(0, 255)});
  EXPECT_THAT(station.workAfter(1049), IsEmpty());
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("03")));
}

TEST_F(TransportSending, CanBeHeldBetweenAndAfterItsPackets) {
  announce();
  station.hear({clearToSend(2, 1)});
  station.hear({clearToSend(0, 255)});
  EXPECT_THAT(station.workAfter(1049), IsEmpty());
  EXPECT_THAT(station.hear({clearToSend(1, 3)}), ElementsAre(data3));
  station.hear({clearToSend(0, 255)});
  EXPECT_THAT(station.workAfter(1049), IsEmpty());
  station.hear({endOfMessage17});
  EXPECT_THAT(station.results, ElementsAre(true));
}

TEST_F(TransportSending, RepeatsAPacketTwiceButNotAThirdTime) {
  announce();
  EXPECT_THAT(station.hear({clearToSend(3, 1)}), ElementsAre(data1, data2, data3));
  EXPECT_THAT(station.hear({clearToSend(1, 2)}), ElementsAre(data2));
  EXPECT_THAT(station.hear({clearToSend(2, 2)}), ElementsAre(data2, data3));
  EXPECT_THAT(station.hear({clearToSend(2, 1)}), ElementsAre(abortBecause("05")));
  EXPECT_THAT(station.results, ElementsAre(false));
}

TEST_F(TransportSending, AcceptsTheAcknowledgementAfterARepeat) {
  announce();
  station.hear({clearToSend(3, 1)});
  EXPECT_THAT(station.hear({clearToSend(1, 1)}), ElementsAre(data1));
  station.hear({endOfMessage17});
  EXPECT_THAT(station.results, ElementsAre(true));
}

TEST_F(TransportSending, IsEndedByAClearToSendWhileItsPacketsGoOut) {
  announce();
  station.busTakes = 1;
  EXPECT_THAT(station.hear({clearToSend(3, 1)}), ElementsAre(data1));
  station.busTakes = SIZE_MAX;
  EXPECT_THAT(station.hear({clearToSend(3, 1)}), ElementsAre(abortBecause("04")));
  EXPECT_THAT(station.results, ElementsAre(false));
}

TEST_F(TransportSending, IsEndedByAHoldWhileItsPacketsGoOut) {
  announce();
  station.busTakes = 2;
  EXPECT_THAT(station.hear({clearToSend(3, 1)}), ElementsAre(data1, data2));
  station.busTakes = SIZE_MAX;
  EXPECT_THAT(station.hear({clearToSend(0, 255)}), ElementsAre(abortBecause("04")));
}

TEST_F(TransportSending, TakesTheLatestClearToSendAsLongAsNoPacketWentOut) {
  announce();
  EXPECT_THAT(station.hear({clearToSend(3, 1), clearToSend(1, 1)}), ElementsAre(data1));
  EXPECT_THAT(station.hear({clearToSend(2, 2), clearToSend(0, 255)}), IsEmpty());
  EXPECT_THAT(station.hear({clearToSend(2, 2)}), ElementsAre(data2, data3));
}

TEST_F(TransportSending, SendsNoMoreThanIsLeftWhenMoreIsAskedFor) {
  announce();
  EXPECT_THAT(station.hear({clearToSend(16, 1)}), ElementsAre(data1, data2, data3));
  EXPECT_THAT(station.hear({clearToSend(255, 3)}), ElementsAre(data3));
}

TEST_F(TransportSending, IsEndedByARequestForPacketZero) {
  announce();
  EXPECT_THAT(station.hear({clearToSend(1, 0)}), ElementsAre(abortBecause("FA")));
  EXPECT_THAT(station.results, ElementsAre(false));
}

TEST_F(TransportSending, IsEndedByARequestForAPacketBehindTheLast) {
  announce();
  station.hear({clearToSend(3, 1)});
  EXPECT_THAT(station.hear({clearToSend(1, 4)}), ElementsAre(abortBecause("FA")));
}

TEST_F(TransportSending, IsEndedByARequestThatSkipsAPacket) {
  announce();
  station.hear({clearToSend(1, 1)});
  EXPECT_THAT(station.hear({clearToSend(1, 3)}), ElementsAre(abortBecause("FA")));
}

struct StrangeFrame_s {
  const char* what;
  const char* frame;
};

class TransportSendingIgnores : public TransportSending, public testing::WithParamInterface<StrangeFrame_s> {};

TEST_P(TransportSendingIgnores, AndCounts) {
  announce();
  EXPECT_THAT(station.hear({GetParam().frame}), IsEmpty()) << GetParam().what;
  EXPECT_EQ(station.statistics().framesIgnored, 1U) << GetParam().what;
  EXPECT_THAT(station.results, IsEmpty()) << GetParam().what;
  // The session has neither ended nor been prolonged.
  EXPECT_THAT(station.workAfter(1249), IsEmpty());
  EXPECT_THAT(station.hear({clearToSend(3, 1)}), ElementsAre(data1, data2, data3));
}

INSTANTIATE_TEST_SUITE_P(
    Frames, TransportSendingIgnores,
    testing::Values(StrangeFrame_s{"CTS of another PGN", "1CEC2680 11 03 01 FF FF 00 E6 00"},
                    StrangeFrame_s{"hold of another PGN", "1CEC2680 11 00 FF FF FF 00 E6 00"},
                    StrangeFrame_s{"PGN differs in its third byte", "1CEC2680 11 03 01 FF FF 00 E7 01"},
                    StrangeFrame_s{"CTS from another address", "1CEC2681 11 03 01 FF FF 00 E7 00"},
                    StrangeFrame_s{"CTS to another own address", "1CEC2780 11 03 01 FF FF 00 E7 00"},
                    StrangeFrame_s{"CTS to all", "1CECFF80 11 03 01 FF FF 00 E7 00"},
                    StrangeFrame_s{"CTS of 7 bytes", "1CEC2680 11 03 01 FF FF 00 E7"},
                    StrangeFrame_s{"CTS from the null address", "1CEC26FE 11 03 01 FF FF 00 E7 00"},
                    StrangeFrame_s{"EoMA before any packet", "1CEC2680 13 11 00 03 FF 00 E7 00"},
                    StrangeFrame_s{"abort of another PGN", "1CEC2680 FF 01 FF FF FF 00 E6 00"},
                    StrangeFrame_s{"abort from another address", "1CEC2681 FF 01 FF FF FF 00 E7 00"},
                    StrangeFrame_s{"control byte 12", "1CEC2680 12 03 01 FF FF 00 E7 00"},
                    StrangeFrame_s{"control byte 00", "1CEC2680 00 03 01 FF FF 00 E7 00"},
                    StrangeFrame_s{"ETP CTS", "1CEC2680 15 03 01 00 00 00 E7 00"}));

class TransportAcknowledgementIgnored : public TransportSending, public testing::WithParamInterface<StrangeFrame_s> {};

TEST_P(TransportAcknowledgementIgnored, AndTheRightOneStillCounts) {
  announce();
  station.hear({clearToSend(3, 1)});
  EXPECT_THAT(station.hear({GetParam().frame}), IsEmpty()) << GetParam().what;
  EXPECT_THAT(station.results, IsEmpty()) << GetParam().what;
  EXPECT_EQ(station.statistics().framesIgnored, 1U) << GetParam().what;
  station.hear({endOfMessage17});
  EXPECT_THAT(station.results, ElementsAre(true));
}

INSTANTIATE_TEST_SUITE_P(Frames, TransportAcknowledgementIgnored,
                         testing::Values(StrangeFrame_s{"size", "1CEC2680 13 12 00 03 FF 00 E7 00"},
                                         StrangeFrame_s{"size, high byte", "1CEC2680 13 11 01 03 FF 00 E7 00"},
                                         StrangeFrame_s{"packets", "1CEC2680 13 11 00 02 FF 00 E7 00"},
                                         StrangeFrame_s{"PGN", "1CEC2680 13 11 00 03 FF 00 E6 00"},
                                         StrangeFrame_s{"address", "1CEC2681 13 11 00 03 FF 00 E7 00"}));

TEST_F(TransportSending, IgnoresAnAcknowledgementBeforeTheLastPacket) {
  announce();
  station.hear({clearToSend(2, 1)});
  station.hear({endOfMessage17});
  EXPECT_THAT(station.results, IsEmpty());
  EXPECT_THAT(station.hear({clearToSend(1, 3)}), ElementsAre(data3));
}

TEST_F(TransportSending, IgnoresAnAnswerToARequestThatHasNotGoneOut) {
  station.busTakes = 0;
  EXPECT_THAT(station.hear({clearToSend(3, 1)}), IsEmpty());
  station.busTakes = SIZE_MAX;
  EXPECT_THAT(station.workAfter(1), ElementsAre(rts17));
  EXPECT_THAT(station.workAfter(1), IsEmpty());
}

TEST_F(TransportSending, IsEndedByAnAbortWithoutAWord) {
  announce();
  EXPECT_THAT(station.hear({"1CEC2680 FF 02 FF FF FF 00 E7 00"}), IsEmpty());
  EXPECT_THAT(station.results, ElementsAre(false));
  EXPECT_EQ(station.statistics().sendsFailed, 1U);
  EXPECT_EQ(station.statistics().framesIgnored, 0U);
  EXPECT_THAT(station.workAfter(5000), IsEmpty());
}

TEST_F(TransportSending, IsEndedByAnAbortInTheMiddleOfItsPackets) {
  announce();
  station.busTakes = 1;
  station.hear({clearToSend(3, 1)});
  station.busTakes = SIZE_MAX;
  EXPECT_THAT(station.hear({"1CEC2680 FF FA FF FF FF 00 E7 00"}), IsEmpty());
  EXPECT_THAT(station.results, ElementsAre(false));
}

TEST_F(TransportSending, RepeatsWhatTheBusDoesNotTakeWithoutLossInTheSameOrder) {
  ASSERT_TRUE(station.send(makeMessage(0x27, 0x80, 17)));
  Lines all;
  for (int round = 0; round < 12; ++round) {
    station.busTakes = round % 2 == 0 ? 0 : 1;
    const Lines lines = station.workAfter(1);
    all.insert(all.end(), lines.begin(), lines.end());
    if (round == 4) {
      station.protocol.handleFrame(frameOf(clearToSend(3, 1)));
    }
  }
  EXPECT_THAT(all, ElementsAre(rts17, "1CEC8027 10 11 00 03 FF 00 E7 00", data1, data2, data3));
}

TEST_F(TransportSending, SendsNothingMoreInARoundInWhichTheBusDidNotTakeAFrame) {
  ASSERT_TRUE(station.send(makeMessage(0x27, 0x80, 17)));
  station.busRefuses = 1;
  EXPECT_THAT(station.workAfter(0), IsEmpty()) << "the second request would go before the first";
  EXPECT_THAT(station.workAfter(1), ElementsAre(rts17, "1CEC8027 10 11 00 03 FF 00 E7 00"));
}

TEST_F(TransportSending, StartsItsTimeoutWhenTheBusHasTakenTheRequest) {
  station.busTakes = 0;
  EXPECT_THAT(station.workAfter(5000), IsEmpty());
  station.busTakes = SIZE_MAX;
  announce();
  EXPECT_THAT(station.workAfter(1249), IsEmpty());
  EXPECT_THAT(station.results, IsEmpty());
}

TEST_F(TransportSending, KeepsAnAbortThatTheBusDoesNotTake) {
  announce();
  station.busTakes = 0;
  EXPECT_THAT(station.workAfter(1250), IsEmpty());
  EXPECT_THAT(station.results, ElementsAre(false));
  station.busTakes = SIZE_MAX;
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("03")));
}

TEST_F(TransportSending, NamesTheTimeOfItsNextTimer) {
  EXPECT_LE(station.protocol.nextDueMs(), HostClock::nowMs());
  announce();
  EXPECT_EQ(station.protocol.nextDueMs(), HostClock::nowMs() + 1250);
  station.hear({clearToSend(0, 255)});
  EXPECT_EQ(station.protocol.nextDueMs(), HostClock::nowMs() + 1050);
  station.protocol.handleFrame(frameOf(clearToSend(1, 1)));
  EXPECT_LE(station.protocol.nextDueMs(), HostClock::nowMs());
}

TEST_F(TransportSending, IsNotDueAgainAtOnceWhileTheBusTakesNothing) {
  station.busTakes = 0;
  station.workAfter(0);
  EXPECT_EQ(station.protocol.nextDueMs(), HostClock::nowMs() + 1);
}

TEST_F(TransportSending, GoesOnWithTheNextMessageOfTheSamePairOnlyAfterTheFirst) {
  ASSERT_TRUE(station.send(makeMessage(0x26, 0x80, 9, 0xE600)));
  announce();
  EXPECT_THAT(station.hear({clearToSend(3, 1)}), ElementsAre(data1, data2, data3));
  EXPECT_THAT(station.hear({endOfMessage17}), ElementsAre("1CEC8026 10 09 00 02 FF 00 E6 00"));
  EXPECT_THAT(station.hear({"1CEC2680 11 02 01 FF FF 00 E6 00"}),
              ElementsAre(data1, "1CEB8026 02 08 09 FF FF FF FF FF"));
}

TEST_F(TransportSending, GoesOnWithTheNextMessageOfTheSamePairAfterAFailure) {
  ASSERT_TRUE(station.send(makeMessage(0x26, 0x80, 9, 0xE600)));
  announce();
  station.workAfter(1250);
  EXPECT_THAT(station.workAfter(0), ElementsAre("1CEC8026 10 09 00 02 FF 00 E6 00"));
  EXPECT_THAT(station.results, ElementsAre(false));
}

TEST_F(TransportSending, CountsTheRepeatsOfEachMessageAnew) {
  ASSERT_TRUE(station.send(makeMessage(0x26, 0x80, 17)));
  announce();
  for (int round = 0; round < 3; ++round) {
    ASSERT_THAT(station.hear({clearToSend(3, 1)}), ElementsAre(data1, data2, data3));
  }
  ASSERT_THAT(station.hear({endOfMessage17}), ElementsAre(rts17));
  EXPECT_THAT(station.hear({endOfMessage17}), IsEmpty()) << "nothing of the second message is sent yet";
  EXPECT_THAT(station.hear({clearToSend(3, 1)}), ElementsAre(data1, data2, data3));
}

TEST_F(TransportSending, RunsSessionsOfDifferentPairsSideBySide) {
  ASSERT_TRUE(station.send(makeMessage(0x26, 0x81, 17)));
  ASSERT_TRUE(station.send(makeMessage(0x27, 0x80, 17)));
  EXPECT_THAT(station.workAfter(0),
              ElementsAre(rts17, "1CEC8126 10 11 00 03 FF 00 E7 00", "1CEC8027 10 11 00 03 FF 00 E7 00"));
  EXPECT_EQ(station.protocol.openSessions(), 3U);
  EXPECT_THAT(station.hear({"1CEC2681 11 01 01 FF FF 00 E7 00"}), ElementsAre("1CEB8126 01 01 02 03 04 05 06 07"));
}

TEST_F(TransportSending, TakesUpTo64MessagesOfOnePair) {
  for (int count = 2; count <= 64; ++count) {
    ASSERT_TRUE(station.send(makeMessage(0x26, 0x80, 17))) << count;
  }
  EXPECT_FALSE(station.send(makeMessage(0x26, 0x80, 17)));
  EXPECT_TRUE(station.send(makeMessage(0x26, 0x81, 17)));
  station.workAfter(0);
  station.hear({clearToSend(3, 1), "1CEC2680 FF 01 FF FF FF 00 E7 00"});
  EXPECT_TRUE(station.send(makeMessage(0x26, 0x80, 17)));
}

TEST_F(TransportSending, TakesUpTo1024MessagesInAll) {
  for (unsigned int count = 2; count <= 1024; ++count) {
    ASSERT_TRUE(station.send(makeMessage(0x26, static_cast<uint8_t>(count % 200), 17))) << count;
  }
  EXPECT_FALSE(station.send(makeMessage(0x26, 0xF0, 17)));
  EXPECT_THAT(station.results, IsEmpty());
  station.protocol.dropAddress(0x26);
  EXPECT_EQ(station.results.size(), 1024U);
  EXPECT_TRUE(station.send(makeMessage(0x26, 0xF0, 17)));
}

TEST_F(TransportSending, RefusesWhatIsNoMessageOfThisProtocol) {
  EXPECT_FALSE(station.send(makeMessage(0x26, 0x81, 0)));
  EXPECT_FALSE(station.send(makeMessage(0x26, 0x81, 8)));
  EXPECT_FALSE(station.send(makeMessage(0x26, 0xFF, 1786)));
  EXPECT_FALSE(station.send(makeMessage(0xFE, 0x81, 17)));
  EXPECT_FALSE(station.send(makeMessage(0xFF, 0x81, 17)));
  EXPECT_FALSE(station.send(makeMessage(0x26, 0xFE, 17)));
  EXPECT_FALSE(station.send(makeMessage(0x26, 0x81, 17, 0x40000)));
  EXPECT_THAT(station.workAfter(0), ElementsAre(rts17));
  EXPECT_THAT(station.results, IsEmpty());
}

TEST_F(TransportSending, IsRefusedAndItsSessionsDroppedSilentlyWhenSwitchedOff) {
  ASSERT_TRUE(station.send(makeMessage(0x26, 0x80, 17)));
  announce();
  station.protocol.setSending(false);
  EXPECT_THAT(station.results, ElementsAre(false, false));
  EXPECT_EQ(station.statistics().sendsFailed, 2U);
  EXPECT_FALSE(station.send(makeMessage(0x26, 0x80, 17)));
  EXPECT_THAT(station.hear({clearToSend(3, 1)}), IsEmpty());
  EXPECT_EQ(station.statistics().framesIgnored, 1U);
  EXPECT_THAT(station.workAfter(5000), IsEmpty());
  EXPECT_EQ(station.protocol.nextDueMs(), never);
}

TEST(TransportSendingAtFirst, IsOff) {
  TransportProtocol_c protocol(
      {[](const CanFrame_s&) { return true; }, [](const IsoMessage_s&) {}, [](uint8_t) { return true; }});
  EXPECT_FALSE(protocol.send(makeMessage(0x26, 0x80, 17)));
}

TEST_F(TransportSending, DropsTheMessagesOfALostAddressSilently) {
  ASSERT_TRUE(station.send(makeMessage(0x26, 0x81, 17)));
  ASSERT_TRUE(station.send(makeMessage(0x27, 0x81, 17)));
  station.workAfter(0);
  station.protocol.dropAddress(0x26);
  EXPECT_THAT(station.results, ElementsAre(false, false));
  EXPECT_EQ(station.protocol.openSessions(), 1U);
  EXPECT_THAT(station.hear({clearToSend(3, 1)}), IsEmpty());
  EXPECT_THAT(station.hear({"1CEC2781 11 01 01 FF FF 00 E7 00"}), ElementsAre("1CEB8127 01 01 02 03 04 05 06 07"));
}

TEST_F(TransportSending, ForgetsTheAbortsOfALostAddress) {
  announce();
  station.busTakes = 0;
  station.workAfter(1250);
  station.protocol.dropAddress(0x26);
  station.busTakes = SIZE_MAX;
  EXPECT_THAT(station.workAfter(1), IsEmpty());
}

TEST_F(TransportSending, AllowsItsReportToQueueTheNextMessage) {
  Station_c other{{0x26}};
  std::vector<bool> reports;
  const auto last = [&reports](bool sent) { reports.push_back(sent); };
  ASSERT_TRUE(other.protocol.send(makeMessage(0x26, 0x80, 17), [&](bool sent) {
    reports.push_back(sent);
    EXPECT_TRUE(other.protocol.send(makeMessage(0x26, 0x80, 17), last));
  }));
  EXPECT_THAT(other.workAfter(0), ElementsAre(rts17));
  EXPECT_THAT(other.workAfter(1250), ElementsAre(abortBecause("03")));
  EXPECT_THAT(other.workAfter(0), ElementsAre(rts17));
  other.hear({clearToSend(3, 1), "1CEC2680 FF 02 FF FF FF 00 E7 00"});
  EXPECT_THAT(reports, ElementsAre(false, false));
}

TEST_F(TransportSending, ReportsEachMessageOnceWhenAReportDropsTheAddress) {
  Station_c other{{0x26}};
  std::vector<int> reports;
  for (int number = 1; number <= 3; ++number) {
    ASSERT_TRUE(other.protocol.send(makeMessage(0x26, 0x80, 17), [&, number](bool sent) {
      EXPECT_FALSE(sent);
      reports.push_back(number);
      other.protocol.dropAddress(0x26);
      other.protocol.setSending(false);
      other.protocol.work();
    }));
  }
  other.workAfter(0);
  other.workAfter(1250);
  EXPECT_THAT(reports, testing::UnorderedElementsAre(1, 2, 3));
  EXPECT_EQ(other.protocol.openSessions(), 0U);
  EXPECT_EQ(other.statistics().sendsFailed, 3U);
}

TEST_F(TransportSending, NeedsNoReport) {
  Station_c other{{0x26}};
  ASSERT_TRUE(other.protocol.send(makeMessage(0x26, 0x80, 17)));
  other.workAfter(0);
  EXPECT_THAT(other.workAfter(1250), ElementsAre(abortBecause("03")));
}

} // namespace
