#include "VtText.h"

#include "UtfBlocks.h"
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

// Short texts are many: what is cleared for them is stored in two or four pieces, which may overlap.
void clear(char* target, std::size_t size) {
  if (size < 8 || size > 64) {
    std::memset(target, 0, size);
    return;
  }
  if (size <= 16) {
    std::memset(target, 0, 8);
    std::memset(target + size - 8, 0, 8);
    return;
  }
  std::memset(target, 0, 16);
  std::memset(target + size - 16, 0, 16);
  if (size > 32) {
    std::memset(target + 16, 0, 16);
    std::memset(target + size - 32, 0, 16);
  }
}

// Leaves the text in the buffer, without the blanks behind it.
void convertTo8859(const std::string& text, uint16_t length) {
  const uint32_t need = std::max(static_cast<uint32_t>(text.size()), uint32_t{length});
  growTo(need);
  if (g_converted == nullptr) {
    return; // no conversion has needed a character yet
  }
  clear(g_converted, need);
  // The size modulo 65536. On purpose.
  __IsoAgLib::convertStringUnicodeTo8859(text.data(), static_cast<uint16_t>(text.size()), g_converted, g_fontEncoding);
}

// Makes the text exactly `length` characters long. They are valid until the next conversion.
const char* padded(uint16_t length) {
  if (g_converted == nullptr) {
    return "";
  }
  // Blanks up to the capacity, not only as far as they are needed. On purpose.
  const std::size_t end = std::strlen(g_converted);
  std::memset(g_converted + end, ' ', g_capacity - end);
  g_converted[length] = '\0';
  return g_converted;
}

// PaddedText_c: compares a value with a text and the blanks behind it, which are not there yet.
class PaddedText_c {
public:
  PaddedText_c(const char* text, const char* value) : m_text(text), m_value(value) {}

  // isValue: whether the value is the text, cut or with blanks, and ends behind `length` characters.
  bool isValue(std::size_t length) {
#if defined(ZEMO_UTF_BLOCKS)
    while (length - m_place >= Utf::blockSize) {
      if (!isNext(Utf::loadBlock(m_text + m_place), Utf::loadBlock(m_value + m_place), Utf::blockSize)) {
        return false;
      }
    }
    if (length - m_place >= halfBlock) {
      if (!isNext(loadHalf(m_text + m_place), loadHalf(m_value + m_place), halfBlock)) {
        return false;
      }
    }
#endif
    for (; m_place < length; ++m_place) {
      m_bEnded = m_bEnded || m_text[m_place] == '\0';
      if (m_value[m_place] != (m_bEnded ? ' ' : m_text[m_place])) {
        return false;
      }
    }
    return m_value[length] == '\0';
  }

private:
#if defined(ZEMO_UTF_BLOCKS)
  static constexpr std::size_t halfBlock = 8;

  static __m128i loadHalf(const char* place) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(place));
  }

  static uint32_t maskOf(__m128i bytes) {
    return static_cast<uint32_t>(_mm_movemask_epi8(bytes));
  }

  bool isNext(__m128i text, __m128i value, std::size_t size) {
    const uint32_t ends = maskOf(_mm_cmpeq_epi8(text, _mm_setzero_si128())) | (m_bEnded ? 1 : 0);
    const uint32_t inText = (ends & (0 - ends)) - 1; // all below the first end
    const uint32_t same = maskOf(_mm_cmpeq_epi8(text, value));
    const uint32_t blank = maskOf(_mm_cmpeq_epi8(value, Utf::bytes(' ')));
    const uint32_t all = (1U << size) - 1;
    m_bEnded = (ends & all) != 0;
    m_place += size;
    return (((same & inText) | (blank & ~inText)) & all) == all;
  }
#endif

  const char* m_text;
  const char* m_value;
  std::size_t m_place = 0;
  bool m_bEnded = false;
};

bool isValue(const char* value, uint16_t length) {
  if (value == nullptr || g_converted == nullptr) {
    return length == 0 && (value == nullptr || value[0] == '\0');
  }
  return PaddedText_c(g_converted, value).isValue(length);
}

// Returns the text in the font encoding, null where the value is that already.
const char* newText(const char* value, uint16_t length, const std::string& text, bool force) {
  convertTo8859(text, length);
  return force || !isValue(value, length) ? padded(length) : nullptr;
}

template <class String_c, class Record_s>
void setText(String_c& object, const Record_s& record, const std::string& text, bool force) {
  if (const char* changed = newText(record.value, record.length, text, force)) {
    object.setValueCopy(changed, updateRecord, mustNotReplace);
  }
}

std::string paddedUtf16(const std::string& text, uint16_t length) {
  std::string utf16 = ConvertUtf8String2BomString(text);
  spacePadUTF16String(utf16, length);
  return utf16;
}

// Only what the object has room for is compared.
bool holds(const char* value, uint16_t length, const std::string& utf16) {
  const std::size_t compared = std::min<std::size_t>(utf16.size(), length);
  return compared == 0 || (value != nullptr && std::memcmp(value, utf16.data(), compared) == 0);
}

// Sends a text that is longer than the object whole. On purpose.
template <class String_c>
void sendUtf16(String_c& object, const std::string& utf16) {
  object.setValueCopyUTF16(utf16.data(), static_cast<uint16_t>(utf16.size()), updateRecord, mustNotReplace);
}

template <class String_c, class Record_s>
void setUtf16(String_c& object, const Record_s& record, const std::string& text, bool force) {
  const std::string utf16 = paddedUtf16(text, record.length);
  if (force || !holds(record.value, record.length, utf16)) {
    sendUtf16(object, utf16);
  }
}

void store(const iVtObjectOutputString_s& record, const char* text) {
  if (record.length > 0) { // without a length there may be no storage
    std::memcpy(record.value, text, record.length);
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
  setText(object, object.get_vtObjectStringVariable_a(), text, force);
}

void SetVtObject(iVtObjectInputString_c& object, const std::string& text, bool force) {
  setText(object, object.get_vtObjectInputString_a(), text, force);
}

bool SetVtObject(iVtObjectOutputString_c& object, const std::string& text, bool force, bool send) {
  if (force && text.empty()) {
    object.setValueCopy("", updateRecord, mustNotReplace);
    return false;
  }
  const auto& record = object.get_vtObjectOutputString_a();
  const char* changed = newText(record.value, record.length, text, force);
  if (changed == nullptr) {
    return false;
  }
  if (send) {
    object.setValueCopy(changed, updateRecord, mustNotReplace);
    return false;
  }
  store(record, changed);
  return true;
}

bool SetVtObjectUTF8(iVtObjectOutputString_c& object, const std::string& text, bool force, bool send) {
  // Not as UTF-16: what is empty needs no mark. On purpose.
  if (force && text.empty()) {
    object.setValueCopy("", updateRecord, mustNotReplace);
    return false;
  }
  const auto& record = object.get_vtObjectOutputString_a();
  const std::string utf16 = paddedUtf16(text, record.length);
  if (!force && holds(record.value, record.length, utf16)) {
    return false;
  }
  if (send) {
    sendUtf16(object, utf16);
    return false;
  }
  // The terminating NUL of the text is there for an odd length.
  store(record, utf16.c_str());
  return true;
}

void SetVtObjectUTF8(iVtObjectInputString_c& object, const std::string& text, bool force) {
  setUtf16(object, object.get_vtObjectInputString_a(), text, force);
}

void SetVtObjectUTF8(iVtObjectStringVariable_c& object, const std::string& text, bool force) {
  setUtf16(object, object.get_vtObjectStringVariable_a(), text, force);
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
