// Conversion between the three encoding forms of Unicode, UTF-8, UTF-16 and UTF-32, with checks of well-formedness.
// For C and for C++.
//
//   Order of use: any.
//   Threads: any. Only the caller's buffers and read-only tables are touched.
//   Prints nothing.
//
//   Units: uint8_t, uint16_t and uint32_t, the wider two in the byte order of the machine. Buffers may stand at any
//   address and have no zero at their end.
#ifndef ZEMO_UTF_CONVERSION_H
#define ZEMO_UTF_CONVERSION_H

#include "ZemoExport.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// What the conversions return.
enum {
  utfConversionOk = 0,
  utfSourceExhausted = 1, // the source ends within a character
  utfTargetExhausted = 2, // the next character does not fit into the target
  utfSourceIllegal = 3    // ill-formed, or not to be represented
};

// ConvertUTF8toUTF16 and its five siblings: convert from the source cursor to the target cursor, character by
// character.
//
//   Takes    source, target: cursors, moved by the call; sourceEnd, targetEnd: just past the last unit
//            flags: 0 is strict, anything else lenient
//   Gives    one of the results above. Both cursors stand just past the last character that was taken and written
//            whole. A source that is empty gives 0.
//   Fails    at the first character that cannot be handled, with the source cursor on its first unit. Each is judged
//            before the room in the target is looked at. What was written before it stays.
//   Kept     a value above U+10FFFF does not stop a conversion from UTF-8 to UTF-32 or from UTF-32 to UTF-8: U+FFFD
//            takes its place, strict or lenient, and the result is 3 unless a later character ends it with 1 or 2.
//            After 0xED and after 0xF4 a second byte below 0x80 passes as well.
//   Source   Unicode Standard, chapter 3.9 (encoding forms)
//
//   what is met                          strict   lenient
//   UTF-8 that is not well-formed        3        3
//   a surrogate alone in UTF-16          3        goes on as a code point: three bytes of UTF-8, UTF-32 as it is
//   a high surrogate at the end          1        1
//   a surrogate in UTF-32                3        U+FFFD
//   above U+10FFFF, UTF-32 to UTF-16     3        U+FFFD
//   above U+10FFFF, UTF-32 to UTF-8      U+FFFD and 3 at the end, in both
ZEMO_EXPORT int ConvertUTF8toUTF16(const uint8_t** source, const uint8_t* sourceEnd, uint16_t** target,
                                   uint16_t* targetEnd, int flags);
ZEMO_EXPORT int ConvertUTF8toUTF32(const uint8_t** source, const uint8_t* sourceEnd, uint32_t** target,
                                   uint32_t* targetEnd, int flags);
ZEMO_EXPORT int ConvertUTF16toUTF8(const uint16_t** source, const uint16_t* sourceEnd, uint8_t** target,
                                   uint8_t* targetEnd, int flags);
ZEMO_EXPORT int ConvertUTF16toUTF32(const uint16_t** source, const uint16_t* sourceEnd, uint32_t** target,
                                    uint32_t* targetEnd, int flags);
ZEMO_EXPORT int ConvertUTF32toUTF8(const uint32_t** source, const uint32_t* sourceEnd, uint8_t** target,
                                   uint8_t* targetEnd, int flags);
ZEMO_EXPORT int ConvertUTF32toUTF16(const uint32_t** source, const uint32_t* sourceEnd, uint16_t** target,
                                    uint16_t* targetEnd, int flags);

// isLegalUTF8Sequence: 1 where the character that begins at source lies before sourceEnd and is well-formed, else 0.
//
//   Takes    source: one readable byte at least, also where it is not before sourceEnd
ZEMO_EXPORT int isLegalUTF8Sequence(const uint8_t* source, const uint8_t* sourceEnd);

#ifdef __cplusplus
}
#endif

#endif
