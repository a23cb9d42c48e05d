// log_check_size: the limit, and sizes that do not fit 32 bits.
#include "DebugLog.h"

#include "CapturedOutput.h"
#include "LogFixture.h"

#include <fcntl.h>
#include <ostream>

using namespace TestSupport;

namespace {

struct Size_s {
  const char* name;
  long long size;
  bool isCleared;
};

void PrintTo(const Size_s& row, std::ostream* stream) {
  *stream << row.size << " bytes";
}

constexpr long long gigabyte = 1LL << 30;

const Size_s sizes[] = {
    {"Empty", 0, false},
    {"Small", 5, false},
    {"AtTheLimit", 1000000, false},
    {"OneByteMore", 1000001, true},
    {"Megabytes", 5000000, true},
    {"LargestPositive", 2 * gigabyte - 1, true},
    {"TwoGigabytes", 2 * gigabyte, false},
    {"ThreeGigabytes", 3 * gigabyte, false},
    {"LargestIn32Bits", 4 * gigabyte - 1, false},
    {"FourGigabytes", 4 * gigabyte, false},
    {"FourGigabytesAndTheLimit", 4 * gigabyte + 1000000, false},
    {"FourGigabytesAndOneByteMore", 4 * gigabyte + 1000001, true},
    {"FourGigabytesAndMegabytes", 4 * gigabyte + 2000000, true},
    {"SixGigabytes", 6 * gigabyte, false},
};

class LogOfSize : public LogFixture, public testing::WithParamInterface<Size_s> {
protected:
  // Holes take no room.
  void SetUp() override {
    const int file = open64(log().c_str(), O_WRONLY | O_CREAT, 0600);
    const int result = ftruncate64(file, GetParam().size);
    close(file);
    if (result != 0) {
      GTEST_SKIP() << "the file system of the temporary folder takes no file of this size";
    }
  }
};

TEST_P(LogOfSize, IsClearedWhereTheSignedSizeOf32BitsIsBeyondTheLimit) {
  log_check_size();
  if (GetParam().isCleared) {
    ASSERT_EQ(10, sizeOfFile(log()));
    EXPECT_EQ("LogCleared", logged());
  } else {
    EXPECT_EQ(GetParam().size, sizeOfFile(log()));
  }
}

TEST_P(LogOfSize, TakesFurtherMessagesAtItsEnd) {
  const CapturedOutput_c output;
  log_msg("further\n");
  EXPECT_EQ(GetParam().size + 8, sizeOfFile(log()));
  EXPECT_EQ("further\n", output.standardError());
}

TEST_P(LogOfSize, IsCleared) {
  log_clear();
  EXPECT_EQ(10, sizeOfFile(log()));
}

INSTANTIATE_TEST_SUITE_P(DebugLog, LogOfSize, testing::ValuesIn(sizes), [](const auto& row) { return row.param.name; });

class LogCheckSize : public LogFixture {};

TEST_F(LogCheckSize, CreatesNoFile) {
  log_check_size();
  EXPECT_FALSE(exists(log()));
  EXPECT_TRUE(filesIn(m_folder.path()).empty());
}

TEST_F(LogCheckSize, DoesNothingWithoutAName) {
  const CapturedOutput_c output;
  set_log_filename("");
  log_check_size();
  EXPECT_EQ("", output.standardError());
}

TEST_F(LogCheckSize, LeavesTheContentsOfASmallLog) {
  const CapturedOutput_c output;
  log_msg("kept\n");
  log_check_size();
  EXPECT_EQ("kept\n", logged());
}

} // namespace
