// Media that are really mounted and really go.
#include "FileUtil.h"

#include "Board.h"
#include "ChildProcess.h"
#include "Entries.h"
#include "FileListings.h"
#include "Files.h"
#include "PrivateMounts.h"
#include "StartedProgram.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <ostream>
#include <sys/mount.h>
#include <unistd.h>

using namespace Board;
using namespace TestSupport;

namespace {

using Names_t = std::vector<std::string>;

struct Medium_s {
  std::string name;
  std::string path;
};

void PrintTo(const Medium_s& medium, std::ostream* stream) {
  *stream << medium.path;
}

const Medium_s media[] = {{"UsbStick", "/mnt/usb1"}, {"SdCard", "/mnt/sdcard1"}, {"SecondUsbStick", "/media/usb0"}};

// The media as the board has them: disks. Afterwards they are mounted again, and empty.
class OnBoardWithMedia : public OnBoard {
protected:
  void SetUp() override {
    OnBoard::SetUp();
    if (IsSkipped()) {
      return;
    }
    for (const Medium_s& medium : media) {
      m_devices.push_back(deviceOf(medium.path));
      ASSERT_EQ("vfat", typeOf(medium.path)) << medium.path;
    }
  }

  void TearDown() override {
    std::filesystem::current_path("/");
    for (std::size_t index = 0; index < m_devices.size(); ++index) {
      const std::string& path = media[index].path;
      mountAgain(index);
      for (const auto& entry : std::filesystem::directory_iterator(path)) {
        std::filesystem::remove_all(entry.path());
      }
    }
  }

  void mountAgain(std::size_t index = 0) const {
    if (!isMountPoint(media[index].path)) {
      mountDisk(m_devices[index], media[index].path, "vfat");
    }
  }

  // What a listing says, from a child: its standard output, and the rest for the caller.
  static Ending_s listFiles(const std::string& folder) { return runProgram({boardProgram(), "files", folder}); }

private:
  std::vector<std::string> m_devices;
};

class BoardForceUnmount : public OnBoardWithMedia {};
class BoardForceUnmountOf : public OnBoardWithMedia, public testing::WithParamInterface<Medium_s> {};
class BoardListing : public OnBoardWithMedia {};
class BoardDeletion : public OnBoardWithMedia {};
class BoardBatchFile : public OnBoardWithMedia {};
class BoardDiskSpace : public OnBoardWithMedia {};
class BoardCreateDirectory : public OnBoardWithMedia {};

INSTANTIATE_TEST_SUITE_P(Media, BoardForceUnmountOf, testing::ValuesIn(media),
                         [](const auto& row) { return row.param.name; });

constexpr const char* batchFile = "/opt/zemo/Save_TASKDATA_Files_To_PC.bat";

} // namespace

TEST_P(BoardForceUnmountOf, TakesTheMediumAwayAndLeavesTheOthers) {
  const std::string& path = GetParam().path;
  writeFile(path + "/kept.txt", "on the disk");
  const std::string device = deviceOf(path);
  EXPECT_TRUE(FileUtil::forceUnmount((path + "/data/").c_str()));
  for (const Medium_s& medium : media) {
    EXPECT_EQ(medium.path != path, isMountPoint(medium.path)) << medium.path;
  }
  EXPECT_TRUE(isMountPoint("/mnt/nand"));
  EXPECT_FALSE(isThere(path + "/kept.txt"));
  mountDisk(device, path, "vfat");
  EXPECT_EQ("on the disk", readFile(path + "/kept.txt"));
}

TEST_P(BoardForceUnmountOf, LeavesAMediumInUseWhereItIs) {
  const std::string& path = GetParam().path;
  writeFile(path + "/used.txt", "in use");
  const int used = open((path + "/used.txt").c_str(), O_RDONLY | O_CLOEXEC);
  EXPECT_TRUE(FileUtil::forceUnmount((path + "/").c_str()));
  EXPECT_TRUE(isMountPoint(path));
  EXPECT_EQ("in use", readFile(path + "/used.txt"));
  close(used);
  EXPECT_TRUE(FileUtil::forceUnmount((path + "/").c_str()));
  EXPECT_FALSE(isMountPoint(path));
}

TEST_F(BoardForceUnmount, LeavesAMediumWithAWorkingDirectoryOnItWhereItIs) {
  makeDirectories("/mnt/usb1/data");
  std::filesystem::current_path("/mnt/usb1/data");
  EXPECT_TRUE(FileUtil::forceUnmount("/mnt/usb1/"));
  EXPECT_TRUE(isMountPoint("/mnt/usb1"));
  // The test for a folder takes the process to another place.
  EXPECT_TRUE(FileUtil::directoryExists("/mnt/usb1/data"));
  EXPECT_TRUE(FileUtil::forceUnmount("/mnt/usb1/"));
  EXPECT_FALSE(isMountPoint("/mnt/usb1"));
}

TEST_F(BoardForceUnmount, WithoutASlashOrOfTheFlashLeavesEverythingMounted) {
  for (const char* path : {"/mnt/usb1", "/mnt/sdcard1", "/media/usb0", "/mnt/nand", "/mnt/nand/", "/mnt/usb2/"}) {
    EXPECT_FALSE(FileUtil::forceUnmount(path)) << path;
  }
  for (const char* path : {"/mnt/usb1", "/mnt/sdcard1", "/media/usb0", "/mnt/nand"}) {
    EXPECT_TRUE(isMountPoint(path)) << path;
  }
}

TEST_F(BoardForceUnmount, IsTrueOfAMediumThatIsGoneAlready) {
  EXPECT_TRUE(FileUtil::forceUnmount("/mnt/usb1/"));
  EXPECT_TRUE(FileUtil::forceUnmount("/mnt/usb1/"));
  EXPECT_FALSE(isMountPoint("/mnt/usb1"));
}

TEST_F(BoardListing, GivesWhatIsOnTheMedium) {
  makeDirectories("/mnt/usb1/data/maps");
  writeFile("/mnt/usb1/data/10.bin", std::string(10, 'x'));
  writeFile("/mnt/usb1/data/A file with a long name.bin", std::string(20, 'x'));
  const Files_s files = filesOf("/mnt/usb1/data/");
  EXPECT_TRUE(files.isComplete);
  EXPECT_EQ((Names_t{"10.bin", "A file with a long name.bin"}), sorted(files.result.m_FileNames));
  EXPECT_EQ(30, files.result.m_TotalSize);
  const SubDirectories_s directories = subDirectoriesOf("/mnt/usb1/data/");
  EXPECT_TRUE(directories.isComplete);
  EXPECT_EQ(Names_t{"maps"}, directories.names);
  EXPECT_TRUE(isMountPoint("/mnt/usb1"));
}

// A file that is looked for beside the folder fails, and the folder that is listed is shut before the medium goes. The
// medium takes "data." and "data.." for "data": FAT knows no name that ends in a dot.
TEST_F(BoardListing, ThatFailsTakesTheMediumAway) {
  makeDirectories("/mnt/usb1/data");
  writeFile("/mnt/usb1/data/10.bin", std::string(10, 'x'));
  const Ending_s ending = listFiles("/mnt/usb1/data");
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("error stat on file /mnt/usb1/data10.bin\nfailed 0\n", ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
  EXPECT_FALSE(isMountPoint("/mnt/usb1"));
  mountAgain();
  EXPECT_EQ(std::string(10, 'x'), readFile("/mnt/usb1/data/10.bin"));
}

TEST_F(BoardListing, ThatFailsOnTheFlashLeavesItMounted) {
  makeDirectories("/mnt/nand/data");
  const Ending_s ending = listFiles("/mnt/nand/data");
  std::filesystem::remove_all("/mnt/nand/data");
  EXPECT_EQ(0U, ending.standardOutput.find("error stat on file /mnt/nand/data.")) << ending.standardOutput;
  EXPECT_EQ("failed 0\n", ending.standardOutput.substr(ending.standardOutput.find('\n') + 1));
  EXPECT_TRUE(isMountPoint("/mnt/nand"));
}

TEST_F(BoardListing, OfSubDirectoriesThatFailsLeavesTheMediumMounted) {
  makeDirectories("/mnt/usb1/data/maps");
  const Ending_s ending = runProgram({boardProgram(), "directories", "/mnt/usb1/data"});
  EXPECT_EQ("error stat on file /mnt/usb1/datamaps\ncomplete 0\n", ending.standardOutput);
  EXPECT_TRUE(isMountPoint("/mnt/usb1"));
}

// Another program stands in the middle of its own listing, with the folder open: the medium is in use. Once that has
// ended, the next listing that fails takes it away.
TEST_F(BoardListing, ThatFailsWhileAnotherProgramListsLeavesTheMediumToIt) {
  makeDirectories("/mnt/usb1/many");
  makeDirectories("/mnt/usb1/data/maps");
  constexpr int files = 350; // their lines do not fit into a pipe
  for (int number = 0; number < files; ++number) {
    writeFile("/mnt/usb1/many/" + std::to_string(number) + std::string(200, 'n'), "");
  }
  StartedProgram_c other({boardProgram(), "directories", "/mnt/usb1/many"});
  ASSERT_TRUE(waitUntil([&other] { return other.isWaitingToWrite(); }));
  EXPECT_EQ("error stat on file /mnt/usb1/datamaps\nfailed 0\n", listFiles("/mnt/usb1/data").standardOutput);
  EXPECT_TRUE(isMountPoint("/mnt/usb1"));
  const std::string lines = other.finish().standardOutput;
  EXPECT_EQ(files + 1, std::count(lines.begin(), lines.end(), '\n'));
  EXPECT_NE(std::string::npos, lines.find("\ncomplete 0\n"));
  EXPECT_EQ("error stat on file /mnt/usb1/datamaps\nfailed 0\n", listFiles("/mnt/usb1/data").standardOutput);
  EXPECT_FALSE(isMountPoint("/mnt/usb1"));
}

TEST_F(BoardListing, OfAMediumThatHasGoneGivesTheEmptyMountPoint) {
  writeFile("/mnt/usb1/10.bin", std::string(10, 'x'));
  FileUtil::forceUnmount("/mnt/usb1/");
  const Files_s files = filesOf("/mnt/usb1/");
  EXPECT_TRUE(files.isComplete);
  EXPECT_EQ(Names_t{}, files.result.m_FileNames);
  EXPECT_FALSE(filesOf("/mnt/usb1/data/").isComplete);
}

TEST_F(BoardDeletion, TakesTheFilesFromTheMediumAndLeavesSubDirectories) {
  makeDirectories("/mnt/sdcard1/data/maps");
  for (const char* name : {"1.bin", "2.bin", "maps/3.bin"}) {
    writeFile(std::string("/mnt/sdcard1/data/") + name, "x");
  }
  FileUtil::deleteAllFilesInDirectory("/mnt/sdcard1/data/");
  EXPECT_EQ(Names_t{}, filesOf("/mnt/sdcard1/data/").result.m_FileNames);
  EXPECT_TRUE(isThere("/mnt/sdcard1/data/maps/3.bin"));
}

TEST_F(BoardDeletion, OnAReadOnlyMediumLeavesEverything) {
  makeDirectories("/mnt/sdcard1/data");
  writeFile("/mnt/sdcard1/data/1.bin", "x");
  mountDisk("none", "/mnt/sdcard1", "none", MS_REMOUNT | MS_RDONLY);
  FileUtil::deleteAllFilesInDirectory("/mnt/sdcard1/data/");
  mountDisk("none", "/mnt/sdcard1", "none", MS_REMOUNT);
  EXPECT_TRUE(isThere("/mnt/sdcard1/data/1.bin"));
}

TEST_F(BoardBatchFile, IsCopiedToTheMedium) {
  const std::string text = "@echo off\r\nrem TASKDATA\r\n";
  writeFile(batchFile, text);
  const Ending_s ending = runProgram({boardProgram(), "copy-batch-file", "/mnt/usb1/"});
  std::filesystem::remove(batchFile);
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("", ending.standardOutput + ending.standardError);
  EXPECT_EQ(text, readFile("/mnt/usb1/Save_TASKDATA_Files_To_PC.bat"));
}

TEST_F(BoardBatchFile, ThatIsMissingOrHasNoRoomChangesNothingForTheCaller) {
  const Ending_s missing = runProgram({boardProgram(), "copy-batch-file", "/mnt/usb1/"});
  EXPECT_EQ(0, missing.exitStatus);
  EXPECT_EQ("", missing.standardOutput);
  EXPECT_FALSE(isThere("/mnt/usb1/Save_TASKDATA_Files_To_PC.bat"));
  writeFile(batchFile, "text");
  fill("/mnt/usb1/filler");
  const Ending_s full = runProgram({boardProgram(), "copy-batch-file", "/mnt/usb1/"});
  std::filesystem::remove(batchFile);
  EXPECT_EQ(0, full.exitStatus);
  EXPECT_EQ("", full.standardOutput);
}

TEST_F(BoardDiskSpace, IsWhatTheMediumStillTakes) {
  long long total = 0;
  long long freeBefore = 0;
  ASSERT_TRUE(FileUtil::getDiskSpace("/mnt/usb1/", total, freeBefore));
  // The disk less what the file system keeps for itself.
  EXPECT_GT(total, 30000000);
  EXPECT_LE(total, 32 * 1024 * 1024);
  EXPECT_EQ(freeBefore, fill("/mnt/usb1/filler"));
  long long free = -1;
  ASSERT_TRUE(FileUtil::getDiskSpace("/mnt/usb1/", total, free));
  EXPECT_EQ(0, free);
  EXPECT_EQ(0, FileUtil::getFreeDiskSpacePercent("/mnt/usb1/"));
  EXPECT_EQ(100, FileUtil::getUsedDiskSpacePercent("/mnt/usb1/"));
  std::filesystem::resize_file("/mnt/usb1/filler", static_cast<std::uintmax_t>(freeBefore / 2));
  EXPECT_EQ(50, FileUtil::getFreeDiskSpacePercent("/mnt/usb1/") + 1);
  EXPECT_EQ(51, FileUtil::getUsedDiskSpacePercent("/mnt/usb1/"));
  std::filesystem::remove("/mnt/usb1/filler");
  ASSERT_TRUE(FileUtil::getDiskSpace("/mnt/usb1/", total, free));
  EXPECT_EQ(freeBefore, free);
}

TEST_F(BoardDiskSpace, OfAMediumThatHasGoneIsThatBelowIt) {
  long long total = 0;
  long long free = 0;
  long long totalOfRoot = 0;
  FileUtil::forceUnmount("/mnt/usb1/");
  ASSERT_TRUE(FileUtil::getDiskSpace("/", totalOfRoot, free));
  ASSERT_TRUE(FileUtil::getDiskSpace("/mnt/usb1/", total, free));
  EXPECT_EQ(totalOfRoot, total);
}

TEST_F(BoardCreateDirectory, IsTrueOnAMediumThatTakesIt) {
  EXPECT_TRUE(FileUtil::createDirectory("/mnt/usb1/data"));
  EXPECT_TRUE(std::filesystem::is_directory("/mnt/usb1/data"));
  EXPECT_EQ("/opt/zemo", std::filesystem::current_path());
}

TEST_F(BoardCreateDirectory, IsFalseOnAFullMediumAndOnAReadOnlyOne) {
  fill("/mnt/usb1/filler");
  EXPECT_FALSE(FileUtil::createDirectory("/mnt/usb1/data"));
  mountDisk("none", "/mnt/sdcard1", "none", MS_REMOUNT | MS_RDONLY);
  EXPECT_FALSE(FileUtil::createDirectory("/mnt/sdcard1/data"));
  mountDisk("none", "/mnt/sdcard1", "none", MS_REMOUNT);
  EXPECT_FALSE(isThere("/mnt/usb1/data"));
  EXPECT_FALSE(isThere("/mnt/sdcard1/data"));
}
