// The commands that VT objects hand to their connection, caught before they get there.
#pragma once

#include "IsoAgLib/vtobjects.h"
#include "LibraryCalls.h"

#include <cstdint>
#include <string>
#include <vector>

namespace TestSupport {

struct VtCommand_s {
  const __IsoAgLib::vtObject_c* object;
  std::vector<uint8_t> bytes;
  bool mayReplace;
};

// VtCommands_c: from its construction to its destruction the host stack's commands come here. One at a time.
class VtCommands_c {
public:
  VtCommands_c();
  ~VtCommands_c();
  VtCommands_c(const VtCommands_c&) = delete;
  VtCommands_c& operator=(const VtCommands_c&) = delete;

  // answer: what the connection says to each command; true at first.
  void answer(bool isTaken);

  const std::vector<VtCommand_s>& commands() const;

  // text: the commands, a line each, as "A8 E9 03 FF FA 00 00 00", followed by " replaces" where it may.
  std::string text() const;

private:
  LibraryCall_c m_queue;
};

} // namespace TestSupport
