#include "CapturedOutput.h"
#include "ChildProcess.h"
#include "ExpectedCalls.h"
#include "HostFixture.h"
#include "PlatformInFront.h"

#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>

using namespace TestSupport;
namespace Host = IsoBusHost::Host;
namespace Journal = IsoBusHost::Journal;
namespace Layout = TestSupport::ComponentIdentityLayout;

namespace {

bool initIdentity(ComponentIdentity_c& identity, std::string swIdentification = "app1#lib2") {
  return identity.init(swIdentification, 0x80, 7, 1, 0x82, 3, 2, 0, true, 0, 2);
}

std::string call(const std::string& ident, const std::string& function) {
  return callsOf({ident + ": " + function + "("});
}

} // namespace

// The stack is up; the journal holds what the identity does.
class ComponentIdentityInit : public HostFixture {
protected:
  void SetUp() override {
    HostFixture::SetUp();
    ASSERT_TRUE(m_app.initIsoAglib(false));
    Journal::clear();
    platformInFront() = PlatformInFront_s();
  }
  void TearDown() override {
    platformInFront() = PlatformInFront_s();
    HostFixture::TearDown();
  }

  __IsoAgLib::ZemoApp m_app;
  ComponentIdentity_c m_identity;
};

class ComponentIdentityConstructor : public HostFixture {};

TEST_F(ComponentIdentityConstructor, ClearsEveryFieldAndOwnsWhatItWillCreate) {
  alignas(ComponentIdentity_c) unsigned char memory[sizeof(ComponentIdentity_c)];
  std::memset(memory, 0xFF, sizeof memory);
  auto* identity = new (memory) ComponentIdentity_c;
  for (std::size_t offset = Layout::preferredSa; offset <= Layout::isoInstance; ++offset) {
    EXPECT_EQ(0, field<uint8_t>(identity, offset)) << "byte " << offset;
  }
  EXPECT_EQ(nullptr, field<void*>(identity, Layout::myIdent));
  EXPECT_EQ(nullptr, field<void*>(identity, Layout::dataStorage));
  EXPECT_EQ(0U, field<uint32_t>(identity, Layout::serialNumber));
  EXPECT_EQ(1, field<unsigned char>(identity, Layout::ownsStackObjects));
  identity->~ComponentIdentity_c();
}

TEST_F(ComponentIdentityConstructor, TouchesNeitherStackNorConsole) {
  ComponentIdentity_c identity;
  EXPECT_EQ(nullptr, identity.getMyIdent());
  EXPECT_EQ(nullptr, identity.getDataStorage());
  EXPECT_EQ(0U, identity.getSerialNumber());
  EXPECT_EQ("", journalText());
}

TEST_F(ComponentIdentityInit, MakesEveryCallInOrder) {
  EXPECT_TRUE(initIdentity(m_identity));
  EXPECT_EQ(text(identityUp("ident 1", "A10E821A5BA1E240", "0", "0", "app1#lib2")), libraryCalls());
}

TEST_F(ComponentIdentityInit, AsksForTheConnectionAtEachQuestionToTheConsole) {
  ASSERT_TRUE(initIdentity(m_identity));
  // 8, 11, 10, 8, the VIN, 8, 10, 6, 5 and the certification.
  EXPECT_EQ(10, platformInFront().connectionAsked);
}

TEST_F(ComponentIdentityInit, PrintsNothing) {
  const CapturedOutput_c output;
  initIdentity(m_identity);
  EXPECT_EQ("", output.standardOutput());
  EXPECT_EQ("", output.standardError());
}

TEST_F(ComponentIdentityInit, StoresItsSevenBytesInOrder) {
  std::string swIdentification = "x";
  m_identity.init(swIdentification, 0x91, 5, 4, 0x19, 6, 3, 1, false, 0, 0);
  EXPECT_EQ(0x91, field<uint8_t>(&m_identity, Layout::preferredSa));
  EXPECT_EQ(5, field<uint8_t>(&m_identity, Layout::deviceClass));
  EXPECT_EQ(4, field<uint8_t>(&m_identity, Layout::deviceClassInstance));
  EXPECT_EQ(0x19, field<uint8_t>(&m_identity, Layout::function));
  EXPECT_EQ(6, field<uint8_t>(&m_identity, Layout::functionInstance));
  EXPECT_EQ(3, field<uint8_t>(&m_identity, Layout::ecuInstance));
  EXPECT_EQ(1, field<uint8_t>(&m_identity, Layout::isoInstance));
}

TEST_F(ComponentIdentityInit, HasBytesAndStorageBeforeItReadsTheSerialNumberAndItsItemAfterwards) {
  field<uint32_t>(&m_identity, Layout::serialNumber) = 99;
  bool isLookedAt = false;
  Journal::listen([this, &isLookedAt](const std::string& entry) {
    if (entry != "DBusConnection_c::getString(8)" || isLookedAt) {
      return;
    }
    isLookedAt = true;
    EXPECT_EQ(2, field<uint8_t>(&m_identity, Layout::ecuInstance));
    ASSERT_NE(nullptr, m_identity.getDataStorage());
    EXPECT_EQ(0x80, m_identity.getDataStorage()->loadSa());
    EXPECT_EQ(0U, m_identity.getSerialNumber());
    EXPECT_EQ(nullptr, m_identity.getMyIdent());
  });
  initIdentity(m_identity);
  EXPECT_TRUE(isLookedAt);
}

TEST_F(ComponentIdentityInit, KeepsItsItemBeforeItRegistersIt) {
  const void* item = nullptr;
  Journal::listen([this, &item](const std::string& entry) {
    if (entry == "IsoMonitor_c[0]::registerIdentItem(ident 1)") {
      item = m_identity.getMyIdent();
    }
  });
  initIdentity(m_identity);
  EXPECT_NE(nullptr, item);
  EXPECT_EQ(m_identity.getMyIdent(), item);
}

TEST_F(ComponentIdentityInit, GivesThePreferredAddressToTheStackThroughTheStorage) {
  initIdentity(m_identity);
  EXPECT_EQ("-> ident 1 loadSa() = 128\n", callsOf({"-> ident 1 loadSa"}));
}

TEST_F(ComponentIdentityInit, KeepsSerialNumberStorageAndItem) {
  initIdentity(m_identity);
  EXPECT_EQ(123456U, m_identity.getSerialNumber());
  EXPECT_EQ(field<DataStorage_c*>(&m_identity, Layout::dataStorage), m_identity.getDataStorage());
  EXPECT_EQ(field<IsoAgLib::iIdentItem_c*>(&m_identity, Layout::myIdent), m_identity.getMyIdent());
  EXPECT_EQ(0x80, m_identity.getDataStorage()->loadSa());
  EXPECT_EQ(0xA10E821A5BA1E240U, m_identity.getMyIdent()->isoName().value());
}

TEST_F(ComponentIdentityInit, LeavesTheApplicationsTextAsItIs) {
  std::string swIdentification = "app1*lib2";
  m_identity.init(swIdentification, 0x80, 7, 1, 0x82, 3, 2, 0, true, 0, 2);
  EXPECT_EQ("app1*lib2", swIdentification);
}

TEST_F(ComponentIdentityInit, RegistersWithTheMonitorOfItsInstance) {
  std::string swIdentification = "x";
  m_identity.init(swIdentification, 0x80, 7, 1, 0x82, 3, 2, 1, true, 0, 2);
  EXPECT_EQ("IsoMonitor_c[1]::registerIdentItem(ident 1)\n", callsOf({"IsoMonitor_c"}));
}

namespace {

// The NAME of ISO 11783-5 in the order of its bits, highest first: self-configurable 1, industry group 3, device class
// instance 4, device class 7, reserved 1, function 8, function instance 5, ECU instance 3, manufacturer 11,
// identity 21.
struct NameRow_s {
  const char* name;
  uint8_t deviceClass;
  uint8_t deviceClassInstance;
  uint8_t function;
  uint8_t functionInstance;
  uint8_t ecuInstance;
  bool selfConfigurable;
  int8_t slaveCount;
  uint8_t industryGroup;
  const char* call;
};

void PrintTo(const NameRow_s& row, std::ostream* stream) {
  *stream << row.name;
}

} // namespace

class ComponentIdentityName : public ComponentIdentityInit, public testing::WithParamInterface<NameRow_s> {};

TEST_P(ComponentIdentityName, IsBuiltFromItsParameters) {
  const NameRow_s& row = GetParam();
  std::string swIdentification = "x";
  m_identity.init(swIdentification, 0x80, row.deviceClass, row.deviceClassInstance, row.function, row.functionInstance,
                  row.ecuInstance, 0, row.selfConfigurable, row.slaveCount, row.industryGroup);
  EXPECT_EQ(std::string("ident 1: init(") + row.call + ", null, true)\n", call("ident 1", "init"));
}

INSTANTIATE_TEST_SUITE_P(
    , ComponentIdentityName,
    testing::Values(NameRow_s{"OnlyManufacturerAndSerialNumber", 0, 0, 0, 0, 0, false, 0, 0, "000000005BA1E240, 0"},
                    NameRow_s{"SelfConfigurable", 0, 0, 0, 0, 0, true, 0, 0, "800000005BA1E240, 0"},
                    NameRow_s{"IndustryGroup", 0, 0, 0, 0, 0, false, 0, 7, "700000005BA1E240, 0"},
                    NameRow_s{"DeviceClassInstance", 0, 15, 0, 0, 0, false, 0, 0, "0F0000005BA1E240, 0"},
                    NameRow_s{"DeviceClass", 127, 0, 0, 0, 0, false, 0, 0, "00FE00005BA1E240, 0"},
                    NameRow_s{"Function", 0, 0, 255, 0, 0, false, 0, 0, "0000FF005BA1E240, 0"},
                    NameRow_s{"FunctionInstance", 0, 0, 0, 31, 0, false, 0, 0, "000000F85BA1E240, 0"},
                    NameRow_s{"EcuInstance", 0, 0, 0, 0, 7, false, 0, 0, "000000075BA1E240, 0"},
                    NameRow_s{"NoWorkingSetMaster", 0, 0, 0, 0, 0, false, -1, 0, "000000005BA1E240, -1"},
                    NameRow_s{"WorkingSetMasterOfThree", 0, 0, 0, 0, 0, false, 3, 0, "000000005BA1E240, 3"},
                    NameRow_s{"WorkingSetMasterOf127", 0, 0, 0, 0, 0, false, 127, 0, "000000005BA1E240, 127"}),
    [](const testing::TestParamInfo<NameRow_s>& row) { return row.param.name; });

namespace {

struct HardwareVariant_s {
  const char* name;
  const char* first;
  const char* second;
  const char* hardwareId;
  int timesAsked;
};

void PrintTo(const HardwareVariant_s& row, std::ostream* stream) {
  *stream << "'" << row.first << "' then '" << row.second << "'";
}

} // namespace

class ComponentIdentityHardwareId : public ComponentIdentityInit,
                                    public testing::WithParamInterface<HardwareVariant_s> {};

TEST_P(ComponentIdentityHardwareId, IsDecidedByTheVariantAskedForOnceOrTwice) {
  ConsoleHost::setString(11, "another answer");
  ConsoleHost::queueAnswer(11, GetParam().first);
  ConsoleHost::queueAnswer(11, GetParam().second);
  initIdentity(m_identity);
  EXPECT_EQ(
      std::string("ident 1: setEcuIdentification(\"4711.5\", \"ZC123456\", \"Armrest\", \"Console\", \"ZEMO\", \"") +
          GetParam().hardwareId + "\")\n",
      call("ident 1", "setEcuIdentification"));
  const std::string asked = "DBusConnection_c::getString(11)\n";
  EXPECT_EQ(GetParam().timesAsked == 1 ? asked : asked + asked, callsOf({"DBusConnection_c::getString(11)"}));
}

INSTANTIATE_TEST_SUITE_P(, ComponentIdentityHardwareId,
                         testing::Values(HardwareVariant_s{"One", "1", "1", "000119", 1},
                                         HardwareVariant_s{"OneThenTwo", "1", "2", "000119", 1},
                                         HardwareVariant_s{"Two", "2", "2", "000118", 2},
                                         HardwareVariant_s{"TwoThenOne", "2", "1", "N/A", 2},
                                         HardwareVariant_s{"ThreeThenTwo", "3", "2", "000118", 2},
                                         HardwareVariant_s{"Empty", "", "", "N/A", 2},
                                         HardwareVariant_s{"Three", "3", "3", "N/A", 2},
                                         HardwareVariant_s{"Twelve", "12", "12", "N/A", 2},
                                         HardwareVariant_s{"OneAndABlank", "1 ", "2 ", "N/A", 2}),
                         [](const testing::TestParamInfo<HardwareVariant_s>& row) { return row.param.name; });

class ComponentIdentityEcu : public ComponentIdentityInit {};

TEST_F(ComponentIdentityEcu, CarriesPartAndSerialNumberOfTheConsoleAsTheyStand) {
  ConsoleHost::setString(8, "SN 0815/x");
  ConsoleHost::setString(10, "12.34,6");
  initIdentity(m_identity);
  EXPECT_EQ(
      "ident 1: setEcuIdentification(\"12.34,6\", \"SN 0815/x\", \"Armrest\", \"Console\", \"ZEMO\", \"000119\")\n",
      call("ident 1", "setEcuIdentification"));
}

TEST_F(ComponentIdentityEcu, CarriesWhatTheConsoleAnswersAtEachStep) {
  ConsoleHost::queueAnswer(8, "100001"); // for the NAME
  ConsoleHost::queueAnswer(8, "200002"); // for the ECU
  ConsoleHost::queueAnswer(8, "300003"); // for the product
  ConsoleHost::queueAnswer(10, "4.0");   // for the ECU
  ConsoleHost::queueAnswer(10, "4.1");   // for the brand
  initIdentity(m_identity);
  EXPECT_EQ(100001U, m_identity.getSerialNumber());
  EXPECT_EQ("ident 1: setEcuIdentification(\"4.0\", \"200002\", \"Armrest\", \"Console\", \"ZEMO\", \"000119\")\n",
            call("ident 1", "setEcuIdentification"));
  EXPECT_EQ("ident 1: setProductIdentification(\"300003\", \"LX\", \"R3700\")\n",
            call("ident 1", "setProductIdentification"));
}

TEST_F(ComponentIdentityEcu, ThatTheStackRefusesDoesNotStopTheRest) {
  ConsoleHost::setString(10, std::string(300, '9') + ".5");
  initIdentity(m_identity, std::string(300, 'x'));
  EXPECT_EQ("ident 1: setProductIdentification(\"ZC123456\", \"Harlow-Mede\", \"R3700\")\n",
            call("ident 1", "setProductIdentification"));
  EXPECT_EQ("ident 1: setCertificationData(2021, 5, 1, 66, 000000, 1234)\n", call("ident 1", "setCertificationData"));
}

namespace {

struct Brand_s {
  const char* name;
  std::string partNumber;
  const char* brand;
};

void PrintTo(const Brand_s& row, std::ostream* stream) {
  *stream << row.partNumber;
}

} // namespace

class ComponentIdentityBrand : public ComponentIdentityInit, public testing::WithParamInterface<Brand_s> {};

TEST_P(ComponentIdentityBrand, FollowsTheLastCharacterOfThePartNumber) {
  ConsoleHost::setString(10, GetParam().partNumber);
  initIdentity(m_identity);
  EXPECT_EQ(std::string("ident 1: setProductIdentification(\"ZC123456\", \"") + GetParam().brand + "\", \"R3700\")\n",
            call("ident 1", "setProductIdentification"));
}

INSTANTIATE_TEST_SUITE_P(, ComponentIdentityBrand,
                         testing::Values(Brand_s{"Zero", "4711.0", "QB"}, Brand_s{"One", "4711.1", "LX"},
                                         Brand_s{"Two", "4711.2", "ZT"}, Brand_s{"Three", "4711.3", "WN"},
                                         Brand_s{"Four", "4711.4", "JR"}, Brand_s{"Five", "4711.5", "Harlow-Mede"},
                                         Brand_s{"Six", "4711.6", "Tovra"}, Brand_s{"Seven", "4711.7", "Unknown"},
                                         Brand_s{"Eight", "4711.8", "Unknown"}, Brand_s{"Nine", "4711.9", "Unknown"},
                                         Brand_s{"Letter", "4711.A", "Unknown"}, Brand_s{"Slash", "4711./", "Unknown"},
                                         Brand_s{"FullStop", "4711.", "Unknown"},
                                         Brand_s{"Blank", "4711.5 ", "Unknown"},
                                         Brand_s{"HighCharacter", "4711.\xE4", "Unknown"},
                                         Brand_s{"OneCharacter", "3", "WN"}, Brand_s{"TwoDigits", "4711.50", "QB"}),
                         [](const testing::TestParamInfo<Brand_s>& row) { return row.param.name; });

class ComponentIdentityProduct : public ComponentIdentityInit {};

TEST_F(ComponentIdentityProduct, IsTheVinWithoutAModelWhereThereIsAVin) {
  ConsoleHost::setVin("WZEMO000012345678");
  initIdentity(m_identity);
  EXPECT_EQ("ident 1: setProductIdentification(\"WZEMO000012345678\", \"Harlow-Mede\", \"\")\n",
            call("ident 1", "setProductIdentification"));
}

TEST_F(ComponentIdentityProduct, DoesNotAskForTheSerialNumberWhereThereIsAVin) {
  ConsoleHost::setVin("V");
  initIdentity(m_identity);
  const std::string asked = "DBusConnection_c::getString(8)\n";
  EXPECT_EQ(asked + asked, callsOf({"DBusConnection_c::getString(8)"}));
}

TEST_F(ComponentIdentityProduct, IsTheSerialNumberWithTheModelWhereThereIsNoVin) {
  initIdentity(m_identity);
  EXPECT_EQ("ident 1: setProductIdentification(\"ZC123456\", \"Harlow-Mede\", \"R3700\")\n",
            call("ident 1", "setProductIdentification"));
}

TEST_F(ComponentIdentityProduct, OnlyReadsTheVin) {
  ConsoleHost::setVin("KEPT");
  initIdentity(m_identity);
  EXPECT_EQ("DBusConnection_c::getSetProductVin(false)\n", callsOf({"DBusConnection_c::getSetProductVin"}));
}

TEST_F(ComponentIdentityProduct, TakesAVinThatFillsTheBuffer) {
  const std::string longest(255, 'V');
  ConsoleHost::setVin(longest);
  initIdentity(m_identity);
  EXPECT_EQ("ident 1: setProductIdentification(\"" + longest + "\", \"Harlow-Mede\", \"\")\n",
            call("ident 1", "setProductIdentification"));
}

class ComponentIdentitySoftware : public ComponentIdentityInit {};

TEST_F(ComponentIdentitySoftware, IsApplicationOperatingSystemAndBootLoaderEachClosedByAStar) {
  initIdentity(m_identity);
  EXPECT_EQ("ident 1: setSwIdentification(\"app1#lib2*OS-3.1*B7*\")\n", call("ident 1", "setSwIdentification"));
}

TEST_F(ComponentIdentitySoftware, TakesTheApplicationsTextWholeWithItsStars) {
  initIdentity(m_identity, "a*b*#c");
  EXPECT_EQ("ident 1: setSwIdentification(\"a*b*#c*OS-3.1*B7*\")\n", call("ident 1", "setSwIdentification"));
}

TEST_F(ComponentIdentitySoftware, KeepsTheStarsOfEmptyTexts) {
  ConsoleHost::setString(5, "");
  ConsoleHost::setString(6, "");
  initIdentity(m_identity, "");
  EXPECT_EQ("ident 1: setSwIdentification(\"***\")\n", call("ident 1", "setSwIdentification"));
}

class ComponentIdentityCertification : public ComponentIdentityInit {};

TEST_F(ComponentIdentityCertification, HasDefaultsWhereTheConsoleHasNone) {
  ConsoleHost::setCertification(false, 2021, 5, 1, 66, 1234);
  initIdentity(m_identity);
  EXPECT_EQ("ident 1: setCertificationData(2013, 31, 3, 733, 000000, 0)\n", call("ident 1", "setCertificationData"));
}

TEST_F(ComponentIdentityCertification, IsThatOfTheConsole) {
  initIdentity(m_identity);
  EXPECT_EQ("ident 1: setCertificationData(2021, 5, 1, 66, 000000, 1234)\n", call("ident 1", "setCertificationData"));
}

TEST_F(ComponentIdentityCertification, UsesTheLowBitsOfEachSlotAndTheWholeLaboratoryType) {
  ConsoleHost::setCertification(true, 0x1FFDDU, 0x105U, 0x12345U, 0xABCD0042U, 0xFFFF0001U);
  initIdentity(m_identity);
  EXPECT_EQ("ident 1: setCertificationData(65501, 5, 74565, 66, 000000, 1)\n", call("ident 1", "setCertificationData"));
}

TEST_F(ComponentIdentityCertification, UsesEveryOneOfThoseLowBits) {
  ConsoleHost::setCertification(true, 0xFFFFU, 0xFFU, 3U, 0xFFFFU, 0xFFFFU);
  initIdentity(m_identity);
  EXPECT_EQ("ident 1: setCertificationData(65535, 255, 3, 65535, 000000, 65535)\n",
            call("ident 1", "setCertificationData"));
}

class ComponentIdentitySecondInit : public ComponentIdentityInit {};

TEST_F(ComponentIdentitySecondInit, OverwritesItemAndStorageWithoutReleasingThemWhereItIsWaived) {
  // In a child: what stays behind on purpose is no leak to report.
  const Ending_s ending = runInChild([this] {
    initIdentity(m_identity);
    const void* firstItem = m_identity.getMyIdent();
    const void* firstStorage = m_identity.getDataStorage();
    Host::faults().assertCallStart = [] { return true; };
    Journal::clear();
    std::string swIdentification = "again";
    EXPECT_TRUE(m_identity.init(swIdentification, 0x91, 5, 4, 0x19, 6, 1, 0, false, 0, 0));
    EXPECT_NE(firstItem, m_identity.getMyIdent());
    EXPECT_NE(firstStorage, m_identity.getDataStorage());
    EXPECT_EQ(0x91, m_identity.getDataStorage()->loadSa());
    if (testing::Test::HasFailure()) {
      throw std::runtime_error("failed");
    }
    Journal::add("end");
    std::string calls = libraryCalls();
    Journal::clear();
    Journal::add(calls);
  });
  EXPECT_EQ(0, ending.exitStatus) << ending.standardOutput;
  EXPECT_EQ(text(Lines_t{"isoaglib_assert_callStart() = true"} +
                 identityUp("ident 2", "040A19315BA1E240", "0", "0", "again") + Lines_t{"end", ""}),
            ending.journal);
}

TEST_F(ComponentIdentitySecondInit, GoesOnWhereTheHookMendsTheStorage) {
  ASSERT_TRUE(initIdentity(m_identity));
  DataStorage_c* firstStorage = m_identity.getDataStorage();
  const std::unique_ptr<IsoAgLib::iIdentItem_c> firstItem(m_identity.getMyIdent());
  Host::faults().assertCallStart = [this] {
    field<DataStorage_c*>(&m_identity, Layout::dataStorage) = nullptr;
    return false;
  };
  Journal::clear();
  std::string swIdentification = "again";
  EXPECT_TRUE(m_identity.init(swIdentification, 0x91, 5, 4, 0x19, 6, 1, 0, false, 0, 0));
  EXPECT_EQ(text(Lines_t{"isoaglib_assert_callStart() = false", "isoaglib_assert_callFinish()"} +
                 identityUp("ident 2", "040A19315BA1E240", "0", "0", "again")),
            libraryCalls());
  Host::reset();
  delete firstStorage;
}

TEST_F(ComponentIdentityInit, AsksNoAssertionHookTheFirstTime) {
  initIdentity(m_identity);
  EXPECT_EQ("", callsOf({"isoaglib_assert"}));
}

class ComponentIdentityWithoutPartNumber : public ComponentIdentityInit {};

TEST_F(ComponentIdentityWithoutPartNumber, ThrowsOutOfRangeAfterTheEcuIdentification) {
  ConsoleHost::setString(10, "");
  EXPECT_THROW(initIdentity(m_identity), std::out_of_range);
  EXPECT_EQ("ident 1: setEcuIdentification(\"\", \"ZC123456\", \"Armrest\", \"Console\", \"ZEMO\", \"000119\")\n",
            call("ident 1", "setEcuIdentification"));
  EXPECT_EQ("", callsOf({"ident 1: setProduct", "ident 1: setSw", "ident 1: setCert", "ident 1: destroyed"}));
}

TEST_F(ComponentIdentityWithoutPartNumber, RollsNothingBack) {
  ConsoleHost::setString(10, "");
  EXPECT_THROW(initIdentity(m_identity), std::out_of_range);
  EXPECT_NE(nullptr, m_identity.getMyIdent());
  EXPECT_NE(nullptr, m_identity.getDataStorage());
  EXPECT_EQ(123456U, m_identity.getSerialNumber());
  EXPECT_EQ("IsoMonitor_c[0]::registerIdentItem(ident 1)\n", callsOf({"IsoMonitor_c"}));
}

namespace {

class TellingStorage_c : public DataStorage_c {
public:
  TellingStorage_c() : DataStorage_c(0x80) {}
  ~TellingStorage_c() override { Journal::add("storage deleted"); }
};

class TellingIdentity_c : public ComponentIdentity_c {
public:
  TellingIdentity_c() = default;
  ~TellingIdentity_c() override { Journal::add("identity deleted"); }
};

} // namespace

class ComponentIdentityDestructor : public ComponentIdentityInit {};

TEST_F(ComponentIdentityDestructor, DestroysTheItemThenTheStorageAndDeregistersNothing) {
  auto identity = std::make_unique<ComponentIdentity_c>();
  ASSERT_TRUE(initIdentity(*identity));
  delete identity->getDataStorage();
  field<DataStorage_c*>(identity.get(), Layout::dataStorage) = new TellingStorage_c;
  Host::reset();
  Journal::clear();
  identity.reset();
  EXPECT_EQ("ident 1: destroyed\nstorage deleted\n", journalText());
}

TEST_F(ComponentIdentityDestructor, DoesNotDeregisterARegisteredItem) {
  auto identity = std::make_unique<ComponentIdentity_c>();
  ASSERT_TRUE(initIdentity(*identity));
  Journal::clear();
  identity.reset();
  EXPECT_EQ("ident 1: destroyed\n", journalText());
}

TEST_F(ComponentIdentityDestructor, OfAnIdentityThatWasNeverInitialisedDoesNothing) {
  { const ComponentIdentity_c identity; }
  EXPECT_EQ("", journalText());
}

TEST_F(ComponentIdentityDestructor, SkipsTheItemOrTheStorageThatIsNull) {
  auto identity = std::make_unique<ComponentIdentity_c>();
  field<DataStorage_c*>(identity.get(), Layout::dataStorage) = new TellingStorage_c;
  identity.reset();
  EXPECT_EQ("storage deleted\n", journalText());
  Journal::clear();
  identity = std::make_unique<ComponentIdentity_c>();
  field<IsoAgLib::iIdentItem_c*>(identity.get(), Layout::myIdent) = new IsoAgLib::iIdentItem_c;
  identity.reset();
  EXPECT_EQ("ident 1: created\nident 1: destroyed\n", journalText());
}

TEST_F(ComponentIdentityDestructor, LeavesBothAloneWhereItDoesNotOwnThem) {
  auto identity = std::make_unique<ComponentIdentity_c>();
  ASSERT_TRUE(initIdentity(*identity));
  field<bool>(identity.get(), Layout::ownsStackObjects) = false;
  const std::unique_ptr<IsoAgLib::iIdentItem_c> item(identity->getMyIdent());
  const std::unique_ptr<DataStorage_c> storage(identity->getDataStorage());
  Journal::clear();
  identity.reset();
  EXPECT_EQ("", journalText());
  EXPECT_EQ(0x80, storage->loadSa());
  Host::reset();
}

TEST_F(ComponentIdentityDestructor, SetsBothPointersToNull) {
  // Byte by byte: the object's life is over.
  alignas(ComponentIdentity_c) static unsigned char memory[sizeof(ComponentIdentity_c)];
  auto* identity = new (memory) ComponentIdentity_c;
  ASSERT_TRUE(initIdentity(*identity));
  Host::reset();
  identity->~ComponentIdentity_c();
  const volatile unsigned char* bytes = memory;
  for (std::size_t byte = 0; byte < sizeof(void*); ++byte) {
    EXPECT_EQ(0, bytes[Layout::myIdent + byte]);
    EXPECT_EQ(0, bytes[Layout::dataStorage + byte]);
  }
}

TEST_F(ComponentIdentityDestructor, IsVirtual) {
  std::unique_ptr<ComponentIdentity_c> identity = std::make_unique<TellingIdentity_c>();
  identity.reset();
  EXPECT_EQ("identity deleted\n", journalText());
}

class ComponentIdentityInitSerialNumber : public ComponentIdentityInit {};

TEST_F(ComponentIdentityInitSerialNumber, ReadsStoresAndGivesTheNumber) {
  EXPECT_EQ(123456U, m_identity.initSerialNumber());
  EXPECT_EQ(123456U, m_identity.getSerialNumber());
  EXPECT_EQ(123456U, field<uint32_t>(&m_identity, Layout::serialNumber));
  EXPECT_EQ("DBusConnection_c::getString(8)\n", journalText());
}

TEST_F(ComponentIdentityInitSerialNumber, IsZeroWhileTheConsoleHasNone) {
  ConsoleHost::setString(8, "");
  field<uint32_t>(&m_identity, Layout::serialNumber) = 99;
  EXPECT_EQ(0U, m_identity.initSerialNumber());
  EXPECT_EQ(0U, m_identity.getSerialNumber());
}

TEST_F(ComponentIdentityInitSerialNumber, ServesEveryIdentityWithTheFirstNumber) {
  ComponentIdentity_c second;
  m_identity.initSerialNumber();
  ConsoleHost::setString(8, "654321");
  EXPECT_EQ(123456U, second.initSerialNumber());
}

namespace {

uint32_t convert(std::string text) {
  return convertSerialNumberTo21Bits(text.data());
}

struct Serial_s {
  const char* name;
  std::string text;
  uint32_t number;
};

void PrintTo(const Serial_s& row, std::ostream* stream) {
  *stream << row.name;
}

// A text of the given length that begins and ends with the given digits; what lies between is no digit.
std::string longText(std::size_t length, const std::string& begin, const std::string& end) {
  return begin + std::string(length - begin.size() - end.size(), 'x') + end;
}

} // namespace

class ConvertSerialNumber : public testing::TestWithParam<Serial_s> {};

TEST_P(ConvertSerialNumber, ReadsTheSixLastCharacters) {
  EXPECT_EQ(GetParam().number, convert(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    , ConvertSerialNumber,
    testing::Values(Serial_s{"TenDigits", "SN1234567890", 567890}, Serial_s{"StopsAtALetter", "12AB34", 12},
                    Serial_s{"NoDigit", "ABC", 0}, Serial_s{"Empty", "", 0}, Serial_s{"MinusOne", "-1", 1048575},
                    Serial_s{"SixCharacters", "123456", 123456}, Serial_s{"SevenCharacters", "9123456", 123456},
                    Serial_s{"FiveCharacters", "12345", 12345}, Serial_s{"HighestSixDigits", "999999", 999999},
                    Serial_s{"LeadingBlanks", "  42", 42}, Serial_s{"LeadingPlus", "+42", 42},
                    Serial_s{"LeadingZerosAreNoOctal", "000010", 10}, Serial_s{"NoHexadecimal", "0x10", 0},
                    Serial_s{"SignInside", "77777-2", 7777}, Serial_s{"MinusTwo", "12345    -2", 1048574},
                    Serial_s{"Length261StartsAt255", longText(261, "42", "654321"), 654321},
                    Serial_s{"Length262StartsAt0", longText(262, "42", "654321"), 42},
                    Serial_s{"Length263StartsAt1", longText(263, "427", "654321"), 27},
                    Serial_s{"Length265StartsAt3", longText(265, "000777", "654321"), 777},
                    Serial_s{"Length517StartsAt255", longText(517, "42", "654321"), 0},
                    Serial_s{"Length518StartsAt0", longText(518, "43", "654321"), 43}),
    [](const testing::TestParamInfo<Serial_s>& row) { return row.param.name; });

TEST(ConvertSerialNumberTo21Bits, KeepsTheLow20Bits) {
  // The offset has wrapped to 0, so that more than six digits are read: 1048576 is 2 to the power of 20.
  EXPECT_EQ(5U, convert(longText(262, "1048581", "")));
}

TEST(ConvertSerialNumberTo21Bits, ServesTheProcessWithItsFirstNumber) {
  EXPECT_EQ(567890U, convert("SN1234567890"));
  EXPECT_EQ(567890U, convert("111111"));
  EXPECT_EQ(567890U, convert("ABC"));
  EXPECT_EQ(567890U, convert(""));
}

TEST(ConvertSerialNumberTo21Bits, DoesNotKeepAZero) {
  EXPECT_EQ(0U, convert("ABC"));
  EXPECT_EQ(0U, convert("000000"));
  EXPECT_EQ(12U, convert("12AB34"));
  EXPECT_EQ(12U, convert("34"));
}

TEST(ConvertSerialNumberTo21Bits, DoesNotChangeTheText) {
  std::string serialNumber = "SN1234567890";
  convertSerialNumberTo21Bits(serialNumber.data());
  EXPECT_EQ("SN1234567890", serialNumber);
}
