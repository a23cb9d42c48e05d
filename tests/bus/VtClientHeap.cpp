#include "HostClock.h"
#include "LibraryCalls.h"
#include "VtClientBus.h"

#include "../../platform/isoaglib/src/vt/VtCommandQueue.h"

#include <dlfcn.h>
#include <stdexcept>

using namespace IsoBusHost;
using namespace VtTest;

namespace {

using Taker = void* (*)(std::size_t);

const char* const nameOfNew = sizeof(void*) == 8 ? "_Znwm" : "_Znwj";
std::size_t blocksTaken = 0;

Taker realTaker() {
  static const auto taker = reinterpret_cast<Taker>(dlsym(RTLD_DEFAULT, nameOfNew));
  return taker;
}

void* takeBlock(std::size_t size) {
  ++blocksTaken;
  return realTaker()(size);
}

// What this program takes from the heap: the stack may use the program's copies of functions of the C++ library.
class VtClientHeap : public VtClientFixture {
protected:
  // taken: returns the blocks that are taken while something is done.
  static std::size_t taken(const std::function<void()>& what) {
    if (realTaker() == nullptr) {
      throw std::runtime_error("the heap cannot be found");
    }
    const TestSupport::LibraryCall_c calls(nameOfNew, reinterpret_cast<void*>(&takeBlock), {""});
    blocksTaken = 0;
    what();
    return blocksTaken;
  }

  static void runStack() { __IsoAgLib::getSchedulerInstance().runDueWork(); }
};

TEST_F(VtClientHeap, IsUsedByARegistration) {
  startVt();
  EXPECT_GT(taken([this] { registerPool(); }), 0U);
}

TEST_F(VtClientHeap, IsNotUsedByAChangedValueOnItsWayToTheBusNorByItsAnswer) {
  PlayedVt_c& vt = connect();
  vt.isOn = false;
  for (uint32_t value = 0; value < 5; ++value) {
    pool.set(value); // until every memory is as large as it gets
    run(10);
  }
  for (uint32_t value = 100; value < 110; ++value) {
    EXPECT_EQ(taken([&] { pool.set(value); }), 0U);
    vt.run(); // the VT answers
    EXPECT_EQ(taken(runStack), 0U);
    EXPECT_EQ(connection().commandsWaiting(), 0U);
  }
}

TEST_F(VtClientHeap, IsNotUsedByCommandsThatWait) {
  PlayedVt_c& vt = connect();
  vt.silent(0xA8);
  pool.set(0);
  for (int round = 0; round < 5; ++round) {
    EXPECT_EQ(taken([&] {
                pool.set(1, false);
                pool.set(2, true);
                pool.set(3, true);
              }),
              0U);
  }
  EXPECT_EQ(connection().commandsWaiting(), 11U);
}

TEST_F(VtClientHeap, IsNotUsedByTextsThatReplaceEachOther) {
  PlayedVt_c& vt = connect();
  vt.silent(0xA8);
  pool.set(0);
  pool.text.setValueCopy("long text ", true, true);
  pool.text.setValueCopy("longer txt", true, true);
  for (const char* text : {"first text", "second one", "third text"}) {
    EXPECT_EQ(taken([&] { pool.text.setValueCopy(text, true, true); }), 0U);
  }
}

TEST_F(VtClientHeap, IsGivenBackByTextsThatAreVeryLong) {
  VtCommandQueue_c queue;
  std::vector<uint8_t> text(5000, 'x');
  text[0] = 0xB3;
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(taken([&] { queue.put(text.data(), text.size(), true); }), round == 0 ? 3U : 1U);
    queue.clear();
  }
}

TEST_F(VtClientHeap, IsNotUsedByMaintenance) {
  PlayedVt_c& vt = connect();
  run(2000);
  vt.isOn = false;
  vt.status();
  const std::size_t said = vt.maintenance.size();
  for (int step = 0; step < 200; ++step) {
    HostClock::advanceMs(10);
    EXPECT_EQ(taken(runStack), 0U);
    vt.run();
  }
  EXPECT_GE(vt.maintenance.size(), said + 1);
}

} // namespace
