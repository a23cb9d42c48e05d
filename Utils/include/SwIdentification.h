// Builds the first field of an application's software identification (ISO 11783-12, PGN FEDA), and tells the version
// of this library and the hardware revision of the console.
//
//   Order of use: formatAppSwIdentification before ZemoApp::init, which takes its result.
//   Threads: one thread; the hardware revision is cached for the process without a lock.
#pragma once

#include "ZemoExport.h"

#include <string>
#include <vector>

// getUtilsVersion: returns the version text of this library, "ZEMOLib.891.170906.0046".
ZEMO_EXPORT const char* getUtilsVersion();

// GetHardwareRevision: returns the console's hardware revision.
//
//   Kept     the first answer of the console serves the whole process; an answer of -1 is not kept and the console is
//            asked again at the next call
extern "C" ZEMO_EXPORT int GetHardwareRevision();

namespace __IsoAgLib {

// stringizeWithMaxZEMOLibVersion: returns the versions of the libraries that an application runs with, joined by '#'.
//
//   Takes    versionFunctions: may be null; each element returns the version text of one library, never null, and is
//            called once, in order
//   Gives    the newest version of this library's family ("ZEMOLib."), then '#' and each other library's version in
//            order, then '#' and the version of the stack unless that text occurs already
//   Kept     within the family the longer text is the newer version whatever it says; texts of the same length are
//            compared from their 9th character on, by unsigned character code
//
//   versions given                          result (stack version "Stack-1")
//   none                                    ZEMOLib.891.170906.0046#Stack-1
//   ZEMOLib.900.180101.0000                 ZEMOLib.900.180101.0000#Stack-1
//   ZEMOLib.800.170101.0000                 ZEMOLib.891.170906.0046#Stack-1
//   GPS-2.1, Maps-1.0                       ZEMOLib.891.170906.0046#GPS-2.1#Maps-1.0#Stack-1
//   Stack-1                                 ZEMOLib.891.170906.0046#Stack-1
ZEMO_EXPORT std::string stringizeWithMaxZEMOLibVersion(const std::vector<const char* (*)()>* versionFunctions);

// formatAppSwIdentification: returns appIdentification, '#' and the result of stringizeWithMaxZEMOLibVersion.
ZEMO_EXPORT std::string formatAppSwIdentification(std::string appIdentification,
                                                  const std::vector<const char* (*)()>* versionFunctions);

} // namespace __IsoAgLib
