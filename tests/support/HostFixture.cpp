#include "HostFixture.h"

#include "HostClock.h"

#include <cstdlib>

namespace TestSupport {

namespace {

void addToJournal(const std::string& entry) {
  IsoBusHost::Journal::add(entry);
}

} // namespace

void HostFixture::SetUp() {
  unsetenv("ZEMO_CAN0");
  unsetenv("ZEMO_CAN1");
  unsetenv("ZEMO_CONSOLE_VALUES");
  IsoBusHost::HostClock::turnByHand();
  IsoBusHost::Host::reset();
  ConsoleHost::reset();
  ConsoleHost::setJournal(addToJournal);
  ConsoleHost::setString(5, "B7");
  ConsoleHost::setString(6, "OS-3.1");
  ConsoleHost::setString(8, "ZC123456");
  ConsoleHost::setString(10, "4711.5");
  ConsoleHost::setString(11, "1");
  ConsoleHost::setVin("");
  ConsoleHost::setCertification(true, 2021, 5, 1, 66, 1234);
  IsoBusHost::Journal::listen(nullptr);
  IsoBusHost::Journal::clear();
}

void HostFixture::TearDown() {
  IsoBusHost::Journal::listen(nullptr);
  IsoBusHost::Host::reset();
}

std::vector<ComponentIdentity_c*>& identities(__IsoAgLib::ZemoApp& app) {
  return field<std::vector<ComponentIdentity_c*>>(&app, ZemoAppLayout::identities);
}

ComponentVersions_c& versions(__IsoAgLib::ZemoApp& app) {
  return field<ComponentVersions_c>(&app, ZemoAppLayout::componentVersions);
}

void setIsoInstance(__IsoAgLib::ZemoApp& app, uint32_t instance) {
  field<uint32_t>(&app, ZemoAppLayout::isoInstance) = instance;
}

void setAppType(__IsoAgLib::ZemoApp& app, int32_t appType) {
  field<int32_t>(&app, ZemoAppLayout::appType) = appType;
}

bool& flag(__IsoAgLib::ZemoApp& app, std::size_t offset) {
  return field<bool>(&app, offset);
}

} // namespace TestSupport
