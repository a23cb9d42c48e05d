#include "VtClientBus.h"

using namespace IsoBusHost;
using namespace VtTest;

namespace {

// What the VT says to a connected working set.
class VtClientInput : public VtClientFixture {
protected:
  void SetUp() override {
    VtClientFixture::SetUp();
    vt = &connect();
  }

  // hear: lets the VT say something and returns what it is answered.
  Texts hear(const std::string& bytes) {
    vt->heard.clear();
    vt->say(bytes);
    run(200);
    return vt->take();
  }

  PlayedVt_c* vt = nullptr;
};

TEST_F(VtClientInput, TellsASoftKeyAndAnswersWithTheSameBytes) {
  EXPECT_EQ(hear("00 01 A5 06 4C 04 07 FF"), Texts{"00 01 A5 06 4C 04 07 FF"});
  EXPECT_EQ(pool.take(), Texts{"soft key 7 1701 1100 1"});
}

TEST_F(VtClientInput, TellsEachStateOfAKeyAndNoOther) {
  for (const char state : {'0', '1', '2', '3'}) {
    hear(std::string("00 0") + state + " A5 06 4C 04 07 FF");
    EXPECT_EQ(pool.take(), Texts{std::string("soft key 7 1701 1100 ") + state});
  }
  EXPECT_EQ(hear("00 04 A5 06 4C 04 07 FF"), Texts{});
  EXPECT_EQ(pool.take(), Texts{});
  EXPECT_EQ(statistics().messagesIgnored, 1U);
}

TEST_F(VtClientInput, TellsAButtonAndAnswersWithTheSameBytes) {
  EXPECT_EQ(hear("01 02 A5 06 4C 04 09 FF"), Texts{"01 02 A5 06 4C 04 09 FF"});
  EXPECT_EQ(pool.take(), Texts{"button 9 1701 1100 2"});
}

TEST_F(VtClientInput, AnswersAPointingAndAnEscapeWithoutAWord) {
  EXPECT_EQ(hear("02 10 00 20 00 01 FF FF"), Texts{"02 10 00 20 00 01 FF FF"});
  EXPECT_EQ(hear("04 40 06 00 FF FF FF FF"), Texts{"04 40 06 00 FF FF FF FF"});
  EXPECT_EQ(pool.take(), Texts{});
  EXPECT_EQ(statistics().messagesIgnored, 0U);
}

TEST_F(VtClientInput, TellsASelectedInput) {
  EXPECT_EQ(hear("03 40 06 01 01 FF FF FF"), Texts{"03 40 06 01 01 FF FF FF"});
  hear("03 40 06 01 00 FF FF FF");
  hear("03 40 06 00 FF FF FF FF"); // a VT before version 4 leaves the fifth byte unused
  EXPECT_EQ(pool.take(), (Texts{"select 1600 1 1", "select 1600 1 0", "select 1600 0 0"}));
}

TEST_F(VtClientInput, WritesANumberIntoItsRecordBeforeItIsTold) {
  uint32_t stored = 0;
  pool.onTold = [&](const std::string&) { stored = pool.variable.get_vtObjectNumberVariable_a().value; };
  EXPECT_EQ(hear("05 78 05 FF 04 03 02 01"), Texts{"05 78 05 FF 04 03 02 01"});
  EXPECT_EQ(pool.take(), Texts{"number 1400 16909060"});
  EXPECT_EQ(stored, 0x01020304U);
}

TEST_F(VtClientInput, WritesAnIndexIntoItsList) {
  hear("05 40 06 FF 01 00 00 00");
  EXPECT_EQ(pool.take(), Texts{"number 1600 1"});
  EXPECT_EQ(pool.list.get_vtObjectInputList_a().value, 1);
}

TEST_F(VtClientInput, WritesATextIntoItsRecordAndAnswersInShort) {
  EXPECT_EQ(hear("08 DC 05 03 61 62 63 FF"), Texts{"08 FF FF DC 05 FF FF FF"});
  EXPECT_EQ(pool.take(), Texts{"text 1500 \"abc\" 3"});
  EXPECT_EQ(std::string(pool.text.getValueText()).substr(0, 3), "abc");
}

TEST_F(VtClientInput, TakesATextOfSeveralFrames) {
  EXPECT_EQ(hear("08 DC 05 0A 61 62 63 64 65 66 67 68 69 6A"), Texts{"08 FF FF DC 05 FF FF FF"});
  EXPECT_EQ(pool.take(), Texts{"text 1500 \"abcdefghij\" 10"});
}

TEST_F(VtClientInput, ChangesFromInsideAnEventGoOut) {
  pool.onTold = [&](const std::string&) { pool.set(42); };
  hear("00 01 A5 06 4C 04 07 FF");
  pool.onTold = {};
  run(100);
  EXPECT_EQ(connection().commandsWaiting(), 0U);
  EXPECT_EQ(statistics().commandsSent, 1U);
}

TEST_F(VtClientInput, DropsAndCountsWhatIsMalformedOrUnknown) {
  const char* messages[] = {
      "00 01 A5 06 4C 04 07",          // short
      "00",                            // short
      "00 01 88 13 4C 04 07 FF",       // unknown key
      "01 01 88 13 4C 04 07 FF",       // unknown button
      "03 88 13 01 01 FF FF FF",       // unknown input
      "05 88 13 FF 04 03 02 01",       // unknown object
      "05 4C 04 FF 04 03 02 01",       // object without a value
      "05 78 05 FF 04 03 02",          // short
      "08 88 13 03 61 62 63 FF",       // unknown object
      "08 4C 04 03 61 62 63 FF",       // object without a text
      "08 DC 05 05 61 62 63 64",       // longer than the message
      "08 DC 05 FF 61 62 63 64 65 66", // the same in several frames
      "09 FF FF FF FF FF FF FF",       // of no meaning here
      "20 00 00 00 00 00 00 00",       // unknown
      "12 01 FF FF FF FF 00 FF",       // an answer that nobody asked for
      "C7 FF 00 00 01 00 01 00",       // another
      "FE FF FF FF FF FF 00 FF",       // a status is for all
  };
  uint64_t expected = 0;
  for (const char* message : messages) {
    EXPECT_EQ(hear(message), Texts{}) << message;
    EXPECT_EQ(statistics().messagesIgnored, ++expected) << message;
  }
  EXPECT_EQ(pool.take(), Texts{});
  EXPECT_TRUE(connection().isConnected());
  EXPECT_EQ(pool.text.getValueText(), std::string(10, ' '));
}

TEST_F(VtClientInput, HearsOnlyItsOwnVt) {
  PlayedVt_c& other = startVt("02 00 00 00 00 1D 00 A0", 0x27);
  run(1500);
  other.say("00 01 A5 06 4C 04 07 FF");
  run(100);
  EXPECT_EQ(pool.take(), Texts{});
  EXPECT_EQ(statistics().messagesIgnored, 1U);
  EXPECT_EQ(other.take(), Texts{});
}

TEST_F(VtClientInput, HearsNothingForOthers) {
  vt->say("00 01 A5 06 4C 04 07 FF", 0x81);
  run(100);
  EXPECT_EQ(pool.take(), Texts{});
  EXPECT_EQ(statistics().messagesIgnored, 0U);
}

// --- Masks that cannot be shown

TEST_F(VtClientInput, AnswersTheMaskThatIsShownWithoutAWord) {
  EXPECT_EQ(hear("06 4C 04 00 FF FF FF FF"), Texts{"06 4C 04 00 FF FF FF FF"});
  EXPECT_EQ(hear("07 4C 04 A4 06 00 FF FF"), Texts{"07 4C 04 A4 06 00 FF FF"});
  EXPECT_EQ(errors.take(), Texts{});
}

TEST_F(VtClientInput, ReportsAMaskThatCannotBeShown) {
  hear("06 4C 04 04 14 05 4C 04");
  hear("07 4C 04 A4 06 08 FF FF");
  EXPECT_EQ(errors.take(), (Texts{"VT client 0: the VT cannot show mask 1100, error bits 4, object 1300 of 1100",
                                  "VT client 0: the VT cannot show soft key mask 1700, error bits 8"}));
  EXPECT_TRUE(connection().isConnected());
  hear("00 00 A5 06 4C 04 07 FF");
  EXPECT_EQ(errors.take(), Texts{});
}

TEST_F(VtClientInput, IsRefusedWhenTheVtDeletesThePool) {
  EXPECT_EQ(hear("06 4C 04 24 14 05 4C 04"), Texts{"06 4C 04 24 14 05 4C 04"});
  const std::string line = "VT client 0: the VT cannot show mask 1100, error bits 36, object 1300 of 1100: it deletes "
                           "the pool";
  EXPECT_EQ(pool.take(), (Texts{"disconnected", "refused: " + line}));
  EXPECT_EQ(errors.take(), Texts{line});
  EXPECT_EQ(connection().state(), IsoAgLib::VtClientRefused);
}

// --- Floods

TEST_F(VtClientInput, OutlivesAFloodOfRandomMessages) {
  uint32_t random = 4711;
  const auto next = [&random] {
    random = random * 1664525U + 1013904223U;
    return static_cast<uint8_t>(random >> 24U);
  };
  for (int message = 0; message < 20000; ++message) {
    std::vector<uint8_t> bytes(8);
    for (uint8_t& byte : bytes) {
      byte = next();
    }
    bytes[0] = static_cast<uint8_t>(bytes[0] % 16);
    if (next() % 2 == 0) {
      const uint16_t ids[] = {1000, 1100, 1300, 1400, 1500, 1600, 1701};
      const uint16_t id = ids[next() % 7];
      bytes[1] = static_cast<uint8_t>(id & 0xFFU);
      bytes[2] = static_cast<uint8_t>(id >> 8U);
    }
    vt->say(hexOf(bytes));
    settle();
  }
  run(5000);
  client().deregisterObjectPool(pool);
}

} // namespace
