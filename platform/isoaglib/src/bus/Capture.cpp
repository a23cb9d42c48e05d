#include "Capture.h"

#include "SocketcandText.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace IsoBusHost {

namespace {

constexpr uint64_t usPerSecond = 1000000;
constexpr size_t dataPlace = 8; // bytes of a CAN_SOCKETCAN packet in front of the data

void append32(std::string& bytes, uint32_t value) {
  for (unsigned int shift = 0; shift < 32; shift += 8) {
    bytes += static_cast<char>((value >> shift) & 0xFFU);
  }
}

void append16(std::string& bytes, uint16_t value) {
  bytes += static_cast<char>(value & 0xFFU);
  bytes += static_cast<char>(value >> 8U);
}

void append32BigEndian(std::string& bytes, uint32_t value) {
  for (unsigned int shift = 32; shift > 0; shift -= 8) {
    bytes += static_cast<char>((value >> (shift - 8)) & 0xFFU);
  }
}

// Source: the savefile format of libpcap, version 2.4, times in microseconds, written in little-endian order.
std::string pcapHeader() {
  constexpr uint32_t magic = 0xA1B2C3D4;
  constexpr uint32_t longestPacket = 65535;
  constexpr uint32_t linkTypeCanSocketCan = 227;
  std::string bytes;
  append32(bytes, magic);
  append16(bytes, 2);
  append16(bytes, 4);
  append32(bytes, 0); // time zone, always UTC
  append32(bytes, 0); // accuracy, always 0
  append32(bytes, longestPacket);
  append32(bytes, linkTypeCanSocketCan);
  return bytes;
}

std::string pcapRecord(const CanFrame_s& frame, uint64_t wallClockUs) {
  constexpr uint32_t extendedFlag = 0x80000000;
  const auto length = std::min<uint8_t>(frame.length, 8);
  std::string bytes;
  append32(bytes, static_cast<uint32_t>(wallClockUs / usPerSecond));
  append32(bytes, static_cast<uint32_t>(wallClockUs % usPerSecond));
  append32(bytes, dataPlace + length);
  append32(bytes, dataPlace + length);
  append32BigEndian(bytes, frame.extended ? frame.identifier | extendedFlag : frame.identifier);
  bytes += static_cast<char>(length);
  bytes.append(3, '\0');
  std::transform(frame.data.begin(), frame.data.begin() + length, std::back_inserter(bytes),
                 [](uint8_t byte) { return static_cast<char>(byte); });
  return bytes;
}

std::string candumpLine(const CanFrame_s& frame, const std::string& bus, uint64_t wallClockUs) {
  char time[48];
  std::snprintf(time, sizeof time, "(%010llu.%06llu) ", static_cast<unsigned long long>(wallClockUs / usPerSecond),
                static_cast<unsigned long long>(wallClockUs % usPerSecond));
  return time + bus + ' ' + identifierText(frame) + '#' + dataText(frame) + '\n';
}

// CaptureFile_c: a file that holds whole records only, as long as it is good.
class CaptureFile_c : public Capture_c {
public:
  explicit CaptureFile_c(std::FILE* file) : m_file(file) {}
  CaptureFile_c(const CaptureFile_c&) = delete;
  CaptureFile_c& operator=(const CaptureFile_c&) = delete;
  ~CaptureFile_c() override { std::fclose(m_file); }

  bool isGood() const override { return m_good; }

  void append(const std::string& record) {
    if (m_good) {
      // Handed to the system at once: whoever reads the file meanwhile, or after a crash, finds whole records.
      m_good = std::fwrite(record.data(), 1, record.size(), m_file) == record.size() && std::fflush(m_file) == 0;
    }
  }

private:
  std::FILE* m_file;
  bool m_good = true;
};

class PcapFile_c : public CaptureFile_c {
public:
  using CaptureFile_c::CaptureFile_c;

  void write(const CanFrame_s& frame, const std::string&, uint64_t wallClockUs) override {
    append(pcapRecord(frame, wallClockUs));
  }
};

class CandumpLog_c : public CaptureFile_c {
public:
  using CaptureFile_c::CaptureFile_c;

  void write(const CanFrame_s& frame, const std::string& bus, uint64_t wallClockUs) override {
    append(candumpLine(frame, bus, wallClockUs));
  }
};

// openFile: opens the file with the bytes that it begins with.
template <typename File>
std::unique_ptr<Capture_c> openFile(const std::string& path, const std::string& beginning, std::string& error) {
  std::FILE* file = std::fopen(path.c_str(), "wbe");
  if (file == nullptr) {
    error = path + ": " + std::strerror(errno);
    return nullptr;
  }
  auto capture = std::make_unique<File>(file);
  capture->append(beginning);
  if (!capture->isGood()) {
    error = path + ": " + std::strerror(errno);
    return nullptr;
  }
  return capture;
}

} // namespace

std::unique_ptr<Capture_c> openPcap(const std::string& path, std::string& error) {
  return openFile<PcapFile_c>(path, pcapHeader(), error);
}

std::unique_ptr<Capture_c> openCandumpLog(const std::string& path, std::string& error) {
  return openFile<CandumpLog_c>(path, {}, error);
}

} // namespace IsoBusHost
