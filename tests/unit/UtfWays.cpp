#include "UtfWays.h"

#include "../../Utils/src/UtfSimple.h"
#include "UtfConversion.h"
#include "string_util.h"

// The same sources, built without fast ways and with other names.
extern "C" {
int portableConvertUTF8toUTF16(const uint8_t**, const uint8_t*, uint16_t**, uint16_t*, int);
int portableConvertUTF8toUTF32(const uint8_t**, const uint8_t*, uint32_t**, uint32_t*, int);
int portableConvertUTF16toUTF8(const uint16_t**, const uint16_t*, uint8_t**, uint8_t*, int);
int portableConvertUTF16toUTF32(const uint16_t**, const uint16_t*, uint32_t**, uint32_t*, int);
int portableConvertUTF32toUTF8(const uint32_t**, const uint32_t*, uint8_t**, uint8_t*, int);
int portableConvertUTF32toUTF16(const uint32_t**, const uint32_t*, uint16_t**, uint16_t*, int);
int portableisLegalUTF8Sequence(const uint8_t*, const uint8_t*);
bool portableisStringLegalUTF8(const unsigned char*, int);
bool portableisMaxStringLengthLegalUTF8(const unsigned char*, int, int);
int portablebyteOffsetToUTF8CharIndex(const unsigned char*, int, int);
}
void portabletrimToValidUtf8String(std::string&);
std::string portableConvertUtf8String2BomString(const std::string&);
std::string portableConvertBomString2Utf8String(const std::string&);

namespace TestSupport {

namespace {

template <class Source_t, class Target_t>
int convertPlainly(const Source_t** source, const Source_t* sourceEnd, Target_t** target, Target_t* targetEnd,
                   int flags) {
  return Utf::convert(source, sourceEnd, target, targetEnd, flags);
}

} // namespace

const std::vector<Way_s>& ways() {
  static const std::vector<Way_s> all = {
      {"library",
       {ConvertUTF8toUTF16, ConvertUTF8toUTF32, ConvertUTF16toUTF8, ConvertUTF16toUTF32, ConvertUTF32toUTF8,
        ConvertUTF32toUTF16}},
      {"portable",
       {portableConvertUTF8toUTF16, portableConvertUTF8toUTF32, portableConvertUTF16toUTF8, portableConvertUTF16toUTF32,
        portableConvertUTF32toUTF8, portableConvertUTF32toUTF16}},
  };
  return all;
}

const Way_s& plainWay() {
  static const Way_s plain = {"plain",
                              {convertPlainly<uint8_t, uint16_t>, convertPlainly<uint8_t, uint32_t>,
                               convertPlainly<uint16_t, uint8_t>, convertPlainly<uint16_t, uint32_t>,
                               convertPlainly<uint32_t, uint8_t>, convertPlainly<uint32_t, uint16_t>}};
  return plain;
}

const std::vector<Checks_s>& checks() {
  static const std::vector<Checks_s> all = {
      {"library", isLegalUTF8Sequence, isStringLegalUTF8, isMaxStringLengthLegalUTF8, byteOffsetToUTF8CharIndex,
       trimToValidUtf8String, ConvertUtf8String2BomString, ConvertBomString2Utf8String},
      {"portable", portableisLegalUTF8Sequence, portableisStringLegalUTF8, portableisMaxStringLengthLegalUTF8,
       portablebyteOffsetToUTF8CharIndex, portabletrimToValidUtf8String, portableConvertUtf8String2BomString,
       portableConvertBomString2Utf8String},
  };
  return all;
}

} // namespace TestSupport
