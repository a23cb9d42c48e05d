// Handlers that are taken back, and short messages that are sent without a message object.
#include "WireFixture.h"

#include <functional>
#include <memory>

using namespace IsoBusHost;
using namespace BusText;

namespace {

// A node with one function at 80 that has claimed.
class BusNodeHandlers : public WireFixture {
protected:
  void SetUp() override {
    node.setMultiReceive(true);
    node.setMultiSend(true);
    start(station);
    function = add(station, first, 0x80);
    settleIn();
  }

  // listen: adds a handler that writes its name, then does something.
  BusNode_c::HandlerId listen(const std::string& name, std::function<void()> then = {}) {
    return node.onMessage([this, name, then](const IsoMessage_s&) {
      heard.push_back(name);
      if (then) {
        then();
      }
    });
  }

  OwnFunction_c* function = nullptr;
  Frames heard;
};

TEST_F(BusNodeHandlers, AreNotCalledAnyMoreWhenTheyAreTakenBack) {
  const BusNode_c::HandlerId one = listen("one");
  const BusNode_c::HandlerId two = listen("two");
  listen("three");
  EXPECT_NE(one, two);
  node.removeHandler(two);
  say("18FF0026 01");
  EXPECT_EQ(heard, (Frames{"one", "three"}));
  node.removeHandler(one);
  say("18FF0026 01");
  EXPECT_EQ(heard, (Frames{"one", "three", "three"}));
}

TEST_F(BusNodeHandlers, MayBeTakenBackTwiceAndUnknown) {
  const BusNode_c::HandlerId one = listen("one");
  node.removeHandler(one);
  const BusNode_c::HandlerId two = listen("two");
  node.removeHandler(one);
  node.removeHandler(0);
  node.removeHandler(two + 1);
  say("18FF0026 01");
  EXPECT_NE(one, two);
  EXPECT_EQ(heard, Frames{"two"});
}

TEST_F(BusNodeHandlers, TakeThemselvesBackAndKeepWhatTheyHaveCapturedUntilTheyReturn) {
  BusNode_c::HandlerId own = 0;
  const auto kept = std::make_shared<std::string>("kept");
  own = node.onMessage([this, &own, kept](const IsoMessage_s&) {
    node.removeHandler(own);
    node.removeHandler(own);
    heard.push_back(*kept + " " + std::to_string(kept.use_count()));
  });
  say("18FF0026 01");
  say("18FF0026 01");
  EXPECT_EQ(heard, Frames{"kept 2"});
  EXPECT_EQ(kept.use_count(), 1);
}

TEST_F(BusNodeHandlers, TakeEachOtherBackBeforeTheMessageIsTold) {
  BusNode_c::HandlerId before = 0;
  BusNode_c::HandlerId behind = 0;
  before = listen("before");
  listen("remover", [&] {
    node.removeHandler(before);
    node.removeHandler(behind);
  });
  behind = listen("behind");
  listen("last");
  say("18FF0026 01");
  say("18FF0026 01");
  EXPECT_EQ(heard, (Frames{"before", "remover", "last", "remover", "last"}));
}

TEST_F(BusNodeHandlers, AreTakenBackFromAPollInsideAHandler) {
  BusNode_c::HandlerId outer = 0;
  const auto kept = std::make_shared<int>(1);
  outer = node.onMessage([this, &outer, kept](const IsoMessage_s& message) {
    if (message.pgn == 0xFF00) {
      wire.say("18FF0126 02");
      node.poll();
      heard.push_back("after the poll " + std::to_string(kept.use_count()));
    } else {
      node.removeHandler(outer);
    }
  });
  say("18FF0026 01");
  EXPECT_EQ(heard, Frames{"after the poll 2"});
  EXPECT_EQ(kept.use_count(), 1);
}

TEST_F(BusNodeHandlers, AreTakenBackFromTheReportOfAMessage) {
  const BusNode_c::HandlerId one = listen("one");
  IsoMessage_s message;
  message.pgn = 0xFF00;
  message.data = {1};
  node.send(*function, message, [&](bool) { node.removeHandler(one); });
  wire.say("18FF0026 01");
  wire.say("18FF0026 02");
  settle();
  EXPECT_EQ(heard, Frames{"one"}) << "the report came with the first frame";
}

TEST_F(BusNodeHandlers, SeeTheirOwnMessageAgainAfterAPollThatToldAnother) {
  node.onMessage([this](const IsoMessage_s& message) {
    if (message.pgn == 0xFF00) {
      wire.say("18FF0126 02 03 04");
      node.poll();
    }
    heard.push_back(textOf(message));
  });
  say("18FF0026 01 05");
  say("18FF0226 06");
  EXPECT_EQ(heard, (Frames{"0FF01 26>FF 02 03 04", "0FF00 26>FF 01 05", "0FF02 26>FF 06"}));
}

// --- Short messages

class BusNodeShortMessages : public BusNodeHandlers {
protected:
  bool send(uint32_t pgn, uint8_t priority, uint8_t destination, std::size_t length) {
    return node.send(*function, pgn, priority, destination, bytes.data(), length);
  }

  const std::array<uint8_t, 264> bytes{1, 2, 3, 4, 5, 6, 7, 8, 9};
};

TEST_F(BusNodeShortMessages, GoOutAtOnceAsOneFrame) {
  EXPECT_TRUE(send(0xEF00, 3, 0x26, 8));
  EXPECT_TRUE(send(0xFF07, 6, 0xFF, 1));
  EXPECT_TRUE(send(0xEF00, 7, 0xFF, 0));
  EXPECT_EQ(wire.take(), (Frames{"0CEF2680 01 02 03 04 05 06 07 08", "18FF0780 01", "1CEFFF80"}));
}

TEST_F(BusNodeShortMessages, AreRefusedWhereTheyCannotBeOne) {
  EXPECT_FALSE(send(0xEF00, 3, 0x26, 9));
  EXPECT_FALSE(send(0xEF00, 3, 0x26, 264)) << "8 in a byte";
  EXPECT_FALSE(send(0xEF00, 3, 0xFE, 8));
  EXPECT_FALSE(send(0x40000, 3, 0x26, 8));
  EXPECT_EQ(wire.take(), Frames{});
}

TEST_F(BusNodeShortMessages, AreRefusedWithoutAnAddress) {
  OwnFunction_c* late = add(station, second, 0x81);
  EXPECT_FALSE(node.send(*late, 0xEF00, 3, 0x26, bytes.data(), 8));
  node.setNetworkManagement(false);
  EXPECT_FALSE(send(0xEF00, 3, 0x26, 8));
}

TEST_F(BusNodeShortMessages, AreRefusedByAPortThatIsGone) {
  wire.setBroken(true);
  EXPECT_FALSE(send(0xEF00, 3, 0x26, 8));
}

// --- Long messages

TEST_F(BusNodeHandlers, HearAMessageOfTheExtendedProtocol) {
  node.onMessage([this](const IsoMessage_s& message) { heard.push_back(std::to_string(message.data.size())); });
  say("1CC88026 14 FA 06 00 00 00 E7 00");
  EXPECT_EQ(wire.take(), Frames{"1CC82680 15 10 01 00 00 00 E7 00"});
  for (unsigned int offset = 0; offset < 256; offset += 16) {
    CanFrame_s frame = frameOf("1CC88026 16 10 00 00 00 00 E7 00");
    frame.data[2] = static_cast<uint8_t>(offset);
    wire.say(frame);
    for (uint8_t sequence = 1; sequence <= 16; ++sequence) {
      frame = frameOf("1CC78026 00 00 00 00 00 00 00 00");
      frame.data[0] = sequence;
      wire.say(frame);
    }
    settle();
  }
  EXPECT_EQ(heard, Frames{"1786"});
  EXPECT_EQ(wire.take().back(), "1CC82680 17 FA 06 00 00 00 E7 00");
}

TEST_F(BusNodeHandlers, DoNotHearAMessageThatTheLimitOfTheNodeRefuses) {
  ReceiveLimits_s limits;
  limits.longest = 1785;
  node.setReceiveLimits(limits);
  say("1CC88026 14 FA 06 00 00 00 E7 00");
  EXPECT_EQ(wire.take(), Frames{"1CC82680 FF 02 FF FF FF 00 E7 00"});
}

TEST_F(BusNodeHandlers, DoNotStopTheNodeFromSendingByTheExtendedProtocol) {
  IsoMessage_s message;
  message.pgn = 0xE700;
  message.destination = 0x26;
  message.data.resize(1786);
  EXPECT_TRUE(node.send(*function, message));
  message.destination = 0xFF;
  EXPECT_FALSE(node.send(*function, message));
  settle();
  EXPECT_EQ(wire.take(), Frames{"1CC82680 14 FA 06 00 00 00 E7 00"});
}

TEST_F(BusNodeHandlers, DoNotHearTheExtendedProtocolFromTheNullAddress) {
  say("1CC880FE 14 FA 06 00 00 00 E7 00");
  say("1CC780FE 01 01 02 03 04 05 06 07");
  EXPECT_EQ(node.statistics().framesIgnored, 2U);
  EXPECT_EQ(node.transportStatistics().framesIgnored, 0U);
}

} // namespace
