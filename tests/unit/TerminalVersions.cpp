// Stored versions of pools, in memory and in a folder.
#include "Files.h"
#include "terminal/VersionStore.h"

#include <gtest/gtest.h>

#include <fstream>

using TestSupport::filesIn;
using TestSupport::TemporaryFolder_c;

namespace {

VersionLabel_t label(const std::string& text) {
  VersionLabel_t result;
  result.fill(' ');
  std::copy(text.begin(), text.end(), result.begin());
  return result;
}

using Bytes = VersionStore_c::Bytes;

TEST(TerminalVersions, KnowsWhatALabelMayBe) {
  EXPECT_TRUE(isLabel(label("A")));
  EXPECT_TRUE(isLabel(label(" \xC4 7~")));
  EXPECT_FALSE(isLabel(label("")));
  for (const char character : std::string("\\\"'`/:*<>|?\n")) {
    EXPECT_FALSE(isLabel(label(std::string("A") + character))) << character;
  }
  EXPECT_FALSE(isLabel(label(std::string("A\0", 2))));
}

TEST(TerminalVersions, AreKeptByNameAndLabel) {
  VersionStore_c store;
  EXPECT_TRUE(store.store(1, label("A"), {1}));
  EXPECT_TRUE(store.store(1, label("B"), {2}));
  EXPECT_TRUE(store.store(2, label("A"), {3}));
  EXPECT_EQ(store.labels(1), std::vector<VersionLabel_t>({label("A"), label("B")}));
  EXPECT_EQ(*store.find(1, label("A")), Bytes({1}));
  EXPECT_EQ(*store.find(2, label("A")), Bytes({3}));
  EXPECT_EQ(store.find(2, label("B")), nullptr);
  EXPECT_TRUE(store.remove(1, label("A")));
  EXPECT_FALSE(store.remove(1, label("A")));
  EXPECT_NE(store.find(2, label("A")), nullptr);
}

TEST(TerminalVersions, AreReplacedByTheSameLabelAndFoundByABlankOneWhenStoredLast) {
  VersionStore_c store;
  store.store(1, label("A"), {1});
  store.store(1, label("B"), {2});
  store.store(1, label("A"), {3});
  store.store(2, label("C"), {4});
  EXPECT_EQ(store.labels(1).size(), 2U);
  EXPECT_EQ(*store.find(1, label("")), Bytes({3}));
  EXPECT_EQ(store.find(3, label("")), nullptr);
}

TEST(TerminalVersions, AreNoMoreThanTheirNumberCanSay) {
  VersionStore_c store;
  for (int number = 0; number < 255; ++number) {
    ASSERT_TRUE(store.store(1, label("V" + std::to_string(number)), {1}));
  }
  EXPECT_FALSE(store.store(1, label("X"), {1}));
  EXPECT_TRUE(store.store(1, label("V7"), {2}));
  EXPECT_TRUE(store.store(2, label("X"), {1}));
}

TEST(TerminalVersions, TakeNoMoreThanTheirRoom) {
  VersionStore_c store;
  EXPECT_TRUE(store.store(1, label("A"), Bytes(60000000)));
  EXPECT_FALSE(store.store(2, label("B"), Bytes(4000001)));
  EXPECT_TRUE(store.store(2, label("B"), Bytes(4000000)));
}

TEST(TerminalVersions, OutliveTheProgramInAFolder) {
  const TemporaryFolder_c folder;
  {
    VersionStore_c store;
    EXPECT_EQ(store.open(folder.path()), "");
    store.store(0xA0001D005BA1E240, label("A"), {1, 2});
    store.store(0xA0001D005BA1E240, label("B"), {3});
    store.store(0xA0001D005BA1E240, label("A"), {4, 5, 0, 255});
    store.store(2, label("C"), {6});
    store.remove(2, label("C"));
  }
  EXPECT_EQ(filesIn(folder.path(), ".pool").size(), 2U);
  VersionStore_c store;
  EXPECT_EQ(store.open(folder.path()), "");
  EXPECT_EQ(store.labels(0xA0001D005BA1E240), std::vector<VersionLabel_t>({label("B"), label("A")}));
  EXPECT_EQ(*store.find(0xA0001D005BA1E240, label("A")), Bytes({4, 5, 0, 255}));
  EXPECT_EQ(*store.find(0xA0001D005BA1E240, label("")), Bytes({4, 5, 0, 255}));
  EXPECT_TRUE(store.labels(2).empty());
}

TEST(TerminalVersions, OverlookOtherFilesOfTheFolder) {
  const TemporaryFolder_c folder;
  for (const char* name : {"note.txt", "00000001-0000000000000001-41202020202020.pool.bak",
                           "00000002-0000000000000001-20202020202020.pool", "x-0000000000000001-41202020202020.pool"}) {
    std::ofstream(folder.path() + '/' + name) << "x";
  }
  VersionStore_c store;
  EXPECT_EQ(store.open(folder.path()), "");
  EXPECT_TRUE(store.labels(1).empty());
}

TEST(TerminalVersions, SayWhichFolderIsMissing) {
  VersionStore_c store;
  EXPECT_EQ(store.open("/nonexistent/versions"), "/nonexistent/versions: No such file or directory");
}

TEST(TerminalVersions, AreNotStoredWhereTheFolderIsGone) {
  VersionStore_c store;
  {
    const TemporaryFolder_c folder;
    EXPECT_EQ(store.open(folder.path()), "");
  }
  EXPECT_FALSE(store.store(1, label("A"), {1}));
  EXPECT_EQ(store.find(1, label("A")), nullptr);
}

} // namespace
