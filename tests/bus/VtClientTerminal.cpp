#include "VtClientBus.h"
#include "terminal/Terminal.h"

#include "CanTransport.h"
#include "HostClock.h"

using namespace IsoBusHost;
using namespace VtTest;

namespace {

// The VT client and the terminal on one bus.
class VtClientTerminal : public VtClientFixture {
protected:
  void start(const TerminalSettings_s& settings) {
    std::string error;
    port = std::make_unique<CanPort_c>(openTransport("local:can0", error));
    node = std::make_unique<BusNode_c>(*port);
    terminal = std::make_unique<Terminal_c>(*node, settings);
    eachRound = [this] {
      terminal->poll();
      return port->hasPending() || terminal->nextDueMs() <= HostClock::nowMs();
    };
  }

  static TerminalSettings_s settingsOf(int version) {
    TerminalSettings_s settings;
    settings.name = BusText::nameOf(PlayedVt_c::standardName);
    settings.version = version;
    return settings;
  }

  void connectTo(int version) {
    start(settingsOf(version));
    registerPool();
    run(4000);
  }

  uint32_t shownValue() {
    const TerminalObject_s* object = terminal->object(0x80, 1400);
    return object == nullptr ? 0xFFFFFFFFU : object->value(Attribute_e::value);
  }

  void TearDown() override {
    eachRound = {};
    terminal.reset();
    VtClientFixture::TearDown();
  }

  std::unique_ptr<CanPort_c> port;
  std::unique_ptr<BusNode_c> node;
  std::unique_ptr<Terminal_c> terminal;
};

TEST_F(VtClientTerminal, ConnectsInEachVersion) {
  for (const int version : {2, 3, 4}) {
    connectTo(version);
    EXPECT_TRUE(connection().isConnected()) << version;
    EXPECT_EQ(connection().vtProperties().version, version);
    EXPECT_EQ(pool.take(), Texts{"connected"});
    ASSERT_EQ(terminal->clients().size(), 1U);
    EXPECT_TRUE(terminal->clients()[0].hasPool);
    EXPECT_EQ(terminal->clients()[0].malformed, 0U);
    EXPECT_EQ(terminal->clients()[0].activeMask, 1100);
    client().deregisterObjectPool(pool);
    eachRound = {};
    terminal.reset();
    run(4000);
  }
}

TEST_F(VtClientTerminal, ShowsEachChange) {
  connectTo(4);
  EXPECT_EQ(shownValue(), 5U);
  for (uint32_t value = 100; value < 150; ++value) {
    EXPECT_TRUE(pool.set(value));
    run(100);
    EXPECT_EQ(shownValue(), value);
  }
  EXPECT_TRUE(pool.text.setValueCopy("new words", true, true));
  run(200);
  const auto& text = terminal->object(0x80, 1500)->text;
  EXPECT_EQ(std::string(text.begin(), text.end()), "new words ");
  EXPECT_EQ(pool.take(), Texts{"connected"});
  EXPECT_EQ(statistics().commandsFailed, 0U);
  EXPECT_EQ(statistics().commandsRepeated, 0U);
}

TEST_F(VtClientTerminal, GivesTheOperatorsInput) {
  connectTo(4);
  pool.take();
  EXPECT_EQ(terminal->key(0x80, 1701, KeyState_e::pressed), "");
  run(50);
  EXPECT_EQ(terminal->key(0x80, 1701, KeyState_e::released), "");
  run(50);
  EXPECT_EQ(pool.take(), (Texts{"soft key 7 1701 1100 1", "soft key 7 1701 1100 0"}));
  EXPECT_EQ(terminal->clients()[0].inputsAnswered, terminal->clients()[0].inputsSent);
}

TEST_F(VtClientTerminal, StoresAPoolAndLoadsItTheNextTime) {
  start(settingsOf(4));
  registerPool("LABEL");
  run(4000);
  ASSERT_TRUE(connection().isConnected());
  EXPECT_EQ(statistics().poolsSent, 1U);
  terminal->vanish();
  run(4000);
  terminal->comeBack();
  run(10000);
  EXPECT_TRUE(connection().isConnected());
  EXPECT_EQ(statistics().connections, 2U);
  EXPECT_EQ(statistics().poolsSent, 1U);
  EXPECT_EQ(shownValue(), 5U);
}

TEST_F(VtClientTerminal, ComesBackAfterItHasVanished) {
  connectTo(4);
  pool.set(200);
  run(100);
  terminal->vanish();
  run(4000);
  EXPECT_EQ(pool.take(), (Texts{"connected", "disconnected"}));
  terminal->comeBack();
  run(10000);
  EXPECT_EQ(pool.take(), Texts{"connected"});
  EXPECT_EQ(shownValue(), 200U);
}

TEST_F(VtClientTerminal, RefusesAPoolThatIsLargerThanItsMemory) {
  TerminalSettings_s settings = settingsOf(4);
  settings.memoryBytes = 50;
  start(settings);
  registerPool();
  run(4000);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientRefused);
  ASSERT_EQ(errors.lines.size(), 1U);
  EXPECT_NE(errors.lines[0].find("has no room for a pool of"), std::string::npos);
}

TEST_F(VtClientTerminal, RefusesAPoolInClearWords) {
  start(settingsOf(4));
  PoolRefusal_s refusal;
  refusal.parent = 1100;
  refusal.object = 1300;
  refusal.poolError = 2;
  terminal->refuseNextPool(refusal);
  registerPool();
  run(4000);
  EXPECT_EQ(errors.take(), Texts{"VT client 0: the VT at 38 does not take the pool: errors in the pool (missing "
                                 "object), object 1300, parent 1100"});
}

TEST_F(VtClientTerminal, OutlivesLateWrongAndMissingAnswers) {
  connectTo(4);
  pool.take();
  for (const auto kind : {AnswerFault_s::late, AnswerFault_s::wrong, AnswerFault_s::never}) {
    AnswerFault_s fault;
    fault.kind = kind;
    fault.code = uint8_t{0xA8};
    fault.delayMs = 2000;
    terminal->addFault(fault);
    pool.set(300U + kind, false);
    pool.set(400U + kind, false);
    run(8000);
    EXPECT_EQ(connection().commandsWaiting(), 0U);
    EXPECT_EQ(shownValue(), 400U + kind);
  }
  EXPECT_TRUE(connection().isConnected());
  EXPECT_EQ(statistics().commandsRepeated, 3U);
  EXPECT_GE(statistics().messagesIgnored, 1U);
  EXPECT_EQ(pool.take(), Texts{});
}

} // namespace
