#include "VtClientBus.h"

#include "../../platform/isoaglib/src/vt/VtCommandQueue.h"
#include "../../platform/isoaglib/src/vt/VtSeam.h"

#include <algorithm>

using namespace IsoBusHost;
using namespace VtTest;

namespace {

std::string valueCommand(uint8_t value) {
  return "A8 78 05 FF " + hexOf({value}) + " 00 00 00";
}

// The commands of a connected working set; the VT answers only what a case lets it answer.
class VtClientCommands : public VtClientFixture {
protected:
  void SetUp() override {
    VtClientFixture::SetUp();
    vt = &connect();
    for (const uint8_t code : {uint8_t{0xA8}, uint8_t{0xAF}, uint8_t{0xB1}, uint8_t{0xB3}, uint8_t{0xAE}}) {
      vt->silent(code);
    }
  }

  PlayedVt_c* vt = nullptr;
};

TEST_F(VtClientCommands, GoOutAtOnceWhileNoneIsUnanswered) {
  EXPECT_TRUE(pool.set(10));
  EXPECT_EQ(connection().commandsWaiting(), 1U);
  vt->run();
  EXPECT_EQ(vt->take(), Texts{valueCommand(10)});
}

TEST_F(VtClientCommands, GoOneAfterTheOther) {
  pool.set(10, false);
  pool.set(11, false);
  run(100);
  EXPECT_EQ(vt->take(), Texts{valueCommand(10)});
  vt->say("A8 78 05 00 0A 00 00 00");
  run(10);
  EXPECT_EQ(vt->take(), Texts{valueCommand(11)});
  vt->say("A8 78 05 00 0B 00 00 00");
  run(10);
  EXPECT_EQ(connection().commandsWaiting(), 0U);
  EXPECT_EQ(statistics().commandsSent, 2U);
  EXPECT_EQ(pool.take(), Texts{});
}

TEST_F(VtClientCommands, AreAnsweredOnlyByWhatRepeatsThem) {
  pool.set(10);
  run(10);
  const char* others[] = {
      "A8 78 05 00 0B 00 00 00", // another value
      "A8 79 05 00 0A 00 00 00", // another object
      "A7 78 05 00 0A 00 00 00", // another function
      "A8 78 05 00 0A 00 00",    // too short
      "FD A7 FF FF FF FF FF FF", // another function is unknown
  };
  for (const char* other : others) {
    vt->say(other);
    run(10);
    EXPECT_EQ(connection().commandsWaiting(), 1U) << other;
  }
  EXPECT_EQ(statistics().messagesIgnored, 5U);
  vt->say("A8 78 05 00 0A 00 00 00");
  run(10);
  EXPECT_EQ(connection().commandsWaiting(), 0U);
}

TEST_F(VtClientCommands, AreAnsweredOnlyByTheirVt) {
  PlayedVt_c& other = startVt("02 00 00 00 00 1D 00 A0", 0x27);
  run(1000);
  pool.set(10);
  run(10);
  other.say("A8 78 05 00 0A 00 00 00");
  run(10);
  EXPECT_EQ(connection().commandsWaiting(), 1U);
}

TEST_F(VtClientCommands, AreRepeatedTwiceAfterOneAndAHalfSecondsThenGivenUp) {
  pool.set(10, false);
  pool.set(11, false);
  run(1490);
  EXPECT_EQ(vt->heard, Texts{valueCommand(10)});
  run(10);
  EXPECT_EQ(vt->heard, Texts(2, valueCommand(10)));
  run(2990);
  EXPECT_EQ(vt->heard, Texts(3, valueCommand(10)));
  EXPECT_EQ(pool.take(), Texts{});
  run(10);
  EXPECT_EQ(pool.take(), Texts{"failed A8 1400 FF"});
  ASSERT_EQ(vt->heard.size(), 4U);
  EXPECT_EQ(vt->heard[3], valueCommand(11));
  EXPECT_EQ(statistics().commandsRepeated, 2U);
  EXPECT_EQ(statistics().commandsFailed, 1U);
  EXPECT_TRUE(connection().isConnected());
}

TEST_F(VtClientCommands, ThatTheVtRefusesAreTold) {
  pool.set(10);
  run(10);
  vt->say("A8 78 05 02 0A 00 00 00");
  run(10);
  EXPECT_EQ(pool.take(), Texts{"failed A8 1400 02"});
  EXPECT_EQ(statistics().commandsFailed, 1U);
  EXPECT_EQ(connection().commandsWaiting(), 0U);
}

TEST_F(VtClientCommands, ThatTheVtDoesNotKnowAreToldAsUnanswered) {
  pool.set(10);
  run(10);
  vt->say("FD A8 FF FF FF FF FF FF");
  run(10);
  EXPECT_EQ(pool.take(), Texts{"failed A8 1400 FF"});
}

TEST_F(VtClientCommands, OfEachKindAreAnsweredAsTheStandardHasIt) {
  answerAll(*vt);
  EXPECT_TRUE(pool.container.hideShow(0, true, false));
  EXPECT_TRUE(pool.list.able(1, true, false));
  EXPECT_TRUE(pool.set(9, false));
  EXPECT_TRUE(pool.workingSet.changeActiveMask(&pool.mask, true, false));
  EXPECT_TRUE(pool.mask.setSoftKeyMask(&pool.softKeyMask, true, false));
  EXPECT_TRUE(pool.list.setItem(1, &pool.number, false));
  EXPECT_TRUE(pool.text.setValueCopy("abcdefgh", true, false));
  EXPECT_TRUE(pool.text.setValueCopy("ab", true, false));
  run(500);
  EXPECT_EQ(vt->take(), (Texts{"A0 B0 04 00 FF FF FF FF", "A1 40 06 01 FF FF FF FF", valueCommand(9),
                               "AD E8 03 4C 04 FF FF FF", "AE 01 4C 04 A4 06 FF FF", "B1 40 06 01 14 05 FF FF",
                               "B3 DC 05 08 00 61 62 63 64 65 66 67 68", "B3 DC 05 02 00 61 62 FF"}));
  EXPECT_EQ(connection().commandsWaiting(), 0U);
  EXPECT_EQ(pool.take(), Texts{});
  EXPECT_EQ(statistics().commandsRepeated, 0U);
}

// --- Replacing

TEST_F(VtClientCommands, TakeThePlaceOfAWaitingOneForTheSameThing) {
  pool.set(1); // goes out
  pool.set(2);
  EXPECT_TRUE(pool.text.setValueCopy("ab", true, true));
  pool.set(3);
  EXPECT_EQ(connection().commandsWaiting(), 3U);
  EXPECT_EQ(statistics().commandsReplaced, 1U);
  answerAll(*vt);
  run(5000);
  const Texts heard = vt->take();
  ASSERT_EQ(heard.size(), 3U);
  EXPECT_EQ(heard[0], valueCommand(1));
  EXPECT_EQ(heard[1], valueCommand(3)); // in the old place
  EXPECT_EQ(heard[2], "B3 DC 05 02 00 61 62 FF");
}

TEST_F(VtClientCommands, LeaveTheOneThatIsUnansweredAlone) {
  pool.set(1);
  pool.set(2);
  EXPECT_EQ(statistics().commandsReplaced, 0U);
  EXPECT_EQ(connection().commandsWaiting(), 2U);
}

TEST_F(VtClientCommands, LeaveOneAloneThatMayNotBeReplaced) {
  pool.set(1);
  pool.set(2, false);
  pool.set(3, true);
  EXPECT_EQ(statistics().commandsReplaced, 0U);
  EXPECT_EQ(connection().commandsWaiting(), 3U);
}

TEST_F(VtClientCommands, ThatMayNotReplaceWaitTheirTurn) {
  pool.set(1);
  pool.set(2, true);
  pool.set(3, false);
  EXPECT_EQ(statistics().commandsReplaced, 0U);
}

TEST_F(VtClientCommands, TakeNoPlaceBeforeANewerOneForTheSameThing) {
  pool.set(1);
  pool.set(2, true);
  pool.set(3, false);
  pool.set(4, true); // in the place of 2 it would be undone by 3
  EXPECT_EQ(statistics().commandsReplaced, 0U);
  answerAll(*vt);
  run(5000);
  EXPECT_EQ(vt->heard.back(), valueCommand(4));
}

TEST(VtCommandQueue, LetsTwoAttributesOfAnObjectNotReplaceEachOther) {
  const uint8_t width[] = {0xAF, 0x14, 0x05, 1, 10, 0, 0, 0};
  const uint8_t height[] = {0xAF, 0x14, 0x05, 2, 10, 0, 0, 0};
  const uint8_t widthAgain[] = {0xAF, 0x14, 0x05, 1, 20, 0, 0, 0};
  VtCommandQueue_c queue;
  EXPECT_EQ(queue.put(width, 8, true), VtCommandQueue_c::Put_e::added);
  EXPECT_EQ(queue.put(height, 8, true), VtCommandQueue_c::Put_e::added);
  EXPECT_EQ(queue.put(widthAgain, 8, true), VtCommandQueue_c::Put_e::replaced);
  EXPECT_EQ(queue.bytesOf(queue.takeFirst())[4], 20);
}

TEST(VtCommandQueue, LetsTwoPlacesOfAListNotReplaceEachOther) {
  VtCommandQueue_c queue;
  const uint8_t first[] = {0xB1, 0x40, 0x06, 0, 1, 0, 0xFF, 0xFF};
  const uint8_t second[] = {0xB1, 0x40, 0x06, 1, 1, 0, 0xFF, 0xFF};
  EXPECT_EQ(queue.put(first, 8, true), VtCommandQueue_c::Put_e::added);
  EXPECT_EQ(queue.put(second, 8, true), VtCommandQueue_c::Put_e::added);
  EXPECT_EQ(queue.put(second, 8, true), VtCommandQueue_c::Put_e::replaced);
}

TEST(VtCommandQueue, ReplacesNoMoveByADistance) {
  VtCommandQueue_c queue;
  const uint8_t move[] = {0xA5, 0xE8, 0x03, 0x14, 0x05, 0x80, 0x7F, 0xFF};
  EXPECT_EQ(queue.put(move, 8, true), VtCommandQueue_c::Put_e::added);
  EXPECT_EQ(queue.put(move, 8, true), VtCommandQueue_c::Put_e::added);
}

// --- Texts

TEST_F(VtClientCommands, WithLongTextsReplaceEachOther) {
  pool.set(1);
  pool.text.setValueCopy("first text", true, true);
  pool.text.setValueCopy("ab", true, true);
  pool.text.setValueCopy("last  text", true, true);
  EXPECT_EQ(statistics().commandsReplaced, 2U);
  answerAll(*vt);
  run(5000);
  EXPECT_EQ(vt->heard.back(), "B3 DC 05 0A 00 6C 61 73 74 20 20 74 65 78 74");
}

TEST_F(VtClientCommands, WithLongTextsAreRepeatedToo) {
  pool.text.setValueCopy("some text", true, true);
  run(6000);
  EXPECT_EQ(vt->take(), Texts(3, "B3 DC 05 09 00 73 6F 6D 65 20 74 65 78 74"));
  EXPECT_EQ(pool.take(), Texts{"failed B3 1500 FF"});
}

TEST_F(VtClientCommands, WhoseTransferFailsAreRepeatedAndGivenUp) {
  vt->node().setMultiReceive(false);
  pool.text.setValueCopy("some text", true, true);
  pool.set(1);
  run(4490);
  EXPECT_EQ(pool.take(), Texts{});
  run(500);
  EXPECT_EQ(pool.take(), Texts{"failed B3 1500 FF"});
  EXPECT_EQ(vt->take(), Texts{valueCommand(1)});
}

TEST_F(VtClientCommands, WithLongTextsAreAwaitedFromTheEndOfTheirTransferOn) {
  vt->node().setMultiReceive(false);
  pool.text.setValueCopy("some text", true, true);
  for (int hold = 0; hold < 5; ++hold) {
    run(500);
    vt->port().send(BusText::frameOf("1CEC8026 11 00 FF FF FF 00 E7 00"));
  }
  EXPECT_EQ(statistics().commandsRepeated, 0U);
  vt->port().send(BusText::frameOf("1CEC8026 11 02 01 FF FF 00 E7 00"));
  run(10);
  vt->port().send(BusText::frameOf("1CEC8026 13 0E 00 02 FF 00 E7 00"));
  run(1480);
  EXPECT_EQ(statistics().commandsRepeated, 0U);
  run(30);
  EXPECT_EQ(statistics().commandsRepeated, 1U);
}

TEST_F(VtClientCommands, WaitForATransferThatIsStillUnderWayAfterItsAnswer) {
  vt->node().setMultiReceive(false);
  pool.text.setValueCopy("some text", true, true);
  run(10);
  vt->say("B3 FF FF DC 05 00 FF FF"); // before it has the text
  run(10);
  EXPECT_EQ(connection().commandsWaiting(), 0U);
  pool.set(1);
  run(10);
  EXPECT_EQ(statistics().commandsSent, 1U);
  vt->port().send(BusText::frameOf("1CEC8026 FF 02 FF FF FF 00 E7 00"));
  run(10);
  EXPECT_EQ(statistics().commandsSent, 2U);
}

TEST_F(VtClientCommands, WithLongTextsGiveTheirRoomBack) {
  __IsoAgLib::getMultiSendInstance(0).close();
  std::vector<uint8_t> text(60000, 'x');
  text[0] = 0xB3;
  for (std::size_t round = 0; round <= maxVtTextBytes / text.size(); ++round) {
    EXPECT_TRUE(queueVtCommand(pool.text, text.data(), text.size(), false)) << round;
    run(4600);
    EXPECT_EQ(connection().commandsWaiting(), 0U);
  }
}

TEST_F(VtClientCommands, ThatAreNoneAreRefusedAndCounted) {
  const uint8_t unknown[] = {0x99, 0, 0, 0, 0, 0, 0, 0};
  const uint8_t cut[] = {0xA8, 0x78, 0x05};
  EXPECT_FALSE(queueVtCommand(pool.text, unknown, sizeof unknown, true));
  EXPECT_FALSE(queueVtCommand(pool.text, cut, sizeof cut, true));
  EXPECT_EQ(statistics().commandsRefused, 2U);
  EXPECT_EQ(connection().commandsWaiting(), 0U);
}

TEST_F(VtClientCommands, WithLongTextsEndTheApplicationsSleep) {
  run(10);
  EXPECT_FALSE(__IsoAgLib::getSchedulerInstance().waitForWork(1000));
  pool.text.setValueCopy("some text", true, true);
  EXPECT_TRUE(__IsoAgLib::getSchedulerInstance().waitForWork(1000));
}

TEST(VtCommandQueue, TakesTextsUpToItsBound) {
  VtCommandQueue_c queue;
  std::vector<uint8_t> text(60000, 'x');
  text[0] = 0xB3;
  std::size_t taken = 0;
  for (uint8_t object = 0; object < 100; ++object) {
    text[1] = object;
    taken += queue.put(text.data(), text.size(), true) == VtCommandQueue_c::Put_e::added ? 1 : 0;
  }
  EXPECT_EQ(taken, maxVtTextBytes / text.size());
  text[1] = 0;
  EXPECT_EQ(queue.put(text.data(), text.size(), true), VtCommandQueue_c::Put_e::replaced);
  queue.clear();
  EXPECT_EQ(queue.put(text.data(), text.size(), true), VtCommandQueue_c::Put_e::added);
}

TEST(VtCommandQueue, KeepsItsOrderAroundTheEndOfItsMemory) {
  VtCommandQueue_c queue;
  uint8_t command[8] = {0xA8, 0, 0, 0xFF, 0, 0, 0, 0};
  for (unsigned int round = 0; round < 3 * maxVtCommands; ++round) {
    command[1] = static_cast<uint8_t>(round & 0xFFU);
    command[2] = static_cast<uint8_t>(round >> 8U);
    EXPECT_EQ(queue.put(command, 8, false), VtCommandQueue_c::Put_e::added);
    if (queue.size() == 5) {
      const unsigned int expected = round - 4;
      const VtCommand_s first = queue.takeFirst();
      EXPECT_EQ(first.bytes[1] | first.bytes[2] << 8, static_cast<int>(expected));
      queue.release(first);
    }
  }
}

// --- Bounds

TEST_F(VtClientCommands, BeyondTheBoundAreRefusedCountedAndToldOnce) {
  pool.set(0);
  for (std::size_t command = 0; command < maxVtCommands; ++command) {
    EXPECT_TRUE(pool.set(1, false));
  }
  EXPECT_FALSE(pool.set(2, false));
  EXPECT_FALSE(pool.set(3, false));
  EXPECT_EQ(statistics().commandsRefused, 2U);
  EXPECT_EQ(errors.take(), Texts{"VT client 0: too many commands wait, one is not taken"});
  EXPECT_EQ(connection().commandsWaiting(), maxVtCommands + 1);
}

TEST_F(VtClientCommands, AreTakenAgainWhenTheQueueHasEmptied) {
  answerAll(*vt);
  for (int round = 0; round < 2; ++round) {
    for (std::size_t command = 0; command < maxVtCommands + 2; ++command) {
      pool.set(1, false);
    }
    EXPECT_EQ(errors.take().size(), 1U);
    run(20000);
    EXPECT_EQ(connection().commandsWaiting(), 0U);
  }
}

TEST_F(VtClientCommands, OfAConnectionThatIsGivenUpAreNotKept) {
  pool.set(1, false);
  pool.set(2, false);
  vt->isThere = false;
  run(4000);
  EXPECT_EQ(connection().commandsWaiting(), 0U);
  EXPECT_FALSE(pool.set(3));
}

} // namespace
