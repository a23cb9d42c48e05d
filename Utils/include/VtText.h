// Sets texts of Virtual Terminal objects from UTF-8, fitted to the object's length, and puts a command on the bus only
// where the object does not hold the text already. A VT shows ISO 8859 in the code page of the font, or UTF-16 with a
// byte-order mark.
//
//   Order of use: setFontEncoding as the objects' fonts have it; the object has its attribute record.
//   Threads: the thread that drives the stack.
//   State: the font encoding, 0 at first; one buffer for all conversions to ISO 8859, which grows to the longest text
//          or length that is seen and is never freed.
//   Prints one line on standard output for a text of SetVtObjectUTF8 that is not well-formed (string_util.h).
//
//   Every setter
//     Takes    object: the one to change; its length in bytes, from its record, is L
//              text: UTF-8
//              force: sends without comparing
//              send: false stores the text in the object and sends nothing
//     Gives    Output String: true where the text was stored without being sent; false where it was sent, where it is
//              unchanged, and where an empty text was forced
//     Fails    silently: what the stack answers is dropped. An object without an attribute record is an assertion of
//              the stack.
//     Source   ISO 11783-6, Change String Value
#pragma once

#include "ZemoExport.h"
#include "ZemoPlatform.h"

#include <string>

// getFontEncoding, setFontEncoding: the part of ISO 8859 that texts are converted to, for the whole process.
//
//   Takes    encoding: 0 ISO 8859-1, 1 8859-15, 2 8859-2, 4 8859-4, 5 8859-5, 7 8859-7
//   Fails    silently for 8 and more: the encoding stays
//   Kept     3 and 6 are taken, although they are reserved
//   Source   ISO 11783-6, Font Attributes, font type
ZEMO_EXPORT unsigned char getFontEncoding();
ZEMO_EXPORT void setFontEncoding(unsigned char encoding);

// SetVtObject: sets a text in the font encoding, padded with blanks to L characters or cut there.
//
//   Kept     an empty text that is forced on an Output String empties it: no blanks, and sent whatever `send` says.
//            Only the first size modulo 65536 bytes of a text are looked at.
//
//   L 6, "m³/h"        "m\xB3/h  "
//   L 2, "m³/h"        "m\xB3"
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectStringVariable_c& object, const std::string& text, bool force);
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectInputString_c& object, const std::string& text, bool force);
ZEMO_EXPORT bool SetVtObject(IsoAgLib::iVtObjectOutputString_c& object, const std::string& text, bool force, bool send);

// SetVtObjectUTF8: sets a text as UTF-16 with a byte-order mark, padded with blanks to L bytes.
//
//   Kept     a text that is longer is sent whole, but compared and stored in its first L bytes only. An empty text that
//            is forced on an Output String empties it and is sent whatever `send` says; it goes out without a mark. A
//            text that is not well-formed becomes a mark and blanks.
ZEMO_EXPORT bool SetVtObjectUTF8(IsoAgLib::iVtObjectOutputString_c& object, const std::string& text, bool force,
                                 bool send);
ZEMO_EXPORT void SetVtObjectUTF8(IsoAgLib::iVtObjectInputString_c& object, const std::string& text, bool force);
ZEMO_EXPORT void SetVtObjectUTF8(IsoAgLib::iVtObjectStringVariable_c& object, const std::string& text, bool force);

// spacePadUTF16String: appends UTF-16 blanks, low byte first behind a mark of FF FE, high byte first behind all else.
//
//   Kept     blanks are appended while the size in bytes, modulo 65536, is less than length - 1; nothing is cut off
//
//   s, length            becomes
//   FF FE, 6             FF FE 20 00 20 00
//   FF FE, 5             FF FE 20 00
//   FE FF, 4             FE FF 00 20
//   nothing, 2           00 20
//   FF FE, 0             FF FE
ZEMO_EXPORT void spacePadUTF16String(std::string& s, unsigned short length);

// GetVtValue: returns the text that the object holds; sends nothing.
//
//   Kept     valid as long as the object keeps its storage; changes with the object
ZEMO_EXPORT const char* GetVtValue(IsoAgLib::iVtObjectOutputString_c& object);
ZEMO_EXPORT const char* GetVtValue(IsoAgLib::iVtObjectInputString_c& object);
ZEMO_EXPORT const char* GetVtValue(IsoAgLib::iVtObjectStringVariable_c& object);
