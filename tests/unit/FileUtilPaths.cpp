#include "FileUtil.h"

#include "CapturedOutput.h"
#include "Files.h"
#include "Media.h"
#include "PrivateMounts.h"

#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using namespace TestSupport;

namespace {

// What getParentDirectory gave and printed.
struct Parent_s {
  bool isFound = false;
  std::string parent = "as before";
  std::string output;
  std::string error;
};

Parent_s parentOf(const char* path) {
  Parent_s result;
  const CapturedOutput_c captured;
  result.isFound = FileUtil::getParentDirectory(path, result.parent);
  result.output = captured.standardOutput();
  result.error = captured.standardError();
  return result;
}

struct ParentRow_s {
  const char* name;
  const char* path;
  const char* parent; // null: there is none
};

std::string nameOf(const testing::TestParamInfo<ParentRow_s>& row) {
  return row.param.name;
}

class GetParentDirectory : public testing::TestWithParam<ParentRow_s> {};

const ParentRow_s parentRows[] = {
    {"DirectoryWithSlash", "/mnt/usb1/data/", "/mnt/usb1/"},
    {"DirectoryWithoutSlash", "/mnt/usb1/data", "/mnt/usb1/"},
    {"MountPointWithSlash", "/mnt/usb1/", "/mnt/"},
    {"MountPointWithoutSlash", "/mnt/usb1", "/mnt/"},
    {"RelativePath", "data/maps", "data/"},
    {"RelativePathWithSlash", "data/maps/", "data/"},
    {"OneLetterAboveOne", "a/b", "a/"},
    {"SlashAsSecondOfThree", "a//", "a/"},
    {"TwoSlashesAtTheEnd", "/mnt/usb1//", "/mnt/usb1/"},
    {"ThreeSlashesAtTheEnd", "/mnt/usb1///", "/mnt/usb1//"},
    {"TwoSlashesWithin", "/mnt//usb1", "/mnt//"},
    {"TwoSlashesInFront", "//mnt", "//"},
    {"OnlyThreeSlashes", "///", "//"},
    {"Dots", "../..", "../"},
    {"BelowTheRoot", "/mnt", nullptr},
    {"BelowTheRootWithSlash", "/mnt/", nullptr},
    {"LoneSlash", "/", nullptr},
    {"OnlyTwoSlashes", "//", nullptr},
    {"OneLetter", "a", nullptr},
    {"OneLetterWithSlash", "a/", nullptr},
    {"NoSlash", "data", nullptr},
    {"NoText", "", nullptr},
    {"PercentSigns", "%s%n%d", nullptr},
};

} // namespace

TEST_P(GetParentDirectory, GivesTheDirectoryAboveOrSaysThatThereIsNone) {
  const ParentRow_s& row = GetParam();
  const Parent_s result = parentOf(row.path);
  EXPECT_EQ(row.parent != nullptr, result.isFound);
  EXPECT_EQ(row.parent != nullptr ? row.parent : row.path, result.parent);
  EXPECT_EQ(row.parent != nullptr ? "" : "parent of dir " + std::string(row.path) + " doesn't exist\n", result.output);
  EXPECT_EQ("", result.error);
}

INSTANTIATE_TEST_SUITE_P(Paths, GetParentDirectory, testing::ValuesIn(parentRows), nameOf);

TEST(GetParentDirectoryOfNull, LeavesTheParentAloneAndPrintsNothing) {
  const Parent_s result = parentOf(nullptr);
  EXPECT_FALSE(result.isFound);
  EXPECT_EQ("as before", result.parent);
  EXPECT_EQ("", result.output);
  EXPECT_EQ("", result.error);
}

TEST(GetParentDirectoryIntoTheSameText, GivesTheDirectoryAbove) {
  std::string path = "/mnt/usb1/a directory with a long name/";
  EXPECT_TRUE(FileUtil::getParentDirectory(path.c_str(), path));
  EXPECT_EQ("/mnt/usb1/", path);
  EXPECT_TRUE(FileUtil::getParentDirectory(path.c_str(), path));
  EXPECT_EQ("/mnt/", path);
}

TEST(GetParentDirectoryIntoTheSameText, SaysThatThereIsNone) {
  std::string path = "/mnt/";
  const CapturedOutput_c captured;
  const bool isFound = FileUtil::getParentDirectory(path.c_str(), path);
  const std::string output = captured.standardOutput();
  EXPECT_FALSE(isFound);
  EXPECT_EQ("/mnt/", path);
  EXPECT_EQ("parent of dir /mnt/ doesn't exist\n", output);
}

TEST(GetParentDirectoryOfALongPath, IsNotCut) {
  const std::string parent = "/mnt/" + std::string(5000, 'x') + "/";
  const Parent_s found = parentOf((parent + std::string(300, 'y')).c_str());
  EXPECT_TRUE(found.isFound);
  EXPECT_EQ(parent, found.parent);
  const std::string lonely(5000, 'z');
  EXPECT_EQ("parent of dir " + lonely + " doesn't exist\n", parentOf(lonely.c_str()).output);
}

TEST(GetConsoleModel, IsAConstant) {
  EXPECT_STREQ("R3700", FileUtil::getConsoleModel());
  EXPECT_EQ(FileUtil::getConsoleModel(), FileUtil::getConsoleModel());
}

class FileExists : public testing::Test {
protected:
  FileExists() { writeFile(m_path, "text"); }

  void link(const std::string& target, const std::string& name) const {
    ASSERT_EQ(0, symlink(target.c_str(), (m_folder.path() + "/" + name).c_str()));
  }
  bool exists(const std::string& name) const { return FileUtil::fileExists((m_folder.path() + "/" + name).c_str()); }

  TemporaryFolder_c m_folder;
  std::string m_path = m_folder.path() + "/file";
};

TEST_F(FileExists, IsTrueForAFile) {
  EXPECT_TRUE(exists("file"));
  EXPECT_FALSE(exists("fil"));
  EXPECT_FALSE(exists("file2"));
}

TEST_F(FileExists, IsTrueForADirectory) {
  EXPECT_TRUE(exists(""));
  EXPECT_TRUE(FileUtil::fileExists("/"));
}

TEST_F(FileExists, FollowsLinks) {
  link("file", "link");
  link("missing", "dangling");
  link("circle", "circle");
  EXPECT_TRUE(exists("link"));
  EXPECT_FALSE(exists("dangling"));
  EXPECT_FALSE(exists("circle"));
}

TEST_F(FileExists, IsTrueForAFifoWithoutWaitingForIt) {
  ASSERT_EQ(0, mkfifo((m_folder.path() + "/fifo").c_str(), 0600));
  EXPECT_TRUE(exists("fifo"));
}

TEST_F(FileExists, IsTrueForAFileThatMayNotBeRead) {
  ASSERT_EQ(0, chmod(m_path.c_str(), 0));
  inChild([this] {
    dropPrivileges();
    EXPECT_TRUE(exists("file"));
  });
}

TEST_F(FileExists, IsFalseInADirectoryThatMayNotBeSearched) {
  inChild([this] {
    dropPrivileges();
    EXPECT_TRUE(exists("file"));
    ASSERT_EQ(0, chmod(m_folder.path().c_str(), 0600));
    EXPECT_FALSE(exists("file"));
  });
  chmod(m_folder.path().c_str(), 0700);
}

TEST_F(FileExists, IsFalseForAPathThatLeadsThroughAFile) {
  EXPECT_FALSE(exists("file/"));
  EXPECT_FALSE(exists("file/more"));
}

TEST_F(FileExists, IsFalseForNoText) {
  EXPECT_FALSE(FileUtil::fileExists(""));
}

TEST_F(FileExists, PrintsNothing) {
  const CapturedOutput_c captured;
  exists("file");
  exists("missing");
  EXPECT_EQ("", captured.standardOutput());
  EXPECT_EQ("", captured.standardError());
}
