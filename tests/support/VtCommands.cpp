#include "VtCommands.h"

#include <cstddef>

namespace TestSupport {

namespace {

std::vector<VtCommand_s> s_commands;
bool s_answer = true;

// The name of IsoBusHost::queueVtCommand tells the type of its length.
constexpr const char* nameOfQueue = sizeof(std::size_t) == 8
                                        ? "_ZN10IsoBusHost14queueVtCommandERKN10__IsoAgLib10vtObject_cEPKhmb"
                                        : "_ZN10IsoBusHost14queueVtCommandERKN10__IsoAgLib10vtObject_cEPKhjb";

bool keepCommand(const __IsoAgLib::vtObject_c& object, const uint8_t* bytes, std::size_t length, bool mayReplace) {
  s_commands.push_back({&object, std::vector<uint8_t>(bytes, bytes + length), mayReplace});
  return s_answer;
}

void appendByte(std::string& line, uint8_t byte) {
  constexpr const char* digits = "0123456789ABCDEF";
  line += line.empty() ? "" : " ";
  line += digits[byte >> 4];
  line += digits[byte & 0x0F];
}

} // namespace

VtCommands_c::VtCommands_c() : m_queue(nameOfQueue, &keepCommand, {"libisoaglib_host"}) {
  s_commands.clear();
  s_answer = true;
}

VtCommands_c::~VtCommands_c() {
  s_commands.clear();
}

void VtCommands_c::answer(bool isTaken) {
  s_answer = isTaken;
}

const std::vector<VtCommand_s>& VtCommands_c::commands() const {
  return s_commands;
}

std::string VtCommands_c::text() const {
  std::string all;
  for (const VtCommand_s& command : s_commands) {
    std::string line;
    for (const uint8_t byte : command.bytes) {
      appendByte(line, byte);
    }
    all += line + (command.mayReplace ? " replaces\n" : "\n");
  }
  return all;
}

} // namespace TestSupport
