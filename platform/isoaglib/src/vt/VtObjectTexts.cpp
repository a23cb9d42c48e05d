#include "VtObjectCalls.h"
#include "VtWire.h"

#include <algorithm>
#include <cstring>

using namespace IsoBusHost;

namespace {

constexpr std::size_t longestText = 0xFFFF; // its length is a number of 16 bits

// The text up to its NUL, as long as a command can have it; empty for none.
std::string_view terminatedText(const char* text) {
  return text == nullptr ? std::string_view() : std::string_view(text, strnlen(text, longestText));
}

std::string_view textOfLength(const char* text, uint16_t byteLength) {
  return text == nullptr ? std::string_view() : std::string_view(text, byteLength);
}

} // namespace

namespace IsoBusHost {

void storeVtBytes(char* storage, uint16_t room, const char* text, std::size_t length) {
  if (storage == nullptr) {
    return;
  }
  const std::size_t kept = std::min<std::size_t>(room, length);
  if (kept != 0) {
    std::memmove(storage, text, kept);
  }
  std::memset(storage + kept, 0, room + 1U - kept);
}

} // namespace IsoBusHost

namespace __IsoAgLib {

bool vtObjectString_c::setText(char* storage, const char* text, uint16_t byteLength, bool updateObject,
                               bool enableReplaceOfCommand) {
  constexpr std::size_t head = 5;
  constexpr std::size_t frame = 8;
  // On the stack at its full size: no text takes anything from the heap, and only what is written costs.
  uint8_t command[head + longestText];
  std::memset(command, 0xFF, frame);
  command[0] = vtChangeStringValue;
  put16(command + 1, getID());
  put16(command + 3, byteLength);
  // Before the record is written: the text may lie in it.
  if (byteLength != 0) {
    std::memcpy(command + head, text, byteLength);
  }
  if (updateObject) {
    storeVtBytes(storage, getLength(), text, byteLength);
  }
  return queueVtCommand(*this, command, std::max(frame, head + byteLength), enableReplaceOfCommand);
}

bool vtObjectInputString_c::setValueCopy(const char* text, bool updateObject, bool enableReplaceOfCommand) {
  const std::string_view own = terminatedText(text);
  journalVtCall(getID(), "setValueCopy", own, updateObject, enableReplaceOfCommand);
  return setText(record().value, own.data(), static_cast<uint16_t>(own.size()), updateObject, enableReplaceOfCommand);
}

bool vtObjectInputString_c::setValueCopyUTF16(const char* text, uint16_t byteLength, bool updateObject,
                                              bool enableReplaceOfCommand) {
  const std::string_view own = textOfLength(text, byteLength);
  journalVtCall(getID(), "setValueCopyUTF16", own, byteLength, updateObject, enableReplaceOfCommand);
  return setText(record().value, own.data(), static_cast<uint16_t>(own.size()), updateObject, enableReplaceOfCommand);
}

bool vtObjectOutputString_c::setValueCopy(const char* text, bool updateObject, bool enableReplaceOfCommand) {
  const std::string_view own = terminatedText(text);
  journalVtCall(getID(), "setValueCopy", own, updateObject, enableReplaceOfCommand);
  return setText(record().value, own.data(), static_cast<uint16_t>(own.size()), updateObject, enableReplaceOfCommand);
}

bool vtObjectOutputString_c::setValueCopyUTF16(const char* text, uint16_t byteLength, bool updateObject,
                                               bool enableReplaceOfCommand) {
  const std::string_view own = textOfLength(text, byteLength);
  journalVtCall(getID(), "setValueCopyUTF16", own, byteLength, updateObject, enableReplaceOfCommand);
  return setText(record().value, own.data(), static_cast<uint16_t>(own.size()), updateObject, enableReplaceOfCommand);
}

bool vtObjectStringVariable_c::setValueCopy(const char* text, bool updateObject, bool enableReplaceOfCommand) {
  const std::string_view own = terminatedText(text);
  journalVtCall(getID(), "setValueCopy", own, updateObject, enableReplaceOfCommand);
  return setText(record().value, own.data(), static_cast<uint16_t>(own.size()), updateObject, enableReplaceOfCommand);
}

bool vtObjectStringVariable_c::setValueCopyUTF16(const char* text, uint16_t byteLength, bool updateObject,
                                                 bool enableReplaceOfCommand) {
  const std::string_view own = textOfLength(text, byteLength);
  journalVtCall(getID(), "setValueCopyUTF16", own, byteLength, updateObject, enableReplaceOfCommand);
  return setText(record().value, own.data(), static_cast<uint16_t>(own.size()), updateObject, enableReplaceOfCommand);
}

} // namespace __IsoAgLib
