#include "BusServerProcess.h"

#include "ChildProcess.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <list>
#include <unistd.h>

using namespace TestSupport;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

constexpr size_t mostClients = 200;

// isTime: ten digits, a point and six digits.
bool isTime(std::string text) {
  constexpr size_t point = 10;
  if (text.size() != point + 7 || text[point] != '.') {
    return false;
  }
  text.erase(point, 1);
  return text.find_first_not_of("0123456789") == std::string::npos;
}

// withoutTime: "\n< frame 123 1.000000 00 >" as "123 00".
std::string withoutTime(const std::string& message) {
  const std::string beginning = "\n< frame ";
  const size_t time = message.find(' ', beginning.size());
  const size_t data = time == std::string::npos ? time : message.find(' ', time + 1);
  const size_t end = message.size() < 2 ? std::string::npos : message.size() - 2;
  if (message.substr(0, beginning.size()) != beginning || data == std::string::npos || data >= end) {
    return "no frame: " + message;
  }
  EXPECT_TRUE(isTime(message.substr(time + 1, data - time - 1))) << message;
  EXPECT_EQ(message.substr(end), " >");
  return message.substr(beginning.size(), time - beginning.size()) + message.substr(data, end - data);
}

std::string hearFrame(SocketClient_c& client) {
  return withoutTime(client.hear());
}

std::string numberedSend(unsigned int number) {
  char text[64];
  std::snprintf(text, sizeof text, "< send 18FFFF80 4 %x %x %x %x >", number >> 24U, (number >> 16U) & 0xFFU,
                (number >> 8U) & 0xFFU, number & 0xFFU);
  return text;
}

std::string numberedFrame(unsigned int number) {
  char text[64];
  std::snprintf(text, sizeof text, "18FFFF80 %08X", number);
  return text;
}

// counterOf: the number in front of the name, "3" of "3 clients" for example.
unsigned long counterOf(const std::string& summary, const std::string& name) {
  const size_t end = summary.find(' ' + name);
  const size_t begin = end == std::string::npos ? end : summary.find_last_not_of("0123456789", end - 1) + 1;
  if (end == std::string::npos || begin == end) {
    ADD_FAILURE() << summary;
    return 0;
  }
  return std::stoul(summary.substr(begin, end - begin));
}

// expectExchange: shows that the bus works for others, whatever a client has done to it.
void expectExchange(uint16_t port) {
  SocketClient_c sender(port);
  SocketClient_c receiver(port);
  sender.join("can0");
  receiver.join("can0");
  sender.say("< send 18EAFFFE 3 00 EE 00 >");
  EXPECT_EQ(hearFrame(receiver), "18EAFFFE 00EE00");
}

// expectExchangeAfterRefusals: returns how often there was no room yet; the server learns at its own pace who has gone.
unsigned long expectExchangeAfterRefusals(uint16_t port) {
  unsigned long refusals = 0;
  while (SocketClient_c(port).hear() != "< hi >") {
    ++refusals;
  }
  expectExchange(port);
  return refusals;
}

class TemporaryFile_c {
public:
  TemporaryFile_c() {
    char path[] = "/tmp/zemo-bus-XXXXXX";
    close(mkstemp(path));
    m_path = path;
  }
  TemporaryFile_c(const TemporaryFile_c&) = delete;
  TemporaryFile_c& operator=(const TemporaryFile_c&) = delete;
  ~TemporaryFile_c() { std::remove(m_path.c_str()); }

  const std::string& path() const { return m_path; }
  std::string content() const {
    std::ifstream file(m_path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

private:
  std::string m_path;
};

TEST(BusServer, HandsAFrameToTheOtherClientsOfTheBusAndNotToItsSender) {
  const BusServerProcess_c server;
  SocketClient_c sender(server.port());
  SocketClient_c first(server.port());
  SocketClient_c second(server.port());
  for (SocketClient_c* client : {&sender, &first, &second}) {
    client->join("can0");
  }
  sender.say("< send 18EAFFFE 3 0 ee 0 >< send 123 1 ff >< send CFE4821 0 >");
  for (SocketClient_c* client : {&first, &second}) {
    EXPECT_EQ(hearFrame(*client), "18EAFFFE 00EE00");
    EXPECT_EQ(hearFrame(*client), "123 FF");
    EXPECT_EQ(hearFrame(*client), "0CFE4821 ");
  }
  EXPECT_THAT(sender.echo(), IsEmpty());
}

TEST(BusServer, KeepsItsBusesApart) {
  const BusServerProcess_c server({"--buses", "3"});
  SocketClient_c sender(server.port());
  SocketClient_c other(server.port());
  SocketClient_c same(server.port());
  sender.join("can2");
  other.join("can1");
  same.join("can2");
  sender.say("< send 18EAFFFE 3 0 ee 0 >");
  EXPECT_EQ(hearFrame(same), "18EAFFFE 00EE00");
  EXPECT_THAT(other.echo(), IsEmpty());
}

TEST(BusServer, HandsNothingToAClientThatHasNotEnteredRawMode) {
  const BusServerProcess_c server;
  SocketClient_c sender(server.port());
  SocketClient_c opened(server.port());
  sender.join("can0");
  EXPECT_EQ(opened.hear(), "< hi >");
  opened.say("< open can0 >");
  EXPECT_EQ(opened.hear(), "< ok >");
  sender.say("< send 18EAFFFE 3 0 ee 0 >");
  EXPECT_THAT(sender.echo(), IsEmpty());
  EXPECT_THAT(opened.echo(), IsEmpty());
}

TEST(BusServer, ShowsAllClientsTheFramesOfSeveralSendersInOneOrder) {
  const BusServerProcess_c server;
  SocketClient_c one(server.port());
  SocketClient_c other(server.port());
  SocketClient_c first(server.port());
  SocketClient_c second(server.port());
  for (SocketClient_c* client : {&one, &other, &first, &second}) {
    client->join("can0");
  }
  for (unsigned int number = 0; number < 500; ++number) {
    one.say(numberedSend(2 * number));
    other.say(numberedSend(2 * number + 1));
  }
  std::vector<std::string> evenNumbers;
  for (int i = 0; i < 1000; ++i) {
    const std::string frame = hearFrame(first);
    EXPECT_EQ(hearFrame(second), frame);
    if ((std::stoul(frame.substr(9), nullptr, 16) & 1U) == 0) {
      evenNumbers.push_back(frame);
    }
  }
  ASSERT_EQ(evenNumbers.size(), 500U);
  for (unsigned int number = 0; number < 500; ++number) {
    EXPECT_EQ(evenNumbers[number], numberedFrame(2 * number));
  }
}

TEST(BusServer, SendsTheAnswerToRawModeAloneOnABusyBus) {
  // A machine under load may take so long that one attempt or another says nothing.
  const BusServerProcess_c server;
  SocketClient_c busy(server.port());
  busy.join("can0");
  bool cameAlone = false;
  for (int attempt = 0; attempt < 50 && !cameAlone; ++attempt) {
    SocketClient_c joining(server.port());
    EXPECT_EQ(joining.hear(), "< hi >");
    joining.say("< open can0 >");
    EXPECT_EQ(joining.hear(), "< ok >");
    joining.say("< rawmode >< send 123 0 >");
    EXPECT_EQ(hearFrame(busy), "123 ");
    busy.say("< send 18EAFFFE 3 0 ee 0 >");
    busy.echo();
    busy.echo(); // all that was due with the first one has gone out
    cameAlone = joining.hearOnce() == "< ok >";
    if (cameAlone) {
      EXPECT_EQ(hearFrame(joining), "18EAFFFE 00EE00");
    }
  }
  EXPECT_TRUE(cameAlone);
}

struct Dialogue_s {
  const char* said;
  const char* answer;
};

TEST(BusServer, AnswersEachMistakeAndGoesOn) {
  BusServerProcess_c server;
  SocketClient_c client(server.port());
  EXPECT_EQ(client.hear(), "< hi >");
  const Dialogue_s rows[] = {
      {"< send 123 0 >", "< error send needs raw mode >"},
      {"< rawmode >", "< error no bus is open >"},
      {"< open can2 >", "< error there is no such bus >"},
      {"< open can00 >", "< error there is no such bus >"},
      {"< open >", "< error there is no such bus >"},
      {"< open can0 can1 >", "< error there is no such bus >"},
      {"< hello >", "< error unknown command >"},
      {"< >", "< error unknown command >"},
      {"< rawmode now >", "< error unknown command >"},
      {"< echo >", "< echo >"},
      {"< open can1 >", "< ok >"},
      {"< open can0 >", "< error a bus is open already >"},
      {"< send 123 0 >", "< error send needs raw mode >"},
      {"< rawmode >", "< ok >"},
      {"< rawmode >", "< ok >"},
      {"< send 123 1 >", "< error no data frame >"},
      {"junk\n", "< error message cannot be read >"},
      {"< echo >", "< echo >"},
  };
  for (const Dialogue_s& row : rows) {
    client.say(row.said);
    EXPECT_EQ(client.hear(), row.answer) << row.said;
  }
  client.close();
  expectExchange(server.port());
  EXPECT_EQ(server.stop(SIGTERM).summary, "3 clients, 1 frames, 0 dropped, 13 malformed, 0 refused, 0 closed\n");
}

TEST(BusServer, WaitsForTheRestOfHalfALineAndServesTheOthers) {
  const BusServerProcess_c server;
  SocketClient_c slow(server.port());
  slow.join("can0");
  slow.say("< send 18EAFF");
  expectExchange(server.port());
  SocketClient_c listener(server.port());
  listener.join("can0");
  EXPECT_EQ(hearFrame(slow), "18EAFFFE 00EE00");
  slow.say("FE 3 0 ee 0 >");
  EXPECT_EQ(hearFrame(listener), "18EAFFFE 00EE00");
}

TEST(BusServer, SendsAClientAwayThatDoesNotEndItsMessage) {
  const std::pair<const char*, char> rows[] = {{"< send ", '1'}, {"", 'x'}, {"", '<'}};
  for (const auto& [beginning, filling] : rows) {
    BusServerProcess_c server;
    SocketClient_c flooding(server.port());
    flooding.join("can0");
    flooding.say(beginning);
    const std::string megabyte(1000000, filling);
    for (int i = 0; i < 10 && flooding.say(megabyte); ++i) {
    }
    std::string last;
    for (std::string message = flooding.hear(); !message.empty(); message = flooding.hear()) {
      last = message;
    }
    EXPECT_EQ(last, "< error no end of message >");
    flooding.close();
    expectExchange(server.port());
    EXPECT_EQ(counterOf(server.stop(SIGTERM).summary, "closed"), 1U);
  }
}

TEST(BusServer, ClosesAClientThatGoesOnAfterItWasSentAway) {
  const BusServerProcess_c server;
  SocketClient_c flooding(server.port());
  const std::string megabyte(1000000, 'x');
  while (flooding.say(megabyte)) {
  }
  expectExchange(server.port());
}

TEST(BusServer, DropsAndCountsWhatAClientDoesNotReadAndDisturbsNobodyElse) {
  BusServerProcess_c server;
  SocketClient_c lazy(server.port());
  SocketClient_c sender(server.port());
  SocketClient_c reading(server.port());
  for (SocketClient_c* client : {&lazy, &sender, &reading}) {
    client->join("can0");
  }
  constexpr unsigned int batch = 1000;
  constexpr unsigned int frames = 60 * batch; // some 3 megabytes
  for (unsigned int number = 0; number < frames;) {
    std::string text;
    for (unsigned int i = 0; i < batch; ++i) {
      text += numberedSend(number + i);
    }
    ASSERT_TRUE(sender.say(text));
    for (unsigned int i = 0; i < batch; ++i, ++number) {
      ASSERT_EQ(hearFrame(reading), numberedFrame(number));
    }
  }
  unsigned long heardByLazy = 0;
  for (const std::string& message : lazy.echo()) {
    ASSERT_EQ(message.substr(0, 18), "\n< frame 18FFFF80 ");
    ++heardByLazy;
  }
  const auto end = server.stop(SIGTERM);
  EXPECT_GT(counterOf(end.summary, "dropped"), 0U);
  EXPECT_EQ(heardByLazy + counterOf(end.summary, "dropped"), frames);
}

TEST(BusServer, OutlivesClientsThatGoWithoutAWord) {
  BusServerProcess_c server;
  SocketClient_c sender(server.port());
  sender.join("can0");
  for (int i = 0; i < 50; ++i) {
    SocketClient_c going(server.port());
    going.join("can0");
    sender.say("< send 18EAFFFE 3 0 ee 0 >");
    going.say("< send 123 0 >< send 12");
    going.reset();
    sender.say("< send 18EAFFFE 3 0 ee 0 >");
  }
  expectExchange(server.port());
  EXPECT_EQ(server.stop(SIGTERM).exitStatus, 0);
}

TEST(BusServer, AnswersAClientThatHasEndedItsOwnSide) {
  const BusServerProcess_c server;
  SocketClient_c client(server.port());
  EXPECT_EQ(client.hear(), "< hi >");
  client.say("< open can0 >< rawmode >< echo >");
  client.endOwnSide();
  EXPECT_EQ(client.hear(), "< ok >");
  EXPECT_EQ(client.hear(), "< ok >");
  EXPECT_EQ(client.hear(), "< echo >");
  EXPECT_EQ(client.hear(), "");
}

TEST(BusServer, TakesThousandsOfClientsOneAfterTheOther) {
  BusServerProcess_c server;
  for (int i = 0; i < 3000; ++i) {
    SocketClient_c client(server.port());
    ASSERT_EQ(client.hear(), "< hi >");
  }
  expectExchange(server.port());
  EXPECT_EQ(server.stop(SIGTERM).summary, "3002 clients, 1 frames, 0 dropped, 0 malformed, 0 refused, 0 closed\n");
}

TEST(BusServer, RefusesMoreClientsThanItHasRoomFor) {
  BusServerProcess_c server;
  std::list<SocketClient_c> clients;
  for (size_t i = 0; i < mostClients; ++i) {
    clients.emplace_back(server.port());
    ASSERT_EQ(clients.back().hear(), "< hi >");
  }
  SocketClient_c oneTooMany(server.port());
  EXPECT_EQ(oneTooMany.hear(), "< error too many clients >");
  EXPECT_EQ(oneTooMany.hear(), "");
  clients.clear();
  const unsigned long refusals = expectExchangeAfterRefusals(server.port());
  EXPECT_EQ(counterOf(server.stop(SIGTERM).summary, "refused"), refusals + 1);
}

TEST(BusServer, GoesOnWhenItMayOpenNoMoreDescriptors) {
  BusServerProcess_c server({}, 16);
  std::list<SocketClient_c> clients;
  size_t greeted = 0;
  for (int i = 0; i < 30; ++i) {
    clients.emplace_back(server.port());
    greeted += clients.back().hear() == "< hi >" ? 1 : 0;
  }
  EXPECT_GT(greeted, 5U);
  EXPECT_LT(greeted, 16U);
  clients.clear();
  const unsigned long refusals = expectExchangeAfterRefusals(server.port());
  const auto end = server.stop(SIGTERM);
  EXPECT_EQ(counterOf(end.summary, "refused"), refusals + 30 - greeted);
  EXPECT_EQ(end.exitStatus, 0);
}

TEST(BusServer, EndsWithASummaryOnSigintAndSigterm) {
  for (const int signal : {SIGINT, SIGTERM}) {
    BusServerProcess_c server;
    expectExchange(server.port());
    SocketClient_c present(server.port());
    present.join("can1");
    const auto end = server.stop(signal);
    EXPECT_EQ(end.exitStatus, 0);
    EXPECT_EQ(end.summary, "3 clients, 1 frames, 0 dropped, 0 malformed, 0 refused, 0 closed\n");
    EXPECT_EQ(end.standardError, "");
    EXPECT_EQ(present.hear(), "");
  }
}

TEST(BusServer, ListensOnTheLoopbackInterfaceOnly) {
  const BusServerProcess_c server;
  char port[8];
  std::snprintf(port, sizeof port, ":%04X", static_cast<unsigned int>(server.port()));
  std::ifstream sockets("/proc/net/tcp");
  const std::string text{std::istreambuf_iterator<char>(sockets), {}};
  EXPECT_NE(text.find(std::string(" 0100007F") + port + " 00000000:0000 0A"), std::string::npos) << text;
  EXPECT_EQ(text.find(std::string(" 00000000") + port), std::string::npos);
}

TEST(BusServer, WritesTheFramesOfAllBusesToTheLogAndOfOneToThePcapFile) {
  const TemporaryFile_c capture;
  const TemporaryFile_c log;
  BusServerProcess_c server({"--capture", capture.path(), "--capture-bus", "can1", "--log", log.path()});
  SocketClient_c onBus0(server.port());
  SocketClient_c onBus1(server.port());
  onBus0.join("can0");
  onBus1.join("can1");
  onBus0.say("< send 18EAFFFE 3 00 EE 00 >");
  EXPECT_THAT(onBus0.echo(), IsEmpty());
  onBus1.say("< send 123 1 FF >");
  EXPECT_THAT(onBus1.echo(), IsEmpty());
  EXPECT_EQ(server.stop(SIGTERM).exitStatus, 0);
  EXPECT_THAT(log.content(), MatchesRegex("\\([0-9]{10}\\.[0-9]{6}\\) can0 18EAFFFE#00EE00\n"
                                          "\\([0-9]{10}\\.[0-9]{6}\\) can1 123#FF\n"));
  ASSERT_EQ(capture.content().size(), 24U + 16U + 9U);
  EXPECT_EQ(capture.content().substr(40), std::string("\x00\x00\x01\x23\x01\x00\x00\x00\xFF", 9));
}

TEST(BusServer, SaysWhichFileCouldNotTakeAllFrames) {
  BusServerProcess_c server({"--log", "/dev/full"});
  expectExchange(server.port());
  const auto end = server.stop(SIGTERM);
  EXPECT_EQ(end.standardError, "zemo-bus-server: /dev/full: not all frames could be written\n");
  EXPECT_EQ(end.exitStatus, 1);
}

TEST(BusServer, DoesNotStartOnAPortInUseOrWithAFileThatCannotBeWritten) {
  const BusServerProcess_c server;
  const std::string port = std::to_string(server.port());
  const Ending_s inUse = runProgram({busServerProgram(), "--port", port});
  EXPECT_EQ(inUse.exitStatus, 1);
  EXPECT_EQ(inUse.standardError, "zemo-bus-server: 127.0.0.1:" + port + ": Address already in use\n");
  const Ending_s noFile = runProgram({busServerProgram(), "--port", "0", "--capture", "/nowhere/a.pcap"});
  EXPECT_EQ(noFile.exitStatus, 1);
  EXPECT_EQ(noFile.standardError, "zemo-bus-server: /nowhere/a.pcap: No such file or directory\n");
  EXPECT_EQ(noFile.standardOutput, "");
}

TEST(BusServer, LeavesTheFilesAloneWhenThePortIsInUse) {
  const TemporaryFile_c log;
  std::ofstream(log.path()) << "of another server";
  const BusServerProcess_c server;
  runProgram({busServerProgram(), "--port", std::to_string(server.port()), "--log", log.path()});
  EXPECT_EQ(log.content(), "of another server");
}

struct WrongOptions_s {
  std::vector<std::string> options;
  const char* error;
};

TEST(BusServer, RefusesWrongOptionsWithOneLineAndStatus2) {
  const WrongOptions_s rows[] = {
      {{"--port", "65536"}, "zemo-bus-server: --port: '65536' is no whole number from 0 to 65535\n"},
      {{"--port", "-1"}, "zemo-bus-server: --port: '-1' is no whole number from 0 to 65535\n"},
      {{"--port", "99999999999999999999"},
       "zemo-bus-server: --port: '99999999999999999999' is no whole number from 0 to 65535\n"},
      {{"--port", "1x"}, "zemo-bus-server: --port: '1x' is no whole number from 0 to 65535\n"},
      {{"--port", ""}, "zemo-bus-server: --port: '' is no whole number from 0 to 65535\n"},
      {{"--buses", "0"}, "zemo-bus-server: --buses: '0' is no whole number from 1 to 32\n"},
      {{"--buses", "33"}, "zemo-bus-server: --buses: '33' is no whole number from 1 to 32\n"},
      {{"--capture", "/dev/null", "--capture-bus", "can2"}, "zemo-bus-server: --capture-bus: there is no bus 'can2'\n"},
      {{"--capture-bus", "can1"}, "zemo-bus-server: --capture-bus: goes with --capture only\n"},
      {{"can0"}, "zemo-bus-server: 'can0' is no option; --help lists them\n"},
  };
  for (const WrongOptions_s& row : rows) {
    std::vector<std::string> arguments = {busServerProgram()};
    arguments.insert(arguments.end(), row.options.begin(), row.options.end());
    const Ending_s ending = runProgram(arguments);
    EXPECT_EQ(ending.standardError, row.error);
    EXPECT_EQ(ending.exitStatus, 2) << row.error;
    EXPECT_EQ(ending.standardOutput, "") << row.error;
  }
  for (const char* option : {"--nonsense", "--port", "-x"}) {
    const Ending_s ending = runProgram({busServerProgram(), option});
    EXPECT_EQ(ending.exitStatus, 2) << option;
    EXPECT_EQ(std::count(ending.standardError.begin(), ending.standardError.end(), '\n'), 1) << ending.standardError;
  }
}

TEST(BusServer, ExplainsItsOptions) {
  const Ending_s ending = runProgram({busServerProgram(), "--help"});
  EXPECT_EQ(ending.exitStatus, 0);
  EXPECT_EQ(ending.standardError, "");
  for (const char* option : {"--buses N", "--port P", "--capture FILE", "--capture-bus BUS", "--log FILE", "--help"}) {
    EXPECT_NE(ending.standardOutput.find(option), std::string::npos) << option;
  }
}

} // namespace
