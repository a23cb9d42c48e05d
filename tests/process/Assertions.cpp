#include "Application.h"
#include "ChildProcess.h"
#include "HostFixture.h"

#include <cerrno>
#include <csignal>
#include <iostream>

using __IsoAgLib::ZemoApp;
using namespace TestSupport;
namespace Host = IsoBusHost::Host;
namespace Journal = IsoBusHost::Journal;

namespace {

// What the C library writes for a failed assertion of this program.
std::string assertionText(const char* line, const char* function, const char* expression) {
  return std::string(program_invocation_short_name) + ": Utils/src/ZemoApp:" + line + ": " + function +
         ": Assertion `" + expression + "' failed.\n";
}

// One documented assertion: what breaks it, how the hook mends it, and the record that it leaves.
struct Assertion_s {
  const char* name;
  void (*prepare)(ZemoApp& app);
  void (*violate)(ZemoApp& app);
  const char* line;
  const char* function;
  const char* expression;
};

void PrintTo(const Assertion_s& assertion, std::ostream* stream) {
  *stream << assertion.function;
}

void bringUpWithOneIdentity(ZemoApp& app) {
  initApplication(app, 0, false);
}

const Assertion_s assertions[] = {
    {"IdentityInitialisedTwice", bringUpWithOneIdentity,
     [](ZemoApp& app) {
       std::string swIdentification = "again";
       app.getComponentIdentity(0).init(swIdentification, 0x91, 5, 4, 0x19, 6, 1, 0, false, 0, 0);
     },
     "217",
     "bool ComponentIdentity_c::init(std::string&, uint8_t, uint8_t, uint8_t, uint8_t, uint8_t, uint8_t, uint8_t, "
     "bool, "
     "int8_t, uint8_t)",
     "__null == m_dataStorage"},
    {"GetComponentIdentity", bringUpWithOneIdentity, [](ZemoApp& app) { app.getComponentIdentity(1); }, "398",
     "ComponentIdentity_c& __IsoAgLib::ZemoApp::getComponentIdentity(uint32_t)", "index < m_Identities.size()"},
    {"GetMyIdent", bringUpWithOneIdentity, [](ZemoApp& app) { app.getMyIdent(1); }, "404",
     "IsoAgLib::iIdentItem_c* __IsoAgLib::ZemoApp::getMyIdent(uint32_t)", "index < m_Identities.size()"},
    {"GetDataStorage", bringUpWithOneIdentity, [](ZemoApp& app) { app.getDataStorage(1); }, "410",
     "DataStorage_c* __IsoAgLib::ZemoApp::getDataStorage(uint32_t)", "index < m_Identities.size()"},
    {"GetSerialNumber", bringUpWithOneIdentity, [](ZemoApp& app) { app.getSerialNumber(1); }, "416",
     "uint32_t __IsoAgLib::ZemoApp::getSerialNumber(uint32_t)", "index < m_Identities.size()"},
    {"VtServerGroupOpenedTwice", [](ZemoApp& app) { app.initVtServerFunctions(); },
     [](ZemoApp& app) { app.initVtServerFunctions(); }, "604", "bool __IsoAgLib::ZemoApp::initVtServerFunctions()",
     "false == m_bVtServerFunctionsInitialized"},
    {"VtClientGroupOpenedTwice", [](ZemoApp& app) { app.initVtClientFunctions(); },
     [](ZemoApp& app) { app.initVtClientFunctions(); }, "619", "bool __IsoAgLib::ZemoApp::initVtClientFunctions()",
     "false == m_bVtClientFunctionsInitialized"},
    // Nothing in the library marks this group.
    {"TractorGroupMarked", [](ZemoApp& app) { flag(app, ZemoAppLayout::tractorInitialized) = true; },
     [](ZemoApp& app) { app.initTractorFunctions(); }, "642", "bool __IsoAgLib::ZemoApp::initTractorFunctions()",
     "false == m_bTractorFunctionsInitialized"},
    {"TaskControllerGroupOpenedTwice", [](ZemoApp& app) { app.initTaskControllerFunctions(); },
     [](ZemoApp& app) { app.initTaskControllerFunctions(); }, "679",
     "bool __IsoAgLib::ZemoApp::initTaskControllerFunctions()", "false == m_bTaskControllerFunctionsInitialized"},
};

} // namespace

class Assertion : public HostFixture, public testing::WithParamInterface<Assertion_s> {
protected:
  // In a child: what a waived assertion leaves behind on purpose is no leak to report.
  static Ending_s violateInChild() {
    return runInChild([] {
      ZemoApp app;
      GetParam().prepare(app);
      Journal::clear();
      GetParam().violate(app);
      std::cout << "went on";
    });
  }
};

TEST_P(Assertion, ReportsItsRecordAndEndsTheProcess) {
  const Ending_s ending = violateInChild();
  EXPECT_EQ(SIGABRT, ending.signal);
  EXPECT_EQ(assertionText(GetParam().line, GetParam().function, GetParam().expression), ending.standardError);
  EXPECT_EQ("", ending.standardOutput);
  EXPECT_EQ("isoaglib_assert_callStart() = false\n", ending.journal);
}

TEST_P(Assertion, IsWaivedByTheHookWithoutAWord) {
  Host::faults().assertCallStart = [] { return true; };
  const Ending_s ending = violateInChild();
  EXPECT_EQ(0, ending.signal);
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("went on", ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
  EXPECT_EQ(0U, ending.journal.find("isoaglib_assert_callStart() = true\n")) << ending.journal;
  EXPECT_EQ(std::string::npos, ending.journal.find("isoaglib_assert", 1)) << ending.journal;
}

TEST_P(Assertion, DoesNotHoldBeforeItIsViolated) {
  const Ending_s ending = runInChild([] {
    ZemoApp app;
    GetParam().prepare(app);
  });
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("", ending.standardError);
  EXPECT_EQ(std::string::npos, ending.journal.find("isoaglib_assert")) << ending.journal;
}

INSTANTIATE_TEST_SUITE_P(, Assertion, testing::ValuesIn(assertions),
                         [](const testing::TestParamInfo<Assertion_s>& row) { return row.param.name; });

namespace {

struct Index_s {
  const char* name;
  uint32_t index;
  uint32_t identities;
};

void PrintTo(const Index_s& row, std::ostream* stream) {
  *stream << row.name;
}

} // namespace

class IdentityIndexOutOfRange : public HostFixture, public testing::WithParamInterface<Index_s> {};

TEST_P(IdentityIndexOutOfRange, EndsTheProcess) {
  const Ending_s ending = runInChild([] {
    ZemoApp app;
    app.initIsoAglib(false);
    for (uint32_t count = 0; count < GetParam().identities; ++count) {
      addFurtherIdentity(app);
    }
    app.getSerialNumber(GetParam().index);
  });
  EXPECT_EQ(SIGABRT, ending.signal);
  EXPECT_EQ(
      assertionText("416", "uint32_t __IsoAgLib::ZemoApp::getSerialNumber(uint32_t)", "index < m_Identities.size()"),
      ending.standardError);
}

INSTANTIATE_TEST_SUITE_P(, IdentityIndexOutOfRange,
                         testing::Values(Index_s{"FirstOfNone", 0, 0}, Index_s{"SecondOfOne", 1, 1},
                                         Index_s{"ThirdOfTwo", 2, 2}, Index_s{"Highest", 0xFFFFFFFFU, 2}),
                         [](const testing::TestParamInfo<Index_s>& row) { return row.param.name; });

class ZemoAppInitWithoutClose : public HostFixture {
protected:
  static Ending_s initTwice(int appType) {
    return runInChild([appType] {
      ZemoApp app;
      initApplication(app, appType, false);
      initApplication(app, appType, false);
      std::cout << identities(app).size() << " identities";
    });
  }
};

TEST_F(ZemoAppInitWithoutClose, FailsAtTheVtGroupThatIsOpen) {
  const std::string vtServer = assertionText("604", "bool __IsoAgLib::ZemoApp::initVtServerFunctions()",
                                             "false == m_bVtServerFunctionsInitialized");
  const std::string vtClient = assertionText("619", "bool __IsoAgLib::ZemoApp::initVtClientFunctions()",
                                             "false == m_bVtClientFunctionsInitialized");
  EXPECT_EQ(vtServer, initTwice(1).standardError);
  EXPECT_EQ(vtClient, initTwice(2).standardError);
  EXPECT_EQ(vtClient, initTwice(3).standardError);
}

TEST_F(ZemoAppInitWithoutClose, GoesOnWhereNoVtGroupIsOpen) {
  const Ending_s ending = initTwice(0);
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("2 identities", ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
}

TEST_F(ZemoAppInitWithoutClose, AddsTheIdentityWhereTheOpenGroupIsWaived) {
  Host::faults().assertCallStart = [] { return true; };
  const Ending_s ending = initTwice(2);
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("2 identities", ending.standardOutput);
}
