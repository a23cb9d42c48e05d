#include "FileUtil.h"

#include "CapturedOutput.h"
#include "Entries.h"
#include "FileListings.h"
#include "Files.h"
#include "Media.h"

#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace TestSupport;

namespace {

using Names_t = std::vector<std::string>;

class GetFilesAndFileSizeInDirectory : public testing::Test {
protected:
  GetFilesAndFileSizeInDirectory() { makeDirectory(m_data); }

  void makeFile(const std::string& name, std::size_t size) const {
    writeFile(m_directory + name, std::string(size, 'x'));
  }
  Files_s list() const { return filesOf(m_directory); }

  TemporaryFolder_c m_folder;
  std::string m_data = m_folder.path() + "/data";
  std::string m_directory = m_data + "/";
};

// Everything in a result that the library has no part in, as it was.
void fill(FileOperations_c& result) {
  result.m_Directory = "before";
  result.m_ApplicationText = "text";
  result.m_FileNames = {"before"};
  result.m_ApplicationNumber = 4711;
  result.m_TotalSize = 0x123456789ABC;
  result.m_bApplicationFlag1 = true;
  result.m_bApplicationFlag2 = false;
  result.m_bApplicationFlag3 = true;
}

} // namespace

TEST_F(GetFilesAndFileSizeInDirectory, GivesNothingForAnEmptyDirectory) {
  const Files_s listing = list();
  EXPECT_TRUE(listing.isComplete);
  EXPECT_EQ(m_directory, listing.result.m_Directory);
  EXPECT_EQ(Names_t(), listing.result.m_FileNames);
  EXPECT_EQ(0, listing.result.m_TotalSize);
  EXPECT_EQ("", listing.output);
  EXPECT_EQ("", listing.error);
}

TEST_F(GetFilesAndFileSizeInDirectory, GivesTheOnlyFile) {
  makeFile("10.bin", 10);
  const Files_s listing = list();
  EXPECT_TRUE(listing.isComplete);
  EXPECT_EQ(Names_t{"10.bin"}, listing.result.m_FileNames);
  EXPECT_EQ(10, listing.result.m_TotalSize);
}

TEST_F(GetFilesAndFileSizeInDirectory, SumsUpTheFilesAndLeavesOutTheSubDirectory) {
  makeFile("10.bin", 10);
  makeFile("20.bin", 20);
  makeDirectory(m_directory + "maps");
  makeFile("maps/40.bin", 40);
  const Files_s listing = list();
  EXPECT_TRUE(listing.isComplete);
  EXPECT_EQ((Names_t{"10.bin", "20.bin"}), sorted(listing.result.m_FileNames));
  EXPECT_EQ(30, listing.result.m_TotalSize);
  EXPECT_EQ("", listing.output);
  EXPECT_EQ("", listing.error);
}

TEST_F(GetFilesAndFileSizeInDirectory, KeepsTheOrderOfTheDirectory) {
  for (int number = 0; number < 100; ++number) {
    makeFile(std::to_string(number * 7919 % 100), 1);
  }
  Names_t expected;
  for (const std::string& name : namesInOrder(m_directory)) {
    if (withoutDots(name)) {
      expected.push_back(name);
    }
  }
  ASSERT_EQ(100U, expected.size());
  ASSERT_NE(sorted(expected), expected);
  const Files_s listing = list();
  EXPECT_EQ(expected, listing.result.m_FileNames);
  EXPECT_EQ(100, listing.result.m_TotalSize);
}

TEST_F(GetFilesAndFileSizeInDirectory, FollowsLinks) {
  writeFile(m_folder.path() + "/file", std::string(300, 'x'));
  makeLink("../file", m_directory + "to-file");
  makeLink("..", m_directory + "to-directory");
  const Files_s listing = list();
  EXPECT_TRUE(listing.isComplete);
  EXPECT_EQ(Names_t{"to-file"}, listing.result.m_FileNames);
  EXPECT_EQ(300, listing.result.m_TotalSize);
}

TEST_F(GetFilesAndFileSizeInDirectory, CountsFifosAsFiles) {
  makeFifo(m_directory + "fifo");
  const Files_s listing = list();
  EXPECT_TRUE(listing.isComplete);
  EXPECT_EQ(Names_t{"fifo"}, listing.result.m_FileNames);
  EXPECT_EQ(0, listing.result.m_TotalSize);
}

TEST_F(GetFilesAndFileSizeInDirectory, CountsSocketsAsDirectories) {
  makeSocket(m_directory + "socket");
  const Files_s listing = list();
  EXPECT_TRUE(listing.isComplete);
  EXPECT_EQ(Names_t(), listing.result.m_FileNames);
}

TEST_F(GetFilesAndFileSizeInDirectory, CountsBlockDevicesAsDirectories) {
  if (!makeBlockDevice(m_directory + "block")) {
    GTEST_SKIP() << "this machine lets nobody make devices";
  }
  const Files_s listing = list();
  EXPECT_TRUE(listing.isComplete);
  EXPECT_EQ(Names_t(), listing.result.m_FileNames);
}

TEST_F(GetFilesAndFileSizeInDirectory, CountsCharacterDevicesAsFiles) {
  if (!makeCharacterDevice(m_directory + "character")) {
    GTEST_SKIP() << "this machine lets nobody make devices";
  }
  const Files_s listing = list();
  EXPECT_TRUE(listing.isComplete);
  EXPECT_EQ(Names_t{"character"}, listing.result.m_FileNames);
  EXPECT_EQ(0, listing.result.m_TotalSize);
}

TEST_F(GetFilesAndFileSizeInDirectory, AddsNamesToThoseOfAnEarlierListingAndSumsUpThisOneAlone) {
  makeFile("10.bin", 10);
  makeDirectory(m_folder.path() + "/more");
  writeFile(m_folder.path() + "/more/300.bin", std::string(300, 'x'));
  FileOperations_c result;
  bool bAbort = false;
  EXPECT_TRUE(FileUtil::getFilesAndFileSizeInDirectory((m_folder.path() + "/more/").c_str(), result, bAbort));
  EXPECT_EQ(300, result.m_TotalSize);
  EXPECT_TRUE(FileUtil::getFilesAndFileSizeInDirectory(m_directory.c_str(), result, bAbort));
  EXPECT_EQ(m_directory, result.m_Directory);
  EXPECT_EQ((Names_t{"300.bin", "10.bin"}), result.m_FileNames);
  EXPECT_EQ(10, result.m_TotalSize);
}

TEST_F(GetFilesAndFileSizeInDirectory, ListsTheDirectoryOfItsOwnResultAgain) {
  makeFile("10.bin", 10);
  FileOperations_c result;
  result.m_Directory = m_directory;
  bool bAbort = false;
  EXPECT_TRUE(FileUtil::getFilesAndFileSizeInDirectory(result.m_Directory.c_str(), result, bAbort));
  EXPECT_EQ(m_directory, result.m_Directory);
  EXPECT_EQ(Names_t{"10.bin"}, result.m_FileNames);
}

TEST_F(GetFilesAndFileSizeInDirectory, LeavesTheFieldsOfTheApplicationAlone) {
  makeFile("10.bin", 10);
  FileOperations_c result;
  fill(result);
  bool bAbort = false;
  EXPECT_TRUE(FileUtil::getFilesAndFileSizeInDirectory(m_directory.c_str(), result, bAbort));
  EXPECT_EQ("text", result.m_ApplicationText);
  EXPECT_EQ(4711, result.m_ApplicationNumber);
  EXPECT_TRUE(result.m_bApplicationFlag1);
  EXPECT_FALSE(result.m_bApplicationFlag2);
  EXPECT_TRUE(result.m_bApplicationFlag3);
  EXPECT_FALSE(bAbort);
}

TEST_F(GetFilesAndFileSizeInDirectory, FailsSilentlyWhereTheDirectoryCannotBeOpened) {
  makeFile("file", 10);
  for (const std::string& directory : {m_directory + "missing/", m_directory + "file/", std::string()}) {
    FileOperations_c result;
    fill(result);
    bool bAbort = false;
    const CapturedOutput_c captured;
    const bool isComplete = FileUtil::getFilesAndFileSizeInDirectory(directory.c_str(), result, bAbort);
    const std::string output = captured.standardOutput() + captured.standardError();
    EXPECT_FALSE(isComplete) << directory;
    EXPECT_EQ(directory, result.m_Directory);
    EXPECT_EQ(Names_t{"before"}, result.m_FileNames) << directory;
    EXPECT_EQ(0x123456789ABC, result.m_TotalSize) << directory;
    EXPECT_EQ("", output);
  }
}

TEST_F(GetFilesAndFileSizeInDirectory, StopsAtTheFirstLinkThatLeadsNowhere) {
  makeFile("before-or-after-1", 10);
  makeFile("before-or-after-2", 10);
  makeLink("nowhere", m_directory + "dangling");
  makeFile("before-or-after-3", 10);
  makeLink("nowhere", m_directory + "dangling-too");
  Names_t expected = {"before"};
  std::string broken;
  for (const std::string& name : namesInOrder(m_directory)) {
    if (name.compare(0, 8, "dangling") == 0) {
      broken = name;
      break;
    }
    if (withoutDots(name)) {
      expected.push_back(name);
    }
  }
  FileOperations_c result;
  fill(result);
  bool bAbort = false;
  const CapturedOutput_c captured;
  const bool isComplete = FileUtil::getFilesAndFileSizeInDirectory(m_directory.c_str(), result, bAbort);
  const std::string output = captured.standardOutput();
  const std::string error = captured.standardError();
  EXPECT_FALSE(isComplete);
  EXPECT_EQ(expected, result.m_FileNames);
  EXPECT_EQ(0x123456789ABC, result.m_TotalSize);
  EXPECT_EQ("error stat on file " + m_directory + broken + "\n", output);
  EXPECT_EQ("", error);
}

TEST_F(GetFilesAndFileSizeInDirectory, StopsAtAnEntryThatVanishes) {
  makeFile("first", 10);
  makeFile("second", 10);
  makeFile("third", 10);
  Names_t seen;
  const EntryWatch_c watch([this, &seen](const std::string& name) {
    if (!withoutDots(name)) {
      return false;
    }
    seen.push_back(name);
    if (seen.size() == 2) {
      unlink((m_directory + name).c_str());
    }
    return true;
  });
  const Files_s listing = list();
  EXPECT_FALSE(listing.isComplete);
  ASSERT_EQ(2U, seen.size());
  EXPECT_EQ(Names_t{seen[0]}, listing.result.m_FileNames);
  EXPECT_EQ(0, listing.result.m_TotalSize);
  EXPECT_EQ("error stat on file " + m_directory + seen[1] + "\n", listing.output);
}

TEST_F(GetFilesAndFileSizeInDirectory, CountsTheSizeThatAFileHasWhenItIsReached) {
  makeFile("file", 10);
  const EntryWatch_c watch([this](const std::string& name) {
    if (name == "file") {
      makeFile("file", 77);
    }
    return true;
  });
  EXPECT_EQ(77, list().result.m_TotalSize);
}

TEST_F(GetFilesAndFileSizeInDirectory, StopsAtTheFirstEntryOfADirectoryWithoutASlashAtItsEnd) {
  makeFile("file", 10);
  const Files_s listing = filesOf(m_data);
  EXPECT_FALSE(listing.isComplete);
  EXPECT_EQ(m_data, listing.result.m_Directory);
  EXPECT_EQ(Names_t(), listing.result.m_FileNames);
  EXPECT_EQ(0, listing.result.m_TotalSize);
  EXPECT_EQ("error stat on file " + m_data + namesInOrder(m_data).front() + "\n", listing.output);
}

TEST_F(GetFilesAndFileSizeInDirectory, PutsNothingBetweenDirectoryAndName) {
  makeFile("x", 10);
  // Beside the directory, where the two put together lead.
  makeDirectory(m_data + ".");
  writeFile(m_data + "..", std::string(1000, 'x'));
  writeFile(m_data + "-linked", std::string(200, 'x'));
  makeLink("data-linked", m_data + "x");
  const Files_s listing = filesOf(m_data);
  EXPECT_TRUE(listing.isComplete);
  EXPECT_EQ((Names_t{"..", "x"}), sorted(listing.result.m_FileNames));
  EXPECT_EQ(1200, listing.result.m_TotalSize);
  EXPECT_EQ("", listing.output);
}

TEST_F(GetFilesAndFileSizeInDirectory, StopsWhereThePathOfAnEntryIsTooLong) {
  const std::string longName(255, 'n');
  makeFile(longName, 10);
  const std::string longest = m_directory + std::string(3840 - m_directory.size(), '/');
  const Files_s found = filesOf(longest);
  EXPECT_TRUE(found.isComplete);
  EXPECT_EQ(10, found.result.m_TotalSize);
  const Files_s notFound = filesOf(longest + "/");
  EXPECT_FALSE(notFound.isComplete);
  EXPECT_EQ(Names_t(), notFound.result.m_FileNames);
  EXPECT_EQ("error stat on file " + longest + "/" + longName + "\n", notFound.output);
}

TEST_F(GetFilesAndFileSizeInDirectory, StopsInADirectoryThatMayNotBeSearched) {
  makeFile("file", 10);
  ASSERT_EQ(0, chmod(m_directory.c_str(), 0400));
  inChild([this] {
    dropPrivileges();
    const Files_s listing = list();
    EXPECT_FALSE(listing.isComplete);
    EXPECT_EQ("error stat on file " + m_directory + namesInOrder(m_directory).front() + "\n", listing.output);
  });
  chmod(m_directory.c_str(), 0700);
}

TEST_F(GetFilesAndFileSizeInDirectory, ClosesTheDirectory) {
  makeFile("file", 10);
  const std::size_t before = openDescriptors();
  list();
  EXPECT_EQ(before, openDescriptors());
  filesOf(m_directory, true);
  EXPECT_EQ(before, openDescriptors());
  filesOf(m_data);
  EXPECT_EQ(before, openDescriptors());
}
