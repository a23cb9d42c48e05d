#include "UtfConversion.h"

#include "Utf16Blocks.h"
#include "Utf8Blocks.h"
#include "UtfSimple.h"

const uint8_t Utf::trailingBytes[256] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, //
    2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, //
    3, 3, 3, 3, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, //
};

namespace {

// What the fast way has left. Apart from it, so that a text that is taken whole does not pay for it.
template <class Source_t, class Target_t>
__attribute__((noinline)) int convertRest(const Source_t** source, const Source_t* sourceEnd, Target_t** target,
                                          Target_t* targetEnd, int flags) {
  return Utf::convert(source, sourceEnd, target, targetEnd, flags);
}

template <class Source_t, class Target_t>
int convertFast(const Source_t** source, const Source_t* sourceEnd, Target_t** target, Target_t* targetEnd, int flags) {
#if defined(ZEMO_UTF_BLOCKS)
  if (Utf::hasShuffle()) {
    Utf::takeFast(source, sourceEnd, target, targetEnd);
    if (*source == sourceEnd) {
      return Utf::ok;
    }
  }
#endif
  return convertRest(source, sourceEnd, target, targetEnd, flags);
}

} // namespace

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
  const std::size_t length = Utf::trailingBytes[*source] + std::size_t{1};
  return length <= Utf::unitsBetween(source, sourceEnd) && Utf::isWellFormed(source, length) ? 1 : 0;
}
