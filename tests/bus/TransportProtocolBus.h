// Transport protocol instances for tests: one alone with hand-made frames, or several joined by a wire. The clock is
// turned by hand. Frames are text: identifier, then the data bytes, all hexadecimal: "1CEC8026 10 09 00 02 FF 00 E7
// 00".
#pragma once

#include "HostClock.h"
#include "TransportProtocol.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace TransportTest {

using Lines = std::vector<std::string>;

std::string textOf(const IsoBusHost::CanFrame_s& frame);
IsoBusHost::CanFrame_s frameOf(const std::string& text);

// countingBytes: returns 1, 2, 3, ... 255, 0, 1, ...
std::vector<uint8_t> countingBytes(std::size_t count);

IsoBusHost::IsoMessage_s makeMessage(uint8_t source, uint8_t destination, std::size_t bytes, uint32_t pgn = 0xE700);

// Station_c: one instance with its addresses; what it sends, receives and reports is kept.
class Station_c {
public:
  explicit Station_c(std::set<uint8_t> addresses);

  // hear: the frames arrive, then work() is called. Returns what was sent.
  Lines hear(const Lines& frames);

  // workAfter: turns the clock, then calls work(). Returns what was sent.
  Lines workAfter(uint64_t milliseconds);

  // send: queues a message whose done is kept in `results`.
  bool send(IsoBusHost::IsoMessage_s message);

  Lines takeSent();
  IsoBusHost::TransportProtocolStatistics_s statistics() const { return protocol.statistics(); }

  std::set<uint8_t> own;
  std::size_t busRefuses = 0;      // frames that the bus does not take next
  std::size_t busTakes = SIZE_MAX; // frames that it takes then, until it is set anew
  std::deque<IsoBusHost::CanFrame_s> sent;
  std::vector<IsoBusHost::IsoMessage_s> delivered;
  std::vector<bool> results;
  std::function<void(const IsoBusHost::IsoMessage_s&)> onDelivered;
  IsoBusHost::TransportProtocol_c protocol;

private:
  bool take(const IsoBusHost::CanFrame_s& frame);
};

// Wire_c: carries what each station sends to all others, except what `loses` picks out.
class Wire_c {
public:
  Station_c& add(std::set<uint8_t> addresses);

  // settle: carries frames and turns the clock to whatever is due next, until nothing is due or the time is over.
  void settle(uint64_t milliseconds = 60000);

  std::function<bool(const IsoBusHost::CanFrame_s&)> loses;
  Lines log;

private:
  void carry();
  void carryOnce();
  uint64_t nextDueMs() const;

  std::vector<std::unique_ptr<Station_c>> m_stations;
};

} // namespace TransportTest
