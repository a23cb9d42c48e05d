// The debug log right after loading, and what loading does to a log that is there.
#include "DebugLog.h"

#include "Allocations.h"
#include "ChildProcess.h"
#include "LogFixture.h"
#include "PrivateMounts.h"
#include "SystemCalls.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

using namespace TestSupport;

namespace {

constexpr const char* usualLog = "/mnt/nand/DebugLog.txt";

// Taken by this program's own initialisation, before main.
const std::string nameBeforeMain = g_LogFileName;
void (*const handlerBeforeMain)(const char* text) = g_funcLogHandler;

// Taken before any constructor, of a library or of this program, has run.
bool isHandlerSetBeforeConstructors = false;

__attribute__((no_sanitize("address"), no_sanitize("thread"), no_sanitize("undefined"))) void lookAtHandler() {
  isHandlerSetBeforeConstructors = g_funcLogHandler == default_log_handler;
}

__attribute__((section(".preinit_array"), used)) void (*lookFirst)() = lookAtHandler;

// This program, which then does nothing but load its libraries, run their initialisation and print.
const std::vector<std::string> loadAndEnd = {"/proc/self/exe", "--gtest_list_tests"};

// The log of the usual name after a program was loaded, with "(changed)" behind it where it was written to.
std::string logAfterLoading(const std::string& text) {
  return runInChild([&text] {
           enterPrivateMounts();
           mountTmpfs("/mnt");
           makeDirectories("/mnt/nand");
           writeFile(usualLog, text);
           struct stat before = {};
           struct stat after = {};
           stat(usualLog, &before);
           if (runProgram(loadAndEnd).exitStatus != 0) {
             throw std::runtime_error("the program has not been loaded");
           }
           stat(usualLog, &after);
           const bool isUntouched = before.st_ino == after.st_ino && before.st_ctim.tv_sec == after.st_ctim.tv_sec &&
                                    before.st_ctim.tv_nsec == after.st_ctim.tv_nsec;
           std::printf("%s%s", readFile(usualLog).c_str(), isUntouched ? "" : "(changed)");
         })
      .standardOutput;
}

} // namespace

TEST(LoadingTheLog, GivesTheUsualNameBeforeMain) {
  EXPECT_EQ("/mnt/nand/DebugLog.txt", nameBeforeMain);
}

TEST(LoadingTheLog, SetsTheDefaultHandlerBeforeMain) {
  EXPECT_EQ(&default_log_handler, handlerBeforeMain);
}

TEST(LoadingTheLog, HasTheHandlerAsDataBeforeAnyConstructorRuns) {
  EXPECT_TRUE(isHandlerSetBeforeConstructors);
}

TEST(LoadingTheLog, LeavesALogOfSeveralMegabytesAsItIs) {
  if (!havePrivateMounts()) {
    GTEST_SKIP() << "this machine does not let a process have mounts of its own";
  }
  const std::string text(3000000, 'x');
  EXPECT_TRUE(text == logAfterLoading(text));
}

TEST(LoadingTheLog, CreatesNone) {
  if (!havePrivateMounts()) {
    GTEST_SKIP() << "this machine does not let a process have mounts of its own";
  }
  const Ending_s ending = runInChild([] {
    enterPrivateMounts();
    mountTmpfs("/mnt");
    makeDirectories("/mnt/nand");
    const int status = runProgram(loadAndEnd).exitStatus;
    std::printf("%d %zu", status, filesIn("/mnt/nand").size());
  });
  EXPECT_EQ("0 0", ending.standardOutput);
}

// Run by the test below, in a process of its own.
TEST(LogThatIsUnloaded, DISABLED_HasANameOnTheHeap) {
  reportWhenGivenBack(g_LogFileName.data());
}

TEST(UnloadingTheLog, GivesTheNameBack) {
  if (!areAllocationsSeen()) {
    GTEST_SKIP() << "a sanitizer has a heap of its own";
  }
  const Ending_s ending =
      runProgram({"/proc/self/exe", "--gtest_also_run_disabled_tests", "--gtest_filter=LogThatIsUnloaded.*"});
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("the block is given back\n", ending.standardError);
}

// The log's source in a library of its own in front of the built one, with the order of its work at load as it is or
// turned round: what the tests above and those of the trace must report.
class LogBuiltInFront : public testing::Test {
protected:
  void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer wants to be the first library of a program";
#endif
    if (runProgram({"g++", "-x", "c++", bits, "-shared", "-fPIC", "-o", m_folder.path() + "/try.so", "-"},
                   "#include <string>\n")
            .exitStatus != 0) {
      GTEST_SKIP() << "there is no compiler for this bitness";
    }
  }

  void buildInFront(const std::string& source) const {
    const std::string file = m_folder.path() + "/log.cpp";
    const std::string library = m_folder.path() + "/log.so";
    writeFile(file, source + endAtOnce);
    const std::string utils = ZEMO_SOURCE_DIR "/Utils";
    const std::string texts = utils + "/src/TextOf.cpp";
    const Ending_s compiler =
        runProgram({"g++", bits, "-std=c++17", "-shared", "-fPIC", "-D_FILE_OFFSET_BITS=64", "-D_TIME_BITS=64",
                    "-I" + utils + "/include", "-I" + utils + "/src", "-o", library, file, texts});
    ASSERT_EQ(0, compiler.exitStatus) << compiler.standardError;
    setenv("LD_PRELOAD", library.c_str(), 1);
  }

  static std::string sourceOfLog() {
    return readFile(ZEMO_SOURCE_DIR "/Utils/src/DebugLog.cpp");
  }

  static std::string sourceWithNamingFirst() {
    const std::string check = "    log_check_size();\n";
    const std::string naming = "    g_LogFileName = defaultFileName;\n";
    std::string source = sourceOfLog();
    const std::size_t place = source.find(check + naming);
    if (place == std::string::npos) {
      throw std::runtime_error("the log's work at load is written otherwise");
    }
    return source.replace(place, check.size() + naming.size(), naming + check);
  }

  // Whether the program's trace, as far as there is one, shows an open of the log.
  static std::vector<std::string> openedAtLoad() {
    const SystemCalls_s calls = traceProgram(loadAndEnd);
    return calls.isTraced && calls.exitStatus == 0 ? openedBesidesLibraries(calls)
                                                   : std::vector<std::string>{"(not traced)"};
  }

  // Both libraries have made the one name, and would destroy it both.
  static constexpr const char* endAtOnce = "__attribute__((destructor)) static void endAtOnce() {\n"
                                           "  std::fflush(nullptr);\n"
                                           "  _exit(0);\n"
                                           "}\n";
  static constexpr const char* bits = sizeof(void*) == 8 ? "-m64" : "-m32";
  const TemporaryFolder_c m_folder;
};

TEST_F(LogBuiltInFront, AsItIsOpensNoNamedFileAtLoad) {
  if (!systemCallsOf([] {})) {
    GTEST_SKIP() << "this machine does not let a process be traced";
  }
  buildInFront(sourceOfLog());
  EXPECT_EQ((std::vector<std::string>{"", ""}), openedAtLoad());
}

TEST_F(LogBuiltInFront, WithTheNamingFirstIsSeenToOpenTheLogAtLoad) {
  if (!systemCallsOf([] {})) {
    GTEST_SKIP() << "this machine does not let a process be traced";
  }
  buildInFront(sourceWithNamingFirst());
  const std::vector<std::string> opened = openedAtLoad();
  EXPECT_EQ(1, std::count(opened.begin(), opened.end(), usualLog));
}

TEST_F(LogBuiltInFront, AsItIsLeavesALogOfSeveralMegabytesAsItIs) {
  if (!havePrivateMounts()) {
    GTEST_SKIP() << "this machine does not let a process have mounts of its own";
  }
  buildInFront(sourceOfLog());
  const std::string text(3000000, 'x');
  EXPECT_TRUE(text == logAfterLoading(text));
}

TEST_F(LogBuiltInFront, WithTheNamingFirstIsSeenToClearALogOfSeveralMegabytes) {
  if (!havePrivateMounts()) {
    GTEST_SKIP() << "this machine does not let a process have mounts of its own";
  }
  buildInFront(sourceWithNamingFirst());
  EXPECT_EQ("LogCleared(changed)", logAfterLoading(std::string(3000000, 'x')));
}
