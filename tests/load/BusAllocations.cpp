// Short messages on their way through a node, a port and a bus inside the process take nothing from the heap.
#include "Allocations.h"
#include "BusNode.h"
#include "HostClock.h"

#include <gtest/gtest.h>

#include <array>
#include <malloc.h>
#include <memory>
#include <string>
#include <utility>

using namespace IsoBusHost;

namespace {

std::unique_ptr<CanTransport_c> openBus() {
  std::string error;
  return openTransport("local:allocations", error);
}

// Two nodes, each with a function that has claimed; the right one counts the bytes that it hears.
class BusAllocations : public testing::Test {
protected:
  void SetUp() override {
    if (!TestSupport::areAllocationsSeen()) {
      GTEST_SKIP() << "the sanitizer has a heap of its own";
    }
    HostClock::turnByHand();
    sender = start(left, 0xA000000000000001ULL, 0x80);
    start(right, 0xA000000000000002ULL, 0x81);
    right.onMessage([this](const IsoMessage_s& message) { bytesHeard += message.data.size(); });
    for (int round = 0; round < 10; ++round) {
      HostClock::advanceMs(100);
      left.poll();
      right.poll();
    }
    ASSERT_EQ(sender->state(), ClaimState_e::claimed);
    bytesHeard = 0;
  }

  static OwnFunction_c* start(BusNode_c& node, uint64_t name, uint8_t address) {
    node.setNetworkManagement(true);
    node.setRequests(true);
    node.setMultiReceive(true);
    node.setMultiSend(true);
    FunctionSettings_s settings;
    settings.name = name;
    settings.preferredAddress = address;
    return node.add(settings);
  }

  bool sendOne(std::size_t length) { return left.send(*sender, 0xEF00, 3, 0x81, bytes.data(), length); }

  const std::array<uint8_t, 9> bytes{1, 2, 3, 4, 5, 6, 7, 8, 9};
  CanPort_c leftPort{openBus()};
  CanPort_c rightPort{openBus()};
  BusNode_c left{leftPort};
  BusNode_c right{rightPort};
  OwnFunction_c* sender = nullptr;
  std::size_t bytesHeard = 0;
};

TEST_F(BusAllocations, AreNoneFromTheCallToTheFrameOnTheBus) {
  bool isSent = false;
  int taken = -1;
  {
    const TestSupport::Allocations_c allocations;
    isSent = sendOne(8);
    taken = allocations.taken();
  }
  EXPECT_TRUE(isSent);
  EXPECT_EQ(taken, 0);
}

TEST_F(BusAllocations, AreNoneFromTheFrameOnTheBusToTheHandler) {
  ASSERT_TRUE(sendOne(8));
  int taken = -1;
  {
    const TestSupport::Allocations_c allocations;
    right.poll();
    taken = allocations.taken();
  }
  EXPECT_EQ(bytesHeard, 8U);
  EXPECT_EQ(taken, 0);
}

TEST_F(BusAllocations, AreNoneInManyRoundsOfSendingAndPolling) {
  int taken = -1;
  {
    const TestSupport::Allocations_c allocations;
    for (int round = 0; round < 1000; ++round) {
      for (std::size_t length = 0; length <= 8; ++length) {
        sendOne(length);
      }
      left.poll();
      right.poll();
      HostClock::advanceMs(10);
      left.nextDueMs();
    }
    taken = allocations.taken();
  }
  EXPECT_EQ(bytesHeard, 36000U);
  EXPECT_EQ(taken, 0);
}

// heapInUse: returns bytes of this process's heap, large blocks included.
std::size_t heapInUse() {
  const auto state = mallinfo2();
  return state.uordblks + state.hblkhd;
}

CanFrame_s frameOfLongMessage(uint32_t pgn, std::array<uint8_t, 8> data) {
  CanFrame_s frame;
  frame.identifier = encodeIdentifier({7, pgn, 0x80, 0x90});
  frame.length = 8;
  frame.data = data;
  return frame;
}

TEST_F(BusAllocations, FollowWhatHasComeOfALongMessageAndNotWhatWasAnnounced) {
  TransportProtocol_c protocol({[](const CanFrame_s&) { return true; }, [](const IsoMessage_s&) {},
                                [](uint8_t address) { return address == 0x80; }});
  protocol.setReceiving(true);
  protocol.setReceiveLimits({TransportProtocol_c::maxExtendedBytes, TransportProtocol_c::maxExtendedBytes});
  const std::size_t before = heapInUse();
  protocol.handleFrame(
      frameOfLongMessage(Pgn::extendedTransportManagement, {0x14, 0xF9, 0xFF, 0xFF, 0x06, 0x00, 0xE7, 0x00}));
  protocol.work();
  ASSERT_EQ(protocol.openSessions(), 1U);
  EXPECT_LT(heapInUse() - before, 4096U);
  for (uint32_t offset = 0; offset < 16 * 1000; offset += 16) {
    const auto low = static_cast<uint8_t>(offset & 0xFFU);
    const auto high = static_cast<uint8_t>(offset >> 8U);
    protocol.handleFrame(
        frameOfLongMessage(Pgn::extendedTransportManagement, {0x16, 16, low, high, 0x00, 0x00, 0xE7, 0x00}));
    for (uint8_t sequence = 1; sequence <= 16; ++sequence) {
      protocol.handleFrame(frameOfLongMessage(Pgn::extendedTransportData, {sequence, 1, 2, 3, 4, 5, 6, 7}));
    }
    protocol.work();
  }
  ASSERT_EQ(protocol.openSessions(), 1U);
  EXPECT_GT(heapInUse() - before, 112000U);
  EXPECT_LT(heapInUse() - before, 2 * 112000U + 8192U);
}

TEST_F(BusAllocations, AreSeenWhereAMessageIsLong) {
  IsoMessage_s message;
  message.pgn = 0xEF00;
  message.destination = 0x81;
  message.data.assign(bytes.begin(), bytes.end());
  int taken = 0;
  {
    const TestSupport::Allocations_c allocations;
    left.send(*sender, std::move(message));
    taken = allocations.taken();
  }
  EXPECT_GT(taken, 0);
}

} // namespace
