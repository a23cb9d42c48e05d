#include "DeskCapture.h"

using namespace IsoBusHost;

std::string DeskCapture_c::open(const DeskOptions_s& options) {
  std::string error;
  m_pcapPath = options.captureFile;
  m_logPath = options.logFile;
  if (!m_pcapPath.empty()) {
    m_pcap = openPcap(m_pcapPath, error);
    if (!m_pcap) {
      return error;
    }
  }
  if (!m_logPath.empty()) {
    m_log = openCandumpLog(m_logPath, error);
    if (!m_log) {
      return error;
    }
  }
  return {};
}

void DeskCapture_c::write(const std::string& bus, const CanFrame_s& frame, uint64_t wallClockUs) {
  if (m_pcap && bus == "can0") {
    m_pcap->write(frame, bus, wallClockUs);
  }
  if (m_log) {
    m_log->write(frame, bus, wallClockUs);
  }
}

std::string DeskCapture_c::close() {
  std::string error;
  if (m_pcap && !m_pcap->isGood()) {
    error = m_pcapPath + ": not all frames could be written";
  } else if (m_log && !m_log->isGood()) {
    error = m_logPath + ": not all frames could be written";
  }
  m_pcap.reset();
  m_log.reset();
  return error;
}
