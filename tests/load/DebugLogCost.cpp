// What a message costs: system calls and heap blocks.
#include "DebugLog.h"

#include "Allocations.h"
#include "CapturedOutput.h"
#include "LogFixture.h"
#include "SystemCalls.h"

#include <ostream>

using namespace TestSupport;

namespace {

#if defined(__SANITIZE_THREAD__)
constexpr bool isThreadSanitizer = true;
#else
constexpr bool isThreadSanitizer = false;
#endif

using Calls_t = std::vector<std::string>;

class SystemCallsOfTheLog : public LogFixture {
protected:
  void SetUp() override {
    if (isThreadSanitizer) {
      GTEST_SKIP() << "the thread sanitizer makes system calls of its own in between";
    }
    if (!systemCallsOf([] {})) {
      GTEST_SKIP() << "this machine does not let a process be traced";
    }
  }

  std::string opened(const std::string& flags) const { return "open \"" + log() + "\" " + flags; }
  Calls_t callsOfMessage(const std::string& text, const std::string& printed) const {
    return {opened("O_RDWR|O_CREAT|O_APPEND|O_CLOEXEC 666"), "write to the file \"" + text + "\"", "close the file",
            "write to standard error \"" + printed + "\""};
  }
};

} // namespace

TEST_F(SystemCallsOfTheLog, AreFourAMessage) {
  EXPECT_EQ(callsOfMessage("5 ha\n", "5 ha\n"), systemCallsOf([] { log_msg("%d ha\n", 5); }));
}

TEST_F(SystemCallsOfTheLog, AreTheSameFourForEveryFurtherMessage) {
  Calls_t expected = callsOfMessage("one\n", "one\n");
  const Calls_t second = callsOfMessage("two\n", "two\n");
  expected.insert(expected.end(), second.begin(), second.end());
  EXPECT_EQ(expected, systemCallsOf([] {
              log_msg("one\n");
              log_msg("two\n");
            }));
}

TEST_F(SystemCallsOfTheLog, AreFourForATextThatIsExpandedOnceMore) {
  EXPECT_EQ(callsOfMessage("100% done, %s\n", "100 0one, (null)\n"),
            systemCallsOf([] { log_msg("100%% done, %s\n", "%s"); }));
}

TEST_F(SystemCallsOfTheLog, AreFourForATextThatIsPrintedVerbatim) {
  EXPECT_EQ(callsOfMessage("%n\n", "%n\n"), systemCallsOf([] { log_msg("%s\n", "%n"); }));
}

TEST_F(SystemCallsOfTheLog, AreFourForTheLongestMessage) {
  const std::string text(4095, 'x');
  EXPECT_EQ(callsOfMessage(text, text), systemCallsOf([&text] { log_msg("%s", text.c_str()); }));
}

TEST_F(SystemCallsOfTheLog, AreTwoForAMessageThatHasNoFile) {
  set_log_filename("/missing/log.txt");
  const Calls_t expected = {"open \"/missing/log.txt\" O_RDWR|O_CREAT|O_APPEND|O_CLOEXEC 666",
                            "write to standard error \"ha\n\""};
  EXPECT_EQ(expected, systemCallsOf([] { log_msg("ha\n"); }));
}

TEST_F(SystemCallsOfTheLog, AreNoneWithAHandlerThatMakesNone) {
  set_log_handler([](const char*) {});
  EXPECT_EQ(Calls_t(), systemCallsOf([] { log_msg("%d ha\n", 5); }));
}

TEST_F(SystemCallsOfTheLog, AreThreeForClearing) {
  const Calls_t expected = {opened("O_RDWR|O_CREAT|O_TRUNC|O_CLOEXEC 666"), "write to the file \"LogCleared\"",
                            "close the file"};
  EXPECT_EQ(expected, systemCallsOf(log_clear));
}

TEST_F(SystemCallsOfTheLog, AreThreeForChecking) {
  log_clear();
  const Calls_t expected = {opened("O_RDONLY|O_NONBLOCK|O_CLOEXEC"), "seek", "close the file"};
  EXPECT_EQ(expected, systemCallsOf(log_check_size));
}

// Closed before it is opened once more to be cleared.
TEST_F(SystemCallsOfTheLog, AreSixForCheckingALogBeyondTheLimit) {
  log_clear();
  ASSERT_EQ(0, truncate(log().c_str(), 1000001));
  const Calls_t expected = {opened("O_RDONLY|O_NONBLOCK|O_CLOEXEC"),
                            "seek",
                            "close the file",
                            opened("O_RDWR|O_CREAT|O_TRUNC|O_CLOEXEC 666"),
                            "write to the file \"LogCleared\"",
                            "close the file"};
  EXPECT_EQ(expected, systemCallsOf(log_check_size));
}

TEST_F(SystemCallsOfTheLog, AreOneForCheckingALogThatIsMissing) {
  EXPECT_EQ(Calls_t{opened("O_RDONLY|O_NONBLOCK|O_CLOEXEC")}, systemCallsOf(log_check_size));
}

namespace {

class HeapBlocksOfTheLog : public LogFixture {
protected:
  void SetUp() override {
    if (!areAllocationsSeen()) {
      GTEST_SKIP() << "a sanitizer has a heap of its own";
    }
  }
};

struct Message_s {
  const char* name;
  void (*log)();
};

void PrintTo(const Message_s& row, std::ostream* stream) {
  *stream << row.name;
}

const Message_s messages[] = {
    {"WithValues", [] { log_msg("%s %d of %u, %.2f %c\n", "field", -3, 7U, 1.5, 'x'); }},
    {"OfTheLongestSize", [] { log_msg("%4095s", "x"); }},
    {"WithAPercentLeft", [] { log_msg("100%% done\n"); }},
    {"WithAPercentDoubled", [] { log_msg("100%%%% done\n"); }},
    {"WithATextLeft", [] { log_msg("%s", "%s %d %p\n"); }},
    {"WithAFloatLeft", [] { log_msg("%s", "%f %Lf\n"); }},
    {"WithPositionsLeft", [] { log_msg("%s", "%2$s %1$s\n"); }},
    {"WithSixteenValuesLeft", [] { log_msg("%s", "%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d\n"); }},
    {"ThatStores", [] { log_msg("%s", "%n\n"); }},
    {"WithManyValuesLeft", [] { log_msg("%s", "%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d\n"); }},
    {"WithAnEndingPercent", [] { log_msg("100%%"); }},
};

class HeapBlocksOfAMessage : public HeapBlocksOfTheLog, public testing::WithParamInterface<Message_s> {};

// Of a handler: the size of what it was handed.
std::size_t s_handedSize = 0;

void keepSize(const char* text) {
  s_handedSize = std::char_traits<char>::length(text);
}

} // namespace

TEST_P(HeapBlocksOfAMessage, AreNone) {
  const CapturedOutput_c output;
  const Allocations_c allocations;
  GetParam().log();
  EXPECT_EQ(0, allocations.taken());
  EXPECT_EQ(0, allocations.givenBack());
}

INSTANTIATE_TEST_SUITE_P(DebugLog, HeapBlocksOfAMessage, testing::ValuesIn(messages),
                         [](const auto& row) { return row.param.name; });

TEST_F(HeapBlocksOfTheLog, AreNoneForClearingAndChecking) {
  const Allocations_c allocations;
  log_clear();
  log_check_size();
  EXPECT_EQ(0, allocations.taken());
}

TEST_F(HeapBlocksOfTheLog, AreOneThatIsGivenBackForAMessageThatIsTooLong) {
  set_log_handler(keepSize);
  const Allocations_c allocations;
  log_msg("%4096s", "x");
  EXPECT_EQ(1, allocations.taken());
  EXPECT_EQ(1, allocations.givenBack());
  EXPECT_EQ(4096U, s_handedSize);
}

TEST_F(HeapBlocksOfTheLog, ThatAreNotToBeHadCutAMessageThatIsTooLong) {
  set_log_handler(keepSize);
  {
    Allocations_c allocations;
    allocations.refuse();
    log_msg("%100000s", "x");
  }
  EXPECT_EQ(4095U, s_handedSize);
}

// What the tests above rely on.
TEST_F(HeapBlocksOfTheLog, AreSeenWhoeverTakesThem) {
  const Allocations_c allocations;
  const std::string text(1000, 'x');
  EXPECT_EQ(1, allocations.taken());
  char* printed = nullptr;
  ASSERT_LT(0, asprintf(&printed, "%s", text.c_str()));
  EXPECT_LT(1, allocations.taken());
  const int givenBack = allocations.givenBack();
  std::free(printed);
  EXPECT_EQ(givenBack + 1, allocations.givenBack());
}
