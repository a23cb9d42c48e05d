#include "FileUtil.h"

#include "Entries.h"
#include "FileListings.h"
#include "Media.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace TestSupport;

namespace {

using Names_t = std::vector<std::string>;

constexpr int manyEntries = 100000;
constexpr uint64_t gibibyte = uint64_t{1} << 30;

class ManyEntries : public Media {};
class LargeFiles : public Media {};
class LateFiles : public Media {};
class AnyName : public Media {};

// All bytes that a name may have.
std::string everyByte() {
  std::string bytes;
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '/') {
      bytes.push_back(static_cast<char>(byte));
    }
  }
  return bytes;
}

Names_t without(Names_t names, const std::string& first, const std::string& second) {
  Names_t kept;
  for (std::string& name : names) {
    if (name != first && name != second) {
      kept.push_back(std::move(name));
    }
  }
  return kept;
}

// The sum of a listing of one file of that size.
int64_t totalOfOneFile(uint64_t size) {
  makeSparseFile("/mnt/usb1/file", size);
  const Files_s listing = filesOf("/mnt/usb1/");
  EXPECT_TRUE(listing.isComplete);
  EXPECT_EQ(Names_t{"file"}, listing.result.m_FileNames);
  EXPECT_EQ("", listing.output);
  return listing.result.m_TotalSize;
}

} // namespace

TEST_F(ManyEntries, AreAllFilesInTheirOrder) {
  inMounts([] {
    for (int number = 0; number < manyEntries; ++number) {
      makeSparseFile("/mnt/usb1/" + std::to_string(number), 30000);
    }
    const Files_s listing = filesOf("/mnt/usb1/");
    EXPECT_TRUE(listing.isComplete);
    EXPECT_EQ(without(namesInOrder("/mnt/usb1/"), ".", ".."), listing.result.m_FileNames);
    EXPECT_EQ(static_cast<std::size_t>(manyEntries), listing.result.m_FileNames.size());
    EXPECT_EQ(3000000000, listing.result.m_TotalSize);
    EXPECT_EQ(Names_t(), subDirectoriesOf("/mnt/usb1/").names);
    FileUtil::deleteAllFilesInDirectory("/mnt/usb1/");
    EXPECT_EQ(2U, namesInOrder("/mnt/usb1/").size());
  });
}

TEST_F(ManyEntries, AreAllSubDirectoriesInTheirOrder) {
  inMounts([] {
    for (int number = 0; number < manyEntries; ++number) {
      makeDirectory("/mnt/usb1/" + std::to_string(number));
    }
    const SubDirectories_s listing = subDirectoriesOf("/mnt/usb1/");
    EXPECT_TRUE(listing.isComplete);
    EXPECT_EQ(without(namesInOrder("/mnt/usb1/"), ".", ".."), listing.names);
    EXPECT_EQ(static_cast<std::size_t>(manyEntries), listing.names.size());
    EXPECT_EQ(0, filesOf("/mnt/usb1/").result.m_TotalSize);
  });
}

TEST_F(LargeFiles, CountAsASignedNumberOf32Bits) {
  inMounts([] {
    EXPECT_EQ(2147483647, totalOfOneFile(2 * gibibyte - 1));
    EXPECT_EQ(-2147483648LL, totalOfOneFile(2 * gibibyte));
    EXPECT_EQ(3221225472 - 4294967296, totalOfOneFile(3 * gibibyte));
    EXPECT_EQ(-1, totalOfOneFile(4 * gibibyte - 1));
    EXPECT_EQ(0, totalOfOneFile(4 * gibibyte));
    EXPECT_EQ(1073741824, totalOfOneFile(5 * gibibyte));
  });
}

TEST_F(LargeFiles, AreSummedUpIn64Bits) {
  inMounts([] {
    for (const char* path : {"/mnt/usb1/1", "/mnt/usb1/2", "/mnt/usb1/3"}) {
      makeSparseFile(path, 2 * gibibyte - 1);
    }
    EXPECT_EQ(3 * 2147483647LL, filesOf("/mnt/usb1/").result.m_TotalSize);
    for (const char* path : {"/mnt/usb1/1", "/mnt/usb1/2", "/mnt/usb1/3"}) {
      makeSparseFile(path, 2 * gibibyte);
    }
    EXPECT_EQ(-6442450944LL, filesOf("/mnt/usb1/").result.m_TotalSize);
  });
}

TEST_F(LargeFiles, ExistAndAreDeleted) {
  inMounts([] {
    makeSparseFile("/mnt/usb1/file", 3 * gibibyte);
    EXPECT_TRUE(FileUtil::fileExists("/mnt/usb1/file"));
    FileUtil::deleteAllFilesInDirectory("/mnt/usb1/");
    EXPECT_FALSE(FileUtil::fileExists("/mnt/usb1/file"));
  });
}

// 2100-01-01, more than 32 bits of seconds with a sign hold.
TEST_F(LateFiles, AreListedAndExist) {
  inMounts([] {
    writeFile("/mnt/usb1/file", "text");
    makeDirectory("/mnt/usb1/maps");
    setTimes("/mnt/usb1/file", 4102444800);
    setTimes("/mnt/usb1/maps", 4102444800);
    const Files_s files = filesOf("/mnt/usb1/");
    EXPECT_TRUE(files.isComplete);
    EXPECT_EQ(Names_t{"file"}, files.result.m_FileNames);
    EXPECT_EQ(4, files.result.m_TotalSize);
    EXPECT_EQ("", files.output);
    EXPECT_EQ(Names_t{"maps"}, subDirectoriesOf("/mnt/usb1/").names);
    EXPECT_TRUE(FileUtil::fileExists("/mnt/usb1/file"));
  });
}

TEST_F(AnyName, MayHaveEveryByteButSlashAndNull) {
  inMounts([] {
    Names_t expected;
    for (const char byte : everyByte()) {
      expected.push_back(std::string("name") + byte);
      if (byte != '.') {
        expected.emplace_back(1, byte);
      }
    }
    expected.push_back(everyByte());
    makeDirectory("/mnt/usb1/files");
    makeDirectory("/mnt/usb1/directories");
    for (const std::string& name : expected) {
      writeFile("/mnt/usb1/files/" + name, "text");
      makeDirectory("/mnt/usb1/directories/" + name);
    }
    const Files_s files = filesOf("/mnt/usb1/files/");
    EXPECT_EQ(sorted(expected), sorted(files.result.m_FileNames));
    EXPECT_EQ(static_cast<int64_t>(4 * expected.size()), files.result.m_TotalSize);
    EXPECT_EQ(sorted(expected), sorted(subDirectoriesOf("/mnt/usb1/directories/").names));
    FileUtil::deleteAllFilesInDirectory("/mnt/usb1/files/");
    EXPECT_EQ(2U, namesInOrder("/mnt/usb1/files").size());
  });
}

TEST_F(AnyName, IsPrintedAsItIs) {
  inMounts([] {
    makeLink("nowhere", "/mnt/nand/" + everyByte());
    const std::string line = "error stat on file /mnt/nand/" + everyByte() + "\n";
    EXPECT_EQ(line, subDirectoriesOf("/mnt/nand/").output);
    EXPECT_EQ(line, filesOf("/mnt/nand/").output);
  });
}
