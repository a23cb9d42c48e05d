#include "HostState.h"
#include "Journal.h"

#include <algorithm>

using namespace IsoBusHost;

namespace __IsoAgLib {

CanIo_c::CanIo_c(unsigned int instance) : m_instance(instance) {}

bool CanIo_c::init(unsigned char busNumber, unsigned int bitrateKbit) {
  const std::string service = serviceName("CanIo_c", m_instance);
  Journal::add(service + "::init(" + std::to_string(busNumber) + ", " + std::to_string(bitrateKbit) + ")");
  if (!openCan(m_instance, busNumber)) {
    return false;
  }
  hostState().servicesOn.insert(service);
  return true;
}

bool CanIo_c::close() {
  const std::string service = serviceName("CanIo_c", m_instance);
  Journal::add(service + "::close()");
  hostState().servicesOn.erase(service);
  closeCan(m_instance);
  return true;
}

CanIo_c& getCanInstance(unsigned int instance) {
  static CanIo_c instances[] = {CanIo_c(0), CanIo_c(1), CanIo_c(2), CanIo_c(canInstances)};
  return instances[std::min(instance, canInstances)];
}

CanPkg_c::CanPkg_c() : m_identifier(0), m_length(0), m_data() {}

CanPkg_c::CanPkg_c(uint32_t identifier, const uint8_t* data, uint8_t length)
    : m_identifier(identifier), m_length(std::min<uint8_t>(length, 8)), m_data() {
  std::copy_n(data, m_length, m_data);
}

uint32_t CanPkg_c::ident() const {
  return m_identifier;
}

uint8_t CanPkg_c::getLen() const {
  return m_length;
}

uint8_t CanPkg_c::operator[](uint8_t index) const {
  return index < sizeof m_data ? m_data[index] : uint8_t{0};
}

CanPkgExt_c::CanPkgExt_c(const CanPkg_c& message, int instance) : CanPkg_c(message), m_instance(instance) {}

CanPkgExt_c::~CanPkgExt_c() = default;

uint8_t CanPkgExt_c::isoSa() const {
  return decodeIdentifier(ident()).source;
}

} // namespace __IsoAgLib

namespace IsoAgLib {

namespace {

constexpr unsigned int firstProprietaryCanInstance = 2;

} // namespace

iProprietaryBus_c::iProprietaryBus_c(unsigned int canInstance) : m_canInstance(canInstance) {}

bool iProprietaryBus_c::init(unsigned char busNumber, unsigned int bitrateKbit) {
  Journal::add(serviceName("iProprietaryBus_c", m_canInstance - firstProprietaryCanInstance) + "::init(" +
               std::to_string(busNumber) + ", " + std::to_string(bitrateKbit) + ")");
  return __IsoAgLib::getCanInstance(m_canInstance).init(busNumber, bitrateKbit);
}

bool iProprietaryBus_c::close() {
  Journal::add(serviceName("iProprietaryBus_c", m_canInstance - firstProprietaryCanInstance) + "::close()");
  return __IsoAgLib::getCanInstance(m_canInstance).close();
}

iProprietaryBus_c& getIProprietaryBusInstance(unsigned char instance) {
  static iProprietaryBus_c instances[] = {iProprietaryBus_c(firstProprietaryCanInstance),
                                          iProprietaryBus_c(canInstances)};
  return instances[std::min<unsigned int>(instance, 1)];
}

} // namespace IsoAgLib
