#include "Identification.h"

#include <algorithm>
#include <cstddef>

namespace IsoBusHost {

namespace {

constexpr char fieldEnd = '*';
constexpr std::size_t maxFields = 125;
constexpr uint8_t firstCharacter = 32;
constexpr uint16_t firstYear = 2000;
constexpr uint16_t yearNotAvailable = 63;

// field: returns so many bits of a number from a bit position on.
template <typename Field>
Field field(uint64_t bits, unsigned int position, unsigned int width) {
  return static_cast<Field>((bits >> position) & ((uint64_t{1} << width) - 1));
}

uint64_t place(uint64_t value, unsigned int position, unsigned int width) {
  return (value & ((uint64_t{1} << width) - 1)) << position;
}

uint16_t encodeYear(uint16_t year) {
  if (year < firstYear || year - firstYear > yearNotAvailable) {
    return yearNotAvailable;
  }
  return static_cast<uint16_t>(year - firstYear);
}

} // namespace

uint64_t encodeName(const Name_s& name) {
  return place(name.identityNumber, 0, 21) | place(name.manufacturerCode, 21, 11) | place(name.ecuInstance, 32, 3) |
         place(name.functionInstance, 35, 5) | place(name.function, 40, 8) | place(name.deviceClass, 49, 7) |
         place(name.deviceClassInstance, 56, 4) | place(name.industryGroup, 60, 3) |
         place(name.selfConfigurable ? 1 : 0, 63, 1);
}

Name_s decodeName(uint64_t name) {
  Name_s fields;
  fields.identityNumber = field<uint32_t>(name, 0, 21);
  fields.manufacturerCode = field<uint16_t>(name, 21, 11);
  fields.ecuInstance = field<uint8_t>(name, 32, 3);
  fields.functionInstance = field<uint8_t>(name, 35, 5);
  fields.function = field<uint8_t>(name, 40, 8);
  fields.deviceClass = field<uint8_t>(name, 49, 7);
  fields.deviceClassInstance = field<uint8_t>(name, 56, 4);
  fields.industryGroup = field<uint8_t>(name, 60, 3);
  fields.selfConfigurable = field<unsigned int>(name, 63, 1) != 0;
  return fields;
}

std::array<uint8_t, 8> nameBytes(uint64_t name) {
  std::array<uint8_t, 8> bytes{};
  for (uint8_t& byte : bytes) {
    byte = static_cast<uint8_t>(name & 0xFFU);
    name >>= 8U;
  }
  return bytes;
}

uint64_t nameFromBytes(const uint8_t* bytes) {
  uint64_t name = 0;
  for (unsigned int i = 8; i-- > 0;) {
    name = (name << 8U) | bytes[i];
  }
  return name;
}

std::vector<std::string> splitFields(const std::string& text) {
  std::vector<std::string> fields;
  std::size_t begin = 0;
  for (std::size_t end = text.find(fieldEnd); end != std::string::npos; end = text.find(fieldEnd, begin)) {
    fields.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  if (begin < text.size()) {
    fields.push_back(text.substr(begin));
  }
  return fields;
}

std::vector<uint8_t> encodeSoftwareIdentification(const std::string& fields) {
  const std::vector<std::string> split = splitFields(fields);
  const std::size_t count = std::min(split.size(), maxFields);
  std::vector<uint8_t> data{static_cast<uint8_t>(count)};
  for (std::size_t i = 0; i < count; ++i) {
    data.insert(data.end(), split[i].begin(), split[i].end());
    data.push_back(static_cast<uint8_t>(fieldEnd));
  }
  return data;
}

std::string textOfSoftwareIdentification(const std::vector<uint8_t>& data) {
  const bool hasCount = !data.empty() && data.front() < firstCharacter;
  return std::string(data.begin() + (hasCount ? 1 : 0), data.end());
}

std::array<uint8_t, 8> encodeCertification(const Certification_s& certification) {
  const uint64_t revision = certification.revision;
  const uint64_t head = place(encodeYear(certification.year), 0, 6) | place(revision, 6, 3) |
                        place(certification.laboratoryType, 9, 2) | place(revision >> 3U, 11, 2) |
                        place(certification.laboratoryId, 13, 11);
  std::array<uint8_t, 8> bytes = nameBytes(head | place(certification.referenceNumber, 48, 16));
  std::copy(certification.compliance.begin(), certification.compliance.end(), bytes.begin() + 3);
  return bytes;
}

std::optional<Certification_s> decodeCertification(const std::vector<uint8_t>& data) {
  if (data.size() < 8) {
    return std::nullopt;
  }
  const uint64_t bits = nameFromBytes(data.data());
  Certification_s certification;
  certification.year = static_cast<uint16_t>(firstYear + field<uint16_t>(bits, 0, 6));
  certification.revision =
      static_cast<uint8_t>(field<unsigned int>(bits, 6, 3) | field<unsigned int>(bits, 11, 2) << 3U);
  certification.laboratoryType = field<uint8_t>(bits, 9, 2);
  certification.laboratoryId = field<uint16_t>(bits, 13, 11);
  std::copy(data.begin() + 3, data.begin() + 6, certification.compliance.begin());
  certification.referenceNumber = field<uint16_t>(bits, 48, 16);
  return certification;
}

} // namespace IsoBusHost
