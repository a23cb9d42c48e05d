// The capture files of a program for the desk.
#pragma once

#include "CanPort.h"
#include "Capture.h"
#include "DeskOptions.h"

#include <memory>
#include <string>

class DeskCapture_c {
public:
  // open: opens the files that the options name.
  //
  //   Gives    an empty text, or one line that names the file and the reason
  std::string open(const DeskOptions_s& options);

  // write: takes a frame of a bus; the pcap file takes the frames of "can0" only.
  void write(const std::string& bus, const IsoBusHost::CanFrame_s& frame, uint64_t wallClockUs);

  // close: closes the files.
  //
  //   Gives    an empty text, or one line that says which file is incomplete
  std::string close();

private:
  std::unique_ptr<IsoBusHost::Capture_c> m_pcap;
  std::unique_ptr<IsoBusHost::Capture_c> m_log;
  std::string m_pcapPath;
  std::string m_logPath;
};
