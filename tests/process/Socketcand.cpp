#include "BusServerProcess.h"

#include "CanTransport.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

using namespace IsoBusHost;
using namespace TestSupport;

namespace {

constexpr int longestWaitMs = 20000;

const CanFrame_s request = {0x18EAFFFE, true, 3, {0x00, 0xEE, 0x00}};
const CanFrame_s shortFrame = {0x7DF, false, 1, {0x0A}};

CanFrame_s numbered(uint32_t number) {
  CanFrame_s frame = {0x18FFFF80, true, 4, {}};
  for (unsigned int i = 0; i < 4; ++i) {
    frame.data[i] = static_cast<uint8_t>(number >> (8 * i));
  }
  return frame;
}

std::unique_ptr<CanTransport_c> open(const std::string& address) {
  std::string error;
  auto transport = openTransport(address, error);
  EXPECT_EQ(error, "");
  return transport;
}

bool isLocalhostInHosts() {
  std::ifstream hosts("/etc/hosts");
  const std::string text(std::istreambuf_iterator<char>(hosts), {});
  return text.find("localhost") != std::string::npos;
}

// waitToReceive: the next frame; empty when the transport closes.
std::optional<CanFrame_s> waitToReceive(CanTransport_c& transport) {
  while (transport.isOpen() || transport.hasPending()) {
    if (auto frame = transport.receive()) {
      return frame;
    }
    pollfd waiting = {transport.descriptor(), POLLIN, 0};
    if (transport.isOpen() && poll(&waiting, 1, longestWaitMs) <= 0) {
      ADD_FAILURE() << "nothing has come";
      return std::nullopt;
    }
  }
  return std::nullopt;
}

// ScriptedServer_c: accepts one client and says a text at once, whatever the client says.
class ScriptedServer_c {
public:
  explicit ScriptedServer_c(int family = AF_INET) : m_listener(socket(family, SOCK_STREAM, 0)) {
    EXPECT_EQ(listen(m_listener.get(), 1), 0); // binds to any free port
    sockaddr_in6 address{};
    socklen_t size = sizeof address;
    EXPECT_EQ(getsockname(m_listener.get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
    m_port = ntohs(address.sin6_port); // at the same place for IPv4
  }

  std::string port() const { return std::to_string(m_port); }
  std::string address() const { return "socketcand:127.0.0.1:" + port() + "/can0"; }

  // openWhileSaying: opens a transport to this server.
  std::unique_ptr<CanTransport_c> openWhileSaying(const std::string& text, std::string& error) {
    auto server = std::async(std::launch::async, [this, text] { acceptAndSay(text); });
    auto transport = openTransport(address(), error);
    server.wait();
    return transport;
  }

  std::unique_ptr<CanTransport_c> openWhileSaying(const std::string& text) {
    std::string error;
    auto transport = openWhileSaying(text, error);
    EXPECT_EQ(error, "");
    return transport;
  }

  std::string errorWhileSaying(const std::string& text) {
    std::string error;
    EXPECT_EQ(openWhileSaying(text, error), nullptr);
    const std::string prefix = address() + ": ";
    EXPECT_EQ(error.substr(0, prefix.size()), prefix);
    return error.substr(std::min(error.size(), prefix.size()));
  }

  void acceptAndSay(const std::string& text) {
    m_client = FileDescriptor_c(accept(m_listener.get(), nullptr, nullptr));
    say(text);
  }

  void say(const std::string& text) { EXPECT_TRUE(tryToSay(text)); }

  // tryToSay: gives false once the client has gone.
  bool tryToSay(const std::string& text) {
    return send(m_client.get(), text.data(), text.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(text.size());
  }

  // hear: waits for a whole number of bytes.
  std::string hear(size_t size) {
    std::string text(size, '\0');
    const ssize_t heard = recv(m_client.get(), &text[0], size, MSG_WAITALL);
    text.resize(heard < 0 ? 0 : static_cast<size_t>(heard));
    return text;
  }

  void hangUp() { m_client.close(); }
  void stopListening() { m_listener.close(); }

private:
  FileDescriptor_c m_listener;
  FileDescriptor_c m_client;
  uint16_t m_port = 0;
};

const std::string welcome = "< hi >< ok >< ok >";

TEST(Socketcand, ExchangesFramesThroughTheBusServer) {
  const BusServerProcess_c server;
  const auto first = open(server.address("can0"));
  const auto second = open(server.address("can0"));
  const auto third = open(server.address("can0"));
  const auto onOtherBus = open(server.address("can1"));
  EXPECT_TRUE(first->send(request));
  EXPECT_TRUE(first->send(shortFrame));
  for (CanTransport_c* transport : {second.get(), third.get()}) {
    EXPECT_EQ(waitToReceive(*transport), request);
    EXPECT_EQ(waitToReceive(*transport), shortFrame);
    EXPECT_FALSE(transport->hasPending());
  }
  EXPECT_TRUE(second->send(numbered(7)));
  EXPECT_EQ(waitToReceive(*first), numbered(7));
  EXPECT_FALSE(first->hasPending());
  EXPECT_FALSE(onOtherBus->hasPending());
  EXPECT_EQ(first->statistics().sent, 2U);
  EXPECT_EQ(first->statistics().received, 1U);
}

TEST(Socketcand, LosesNothingInALongBurstEachWay) {
  const BusServerProcess_c server;
  const auto one = open(server.address("can0"));
  const auto other = open(server.address("can0"));
  constexpr uint32_t count = 5000;
  for (uint32_t number = 0; number < count; ++number) {
    ASSERT_TRUE(one->send(numbered(number)));
    ASSERT_TRUE(other->send(numbered(number)));
    ASSERT_EQ(waitToReceive(*other), numbered(number));
    ASSERT_EQ(waitToReceive(*one), numbered(number));
  }
  EXPECT_EQ(one->statistics().malformed, 0U);
}

TEST(Socketcand, ClosesWithAReasonWhenTheServerEnds) {
  BusServerProcess_c server;
  const auto transport = open(server.address("can0"));
  EXPECT_GE(transport->descriptor(), 0);
  EXPECT_EQ(server.stop(SIGTERM).exitStatus, 0);
  EXPECT_EQ(waitToReceive(*transport), std::nullopt);
  EXPECT_FALSE(transport->isOpen());
  EXPECT_EQ(transport->error(), server.address("can0") + ": the server has closed the connection");
  EXPECT_EQ(transport->descriptor(), -1);
  EXPECT_FALSE(transport->hasPending());
  EXPECT_FALSE(transport->hasUnsent());
  EXPECT_FALSE(transport->send(request));
}

TEST(Socketcand, ReportsABusThatTheServerDoesNotHave) {
  const BusServerProcess_c server;
  std::string error;
  EXPECT_EQ(openTransport(server.address("can9"), error), nullptr);
  EXPECT_EQ(error, server.address("can9") + ": the server answered \"error there is no such bus\"");
}

TEST(Socketcand, ReportsThatNobodyListens) {
  ScriptedServer_c server;
  server.stopListening();
  std::string error;
  EXPECT_EQ(openTransport(server.address(), error), nullptr);
  EXPECT_EQ(error, server.address() + ": Connection refused");
}

TEST(Socketcand, ReportsAHostThatHasNoAddress) {
  const std::string address = "socketcand:[fe80::1%nosuchbus]:1/can0"; // needs no name server to be wrong
  std::string error;
  EXPECT_EQ(openTransport(address, error), nullptr);
  EXPECT_EQ(error, address + ": Name or service not known");
}

TEST(Socketcand, ReportsAServerThatSpeaksSomethingElse) {
  EXPECT_EQ(ScriptedServer_c().errorWhileSaying("< hello >"), "the server answered \"hello\"");
  EXPECT_EQ(ScriptedServer_c().errorWhileSaying("< hi >< error could not open bus >"),
            "the server answered \"error could not open bus\"");
  EXPECT_EQ(ScriptedServer_c().errorWhileSaying("< hi >< ok >< what\na\x1b day >"),
            "the server answered \"what?a? day\"");
  EXPECT_EQ(ScriptedServer_c().errorWhileSaying(std::string(70000, 'x')),
            "the server does not speak the socketcand protocol");
}

TEST(Socketcand, WaitsTwoSecondsForAServerThatSaysNothing) {
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(ScriptedServer_c().errorWhileSaying("< hi >< ok >< o"), "the server does not answer");
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1990));
}

TEST(Socketcand, WaitsNoLongerForAServerThatGoesOnSayingNothing) {
  ScriptedServer_c server;
  auto talking = std::async(std::launch::async, [&server] {
    server.acceptAndSay("< hi >");
    while (server.tryToSay(std::string(65536, ' '))) {
    }
  });
  std::string error;
  EXPECT_EQ(openTransport(server.address(), error), nullptr);
  EXPECT_EQ(error, server.address() + ": the server does not answer");
  talking.wait();
}

TEST(Socketcand, SaysItsPartOfTheProtocol) {
  ScriptedServer_c server;
  const auto transport = server.openWhileSaying(welcome);
  ASSERT_NE(transport, nullptr);
  transport->send(request);
  transport->send(shortFrame);
  const std::string expected = "< open can0 >< rawmode >< send 18EAFFFE 3 00 EE 00 >< send 7DF 1 0A >";
  EXPECT_EQ(server.hear(expected.size()), expected);
}

std::string errorOfOpening(const std::string& host, ScriptedServer_c& server) {
  auto opening = std::async(std::launch::async, [&host, &server] {
    std::string error;
    openTransport("socketcand:" + host + ':' + server.port() + "/can0", error);
    return error;
  });
  server.acceptAndSay(welcome);
  return opening.get();
}

TEST(Socketcand, ReachesAServerByName) {
  if (!isLocalhostInHosts()) {
    GTEST_SKIP() << "this machine does not know its own name without asking others";
  }
  ScriptedServer_c server;
  EXPECT_EQ(errorOfOpening("localhost", server), "");
}

TEST(Socketcand, ReachesAServerOverIpv6) {
  if (!std::ifstream("/proc/net/if_inet6").good()) {
    GTEST_SKIP() << "this machine has no IPv6";
  }
  ScriptedServer_c server(AF_INET6);
  EXPECT_EQ(errorOfOpening("[::1]", server), "");
}

TEST(Socketcand, TakesFramesThatCameTogetherWithTheLastAnswer) {
  ScriptedServer_c server;
  const auto transport = server.openWhileSaying(welcome + "< frame 18EAFFFE 1.000000 00EE00 >");
  ASSERT_NE(transport, nullptr);
  EXPECT_EQ(waitToReceive(*transport), request);
}

TEST(Socketcand, DropsAndCountsWhatIsNoDataFrame) {
  ScriptedServer_c server;
  const auto transport = server.openWhileSaying(welcome);
  ASSERT_NE(transport, nullptr);
  server.say("< frame 18EAFFFE 1.000000 00EE0 >< error overload >junk< frame 18< frame 7DF 1.0 0a >");
  EXPECT_EQ(waitToReceive(*transport), shortFrame);
  EXPECT_EQ(transport->statistics().malformed, 4U);
  EXPECT_TRUE(transport->isOpen());
}

TEST(Socketcand, JoinsAFrameThatArrivesInPieces) {
  ScriptedServer_c server;
  const auto transport = server.openWhileSaying(welcome);
  ASSERT_NE(transport, nullptr);
  server.say("< frame 18EAFFFE 1.0");
  pollfd waiting = {transport->descriptor(), POLLIN, 0};
  EXPECT_EQ(poll(&waiting, 1, longestWaitMs), 1);
  EXPECT_EQ(transport->receive(), std::nullopt);
  server.say("00000 00EE00 >");
  EXPECT_EQ(waitToReceive(*transport), request);
}

TEST(Socketcand, ClosesWhenTheServerSendsEndlessTextWithoutAMessage) {
  ScriptedServer_c server;
  const auto transport = server.openWhileSaying(welcome);
  ASSERT_NE(transport, nullptr);
  server.say("< frame " + std::string(66000, '1'));
  EXPECT_EQ(waitToReceive(*transport), std::nullopt);
  EXPECT_EQ(transport->error(), server.address() + ": the server does not speak the socketcand protocol");
}

TEST(Socketcand, RefusesFramesWhileTheServerDoesNotReadAndLosesNoneThatItTook) {
  ScriptedServer_c server;
  const auto transport = server.openWhileSaying(welcome);
  ASSERT_NE(transport, nullptr);
  uint32_t taken = 0;
  while (taken < 10000000 && transport->send(numbered(taken))) {
    ++taken;
  }
  ASSERT_LT(taken, 10000000U);
  EXPECT_TRUE(transport->isOpen());
  EXPECT_TRUE(transport->hasUnsent());
  EXPECT_EQ(transport->statistics().refused, 1U);
  const std::string beginning = "< open can0 >< rawmode >";
  EXPECT_EQ(server.hear(beginning.size()), beginning);
  const std::string sizeOfOne = "< send 18FFFF80 4 00 00 00 00 >";
  std::string last;
  for (uint32_t number = 0; number < taken; ++number) {
    transport->flush();
    last = server.hear(sizeOfOne.size());
  }
  char expected[64];
  const CanFrame_s frame = numbered(taken - 1);
  std::snprintf(expected, sizeof expected, "< send 18FFFF80 4 %02X %02X %02X %02X >", frame.data[0], frame.data[1],
                frame.data[2], frame.data[3]);
  EXPECT_EQ(last, expected);
  EXPECT_FALSE(transport->hasUnsent());
  EXPECT_TRUE(transport->send(request));
}

TEST(Socketcand, ClosesWithAReasonWhenSendingFails) {
  ScriptedServer_c server;
  const auto transport = server.openWhileSaying(welcome);
  ASSERT_NE(transport, nullptr);
  server.hangUp();
  while (transport->send(request)) {
  }
  EXPECT_FALSE(transport->isOpen());
  EXPECT_EQ(transport->error().substr(0, server.address().size() + 2), server.address() + ": ");
}

TEST(Socketcand, HasNothingUnsentOnceItIsClosed) {
  ScriptedServer_c server;
  const auto transport = server.openWhileSaying(welcome);
  ASSERT_NE(transport, nullptr);
  while (transport->send(request)) {
  }
  ASSERT_TRUE(transport->hasUnsent());
  server.hangUp();
  EXPECT_EQ(waitToReceive(*transport), std::nullopt);
  EXPECT_FALSE(transport->isOpen());
  EXPECT_FALSE(transport->hasUnsent());
}

TEST(Socketcand, RefusesWhatNoBusCanCarry) {
  ScriptedServer_c server;
  const auto transport = server.openWhileSaying(welcome);
  ASSERT_NE(transport, nullptr);
  CanFrame_s tooLong = request;
  tooLong.length = 9;
  EXPECT_FALSE(transport->send(tooLong));
  EXPECT_EQ(transport->statistics().refused, 1U);
}

} // namespace
