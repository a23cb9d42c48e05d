#include "CapturedOutput.h"
#include "ChildProcess.h"
#include "DebugLog.h"
#include "string_util.h"

#include <gtest/gtest.h>
#include <iostream>
#include <unistd.h>

using namespace TestSupport;

namespace {

const char* const bothLines = "Utils/src/string_util 91 ConvertUtf8String2BomString UTF8 to UTF16 conversion error \n"
                              "Utils/src/string_util 118 ConvertBomString2Utf8String UTF16 to UTF8 conversion error \n";

void failTwice() {
  ConvertUtf8String2BomString("\xC3");
  ConvertBomString2Utf8String("\xFF\xFE\x41\xDC");
}

int logged = 0;

} // namespace

TEST(StringUtilErrorLine, IsFlushed) {
  const Ending_s ending = runInChild([] {
    failTwice();
    _exit(3); // what has not been flushed is lost
  });
  EXPECT_EQ(3, ending.exitStatus);
  EXPECT_EQ(bothLines, ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
}

TEST(StringUtilErrorLine, DoesNotGoToTheDebugLog) {
  set_log_handler([](const char*) { ++logged; });
  const CapturedOutput_c captured;
  failTwice();
  EXPECT_EQ(0, logged);
  EXPECT_EQ(bothLines, captured.standardOutput());
}

TEST(StringUtilErrorLine, NamesItsLineInDecimalWhateverTheStreamWasTold) {
  const CapturedOutput_c captured;
  std::cout << std::hex << std::showbase << std::showpos;
  failTwice();
  EXPECT_EQ(bothLines, captured.standardOutput());
}

TEST(StringUtilErrorLine, IsWrittenOnceACall) {
  const CapturedOutput_c captured;
  failTwice();
  failTwice();
  EXPECT_EQ(std::string(bothLines) + bothLines, captured.standardOutput());
}
