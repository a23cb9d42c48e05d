// Checks, cuts and converts strings, and compares with ICU.
//
// ICU and the library are meant to differ after ED and F4, where a second byte below 80 passes; and the byte behind a
// text may complete its last character, for which a few zeros stand there.
#include "string_util.h"
#include "utf_room.h"

#include <iostream>
#include <sstream>
#include <string>
#include <unicode/ustring.h>
#include <unicode/utf8.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

const std::string mark = "\xFF\xFE";
const char* const errorTo16 = "Utils/src/string_util 91 ConvertUtf8String2BomString UTF8 to UTF16 conversion error \n";
const char* const errorTo8 = "Utils/src/string_util 118 ConvertBomString2Utf8String UTF16 to UTF8 conversion error \n";

// How a text looks to ICU.
struct Survey_s {
  bool isLegal = true;
  int characters = 0;
  bool mayPassBesides = false;
};

Survey_s survey(const std::string& text) {
  Survey_s result;
  const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
  const auto size = static_cast<int32_t>(text.size());
  for (int32_t place = 0; place < size; ++result.characters) {
    const uint8_t lead = bytes[place];
    const bool isSecondSmall = place + 1 == size || bytes[place + 1] < 0x80;
    result.mayPassBesides = result.mayPassBesides || ((lead == 0xED || lead == 0xF4) && isSecondSmall);
    UChar32 value = 0;
    U8_NEXT(bytes, place, size, value);
    result.isLegal = result.isLegal && value >= 0;
  }
  return result;
}

void checkChecks(const std::string& text, const Survey_s& expected) {
  const std::string withZeros = text + std::string(8, '\0');
  const auto* bytes = reinterpret_cast<const unsigned char*>(withZeros.data());
  const auto length = static_cast<int>(text.size());
  const bool isLegal = isStringLegalUTF8(bytes, length);
  require(isLegal == isMaxStringLengthLegalUTF8(bytes, length, length));
  require(expected.mayPassBesides || isLegal == expected.isLegal);
  if (isLegal && !expected.mayPassBesides) {
    require(isMaxStringLengthLegalUTF8(bytes, length, expected.characters));
    require(!isMaxStringLengthLegalUTF8(bytes, length, expected.characters - 1));
    require(byteOffsetToUTF8CharIndex(bytes, length, expected.characters) <= 0);
  }
  for (int n = 1, offset = 0; n <= length && offset >= 0; ++n) {
    const int next = byteOffsetToUTF8CharIndex(bytes, length, n);
    require(next == -1 || (next > offset && next <= offset + 6 && next < length));
    offset = next;
  }
}

// The text keeps its beginning; what is cut is one lead byte and what follows it.
void checkTrim(const std::string& text) {
  std::string trimmed = text;
  trimToValidUtf8String(trimmed);
  require(text.compare(0, trimmed.size(), trimmed) == 0);
  if (trimmed.size() < text.size()) {
    require(static_cast<unsigned char>(text[trimmed.size()]) >= 0xC0);
    require(static_cast<unsigned char>(text.back()) >= 0x80);
  }
}

// What a conversion gives and what it prints.
struct Converted_s {
  std::string text;
  std::string printed;
};

Converted_s converted(std::string (*convert)(const std::string&), const std::string& text) {
  std::ostringstream printed;
  std::streambuf* console = std::cout.rdbuf(printed.rdbuf());
  const std::string result = convert(text);
  std::cout.rdbuf(console);
  return {result, printed.str()};
}

void checkToBom(const std::string& text, const Survey_s& expected) {
  const Converted_s bom = converted(ConvertUtf8String2BomString, text);
  require(bom.text.compare(0, 2, mark) == 0);
  if (!bom.printed.empty()) {
    require(!expected.isLegal && bom.printed == errorTo16 && bom.text == mark);
    return;
  }
  require(expected.isLegal || expected.mayPassBesides);
  const Converted_s back = converted(ConvertBomString2Utf8String, bom.text);
  require(back.printed.empty() && (back.text == text || !expected.isLegal));
}

void checkFromBom(const std::string& bom) {
  const auto size = bom.size() < 2 ? 0 : static_cast<int32_t>((bom.size() - 2) / 2);
  std::vector<UChar> units(static_cast<std::size_t>(size) + 1);
  if (size > 0) {
    std::memcpy(units.data(), bom.data() + 2, static_cast<std::size_t>(2 * size));
  }
  std::string expected(static_cast<std::size_t>(3 * size + 1), '\0');
  int32_t length = 0;
  UErrorCode error = U_ZERO_ERROR;
  u_strToUTF8(&expected[0], 3 * size + 1, &length, units.data(), size, &error);
  expected.resize(U_SUCCESS(error) ? static_cast<std::size_t>(length) : 0);
  const Converted_s utf8 = converted(ConvertBomString2Utf8String, bom);
  require(utf8.text == expected);
  require(utf8.printed == (U_SUCCESS(error) ? "" : errorTo8));
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const Survey_s expected = survey(text);
  checkChecks(text, expected);
  checkTrim(text);
  checkToBom(text, expected);
  checkFromBom(text);
  return 0;
}
