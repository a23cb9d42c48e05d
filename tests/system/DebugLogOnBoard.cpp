// The log under its default name on the flash: as it is, read-only, full, and with space again.
#include "DebugLog.h"

#include "FileUtil.h"
#include "SignalHandling.h"

#include "Board.h"
#include "ChildProcess.h"
#include "Entries.h"
#include "Files.h"
#include "PrivateMounts.h"
#include "StartedProgram.h"

#include <filesystem>
#include <ostream>
#include <sys/mount.h>
#include <unistd.h>

using namespace Board;
using namespace TestSupport;

namespace {

const std::string flash = "/mnt/nand";
const std::string logFile = "/mnt/nand/DebugLog.txt";

std::string logged() {
  return readFile(logFile);
}

void remountFlash(unsigned long flags) {
  mountDisk("none", flash, "none", MS_REMOUNT | flags);
}

void expectOnlyOnStandardError(const Ending_s& ending, const std::string& text) {
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ(0, ending.signal);
  EXPECT_EQ("", ending.standardOutput);
  EXPECT_EQ(text, ending.standardError);
}

class BoardLog : public OnBoard {
protected:
  void TearDown() override {
    if (!IsSkipped()) {
      remountFlash(0);
      std::filesystem::remove(logFile);
    }
  }
};

// A flash of its own in place of the board's: of a kind, and small enough to be filled.
class BoardLogOn : public OnBoard, public testing::WithParamInterface<const char*> {
protected:
  void SetUp() override {
    OnBoard::SetUp();
    if (IsSkipped()) {
      return;
    }
    const std::string kind = GetParam();
    if (kind == "tmpfs") {
      mountDisk("none", flash, kind, 0, "size=256k");
      return;
    }
    if (!hasFileSystem(kind)) {
      GTEST_SKIP() << "this board's kernel has no " << kind;
    }
    m_device = deviceOf(medium);
    unmountDisk(medium);
    format(kind);
    mountDisk(m_device, flash, kind);
  }

  void TearDown() override {
    if (IsSkipped()) {
      return;
    }
    unmountDisk(flash);
    if (!m_device.empty()) {
      format("vfat");
      mountDisk(m_device, medium, "vfat");
    }
  }

  static void fillUp() { fill(flash + "/filler"); }

  static void makeRoom() {
    std::filesystem::remove(flash + "/filler");
    sync();
  }

private:
  void format(const std::string& kind) const {
    const Ending_s ending =
        kind == "vfat"
            ? runProgram({"/bin/busybox", "mkdosfs", m_device})
            : runProgram({"/sbin/mkfs." + kind, "-q", "-F", "-m", "0", "-E", "lazy_itable_init=1,nodiscard", m_device});
    ASSERT_EQ(0, ending.exitStatus) << ending.standardError;
  }

  const std::string medium = "/media/usb0";
  std::string m_device;
};

INSTANTIATE_TEST_SUITE_P(Flash, BoardLogOn, testing::Values("tmpfs", "vfat", "ext4"),
                         [](const auto& row) { return row.param; });

const std::string longMessage = std::string(3998, 'm') + "\n";

// Longer together than any block of the flash.
constexpr int manyMessages = 20;

std::string manyLongMessages() {
  std::string text;
  for (int number = 0; number < manyMessages; ++number) {
    text += longMessage;
  }
  return text;
}

void logManyLongMessages() {
  for (int number = 0; number < manyMessages; ++number) {
    log_msg("%s", longMessage.c_str());
  }
}

bool isPrefix(const std::string& text, const std::string& whole) {
  return whole.compare(0, text.size(), text) == 0;
}

} // namespace

TEST_F(BoardLog, StandsOnTheFlashUnderItsDefaultName) {
  const Ending_s ending = runProgram({boardProgram(), "message", "first"});
  expectOnlyOnStandardError(ending, "first\n");
  EXPECT_EQ("first\n", logged());
  runProgram({boardProgram(), "message", "second"});
  EXPECT_EQ("first\nsecond\n", logged());
}

TEST_F(BoardLog, OfMoreThanTheLimitIsLeftAloneByLoadingTheLibrary) {
  const std::string before(2500000, 'x');
  writeFile(logFile, before);
  runProgram({boardProgram(), "message", "after"});
  EXPECT_TRUE(before + "after\n" == logged());
}

TEST_F(BoardLog, OfMoreThanTheLimitIsClearedByTheCheck) {
  writeFile(logFile, std::string(1000000, 'x'));
  runProgram({boardProgram(), "check-log"});
  EXPECT_EQ(1000000U, std::filesystem::file_size(logFile));
  writeFile(logFile, std::string(1000001, 'x'));
  runProgram({boardProgram(), "check-log"});
  EXPECT_EQ("LogCleared", logged());
}

TEST_F(BoardLog, OnAReadOnlyFlashStaysAsItIsAndGoesOnAfterwards) {
  const std::string before = std::string(1000001, 'x') + "\n";
  writeFile(logFile, before);
  remountFlash(MS_RDONLY);
  expectOnlyOnStandardError(runInChild([] {
                              log_msg("still here\n");
                              log_check_size();
                              log_clear();
                              log_msg("and %s\n", "here");
                            }),
                            "still here\nand here\n");
  EXPECT_TRUE(before == logged());
  remountFlash(0);
  expectOnlyOnStandardError(runInChild([] { log_msg("once more\n"); }), "once more\n");
  EXPECT_TRUE(before + "once more\n" == logged());
}

TEST_F(BoardLog, IsNotMadeOnAReadOnlyFlash) {
  remountFlash(MS_RDONLY);
  expectOnlyOnStandardError(runInChild([] {
                              log_msg("still here\n");
                              log_check_size();
                              log_clear();
                              PrintBackTrace(true);
                            }),
                            "still here\n");
  EXPECT_FALSE(isThere(logFile));
}

TEST_F(BoardLog, ThatBecomesReadOnlyWhileTheProgramRunsIsFoundAgainByIt) {
  expectOnlyOnStandardError(runInChild([] {
                              log_msg("one\n");
                              remountFlash(MS_RDONLY);
                              log_msg("two\n");
                              remountFlash(0);
                              log_msg("three\n");
                            }),
                            "one\ntwo\nthree\n");
  EXPECT_EQ("one\nthree\n", logged());
}

TEST_P(BoardLogOn, ThatIsFullLosesMessagesInTheFileOnly) {
  log_msg("before\n");
  fillUp();
  EXPECT_EQ(0, FileUtil::getFreeDiskSpacePercent(flash.c_str()));
  expectOnlyOnStandardError(runInChild(logManyLongMessages), manyLongMessages());
  const std::string full = logged();
  // What still fits into the file's last block, and no more.
  EXPECT_TRUE(isPrefix(full, "before\n" + manyLongMessages()));
  EXPECT_LE(full.size(), 65536U);
  EXPECT_GE(full.size(), 7U);
}

TEST_P(BoardLogOn, ThatWasFullGoesOnWhereItStoodWhenThereIsSpace) {
  log_msg("before\n");
  fillUp();
  runInChild(logManyLongMessages);
  const std::string full = logged();
  makeRoom();
  expectOnlyOnStandardError(runInChild([] { log_msg("\nafter\n"); }), "\nafter\n");
  EXPECT_EQ(full + "\nafter\n", logged());
  runInChild(logManyLongMessages);
  EXPECT_TRUE(full + "\nafter\n" + manyLongMessages() == logged());
}

TEST_P(BoardLogOn, ThatIsFullHasNoRoomForANewLog) {
  fillUp();
  expectOnlyOnStandardError(runInChild([] { log_msg("still here\n"); }), "still here\n");
  EXPECT_EQ("", isThere(logFile) ? logged() : "");
  makeRoom();
  runInChild([] { log_msg("after\n"); });
  EXPECT_EQ("after\n", logged());
}

// The log itself has filled the flash: what it held is the room for its new beginning.
TEST_P(BoardLogOn, ThatTheLogHasFilledIsFreedByTheCheck) {
  fillUp();
  std::filesystem::rename(flash + "/filler", logFile);
  runInChild([] {
    log_msg("lost\n");
    if (std::string(GetParam()) == "tmpfs") {
      log_clear(); // too small for the check's limit
    } else {
      log_check_size();
    }
    log_msg("\nafter\n");
  });
  EXPECT_EQ("LogCleared\nafter\n", logged());
  EXPECT_GT(FileUtil::getFreeDiskSpacePercent(flash.c_str()), 50);
}

TEST_P(BoardLogOn, ThatIsReadOnlyKeepsWhatItHas) {
  log_msg("before\n");
  remountFlash(MS_RDONLY);
  expectOnlyOnStandardError(runInChild([] {
                              log_msg("lost\n");
                              log_clear();
                            }),
                            "lost\n");
  remountFlash(0);
  log_msg("after\n");
  EXPECT_EQ("before\nafter\n", logged());
}
