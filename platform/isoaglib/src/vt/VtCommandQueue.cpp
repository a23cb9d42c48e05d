#include "VtCommandQueue.h"

#include "VtCommandFacts.h"

#include <algorithm>

namespace IsoBusHost {

namespace {

constexpr std::size_t keptTextBytes = 4096; // memory of a longer text is given back

std::size_t textBytesOf(std::size_t length) {
  return length > VtCommand_s::shortBytes ? length : 0;
}

} // namespace

VtCommandQueue_c::VtCommandQueue_c() : m_ring(maxVtCommands) {}

VtCommandQueue_c::Put_e VtCommandQueue_c::put(const uint8_t* bytes, std::size_t length, bool mayReplace) {
  VtCommand_s* older = mayReplace ? findReplaceable(bytes) : nullptr;
  const std::size_t released = older == nullptr ? 0 : textBytesOf(older->length);
  if (m_textBytes - released + textBytesOf(length) > maxVtTextBytes) {
    return Put_e::refused;
  }
  if (older != nullptr) {
    release(*older);
    assign(*older, bytes, length, mayReplace);
    return Put_e::replaced;
  }
  if (m_count == m_ring.size()) {
    return Put_e::refused;
  }
  assign(at(m_count), bytes, length, mayReplace);
  ++m_count;
  return Put_e::added;
}

// The newest one for the same thing decides: to change an older one would leave the value of the newest.
VtCommand_s* VtCommandQueue_c::findReplaceable(const uint8_t* bytes) {
  for (std::size_t place = m_count; place-- > 0;) {
    VtCommand_s& command = at(place);
    if (isSameThing(command.bytes.data(), bytes)) {
      return command.mayReplace ? &command : nullptr;
    }
  }
  return nullptr;
}

void VtCommandQueue_c::assign(VtCommand_s& command, const uint8_t* bytes, std::size_t length, bool mayReplace) {
  std::copy_n(bytes, std::min(length, VtCommand_s::shortBytes), command.bytes.begin());
  command.length = length;
  command.mayReplace = mayReplace;
  command.slot = VtCommand_s::noSlot;
  if (length > VtCommand_s::shortBytes) {
    command.slot = takeSlot();
    m_texts[command.slot].assign(bytes, bytes + length);
    m_textBytes += length;
  }
}

uint16_t VtCommandQueue_c::takeSlot() {
  if (m_freeTexts.empty()) {
    m_texts.emplace_back();
    m_freeTexts.reserve(m_texts.size());
    return static_cast<uint16_t>(m_texts.size() - 1);
  }
  const uint16_t slot = m_freeTexts.back();
  m_freeTexts.pop_back();
  return slot;
}

VtCommand_s VtCommandQueue_c::takeFirst() {
  const VtCommand_s command = at(0);
  m_first = (m_first + 1) % m_ring.size();
  --m_count;
  return command;
}

void VtCommandQueue_c::release(const VtCommand_s& command) {
  if (!command.isLong()) {
    return;
  }
  std::vector<uint8_t>& text = m_texts[command.slot];
  m_textBytes -= command.length;
  if (text.capacity() > keptTextBytes) {
    std::vector<uint8_t>().swap(text);
  }
  m_freeTexts.push_back(command.slot);
}

const uint8_t* VtCommandQueue_c::bytesOf(const VtCommand_s& command) const {
  return command.isLong() ? m_texts[command.slot].data() : command.bytes.data();
}

void VtCommandQueue_c::clear() {
  while (!isEmpty()) {
    release(takeFirst());
  }
}

} // namespace IsoBusHost
