#include "PlatformInFront.h"

// Visible, so that the library finds the functions below before those of the host.
#pragma GCC visibility push(default)
#include "IsoAgLib/isoaglib.h"
#include "zemoconsole.h"
#pragma GCC visibility pop

#include <dlfcn.h>
#include <stdexcept>

namespace TestSupport {

PlatformInFront_s& platformInFront() {
  static PlatformInFront_s inFront;
  return inFront;
}

namespace {

// The function of the same name in the host library behind this program.
template <class Function_t>
Function_t* behind(const char* mangledName) {
  void* function = dlsym(RTLD_NEXT, mangledName);
  if (function == nullptr) {
    throw std::runtime_error(std::string("the host has no ") + mangledName);
  }
  return reinterpret_cast<Function_t*>(function);
}

} // namespace

} // namespace TestSupport

const char* getIsoAgLibVersion() {
  ++TestSupport::platformInFront().stackVersionAsked;
  return TestSupport::platformInFront().stackVersion.c_str();
}

DBusConnection_c* getDBusInterfaceInstance() {
  ++TestSupport::platformInFront().connectionAsked;
  return TestSupport::behind<DBusConnection_c*()>("_Z24getDBusInterfaceInstancev")();
}

namespace __IsoAgLib {

CanPkgExt_c::CanPkgExt_c(const CanPkg_c& message, int instance) : CanPkg_c(message), m_instance(instance) {
  TestSupport::platformInFront().messageInstance = instance;
  ++TestSupport::platformInFront().messagesAlive;
}

CanPkgExt_c::~CanPkgExt_c() {
  --TestSupport::platformInFront().messagesAlive;
}

} // namespace __IsoAgLib

void DBusConnection_c::getSetProductVin(bool set, char* buffer) {
  if (TestSupport::platformInFront().getSetProductVin) {
    TestSupport::platformInFront().getSetProductVin(set, buffer);
    return;
  }
  // A member function takes its object as the first argument.
  TestSupport::behind<void(DBusConnection_c*, bool, char*)>("_ZN16DBusConnection_c16getSetProductVinEbPc")(this, set,
                                                                                                           buffer);
}
