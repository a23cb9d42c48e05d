#include "CanTransport.h"

#include <gtest/gtest.h>

using namespace IsoBusHost;

namespace {

constexpr size_t longestQueue = 65536;

CanFrame_s numbered(uint32_t number) {
  CanFrame_s frame;
  frame.identifier = number;
  frame.length = 1;
  frame.data[0] = static_cast<uint8_t>(number);
  return frame;
}

std::unique_ptr<CanTransport_c> open(const std::string& address) {
  std::string error;
  auto transport = openTransport(address, error);
  EXPECT_EQ(error, "");
  return transport;
}

TEST(LocalBus, HandsTheFramesOfAPortToAllOthersInOrder) {
  const auto sender = open("local:a");
  const auto first = open("local:a");
  const auto second = open("local:a");
  EXPECT_TRUE(sender->send(numbered(1)));
  EXPECT_TRUE(sender->send(numbered(2)));
  for (const auto& receiver : {first.get(), second.get()}) {
    EXPECT_TRUE(receiver->hasPending());
    EXPECT_EQ(receiver->receive(), numbered(1));
    EXPECT_EQ(receiver->receive(), numbered(2));
    EXPECT_FALSE(receiver->hasPending());
    EXPECT_EQ(receiver->receive(), std::nullopt);
    EXPECT_EQ(receiver->statistics().received, 2U);
  }
  EXPECT_EQ(sender->statistics().sent, 2U);
}

TEST(LocalBus, DoesNotHandAPortItsOwnFrames) {
  const auto port = open("local:a");
  EXPECT_TRUE(port->send(numbered(1)));
  EXPECT_FALSE(port->hasPending());
  EXPECT_EQ(port->receive(), std::nullopt);
}

TEST(LocalBus, ShowsAllReceiversTheFramesOfSeveralSendersInOneOrder) {
  const auto one = open("local:a");
  const auto other = open("local:a");
  const auto receiver = open("local:a");
  one->send(numbered(1));
  other->send(numbered(2));
  one->send(numbered(3));
  EXPECT_EQ(receiver->receive(), numbered(1));
  EXPECT_EQ(receiver->receive(), numbered(2));
  EXPECT_EQ(receiver->receive(), numbered(3));
}

TEST(LocalBus, KeepsBusesOfDifferentNamesApart) {
  const auto sender = open("local:a");
  const auto other = open("local:b");
  const auto withoutName = open("local");
  sender->send(numbered(1));
  EXPECT_EQ(other->receive(), std::nullopt);
  EXPECT_EQ(withoutName->receive(), std::nullopt);
}

TEST(LocalBus, PortsCloseInAnyOrder) {
  auto first = open("local:a");
  auto second = open("local:a");
  auto third = open("local:a");
  first.reset();
  EXPECT_TRUE(second->send(numbered(1)));
  second.reset();
  EXPECT_EQ(third->receive(), numbered(1));
  EXPECT_TRUE(third->send(numbered(2)));
}

TEST(LocalBus, APortOpenedLaterSeesNothingOfWhatWasBefore) {
  {
    const auto before = open("local:a");
    const auto listener = open("local:a");
    before->send(numbered(1));
  }
  const auto later = open("local:a");
  EXPECT_EQ(later->receive(), std::nullopt);
}

TEST(LocalBus, DropsAndCountsWhatAReceiverDoesNotFetch) {
  const auto sender = open("local:a");
  const auto idle = open("local:a");
  const auto reading = open("local:a");
  for (uint32_t number = 0; number < longestQueue + 3; ++number) {
    ASSERT_TRUE(sender->send(numbered(number)));
    ASSERT_EQ(reading->receive(), numbered(number));
  }
  EXPECT_EQ(idle->statistics().overrun, 3U);
  EXPECT_EQ(reading->statistics().overrun, 0U);
  for (uint32_t number = 0; number < longestQueue; ++number) {
    ASSERT_EQ(idle->receive(), numbered(number));
  }
  EXPECT_EQ(idle->receive(), std::nullopt);
}

TEST(LocalBus, RefusesWhatNoBusCanCarry) {
  const auto sender = open("local:a");
  const auto receiver = open("local:a");
  CanFrame_s tooLong = numbered(1);
  tooLong.length = 9;
  CanFrame_s tooHigh = numbered(0x20000000);
  CanFrame_s tooHighForShort = numbered(0x800);
  tooHighForShort.extended = false;
  EXPECT_FALSE(sender->send(tooLong));
  EXPECT_FALSE(sender->send(tooHigh));
  EXPECT_FALSE(sender->send(tooHighForShort));
  EXPECT_EQ(sender->statistics().refused, 3U);
  EXPECT_EQ(sender->statistics().sent, 0U);
  EXPECT_EQ(receiver->receive(), std::nullopt);
}

TEST(LocalBus, NeedsNoDescriptorAndStaysOpen) {
  const auto port = open("local");
  EXPECT_EQ(port->descriptor(), -1);
  EXPECT_TRUE(port->isOpen());
  EXPECT_EQ(port->error(), "");
  EXPECT_FALSE(port->hasUnsent());
}

struct Address_s {
  const char* text;
  const char* problem; // behind the address; empty: can be read
};

TEST(TransportAddress, IsReadOrRefusedWithOneLine) {
  const char* anyKind = "expected local, local:NAME, socketcan:IFACE or socketcand:HOST:PORT/BUS";
  const char* socketcand = "expected socketcand:HOST:PORT/BUS";
  const char* port = "the port is a number from 1 to 65535";
  const Address_s rows[] = {
      {"local", ""},
      {"local:bus.1_a-b", ""},
      {"socketcan:can0", ""},
      {"socketcan:exactly15charac", ""},
      {"socketcand:127.0.0.1:29536/can0", ""},
      {"socketcand:localhost:1/vcan1", ""},
      {"socketcand:[::1]:65535/can0", ""},
      {"", anyKind},
      {"lokal", anyKind},
      {"Local", anyKind},
      {"local ", anyKind},
      {"can0", anyKind},
      {"local:", "expected local:NAME"},
      {"local:a b", "expected local:NAME"},
      {"socketcan:", "expected socketcan:IFACE"},
      {"socketcan:can 0", "expected socketcan:IFACE"},
      {"socketcan:can/0", "expected socketcan:IFACE"},
      {"socketcan:exactly16charact", "an interface name has at most 15 characters"},
      {"socketcand:", socketcand},
      {"socketcand:127.0.0.1:29536", socketcand},
      {"socketcand:127.0.0.1/can0", socketcand},
      {"socketcand:127.0.0.1:29536/", socketcand},
      {"socketcand:127.0.0.1:29536/can0 >< rawmode", socketcand},
      {"socketcand::29536/can0", socketcand},
      {"socketcand:[]:29536/can0", socketcand},
      {"socketcand:a b:29536/can0", socketcand},
      {"socketcand:127.0.0.1:0/can0", port},
      {"socketcand:127.0.0.1:65536/can0", port},
      {"socketcand:127.0.0.1:99999999999999999999/can0", port},
      {"socketcand:127.0.0.1:-1/can0", port},
      {"socketcand:127.0.0.1:x/can0", port},
      {"socketcand:127.0.0.1:/can0", port},
      {"socketcand:::1:29536/can0", "an IPv6 address stands in brackets, socketcand:[::1]:29536/can0 for example"},
  };
  for (const Address_s& row : rows) {
    const std::string problem = row.problem;
    const std::string expected = problem.empty() ? "" : std::string("bus address \"") + row.text + "\": " + problem;
    EXPECT_EQ(checkTransportAddress(row.text), expected) << row.text;
  }
}

TEST(TransportAddress, IsShownWithoutControlCharactersAndNotAtAnyLength) {
  const std::string error = checkTransportAddress("a\nb\x1b\xff");
  EXPECT_EQ(error.substr(0, 20), "bus address \"a?b??\":");
  EXPECT_LT(checkTransportAddress(std::string(1000000, 'x')).size(), 300U);
}

TEST(OpenTransport, GivesNullAndTheErrorOfAnAddressThatCannotBeRead) {
  std::string error;
  EXPECT_EQ(openTransport("nonsense", error), nullptr);
  EXPECT_EQ(error, checkTransportAddress("nonsense"));
}

} // namespace
