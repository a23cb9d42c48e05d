#include "VtText.h"

#include "string_util.h"

#include <algorithm>
#include <cstring>

using namespace IsoAgLib;

namespace {

constexpr uint8_t fontEncodings = 8;
uint8_t g_fontEncoding = 0;

// The text of the last conversion. The block only grows and is never freed.
char* g_converted = nullptr;
uint32_t g_capacity = 0; // in characters, the NUL behind them not counted

// The flags of every change of a text.
constexpr bool updateRecord = true;
constexpr bool mustNotReplace = false;

void growTo(uint32_t need) {
  if (need <= g_capacity) {
    return;
  }
  delete[] g_converted;
  g_converted = nullptr;
  g_capacity = 0;
  g_converted = new char[std::size_t{need} + 1];
  g_capacity = need;
}

// Returns exactly `length` characters, which are valid until the next conversion.
const char* convertTo8859(const std::string& text, uint16_t length) {
  const uint32_t need = std::max(static_cast<uint32_t>(text.size()), uint32_t{length});
  growTo(need);
  if (g_converted == nullptr) {
    return ""; // no conversion has needed a character yet
  }
  std::memset(g_converted, 0, need);
  // The size modulo 65536, and blanks up to the capacity, not only up to need. On purpose.
  __IsoAgLib::convertStringUnicodeTo8859(text.data(), static_cast<uint16_t>(text.size()), g_converted, g_fontEncoding);
  const std::size_t end = std::strlen(g_converted);
  std::memset(g_converted + end, ' ', g_capacity - end);
  g_converted[length] = '\0';
  return g_converted;
}

// Returns the text in the font encoding, null where the object has it already.
const char* newText(const __IsoAgLib::vtObjectString_c& object, uint16_t length, const std::string& text, bool force) {
  const char* converted = convertTo8859(text, length);
  return force || std::strcmp(object.getValueText(), converted) != 0 ? converted : nullptr;
}

template <class String_c>
void setText(String_c& object, uint16_t length, const std::string& text, bool force) {
  if (const char* changed = newText(object, length, text, force)) {
    object.setValueCopy(changed, updateRecord, mustNotReplace);
  }
}

std::string paddedUtf16(const std::string& text, uint16_t length) {
  std::string utf16 = ConvertUtf8String2BomString(text);
  spacePadUTF16String(utf16, length);
  return utf16;
}

// Only what the object has room for is compared.
bool holds(const __IsoAgLib::vtObjectString_c& object, uint16_t length, const std::string& utf16) {
  return std::memcmp(object.getValueText(), utf16.data(), std::min<std::size_t>(utf16.size(), length)) == 0;
}

// Sends a text that is longer than the object whole. On purpose.
template <class String_c>
void sendUtf16(String_c& object, const std::string& utf16) {
  object.setValueCopyUTF16(utf16.data(), static_cast<uint16_t>(utf16.size()), updateRecord, mustNotReplace);
}

template <class String_c>
void setUtf16(String_c& object, uint16_t length, const std::string& text, bool force) {
  const std::string utf16 = paddedUtf16(text, length);
  if (force || !holds(object, length, utf16)) {
    sendUtf16(object, utf16);
  }
}

void store(iVtObjectOutputString_c& object, const char* text, uint16_t length) {
  if (length > 0) { // without a length there may be no storage
    std::memcpy(object.get_vtObjectOutputString_a().value, text, length);
  }
}

} // namespace

unsigned char getFontEncoding() {
  return g_fontEncoding;
}

void setFontEncoding(unsigned char encoding) {
  if (encoding < fontEncodings) {
    g_fontEncoding = encoding;
  }
}

void SetVtObject(iVtObjectStringVariable_c& object, const std::string& text, bool force) {
  setText(object, object.get_vtObjectStringVariable_a().length, text, force);
}

void SetVtObject(iVtObjectInputString_c& object, const std::string& text, bool force) {
  setText(object, object.get_vtObjectInputString_a().length, text, force);
}

bool SetVtObject(iVtObjectOutputString_c& object, const std::string& text, bool force, bool send) {
  if (force && text.empty()) {
    object.setValueCopy("", updateRecord, mustNotReplace);
    return false;
  }
  const uint16_t length = object.get_vtObjectOutputString_a().length;
  const char* changed = newText(object, length, text, force);
  if (changed == nullptr) {
    return false;
  }
  if (send) {
    object.setValueCopy(changed, updateRecord, mustNotReplace);
    return false;
  }
  store(object, changed, length);
  return true;
}

bool SetVtObjectUTF8(iVtObjectOutputString_c& object, const std::string& text, bool force, bool send) {
  // Not as UTF-16: what is empty needs no mark. On purpose.
  if (force && text.empty()) {
    object.setValueCopy("", updateRecord, mustNotReplace);
    return false;
  }
  const uint16_t length = object.get_vtObjectOutputString_a().length;
  const std::string utf16 = paddedUtf16(text, length);
  if (!force && holds(object, length, utf16)) {
    return false;
  }
  if (send) {
    sendUtf16(object, utf16);
    return false;
  }
  // The terminating NUL of the text is there for an odd length.
  store(object, utf16.c_str(), length);
  return true;
}

void SetVtObjectUTF8(iVtObjectInputString_c& object, const std::string& text, bool force) {
  setUtf16(object, object.get_vtObjectInputString_a().length, text, force);
}

void SetVtObjectUTF8(iVtObjectStringVariable_c& object, const std::string& text, bool force) {
  setUtf16(object, object.get_vtObjectStringVariable_a().length, text, force);
}

void spacePadUTF16String(std::string& s, unsigned short length) {
  const bool bLowByteFirst = s.c_str()[0] == '\xFF';
  const auto size = static_cast<uint16_t>(s.size()); // modulo 65536, on purpose
  if (size >= length) {
    return;
  }
  // A pair each as long as the size is less than length - 1.
  const std::size_t begin = s.size();
  s.resize(begin + (length - size) / 2 * std::size_t{2});
  for (std::size_t blank = begin + (bLowByteFirst ? 0 : 1); blank < s.size(); blank += 2) {
    s[blank] = ' ';
  }
}

const char* GetVtValue(iVtObjectOutputString_c& object) {
  return object.getValueText();
}

const char* GetVtValue(iVtObjectInputString_c& object) {
  return object.getValueText();
}

const char* GetVtValue(iVtObjectStringVariable_c& object) {
  return object.getValueText();
}
