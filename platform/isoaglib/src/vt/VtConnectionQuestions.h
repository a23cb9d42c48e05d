// What a working set asks a VT before it uploads its pool: memory, soft keys, fonts, hardware, and which pools the VT
// has stored.
#pragma once

#include "VtConnectionLink.h"

#include <string>
#include <vector>

namespace IsoBusHost {

class VtConnectionQuestions_c {
public:
  explicit VtConnectionQuestions_c(VtConnectionLink_c& link) : m_link(link) {}

  // begin: asks the first one with the next work().
  //
  //   Takes    label: asks for stored pools too; empty: not
  void begin(uint32_t poolBytes, std::string label);

  // stop: awaits no answer any more.
  void stop() { m_tries.over(); }

  enum class State_e { asking, answered, unanswered, noRoom };
  State_e work();

  // answer: takes an answer of the VT. False when nobody asked for it.
  bool answer(const std::vector<uint8_t>& data);

  const IsoAgLib::iVtProperties_s& properties() const { return m_properties; }
  uint8_t bootTime() const { return m_bootTime; }
  bool hasStoredPool() const { return m_hasStoredPool; }
  uint64_t dueMs() const { return m_tries.dueMs(); }

private:
  void ask();
  void read(const std::vector<uint8_t>& data);
  void readMemory(const std::vector<uint8_t>& data);
  void readSoftKeys(const std::vector<uint8_t>& data);
  void readFonts(const std::vector<uint8_t>& data);
  void readHardware(const std::vector<uint8_t>& data);
  void readVersions(const std::vector<uint8_t>& data);

  VtConnectionLink_c& m_link;
  uint32_t m_poolBytes = 0;
  std::string m_label;
  std::size_t m_question = 0;
  VtTries_c m_tries;
  bool m_hasRoom = true;
  bool m_hasStoredPool = false;
  uint8_t m_bootTime = 0;
  IsoAgLib::iVtProperties_s m_properties{};
};

} // namespace IsoBusHost
