// The operator's lines, against a terminal with a client.
#include "terminal/TerminalLines.h"
#include "TerminalClientOnBus.h"

using namespace TerminalOnBus;
using TerminalPool::sample;

namespace {

class TerminalLines : public Fixture {
protected:
  void SetUp() override {
    addClient(0xA000800000000010U, 128);
    run(1000);
    begin(*clients[0]);
    ASSERT_EQ(load(*clients[0], sample()), "12 00 FF FF FF FF 00");
    maintain();
    clients[0]->take();
  }

  // sent: what the client hears of a line.
  std::string sent(const std::string& line) {
    const LineResult_s result = runLine(terminal, line);
    settle();
    return result.error.empty() ? clients[0]->take() : result.error;
  }

  std::string printed(const std::string& line) { return runLine(terminal, line).text; }
};

TEST_F(TerminalLines, DoWhatAnOperatorDoes) {
  EXPECT_EQ(sent("key 105 press"), "00 01 69 00 65 00 07");
  EXPECT_EQ(sent("key 0x69 hold"), "00 02 69 00 65 00 07");
  EXPECT_EQ(sent("key 105 release"), "00 00 69 00 65 00 07");
  EXPECT_EQ(sent("  key  105  click"), "00 01 69 00 65 00 07 | 00 00 69 00 65 00 07");
  EXPECT_EQ(sent("button 106 press"), "01 01 6A 00 65 00 09");
  EXPECT_EQ(sent("button 106 abort"), "01 03 6A 00 65 00 09");
  EXPECT_EQ(sent("number 109 42"), "05 6D 00 FF 2A 00 00 00");
  EXPECT_EQ(sent("text 110 AB C"), "08 7B 00 04 41 42 20 43");
  EXPECT_EQ(sent("select 109"), "03 6D 00 01 00");
  EXPECT_EQ(sent("open 109"), "03 6D 00 01 01");
  EXPECT_EQ(sent("escape"), "04 6D 00 00");
  EXPECT_EQ(sent("unselect"), "03 6D 00 00 00");
  EXPECT_EQ(sent("point 10 20 press"), "02 0A 00 14 00 01");
  EXPECT_EQ(sent("@128 key 105 click"), "00 01 69 00 65 00 07 | 00 00 69 00 65 00 07");
}

TEST_F(TerminalLines, SendATextAsItsFontHasItOrAsUtf16) {
  ask(*clients[0], "AF 6E 00 05 FF FF 00 00");
  ask(*clients[0], "AF 7C 00 03 05 00 00 00");
  EXPECT_EQ(sent(u8"text 110 \u0410"), "08 7B 00 01 B0");
  EXPECT_EQ(sent(u8"utf16 110 \u4E2D"), "08 7B 00 04 FF FE 2D 4E");
  EXPECT_EQ(sent(u8"text 110 \u4E2D"), "the font of the object cannot write this");
  EXPECT_EQ(sent("utf16 110 \xFF"), "this is no UTF-8");
}

TEST_F(TerminalLines, SayWhatIsWrong) {
  EXPECT_EQ(sent("key"), "which object? a number from 0 to 65534");
  EXPECT_EQ(sent("key 65535 press"), "which object? a number from 0 to 65534");
  EXPECT_EQ(sent("key 105 push"), "which state? press, hold, release, abort or click");
  EXPECT_EQ(sent("number 109"), "which value? a number from 0 to 4294967295");
  EXPECT_EQ(sent("number 109 4294967296"), "which value? a number from 0 to 4294967295");
  EXPECT_EQ(sent("number 109 -1"), "which value? a number from 0 to 4294967295");
  EXPECT_EQ(sent("text 9999 A"), "which object? a number from 0 to 65534");
  EXPECT_EQ(sent("show 254"), "which client? an address from 0 to 253");
  EXPECT_EQ(sent("show 129"), "there is no client at address 129");
  EXPECT_EQ(sent("@300 key 1 press"), "'@300' is no address from @0 to @253");
  EXPECT_EQ(sent("@129 key 105 press"), "there is no client at address 129");
  EXPECT_EQ(sent("point 1 2"), "where and how? two numbers from 0 to 65535; press, hold or release");
  EXPECT_EQ(sent("late"), "how late? a number of milliseconds");
  EXPECT_EQ(sent("never 256"), "which function code? a number from 0 to 255");
  EXPECT_EQ(sent("faults on"), "faults: only off");
  EXPECT_EQ(sent("object 5000"), "there is no object 5000");
  EXPECT_EQ(sent("dance"), "'dance' is no command; help lists them");
  EXPECT_EQ(sent(""), "");
  EXPECT_EQ(sent("# dance"), "");
}

TEST_F(TerminalLines, PrintClientsAndObjects) {
  EXPECT_EQ(printed("clients"),
            "client 128: NAME A000800000000010, version 4, mask 101, soft keys 103, on the screen, 2 "
            "commands, 0 not understood, 0 of 0 inputs answered\n");
  EXPECT_EQ(printed("object 122"), "number variable 122 (value 7)\n");
  const std::string objects = printed("objects");
  EXPECT_EQ(std::count(objects.begin(), objects.end(), '\n'), 32);
  for (const char* word : {"clients", "objects", "object", "show",     "key",    "button", "number", "text",
                           "utf16",   "select",  "open",   "unselect", "escape", "point",  "late",   "wrong",
                           "never",   "refuse",  "faults", "vanish",   "return", "help",   "quit"}) {
    EXPECT_NE(printed("help").find(std::string(word) + ' '), std::string::npos) << word;
  }
}

TEST_F(TerminalLines, AskForFaults) {
  runLine(terminal, "never 0xC2");
  EXPECT_EQ(ask(*clients[0], "C0 FF 00 00 00 00"), "C0 04 00");
  EXPECT_EQ(ask(*clients[0], "C2"), "");
  runLine(terminal, "wrong");
  EXPECT_EQ(ask(*clients[0], "C0 FF 00 00 00 00"), "C0 04");
  runLine(terminal, "late 100");
  EXPECT_EQ(ask(*clients[0], "C2"), "");
  run(100);
  EXPECT_EQ(clients[0]->take(), "C2 00 FF FF 3C 3C 40 08");
  runLine(terminal, "never");
  runLine(terminal, "faults off");
  EXPECT_EQ(ask(*clients[0], "C2"), "C2 00 FF FF 3C 3C 40 08");
  runLine(terminal, "refuse 7");
  EXPECT_EQ(ask(*clients[0], "12"), "12 01 FF FF 07 00 08");
  runLine(terminal, "vanish");
  EXPECT_FALSE(terminal.isOnBus());
  runLine(terminal, "return");
  EXPECT_TRUE(terminal.isOnBus());
  EXPECT_TRUE(runLine(terminal, "quit").isEnd);
}

} // namespace
