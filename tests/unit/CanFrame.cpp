#include "CanFrame.h"

#include "BusText.h"

#include <gtest/gtest.h>

using namespace IsoBusHost;
using BusText::frameOf;

namespace {

struct IdentifierRow_s {
  const char* name;
  uint32_t identifier;
  IsoId_s id;
};

class CanFrameIdentifier : public testing::TestWithParam<IdentifierRow_s> {};

TEST_P(CanFrameIdentifier, IsTakenApart) {
  const IsoId_s id = decodeIdentifier(GetParam().identifier);
  EXPECT_EQ(id.priority, GetParam().id.priority);
  EXPECT_EQ(id.pgn, GetParam().id.pgn);
  EXPECT_EQ(id.destination, GetParam().id.destination);
  EXPECT_EQ(id.source, GetParam().id.source);
}

TEST_P(CanFrameIdentifier, IsPutTogether) {
  EXPECT_EQ(encodeIdentifier(GetParam().id), GetParam().identifier);
}

INSTANTIATE_TEST_SUITE_P(Table, CanFrameIdentifier,
                         testing::Values(IdentifierRow_s{"RequestToAll", 0x18EAFFFE, {6, 0xEA00, 0xFF, 0xFE}},
                                         IdentifierRow_s{"ToOneDestination", 0x1CEC2680, {7, 0xEC00, 0x26, 0x80}},
                                         IdentifierRow_s{"LastPdu1Format", 0x18EF1280, {6, 0xEF00, 0x12, 0x80}},
                                         IdentifierRow_s{"FirstPdu2Format", 0x18F01280, {6, 0xF012, 0xFF, 0x80}},
                                         IdentifierRow_s{"HighestPriority", 0x00FE4800, {0, 0xFE48, 0xFF, 0x00}},
                                         IdentifierRow_s{"DataPage", 0x19EF1280, {6, 0x1EF00, 0x12, 0x80}},
                                         IdentifierRow_s{"ExtendedDataPage", 0x1AF01280, {6, 0x2F012, 0xFF, 0x80}},
                                         IdentifierRow_s{"AllBits", 0x1FFFFFFF, {7, 0x3FFFF, 0xFF, 0xFF}}),
                         [](const auto& row) { return row.param.name; });

TEST(CanFrame, DestinationOfAPdu2MessageIsNotPartOfTheIdentifier) {
  EXPECT_EQ(encodeIdentifier({6, 0xFDC5, 0x26, 0x80}), 0x18FDC580U);
}

TEST(CanFrame, LowByteOfAPdu1PgnGivesWayToTheDestination) {
  EXPECT_EQ(encodeIdentifier({6, 0xEA55, 0x26, 0x80}), 0x18EA2680U);
}

TEST(CanFrame, IsEqualInWhatGoesOutOnly) {
  CanFrame_s left = frameOf("18EAFFFE 00 EE 00");
  CanFrame_s right = left;
  right.data[3] = 0x55; // behind the length
  EXPECT_TRUE(left == right);
  right.data[2] = 0x55;
  EXPECT_FALSE(left == right);
  right = left;
  right.length = 2;
  EXPECT_FALSE(left == right);
  right = left;
  right.extended = false;
  EXPECT_FALSE(left == right);
  right = left;
  right.identifier = 0x18EAFFFF;
  EXPECT_FALSE(left == right);
}

// Bits of frames on the bus with CRC, stuff bits and gap, worked out apart from this code by polynomial division.
struct BitsRow_s {
  const char* frame;
  unsigned int bits;
};

TEST(CanFrameBits, OfKnownFrames) {
  const BitsRow_s rows[] = {
      {"18EAFFFE 00 EE 00", 98},
      {"18FDC580", 71},
      {"18EEFF80 40 E2 A1 5B 00 1D 00 A0", 141},
      {"18FD4280 CD BF 5B 00 00 00 00 00", 143},
      {"18E8FF80 01 FF FF FF F9 42 FD 00", 144},
      {"1CEBFF80 01 FF FF FF FF FF FF FF", 148},
      {"7FF", 50},
      {"123 01 02 03", 75},
  };
  for (const BitsRow_s& row : rows) {
    EXPECT_EQ(frameBits(frameOf(row.frame)), row.bits) << row.frame;
  }
}

// Start of frame, identifier, control and CRC are 34 dominant bits in one run; a stuff bit follows each five of them.
TEST(CanFrameBits, CountAStuffBitAfterEachFiveEqualOnes) {
  EXPECT_EQ(frameBits(frameOf("000")), 34U + 6U + 13U);
}

TEST(CanFrameBits, StayWithinTheBoundsForEveryLength) {
  uint32_t random = 12345;
  for (unsigned int round = 0; round < 20000; ++round) {
    CanFrame_s frame;
    const auto next = [&random] { return random = random * 1664525U + 1013904223U, random >> 8U; };
    frame.identifier = (next() << 8U | next()) & 0x1FFFFFFFU;
    frame.length = static_cast<uint8_t>(round % 9);
    for (uint8_t& byte : frame.data) {
      byte = static_cast<uint8_t>(round % 3 == 0 ? 0 : next());
    }
    const unsigned int least = 67 + 8 * (round % 9);
    ASSERT_GE(frameBits(frame), least) << BusText::textOf(frame);
    ASSERT_LE(frameBits(frame), least + (53 + 8 * (round % 9)) / 4) << BusText::textOf(frame);
  }
}

TEST(CanFrameBits, OfALengthBeyond8AreThoseOf8) {
  CanFrame_s frame = frameOf("18FDC580 01 02 03 04 05 06 07 08");
  const unsigned int bits = frameBits(frame);
  frame.length = 255;
  EXPECT_EQ(frameBits(frame), bits);
}

} // namespace
