// Messages to all (ISO 11783-3): BAM, sent and received. The station has addresses 26 and 27, its peers 80 and 81.
#include "TransportProtocolBus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace IsoBusHost;
using namespace TransportTest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class TransportBroadcast : public testing::Test {
protected:
  Station_c station{{0x26, 0x27}};
};

TEST_F(TransportBroadcast, SendsItsPackets50MsApart) {
  ASSERT_TRUE(station.send(makeMessage(0x26, 0xFF, 17, 0xFEDA)));
  EXPECT_THAT(station.workAfter(0), ElementsAre("1CECFF26 20 11 00 03 FF DA FE 00"));
  EXPECT_EQ(station.protocol.nextDueMs(), HostClock::nowMs() + 50);
  EXPECT_THAT(station.workAfter(49), IsEmpty());
  EXPECT_THAT(station.workAfter(1), ElementsAre("1CEBFF26 01 01 02 03 04 05 06 07"));
  EXPECT_THAT(station.workAfter(49), IsEmpty());
  EXPECT_THAT(station.workAfter(1), ElementsAre("1CEBFF26 02 08 09 0A 0B 0C 0D 0E"));
  EXPECT_THAT(station.results, IsEmpty());
  EXPECT_THAT(station.workAfter(50), ElementsAre("1CEBFF26 03 0F 10 11 FF FF FF FF"));
  EXPECT_THAT(station.results, ElementsAre(true));
  EXPECT_EQ(station.statistics().messagesSent, 1U);
  EXPECT_EQ(station.protocol.nextDueMs(), never);
}

TEST_F(TransportBroadcast, SendsNoBurstAfterAPauseOfTheApplication) {
  ASSERT_TRUE(station.send(makeMessage(0x26, 0xFF, 17)));
  station.workAfter(0);
  EXPECT_EQ(station.workAfter(1000).size(), 1U);
  EXPECT_THAT(station.workAfter(49), IsEmpty());
  EXPECT_EQ(station.workAfter(1).size(), 1U);
}

TEST_F(TransportBroadcast, RepeatsThePacketThatTheBusDidNotTake) {
  ASSERT_TRUE(station.send(makeMessage(0x26, 0xFF, 9)));
  station.workAfter(0);
  station.busTakes = 0;
  EXPECT_THAT(station.workAfter(50), IsEmpty());
  station.busTakes = SIZE_MAX;
  EXPECT_THAT(station.workAfter(10), ElementsAre("1CEBFF26 01 01 02 03 04 05 06 07"));
  EXPECT_THAT(station.workAfter(49), IsEmpty());
  EXPECT_THAT(station.workAfter(1), ElementsAre("1CEBFF26 02 08 09 FF FF FF FF FF"));
}

TEST_F(TransportBroadcast, GoesOutOnePerSourceAtATime) {
  ASSERT_TRUE(station.send(makeMessage(0x26, 0xFF, 9, 0xFEDA)));
  ASSERT_TRUE(station.send(makeMessage(0x26, 0xFF, 9, 0xFDC5)));
  ASSERT_TRUE(station.send(makeMessage(0x27, 0xFF, 9, 0xFC8D)));
  EXPECT_THAT(station.workAfter(0),
              ElementsAre("1CECFF26 20 09 00 02 FF DA FE 00", "1CECFF27 20 09 00 02 FF 8D FC 00"));
  EXPECT_THAT(station.workAfter(50),
              ElementsAre("1CEBFF26 01 01 02 03 04 05 06 07", "1CEBFF27 01 01 02 03 04 05 06 07"));
  EXPECT_THAT(station.workAfter(50),
              ElementsAre("1CEBFF26 02 08 09 FF FF FF FF FF", "1CEBFF27 02 08 09 FF FF FF FF FF"));
  EXPECT_THAT(station.workAfter(0), ElementsAre("1CECFF26 20 09 00 02 FF C5 FD 00"));
}

TEST_F(TransportBroadcast, RunsBesideAMessageToOneDestination) {
  ASSERT_TRUE(station.send(makeMessage(0x26, 0xFF, 9, 0xFEDA)));
  ASSERT_TRUE(station.send(makeMessage(0x26, 0x80, 9)));
  EXPECT_THAT(station.workAfter(0),
              ElementsAre("1CECFF26 20 09 00 02 FF DA FE 00", "1CEC8026 10 09 00 02 FF 00 E7 00"));
  EXPECT_THAT(station.hear({"1CEC2680 11 02 01 FF FF 00 E7 00"}),
              ElementsAre("1CEB8026 01 01 02 03 04 05 06 07", "1CEB8026 02 08 09 FF FF FF FF FF"));
  EXPECT_THAT(station.workAfter(50), ElementsAre("1CEBFF26 01 01 02 03 04 05 06 07"));
}

TEST_F(TransportBroadcast, IsNotStoppedByAnAnswer) {
  ASSERT_TRUE(station.send(makeMessage(0x26, 0xFF, 9, 0xFEDA)));
  station.workAfter(0);
  EXPECT_THAT(station.hear({"1CEC2680 FF 02 FF FF FF DA FE 00", "1CECFF80 FF 02 FF FF FF DA FE 00",
                            "1CEC2680 11 02 01 FF FF DA FE 00"}),
              IsEmpty());
  EXPECT_EQ(station.statistics().framesIgnored, 3U);
  EXPECT_EQ(station.workAfter(50).size(), 1U);
}

TEST_F(TransportBroadcast, IsDroppedSilentlyWithItsAddress) {
  ASSERT_TRUE(station.send(makeMessage(0x26, 0xFF, 9)));
  station.workAfter(0);
  station.protocol.dropAddress(0x26);
  EXPECT_THAT(station.results, ElementsAre(false));
  EXPECT_THAT(station.workAfter(50), IsEmpty());
}

TEST_F(TransportBroadcast, IsReceivedWithoutAWord) {
  EXPECT_THAT(station.hear({"18ECFF80 20 09 00 02 FF DA FE 00", "1CEBFF80 01 01 02 03 04 05 06 07",
                            "1CEBFF80 02 08 09 FF FF FF FF FF"}),
              IsEmpty());
  ASSERT_EQ(station.delivered.size(), 1U);
  const IsoMessage_s& message = station.delivered.front();
  EXPECT_EQ(message.pgn, 0xFEDAU);
  EXPECT_EQ(message.priority, 6) << "of the announcement";
  EXPECT_EQ(message.source, 0x80);
  EXPECT_EQ(message.destination, 0xFF);
  EXPECT_EQ(message.data, countingBytes(9));
  EXPECT_EQ(station.statistics().messagesReceived, 1U);
  EXPECT_EQ(station.statistics().framesIgnored, 0U);
  EXPECT_EQ(station.protocol.openSessions(), 0U);
}

TEST_F(TransportBroadcast, MayPauseLessThan750MsBetweenPackets) {
  station.hear({"1CECFF80 20 09 00 02 FF DA FE 00"});
  EXPECT_EQ(station.protocol.nextDueMs(), HostClock::nowMs() + 750);
  station.workAfter(749);
  station.hear({"1CEBFF80 01 01 02 03 04 05 06 07"});
  station.workAfter(749);
  station.hear({"1CEBFF80 02 08 09 FF FF FF FF FF"});
  EXPECT_EQ(station.delivered.size(), 1U);
}

TEST_F(TransportBroadcast, IsGivenUpAfter750MsWithoutAPacket) {
  station.hear({"1CECFF80 20 09 00 02 FF DA FE 00", "1CEBFF80 01 01 02 03 04 05 06 07"});
  EXPECT_THAT(station.workAfter(749), IsEmpty());
  EXPECT_EQ(station.protocol.openSessions(), 1U);
  EXPECT_THAT(station.workAfter(1), IsEmpty());
  EXPECT_EQ(station.protocol.openSessions(), 0U);
  EXPECT_EQ(station.statistics().receivesFailed, 1U);
  station.hear({"1CEBFF80 02 08 09 FF FF FF FF FF"});
  EXPECT_THAT(station.delivered, IsEmpty());
}

class TransportBroadcastOutOfOrder : public TransportBroadcast, public testing::WithParamInterface<const char*> {};

TEST_P(TransportBroadcastOutOfOrder, IsGivenUp) {
  station.hear({"1CECFF80 20 11 00 03 FF DA FE 00", "1CEBFF80 01 01 02 03 04 05 06 07", GetParam()});
  EXPECT_EQ(station.protocol.openSessions(), 0U);
  EXPECT_EQ(station.statistics().receivesFailed, 1U);
  station.hear({"1CEBFF80 02 08 09 0A 0B 0C 0D 0E", "1CEBFF80 03 0F 10 11 FF FF FF FF"});
  EXPECT_THAT(station.delivered, IsEmpty());
  EXPECT_EQ(station.statistics().framesIgnored, 2U);
}

INSTANTIATE_TEST_SUITE_P(Packets, TransportBroadcastOutOfOrder,
                         testing::Values("1CEBFF80 03 0F 10 11 FF FF FF FF", "1CEBFF80 01 01 02 03 04 05 06 07",
                                         "1CEBFF80 00 01 02 03 04 05 06 07", "1CEBFF80 FF 01 02 03 04 05 06 07"));

TEST_F(TransportBroadcast, IsReplacedByTheNextOneOfTheSameSource) {
  station.hear({"1CECFF80 20 11 00 03 FF DA FE 00", "1CEBFF80 01 01 02 03 04 05 06 07",
                "1CECFF80 20 09 00 02 FF C5 FD 00", "1CEBFF80 01 01 02 03 04 05 06 07",
                "1CEBFF80 02 08 09 FF FF FF FF FF"});
  ASSERT_EQ(station.delivered.size(), 1U);
  EXPECT_EQ(station.delivered.front().pgn, 0xFDC5U);
  EXPECT_EQ(station.statistics().receivesFailed, 1U);
}

TEST_F(TransportBroadcast, OfTwoSourcesAreKeptApart) {
  station.hear({"1CECFF80 20 09 00 02 FF DA FE 00", "1CECFF81 20 09 00 02 FF C5 FD 00",
                "1CEBFF80 01 01 02 03 04 05 06 07", "1CEBFF81 01 A1 A2 A3 A4 A5 A6 A7",
                "1CEBFF81 02 A8 A9 FF FF FF FF FF", "1CEBFF80 02 08 09 FF FF FF FF FF"});
  ASSERT_EQ(station.delivered.size(), 2U);
  EXPECT_EQ(station.delivered[0].source, 0x81);
  EXPECT_EQ(station.delivered[0].data[0], 0xA1);
  EXPECT_EQ(station.delivered[1].source, 0x80);
  EXPECT_EQ(station.delivered[1].data, countingBytes(9));
}

TEST_F(TransportBroadcast, IsKeptApartFromAMessageToUsOfTheSameSource) {
  EXPECT_THAT(station.hear({"1CECFF80 20 09 00 02 FF DA FE 00", "1CEC2680 10 09 00 02 FF DA FE 00"}),
              ElementsAre("1CEC8026 11 02 01 FF FF DA FE 00"));
  EXPECT_THAT(station.hear({"1CEBFF80 01 01 02 03 04 05 06 07", "1CEB2680 01 A1 A2 A3 A4 A5 A6 A7",
                            "1CEB2680 02 A8 A9 FF FF FF FF FF", "1CEBFF80 02 08 09 FF FF FF FF FF"}),
              ElementsAre("1CEC8026 13 09 00 02 FF DA FE 00"));
  ASSERT_EQ(station.delivered.size(), 2U);
  EXPECT_EQ(station.delivered[0].destination, 0x26);
  EXPECT_EQ(station.delivered[0].data[0], 0xA1);
  EXPECT_EQ(station.delivered[1].destination, 0xFF);
  EXPECT_EQ(station.delivered[1].data, countingBytes(9));
}

class TransportBroadcastIgnored : public TransportBroadcast, public testing::WithParamInterface<const char*> {};

TEST_P(TransportBroadcastIgnored, AndCounted) {
  EXPECT_THAT(station.hear({GetParam()}), IsEmpty());
  EXPECT_EQ(station.protocol.openSessions(), 0U);
  EXPECT_EQ(station.statistics().framesIgnored, 1U);
}

INSTANTIATE_TEST_SUITE_P(Announcements, TransportBroadcastIgnored,
                         testing::Values("1CECFF80 20 08 00 02 FF DA FE 00",   // 8 bytes
                                         "1CECFF80 20 00 00 00 FF DA FE 00",   // nothing
                                         "1CECFF80 20 FA 06 FF FF DA FE 00",   // 1786 bytes
                                         "1CECFF80 20 FF FF FF FF DA FE 00",   // 65535 bytes
                                         "1CECFF80 20 0F 00 02 FF DA FE 00",   // a packet too few
                                         "1CECFF80 20 0E 00 03 FF DA FE 00",   // a packet too many
                                         "1CECFF80 20 0E 00 00 FF DA FE 00",   // no packets
                                         "1CECFF80 20 09 00 02 FF DA FE 04",   // a PGN of 19 bits
                                         "1CECFF80 20 09 00 02 FF DA FE",      // 7 bytes
                                         "1CECFF80",                           // 0 bytes
                                         "1CEC2680 20 09 00 02 FF DA FE 00",   // to one address
                                         "1CECFFFE 20 09 00 02 FF DA FE 00",   // from the null address
                                         "1CECFFFF 20 09 00 02 FF DA FE 00",   // from all
                                         "1CECFF27 20 09 00 02 FF DA FE 00",   // from an own address
                                         "1CECFF80 10 09 00 02 FF DA FE 00",   // RTS to all
                                         "1CEBFF80 01 01 02 03 04 05 06 07")); // data without announcement

TEST_F(TransportBroadcast, GoesOnAfterAMalformedAnnouncementOfTheSameSource) {
  station.hear({"1CECFF80 20 09 00 02 FF DA FE 00", "1CEBFF80 01 01 02 03 04 05 06 07",
                "1CECFF80 20 FF FF FF FF DA FE 00", "1CEBFF80 02 08 09 FF FF FF FF FF"});
  EXPECT_EQ(station.delivered.size(), 1U);
}

TEST_F(TransportBroadcast, IsReceivedFrom64SourcesAtATimeAndLeavesRoomForMessagesToUs) {
  for (uint32_t source = 0x80; source < 0x80 + 100; ++source) {
    CanFrame_s announce = frameOf("1CECFF00 20 09 00 02 FF DA FE 00");
    announce.identifier += source;
    station.protocol.handleFrame(announce);
  }
  EXPECT_EQ(station.protocol.openSessions(), 64U);
  EXPECT_EQ(station.statistics().framesIgnored, 36U);
  EXPECT_THAT(station.hear({"1CEC2680 10 09 00 02 FF 00 E7 00"}), ElementsAre("1CEC8026 11 02 01 FF FF 00 E7 00"));
}

TEST_F(TransportBroadcast, IsStillReceivedWhenAnOwnAddressIsLost) {
  station.hear({"1CECFF80 20 09 00 02 FF DA FE 00", "1CEBFF80 01 01 02 03 04 05 06 07"});
  station.protocol.dropAddress(0x26);
  station.hear({"1CEBFF80 02 08 09 FF FF FF FF FF"});
  EXPECT_EQ(station.delivered.size(), 1U);
}

} // namespace
