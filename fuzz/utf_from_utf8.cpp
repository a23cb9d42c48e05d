// Converts UTF-8 to UTF-16 and UTF-32, and compares with ICU character by character and as a whole.
//
// The first byte tells the mode, the second one the room; the rest is the text. ICU and the library are meant to differ
// in two respects, and are not compared there but with what is documented:
// - a text ends within a character where the lead byte asks for more bytes than there are, whatever these are;
// - after ED and F4 a second byte below 80 passes.
#include "UtfConversion.h"
#include "utf_room.h"

#include <algorithm>
#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

std::size_t lengthByLead(uint8_t lead) {
  std::size_t length = 1;
  for (const int first : {0xC0, 0xE0, 0xF0, 0xF8, 0xFC}) {
    length += lead >= first ? 1 : 0;
  }
  return length;
}

bool passesBesides(const uint8_t* text, std::size_t length) {
  return (text[0] == 0xED || text[0] == 0xF4) && text[1] < 0x80 &&
         std::all_of(text + 2, text + length, [](uint8_t byte) { return U8_IS_TRAIL(byte); });
}

void append(Step_s<uint16_t>& step, UChar32 value) {
  U16_APPEND_UNSAFE(step.units, step.size, value);
}

void append(Step_s<uint32_t>& step, UChar32 value) {
  step.units[step.size++] = static_cast<uint32_t>(value);
}

template <class Target_t>
Step_s<Target_t> nextStep(const uint8_t* text, std::size_t size) {
  const std::size_t length = lengthByLead(text[0]);
  Step_s<Target_t> step = {};
  if (length > size) {
    step.result = 1;
    return step;
  }
  UChar32 value = 0;
  std::size_t taken = 0;
  U8_NEXT(text, taken, size, value);
  if (value < 0 && passesBesides(text, length)) {
    // 0x80 too little in the second byte, 0x80 * 64 or 0x80 * 4096 in all.
    value = text[0] == 0xED ? 0xD000 + (text[1] - 0x80) * 64 + (text[2] & 0x3F)
                            : 0x100000 + (text[1] - 0x80) * 4096 + (text[2] & 0x3F) * 64 + (text[3] & 0x3F);
  } else if (value < 0) {
    step.result = 3;
    return step;
  }
  step.taken = length;
  append(step, value);
  return step;
}

// Where ICU takes a text, the library does, with the same result.
void compareWhole(const ExactCopy_c<uint8_t>& text) {
  const auto size = static_cast<int32_t>(text.end() - text.begin());
  std::vector<UChar> expected(static_cast<std::size_t>(size) + 1);
  int32_t length = 0;
  UErrorCode error = U_ZERO_ERROR;
  u_strFromUTF8(expected.data(), size + 1, &length, reinterpret_cast<const char*>(text.begin()), size, &error);
  if (U_FAILURE(error)) {
    return;
  }
  std::vector<uint16_t> units(static_cast<std::size_t>(size) + 1);
  const uint8_t* source = text.begin();
  uint16_t* target = units.data();
  require(ConvertUTF8toUTF16(&source, text.end(), &target, units.data() + units.size(), 0) == 0);
  require(target == units.data() + length);
  require(std::equal(units.data(), target, reinterpret_cast<const uint16_t*>(expected.data())));
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) {
    return 0;
  }
  const ExactCopy_c<uint8_t> text(data + 2, size - 2);
  const int flags = data[0] % 2;
  const std::size_t room = data[1] == 0xFF ? 2 * size : data[1];
  checkConversion<uint8_t, uint16_t>(text, room, flags, ConvertUTF8toUTF16, nextStep<uint16_t>);
  checkConversion<uint8_t, uint32_t>(text, room, flags, ConvertUTF8toUTF32, nextStep<uint32_t>);
  if (size > 2) {
    const Step_s<uint32_t> first = nextStep<uint32_t>(text.begin(), size - 2);
    require((isLegalUTF8Sequence(text.begin(), text.end()) == 1) == (first.result == 0));
  }
  compareWhole(text);
  return 0;
}
