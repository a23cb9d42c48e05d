// Feeds a node with two own functions whatever frames, pauses, messages to send and busy buses the input says.
//
// The input is a row of steps: a byte for the kind (modulo 10), then what the kind needs; where the input ends early
// the rest is 0.
//
//   0  any frame: identifier (4 bytes, lowest first), length, data
//   1  transport management: source, destination, 8 bytes
//   2  transport data: source, destination, 8 bytes
//   3  address claimed: source, NAME (8 bytes)
//   4  request: source, destination, PGN (3 bytes)
//   5  pause: milliseconds (2 bytes, lowest first)
//   6  message of an own function: function, destination, length (2 bytes, lowest first)
//   7  the bus takes so many frames from now on; 255: all
//   8  extended transport management: source, destination, 8 bytes
//   9  extended transport data: source, destination, 8 bytes
//
// A destination of 0 or 1 stands for the address of the first or the second own function, wherever it is.
#include "BusNode.h"
#include "HostClock.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace IsoBusHost;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

constexpr std::size_t maxMessages = 4;
constexpr int maxRounds = 20000; // far more than all messages, one frame a round, can take
constexpr std::size_t bytesOfFrame = 8;

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

// FuzzBus_c: hands out what the input holds and checks what the node sends.
class FuzzBus_c : public CanTransport_c {
public:
  bool send(const CanFrame_s& frame) override {
    require(frame.extended && frame.length <= bytesOfFrame);
    require(frame.identifier < (1U << 29U) && decodeIdentifier(frame.identifier).source != globalAddress);
    if (m_takes == 0) {
      return false;
    }
    m_takes -= m_takes == takesAll ? 0 : 1;
    return true;
  }

  std::optional<CanFrame_s> receive() override {
    if (m_frames.empty()) {
      return std::nullopt;
    }
    const CanFrame_s frame = m_frames.front();
    m_frames.pop_front();
    return frame;
  }

  bool hasPending() const override { return !m_frames.empty(); }
  int descriptor() const override { return -1; }
  bool hasUnsent() const override { return false; }
  void flush() override {}
  bool isOpen() const override { return true; }
  std::string error() const override { return {}; }
  const TransportStatistics_s& statistics() const override { return m_statistics; }

  void arrive(const CanFrame_s& frame) { m_frames.push_back(frame); }
  void takeOnly(unsigned int frames) { m_takes = frames; }

  static constexpr unsigned int takesAll = 255;

private:
  std::deque<CanFrame_s> m_frames;
  TransportStatistics_s m_statistics;
  unsigned int m_takes = takesAll;
};

class Input_c {
public:
  Input_c(const uint8_t* data, std::size_t size) : m_data(data), m_end(data + size) {}

  bool isOver() const { return m_data == m_end; }
  uint8_t byte() { return isOver() ? uint8_t{0} : *m_data++; }

  uint32_t number(unsigned int bytes) {
    uint32_t value = 0;
    for (unsigned int index = 0; index < bytes; ++index) {
      value |= uint32_t{byte()} << (8U * index);
    }
    return value;
  }

private:
  const uint8_t* m_data;
  const uint8_t* m_end;
};

class Session_c {
public:
  Session_c() {
    m_node.setNetworkManagement(true);
    m_node.setRequests(true);
    m_node.setMultiReceive(true);
    m_node.setMultiSend(true);
    m_node.setWorkingSets(true);
    m_node.onMessage([this](const IsoMessage_s& message) { check(message); });
    add(0xA000000000000001ULL, 0x80);
    add(0x2000000000000002ULL, 0x26);
    for (int round = 0; round < 10; ++round) {
      run(100);
    }
    for (const OwnFunction_c* function : m_functions) {
      require(function->state() == ClaimState_e::claimed);
    }
  }

  void step(Input_c& input) {
    switch (input.byte() % 10U) {
    case 0:
      anyFrame(input);
      break;
    case 1:
      frameOf(Pgn::transportManagement, input, bytesOfFrame);
      break;
    case 2:
      frameOf(Pgn::transportData, input, bytesOfFrame);
      break;
    case 3:
      claim(input);
      break;
    case 4:
      frameOf(Pgn::request, input, 3);
      break;
    case 5:
      run(input.number(2) % 4096U);
      break;
    case 6:
      sendMessage(input);
      break;
    case 7:
      m_bus->takeOnly(input.byte());
      break;
    case 8:
      frameOf(Pgn::extendedTransportManagement, input, bytesOfFrame);
      break;
    default:
      frameOf(Pgn::extendedTransportData, input, bytesOfFrame);
      break;
    }
  }

  // end: when the bus takes everything and nobody speaks, each message is told to be over, exactly once.
  void end() {
    m_bus->takeOnly(FuzzBus_c::takesAll);
    for (int round = 0; m_told < m_accepted && round < maxRounds; ++round) {
      run(0);
      const uint64_t dueMs = m_node.nextDueMs();
      require(dueMs != never || m_told == m_accepted);
      const uint64_t nowMs = HostClock::nowMs();
      HostClock::advanceMs(dueMs > nowMs && dueMs != never ? dueMs - nowMs : 0);
    }
    require(m_told == m_accepted);
  }

private:
  void add(uint64_t name, uint8_t preferredAddress) {
    FunctionSettings_s settings;
    settings.name = name;
    settings.preferredAddress = preferredAddress;
    settings.workingSetMembers = 0;
    settings.answer = [](uint32_t pgn) -> std::optional<std::vector<uint8_t>> {
      return pgn == Pgn::softwareIdentification ? std::optional(std::vector<uint8_t>(40, uint8_t{'*'})) : std::nullopt;
    };
    m_functions.push_back(m_node.add(std::move(settings)));
    require(m_functions.back() != nullptr);
  }

  void check(const IsoMessage_s& message) const {
    require(message.data.size() <= ReceiveLimits_s{}.longest);
    require(message.source != globalAddress && message.pgn < (1U << 18U));
    bool isForUs = message.destination == globalAddress;
    for (const OwnFunction_c* function : m_functions) {
      isForUs = isForUs || function->address() == message.destination;
    }
    require(isForUs);
  }

  void run(uint64_t milliseconds) {
    m_node.poll();
    HostClock::advanceMs(milliseconds);
    m_node.poll();
  }

  uint8_t destination(Input_c& input) const {
    const uint8_t byte = input.byte();
    return byte < m_functions.size() ? m_functions[byte]->address() : byte;
  }

  void anyFrame(Input_c& input) {
    CanFrame_s frame;
    const uint32_t identifier = input.number(4);
    frame.identifier = identifier & 0x1FFFFFFFU;
    frame.extended = (identifier >> 31U) == 0;
    frame.length = static_cast<uint8_t>(input.byte() % (bytesOfFrame + 1));
    fill(frame, input);
  }

  void frameOf(uint32_t pgn, Input_c& input, std::size_t length) {
    const uint8_t source = input.byte();
    CanFrame_s frame;
    frame.identifier = encodeIdentifier({7, pgn, destination(input), source});
    frame.length = static_cast<uint8_t>(length);
    fill(frame, input);
  }

  void claim(Input_c& input) {
    CanFrame_s frame;
    frame.identifier = encodeIdentifier({6, Pgn::addressClaimed, globalAddress, input.byte()});
    frame.length = bytesOfFrame;
    fill(frame, input);
  }

  void fill(CanFrame_s& frame, Input_c& input) {
    for (std::size_t index = 0; index < frame.length; ++index) {
      frame.data.at(index) = input.byte();
    }
    m_bus->arrive(frame);
  }

  void sendMessage(Input_c& input) {
    const OwnFunction_c& from = *m_functions.at(input.byte() % m_functions.size());
    IsoMessage_s message;
    message.pgn = 0xEF00;
    message.destination = input.byte();
    message.data.assign(input.number(2) % 4000U, 0x55);
    if (m_accepted >= maxMessages) {
      return;
    }
    const auto told = std::make_shared<bool>(false);
    const bool isAccepted = m_node.send(from, std::move(message), [this, told](bool) {
      require(!*told);
      *told = true;
      ++m_told;
    });
    m_accepted += isAccepted ? 1 : 0;
  }

  FuzzBus_c* m_bus = new FuzzBus_c; // owned by the port
  CanPort_c m_port{std::unique_ptr<CanTransport_c>(m_bus)};
  BusNode_c m_node{m_port};
  std::vector<OwnFunction_c*> m_functions;
  std::size_t m_accepted = 0;
  std::size_t m_told = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  HostClock::turnByHand();
  Input_c input(data, size);
  Session_c session;
  while (!input.isOver()) {
    session.step(input);
  }
  session.end();
  return 0;
}
