#include "SwIdentification.h"

#include "TextOf.h"
#include "ZemoPlatform.h"

#include <cstring>

namespace {

// "ZEMOLib.": versions that begin like this belong to this library's family.
constexpr std::size_t familyLength = 8;

int s_hardwareRevision = -1;

bool isSameFamily(const char* version) {
  return std::strncmp(version, getUtilsVersion(), familyLength) == 0;
}

// A longer text is the newer version whatever it says. On purpose.
bool isNewer(const char* version, const std::string& best) {
  const std::size_t length = std::strlen(version);
  if (length != best.size()) {
    return length > best.size();
  }
  return std::strcmp(version + familyLength, best.c_str() + familyLength) > 0;
}

void appendField(std::string& versions, const char* version) {
  versions.append("#").append(version);
}

} // namespace

const char* getUtilsVersion() {
  return "ZEMOLib.891.170906.0046";
}

int GetHardwareRevision() {
  // An answer of -1 is not kept: the console is asked again at the next call. On purpose.
  if (s_hardwareRevision == -1) {
    s_hardwareRevision = GetConsoleHWVersion();
  }
  return s_hardwareRevision;
}

namespace __IsoAgLib {

std::string stringizeWithMaxZEMOLibVersion(const std::vector<const char* (*)()>* versionFunctions) {
  std::string versions = textOf(getUtilsVersion());
  std::string others;
  if (versionFunctions != nullptr) {
    for (const char* (*versionFunction)() : *versionFunctions) {
      const char* version = versionFunction();
      if (!isSameFamily(version)) {
        appendField(others, version);
      } else if (isNewer(version, versions)) {
        versions = version;
      }
    }
  }
  const char* otherVersions = others.c_str();
  versions.append(otherVersions);
  const char* stackVersion = getIsoAgLibVersion();
  if (std::strstr(versions.c_str(), stackVersion) == nullptr) {
    appendField(versions, stackVersion);
  }
  return versions;
}

std::string formatAppSwIdentification(std::string appIdentification,
                                      const std::vector<const char* (*)()>* versionFunctions) {
  appendField(appIdentification, stringizeWithMaxZEMOLibVersion(versionFunctions).c_str());
  return appIdentification;
}

} // namespace __IsoAgLib
