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

class GetSubDirectories : public testing::Test {
protected:
  GetSubDirectories() { makeDirectory(m_data); }

  SubDirectories_s list() const { return subDirectoriesOf(m_directory); }

  TemporaryFolder_c m_folder;
  std::string m_data = m_folder.path() + "/data";
  std::string m_directory = m_data + "/";
};

// One line for each name.
std::string errorLines(const std::string& directory, const Names_t& names) {
  std::string lines;
  for (const std::string& name : names) {
    lines += "error stat on file " + directory + name + "\n";
  }
  return lines;
}

} // namespace

TEST_F(GetSubDirectories, GivesNothingForAnEmptyDirectory) {
  const SubDirectories_s listing = list();
  EXPECT_TRUE(listing.isComplete);
  EXPECT_EQ(Names_t(), listing.names);
  EXPECT_EQ("", listing.output);
  EXPECT_EQ("", listing.error);
}

TEST_F(GetSubDirectories, GivesTheNameOfTheOnlySubDirectory) {
  makeDirectory(m_directory + "maps");
  makeDirectory(m_directory + "maps/below");
  writeFile(m_directory + "10.bin", std::string(10, 'x'));
  writeFile(m_directory + "20.bin", std::string(20, 'x'));
  const SubDirectories_s listing = list();
  EXPECT_TRUE(listing.isComplete);
  EXPECT_EQ(Names_t{"maps"}, listing.names);
  EXPECT_EQ("", listing.output);
  EXPECT_EQ("", listing.error);
}

TEST_F(GetSubDirectories, LeavesOutNoOtherNameOfDots) {
  makeDirectory(m_directory + "...");
  makeDirectory(m_directory + ".hidden");
  makeDirectory(m_directory + "..data");
  EXPECT_EQ((Names_t{"...", "..data", ".hidden"}), sorted(list().names));
}

TEST_F(GetSubDirectories, KeepsTheOrderOfTheDirectory) {
  for (int number = 0; number < 100; ++number) {
    makeDirectory(m_directory + std::to_string(number * 7919 % 100));
  }
  Names_t expected;
  for (const std::string& name : namesInOrder(m_directory)) {
    if (withoutDots(name)) {
      expected.push_back(name);
    }
  }
  ASSERT_EQ(100U, expected.size());
  ASSERT_NE(sorted(expected), expected);
  EXPECT_EQ(expected, list().names);
}

TEST_F(GetSubDirectories, AppendsToTheNamesThatAreThere) {
  makeDirectory(m_directory + "maps");
  Names_t names = {"first", "maps"};
  bool bAbort = false;
  EXPECT_TRUE(FileUtil::getSubDirectories(m_directory.c_str(), names, bAbort));
  EXPECT_TRUE(FileUtil::getSubDirectories(m_directory.c_str(), names, bAbort));
  EXPECT_EQ((Names_t{"first", "maps", "maps", "maps"}), names);
}

TEST_F(GetSubDirectories, FollowsLinks) {
  writeFile(m_folder.path() + "/file", "text");
  makeLink(m_folder.path(), m_directory + "to-directory");
  makeLink("../file", m_directory + "to-file");
  const SubDirectories_s listing = list();
  EXPECT_TRUE(listing.isComplete);
  EXPECT_EQ(Names_t{"to-directory"}, listing.names);
  EXPECT_EQ("", listing.output);
}

TEST_F(GetSubDirectories, CountsSocketsAsDirectories) {
  makeSocket(m_directory + "socket");
  EXPECT_EQ(Names_t{"socket"}, list().names);
}

TEST_F(GetSubDirectories, CountsBlockDevicesAsDirectories) {
  if (!makeBlockDevice(m_directory + "block")) {
    GTEST_SKIP() << "this machine lets nobody make devices";
  }
  EXPECT_EQ(Names_t{"block"}, list().names);
}

TEST_F(GetSubDirectories, LeavesOutCharacterDevices) {
  if (!makeCharacterDevice(m_directory + "character")) {
    GTEST_SKIP() << "this machine lets nobody make devices";
  }
  EXPECT_EQ(Names_t(), list().names);
}

TEST_F(GetSubDirectories, LeavesOutFifos) {
  makeFifo(m_directory + "fifo");
  const SubDirectories_s listing = list();
  EXPECT_TRUE(listing.isComplete);
  EXPECT_EQ(Names_t(), listing.names);
}

TEST_F(GetSubDirectories, GoesOnAfterALinkThatLeadsNowhere) {
  makeDirectory(m_directory + "a");
  makeLink("nowhere", m_directory + "dangling");
  makeLink("circle", m_directory + "circle");
  makeDirectory(m_directory + "z");
  Names_t broken;
  for (const std::string& name : namesInOrder(m_directory)) {
    if (name == "dangling" || name == "circle") {
      broken.push_back(name);
    }
  }
  const SubDirectories_s listing = list();
  EXPECT_TRUE(listing.isComplete);
  EXPECT_EQ((Names_t{"a", "z"}), sorted(listing.names));
  EXPECT_EQ(errorLines(m_directory, broken), listing.output);
  EXPECT_EQ("", listing.error);
}

TEST_F(GetSubDirectories, PrintsANameAsItIs) {
  makeLink("nowhere", m_directory + "100%s%n\n\x01\xFF");
  EXPECT_EQ("error stat on file " + m_directory + "100%s%n\n\x01\xFF\n", list().output);
}

TEST_F(GetSubDirectories, GoesOnAfterAnEntryThatVanishes) {
  makeDirectory(m_directory + "gone");
  makeDirectory(m_directory + "stays");
  const EntryWatch_c watch([this](const std::string& name) {
    if (name == "gone") {
      rmdir((m_directory + name).c_str());
    }
    return true;
  });
  const SubDirectories_s listing = list();
  EXPECT_TRUE(listing.isComplete);
  EXPECT_EQ(Names_t{"stays"}, listing.names);
  EXPECT_EQ(errorLines(m_directory, {"gone"}), listing.output);
}

TEST_F(GetSubDirectories, FindsNothingInADirectoryThatMayNotBeSearched) {
  makeDirectory(m_directory + "maps");
  ASSERT_EQ(0, chmod(m_directory.c_str(), 0400));
  inChild([this] {
    dropPrivileges();
    const SubDirectories_s listing = list();
    EXPECT_TRUE(listing.isComplete);
    EXPECT_EQ(Names_t(), listing.names);
    EXPECT_EQ(errorLines(m_directory, namesInOrder(m_directory)), listing.output);
  });
  chmod(m_directory.c_str(), 0700);
}

TEST_F(GetSubDirectories, FailsSilentlyWhereTheDirectoryCannotBeOpened) {
  writeFile(m_directory + "file", "text");
  for (const std::string& directory :
       {m_directory + "missing/", m_directory + "file", m_directory + "file/", std::string(), std::string(5000, '/')}) {
    Names_t names = {"before"};
    bool bAbort = false;
    const CapturedOutput_c captured;
    const bool isComplete = FileUtil::getSubDirectories(directory.c_str(), names, bAbort);
    const std::string output = captured.standardOutput() + captured.standardError();
    EXPECT_FALSE(isComplete) << directory;
    EXPECT_EQ(Names_t{"before"}, names) << directory;
    EXPECT_EQ("", output);
  }
}

TEST_F(GetSubDirectories, FailsSilentlyWhereTheDirectoryMayNotBeRead) {
  ASSERT_EQ(0, chmod(m_directory.c_str(), 0300));
  inChild([this] {
    dropPrivileges();
    const SubDirectories_s listing = list();
    EXPECT_FALSE(listing.isComplete);
    EXPECT_EQ("", listing.output);
    EXPECT_EQ("", listing.error);
  });
  chmod(m_directory.c_str(), 0700);
}

TEST_F(GetSubDirectories, FailsForEveryEntryOfADirectoryWithoutASlashAtItsEnd) {
  makeDirectory(m_directory + "maps");
  writeFile(m_directory + "file", "text");
  const SubDirectories_s listing = subDirectoriesOf(m_data);
  EXPECT_TRUE(listing.isComplete);
  EXPECT_EQ(Names_t(), listing.names);
  const Names_t names = namesInOrder(m_data);
  EXPECT_EQ(4U, names.size());
  EXPECT_EQ(errorLines(m_data, names), listing.output);
}

TEST_F(GetSubDirectories, PutsNothingBetweenDirectoryAndName) {
  makeDirectory(m_directory + "x");
  writeFile(m_directory + "y", "text");
  // Beside the directory, where the two put together lead.
  writeFile(m_data + ".", "text");
  makeDirectory(m_data + "..");
  writeFile(m_data + "x", "text");
  makeLink("data", m_data + "y");
  const SubDirectories_s listing = subDirectoriesOf(m_data);
  EXPECT_TRUE(listing.isComplete);
  EXPECT_EQ(Names_t{"y"}, listing.names);
  EXPECT_EQ("", listing.output);
}

TEST_F(GetSubDirectories, TakesARelativeDirectory) {
  makeDirectory(m_directory + "maps");
  inChild([this] {
    ASSERT_EQ(0, chdir(m_folder.path().c_str()));
    EXPECT_EQ(Names_t{"maps"}, subDirectoriesOf("data/").names);
    EXPECT_EQ(Names_t{"maps"}, subDirectoriesOf("./data//").names);
    // "data" and "maps" without anything between are not there.
    EXPECT_EQ(Names_t(), subDirectoriesOf("data").names);
  });
}

TEST_F(GetSubDirectories, KeepsACopyOfTheDirectory) {
  makeLink("nowhere", m_directory + "dangling");
  std::string directory = m_directory;
  const EntryWatch_c watch([&directory](const std::string& name) {
    directory.assign(directory.size(), 'x');
    return withoutDots(name);
  });
  Names_t names;
  bool bAbort = false;
  const CapturedOutput_c captured;
  FileUtil::getSubDirectories(directory.c_str(), names, bAbort);
  const std::string output = captured.standardOutput();
  EXPECT_EQ(errorLines(m_directory, {"dangling"}), output);
}

TEST_F(GetSubDirectories, LooksForAnEntryUnderTheWholePathWhereThatIsLong) {
  const std::string longName(255, 'n');
  makeDirectory(m_directory + longName);
  makeDirectory(m_directory + "short");
  // 3840 characters and 255 are the longest path; one more is one too many.
  const std::string longest = m_directory + std::string(3840 - m_directory.size(), '/');
  const SubDirectories_s found = subDirectoriesOf(longest);
  EXPECT_EQ((Names_t{longName, "short"}), sorted(found.names));
  EXPECT_EQ("", found.output);
  const SubDirectories_s notFound = subDirectoriesOf(longest + "/");
  EXPECT_TRUE(notFound.isComplete);
  EXPECT_EQ(Names_t{"short"}, notFound.names);
  EXPECT_EQ(errorLines(longest + "/", {longName}), notFound.output);
}

TEST_F(GetSubDirectories, FindsNothingUnderTheLongestPathOfADirectory) {
  makeDirectory(m_directory + "ab");
  const std::string longest = m_directory + std::string(4094 - m_directory.size(), '/');
  // 4095 characters are a path: "." is still found.
  const SubDirectories_s listing = subDirectoriesOf(longest);
  EXPECT_TRUE(listing.isComplete);
  EXPECT_EQ(Names_t(), listing.names);
  Names_t tooLong;
  for (const std::string& name : namesInOrder(m_directory)) {
    if (name != ".") {
      tooLong.push_back(name);
    }
  }
  EXPECT_EQ(errorLines(longest, tooLong), listing.output);
}

TEST_F(GetSubDirectories, ClosesTheDirectory) {
  makeLink("nowhere", m_directory + "dangling");
  const std::size_t before = openDescriptors();
  list();
  EXPECT_EQ(before, openDescriptors());
  subDirectoriesOf(m_directory, true);
  EXPECT_EQ(before, openDescriptors());
  subDirectoriesOf(m_directory + "missing/");
  EXPECT_EQ(before, openDescriptors());
}
