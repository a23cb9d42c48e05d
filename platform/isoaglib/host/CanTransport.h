// A way for CAN frames to and from a bus: in-process bus, Linux SocketCAN, or the raw mode of socketcand over TCP.
//
//   Address texts: "local", "local:NAME", "socketcan:IFACE", "socketcand:HOST:PORT/BUS".
//   Threads: each transport belongs to one thread; buses of the "local" kind belong to the process and to one thread.
//   Whatever arrives that is no whole CAN data frame is dropped and counted.
#pragma once

#include "CanFrame.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace IsoBusHost {

struct TransportStatistics_s {
  uint64_t received = 0;  // frames handed out by receive()
  uint64_t sent = 0;      // frames accepted by send()
  uint64_t malformed = 0; // dropped: not a CAN data frame, or a line that cannot be read
  uint64_t overrun = 0;   // dropped: the receiver did not keep up
  uint64_t refused = 0;   // send() gave false
};

class CanTransport_c {
public:
  virtual ~CanTransport_c() = default;

  // send: gives false, and drops nothing that was accepted before, when the bus cannot take the frame now or is gone.
  virtual bool send(const CanFrame_s& frame) = 0;

  // receive: returns the next frame that arrived, in order of arrival. A node does not receive its own frames.
  virtual std::optional<CanFrame_s> receive() = 0;

  // hasPending: whether receive() may give a frame without waiting.
  virtual bool hasPending() const = 0;

  // descriptor: returns what poll() waits on for reading, -1 for a bus inside the process.
  virtual int descriptor() const = 0;

  // hasUnsent: whether accepted frames wait for the descriptor to become writable; flush() sends them then.
  virtual bool hasUnsent() const = 0;
  virtual void flush() = 0;

  // isOpen: false once the other side has closed or failed; error() says why in one line.
  virtual bool isOpen() const = 0;
  virtual std::string error() const = 0;

  virtual const TransportStatistics_s& statistics() const = 0;
};

// openTransport: opens a bus.
//
//   Takes    address: see above
//   Gives    null on failure; error then holds one line that says what and where
std::unique_ptr<CanTransport_c> openTransport(const std::string& address, std::string& error);

// checkTransportAddress: returns an empty text for an address that can be read, else one line that says what is wrong.
std::string checkTransportAddress(const std::string& address);

} // namespace IsoBusHost
