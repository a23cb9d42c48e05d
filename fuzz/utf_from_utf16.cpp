// Converts UTF-16 to UTF-8 and UTF-32, and compares with ICU character by character and as a whole.
//
// The first byte tells the mode, the second one the room; the rest is the text. ICU and the library are meant to differ
// in two respects: a text that ends with a high surrogate is cut off, also in lenient mode; and a lone surrogate
// becomes three bytes of UTF-8 in lenient mode, which ICU writes only when it is not asked to check.
#include "UtfConversion.h"
#include "utf_room.h"

#include <algorithm>
#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void append(Step_s<uint8_t>& step, UChar32 value) {
  U8_APPEND_UNSAFE(step.units, step.size, value);
}

void append(Step_s<uint32_t>& step, UChar32 value) {
  step.units[step.size++] = static_cast<uint32_t>(value);
}

template <class Target_t, bool IsStrict>
Step_s<Target_t> nextStep(const uint16_t* text, std::size_t size) {
  Step_s<Target_t> step = {};
  if (U16_IS_LEAD(text[0]) && size == 1) {
    step.result = 1;
    return step;
  }
  UChar32 value = 0;
  U16_NEXT(text, step.taken, size, value);
  if (IsStrict && U_IS_SURROGATE(value)) {
    step.result = 3;
    return step;
  }
  append(step, value);
  return step;
}

template <bool IsStrict>
void check(const ExactCopy_c<uint16_t>& text, std::size_t room) {
  const int flags = IsStrict ? 0 : 1;
  checkConversion<uint16_t, uint8_t>(text, room, flags, ConvertUTF16toUTF8, nextStep<uint8_t, IsStrict>);
  checkConversion<uint16_t, uint32_t>(text, room, flags, ConvertUTF16toUTF32, nextStep<uint32_t, IsStrict>);
}

// Where ICU takes a text, the library does, with the same result; else neither does.
void compareWhole(const ExactCopy_c<uint16_t>& text) {
  const auto size = static_cast<int32_t>(text.end() - text.begin());
  const auto room = static_cast<std::size_t>(3 * size + 1);
  std::vector<char> expected(room);
  int32_t length = 0;
  UErrorCode error = U_ZERO_ERROR;
  u_strToUTF8(expected.data(), 3 * size + 1, &length, reinterpret_cast<const UChar*>(text.begin()), size, &error);
  std::vector<uint8_t> bytes(room);
  const uint16_t* source = text.begin();
  uint8_t* target = bytes.data();
  const int result = ConvertUTF16toUTF8(&source, text.end(), &target, bytes.data() + room, 0);
  require((result == 0) == (U_SUCCESS(error) != 0));
  if (result == 0) {
    require(target == bytes.data() + length);
    require(std::equal(bytes.data(), target, reinterpret_cast<const uint8_t*>(expected.data())));
  }
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) {
    return 0;
  }
  std::vector<uint16_t> units((size - 2) / sizeof(uint16_t));
  if (!units.empty()) {
    std::memcpy(units.data(), data + 2, units.size() * sizeof(uint16_t));
  }
  const ExactCopy_c<uint16_t> text(units.data(), units.size());
  const std::size_t room = data[1] == 0xFF ? 4 * units.size() : data[1];
  data[0] % 2 == 0 ? check<true>(text, room) : check<false>(text, room);
  compareWhole(text);
  return 0;
}
