#include "FileUtil.h"

#include "CapturedOutput.h"
#include "Entries.h"
#include "FileListings.h"
#include "Files.h"
#include "Media.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace TestSupport;

namespace {

using Names_t = std::vector<std::string>;

class DeleteAllFilesInDirectory : public testing::Test {
protected:
  DeleteAllFilesInDirectory() { makeDirectory(m_data); }

  void makeFile(const std::string& name) const { writeFile(m_directory + name, "text"); }

  // Returns what has been printed.
  std::string deleteAllFiles() const { return deleteAllFiles(m_directory); }
  static std::string deleteAllFiles(const std::string& directory) {
    const CapturedOutput_c captured;
    FileUtil::deleteAllFilesInDirectory(directory.c_str());
    return captured.standardOutput() + captured.standardError();
  }

  // What is left, without "." and "..".
  Names_t left() const {
    Names_t names = sorted(namesInOrder(m_directory));
    names.erase(names.begin(), names.begin() + 2);
    return names;
  }

  TemporaryFolder_c m_folder;
  std::string m_data = m_folder.path() + "/data";
  std::string m_directory = m_data + "/";
};

// The paths that the library removes; the first one is refused.
Names_t removed;

int refuseTheFirst(const char* path) {
  removed.emplace_back(path);
  if (removed.size() == 1) {
    errno = EBUSY;
    return -1;
  }
  return unlink(path);
}

} // namespace

TEST_F(DeleteAllFilesInDirectory, RemovesEveryFileAndKeepsTheDirectory) {
  makeFile("a");
  makeFile("b");
  makeFile(".hidden");
  EXPECT_EQ("", deleteAllFiles());
  EXPECT_EQ(Names_t(), left());
}

TEST_F(DeleteAllFilesInDirectory, DoesNothingInAnEmptyDirectory) {
  EXPECT_EQ("", deleteAllFiles());
  EXPECT_TRUE(isThere(m_data));
}

TEST_F(DeleteAllFilesInDirectory, LeavesSubDirectoriesAndWhatIsInThem) {
  makeDirectory(m_directory + "maps");
  makeDirectory(m_directory + "empty");
  makeFile("maps/file");
  makeFile("file");
  EXPECT_EQ("", deleteAllFiles());
  EXPECT_EQ((Names_t{"empty", "maps"}), left());
  EXPECT_EQ("text", readFile(m_directory + "maps/file"));
}

TEST_F(DeleteAllFilesInDirectory, RemovesALinkToAFileAndLeavesTheFile) {
  writeFile(m_folder.path() + "/file", "text");
  makeLink("../file", m_directory + "to-file");
  makeLink("..", m_directory + "to-directory");
  EXPECT_EQ("", deleteAllFiles());
  EXPECT_EQ(Names_t{"to-directory"}, left());
  EXPECT_EQ("text", readFile(m_folder.path() + "/file"));
}

TEST_F(DeleteAllFilesInDirectory, RemovesFifosAndLeavesSockets) {
  makeFifo(m_directory + "fifo");
  makeSocket(m_directory + "socket");
  EXPECT_EQ("", deleteAllFiles());
  EXPECT_EQ(Names_t{"socket"}, left());
}

TEST_F(DeleteAllFilesInDirectory, RemovesCharacterDevicesAndLeavesBlockDevices) {
  if (!makeCharacterDevice(m_directory + "character") || !makeBlockDevice(m_directory + "block")) {
    GTEST_SKIP() << "this machine lets nobody make devices";
  }
  EXPECT_EQ("", deleteAllFiles());
  EXPECT_EQ(Names_t{"block"}, left());
}

TEST_F(DeleteAllFilesInDirectory, RemovesWhatTheListingFoundBeforeItFailed) {
  makeFile("before-or-after-1");
  makeFile("before-or-after-2");
  makeLink("nowhere", m_directory + "dangling");
  makeFile("before-or-after-3");
  makeFile("before-or-after-4");
  Names_t expected = namesInOrder(m_directory);
  while (expected.front() != "dangling") {
    expected.erase(expected.begin());
  }
  EXPECT_EQ("error stat on file " + m_directory + "dangling\n", deleteAllFiles());
  Names_t names = left();
  for (const std::string& name : expected) {
    if (withoutDots(name)) {
      ASSERT_FALSE(names.empty());
      EXPECT_TRUE(isThere(m_directory + name)) << name;
      names.pop_back();
    }
  }
  EXPECT_TRUE(names.empty()) << "more is left than what comes after the link";
}

TEST_F(DeleteAllFilesInDirectory, GoesThroughTheWholeListInItsOrderWhateverFails) {
  for (const char* name : {"x", "a", "m", "b"}) {
    makeFile(name);
  }
  Names_t expected;
  for (const std::string& name : namesInOrder(m_directory)) {
    if (withoutDots(name)) {
      expected.push_back(m_directory + name);
    }
  }
  const LibraryCall_c call("unlink", &refuseTheFirst);
  EXPECT_EQ("", deleteAllFiles());
  EXPECT_EQ(expected, removed);
  EXPECT_EQ(1U, left().size());
}

TEST_F(DeleteAllFilesInDirectory, FailsSilentlyWhereNothingMayBeRemoved) {
  makeFile("file");
  ASSERT_EQ(0, chmod(m_directory.c_str(), 0500));
  inChild([this] {
    dropPrivileges();
    EXPECT_EQ("", deleteAllFiles());
    EXPECT_EQ(Names_t{"file"}, left());
  });
  chmod(m_directory.c_str(), 0700);
}

TEST_F(DeleteAllFilesInDirectory, FailsSilentlyWhereThereIsNoSuchDirectory) {
  EXPECT_EQ("", deleteAllFiles(m_directory + "missing/"));
}

TEST_F(DeleteAllFilesInDirectory, RemovesNothingFromADirectoryWithoutASlashAtItsEnd) {
  makeFile("file");
  EXPECT_EQ("error stat on file " + m_data + namesInOrder(m_data).front() + "\n", deleteAllFiles(m_data));
  EXPECT_EQ(Names_t{"file"}, left());
}
