#include "BusText.h"

#include "Identification.h"

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <utility>

using namespace IsoBusHost;

namespace BusText {

namespace {

std::string hex(uint32_t value, int digits) {
  char text[16];
  std::snprintf(text, sizeof text, "%0*X", digits, static_cast<unsigned int>(value));
  return text;
}

template <typename Iterator>
std::string hexBytes(Iterator begin, Iterator end) {
  std::string text;
  for (; begin != end; ++begin) {
    text += " " + hex(*begin, 2);
  }
  return text;
}

} // namespace

std::string textOf(const CanFrame_s& frame) {
  return hex(frame.identifier, frame.extended ? 8 : 3) +
         hexBytes(frame.data.begin(), frame.data.begin() + std::min<int>(frame.length, 8));
}

std::string textOf(const IsoMessage_s& message) {
  return hex(message.pgn, 5) + " " + hex(message.source, 2) + ">" + hex(message.destination, 2) +
         hexBytes(message.data.begin(), message.data.end());
}

CanFrame_s frameOf(const std::string& text) {
  const std::string identifier = text.substr(0, text.find(' '));
  const std::vector<uint8_t> bytes = bytesOf(text.substr(identifier.size()));
  CanFrame_s frame;
  frame.identifier = static_cast<uint32_t>(std::stoul(identifier, nullptr, 16));
  frame.extended = identifier.size() == 8;
  frame.length = static_cast<uint8_t>(bytes.size());
  std::copy_n(bytes.begin(), std::min<std::size_t>(bytes.size(), 8), frame.data.begin());
  return frame;
}

std::vector<uint8_t> bytesOf(const std::string& text) {
  std::vector<uint8_t> bytes;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    bytes.push_back(static_cast<uint8_t>(std::stoul(word, nullptr, 16)));
  }
  return bytes;
}

uint64_t nameOf(const std::string& text) {
  return nameFromBytes(bytesOf(text).data());
}

class Wire_c::End_c : public CanTransport_c {
public:
  explicit End_c(Wire_c& wire) : m_wire(wire) {}
  ~End_c() override { m_wire.m_ends.erase(std::find(m_wire.m_ends.begin(), m_wire.m_ends.end(), this)); }
  End_c(const End_c&) = delete;
  End_c& operator=(const End_c&) = delete;

  bool send(const CanFrame_s& frame) override { return m_wire.carry(frame, this); }
  std::optional<CanFrame_s> receive() override {
    if (m_arrived.empty()) {
      return std::nullopt;
    }
    const CanFrame_s frame = m_arrived.front();
    m_arrived.pop_front();
    return frame;
  }
  bool hasPending() const override { return !m_arrived.empty(); }
  int descriptor() const override { return -1; }
  bool hasUnsent() const override { return false; }
  void flush() override {}
  bool isOpen() const override { return !m_wire.m_bBroken; }
  std::string error() const override { return {}; }
  const TransportStatistics_s& statistics() const override { return m_statistics; }

  void arrive(const CanFrame_s& frame) { m_arrived.push_back(frame); }

private:
  Wire_c& m_wire;
  std::deque<CanFrame_s> m_arrived;
  TransportStatistics_s m_statistics;
};

Wire_c::Wire_c() : m_startMs(0) {
  HostClock::turnByHand();
  m_startMs = HostClock::nowMs();
}

std::unique_ptr<CanTransport_c> Wire_c::newEnd() {
  auto end = std::make_unique<End_c>(*this);
  m_ends.push_back(end.get());
  return end;
}

void Wire_c::say(const std::string& text) {
  say(frameOf(text));
}

void Wire_c::say(const CanFrame_s& frame) {
  for (End_c* end : m_ends) {
    end->arrive(frame);
  }
}

bool Wire_c::carry(const CanFrame_s& frame, const End_c* from) {
  if (m_bBroken || m_bBusy) {
    return false;
  }
  m_sent.push_back(textOf(frame));
  m_timed.push_back(std::to_string(elapsedMs()) + " " + textOf(frame));
  for (End_c* end : m_ends) {
    if (end != from) {
      end->arrive(frame);
    }
  }
  return true;
}

Frames Wire_c::take() {
  m_timed.clear();
  return std::exchange(m_sent, {});
}

Frames Wire_c::takeTimed() {
  m_sent.clear();
  return std::exchange(m_timed, {});
}

void Stations_c::settle() {
  for (bool isBusy = true; isBusy;) {
    isBusy = false;
    for (BusNode_c* node : m_nodes) {
      node->poll();
    }
    for (BusNode_c* node : m_nodes) {
      isBusy = isBusy || node->port().hasPending() || node->nextDueMs() <= HostClock::nowMs();
    }
  }
}

void Stations_c::run(uint64_t milliseconds) {
  settle();
  for (; milliseconds > 0; --milliseconds) {
    HostClock::advanceMs(1);
    settle();
  }
}

} // namespace BusText
