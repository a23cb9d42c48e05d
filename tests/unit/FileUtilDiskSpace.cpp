#include "FileUtil.h"

#include "CapturedOutput.h"
#include "Files.h"
#include "LibraryCalls.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <string>
#include <sys/statvfs.h>

using namespace TestSupport;

namespace {

// The medium in front of the library.
struct statvfs64 medium = {};
std::string askedPath;

int askMedium(const char* path, struct statvfs64* answer) {
  askedPath = path;
  *answer = medium;
  return 0;
}

int refuseWithAnAnswer(const char*, struct statvfs64* answer) {
  *answer = medium;
  errno = EIO;
  return -1;
}

struct Space_s {
  bool isTold = false;
  long long total = 77;
  long long free = 88;
};

Space_s spaceOf(const char* path) {
  Space_s space;
  space.isTold = FileUtil::getDiskSpace(path, space.total, space.free);
  return space;
}

class OnAMedium : public testing::Test {
protected:
  OnAMedium() {
    medium = {};
    medium.f_bsize = 4096;
    medium.f_frsize = 512;
    medium.f_blocks = 1000;
    medium.f_bfree = 700;
    medium.f_bavail = 300;
  }

  static void setBlocks(fsblkcnt64_t total, fsblkcnt64_t available) {
    medium.f_blocks = total;
    medium.f_bavail = available;
  }

  LibraryCall_c m_call{"statvfs64", &askMedium};
};

class GetDiskSpace : public OnAMedium {};
class DiskSpacePercent : public OnAMedium {};

} // namespace

TEST_F(GetDiskSpace, TakesTheBlockSizeAndNotTheFundamentalOne) {
  const Space_s space = spaceOf("/mnt/usb1/data");
  EXPECT_TRUE(space.isTold);
  EXPECT_EQ(4096LL * 1000, space.total);
  EXPECT_EQ("/mnt/usb1/data", askedPath);
}

TEST_F(GetDiskSpace, TakesTheBlocksThatAnUnprivilegedUserMayHave) {
  EXPECT_EQ(4096LL * 300, spaceOf("/").free);
}

TEST_F(GetDiskSpace, HasMoreThan32BitsForTheProduct) {
  medium.f_bsize = 65536;
  setBlocks(0xFFFFFFFF, 0x80000000);
  const Space_s space = spaceOf("/");
  EXPECT_EQ(281474976645120, space.total);
  EXPECT_EQ(140737488355328, space.free);
}

TEST_F(GetDiskSpace, Has32BitsForTheNumberOfBlocks) {
  setBlocks(0x500000002, 0x700000001);
  const Space_s space = spaceOf("/");
  EXPECT_EQ(2 * 4096, space.total);
  EXPECT_EQ(4096, space.free);
}

TEST_F(GetDiskSpace, Has32BitsForTheBlockSize) {
  if (sizeof medium.f_bsize == 4) {
    GTEST_SKIP() << "no block size has more than 32 bits here";
  }
  medium.f_bsize = static_cast<unsigned long>(0x300001000);
  const Space_s space = spaceOf("/");
  EXPECT_EQ(4096LL * 1000, space.total);
  EXPECT_EQ(4096LL * 300, space.free);
}

TEST_F(GetDiskSpace, TakesNumbersWithoutASign) {
  medium.f_bsize = 0xFFFFFFFF;
  setBlocks(2, 0xFFFFFFFF);
  const Space_s space = spaceOf("/");
  EXPECT_EQ(8589934590, space.total);
  // 2^64 - 2^33 + 1, as the result holds it.
  EXPECT_EQ(-8589934591, space.free);
}

TEST(GetDiskSpaceOfNothing, Gives0WhereThereIsNoSuchPath) {
  const TemporaryFolder_c folder;
  const CapturedOutput_c captured;
  const Space_s space = spaceOf((folder.path() + "/missing").c_str());
  const std::string output = captured.standardOutput() + captured.standardError();
  EXPECT_FALSE(space.isTold);
  EXPECT_EQ(0, space.total);
  EXPECT_EQ(0, space.free);
  EXPECT_EQ("", output);
}

TEST(GetDiskSpaceOfNothing, TrustsNoAnswerOfAQueryThatFails) {
  const LibraryCall_c call("statvfs64", &refuseWithAnAnswer);
  medium.f_bsize = 4096;
  medium.f_blocks = 1000;
  medium.f_bavail = 1000;
  const Space_s space = spaceOf("/");
  EXPECT_FALSE(space.isTold);
  EXPECT_EQ(0, space.total);
  EXPECT_EQ(0, space.free);
  EXPECT_EQ(0, FileUtil::getFreeDiskSpacePercent("/"));
  EXPECT_EQ(100, FileUtil::getUsedDiskSpacePercent("/"));
}

TEST_F(DiskSpacePercent, IsTheFreeSpaceOfTheWhole) {
  EXPECT_EQ(30, FileUtil::getFreeDiskSpacePercent("/mnt/nand"));
  EXPECT_EQ("/mnt/nand", askedPath);
  EXPECT_EQ(70, FileUtil::getUsedDiskSpacePercent("/mnt/usb1/"));
  EXPECT_EQ("/mnt/usb1/", askedPath);
}

TEST_F(DiskSpacePercent, ReachesBothEnds) {
  setBlocks(1000, 1000);
  EXPECT_EQ(100, FileUtil::getFreeDiskSpacePercent("/"));
  EXPECT_EQ(0, FileUtil::getUsedDiskSpacePercent("/"));
  setBlocks(1000, 0);
  EXPECT_EQ(0, FileUtil::getFreeDiskSpacePercent("/"));
  EXPECT_EQ(100, FileUtil::getUsedDiskSpacePercent("/"));
}

TEST_F(DiskSpacePercent, IsCutAndNotRounded) {
  setBlocks(3, 1);
  EXPECT_EQ(33, FileUtil::getFreeDiskSpacePercent("/"));
  EXPECT_EQ(67, FileUtil::getUsedDiskSpacePercent("/"));
  setBlocks(3, 2);
  EXPECT_EQ(66, FileUtil::getFreeDiskSpacePercent("/"));
  setBlocks(100000, 99999);
  EXPECT_EQ(99, FileUtil::getFreeDiskSpacePercent("/"));
  EXPECT_EQ(1, FileUtil::getUsedDiskSpacePercent("/"));
  setBlocks(1000, 9);
  EXPECT_EQ(0, FileUtil::getFreeDiskSpacePercent("/"));
}

// IEEE 754: the double next to 29 / 100 is below it, and a hundred times that is below 29.
TEST_F(DiskSpacePercent, TakesTheQuotientFirst) {
  setBlocks(100, 29);
  EXPECT_EQ(28, FileUtil::getFreeDiskSpacePercent("/"));
  EXPECT_EQ(72, FileUtil::getUsedDiskSpacePercent("/"));
  setBlocks(100, 57);
  EXPECT_EQ(56, FileUtil::getFreeDiskSpacePercent("/"));
  setBlocks(100, 58);
  EXPECT_EQ(57, FileUtil::getFreeDiskSpacePercent("/"));
}

// Single precision would fall below 53 and 59.
TEST_F(DiskSpacePercent, IsExactForAllOtherHundredths) {
  for (int percent = 0; percent <= 100; ++percent) {
    if (percent == 29 || percent == 57 || percent == 58) {
      continue;
    }
    setBlocks(100, static_cast<fsblkcnt64_t>(percent));
    EXPECT_EQ(percent, FileUtil::getFreeDiskSpacePercent("/"));
  }
}

TEST_F(DiskSpacePercent, CountsAMediumWithoutBlocksAsFull) {
  setBlocks(0, 0);
  EXPECT_EQ(0, FileUtil::getFreeDiskSpacePercent("/"));
  EXPECT_EQ(100, FileUtil::getUsedDiskSpacePercent("/"));
}

TEST(DiskSpacePercentOfNothing, CountsAPathThatIsMissingAsFull) {
  const TemporaryFolder_c folder;
  const std::string missing = folder.path() + "/missing";
  EXPECT_EQ(0, FileUtil::getFreeDiskSpacePercent(missing.c_str()));
  EXPECT_EQ(100, FileUtil::getUsedDiskSpacePercent(missing.c_str()));
}
