#include "Thread_c.h"

#include "CapturedOutput.h"
#include "ObjectMemory.h"

#include <algorithm>
#include <array>
#include <dlfcn.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <link.h>
#include <memory>
#include <new>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <set>
#include <string>
#include <unistd.h>

using namespace TestSupport;

namespace {

const std::string line = "_POSIX_THREAD_PRIORITY_SCHEDULING undefined\n";

namespace ThreadLayout {
constexpr std::size_t threadId = in64And32(8, 4); // unsigned long
constexpr std::size_t running = in64And32(16, 8); // bool
constexpr std::size_t aborted = in64And32(17, 9); // bool
constexpr std::size_t size = in64And32(24, 12);
} // namespace ThreadLayout

class Semaphore_c {
public:
  Semaphore_c() { sem_init(&m_semaphore, 0, 0); }
  ~Semaphore_c() { sem_destroy(&m_semaphore); }
  Semaphore_c(const Semaphore_c&) = delete;
  Semaphore_c& operator=(const Semaphore_c&) = delete;

  void post() { sem_post(&m_semaphore); }
  void wait() {
    while (sem_wait(&m_semaphore) != 0) {
    }
  }

private:
  sem_t m_semaphore;
};

// Job_s: what a job is given, what it sees, and when it may go on.
struct Job_s {
  Semaphore_c mayLook;
  Semaphore_c hasLooked;
  Semaphore_c mayEnd;
  Semaphore_c ends;
  void* argument = nullptr;
  pthread_t thread = 0;
  int detachState = -1;
  int policy = -1;
  int priority = -1;
  std::size_t stackSize = 0;
};

void* runJob(void* argument) {
  Job_s& job = *static_cast<Job_s*>(argument);
  job.mayLook.wait();
  job.argument = argument;
  job.thread = pthread_self();
  pthread_attr_t attributes;
  pthread_getattr_np(pthread_self(), &attributes);
  pthread_attr_getdetachstate(&attributes, &job.detachState);
  pthread_attr_getstacksize(&attributes, &job.stackSize);
  pthread_attr_destroy(&attributes);
  sched_param parameters = {};
  pthread_getschedparam(pthread_self(), &job.policy, &parameters);
  job.priority = parameters.sched_priority;
  job.hasLooked.post();
  job.mayEnd.wait();
  job.ends.post();
  return nullptr;
}

void letLook(Job_s& job) {
  job.mayLook.post();
  job.hasLooked.wait();
}

void letEnd(Job_s& job) {
  job.mayEnd.post();
  job.ends.wait();
}

using Threads = std::set<std::string>;

Threads threadsOfThisProcess() {
  Threads threads;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
    threads.insert(entry.path().filename());
  }
  return threads;
}

Threads threadsSince(const Threads& before) {
  const Threads now = threadsOfThisProcess();
  Threads fresh;
  std::set_difference(now.begin(), now.end(), before.begin(), before.end(), std::inserter(fresh, fresh.end()));
  return fresh;
}

// A thread sanitizer starts a thread of its own beside the first one of a process.
void startFirstThread() {
  const auto job = [](void* argument) { return argument; };
  pthread_t thread = 0;
  ASSERT_EQ(0, pthread_create(&thread, nullptr, job, nullptr));
  pthread_join(thread, nullptr);
}

void* symbol(const char* mangledName) {
  return dlsym(RTLD_DEFAULT, mangledName);
}

} // namespace

TEST(Thread, HasItsFieldsWhereApplicationsCompiledThem) {
  EXPECT_EQ(ThreadLayout::size, sizeof(Thread_c));
  Job_s job;
  Thread_c thread;
  const CapturedOutput_c captured;
  EXPECT_FALSE(field<bool>(&thread, ThreadLayout::running));
  thread.start(runJob, &job);
  EXPECT_TRUE(field<bool>(&thread, ThreadLayout::running));
  letLook(job);
  EXPECT_EQ(job.thread, field<unsigned long>(&thread, ThreadLayout::threadId));
  field<bool>(&thread, ThreadLayout::aborted) = false;
  thread.stop();
  EXPECT_TRUE(field<bool>(&thread, ThreadLayout::aborted));
  letEnd(job);
}

TEST(Thread, ReadsItsFlagsFromTheirFields) {
  Thread_c thread;
  field<bool>(&thread, ThreadLayout::running) = true;
  field<bool>(&thread, ThreadLayout::aborted) = false;
  EXPECT_TRUE(thread.isRunning());
  EXPECT_FALSE(thread.isAborted());
  field<bool>(&thread, ThreadLayout::running) = false;
  field<bool>(&thread, ThreadLayout::aborted) = true;
  EXPECT_FALSE(thread.isRunning());
  EXPECT_TRUE(thread.isAborted());
}

TEST(Thread, HasNoVirtualFunctionButItsTwoDestructors) {
  void* table = symbol("_ZTV8Thread_c");
  ASSERT_NE(nullptr, table);
  Dl_info info = {};
  void* entry = nullptr;
  ASSERT_NE(0, dladdr1(table, &info, &entry, RTLD_DL_SYMENT));
  EXPECT_EQ(4 * sizeof(void*), static_cast<const ElfW(Sym)*>(entry)->st_size);
  void* const* slots = static_cast<void**>(table);
  EXPECT_EQ(symbol("_ZN8Thread_cD1Ev"), slots[2]);
  EXPECT_EQ(symbol("_ZN8Thread_cD0Ev"), slots[3]);
}

TEST(Thread, IsNotRunningAtFirstWhateverItsMemoryHeld) {
  alignas(Thread_c) std::array<unsigned char, sizeof(Thread_c)> memory;
  memory.fill(1);                                   // "true" in every flag
  asm volatile("" ::"r"(memory.data()) : "memory"); // looked at: not to be left out
  auto* thread = new (memory.data()) Thread_c;
  EXPECT_FALSE(thread->isRunning());
  thread->~Thread_c();
}

TEST(Thread, IsNotAbortedAtFirst) {
  alignas(Thread_c) std::array<unsigned char, sizeof(Thread_c)> memory;
  memory.fill(1);                                   // "true" in every flag
  asm volatile("" ::"r"(memory.data()) : "memory"); // looked at: not to be left out
  auto* thread = new (memory.data()) Thread_c;
  EXPECT_FALSE(thread->isAborted());
  thread->~Thread_c();
}

TEST(Thread, PrintsNothingBeforeItIsStarted) {
  const CapturedOutput_c captured;
  {
    Thread_c thread;
    thread.stop();
    EXPECT_TRUE(thread.isAborted());
    EXPECT_FALSE(thread.isRunning());
  }
  EXPECT_EQ("", captured.standardOutput());
  EXPECT_EQ("", captured.standardError());
}

TEST(ThreadStart, GivesTheJobItsArgumentAndAThreadOfItsOwn) {
  Job_s job;
  Thread_c thread;
  const CapturedOutput_c captured;
  thread.start(runJob, &job);
  letLook(job);
  EXPECT_EQ(&job, job.argument);
  EXPECT_FALSE(pthread_equal(job.thread, pthread_self()));
  letEnd(job);
  EXPECT_EQ(line, captured.standardOutput());
  EXPECT_EQ("", captured.standardError());
}

TEST(ThreadStart, DetachesTheThread) {
  Job_s job;
  Thread_c thread;
  const CapturedOutput_c captured;
  thread.start(runJob, &job);
  letLook(job);
  EXPECT_EQ(PTHREAD_CREATE_DETACHED, job.detachState);
  letEnd(job);
}

TEST(ThreadStart, LeavesTheThreadWithDefaultSchedulingAndStack) {
  pthread_attr_t defaults;
  ASSERT_EQ(0, pthread_getattr_default_np(&defaults));
  std::size_t stackSize = 0;
  pthread_attr_getstacksize(&defaults, &stackSize);
  pthread_attr_destroy(&defaults);
  int policy = -1;
  sched_param parameters = {};
  pthread_getschedparam(pthread_self(), &policy, &parameters);
  Job_s job;
  Thread_c thread;
  const CapturedOutput_c captured;
  thread.start(runJob, &job);
  letLook(job);
  EXPECT_EQ(policy, job.policy);
  EXPECT_EQ(parameters.sched_priority, job.priority);
  EXPECT_EQ(stackSize, job.stackSize);
  letEnd(job);
}

TEST(ThreadStart, SecondTimeNeitherPrintsNorCreatesAThread) {
  Job_s job;
  Job_s second;
  Thread_c thread;
  const CapturedOutput_c captured;
  thread.start(runJob, &job);
  const Threads threads = threadsOfThisProcess();
  const auto threadId = field<unsigned long>(&thread, ThreadLayout::threadId);
  thread.start(runJob, &second);
  EXPECT_EQ(Threads(), threadsSince(threads));
  EXPECT_EQ(threadId, field<unsigned long>(&thread, ThreadLayout::threadId));
  EXPECT_EQ(line, captured.standardOutput());
  letLook(job);
  letEnd(job);
}

TEST(ThreadStart, IsIgnoredAfterTheJobHasReturnedAndAfterStop) {
  Job_s job;
  Job_s second;
  Thread_c thread;
  const CapturedOutput_c captured;
  startFirstThread();
  const Threads before = threadsOfThisProcess();
  thread.start(runJob, &job);
  EXPECT_EQ(1U, threadsSince(before).size());
  letLook(job);
  letEnd(job);
  while (!threadsSince(before).empty()) {
    sched_yield();
  }
  EXPECT_TRUE(thread.isRunning());
  thread.start(runJob, &second);
  thread.stop();
  thread.start(runJob, &second);
  EXPECT_EQ(Threads(), threadsSince(before));
  EXPECT_TRUE(thread.isRunning());
  EXPECT_EQ(line, captured.standardOutput());
}

TEST(ThreadStart, PrintsOnceForEachObject) {
  Job_s first;
  Job_s second;
  Thread_c one;
  Thread_c other;
  const CapturedOutput_c captured;
  one.start(runJob, &first);
  EXPECT_EQ(line, captured.standardOutput());
  other.start(runJob, &second);
  EXPECT_EQ(line + line, captured.standardOutput());
  for (Job_s* job : {&first, &second}) {
    letLook(*job);
    letEnd(*job);
  }
  EXPECT_FALSE(pthread_equal(first.thread, second.thread));
}

TEST(ThreadStart, RunsTheJobThoughAStopWasAskedBefore) {
  Job_s job;
  Thread_c thread;
  const CapturedOutput_c captured;
  thread.stop();
  thread.start(runJob, &job);
  letLook(job);
  EXPECT_TRUE(thread.isAborted());
  letEnd(job);
}

TEST(StartThread, NeedsNoObjectAndTellsTheIdentity) {
  Job_s job;
  unsigned long threadId = 0;
  const CapturedOutput_c captured;
  Thread_c::startThread(threadId, runJob, &job);
  letLook(job);
  EXPECT_EQ(job.thread, threadId);
  EXPECT_EQ(&job, job.argument);
  EXPECT_EQ(PTHREAD_CREATE_DETACHED, job.detachState);
  letEnd(job);
  EXPECT_EQ(line, captured.standardOutput());
  EXPECT_EQ("", captured.standardError());
}

TEST(StartThread, StartsAsManyAsItIsAskedFor) {
  Job_s first;
  Job_s second;
  unsigned long threadId = 0;
  const CapturedOutput_c captured;
  Thread_c::startThread(threadId, runJob, &first);
  Thread_c::startThread(threadId, runJob, &second);
  for (Job_s* job : {&first, &second}) {
    letLook(*job);
    letEnd(*job);
  }
  EXPECT_EQ(second.thread, threadId);
  EXPECT_EQ(line + line, captured.standardOutput());
}

TEST(ThreadStop, LeavesTheObjectRunningAndCannotBeTakenBack) {
  Job_s job;
  Thread_c thread;
  const CapturedOutput_c captured;
  thread.start(runJob, &job);
  EXPECT_FALSE(thread.isAborted());
  thread.stop();
  EXPECT_TRUE(thread.isAborted());
  EXPECT_TRUE(thread.isRunning());
  thread.stop();
  thread.start(runJob, &job);
  EXPECT_TRUE(thread.isAborted());
  letLook(job);
  letEnd(job);
}

namespace {

struct PollingJob_s {
  Thread_c thread;
  Semaphore_c begins;
  Semaphore_c ends;
};

void* pollUntilAborted(void* argument) {
  PollingJob_s& job = *static_cast<PollingJob_s*>(argument);
  job.begins.post();
  while (!job.thread.isAborted()) {
    sched_yield();
  }
  job.ends.post();
  return nullptr;
}

} // namespace

TEST(ThreadStop, ReachesAJobThatAsks) {
#if defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the request is a plain flag, which the thread sanitizer reports";
#endif
  PollingJob_s job;
  const CapturedOutput_c captured;
  job.thread.start(pollUntilAborted, &job);
  job.begins.wait();
  job.thread.stop();
  job.ends.wait();
}

namespace {

class CopyToStick_c : public Thread_c {
public:
  explicit CopyToStick_c(bool& isDestroyed) : m_isDestroyed(isDestroyed) {}
  ~CopyToStick_c() override { m_isDestroyed = true; }

private:
  bool& m_isDestroyed;
};

} // namespace

TEST(ThreadDestructor, IsVirtual) {
  bool isDestroyed = false;
  std::unique_ptr<Thread_c> thread = std::make_unique<CopyToStick_c>(isDestroyed);
  EXPECT_FALSE(thread->isRunning());
  thread.reset();
  EXPECT_TRUE(isDestroyed);
}

TEST(ThreadDestructor, NeitherWaitsForTheJobNorEndsIt) {
  Job_s job;
  auto thread = std::make_unique<Thread_c>();
  const CapturedOutput_c captured;
  thread->start(runJob, &job);
  thread.reset();
  letLook(job);
  letEnd(job);
  EXPECT_EQ(line, captured.standardOutput());
}

TEST(ThreadDestructor, DoesNotAskTheJobToStop) {
  Job_s job;
  alignas(Thread_c) static std::array<unsigned char, sizeof(Thread_c)> memory;
  auto* thread = new (memory.data()) Thread_c;
  const CapturedOutput_c captured;
  thread->start(runJob, &job);
  thread->~Thread_c();
  EXPECT_EQ(0, memory.at(ThreadLayout::aborted));
  letLook(job);
  letEnd(job);
}
