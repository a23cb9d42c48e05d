#include "Application.h"
#include "CapturedOutput.h"
#include "HostFixture.h"

#include <memory>
#include <new>

using __IsoAgLib::ZemoApp;
using namespace TestSupport;
namespace Host = IsoBusHost::Host;
namespace Journal = IsoBusHost::Journal;

namespace {

constexpr const char* defaultEepromFile = "/mnt/nand/zemo/settings/eeprom.dat";

class TellingIdentity_c : public ComponentIdentity_c {
public:
  TellingIdentity_c() = default;
  ~TellingIdentity_c() override { Journal::add("identity deleted"); }
};

class TellingApp_c : public ZemoApp {
public:
  TellingApp_c() = default;
  ~TellingApp_c() override { Journal::add("application deleted"); }
};

} // namespace

class ZemoAppConstructor : public HostFixture {};

TEST_F(ZemoAppConstructor, ClearsEveryMemberInMemoryThatWasUsedBefore) {
  alignas(ZemoApp) unsigned char memory[sizeof(ZemoApp)];
  for (unsigned char& byte : memory) {
    byte = 0xFF;
  }
  auto* app = new (memory) ZemoApp;
  EXPECT_EQ(0U, field<uint32_t>(app, ZemoAppLayout::isoInstance));
  EXPECT_EQ(0, field<int32_t>(app, ZemoAppLayout::appType));
  EXPECT_TRUE(identities(*app).empty());
  for (std::size_t offset = ZemoAppLayout::vtServerInitialized; offset <= ZemoAppLayout::useProprietaryBus; ++offset) {
    EXPECT_EQ(0, field<unsigned char>(app, offset)) << "byte " << offset;
  }
  app->~ZemoApp();
}

TEST_F(ZemoAppConstructor, MakesComponentVersionsThatHaveNotAskedTheConsole) {
  ZemoApp app;
  EXPECT_FALSE(field<bool>(&versions(app), ComponentVersionsLayout::initialized));
  EXPECT_EQ("", versions(app).getSoftwareVersion());
}

TEST_F(ZemoAppConstructor, TouchesNeitherStackNorConsole) {
  const CapturedOutput_c output;
  const ZemoApp app;
  EXPECT_EQ("", journalText());
  EXPECT_EQ("", output.standardOutput());
}

class ZemoAppDestructor : public HostFixture {};

TEST_F(ZemoAppDestructor, DeletesTheIdentitiesWithoutTouchingTheStack) {
  auto app = std::make_unique<ZemoApp>();
  ASSERT_TRUE(initApplication(*app, 2, false));
  ASSERT_TRUE(addFurtherIdentity(*app));
  const std::vector<std::string> running = Host::servicesOn();
  Journal::clear();
  app.reset();
  EXPECT_EQ("ident 1: destroyed\nident 2: destroyed\n", journalText());
  EXPECT_EQ(running, Host::servicesOn());
}

TEST_F(ZemoAppDestructor, OfAnApplicationWithoutIdentitiesDoesNothing) {
  { const ZemoApp app; }
  EXPECT_EQ("", journalText());
}

TEST_F(ZemoAppDestructor, AfterCloseDoesNothing) {
  auto app = std::make_unique<ZemoApp>();
  ASSERT_TRUE(initApplication(*app, 0, false));
  app->close();
  Journal::clear();
  app.reset();
  EXPECT_EQ("", journalText());
}

TEST_F(ZemoAppDestructor, SkipsNullEntriesAndDeletesThroughTheVirtualDestructor) {
  auto app = std::make_unique<ZemoApp>();
  identities(*app).push_back(nullptr);
  identities(*app).push_back(new TellingIdentity_c);
  identities(*app).push_back(nullptr);
  app.reset();
  EXPECT_EQ("identity deleted\n", journalText());
}

TEST_F(ZemoAppDestructor, IsVirtual) {
  std::unique_ptr<ZemoApp> app = std::make_unique<TellingApp_c>();
  app.reset();
  EXPECT_EQ("application deleted\n", journalText());
}

class GetZemoEepromFileName : public HostFixture {};

TEST_F(GetZemoEepromFileName, GivesTheDefaultUntilItIsSet) {
  const ZemoApp app;
  EXPECT_STREQ(defaultEepromFile, __IsoAgLib::getZemoEepromFileName());
}

TEST_F(GetZemoEepromFileName, GivesTheDefaultToTheStackThatStarts) {
  ZemoApp app;
  app.commonInit();
  EXPECT_EQ(defaultEepromFile, Host::eepromFile());
}

TEST_F(GetZemoEepromFileName, GivesTheNewPathAfterwards) {
  ZemoApp::setIsoAgLibEepromFile("/tmp/first.dat");
  EXPECT_STREQ("/tmp/first.dat", __IsoAgLib::getZemoEepromFileName());
  ZemoApp::setIsoAgLibEepromFile("/tmp/a longer path than the first one/second.dat");
  EXPECT_STREQ("/tmp/a longer path than the first one/second.dat", __IsoAgLib::getZemoEepromFileName());
  ZemoApp app;
  app.commonInit();
  EXPECT_EQ("/tmp/a longer path than the first one/second.dat", Host::eepromFile());
}

TEST_F(GetZemoEepromFileName, TakesAnyTextAlsoAnEmptyOne) {
  ZemoApp::setIsoAgLibEepromFile("");
  EXPECT_STREQ("", __IsoAgLib::getZemoEepromFileName());
  ZemoApp::setIsoAgLibEepromFile("no path at all *#\n");
  EXPECT_STREQ("no path at all *#\n", __IsoAgLib::getZemoEepromFileName());
}

TEST_F(GetZemoEepromFileName, KeepsACopyOfItsOwn) {
  std::string path = "/tmp/a path that is too long for the text object itself.dat";
  ZemoApp::setIsoAgLibEepromFile(path);
  path.assign(path.size(), 'x');
  EXPECT_STREQ("/tmp/a path that is too long for the text object itself.dat", __IsoAgLib::getZemoEepromFileName());
}
