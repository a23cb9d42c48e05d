#include "FileUtil.h"

#include "CapturedOutput.h"
#include "Entries.h"
#include "FileListings.h"
#include "Media.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace TestSupport;

namespace {

using Names_t = std::vector<std::string>;

class ForceUnmount : public Media {};
class ListingOnAMedium : public Media {};
class DeletionOnAMedium : public Media {};
class DiskSpaceOfAMedium : public Media {};

struct UnmountRow_s {
  const char* name;
  const char* path;
  const char* command; // null: none
};

std::string nameOf(const testing::TestParamInfo<UnmountRow_s>& row) {
  return row.param.name;
}

class ForceUnmountOf : public Media, public testing::WithParamInterface<UnmountRow_s> {};

const UnmountRow_s unmountRows[] = {
    {"UsbStick", "/mnt/usb1/", "umount -f /mnt/usb1/\n"},
    {"BelowUsbStick", "/mnt/usb1/x", "umount -f /mnt/usb1/\n"},
    {"DeepBelowUsbStick", "/mnt/usb1/data/maps/", "umount -f /mnt/usb1/\n"},
    {"UsbStickWithMoreSlashes", "/mnt/usb1//", "umount -f /mnt/usb1/\n"},
    {"SdCard", "/mnt/sdcard1/", "umount -f /mnt/sdcard1/\n"},
    {"BelowSdCard", "/mnt/sdcard1/data", "umount -f /mnt/sdcard1/\n"},
    {"SecondPlaceOfUsbStick", "/media/usb0/", "umount -f /media/usb0/\n"},
    {"BelowSecondPlaceOfUsbStick", "/media/usb0/a/b", "umount -f /media/usb0/\n"},
    {"OneMediumWithinAnother", "/mnt/usb1/media/usb0/", "umount -f /mnt/usb1/\n"},
    {"WordsOfTheShell", "/mnt/usb1/$(reboot);'", "umount -f /mnt/usb1/\n"},
    {"UsbStickWithoutSlash", "/mnt/usb1", nullptr},
    {"SdCardWithoutSlash", "/mnt/sdcard1", nullptr},
    {"SecondPlaceWithoutSlash", "/media/usb0", nullptr},
    {"AnotherUsbStick", "/mnt/usb2/", nullptr},
    {"LongerName", "/mnt/usb11/", nullptr},
    {"LongerNameOfSdCard", "/mnt/sdcard12/x", nullptr},
    {"OtherCase", "/MNT/USB1/", nullptr},
    {"UsbStickOfMediaUnderMnt", "/mnt/usb0/", nullptr},
    {"UsbStickOfMntUnderMedia", "/media/usb1/", nullptr},
    {"TwoSlashesInFront", "//mnt/usb1/", nullptr},
    {"TwoSlashesWithin", "/mnt//usb1/", nullptr},
    {"RelativePath", "mnt/usb1/", nullptr},
    {"BlankInFront", " /mnt/usb1/", nullptr},
    {"WithinAnotherPath", "/x/mnt/usb1/", nullptr},
    {"Flash", "/mnt/nand/", nullptr},
    {"BelowFlash", "/mnt/nand/zemo/settings/", nullptr},
    {"AboveAll", "/mnt/", nullptr},
    {"Root", "/", nullptr},
    {"NoText", "", nullptr},
    {"Null", nullptr, nullptr},
};

void setPath() {
  setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1);
}

// Whether a medium is mounted there.
bool isMounted(const std::string& path) {
  struct stat64 medium = {};
  struct stat64 above = {};
  return stat64(path.c_str(), &medium) == 0 && stat64((path + "/..").c_str(), &above) == 0 &&
         medium.st_dev != above.st_dev;
}

} // namespace

TEST_P(ForceUnmountOf, RunsTheCommandOfTheMountPointOrNone) {
  const UnmountRow_s& row = GetParam();
  inMounts([this, &row] {
    const RecordingTools_c tools(m_folder.path(), {"umount", "reboot"});
    const CapturedOutput_c captured;
    const bool isRun = FileUtil::forceUnmount(row.path);
    const std::string output = captured.standardOutput() + captured.standardError();
    EXPECT_EQ(row.command != nullptr, isRun);
    EXPECT_EQ(row.command != nullptr ? row.command : "", tools.calls());
    EXPECT_EQ("", output);
  });
}

INSTANTIATE_TEST_SUITE_P(Paths, ForceUnmountOf, testing::ValuesIn(unmountRows), nameOf);

TEST_F(ForceUnmount, IsTrueWhateverTheCommandEndsWith) {
  inMounts([this] {
    const RecordingTools_c tools(m_folder.path(), {"umount"}, 32);
    EXPECT_TRUE(FileUtil::forceUnmount("/mnt/usb1/x"));
    EXPECT_EQ("umount -f /mnt/usb1/\n", tools.calls());
  });
}

TEST_F(ForceUnmount, IsTrueWhereThereIsNoCommand) {
  inMounts([this] {
    const RecordingTools_c tools(m_folder.path(), {});
    const CapturedOutput_c captured;
    EXPECT_TRUE(FileUtil::forceUnmount("/media/usb0/"));
  });
}

TEST_F(ForceUnmount, ReallyTakesTheMediumAway) {
  inMounts([] {
    setPath();
    for (const std::string path : {"/mnt/usb1", "/mnt/sdcard1", "/media/usb0"}) {
      mountTmpfs(path);
      ASSERT_TRUE(isMounted(path));
      EXPECT_TRUE(FileUtil::forceUnmount((path + "/data/").c_str()));
      EXPECT_FALSE(isMounted(path)) << path;
    }
  });
}

TEST_F(ForceUnmount, LeavesTheFlashWhereItIs) {
  inMounts([] {
    setPath();
    mountTmpfs("/mnt/nand");
    EXPECT_FALSE(FileUtil::forceUnmount("/mnt/nand/"));
    EXPECT_TRUE(isMounted("/mnt/nand"));
  });
}

TEST_F(ListingOnAMedium, GivesFilesSizesAndSubDirectories) {
  inMounts([this] {
    const RecordingTools_c tools(m_folder.path(), {"umount"});
    makeDirectories("/mnt/usb1/data/maps");
    writeFile("/mnt/usb1/data/10.bin", std::string(10, 'x'));
    writeFile("/mnt/usb1/data/20.bin", std::string(20, 'x'));
    const Files_s files = filesOf("/mnt/usb1/data/");
    EXPECT_TRUE(files.isComplete);
    EXPECT_EQ("/mnt/usb1/data/", files.result.m_Directory);
    EXPECT_EQ((Names_t{"10.bin", "20.bin"}), sorted(files.result.m_FileNames));
    EXPECT_EQ(30, files.result.m_TotalSize);
    const SubDirectories_s directories = subDirectoriesOf("/mnt/usb1/data/");
    EXPECT_TRUE(directories.isComplete);
    EXPECT_EQ(Names_t{"maps"}, directories.names);
    EXPECT_EQ("", files.output + directories.output + files.error + directories.error + tools.calls());
  });
}

TEST_F(ListingOnAMedium, UnmountsAfterADirectoryWithoutASlashAtItsEnd) {
  inMounts([this] {
    const RecordingTools_c tools(m_folder.path(), {"umount"});
    for (const std::string directory : {"/mnt/usb1/data", "/mnt/sdcard1/data", "/media/usb0/data", "/mnt/nand/data"}) {
      makeDirectory(directory);
      writeFile(directory + "/file", "text");
      const Files_s listing = filesOf(directory);
      EXPECT_FALSE(listing.isComplete);
      EXPECT_EQ("error stat on file " + directory + namesInOrder(directory).front() + "\n", listing.output);
    }
    EXPECT_EQ("umount -f /mnt/usb1/\numount -f /mnt/sdcard1/\numount -f /media/usb0/\n", tools.calls());
  });
}

TEST_F(ListingOnAMedium, UnmountsNothingForAMountPointWithoutASlashAtItsEnd) {
  inMounts([this] {
    const RecordingTools_c tools(m_folder.path(), {"umount"});
    const Files_s listing = filesOf("/mnt/usb1");
    EXPECT_FALSE(listing.isComplete);
    EXPECT_EQ("error stat on file /mnt/usb1" + namesInOrder("/mnt/usb1").front() + "\n", listing.output);
    EXPECT_EQ("", tools.calls());
  });
}

TEST_F(ListingOnAMedium, UnmountsWhateverTheCommandEndsWith) {
  inMounts([this] {
    const RecordingTools_c tools(m_folder.path(), {"umount"}, 1);
    makeLink("nowhere", "/mnt/usb1/dangling");
    const Files_s listing = filesOf("/mnt/usb1/");
    EXPECT_FALSE(listing.isComplete);
    EXPECT_EQ("error stat on file /mnt/usb1/dangling\n", listing.output);
    EXPECT_EQ("umount -f /mnt/usb1/\n", tools.calls());
  });
}

TEST_F(ListingOnAMedium, NeverUnmountsForSubDirectories) {
  inMounts([this] {
    const RecordingTools_c tools(m_folder.path(), {"umount"});
    makeLink("nowhere", "/mnt/usb1/dangling");
    const SubDirectories_s listing = subDirectoriesOf("/mnt/usb1/");
    EXPECT_TRUE(listing.isComplete);
    EXPECT_EQ("error stat on file /mnt/usb1/dangling\n", listing.output);
    EXPECT_EQ("", tools.calls());
  });
}

TEST_F(ListingOnAMedium, UnmountsNeitherAfterAnAbortNorForADirectoryThatIsMissing) {
  inMounts([this] {
    const RecordingTools_c tools(m_folder.path(), {"umount"});
    EXPECT_FALSE(filesOf("/mnt/usb1/", true).isComplete);
    EXPECT_FALSE(filesOf("/mnt/usb1/missing/").isComplete);
    EXPECT_EQ("", tools.calls());
  });
}

// A medium with an open directory could not be unmounted.
TEST_F(ListingOnAMedium, ClosesTheDirectoryBeforeItReallyUnmounts) {
  inMounts([] {
    setPath();
    mountTmpfs("/mnt/usb1");
    makeLink("nowhere", "/mnt/usb1/dangling");
    const Files_s listing = filesOf("/mnt/usb1/");
    EXPECT_FALSE(listing.isComplete);
    EXPECT_EQ("error stat on file /mnt/usb1/dangling\n", listing.output);
    EXPECT_EQ("", listing.error);
    EXPECT_FALSE(isMounted("/mnt/usb1"));
  });
}

TEST_F(DeletionOnAMedium, UnmountsWhereTheListingFails) {
  inMounts([this] {
    const RecordingTools_c tools(m_folder.path(), {"umount"});
    makeLink("nowhere", "/media/usb0/dangling");
    const CapturedOutput_c captured;
    FileUtil::deleteAllFilesInDirectory("/media/usb0/");
    const std::string output = captured.standardOutput() + captured.standardError();
    EXPECT_EQ("error stat on file /media/usb0/dangling\n", output);
    EXPECT_EQ("umount -f /media/usb0/\n", tools.calls());
  });
}

TEST_F(DeletionOnAMedium, LeavesAReadOnlyMediumAsItIs) {
  inMounts([] {
    mountTmpfs("/mnt/sdcard1");
    writeFile("/mnt/sdcard1/file", "text");
    remountReadOnly("/mnt/sdcard1");
    const CapturedOutput_c captured;
    FileUtil::deleteAllFilesInDirectory("/mnt/sdcard1/");
    const std::string output = captured.standardOutput() + captured.standardError();
    EXPECT_EQ("", output);
    EXPECT_EQ("text", readFile("/mnt/sdcard1/file"));
  });
}

TEST_F(DiskSpaceOfAMedium, IsItsSizeAndWhatIsNotWritten) {
  inMounts([] {
    const auto page = static_cast<long long>(sysconf(_SC_PAGESIZE));
    mountTmpfs("/mnt/usb1", "size=" + std::to_string(16 * page));
    makeDirectory("/mnt/usb1/data");
    writeFile("/mnt/usb1/data/file", std::string(static_cast<std::size_t>(4 * page), 'x'));
    long long total = 77;
    long long free = 88;
    EXPECT_TRUE(FileUtil::getDiskSpace("/mnt/usb1/data", total, free));
    EXPECT_EQ(16 * page, total);
    EXPECT_EQ(12 * page, free);
    EXPECT_EQ(75, FileUtil::getFreeDiskSpacePercent("/mnt/usb1/data/file"));
    EXPECT_EQ(25, FileUtil::getUsedDiskSpacePercent("/mnt/usb1/"));
  });
}

TEST_F(DiskSpaceOfAMedium, IsGoneWhenItIsFull) {
  inMounts([] {
    const auto page = static_cast<long long>(sysconf(_SC_PAGESIZE));
    mountTmpfs("/mnt/usb1", "size=" + std::to_string(4 * page));
    writeFile("/mnt/usb1/file", std::string(static_cast<std::size_t>(4 * page), 'x'));
    EXPECT_EQ(0, FileUtil::getFreeDiskSpacePercent("/mnt/usb1/"));
    EXPECT_EQ(100, FileUtil::getUsedDiskSpacePercent("/mnt/usb1/"));
  });
}

TEST_F(DiskSpaceOfAMedium, Is0WhereTheMediumHasNoLimit) {
  inMounts([] {
    mountTmpfs("/mnt/usb1", "size=0");
    long long total = 77;
    long long free = 88;
    EXPECT_TRUE(FileUtil::getDiskSpace("/mnt/usb1/", total, free));
    EXPECT_EQ(0, total);
    EXPECT_EQ(0, free);
    EXPECT_EQ(0, FileUtil::getFreeDiskSpacePercent("/mnt/usb1/"));
    EXPECT_EQ(100, FileUtil::getUsedDiskSpacePercent("/mnt/usb1/"));
  });
}
