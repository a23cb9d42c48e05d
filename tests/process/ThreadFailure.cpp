// Threads that the system does not give, and a process that ends while a job runs.
#include "Thread_c.h"

#include "ChildProcess.h"
#include "SystemCallFilter.h"

#include <cerrno>
#include <cstdio>
#include <gtest/gtest.h>
#include <limits>
#include <pthread.h>
#include <semaphore.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace TestSupport;

namespace {

const std::string line = "_POSIX_THREAD_PRIORITY_SCHEDULING undefined\n";

sem_t g_jobHasSpoken;

void* speak(void*) {
  if (write(STDOUT_FILENO, "job\n", 4) != 4) {
    _exit(98);
  }
  sem_post(&g_jobHasSpoken);
  return nullptr;
}

void refuseThreads() {
  refuseSystemCall(SYS_clone, EAGAIN);
  refuseSystemCall(SYS_clone3, EAGAIN);
}

} // namespace

class ThreadThatIsNotGiven : public testing::Test {
protected:
  void SetUp() override {
    if (!haveSystemCallFilter()) {
      GTEST_SKIP() << "this machine does not let a process filter its system calls";
    }
  }
};

TEST_F(ThreadThatIsNotGiven, LeavesTheObjectRunningWithoutAWord) {
  const Ending_s ending = runInChild([] {
    refuseThreads();
    Thread_c thread;
    thread.start(speak, nullptr);
    const bool isRunning = thread.isRunning();
    std::fflush(stdout);
    _exit(isRunning ? 0 : 1);
  });
  EXPECT_EQ(0, ending.signal);
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ(line, ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
}

TEST_F(ThreadThatIsNotGiven, IsNotAskedForAgain) {
  const Ending_s ending = runInChild([] {
    refuseThreads();
    Thread_c thread;
    thread.start(speak, nullptr);
    thread.start(speak, nullptr);
  });
  EXPECT_EQ(0, ending.signal);
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ(line, ending.standardOutput);
}

TEST_F(ThreadThatIsNotGiven, IsNotToldByStartThread) {
  const Ending_s ending = runInChild([] {
    refuseThreads();
    unsigned long threadId = 0;
    Thread_c::startThread(threadId, speak, nullptr);
  });
  EXPECT_EQ(0, ending.signal);
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ(line, ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
}

// Here the system does not even store an identity.
TEST(ThreadThatHasNoRoom, LeavesTheObjectRunningWithoutAWord) {
  const Ending_s ending = runInChild([] {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, std::numeric_limits<std::size_t>::max() / 16 * 15);
    pthread_setattr_default_np(&attributes);
    unsigned long threadId = 1; // no thread: to detach it would end the process
    Thread_c::startThread(threadId, speak, nullptr);
    Thread_c thread;
    thread.start(speak, nullptr);
    std::fflush(stdout);
    _exit(threadId == 1 && thread.isRunning() ? 0 : 1);
  });
  EXPECT_EQ(0, ending.signal);
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ(line + line, ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
}

TEST(ThreadStartLine, IsPrintedBeforeTheJobBegins) {
  const Ending_s ending = runInChild([] {
    setvbuf(stdout, nullptr, _IONBF, 0);
    sem_init(&g_jobHasSpoken, 0, 0);
    Thread_c thread;
    thread.start(speak, nullptr);
    sem_wait(&g_jobHasSpoken);
  });
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ(line + "job\n", ending.standardOutput);
}

namespace {

void* waitForever(void* argument) {
  sem_wait(static_cast<sem_t*>(argument));
  return nullptr;
}

} // namespace

TEST(ThreadStartLine, IsFollowedByTheEndOfTheProcessThoughTheJobStillRuns) {
  const Ending_s ending = runInChild([] {
    static sem_t never;
    sem_init(&never, 0, 0);
    Thread_c thread;
    thread.start(waitForever, &never);
  });
  EXPECT_EQ(0, ending.signal);
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ(line, ending.standardOutput);
}
