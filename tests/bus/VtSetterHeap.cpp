#include "LibraryCalls.h"
#include "VtClientBus.h"
#include "VtObjects.h"
#include "VtText.h"

#include <cstdlib>

using namespace IsoBusHost;
using namespace VtTest;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool hasHeapOfItsOwn = true;
#else
constexpr bool hasHeapOfItsOwn = false;
#endif

std::size_t blocksTaken = 0;

void* takeBlock(std::size_t size) {
  ++blocksTaken;
  return std::malloc(size);
}

// A setter on its way to the frame that the port gives to the bus, and the VT's answer back.
class VtSetterHeap : public VtClientFixture {
protected:
  void SetUp() override {
    VtClientFixture::SetUp();
    if (hasHeapOfItsOwn) {
      GTEST_SKIP() << "a sanitizer has a heap of its own";
    }
    vt = &connect();
    vt->isOn = false;
    for (uint32_t value = 1; value <= 5; ++value) { // until every memory is as large as it gets
      change(value);
      run(50);
    }
    vt->take();
  }

  void change(uint32_t value) {
    SetVtObject(pool.variable, value, false);
    SetVtOffset(pool.number, static_cast<int>(value), false);
    ShowVtContainer(pool.container, value % 2 == 0, false);
    SetVtListIndex(pool.list, 0, value % 2 == 0 ? &pool.number : nullptr, false);
  }

  // taken: returns the blocks that library, stack and C++ library take while something is done.
  static std::size_t taken(const std::function<void()>& what) {
    const TestSupport::LibraryCall_c calls("malloc", reinterpret_cast<void*>(&takeBlock),
                                           {"libzemoUtils", "libisoaglib_host", "libstdc++"});
    blocksTaken = 0;
    what();
    return blocksTaken;
  }

  std::size_t takenByStackUntilNothingWaits() {
    std::size_t blocks = 0;
    for (int step = 0; step < 20 && connection().commandsWaiting() > 0; ++step) {
      vt->run();
      blocks += taken([] { __IsoAgLib::getSchedulerInstance().runDueWork(); });
    }
    return blocks;
  }

  PlayedVt_c* vt = nullptr;
};

TEST_F(VtSetterHeap, IsNotUsedBetweenASetterAndItsFrame) {
  for (uint32_t value = 102; value <= 111; ++value) {
    EXPECT_EQ(taken([&] { change(value); }), 0U);
    EXPECT_EQ(takenByStackUntilNothingWaits(), 0U);
    EXPECT_EQ(connection().commandsWaiting(), 0U);
    EXPECT_EQ(vt->take().size(), 4U);
  }
}

TEST_F(VtSetterHeap, IsUsedWhereItIsCounted) {
  EXPECT_GT(taken([this] { SetVtObject(pool.text, "goes as a long message", false); }), 0U);
}

} // namespace
