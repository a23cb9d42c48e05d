#include "Application.h"
#include "ChildProcess.h"
#include "ExpectedCalls.h"
#include "HostFixture.h"
#include "PlatformInFront.h"

#include <cstring>
#include <iostream>
#include <stdexcept>

using __IsoAgLib::ZemoApp;
using namespace TestSupport;
namespace Host = IsoBusHost::Host;
namespace Journal = IsoBusHost::Journal;

class ZemoAppAddIdentity : public HostFixture {
protected:
  void SetUp() override {
    HostFixture::SetUp();
    ASSERT_TRUE(m_app.initIsoAglib(false));
    Journal::clear();
  }

  ZemoApp m_app;
};

namespace {

struct MasterAndGroup_s {
  int appType;
  const char* slaveCount;
  const char* name;
};

// The NAME of the further identity with industry group 2: 2 << 4 in its highest byte.
constexpr const char* furtherNameOfGroup2 = "240A19315BA1E240";

} // namespace

TEST_F(ZemoAppAddIdentity, GivesWorkingSetAndIndustryGroupOfTheKindAsItStands) {
  int number = 0;
  for (const MasterAndGroup_s& row :
       {MasterAndGroup_s{0, "0", nameOfFurtherIdentity}, MasterAndGroup_s{1, "-1", nameOfFurtherIdentity},
        MasterAndGroup_s{2, "0", furtherNameOfGroup2}, MasterAndGroup_s{3, "0", nameOfFurtherIdentity},
        MasterAndGroup_s{4, "0", nameOfFurtherIdentity}, MasterAndGroup_s{-1, "0", nameOfFurtherIdentity}}) {
    setAppType(m_app, row.appType);
    Journal::clear();
    EXPECT_TRUE(addFurtherIdentity(m_app));
    const std::string ident = "ident " + std::to_string(++number);
    EXPECT_EQ(ident + ": init(" + row.name + ", " + row.slaveCount + ", null, true)\n", callsOf({ident + ": init("}))
        << "kind " << row.appType;
  }
}

TEST_F(ZemoAppAddIdentity, InitialisesTheIdentityWithEveryParameterInOrder) {
  EXPECT_TRUE(addFurtherIdentity(m_app, 1));
  EXPECT_EQ(text(identityUp("ident 1", nameOfFurtherIdentity, "0", "1", "second#lib3")), libraryCalls());
  EXPECT_EQ(0x91, m_app.getDataStorage(0)->loadSa());
}

TEST_F(ZemoAppAddIdentity, AppendsInTheOrderOfTheCalls) {
  std::string swIdentification = "x";
  for (unsigned char sa = 10; sa < 30; ++sa) {
    ASSERT_TRUE(m_app.addIdentity(swIdentification, sa, 1, 0, sa, 0, 0, 0, true));
  }
  ASSERT_EQ(20U, identities(m_app).size());
  for (uint32_t index = 0; index < 20; ++index) {
    EXPECT_EQ(10 + index, m_app.getDataStorage(index)->loadSa());
  }
}

TEST_F(ZemoAppAddIdentity, LeavesTheSoftwareIdentificationAndTheSoftwareVersionAsTheyAre) {
  versions(m_app).setSoftwareVersion("before");
  std::string swIdentification = "A#B*C";
  m_app.addIdentity(swIdentification, 0x91, 5, 4, 0x19, 6, 1, 0, false);
  EXPECT_EQ("A#B*C", swIdentification);
  EXPECT_EQ("before", versions(m_app).getSoftwareVersion());
}

TEST_F(ZemoAppAddIdentity, GivesTrueAlsoForAnIdentityThatCanClaimNoAddress) {
  // The same address, and no other may be taken: at most one of the two can have it.
  std::string swIdentification = "x";
  EXPECT_TRUE(m_app.addIdentity(swIdentification, 0x91, 5, 0, 0x19, 0, 0, 0, false));
  EXPECT_TRUE(m_app.addIdentity(swIdentification, 0x91, 5, 1, 0x19, 0, 0, 0, false));
  EXPECT_EQ(2U, identities(m_app).size());
}

TEST_F(ZemoAppAddIdentity, NeitherAppendsNorFreesAnIdentityWhoseInitThrows) {
  // In a child: what is not freed on purpose is no leak to report.
  const Ending_s ending = runInChild([this] {
    ConsoleHost::setString(10, "");
    try {
      addFurtherIdentity(m_app);
    } catch (const std::out_of_range&) {
      std::cout << "out of range, " << identities(m_app).size() << " identities";
    }
    m_app.close();
  });
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("out of range, 0 identities", ending.standardOutput);
  EXPECT_EQ(std::string::npos, ending.journal.find("ident 1: destroyed")) << ending.journal;
  EXPECT_EQ(std::string::npos, ending.journal.find("deregisterIdentItem")) << ending.journal;
  EXPECT_NE(std::string::npos, ending.journal.find("registerIdentItem(ident 1)")) << ending.journal;
}

class ZemoAppIdentityQueries : public HostFixture {
protected:
  void SetUp() override {
    HostFixture::SetUp();
    ASSERT_TRUE(initApplication(m_app, 2, false));
    ASSERT_TRUE(addFurtherIdentity(m_app));
    Journal::clear();
  }

  ZemoApp m_app;
};

TEST_F(ZemoAppIdentityQueries, GiveWhatTheIdentityAtTheIndexHolds) {
  field<uint32_t>(identities(m_app)[1], ComponentIdentityLayout::serialNumber) = 4711;
  for (uint32_t index = 0; index < 2; ++index) {
    ComponentIdentity_c* identity = identities(m_app)[index];
    EXPECT_EQ(identity, &m_app.getComponentIdentity(index));
    EXPECT_EQ(index == 0 ? 123456U : 4711U, m_app.getSerialNumber(index));
    EXPECT_EQ(field<DataStorage_c*>(identity, ComponentIdentityLayout::dataStorage), m_app.getDataStorage(index));
    EXPECT_EQ(field<IsoAgLib::iIdentItem_c*>(identity, ComponentIdentityLayout::myIdent), m_app.getMyIdent(index));
  }
  EXPECT_NE(m_app.getDataStorage(0), m_app.getDataStorage(1));
  EXPECT_NE(m_app.getMyIdent(0), m_app.getMyIdent(1));
}

TEST_F(ZemoAppIdentityQueries, AskNoAssertionHookForAnIndexInRange) {
  m_app.getComponentIdentity(1);
  m_app.getSerialNumber(1);
  m_app.getDataStorage(1);
  m_app.getMyIdent(1);
  EXPECT_EQ("", journalText());
}

TEST_F(ZemoAppIdentityQueries, FirstIndexIsTheIdentityOfInit) {
  EXPECT_EQ(0x80, m_app.getDataStorage(0)->loadSa());
  EXPECT_EQ(0x91, m_app.getDataStorage(1)->loadSa());
}

TEST_F(ZemoAppIdentityQueries, AreMemorySafeForAnIndexThatIsWaivedOutOfRange) {
  Host::faults().assertCallStart = [] { return true; };
  for (const uint32_t index : {2U, 3U, 0x80000000U, 0xFFFFFFFFU}) {
    Journal::clear();
    m_app.getComponentIdentity(index).getSerialNumber();
    m_app.getSerialNumber(index);
    m_app.getDataStorage(index);
    m_app.getMyIdent(index);
    const std::string asked = "isoaglib_assert_callStart() = true\n";
    EXPECT_EQ(asked + asked + asked + asked, journalText());
  }
  EXPECT_EQ(2U, identities(m_app).size());
}

namespace {

// One query and what it gives for index 2, once the hook has added the third identity.
struct Query_s {
  const char* name;
  bool (*isThird)(ZemoApp& app);
};

const Query_s queries[] = {
    {"getComponentIdentity", [](ZemoApp& app) { return &app.getComponentIdentity(2) == identities(app)[2]; }},
    {"getMyIdent", [](ZemoApp& app) { return app.getMyIdent(2) == identities(app)[2]->getMyIdent(); }},
    {"getDataStorage", [](ZemoApp& app) { return app.getDataStorage(2) == identities(app)[2]->getDataStorage(); }},
    {"getSerialNumber", [](ZemoApp& app) { return app.getSerialNumber(2) == 123456; }},
};

void PrintTo(const Query_s& query, std::ostream* stream) {
  *stream << query.name;
}

} // namespace

class ZemoAppMendedIndex : public ZemoAppIdentityQueries, public testing::WithParamInterface<Query_s> {};

TEST_P(ZemoAppMendedIndex, IsTakenAndTheHookIsToldOnce) {
  Host::faults().assertCallStart = [this] {
    std::string swIdentification = "third";
    m_app.addIdentity(swIdentification, 0x92, 6, 0, 0x20, 0, 0, 0, true);
    return false;
  };
  EXPECT_TRUE(GetParam().isThird(m_app));
  EXPECT_EQ("isoaglib_assert_callStart() = false\nisoaglib_assert_callFinish()\n", callsOf({"isoaglib_assert"}));
}

INSTANTIATE_TEST_SUITE_P(, ZemoAppMendedIndex, testing::ValuesIn(queries),
                         [](const testing::TestParamInfo<Query_s>& row) { return row.param.name; });

class ZemoAppGetSetProductVin : public HostFixture {
protected:
  void TearDown() override {
    platformInFront() = PlatformInFront_s();
    HostFixture::TearDown();
  }
};

TEST_F(ZemoAppGetSetProductVin, ReadsTheVinOfTheConsole) {
  ConsoleHost::setVin("WZEMO000012345678");
  std::string vin = "whatever it held before, also where that is longer than the VIN";
  ZemoApp::getSetProductVin(false, vin);
  EXPECT_EQ("WZEMO000012345678", vin);
  EXPECT_EQ("DBusConnection_c::getSetProductVin(false)\n", journalText());
}

TEST_F(ZemoAppGetSetProductVin, ReadsAnEmptyVin) {
  std::string vin = "before";
  ZemoApp::getSetProductVin(false, vin);
  EXPECT_EQ("", vin);
}

TEST_F(ZemoAppGetSetProductVin, StoresTheVinAndReadsItBack) {
  ConsoleHost::setVin("OLD");
  std::string vin = "WZEMO000012345678";
  ZemoApp::getSetProductVin(true, vin);
  EXPECT_EQ("WZEMO000012345678", vin);
  EXPECT_EQ("DBusConnection_c::getSetProductVin(true, \"WZEMO000012345678\")\n", journalText());
}

TEST_F(ZemoAppGetSetProductVin, HoldsWhatTheConsoleGivesBackAfterStoring) {
  platformInFront().getSetProductVin = [](bool set, char* buffer) {
    EXPECT_TRUE(set);
    EXPECT_STREQ("handed over", buffer);
    std::strcpy(buffer, "what the console made of it");
  };
  std::string vin = "handed over";
  ZemoApp::getSetProductVin(true, vin);
  EXPECT_EQ("what the console made of it", vin);
}

TEST_F(ZemoAppGetSetProductVin, DoesNotHandItsTextOverWhereItOnlyReads) {
  platformInFront().getSetProductVin = [](bool set, char* buffer) {
    EXPECT_FALSE(set);
    EXPECT_NE(0, std::memcmp("the text before", buffer, 15));
    std::strcpy(buffer, "VIN");
  };
  std::string vin = "the text before";
  ZemoApp::getSetProductVin(false, vin);
  EXPECT_EQ("VIN", vin);
}

TEST_F(ZemoAppGetSetProductVin, StoresAnEmptyVin) {
  ConsoleHost::setVin("OLD");
  std::string vin;
  ZemoApp::getSetProductVin(true, vin);
  EXPECT_EQ("", vin);
  EXPECT_EQ("DBusConnection_c::getSetProductVin(true, \"\")\n", journalText());
}

TEST_F(ZemoAppGetSetProductVin, HandsOver255CharactersAndTheEnd) {
  const std::string longest = "B" + std::string(253, '5') + "E";
  std::string vin = longest;
  ZemoApp::getSetProductVin(true, vin);
  EXPECT_EQ(longest, vin);
  EXPECT_EQ("DBusConnection_c::getSetProductVin(true, \"" + longest + "\")\n", journalText());
}

TEST_F(ZemoAppGetSetProductVin, HandsOver256CharactersAndNoMore) {
  for (const std::size_t length : {std::size_t{256}, std::size_t{257}, std::size_t{300}, std::size_t{5000}}) {
    std::string vin;
    while (vin.size() < length) {
      vin.push_back(static_cast<char>('A' + vin.size() % 26));
    }
    const std::string expected = vin.substr(0, 256);
    platformInFront().getSetProductVin = [&expected](bool, char* buffer) {
      EXPECT_EQ(expected, std::string(buffer, 256));
      std::strcpy(buffer, "answer");
    };
    ZemoApp::getSetProductVin(true, vin);
    EXPECT_EQ("answer", vin) << length;
  }
}

TEST_F(ZemoAppGetSetProductVin, ReadsBackWhatTheConsoleKeepsOfTooLongAVin) {
  const std::string tooLong = std::string(255, 'a') + std::string(45, 'b');
  std::string vin = tooLong;
  ZemoApp::getSetProductVin(true, vin);
  EXPECT_EQ(std::string(255, 'a'), vin);
}

TEST_F(ZemoAppGetSetProductVin, FillsTheBufferBehindAShortVinWithZeros) {
  platformInFront().getSetProductVin = [](bool, char* buffer) {
    EXPECT_EQ("VIN" + std::string(253, '\0'), std::string(buffer, 256));
  };
  std::string vin = "VIN";
  ZemoApp::getSetProductVin(true, vin);
  EXPECT_EQ("VIN", vin);
}

TEST_F(ZemoAppGetSetProductVin, IsMemorySafeWhereTheConsoleFillsTheBufferWithoutAnEnd) {
  platformInFront().getSetProductVin = [](bool, char* buffer) { std::memset(buffer, 'x', 256); };
  std::string vin;
  ZemoApp::getSetProductVin(false, vin);
  EXPECT_EQ(std::string(256, 'x'), vin.substr(0, 256));
}

class ZemoAppGetVirtualTerminalVersion : public HostFixture {};

namespace {

constexpr const char* askedForVersion = "DBusConnection_c::getVirtualTerminalVersion()\n";

struct VtVersion_s {
  int answer;
  int version;
};

void PrintTo(const VtVersion_s& row, std::ostream* stream) {
  *stream << "console answers " << row.answer;
}

} // namespace

class ZemoAppVtVersionAnswer : public HostFixture, public testing::WithParamInterface<VtVersion_s> {};

TEST_P(ZemoAppVtVersionAnswer, GivesTwoThreeAndFourAndThreeForAnyOther) {
  ConsoleHost::setVirtualTerminalVersion(GetParam().answer);
  EXPECT_EQ(GetParam().version, ZemoApp::getVirtualTerminalVersion());
  EXPECT_EQ(askedForVersion, journalText());
}

TEST_P(ZemoAppVtVersionAnswer, IsKeptForTheProcessWhateverTheConsoleAnswersLater) {
  ConsoleHost::setVirtualTerminalVersion(GetParam().answer);
  ZemoApp::getVirtualTerminalVersion();
  ConsoleHost::setVirtualTerminalVersion(GetParam().answer == 2 ? 4 : 2);
  EXPECT_EQ(GetParam().version, ZemoApp::getVirtualTerminalVersion());
  EXPECT_EQ(GetParam().version, ZemoApp::getVirtualTerminalVersion());
  EXPECT_EQ(askedForVersion, journalText());
}

INSTANTIATE_TEST_SUITE_P(, ZemoAppVtVersionAnswer,
                         testing::Values(VtVersion_s{0, 3}, VtVersion_s{1, 3}, VtVersion_s{2, 2}, VtVersion_s{3, 3},
                                         VtVersion_s{4, 4}, VtVersion_s{5, 3}, VtVersion_s{6, 3}, VtVersion_s{255, 3}),
                         [](const testing::TestParamInfo<VtVersion_s>& row) {
                           return "Answer" + std::to_string(row.param.answer);
                         });

TEST_F(ZemoAppGetVirtualTerminalVersion, NeedsNoStack) {
  ZemoApp::getVirtualTerminalVersion();
  EXPECT_TRUE(Host::servicesOn().empty());
}

class GetConnectAllowedVtServerType : public HostFixture {};

TEST_F(GetConnectAllowedVtServerType, GivesTwoWhateverTheState) {
  EXPECT_EQ(2, __IsoAgLib::getConnectAllowedVtServerType());
  ZemoApp app;
  for (const int appType : {0, 1, 2}) {
    ASSERT_TRUE(initApplication(app, appType, false));
    EXPECT_EQ(2, __IsoAgLib::getConnectAllowedVtServerType());
    app.close();
    EXPECT_EQ(2, __IsoAgLib::getConnectAllowedVtServerType());
  }
}

TEST_F(GetConnectAllowedVtServerType, DoesNothingElse) {
  __IsoAgLib::getConnectAllowedVtServerType();
  EXPECT_EQ("", journalText());
}
