#include "../../Utils/src/MemoryTable.h"

#include <algorithm>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <ostream>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

// The text as a file.
uint32_t freeKilobytesOf(const std::string& text) {
  const int file = memfd_create("table", MFD_CLOEXEC);
  if (file < 0 || write(file, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw std::runtime_error("no file");
  }
  lseek(file, 0, SEEK_SET);
  const uint32_t kilobytes = MemoryTable_c(file).freeKilobytes();
  close(file);
  return kilobytes;
}

// The text in pieces: each read gives no more than one.
uint32_t freeKilobytesInPieces(const std::string& text, std::size_t size) {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()) != 0) {
    throw std::runtime_error("no sockets");
  }
  for (std::size_t begin = 0; begin < text.size(); begin += size) {
    const std::string piece = text.substr(begin, size);
    if (send(ends[1], piece.data(), piece.size(), MSG_DONTWAIT) != static_cast<ssize_t>(piece.size())) {
      throw std::runtime_error("the socket is full");
    }
  }
  close(ends[1]);
  const uint32_t kilobytes = MemoryTable_c(ends[0]).freeKilobytes();
  close(ends[0]);
  return kilobytes;
}

const std::string freeAndCached = "MemFree: 51200 kB\nCached: 20480 kB\n";

struct Row_s {
  std::string name;
  std::string text;
  uint32_t kilobytes;
};

void PrintTo(const Row_s& row, std::ostream* stream) {
  *stream << row.text;
}

std::string nameOf(const testing::TestParamInfo<Row_s>& info) {
  return info.param.name;
}

// headerOf: the header of the older form, its line so many characters long behind "total:", the line feed counted.
std::string headerOf(std::size_t characters) {
  return "total: " + std::string(characters - 2, 'x') + "\n";
}

const std::string linesOf = "MemFree: 1 kB\nMemFree: 2 kB\nMemFree: 4 kB\nCached: 8 kB\n";

const std::vector<Row_s> keys = {
    {"AddsFreeAndCached", freeAndCached, 71680},
    {"PassesOverOtherKeys", "MemTotal: 1 kB\nMemAvailable: 2 kB\nBuffers: 4 kB\n" + freeAndCached, 71680},
    {"StopsAtTheFirstCached", "MemFree: 1 kB\nCached: 2 kB\nMemFree: 4 kB\nCached: 8 kB\n", 3},
    {"StopsAtCachedBeforeFree", "Cached: 2 kB\nMemFree: 1 kB\n", 2},
    {"AddsEveryFreeBeforeCached", "MemFree: 1 kB\nMemFree: 2 kB\nCached: 4 kB\n", 7},
    {"TakesKeysThatContainFree", "XMemFree:y 1 kB\nCached: 2 kB\n", 3},
    {"TakesKeysThatContainCached", "MemFree: 1 kB\nSwapCached: 4 kB\nCached: 2 kB\n", 5},
    {"TakesAKeyWithBothAsFree", "Cached:MemFree: 1 kB\nCached: 2 kB\n", 3},
    {"DistinguishesCapitals", "memfree: 1 kB\nMEMFREE: 2 kB\ncached: 4 kB\nCACHED: 8 kB\n", 0},
    {"NeedsTheColon", "MemFree 1 kB\nCached 2 kB\n", 0},
    {"NeedsTheColonInTheSameWord", "MemFree : 1 kB\nCached: 2 kB\n", 0},
    {"FindsNoKey", "MemTotal: 1 kB\nBuffers: 2 kB\n", 0},
    {"FindsZeros", "MemFree: 0 kB\nCached: 0 kB\n", 0},
    {"FindsNothingInAnEmptyTable", "", 0},
    {"FindsNothingInBlanks", " \t\r\v\f\n\n", 0},
};

const std::vector<Row_s> numbers = {
    {"TakesAPlusSign", "MemFree: +5 kB\nCached: 1 kB\n", 6},
    {"TakesAMinusSign", "MemFree: 8 kB\nCached: -5 kB\n", 3},
    {"WrapsBelowZero", "MemFree: -1 kB\n", 0xFFFFFFFF},
    {"WrapsAboveThirtyTwoBits", "MemFree: 4294967295 kB\nCached: 2 kB\n", 1},
    {"TakesANumberModuloThirtyTwoBits", "MemFree: 4294967299 kB\n", 3},
    {"TakesLeadingZeros", "MemFree: 0000012 kB\n", 12},
    {"TakesDecimalDigitsOnly", "MemFree: 0x10 Cached: 2 kB\n", 2},
    {"TakesEighteenDigits", "MemFree: 100000000000000003 kB\n", 1569325059},
    {"EndsAtNineteenDigits", "MemFree: 7 kB\nCached: 1000000000000000000 kB\n", 7},
    {"EndsAtMoreThanSixtyFourBits", "MemFree: 7 kB\nCached: 99999999999999999999 kB\n", 7},
    {"EndsAtAMissingNumberWithTheSumSoFar", "MemFree: 7 kB\nBuffers: none kB\nCached: 9 kB\n", 7},
    {"EndsAtAFreeKeyWithoutNumber", "MemFree: kB\nCached: 9 kB\n", 0},
    {"EndsAtASignAlone", "MemFree: 7 kB\nBuffers: - kB\nCached: 9 kB\n", 7},
    {"EndsAtTwoSigns", "MemFree: 7 kB\nBuffers: +-1 kB\nCached: 9 kB\n", 7},
    {"TakesLettersBehindDigitsAsUnit", "MemFree: 12abc Cached: 3 kB\n", 15},
    {"IsOutOfStepBehindLettersAndAUnit", "MemFree: 12abc kB\nCached: 3 kB\n", 12},
    {"TakesTheNextWordAsUnit", "MemFree: 7 kB\nHugePages_Total: 0\nCached: 9 kB\n", 7},
    {"TakesAnyUnit", "MemFree: 7 MB\nCached: 9 Cached:\n", 16},
};

const std::vector<Row_s> shapes = {
    {"NeedsNoUnitAtTheEnd", "MemFree: 7 kB\nCached: 9", 16},
    {"NeedsNoUnitAtTheEndBehindFree", "MemFree: 7", 7},
    {"NeedsNoFinalLineFeed", "MemFree: 7 kB\nCached: 9 kB", 16},
    {"EndsBehindAKey", "MemFree: 7 kB\nCached:", 7},
    {"TakesAnyBlanks", "\t\vMemFree:\r7\fkB\n\n\nCached: \t 9\n", 16},
    {"TakesAllOnOneLine", "MemFree: 7 kB Cached: 9 kB", 16},
    {"TakesANullCharacterAsPartOfAWord", std::string("MemFree:\0x 7 kB\nCached: 9 kB\n", 29), 16},
    {"TakesHighBytesAsPartOfAWord", "\xA0\x85\xFFMemFree: 7 kB\nCached: 9 kB\n", 16},
};

const std::vector<Row_s> headers = {
    {"SkipsTheOlderHeader",
     "        total:    used:    free:  shared: buffers:  cached:\n"
     "Mem:  127922176 125231104  2691072        0  4329472 61292544\n"
     "Swap: 254943232   253952 254689280\n"
     "MemTotal:    124924 kB\nMemFree:      51200 kB\nCached:       20480 kB\n",
     71680},
    {"SkipsThreeLinesAndNoMore", "total: a\n" + linesOf, 12},
    {"SkipsAlsoEmptyLines", "total:\n\n\n" + linesOf, 15},
    {"SkipsAtAnyKeyWithTotal", "MemFree: 16 kB\nsubtotal:x\n" + linesOf, 28},
    {"SkipsAtEachHeader", "total:\n\n\ntotal:\n\n\n" + linesOf, 15},
    {"TakesACapitalAsNoHeader", "Total: 9 kB\n" + linesOf, 15},
    {"NeedsTheColonOfTheHeader", "total 9 kB\n" + linesOf, 15},
    {"LooksForTheHeaderFirst", "total:MemFree: 16 kB\n" + linesOf, 12},
    {"SkipsALineOfAHundredCharacters", headerOf(100) + linesOf, 12},
    {"CountsALongerLineAsTwo", headerOf(101) + linesOf, 14},
    {"CountsALineOfTwoHundredAsTwo", headerOf(200) + linesOf, 14},
    {"CountsALineOfThreeHundredAsThree", headerOf(300) + linesOf, 15},
    {"ReadsWhatIsLeftOfAnEndlessLine", headerOf(400) + linesOf, 0},
    {"EndsInTheHeader", "MemFree: 7 kB\ntotal: a\nb", 7},
    {"EndsBehindTheHeader", "MemFree: 7 kB\ntotal:", 7},
};

class MemoryTable : public testing::TestWithParam<Row_s> {};

} // namespace

TEST_P(MemoryTable, Sums) {
  EXPECT_EQ(GetParam().kilobytes, freeKilobytesOf(GetParam().text));
  EXPECT_EQ(GetParam().kilobytes, freeKilobytesInPieces(GetParam().text, 7));
}

INSTANTIATE_TEST_SUITE_P(Keys, MemoryTable, testing::ValuesIn(keys), nameOf);
INSTANTIATE_TEST_SUITE_P(Numbers, MemoryTable, testing::ValuesIn(numbers), nameOf);
INSTANTIATE_TEST_SUITE_P(Shapes, MemoryTable, testing::ValuesIn(shapes), nameOf);
INSTANTIATE_TEST_SUITE_P(Headers, MemoryTable, testing::ValuesIn(headers), nameOf);

TEST(MemoryTablePieces, MayEndAnywhere) {
  const std::string text = "total: a\nb\nc\nMemTotal: 9 kB\n" + freeAndCached;
  for (std::size_t size = 1; size <= text.size(); ++size) {
    EXPECT_EQ(71680U, freeKilobytesInPieces(text, size)) << "pieces of " << size;
  }
}

TEST(MemoryTablePieces, AreReadUntilTheKeysAreFound) {
  for (std::size_t length = 900; length < 1100; ++length) {
    EXPECT_EQ(71680U, freeKilobytesOf(std::string(length, 'x') + " 1 kB\n" + freeAndCached)) << length;
  }
  std::string table;
  while (table.size() < 100000) {
    table += "Another: 123456 kB\n";
  }
  EXPECT_EQ(71680U, freeKilobytesOf(table + freeAndCached));
}

TEST(MemoryTableWords, HaveAnyLength) {
  const std::string filling(100000, 'x');
  EXPECT_EQ(3U, freeKilobytesOf(filling + "MemFree:" + filling + " 1 kB\nCached: 2 kB\n"));
  EXPECT_EQ(3U, freeKilobytesOf("MemFree: 1 " + filling + "\nCached: 2 kB\n"));
  EXPECT_EQ(3U, freeKilobytesOf("MemFree: 1" + std::string(100000, ' ') + "kB\nCached: 2 kB\n"));
  EXPECT_EQ(1U, freeKilobytesOf("MemFree: 1 kB\nCached: " + std::string(100000, '9') + " kB\n"));
}

TEST(MemoryTableDescriptor, StaysOpen) {
  const int file = memfd_create("table", MFD_CLOEXEC);
  MemoryTable_c(file).freeKilobytes();
  EXPECT_EQ(0, close(file));
}

TEST(MemoryTableDescriptor, GivesNothingWhereItCannotBeRead) {
  EXPECT_EQ(0U, MemoryTable_c(-1).freeKilobytes());
  const int folder = open("/", O_RDONLY | O_CLOEXEC);
  EXPECT_EQ(0U, MemoryTable_c(folder).freeKilobytes());
  close(folder);
}

TEST(MemoryTableDescriptor, EndsTheTableWhereAReadFails) {
  std::array<int, 2> ends{};
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0, ends.data()));
  const std::string text = "MemFree: 7 kB\n";
  ASSERT_EQ(static_cast<ssize_t>(text.size()), write(ends[1], text.data(), text.size()));
  EXPECT_EQ(7U, MemoryTable_c(ends[0]).freeKilobytes());
  close(ends[0]);
  close(ends[1]);
}
