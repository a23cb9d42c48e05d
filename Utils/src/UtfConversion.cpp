#include "UtfConversion.h"

#include "Utf16Blocks.h"
#include "Utf8Blocks.h"
#include "UtfCheck.h"
#include "UtfSimple.h"

namespace {

// takeFast: converts on the fast way as far as that goes. True where nothing is left.
#if defined(ZEMO_UTF_BLOCKS)
//   Takes    target: the cursor, whatever it points to
bool takeUtf8(const uint8_t** source, const uint8_t* sourceEnd, void* target, void* targetEnd, Utf::Unit_e unit) {
  if (!Utf::hasShuffle()) {
    return false;
  }
  const auto cursors =
      Utf::takeFast({*source, sourceEnd, Utf::loadWord<uint8_t*>(target), static_cast<uint8_t*>(targetEnd)}, unit);
  *source = cursors.source;
  std::memcpy(target, &cursors.target, sizeof cursors.target);
  return *source == sourceEnd;
}

bool takeFast(const uint8_t** source, const uint8_t* sourceEnd, uint16_t** target, uint16_t* targetEnd) {
  return takeUtf8(source, sourceEnd, target, targetEnd, Utf::utf16);
}

bool takeFast(const uint8_t** source, const uint8_t* sourceEnd, uint32_t** target, uint32_t* targetEnd) {
  return takeUtf8(source, sourceEnd, target, targetEnd, Utf::utf32);
}

bool takeFast(const uint16_t** source, const uint16_t* sourceEnd, uint8_t** target, uint8_t* targetEnd) {
  if (!Utf::hasShuffle()) {
    return false;
  }
  const auto cursors = Utf::takeFast({*source, sourceEnd, *target, targetEnd});
  *source = cursors.source;
  *target = cursors.target;
  return *source == sourceEnd;
}
#else
template <class Source_t, class Target_t>
bool takeFast(const Source_t** /*source*/, const Source_t* /*sourceEnd*/, Target_t** /*target*/,
              const Target_t* /*targetEnd*/) {
  return false;
}
#endif

template <class Source_t, class Target_t>
int convertFast(const Source_t** source, const Source_t* sourceEnd, Target_t** target, Target_t* targetEnd, int flags) {
  if (takeFast(source, sourceEnd, target, targetEnd)) {
    return Utf::ok;
  }
  return Utf::convert(source, sourceEnd, target, targetEnd, flags);
}

} // namespace

const uint8_t* Utf::skipWellFormed(const uint8_t* text, const uint8_t* textEnd) {
#if defined(ZEMO_UTF_BLOCKS)
  return hasShuffle() ? skipFast(text, textEnd) : text;
#else
  static_cast<void>(textEnd);
  return text;
#endif
}

int ConvertUTF8toUTF16(const uint8_t** source, const uint8_t* sourceEnd, uint16_t** target, uint16_t* targetEnd,
                       int flags) {
  return convertFast(source, sourceEnd, target, targetEnd, flags);
}

int ConvertUTF8toUTF32(const uint8_t** source, const uint8_t* sourceEnd, uint32_t** target, uint32_t* targetEnd,
                       int flags) {
  return convertFast(source, sourceEnd, target, targetEnd, flags);
}

int ConvertUTF16toUTF8(const uint16_t** source, const uint16_t* sourceEnd, uint8_t** target, uint8_t* targetEnd,
                       int flags) {
  return convertFast(source, sourceEnd, target, targetEnd, flags);
}

int ConvertUTF16toUTF32(const uint16_t** source, const uint16_t* sourceEnd, uint32_t** target, uint32_t* targetEnd,
                        int flags) {
  return Utf::convert(source, sourceEnd, target, targetEnd, flags);
}

int ConvertUTF32toUTF8(const uint32_t** source, const uint32_t* sourceEnd, uint8_t** target, uint8_t* targetEnd,
                       int flags) {
  return Utf::convert(source, sourceEnd, target, targetEnd, flags);
}

int ConvertUTF32toUTF16(const uint32_t** source, const uint32_t* sourceEnd, uint16_t** target, uint16_t* targetEnd,
                        int flags) {
  return Utf::convert(source, sourceEnd, target, targetEnd, flags);
}

int isLegalUTF8Sequence(const uint8_t* source, const uint8_t* sourceEnd) {
  const std::size_t length = Utf::trailingBytes(*source) + 1;
  return length <= Utf::unitsBetween(source, sourceEnd) && Utf::isWellFormed(source, length) ? 1 : 0;
}
