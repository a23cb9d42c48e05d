// The ground of every test of the library: a host stack and a console as new, one journal for both, a clock that stands
// still, and known console values.
#pragma once

#include "ConsoleHost.h"
#include "Host.h"
#include "Journal.h"
#include "JournalText.h"
#include "ObjectMemory.h"
#include "ZemoApp.h"

#include <gtest/gtest.h>

namespace TestSupport {

// The console of the tests: serial number "ZC123456", part number "4711.5", operating system "OS-3.1", boot loader
// "B7", hardware variant "1", no VIN, certification 2021, 5, 1, 66, 1234.
class HostFixture : public testing::Test {
protected:
  void SetUp() override;
  void TearDown() override;
};

// identities: the identities that an application holds, in its own memory.
std::vector<ComponentIdentity_c*>& identities(__IsoAgLib::ZemoApp& app);

// versions: the versions object that lies in an application.
ComponentVersions_c& versions(__IsoAgLib::ZemoApp& app);

void setIsoInstance(__IsoAgLib::ZemoApp& app, uint32_t instance);
void setAppType(__IsoAgLib::ZemoApp& app, int32_t appType);
bool& flag(__IsoAgLib::ZemoApp& app, std::size_t offset);

} // namespace TestSupport
