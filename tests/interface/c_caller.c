/* An application in C with the two headers that are for C too. */
#include "UtfConversion.h"
#include "string_util.h"

#include <stdio.h>

static void printUnits(const uint16_t* begin, const uint16_t* end) {
  for (; begin < end; ++begin) {
    printf("%04X ", (unsigned int)*begin);
  }
}

static int convert(const char* text, size_t size) {
  uint16_t units[16];
  uint16_t* unit = units;
  const uint8_t* source = (const uint8_t*)text;
  const int result = ConvertUTF8toUTF16(&source, source + size, &unit, units + 16, 0);
  printUnits(units, unit);
  return result;
}

static int convertThroughAll(uint32_t value) {
  uint8_t bytes[4];
  uint16_t units[2];
  uint32_t values[2];
  uint8_t* byteEnd = bytes;
  uint16_t* unitEnd = units;
  uint32_t* valueEnd = values;
  const uint32_t* fromValue = &value;
  const uint8_t* fromByte = bytes;
  const uint16_t* fromUnit = units;
  int results = ConvertUTF32toUTF8(&fromValue, &value + 1, &byteEnd, bytes + 4, 0);
  results += ConvertUTF8toUTF32(&fromByte, byteEnd, &valueEnd, values + 2, 0);
  fromValue = values;
  results += ConvertUTF32toUTF16(&fromValue, valueEnd, &unitEnd, units + 2, 0);
  valueEnd = values;
  results += ConvertUTF16toUTF32(&fromUnit, unitEnd, &valueEnd, values + 2, 0);
  fromUnit = units;
  byteEnd = bytes;
  results += ConvertUTF16toUTF8(&fromUnit, unitEnd, &byteEnd, bytes + 4, 0);
  return results == utfConversionOk && values[0] == value && isLegalUTF8Sequence(bytes, byteEnd) == 1;
}

int main(void) {
  const unsigned char text[] = "a\xC3\xA9z";
  const bool isLegal = isStringLegalUTF8(text, 4);
  printf("%d\n", convert("a\xF0\x9F\x98\x80", 5));
  printf("%d\n", convert("a\xC3", 2) == utfSourceExhausted);
  printf("%d\n", convertThroughAll(0x1F600));
  printf("%d %d %d\n", isLegal, isMaxStringLengthLegalUTF8(text, 4, 2), byteOffsetToUTF8CharIndex(text, 4, 2));
  return 0;
}
