#include "WireFixture.h"

using namespace IsoBusHost;
using namespace BusText;

namespace {

// A node with one function at 80 that has claimed; what it hears is kept as text.
class BusNode : public WireFixture {
protected:
  void SetUp() override {
    node.setMultiReceive(true);
    node.setMultiSend(true);
    node.onMessage([this](const IsoMessage_s& message) { heard.push_back(textOf(message)); });
    start(station);
    function = add(station, first, 0x80);
    settleIn();
  }

  uint64_t ignored() const { return node.statistics().framesIgnored; }

  OwnFunction_c* function = nullptr;
  Frames heard;
};

IsoMessage_s messageOf(uint32_t pgn, uint8_t destination, const std::string& bytes) {
  IsoMessage_s message;
  message.pgn = pgn;
  message.destination = destination;
  message.data = bytesOf(bytes);
  return message;
}

// --- Receiving

TEST_F(BusNode, HearsWhatIsForAllAndForItself) {
  say("18FF0026 01 02");
  say("18EF8026 03");
  say("18EFFF26");
  EXPECT_EQ(heard, (Frames{"0FF00 26>FF 01 02", "0EF00 26>80 03", "0EF00 26>FF"}));
  EXPECT_EQ(ignored(), 0U);
}

TEST_F(BusNode, HearsClaimsRequestsAndAcknowledgements) {
  say("18EEFF26 01 00 00 00 00 5F 00 A0");
  say("18EA8026 00 EE 00");
  say("18E8FF26 01 FF FF FF 80 C5 FD 00");
  EXPECT_EQ(heard, (Frames{"0EE00 26>FF 01 00 00 00 00 5F 00 A0", "0EA00 26>80 00 EE 00",
                           "0E800 26>FF 01 FF FF FF 80 C5 FD 00"}));
}

TEST_F(BusNode, HearsNothingThatIsForOthers) {
  say("18EF8126 03");
  say("1CEC8126 10 09 00 02 FF C5 FD 00");
  EXPECT_EQ(heard, Frames{});
  EXPECT_EQ(wire.take(), Frames{});
  EXPECT_EQ(ignored(), 0U);
}

TEST_F(BusNode, HearsNothingForAnAddressThatIsOnlyBeingClaimed) {
  add(station, second, 0x81);
  say("18EF8126 03");
  EXPECT_EQ(heard, Frames{});
  run(250);
  say("18EF8126 03");
  EXPECT_EQ(heard, Frames{"0EF00 26>81 03"});
}

TEST_F(BusNode, HearsALongMessageOnceAndNotItsFrames) {
  say("1CECFF26 20 09 00 02 FF C5 FD 00");
  run(50);
  say("1CEBFF26 01 01 02 03 04 05 06 07");
  run(50);
  EXPECT_EQ(heard, Frames{});
  say("1CEBFF26 02 08 09 FF FF FF FF FF");
  EXPECT_EQ(heard, Frames{"0FDC5 26>FF 01 02 03 04 05 06 07 08 09"});
}

TEST_F(BusNode, TellsEveryHandlerInTheirOrder) {
  node.onMessage([this](const IsoMessage_s&) { heard.push_back("second"); });
  say("18FF0026 01");
  EXPECT_EQ(heard, (Frames{"0FF00 26>FF 01", "second"}));
}

TEST_F(BusNode, CountsAndDropsWhatIsMalformed) {
  const char* frames[] = {
      "123 01 02",                        // 11-bit identifier
      "18FF00FF 01",                      // from the address of all
      "18EFFE26 01",                      // to nobody
      "18EEFF26 01 02 03 04 05 06 07",    // claim too short
      "18EE8026 01 00 00 00 00 5F 00 A0", // claim to one address
      "18EAFF26 00 EE",                   // request too short
      "18EA8026 00 EE 00 FF FF FF FF FF", // request too long
      "1BFF0026 01",                      // another protocol
      "1CECFFFE 20 09 00 02 FF C5 FD 00", // transport protocol without an address
  };
  uint64_t expected = 0;
  for (const char* frame : frames) {
    say(frame);
    EXPECT_EQ(ignored(), ++expected) << frame;
  }
  EXPECT_EQ(heard, Frames{});
  EXPECT_EQ(wire.take(), Frames{});
  EXPECT_TRUE(node.others().empty());
}

TEST_F(BusNode, CountsAFrameOfImpossibleLength) {
  CanFrame_s frame = frameOf("18FF0026 01 02 03 04 05 06 07 08");
  frame.length = 9;
  wire.say(frame);
  settle();
  EXPECT_EQ(ignored(), 1U);
  EXPECT_EQ(heard, Frames{});
}

TEST_F(BusNode, OutlivesAFloodOfRandomFrames) {
  uint32_t random = 4711;
  const auto next = [&random] {
    random = random * 1664525U + 1013904223U;
    return random >> 8U;
  };
  const uint32_t formats[] = {0xEA, 0xEB, 0xEC, 0xEE, 0xE8, 0xEF, 0xFE, 0xFF};
  node.setRequests(true);
  for (unsigned int i = 0; i < 50000; ++i) {
    CanFrame_s frame;
    const uint32_t specific = next() % 3 == 0 ? 0x80 : (next() % 2 == 0 ? 0xFF : next() & 0xFFU);
    frame.identifier = (next() & 7U) << 26U | formats[next() % 8] << 16U | specific << 8U | (next() & 0xFFU);
    frame.extended = next() % 20 != 0;
    frame.length = static_cast<uint8_t>(next() % 9);
    for (uint8_t& byte : frame.data) {
      byte = static_cast<uint8_t>(next());
    }
    wire.say(frame);
    if (i % 100 == 0) {
      run(1);
      wire.take();
    }
  }
  run(2000);
  EXPECT_GT(ignored(), 1000U);
  EXPECT_LE(node.others().size(), 254U);
  const uint8_t address = function->address();
  ASSERT_LE(address, maxAddress); // at 80 or where the last claim of lower NAME drove it
  heard.clear();
  CanFrame_s request = frameOf("18EA0026 00 EE 00");
  request.identifier |= static_cast<uint32_t>(address) << 8U;
  wire.take();
  wire.say(request);
  settle();
  char claim[64];
  std::snprintf(claim, sizeof claim, "18EEFF%02X 02 00 00 00 00 5E 00 A0", address);
  EXPECT_EQ(wire.take(), Frames{claim});
}

TEST_F(BusNode, TakesNoMoreFramesThanItIsTold) {
  for (int i = 0; i < 5; ++i) {
    wire.say("18FF0026 01");
  }
  EXPECT_EQ(node.poll(2), 2U);
  EXPECT_EQ(heard.size(), 2U);
  EXPECT_EQ(node.poll(), 3U);
  EXPECT_EQ(node.poll(), 0U);
}

// --- Sending

TEST_F(BusNode, SendsAShortMessageAsItIs) {
  IsoMessage_s message = messageOf(0xEF00, 0x26, "01 02 03");
  message.priority = 3;
  EXPECT_TRUE(node.send(*function, message));
  EXPECT_TRUE(node.send(*function, messageOf(0xFF12, 0x26, "")));
  EXPECT_EQ(wire.take(), (Frames{"0CEF2680 01 02 03", "18FF1280"}));
}

TEST_F(BusNode, SetsTheSourceItself) {
  IsoMessage_s message = messageOf(0xFF00, 0xFF, "01");
  message.source = 0x26;
  EXPECT_TRUE(node.send(*function, message));
  EXPECT_EQ(wire.take(), Frames{"18FF0080 01"});
}

TEST_F(BusNode, SendsALongMessageToAllAsBam) {
  EXPECT_TRUE(node.send(*function, messageOf(0xFDC5, 0xFF, "01 02 03 04 05 06 07 08 09")));
  run(200);
  EXPECT_EQ(wire.take(), (Frames{"1CECFF80 20 09 00 02 FF C5 FD 00", "1CEBFF80 01 01 02 03 04 05 06 07",
                                 "1CEBFF80 02 08 09 FF FF FF FF FF"}));
}

TEST_F(BusNode, SendsALongMessageToOneByConnection) {
  EXPECT_TRUE(node.send(*function, messageOf(0xEF00, 0x26, "01 02 03 04 05 06 07 08 09")));
  run(1);
  ASSERT_EQ(wire.take().size(), 1U);
  say("1CEC8026 11 02 01 FF FF 00 EF 00");
  EXPECT_EQ(wire.take(), (Frames{"1CEB2680 01 01 02 03 04 05 06 07", "1CEB2680 02 08 09 FF FF FF FF FF"}));
}

TEST_F(BusNode, RefusesWhatItCannotSend) {
  EXPECT_FALSE(node.send(*function, messageOf(0x40000, 0xFF, "01")));
  EXPECT_FALSE(node.send(*function, messageOf(0xEF00, nullAddress, "01")));
  IsoMessage_s message = messageOf(0xFDC5, 0xFF, "");
  message.data.resize(1786);
  EXPECT_FALSE(node.send(*function, message));
  EXPECT_FALSE(node.request(*function, 0x40000, 0x26));
  EXPECT_EQ(wire.take(), Frames{});
}

TEST_F(BusNode, RefusesAFunctionOfAnotherNode) {
  Station_s other(wire);
  EXPECT_FALSE(other.node.send(*function, messageOf(0xFF00, 0xFF, "01")));
  EXPECT_EQ(wire.take(), Frames{});
}

TEST_F(BusNode, RefusesAMessageThatThePortDoesNotTake) {
  bool isTold = false;
  wire.setBroken(true);
  EXPECT_FALSE(node.send(*function, messageOf(0xFF00, 0xFF, "01"), [&isTold](bool) { isTold = true; }));
  node.poll();
  EXPECT_FALSE(isTold);
}

TEST_F(BusNode, SendsInTheNextPollWhatTheBusDidNotTake) {
  wire.setBusy(true);
  EXPECT_TRUE(node.send(*function, messageOf(0xFF00, 0xFF, "01")));
  node.poll();
  EXPECT_EQ(wire.take(), Frames{});
  wire.setBusy(false);
  node.poll();
  EXPECT_EQ(wire.take(), Frames{"18FF0080 01"});
}

TEST_F(BusNode, TellsThatAShortMessageIsDoneInTheNextPoll) {
  std::vector<bool> done;
  EXPECT_TRUE(node.send(*function, messageOf(0xFF00, 0xFF, "01"), [&done](bool sent) { done.push_back(sent); }));
  EXPECT_TRUE(done.empty());
  EXPECT_EQ(node.nextDueMs(), HostClock::nowMs());
  node.poll();
  EXPECT_EQ(done, std::vector<bool>{true});
  node.poll();
  EXPECT_EQ(done, std::vector<bool>{true});
}

TEST_F(BusNode, TellsThatALongMessageIsDone) {
  std::vector<bool> done;
  node.send(*function, messageOf(0xFDC5, 0xFF, "01 02 03 04 05 06 07 08 09"),
            [&done](bool sent) { done.push_back(sent); });
  run(49);
  EXPECT_TRUE(done.empty());
  run(200);
  EXPECT_EQ(done, std::vector<bool>{true});
}

TEST_F(BusNode, EndsALongMessageWhenItsAddressIsLost) {
  std::vector<bool> done;
  node.send(*function, messageOf(0xEF00, 0x26, "01 02 03 04 05 06 07 08 09"),
            [&done](bool sent) { done.push_back(sent); });
  run(1);
  wire.take();
  say("18EEFF80 00 00 00 00 00 00 00 A0");
  EXPECT_EQ(done, std::vector<bool>{false});
  say("1CEC8026 11 02 01 FF FF 00 EF 00");
  run(2000);
  EXPECT_EQ(wire.take(), Frames{"18EEFF81 02 00 00 00 00 5E 00 A0"});
}

TEST_F(BusNode, EndsALongMessageThatIsReceivedWhenItsAddressIsLost) {
  say("1CEC8026 10 09 00 02 FF 00 EF 00");
  run(1);
  EXPECT_EQ(wire.take(), Frames{"1CEC2680 11 02 01 FF FF 00 EF 00"});
  say("18EEFF80 00 00 00 00 00 00 00 A0");
  heard.clear();
  wire.take();
  say("1CEB8026 01 01 02 03 04 05 06 07");
  say("1CEB8026 02 08 09 FF FF FF FF FF");
  run(2000);
  EXPECT_EQ(heard, Frames{});
  EXPECT_EQ(wire.take(), Frames{});
}

TEST_F(BusNode, EndsALongMessageOfAFunctionThatIsRemoved) {
  std::vector<bool> done;
  node.send(*function, messageOf(0xFDC5, 0xFF, "01 02 03 04 05 06 07 08 09"),
            [&done](bool sent) { done.push_back(sent); });
  node.remove(function);
  run(1000);
  EXPECT_EQ(done, std::vector<bool>{false});
  EXPECT_EQ(wire.take(), Frames{});
}

TEST_F(BusNode, NeitherSendsNorReceivesLongMessagesWithTheServicesOff) {
  node.setMultiReceive(false);
  node.setMultiSend(false);
  EXPECT_FALSE(node.send(*function, messageOf(0xFDC5, 0xFF, "01 02 03 04 05 06 07 08 09")));
  say("1CEC8026 10 09 00 02 FF 00 EF 00");
  run(1000);
  EXPECT_EQ(wire.take(), Frames{});
}

// --- Call-backs that call back

TEST_F(BusNode, LetsAHandlerAddAHandler) {
  bool isAdded = false;
  node.onMessage([&](const IsoMessage_s&) {
    if (!isAdded) {
      isAdded = true;
      node.onMessage([this](const IsoMessage_s&) { heard.push_back("added"); });
    }
  });
  say("18FF0026 01");
  heard.clear();
  say("18FF0026 01");
  EXPECT_EQ(heard, (Frames{"0FF00 26>FF 01", "added"}));
}

TEST_F(BusNode, LetsAHandlerSendAndPoll) {
  node.onMessage([this](const IsoMessage_s& message) {
    if (message.pgn == 0xFF00) {
      node.send(*function, messageOf(0xEF00, message.source, "07"));
      node.poll();
    }
  });
  wire.say("18FF0026 01");
  wire.say("18FF0126 02");
  settle();
  EXPECT_EQ(wire.take(), Frames{"18EF2680 07"});
  EXPECT_EQ(heard, (Frames{"0FF00 26>FF 01", "0FF01 26>FF 02"}));
}

TEST_F(BusNode, LetsAFunctionRemoveItselfWhenItIsClaimed) {
  OwnFunction_c* other = nullptr;
  FunctionSettings_s settings = settingsOf(second, 0x81);
  settings.onClaimed = [&](uint8_t) {
    node.remove(other);
    node.add(settingsOf(third, 0x82));
  };
  other = node.add(settings);
  run(250);
  EXPECT_EQ(wire.take(), (Frames{"18EEFF81 " + second, "18EEFF82 " + third}));
}

TEST_F(BusNode, TellsAnAddressToTheFunctionThatHasItNow) {
  std::string told;
  OwnFunction_c* replaced = nullptr;
  FunctionSettings_s replacer = settingsOf(second, 0x81);
  replacer.onClaimed = [&](uint8_t) {
    FunctionSettings_s late = settingsOf(fixedFirst, 0x82);
    late.onClaimed = [&told](uint8_t) { told += "late "; };
    node.remove(replaced);
    node.add(late);
    HostClock::advanceMs(250);
    node.poll();
  };
  FunctionSettings_s early = settingsOf(third, 0x82);
  early.onClaimed = [&told](uint8_t) { told += "early "; };
  node.add(replacer);
  replaced = node.add(early);
  run(250);
  EXPECT_EQ(told, "late ");
}

TEST_F(BusNode, SwitchesItselfOffFromAHandler) {
  node.onMessage([this](const IsoMessage_s&) { node.setNetworkManagement(false); });
  wire.say("18FF0026 01");
  wire.say("18EF8026 02");
  settle();
  EXPECT_EQ(heard, Frames{"0FF00 26>FF 01"});
  EXPECT_EQ(function->state(), ClaimState_e::idle);
}

TEST_F(BusNode, EndsAPollThoughEachDoneSendsAgain) {
  int sent = 0;
  std::function<void(bool)> again = [&](bool) {
    ++sent;
    node.send(*function, messageOf(0xFF00, 0xFF, "01"), again);
  };
  node.send(*function, messageOf(0xFF00, 0xFF, "01"), again);
  node.poll();
  EXPECT_EQ(sent, 1);
  node.poll();
  EXPECT_EQ(sent, 2);
}

} // namespace
