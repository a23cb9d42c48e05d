// Receiving more than 1785 bytes from one sender (ISO 11783-3, extended transport protocol): answers, blocks and their
// offsets, re-requests, time-outs, refusals, limits. The station has addresses 26 and 27, its peers 80 and 81.
#include "TransportProtocolBus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

using namespace IsoBusHost;
using namespace TransportTest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::size_t mega = std::size_t{1} << 20U;

std::string withNumber(const std::string& text, std::size_t at, unsigned int bytes, std::size_t number) {
  CanFrame_s frame = frameOf(text);
  for (unsigned int index = 0; index < bytes; ++index) {
    frame.data.at(at + index) = static_cast<uint8_t>((number >> (8U * index)) & 0xFFU);
  }
  return textOf(frame);
}

std::string requestToSend(std::size_t size) {
  return withNumber("1CC82680 14 00 00 00 00 00 E7 00", 1, 4, size);
}

std::string clearToSend(unsigned int count, unsigned int next) {
  return withNumber(withNumber("1CC88026 15 00 00 00 00 00 E7 00", 1, 1, count), 2, 3, next);
}

std::string dataOffset(unsigned int count, unsigned int offset) {
  return withNumber(withNumber("1CC82680 16 00 00 00 00 00 E7 00", 1, 1, count), 2, 3, offset);
}

// packet: returns the frame for a packet of a message that counts 1, 2, 3, ..., behind a DPO of the offset.
std::string packet(unsigned int number, unsigned int offset) {
  CanFrame_s frame = frameOf(withNumber("1CC72680 00 00 00 00 00 00 00 00", 0, 1, number - offset));
  for (unsigned int index = 1; index <= 7; ++index) {
    frame.data.at(index) = static_cast<uint8_t>((7 * (number - 1) + index) & 0xFFU);
  }
  return textOf(frame);
}

Lines block(unsigned int count, unsigned int first) {
  Lines lines{dataOffset(count, first - 1)};
  for (unsigned int number = first; number < first + count; ++number) {
    lines.push_back(packet(number, first - 1));
  }
  return lines;
}

std::string abortBecause(const std::string& reason) {
  return "1CC88026 FF " + reason + " FF FF FF 00 E7 00";
}

class ExtendedReceiving : public testing::Test {
protected:
  // receiveUntil: hears the request and every block before the packet. 1786 bytes are 256 packets: 16 blocks of 16.
  void receiveUntil(unsigned int end, std::size_t size = 1786) {
    ASSERT_THAT(station.hear({requestToSend(size)}), ElementsAre(clearToSend(16, 1)));
    for (unsigned int first = 1; first < end; first += 16) {
      ASSERT_THAT(station.hear(block(16, first)), ElementsAre(clearToSend(16, first + 16)));
    }
  }

  void finish() {
    EXPECT_THAT(station.hear(block(16, 241)), ElementsAre("1CC88026 17 FA 06 00 00 00 E7 00"));
    ASSERT_EQ(station.delivered.size(), 1U);
    EXPECT_EQ(station.delivered.front().data, countingBytes(1786));
    EXPECT_EQ(station.protocol.openSessions(), 0U);
  }

  void expectAborted(const Lines& heard, const std::string& reason) {
    EXPECT_THAT(station.hear(heard), ElementsAre(abortBecause(reason)));
    EXPECT_EQ(station.protocol.openSessions(), 0U);
    EXPECT_EQ(station.statistics().receivesFailed, 1U);
    EXPECT_THAT(station.delivered, IsEmpty());
  }

  Station_c station{{0x26, 0x27}};
};

TEST_F(ExtendedReceiving, AsksFor16PacketsAtATimeAndAcknowledgesTheMessage) {
  receiveUntil(241);
  finish();
  const IsoMessage_s& message = station.delivered.front();
  EXPECT_EQ(message.pgn, 0xE700U);
  EXPECT_EQ(message.priority, 7U);
  EXPECT_EQ(message.source, 0x80U);
  EXPECT_EQ(message.destination, 0x26U);
  EXPECT_EQ(station.statistics().messagesReceived, 1U);
  EXPECT_EQ(station.statistics().framesIgnored, 0U);
  EXPECT_EQ(station.protocol.nextDueMs(), never);
}

TEST_F(ExtendedReceiving, AsksForNoMoreThanIsLeft) {
  receiveUntil(257, 7 * 273);
  EXPECT_THAT(station.hear(block(16, 257)), ElementsAre(clearToSend(1, 273)));
}

TEST_F(ExtendedReceiving, AsksForPacketsBehindThe65535th) {
  receiveUntil(0x10001, 7 * 0x10010);
  EXPECT_THAT(station.hear(block(16, 0x10001)), ElementsAre("1CC88026 17 70 00 07 00 00 E7 00"));
  EXPECT_EQ(station.delivered.front().data, countingBytes(7 * 0x10010));
}

TEST_F(ExtendedReceiving, DeliversAPdu1PgnWithTheLowByteZeroAndAnswersWithTheSendersOwn) {
  EXPECT_THAT(station.hear({"1CC82680 14 FA 06 00 00 26 EF 00"}), ElementsAre("1CC88026 15 10 01 00 00 26 EF 00"));
}

TEST_F(ExtendedReceiving, IsEnded1250MsAfterItsClearToSendWithoutAPacket) {
  station.hear({requestToSend(1786)});
  EXPECT_THAT(station.workAfter(1249), IsEmpty());
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("03")));
  EXPECT_EQ(station.statistics().receivesFailed, 1U);
}

TEST_F(ExtendedReceiving, IsNotProlongedByAnOffset) {
  receiveUntil(17);
  EXPECT_THAT(station.workAfter(1249), IsEmpty());
  EXPECT_THAT(station.hear({dataOffset(16, 16)}), IsEmpty());
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("03")));
}

TEST_F(ExtendedReceiving, IsEnded750MsAfterAPacketWithoutTheNext) {
  station.hear({requestToSend(1786)});
  station.hear({dataOffset(16, 0), packet(1, 0)});
  EXPECT_THAT(station.workAfter(749), IsEmpty());
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("03")));
}

TEST_F(ExtendedReceiving, AsksForMissingPacketsWhenTheBlockIsOver) {
  receiveUntil(17);
  Lines frames = block(16, 17);
  frames.erase(frames.begin() + 15);
  frames.erase(frames.begin() + 3, frames.begin() + 5);
  EXPECT_THAT(station.hear(frames), ElementsAre(clearToSend(2, 19)));
  EXPECT_THAT(station.hear(block(2, 19)), ElementsAre(clearToSend(1, 31)));
  EXPECT_THAT(station.hear(block(1, 31)), ElementsAre(clearToSend(16, 33)));
  for (unsigned int first = 33; first < 241; first += 16) {
    station.hear(block(16, first));
  }
  finish();
}

TEST_F(ExtendedReceiving, AsksAfter750MsWhenThePacketsBehindAGapStop) {
  station.hear({requestToSend(1786)});
  station.hear({dataOffset(16, 0), packet(1, 0), packet(3, 0)});
  EXPECT_THAT(station.workAfter(749), IsEmpty());
  EXPECT_THAT(station.workAfter(1), ElementsAre(clearToSend(1, 2)));
  EXPECT_THAT(station.workAfter(1249), IsEmpty());
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("03")));
}

TEST_F(ExtendedReceiving, GivesUpWithTheRepeatLimitWhenAPacketIsMissingForTheThirdTime) {
  station.hear({requestToSend(1786)});
  Lines frames = block(16, 1);
  frames.erase(frames.begin() + 1, frames.begin() + 4); // packets 1 to 3
  EXPECT_THAT(station.hear(frames), ElementsAre(clearToSend(3, 1)));
  EXPECT_THAT(station.hear({dataOffset(3, 0), packet(3, 0)}), ElementsAre(clearToSend(2, 1)));
  expectAborted({dataOffset(2, 0), packet(2, 0)}, "05");
}

TEST_F(ExtendedReceiving, GoesOnBehindABlockOfFewerPacketsThanAskedFor) {
  station.hear({requestToSend(1786)});
  for (unsigned int first = 1; first < 256; ++first) {
    const unsigned int left = std::min(16U, 256 - first);
    ASSERT_THAT(station.hear(block(1, first)), ElementsAre(clearToSend(left, first + 1)));
  }
  station.hear(block(1, 256));
  ASSERT_EQ(station.delivered.size(), 1U);
  EXPECT_EQ(station.delivered.front().data, countingBytes(1786));
}

TEST_F(ExtendedReceiving, TakesTheLatestOffsetBeforeTheFirstPacket) {
  station.hear({requestToSend(1786)});
  EXPECT_THAT(station.hear({dataOffset(16, 0), dataOffset(16, 0), dataOffset(2, 0)}), IsEmpty());
  EXPECT_THAT(station.hear({packet(1, 0), packet(2, 0)}), ElementsAre(clearToSend(16, 3)));
}

TEST_F(ExtendedReceiving, IgnoresPacketsThatAreThereAlreadyAndIsNotProlongedByThem) {
  station.hear({requestToSend(1786)});
  station.hear({dataOffset(16, 0), packet(1, 0)});
  EXPECT_THAT(station.workAfter(700), IsEmpty());
  EXPECT_THAT(station.hear({packet(1, 0)}), IsEmpty());
  EXPECT_EQ(station.statistics().framesIgnored, 1U);
  EXPECT_THAT(station.workAfter(50), ElementsAre(abortBecause("03")));
}

TEST_F(ExtendedReceiving, KeepsTheFirstOfTwoPacketsBehindAGap) {
  receiveUntil(241);
  station.hear({dataOffset(16, 240), packet(243, 240), "1CC72680 03 FF FF FF FF FF FF FF"});
  EXPECT_EQ(station.statistics().framesIgnored, 1U);
  Lines rest = block(16, 241);
  rest.erase(rest.begin());
  station.hear(rest);
  ASSERT_EQ(station.delivered.size(), 1U);
  EXPECT_EQ(station.delivered.front().data, countingBytes(1786));
}

TEST_F(ExtendedReceiving, IgnoresTheLastPacketOfABlockWhenItComesTwice) {
  receiveUntil(17);
  EXPECT_THAT(station.hear({packet(16, 0)}), IsEmpty());
  EXPECT_EQ(station.statistics().framesIgnored, 1U);
  EXPECT_THAT(station.hear(block(16, 17)), ElementsAre(clearToSend(16, 33)));
}

// --- Frames of a sender that does not keep to the protocol

TEST_F(ExtendedReceiving, IsEndedByDataBeforeTheFirstOffset) {
  station.hear({requestToSend(1786)});
  expectAborted({packet(1, 0)}, "06");
}

TEST_F(ExtendedReceiving, IsEndedByDataBeforeALaterOffset) {
  receiveUntil(17);
  expectAborted({packet(17, 16)}, "06");
}

TEST_F(ExtendedReceiving, IsEndedByDataBeforeItsClearToSendIsOut) {
  station.busTakes = 0;
  station.hear({requestToSend(1786)});
  station.hear({packet(1, 0)});
  EXPECT_EQ(station.protocol.openSessions(), 0U);
  station.busTakes = SIZE_MAX;
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("06")));
}

TEST_F(ExtendedReceiving, IsEndedByTheSequenceNumberZero) {
  station.hear({requestToSend(1786)});
  expectAborted({dataOffset(16, 0), "1CC72680 00 01 02 03 04 05 06 07"}, "07");
}

TEST_F(ExtendedReceiving, IsEndedByTheSequenceNumberZeroBeforeTheFirstOffset) {
  station.hear({requestToSend(1786)});
  expectAborted({"1CC72680 00 01 02 03 04 05 06 07"}, "06");
}

TEST_F(ExtendedReceiving, IsEndedByASequenceNumberBehindTheBlock) {
  station.hear({requestToSend(1786)});
  expectAborted({dataOffset(2, 0), packet(3, 0)}, "07");
}

TEST_F(ExtendedReceiving, IsEndedByAnOffsetBeforeItsClearToSendIsOut) {
  station.busTakes = 0;
  station.hear({requestToSend(1786)});
  station.hear({dataOffset(16, 0)});
  station.busTakes = SIZE_MAX;
  EXPECT_THAT(station.workAfter(1), ElementsAre(abortBecause("09")));
}

TEST_F(ExtendedReceiving, IsEndedByAnOffsetInTheMiddleOfABlock) {
  station.hear({requestToSend(1786)});
  expectAborted({dataOffset(16, 0), packet(1, 0), dataOffset(15, 1)}, "09");
}

TEST_F(ExtendedReceiving, IsEndedByAnOffsetWithAnotherPgn) {
  station.hear({requestToSend(1786)});
  expectAborted({"1CC82680 16 10 00 00 00 00 E6 00"}, "0A");
}

TEST_F(ExtendedReceiving, IsEndedByAnOffsetForMoreThanItAskedFor) {
  station.hear({requestToSend(1786)});
  expectAborted({dataOffset(17, 0)}, "0B");
}

TEST_F(ExtendedReceiving, IsEndedByAnOffsetForMoreThanARepeatAskedFor) {
  station.hear({requestToSend(1786)});
  Lines frames = block(16, 1);
  frames.erase(frames.begin() + 4);
  EXPECT_THAT(station.hear(frames), ElementsAre(clearToSend(1, 4)));
  expectAborted({dataOffset(2, 3)}, "0B");
}

TEST_F(ExtendedReceiving, IsEndedByAnOffsetThatSkips) {
  receiveUntil(17);
  expectAborted({dataOffset(15, 17)}, "0C");
}

TEST_F(ExtendedReceiving, IsEndedByAnOffsetThatGoesBack) {
  receiveUntil(17);
  expectAborted({dataOffset(16, 0)}, "0C");
}

TEST_F(ExtendedReceiving, IsEndedByTheFarthestOffset) {
  station.hear({requestToSend(1786)});
  expectAborted({dataOffset(16, 0xFFFFFF)}, "0C");
}

TEST_F(ExtendedReceiving, IsEndedByAnOffsetForNothing) {
  station.hear({requestToSend(1786)});
  expectAborted({dataOffset(0, 0)}, "FA");
}

struct Refused_s {
  const char* what;
  std::size_t size;
  const char* reason;
};

class ExtendedReceivingRefuses : public ExtendedReceiving, public testing::WithParamInterface<Refused_s> {};

TEST_P(ExtendedReceivingRefuses, WithItsReason) {
  expectAborted({requestToSend(GetParam().size)}, GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(
    Requests, ExtendedReceivingRefuses,
    testing::Values(Refused_s{"nothing", 0, "FA"}, Refused_s{"fits the short protocol", 1785, "FA"},
                    Refused_s{"over the default limit", 16 * mega + 1, "02"}, Refused_s{"longest", 117440505, "02"},
                    Refused_s{"one byte too long", 117440506, "FA"}, Refused_s{"all bits", 0xFFFFFFFF, "FA"}));

TEST_F(ExtendedReceiving, TakesWhatTheDefaultLimitAllows) {
  EXPECT_THAT(station.hear({requestToSend(16 * mega)}), ElementsAre(clearToSend(16, 1)));
}

TEST_F(ExtendedReceiving, RefusesWhatItsLimitForOneMessageDoesNotAllow) {
  ReceiveLimits_s limits;
  limits.longest = 2000;
  station.protocol.setReceiveLimits(limits);
  EXPECT_THAT(station.hear({requestToSend(2001)}), ElementsAre(abortBecause("02")));
  EXPECT_THAT(station.hear({requestToSend(2000)}), ElementsAre(clearToSend(16, 1)));
}

TEST_F(ExtendedReceiving, RefusesWhatItsLimitForAllMessagesDoesNotAllow) {
  ReceiveLimits_s limits;
  limits.together = 4000;
  station.protocol.setReceiveLimits(limits);
  EXPECT_THAT(station.hear({requestToSend(2000)}), ElementsAre(clearToSend(16, 1)));
  EXPECT_THAT(station.hear({"1CC82780 14 D1 07 00 00 00 E7 00"}), ElementsAre("1CC88027 FF 02 FF FF FF 00 E7 00"));
  EXPECT_THAT(station.hear({"1CC82780 14 D0 07 00 00 00 E7 00"}), ElementsAre("1CC88027 15 10 01 00 00 00 E7 00"));
  EXPECT_THAT(station.hear({"1CEC2681 10 F9 06 FF FF 00 E7 00"}), ElementsAre("1CEC8126 11 10 01 FF FF 00 E7 00"))
      << "the short protocol has a limit of its own";
  station.hear({"1CC82680 FF FA FF FF FF 00 E7 00"});
  EXPECT_THAT(station.hear({requestToSend(2000)}), ElementsAre(clearToSend(16, 1))) << "there is room again";
}

TEST_F(ExtendedReceiving, Takes64MegabytesTogetherByDefault) {
  for (uint32_t source = 0x80; source < 0x84; ++source) {
    CanFrame_s request = frameOf("1CC82600 14 00 00 00 01 00 E7 00");
    request.identifier += source;
    station.protocol.handleFrame(request);
  }
  EXPECT_EQ(station.protocol.openSessions(), 4U);
  station.workAfter(0);
  EXPECT_THAT(station.hear({"1CC82684 14 FA 06 00 00 00 E7 00"}), ElementsAre("1CC88426 FF 02 FF FF FF 00 E7 00"));
}

TEST_F(ExtendedReceiving, Takes16SessionsAndRefusesTheNext) {
  for (uint32_t source = 0x80; source < 0x90; ++source) {
    CanFrame_s request = frameOf("1CC82600 14 FA 06 00 00 00 E7 00");
    request.identifier += source;
    station.protocol.handleFrame(request);
  }
  EXPECT_EQ(station.workAfter(0).size(), 16U);
  EXPECT_THAT(station.hear({"1CC82690 14 FA 06 00 00 00 E7 00"}), ElementsAre("1CC89026 FF 02 FF FF FF 00 E7 00"));
  EXPECT_THAT(station.hear({"1CEC2690 10 F9 06 FF FF 00 E7 00"}), ElementsAre("1CEC9026 11 10 01 FF FF 00 E7 00"));
}

TEST_F(ExtendedReceiving, StartsAnewWithANewRequestForTheSamePgn) {
  receiveUntil(33);
  receiveUntil(241);
  EXPECT_EQ(station.statistics().receivesFailed, 1U);
  finish();
}

TEST_F(ExtendedReceiving, RefusesASecondPgnOfTheSamePairAndGoesOnWithTheFirst) {
  receiveUntil(241);
  EXPECT_THAT(station.hear({"1CC82680 14 FA 06 00 00 00 E6 00"}), ElementsAre("1CC88026 FF 01 FF FF FF 00 E6 00"));
  finish();
}

TEST_F(ExtendedReceiving, IsEndedByAnAbortOfItsSenderAndItsPgnOnly) {
  receiveUntil(17);
  EXPECT_THAT(station.hear({"1CC82680 FF 03 FF FF FF 00 E6 00", "1CEC2680 FF 03 FF FF FF 00 E7 00"}), IsEmpty());
  EXPECT_EQ(station.protocol.openSessions(), 1U);
  EXPECT_EQ(station.statistics().framesIgnored, 2U);
  EXPECT_THAT(station.hear({"1CC82680 FF 03 FF FF FF 00 E7 00"}), IsEmpty());
  EXPECT_EQ(station.protocol.openSessions(), 0U);
}

TEST_F(ExtendedReceiving, RunsBesideAShortSessionOfTheSamePairAndPgn) {
  receiveUntil(225);
  EXPECT_THAT(station.hear({"1CEC2680 10 11 00 03 FF 00 E7 00"}), ElementsAre("1CEC8026 11 03 01 FF FF 00 E7 00"));
  EXPECT_EQ(station.protocol.openSessions(), 2U);
  station.hear({"1CEB2680 01 01 02 03 04 05 06 07", "1CEB2680 02 08 09 0A 0B 0C 0D 0E"});
  EXPECT_THAT(station.hear(block(16, 225)), ElementsAre(clearToSend(16, 241)));
  EXPECT_THAT(station.hear({"1CEB2680 03 0F 10 11 FF FF FF FF"}), ElementsAre("1CEC8026 13 11 00 03 FF 00 E7 00"));
  ASSERT_EQ(station.delivered.size(), 1U);
  EXPECT_EQ(station.delivered.front().data, countingBytes(17));
  station.delivered.clear();
  finish();
}

TEST_F(ExtendedReceiving, TakesNothingToAllForAPacketOfABroadcast) {
  station.hear({"1CECFF80 20 09 00 02 FF DA FE 00", "1CC7FF80 01 11 12 13 14 15 16 17"});
  EXPECT_EQ(station.statistics().framesIgnored, 1U);
  station.hear({"1CEBFF80 01 01 02 03 04 05 06 07", "1CEBFF80 02 08 09 FF FF FF FF FF"});
  ASSERT_EQ(station.delivered.size(), 1U);
  EXPECT_EQ(station.delivered.front().data, countingBytes(9));
}

TEST_F(ExtendedReceiving, RepeatsAnswersThatTheBusDoesNotTake) {
  station.busTakes = 0;
  EXPECT_THAT(station.hear({requestToSend(1786)}), IsEmpty());
  station.busTakes = SIZE_MAX;
  EXPECT_THAT(station.workAfter(1249), ElementsAre(clearToSend(16, 1)));
}

struct Frame_s {
  const char* what;
  const char* frame;
};

class ExtendedReceivingIgnores : public ExtendedReceiving, public testing::WithParamInterface<Frame_s> {};

TEST_P(ExtendedReceivingIgnores, Frame) {
  receiveUntil(241);
  EXPECT_THAT(station.hear({GetParam().frame}), IsEmpty()) << GetParam().what;
  EXPECT_EQ(station.statistics().framesIgnored, 1U) << GetParam().what;
  EXPECT_EQ(station.protocol.openSessions(), 1U) << GetParam().what;
  finish();
}

INSTANTIATE_TEST_SUITE_P(
    Frames, ExtendedReceivingIgnores,
    testing::Values(Frame_s{"RTS of 7 bytes", "1CC82681 14 FA 06 00 00 00 E7"},
                    Frame_s{"RTS to all", "1CC8FF81 14 FA 06 00 00 00 E7 00"},
                    Frame_s{"RTS of a PGN of 19 bits", "1CC82681 14 FA 06 00 00 00 E7 04"},
                    Frame_s{"RTS from an own address", "1CC82627 14 FA 06 00 00 00 E7 00"},
                    Frame_s{"RTS of the long protocol with the short PGN", "1CEC2681 14 FA 06 00 00 00 E7 00"},
                    Frame_s{"RTS of the short protocol with the long PGN", "1CC82681 10 11 00 03 FF 00 E7 00"},
                    Frame_s{"DPO without a session", "1CC82681 16 10 00 00 00 00 E7 00"},
                    Frame_s{"DPO with the short PGN", "1CEC2680 16 10 F0 00 00 00 E7 00"},
                    Frame_s{"data without a session", "1CC72681 01 01 02 03 04 05 06 07"},
                    Frame_s{"data to another own address", "1CC72780 01 01 02 03 04 05 06 07"},
                    Frame_s{"data to all", "1CC7FF80 01 01 02 03 04 05 06 07"},
                    Frame_s{"data of the short protocol", "1CEB2680 01 01 02 03 04 05 06 07"},
                    Frame_s{"data of 7 bytes", "1CC72680 01 01 02 03 04 05 06"}));

TEST_F(ExtendedReceiving, IsOffWithReceiving) {
  station.hear({requestToSend(1786)});
  station.protocol.setReceiving(false);
  EXPECT_EQ(station.protocol.openSessions(), 0U);
  EXPECT_THAT(station.hear({dataOffset(16, 0), packet(1, 0), requestToSend(1786)}), IsEmpty());
  EXPECT_EQ(station.statistics().framesIgnored, 3U);
}

TEST_F(ExtendedReceiving, IsDroppedSilentlyWithItsAddress) {
  station.hear({requestToSend(1786)});
  station.protocol.dropAddress(0x26);
  EXPECT_THAT(station.workAfter(5000), IsEmpty());
  EXPECT_EQ(station.protocol.openSessions(), 0U);
}

} // namespace
