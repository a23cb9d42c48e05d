#include "Application.h"
#include "ChildProcess.h"
#include "HostFixture.h"

#include <csignal>
#include <iostream>

using __IsoAgLib::ZemoApp;
using namespace TestSupport;
namespace Host = IsoBusHost::Host;
namespace Journal = IsoBusHost::Journal;

class RefusedRegistration : public HostFixture {
protected:
  // The application's own output stands in a full buffer that abort() would lose.
  static Ending_s comeUpRefused() {
    return runInChild([] {
      ZemoApp app;
      app.initIsoAglib(false);
      Host::faults().refuseRegistration = true;
      Journal::clear();
      std::cout << "before" << '\n';
      addFurtherIdentity(app);
      std::cout << "never reached" << std::endl;
    });
  }
};

TEST_F(RefusedRegistration, SaysSoOnStandardOutputAndAborts) {
  const Ending_s ending = comeUpRefused();
  EXPECT_EQ(SIGABRT, ending.signal);
  EXPECT_EQ("before\nFailed to register ident\n", ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
}

TEST_F(RefusedRegistration, UndoesNothingBefore) {
  EXPECT_EQ("DBusConnection_c::getString(8)\n"
            "ident 1: created\n"
            "ident 1: init(040A19315BA1E240, 0, null, true)\n"
            "IsoMonitor_c[0]::registerIdentItem(ident 1)\n",
            comeUpRefused().journal);
}

TEST_F(RefusedRegistration, IsTheAnswerOfAStackThatIsNotUp) {
  const Ending_s ending = runInChild([] {
    ZemoApp app;
    addFurtherIdentity(app);
  });
  EXPECT_EQ(SIGABRT, ending.signal);
  EXPECT_EQ("Failed to register ident\n", ending.standardOutput);
}

TEST_F(RefusedRegistration, EndsInitOfTheApplicationToo) {
  Host::faults().refuseRegistration = true;
  const Ending_s ending = runInChild([] {
    ZemoApp app;
    initApplication(app, 0, false);
  });
  EXPECT_EQ(SIGABRT, ending.signal);
  EXPECT_EQ("Failed to register ident\n", ending.standardOutput);
}
