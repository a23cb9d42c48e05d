#include "FileUtil.h"

#include "CapturedOutput.h"
#include "Entries.h"
#include "FileListings.h"
#include "Media.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using namespace TestSupport;

namespace {

class DirectoryExists : public Media {};
class CreateDirectory : public Media {};

std::string workingDirectory() {
  return std::filesystem::current_path().string();
}

// Calls a function from the root and gives its result; the working directory is another one afterwards.
bool fromTheRoot(bool (*function)(const char*), const std::string& path) {
  std::filesystem::current_path("/");
  return function(path.c_str());
}

bool directoryExists(const std::string& path) {
  return fromTheRoot(&FileUtil::directoryExists, path);
}

bool createDirectory(const std::string& path) {
  return fromTheRoot(&FileUtil::createDirectory, path);
}

// Kind and permissions.
mode_t modeOf(const std::string& path) {
  struct stat64 status = {};
  EXPECT_EQ(0, stat64(path.c_str(), &status)) << path;
  return status.st_mode;
}

} // namespace

TEST_F(DirectoryExists, IsTrueForADirectoryAndGoesToTheConsolesOwn) {
  inMounts([] {
    EXPECT_TRUE(directoryExists("/mnt/usb1"));
    EXPECT_EQ("/opt/zemo", workingDirectory());
    EXPECT_TRUE(directoryExists("/mnt/usb1/"));
    EXPECT_EQ("/opt/zemo", workingDirectory());
  });
}

TEST_F(DirectoryExists, GoesToTheConsolesOwnDirectoryWhereItIsFalseToo) {
  inMounts([] {
    EXPECT_FALSE(directoryExists("/mnt/missing"));
    EXPECT_EQ("/opt/zemo", workingDirectory());
  });
}

TEST_F(DirectoryExists, IsFalseForAFile) {
  inMounts([] {
    writeFile("/mnt/usb1/file", "text");
    EXPECT_FALSE(directoryExists("/mnt/usb1/file"));
    EXPECT_FALSE(directoryExists("/mnt/usb1/file/"));
    EXPECT_EQ("/opt/zemo", workingDirectory());
  });
}

TEST_F(DirectoryExists, FollowsLinks) {
  inMounts([] {
    writeFile("/mnt/usb1/file", "text");
    makeLink("/mnt/nand", "/mnt/usb1/to-directory");
    makeLink("file", "/mnt/usb1/to-file");
    makeLink("nowhere", "/mnt/usb1/dangling");
    EXPECT_TRUE(directoryExists("/mnt/usb1/to-directory"));
    EXPECT_FALSE(directoryExists("/mnt/usb1/to-file"));
    EXPECT_FALSE(directoryExists("/mnt/usb1/dangling"));
  });
}

TEST_F(DirectoryExists, IsFalseForNoText) {
  inMounts([] {
    EXPECT_FALSE(directoryExists(""));
    EXPECT_EQ("/opt/zemo", workingDirectory());
  });
}

TEST_F(DirectoryExists, IsFalseForADirectoryThatMayNotBeEntered) {
  inMounts([] {
    makeDirectory("/mnt/usb1/maps");
    ASSERT_EQ(0, chmod("/mnt/usb1/maps", 0600));
    EXPECT_TRUE(directoryExists("/mnt/usb1/maps"));
    dropPrivileges();
    EXPECT_FALSE(directoryExists("/mnt/usb1/maps"));
    EXPECT_EQ("/opt/zemo", workingDirectory());
  });
}

TEST_F(DirectoryExists, TakesTheNextRelativePathFromTheConsolesOwnDirectory) {
  inMounts([] {
    makeDirectory("/opt/zemo/maps");
    std::filesystem::current_path("/mnt");
    EXPECT_TRUE(FileUtil::directoryExists("usb1"));
    EXPECT_FALSE(FileUtil::directoryExists("usb1"));
    EXPECT_TRUE(FileUtil::directoryExists("maps"));
  });
}

TEST_F(DirectoryExists, StaysInTheDirectoryThatExistsWhereTheConsolesOwnIsMissing) {
  inMounts([] {
    ASSERT_EQ(0, rmdir("/opt/zemo"));
    EXPECT_TRUE(directoryExists("/mnt/usb1"));
    EXPECT_EQ("/mnt/usb1", workingDirectory());
  });
}

TEST_F(DirectoryExists, StaysWhereItIsWhenBothAreMissing) {
  inMounts([] {
    ASSERT_EQ(0, rmdir("/opt/zemo"));
    EXPECT_FALSE(directoryExists("/mnt/missing"));
    EXPECT_EQ("/", workingDirectory());
  });
}

TEST_F(DirectoryExists, IsTrueForTheConsolesOwnDirectory) {
  inMounts([] {
    EXPECT_TRUE(directoryExists("/opt/zemo"));
    ASSERT_EQ(0, rmdir("/opt/zemo"));
    EXPECT_FALSE(directoryExists("/opt/zemo"));
  });
}

TEST_F(DirectoryExists, PrintsNothing) {
  inMounts([] {
    const CapturedOutput_c captured;
    directoryExists("/mnt/usb1");
    directoryExists("/mnt/missing");
    createDirectory("/mnt/usb1/maps");
    createDirectory("/mnt/missing/maps");
    const std::string output = captured.standardOutput() + captured.standardError();
    EXPECT_EQ("", output);
  });
}

TEST_F(CreateDirectory, MakesADirectoryThatItsOwnerMayReadAndWrite) {
  inMounts([] {
    umask(0);
    EXPECT_TRUE(createDirectory("/mnt/usb1/maps"));
    EXPECT_EQ(static_cast<mode_t>(S_IFDIR | 0600), modeOf("/mnt/usb1/maps"));
    EXPECT_EQ("/opt/zemo", workingDirectory());
  });
}

TEST_F(CreateDirectory, LetsTheMaskTakeMore) {
  inMounts([] {
    umask(0277);
    EXPECT_TRUE(createDirectory("/mnt/usb1/maps"));
    EXPECT_EQ(static_cast<mode_t>(S_IFDIR | 0400), modeOf("/mnt/usb1/maps"));
  });
}

TEST_F(CreateDirectory, IsTrueForADirectoryThatIsThereAndLeavesItAsItIs) {
  inMounts([] {
    writeFile("/mnt/usb1/file", "text");
    ASSERT_EQ(0, chmod("/mnt/usb1", 0751));
    EXPECT_TRUE(createDirectory("/mnt/usb1"));
    EXPECT_EQ(static_cast<mode_t>(S_IFDIR | 0751), modeOf("/mnt/usb1"));
    EXPECT_EQ("text", readFile("/mnt/usb1/file"));
    EXPECT_EQ("/opt/zemo", workingDirectory());
  });
}

TEST_F(CreateDirectory, CannotBeEnteredWithoutPrivileges) {
  inMounts([] {
    umask(0);
    dropPrivileges();
    EXPECT_FALSE(createDirectory("/mnt/usb1/maps"));
    EXPECT_EQ(static_cast<mode_t>(S_IFDIR | 0600), modeOf("/mnt/usb1/maps"));
    EXPECT_EQ("/opt/zemo", workingDirectory());
  });
}

TEST_F(CreateDirectory, IsFalseWhereTheDirectoryAboveIsMissing) {
  inMounts([] {
    EXPECT_FALSE(createDirectory("/mnt/usb1/maps/north"));
    EXPECT_FALSE(isThere("/mnt/usb1/maps"));
    EXPECT_EQ("/opt/zemo", workingDirectory());
  });
}

TEST_F(CreateDirectory, IsFalseForAFileThatIsThere) {
  inMounts([] {
    writeFile("/mnt/usb1/maps", "text");
    EXPECT_FALSE(createDirectory("/mnt/usb1/maps"));
    EXPECT_EQ("text", readFile("/mnt/usb1/maps"));
    EXPECT_EQ("/opt/zemo", workingDirectory());
  });
}

TEST_F(CreateDirectory, IsFalseOnAReadOnlyMedium) {
  inMounts([] {
    mountTmpfs("/mnt/usb1");
    makeDirectory("/mnt/usb1/maps");
    remountReadOnly("/mnt/usb1");
    EXPECT_FALSE(createDirectory("/mnt/usb1/new"));
    EXPECT_TRUE(createDirectory("/mnt/usb1/maps"));
  });
}

TEST_F(CreateDirectory, TakesARelativePathFromTheDirectoryWhereItIs) {
  inMounts([] {
    std::filesystem::current_path("/mnt/usb1");
    EXPECT_TRUE(FileUtil::createDirectory("maps"));
    EXPECT_TRUE(isThere("/mnt/usb1/maps"));
    EXPECT_TRUE(FileUtil::createDirectory("maps"));
    EXPECT_TRUE(isThere("/opt/zemo/maps"));
  });
}

TEST_F(CreateDirectory, StaysInTheNewDirectoryWhereTheConsolesOwnIsMissing) {
  inMounts([] {
    ASSERT_EQ(0, rmdir("/opt/zemo"));
    EXPECT_TRUE(createDirectory("/mnt/usb1/maps"));
    EXPECT_EQ("/mnt/usb1/maps", workingDirectory());
  });
}
