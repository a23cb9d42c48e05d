#include "VtClientBus.h"

#include <algorithm>

using namespace IsoBusHost;
using namespace VtTest;

namespace {

// How a connection comes about.
class VtClientStart : public VtClientFixture {};

TEST_F(VtClientStart, AsksInTheOrderOfTheStandardThenSendsThePool) {
  PlayedVt_c& vt = startVt();
  registerPool();
  run(2000);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientIsConnected);
  const Texts heard = vt.take();
  ASSERT_EQ(heard.size(), 8U);
  EXPECT_EQ(heard[0], "0FE0D 80>FF 01 FF FF FF FF FF FF FF"); // with the claim
  EXPECT_EQ(heard[1], "0FE0D 80>FF 01 FF FF FF FF FF FF FF"); // for the VT
  const std::size_t bytes = vt.pool.size() - 1;
  ASSERT_GT(bytes, 100U);
  const std::vector<uint8_t> size{static_cast<uint8_t>(bytes & 0xFFU), static_cast<uint8_t>(bytes >> 8U)};
  EXPECT_EQ(heard[2], "C0 FF " + hexOf(size) + " 00 00 FF FF");
  EXPECT_EQ(heard[3], "C2 FF FF FF FF FF FF FF");
  EXPECT_EQ(heard[4], "C3 FF FF FF FF FF FF FF");
  EXPECT_EQ(heard[5], "C7 FF FF FF FF FF FF FF");
  EXPECT_EQ(heard[6], "11 ...");
  EXPECT_EQ(heard[7], "12 FF FF FF FF FF FF FF");
}

TEST_F(VtClientStart, TellsThePoolOnceWithWhatTheVtSaysOfItself) {
  startVt();
  registerPool();
  run(3000);
  EXPECT_EQ(pool.take(), Texts{"connected"});
  EXPECT_EQ(pool.vt.version, 4);
  EXPECT_EQ(pool.vt.softKeyWidth, 0x3C);
  EXPECT_EQ(pool.vt.softKeyHeight, 0x20);
  EXPECT_EQ(pool.vt.virtualSoftKeys, 0x40);
  EXPECT_EQ(pool.vt.physicalSoftKeys, 8);
  EXPECT_EQ(pool.vt.smallFonts, 0x7F);
  EXPECT_EQ(pool.vt.largeFonts, 0x3F);
  EXPECT_EQ(pool.vt.fontStyles, 0x8F);
  EXPECT_EQ(pool.vt.graphicType, 2);
  EXPECT_EQ(pool.vt.hardware, 0x0F);
  EXPECT_EQ(pool.vt.dataMaskWidth, 480);
  EXPECT_EQ(connection().vtProperties().dataMaskWidth, 480);
}

TEST_F(VtClientStart, KeepsTheWorkingSetAliveEachSecondAndSaysOnlyOnceThatItBegins) {
  PlayedVt_c& vt = startVt();
  registerPool();
  run(3500);
  ASSERT_GE(vt.maintenance.size(), 3U);
  const auto first = std::stoul(vt.maintenance[0]);
  EXPECT_EQ(vt.maintenance[0], std::to_string(first) + " FF 01 04 FF FF FF FF FF");
  EXPECT_EQ(vt.maintenance[1], std::to_string(first + 1000) + " FF 00 04 FF FF FF FF FF");
  EXPECT_EQ(vt.maintenance[2], std::to_string(first + 2000) + " FF 00 04 FF FF FF FF FF");
}

TEST_F(VtClientStart, TellsAVtOfVersion2NeitherBitsNorAVersion) {
  PlayedVt_c& vt = startVt();
  vt.answer(0xC0, "C0 02 00 FF FF FF FF FF");
  registerPool();
  run(2000);
  ASSERT_GE(vt.maintenance.size(), 2U);
  EXPECT_EQ(vt.maintenance[0].substr(vt.maintenance[0].find(' ')), " FF 01 04 FF FF FF FF FF");
  EXPECT_EQ(vt.maintenance[1].substr(vt.maintenance[1].find(' ')), " FF FF FF FF FF FF FF FF");
}

TEST_F(VtClientStart, TakesAVersionThatIsNoneForVersion2) {
  for (const char* version : {"00", "01", "02", "FF"}) {
    PlayedVt_c& vt = startVt();
    vt.answer(0xC0, std::string("C0 ") + version + " 00 FF FF FF FF FF");
    registerPool();
    run(2000);
    EXPECT_EQ(connection().vtProperties().version, 2) << version;
    client().deregisterObjectPool(pool);
    vts.clear();
    run(4000);
  }
}

TEST_F(VtClientStart, TellsAVersionThatItDoesNotKnowAsItIs) {
  for (const int version : {3, 4, 5, 6}) {
    PlayedVt_c& vt = startVt();
    vt.answer(0xC0, "C0 0" + std::to_string(version) + " 00 FF FF FF FF FF");
    registerPool();
    run(2000);
    EXPECT_EQ(connection().vtProperties().version, version);
    EXPECT_TRUE(connection().isConnected());
    client().deregisterObjectPool(pool);
    vts.clear();
    run(4000);
  }
}

TEST_F(VtClientStart, WaitsForTheAddressOfTheIdentity) {
  PlayedVt_c& vt = startVt();
  registerPool();
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientWaitsForAddress);
  run(240);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientWaitsForAddress);
  EXPECT_EQ(vt.take(), Texts{});
}

TEST_F(VtClientStart, WaitsForeverForAnIdentityOfTheOtherInstance) {
  IsoAgLib::iIdentItem_c second;
  Storage_s store;
  startStack(1, second, store, "08 00 00 00 00 80 00 A0");
  startVt();
  client().initAndRegisterObjectPool(second, pool);
  run(5000);
  EXPECT_TRUE(second.isClaimedAddress());
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientWaitsForAddress);
  client().deregisterObjectPool(pool);
}

TEST_F(VtClientStart, WaitsForAStatusOfAVt) {
  PlayedVt_c& vt = startVt();
  vt.isOn = false;
  registerPool();
  run(5000);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientWaitsForVt);
  EXPECT_EQ(vt.maintenance, Texts{});
  vt.isOn = true;
  run(1000);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientIsConnected);
}

TEST_F(VtClientStart, IgnoresAStatusOfACutLengthOrOfNobodyKnown) {
  PlayedVt_c& vt = startVt();
  vt.isOn = false;
  registerPool();
  run(1000);
  vt.tell(0xE600, "FE FF FF FF FF FF 00");
  vt.tell(0xE600, "FD FF FF FF FF FF 00 FF");
  run(100);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientWaitsForVt);
  CanFrame_s frame = BusText::frameOf("1CE6FF27 FE FF FF FF FF FF 00 FF");
  vt.port().send(frame);
  run(100);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientWaitsForVt);
}

TEST_F(VtClientStart, RepeatsAQuestionTwiceThenBeginsAgain) {
  PlayedVt_c& vt = startVt();
  vt.silent(0xC2);
  registerPool();
  run(4800);
  const Texts heard = vt.take();
  EXPECT_EQ(std::count(heard.begin(), heard.end(), "C2 FF FF FF FF FF FF FF"), 3);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientAsksVt);
  run(500);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientWaitsForVt);
  EXPECT_EQ(errors.take(), Texts{"VT client 0: the VT at 38 does not answer"});
  answerAll(vt);
  run(3000);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientIsConnected);
  EXPECT_EQ(errors.take(), Texts{});
}

TEST_F(VtClientStart, SaysItBeginsEachTimeItBegins) {
  PlayedVt_c& vt = startVt();
  vt.silent(0xC7);
  registerPool();
  run(20000);
  EXPECT_GE(std::count_if(vt.maintenance.begin(), vt.maintenance.end(),
                          [](const std::string& said) { return said.find(" FF 01 ") != std::string::npos; }),
            3);
  EXPECT_EQ(errors.take().size(), 1U); // the same complaint only once
}

TEST_F(VtClientStart, TakesOnlyTheAnswerToTheQuestion) {
  PlayedVt_c& vt = startVt();
  vt.answer(0xC0, "C2 00 FF FF 3C 20 40 08");
  registerPool();
  run(1500);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientAsksVt);
  EXPECT_EQ(statistics().messagesIgnored, 1U);
  vt.answer(0xC0, "C0 04 00 FF FF FF FF");
  run(1500);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientAsksVt);
  EXPECT_EQ(statistics().messagesIgnored, 2U);
}

TEST_F(VtClientStart, IsRefusedByAVtWithoutRoom) {
  PlayedVt_c& vt = startVt();
  vt.answer(0xC0, "C0 04 01 FF FF FF FF FF");
  registerPool();
  run(2000);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientRefused);
  const Texts heard = vt.take();
  const std::vector<uint8_t> asked = bytesOf(heard.back());
  ASSERT_EQ(asked.size(), 8U);
  const std::string bytes = std::to_string(asked[2] + asked[3] * 256);
  const std::string line = "VT client 0: the VT at 38 has no room for a pool of " + bytes + " bytes";
  EXPECT_EQ(pool.take(), Texts{"refused: " + line});
  EXPECT_EQ(errors.take(), Texts{line});
  const std::size_t said = vt.maintenance.size();
  run(5000);
  EXPECT_EQ(vt.maintenance.size(), said);
}

TEST_F(VtClientStart, NeedsAWorkingSetMaster) {
  __IsoAgLib::getIsoMonitorInstance(0).deregisterIdentItem(*ident);
  startStack(0, *ident, storage, "07 00 00 00 00 80 00 A0", -1);
  PlayedVt_c& vt = startVt();
  registerPool();
  run(5000);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientWaitsForVt);
  EXPECT_EQ(errors.take(), Texts{"VT client 0: its identity is no working-set master, or working sets are off"});
  EXPECT_EQ(vt.maintenance, Texts{});
}

TEST_F(VtClientStart, SpeaksToTheVtAfterTheLastMemberIsAnnounced) {
  __IsoAgLib::getIsoMonitorInstance(0).deregisterIdentItem(*ident);
  const __IsoAgLib::IsoName_c members[] = {__IsoAgLib::IsoName_c(bytesOf("01 02 03 04 05 06 07 08").data()),
                                           __IsoAgLib::IsoName_c(bytesOf("02 02 03 04 05 06 07 08").data())};
  ident->init(__IsoAgLib::IsoName_c(bytesOf("07 00 00 00 00 80 00 A0").data()), storage, 2, members, true);
  __IsoAgLib::getIsoMonitorInstance(0).registerIdentItem(*ident);
  PlayedVt_c& vt = startVt();
  vt.isOn = false;
  registerPool();
  run(2000);
  vt.take();
  vt.isOn = true;
  run(1000);
  const Texts heard = vt.take();
  ASSERT_GE(heard.size(), 4U);
  EXPECT_EQ(heard[0], "0FE0D 80>FF 03 FF FF FF FF FF FF FF");
  EXPECT_EQ(heard[1], "0FE0C 80>FF 01 02 03 04 05 06 07 08");
  EXPECT_EQ(heard[2], "0FE0C 80>FF 02 02 03 04 05 06 07 08");
  EXPECT_EQ(heard[3].substr(0, 2), "C0");
  ASSERT_FALSE(vt.maintenance.empty());
}

// --- Which VT

TEST_F(VtClientStart, TakesNoControlFunctionThatIsNoVt) {
  PlayedVt_c& other = startVt("01 00 00 00 00 80 00 A0", 0x30);
  registerPool();
  run(3000);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientWaitsForVt);
  EXPECT_EQ(other.maintenance, Texts{});
}

TEST_F(VtClientStart, AsksTheSelectionForEachVtAndTakesTheOneThatItAccepts) {
  PlayedVt_c& first = startVt("01 00 00 00 00 1D 00 A0", 0x26);
  PlayedVt_c& second = startVt("02 00 00 00 00 1D 00 A0", 0x27);
  Texts asked;
  registerPool().setVtServerSelection([&asked](const IsoAgLib::iIsoName_c& name) {
    asked.push_back(hexOf({name.outputString(), name.outputString() + 8}));
    return name.identityNumber() == 2;
  });
  run(3000);
  EXPECT_TRUE(connection().isConnected());
  EXPECT_EQ(first.maintenance, Texts{});
  EXPECT_FALSE(second.maintenance.empty());
  ASSERT_FALSE(asked.empty());
  EXPECT_EQ(asked.back(), "02 00 00 00 00 1D 00 A0");
  EXPECT_EQ(asked.front(), "01 00 00 00 00 1D 00 A0");
}

TEST_F(VtClientStart, LetsTheSelectionTakeWhateverSendsTheStatusOfAVt) {
  startVt("01 00 00 00 00 80 00 A0", 0x30);
  registerPool().setVtServerSelection([](const IsoAgLib::iIsoName_c&) { return true; });
  run(3000);
  EXPECT_TRUE(connection().isConnected());
}

TEST_F(VtClientStart, AsksTheSelectionAgainWithEachStatus) {
  startVt();
  int asked = 0;
  registerPool().setVtServerSelection([&asked](const IsoAgLib::iIsoName_c&) { return ++asked == 3; });
  run(5000);
  EXPECT_TRUE(connection().isConnected());
  EXPECT_EQ(asked, 3);
}

TEST_F(VtClientStart, AsksTheSelectionNoOftenerThanThereAreStatuses) {
  startVt();
  int asked = 0;
  registerPool().setVtServerSelection([&asked](const IsoAgLib::iIsoName_c&) { return ++asked < 0; });
  run(5500);
  EXPECT_GE(asked, 4);
  EXPECT_LE(asked, 6);
}

TEST_F(VtClientStart, WaitsForThePreferredVtUpToItsBootTime) {
  storage.preferred = "02 00 00 00 00 1D 00 A0";
  storage.preferredBootTime = 8;
  PlayedVt_c& other = startVt("01 00 00 00 00 1D 00 A0", 0x26);
  registerPool(nullptr, true);
  run(7900);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientWaitsForVt);
  run(1000);
  EXPECT_TRUE(connection().isConnected());
  EXPECT_FALSE(other.maintenance.empty());
}

TEST_F(VtClientStart, TakesThePreferredVtAsSoonAsItIsSeen) {
  storage.preferred = "02 00 00 00 00 1D 00 A0";
  storage.preferredBootTime = 20;
  PlayedVt_c& other = startVt("01 00 00 00 00 1D 00 A0", 0x26);
  registerPool(nullptr, true);
  run(4000);
  PlayedVt_c& preferred = startVt("02 00 00 00 00 1D 00 A0", 0x27);
  run(2000);
  EXPECT_TRUE(connection().isConnected());
  EXPECT_EQ(other.maintenance, Texts{});
  EXPECT_FALSE(preferred.maintenance.empty());
}

TEST_F(VtClientStart, WaitsThreeSecondsForAPreferredVtWithoutBootTime) {
  for (const uint8_t bootTime : {uint8_t{0}, uint8_t{255}}) {
    storage.preferred = "02 00 00 00 00 1D 00 A0";
    storage.preferredBootTime = bootTime;
    startVt("01 00 00 00 00 1D 00 A0", 0x26);
    run(500);
    registerPool(nullptr, true);
    run(2990);
    EXPECT_EQ(connection().state(), IsoAgLib::VtClientWaitsForVt);
    run(200);
    EXPECT_TRUE(connection().isConnected());
    client().deregisterObjectPool(pool);
    vts.clear();
    run(4000);
  }
}

TEST_F(VtClientStart, TellsTheStorageTheVtInUse) {
  startVt();
  registerPool(nullptr, true);
  run(2000);
  EXPECT_EQ(storage.stored, Texts{"01 00 00 00 00 1D 00 A0, 12"});
}

TEST_F(VtClientStart, WritesTheQuestionsToTheStorageIntoTheJournal) {
  storage.preferred = "01 00 00 00 00 1D 00 A0";
  storage.preferredBootTime = 3;
  startVt();
  registerPool("AB", true);
  run(2000);
  client().deregisterObjectPool(pool);
  client().deregisterObjectPool(pool);
  const auto& entries = Journal::entries();
  const auto count = [&entries](const std::string& entry) { return std::count(entries.begin(), entries.end(), entry); };
  EXPECT_EQ(count("VtClient_c[0]::initAndRegisterObjectPool(ident 1, pool of 10 objects, \"AB\", storage)"), 1);
  EXPECT_EQ(count("-> VT client 0 loadPreferredVt() = A0001D0000000001, 3"), 1);
  EXPECT_EQ(count("-> VT client 0 storePreferredVt(A0001D0000000001, 12)"), 1);
  EXPECT_EQ(count("VtClient_c[0]::deregisterObjectPool(pool of 10 objects) = true"), 1);
  EXPECT_EQ(count("VtClient_c[0]::deregisterObjectPool(pool of 10 objects) = false"), 1);
}

// --- Which pool

TEST_F(VtClientStart, TakesNoPoolTwiceAndNoIdentityTwice) {
  registerPool();
  EXPECT_EQ(client().initAndRegisterObjectPool(*ident, pool), nullptr);
  Pool_c other;
  EXPECT_EQ(client().initAndRegisterObjectPool(*ident, other), nullptr);
  EXPECT_EQ(errors.take(),
            (Texts{"VT client of instance 0: a pool is not registered: the pool is registered already",
                   "VT client of instance 0: a pool is not registered: the identity has a pool already"}));
}

TEST_F(VtClientStart, TakesNoPoolBeforeTheClientIsInitialised) {
  client().close();
  EXPECT_EQ(client().initAndRegisterObjectPool(*ident, pool), nullptr);
  EXPECT_EQ(errors.take(), Texts{"VT client of instance 0: a pool is not registered: the client is not initialised"});
  EXPECT_EQ(__IsoAgLib::getVtClientInstance(2).initAndRegisterObjectPool(*ident, pool), nullptr);
}

TEST_F(VtClientStart, TakesNoPoolThatIsNotSound) {
  IsoAgLib::iVtObjectPool_c empty(pool.objects(), 0);
  EXPECT_EQ(client().initAndRegisterObjectPool(*ident, empty), nullptr);
  EXPECT_EQ(errors.take().size(), 1U);
}

TEST_F(VtClientStart, GivesObjectsTheirConnectionAndTakesItBack) {
  Pool_c other;
  IsoAgLib::iIdentItem_c second;
  Storage_s store;
  startStack(0, second, store, "08 00 00 00 00 80 00 A0");
  client().initAndRegisterObjectPool(second, other);
  registerPool();
  EXPECT_EQ(other.variable.getClientID(), 0);
  EXPECT_EQ(pool.variable.getClientID(), 1);
  EXPECT_TRUE(client().deregisterObjectPool(other));
  EXPECT_EQ(other.variable.getClientID(), __IsoAgLib::vtObject_c::noClient);
  EXPECT_FALSE(client().deregisterObjectPool(other));
  EXPECT_EQ(client().getClientByID(0).connectionState(), nullptr);
  EXPECT_NE(client().getClientByID(1).connectionState(), nullptr);
}

TEST_F(VtClientStart, HasAConnectionThatKeepsNothingForAnyOtherNumber) {
  __IsoAgLib::VtClientConnection_c& nothing = client().getClientByID(200);
  EXPECT_EQ(nothing.state(), IsoAgLib::VtClientWaitsForAddress);
  EXPECT_EQ(nothing.vtProperties().version, 0);
  EXPECT_EQ(nothing.commandsWaiting(), 0U);
  EXPECT_EQ(nothing.getUserClippedColor(77, &pool.mask, IsoAgLib::LineColour), 77);
  nothing.setVtServerSelection({});
  EXPECT_EQ(vtClientStatistics(nothing).commandsSent, 0U);
  EXPECT_FALSE(pool.set(9));
}

TEST_F(VtClientStart, ClipsColoursOnlyWhileThereIsAVt) {
  PlayedVt_c& vt = startVt();
  vt.answer(0xC7, "C7 FF 00 00 E0 01 E0 01");
  registerPool();
  EXPECT_EQ(connection().getUserClippedColor(12, &pool.mask, IsoAgLib::BackgroundColour), 12);
  run(2000);
  EXPECT_EQ(connection().getUserClippedColor(12, &pool.mask, IsoAgLib::BackgroundColour), 1);
  vt.isThere = false;
  run(4000);
  EXPECT_EQ(connection().getUserClippedColor(12, &pool.mask, IsoAgLib::BackgroundColour), 12);
}

} // namespace
