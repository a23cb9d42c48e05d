#include "VtClientBus.h"

#include <algorithm>

using namespace IsoBusHost;
using namespace VtTest;

namespace {

// What becomes of the pool: uploaded, loaded, stored, refused.
class VtClientPool : public VtClientFixture {
protected:
  static std::ptrdiff_t count(const Texts& texts, const std::string& text) {
    return std::count(texts.begin(), texts.end(), text);
  }

  // connectedWith: lets the pool be taken, and what was said on the way returned.
  Texts said(PlayedVt_c& vt, const char* label = "LABEL") {
    registerPool(label);
    run(2000);
    return vt.take();
  }

  const std::string endOfPool = "12 FF FF FF FF FF FF FF";
  const std::string load = "D1 4C 41 42 45 4C 20 20";
  const std::string store = "D0 4C 41 42 45 4C 20 20";
};

TEST_F(VtClientPool, AsksForStoredPoolsOnlyWithALabel) {
  PlayedVt_c& vt = startVt();
  registerPool();
  run(2000);
  const Texts heard = vt.take();
  EXPECT_EQ(count(heard, "DF FF FF FF FF FF FF FF"), 0);
  EXPECT_EQ(count(heard, store), 0);
}

TEST_F(VtClientPool, IsStoredAfterTheUpload) {
  PlayedVt_c& vt = startVt();
  const Texts heard = said(vt);
  EXPECT_EQ(count(heard, "DF FF FF FF FF FF FF FF"), 1);
  ASSERT_GE(heard.size(), 3U);
  EXPECT_EQ(heard[heard.size() - 3], "11 ...");
  EXPECT_EQ(heard[heard.size() - 2], endOfPool);
  EXPECT_EQ(heard[heard.size() - 1], store);
  EXPECT_TRUE(connection().isConnected());
}

TEST_F(VtClientPool, IsLoadedWhenTheVtHasTheLabel) {
  PlayedVt_c& vt = startVt();
  vt.answer(0xDF, "E0 02 41 42 43 44 45 46 47 4C 41 42 45 4C 20 20");
  const Texts heard = said(vt);
  EXPECT_EQ(heard.back(), load);
  EXPECT_EQ(count(heard, "11 ..."), 0);
  EXPECT_EQ(pool.take(), Texts{"connected"});
}

TEST_F(VtClientPool, IsUploadedWhenTheVtHasOtherLabels) {
  PlayedVt_c& vt = startVt();
  vt.answer(0xDF, "E0 02 41 42 43 44 45 46 47 4C 41 42 45 4C 20 21");
  const Texts heard = said(vt);
  EXPECT_EQ(count(heard, load), 0);
  EXPECT_EQ(heard.back(), store);
}

TEST_F(VtClientPool, ReadsAListOfLabelsOnlyAsFarAsItGoes) {
  PlayedVt_c& vt = startVt();
  vt.answer(0xDF, "E0 FF 41 42 43 44 45 46 47 4C 41 42 45 4C 20"); // says 255, holds one and a half
  const Texts heard = said(vt);
  EXPECT_EQ(count(heard, load), 0);
  EXPECT_TRUE(connection().isConnected());
}

TEST_F(VtClientPool, ReadsAListOf255Labels) {
  PlayedVt_c& vt = startVt();
  std::string list = "E0 FF";
  for (int label = 0; label < 254; ++label) {
    list += " 41 42 43 44 45 46 47";
  }
  vt.answer(0xDF, list + " 4C 41 42 45 4C 20 20");
  const Texts heard = said(vt);
  EXPECT_EQ(heard.back(), load);
}

TEST_F(VtClientPool, IsUploadedWhenItCannotBeLoaded) {
  PlayedVt_c& vt = startVt();
  vt.answer(0xDF, "E0 01 4C 41 42 45 4C 20 20");
  vt.answer(0xD1, "D1 FF FF FF FF 01 FF FF");
  const Texts heard = said(vt);
  EXPECT_EQ(count(heard, load), 1);
  EXPECT_EQ(count(heard, "11 ..."), 1);
  EXPECT_TRUE(connection().isConnected());
  EXPECT_EQ(errors.take(), Texts{});
}

TEST_F(VtClientPool, IsUploadedWhenARecordHasChangedSinceItWasRegistered) {
  PlayedVt_c& vt = startVt();
  vt.answer(0xDF, "E0 01 4C 41 42 45 4C 20 20");
  registerPool("LABEL");
  EXPECT_FALSE(pool.set(77));
  run(2000);
  const Texts heard = vt.take();
  EXPECT_EQ(count(heard, load), 0);
  EXPECT_EQ(count(heard, "11 ..."), 1);
  EXPECT_EQ(count(heard, store), 0); // what is stored under the label are the values of the start
  EXPECT_TRUE(connection().isConnected());
}

TEST_F(VtClientPool, CarriesTheValuesOfTheMomentOfTheUpload) {
  PlayedVt_c& vt = startVt();
  registerPool();
  EXPECT_FALSE(pool.set(0x2A));
  run(2000);
  const std::vector<uint8_t> record = bytesOf("78 05 15 2A 00 00 00"); // id 1400, number variable, value
  EXPECT_NE(std::search(vt.pool.begin(), vt.pool.end(), record.begin(), record.end()), vt.pool.end());
  EXPECT_EQ(count(vt.take(), "A8 78 05 FF 2A 00 00 00"), 0);
}

TEST_F(VtClientPool, HasTheColoursThatTheVtCanShow) {
  PlayedVt_c& vt = startVt();
  vt.answer(0xC7, "C7 FF 00 00 E0 01 E0 01");
  registerPool();
  run(2000);
  const std::vector<uint8_t> record = bytesOf("4C 04 01 01"); // id 1100, data mask, white in place of red
  EXPECT_NE(std::search(vt.pool.begin(), vt.pool.end(), record.begin(), record.end()), vt.pool.end());
}

TEST_F(VtClientPool, IsConnectedWhenTheVtCannotStoreIt) {
  PlayedVt_c& vt = startVt();
  vt.answer(0xD0, "D0 FF FF FF FF 04 FF FF");
  said(vt);
  EXPECT_TRUE(connection().isConnected());
  EXPECT_EQ(errors.take(), Texts{"VT client 0: the VT at 38 does not store the pool: out of memory"});
}

TEST_F(VtClientPool, IsConnectedWhenAVtWithoutStorageSaysNothing) {
  PlayedVt_c& vt = startVt();
  vt.silent(0xDF);
  vt.silent(0xD0);
  registerPool("LABEL");
  run(5500);
  EXPECT_EQ(count(vt.heard, "DF FF FF FF FF FF FF FF"), 3);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientUploadsPool);
  run(12000);
  EXPECT_EQ(count(vt.heard, store), 3);
  EXPECT_TRUE(connection().isConnected());
}

TEST_F(VtClientPool, CommandsOfTheUploadWaitUntilItIsOver) {
  PlayedVt_c& vt = startVt();
  vt.silent(0x12);
  registerPool();
  run(2000);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientUploadsPool);
  EXPECT_TRUE(pool.set(50));
  EXPECT_TRUE(pool.set(51));
  EXPECT_EQ(connection().commandsWaiting(), 1U);
  run(100);
  EXPECT_EQ(count(vt.heard, "A8 78 05 FF 33 00 00 00"), 0);
  vt.say("12 00 FF FF FF FF 00 FF");
  run(100);
  EXPECT_EQ(count(vt.heard, "A8 78 05 FF 33 00 00 00"), 1);
  EXPECT_EQ(count(vt.heard, "A8 78 05 FF 32 00 00 00"), 0);
  EXPECT_EQ(connection().commandsWaiting(), 0U);
}

// --- The answer to the end of the pool

TEST_F(VtClientPool, IsRefusedWithWhatTheVtHasAgainstIt) {
  PlayedVt_c& vt = startVt();
  vt.answer(0x12, "12 01 4C 04 14 05 02 FF");
  registerPool();
  run(2000);
  const std::string line = "VT client 0: the VT at 38 does not take the pool: errors in the pool (missing object), "
                           "object 1300, parent 1100";
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientRefused);
  EXPECT_EQ(pool.take(), Texts{"refused: " + line});
  EXPECT_EQ(errors.take(), Texts{line});
  EXPECT_FALSE(pool.set(60));
}

TEST_F(VtClientPool, IsRefusedInClearWordsForEachBit) {
  const std::pair<const char*, const char*> cases[] = {
      {"12 02 FF FF FF FF 00 FF", "out of memory"},
      {"12 10 FF FF FF FF 00 FF", "other error"},
      {"12 13 FF FF FF FF 0F FF",
       "errors in the pool, out of memory, other error (unknown method or attribute, missing "
       "object, other, pool deleted)"},
      {"12 80 FF FF FF FF 00 FF", "error 128"},
  };
  for (const auto& [answer, words] : cases) {
    PlayedVt_c& vt = startVt();
    vt.answer(0x12, answer);
    registerPool();
    run(2000);
    EXPECT_EQ(errors.take(), Texts{std::string("VT client 0: the VT at 38 does not take the pool: ") + words});
    client().deregisterObjectPool(pool);
    vts.clear();
    run(4000);
  }
}

TEST_F(VtClientPool, IsOfferedAgainWhenTheVtHasGoneAndComeBack) {
  PlayedVt_c& vt = startVt();
  vt.answer(0x12, "12 01 4C 04 14 05 02 FF");
  registerPool();
  run(10000);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientRefused);
  EXPECT_EQ(count(vt.take(), "11 ..."), 1);
  vt.isOn = false;
  run(4000);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientWaitsForVt);
  vt.isOn = true;
  answerAll(vt);
  run(2000);
  EXPECT_TRUE(connection().isConnected());
  EXPECT_EQ(count(vt.take(), "11 ..."), 1);
}

TEST_F(VtClientPool, WaitsAsLongAsTheVtIsBusyWithIt) {
  PlayedVt_c& vt = startVt();
  vt.silent(0x12);
  vt.busy = "10";
  registerPool();
  run(20000);
  EXPECT_EQ(count(vt.heard, endOfPool), 1);
  vt.busy = "00";
  run(2000); // two statuses
  EXPECT_EQ(count(vt.heard, endOfPool), 1);
  run(1000);
  EXPECT_EQ(count(vt.heard, endOfPool), 2);
}

TEST_F(VtClientPool, CountsOnlyStatusesWithoutABusyOneBetween) {
  PlayedVt_c& vt = startVt();
  vt.silent(0x12);
  registerPool();
  run(1000);
  vt.isOn = false;
  for (const char* busy : {"00", "00", "10", "00", "00"}) {
    vt.status(busy);
    run(1000);
  }
  EXPECT_EQ(count(vt.heard, endOfPool), 1);
  vt.status("00");
  run(10);
  EXPECT_EQ(count(vt.heard, endOfPool), 2);
}

TEST_F(VtClientPool, CountsNoStatusOfAnotherVt) {
  PlayedVt_c& vt = startVt();
  vt.silent(0x12);
  registerPool();
  run(1000);
  vt.isOn = false;
  PlayedVt_c& other = startVt("02 00 00 00 00 1D 00 A0", 0x27);
  vt.status();
  run(1000);
  other.status();
  other.status();
  run(1000);
  vt.status();
  run(500);
  EXPECT_EQ(count(vt.heard, endOfPool), 1);
}

TEST_F(VtClientPool, WaitsAsLongAsTheVtIsBusyWithStoringIt) {
  PlayedVt_c& vt = startVt();
  vt.silent(0xD0);
  vt.busy = "02";
  registerPool("LABEL");
  run(10000);
  EXPECT_EQ(count(vt.heard, store), 1);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientUploadsPool);
}

TEST_F(VtClientPool, TakesNoAnswerWhileItIsBeingSent) {
  PlayedVt_c& vt = startVt();
  vt.node().setMultiReceive(false);
  registerPool();
  run(1000);
  vt.say("12 00 FF FF FF FF 00 FF");
  run(100);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientUploadsPool);
  EXPECT_EQ(statistics().messagesIgnored, 1U);
}

TEST_F(VtClientPool, GivesUpAfterThreeEndsOfPoolWithoutAnswer) {
  PlayedVt_c& vt = startVt();
  vt.silent(0x12);
  registerPool();
  run(9000);
  EXPECT_EQ(count(vt.heard, endOfPool), 3);
  EXPECT_EQ(count(vt.heard, "11 ..."), 1);
  run(2000);
  EXPECT_EQ(errors.take(), Texts{"VT client 0: the pool cannot be sent to the VT at 38"});
  vt.answer(0x12, "12 00 FF FF FF FF 00 FF");
  run(4000);
  EXPECT_TRUE(connection().isConnected());
}

TEST_F(VtClientPool, TakesNoAnswerBeforeTheEndOfThePool) {
  PlayedVt_c& vt = startVt();
  vt.silent(0xC7);
  registerPool();
  run(1000);
  vt.say("12 00 FF FF FF FF 00 FF");
  run(100);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientAsksVt);
  EXPECT_EQ(statistics().messagesIgnored, 1U);
}

// --- A transfer that fails

TEST_F(VtClientPool, IsSentAgainWhenTheVtAbortsTheTransfer) {
  PlayedVt_c& vt = startVt();
  vt.node().setMultiReceive(false);
  registerPool();
  run(1000);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientUploadsPool);
  CanFrame_s abort = BusText::frameOf("1CEC8026 FF 02 FF FF FF 00 E7 00");
  vt.port().send(abort);
  run(100);
  EXPECT_EQ(statistics().poolsSent, 1U);
  vt.node().setMultiReceive(true);
  run(2000);
  EXPECT_EQ(statistics().poolsSent, 2U);
  EXPECT_TRUE(connection().isConnected());
}

TEST_F(VtClientPool, IsTriedThreeTimesThenEverythingBeginsAgain) {
  PlayedVt_c& vt = startVt();
  vt.node().setMultiReceive(false);
  registerPool();
  run(6000);
  EXPECT_EQ(statistics().poolsSent, 3U);
  EXPECT_EQ(errors.take(), Texts{"VT client 0: the pool cannot be sent to the VT at 38"});
  run(60000);
  EXPECT_EQ(errors.take(), Texts{});
  EXPECT_EQ(Host::node(0)->transportStatistics().messagesSent, 0U);
  vt.node().setMultiReceive(true);
  run(10000);
  EXPECT_TRUE(connection().isConnected());
}

TEST_F(VtClientPool, IsGivenUpWhenTheStackCannotSendLongMessages) {
  PlayedVt_c& vt = startVt();
  __IsoAgLib::getMultiSendInstance(0).close();
  registerPool();
  run(6000);
  EXPECT_EQ(errors.take(), Texts{"VT client 0: the pool cannot be sent to the VT at 38"});
  __IsoAgLib::getMultiSendInstance(0).init();
  run(10000);
  EXPECT_TRUE(connection().isConnected());
  EXPECT_EQ(count(vt.take(), "11 ..."), 1);
}

TEST_F(VtClientPool, WaitsForATransferOfBeforeThatIsStillUnderWay) {
  PlayedVt_c& vt = startVt();
  vt.node().setMultiReceive(false);
  registerPool();
  run(1000);
  const CanFrame_s hold = BusText::frameOf("1CEC8026 11 00 FF FF FF 00 E7 00");
  vt.port().send(hold);
  vt.tell(0xE800, "01 FF FF FF 80 00 E7 00");
  for (int second = 0; second < 10; ++second) {
    run(500);
    vt.port().send(hold);
    run(500);
    vt.port().send(hold);
  }
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientUploadsPool);
  EXPECT_EQ(statistics().poolsSent, 1U);
  vt.node().setMultiReceive(true);
  vt.port().send(BusText::frameOf("1CEC8026 FF 02 FF FF FF 00 E7 00"));
  run(500);
  EXPECT_EQ(statistics().poolsSent, 2U);
  EXPECT_TRUE(connection().isConnected());
}

TEST_F(VtClientPool, BeginsAgainWhenTheVtVanishesInTheUpload) {
  PlayedVt_c& vt = startVt();
  vt.node().setMultiReceive(false);
  registerPool();
  run(1000);
  vt.isThere = false;
  run(4000);
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientWaitsForVt);
  EXPECT_EQ(pool.take(), Texts{});
  vt.isThere = true;
  vt.node().setMultiReceive(true);
  run(4000);
  EXPECT_TRUE(connection().isConnected());
  EXPECT_EQ(pool.take(), Texts{"connected"});
}

TEST_F(VtClientPool, OfManyKilobytesTakesTheExtendedProtocol) {
  PlayedVt_c& vt = startVt();
  std::vector<std::unique_ptr<IsoAgLib::iVtObjectStringVariable_c>> objects;
  std::vector<IsoAgLib::iVtObjectStringVariable_s> records(40);
  std::vector<char> text(1001, 'x');
  text.back() = '\0';
  std::vector<__IsoAgLib::vtObject_c*> all(pool.objects(), pool.objects() + pool.count());
  uint16_t id = 2000;
  for (auto& record : records) {
    record.object.ID = id++;
    record.length = 1000;
    record.value = text.data();
    objects.push_back(std::make_unique<IsoAgLib::iVtObjectStringVariable_c>());
    objects.back()->init(&record);
    all.push_back(objects.back().get());
  }
  IsoAgLib::iVtObjectPool_c large(all.data(), static_cast<uint16_t>(all.size()));
  client().initAndRegisterObjectPool(*ident, large);
  run(5000);
  EXPECT_TRUE(connection().isConnected());
  EXPECT_GT(vt.pool.size(), 40000U);
  client().deregisterObjectPool(large);
}

} // namespace
