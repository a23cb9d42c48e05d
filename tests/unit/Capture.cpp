#include "Capture.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <unistd.h>

using namespace IsoBusHost;

namespace {

constexpr uint64_t timeUs = 1690000000123456;

class Capture : public testing::Test {
protected:
  Capture() {
    char path[] = "/tmp/zemo-capture-XXXXXX";
    const int file = mkstemp(path);
    EXPECT_GE(file, 0);
    close(file);
    m_path = path;
  }
  ~Capture() override { std::remove(m_path.c_str()); }

  std::string content() const {
    std::ifstream file(m_path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  // hexContent: the bytes of the file from a place on, two digits each.
  std::string hexContent(size_t from) const {
    std::string text;
    for (const char byte : content().substr(from)) {
      char digits[4];
      std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned int>(static_cast<unsigned char>(byte)));
      text += digits;
    }
    return text;
  }

  std::string m_path;
};

CanFrame_s request() {
  return {0x18EAFFFE, true, 3, {0x00, 0xEE, 0x00, 0x55, 0x55, 0x55, 0x55, 0x55}};
}

TEST_F(Capture, PcapBeginsWithTheHeaderOfLinkType227) {
  std::string error;
  ASSERT_NE(openPcap(m_path, error), nullptr);
  EXPECT_EQ(hexContent(0), "d4c3b2a1"   // microseconds, little-endian
                           "02000400"   // version 2.4
                           "00000000"   // time zone
                           "00000000"   // accuracy
                           "ffff0000"   // longest packet
                           "e3000000"); // 227
  EXPECT_EQ(error, "");
}

TEST_F(Capture, PcapHoldsTheIdentifierInNetworkOrderAndTheDataOnly) {
  std::string error;
  const auto capture = openPcap(m_path, error);
  ASSERT_NE(capture, nullptr);
  capture->write(request(), "can0", timeUs);
  EXPECT_EQ(hexContent(24), "805abb64" // 1690000000
                            "40e20100" // 123456
                            "0b000000"
                            "0b000000"
                            "98eafffe" // with the flag of an extended frame
                            "03000000"
                            "00ee00");
}

TEST_F(Capture, PcapHoldsShortIdentifiersWithoutTheFlag) {
  std::string error;
  const auto capture = openPcap(m_path, error);
  ASSERT_NE(capture, nullptr);
  CanFrame_s frame = {0x7DF, false, 0, {}};
  capture->write(frame, "can0", 5000001);
  EXPECT_EQ(hexContent(24), "05000000"
                            "01000000"
                            "08000000"
                            "08000000"
                            "000007df"
                            "00000000");
}

TEST_F(Capture, CandumpLogHasOneLineForEachFrame) {
  std::string error;
  const auto capture = openCandumpLog(m_path, error);
  ASSERT_NE(capture, nullptr);
  capture->write(request(), "can0", timeUs);
  capture->write({0x0CFE4821, true, 0, {}}, "can1", 5000001);
  capture->write({0x0DF, false, 2, {0xAB, 0x0C}}, "vcan10", 0);
  EXPECT_EQ(content(), "(1690000000.123456) can0 18EAFFFE#00EE00\n"
                       "(0000000005.000001) can1 0CFE4821#\n"
                       "(0000000000.000000) vcan10 0DF#AB0C\n");
  EXPECT_TRUE(capture->isGood());
}

TEST_F(Capture, WholeFramesAreInTheFileBeforeItIsClosed) {
  std::string error;
  const auto capture = openCandumpLog(m_path, error);
  ASSERT_NE(capture, nullptr);
  capture->write(request(), "can0", timeUs);
  EXPECT_EQ(content(), "(1690000000.123456) can0 18EAFFFE#00EE00\n");
}

TEST_F(Capture, BeginsAnExistingFileAnew) {
  std::ofstream(m_path) << "old";
  std::string error;
  openCandumpLog(m_path, error);
  EXPECT_EQ(content(), "");
}

TEST_F(Capture, NamesTheFileThatCannotBeOpenedAndTheReason) {
  std::string error;
  EXPECT_EQ(openPcap("/nowhere/a.pcap", error), nullptr);
  EXPECT_EQ(error, "/nowhere/a.pcap: No such file or directory");
  EXPECT_EQ(openCandumpLog("/tmp", error), nullptr);
  EXPECT_EQ(error, "/tmp: Is a directory");
}

TEST_F(Capture, IsNotGoodOnAFullDisk) {
  std::string error;
  EXPECT_EQ(openPcap("/dev/full", error), nullptr);
  EXPECT_EQ(error, "/dev/full: No space left on device");
  const auto log = openCandumpLog("/dev/full", error);
  ASSERT_NE(log, nullptr);
  EXPECT_TRUE(log->isGood());
  log->write(request(), "can0", timeUs);
  EXPECT_FALSE(log->isGood());
  log->write(request(), "can0", timeUs);
  EXPECT_FALSE(log->isGood());
}

} // namespace
