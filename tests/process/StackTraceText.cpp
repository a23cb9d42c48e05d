// Stack traces of prepared lines, compared byte for byte.
#include "ChildProcess.h"

#include <gtest/gtest.h>

using namespace TestSupport;

namespace {

const std::string header = "stack trace:\n";

// The lines come after the one of the printer itself.
Ending_s traceOf(std::vector<std::string> lines, const std::string& limit = "63") {
  const std::vector<std::string> start = {ZEMO_BINARY_DIR "/tests/prepared_lines", limit, "printer(p+0x1) [0x1]"};
  lines.insert(lines.begin(), start.begin(), start.end());
  return runProgram(lines);
}

std::vector<std::string> copies(std::size_t count) {
  return std::vector<std::string>(count, "./app(+0x1234) [0x80]");
}

std::string linesOfCopies(std::size_t count) {
  std::string text;
  for (; count > 0; --count) {
    text += "  ./app : ()+0x1234\n";
  }
  return text;
}

void expectTrace(const std::string& expected, const Ending_s& ending) {
  EXPECT_EQ(0, ending.signal);
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ(expected, ending.standardOutput);
}

struct Line_s {
  const char* name;
  std::string line;
  std::string printed;
};

void PrintTo(const Line_s& line, std::ostream* out) {
  *out << line.name << ": " << line.line;
}

const std::vector<Line_s> lines = {
    {"CppFunction", "./app(_Z6ploughi+0x12) [0x80]", "./app : plough(int)+0x12"},
    {"CppMethod", "./app(_ZN6Plough4liftEv+0x12) [0x80]", "./app : Plough::lift()+0x12"},
    {"CFunction", "./app(main+0x2f) [0x80]", "./app : main()+0x2f"},
    {"NoSymbol", "./app(+0x1234) [0x80]", "./app : ()+0x1234"},
    {"NameOfAType", "./app(i+0x1) [0x80]", "./app : int+0x1"},
    {"NameOfAnotherType", "./app(f+0x1) [0x80]", "./app : float+0x1"},
    {"BrokenMangledName", "./app(_Z6plou+0x1) [0x80]", "./app : _Z6plou()+0x1"},
    {"ClonedFunction", "./app(main.cold+0x1) [0x80]", "./app : main.cold()+0x1"},
    {"NegativeOffset", "./app(main-0x2f) [0x80]", "./app(main-0x2f) [0x80]"},
    {"NoParentheses", "./app [0x80]", "./app [0x80]"},
    {"EmptyParentheses", "./app() [0x80]", "./app() [0x80]"},
    {"AddressAlone", "[0x80]", "[0x80]"},
    {"Empty", "", ""},
    {"PercentSigns", "./100%s%n(ma%din+0x%x) [0x80]", "./100%s%n : ma%din()+0x%x"},
    {"PercentSignsInAWholeLine", "./100%s%n() [0x80]", "./100%s%n() [0x80]"},
    {"ParenthesesInThePath", "./b(1)/app(main+0x2) [0x80]", "./b(1)/app : main()+0x2"},
    {"PlusInThePath", "./c++/app(main+0x2) [0x80]", "./c++/app : main()+0x2"},
    {"PlusAndClosingInThePath", "./c+)/app(main+0x2) [0x80]", "./c+)/app(main+0x2) [0x80]"},
    {"PlusWithinParenthesesInThePath", "./(barn+yard)/app(main+0x2) [0x80]", "./ : barn()+yard"},
    {"PlusBeforeParenthesesWithoutOffset", "./c++/app() [0x80]", "./c++/app() [0x80]"},
};

class StackTraceOfALine : public testing::TestWithParam<Line_s> {};

INSTANTIATE_TEST_SUITE_P(Lines, StackTraceOfALine, testing::ValuesIn(lines),
                         [](const auto& row) { return row.param.name; });

} // namespace

TEST_P(StackTraceOfALine, IsPrintedByteForByte) {
  expectTrace(header + "  " + GetParam().printed + "\n", traceOf({GetParam().line}));
}

TEST(StackTrace, WithoutAnyFrameSaysSo) {
  const Ending_s ending = runProgram({ZEMO_BINARY_DIR "/tests/prepared_lines", "63"});
  expectTrace(header + "  <empty, possibly corrupt>\n", ending);
}

TEST(StackTrace, SkipsThePrinterItself) {
  expectTrace(header, traceOf({}));
}

TEST(StackTrace, PrintsFramesInOrderOneALine) {
  expectTrace(header + "  a : sow()+0x1\n  b() [0x2]\n  c : Plough::lift()+0x3\n",
              traceOf({"a(sow+0x1) [0x1]", "b() [0x2]", "c(_ZN6Plough4liftEv+0x3) [0x3]"}));
}

TEST(StackTrace, AsksForOneEntryMoreThanItsLimit) {
  for (const int limit : {0, 1, 5, 63, 1024}) {
    const Ending_s ending = traceOf(copies(2000), std::to_string(limit));
    EXPECT_EQ(0U, ending.standardError.find("room for " + std::to_string(limit + 1) + "\n"));
    expectTrace(header + linesOfCopies(static_cast<std::size_t>(limit)), ending);
  }
}

TEST(StackTrace, PrintsNoMoreThanTheHeaderWhereThereIsNoMemoryForTheLines) {
  expectTrace(header, traceOf({"./app(main+0x2f) [0x80]", "NO MEMORY"}));
}

namespace {

// A function within nested namespaces, each with a name of nine letters.
struct Nested_s {
  std::string mangled = "_ZN";
  std::string demangled;

  explicit Nested_s(int depth) {
    for (; depth > 0; --depth) {
      mangled += "9ploughing";
      demangled += "ploughing::";
    }
    mangled += "4liftEv";
    demangled += "lift()";
  }
};

std::string mangledFunction(const std::string& name) {
  return "_Z" + std::to_string(name.size()) + name + "v";
}

} // namespace

TEST(StackTrace, BeginsWithANameBufferOf256Bytes) {
  const Ending_s ending = traceOf({"./app(_Z4liftv+0x1) [0x80]", "./app(main+0x2) [0x80]", "./app(i+0x3) [0x80]"});
  expectTrace(header + "  ./app : lift()+0x1\n  ./app : main()+0x2\n  ./app : int+0x3\n", ending);
  EXPECT_EQ("room for 64\nname buffer of 256 bytes\n", ending.standardError);
}

// 256 bytes to begin with, grown for a name that needs more, and used for all that follow.
TEST(StackTrace, KeepsOneNameBufferThatGrows) {
  std::vector<std::string> given;
  std::string expected = header;
  for (const int depth : {1, 22, 23, 24, 1, 60, 30, 100, 0}) {
    const Nested_s name(depth);
    given.push_back("./app(" + name.mangled + "+0x1) [0x80]");
    given.emplace_back("./app(main+0x2) [0x80]");
    expected += "  ./app : " + name.demangled + "+0x1\n  ./app : main()+0x2\n";
  }
  expectTrace(expected, traceOf(given));
}

TEST(StackTrace, TakesNamesOfEveryLengthAroundTheBuffersFirstSize) {
  for (std::size_t length = 240; length <= 270; ++length) {
    const std::string name(length, 'x');
    expectTrace(header + "  ./app : " + name + "()+0x1\n  ./app : lift()+0x2\n",
                traceOf({"./app(" + mangledFunction(name) + "+0x1) [0x80]", "./app(_Z4liftv+0x2) [0x80]"}));
  }
}

TEST(StackTrace, TakesLongNamesAndModules) {
  const std::string function(1000, 'x');
  const std::string name(20000, 'y');
  expectTrace(header + "  ./app : " + function + "()+0x1\n  ./app : lift()+0x2\n  " + name + " : " + name + "()+0x3\n",
              traceOf({"./app(" + mangledFunction(function) + "+0x1) [0x80]", "./app(_Z4liftv+0x2) [0x80]",
                       name + "(" + name + "+0x3) [0x80]"}));
}
