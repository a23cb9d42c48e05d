#include "SocketCanFrame.h"

#include "CanTransport.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <netinet/in.h>
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

// The transport on one end of a pair of local sockets; the test is the bus at the other end.
class SocketCanTransport : public testing::Test {
protected:
  void SetUp() override {
    int ends[2] = {-1, -1};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0, ends), 0);
    m_bus = FileDescriptor_c(ends[0]);
    m_transport = adoptSocketCan(FileDescriptor_c(ends[1]), "vcan7");
  }

  void arrive(const can_frame& raw, size_t size = sizeof(can_frame)) {
    ASSERT_EQ(send(m_bus.get(), &raw, size, 0), static_cast<ssize_t>(size));
  }

  std::optional<can_frame> onBus() {
    can_frame raw{};
    return recv(m_bus.get(), &raw, sizeof raw, 0) == sizeof raw ? std::optional(raw) : std::nullopt;
  }

  FileDescriptor_c m_bus;
  std::unique_ptr<CanTransport_c> m_transport;
};

TEST_F(SocketCanTransport, GivesDataFramesInOrderAndCountsTheRest) {
  arrive(rawFrame(0x98EAFFFE, 3));
  arrive(rawFrame(0xD8EAFFFE, 3));
  arrive(rawFrame(0x98EAFFFE, 3), 7);
  arrive(rawFrame(0x7DF, 1));
  EXPECT_TRUE(m_transport->hasPending());
  EXPECT_EQ(m_transport->receive(), (CanFrame_s{0x18EAFFFE, true, 3, {0x10, 0x11, 0x12}}));
  EXPECT_EQ(m_transport->receive(), (CanFrame_s{0x7DF, false, 1, {0x10}}));
  EXPECT_EQ(m_transport->receive(), std::nullopt);
  EXPECT_FALSE(m_transport->hasPending());
  EXPECT_TRUE(m_transport->isOpen());
  EXPECT_EQ(m_transport->statistics().received, 2U);
  EXPECT_EQ(m_transport->statistics().malformed, 2U);
  EXPECT_EQ(m_transport->statistics().overrun, 0U);
}

TEST_F(SocketCanTransport, ReturnsToItsCallerFromABusOfUselessFrames) {
  constexpr unsigned int useless = 100;
  for (unsigned int i = 0; i < useless; ++i) {
    arrive(rawFrame(0x40000123, 0));
  }
  arrive(rawFrame(0x98EAFFFE, 3));
  EXPECT_EQ(m_transport->receive(), std::nullopt);
  EXPECT_TRUE(m_transport->hasPending());
  EXPECT_TRUE(m_transport->receive().has_value());
  EXPECT_EQ(m_transport->statistics().malformed, useless);
}

TEST_F(SocketCanTransport, RefusesWhatABusCannotCarry) {
  EXPECT_FALSE(m_transport->send({0x20000000, true, 8, {}}));
  EXPECT_FALSE(m_transport->send({0x800, false, 8, {}}));
  EXPECT_FALSE(m_transport->send({0x18EAFFFE, true, 9, {}}));
  EXPECT_EQ(onBus(), std::nullopt);
  EXPECT_EQ(m_transport->statistics().refused, 3U);
  EXPECT_TRUE(m_transport->isOpen());
}

TEST_F(SocketCanTransport, RefusesWhileTheQueueIsFullAndGoesOnAfterwards) {
  uint64_t sent = 0;
  while (m_transport->send({0x18EAFFFE, true, 8, {static_cast<uint8_t>(sent)}})) {
    ++sent;
  }
  EXPECT_GT(sent, 0U);
  EXPECT_EQ(m_transport->statistics().sent, sent);
  EXPECT_EQ(m_transport->statistics().refused, 1U);
  EXPECT_TRUE(m_transport->isOpen());
  for (uint64_t i = 0; i < sent; ++i) {
    const auto raw = onBus();
    ASSERT_TRUE(raw.has_value());
    EXPECT_EQ(raw->can_id, 0x98EAFFFEU);
    EXPECT_EQ(raw->data[0], static_cast<uint8_t>(i));
  }
  EXPECT_TRUE(m_transport->send({0x18EAFFFE, true, 0, {}}));
}

TEST_F(SocketCanTransport, ClosesAndSaysWhyWhenTheInterfaceIsTakenAway) {
  m_bus.close();
  EXPECT_TRUE(m_transport->hasPending()) << "who waits is woken";
  EXPECT_EQ(m_transport->receive(), std::nullopt);
  EXPECT_FALSE(m_transport->isOpen());
  EXPECT_EQ(m_transport->descriptor(), -1);
  EXPECT_EQ(m_transport->error(), std::string("socketcan:vcan7: ") + std::strerror(ENODEV));
  EXPECT_FALSE(m_transport->hasPending());
  EXPECT_FALSE(m_transport->send({0x18EAFFFE, true, 8, {}}));
}

TEST_F(SocketCanTransport, ClosesAndSaysWhyWhenSendingFails) {
  m_bus.close();
  EXPECT_FALSE(m_transport->send({0x18EAFFFE, true, 8, {}}));
  EXPECT_FALSE(m_transport->isOpen());
  EXPECT_EQ(m_transport->error(), std::string("socketcan:vcan7: ") + std::strerror(EPIPE));
  EXPECT_EQ(m_transport->receive(), std::nullopt);
}

// A datagram socket of the loopback interface, connected to itself: the kernel counts its losses in the same way.
FileDescriptor_c socketToItself() {
  FileDescriptor_c socket(::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  const bool isReady = bind(socket.get(), generic, size) == 0 && getsockname(socket.get(), generic, &size) == 0 &&
                       connect(socket.get(), generic, size) == 0;
  EXPECT_TRUE(isReady) << std::strerror(errno);
  return socket;
}

TEST(SocketCan, CountsTheFramesThatItsQueueHadNoRoomFor) {
  const auto transport = adoptSocketCan(socketToItself(), "vcan7");
  uint64_t sent = 0;
  uint64_t received = 0;
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 20000; ++i) {
      sent += transport->send({0x18EAFFFE, true, 8, {}}) ? 1 : 0;
    }
    while (transport->receive()) {
      ++received;
    }
  }
  // The kernel tells of the last losses with the next frame.
  ASSERT_TRUE(transport->send({0x18EAFFFE, true, 8, {}}));
  ASSERT_TRUE(transport->receive().has_value());
  EXPECT_LT(received, sent);
  EXPECT_EQ(received + transport->statistics().overrun, sent);
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
