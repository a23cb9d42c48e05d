#include "FileUtil.h"

#include "CapturedOutput.h"
#include "Entries.h"
#include "FileListings.h"
#include "Files.h"
#include "PrivateMounts.h"

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

using namespace TestSupport;

namespace {

using Names_t = std::vector<std::string>;

constexpr const char* subDirectoriesAborted = "FileUtil::getSubDirectories aborted\n";
constexpr const char* filesAborted = "getFilesAndFileSizeInDirectory aborted\n";

// A directory with three sub-directories and three files of a byte; the library sees either the ones or the others.
class Abort : public testing::Test {
protected:
  Abort() {
    for (const char* name : {"1", "2", "3"}) {
      makeDirectory(m_directory + "directory" + name);
      writeFile(m_directory + "file" + name, "x");
    }
  }

  TemporaryFolder_c m_folder;
  std::string m_directory = m_folder.path() + "/";
};

class GetSubDirectoriesAborted : public Abort {};
class GetFilesAborted : public Abort {};

bool isSubDirectory(const std::string& name) {
  return name.compare(0, 9, "directory") == 0;
}

bool isFile(const std::string& name) {
  return name.compare(0, 4, "file") == 0;
}

} // namespace

TEST_F(GetSubDirectoriesAborted, LetsTheFirstEntryThroughWhereTheFlagIsSetBefore) {
  Names_t seen;
  const EntryWatch_c watch([&seen](const std::string& name) {
    seen.push_back(name);
    return isSubDirectory(name);
  });
  const SubDirectories_s listing = subDirectoriesOf(m_directory, true);
  EXPECT_FALSE(listing.isComplete);
  EXPECT_EQ(Names_t{seen.back()}, listing.names);
  EXPECT_EQ(subDirectoriesAborted, listing.output);
  EXPECT_EQ("", listing.error);
}

TEST_F(GetSubDirectoriesAborted, StopsAfterAnEntryThatIsNoDirectory) {
  const EntryWatch_c watch(isFile);
  const SubDirectories_s listing = subDirectoriesOf(m_directory, true);
  EXPECT_FALSE(listing.isComplete);
  EXPECT_EQ(Names_t(), listing.names);
  EXPECT_EQ(subDirectoriesAborted, listing.output);
}

TEST_F(GetSubDirectoriesAborted, StopsAfterAnEntryThatCannotBeLookedAt) {
  makeLink("nowhere", m_directory + "dangling");
  const EntryWatch_c watch([](const std::string& name) { return name == "dangling"; });
  const SubDirectories_s listing = subDirectoriesOf(m_directory, true);
  EXPECT_FALSE(listing.isComplete);
  EXPECT_EQ("error stat on file " + m_directory + "dangling\n" + subDirectoriesAborted, listing.output);
}

TEST_F(GetSubDirectoriesAborted, StopsAfterADotInAnEmptyDirectory) {
  makeDirectory(m_directory + "directory1/empty");
  const SubDirectories_s listing = subDirectoriesOf(m_directory + "directory1/empty/", true);
  EXPECT_FALSE(listing.isComplete);
  EXPECT_EQ(subDirectoriesAborted, listing.output);
}

TEST_F(GetSubDirectoriesAborted, ComesToItsEndWhereThereIsNoEntryAtAll) {
  const EntryWatch_c watch([](const std::string&) { return false; });
  const SubDirectories_s listing = subDirectoriesOf(m_directory, true);
  EXPECT_TRUE(listing.isComplete);
  EXPECT_EQ("", listing.output);
}

TEST_F(GetSubDirectoriesAborted, IsNoMatterWhereTheDirectoryCannotBeOpened) {
  const SubDirectories_s listing = subDirectoriesOf(m_directory + "missing/", true);
  EXPECT_FALSE(listing.isComplete);
  EXPECT_EQ("", listing.output);
}

TEST_F(GetSubDirectoriesAborted, StopsAfterTheEntryDuringWhichTheFlagIsSet) {
  bool bAbort = false;
  Names_t seen;
  const EntryWatch_c watch([&bAbort, &seen](const std::string& name) {
    if (!isSubDirectory(name)) {
      return false;
    }
    seen.push_back(name);
    bAbort = seen.size() == 2;
    return true;
  });
  Names_t names;
  const CapturedOutput_c captured;
  const bool isComplete = FileUtil::getSubDirectories(m_directory.c_str(), names, bAbort);
  const std::string output = captured.standardOutput();
  EXPECT_FALSE(isComplete);
  EXPECT_EQ(2U, names.size());
  EXPECT_EQ(seen, names);
  EXPECT_EQ(subDirectoriesAborted, output);
  EXPECT_TRUE(bAbort) << "the flag is the application's";
}

TEST_F(GetFilesAborted, LetsTheFirstEntryThroughWhereTheFlagIsSetBefore) {
  Names_t seen;
  const EntryWatch_c watch([&seen](const std::string& name) {
    seen.push_back(name);
    return isFile(name);
  });
  const Files_s listing = filesOf(m_directory, true);
  EXPECT_FALSE(listing.isComplete);
  EXPECT_EQ(m_directory, listing.result.m_Directory);
  EXPECT_EQ(Names_t{seen.back()}, listing.result.m_FileNames);
  EXPECT_EQ(0, listing.result.m_TotalSize);
  EXPECT_EQ(filesAborted, listing.output);
  EXPECT_EQ("", listing.error);
}

TEST_F(GetFilesAborted, StopsAfterAnEntryThatIsADirectory) {
  const EntryWatch_c watch(isSubDirectory);
  const Files_s listing = filesOf(m_directory, true);
  EXPECT_FALSE(listing.isComplete);
  EXPECT_EQ(Names_t(), listing.result.m_FileNames);
  EXPECT_EQ(filesAborted, listing.output);
}

TEST_F(GetFilesAborted, SaysNothingOfItWhereAnEntryCannotBeLookedAt) {
  makeLink("nowhere", m_directory + "dangling");
  const EntryWatch_c watch([](const std::string& name) { return name == "dangling"; });
  const Files_s listing = filesOf(m_directory, true);
  EXPECT_FALSE(listing.isComplete);
  EXPECT_EQ("error stat on file " + m_directory + "dangling\n", listing.output);
}

TEST_F(GetFilesAborted, ComesToItsEndWhereThereIsNoEntryAtAll) {
  const EntryWatch_c watch([](const std::string&) { return false; });
  FileOperations_c result;
  result.m_TotalSize = 4711;
  bool bAbort = true;
  EXPECT_TRUE(FileUtil::getFilesAndFileSizeInDirectory(m_directory.c_str(), result, bAbort));
  EXPECT_EQ(0, result.m_TotalSize);
}

TEST_F(GetFilesAborted, KeepsTheNamesSoFarAndTheTotalOfTheListingBefore) {
  bool bAbort = false;
  Names_t seen = {"before"};
  const EntryWatch_c watch([&bAbort, &seen](const std::string& name) {
    if (!isFile(name)) {
      return false;
    }
    seen.push_back(name);
    bAbort = seen.size() == 3;
    return true;
  });
  FileOperations_c result;
  result.m_FileNames = {"before"};
  result.m_TotalSize = 4711;
  const CapturedOutput_c captured;
  const bool isComplete = FileUtil::getFilesAndFileSizeInDirectory(m_directory.c_str(), result, bAbort);
  const std::string output = captured.standardOutput();
  EXPECT_FALSE(isComplete);
  EXPECT_EQ(3U, result.m_FileNames.size());
  EXPECT_EQ(seen, result.m_FileNames);
  EXPECT_EQ(4711, result.m_TotalSize);
  EXPECT_EQ(filesAborted, output);
  EXPECT_TRUE(bAbort) << "the flag is the application's";
}

// The directory begins anew where it ends: without the flag its listing never does.
class AbortFromAnotherThread : public Abort {
protected:
  void SetUp() override {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the flag is a plain bool on purpose, and the thread sanitizer reports that";
#endif
  }

  // Sets the flag while a listing has long been running.
  void abortOnTheWay(const std::function<void(bool& bAbort)>& list) const {
    std::atomic<int> entries{0};
    const EntryWatch_c watch(
        [&entries](const std::string&) {
          ++entries;
          return true;
        },
        true);
    bool bAbort = false;
    std::thread worker([&list, &bAbort] { list(bAbort); });
    while (entries < 1000) {
      std::this_thread::yield();
    }
    bAbort = true;
    worker.join();
  }
};

TEST_F(AbortFromAnotherThread, EndsGetSubDirectories) {
  bool isComplete = true;
  Names_t names;
  const CapturedOutput_c captured;
  abortOnTheWay([&](bool& bAbort) { isComplete = FileUtil::getSubDirectories(m_directory.c_str(), names, bAbort); });
  const std::string output = captured.standardOutput();
  EXPECT_FALSE(isComplete);
  EXPECT_LT(3U, names.size());
  EXPECT_EQ(subDirectoriesAborted, output);
}

TEST_F(AbortFromAnotherThread, EndsGetFilesAndFileSizeInDirectory) {
  bool isComplete = true;
  FileOperations_c result;
  result.m_TotalSize = 4711;
  const CapturedOutput_c captured;
  abortOnTheWay([&](bool& bAbort) {
    isComplete = FileUtil::getFilesAndFileSizeInDirectory(m_directory.c_str(), result, bAbort);
  });
  const std::string output = captured.standardOutput();
  EXPECT_FALSE(isComplete);
  EXPECT_LT(3U, result.m_FileNames.size());
  EXPECT_EQ(4711, result.m_TotalSize);
  EXPECT_EQ(filesAborted, output);
}
