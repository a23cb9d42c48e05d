// Frames as text and a wire for tests: any number of nodes on it, and the test itself as one more station.
//
//   A frame is written as its identifier and its bytes in hexadecimal: "18EAFFFE 00 EE 00". Eight digits stand for an
//   extended frame, three for one with 11 bits.
#pragma once

#include "BusNode.h"
#include "CanPort.h"
#include "HostClock.h"

#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace BusText {

using Frames = std::vector<std::string>;

std::string textOf(const IsoBusHost::CanFrame_s& frame);
IsoBusHost::CanFrame_s frameOf(const std::string& text);

// textOf: a message as "PGN source>destination bytes", for example "0FDC5 80>FF 41 2A".
std::string textOf(const IsoBusHost::IsoMessage_s& message);

// bytesOf: "01 FF" as bytes; nameOf: eight bytes as a NAME, least significant byte first.
std::vector<uint8_t> bytesOf(const std::string& text);
uint64_t nameOf(const std::string& text);

// Wire_c: turns the clock by hand and carries frames between its ends.
class Wire_c {
public:
  Wire_c();

  // newEnd: returns a transport; the wire must outlive it.
  std::unique_ptr<IsoBusHost::CanTransport_c> newEnd();

  // say: puts a frame of the test on the wire. It is not among what take() returns.
  void say(const std::string& text);
  void say(const IsoBusHost::CanFrame_s& frame);

  // take: returns the frames that the ends have sent since the last call.
  Frames take();

  // takeTimed: the same, each with the milliseconds since the wire was made in front: "250 18EEFF80 ...".
  Frames takeTimed();

  // setBroken: no end is open while it is broken. setBusy: no end can send while it is busy.
  void setBroken(bool broken) { m_bBroken = broken; }
  void setBusy(bool busy) { m_bBusy = busy; }

  uint64_t elapsedMs() const { return IsoBusHost::HostClock::nowMs() - m_startMs; }

private:
  class End_c;
  bool carry(const IsoBusHost::CanFrame_s& frame, const End_c* from);

  std::vector<End_c*> m_ends;
  Frames m_sent;
  Frames m_timed;
  uint64_t m_startMs;
  bool m_bBroken = false;
  bool m_bBusy = false;
};

// Station_s: one node on a wire.
struct Station_s {
  explicit Station_s(Wire_c& wire) : port(wire.newEnd()), node(port) {}
  IsoBusHost::CanPort_c port;
  IsoBusHost::BusNode_c node;
};

// Stations: polls nodes until nobody has anything more to say, and turns the clock in steps of 1 ms.
class Stations_c {
public:
  explicit Stations_c(std::vector<IsoBusHost::BusNode_c*> nodes) : m_nodes(std::move(nodes)) {}
  void settle();
  void run(uint64_t milliseconds);

private:
  std::vector<IsoBusHost::BusNode_c*> m_nodes;
};

} // namespace BusText
