// Each signal is delivered to a child process. Standard output of the child is fully buffered: what is seen of a child
// that ends without flushing has been flushed by the library.
#include "SignalHandling.h"

#include "ChildProcess.h"

#include <csignal>
#include <gtest/gtest.h>
#include <ios>
#include <iostream>
#include <pthread.h>
#include <unistd.h>

using namespace TestSupport;

namespace {

void say(const char* text) {
  const std::size_t size = std::char_traits<char>::length(text);
  if (write(STDOUT_FILENO, text, size) != static_cast<ssize_t>(size)) {
    _exit(98);
  }
}

// Past the buffer of standard output, so that the order with the library's line is seen.
void sayTheNumber(int sig) {
  say(("handler " + std::to_string(sig) + "\n").c_str());
}

void sayOther(int) {
  say("other handler\n");
}

void leaveWith3(int) {
  _exit(3);
}

void dieAtOnce(int) {
  kill(getpid(), SIGKILL);
}

struct NamedSignal_s {
  int sig;
  const char* name;
  const char* title;
};

void PrintTo(const NamedSignal_s& signal, std::ostream* out) {
  *out << signal.title;
}

std::string announcement(const NamedSignal_s& signal) {
  return "ZemoInternalSignalHandler signal " + std::to_string(signal.sig) + " " + signal.name + "\n";
}

const std::vector<NamedSignal_s> handledSignals = {
    {1, "SIGHUP", "SIGHUP"},
    {2, "SIGINT", "SIGINT"},
    {3, "SIGQUIT", "SIGQUIT"},
    {8, "SIGFPE", "SIGFPE"},
    {11, "SIGSEGV", "SIGSEGV"},
    {15, "SIGTERM", "SIGTERM"},
    {17, "SIGCHLD", "SIGCHLD"},
    {4, "UNKNOWN SIGNAL", "SIGILL"},
    {5, "UNKNOWN SIGNAL", "SIGTRAP"},
    {6, "UNKNOWN SIGNAL", "SIGABRT"},
    {7, "UNKNOWN SIGNAL", "SIGBUS"},
    {10, "UNKNOWN SIGNAL", "SIGUSR1"},
    {12, "UNKNOWN SIGNAL", "SIGUSR2"},
    {13, "UNKNOWN SIGNAL", "SIGPIPE"},
    {14, "UNKNOWN SIGNAL", "SIGALRM"},
    {16, "UNKNOWN SIGNAL", "SIGSTKFLT"},
    {18, "UNKNOWN SIGNAL", "SIGCONT"},
    {20, "UNKNOWN SIGNAL", "SIGTSTP"},
    {31, "UNKNOWN SIGNAL", "SIGSYS"},
    {34, "UNKNOWN SIGNAL", "FirstRealTimeSignal"},
    {64, "UNKNOWN SIGNAL", "LastRealTimeSignal"},
};

struct RefusedSignal_s {
  int sig;
  const char* line;
  const char* title;
};

void PrintTo(const RefusedSignal_s& signal, std::ostream* out) {
  *out << signal.title;
}

// 22 is EINVAL.
const std::vector<RefusedSignal_s> refusedSignals = {
    {9, "FAILED to add signal handler for signal 9 SIGKILL ERROR 22\n", "SIGKILL"},
    {19, "FAILED to add signal handler for signal 19 SIGSTOP ERROR 22\n", "SIGSTOP"},
    {-1, "FAILED to add signal handler for signal -1 UNKNOWN SIGNAL ERROR 22\n", "MinusOne"},
    {0, "FAILED to add signal handler for signal 0 UNKNOWN SIGNAL ERROR 22\n", "Zero"},
    {32, "FAILED to add signal handler for signal 32 UNKNOWN SIGNAL ERROR 22\n", "ReservedForThreads"},
    {65, "FAILED to add signal handler for signal 65 UNKNOWN SIGNAL ERROR 22\n", "PastTheLast"},
    {-9, "FAILED to add signal handler for signal -9 UNKNOWN SIGNAL ERROR 22\n", "NegativeOfAKnownOne"},
    {2147483647, "FAILED to add signal handler for signal 2147483647 UNKNOWN SIGNAL ERROR 22\n", "Largest"},
    {-2147483647 - 1, "FAILED to add signal handler for signal -2147483648 UNKNOWN SIGNAL ERROR 22\n", "Smallest"},
};

template <class Row_s>
std::string titleOf(const testing::TestParamInfo<Row_s>& row) {
  return row.param.title;
}

void expectReturned(const Ending_s& ending, const std::string& output) {
  EXPECT_EQ(0, ending.signal);
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ(output, ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
}

} // namespace

class HandledSignal : public testing::TestWithParam<NamedSignal_s> {};
INSTANTIATE_TEST_SUITE_P(Table, HandledSignal, testing::ValuesIn(handledSignals), titleOf<NamedSignal_s>);

TEST_P(HandledSignal, IsOnlyAnnouncedWithoutAHandlerAndTheProgramGoesOn) {
  const Ending_s ending = runInChild([] {
    AddSignalToHandle(GetParam().sig);
    raise(GetParam().sig);
    say("goes on\n");
  });
  expectReturned(ending, announcement(GetParam()) + "goes on\n");
}

TEST_P(HandledSignal, IsAnnouncedThenGivenToTheHandlerOnceForEachDelivery) {
  const Ending_s ending = runInChild([] {
    SetSignalHandler(sayTheNumber);
    AddSignalToHandle(GetParam().sig);
    raise(GetParam().sig);
    raise(GetParam().sig);
    say("goes on\n");
  });
  const std::string once = announcement(GetParam()) + "handler " + std::to_string(GetParam().sig) + "\n";
  expectReturned(ending, once + once + "goes on\n");
}

class RefusedSignal : public testing::TestWithParam<RefusedSignal_s> {};
INSTANTIATE_TEST_SUITE_P(Table, RefusedSignal, testing::ValuesIn(refusedSignals), titleOf<RefusedSignal_s>);

TEST_P(RefusedSignal, IsToldOnStandardOutputAtOnce) {
  const Ending_s ending = runInChild([] {
    AddSignalToHandle(GetParam().sig);
    _exit(0);
  });
  expectReturned(ending, GetParam().line);
}

TEST(AddSignalToHandle, PrintsNothingWhereItSucceeds) {
  expectReturned(runInChild([] { AddSignalToHandle(SIGINT); }), "");
}

TEST(AddSignalToHandle, GivesUpTheHandlerBefore) {
  const Ending_s ending = runInChild([] {
    std::signal(SIGUSR1, sayOther);
    AddSignalToHandle(SIGUSR1);
    raise(SIGUSR1);
  });
  expectReturned(ending, "ZemoInternalSignalHandler signal 10 UNKNOWN SIGNAL\n");
}

TEST(AddSignalToHandle, TakesTheSameSignalTwiceForOneAnnouncement) {
  const Ending_s ending = runInChild([] {
    AddSignalToHandle(SIGINT);
    AddSignalToHandle(SIGINT);
    raise(SIGINT);
  });
  expectReturned(ending, "ZemoInternalSignalHandler signal 2 SIGINT\n");
}

TEST(AddSignalToHandle, InstallsWithWhatTheSystemsSignalCallSets) {
  const Ending_s ending = runInChild([] {
    AddSignalToHandle(SIGUSR1);
    std::signal(SIGUSR2, sayOther);
    struct sigaction ours = {};
    struct sigaction systems = {};
    sigaction(SIGUSR1, nullptr, &ours);
    sigaction(SIGUSR2, nullptr, &systems);
    const bool masksItself = sigismember(&ours.sa_mask, SIGUSR1) == sigismember(&systems.sa_mask, SIGUSR2);
    _exit(ours.sa_flags == systems.sa_flags && masksItself ? 0 : 1);
  });
  expectReturned(ending, "");
}

TEST(SetSignalHandler, MayComeAfterTheSignalWasAdded) {
  const Ending_s ending = runInChild([] {
    AddSignalToHandle(SIGTERM);
    raise(SIGTERM);
    SetSignalHandler(sayTheNumber);
    raise(SIGTERM);
  });
  expectReturned(ending, "ZemoInternalSignalHandler signal 15 SIGTERM\n"
                         "ZemoInternalSignalHandler signal 15 SIGTERM\n"
                         "handler 15\n");
}

TEST(SetSignalHandler, KeepsOnlyTheSecondHandler) {
  const Ending_s ending = runInChild([] {
    SetSignalHandler(sayTheNumber);
    SetSignalHandler(sayOther);
    AddSignalToHandle(SIGHUP);
    raise(SIGHUP);
  });
  expectReturned(ending, "ZemoInternalSignalHandler signal 1 SIGHUP\nother handler\n");
}

TEST(SetSignalHandler, TakesNullForNoHandler) {
  const Ending_s ending = runInChild([] {
    AddSignalToHandle(SIGHUP);
    SetSignalHandler(sayTheNumber);
    raise(SIGHUP);
    SetSignalHandler(nullptr);
    raise(SIGHUP);
  });
  expectReturned(ending, "ZemoInternalSignalHandler signal 1 SIGHUP\n"
                         "handler 1\n"
                         "ZemoInternalSignalHandler signal 1 SIGHUP\n");
}

TEST(SetSignalHandler, IsSharedByAllSignals) {
  const Ending_s ending = runInChild([] {
    AddSignalToHandle(SIGHUP);
    AddSignalToHandle(SIGUSR1);
    SetSignalHandler(sayTheNumber);
    raise(SIGUSR1);
    raise(SIGHUP);
  });
  expectReturned(ending, "ZemoInternalSignalHandler signal 10 UNKNOWN SIGNAL\nhandler 10\n"
                         "ZemoInternalSignalHandler signal 1 SIGHUP\nhandler 1\n");
}

TEST(SetSignalHandler, InstallsNothingByItself) {
  const Ending_s ending = runInChild([] {
    SetSignalHandler(sayTheNumber);
    raise(SIGTERM);
  });
  EXPECT_EQ(SIGTERM, ending.signal);
  EXPECT_EQ("", ending.standardOutput);
}

TEST(SignalAnnouncement, IsFlushedBeforeAHandlerThatLeavesAtOnce) {
  const Ending_s ending = runInChild([] {
    SetSignalHandler(leaveWith3);
    AddSignalToHandle(SIGTERM);
    raise(SIGTERM);
  });
  EXPECT_EQ(0, ending.signal);
  EXPECT_EQ(3, ending.exitStatus);
  EXPECT_EQ("ZemoInternalSignalHandler signal 15 SIGTERM\n", ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
}

TEST(SignalAnnouncement, IsFlushedBeforeAHandlerThatIsKilled) {
  const Ending_s ending = runInChild([] {
    SetSignalHandler(dieAtOnce);
    AddSignalToHandle(SIGTERM);
    raise(SIGTERM);
  });
  EXPECT_EQ(SIGKILL, ending.signal);
  EXPECT_EQ("ZemoInternalSignalHandler signal 15 SIGTERM\n", ending.standardOutput);
}

TEST(SignalAnnouncement, IsFlushedAlsoWithoutAHandler) {
  const Ending_s ending = runInChild([] {
    AddSignalToHandle(SIGTERM);
    raise(SIGTERM);
    _exit(0);
  });
  expectReturned(ending, "ZemoInternalSignalHandler signal 15 SIGTERM\n");
}

TEST(SignalAnnouncement, ShowsDecimalNumbersWhateverTheStreamIsSetTo) {
  const Ending_s ending = runInChild([] {
    AddSignalToHandle(SIGTERM);
    std::cout << std::hex << std::showbase << std::showpos;
    raise(SIGTERM);
    AddSignalToHandle(SIGSTOP);
    std::cout << 255 << std::flush; // the stream stays as the application has set it
  });
  expectReturned(ending, "ZemoInternalSignalHandler signal 15 SIGTERM\n"
                         "FAILED to add signal handler for signal 19 SIGSTOP ERROR 22\n"
                         "0xff");
}

namespace {

pthread_t g_handlerThread;

void noteTheThread(int) {
  g_handlerThread = pthread_self();
}

void* signalItself(void*) {
  pthread_kill(pthread_self(), SIGUSR1);
  return nullptr;
}

} // namespace

TEST(SignalAnnouncement, RunsTheHandlerOnTheThreadThatTheSignalIsDeliveredTo) {
  const Ending_s ending = runInChild([] {
    SetSignalHandler(noteTheThread);
    AddSignalToHandle(SIGUSR1);
    g_handlerThread = pthread_self();
    pthread_t thread = {};
    pthread_create(&thread, nullptr, signalItself, nullptr);
    pthread_join(thread, nullptr);
    _exit(pthread_equal(g_handlerThread, thread) != 0 ? 0 : 1);
  });
  expectReturned(ending, "ZemoInternalSignalHandler signal 10 UNKNOWN SIGNAL\n");
}
