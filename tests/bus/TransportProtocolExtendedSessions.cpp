// Sessions of the extended transport protocol between stations on a wire, and how much memory they take.
#include "TransportProtocolBus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

using namespace IsoBusHost;
using namespace TransportTest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ExtendedSessions : public testing::Test {
protected:
  void expectCarried(std::size_t bytes) {
    ASSERT_TRUE(left.send(makeMessage(0x26, 0x80, bytes)));
    wire.settle();
    ASSERT_THAT(left.results, ElementsAre(true)) << bytes;
    ASSERT_EQ(right.delivered.size(), 1U) << bytes;
    EXPECT_EQ(right.delivered.front().data, countingBytes(bytes)) << bytes;
    EXPECT_EQ(left.statistics().framesIgnored + right.statistics().framesIgnored, 0U) << bytes;
    left.results.clear();
    right.delivered.clear();
  }

  bool wireHas(const std::string& frame) const {
    return std::find(wire.log.begin(), wire.log.end(), frame) != wire.log.end();
  }

  Wire_c wire;
  Station_c& left = wire.add({0x26});
  Station_c& right = wire.add({0x80});
};

TEST_F(ExtendedSessions, BeginWhereTheShortProtocolEnds) {
  expectCarried(1785);
  EXPECT_EQ(wire.log.front(), "1CEC8026 10 F9 06 FF FF 00 E7 00");
  wire.log.clear();
  expectCarried(1786);
  EXPECT_EQ(wire.log.front(), "1CC88026 14 FA 06 00 00 00 E7 00");
  EXPECT_EQ(wire.log.back(), "1CC82680 17 FA 06 00 00 00 E7 00");
}

TEST_F(ExtendedSessions, CarryEveryLengthOfALastPacketAndOfALastBlock) {
  for (std::size_t bytes = 1786; bytes < 1786 + 2 * 7 * 16; ++bytes) {
    expectCarried(bytes);
  }
}

TEST_F(ExtendedSessions, CarryHundredsOfKilobytes) {
  expectCarried(0x02488D);
  EXPECT_EQ(wire.log.front(), "1CC88026 14 8D 48 02 00 00 E7 00");
  EXPECT_TRUE(wireHas("1CC82680 15 10 11 00 00 00 E7 00"));
  EXPECT_TRUE(wireHas("1CC88026 16 10 10 00 00 00 E7 00"));
  EXPECT_EQ(wire.log.back(), "1CC82680 17 8D 48 02 00 00 E7 00");
  expectCarried(400000);
}

TEST_F(ExtendedSessions, RunBothWaysAndBesideShortOnes) {
  Station_c& third = wire.add({0x81});
  ASSERT_TRUE(left.send(makeMessage(0x26, 0x80, 5000)));
  ASSERT_TRUE(right.send(makeMessage(0x80, 0x26, 6000)));
  ASSERT_TRUE(left.send(makeMessage(0x26, 0x81, 7000)));
  ASSERT_TRUE(third.send(makeMessage(0x81, 0x26, 500)));
  ASSERT_TRUE(third.send(makeMessage(0x81, 0xFF, 40, 0xFEDA)));
  wire.settle();
  EXPECT_THAT(left.results, ElementsAre(true, true));
  EXPECT_THAT(right.results, ElementsAre(true));
  EXPECT_THAT(third.results, ElementsAre(true, true));
  EXPECT_EQ(left.delivered.size(), 3U);
  EXPECT_EQ(right.delivered.size(), 2U);
  EXPECT_EQ(third.delivered.size(), 1U);
  EXPECT_EQ(third.delivered.front().data, countingBytes(7000));
  EXPECT_EQ(left.statistics().framesIgnored + right.statistics().framesIgnored + third.statistics().framesIgnored, 0U);
}

TEST_F(ExtendedSessions, ArriveInTheOrderOfTheirQueueWhateverTheirLength) {
  for (std::size_t bytes : {2000U, 20U, 3000U, 1785U, 1786U}) {
    ASSERT_TRUE(left.send(makeMessage(0x26, 0x80, bytes)));
  }
  wire.settle();
  std::vector<std::size_t> sizes;
  for (const IsoMessage_s& message : right.delivered) {
    sizes.push_back(message.data.size());
  }
  EXPECT_THAT(sizes, ElementsAre(2000U, 20U, 3000U, 1785U, 1786U));
}

TEST_F(ExtendedSessions, SurviveTheLossOfPackets) {
  // Every 13th data frame, but not the last one of a block, whose loss ends a session.
  unsigned int count = 0;
  wire.loses = [&count](const CanFrame_s& frame) {
    const bool isData = decodeIdentifier(frame.identifier).pgn == Pgn::extendedTransportData;
    return isData && ++count % 13 == 0 && frame.data[0] < 15 && count < 800;
  };
  expectCarried(5000);
  EXPECT_GT(count, 720U);
}

TEST_F(ExtendedSessions, EndOnBothSidesWhenAnOffsetIsLost) {
  wire.loses = [](const CanFrame_s& frame) { return frame.data[0] == 0x16 && frame.data[2] == 0x20; };
  ASSERT_TRUE(left.send(makeMessage(0x26, 0x80, 2000)));
  wire.settle();
  EXPECT_THAT(left.results, ElementsAre(false));
  EXPECT_THAT(right.delivered, IsEmpty());
  EXPECT_EQ(left.protocol.openSessions() + right.protocol.openSessions(), 0U);
  EXPECT_EQ(wire.log.back(), "1CC82680 FF 06 FF FF FF 00 E7 00");
}

TEST_F(ExtendedSessions, EndOnBothSidesWhenTheReceiverRefuses) {
  ReceiveLimits_s limits;
  limits.longest = 4999;
  right.protocol.setReceiveLimits(limits);
  ASSERT_TRUE(left.send(makeMessage(0x26, 0x80, 5000)));
  wire.settle();
  EXPECT_THAT(left.results, ElementsAre(false));
  EXPECT_EQ(wire.log, (Lines{"1CC88026 14 88 13 00 00 00 E7 00", "1CC82680 FF 02 FF FF FF 00 E7 00"}));
}

TEST_F(ExtendedSessions, PassThroughABusThatTakesAFrameNowAndThen) {
  ASSERT_TRUE(left.send(makeMessage(0x26, 0x80, 2000)));
  ASSERT_TRUE(right.send(makeMessage(0x80, 0x26, 2000)));
  for (int round = 0; round < 2000; ++round) {
    left.busTakes = round % 3 == 0 ? 1 : 0;
    right.busTakes = round % 4 == 0 ? 2 : 0;
    wire.settle(1);
    HostClock::advanceMs(1);
  }
  EXPECT_THAT(left.results, ElementsAre(true));
  EXPECT_THAT(right.results, ElementsAre(true));
  EXPECT_EQ(left.statistics().framesIgnored + right.statistics().framesIgnored, 0U);
}

TEST_F(ExtendedSessions, AreBoundedUnderAFlood) {
  uint32_t state = 1;
  const auto nextByte = [&state] {
    state = state * 1664525U + 1013904223U;
    return static_cast<uint8_t>(state >> 24U);
  };
  const std::vector<uint8_t> controls{0x14, 0x15, 0x16, 0x16, 0x16, 0x17, 0xFF, 0x00};
  for (int count = 0; count < 200000; ++count) {
    CanFrame_s frame =
        frameOf(count % 4 == 0 ? "1CC82680 00 00 00 00 00 00 E7 00" : "1CC72680 00 00 00 00 00 00 00 00");
    frame.identifier += nextByte() % 64;
    frame.data[0] = count % 4 == 0 ? controls.at(nextByte() % controls.size()) : static_cast<uint8_t>(nextByte() % 18);
    frame.data[1] = static_cast<uint8_t>(nextByte() % 17);
    frame.data[2] = frame.data[0] == 0x16 ? uint8_t{0} : nextByte();
    frame.data[3] = frame.data[0] == 0x14 ? nextByte() : uint8_t{0};
    left.protocol.handleFrame(frame);
    ASSERT_LE(left.protocol.openSessions(), 16U);
    if (count % 10 == 0) {
      left.workAfter(1);
    }
  }
  left.workAfter(0);
  left.workAfter(1250);
  left.workAfter(1250);
  EXPECT_EQ(left.protocol.openSessions(), 0U);
  left.delivered.clear();
  ASSERT_TRUE(right.send(makeMessage(0x80, 0x26, 3000)));
  wire.settle();
  ASSERT_EQ(left.delivered.size(), 1U);
  EXPECT_EQ(left.delivered.front().data, countingBytes(3000));
}

} // namespace
