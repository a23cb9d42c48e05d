#include "FileUtil.h"

#include "CapturedOutput.h"
#include "LibraryCalls.h"
#include "Media.h"

#include <array>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace TestSupport;

namespace {

const std::string copy = "cp /opt/zemo/Save_TASKDATA_Files_To_PC.bat ";

// The commands that the library hands to the shell; none of them is run.
std::array<std::string, 4> commands;
std::size_t commandCount = 0;

int takeCommand(const char* command) {
  commands.at(commandCount++) = command;
  return 0;
}

class CopyPCBackupBatchFile : public Media {
protected:
  // Both commands, with recording tools in their place.
  std::string recorded(std::string destination, int exitStatus = 0) const {
    const RecordingTools_c tools(m_folder.path(), {"cp", "sync"}, exitStatus);
    FileUtil::copyPCBackupBatchFile(destination);
    return tools.calls();
  }
};

class CommandsOfTheCopy : public testing::Test {
protected:
  CommandsOfTheCopy() {
    for (std::string& command : commands) {
      command.reserve(6000);
    }
    commandCount = 0;
  }

  // What is taken from the heap for a destination.
  static std::size_t blocksFor(std::string destination) {
    commandCount = 0;
    const HeapUse_c heap;
    const LibraryCall_c call("system", &takeCommand);
    const std::size_t before = heap.taken();
    FileUtil::copyPCBackupBatchFile(destination);
    return heap.taken() - before;
  }
};

} // namespace

TEST_F(CommandsOfTheCopy, AreCpAndThenSync) {
  std::string destination = "/mnt/usb1/";
  const LibraryCall_c call("system", &takeCommand);
  FileUtil::copyPCBackupBatchFile(destination);
  ASSERT_EQ(2U, commandCount);
  EXPECT_EQ("cp /opt/zemo/Save_TASKDATA_Files_To_PC.bat /mnt/usb1/", commands[0]);
  EXPECT_EQ("sync", commands[1]);
  EXPECT_EQ("/mnt/usb1/", destination);
}

TEST_F(CommandsOfTheCopy, HaveTheWholeDestinationWhateverItsLength) {
  const LibraryCall_c call("system", &takeCommand);
  for (const std::size_t length : {0U, 1U, 35U, 36U, 37U, 38U, 80U, 5000U}) {
    commandCount = 0;
    std::string destination(length, 'd');
    FileUtil::copyPCBackupBatchFile(destination);
    ASSERT_EQ(2U, commandCount);
    EXPECT_EQ(copy + destination, commands[0]);
    EXPECT_EQ("sync", commands[1]);
  }
}

TEST_F(CommandsOfTheCopy, TakeNothingFromTheHeapUpTo36Characters) {
  EXPECT_EQ(0U, blocksFor(""));
  EXPECT_EQ(0U, blocksFor("/mnt/usb1/"));
  EXPECT_EQ(0U, blocksFor(std::string(36, 'd')));
  // A longer one shows that what is taken is seen.
  EXPECT_LT(0U, blocksFor(std::string(37, 'd')));
}

TEST_F(CommandsOfTheCopy, HaveADestinationWithPercentSignsAsItIs) {
  std::string destination = "/mnt/%s%n%d";
  const LibraryCall_c call("system", &takeCommand);
  FileUtil::copyPCBackupBatchFile(destination);
  EXPECT_EQ(copy + "/mnt/%s%n%d", commands[0]);
}

TEST_F(CopyPCBackupBatchFile, RunsBothCommands) {
  inMounts([this] {
    for (const std::size_t length : {10U, 36U, 37U, 5000U}) {
      const std::string destination(length, 'd');
      EXPECT_EQ(copy + destination + "\nsync\n", recorded(destination));
    }
  });
}

TEST_F(CopyPCBackupBatchFile, RunsSyncAlsoWhereCpFails) {
  inMounts([this] { EXPECT_EQ(copy + "/mnt/usb1/\nsync\n", recorded("/mnt/usb1/", 1)); });
}

TEST_F(CopyPCBackupBatchFile, LetsTheShellExpandTheDestination) {
  inMounts([this] {
    setenv("ZEMO_TEST_MEDIUM", "/mnt/sdcard1", 1);
    EXPECT_EQ(copy + "/mnt/sdcard1/x\nsync\n", recorded("\"$ZEMO_TEST_MEDIUM\"/x"));
  });
}

TEST_F(CopyPCBackupBatchFile, PrintsNothing) {
  inMounts([this] {
    const CapturedOutput_c captured;
    recorded("/mnt/usb1/", 1);
    const std::string output = captured.standardOutput() + captured.standardError();
    EXPECT_EQ("", output);
  });
}

TEST_F(CopyPCBackupBatchFile, ReallyCopiesTheFile) {
  inMounts([] {
    setenv("PATH", "/usr/bin:/bin", 1);
    writeFile("/opt/zemo/Save_TASKDATA_Files_To_PC.bat", "copy TASKDATA\r\n");
    std::string destination = "/mnt/usb1/";
    FileUtil::copyPCBackupBatchFile(destination);
    EXPECT_EQ("copy TASKDATA\r\n", readFile("/mnt/usb1/Save_TASKDATA_Files_To_PC.bat"));
  });
}
