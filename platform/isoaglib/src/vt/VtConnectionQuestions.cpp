#include "VtConnectionQuestions.h"

#include "HostClock.h"
#include "VtWire.h"

#include <algorithm>
#include <array>
#include <utility>

namespace IsoBusHost {

namespace {

struct Question_s {
  uint8_t code;
  uint8_t answer;
};

constexpr Question_s memory{0xC0, 0xC0};
constexpr Question_s softKeys{0xC2, 0xC2};
constexpr Question_s fonts{0xC3, 0xC3};
constexpr Question_s hardware{0xC7, 0xC7};
constexpr Question_s versions{0xDF, 0xE0};
constexpr std::array<Question_s, 5> questions = {memory, softKeys, fonts, hardware, versions};
constexpr std::size_t storedPools = 4; // the question about them: only with a label

constexpr std::size_t frameBytes = 8;
constexpr std::size_t labelBytes = 7;
constexpr uint8_t oldestVersion = 2; // and those before, which say anything
constexpr uint8_t versionUnknown = 0xFF;

uint16_t number16(const uint8_t* bytes) {
  return static_cast<uint16_t>(bytes[0] | bytes[1] << 8);
}

} // namespace

void VtConnectionQuestions_c::begin(uint32_t poolBytes, std::string label) {
  m_poolBytes = poolBytes;
  m_label = std::move(label);
  m_question = 0;
  m_tries.over();
  m_hasRoom = true;
  m_hasStoredPool = false;
  m_bootTime = 0;
  m_properties = {};
}

VtConnectionQuestions_c::State_e VtConnectionQuestions_c::work() {
  if (!m_hasRoom) {
    return State_e::noRoom;
  }
  const std::size_t last = m_label.empty() ? storedPools : questions.size();
  if (m_question >= last) {
    return State_e::answered;
  }
  if (!m_tries.isOpen()) {
    ask();
  } else if (m_tries.isTimeOver(HostClock::nowMs())) {
    if (!m_tries.isLast()) {
      ask();
    } else if (m_question == storedPools) {
      m_tries.over();
      ++m_question; // a VT without storage may be silent
      return State_e::answered;
    } else {
      return State_e::unanswered;
    }
  }
  return State_e::asking;
}

void VtConnectionQuestions_c::ask() {
  std::array<uint8_t, frameBytes> bytes;
  bytes.fill(0xFF);
  bytes[0] = questions.at(m_question).code;
  if (bytes[0] == memory.code) {
    put32(bytes.data() + 2, m_poolBytes);
  }
  m_link.send(bytes.data(), bytes.size());
  m_tries.tried(HostClock::nowMs());
}

bool VtConnectionQuestions_c::answer(const std::vector<uint8_t>& data) {
  if (!m_tries.isOpen() || data.size() < frameBytes || data[0] != questions.at(m_question).answer) {
    return false;
  }
  read(data);
  m_tries.over();
  ++m_question;
  return true;
}

void VtConnectionQuestions_c::read(const std::vector<uint8_t>& data) {
  switch (questions.at(m_question).code) {
  case memory.code:
    return readMemory(data);
  case softKeys.code:
    return readSoftKeys(data);
  case fonts.code:
    return readFonts(data);
  case hardware.code:
    return readHardware(data);
  default:
    return readVersions(data);
  }
}

void VtConnectionQuestions_c::readMemory(const std::vector<uint8_t>& data) {
  const uint8_t version = data[1];
  m_properties.version = version == versionUnknown ? oldestVersion : std::max(version, oldestVersion);
  m_hasRoom = data[2] == 0;
}

void VtConnectionQuestions_c::readSoftKeys(const std::vector<uint8_t>& data) {
  m_properties.softKeyWidth = data[4];
  m_properties.softKeyHeight = data[5];
  m_properties.virtualSoftKeys = data[6];
  m_properties.physicalSoftKeys = data[7];
}

void VtConnectionQuestions_c::readFonts(const std::vector<uint8_t>& data) {
  m_properties.smallFonts = data[5];
  m_properties.largeFonts = data[6];
  m_properties.fontStyles = data[7];
}

void VtConnectionQuestions_c::readHardware(const std::vector<uint8_t>& data) {
  m_bootTime = data[1];
  m_properties.graphicType = data[2];
  m_properties.hardware = data[3];
  m_properties.dataMaskWidth = number16(data.data() + 4);
}

// A list that is shorter than it says is read as far as it goes.
void VtConnectionQuestions_c::readVersions(const std::vector<uint8_t>& data) {
  const std::size_t said = data[1];
  const std::size_t there = (data.size() - 2) / labelBytes;
  for (std::size_t label = 0; label < std::min(said, there); ++label) {
    const auto begin = data.begin() + static_cast<std::ptrdiff_t>(2 + label * labelBytes);
    m_hasStoredPool =
        m_hasStoredPool || std::equal(m_label.begin(), m_label.end(), begin,
                                      [](char wanted, uint8_t byte) { return static_cast<uint8_t>(wanted) == byte; });
  }
}

} // namespace IsoBusHost
