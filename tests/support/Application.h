// The application of the tests: every parameter of its identity has a value of its own.
#pragma once

#include "ZemoApp.h"

#include <string>

namespace TestSupport {

// What the journal shows of the identity's NAME (ISO 11783-5): self-configurable, device class 7 instance 1,
// function 0x82 instance 3, ECU instance 2, manufacturer 733, identity number 123456; industry group 0 and 2.
constexpr const char* nameOfGroup0 = "810E821A5BA1E240";
constexpr const char* nameOfGroup2 = "A10E821A5BA1E240";

inline bool initApplication(__IsoAgLib::ZemoApp& app, int appType, bool useProprietaryBus,
                            std::string swIdentification = "app1#lib2") {
  return app.init(static_cast<__IsoAgLib::ZemoAppType_e>(appType), swIdentification, 0x80, 7, 1, 0x82, 3, 2, 0, true,
                  useProprietaryBus);
}

// addFurtherIdentity: not self-configurable, device class 5 instance 4, function 0x19 instance 6, ECU instance 1.
constexpr const char* nameOfFurtherIdentity = "040A19315BA1E240";

inline bool addFurtherIdentity(__IsoAgLib::ZemoApp& app, unsigned char isoInstance = 0) {
  std::string swIdentification = "second#lib3";
  return app.addIdentity(swIdentification, 0x91, 5, 4, 0x19, 6, 1, isoInstance, false);
}

} // namespace TestSupport
