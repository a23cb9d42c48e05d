// The runner of single cases (EachCase.h), with cases of this program that end in every way there is.
#include "ChildProcess.h"
#include "Files.h"

#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace TestSupport;

namespace {

// Run by name only.
class EachCaseSample : public testing::Test {};

TEST_F(EachCaseSample, DISABLED_Passes) {
  std::cout << "not kept\n";
}

TEST_F(EachCaseSample, DISABLED_Fails) {
  std::cout << "before the failure\n";
  FAIL() << "as it should";
}

TEST_F(EachCaseSample, DISABLED_IsSkipped) {
  GTEST_SKIP() << "for a reason";
}

TEST_F(EachCaseSample, DISABLED_Crashes) {
  std::signal(SIGSEGV, SIG_DFL);
  std::raise(SIGSEGV);
}

TEST_F(EachCaseSample, DISABLED_Hangs) {
  for (;;) {
    pause();
  }
}

TEST_F(EachCaseSample, DISABLED_LeavesItsNumber) {
  std::ofstream(std::string(std::getenv("EACH_CASE_FOLDER")) + "/processes", std::ios::app) << getpid() << "\n";
}

TEST_F(EachCaseSample, DISABLED_ReadsItsInput) {
  EXPECT_EQ(EOF, std::cin.get());
}

class EachCase : public testing::Test {
protected:
  // HOW VALUE of each case, in their order.
  std::string outcomes(const std::string& list) {
    std::ofstream(folder.path() + "/cases") << list;
    setenv("EACH_CASE_FOLDER", folder.path().c_str(), 1);
    ending = runProgram({"/proc/self/exe", "--each-case", folder.path() + "/cases", folder.path()});
    std::ifstream results(folder.path() + "/results");
    std::string text;
    std::string word;
    int number = 0;
    while (results >> word >> number) {
      if (word == "begin") {
        text += std::to_string(number) + " ";
        continue;
      }
      std::string how;
      int value = 0;
      long milliseconds = 0;
      results >> how >> value >> milliseconds;
      text += how + " " + std::to_string(value) + "\n";
    }
    return text;
  }

  std::string kept(int number) const { return readFile(folder.path() + "/" + std::to_string(number)); }

  TemporaryFolder_c folder;
  Ending_s ending;
};

TEST_F(EachCase, TellsHowEachCaseEnded) {
  EXPECT_EQ("1 passed 0\n2 exited 1\n3 skipped 0\n4 killed 11\n5 passed 0\n",
            outcomes("60 EachCaseSample.DISABLED_Passes\n"
                     "60 EachCaseSample.DISABLED_Fails\n"
                     "60 EachCaseSample.DISABLED_IsSkipped\n"
                     "60 EachCaseSample.DISABLED_Crashes\n"
                     "60 EachCaseSample.DISABLED_Passes\n"));
  EXPECT_EQ(0, ending.exitStatus);
}

TEST_F(EachCase, EndsACaseWhoseTimeIsOver) {
  EXPECT_EQ("1 late 0\n2 passed 0\n", outcomes("0 EachCaseSample.DISABLED_Hangs\n60 EachCaseSample.DISABLED_Passes\n"));
}

TEST_F(EachCase, CountsACaseThatThereIsNotAsFailed) {
  EXPECT_EQ("1 exited 127\n", outcomes("60 EachCaseSample.Absent\n"));
}

TEST_F(EachCase, KeepsTheOutputOfWhatDidNotPass) {
  outcomes("60 EachCaseSample.DISABLED_Passes\n60 EachCaseSample.DISABLED_Fails\n");
  EXPECT_NE(std::string::npos, kept(2).find("before the failure\n"));
  EXPECT_NE(std::string::npos, kept(2).find("as it should"));
  EXPECT_EQ(0U, filesIn(folder.path(), "/1").size());
}

TEST_F(EachCase, RunsEachInAProcessOfItsOwn) {
  const std::string one = "60 EachCaseSample.DISABLED_LeavesItsNumber\n";
  EXPECT_EQ("1 passed 0\n2 passed 0\n", outcomes(one + one));
  std::ifstream processes(folder.path() + "/processes");
  pid_t first = 0;
  pid_t second = 0;
  processes >> first >> second;
  EXPECT_NE(0, second);
  EXPECT_NE(first, second);
}

TEST_F(EachCase, GivesNoInput) {
  EXPECT_EQ("1 passed 0\n", outcomes("60 EachCaseSample.DISABLED_ReadsItsInput\n"));
}

TEST_F(EachCase, FailsWithoutCases) {
  EXPECT_EQ("", outcomes(""));
  EXPECT_EQ(1, ending.exitStatus);
}

} // namespace
