#include "DebugLog.h"
#include "SignalHandling.h"

#include "CapturedOutput.h"
#include "Files.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <execinfo.h>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <malloc.h>
#include <pthread.h>
#include <sys/stat.h>

using namespace TestSupport;

namespace {

const std::string header = "stack trace:\n";

// What a function writes to a stream in memory.
std::string textOf(const std::function<void(FILE*)>& print) {
  char* text = nullptr;
  std::size_t size = 0;
  FILE* stream = open_memstream(&text, &size);
  print(stream);
  std::fclose(stream);
  std::string result(text, size);
  std::free(text);
  return result;
}

std::string stackTrace(unsigned int limit) {
  return textOf([limit](FILE* stream) { print_stacktrace(stream, limit); });
}

std::size_t framesIn(const std::string& trace) {
  EXPECT_EQ(0U, trace.find(header));
  return static_cast<std::size_t>(std::count(trace.begin(), trace.end(), '\n')) - 1;
}

// Behind the last call of a function: the call keeps the function's frame.
void keepFrame() {
  asm volatile("" ::: "memory");
}

// Calls a function from this many frames of its own.
__attribute__((noinline)) void fromDepth(int depth, const std::function<void()>& function) {
  if (depth == 1) {
    function();
  } else {
    fromDepth(depth - 1, function);
  }
  keepFrame();
}

// Traces with different limits from one place, so that their lines can be compared.
std::vector<std::string> tracesWith(const std::vector<unsigned int>& limits) {
  std::vector<std::string> traces;
  for (const unsigned int limit : limits) {
    traces.push_back(stackTrace(limit));
  }
  return traces;
}

// The number of frames of this thread as the system counts them, from the function that print_stacktrace is called in.
__attribute__((noinline)) std::size_t systemsCount() {
  std::array<void*, 10000> entries;
  return static_cast<std::size_t>(backtrace(entries.data(), static_cast<int>(entries.size())));
}

std::string firstLines(const std::string& text, std::size_t count) {
  auto end = text.begin();
  for (; count > 0; --count) {
    end = std::find(end, text.end(), '\n');
    end = end == text.end() ? end : std::next(end);
  }
  return std::string(text.begin(), end);
}

class LogFile : public testing::Test {
protected:
  void SetUp() override { set_log_filename(m_log.c_str()); }

  bool isThere() const { return std::filesystem::exists(m_log); }

  TemporaryFolder_c m_folder;
  std::string m_log = m_folder.path() + "/log.txt";
};

std::size_t openDescriptors() {
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
}

} // namespace

TEST(PrintStackTrace, WithALimitOfNothingPrintsOnlyTheHeader) {
  EXPECT_EQ("stack trace:\n", stackTrace(0));
}

TEST(PrintStackTrace, PrintsAsManyFramesAsItsLimit) {
  fromDepth(100, [] {
    for (const unsigned int limit : {1U, 2U, 5U, 62U, 63U, 64U, 100U}) {
      EXPECT_EQ(limit, framesIn(stackTrace(limit)));
    }
  });
}

TEST(PrintStackTrace, PrintsTheSameFramesWithEveryLimit) {
  fromDepth(1100, [] {
    const std::vector<unsigned int> limits = {1, 5, 63, 1023, 1024, 1025, 1026, 1100, UINT_MAX};
    const std::vector<std::string> traces = tracesWith(limits);
    for (std::size_t index = 0; index + 1 < limits.size(); ++index) {
      EXPECT_EQ(limits[index], framesIn(traces[index]));
      EXPECT_EQ(firstLines(traces.back(), limits[index] + 1), traces[index]) << limits[index];
    }
  });
}

TEST(PrintStackTrace, PrintsAllFramesWhereTheLimitIsLarger) {
  fromDepth(3000, [] {
    std::size_t frames = 0;
    const std::string trace = textOf([&frames](FILE* stream) {
      frames = systemsCount() - 1;
      print_stacktrace(stream, 5000);
      keepFrame();
    });
    EXPECT_LT(3000U, frames);
    EXPECT_EQ(frames, framesIn(trace));
  });
}

TEST(PrintStackTrace, CutsADeepStackAtALargeLimit) {
  fromDepth(3000, [] {
    for (const unsigned int limit : {1024U, 1025U, 1500U, 2999U}) {
      EXPECT_EQ(limit, framesIn(stackTrace(limit)));
    }
  });
}

TEST(PrintStackTrace, TakesEveryLimitThatANumberCanHold) {
  const std::vector<unsigned int> limits = {1024,         5000,         100000000,    INT_MAX - 1U,  INT_MAX,
                                            INT_MAX + 1U, INT_MAX + 2U, UINT_MAX / 8, UINT_MAX - 1U, UINT_MAX};
  const std::vector<std::string> traces = tracesWith(limits);
  for (std::size_t index = 0; index < limits.size(); ++index) {
    EXPECT_LT(0U, framesIn(traces[index])) << limits[index];
    EXPECT_EQ(traces.front(), traces[index]) << limits[index];
  }
}

namespace {

struct SmallThread_s {
  unsigned int limit;
  std::string trace;
};

void* traceOnThisThread(void* argument) {
  SmallThread_s& thread = *static_cast<SmallThread_s*>(argument);
  thread.trace = stackTrace(thread.limit);
  return nullptr;
}

} // namespace

TEST(PrintStackTrace, TakesEveryLimitOnASmallStack) {
  for (const unsigned int limit : {63U, 5000U, 1000000U, UINT_MAX}) {
    SmallThread_s small = {limit, {}};
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(0, pthread_attr_setstacksize(&attributes, 128 * 1024));
    pthread_t thread = {};
    ASSERT_EQ(0, pthread_create(&thread, &attributes, traceOnThisThread, &small));
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    EXPECT_LT(1U, framesIn(small.trace)) << limit;
  }
}

TEST(PrintStackTrace, PrintsNothingWhereTheStreamIsNull) {
  const CapturedOutput_c captured;
  for (const unsigned int limit : {0U, 1U, 63U, 5000U, UINT_MAX}) {
    print_stacktrace(nullptr, limit);
  }
  EXPECT_EQ("", captured.standardOutput());
  EXPECT_EQ("", captured.standardError());
}

TEST(PrintStackTrace, WritesToItsStreamAlone) {
  const CapturedOutput_c captured;
  EXPECT_LT(0U, framesIn(stackTrace(63)));
  EXPECT_EQ("", captured.standardOutput());
  EXPECT_EQ("", captured.standardError());
}

TEST(PrintStackTrace, LeavesTheStreamOpen) {
  const std::string text = textOf([](FILE* stream) {
    print_stacktrace(stream, 0);
    std::fputs("after", stream);
  });
  EXPECT_EQ("stack trace:\nafter", text);
}

TEST(PrintStackTrace, GivesItsHeapBlocksBack) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizer's heap does not tell what is in use; the leak check looks at the other cases";
#endif
  fromDepth(1100, [] {
    const auto traceOften = [] {
      for (int times = 0; times < 20; ++times) {
        tracesWith({5, UINT_MAX});
      }
      return mallinfo2().uordblks;
    };
    traceOften(); // what the system keeps at first
    const std::size_t used = traceOften();
    EXPECT_EQ(used, traceOften());
  });
}

class PrintBackTraceToTheLog : public LogFile {};

TEST_F(PrintBackTraceToTheLog, CreatesTheFileAndSaysNothingElsewhere) {
  umask(0027);
  const CapturedOutput_c captured;
  PrintBackTrace(true);
  EXPECT_EQ("", captured.standardOutput());
  EXPECT_EQ("", captured.standardError());
  EXPECT_LT(1U, framesIn(readFile(m_log)));
  struct stat status = {};
  ASSERT_EQ(0, stat(m_log.c_str(), &status));
  EXPECT_EQ(0640U, status.st_mode & 07777U);
}

TEST_F(PrintBackTraceToTheLog, AppendsToWhatIsThere) {
  FILE* file = std::fopen(m_log.c_str(), "w");
  std::fputs("tractor started", file);
  std::fclose(file);
  PrintBackTrace(true);
  const std::string once = readFile(m_log);
  EXPECT_EQ(0U, once.find("tractor startedstack trace:\n  "));
  PrintBackTrace(true);
  const std::string twice = readFile(m_log);
  EXPECT_EQ(once, twice.substr(0, once.size()));
  EXPECT_EQ(0U, twice.substr(once.size()).find("stack trace:\n  "));
}

TEST_F(PrintBackTraceToTheLog, FollowsTheNameOfTheLogFile) {
  const std::string other = m_folder.path() + "/other.txt";
  g_LogFileName = other;
  PrintBackTrace(true);
  EXPECT_FALSE(isThere());
  EXPECT_LT(1U, framesIn(readFile(other)));
}

TEST_F(PrintBackTraceToTheLog, LeavesNoFileOpen) {
  PrintBackTrace(true);
  const std::size_t descriptors = openDescriptors();
  PrintBackTrace(true);
  PrintBackTrace(true);
  EXPECT_EQ(descriptors, openDescriptors());
}

TEST_F(PrintBackTraceToTheLog, CutsADeepStackAt63Frames) {
  fromDepth(100, [] { PrintBackTrace(true); });
  EXPECT_EQ(63U, framesIn(readFile(m_log)));
}

TEST_F(PrintBackTraceToTheLog, PrintsNothingAnywhereWhereTheFileCannotBeOpened) {
  for (const std::string& name : {m_folder.path() + "/missing/log.txt", m_folder.path(), std::string()}) {
    set_log_filename(name.c_str());
    const CapturedOutput_c captured;
    PrintBackTrace(true);
    EXPECT_EQ("", captured.standardOutput()) << name;
    EXPECT_EQ("", captured.standardError()) << name;
  }
  EXPECT_TRUE(filesIn(m_folder.path()).empty());
}

class PrintBackTraceOnStandardError : public LogFile {};

TEST_F(PrintBackTraceOnStandardError, LeavesTheLogFileAlone) {
  const CapturedOutput_c captured;
  PrintBackTrace(false);
  EXPECT_EQ("", captured.standardOutput());
  EXPECT_LT(1U, framesIn(captured.standardError()));
  EXPECT_FALSE(isThere());
}

TEST_F(PrintBackTraceOnStandardError, CutsADeepStackAt63Frames) {
  const CapturedOutput_c captured;
  fromDepth(100, [] { PrintBackTrace(false); });
  EXPECT_EQ("", captured.standardOutput());
  EXPECT_EQ(63U, framesIn(captured.standardError()));
}

TEST_F(PrintBackTraceOnStandardError, LeavesStandardErrorOpen) {
  const CapturedOutput_c captured;
  PrintBackTrace(false);
  std::fputs("after\n", stderr);
  const std::string error = captured.standardError();
  EXPECT_EQ("after\n", error.substr(error.size() - 6));
}
