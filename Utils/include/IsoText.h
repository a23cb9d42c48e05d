// One-line texts of ISOBUS items for log lines: a control function's NAME and a CAN message.
//
//   Threads: any; no state.
#pragma once

#include "ZemoExport.h"
#include "ZemoPlatform.h"

#include <string>

// IsoNameToString: returns the eight bytes of a NAME, byte 0 first, with a blank before and after.
//
//   Gives    an empty text for a NAME that has no bytes yet
//   Source   ISO 11783-5 (NAME, least significant byte first)
//
//   01 02 03 04 05 06 07 a0    " IsoName 0x01 0x02 0x03 0x04 0x05 0x06 0x07 0xa0 "
ZEMO_EXPORT std::string IsoNameToString(const __IsoAgLib::IsoName_c& name);

// CanPkgToString: returns the source address and the data bytes of a CAN message.
//
//   Kept     identifier, PGN, priority and destination are not shown
//
//   from 80, data 01 ff        " SA 0x80 01 ff "
//   from 80, no data           " SA 0x80 "
ZEMO_EXPORT std::string CanPkgToString(const __IsoAgLib::CanPkg_c& pkg);
