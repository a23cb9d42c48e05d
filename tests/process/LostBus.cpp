// A bus that goes away while an application runs: its server ends.
#include "BusServerProcess.h"
#include "HostClock.h"
#include "HostFixture.h"

#include <algorithm>

using namespace IsoBusHost;
using TestSupport::HostFixture;

namespace {

class Observer_c final : public IsoAgLib::iErrorObserver_c {
public:
  void onError(const char* text) override { errors.emplace_back(text); }
  std::vector<std::string> errors;
};

class LostBus : public HostFixture {
protected:
  // Runs the stack in real time until the condition holds; gives false after ten seconds.
  template <typename Condition_c>
  static bool runUntil(const Condition_c& holds) {
    HostClock::runFree();
    const uint64_t endMs = HostClock::nowMs() + 10000;
    while (!holds() && HostClock::nowMs() < endMs) {
      __IsoAgLib::Scheduler_c& scheduler = __IsoAgLib::getSchedulerInstance();
      scheduler.waitForWork(std::min(scheduler.runDueWork(), 100));
    }
    return holds();
  }
};

TEST_F(LostBus, IsToldOnceAndTakesTheAddressesAndTheApplicationStillCloses) {
  auto server = std::make_unique<TestSupport::BusServerProcess_c>();
  Host::setBus(0, server->address("can0"));
  __IsoAgLib::ZemoApp app;
  std::string software = "Lost-1.0";
  ASSERT_TRUE(app.init(__IsoAgLib::ZemoAppPlain, software, 128, 0, 0, 128, 0, 0, 0, true, false));
  Observer_c observer;
  __IsoAgLib::getSchedulerInstance().init(&observer);
  ASSERT_TRUE(runUntil([&app] { return app.getMyIdent(0)->isClaimedAddress(); }));

  const std::string address = server->address("can0");
  server.reset();
  ASSERT_TRUE(runUntil([&observer] { return !observer.errors.empty(); }));
  EXPECT_EQ(observer.errors[0].rfind("CAN instance 0: " + address + ": ", 0), 0U) << observer.errors[0];
  EXPECT_EQ(Host::lastError(), observer.errors[0]);
  EXPECT_FALSE(app.getMyIdent(0)->isClaimedAddress());
  EXPECT_EQ(__IsoAgLib::getSchedulerInstance().runDueWork(), 1000); // nothing is tried again and again
  EXPECT_EQ(observer.errors.size(), 1U);
  app.close();
  EXPECT_EQ(Host::port(0), nullptr);
}

TEST_F(LostBus, ThatOnlyStandsStillIsTriedAgainAfterAWhile) {
  const TestSupport::BusServerProcess_c server;
  Host::setBus(0, server.address("can0"));
  __IsoAgLib::ZemoApp app;
  std::string software = "Blocked-1.0";
  ASSERT_TRUE(app.init(__IsoAgLib::ZemoAppPlain, software, 128, 0, 0, 128, 0, 0, 0, true, false));
  ASSERT_TRUE(runUntil([&app] { return app.getMyIdent(0)->isClaimedAddress(); }));
  EXPECT_FALSE(Host::port(0)->isBlocked());

  server.freeze();
  CanFrame_s frame;
  frame.identifier = 0x18FFFF80;
  constexpr int moreThanAnySocketHolds = 1000000;
  for (int count = 0; count < moreThanAnySocketHolds && !Host::port(0)->isBlocked(); ++count) {
    ASSERT_TRUE(Host::port(0)->send(frame));
  }
  ASSERT_TRUE(Host::port(0)->isBlocked());
  EXPECT_EQ(__IsoAgLib::getSchedulerInstance().runDueWork(), 10);
  ASSERT_EQ(Host::pollDescriptors().size(), 1U);
  EXPECT_EQ(Host::pollDescriptors()[0].events, POLLIN | POLLOUT);
  EXPECT_TRUE(app.getMyIdent(0)->isClaimedAddress());
  app.close();
}

} // namespace
