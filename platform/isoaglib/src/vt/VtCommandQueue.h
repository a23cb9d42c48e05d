// The commands of a working set that wait for the VT, in order. A newer command may take the place of a waiting one for
// the same thing. Once it is as large as it has ever been, it takes no memory from the heap.
#pragma once

#include "VtClientHost.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace IsoBusHost {

// VtCommand_s: up to 9 bytes here, a longer one in a text slot of the queue.
struct VtCommand_s {
  static constexpr std::size_t shortBytes = 9;
  static constexpr uint16_t noSlot = 0xFFFF;

  std::array<uint8_t, shortBytes> bytes{}; // of a longer command its first ones
  std::size_t length = 0;
  uint16_t slot = noSlot;
  bool mayReplace = false;

  bool isLong() const { return slot != noSlot; }
};

class VtCommandQueue_c {
public:
  enum class Put_e { added, replaced, refused };

  VtCommandQueue_c();

  // put: keeps a command.
  //
  //   Takes    bytes: length bytes, 8 at least; mayReplace: it takes the place of the newest one for the same thing, if
  //            that may be replaced, and may be replaced itself
  //   Gives    refused when maxVtCommands wait or their texts are longer than maxVtTextBytes
  Put_e put(const uint8_t* bytes, std::size_t length, bool mayReplace);

  bool isEmpty() const { return m_count == 0; }
  std::size_t size() const { return m_count; }

  // takeFirst: gives the command that waits longest; its text stays until release. Not on an empty queue.
  VtCommand_s takeFirst();
  void release(const VtCommand_s& command);

  // bytesOf: returns the bytes of a command that is waiting or not released yet.
  const uint8_t* bytesOf(const VtCommand_s& command) const;

  void clear();

private:
  VtCommand_s& at(std::size_t place) { return m_ring[(m_first + place) % m_ring.size()]; }
  VtCommand_s* findReplaceable(const uint8_t* bytes);
  void assign(VtCommand_s& command, const uint8_t* bytes, std::size_t length, bool mayReplace);
  uint16_t takeSlot();

  std::vector<VtCommand_s> m_ring;
  std::size_t m_first = 0;
  std::size_t m_count = 0;
  std::vector<std::vector<uint8_t>> m_texts;
  std::vector<uint16_t> m_freeTexts; // the one used last at the end
  std::size_t m_textBytes = 0;
};

} // namespace IsoBusHost
