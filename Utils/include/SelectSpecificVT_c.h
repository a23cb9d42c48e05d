// Says which Virtual Terminal an application wants to be connected to, where there are several on the bus.
//
//   Order of use: constructed with the wanted NAME, handed to a connection of the stack's VT client, which asks
//                 selectVtServer for each VT that it sees.
//   Threads: any; an object does not change.
//
//   const SelectSpecificVT_c wanted(name, SelectSpecificVT_c::matchManufacturer |
//   SelectSpecificVT_c::matchEcuInstance); connection.setVtServerSelection([&wanted](const IsoAgLib::iIsoName_c& vt) {
//   return wanted.selectVtServer(vt); });
#pragma once

#include "ZemoExport.h"
#include "ZemoPlatform.h"

#include <cstdint>

// SelectSpecificVT_c: takes the VTs whose NAME has the wanted values in the chosen fields.
class ZEMO_EXPORT SelectSpecificVT_c {
public:
  // The fields of a NAME that can be chosen (ISO 11783-5). Function, device class instance and the self-configurable
  // bit are never compared.
  enum Match_e : uint8_t {
    matchSerialNumber = 0x01, // 21 bits
    matchManufacturer = 0x02, // 11 bits
    matchIndustryGroup = 0x04,
    matchDeviceClass = 0x08,
    matchEcuInstance = 0x10,
    matchFunctionInstance = 0x20,
    matchAll = 0x3F, // in practice one particular VT
  };

  // Takes    wanted: copied; matchMask: the sum of the chosen fields; 0 takes every VT, bits 6 and 7 mean nothing
  SelectSpecificVT_c(const IsoAgLib::iIsoName_c& wanted, uint8_t matchMask)
      : m_wanted(wanted), m_matchMask(matchMask) {}

  // selectVtServer: whether a VT has the wanted value in every chosen field.
  //
  //   Takes    candidate: the VT's NAME. A NAME without bytes, here or wanted, counts as one of zeroes.
  bool selectVtServer(const IsoAgLib::iIsoName_c& candidate) const;

private:
  IsoAgLib::iIsoName_c m_wanted;
  uint8_t m_matchMask;
};
