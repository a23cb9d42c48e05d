// Converts UTF-32 to UTF-8 and UTF-16, and compares with ICU character by character and as a whole.
//
// The first byte tells the mode, the second one the room; the rest is the text. Where ICU refuses a value the library
// is meant to give what is documented: U+FFFD, and to UTF-8 a 3 at the end for what is above U+10FFFF.
#include "UtfConversion.h"
#include "utf_room.h"

#include <algorithm>
#include <unicode/uchar.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

constexpr UChar32 replacement = 0xFFFD;

void append(Step_s<uint8_t>& step, UChar32 value) {
  U8_APPEND_UNSAFE(step.units, step.size, value);
}

void append(Step_s<uint16_t>& step, UChar32 value) {
  U16_APPEND_UNSAFE(step.units, step.size, value);
}

template <class Target_t, bool IsStrict>
Step_s<Target_t> nextStep(const uint32_t* text, std::size_t /*size*/) {
  constexpr bool isToUtf8 = sizeof(Target_t) == sizeof(uint8_t);
  const bool isSurrogate = U_IS_SURROGATE(*text);
  const bool isTooLarge = *text > UCHAR_MAX_VALUE;
  Step_s<Target_t> step = {};
  if (IsStrict && (isSurrogate || (isTooLarge && !isToUtf8))) {
    step.result = 3;
    return step;
  }
  step.isTold = isTooLarge && isToUtf8;
  step.taken = 1;
  append(step, isSurrogate || isTooLarge ? replacement : static_cast<UChar32>(*text));
  return step;
}

template <bool IsStrict>
void check(const ExactCopy_c<uint32_t>& text, std::size_t room) {
  const int flags = IsStrict ? 0 : 1;
  checkConversion<uint32_t, uint8_t>(text, room, flags, ConvertUTF32toUTF8, nextStep<uint8_t, IsStrict>);
  checkConversion<uint32_t, uint16_t>(text, room, flags, ConvertUTF32toUTF16, nextStep<uint16_t, IsStrict>);
}

// Where ICU takes a text, the library does, with the same result; else neither does.
void compareWhole(const ExactCopy_c<uint32_t>& text) {
  const auto size = static_cast<int32_t>(text.end() - text.begin());
  const auto room = static_cast<std::size_t>(2 * size + 1);
  std::vector<UChar> expected(room);
  int32_t length = 0;
  UErrorCode error = U_ZERO_ERROR;
  u_strFromUTF32(expected.data(), 2 * size + 1, &length, reinterpret_cast<const UChar32*>(text.begin()), size, &error);
  std::vector<uint16_t> units(room);
  const uint32_t* source = text.begin();
  uint16_t* target = units.data();
  const int result = ConvertUTF32toUTF16(&source, text.end(), &target, units.data() + room, 0);
  require((result == 0) == (U_SUCCESS(error) != 0));
  if (result == 0) {
    require(target == units.data() + length);
    require(std::equal(units.data(), target, reinterpret_cast<const uint16_t*>(expected.data())));
  }
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) {
    return 0;
  }
  std::vector<uint32_t> values((size - 2) / sizeof(uint32_t));
  if (!values.empty()) {
    std::memcpy(values.data(), data + 2, values.size() * sizeof(uint32_t));
  }
  const ExactCopy_c<uint32_t> text(values.data(), values.size());
  const std::size_t room = data[1] == 0xFF ? 4 * values.size() : data[1];
  data[0] % 2 == 0 ? check<true>(text, room) : check<false>(text, room);
  compareWhole(text);
  return 0;
}
