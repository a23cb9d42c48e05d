// Where the log cannot be written, or is no ordinary file.
#include "DebugLog.h"

#include "ChildProcess.h"
#include "LogFixture.h"
#include "PrivateMounts.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <sys/resource.h>

using namespace TestSupport;

namespace {

// A child that hangs is ended by this.
constexpr unsigned int longestSeconds = 20;

Ending_s runInTime(const std::function<void()>& function) {
  return runInChild([&function] {
    std::signal(SIGALRM, SIG_DFL);
    alarm(longestSeconds);
    function();
  });
}

// The message reaches standard error, and nothing else is printed.
void expectOnlyOnStandardError(const Ending_s& ending, const std::string& text) {
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ(0, ending.signal);
  EXPECT_EQ("", ending.standardOutput);
  EXPECT_EQ(text, ending.standardError);
}

unsigned int modeOf(const std::string& path) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

// An ordinary user, for whom permissions count; every root of a machine has one.
void becomeOrdinaryUser() {
  constexpr uid_t nobody = 65534;
  if (getuid() == 0 && (setgid(nobody) != 0 || setuid(nobody) != 0)) {
    throw std::runtime_error("root cannot become another user");
  }
}

bool canBecomeOrdinaryUser() {
  return runInChild(becomeOrdinaryUser).exitStatus == 0;
}

std::string readWhatIsThere(int descriptor) {
  std::string text(100000, '\0');
  const ssize_t size = read(descriptor, text.data(), text.size());
  text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
  return text;
}

} // namespace

class LogFile : public LogFixture {
protected:
  ~LogFile() override { chmod(m_folder.path().c_str(), 0700); }

  // The folder, which is another user's, can be looked into by everybody.
  void openFolder(unsigned int mode) const { ASSERT_EQ(0, chmod(m_folder.path().c_str(), mode)); }

  void makeLog(const std::string& text, unsigned int mode) const {
    writeFile(log(), text);
    ASSERT_EQ(0, chmod(log().c_str(), mode));
  }
};

TEST_F(LogFile, InAMissingFolderLeavesTheMessageOnStandardError) {
  const std::string folder = m_folder.path() + "/missing";
  expectOnlyOnStandardError(runInTime([&folder] {
                              set_log_filename((folder + "/log.txt").c_str());
                              log_msg("still %s\n", "here");
                              log_check_size();
                              log_clear();
                            }),
                            "still here\n");
  EXPECT_FALSE(exists(folder));
}

TEST_F(LogFile, WithoutANameLeavesTheMessageOnStandardError) {
  expectOnlyOnStandardError(runInTime([] {
                              set_log_filename("");
                              log_msg("still here\n");
                              log_clear();
                            }),
                            "still here\n");
}

TEST_F(LogFile, ThatIsAFolderLeavesTheMessageOnStandardError) {
  const std::string folder = m_folder.path() + "/folder";
  makeDirectories(folder + "/inside");
  expectOnlyOnStandardError(runInTime([&folder] {
                              set_log_filename(folder.c_str());
                              log_msg("100%% done\n");
                              log_check_size();
                              log_clear();
                            }),
                            "100 0one\n");
  EXPECT_TRUE(exists(folder + "/inside"));
}

TEST_F(LogFile, InAFolderThatTakesNoFileLeavesTheMessageOnStandardError) {
  if (!canBecomeOrdinaryUser()) {
    GTEST_SKIP() << "root cannot become another user here, and may write everywhere";
  }
  openFolder(0555);
  expectOnlyOnStandardError(runInTime([] {
                              becomeOrdinaryUser();
                              log_msg("still here\n");
                              log_check_size();
                              log_clear();
                            }),
                            "still here\n");
  EXPECT_FALSE(exists(log()));
}

// Messages are appended to a file that is open for reading too.
TEST_F(LogFile, ThatMayNotBeReadOrNotBeWrittenStaysAsItIs) {
  if (!canBecomeOrdinaryUser()) {
    GTEST_SKIP() << "root cannot become another user here, and may write everywhere";
  }
  openFolder(0755);
  for (const unsigned int mode : {0222U, 0444U}) {
    makeLog("as it is", mode);
    expectOnlyOnStandardError(runInTime([] {
                                becomeOrdinaryUser();
                                log_msg("still here\n");
                                log_clear();
                              }),
                              "still here\n");
    EXPECT_EQ("as it is", logged()) << mode;
  }
}

TEST_F(LogFile, BeyondTheLimitThatMayNotBeReadIsNotCleared) {
  if (!canBecomeOrdinaryUser()) {
    GTEST_SKIP() << "root cannot become another user here, and may write everywhere";
  }
  openFolder(0755);
  makeLog(std::string(1000001, 'x'), 0222);
  expectOnlyOnStandardError(runInTime([] {
                              becomeOrdinaryUser();
                              log_check_size();
                            }),
                            "");
  EXPECT_EQ(1000001, sizeOfFile(log()));
}

TEST_F(LogFile, IsMadeWithThePermissionsThatTheUmaskLeaves) {
  for (const auto& [mask, mode] : {std::pair(0U, 0666U), std::pair(027U, 0640U), std::pair(0177U, 0600U)}) {
    const auto create = [mask = mask](void (*function)()) {
      runInTime([mask, function] {
        umask(mask);
        function();
      });
    };
    create([] { log_msg("message\n"); });
    EXPECT_EQ(mode, modeOf(log()));
    std::filesystem::remove(log());
    create(log_clear);
    EXPECT_EQ(mode, modeOf(log()));
    std::filesystem::remove(log());
  }
}

TEST_F(LogFile, KeepsThePermissionsThatItHas) {
  makeLog("there before\n", 0604);
  runInTime([] {
    log_msg("message\n");
    log_clear();
  });
  EXPECT_EQ(0604U, modeOf(log()));
  EXPECT_EQ("LogCleared", logged());
}

TEST_F(LogFile, ThatIsALinkIsWrittenAndClearedWhereItLeads) {
  const std::string target = m_folder.path() + "/target.txt";
  writeFile(target, std::string(1000001, 'x'));
  std::filesystem::create_symlink(target, log());
  runInTime(log_check_size);
  runInTime([] { log_msg("\nmessage\n"); });
  EXPECT_EQ("LogCleared\nmessage\n", readFile(target));
  EXPECT_TRUE(std::filesystem::is_symlink(log()));
}

TEST_F(LogFile, ThatIsADanglingLinkCreatesItsTarget) {
  const std::string target = m_folder.path() + "/target.txt";
  std::filesystem::create_symlink("target.txt", log());
  runInTime(log_check_size);
  EXPECT_FALSE(exists(target));
  runInTime([] { log_msg("message\n"); });
  EXPECT_EQ("message\n", readFile(target));
  std::filesystem::remove(target);
  runInTime(log_clear);
  EXPECT_EQ("LogCleared", readFile(target));
}

TEST_F(LogFile, ThatIsALinkToItselfLeavesTheMessageOnStandardError) {
  std::filesystem::create_symlink(log(), log());
  expectOnlyOnStandardError(runInTime([] {
                              log_msg("still here\n");
                              log_check_size();
                              log_clear();
                            }),
                            "still here\n");
}

TEST_F(LogFile, IsRelativeToTheWorkingDirectoryOfTheMoment) {
  runInTime([this] {
    set_log_filename("relative.txt");
    std::filesystem::current_path(m_folder.path());
    log_msg("message\n");
  });
  EXPECT_EQ("message\n", readFile(m_folder.path() + "/relative.txt"));
}

class LogPipe : public LogFixture {
protected:
  LogPipe() {
    if (mkfifo(log().c_str(), 0600) != 0) {
      throw std::runtime_error("no named pipe");
    }
  }
};

TEST_F(LogPipe, IsCheckedWithoutWaitingForItsOtherEnd) {
  expectOnlyOnStandardError(runInTime(log_check_size), "");
}

TEST_F(LogPipe, IsNotClearedByTheCheck) {
  const int reader = open(log().c_str(), O_RDONLY | O_NONBLOCK);
  log_check_size();
  EXPECT_EQ("", readWhatIsThere(reader));
  close(reader);
}

TEST_F(LogPipe, GivesTheMessagesToItsReader) {
  const int reader = open(log().c_str(), O_RDONLY | O_NONBLOCK);
  expectOnlyOnStandardError(runInTime([] {
                              log_msg("one\n");
                              log_clear();
                              log_msg("\n%s\n", "two");
                            }),
                            "one\n\ntwo\n");
  EXPECT_EQ("one\nLogCleared\ntwo\n", readWhatIsThere(reader));
  close(reader);
}

TEST_F(LogPipe, WithoutAReaderDoesNotStopTheApplication) {
  expectOnlyOnStandardError(runInTime([] {
                              log_msg("one\n");
                              log_clear();
                              log_msg("two\n");
                            }),
                            "one\ntwo\n");
}

class LogMsg : public LogFixture {};

TEST_F(LogMsg, CallsANullHandlerWithoutACheck) {
  const Ending_s ending = runInTime([] {
    const rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    std::signal(SIGSEGV, SIG_DFL);
    set_log_handler(nullptr);
    if (g_funcLogHandler != nullptr) {
      _exit(1);
    }
    log_msg("message\n");
  });
  EXPECT_EQ(SIGSEGV, ending.signal);
  EXPECT_EQ("", ending.standardError);
  EXPECT_FALSE(exists(log()));
}

TEST_F(LogMsg, WritesTheFileAlsoWithoutAStandardError) {
  const Ending_s ending = runInTime([] {
    close(STDERR_FILENO);
    log_msg("message\n");
  });
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("message\n", logged());
}

TEST_F(LogMsg, WritesTheFileAlsoWithoutAStandardInput) {
  runInTime([] {
    close(STDIN_FILENO);
    log_msg("message\n");
    log_msg("more\n");
  });
  EXPECT_EQ("message\nmore\n", logged());
}

// On file systems of the child's own.
class LogOnMount : public testing::Test {
protected:
  void SetUp() override {
    if (!havePrivateMounts()) {
      GTEST_SKIP() << "this machine does not let a process have mounts of its own";
    }
  }

  // The child prints on standard output what is in the log at its end.
  static Ending_s runOnMount(const std::string& options, const std::function<void()>& function) {
    return runInTime([&options, &function] {
      enterPrivateMounts();
      mountTmpfs("/mnt", options);
      makeDirectories("/mnt/nand");
      set_log_filename("/mnt/nand/DebugLog.txt");
      function();
      const std::string text = exists("/mnt/nand/DebugLog.txt") ? readFile("/mnt/nand/DebugLog.txt") : "(none)";
      std::fwrite(text.data(), 1, text.size(), stdout);
    });
  }
};

TEST_F(LogOnMount, ThatIsReadOnlyLeavesTheMessageOnStandardErrorAndTheLogAsItIs) {
  const Ending_s ending = runOnMount("", [] {
    writeFile("/mnt/nand/DebugLog.txt", std::string(1000001, 'x'));
    remountReadOnly("/mnt");
    log_msg("still here\n");
    log_check_size();
    log_clear();
  });
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("still here\n", ending.standardError);
  EXPECT_TRUE(std::string(1000001, 'x') == ending.standardOutput);
}

TEST_F(LogOnMount, ThatIsReadOnlyGetsNoLog) {
  const Ending_s ending = runOnMount("", [] {
    remountReadOnly("/mnt");
    log_msg("still here\n");
    log_check_size();
    log_clear();
  });
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("still here\n", ending.standardError);
  EXPECT_EQ("(none)", ending.standardOutput);
}

TEST_F(LogOnMount, ThatIsFullLosesTheMessageInTheFileOnly) {
  const Ending_s ending = runOnMount("size=16k", [] {
    log_msg("before\n");
    const int filler = open("/mnt/filler", O_WRONLY | O_CREAT, 0600);
    const std::array<char, 4096> page{};
    while (write(filler, page.data(), page.size()) > 0) {
    }
    close(filler);
    log_msg("%5000s\n", "too much");
    std::filesystem::remove("/mnt/filler");
    log_msg("after\n");
  });
  EXPECT_EQ(0, ending.exitStatus);
  const std::string message = std::string(4992, ' ') + "too much\n";
  EXPECT_EQ("before\n" + message + "after\n", ending.standardError);
  // What fits into the last page is there, then the next message.
  EXPECT_EQ("before\n" + message.substr(0, 4096 - 7) + "after\n", ending.standardOutput);
}

TEST_F(LogOnMount, ThatTheLogItselfHasFilledIsFreedByClearing) {
  const Ending_s ending = runOnMount("size=16k", [] {
    log_msg("%30000s\n", "too much");
    log_clear();
    log_msg("\nafter\n");
  });
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("LogCleared\nafter\n", ending.standardOutput);
}
