#include "SocketcandText.h"

#include <gtest/gtest.h>

using namespace IsoBusHost;

namespace {

constexpr size_t longestMessage = 512;

using Messages = std::vector<std::string>;

Messages messagesOf(SocketcandReader_c& reader, std::string_view bytes) {
  Messages messages;
  reader.feed(bytes, [&messages](std::string_view message) {
    messages.emplace_back(message);
    return true;
  });
  return messages;
}

TEST(SocketcandReader, FindsSeveralMessagesInOnePiece) {
  SocketcandReader_c reader;
  EXPECT_EQ(messagesOf(reader, "< hi >< ok >\n< echo >"), Messages({"hi", "ok", "echo"}));
  EXPECT_EQ(reader.dropped(), 0U);
  EXPECT_EQ(reader.unfinished(), 0U);
}

TEST(SocketcandReader, FindsAMessageHoweverItIsDivided) {
  const std::string text = " < send 18EAFFFE 3 00 EE 00 >\r\n";
  for (size_t cut = 0; cut <= text.size(); ++cut) {
    SocketcandReader_c reader;
    Messages messages = messagesOf(reader, text.substr(0, cut));
    for (const char byte : text.substr(cut)) {
      for (const std::string& message : messagesOf(reader, std::string(1, byte))) {
        messages.push_back(message);
      }
    }
    EXPECT_EQ(messages, Messages({"send 18EAFFFE 3 00 EE 00"})) << cut;
    EXPECT_EQ(reader.dropped(), 0U);
  }
}

TEST(SocketcandReader, TakesTheSpacesAtBothEndsOff) {
  SocketcandReader_c reader;
  EXPECT_EQ(messagesOf(reader, "<hi><  a  b \t><><  >"), Messages({"hi", "a  b", "", ""}));
}

TEST(SocketcandReader, DropsWhatStandsBetweenMessagesAndCountsEachRun) {
  SocketcandReader_c reader;
  EXPECT_EQ(messagesOf(reader, "junk more>>< hi >x< ok >"), Messages({"hi", "ok"}));
  EXPECT_EQ(reader.dropped(), 2U);
}

TEST(SocketcandReader, BeginsAnewWithAnOpeningBracket) {
  SocketcandReader_c reader;
  EXPECT_EQ(messagesOf(reader, "< send 18EA< hi >"), Messages({"hi"}));
  EXPECT_EQ(reader.dropped(), 1U);
}

TEST(SocketcandReader, TakesTheLongestMessageAndDropsALongerOne) {
  SocketcandReader_c reader;
  const std::string longest(longestMessage, 'a');
  EXPECT_EQ(messagesOf(reader, '<' + longest + '>'), Messages({longest}));
  EXPECT_EQ(reader.dropped(), 0U);
  EXPECT_EQ(messagesOf(reader, '<' + longest + "a>< hi >"), Messages({"hi"}));
  EXPECT_EQ(reader.dropped(), 1U);
}

TEST(SocketcandReader, TellsHowMuchHasComeWithoutAMessage) {
  SocketcandReader_c reader;
  EXPECT_TRUE(messagesOf(reader, "< hi > \n " + std::string(100000, 'x')).empty() == false);
  EXPECT_EQ(reader.unfinished(), 100000U);
  messagesOf(reader, "< half");
  EXPECT_EQ(reader.unfinished(), 100006U);
  messagesOf(reader, " >");
  EXPECT_EQ(reader.unfinished(), 0U);
  messagesOf(reader, std::string(70000, '<'));
  EXPECT_EQ(reader.unfinished(), 70000U);
}

TEST(SocketcandReader, LeavesTheRestUnreadWhenTheTakerHasEnough) {
  SocketcandReader_c reader;
  int taken = 0;
  reader.feed("< a >< b >< c >", [&taken](std::string_view) { return ++taken < 2; });
  EXPECT_EQ(taken, 2);
}

struct Row_s {
  const char* text;
  std::optional<CanFrame_s> frame;
};

CanFrame_s extended(uint32_t identifier, std::initializer_list<uint8_t> data) {
  CanFrame_s frame = {identifier, true, static_cast<uint8_t>(data.size()), {}};
  std::copy(data.begin(), data.end(), frame.data.begin());
  return frame;
}

CanFrame_s shortFrame(uint32_t identifier, std::initializer_list<uint8_t> data) {
  CanFrame_s frame = extended(identifier, data);
  frame.extended = false;
  return frame;
}

TEST(SocketcandText, ReadsSendMessages) {
  const Row_s rows[] = {
      {"send 18EAFFFE 3 00 EE 00", extended(0x18EAFFFE, {0x00, 0xEE, 0x00})},
      {"send 18eafffe 3 0 ee 0", extended(0x18EAFFFE, {0x00, 0xEE, 0x00})},
      {"send 18EAFFFE 8 1 2 3 4 5 6 7 FF", extended(0x18EAFFFE, {1, 2, 3, 4, 5, 6, 7, 0xFF})},
      {"send  18EAFFFE\t03  0 ee 0", extended(0x18EAFFFE, {0x00, 0xEE, 0x00})},
      {"send 18EAFFFE 0", extended(0x18EAFFFE, {})},
      {"send 1FFFFFFF 0", extended(0x1FFFFFFF, {})},
      {"send CFE4621 0", extended(0x0CFE4621, {})},
      {"send 821 0", extended(0x821, {})},
      {"send 0821 0", extended(0x821, {})},
      {"send 00000123 1 ff", extended(0x123, {0xFF})},
      {"send 123 1 ff", shortFrame(0x123, {0xFF})},
      {"send 7FF 0", shortFrame(0x7FF, {})},
      {"send 1 0", shortFrame(1, {})},
  };
  for (const Row_s& row : rows) {
    EXPECT_EQ(readSendMessage(row.text), row.frame) << row.text;
  }
}

TEST(SocketcandText, RefusesSendMessagesThatAreNoDataFrame) {
  const char* const rows[] = {
      "",
      "send",
      "send 18EAFFFE",
      "Send 18EAFFFE 0",
      "frame 18EAFFFE 0",
      "send 20000000 0",
      "send 98EAFFFE 0",
      "send 018EAFFFE 0",
      "send 0x18EAFF 0",
      "send 18EAFFFG 0",
      "send -1 0",
      "send +1 0",
      "send 18EAFFFE 3",
      "send 18EAFFFE 3 00 EE",
      "send 18EAFFFE 3 00 EE 00 00",
      "send 18EAFFFE 3 00EE00",
      "send 18EAFFFE 1 100",
      "send 18EAFFFE 1 G0",
      "send 18EAFFFE 1 -1",
      "send 18EAFFFE 1 1.",
      "send 18EAFFFE x 00",
      "send 18EAFFFE 9 1 2 3 4 5 6 7 8 9",
      "send 18EAFFFE FF 1",
      "send 18EAFFFE 100000001 1",
      "send 18EAFFFE -1",
  };
  for (const char* row : rows) {
    EXPECT_EQ(readSendMessage(row), std::nullopt) << row;
  }
  EXPECT_EQ(readSendMessage(std::string_view("send 18EAFFFE 1 0\0", 18)), std::nullopt);
}

TEST(SocketcandText, ReadsFrameMessages) {
  const Row_s rows[] = {
      {"frame 18EAFFFE 1690000000.123456 00EE00", extended(0x18EAFFFE, {0x00, 0xEE, 0x00})},
      {"frame 18eafffe 23.424242 00ee00", extended(0x18EAFFFE, {0x00, 0xEE, 0x00})},
      {"frame 18EAFFFE 23.424242 00 EE 00", extended(0x18EAFFFE, {0x00, 0xEE, 0x00})},
      {"frame 18EAFFFE 23 0102030405060708", extended(0x18EAFFFE, {1, 2, 3, 4, 5, 6, 7, 8})},
      {"frame 0CFE4621 23.424242", extended(0x0CFE4621, {})},
      {"frame 7DF 23.424242 0a", shortFrame(0x7DF, {0x0A})},
  };
  for (const Row_s& row : rows) {
    EXPECT_EQ(readFrameMessage(row.text), row.frame) << row.text;
  }
}

TEST(SocketcandText, RefusesFrameMessagesThatAreNoDataFrame) {
  const char* const rows[] = {
      "",
      "frame",
      "frame 18EAFFFE",
      "send 18EAFFFE 23.424242 00EE00",
      "frame 20000000 23.424242 00EE00",
      "frame 18EAFFFE 00EE00",
      "frame 18EAFFFE . 00EE00",
      "frame 18EAFFFE 23. 00EE00",
      "frame 18EAFFFE 2x.1 00EE00",
      "frame 18EAFFFE 23.4.2 00EE00",
      "frame 18EAFFFE -23.4 00EE00",
      "frame 18EAFFFE 23.424242 00EE0",
      "frame 18EAFFFE 23.424242 00EE0G",
      "frame 18EAFFFE 23.424242 010203040506070809",
      "frame 18EAFFFE 23.424242 1 2 3 4 5 6 7 8 9",
      "frame 18EAFFFE 23.424242 00EE 00",
  };
  for (const char* row : rows) {
    EXPECT_EQ(readFrameMessage(row), std::nullopt) << row;
  }
}

TEST(SocketcandText, WritesSendMessages) {
  EXPECT_EQ(sendText(extended(0x18EAFFFE, {0x00, 0xEE, 0x0A})), "< send 18EAFFFE 3 00 EE 0A >");
  EXPECT_EQ(sendText(extended(0x1, {})), "< send 00000001 0 >");
  EXPECT_EQ(sendText(shortFrame(0x1, {0xFF})), "< send 001 1 FF >");
}

TEST(SocketcandText, WritesFrameMessages) {
  EXPECT_EQ(frameText(extended(0x18EAFFFE, {0x00, 0xEE, 0x0A}), 1690000000123456),
            "< frame 18EAFFFE 1690000000.123456 00EE0A >");
  EXPECT_EQ(frameText(shortFrame(0x7DF, {0x01}), 5000001), "< frame 7DF 5.000001 01 >");
}

TEST(SocketcandText, KeepsTheSpaceOfTheDataWhereThereIsNone) {
  EXPECT_EQ(frameText(extended(0x0CFE4621, {}), 0), "< frame 0CFE4621 0.000000  >");
}

} // namespace
