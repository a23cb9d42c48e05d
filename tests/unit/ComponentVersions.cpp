#include "ComponentVersions_c.h"

#include "CapturedOutput.h"
#include "HostFixture.h"

#include <new>

using namespace TestSupport;
namespace Journal = IsoBusHost::Journal;

namespace {

constexpr const char* consoleAsked =
    "DBusConnection_c::getString(5)\nDBusConnection_c::getString(6)\nDBusConnection_c::getString(8)\n"
    "DBusConnection_c::getString(10)\n";
constexpr const char* consoleLine = " OS:OS-3.1 Boot:B7 Part:4711.5 Serial:ZC123456\n";

} // namespace

class ComponentVersions : public HostFixture {
protected:
  ComponentVersions_c m_versions;
};

TEST_F(ComponentVersions, AskNothingAtConstructionAndHaveEmptyTexts) {
  unsigned char memory[sizeof(ComponentVersions_c) + alignof(ComponentVersions_c)];
  for (unsigned char& byte : memory) {
    byte = 0xFF;
  }
  void* place =
      memory + alignof(ComponentVersions_c) - reinterpret_cast<uintptr_t>(memory) % alignof(ComponentVersions_c);
  auto* fresh = new (place) ComponentVersions_c;
  EXPECT_EQ(0, field<unsigned char>(fresh, ComponentVersionsLayout::initialized));
  for (const std::size_t offset : {ComponentVersionsLayout::softwareVersion, ComponentVersionsLayout::bootLoaderVersion,
                                   ComponentVersionsLayout::osVersion, ComponentVersionsLayout::serialNumber,
                                   ComponentVersionsLayout::partNumber}) {
    EXPECT_EQ("", field<std::string>(fresh, offset)) << "text at " << offset;
  }
  EXPECT_EQ("", journalText());
  fresh->~ComponentVersions_c();
}

TEST_F(ComponentVersions, InitAsksTheConsoleInOrderAndPrintsOneLine) {
  const CapturedOutput_c output;
  m_versions.init();
  EXPECT_EQ(consoleAsked, journalText());
  EXPECT_EQ(consoleLine, output.standardOutput());
  EXPECT_EQ("", output.standardError());
}

TEST_F(ComponentVersions, PrintOperatingSystemBootLoaderPartAndSerialInThisOrder) {
  ConsoleHost::setString(5, "1.07");
  ConsoleHost::setString(6, "3.1");
  ConsoleHost::setString(8, "123456");
  ConsoleHost::setString(10, "4711.5");
  const CapturedOutput_c output;
  m_versions.init();
  EXPECT_EQ(" OS:3.1 Boot:1.07 Part:4711.5 Serial:123456\n", output.standardOutput());
}

TEST_F(ComponentVersions, InitDoesNothingTheSecondTime) {
  m_versions.init();
  Journal::clear();
  const CapturedOutput_c output;
  m_versions.init();
  EXPECT_EQ("", journalText());
  EXPECT_EQ("", output.standardOutput());
}

TEST_F(ComponentVersions, AreMarkedBeforeTheConsoleIsAsked) {
  std::vector<bool> marked;
  Journal::listen([this, &marked](const std::string&) {
    marked.push_back(field<bool>(&m_versions, ComponentVersionsLayout::initialized));
  });
  m_versions.init();
  EXPECT_EQ((std::vector<bool>{true, true, true, true}), marked);
}

TEST_F(ComponentVersions, NeverAskAgainForTextsThatCameEmpty) {
  for (const int value : {5, 6, 8, 10}) {
    ConsoleHost::setString(value, "");
  }
  const CapturedOutput_c output;
  m_versions.init();
  EXPECT_EQ(" OS: Boot: Part: Serial:\n", output.standardOutput());
  ConsoleHost::setString(6, "late");
  EXPECT_EQ("", m_versions.getOSVersion());
  EXPECT_EQ(consoleAsked, journalText());
}

TEST_F(ComponentVersions, KeepATextThatIsThereAlready) {
  field<std::string>(&m_versions, ComponentVersionsLayout::osVersion) = "kept";
  const CapturedOutput_c output;
  m_versions.init();
  EXPECT_EQ("kept", m_versions.getOSVersion());
  EXPECT_EQ("DBusConnection_c::getString(5)\nDBusConnection_c::getString(8)\nDBusConnection_c::getString(10)\n",
            journalText());
  EXPECT_EQ(" OS:kept Boot:B7 Part:4711.5 Serial:ZC123456\n", output.standardOutput());
}

namespace {

struct Getter_s {
  const char* name;
  std::string (ComponentVersions_c::*get)();
  const char* expected;
  std::size_t offset;
  int value;
};

void PrintTo(const Getter_s& getter, std::ostream* stream) {
  *stream << getter.name;
}

} // namespace

class ComponentVersionsGetter : public HostFixture, public testing::WithParamInterface<Getter_s> {
protected:
  ComponentVersions_c m_versions;
};

TEST_P(ComponentVersionsGetter, FetchesTheConsoleTextsOnceAndPrintsTheLineOnce) {
  const CapturedOutput_c output;
  EXPECT_EQ(GetParam().expected, (m_versions.*GetParam().get)());
  EXPECT_EQ(consoleAsked, journalText());
  EXPECT_EQ(consoleLine, output.standardOutput());
  EXPECT_EQ(GetParam().expected, (m_versions.*GetParam().get)());
  EXPECT_EQ(consoleAsked, journalText());
  EXPECT_EQ(consoleLine, output.standardOutput());
}

TEST_P(ComponentVersionsGetter, GivesACopyOfItsField) {
  std::string copy = (m_versions.*GetParam().get)();
  EXPECT_EQ(copy, field<std::string>(&m_versions, GetParam().offset));
  copy += "changed";
  EXPECT_EQ(GetParam().expected, (m_versions.*GetParam().get)());
}

TEST_P(ComponentVersionsGetter, KeepsTheTextThoughTheConsoleChangesIt) {
  (m_versions.*GetParam().get)();
  ConsoleHost::setString(GetParam().value, "changed");
  EXPECT_EQ(GetParam().expected, (m_versions.*GetParam().get)());
}

INSTANTIATE_TEST_SUITE_P(, ComponentVersionsGetter,
                         testing::Values(Getter_s{"getBootLoaderVersion", &ComponentVersions_c::getBootLoaderVersion,
                                                  "B7", ComponentVersionsLayout::bootLoaderVersion, 5},
                                         Getter_s{"getOSVersion", &ComponentVersions_c::getOSVersion, "OS-3.1",
                                                  ComponentVersionsLayout::osVersion, 6},
                                         Getter_s{"getSerialNumber", &ComponentVersions_c::getSerialNumber, "ZC123456",
                                                  ComponentVersionsLayout::serialNumber, 8},
                                         Getter_s{"getZemoPartNumber", &ComponentVersions_c::getZemoPartNumber,
                                                  "4711.5", ComponentVersionsLayout::partNumber, 10}),
                         [](const testing::TestParamInfo<Getter_s>& row) { return row.param.name; });

TEST_F(ComponentVersions, SoftwareVersionIsEmptyAtFirstAndAsksNothing) {
  const CapturedOutput_c output;
  EXPECT_EQ("", m_versions.getSoftwareVersion());
  EXPECT_EQ("", journalText());
  EXPECT_EQ("", output.standardOutput());
}

TEST_F(ComponentVersions, SoftwareVersionIsReplacedEachTime) {
  m_versions.setSoftwareVersion("1.2.3");
  EXPECT_EQ("1.2.3", m_versions.getSoftwareVersion());
  m_versions.setSoftwareVersion("4");
  EXPECT_EQ("4", m_versions.getSoftwareVersion());
  m_versions.setSoftwareVersion("");
  EXPECT_EQ("", m_versions.getSoftwareVersion());
  EXPECT_EQ("", journalText());
}

TEST_F(ComponentVersions, SoftwareVersionOutlivesTheConsoleTexts) {
  m_versions.setSoftwareVersion("1.2.3");
  m_versions.init();
  EXPECT_EQ("1.2.3", m_versions.getSoftwareVersion());
}

TEST_F(ComponentVersions, OfTwoObjectsAreFetchedForEach) {
  ComponentVersions_c second;
  m_versions.init();
  ConsoleHost::setString(6, "OS-4");
  EXPECT_EQ("OS-4", second.getOSVersion());
  EXPECT_EQ("OS-3.1", m_versions.getOSVersion());
}

namespace {

struct VehicleCode_s {
  const char* name;
  const char* partNumber;
  int code;
};

void PrintTo(const VehicleCode_s& row, std::ostream* stream) {
  *stream << row.partNumber;
}

} // namespace

class ComponentVersionsVehicleCode : public HostFixture, public testing::WithParamInterface<VehicleCode_s> {};

TEST_P(ComponentVersionsVehicleCode, IsTheNumberAfterTheSeparator) {
  ConsoleHost::setString(10, GetParam().partNumber);
  ComponentVersions_c versions;
  EXPECT_EQ(GetParam().code, versions.getVehicleCode());
}

INSTANTIATE_TEST_SUITE_P(
    , ComponentVersionsVehicleCode,
    testing::Values(VehicleCode_s{"Comma", "4711,3", 3}, VehicleCode_s{"FullStop", "4711.3", 3},
                    VehicleCode_s{"CommaWinsOverAnEarlierFullStop", "47.11,2", 2},
                    VehicleCode_s{"CommaWinsOverALaterFullStop", "47,2.11", 2},
                    VehicleCode_s{"NoSeparator", "4711", -1}, VehicleCode_s{"NothingAfterTheFullStop", "4711.", 0},
                    VehicleCode_s{"NothingAfterTheComma", "4711,", 0},
                    VehicleCode_s{"NoDigitAfterTheSeparator", "4711.x5", 0}, VehicleCode_s{"FirstComma", "47,11,2", 11},
                    VehicleCode_s{"FirstFullStop", "47.11.2", 11}, VehicleCode_s{"LeadingBlanks", "4711,  12", 12},
                    VehicleCode_s{"Negative", "4711.-3", -3}, VehicleCode_s{"Plus", "4711.+3", 3},
                    VehicleCode_s{"StopsAtTheFirstNonDigit", "4711.12a3", 12}, VehicleCode_s{"SeparatorFirst", ".7", 7},
                    VehicleCode_s{"Empty", "", -1}),
    [](const testing::TestParamInfo<VehicleCode_s>& row) { return row.param.name; });

TEST_F(ComponentVersions, VehicleCodeFetchesTheConsoleTextsOnce) {
  const CapturedOutput_c output;
  EXPECT_EQ(5, m_versions.getVehicleCode());
  EXPECT_EQ(5, m_versions.getVehicleCode());
  EXPECT_EQ(consoleAsked, journalText());
  EXPECT_EQ(consoleLine, output.standardOutput());
}
