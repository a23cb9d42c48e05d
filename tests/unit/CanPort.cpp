#include "CanPort.h"

#include "HostClock.h"

#include <gtest/gtest.h>

using namespace IsoBusHost;

namespace {

constexpr size_t longestQueue = 4096;

CanFrame_s numbered(uint32_t number) {
  CanFrame_s frame;
  frame.identifier = number;
  return frame;
}

// ScriptedBus_c: a transport that takes as many frames as the test allows.
class ScriptedBus_c : public CanTransport_c {
public:
  bool send(const CanFrame_s& frame) override {
    if (room == 0) {
      return false;
    }
    --room;
    sent.push_back(frame);
    return true;
  }
  std::optional<CanFrame_s> receive() override {
    if (arriving.empty()) {
      return std::nullopt;
    }
    const CanFrame_s frame = arriving.front();
    arriving.pop_front();
    return frame;
  }
  bool hasPending() const override { return !arriving.empty(); }
  int descriptor() const override { return -1; }
  bool hasUnsent() const override { return unsent; }
  void flush() override { ++flushed; }
  bool isOpen() const override { return opened; }
  std::string error() const override { return opened ? "" : "gone"; }
  const TransportStatistics_s& statistics() const override { return noStatistics; }

  size_t room = SIZE_MAX;
  bool opened = true;
  bool unsent = false;
  int flushed = 0;
  std::vector<CanFrame_s> sent;
  std::deque<CanFrame_s> arriving;
  TransportStatistics_s noStatistics;
};

class CanPort : public testing::Test {
protected:
  CanPort() {
    HostClock::turnByHand();
    auto transport = std::make_unique<ScriptedBus_c>();
    bus = transport.get();
    port = std::make_unique<CanPort_c>(std::move(transport));
  }

  std::vector<uint32_t> sentIdentifiers() const {
    std::vector<uint32_t> identifiers;
    for (const CanFrame_s& frame : bus->sent) {
      identifiers.push_back(frame.identifier);
    }
    return identifiers;
  }

  ScriptedBus_c* bus = nullptr;
  std::unique_ptr<CanPort_c> port;
};

TEST_F(CanPort, SendsAtOnceWhileTheBusTakesFrames) {
  EXPECT_TRUE(port->send(numbered(1)));
  EXPECT_EQ(sentIdentifiers(), std::vector<uint32_t>({1}));
  EXPECT_EQ(port->framesSent(), 1U);
  EXPECT_FALSE(port->hasUnsent());
}

TEST_F(CanPort, QueuesInOrderWhatTheBusCannotTakeYet) {
  bus->room = 1;
  EXPECT_TRUE(port->send(numbered(1)));
  EXPECT_TRUE(port->send(numbered(2)));
  EXPECT_TRUE(port->send(numbered(3)));
  EXPECT_TRUE(port->hasUnsent());
  EXPECT_EQ(port->framesSent(), 1U);
  bus->room = 1;
  port->flush();
  EXPECT_EQ(sentIdentifiers(), std::vector<uint32_t>({1, 2}));
  bus->room = 5;
  EXPECT_TRUE(port->send(numbered(4)));
  EXPECT_EQ(sentIdentifiers(), std::vector<uint32_t>({1, 2, 3, 4}));
  EXPECT_FALSE(port->hasUnsent());
}

TEST_F(CanPort, DropsAndCountsWhatAFullQueueCannotTake) {
  bus->room = 0;
  for (uint32_t number = 0; number < longestQueue; ++number) {
    ASSERT_TRUE(port->send(numbered(number)));
  }
  EXPECT_FALSE(port->send(numbered(7)));
  EXPECT_EQ(port->framesDropped(), 1U);
  bus->room = SIZE_MAX;
  port->flush();
  EXPECT_EQ(bus->sent.size(), longestQueue);
  EXPECT_EQ(port->framesSent(), longestQueue);
}

TEST_F(CanPort, DropsTheQueueWithTheBus) {
  bus->room = 0;
  EXPECT_TRUE(port->send(numbered(1)));
  EXPECT_TRUE(port->send(numbered(2)));
  bus->opened = false;
  port->flush();
  EXPECT_FALSE(port->hasUnsent());
  EXPECT_EQ(port->framesDropped(), 2U);
  EXPECT_FALSE(port->send(numbered(3)));
  EXPECT_EQ(port->framesDropped(), 3U);
}

TEST_F(CanPort, RefusesAFrameThatWouldBlockTheQueueForEver) {
  CanFrame_s tooLong;
  tooLong.length = 9;
  EXPECT_FALSE(port->send(tooLong));
  EXPECT_FALSE(port->hasUnsent());
  EXPECT_EQ(port->framesDropped(), 1U);
  EXPECT_TRUE(port->send(numbered(1)));
  EXPECT_EQ(sentIdentifiers(), std::vector<uint32_t>({1}));
}

TEST_F(CanPort, ReceivesInOrderAndCounts) {
  bus->arriving = {numbered(1), numbered(2)};
  EXPECT_TRUE(port->hasPending());
  EXPECT_EQ(port->receive(), numbered(1));
  EXPECT_EQ(port->receive(), numbered(2));
  EXPECT_EQ(port->receive(), std::nullopt);
  EXPECT_FALSE(port->hasPending());
  EXPECT_EQ(port->framesReceived(), 2U);
}

TEST_F(CanPort, FlushesTheTransportToo) {
  bus->unsent = true;
  EXPECT_TRUE(port->hasUnsent());
  port->flush();
  EXPECT_EQ(bus->flushed, 1);
}

TEST_F(CanPort, ShowsObserversEachFrameOnceWithDirectionAndTime) {
  std::vector<std::string> seen;
  const uint64_t startUs = HostClock::wallClockUs();
  const auto observer = [&seen, startUs](const CanFrame_s& frame, Direction_e direction, uint64_t timeUs) {
    seen.push_back(std::to_string(frame.identifier) + (direction == Direction_e::sent ? " sent " : " received ") +
                   std::to_string(timeUs - startUs));
  };
  port->observe(observer);
  port->observe(observer);
  bus->room = 0;
  port->send(numbered(1));
  HostClock::advanceMs(3);
  bus->room = 1;
  port->flush();
  bus->arriving = {numbered(2)};
  HostClock::advanceMs(2);
  port->receive();
  EXPECT_EQ(seen, std::vector<std::string>({"1 sent 3000", "1 sent 3000", "2 received 5000", "2 received 5000"}));
}

TEST_F(CanPort, AnObserverMaySendAndAddObservers) {
  int seenByLater = 0;
  port->observe([this, &seenByLater](const CanFrame_s& frame, Direction_e, uint64_t) {
    if (frame.identifier == 1) {
      for (int i = 0; i < 20; ++i) {
        port->observe([&seenByLater](const CanFrame_s&, Direction_e, uint64_t) { ++seenByLater; });
      }
      port->send(numbered(2));
    }
  });
  port->send(numbered(1));
  EXPECT_EQ(sentIdentifiers(), std::vector<uint32_t>({1, 2}));
  EXPECT_EQ(seenByLater, 40);
}

TEST_F(CanPort, TellsTheShareOfTheBusThatAllFramesHaveTaken) {
  EXPECT_EQ(port->busLoad(), 0.0);
  CanFrame_s sent = numbered(0x18EAFFFE);
  sent.length = 3;
  CanFrame_s received = numbered(0x18EEFF80);
  received.length = 8;
  bus->arriving = {received};
  port->send(sent);
  port->receive();
  HostClock::advanceMs(10); // 2500 bits at 250 kbit/s
  EXPECT_DOUBLE_EQ(port->busLoad(), (frameBits(sent) + frameBits(received)) / 2500.0);
  HostClock::advanceMs(10);
  EXPECT_DOUBLE_EQ(port->busLoad(), (frameBits(sent) + frameBits(received)) / 5000.0);
}

TEST_F(CanPort, NeverTellsMoreThanAWholeBus) {
  for (int i = 0; i < 100; ++i) {
    port->send(numbered(1));
  }
  HostClock::advanceMs(1);
  EXPECT_EQ(port->busLoad(), 1.0);
}

} // namespace
