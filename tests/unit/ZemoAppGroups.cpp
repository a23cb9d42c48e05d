#include "CapturedOutput.h"
#include "ExpectedCalls.h"
#include "HostFixture.h"

using __IsoAgLib::ZemoApp;
using namespace TestSupport;
namespace Host = IsoBusHost::Host;
namespace Journal = IsoBusHost::Journal;

namespace {

constexpr std::size_t vtServer = ZemoAppLayout::vtServerInitialized;
constexpr std::size_t vtClient = ZemoAppLayout::vtClientInitialized;
constexpr std::size_t tractor = ZemoAppLayout::tractorInitialized;
constexpr std::size_t taskController = ZemoAppLayout::taskControllerInitialized;

// The flag at the moment of a call of the stack: 0, 1, or -1 when the call was never made.
class FlagAtCall_c {
public:
  FlagAtCall_c(ZemoApp& app, std::size_t offset, const std::string& call) {
    Journal::listen([this, &app, offset, call](const std::string& entry) {
      if (entry == call) {
        m_flag = flag(app, offset) ? 1 : 0;
      }
    });
  }
  ~FlagAtCall_c() { Journal::listen(nullptr); }
  FlagAtCall_c(const FlagAtCall_c&) = delete;
  FlagAtCall_c& operator=(const FlagAtCall_c&) = delete;

  int value() const { return m_flag; }

private:
  int m_flag = -1;
};

// One group as the four share it: its flag, its start and what the stack sees of it.
struct Group_s {
  const char* name;
  std::size_t flagOffset;
  bool (ZemoApp::*init)();
  void (ZemoApp::*close)();
  Lines_t calls;
  bool isMarkedByInit;
};

void PrintTo(const Group_s& group, std::ostream* stream) {
  *stream << group.name;
}

const Group_s groups[] = {
    {"VtServer", vtServer, &ZemoApp::initVtServerFunctions, &ZemoApp::closeVtServerFunctions, {}, true},
    {"VtClient",
     vtClient,
     &ZemoApp::initVtClientFunctions,
     &ZemoApp::closeVtClientFunctions,
     {"VtClient_c[0]::init()"},
     true},
    {"Tractor", tractor, &ZemoApp::initTractorFunctions, &ZemoApp::closeTractorFunctions, tractorUp("0"), false},
    {"TaskController",
     taskController,
     &ZemoApp::initTaskControllerFunctions,
     &ZemoApp::closeTaskControllerFunctions,
     {"TcClient_c[0]::init()"},
     true},
};

} // namespace

class ZemoAppGroup : public HostFixture, public testing::WithParamInterface<Group_s> {};

TEST_P(ZemoAppGroup, InitStartsItsServicesAndGivesTrue) {
  ZemoApp app;
  EXPECT_TRUE((app.*GetParam().init)());
  EXPECT_EQ(text(GetParam().calls), libraryCalls());
  EXPECT_EQ(GetParam().isMarkedByInit, flag(app, GetParam().flagOffset));
}

TEST_P(ZemoAppGroup, InitTouchesNoOtherFlag) {
  ZemoApp app;
  (app.*GetParam().init)();
  for (const Group_s& other : groups) {
    if (other.flagOffset != GetParam().flagOffset) {
      EXPECT_FALSE(flag(app, other.flagOffset)) << other.name;
    }
  }
  EXPECT_FALSE(flag(app, ZemoAppLayout::reserved));
  EXPECT_FALSE(flag(app, ZemoAppLayout::useProprietaryBus));
}

TEST_P(ZemoAppGroup, InitAsksNoAssertionHookWhileTheGroupIsOff) {
  ZemoApp app;
  (app.*GetParam().init)();
  EXPECT_EQ("", callsOf({"isoaglib_assert"}));
}

TEST_P(ZemoAppGroup, InitGoesOnWhereTheHookWaivesTheCheck) {
  ZemoApp app;
  flag(app, GetParam().flagOffset) = true;
  Host::faults().assertCallStart = [] { return true; };
  EXPECT_TRUE((app.*GetParam().init)());
  EXPECT_EQ(text(Lines_t{"isoaglib_assert_callStart() = true"} + GetParam().calls), libraryCalls());
  EXPECT_TRUE(flag(app, GetParam().flagOffset));
}

TEST_P(ZemoAppGroup, InitTellsTheHookOnceThatItMendedTheFlag) {
  ZemoApp app;
  flag(app, GetParam().flagOffset) = true;
  Host::faults().assertCallStart = [&app] {
    flag(app, GetParam().flagOffset) = false;
    return false;
  };
  const CapturedOutput_c output;
  EXPECT_TRUE((app.*GetParam().init)());
  EXPECT_EQ(text(Lines_t{"isoaglib_assert_callStart() = false", "isoaglib_assert_callFinish()"} + GetParam().calls),
            libraryCalls());
  EXPECT_EQ("", output.standardError());
  EXPECT_EQ(GetParam().isMarkedByInit, flag(app, GetParam().flagOffset));
}

TEST_P(ZemoAppGroup, InitGoesOnQuietlyWhereAWaivingHookAlsoMendsTheFlag) {
  ZemoApp app;
  flag(app, GetParam().flagOffset) = true;
  Host::faults().assertCallStart = [&app] {
    flag(app, GetParam().flagOffset) = false;
    return true;
  };
  EXPECT_TRUE((app.*GetParam().init)());
  EXPECT_EQ(text(Lines_t{"isoaglib_assert_callStart() = true"} + GetParam().calls), libraryCalls());
}

TEST_P(ZemoAppGroup, CloseClearsItsOwnFlagOnly) {
  ZemoApp app;
  for (const Group_s& group : groups) {
    flag(app, group.flagOffset) = true;
  }
  (app.*GetParam().close)();
  for (const Group_s& group : groups) {
    EXPECT_EQ(group.flagOffset != GetParam().flagOffset, flag(app, group.flagOffset)) << group.name;
  }
}

TEST_P(ZemoAppGroup, InitAfterCloseNeedsNoWaiver) {
  ZemoApp app;
  (app.*GetParam().init)();
  (app.*GetParam().close)();
  Journal::clear();
  EXPECT_TRUE((app.*GetParam().init)());
  EXPECT_EQ(text(GetParam().calls), libraryCalls());
}

TEST_P(ZemoAppGroup, PrintsNothing) {
  ZemoApp app;
  const CapturedOutput_c output;
  (app.*GetParam().init)();
  (app.*GetParam().close)();
  EXPECT_EQ("", output.standardOutput());
  EXPECT_EQ("", output.standardError());
}

INSTANTIATE_TEST_SUITE_P(, ZemoAppGroup, testing::ValuesIn(groups),
                         [](const testing::TestParamInfo<Group_s>& row) { return row.param.name; });

class ZemoAppTractorFunctions : public HostFixture {};

TEST_F(ZemoAppTractorFunctions, InitMayBeCalledAnyNumberOfTimes) {
  ZemoApp app;
  EXPECT_TRUE(app.initTractorFunctions());
  EXPECT_TRUE(app.initTractorFunctions());
  EXPECT_EQ(text(tractorUp("0") + tractorUp("0")), libraryCalls());
}

TEST_F(ZemoAppTractorFunctions, CloseAfterInitLeavesTheServicesRunning) {
  ZemoApp app;
  app.initTractorFunctions();
  const std::vector<std::string> running = Host::servicesOn();
  ASSERT_EQ(9U, running.size());
  Journal::clear();
  app.closeTractorFunctions();
  EXPECT_EQ("", journalText());
  EXPECT_EQ(running, Host::servicesOn());
}

TEST_F(ZemoAppTractorFunctions, CloseOfAMarkedGroupClearsTheFlagAndInitialisesAgain) {
  ZemoApp app;
  flag(app, tractor) = true;
  const FlagAtCall_c flagAtCall(app, tractor, "TracGeneral_c[0]::init()");
  app.closeTractorFunctions();
  EXPECT_EQ(text(tractorUp("0")), libraryCalls());
  EXPECT_EQ(0, flagAtCall.value());
  EXPECT_FALSE(flag(app, tractor));
}

TEST_F(ZemoAppTractorFunctions, CloseOfAGroupThatIsOffDoesNothing) {
  ZemoApp app;
  app.closeTractorFunctions();
  EXPECT_EQ("", journalText());
}

TEST_F(ZemoAppTractorFunctions, TakeTheServicesOfTheInstanceCutToAByte) {
  ZemoApp app;
  setIsoInstance(app, 0x101);
  app.initTractorFunctions();
  EXPECT_EQ(text(tractorUp("1")), libraryCalls());
  Journal::clear();
  flag(app, tractor) = true;
  app.closeTractorFunctions();
  EXPECT_EQ(text(tractorUp("1")), libraryCalls());
}

class ZemoAppTaskControllerFunctions : public HostFixture {};

TEST_F(ZemoAppTaskControllerFunctions, InitMarksTheGroupAfterItStartedTheClient) {
  ZemoApp app;
  const FlagAtCall_c flagAtCall(app, taskController, "TcClient_c[0]::init()");
  app.initTaskControllerFunctions();
  EXPECT_EQ(0, flagAtCall.value());
  EXPECT_TRUE(flag(app, taskController));
}

TEST_F(ZemoAppTaskControllerFunctions, CloseClearsTheFlagBeforeItClosesTheClient) {
  ZemoApp app;
  app.initTaskControllerFunctions();
  Journal::clear();
  const FlagAtCall_c flagAtCall(app, taskController, "TcClient_c[0]::close()");
  app.closeTaskControllerFunctions();
  EXPECT_EQ(0, flagAtCall.value());
  EXPECT_EQ("TcClient_c[0]::close()\n", journalText());
}

TEST_F(ZemoAppTaskControllerFunctions, CloseOfAGroupThatIsOffDoesNothing) {
  ZemoApp app;
  app.closeTaskControllerFunctions();
  EXPECT_EQ("", journalText());
}

TEST_F(ZemoAppTaskControllerFunctions, TakeTheClientOfTheInstanceCutToAByte) {
  ZemoApp app;
  setIsoInstance(app, 0x101);
  app.initTaskControllerFunctions();
  app.closeTaskControllerFunctions();
  EXPECT_EQ("TcClient_c[1]::init()\nTcClient_c[1]::close()\n", journalText());
}

class ZemoAppVtClientFunctions : public HostFixture {};

TEST_F(ZemoAppVtClientFunctions, InitMarksTheGroupBeforeItStartsTheClient) {
  ZemoApp app;
  const FlagAtCall_c flagAtCall(app, vtClient, "VtClient_c[0]::init()");
  app.initVtClientFunctions();
  EXPECT_EQ(1, flagAtCall.value());
}

TEST_F(ZemoAppVtClientFunctions, CloseClearsTheFlagClosesTheClientAndSwitchesWorkingSetsOn) {
  ZemoApp app;
  app.initVtClientFunctions();
  Journal::clear();
  const FlagAtCall_c flagAtCall(app, vtClient, "VtClient_c[0]::close()");
  app.closeVtClientFunctions();
  EXPECT_EQ(text(Lines_t{"VtClient_c[0]::close()"} + workingSetsOnAgain()), libraryCalls());
  EXPECT_EQ(0, flagAtCall.value());
}

TEST_F(ZemoAppVtClientFunctions, CloseOfAClientThatIsOffStillSwitchesWorkingSetsOn) {
  ZemoApp app;
  app.closeVtClientFunctions();
  EXPECT_EQ(text(workingSetsOnAgain()), libraryCalls());
}

TEST_F(ZemoAppVtClientFunctions, TakeTheClientOfTheInstanceCutToAByte) {
  ZemoApp app;
  setIsoInstance(app, 0x101);
  app.initVtClientFunctions();
  app.closeVtClientFunctions();
  EXPECT_EQ("VtClient_c[1]::init()\nVtClient_c[1]::close()\n", callsOf({"VtClient_c"}));
}

class ZemoAppVtServerFunctions : public HostFixture {};

TEST_F(ZemoAppVtServerFunctions, InitMarksTheGroupWithoutAnyCallOfTheStack) {
  ZemoApp app;
  EXPECT_TRUE(app.initVtServerFunctions());
  EXPECT_TRUE(flag(app, vtServer));
  EXPECT_EQ("", journalText());
}

TEST_F(ZemoAppVtServerFunctions, CloseClearsTheFlagWithoutAnyCallOfTheStack) {
  ZemoApp app;
  app.initVtServerFunctions();
  app.closeVtServerFunctions();
  EXPECT_FALSE(flag(app, vtServer));
  EXPECT_EQ("", journalText());
}

TEST_F(ZemoAppVtServerFunctions, CloseOfAGroupThatIsOffDoesNothing) {
  ZemoApp app;
  app.closeVtServerFunctions();
  EXPECT_FALSE(flag(app, vtServer));
  EXPECT_EQ("", journalText());
}
