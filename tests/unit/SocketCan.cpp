#include "SocketCanFrame.h"

#include "CanTransport.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace IsoBusHost;

namespace {

can_frame rawFrame(uint32_t identifier, uint8_t length) {
  can_frame raw{};
  raw.can_id = identifier;
  raw.can_dlc = length;
  for (uint8_t i = 0; i < sizeof raw.data; ++i) {
    raw.data[i] = static_cast<uint8_t>(0x10 + i);
  }
  return raw;
}

TEST(SocketCan, ReadsExtendedAndShortDataFrames) {
  const CanFrame_s extended = {0x18EAFFFE, true, 3, {0x10, 0x11, 0x12}};
  EXPECT_EQ(fromSocketCan(rawFrame(0x98EAFFFE, 3), 16), extended);
  const CanFrame_s shortOne = {0x7DF, false, 8, {0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17}};
  EXPECT_EQ(fromSocketCan(rawFrame(0x7DF, 8), 16), shortOne);
}

TEST(SocketCan, LeavesBytesBehindTheLengthOut) {
  const auto frame = fromSocketCan(rawFrame(0x98EAFFFE, 1), 16);
  ASSERT_TRUE(frame.has_value());
  EXPECT_EQ(frame->data[1], 0);
}

TEST(SocketCan, TakesNothingButWholeDataFrames) {
  EXPECT_EQ(fromSocketCan(rawFrame(0xD8EAFFFE, 3), 16), std::nullopt) << "remote";
  EXPECT_EQ(fromSocketCan(rawFrame(0x20000004, 8), 16), std::nullopt) << "error";
  EXPECT_EQ(fromSocketCan(rawFrame(0x98EAFFFE, 9), 16), std::nullopt) << "length";
  EXPECT_EQ(fromSocketCan(rawFrame(0x98EAFFFE, 3), 15), std::nullopt) << "cut off";
  EXPECT_EQ(fromSocketCan(rawFrame(0x98EAFFFE, 3), 72), std::nullopt) << "CAN FD";
}

TEST(SocketCan, WritesExtendedAndShortDataFrames) {
  const can_frame extended = toSocketCan({0x18EAFFFE, true, 3, {0x00, 0xEE, 0x01, 0x77}});
  EXPECT_EQ(extended.can_id, 0x98EAFFFEU);
  EXPECT_EQ(extended.can_dlc, 3);
  const uint8_t data[8] = {0x00, 0xEE, 0x01, 0, 0, 0, 0, 0};
  EXPECT_EQ(std::memcmp(extended.data, data, sizeof data), 0);
  EXPECT_EQ(toSocketCan({0x7DF, false, 0, {}}).can_id, 0x7DFU);
}

TEST(SocketCan, SaysWhyAnInterfaceCannotBeOpened) {
  const int probe = socket(PF_CAN, SOCK_RAW, CAN_RAW);
  const std::string reason = std::strerror(probe < 0 ? errno : ENODEV);
  if (probe >= 0) {
    close(probe);
  }
  std::string error;
  EXPECT_EQ(openTransport("socketcan:nosuchbus", error), nullptr);
  EXPECT_EQ(error, "socketcan:nosuchbus: " + reason);
}

} // namespace
