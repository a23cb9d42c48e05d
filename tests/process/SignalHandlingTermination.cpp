// AddAllTerminationSignals, and what becomes of a process whose faults are handled.
#include "SignalHandling.h"

#include "ChildProcess.h"
#include "SystemCallFilter.h"

#include <cerrno>
#include <csignal>
#include <gtest/gtest.h>
#include <map>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace TestSupport;

namespace {

using Handlers = std::map<int, void (*)(int)>;

Handlers installedHandlers() {
  Handlers handlers;
  for (int sig = 1; sig <= 64; ++sig) {
    struct sigaction action = {};
    if (sigaction(sig, nullptr, &action) == 0) {
      handlers[sig] = action.sa_handler;
    }
  }
  return handlers;
}

void someHandler(int) {}

const std::string allAnnouncements = "ZemoInternalSignalHandler signal 2 SIGINT\n"
                                     "ZemoInternalSignalHandler signal 1 SIGHUP\n"
                                     "ZemoInternalSignalHandler signal 8 SIGFPE\n"
                                     "ZemoInternalSignalHandler signal 11 SIGSEGV\n"
                                     "ZemoInternalSignalHandler signal 3 SIGQUIT\n"
                                     "ZemoInternalSignalHandler signal 15 SIGTERM\n";

void expectReturned(const Ending_s& ending, const std::string& output) {
  EXPECT_EQ(0, ending.signal);
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ(output, ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
}

} // namespace

TEST(AddAllTerminationSignals, HandlesSixSignalsAndTheProgramOutlivesThem) {
  const Ending_s ending = runInChild([] {
    AddAllTerminationSignals();
    for (const int sig : {2, 1, 8, 11, 3, 15}) {
      kill(getpid(), sig);
    }
  });
  expectReturned(ending, allAnnouncements);
}

TEST(AddAllTerminationSignals, LeavesEveryOtherSignalAsItIs) {
  const Ending_s ending = runInChild([] {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGABRT, someHandler);
    std::signal(SIGCHLD, someHandler);
    Handlers expected = installedHandlers();
    AddAllTerminationSignals();
    const Handlers found = installedHandlers();
    for (const int sig : {1, 2, 3, 8, 11, 15}) {
      expected[sig] = found.at(SIGINT);
    }
    _exit(found == expected && found.at(SIGINT) != SIG_DFL ? 0 : 1);
  });
  expectReturned(ending, "");
}

TEST(AddAllTerminationSignals, LeavesPipeAndAbortDeadly) {
  for (const int sig : {SIGPIPE, SIGABRT}) {
    const Ending_s ending = runInChild([sig] {
      std::signal(sig, SIG_DFL);
      AddAllTerminationSignals();
      raise(sig);
    });
    EXPECT_EQ(sig, ending.signal);
    EXPECT_EQ("", ending.standardOutput);
  }
}

class AddAllTerminationSignalsRefused : public testing::Test {
protected:
  void SetUp() override {
    if (!haveSystemCallFilter()) {
      GTEST_SKIP() << "this machine does not let a process filter its system calls";
    }
  }
};

// The lines of six refusals, in the order in which the system was asked. 1 is EPERM.
TEST_F(AddAllTerminationSignalsRefused, AsksInItsOrderAndTellsTheSystemsError) {
  const Ending_s ending = runInChild([] {
    refuseSystemCall(SYS_rt_sigaction, EPERM);
    AddAllTerminationSignals();
    _exit(0);
  });
  expectReturned(ending, "FAILED to add signal handler for signal 2 SIGINT ERROR 1\n"
                         "FAILED to add signal handler for signal 1 SIGHUP ERROR 1\n"
                         "FAILED to add signal handler for signal 8 SIGFPE ERROR 1\n"
                         "FAILED to add signal handler for signal 11 SIGSEGV ERROR 1\n"
                         "FAILED to add signal handler for signal 3 SIGQUIT ERROR 1\n"
                         "FAILED to add signal handler for signal 15 SIGTERM ERROR 1\n");
}

TEST_F(AddAllTerminationSignalsRefused, GoesOnAfterASignalThatFails) {
  const Ending_s ending = runInChild([] {
    refuseSystemCall(SYS_rt_sigaction, EPERM, SIGINT);
    AddAllTerminationSignals();
    for (const int sig : {1, 8, 11, 3, 15}) {
      raise(sig);
    }
  });
  expectReturned(ending, "FAILED to add signal handler for signal 2 SIGINT ERROR 1\n" +
                             allAnnouncements.substr(allAnnouncements.find('\n') + 1));
}

namespace {

// Volatile: a handler looks at them between two instructions.
volatile int g_faults = 0;
volatile char* volatile g_page = nullptr;
volatile int g_zero = 0;
volatile int g_dividend = 1;

void leaveAtTheThird(int) {
  g_faults = g_faults + 1;
  if (g_faults == 3) {
    _exit(7);
  }
}

void openThePageAtTheThird(int) {
  g_faults = g_faults + 1;
  if (g_faults == 3 && mprotect(const_cast<char*>(g_page), 1, PROT_READ | PROT_WRITE) != 0) {
    _exit(1);
  }
}

void makeAPage() {
  g_page = static_cast<char*>(mmap(nullptr, 1, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
}

__attribute__((no_sanitize("undefined"))) void divideByZero() {
  g_dividend = g_dividend / g_zero;
}

std::string threeTimes(const std::string& line) {
  return line + line + line;
}

} // namespace

TEST(HandledFault, OfAnInvalidAddressRecursUntilTheHandlerEndsTheProcess) {
  const Ending_s ending = runInChild([] {
    SetSignalHandler(leaveAtTheThird);
    AddAllTerminationSignals();
    makeAPage();
    *g_page = 1;
  });
  EXPECT_EQ(0, ending.signal);
  EXPECT_EQ(7, ending.exitStatus);
  EXPECT_EQ(threeTimes("ZemoInternalSignalHandler signal 11 SIGSEGV\n"), ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
}

TEST(HandledFault, OfADivisionRecursUntilTheHandlerEndsTheProcess) {
  const Ending_s ending = runInChild([] {
    SetSignalHandler(leaveAtTheThird);
    AddAllTerminationSignals();
    divideByZero();
  });
  EXPECT_EQ(0, ending.signal);
  EXPECT_EQ(7, ending.exitStatus);
  EXPECT_EQ(threeTimes("ZemoInternalSignalHandler signal 8 SIGFPE\n"), ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
}

TEST(HandledFault, RecursUntilItsReasonIsGone) {
  const Ending_s ending = runInChild([] {
    SetSignalHandler(openThePageAtTheThird);
    AddAllTerminationSignals();
    makeAPage();
    *g_page = 1;
    _exit(*g_page == 1 ? 0 : 1);
  });
  expectReturned(ending, threeTimes("ZemoInternalSignalHandler signal 11 SIGSEGV\n"));
}
