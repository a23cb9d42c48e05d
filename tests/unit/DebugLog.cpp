#include "DebugLog.h"

#include "CapturedOutput.h"
#include "LibraryCalls.h"
#include "LogFixture.h"
#include "SystemUtils.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cwchar>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <vector>

using namespace TestSupport;

namespace {

std::vector<std::string> s_handed;

void keepMessage(const char* text) {
  s_handed.emplace_back(text);
}

void keepMessages() {
  s_handed.clear();
  set_log_handler(keepMessage);
}

void keepMessageInCapitals(const char* text) {
  std::string message = text;
  std::transform(message.begin(), message.end(), message.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
  s_handed.push_back(message);
}

// A text in which no stretch is like its neighbour.
std::string textOfSize(std::size_t size) {
  std::string text;
  for (unsigned int number = 0; text.size() < size; ++number) {
    text += std::to_string(number) + ",";
  }
  text.resize(size);
  return text;
}

std::vector<std::string> openFiles() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

struct Size_s {
  const char* name;
  std::size_t size;
};

void PrintTo(const Size_s& row, std::ostream* stream) {
  *stream << row.size << " bytes";
}

// A write that takes nothing, or is interrupted at its start; the second one would take all.
ssize_t s_firstResult = 0;
int s_writes = 0;

ssize_t writeNothingAtFirst(int, const void*, std::size_t size) {
  errno = EINTR;
  return s_writes++ == 0 ? s_firstResult : static_cast<ssize_t>(size);
}

} // namespace

class LogMsg : public LogFixture {};

TEST_F(LogMsg, HandsTheFormattedTextToTheHandlerAndAddsNothing) {
  keepMessages();
  log_msg("%s %d of %u, %.2f %c%%", "field", -3, 7U, 1.5, 'x');
  EXPECT_EQ(std::vector<std::string>{"field -3 of 7, 1.50 x%"}, s_handed);
}

TEST_F(LogMsg, HandsOverAnEmptyText) {
  keepMessages();
  const char* nothing = "";
  log_msg("%s", nothing);
  EXPECT_EQ(std::vector<std::string>{""}, s_handed);
}

TEST_F(LogMsg, NeitherWritesNorPrintsWithAHandlerOfTheApplication) {
  const CapturedOutput_c output;
  keepMessages();
  log_msg("mine\n");
  EXPECT_EQ(1U, s_handed.size());
  EXPECT_FALSE(exists(log()));
  EXPECT_EQ("", output.standardOutput());
  EXPECT_EQ("", output.standardError());
}

TEST_F(LogMsg, CallsTheHandlerThatIsSetAtThatMoment) {
  keepMessages();
  log_msg("one");
  set_log_handler(keepMessageInCapitals);
  log_msg("two");
  g_funcLogHandler = keepMessage;
  log_msg("three");
  EXPECT_EQ((std::vector<std::string>{"one", "TWO", "three"}), s_handed);
}

TEST_F(LogMsg, LetsItsHandlerLogAgain) {
  s_handed.clear();
  set_log_handler([](const char* text) {
    set_log_handler(keepMessage);
    log_msg("[%s]", text);
  });
  log_msg("inner");
  EXPECT_EQ(std::vector<std::string>{"[inner]"}, s_handed);
}

TEST_F(LogMsg, WritesTheFileAndStandardErrorWithItsFirstHandler) {
  const CapturedOutput_c output;
  log_msg("%d ha\n", 5);
  log_msg("and %s\n", "more");
  EXPECT_EQ("5 ha\nand more\n", logged());
  EXPECT_EQ("5 ha\nand more\n", output.standardError());
  EXPECT_EQ("", output.standardOutput());
}

TEST_F(LogMsg, WritesPercentOnceExpandedToTheFileAndTwiceToStandardError) {
  const CapturedOutput_c output;
  log_msg("100%% done\n");
  EXPECT_EQ("100% done\n", logged());
  EXPECT_EQ("100 0one\n", output.standardError());
}

TEST_F(LogMsg, KeepsADoubledPercentInTheFileThatStandardErrorShowsOnce) {
  const CapturedOutput_c output;
  log_msg("100%%%% done\n");
  EXPECT_EQ("100%% done\n", logged());
  EXPECT_EQ("100% done\n", output.standardError());
}

TEST_F(LogMsg, ExpandsAPercentOfAnArgumentOnStandardErrorOnly) {
  const CapturedOutput_c output;
  log_msg("%s\n", "rate %d l");
  EXPECT_EQ("rate %d l\n", logged());
  EXPECT_EQ("rate 0 l\n", output.standardError());
}

TEST_F(LogMsg, DoesNotCheckTheSizeOfTheFile) {
  const CapturedOutput_c output;
  { const std::ofstream file(log()); }
  ASSERT_EQ(0, truncate(log().c_str(), 1000001));
  log_msg("on top\n");
  EXPECT_EQ(1000008, sizeOfFile(log()));
}

TEST_F(LogMsg, HandsOverTheTextUpToAValueThatCannotBePrinted) {
  keepMessages();
  const std::array<wchar_t, 2> noCharacter = {static_cast<wchar_t>(0x7FFFFFFF), L'\0'};
  log_msg("before %ls after", noCharacter.data());
  EXPECT_EQ(std::vector<std::string>{"before "}, s_handed);
}

class LogMsgOfSize : public LogFixture, public testing::WithParamInterface<Size_s> {};

TEST_P(LogMsgOfSize, IsHandedOverWholeAndHarmsNothingAround) {
  keepMessages();
  const std::string text = textOfSize(GetParam().size);
  std::array<unsigned char, 8192> canaries{};
  std::iota(canaries.begin(), canaries.end(), static_cast<unsigned char>(1));
  const volatile unsigned char* seen = canaries.data();
  const std::string before(canaries.begin(), canaries.end());
  log_msg("%s", text.c_str());
  EXPECT_EQ(before, std::string(seen, seen + canaries.size()));
  ASSERT_EQ(1U, s_handed.size());
  EXPECT_TRUE(text == s_handed[0]) << s_handed[0].size() << " bytes of " << text.size();
}

TEST_P(LogMsgOfSize, IsWholeWithEveryKindOfValue) {
  keepMessages();
  const auto width = static_cast<int>(GetParam().size - 12);
  log_msg("%d %*s %.2f %lld", 12, width, "x", 0.25, 7LL);
  ASSERT_EQ(1U, s_handed.size());
  const std::string expected = "12 " + std::string(static_cast<std::size_t>(width) - 1, ' ') + "x 0.25 7";
  EXPECT_TRUE(expected == s_handed[0]) << s_handed[0].size() << " bytes of " << expected.size();
}

TEST_P(LogMsgOfSize, IsWholeInTheFileAndOnStandardError) {
  const CapturedOutput_c output;
  const std::string text = textOfSize(GetParam().size);
  log_msg("%s", text.c_str());
  EXPECT_TRUE(text == logged());
  EXPECT_TRUE(text == output.standardError());
}

INSTANTIATE_TEST_SUITE_P(Message, LogMsgOfSize,
                         testing::Values(Size_s{"TheLongestMeant", 4095}, Size_s{"OneByteTooMany", 4096},
                                         Size_s{"TwoBytesTooMany", 4097}, Size_s{"FarTooLong", 100000}),
                         [](const auto& row) { return row.param.name; });

class SetLogFilename : public LogFixture {};

TEST_F(SetLogFilename, TakesEffectAtTheNextMessage) {
  const CapturedOutput_c output;
  log_msg("first\n");
  const std::string other = m_folder.path() + "/other.txt";
  set_log_filename(other.c_str());
  log_msg("second\n");
  EXPECT_EQ("first\n", logged());
  EXPECT_EQ("second\n", readFile(other));
  EXPECT_EQ(other, g_LogFileName);
}

TEST_F(SetLogFilename, CopiesTheName) {
  std::string name = m_folder.path() + "/copied.txt";
  set_log_filename(name.c_str());
  const std::string expected = name;
  name.assign(name.size(), 'x');
  EXPECT_EQ(expected, g_LogFileName);
}

TEST_F(SetLogFilename, TakesEffectForClearingAndChecking) {
  const CapturedOutput_c output;
  const std::string other = m_folder.path() + "/other.txt";
  log_msg("stays\n");
  set_log_filename(other.c_str());
  log_clear();
  ASSERT_EQ(0, truncate(other.c_str(), 1000001));
  log_check_size();
  EXPECT_EQ("LogCleared", readFile(other));
  EXPECT_EQ("stays\n", logged());
}

TEST_F(SetLogFilename, IsTheSameAsSettingTheVariable) {
  const CapturedOutput_c output;
  g_LogFileName = m_folder.path() + "/variable.txt";
  log_msg("here\n");
  EXPECT_EQ("here\n", readFile(m_folder.path() + "/variable.txt"));
}

class DefaultLogHandler : public LogFixture {};

TEST_F(DefaultLogHandler, AppendsTheTextVerbatim) {
  const CapturedOutput_c output;
  default_log_handler("a\r\n\tb\x01\xff");
  default_log_handler("");
  default_log_handler("c");
  EXPECT_EQ("a\r\n\tb\x01\xff"
            "c",
            logged());
  EXPECT_EQ("a\r\n\tb\x01\xff"
            "c",
            output.standardError());
  EXPECT_EQ("", output.standardOutput());
}

TEST_F(DefaultLogHandler, AppendsToWhatIsThere) {
  const CapturedOutput_c output;
  { std::ofstream(log()) << "there before\n"; }
  default_log_handler("more\n");
  EXPECT_EQ("there before\nmore\n", logged());
}

TEST_F(DefaultLogHandler, CreatesTheFileForAnEmptyText) {
  const CapturedOutput_c output;
  default_log_handler("");
  EXPECT_EQ(0, sizeOfFile(log()));
}

TEST_F(DefaultLogHandler, OpensTheFileAnewForEachMessage) {
  const CapturedOutput_c output;
  default_log_handler("one\n");
  const std::string kept = m_folder.path() + "/kept.txt";
  std::filesystem::rename(log(), kept);
  default_log_handler("two\n");
  EXPECT_EQ("one\n", readFile(kept));
  EXPECT_EQ("two\n", logged());
}

TEST_F(DefaultLogHandler, HasWrittenTheMessageWhenItReturns) {
  const CapturedOutput_c output;
  for (const char* expected : {"x", "xx", "xxx"}) {
    default_log_handler("x");
    EXPECT_EQ(expected, logged());
  }
}

TEST_F(DefaultLogHandler, DoesNotTryAWriteAgain) {
  const CapturedOutput_c output;
  for (const ssize_t result : {0, -1}) {
    s_firstResult = result;
    s_writes = 0;
    {
      const LibraryCall_c write("write", &writeNothingAtFirst);
      default_log_handler("message\n");
    }
    EXPECT_EQ(1, s_writes) << result;
  }
  EXPECT_EQ("message\nmessage\n", output.standardError());
}

class DebugLog : public LogFixture {};

TEST_F(DebugLog, KeepsNoFileOpen) {
  const CapturedOutput_c output;
  const std::vector<std::string> before = openFiles();
  log_msg("message\n");
  EXPECT_EQ(before, openFiles());
  log_check_size();
  EXPECT_EQ(before, openFiles());
  ASSERT_EQ(0, truncate(log().c_str(), 1000001));
  log_check_size();
  EXPECT_EQ(before, openFiles());
  log_clear();
  EXPECT_EQ(before, openFiles());
}

TEST_F(DebugLog, PrintsNothingWhenItClearsOrChecks) {
  const CapturedOutput_c output;
  log_clear();
  ASSERT_EQ(0, truncate(log().c_str(), 1000001));
  log_check_size();
  set_log_filename("/nowhere/at/all");
  log_clear();
  log_check_size();
  EXPECT_EQ("", output.standardOutput());
  EXPECT_EQ("", output.standardError());
}

TEST_F(DebugLog, HasPlainNamesButForTheStamp) {
  EXPECT_EQ(static_cast<void*>(&g_LogFileName), dlsym(RTLD_DEFAULT, "g_LogFileName"));
  EXPECT_EQ(static_cast<void*>(&g_funcLogHandler), dlsym(RTLD_DEFAULT, "g_funcLogHandler"));
  EXPECT_EQ(reinterpret_cast<void*>(&log_msg), dlsym(RTLD_DEFAULT, "log_msg"));
  EXPECT_EQ(reinterpret_cast<void*>(&set_log_handler), dlsym(RTLD_DEFAULT, "set_log_handler"));
  EXPECT_EQ(reinterpret_cast<void*>(&set_log_filename), dlsym(RTLD_DEFAULT, "set_log_filename"));
  EXPECT_EQ(reinterpret_cast<void*>(&default_log_handler), dlsym(RTLD_DEFAULT, "default_log_handler"));
  EXPECT_EQ(reinterpret_cast<void*>(&log_clear), dlsym(RTLD_DEFAULT, "log_clear"));
  EXPECT_EQ(reinterpret_cast<void*>(&log_check_size), dlsym(RTLD_DEFAULT, "log_check_size"));
  EXPECT_EQ(reinterpret_cast<void*>(&GetDateTimeStamp), dlsym(RTLD_DEFAULT, "_Z16GetDateTimeStampB5cxx11v"));
  EXPECT_EQ(nullptr, dlsym(RTLD_DEFAULT, "GetDateTimeStamp"));
}

TEST_F(DebugLog, IsExportedByTheBuiltLibrary) {
  void* library = dlopen(ZEMO_LIBRARY, RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(nullptr, library) << "this program runs with another library";
  for (const char* name : {"g_LogFileName", "g_funcLogHandler", "log_msg", "set_log_handler", "set_log_filename",
                           "default_log_handler", "log_clear", "log_check_size"}) {
    EXPECT_NE(nullptr, dlsym(library, name)) << name;
  }
  dlclose(library);
}

class LogClear : public LogFixture {};

TEST_F(LogClear, LeavesTenBytesWithoutALineFeed) {
  const CapturedOutput_c output;
  log_msg("%5000s\n", "old");
  log_clear();
  EXPECT_EQ("LogCleared", logged());
}

TEST_F(LogClear, CreatesTheFile) {
  log_clear();
  EXPECT_EQ("LogCleared", logged());
}

TEST_F(LogClear, TwiceLeavesOneMarker) {
  log_clear();
  log_clear();
  EXPECT_EQ("LogCleared", logged());
}

TEST_F(LogClear, LetsTheNextMessageGoOnInTheSameLine) {
  const CapturedOutput_c output;
  log_clear();
  log_msg("Start\n");
  EXPECT_EQ("LogClearedStart\n", logged());
  log_clear();
  log_msg("\nStart\n");
  EXPECT_EQ("LogCleared\nStart\n", logged());
}

TEST_F(LogClear, DoesNotAskTheHandler) {
  keepMessages();
  log_clear();
  EXPECT_TRUE(s_handed.empty());
}

// The number behind the last colon and the blank behind it.
TEST(GetDateTimeStamp, EndsInTheMillisecondsSinceTheFirstCallAndABlank) {
  EXPECT_LE(0, SystemUtils::getTimeMs());
  const int earliest = SystemUtils::getTimeMs();
  const std::string stamp = GetDateTimeStamp();
  const int latest = SystemUtils::getTimeMs();
  const std::size_t colon = stamp.rfind(':');
  ASSERT_EQ(17U, colon) << stamp;
  ASSERT_EQ(' ', stamp.back());
  const std::string digits = stamp.substr(colon + 1, stamp.size() - colon - 2);
  EXPECT_LE(3U, digits.size());
  EXPECT_EQ(std::string::npos, digits.find_first_not_of("0123456789"));
  EXPECT_LE(earliest, std::stoi(digits));
  EXPECT_GE(latest, std::stoi(digits));
}
