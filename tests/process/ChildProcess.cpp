#include "ChildProcess.h"

#include "HostFixture.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <unistd.h>

using namespace TestSupport;

class RunInChild : public HostFixture {};

TEST_F(RunInChild, TellsOutputApartAndByteForByte) {
  const Ending_s ending = runInChild([] {
    std::cout << "out " << std::string(1, '\0') << "\r\n";
    std::cerr << "err";
  });
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ(0, ending.signal);
  EXPECT_EQ(std::string("out \0\r\n", 7), ending.standardOutput);
  EXPECT_EQ("err", ending.standardError);
}

TEST_F(RunInChild, TellsExitStatusExceptionAndSignal) {
  EXPECT_EQ(7, runInChild([] { _exit(7); }).exitStatus);
  EXPECT_EQ(uncaughtException, runInChild([] { throw std::runtime_error("out"); }).exitStatus);
  const Ending_s killed = runInChild([] { std::raise(SIGKILL); });
  EXPECT_EQ(SIGKILL, killed.signal);
  EXPECT_EQ(-1, killed.exitStatus);
}

TEST_F(RunInChild, LosesWhatAnAbortingChildDidNotFlush) {
#if defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the thread sanitizer's abort() flushes";
#endif
  const Ending_s ending = runInChild([] {
    std::cout << "lost\n";
    std::abort();
  });
  EXPECT_EQ(SIGABRT, ending.signal);
  EXPECT_EQ("", ending.standardOutput);
}

TEST_F(RunInChild, BringsTheJournalOfAnAbortingChild) {
  const Ending_s ending = runInChild([] {
    IsoBusHost::Journal::add("last words");
    std::abort();
  });
  EXPECT_EQ("last words\n", ending.journal);
}

TEST_F(RunInChild, TakesMoreThanAPipeHolds) {
  const Ending_s ending = runInChild([] {
    std::cerr << std::string(300000, 'e');
    std::cout << std::string(300000, 'o');
  });
  EXPECT_EQ(300000U, ending.standardOutput.size());
  EXPECT_EQ(300000U, ending.standardError.size());
}
