#include "VtClientBus.h"

#include "HostClock.h"

#include <algorithm>

using namespace IsoBusHost;
using namespace VtTest;

namespace {

// What ends a connection, and how the next one begins.
class VtClientLoss : public VtClientFixture {
protected:
  static std::ptrdiff_t count(const Texts& texts, const std::string& part) {
    return std::count_if(texts.begin(), texts.end(),
                         [&part](const std::string& text) { return text.find(part) != std::string::npos; });
  }
};

TEST_F(VtClientLoss, OfTheVtIsToldAfterThreeSecondsWithoutStatus) {
  PlayedVt_c& vt = connect();
  run(1000);
  vt.isOn = false;
  vt.status();
  run(2990);
  EXPECT_TRUE(connection().isConnected());
  run(10);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientWaitsForVt);
  EXPECT_EQ(pool.take(), Texts{"disconnected"});
  EXPECT_EQ(connection().vtProperties().version, 0);
  const std::size_t said = vt.maintenance.size();
  run(10000);
  EXPECT_EQ(pool.take(), Texts{});
  EXPECT_EQ(vt.maintenance.size(), said);
}

TEST_F(VtClientLoss, IsMendedFromTheStart) {
  PlayedVt_c& vt = connect();
  pool.set(66);
  run(100);
  vt.isOn = false;
  run(4500);
  vt.take();
  vt.maintenance.clear();
  vt.isOn = true;
  run(3000);
  EXPECT_EQ(pool.take(), (Texts{"disconnected", "connected"}));
  const Texts heard = vt.take();
  ASSERT_GE(heard.size(), 2U);
  EXPECT_EQ(heard[0].substr(0, 5), "0FE0D");
  EXPECT_EQ(heard[1].substr(0, 2), "C0");
  EXPECT_NE(vt.maintenance.at(0).find(" FF 01 04 "), std::string::npos);
  const std::vector<uint8_t> record = bytesOf("78 05 15 42 00 00 00"); // the value that was set meanwhile
  EXPECT_NE(std::search(vt.pool.begin(), vt.pool.end(), record.begin(), record.end()), vt.pool.end());
  EXPECT_EQ(statistics().connections, 2U);
}

TEST_F(VtClientLoss, FollowsARefusalOfWhatTheWorkingSetSends) {
  PlayedVt_c& vt = connect();
  run(500);
  vt.tell(0xE800, "01 FF FF FF 80 00 E7 00");
  run(10);
  EXPECT_EQ(pool.take(), Texts{"disconnected"});
  EXPECT_EQ(errors.take(), Texts{"VT client 0: the VT at 38 does not know the working set"});
  run(4000);
  EXPECT_TRUE(connection().isConnected());
  vt.tell(0xE800, "01 FF FF FF 80 00 E7 00");
  run(10);
  EXPECT_EQ(errors.take().size(), 1U); // told anew after each connection
}

TEST_F(VtClientLoss, FollowsNoOtherAcknowledgement) {
  PlayedVt_c& vt = connect();
  PlayedVt_c& other = startVt("02 00 00 00 00 1D 00 A0", 0x27);
  run(1000);
  vt.tell(0xE800, "00 FF FF FF 80 00 E7 00"); // positive
  vt.tell(0xE800, "01 FF FF FF 81 00 E7 00"); // for another
  vt.tell(0xE800, "01 FF FF FF 80 00 E6 00"); // about something else
  vt.tell(0xE800, "01 FF FF FF 80 00 E7 01");
  vt.tell(0xE800, "01 FF FF FF 80 00 E7");
  other.tell(0xE800, "01 FF FF FF 80 00 E7 00");
  run(100);
  EXPECT_TRUE(connection().isConnected());
  EXPECT_EQ(pool.take(), Texts{});
}

TEST_F(VtClientLoss, ByAVtThatRefusesEverythingDoesNotFloodTheBus) {
  PlayedVt_c& vt = startVt();
  registerPool();
  for (int second = 0; second < 60; ++second) {
    run(1000);
    vt.tell(0xE800, "01 FF FF FF 80 00 E7 00");
  }
  EXPECT_LE(vt.maintenance.size(), 60U);
}

TEST_F(VtClientLoss, OfTheVtsAddressBeginsAgainAtTheNewOne) {
  PlayedVt_c& vt = connect();
  CanFrame_s claim = BusText::frameOf("18EEFF27 01 00 00 00 00 1D 00 A0");
  vt.port().send(claim);
  settle();
  run(10);
  EXPECT_EQ(pool.take(), Texts{"disconnected"});
}

TEST_F(VtClientLoss, OfTheVtsAddressToAnotherIsTold) {
  PlayedVt_c& vt = connect();
  vt.isThere = false;
  vt.port().send(BusText::frameOf("18EEFF26 01 00 00 00 00 1C 00 A0")); // a NAME of higher priority
  run(10);
  EXPECT_EQ(pool.take(), Texts{"disconnected"});
}

TEST_F(VtClientLoss, OfTheOwnAddressIsToldOnce) {
  PlayedVt_c& vt = connect();
  CanFrame_s claim = BusText::frameOf("18EEFF80 01 00 00 00 00 10 00 A0"); // a NAME of higher priority
  vt.port().send(claim);
  run(10);
  EXPECT_EQ(pool.take(), Texts{"disconnected"});
  run(5000); // the identity claims another address
  EXPECT_EQ(pool.take(), Texts{"connected"});
  EXPECT_NE(ident->nr(), 0x80);
}

TEST_F(VtClientLoss, OfTheIdentityIsToldOnceAndMendedWhenItIsBack) {
  connect();
  __IsoAgLib::getIsoMonitorInstance(0).deregisterIdentItem(*ident);
  EXPECT_EQ(pool.take(), Texts{}); // events come from runDueWork
  run(10);
  EXPECT_EQ(pool.take(), Texts{"disconnected"});
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientWaitsForAddress);
  __IsoAgLib::getIsoMonitorInstance(0).registerIdentItem(*ident);
  run(5000);
  EXPECT_EQ(pool.take(), Texts{"connected"});
}

TEST_F(VtClientLoss, OfADestroyedIdentityIsSafe) {
  connect();
  ident.reset();
  run(100);
  EXPECT_EQ(pool.take(), Texts{"disconnected"});
  run(5000);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientWaitsForAddress);
  EXPECT_TRUE(client().deregisterObjectPool(pool));
}

TEST_F(VtClientLoss, OfTheBusIsToldOnceAndMendedWhenItIsOpenAgain) {
  connect();
  __IsoAgLib::getCanInstance(0).close();
  EXPECT_EQ(pool.take(), Texts{});
  EXPECT_TRUE(pool.set(9)); // nobody has looked yet
  run(10);
  EXPECT_EQ(pool.take(), Texts{"disconnected"});
  EXPECT_FALSE(pool.set(10));
  run(5000);
  startStack(0, *ident, storage, "07 00 00 00 00 80 00 A0");
  run(5000);
  EXPECT_EQ(pool.take(), Texts{"connected"});
}

TEST_F(VtClientLoss, OfTheClientDeletesThePoolAndTellsNothing) {
  PlayedVt_c& vt = connect();
  client().close();
  run(10);
  EXPECT_EQ(vt.take(), Texts{"B2 FF FF FF FF FF FF FF"});
  EXPECT_EQ(pool.take(), Texts{});
  EXPECT_EQ(pool.variable.getClientID(), __IsoAgLib::vtObject_c::noClient);
  EXPECT_EQ(client().getClientByID(0).connectionState(), nullptr);
  run(5000);
  EXPECT_EQ(vt.take(), Texts{});
  client().init();
  registerPool();
  run(3000);
  EXPECT_EQ(pool.take(), Texts{"connected"});
}

TEST_F(VtClientLoss, ByDeregisteringDeletesThePoolOnlyWhenItIsThere) {
  PlayedVt_c& vt = startVt();
  vt.silent(0x12);
  registerPool();
  run(1000);
  client().deregisterObjectPool(pool);
  run(100);
  EXPECT_EQ(count(vt.take(), "B2 "), 0);
  vt.answer(0x12, "12 00 FF FF FF FF 00 FF");
  registerPool();
  run(3000);
  client().deregisterObjectPool(pool);
  run(100);
  EXPECT_EQ(count(vt.take(), "B2 FF FF FF FF FF FF FF"), 1);
}

// --- In the middle of a call-back

TEST_F(VtClientLoss, ByDeregisteringInAnyEventIsSafe) {
  const char* const inputs[] = {"00 01 A5 06 4C 04 07 FF", "03 40 06 01 01 FF FF FF", "05 78 05 FF 04 03 02 01",
                                "08 DC 05 03 61 62 63 FF", "06 4C 04 24 14 05 4C 04"};
  for (const char* input : inputs) {
    PlayedVt_c& vt = startVt();
    registerPool();
    run(2000);
    ASSERT_TRUE(connection().isConnected());
    pool.onTold = [this](const std::string&) { client().deregisterObjectPool(pool); };
    vt.say(input);
    run(1000);
    EXPECT_EQ(client().getClientByID(0).connectionState(), nullptr) << input;
    pool.onTold = {};
    vts.clear();
    run(4000);
  }
}

TEST_F(VtClientLoss, ByDeregisteringWhenConnectedDisconnectedOrRefusedIsSafe) {
  for (const char* word : {"connected", "disconnected", "refused"}) {
    PlayedVt_c& vt = startVt();
    vt.answer(0x12, std::string(word) == "refused" ? "12 01 4C 04 14 05 02 FF" : "12 00 FF FF FF FF 00 FF");
    pool.onTold = [this, word](const std::string& what) {
      if (what.find(word) == 0) {
        client().deregisterObjectPool(pool);
      }
    };
    registerPool();
    run(2000);
    vt.isThere = false;
    run(4000);
    EXPECT_EQ(client().getClientByID(0).connectionState(), nullptr) << word;
    pool.onTold = {};
    vts.clear();
    run(4000);
  }
}

TEST_F(VtClientLoss, ByDeregisteringBetweenTwoEventsKeepsTheSecondBack) {
  PlayedVt_c& vt = connect();
  pool.onTold = [this](const std::string&) { client().deregisterObjectPool(pool); };
  vt.say("06 4C 04 24 14 05 4C 04"); // the VT deletes the pool: disconnected, and then refused
  run(100);
  EXPECT_EQ(pool.take(), Texts{"disconnected"});
}

TEST_F(VtClientLoss, ByDeregisteringWhenACommandFailsIsSafe) {
  PlayedVt_c& vt = connect();
  vt.silent(0xA8);
  pool.onTold = [this](const std::string&) { client().deregisterObjectPool(pool); };
  pool.set(1, false);
  pool.set(2, false);
  run(5000);
  EXPECT_EQ(pool.take(), Texts{"failed A8 1400 FF"});
  EXPECT_EQ(client().getClientByID(0).connectionState(), nullptr);
}

TEST_F(VtClientLoss, ByClosingEverythingInACallBackIsSafe) {
  PlayedVt_c& vt = connect();
  pool.onTold = [](const std::string&) { Host::reset(); };
  vt.say("00 01 A5 06 4C 04 07 FF");
  run(1000);
  EXPECT_EQ(pool.take(), Texts{"soft key 7 1701 1100 1"});
  EXPECT_EQ(Host::node(0), nullptr);
}

TEST_F(VtClientLoss, ByDeregisteringWhenAskedForAColourIsSafe) {
  PlayedVt_c& vt = startVt();
  registerPool();
  pool.onColour = [this] { client().deregisterObjectPool(pool); };
  run(5000);
  EXPECT_EQ(client().getClientByID(0).connectionState(), nullptr);
  EXPECT_EQ(count(vt.take(), "11 ..."), 0);
}

TEST_F(VtClientLoss, ByDeregisteringInTheSelectionIsSafe) {
  startVt();
  registerPool().setVtServerSelection([this](const IsoAgLib::iIsoName_c&) {
    client().deregisterObjectPool(pool);
    return true;
  });
  run(5000);
  EXPECT_EQ(client().getClientByID(0).connectionState(), nullptr);
}

TEST_F(VtClientLoss, RunningTheSchedulerInACallBackIsSafe) {
  PlayedVt_c& vt = connect();
  pool.onTold = [](const std::string&) { __IsoAgLib::getSchedulerInstance().runDueWork(); };
  vt.say("00 01 A5 06 4C 04 07 FF");
  vt.say("00 00 A5 06 4C 04 07 FF");
  run(100);
  EXPECT_EQ(pool.take(), (Texts{"soft key 7 1701 1100 1", "soft key 7 1701 1100 0"}));
}

// --- Several

TEST_F(VtClientLoss, OfOneVtLeavesTheOtherConnectionAlone) {
  IsoAgLib::iIdentItem_c second;
  Storage_s store;
  store.address = 0x81;
  startStack(0, second, store, "08 00 00 00 00 80 00 A0");
  PlayedVt_c& first = startVt("01 00 00 00 00 1D 00 A0", 0x26);
  startVt("02 00 00 00 00 1D 00 A0", 0x27);
  Pool_c other;
  registerPool().setVtServerSelection([](const IsoAgLib::iIsoName_c& name) { return name.identityNumber() == 1; });
  client().initAndRegisterObjectPool(second, other)->setVtServerSelection([](const IsoAgLib::iIsoName_c& name) {
    return name.identityNumber() == 2;
  });
  run(3000);
  EXPECT_EQ(pool.take(), Texts{"connected"});
  EXPECT_EQ(other.take(), Texts{"connected"});
  first.isThere = false;
  run(4000);
  EXPECT_EQ(pool.take(), Texts{"disconnected"});
  EXPECT_EQ(other.take(), Texts{});
  other.set(5);
  run(100);
  EXPECT_EQ(client().getClientByID(1).commandsWaiting(), 0U);
  client().deregisterObjectPool(other);
}

TEST_F(VtClientLoss, TwoWorkingSetsOfOneVtHearOnlyTheirOwn) {
  IsoAgLib::iIdentItem_c second;
  Storage_s store;
  store.address = 0x81;
  startStack(0, second, store, "08 00 00 00 00 80 00 A0");
  PlayedVt_c& vt = connect();
  Pool_c other;
  client().initAndRegisterObjectPool(second, other);
  run(3000);
  EXPECT_EQ(other.take(), Texts{"connected"});
  vt.say("00 01 A5 06 4C 04 07 FF", 0x81);
  run(100);
  EXPECT_EQ(pool.take(), Texts{});
  EXPECT_EQ(other.take(), Texts{"soft key 7 1701 1100 1"});
  vt.tell(0xE800, "01 FF FF FF 80 00 E7 00");
  run(100);
  EXPECT_EQ(pool.take(), Texts{"disconnected"});
  EXPECT_EQ(other.take(), Texts{});
  client().deregisterObjectPool(other);
}

TEST_F(VtClientLoss, ConnectsOnTheSecondInstanceToo) {
  IsoAgLib::iIdentItem_c second;
  Storage_s store;
  startStack(1, second, store, "08 00 00 00 00 80 00 A0");
  startVt("03 00 00 00 00 1D 00 A0", 0x26, "can1");
  EXPECT_NE(__IsoAgLib::getVtClientInstance(1).initAndRegisterObjectPool(second, pool), nullptr);
  run(3000);
  EXPECT_EQ(pool.take(), Texts{"connected"});
  EXPECT_EQ(pool.variable.getMultitonInstance(), 1U);
  EXPECT_TRUE(pool.set(3));
  run(100);
  EXPECT_EQ(__IsoAgLib::getVtClientInstance(1).getClientByID(0).commandsWaiting(), 0U);
  EXPECT_EQ(vts[0]->take().back(), "A8 78 05 FF 03 00 00 00");
  __IsoAgLib::getVtClientInstance(1).deregisterObjectPool(pool);
}

// --- When to come again

TEST_F(VtClientLoss, MaintenanceIsDueWithinASecond) {
  connect();
  EXPECT_LE(__IsoAgLib::getSchedulerInstance().runDueWork(), 1000);
  const uint64_t sent = vts[0]->maintenance.size();
  int waits = 0;
  for (int round = 0; round < 20; ++round) {
    const int waitMs = __IsoAgLib::getSchedulerInstance().runDueWork();
    HostClock::advanceMs(static_cast<uint64_t>(waitMs));
    waits += waitMs;
    vts[0]->run();
  }
  settle();
  EXPECT_GT(waits, 3000);
  EXPECT_GE(vts[0]->maintenance.size(), sent + 3);
}

} // namespace
