// Checks, positions and conversions of UTF-8 text in strings, and of UTF-16 text with a byte-order mark, which is how
// text reaches a Virtual Terminal (ISO 11783-6). The functions with plain names are for C too.
//
//   Order of use: any.
//   Threads: any; lines on standard output from several threads may mix.
//   Prints one line on standard output for a conversion that fails.
//
//   A string with a byte-order mark is a std::string of bytes: 0xFF 0xFE, then UTF-16 units, low byte first.
//   A character here is one code point.
#ifndef ZEMO_STRING_UTIL_H
#define ZEMO_STRING_UTIL_H

#include "ZemoExport.h"

#ifdef __cplusplus
#include <string>

extern "C" {
#else
#include <stdbool.h>
#endif

// isStringLegalUTF8: whether bytes are well-formed characters one after another.
//
//   Takes    s: length bytes, and those that complete a character which begins among them: a zero behind a cut-off
//            character is enough
//   Gives    true also for a length of 0 or less
//   Kept     a last character is judged whole, also where it runs past length
ZEMO_EXPORT bool isStringLegalUTF8(const unsigned char* s, int length);

// isMaxStringLengthLegalUTF8: isStringLegalUTF8, and no more than maxChars characters.
//
//   Gives    false for a negative maxChars; true for a length of 0 or less
ZEMO_EXPORT bool isMaxStringLengthLegalUTF8(const unsigned char* s, int length, int maxChars);

// byteOffsetToUTF8CharIndex: returns the byte offset at which character number n, counted from 0, begins; -1 where
// there is none.
//
//   Takes    s: steps by the lead bytes alone, whether or not the text is well-formed
//   Kept     the name says the opposite of what it does. The offset just past the last character is never given, 0 is
//            given for character 0 of anything.
//
//   s, length, n       result
//   "ab", 2, 1         1
//   "ab", 2, 2         -1
//   "", 0, 0           0
ZEMO_EXPORT int byteOffsetToUTF8CharIndex(const unsigned char* s, int length, int n);

#ifdef __cplusplus
} // extern "C"

// trimToValidUtf8String: cuts a character of more than one byte off the end of a text.
//
//   Kept     it is cut whether or not it is complete; only a text that ends in ASCII keeps its end
//
//   text               becomes
//   abc                abc
//   61 C3              61
//   61 C3 A9           61
//   nothing            nothing
ZEMO_EXPORT void trimToValidUtf8String(std::string& s);

// ConvertUtf8String2BomString: returns UTF-8 text as UTF-16 with a byte-order mark.
//
//   Fails    with the mark alone, and "Utils/src/string_util 91 ConvertUtf8String2BomString UTF8 to UTF16 conversion
//            error " on standard output, where the text is not well-formed
ZEMO_EXPORT std::string ConvertUtf8String2BomString(const std::string& utf8);

// ConvertBomString2Utf8String: returns UTF-16 with a byte-order mark as UTF-8 text.
//
//   Gives    nothing for less than three bytes; an odd byte at the end is left out
//   Fails    with nothing, and "Utils/src/string_util 118 ConvertBomString2Utf8String UTF16 to UTF8 conversion error "
//            on standard output, where a surrogate stands alone
//   Kept     the first two bytes are skipped whatever they are: the units are read low byte first
ZEMO_EXPORT std::string ConvertBomString2Utf8String(const std::string& bom);
#endif

#endif
