#include "Application.h"
#include "CapturedOutput.h"
#include "ExpectedCalls.h"
#include "HostFixture.h"

#include <algorithm>
#include <tuple>

using __IsoAgLib::ZemoApp;
using namespace TestSupport;
namespace Host = IsoBusHost::Host;
namespace Journal = IsoBusHost::Journal;

namespace {

bool isOn(const std::string& service) {
  const std::vector<std::string> services = Host::servicesOn();
  return std::find(services.begin(), services.end(), service) != services.end();
}

struct Flags_s {
  bool vtServer;
  bool vtClient;
  bool tractor;
  bool taskController;
};

bool operator==(const Flags_s& left, const Flags_s& right) {
  return std::tie(left.vtServer, left.vtClient, left.tractor, left.taskController) ==
         std::tie(right.vtServer, right.vtClient, right.tractor, right.taskController);
}

Flags_s flagsOf(ZemoApp& app) {
  return {flag(app, ZemoAppLayout::vtServerInitialized), flag(app, ZemoAppLayout::vtClientInitialized),
          flag(app, ZemoAppLayout::tractorInitialized), flag(app, ZemoAppLayout::taskControllerInitialized)};
}

// What each application kind brings up on top of the stack, and hands to its identities.
struct Kind_s {
  const char* name;
  int appType;
  Lines_t group;
  Flags_s flags;
  const char* identityName;
  const char* slaveCount;
};

const Lines_t vtClientUp = {"VtClient_c[0]::init()"};
const Lines_t requestPeriodOfVtServer = {"IsoMonitor_c::setSARequestPeriod(55000)"};
constexpr Flags_s noGroup = {false, false, false, false};
constexpr Flags_s vtServerGroup = {true, false, false, false};
constexpr Flags_s vtClientGroup = {false, true, false, false};

const std::vector<Kind_s> kinds = {
    {"MinusOne", -1, {}, noGroup, nameOfGroup0, "0"},
    {"Plain", 0, {}, noGroup, nameOfGroup0, "0"},
    {"VtServer", 1, requestPeriodOfVtServer, vtServerGroup, nameOfGroup0, "-1"},
    {"VtClient", 2, vtClientUp, vtClientGroup, nameOfGroup2, "0"},
    {"VtClientAnyGroup", 3, vtClientUp, vtClientGroup, nameOfGroup0, "0"},
    {"Four", 4, {}, noGroup, nameOfGroup0, "0"},
    {"Lowest", INT32_MIN, {}, noGroup, nameOfGroup0, "0"},
    {"Highest", INT32_MAX, {}, noGroup, nameOfGroup0, "0"},
    {"LowByteOfVtClient", 258, {}, noGroup, nameOfGroup0, "0"},
};

void PrintTo(const Kind_s& kind, std::ostream* stream) {
  *stream << kind.name;
}

template <class Fixture_c>
std::string rowName(const testing::TestParamInfo<Fixture_c>& row) {
  return row.param.name;
}

} // namespace

class ZemoAppCommonInit : public HostFixture {};

TEST_F(ZemoAppCommonInit, BringsTheStackUpWithTheChassisBusInOrder) {
  ZemoApp app;
  EXPECT_TRUE(app.commonInit());
  EXPECT_EQ(text(commonInitChassis()), libraryCalls());
}

TEST_F(ZemoAppCommonInit, BringsTheStackUpWithTheProprietaryBusInOrder) {
  ZemoApp app;
  flag(app, ZemoAppLayout::useProprietaryBus) = true;
  EXPECT_TRUE(app.commonInit());
  EXPECT_EQ(text(commonInitProprietary()), libraryCalls());
}

TEST_F(ZemoAppCommonInit, PrintsNothingWhenAllBusesOpen) {
  ZemoApp app;
  const CapturedOutput_c output;
  app.commonInit();
  EXPECT_EQ("", output.standardOutput());
  EXPECT_EQ("", output.standardError());
}

TEST_F(ZemoAppCommonInit, TakesTheIsobusAndBothInstancesByLiteralNumbersWithAChassisBus) {
  ZemoApp app;
  setIsoInstance(app, 1);
  EXPECT_TRUE(app.commonInit());
  EXPECT_EQ(text(commonInitChassis()), libraryCalls());
}

TEST_F(ZemoAppCommonInit, TakesTheServicesOfItsOwnInstanceBesideAProprietaryBus) {
  ZemoApp app;
  setIsoInstance(app, 1);
  flag(app, ZemoAppLayout::useProprietaryBus) = true;
  EXPECT_TRUE(app.commonInit());
  EXPECT_EQ(text(startOfStack() + openProprietaryBus() + servicesUp("1")), libraryCalls());
}

TEST_F(ZemoAppCommonInit, CutsTheInstanceToAByteOnlyWhereTheStackTakesAByte) {
  ZemoApp app;
  setIsoInstance(app, 0x101);
  flag(app, ZemoAppLayout::useProprietaryBus) = true;
  EXPECT_TRUE(app.commonInit());
  // The host shows any instance that it does not have as 2.
  Lines_t services = servicesUp("2");
  services[3] = "ProprietaryMessageHandler_c[1]::init()";
  EXPECT_EQ(text(startOfStack() + openProprietaryBus() + services), libraryCalls());
}

namespace {

struct FailingBus_s {
  const char* name;
  unsigned int bus;
  bool useProprietaryBus;
  const char* message;
  Lines_t calls;
  std::vector<std::string> staysOn;
};

void PrintTo(const FailingBus_s& row, std::ostream* stream) {
  *stream << row.name;
}

} // namespace

class ZemoAppWithAFailingBus : public HostFixture, public testing::WithParamInterface<FailingBus_s> {
protected:
  void SetUp() override {
    HostFixture::SetUp();
    Host::faults().canBusFails[GetParam().bus] = true;
  }
};

TEST_P(ZemoAppWithAFailingBus, CommonInitPrintsOneLineAndGivesFalse) {
  ZemoApp app;
  flag(app, ZemoAppLayout::useProprietaryBus) = GetParam().useProprietaryBus;
  const CapturedOutput_c output;
  EXPECT_FALSE(app.commonInit());
  EXPECT_EQ(GetParam().message, output.standardOutput());
  EXPECT_EQ("", output.standardError());
}

TEST_P(ZemoAppWithAFailingBus, CommonInitStopsAtTheBusAndRollsNothingBack) {
  ZemoApp app;
  flag(app, ZemoAppLayout::useProprietaryBus) = GetParam().useProprietaryBus;
  EXPECT_FALSE(app.commonInit());
  EXPECT_EQ(text(GetParam().calls), libraryCalls());
  EXPECT_EQ(GetParam().staysOn, Host::servicesOn());
}

TEST_P(ZemoAppWithAFailingBus, InitIsoAglibStartsNoGroup) {
  for (const int appType : {0, 1, 2, 3}) {
    ZemoApp app;
    setAppType(app, appType);
    Journal::clear();
    const CapturedOutput_c output;
    EXPECT_FALSE(app.initIsoAglib(GetParam().useProprietaryBus)) << appType;
    EXPECT_EQ(text(GetParam().calls), libraryCalls()) << appType;
    EXPECT_TRUE(flagsOf(app) == noGroup) << appType;
    EXPECT_EQ(GetParam().useProprietaryBus, flag(app, ZemoAppLayout::useProprietaryBus));
  }
}

TEST_P(ZemoAppWithAFailingBus, InitAddsNoIdentityAndPrintsOnce) {
  ZemoApp app;
  const CapturedOutput_c output;
  EXPECT_FALSE(initApplication(app, 2, GetParam().useProprietaryBus));
  EXPECT_EQ(GetParam().message, output.standardOutput());
  EXPECT_TRUE(identities(app).empty());
  EXPECT_EQ(text(GetParam().calls), libraryCalls());
}

TEST_P(ZemoAppWithAFailingBus, InitStoresTheSoftwareVersionAllTheSame) {
  ZemoApp app;
  initApplication(app, 0, GetParam().useProprietaryBus, "1.2.3*extra");
  EXPECT_EQ("1.2.3", versions(app).getSoftwareVersion());
}

TEST_P(ZemoAppWithAFailingBus, InitComesUpOnceTheBusOpens) {
  ZemoApp app;
  ASSERT_FALSE(initApplication(app, 2, GetParam().useProprietaryBus));
  Host::faults().canBusFails[GetParam().bus] = false;
  EXPECT_TRUE(initApplication(app, 2, GetParam().useProprietaryBus));
  EXPECT_EQ(1U, identities(app).size());
}

INSTANTIATE_TEST_SUITE_P(, ZemoAppWithAFailingBus,
                         testing::Values(FailingBus_s{"IsobusBesideChassis",
                                                      0,
                                                      false,
                                                      "FAILED TO INITIALIZE CAN_BUS_INSTANCE_ISOBUS\n",
                                                      startOfStack(),
                                                      {"Scheduler_c", "System_c"}},
                                         FailingBus_s{"IsobusBesideProprietary",
                                                      0,
                                                      true,
                                                      "FAILED TO INITIALIZE CAN_BUS_INSTANCE_ISOBUS\n",
                                                      startOfStack(),
                                                      {"Scheduler_c", "System_c"}},
                                         FailingBus_s{"Chassis",
                                                      1,
                                                      false,
                                                      "FAILED TO INITIALIZE CAN_BUS_INSTANCE_CHASSIS\n",
                                                      startOfStack() + openChassisBus(),
                                                      {"CanIo_c[0]", "Scheduler_c", "System_c"}},
                                         FailingBus_s{"Proprietary",
                                                      1,
                                                      true,
                                                      "FAILED TO INITIALIZE PROPRIETARY CAN BUS\n",
                                                      startOfStack() + openProprietaryBus(),
                                                      {"CanIo_c[0]", "Scheduler_c", "System_c"}}),
                         rowName<FailingBus_s>);

class ZemoAppInitIsoAglib : public HostFixture, public testing::WithParamInterface<Kind_s> {};

TEST_P(ZemoAppInitIsoAglib, StartsTheGroupOfItsKindWithAChassisBus) {
  ZemoApp app;
  setAppType(app, GetParam().appType);
  EXPECT_TRUE(app.initIsoAglib(false));
  EXPECT_EQ(text(commonInitChassis() + GetParam().group), libraryCalls());
  EXPECT_TRUE(flagsOf(app) == GetParam().flags);
  EXPECT_FALSE(flag(app, ZemoAppLayout::useProprietaryBus));
}

TEST_P(ZemoAppInitIsoAglib, StartsTheGroupOfItsKindWithAProprietaryBus) {
  ZemoApp app;
  setAppType(app, GetParam().appType);
  EXPECT_TRUE(app.initIsoAglib(true));
  EXPECT_EQ(text(commonInitProprietary() + GetParam().group), libraryCalls());
  EXPECT_TRUE(flagsOf(app) == GetParam().flags);
  EXPECT_TRUE(flag(app, ZemoAppLayout::useProprietaryBus));
}

TEST_P(ZemoAppInitIsoAglib, KeepsTheKindAndAddsNoIdentity) {
  ZemoApp app;
  setAppType(app, GetParam().appType);
  app.initIsoAglib(false);
  EXPECT_EQ(GetParam().appType, field<int32_t>(&app, ZemoAppLayout::appType));
  EXPECT_TRUE(identities(app).empty());
}

INSTANTIATE_TEST_SUITE_P(, ZemoAppInitIsoAglib, testing::ValuesIn(kinds), rowName<Kind_s>);

class ZemoAppVtServerKind : public HostFixture {};

TEST_F(ZemoAppVtServerKind, SetsTheRequestPeriodAfterTheGroupIsMarked) {
  ZemoApp app;
  setAppType(app, 1);
  int marked = -1;
  Journal::listen([&app, &marked](const std::string& entry) {
    if (entry == "IsoMonitor_c::setSARequestPeriod(55000)") {
      marked = flag(app, ZemoAppLayout::vtServerInitialized) ? 1 : 0;
    }
  });
  app.initIsoAglib(false);
  EXPECT_EQ(1, marked);
}

class ZemoAppOtherBusLayout : public HostFixture {};

TEST_F(ZemoAppOtherBusLayout, IsTakenFromTheArgumentEachTime) {
  ZemoApp app;
  app.initIsoAglib(true);
  app.commonClose();
  Journal::clear();
  app.initIsoAglib(false);
  EXPECT_EQ(text(commonInitChassis()), libraryCalls());
  EXPECT_FALSE(flag(app, ZemoAppLayout::useProprietaryBus));
}

class ZemoAppInitOfKind : public HostFixture, public testing::WithParamInterface<Kind_s> {};

TEST_P(ZemoAppInitOfKind, BringsTheStackUpThenTheGroupThenTheIdentity) {
  ZemoApp app;
  EXPECT_TRUE(initApplication(app, GetParam().appType, false));
  EXPECT_EQ(text(commonInitChassis() + GetParam().group +
                 identityUp("ident 1", GetParam().identityName, GetParam().slaveCount, "0", "app1#lib2")),
            libraryCalls());
}

TEST_P(ZemoAppInitOfKind, DoesTheSameBesideAProprietaryBus) {
  ZemoApp app;
  EXPECT_TRUE(initApplication(app, GetParam().appType, true));
  EXPECT_EQ(text(commonInitProprietary() + GetParam().group +
                 identityUp("ident 1", GetParam().identityName, GetParam().slaveCount, "0", "app1#lib2")),
            libraryCalls());
}

TEST_P(ZemoAppInitOfKind, StoresTheKind) {
  ZemoApp app;
  initApplication(app, GetParam().appType, false);
  EXPECT_EQ(GetParam().appType, field<int32_t>(&app, ZemoAppLayout::appType));
}

INSTANTIATE_TEST_SUITE_P(, ZemoAppInitOfKind, testing::ValuesIn(kinds), rowName<Kind_s>);

class ZemoAppInit : public HostFixture {};

TEST_F(ZemoAppInit, HandsItsParametersToTheIdentityUnchanged) {
  ZemoApp app;
  std::string swIdentification = "app";
  ASSERT_TRUE(app.init(__IsoAgLib::ZemoAppPlain, swIdentification, 0x91, 5, 4, 0x19, 6, 1, 1, false, false));
  ComponentIdentity_c& identity = app.getComponentIdentity(0);
  EXPECT_EQ(0x91, field<uint8_t>(&identity, ComponentIdentityLayout::preferredSa));
  EXPECT_EQ(5, field<uint8_t>(&identity, ComponentIdentityLayout::deviceClass));
  EXPECT_EQ(4, field<uint8_t>(&identity, ComponentIdentityLayout::deviceClassInstance));
  EXPECT_EQ(0x19, field<uint8_t>(&identity, ComponentIdentityLayout::function));
  EXPECT_EQ(6, field<uint8_t>(&identity, ComponentIdentityLayout::functionInstance));
  EXPECT_EQ(1, field<uint8_t>(&identity, ComponentIdentityLayout::ecuInstance));
  EXPECT_EQ(1, field<uint8_t>(&identity, ComponentIdentityLayout::isoInstance));
  EXPECT_EQ(text(commonInitChassis() + identityUp("ident 1", nameOfFurtherIdentity, "0", "1", "app")), libraryCalls());
}

TEST_F(ZemoAppInit, LeavesTheSoftwareIdentificationAsItIs) {
  ZemoApp app;
  std::string swIdentification = "A#B*C";
  app.init(__IsoAgLib::ZemoAppPlain, swIdentification, 0x80, 7, 1, 0x82, 3, 2, 0, true, false);
  EXPECT_EQ("A#B*C", swIdentification);
}

TEST_F(ZemoAppInit, StoresTheSoftwareVersionWithoutAskingTheConsoleForItsVersions) {
  ZemoApp app;
  const CapturedOutput_c output;
  initApplication(app, 0, false, "1.2.3*extra");
  EXPECT_EQ("1.2.3", versions(app).getSoftwareVersion());
  EXPECT_EQ("", output.standardOutput());
}

TEST_F(ZemoAppInit, BringsTheStackUpAgainOnAnObjectThatWasNotClosed) {
  ZemoApp app;
  ASSERT_TRUE(initApplication(app, 0, false));
  Journal::clear();
  EXPECT_TRUE(initApplication(app, 0, false, "again#1"));
  EXPECT_EQ(text(commonInitChassis() + identityUp("ident 2", nameOfGroup0, "0", "0", "again#1")), libraryCalls());
  EXPECT_EQ(2U, identities(app).size());
  EXPECT_EQ("again", versions(app).getSoftwareVersion());
}

TEST_F(ZemoAppInit, ComesUpAgainAfterClose) {
  for (const int appType : {0, 1, 2, 3}) {
    ZemoApp app;
    ASSERT_TRUE(initApplication(app, appType, false));
    app.close();
    EXPECT_TRUE(initApplication(app, appType, true)) << appType;
    EXPECT_EQ(1U, identities(app).size());
    app.close();
  }
  EXPECT_EQ("", callsOf({"isoaglib_assert"}));
}

namespace {

struct VersionCut_s {
  const char* name;
  const char* identification;
  const char* version;
};

void PrintTo(const VersionCut_s& row, std::ostream* stream) {
  *stream << row.identification;
}

} // namespace

class ZemoAppSoftwareVersion : public HostFixture, public testing::WithParamInterface<VersionCut_s> {};

TEST_P(ZemoAppSoftwareVersion, EndsBeforeTheFirstStarOrHash) {
  ZemoApp app;
  initApplication(app, 0, false, GetParam().identification);
  EXPECT_EQ(GetParam().version, versions(app).getSoftwareVersion());
}

INSTANTIATE_TEST_SUITE_P(, ZemoAppSoftwareVersion,
                         testing::Values(VersionCut_s{"AtTheStar", "1.2.3*extra", "1.2.3"},
                                         VersionCut_s{"AtTheHashBeforeAStar", "A#B*C", "A"},
                                         VersionCut_s{"AtTheStarBeforeAHash", "A*B#C", "A"},
                                         VersionCut_s{"NoneOfBoth", "1.2.3 whole", "1.2.3 whole"},
                                         VersionCut_s{"BeginsWithAStar", "*1.2.3", ""},
                                         VersionCut_s{"BeginsWithAHash", "#1.2.3", ""},
                                         VersionCut_s{"EndsWithAStar", "1.2.3*", "1.2.3"},
                                         VersionCut_s{"BothSideBySide", "1.2.3*#x", "1.2.3"},
                                         VersionCut_s{"Empty", "", ""}),
                         rowName<VersionCut_s>);

class ZemoAppClose : public HostFixture {
protected:
  // An application of kind 2 with two identities, the second on monitor 1, and an open task-controller group.
  void comeUp(ZemoApp& app, bool useProprietaryBus) {
    ASSERT_TRUE(initApplication(app, 2, useProprietaryBus));
    ASSERT_TRUE(addFurtherIdentity(app, useProprietaryBus ? 0 : 1));
    ASSERT_TRUE(app.initTaskControllerFunctions());
    Journal::clear();
  }
};

namespace {

const Lines_t deregisterBoth = {"IsoMonitor_c[0]::deregisterIdentItem(ident 1)",
                                "IsoMonitor_c[0]::deregisterIdentItem(ident 2)"};
const Lines_t closeVtClient = {"VtClient_c[0]::close()"};
const Lines_t closeTaskController = {"TcClient_c[0]::close()"};
const Lines_t destroyBoth = {"ident 1: destroyed", "ident 2: destroyed"};

// An identity that tells when it goes.
class TellingIdentity_c : public ComponentIdentity_c {
public:
  TellingIdentity_c() = default;
  ~TellingIdentity_c() override { Journal::add("identity deleted"); }
};

} // namespace

TEST_F(ZemoAppClose, DeregistersThenClosesTheGroupsThenTheStackThenDeletes) {
  ZemoApp app;
  comeUp(app, false);
  app.close();
  EXPECT_EQ(text(deregisterBoth + closeVtClient + workingSetsOnAgain() + closeTaskController + commonCloseChassis() +
                 destroyBoth),
            libraryCalls());
}

TEST_F(ZemoAppClose, DoesTheSameBesideAProprietaryBus) {
  ZemoApp app;
  comeUp(app, true);
  app.close();
  EXPECT_EQ(text(deregisterBoth + closeVtClient + workingSetsOnAgain() + closeTaskController +
                 commonCloseProprietary() + destroyBoth),
            libraryCalls());
}

TEST_F(ZemoAppClose, DeregistersEveryIdentityFromMonitorZero) {
  ZemoApp app;
  comeUp(app, false);
  setIsoInstance(app, 1);
  app.close();
  EXPECT_EQ(text(deregisterBoth), callsOf({"IsoMonitor_c[0]::deregister", "IsoMonitor_c[1]::deregister"}));
}

TEST_F(ZemoAppClose, ClosesTheVtServerGroupBeforeTheVtClientGroup) {
  ZemoApp app;
  comeUp(app, false);
  app.initVtServerFunctions();
  int stillMarked = -1;
  Journal::listen([&app, &stillMarked](const std::string& entry) {
    if (entry == "VtClient_c[0]::close()") {
      stillMarked = flag(app, ZemoAppLayout::vtServerInitialized) ? 1 : 0;
    }
  });
  app.close();
  EXPECT_EQ(0, stillMarked);
}

TEST_F(ZemoAppClose, TakesAMarkedTractorGroupBetweenVtClientAndTaskController) {
  ZemoApp app;
  comeUp(app, false);
  flag(app, ZemoAppLayout::tractorInitialized) = true;
  app.close();
  EXPECT_EQ(text(deregisterBoth + closeVtClient + workingSetsOnAgain() + tractorUp("0") + closeTaskController +
                 commonCloseChassis() + destroyBoth),
            libraryCalls());
}

TEST_F(ZemoAppClose, ClearsTheFourGroupFlags) {
  ZemoApp app;
  comeUp(app, false);
  app.initVtServerFunctions();
  flag(app, ZemoAppLayout::tractorInitialized) = true;
  app.close();
  EXPECT_TRUE(flagsOf(app) == noGroup);
}

TEST_F(ZemoAppClose, HoldsNoIdentityAfterwards) {
  ZemoApp app;
  comeUp(app, false);
  app.close();
  EXPECT_TRUE(identities(app).empty());
}

TEST_F(ZemoAppClose, KeepsTheIdentitiesUntilTheStackIsDown) {
  ZemoApp app;
  comeUp(app, false);
  std::size_t held = 0;
  Journal::listen([&app, &held](const std::string& entry) {
    if (entry == "System_c::close()") {
      held = identities(app).size();
    }
  });
  app.close();
  EXPECT_EQ(2U, held);
}

TEST_F(ZemoAppClose, LeavesNothingOnButWhatTheApplicationNeverMarked) {
  ZemoApp app;
  comeUp(app, false);
  app.initTractorFunctions();
  ASSERT_TRUE(isOn("TracMove_c[0]"));
  app.close();
  EXPECT_EQ((std::vector<std::string>{"TimePosGps_c[0]", "TracAux_c[0]", "TracFacilities_c[0]", "TracGeneral_c[0]",
                                      "TracGuidanceCommand_c[0]", "TracGuidance_c[0]", "TracLight_c[0]",
                                      "TracMove_c[0]", "TracPto_c[0]"}),
            Host::servicesOn());
}

TEST_F(ZemoAppClose, KeepsKindBusLayoutInstanceAndVersions) {
  ZemoApp app;
  ASSERT_TRUE(initApplication(app, 2, true, "7.8#x"));
  setIsoInstance(app, 1);
  app.close();
  EXPECT_EQ(2, field<int32_t>(&app, ZemoAppLayout::appType));
  EXPECT_TRUE(flag(app, ZemoAppLayout::useProprietaryBus));
  EXPECT_EQ(1U, field<uint32_t>(&app, ZemoAppLayout::isoInstance));
  EXPECT_EQ("7.8", versions(app).getSoftwareVersion());
}

TEST_F(ZemoAppClose, ClosesGroupsAndStackWithoutAnyIdentity) {
  ZemoApp app;
  app.close();
  EXPECT_EQ(text(workingSetsOnAgain() + commonCloseChassis()), libraryCalls());
}

TEST_F(ZemoAppClose, ClosesTheStackAgainTheSecondTime) {
  ZemoApp app;
  comeUp(app, false);
  app.close();
  Journal::clear();
  app.close();
  EXPECT_EQ(text(workingSetsOnAgain() + commonCloseChassis()), libraryCalls());
}

TEST_F(ZemoAppClose, SkipsAnIdentityThatIsGone) {
  ZemoApp app;
  comeUp(app, false);
  Journal::listen([&app](const std::string& entry) {
    if (entry == "System_c::close()") {
      delete identities(app)[0];
      identities(app)[0] = nullptr;
    }
  });
  app.close();
  EXPECT_TRUE(identities(app).empty());
  EXPECT_EQ(text(destroyBoth), callsOf({"ident 1: destroyed", "ident 2: destroyed"}));
}

TEST_F(ZemoAppClose, DeletesIdentitiesThroughTheirVirtualDestructor) {
  ZemoApp app;
  ASSERT_TRUE(initApplication(app, 0, false));
  auto* telling = new TellingIdentity_c;
  std::string swIdentification = "telling";
  telling->init(swIdentification, 0x91, 5, 4, 0x19, 6, 1, 0, false, 0, 0);
  identities(app).push_back(telling);
  Journal::clear();
  app.close();
  EXPECT_EQ("ident 1: destroyed\nidentity deleted\nident 2: destroyed\n", callsOf({"ident", "identity"}));
}

TEST_F(ZemoAppClose, PrintsNothing) {
  ZemoApp app;
  comeUp(app, false);
  const CapturedOutput_c output;
  app.close();
  EXPECT_EQ("", output.standardOutput());
  EXPECT_EQ("", output.standardError());
}

class ZemoAppCommonClose : public HostFixture {};

TEST_F(ZemoAppCommonClose, TakesBothInstancesInTheOrderOfTheStart) {
  ZemoApp app;
  app.commonClose();
  EXPECT_EQ(text(commonCloseChassis()), libraryCalls());
}

TEST_F(ZemoAppCommonClose, TakesOneInstanceAndTheProprietaryBus) {
  ZemoApp app;
  flag(app, ZemoAppLayout::useProprietaryBus) = true;
  app.commonClose();
  EXPECT_EQ(text(commonCloseProprietary()), libraryCalls());
}

TEST_F(ZemoAppCommonClose, ClosesTheCanInstanceOfItsOwnNumberLast) {
  ZemoApp app;
  setIsoInstance(app, 1);
  app.commonClose();
  EXPECT_EQ(text(servicesDown("0") + servicesDown("1") +
                 Lines_t{"CanIo_c[1]::close()", "CanIo_c[1]::close()", "Scheduler_c::close()", "System_c::close()"}),
            libraryCalls());
}

TEST_F(ZemoAppCommonClose, TakesTheServicesOfItsOwnInstanceBesideAProprietaryBus) {
  ZemoApp app;
  setIsoInstance(app, 1);
  flag(app, ZemoAppLayout::useProprietaryBus) = true;
  app.commonClose();
  EXPECT_EQ(text(servicesDown("1") + Lines_t{"iProprietaryBus_c[0]::close()", "CanIo_c[2]::close()",
                                             "CanIo_c[1]::close()", "Scheduler_c::close()", "System_c::close()"}),
            libraryCalls());
}

TEST_F(ZemoAppCommonClose, CutsTheInstanceToAByteOnlyWhereTheStackTakesAByte) {
  ZemoApp app;
  setIsoInstance(app, 0x101);
  flag(app, ZemoAppLayout::useProprietaryBus) = true;
  app.commonClose();
  Lines_t services = servicesDown("2");
  services[2] = "ProprietaryMessageHandler_c[1]::close()";
  EXPECT_EQ(text(services + Lines_t{"iProprietaryBus_c[0]::close()", "CanIo_c[2]::close()", "CanIo_c[3]::close()",
                                    "Scheduler_c::close()", "System_c::close()"}),
            libraryCalls());
}

TEST_F(ZemoAppCommonClose, TouchesNeitherIdentitiesNorGroups) {
  ZemoApp app;
  ASSERT_TRUE(initApplication(app, 2, false));
  Journal::clear();
  app.commonClose();
  EXPECT_EQ(text(commonCloseChassis()), libraryCalls());
  EXPECT_EQ(1U, identities(app).size());
  EXPECT_TRUE(flag(app, ZemoAppLayout::vtClientInitialized));
}
