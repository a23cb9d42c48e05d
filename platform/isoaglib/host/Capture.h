// Writes frames to a file while they pass: pcap (link type CAN_SOCKETCAN, 227) or candump's log format.
#pragma once

#include "CanFrame.h"

#include <cstdint>
#include <memory>
#include <string>

namespace IsoBusHost {

class Capture_c {
public:
  virtual ~Capture_c() = default;

  // Takes    bus: name of the interface in the log, "can0" for example
  virtual void write(const CanFrame_s& frame, const std::string& bus, uint64_t wallClockUs) = 0;

  // isGood: false once a write has failed (a full disk).
  virtual bool isGood() const = 0;
};

// Each returns null on failure; error then holds one line that names the file and the reason.
std::unique_ptr<Capture_c> openPcap(const std::string& path, std::string& error);
std::unique_ptr<Capture_c> openCandumpLog(const std::string& path, std::string& error);

} // namespace IsoBusHost
