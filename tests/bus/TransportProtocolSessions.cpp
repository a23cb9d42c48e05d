// Whole transports between several stations on one wire (ISO 11783-3).
#include "TransportProtocolBus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace IsoBusHost;
using namespace TransportTest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class TransportSessions : public testing::Test {
protected:
  void expectDelivered(const Station_c& station, const IsoMessage_s& sent) {
    ASSERT_EQ(station.delivered.size(), 1U);
    EXPECT_EQ(station.delivered.front().data, sent.data);
    EXPECT_EQ(station.delivered.front().pgn, sent.pgn);
    EXPECT_EQ(station.delivered.front().source, sent.source);
    EXPECT_EQ(station.delivered.front().destination, sent.destination);
  }

  Wire_c wire;
  Station_c& left = wire.add({0x26});
  Station_c& right = wire.add({0x80});
  Station_c& third = wire.add({0x81});
};

TEST_F(TransportSessions, ReadOnTheWireAsTheStandardWritesThem) {
  ASSERT_TRUE(left.send(makeMessage(0x26, 0x80, 9)));
  wire.settle();
  EXPECT_THAT(wire.log, ElementsAre("1CEC8026 10 09 00 02 FF 00 E7 00", "1CEC2680 11 02 01 FF FF 00 E7 00",
                                    "1CEB8026 01 01 02 03 04 05 06 07", "1CEB8026 02 08 09 FF FF FF FF FF",
                                    "1CEC2680 13 09 00 02 FF 00 E7 00"));
}

TEST_F(TransportSessions, CarryEverySizeToOneDestinationBothWays) {
  for (std::size_t bytes = 9; bytes <= 1785; ++bytes) {
    const IsoMessage_s there = makeMessage(0x26, 0x80, bytes);
    const IsoMessage_s back = makeMessage(0x80, 0x26, bytes, 0xE600);
    ASSERT_TRUE(left.send(there));
    ASSERT_TRUE(right.send(back));
    wire.settle();
    expectDelivered(right, there);
    expectDelivered(left, back);
    ASSERT_THAT(left.results, ElementsAre(true)) << bytes;
    ASSERT_THAT(right.results, ElementsAre(true)) << bytes;
    for (Station_c* station : {&left, &right}) {
      station->delivered.clear();
      station->results.clear();
    }
    wire.log.clear();
  }
  EXPECT_EQ(left.statistics().framesIgnored, 0U);
  EXPECT_EQ(third.statistics().framesIgnored, 0U);
  EXPECT_THAT(third.delivered, IsEmpty());
}

TEST_F(TransportSessions, CarryEverySizeToAllBothWays) {
  for (std::size_t bytes = 9; bytes <= 1785; ++bytes) {
    const IsoMessage_s there = makeMessage(0x26, 0xFF, bytes, 0xFEDA);
    ASSERT_TRUE(left.send(there));
    ASSERT_TRUE(right.send(makeMessage(0x80, 0xFF, bytes, 0xFDC5)));
    wire.settle();
    expectDelivered(right, there);
    ASSERT_EQ(left.delivered.size(), 1U) << bytes;
    ASSERT_EQ(left.delivered.front().data, there.data) << bytes;
    ASSERT_EQ(third.delivered.size(), 2U) << bytes;
    ASSERT_THAT(left.results, ElementsAre(true)) << bytes;
    for (Station_c* station : {&left, &right, &third}) {
      station->delivered.clear();
      station->results.clear();
    }
    wire.log.clear();
  }
  EXPECT_EQ(third.statistics().receivesFailed, 0U);
}

TEST_F(TransportSessions, DoNotDisturbEachOther) {
  for (uint8_t source : {uint8_t{0x26}, uint8_t{0x80}, uint8_t{0x81}}) {
    Station_c& station = source == 0x26 ? left : source == 0x80 ? right : third;
    for (uint8_t destination : {uint8_t{0x26}, uint8_t{0x80}, uint8_t{0x81}, uint8_t{0xFF}}) {
      if (destination != source) {
        ASSERT_TRUE(station.send(makeMessage(source, destination, 100U + source)));
        ASSERT_TRUE(station.send(makeMessage(source, destination, 1000U + source, 0xEF00)));
      }
    }
  }
  wire.settle();
  for (Station_c* station : {&left, &right, &third}) {
    EXPECT_THAT(station->results, testing::AllOf(testing::SizeIs(6), testing::Each(true)));
    EXPECT_EQ(station->delivered.size(), 8U);
    EXPECT_EQ(station->statistics().framesIgnored, 0U);
    for (const IsoMessage_s& message : station->delivered) {
      const std::size_t bytes = message.pgn == 0xEF00 ? 1000U + message.source : 100U + message.source;
      EXPECT_EQ(message.data, countingBytes(bytes));
    }
  }
}

TEST_F(TransportSessions, ArriveInTheOrderOfTheirQueue) {
  for (std::size_t bytes = 9; bytes < 9 + 64; ++bytes) {
    ASSERT_TRUE(left.send(makeMessage(0x26, 0x80, bytes)));
  }
  wire.settle();
  ASSERT_EQ(right.delivered.size(), 64U);
  for (std::size_t index = 0; index < 64; ++index) {
    EXPECT_EQ(right.delivered[index].data.size(), 9 + index);
  }
}

TEST_F(TransportSessions, SurviveTheLossOfAnyOnePacketButTheLastOfAClearToSend) {
  for (unsigned int lost = 1; lost <= 39; ++lost) {
    if (lost == 16 || lost == 32) {
      continue;
    }
    bool isLost = false;
    wire.loses = [&isLost, lost](const CanFrame_s& frame) {
      const bool isIt =
          !isLost && decodeIdentifier(frame.identifier).pgn == Pgn::transportData && frame.data[0] == lost;
      isLost = isLost || isIt;
      return isIt;
    };
    ASSERT_TRUE(left.send(makeMessage(0x26, 0x80, 280)));
    wire.settle();
    ASSERT_TRUE(isLost) << lost;
    ASSERT_THAT(left.results, ElementsAre(true)) << lost;
    ASSERT_EQ(right.delivered.size(), 1U) << lost;
    EXPECT_EQ(right.delivered.front().data, countingBytes(280)) << lost;
    left.results.clear();
    right.delivered.clear();
  }
  EXPECT_EQ(right.statistics().receivesFailed, 0U);
}

TEST_F(TransportSessions, EndOnBothSidesWhenAPacketIsLostEachTime) {
  wire.loses = [](const CanFrame_s& frame) {
    return decodeIdentifier(frame.identifier).pgn == Pgn::transportData && frame.data[0] == 2;
  };
  ASSERT_TRUE(left.send(makeMessage(0x26, 0x80, 21)));
  wire.settle();
  EXPECT_THAT(left.results, ElementsAre(false));
  EXPECT_THAT(right.delivered, IsEmpty());
  EXPECT_EQ(left.protocol.openSessions() + right.protocol.openSessions(), 0U);
  EXPECT_EQ(wire.log.back(), "1CEC2680 FF 03 FF FF FF 00 E7 00");
}

TEST_F(TransportSessions, EndAlsoWhenTheAcknowledgementIsLost) {
  wire.loses = [](const CanFrame_s& frame) { return frame.data[0] == 0x13; };
  ASSERT_TRUE(left.send(makeMessage(0x26, 0x80, 21)));
  wire.settle();
  EXPECT_THAT(left.results, ElementsAre(false));
  EXPECT_EQ(right.delivered.size(), 1U) << "the receiver has it all the same";
  EXPECT_EQ(wire.log.back(), "1CEC8026 FF 03 FF FF FF 00 E7 00");
}

TEST_F(TransportSessions, OfOthersGoOnWhenAPeerDies) {
  ASSERT_TRUE(left.send(makeMessage(0x26, 0x80, 1785)));
  ASSERT_TRUE(right.send(makeMessage(0x80, 0x26, 1785, 0xE600)));
  ASSERT_TRUE(left.send(makeMessage(0x26, 0x81, 1785)));
  ASSERT_TRUE(third.send(makeMessage(0x81, 0x26, 1785, 0xE600)));
  ASSERT_TRUE(third.send(makeMessage(0x81, 0xFF, 1785, 0xFEDA)));
  wire.loses = [this](const CanFrame_s& frame) {
    return wire.log.size() > 100 && decodeIdentifier(frame.identifier).source == 0x80;
  };
  wire.settle();
  ASSERT_EQ(left.results.size(), 2U);
  EXPECT_THAT(left.results, testing::UnorderedElementsAre(true, false));
  EXPECT_THAT(third.results, ElementsAre(true, true));
  EXPECT_EQ(left.delivered.size(), 2U);
  EXPECT_EQ(third.delivered.size(), 1U);
  EXPECT_EQ(left.statistics().receivesFailed, 1U);
  EXPECT_EQ(left.protocol.openSessions(), 0U);
}

TEST_F(TransportSessions, PassThroughABusThatTakesAFrameNowAndThen) {
  ASSERT_TRUE(left.send(makeMessage(0x26, 0x80, 300)));
  ASSERT_TRUE(left.send(makeMessage(0x26, 0x81, 300)));
  ASSERT_TRUE(right.send(makeMessage(0x80, 0x26, 300)));
  for (int round = 0; round < 1000; ++round) {
    left.busTakes = round % 3 == 0 ? 1 : 0;
    right.busTakes = round % 4 == 0 ? 2 : 0;
    wire.settle(1);
    HostClock::advanceMs(1);
  }
  EXPECT_THAT(left.results, ElementsAre(true, true));
  EXPECT_THAT(right.results, ElementsAre(true));
  EXPECT_EQ(left.delivered.size(), 1U);
  EXPECT_EQ(left.statistics().framesIgnored + right.statistics().framesIgnored + third.statistics().framesIgnored, 0U);
}

TEST_F(TransportSessions, AreBoundedUnderAFlood) {
  uint32_t state = 1;
  const auto nextByte = [&state] {
    state = state * 1664525U + 1013904223U;
    return static_cast<uint8_t>(state >> 24U);
  };
  const std::vector<uint8_t> controls{0x10, 0x11, 0x13, 0x20, 0xFF, 0x00};
  for (int count = 0; count < 200000; ++count) {
    CanFrame_s frame =
        frameOf(count % 2 == 0 ? "1CEC2600 00 00 00 00 FF 00 E7 00" : "1CEB2600 00 00 00 00 00 00 00 00");
    frame.identifier += nextByte();
    frame.identifier += nextByte() % 4 == 0 ? 0xD900U : 0U;
    frame.data[0] = count % 2 == 0 ? controls.at(nextByte() % controls.size()) : nextByte();
    frame.data[1] = nextByte();
    frame.data[2] = nextByte() % 7;
    frame.data[3] =
        count % 3 == 0 ? nextByte() : static_cast<uint8_t>((frame.data[1] + 256U * frame.data[2] + 6U) / 7U);
    left.protocol.handleFrame(frame);
    ASSERT_LE(left.protocol.openSessions(), 128U);
    if (count % 100 == 0) {
      left.workAfter(1);
    }
  }
  left.workAfter(0);
  left.workAfter(1250);
  left.workAfter(1250);
  EXPECT_EQ(left.protocol.openSessions(), 0U);
  // A good sender is heard as before.
  left.delivered.clear();
  ASSERT_TRUE(right.send(makeMessage(0x80, 0x26, 1785)));
  wire.settle();
  ASSERT_EQ(left.delivered.size(), 1U);
  EXPECT_EQ(left.delivered.front().data, countingBytes(1785));
}

} // namespace
