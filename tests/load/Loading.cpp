#include "ZemoApp.h"

#include "Files.h"
#include "SystemCalls.h"

#include <algorithm>
#include <csignal>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace TestSupport;

namespace {

// Taken by this program's own initialisation, before main.
const std::string eepromFileBeforeMain = __IsoAgLib::getZemoEepromFileName();

} // namespace

TEST(Loading, SetsTheEepromFileBeforeMain) {
  EXPECT_EQ("/mnt/nand/zemo/settings/eeprom.dat", eepromFileBeforeMain);
}

TEST(Loading, FindsTheBuiltLibrary) {
  void* library = dlopen(ZEMO_LIBRARY, RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(nullptr, library) << "this program runs with another library";
  dlclose(library);
}

// The program that lists its tests does nothing but load its libraries, run their initialisation and print.
class LoadingTheLibrary : public testing::Test {
protected:
  void SetUp() override {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the thread sanitizer writes files, starts a thread and installs handlers when a program starts";
#endif
    m_calls = traceProgram({"/proc/self/exe", "--gtest_list_tests"});
    if (!m_calls.isTraced) {
      GTEST_SKIP() << "this machine does not let a process be traced";
    }
    ASSERT_EQ(0, m_calls.exitStatus);
  }

  SystemCalls_s m_calls;
};

TEST_F(LoadingTheLibrary, OpensTheLibrary) {
  const auto isOurs = [](const std::string& path) { return path.find("libzemoUtils.so") != std::string::npos; };
  EXPECT_TRUE(std::any_of(m_calls.opened.begin(), m_calls.opened.end(), isOurs));
}

// The size of the log is checked before the log has its name.
TEST_F(LoadingTheLibrary, OpensNoFileButLibrariesAndOnceTheOneWithoutAName) {
  EXPECT_EQ(std::vector<std::string>{""}, openedBesidesLibraries(m_calls));
}

TEST_F(LoadingTheLibrary, CreatesAndChangesNoFile) {
  EXPECT_EQ(std::vector<std::string>(), m_calls.changed);
}

TEST_F(LoadingTheLibrary, StartsNoThreadAndNoProcess) {
  EXPECT_EQ(0, m_calls.started);
}

TEST_F(LoadingTheLibrary, InstallsNoSignalHandlerAndOpensNoSocket) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the address sanitizer installs signal handlers of its own";
#endif
  EXPECT_EQ(0, m_calls.signalHandlers);
  EXPECT_EQ(0, m_calls.sockets);
}

// Run by the test below, in a process of its own.
TEST(TracedProgram, DISABLED_DoesAllThatTheTraceShallSee) {
  std::signal(SIGUSR1, [](int) {});
  close(socket(AF_UNIX, SOCK_STREAM, 0));
  const pid_t child = fork();
  if (child == 0) {
    _exit(0);
  }
  waitpid(child, nullptr, 0);
}

TEST(SystemCallTrace, SeesFilesWrittenProcessesHandlersAndSockets) {
  const TemporaryFolder_c folder;
  const std::string report = folder.path() + "/made/report.xml";
  const SystemCalls_s calls = traceProgram({"/proc/self/exe", "--gtest_also_run_disabled_tests",
                                            "--gtest_filter=TracedProgram.*", "--gtest_output=xml:" + report});
  if (!calls.isTraced) {
    GTEST_SKIP() << "this machine does not let a process be traced";
  }
  EXPECT_EQ(0, calls.exitStatus);
  EXPECT_EQ(1, std::count(calls.changed.begin(), calls.changed.end(), folder.path() + "/made/"));
  EXPECT_EQ(1, std::count(calls.changed.begin(), calls.changed.end(), report));
  EXPECT_LE(1, calls.started);
  EXPECT_LE(1, calls.signalHandlers);
  EXPECT_EQ(1, calls.sockets);
}
