#include "SwIdentification.h"

#include "ZemoPlatform.h"

#include <cstring>

namespace {

// "ZEMOLib.": versions that begin like this belong to this library's family.
constexpr std::size_t familyLength = 8;

int s_hardwareRevision = -1;

bool isSameFamily(const std::string& best, const std::string& version) {
  return version.size() >= familyLength && version.compare(0, familyLength, best, 0, familyLength) == 0;
}

// A longer text is the newer version whatever it says. On purpose.
bool isNewer(const std::string& version, const std::string& best) {
  if (version.size() != best.size()) {
    return version.size() > best.size();
  }
  return version.compare(familyLength, std::string::npos, best, familyLength, std::string::npos) > 0;
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
  std::string best = getUtilsVersion();
  std::string others;
  if (versionFunctions != nullptr) {
    for (const char* (*versionFunction)() : *versionFunctions) {
      const std::string version = versionFunction();
      if (!isSameFamily(best, version)) {
        others += "#" + version;
      } else if (isNewer(version, best)) {
        best = version;
      }
    }
  }
  std::string versions = best + others;
  const char* stackVersion = getIsoAgLibVersion();
  if (versions.find(stackVersion) == std::string::npos) {
    versions += "#";
    versions += stackVersion;
  }
  return versions;
}

std::string formatAppSwIdentification(std::string appIdentification,
                                      const std::vector<const char* (*)()>* versionFunctions) {
  return appIdentification + "#" + stringizeWithMaxZEMOLibVersion(versionFunctions);
}

} // namespace __IsoAgLib
