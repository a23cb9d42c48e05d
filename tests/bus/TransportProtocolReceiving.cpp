// Receiving from one sender (ISO 11783-3): answers, re-requests, time-outs, refusals. The station has addresses 26 and
// 27, its peers 80 and 81.
#include "TransportProtocolBus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace IsoBusHost;
using namespace TransportTest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::string requestToSend(unsigned int size, unsigned int packets, unsigned int max = 255) {
  CanFrame_s frame = frameOf("1CEC2680 10 00 00 00 00 00 E7 00");
  frame.data[1] = static_cast<uint8_t>(size & 0xFFU);
  frame.data[2] = static_cast<uint8_t>(size >> 8U);
  frame.data[3] = static_cast<uint8_t>(packets);
  frame.data[4] = static_cast<uint8_t>(max);
  return textOf(frame);
}

std::string clearToSend(unsigned int count, unsigned int next) {
  CanFrame_s frame = frameOf("1CEC8026 11 00 00 FF FF 00 E7 00");
  frame.data[1] = static_cast<uint8_t>(count);
  frame.data[2] = static_cast<uint8_t>(next);
  return textOf(frame);
}

// packet: returns a full data packet of a message that counts 1, 2, 3, ...
std::string packet(unsigned int number) {
  CanFrame_s frame = frameOf("1CEB2680 00 00 00 00 00 00 00 00");
  frame.data[0] = static_cast<uint8_t>(number);
  for (unsigned int index = 1; index <= 7; ++index) {
    frame.data.at(index) = static_cast<uint8_t>((7 * (number - 1) + index) & 0xFFU);
  }
  return textOf(frame);
}

Lines packets(unsigned int first, unsigned int last) {
  Lines lines;
  for (unsigned int number = first; number <= last; ++number) {
    lines.push_back(packet(number));
  }
  return lines;
}

std::string abortBecause(const std::string& reason) {
  return "1CEC8026 FF " + reason + " FF FF FF 00 E7 00";
}

class TransportReceiving : public testing::Test {
protected:
  void expectDelivered(std::size_t bytes) {
    ASSERT_EQ(station.delivered.size(), 1U);
    EXPECT_EQ(station.delivered.front().data, countingBytes(bytes));
    EXPECT_EQ(station.protocol.openSessions(), 0U);
  }

  Station_c station{{0x26, 0x27}};
};

TEST_F(TransportReceiving, AsksForThePacketsAndAcknowledgesTheMessage) {
  EXPECT_THAT(station.hear({"18EC2680 10 11 00 03 FF 00 E7 00"}), ElementsAre("1CEC8026 11 03 01 FF FF 00 E7 00"));
  EXPECT_THAT(station.hear({"1CEB2680 01 01 02 03 04 05 06 07", "1CEB2680 02 08 09 0A 0B 0C 0D 0E"}), IsEmpty());
  EXPECT_THAT(station.delivered, IsEmpty());
  EXPECT_THAT(station.hear({"1CEB2680 03 0F 10 11 FF FF FF FF"}), ElementsAre("1CEC8026 13 11 00 03 FF 00 E7 00"));
  expectDelivered(17);
  const IsoMessage_s& message = station.delivered.front();
  EXPECT_EQ(message.pgn, 0xE700U);
  EXPECT_EQ(message.priority, 6) << "of the request to send";
  EXPECT_EQ(message.source, 0x80);
  EXPECT_EQ(message.destination, 0x26);
  EXPECT_EQ(station.statistics().messagesReceived, 1U);
  EXPECT_EQ(station.statistics().receivesFailed, 0U);
  EXPECT_EQ(station.statistics().framesIgnored, 0U);
  EXPECT_EQ(station.protocol.nextDueMs(), never);
}

// Who answers to the message may do so at once: the sender is told first that it has arrived.
TEST_F(TransportReceiving, AcknowledgesTheMessageBeforeItHandsItOver) {
  Lines sentBefore;
  station.onDelivered = [&](const IsoMessage_s&) {
    for (const CanFrame_s& frame : station.sent) {
      sentBefore.push_back(textOf(frame));
    }
  };
  station.hear({requestToSend(9, 2)});
  station.hear(packets(1, 2));
  EXPECT_THAT(sentBefore, ElementsAre("1CEC8026 13 09 00 02 FF 00 E7 00"));
}

TEST_F(TransportReceiving, TakesNoFillBytesForData) {
  station.hear({requestToSend(9, 2)});
  station.hear({packet(1), packet(2)});
  expectDelivered(9);
}

TEST_F(TransportReceiving, AsksFor16PacketsAtATime) {
  EXPECT_THAT(station.hear({requestToSend(7 * 40, 40)}), ElementsAre(clearToSend(16, 1)));
  EXPECT_THAT(station.hear(packets(1, 15)), IsEmpty());
  EXPECT_THAT(station.hear({packet(16)}), ElementsAre(clearToSend(16, 17)));
  EXPECT_THAT(station.hear(packets(17, 32)), ElementsAre(clearToSend(8, 33)));
  EXPECT_THAT(station.hear(packets(33, 40)), ElementsAre("1CEC8026 13 18 01 28 FF 00 E7 00"));
  expectDelivered(280);
}

struct Limit_s {
  unsigned int packets;
  unsigned int max;
  unsigned int asked;
};

class TransportReceivingLimit : public TransportReceiving, public testing::WithParamInterface<Limit_s> {};

TEST_P(TransportReceivingLimit, AsksForNoMoreThanTheSenderAndTheMessageAllow) {
  const Limit_s& limit = GetParam();
  EXPECT_THAT(station.hear({requestToSend(7 * limit.packets, limit.packets, limit.max)}),
              ElementsAre(clearToSend(limit.asked, 1)))
      << limit.packets << " packets, at most " << limit.max;
}

INSTANTIATE_TEST_SUITE_P(Limits, TransportReceivingLimit,
                         testing::Values(Limit_s{2, 255, 2}, Limit_s{16, 255, 16}, Limit_s{17, 255, 16},
                                         Limit_s{255, 255, 16}, Limit_s{255, 17, 16}, Limit_s{255, 15, 15},
                                         Limit_s{255, 1, 1}, Limit_s{2, 1, 1}, Limit_s{3, 8, 3}));

TEST_F(TransportReceiving, KeepsTheSendersLimitForTheWholeMessage) {
  EXPECT_THAT(station.hear({requestToSend(35, 5, 2)}), ElementsAre(clearToSend(2, 1)));
  EXPECT_THAT(station.hear(packets(1, 2)), ElementsAre(clearToSend(2, 3)));
  EXPECT_THAT(station.hear(packets(3, 4)), ElementsAre(clearToSend(1, 5)));
  station.hear({packet(5)});
  expectDelivered(35);
}

TEST_F(TransportReceiving, IsEnded1250MsAfterItsClearToSendWithoutAPacket) {
  station.hear({requestToSend(14, 2)});
  EXPECT_EQ(station.protocol.nextDueMs(), HostClock::nowMs() + 1250);
  EXPECT_THAT(station.workAfter(1249), IsEmpty());
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("03")));
  EXPECT_EQ(station.statistics().receivesFailed, 1U);
  EXPECT_EQ(station.protocol.openSessions(), 0U);
  EXPECT_THAT(station.hear(packets(1, 2)), IsEmpty());
  EXPECT_THAT(station.delivered, IsEmpty());
}

TEST_F(TransportReceiving, IsEnded1250MsAfterALaterClearToSendWithoutAPacket) {
  station.hear({requestToSend(7 * 17, 17)});
  station.hear(packets(1, 16));
  EXPECT_THAT(station.workAfter(1249), IsEmpty());
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("03")));
}

TEST_F(TransportReceiving, IsEnded750MsAfterAPacketWithoutTheNext) {
  station.hear({requestToSend(21, 3)});
  station.workAfter(1249);
  station.hear({packet(1)});
  EXPECT_EQ(station.protocol.nextDueMs(), HostClock::nowMs() + 750);
  EXPECT_THAT(station.workAfter(749), IsEmpty());
  station.hear({packet(2)});
  EXPECT_THAT(station.workAfter(749), IsEmpty());
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("03")));
}

TEST_F(TransportReceiving, AsksForAMissingPacketWhenTheLastOneAskedForIsThere) {
  station.hear({requestToSend(7 * 20, 20)});
  EXPECT_THAT(station.hear(packets(1, 4)), IsEmpty());
  EXPECT_THAT(station.hear(packets(6, 15)), IsEmpty());
  EXPECT_THAT(station.hear({packet(16)}), ElementsAre(clearToSend(1, 5)));
  EXPECT_THAT(station.hear({packet(5)}), ElementsAre(clearToSend(4, 17)));
  station.hear(packets(17, 20));
  expectDelivered(140);
}

TEST_F(TransportReceiving, AsksForEachRunOfMissingPacketsByItself) {
  station.hear({requestToSend(7 * 8, 8)});
  EXPECT_THAT(station.hear({packet(2), packet(5), packet(8)}), ElementsAre(clearToSend(1, 1)));
  EXPECT_THAT(station.hear({packet(1)}), ElementsAre(clearToSend(2, 3)));
  EXPECT_THAT(station.hear(packets(3, 4)), ElementsAre(clearToSend(2, 6)));
  station.hear(packets(6, 7));
  expectDelivered(56);
}

TEST_F(TransportReceiving, AsksAfter750MsWhenThePacketsBehindAGapStop) {
  station.hear({requestToSend(7 * 5, 5)});
  station.hear({packet(1), packet(3)});
  EXPECT_THAT(station.workAfter(749), IsEmpty());
  EXPECT_THAT(station.workAfter(1), ElementsAre(clearToSend(1, 2)));
  EXPECT_THAT(station.hear({packet(2)}), ElementsAre(clearToSend(2, 4)));
  station.hear(packets(4, 5));
  expectDelivered(35);
}

TEST_F(TransportReceiving, TakesPacketsInAnyOrder) {
  station.hear({requestToSend(7 * 4, 4)});
  EXPECT_THAT(station.hear({packet(3), packet(1), packet(2), packet(4)}),
              ElementsAre("1CEC8026 13 1C 00 04 FF 00 E7 00"));
  expectDelivered(28);
}

TEST_F(TransportReceiving, DoesNotAskForAPacketThatComesLateButInTime) {
  station.hear({requestToSend(7 * 20, 20)});
  station.hear(packets(1, 14));
  EXPECT_THAT(station.hear({packet(16), packet(15)}), ElementsAre(clearToSend(4, 17)));
}

TEST_F(TransportReceiving, TakesALatePacketOfAnEarlierClearToSend) {
  station.hear({requestToSend(7 * 8, 8)});
  EXPECT_THAT(station.hear({packet(2), packet(5), packet(8)}), ElementsAre(clearToSend(1, 1)));
  EXPECT_THAT(station.hear({packet(3), packet(1)}), ElementsAre(clearToSend(1, 4)));
}

TEST_F(TransportReceiving, IsEnded1250MsAfterARepeatedClearToSendWithoutAPacket) {
  station.hear({requestToSend(21, 3)});
  EXPECT_THAT(station.hear({packet(1), packet(3)}), ElementsAre(clearToSend(1, 2)));
  station.workAfter(1249);
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("03")));
}

TEST_F(TransportReceiving, GivesUpWithTheRepeatLimitWhenAPacketIsMissingForTheThirdTime) {
  station.hear({requestToSend(35, 5)});
  EXPECT_THAT(station.hear({packet(4), packet(5)}), ElementsAre(clearToSend(3, 1)));
  EXPECT_THAT(station.hear({packet(3)}), ElementsAre(clearToSend(2, 1)));
  EXPECT_THAT(station.hear({packet(2)}), ElementsAre(abortBecause("05")));
  EXPECT_EQ(station.statistics().receivesFailed, 1U);
  EXPECT_EQ(station.protocol.openSessions(), 0U);
}

TEST_F(TransportReceiving, IgnoresDuplicatesAndIsNotProlongedByThem) {
  station.hear({requestToSend(21, 3)});
  station.hear({packet(1)});
  EXPECT_THAT(station.workAfter(749), IsEmpty());
  EXPECT_THAT(station.hear({"1CEB2680 01 EE EE EE EE EE EE EE"}), IsEmpty());
  EXPECT_EQ(station.statistics().framesIgnored, 1U);
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("03")));
}

TEST_F(TransportReceiving, KeepsTheFirstOfTwoPacketsWithTheSameNumber) {
  station.hear({requestToSend(14, 2)});
  station.hear({packet(1), "1CEB2680 01 EE EE EE EE EE EE EE", packet(2)});
  expectDelivered(14);
}

TEST_F(TransportReceiving, IgnoresPacketsThatAreNotAskedFor) {
  station.hear({requestToSend(7 * 20, 20)});
  EXPECT_THAT(station.hear({packet(17), packet(20)}), IsEmpty()) << "of the message, but not of the CTS";
  EXPECT_THAT(station.hear({"1CEB2680 00 EE EE EE EE EE EE EE", "1CEB2680 15 EE EE EE EE EE EE EE",
                            "1CEB2680 FF EE EE EE EE EE EE EE"}),
              IsEmpty());
  EXPECT_EQ(station.statistics().framesIgnored, 5U);
  EXPECT_THAT(station.hear(packets(1, 16)), ElementsAre(clearToSend(4, 17)));
  station.hear(packets(17, 20));
  expectDelivered(140);
}

TEST_F(TransportReceiving, IgnoresPacketsBeforeItsClearToSendIsOut) {
  EXPECT_THAT(station.hear({requestToSend(14, 2), packet(1), packet(2)}), ElementsAre(clearToSend(2, 1)));
  EXPECT_EQ(station.statistics().framesIgnored, 2U);
  EXPECT_THAT(station.delivered, IsEmpty());
}

TEST_F(TransportReceiving, IgnoresDataWithoutASession) {
  EXPECT_THAT(station.hear({packet(1), packet(2), packet(3)}), IsEmpty());
  EXPECT_EQ(station.statistics().framesIgnored, 3U);
}

TEST_F(TransportReceiving, IgnoresDataFromAndToOtherAddresses) {
  station.hear({requestToSend(14, 2)});
  station.hear(
      {"1CEB2681 01 EE EE EE EE EE EE EE", "1CEB2780 01 EE EE EE EE EE EE EE", "1CEBFF80 01 EE EE EE EE EE EE EE"});
  EXPECT_EQ(station.statistics().framesIgnored, 3U);
  station.hear(packets(1, 2));
  expectDelivered(14);
}

struct Refused_s {
  const char* what;
  unsigned int size;
  unsigned int packets;
  unsigned int max;
  const char* reason;
};

class TransportReceivingRefuses : public TransportReceiving, public testing::WithParamInterface<Refused_s> {};

TEST_P(TransportReceivingRefuses, WithItsReason) {
  const Refused_s& row = GetParam();
  EXPECT_THAT(station.hear({requestToSend(row.size, row.packets, row.max)}), ElementsAre(abortBecause(row.reason)))
      << row.what;
  EXPECT_EQ(station.protocol.openSessions(), 0U) << row.what;
  EXPECT_EQ(station.statistics().receivesFailed, 1U) << row.what;
}

INSTANTIATE_TEST_SUITE_P(
    Requests, TransportReceivingRefuses,
    testing::Values(Refused_s{"fits one frame", 8, 2, 255, "09"}, Refused_s{"nothing", 0, 0, 255, "09"},
                    Refused_s{"one byte too long", 1786, 255, 255, "09"},
                    Refused_s{"packets counted on", 1786, 0, 255, "09"}, Refused_s{"longest", 65535, 255, 255, "09"},
                    Refused_s{"a packet too few", 15, 2, 255, "09"}, Refused_s{"a packet too many", 14, 3, 255, "09"},
                    Refused_s{"no packets", 14, 0, 255, "09"}, Refused_s{"no packet per CTS", 14, 2, 0, "FA"}));

TEST_F(TransportReceiving, StartsAnewWithANewRequestForTheSamePgn) {
  station.hear({requestToSend(7 * 40, 40)});
  station.hear(packets(1, 16));
  EXPECT_THAT(station.hear({requestToSend(14, 2)}), ElementsAre(clearToSend(2, 1)));
  EXPECT_EQ(station.statistics().receivesFailed, 1U);
  station.hear(packets(1, 2));
  expectDelivered(14);
}

TEST_F(TransportReceiving, EndsTheOpenSessionWhenTheNewRequestForItsPgnIsRefused) {
  station.hear({requestToSend(14, 2)});
  EXPECT_THAT(station.hear({requestToSend(8, 2)}), ElementsAre(abortBecause("09")));
  EXPECT_EQ(station.protocol.openSessions(), 0U);
}

TEST_F(TransportReceiving, RefusesASecondPgnOfTheSamePairAndGoesOnWithTheFirst) {
  station.hear({requestToSend(14, 2)});
  EXPECT_THAT(station.hear({"1CEC2680 10 09 00 02 FF 00 E6 00"}), ElementsAre("1CEC8026 FF 01 FF FF FF 00 E6 00"));
  station.hear(packets(1, 2));
  expectDelivered(14);
}

TEST_F(TransportReceiving, TakesSessionsOfOneSenderToTwoOwnAddresses) {
  station.hear({requestToSend(14, 2)});
  EXPECT_THAT(station.hear({"1CEC2780 10 09 00 02 FF 00 E6 00"}), ElementsAre("1CEC8027 11 02 01 FF FF 00 E6 00"));
  EXPECT_EQ(station.protocol.openSessions(), 2U);
}

TEST_F(TransportReceiving, Takes64SessionsAndRefusesTheNextForLackOfResources) {
  for (uint32_t source = 0x80; source < 0x80 + 64; ++source) {
    CanFrame_s request = frameOf("1CEC2600 10 F9 06 FF FF 00 E7 00");
    request.identifier += source;
    station.protocol.handleFrame(request);
  }
  EXPECT_EQ(station.workAfter(0).size(), 64U);
  EXPECT_THAT(station.hear({"1CEC26C0 10 09 00 02 FF 00 E7 00"}), ElementsAre("1CECC026 FF 02 FF FF FF 00 E7 00"));
  EXPECT_EQ(station.protocol.openSessions(), 64U);
  station.hear({"1CEC2680 FF FA FF FF FF 00 E7 00"});
  EXPECT_THAT(station.hear({"1CEC26C0 10 09 00 02 FF 00 E7 00"}), ElementsAre("1CECC026 11 02 01 FF FF 00 E7 00"));
}

TEST_F(TransportReceiving, HearsTheBroadcastsOfOthersWhileItsSessionsAreAllTaken) {
  for (uint32_t source = 0x80; source < 0x80 + 64; ++source) {
    CanFrame_s request = frameOf("1CEC2600 10 F9 06 FF FF 00 E7 00");
    request.identifier += source;
    station.protocol.handleFrame(request);
  }
  station.hear(
      {"1CECFF80 20 09 00 02 FF DA FE 00", "1CEBFF80 01 01 02 03 04 05 06 07", "1CEBFF80 02 08 09 FF FF FF FF FF"});
  EXPECT_EQ(station.delivered.size(), 1U);
}

TEST_F(TransportReceiving, IsEndedByAnAbortOfItsSenderWithoutAWord) {
  station.hear({requestToSend(14, 2)});
  EXPECT_THAT(station.hear({"1CEC2680 FF 03 FF FF FF 00 E6 00"}), IsEmpty()) << "another PGN";
  EXPECT_EQ(station.protocol.openSessions(), 1U);
  EXPECT_EQ(station.statistics().framesIgnored, 1U);
  EXPECT_THAT(station.hear({"1CEC2680 FF 03 FF FF FF 00 E7 00"}), IsEmpty());
  EXPECT_EQ(station.protocol.openSessions(), 0U);
  EXPECT_EQ(station.statistics().receivesFailed, 1U);
}

TEST_F(TransportReceiving, NeverAnswersAnAbort) {
  EXPECT_THAT(station.hear({"1CEC2680 FF 03 FF FF FF 00 E7 00", "1CEC2680 FF 00 00 00 00 00 00 00",
                            "1CEC2680 FF FF FF FF FF FF FF FF"}),
              IsEmpty());
  EXPECT_EQ(station.statistics().framesIgnored, 3U);
}

TEST_F(TransportReceiving, EndsBothDirectionsWithAnAbortOfTheirCommonPgn) {
  ASSERT_TRUE(station.send(makeMessage(0x26, 0x80, 17)));
  station.hear({requestToSend(14, 2)});
  EXPECT_EQ(station.protocol.openSessions(), 2U);
  station.hear({"1CEC2680 FF 03 FF FF FF 00 E7 00"});
  EXPECT_EQ(station.protocol.openSessions(), 0U);
  EXPECT_THAT(station.results, ElementsAre(false));
  EXPECT_EQ(station.statistics().receivesFailed, 1U);
}

TEST_F(TransportReceiving, RunsBesideSendingToTheSamePeer) {
  ASSERT_TRUE(station.send(makeMessage(0x26, 0x80, 9)));
  EXPECT_THAT(station.hear({requestToSend(14, 2)}), ElementsAre(clearToSend(2, 1), "1CEC8026 10 09 00 02 FF 00 E7 00"));
  EXPECT_EQ(station.hear({packet(1), "1CEC2680 11 02 01 FF FF 00 E7 00"}).size(), 2U);
  station.hear({"1CEC2680 13 09 00 02 FF 00 E7 00", packet(2)});
  EXPECT_THAT(station.results, ElementsAre(true));
  expectDelivered(14);
}

TEST_F(TransportReceiving, DeliversAPdu1PgnWithTheLowByteZeroAndAnswersWithTheSendersOwn) {
  EXPECT_THAT(station.hear({"1CEC2680 10 09 00 02 FF 26 EF 00"}), ElementsAre("1CEC8026 11 02 01 FF FF 26 EF 00"));
  EXPECT_THAT(station.hear(packets(1, 2)), ElementsAre("1CEC8026 13 09 00 02 FF 26 EF 00"));
  ASSERT_EQ(station.delivered.size(), 1U);
  EXPECT_EQ(station.delivered.front().pgn, 0xEF00U);
}

TEST_F(TransportReceiving, RepeatsAnswersThatTheBusDoesNotTake) {
  station.busTakes = 0;
  EXPECT_THAT(station.hear({requestToSend(14, 2)}), IsEmpty());
  station.busTakes = SIZE_MAX;
  EXPECT_THAT(station.workAfter(1249), ElementsAre(clearToSend(2, 1)));
  EXPECT_THAT(station.workAfter(1249), IsEmpty()) << "the time-out counts from the CTS";
  station.busTakes = 0;
  EXPECT_THAT(station.hear(packets(1, 2)), IsEmpty());
  expectDelivered(14);
  station.busTakes = SIZE_MAX;
  EXPECT_THAT(station.workAfter(1), ElementsAre("1CEC8026 13 0E 00 02 FF 00 E7 00"));
}

TEST_F(TransportReceiving, IsEndedWhenItsClearToSendCannotGoOutFor1250Ms) {
  station.busTakes = 0;
  station.hear({requestToSend(14, 2)});
  station.workAfter(1249);
  EXPECT_EQ(station.protocol.openSessions(), 1U);
  station.workAfter(1);
  EXPECT_EQ(station.protocol.openSessions(), 0U);
  station.busTakes = SIZE_MAX;
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("03")));
}

TEST_F(TransportReceiving, KeepsABoundedNumberOfAnswersForABusThatTakesNothing) {
  station.busTakes = 0;
  for (int count = 0; count < 10000; ++count) {
    station.protocol.handleFrame(frameOf(requestToSend(8, 2)));
  }
  EXPECT_EQ(station.statistics().receivesFailed, 10000U);
  station.busTakes = SIZE_MAX;
  EXPECT_EQ(station.workAfter(1).size(), 256U);
}

struct Frame_s {
  const char* what;
  const char* frame;
  unsigned int counted;
};

class TransportReceivingIgnores : public TransportReceiving, public testing::WithParamInterface<Frame_s> {};

TEST_P(TransportReceivingIgnores, Frame) {
  EXPECT_THAT(station.hear({GetParam().frame}), IsEmpty()) << GetParam().what;
  EXPECT_EQ(station.statistics().framesIgnored, GetParam().counted) << GetParam().what;
  EXPECT_EQ(station.protocol.openSessions(), 0U) << GetParam().what;
}

INSTANTIATE_TEST_SUITE_P(Frames, TransportReceivingIgnores,
                         testing::Values(Frame_s{"RTS of 7 bytes", "1CEC2680 10 09 00 02 FF 00 E7", 1},
                                         Frame_s{"RTS of 0 bytes", "1CEC2680", 1},
                                         Frame_s{"data of 7 bytes", "1CEB2680 01 01 02 03 04 05 06", 1},
                                         Frame_s{"PGN of 19 bits", "1CEC2680 10 09 00 02 FF 00 E7 04", 1},
                                         Frame_s{"PGN of 24 bits", "1CEC2680 10 09 00 02 FF 00 E7 80", 1},
                                         Frame_s{"from the null address", "1CEC26FE 10 09 00 02 FF 00 E7 00", 1},
                                         Frame_s{"from all", "1CEC26FF 10 09 00 02 FF 00 E7 00", 1},
                                         Frame_s{"from the own address", "1CEC2626 10 09 00 02 FF 00 E7 00", 1},
                                         Frame_s{"from another own address", "1CEC2627 10 09 00 02 FF 00 E7 00", 1},
                                         Frame_s{"unknown control byte", "1CEC2680 7F 09 00 02 FF 00 E7 00", 1},
                                         Frame_s{"ETP request", "1CEC2680 14 09 00 02 FF 00 E7 00", 1},
                                         Frame_s{"to another node", "1CEC8180 10 09 00 02 FF 00 E7 00", 0},
                                         Frame_s{"short, to another node", "1CEC8180 10", 0},
                                         Frame_s{"another PGN", "18EA2680 00 EE 00", 0},
                                         Frame_s{"data page 1", "1DEC2680 10 09 00 02 FF 00 E7 00", 0},
                                         Frame_s{"extended data page", "1EEC2680 10 09 00 02 FF 00 E7 00", 0}));

TEST_F(TransportReceiving, IgnoresFramesWithAShortIdentifier) {
  CanFrame_s frame = frameOf(requestToSend(14, 2));
  frame.extended = false;
  station.protocol.handleFrame(frame);
  EXPECT_THAT(station.workAfter(0), IsEmpty());
}

TEST_F(TransportReceiving, DropsItsSessionsSilentlyWhenSwitchedOff) {
  station.hear({requestToSend(14, 2), "1CECFF80 20 09 00 02 FF DA FE 00"});
  station.protocol.setReceiving(false);
  EXPECT_EQ(station.protocol.openSessions(), 0U);
  EXPECT_EQ(station.statistics().receivesFailed, 2U);
  EXPECT_THAT(station.hear({packet(1), requestToSend(14, 2), "1CECFF80 20 09 00 02 FF DA FE 00"}), IsEmpty());
  EXPECT_EQ(station.statistics().framesIgnored, 3U);
  EXPECT_EQ(station.protocol.openSessions(), 0U);
}

TEST(TransportReceivingAtFirst, IsOff) {
  TransportProtocol_c protocol({[](const CanFrame_s&) { return true; }, [](const IsoMessage_s&) {},
                                [](uint8_t address) { return address == 0x26; }});
  protocol.handleFrame(frameOf(requestToSend(14, 2)));
  EXPECT_EQ(protocol.openSessions(), 0U);
  EXPECT_EQ(protocol.statistics().framesIgnored, 1U);
}

TEST_F(TransportReceiving, DropsTheSessionsOfALostAddressSilently) {
  station.hear({requestToSend(14, 2), "1CEC2780 10 09 00 02 FF 00 E7 00"});
  station.protocol.dropAddress(0x26);
  EXPECT_EQ(station.protocol.openSessions(), 1U);
  EXPECT_EQ(station.statistics().receivesFailed, 1U);
  EXPECT_THAT(station.hear(packets(1, 2)), IsEmpty());
  EXPECT_THAT(station.delivered, IsEmpty());
}

TEST_F(TransportReceiving, AcknowledgesBeforeTheAnswerThatTheMessageLeadsTo) {
  station.onDelivered = [this](const IsoMessage_s&) { EXPECT_TRUE(station.send(makeMessage(0x26, 0x80, 17))); };
  station.hear({requestToSend(14, 2)});
  EXPECT_THAT(station.hear(packets(1, 2)),
              ElementsAre("1CEC8026 13 0E 00 02 FF 00 E7 00", "1CEC8026 10 11 00 03 FF 00 E7 00"));
}

TEST_F(TransportReceiving, AllowsTheTakerOfAMessageToDropEverything) {
  station.onDelivered = [this](const IsoMessage_s& message) {
    station.protocol.dropAddress(0x26);
    station.protocol.setReceiving(false);
    station.protocol.work();
    EXPECT_EQ(message.data, countingBytes(14));
  };
  station.hear({"1CEC2681 10 09 00 02 FF 00 E7 00", requestToSend(14, 2)});
  EXPECT_THAT(station.hear(packets(1, 2)), ElementsAre("1CEC8026 13 0E 00 02 FF 00 E7 00"));
  expectDelivered(14);
}

} // namespace
