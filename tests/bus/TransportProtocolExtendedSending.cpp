// Sending more than 1785 bytes to one destination (ISO 11783-3, extended transport protocol): RTS, CTS, DPO, data,
// EoMA, abort. The station has addresses 26 and 27, its peer 80.
#include "TransportProtocolBus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

using namespace IsoBusHost;
using namespace TransportTest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// 1786 bytes are 255 packets of 7 bytes and one of 1.
constexpr unsigned int packets = 256;
const std::string rts1786 = "1CC88026 14 FA 06 00 00 00 E7 00";
const std::string endOfMessage1786 = "1CC82680 17 FA 06 00 00 00 E7 00";

std::string clearToSend(unsigned int count, unsigned int next) {
  CanFrame_s frame = frameOf("1CC82680 15 00 00 00 00 00 E7 00");
  frame.data[1] = static_cast<uint8_t>(count);
  frame.data[2] = static_cast<uint8_t>(next & 0xFFU);
  frame.data[3] = static_cast<uint8_t>(next >> 8U & 0xFFU);
  frame.data[4] = static_cast<uint8_t>(next >> 16U);
  return textOf(frame);
}

// block: returns what a CTS leads to in a message that counts 1, 2, 3, ...: the DPO and the packets behind it.
Lines block(unsigned int count, unsigned int first, std::size_t bytes = 1786) {
  const std::vector<uint8_t> data = countingBytes(bytes);
  CanFrame_s frame = frameOf("1CC88026 16 00 00 00 00 00 E7 00");
  const unsigned int offset = first - 1;
  frame.data[1] = static_cast<uint8_t>(count);
  frame.data[2] = static_cast<uint8_t>(offset & 0xFFU);
  frame.data[3] = static_cast<uint8_t>(offset >> 8U & 0xFFU);
  frame.data[4] = static_cast<uint8_t>(offset >> 16U);
  Lines lines{textOf(frame)};
  for (unsigned int sequence = 1; sequence <= count; ++sequence) {
    frame = frameOf("1CC78026 00 FF FF FF FF FF FF FF");
    frame.data[0] = static_cast<uint8_t>(sequence);
    const std::size_t begin = std::size_t{7} * (offset + sequence - 1);
    const std::size_t length = std::min<std::size_t>(7, bytes - begin);
    std::copy_n(data.begin() + static_cast<std::ptrdiff_t>(begin), length, frame.data.begin() + 1);
    lines.push_back(textOf(frame));
  }
  return lines;
}

std::string abortBecause(const std::string& reason) {
  return "1CC88026 FF " + reason + " FF FF FF 00 E7 00";
}

// A message of 1786 bytes is queued; announce() sends its RTS.
class ExtendedSending : public testing::Test {
protected:
  ExtendedSending() { EXPECT_TRUE(station.send(makeMessage(0x26, 0x80, 1786))); }

  void announce() { ASSERT_THAT(station.workAfter(0), ElementsAre(rts1786)); }

  void expectAborted(const Lines& heard, const std::string& reason) {
    EXPECT_THAT(station.hear(heard), ElementsAre(abortBecause(reason)));
    EXPECT_THAT(station.results, ElementsAre(false));
    EXPECT_EQ(station.protocol.openSessions(), 0U);
  }

  Station_c station{{0x26, 0x27}};
};

TEST_F(ExtendedSending, BeginsWithThe1786thByte) {
  announce();
  ASSERT_TRUE(station.send(makeMessage(0x27, 0x80, 1785)));
  EXPECT_THAT(station.workAfter(0), ElementsAre("1CEC8027 10 F9 06 FF FF 00 E7 00"));
}

TEST_F(ExtendedSending, WritesSizeAndPgnLowByteFirst) {
  ASSERT_TRUE(station.send(makeMessage(0x27, 0x80, 0x01028D, 0x1FEDA)));
  EXPECT_THAT(station.workAfter(0), ElementsAre(rts1786, "1CC88027 14 8D 02 01 00 DA FE 01"));
}

TEST_F(ExtendedSending, SendsAnOffsetBeforeEachBlockAndNumbersItsPacketsFrom1) {
  announce();
  EXPECT_EQ(station.hear({clearToSend(16, 1)}), block(16, 1));
  EXPECT_EQ(station.hear({clearToSend(239, 17)}), block(239, 17));
  EXPECT_EQ(station.hear({clearToSend(1, 256)}), block(1, 256));
  EXPECT_THAT(station.results, IsEmpty());
  EXPECT_THAT(station.hear({endOfMessage1786}), IsEmpty());
  EXPECT_THAT(station.results, ElementsAre(true));
  EXPECT_EQ(station.statistics().messagesSent, 1U);
  EXPECT_EQ(station.statistics().framesIgnored, 0U);
  EXPECT_EQ(station.protocol.openSessions(), 0U);
  EXPECT_EQ(station.protocol.nextDueMs(), never);
}

TEST_F(ExtendedSending, WritesTheLastFramesAsTheyStandInTheStandard) {
  announce();
  station.hear({clearToSend(255, 1)});
  EXPECT_THAT(station.hear({clearToSend(1, 256)}),
              ElementsAre("1CC88026 16 01 FF 00 00 00 E7 00", "1CC78026 01 FA FF FF FF FF FF FF"));
}

TEST_F(ExtendedSending, WritesOffsetsOf24Bits) {
  const std::size_t bytes = std::size_t{7} * 0x010203;
  ASSERT_TRUE(station.send(makeMessage(0x27, 0x80, bytes)));
  station.workAfter(0);
  unsigned int next = 1;
  while (next < 0x010203) {
    const unsigned int count = std::min(255U, 0x010203 - next);
    CanFrame_s grant = frameOf(clearToSend(count, next));
    grant.identifier = 0x1CC82780;
    ASSERT_EQ(station.hear({textOf(grant)}).size(), count + 1U);
    next += count;
  }
  EXPECT_EQ(station.hear({"1CC82780 15 01 03 02 01 00 E7 00"}).front(), "1CC88027 16 01 02 02 01 00 E7 00");
}

TEST_F(ExtendedSending, SendsNoMoreThanIsLeftWhenMoreIsAskedFor) {
  announce();
  station.hear({clearToSend(250, 1)});
  EXPECT_EQ(station.hear({clearToSend(255, 251)}), block(6, 251));
}

TEST_F(ExtendedSending, IsEndedAfter1250MsWithoutAnAnswerToItsRequest) {
  announce();
  EXPECT_THAT(station.workAfter(1249), IsEmpty());
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("03")));
  EXPECT_THAT(station.results, ElementsAre(false));
  EXPECT_EQ(station.statistics().sendsFailed, 1U);
}

TEST_F(ExtendedSending, IsEndedAfter1250MsWithoutAClearToSendForTheRest) {
  announce();
  station.hear({clearToSend(16, 1)});
  EXPECT_THAT(station.workAfter(1249), IsEmpty());
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("03")));
}

TEST_F(ExtendedSending, IsEndedAfter1250MsWithoutAnAcknowledgement) {
  announce();
  station.hear({clearToSend(255, 1)});
  station.hear({clearToSend(1, 256)});
  EXPECT_THAT(station.workAfter(1249), IsEmpty());
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("03")));
}

TEST_F(ExtendedSending, IsHeldFor1050MsByAClearToSendForNothingWithoutAnOffset) {
  announce();
  EXPECT_THAT(station.hear({clearToSend(0, 0xFFFFFF)}), IsEmpty());
  EXPECT_THAT(station.workAfter(1049), IsEmpty());
  EXPECT_THAT(station.hear({clearToSend(0, 1)}), IsEmpty());
  EXPECT_THAT(station.workAfter(1049), IsEmpty());
  EXPECT_EQ(station.hear({clearToSend(2, 1)}), block(2, 1));
  station.hear({clearToSend(0, 3)});
  EXPECT_THAT(station.workAfter(1049), IsEmpty());
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("03")));
}

TEST_F(ExtendedSending, RepeatsABlockTwiceButNotAThirdTime) {
  announce();
  station.hear({clearToSend(16, 1)});
  EXPECT_EQ(station.hear({clearToSend(16, 1)}), block(16, 1));
  EXPECT_EQ(station.hear({clearToSend(2, 15)}), block(2, 15));
  expectAborted({clearToSend(1, 16)}, "05");
}

TEST_F(ExtendedSending, RepeatsOnePacketOfABlockAndGoesOn) {
  announce();
  station.hear({clearToSend(255, 1)});
  EXPECT_EQ(station.hear({clearToSend(1, 200)}), block(1, 200));
  EXPECT_EQ(station.hear({clearToSend(1, 256)}), block(1, 256));
  station.hear({endOfMessage1786});
  EXPECT_THAT(station.results, ElementsAre(true));
}

TEST_F(ExtendedSending, IsEndedByAClearToSendWhileItsPacketsGoOut) {
  announce();
  station.busTakes = 2; // the DPO and one packet
  EXPECT_EQ(station.hear({clearToSend(16, 1)}).size(), 2U);
  station.busTakes = SIZE_MAX;
  expectAborted({clearToSend(16, 1)}, "04");
}

TEST_F(ExtendedSending, TakesTheLatestClearToSendAsLongAsNoPacketWentOut) {
  announce();
  station.busTakes = 1; // the DPO
  EXPECT_THAT(station.hear({clearToSend(16, 1)}), ElementsAre(block(16, 1).front()));
  station.busTakes = SIZE_MAX;
  EXPECT_EQ(station.hear({clearToSend(8, 1)}), block(8, 1));
}

TEST_F(ExtendedSending, RepeatsWhatTheBusDoesNotTakeInTheSameOrder) {
  announce();
  station.busTakes = 0;
  EXPECT_THAT(station.hear({clearToSend(3, 1)}), IsEmpty());
  Lines sent;
  for (int round = 0; round < 4; ++round) {
    station.busTakes = 1;
    const Lines lines = station.workAfter(1);
    sent.insert(sent.end(), lines.begin(), lines.end());
  }
  EXPECT_EQ(sent, block(3, 1));
}

TEST_F(ExtendedSending, IsEndedByAClearToSendWithAnotherPgn) {
  announce();
  expectAborted({"1CC82680 15 10 01 00 00 00 E6 00"}, "0E");
}

TEST_F(ExtendedSending, IsEndedByAClearToSendBehindTheMessage) {
  announce();
  station.hear({clearToSend(255, 1)});
  station.hear({clearToSend(1, 256)});
  expectAborted({clearToSend(1, packets + 1)}, "0F");
}

TEST_F(ExtendedSending, IsEndedByTheFarthestClearToSend) {
  announce();
  expectAborted({clearToSend(255, 0xFFFFFF)}, "0F");
}

TEST_F(ExtendedSending, IsEndedByARequestForPacketZero) {
  announce();
  expectAborted({clearToSend(1, 0)}, "FA");
}

TEST_F(ExtendedSending, IsEndedByARequestThatSkipsAPacket) {
  announce();
  station.hear({clearToSend(16, 1)});
  expectAborted({clearToSend(1, 18)}, "FA");
}

TEST_F(ExtendedSending, IsEndedByAnAbortWithoutAWord) {
  announce();
  EXPECT_THAT(station.hear({"1CC82680 FF 02 FF FF FF 00 E7 00"}), IsEmpty());
  EXPECT_THAT(station.results, ElementsAre(false));
  EXPECT_THAT(station.workAfter(5000), IsEmpty());
}

struct Ignored_s {
  const char* what;
  const char* frame;
};

class ExtendedSendingIgnores : public ExtendedSending, public testing::WithParamInterface<Ignored_s> {};

TEST_P(ExtendedSendingIgnores, AndCounts) {
  announce();
  station.hear({clearToSend(255, 1)});
  station.hear({clearToSend(1, 256)});
  EXPECT_THAT(station.hear({GetParam().frame}), IsEmpty()) << GetParam().what;
  EXPECT_THAT(station.results, IsEmpty()) << GetParam().what;
  EXPECT_EQ(station.statistics().framesIgnored, 1U) << GetParam().what;
  station.hear({endOfMessage1786});
  EXPECT_THAT(station.results, ElementsAre(true)) << GetParam().what;
}

INSTANTIATE_TEST_SUITE_P(
    Frames, ExtendedSendingIgnores,
    testing::Values(Ignored_s{"CTS of the short protocol", "1CEC2680 11 01 01 FF FF 00 E7 00"},
                    Ignored_s{"its control byte with the long PGN", "1CC82680 11 01 01 FF FF 00 E7 00"},
                    Ignored_s{"the long control byte with the short PGN", "1CEC2680 15 01 01 00 00 00 E7 00"},
                    Ignored_s{"abort of the short protocol", "1CEC2680 FF 03 FF FF FF 00 E7 00"},
                    Ignored_s{"abort of another PGN", "1CC82680 FF 03 FF FF FF 00 E6 00"},
                    Ignored_s{"abort from another", "1CC82681 FF 03 FF FF FF 00 E7 00"},
                    Ignored_s{"abort to another own address", "1CC82780 FF 03 FF FF FF 00 E7 00"},
                    Ignored_s{"EoMA of the short protocol", "1CEC2680 13 FA 06 FF FF 00 E7 00"},
                    Ignored_s{"EoMA of another size", "1CC82680 17 FB 06 00 00 00 E7 00"},
                    Ignored_s{"EoMA with high bits", "1CC82680 17 FA 06 00 01 00 E7 00"},
                    Ignored_s{"EoMA of another PGN", "1CC82680 17 FA 06 00 00 00 E6 00"},
                    Ignored_s{"EoMA from another", "1CC82681 17 FA 06 00 00 00 E7 00"},
                    Ignored_s{"CTS from another", "1CC82681 15 01 01 00 00 00 E7 00"},
                    Ignored_s{"CTS of 7 bytes", "1CC82680 15 01 01 00 00 00 E7"},
                    Ignored_s{"BAM", "1CC8FF80 20 09 00 02 FF 00 E7 00"},
                    Ignored_s{"unknown control byte", "1CC82680 18 00 00 00 00 00 E7 00"}));

TEST_F(ExtendedSending, IgnoresAnAcknowledgementBeforeTheLastPacket) {
  announce();
  station.hear({clearToSend(255, 1)});
  station.hear({endOfMessage1786});
  EXPECT_THAT(station.results, IsEmpty());
  EXPECT_EQ(station.statistics().framesIgnored, 1U);
}

TEST_F(ExtendedSending, IgnoresAnAnswerToARequestThatHasNotGoneOut) {
  station.busTakes = 0;
  EXPECT_THAT(station.hear({clearToSend(16, 1)}), IsEmpty());
  EXPECT_EQ(station.statistics().framesIgnored, 1U);
}

TEST_F(ExtendedSending, TakesItsTurnAmongTheMessagesOfThePair) {
  ASSERT_TRUE(station.send(makeMessage(0x26, 0x80, 17)));
  ASSERT_TRUE(station.send(makeMessage(0x26, 0x80, 2000)));
  announce();
  EXPECT_THAT(station.hear({"1CC82680 FF 02 FF FF FF 00 E7 00"}), ElementsAre("1CEC8026 10 11 00 03 FF 00 E7 00"));
  EXPECT_THAT(station.hear({"1CEC2680 FF 02 FF FF FF 00 E7 00"}), ElementsAre("1CC88026 14 D0 07 00 00 00 E7 00"));
  EXPECT_EQ(station.hear({clearToSend(4, 1)}), block(4, 1, 2000)) << "counted anew";
}

TEST_F(ExtendedSending, RefusesWhatNoProtocolCarries) {
  EXPECT_FALSE(station.send(makeMessage(0x26, 0xFF, 1786)));
  IsoMessage_s message = makeMessage(0x26, 0x80, 0);
  message.data.resize(std::size_t{117440505} + 1);
  EXPECT_FALSE(station.send(std::move(message)));
  announce();
}

TEST_F(ExtendedSending, TakesTheLongestMessage) {
  IsoMessage_s message = makeMessage(0x27, 0x80, 0);
  message.data.resize(117440505);
  EXPECT_TRUE(station.send(std::move(message)));
  EXPECT_THAT(station.workAfter(0), ElementsAre(rts1786, "1CC88027 14 F9 FF FF 06 00 E7 00"));
}

TEST_F(ExtendedSending, IsDroppedSilentlyWithItsAddressAndWhenSwitchedOff) {
  announce();
  ASSERT_TRUE(station.send(makeMessage(0x27, 0x80, 1786)));
  station.protocol.dropAddress(0x26);
  EXPECT_THAT(station.results, ElementsAre(false));
  station.protocol.setSending(false);
  EXPECT_THAT(station.results, ElementsAre(false, false));
  EXPECT_THAT(station.workAfter(5000), IsEmpty());
  EXPECT_EQ(station.protocol.openSessions(), 0U);
}

} // namespace
