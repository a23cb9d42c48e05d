// The NAME of a control function (ISO 11783-5): 64 bits, least significant byte first.
#pragma once

#include <cstdint>

namespace __IsoAgLib {

class IsoName_c {
public:
  // A NAME without bytes: outputString() is null and every field 0.
  IsoName_c();

  // Takes    bytes: eight bytes, least significant first
  explicit IsoName_c(const uint8_t* bytes);

  // set: gives the NAME its bytes. Fields wider than their place are cut to it.
  //
  //   Takes    industryGroup 0 to 7, deviceClass 0 to 127, deviceClassInstance 0 to 15, function 0 to 255,
  //            manufacturerCode 0 to 2047, identityNumber 0 to 2097151, functionInstance 0 to 31, ecuInstance 0 to 7
  void set(bool selfConfigurable, uint8_t industryGroup, uint8_t deviceClass, uint8_t deviceClassInstance,
           uint8_t function, uint16_t manufacturerCode, uint32_t identityNumber, uint8_t functionInstance,
           uint8_t ecuInstance);

  // outputString: returns the eight bytes, byte 0 first, or null before the NAME has any.
  const uint8_t* outputString() const;

  bool selfConfigurable() const;
  uint8_t industryGroup() const;
  uint8_t deviceClass() const;
  uint8_t deviceClassInstance() const;
  uint8_t function() const;
  uint16_t manufacturerCode() const;
  uint32_t identityNumber() const;
  uint8_t functionInstance() const;
  uint8_t ecuInstance() const;

  // value: returns the NAME as a number. The lower number wins a contention for an address.
  uint64_t value() const;

private:
  bool m_hasBytes;
  uint8_t m_bytes[8];
};

} // namespace __IsoAgLib

namespace IsoAgLib {

class iIsoName_c : public __IsoAgLib::IsoName_c {
public:
  using IsoName_c::IsoName_c;
  iIsoName_c() = default;
};

} // namespace IsoAgLib
