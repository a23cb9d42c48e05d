// Threads and processes that log to one file at the same time.
#include "DebugLog.h"

#include "ChildProcess.h"
#include "LogFixture.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <pthread.h>
#include <sstream>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <thread>
#include <vector>

using namespace TestSupport;

namespace {

constexpr int messagesOfEach = 3000;

// A message is one line: who, which, and a stretch of a length of its own, some longer than the buffer of log_msg.
std::string messageOf(char who, int number) {
  const auto length = static_cast<std::size_t>(number % 100 == 99 ? 5000 : number % 61);
  return std::string(1, who) + " " + std::to_string(number) + " " + std::string(length, who) + "|\n";
}

void logAll(char who) {
  for (int number = 0; number < messagesOfEach; ++number) {
    log_msg("%s", messageOf(who, number).c_str());
  }
}

// Every message of everybody, each whole and in the order in which it was logged.
void expectAllMessages(const std::string& text, const std::string& everybody) {
  std::vector<int> next(256, 0);
  std::istringstream lines(text);
  int torn = 0;
  for (std::string line; std::getline(lines, line);) {
    const auto who = static_cast<unsigned char>(line.empty() ? '\0' : line[0]);
    if (line + "\n" == messageOf(static_cast<char>(who), next[who])) {
      ++next[who];
    } else {
      ++torn;
    }
  }
  EXPECT_EQ(0, torn);
  for (const char who : everybody) {
    EXPECT_EQ(messagesOfEach, next[static_cast<unsigned char>(who)]) << who;
  }
  EXPECT_EQ(static_cast<long>(everybody.size()) * messagesOfEach, std::count(text.begin(), text.end(), '\n'));
}

// Nobody begins before everybody is there.
void logInThreads(char first, char second) {
  std::atomic<int> ready{0};
  const auto work = [&ready](char who) {
    ++ready;
    while (ready < 2) {
    }
    logAll(who);
  };
  std::thread one(work, first);
  std::thread two(work, second);
  one.join();
  two.join();
}

} // namespace

class LoggingTogether : public LogFixture {};

TEST_F(LoggingTogether, TwoThreadsLoseAndTearNoMessage) {
  const Ending_s ending = runInChild([] { logInThreads('a', 'b'); });
  EXPECT_EQ(0, ending.exitStatus);
  expectAllMessages(logged(), "ab");
  expectAllMessages(ending.standardError, "ab");
}

TEST_F(LoggingTogether, TwoProcessesOfTwoThreadsLoseAndTearNoMessage) {
  const Ending_s ending = runInChild([] {
    const pid_t other = fork();
    logInThreads(other == 0 ? 'a' : 'c', other == 0 ? 'b' : 'd');
    if (other == 0) {
      _exit(0);
    }
    int status = -1;
    waitpid(other, &status, 0);
    _exit(status);
  });
  EXPECT_EQ(0, ending.exitStatus);
  expectAllMessages(logged(), "abcd");
}

TEST_F(LoggingTogether, AMessageGoesOnWhereItWasInterrupted) {
  ASSERT_EQ(0, mkfifo(log().c_str(), 0600));
  const Ending_s ending = runInChild([this] {
    alarm(20); // ends a child that hangs
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    // Read from when the pipe is full, after the writer was interrupted.
    const int reader = open(log().c_str(), O_RDONLY | O_NONBLOCK);
    const int capacity = fcntl(reader, F_GETPIPE_SZ);
    const pthread_t writer = pthread_self();
    std::string text;
    std::thread readAll([&text, reader, capacity, writer] {
      for (int waiting = 0; waiting < capacity;) {
        ioctl(reader, FIONREAD, &waiting);
      }
      pthread_kill(writer, SIGUSR1);
      fcntl(reader, F_SETFL, 0);
      std::vector<char> bytes(10000);
      for (ssize_t size = 0; (size = read(reader, bytes.data(), bytes.size())) > 0;) {
        text.append(bytes.data(), static_cast<std::size_t>(size));
      }
    });
    set_log_handler([](const char* message) {
      const int standardError = dup(STDERR_FILENO);
      dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
      default_log_handler(message);
      dup2(standardError, STDERR_FILENO);
    });
    log_msg("%300000s|", "x");
    readAll.join();
    std::printf("%zu %s", text.size(), text.substr(text.size() < 3 ? 0 : text.size() - 3).c_str());
  });
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("300001  x|", ending.standardOutput);
}
