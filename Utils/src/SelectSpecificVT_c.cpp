#include "SelectSpecificVT_c.h"

namespace {

// A field of a NAME, as a number with byte 0 lowest (ISO 11783-5).
struct NameField_s {
  uint8_t match;
  uint64_t bits;
};

constexpr NameField_s nameFields[] = {
    {SelectSpecificVT_c::matchSerialNumber, 0x00000000001FFFFF},
    {SelectSpecificVT_c::matchManufacturer, 0x00000000FFE00000},
    {SelectSpecificVT_c::matchIndustryGroup, 0x7000000000000000},
    {SelectSpecificVT_c::matchDeviceClass, 0x00FE000000000000},
    {SelectSpecificVT_c::matchEcuInstance, 0x0000000700000000},
    {SelectSpecificVT_c::matchFunctionInstance, 0x000000F800000000},
};

uint64_t numberOf(const IsoAgLib::iIsoName_c& name) {
  constexpr int nameSize = 8;
  const uint8_t* bytes = name.outputString();
  uint64_t number = 0;
  for (int index = nameSize; bytes != nullptr && index > 0; --index) {
    number = number << 8U | bytes[index - 1];
  }
  return number;
}

} // namespace

bool SelectSpecificVT_c::selectVtServer(const IsoAgLib::iIsoName_c& candidate) const {
  const uint64_t differences = numberOf(m_wanted) ^ numberOf(candidate);
  for (const NameField_s& field : nameFields) {
    if ((m_matchMask & field.match) != 0 && (differences & field.bits) != 0) {
      return false;
    }
  }
  return true;
}
