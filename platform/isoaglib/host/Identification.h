// Writing and reading of NAME (ISO 11783-5), identification texts (ISO 11783-12) and compliance certification
// (ISO 11783-7).
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace IsoBusHost {

// Name_s: the fields of a NAME.
struct Name_s {
  bool selfConfigurable = false;
  uint8_t industryGroup = 0;
  uint8_t deviceClassInstance = 0;
  uint8_t deviceClass = 0;
  uint8_t function = 0;
  uint8_t functionInstance = 0;
  uint8_t ecuInstance = 0;
  uint16_t manufacturerCode = 0;
  uint32_t identityNumber = 0;
};

uint64_t encodeName(const Name_s& name);
Name_s decodeName(uint64_t name);
std::array<uint8_t, 8> nameBytes(uint64_t name);
uint64_t nameFromBytes(const uint8_t* bytes);

// splitFields: returns the fields of an identification text; each field is closed by '*', what follows the last '*' is
// a field only when it is not empty.
std::vector<std::string> splitFields(const std::string& text);

// encodeSoftwareIdentification: returns the bytes of a software identification, a count byte and then the fields, each
// closed by '*'. The count ends at 125; fields beyond that are left out.
std::vector<uint8_t> encodeSoftwareIdentification(const std::string& fields);

// textOfSoftwareIdentification: returns the text without its count byte: a first byte below 32 is the count.
std::string textOfSoftwareIdentification(const std::vector<uint8_t>& data);

struct Certification_s {
  uint16_t year = 2000;  // 2000 to 2063; any other is sent as 63, not available
  uint8_t revision = 31; // 31: not available
  uint8_t laboratoryType = 3;
  uint16_t laboratoryId = 0;
  std::array<uint8_t, 3> compliance{}; // bytes 4 to 6 as they stand
  uint16_t referenceNumber = 0;
};

std::array<uint8_t, 8> encodeCertification(const Certification_s& certification);
std::optional<Certification_s> decodeCertification(const std::vector<uint8_t>& data); // empty: fewer than 8 bytes

} // namespace IsoBusHost
