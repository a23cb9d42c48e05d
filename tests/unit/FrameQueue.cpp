#include "FrameQueue.h"

#include <gtest/gtest.h>

#include <deque>

using namespace IsoBusHost;

namespace {

CanFrame_s numbered(uint32_t number) {
  CanFrame_s frame;
  frame.identifier = number;
  return frame;
}

TEST(FrameQueue, HandsFramesOutInTheirOrder) {
  FrameQueue_c queue(1000);
  EXPECT_TRUE(queue.isEmpty());
  EXPECT_TRUE(queue.push(numbered(1)));
  EXPECT_TRUE(queue.push(numbered(2)));
  EXPECT_EQ(queue.front(), numbered(1));
  queue.pop();
  EXPECT_EQ(queue.front(), numbered(2));
  EXPECT_EQ(queue.size(), 1U);
  queue.pop();
  EXPECT_TRUE(queue.isEmpty());
}

TEST(FrameQueue, TakesAsManyFramesAsItIsMadeForAndNoMore) {
  for (std::size_t most : {1U, 3U, 64U, 65U, 100U, 128U, 1000U}) {
    FrameQueue_c queue(most);
    for (std::size_t count = 0; count < most; ++count) {
      ASSERT_FALSE(queue.isFull()) << most;
      ASSERT_TRUE(queue.push(numbered(static_cast<uint32_t>(count)))) << most;
    }
    EXPECT_TRUE(queue.isFull()) << most;
    EXPECT_FALSE(queue.push(numbered(7))) << most;
    EXPECT_EQ(queue.size(), most);
    for (std::size_t count = 0; count < most; ++count) {
      ASSERT_EQ(queue.front(), numbered(static_cast<uint32_t>(count))) << most;
      queue.pop();
    }
    EXPECT_TRUE(queue.push(numbered(7))) << most;
  }
}

TEST(FrameQueue, KeepsTheOrderWhenItGrowsWhereverItsFirstFrameLies) {
  for (uint32_t popped = 0; popped < 130; ++popped) {
    FrameQueue_c queue(1000);
    std::deque<uint32_t> expected;
    for (uint32_t number = 0; number < popped; ++number) {
      ASSERT_TRUE(queue.push(numbered(number)));
      queue.pop();
    }
    for (uint32_t number = 0; number < 300; ++number) {
      ASSERT_TRUE(queue.push(numbered(number)));
      expected.push_back(number);
    }
    for (uint32_t number : expected) {
      ASSERT_EQ(queue.front(), numbered(number)) << popped;
      queue.pop();
    }
    EXPECT_TRUE(queue.isEmpty());
  }
}

TEST(FrameQueue, IsEmptyAfterItWasCleared) {
  FrameQueue_c queue(3);
  queue.push(numbered(1));
  queue.push(numbered(2));
  queue.clear();
  EXPECT_TRUE(queue.isEmpty());
  EXPECT_TRUE(queue.push(numbered(3)));
  EXPECT_EQ(queue.front(), numbered(3));
}

} // namespace
