#include "../../Utils/src/StackTraceLine.h"

#include <cstring>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace {

struct Line_s {
  const char* name;
  std::string line;
  std::string module;
  std::string function;
  std::string offset;
};

void PrintTo(const Line_s& line, std::ostream* out) {
  *out << line.name << ": " << line.line;
}

const std::vector<Line_s> splitLines = {
    {"Named", "./app(_Z6ploughi+0x12) [0x80]", "./app", "_Z6ploughi", "0x12"},
    {"Nameless", "./app(+0x1234) [0x80]", "./app", "", "0x1234"},
    {"Library", "/lib/libc.so.6(abort+0x0) [0xb7c5]", "/lib/libc.so.6", "abort", "0x0"},
    {"WithoutModule", "(main+0x2)", "", "main", "0x2"},
    {"WithoutOffset", "./app(main+)", "./app", "main", ""},
    {"WithoutAnything", "(+)", "", "", ""},
    {"WithoutAddress", "./app(main+0x2)", "./app", "main", "0x2"},
    {"ParenthesesInPath", "./b(1)/app(main+0x2) [0x80]", "./b(1)/app", "main", "0x2"},
    {"OpenParenthesisInPath", "./b(/app(main+0x2) [0x80]", "./b(/app", "main", "0x2"},
    {"ClosingParenthesisInPath", "./b)/app(main+0x2) [0x80]", "./b)/app", "main", "0x2"},
    {"PlusInPath", "./c++/app(main+0x2) [0x80]", "./c++/app", "main", "0x2"},
    {"PlusAndParenthesesInPath", "./(a+b)/app(main+0x2) [0x80]", "./", "a", "b"},
    {"SeveralPluses", "./app(a+b+0x2) [0x80]", "./app", "a+b", "0x2"},
    {"SeveralParentheses", "./app((main+0x2)) [0x80]", "./app(", "main", "0x2"},
    {"ClosingParenthesisInName", "./app(f()+0x2) [0x80]", "./app(f", ")", "0x2"},
    {"PlusAfterTheEnd", "./app(main+0x2) [+0x80)", "./app", "main", "0x2"},
    {"ParenthesisAfterTheEnd", "./app(main+0x2) (0x80)", "./app", "main", "0x2"},
};

const std::vector<Line_s> wholeLines = {
    {"Empty", "", "", "", ""},
    {"Address", "[0x80]", "", "", ""},
    {"NoParentheses", "./app [0x80]", "", "", ""},
    {"NoPlus", "./app(main) [0x80]", "", "", ""},
    {"EmptyParentheses", "./app() [0x80]", "", "", ""},
    {"NegativeOffset", "./app(main-0x2) [0x80]", "", "", ""},
    {"NoOpenParenthesis", "./app+0x2) [0x80]", "", "", ""},
    {"NoClosingParenthesis", "./app(main+0x2 [0x80]", "", "", ""},
    {"OnlyAnEarlierClosingParenthesis", "./app)(main+0x2 [0x80]", "", "", ""},
    {"PlusBeforeTheParenthesis", "./c++/app() [0x80]", "", "", ""},
    {"OpenParenthesisAfterThePlus", "./app(main+0x2(3) [0x80]", "", "", ""},
    {"PathThatClosesAfterAPlus", "./c+)/app(main+0x2) [0x80]", "", "", ""},
};

class SplitLine : public testing::TestWithParam<Line_s> {};
class WholeLine : public testing::TestWithParam<Line_s> {};

std::string nameOf(const testing::TestParamInfo<Line_s>& row) {
  return row.param.name;
}

INSTANTIATE_TEST_SUITE_P(StackTrace, SplitLine, testing::ValuesIn(splitLines), nameOf);
INSTANTIATE_TEST_SUITE_P(StackTrace, WholeLine, testing::ValuesIn(wholeLines), nameOf);

} // namespace

TEST_P(SplitLine, HasItsPartsInPlace) {
  std::string line = GetParam().line;
  const StackTraceLine_s parts = splitStackTraceLine(line.data());
  ASSERT_NE(nullptr, parts.module);
  EXPECT_EQ(line.data(), parts.module);
  EXPECT_EQ(GetParam().module, parts.module);
  EXPECT_EQ(GetParam().function, parts.name);
  EXPECT_EQ(GetParam().offset, parts.offset);
}

TEST_P(WholeLine, StaysAsItIs) {
  std::string line = GetParam().line;
  const StackTraceLine_s parts = splitStackTraceLine(line.data());
  EXPECT_EQ(nullptr, parts.module);
  EXPECT_EQ(nullptr, parts.name);
  EXPECT_EQ(nullptr, parts.offset);
  EXPECT_EQ(GetParam().line, line);
}

namespace {

struct Parts_s {
  std::string module;
  std::string name;
  std::string offset;
};

// What is said of a line as a whole: the first ")" behind a "+" is the end; the last "(" and "+" before it count.
std::optional<Parts_s> partsByPosition(const std::string& line) {
  const std::size_t firstPlus = line.find('+');
  const std::size_t end = firstPlus == std::string::npos ? firstPlus : line.find(')', firstPlus);
  if (end == std::string::npos) {
    return std::nullopt;
  }
  const std::size_t plus = line.rfind('+', end);
  const std::size_t open = line.rfind('(', end);
  if (open == std::string::npos || open > plus) {
    return std::nullopt;
  }
  return Parts_s{line.substr(0, open), line.substr(open + 1, plus - open - 1), line.substr(plus + 1, end - plus - 1)};
}

std::string nextText(std::string text, const std::string& letters) {
  for (char& letter : text) {
    const std::size_t place = letters.find(letter) + 1;
    letter = letters[place % letters.size()];
    if (place < letters.size()) {
      return text;
    }
  }
  return text + letters[0];
}

} // namespace

TEST(StackTraceLine, IsSplitByItsMarksInEveryOrder) {
  for (std::string text; text.size() < 9; text = nextText(text, "(+)a")) {
    std::string line = text;
    const StackTraceLine_s parts = splitStackTraceLine(line.data());
    const std::optional<Parts_s> expected = partsByPosition(text);
    ASSERT_EQ(expected.has_value(), parts.name != nullptr) << text;
    if (expected) {
      ASSERT_EQ(expected->module, parts.module) << text;
      ASSERT_EQ(expected->name, parts.name) << text;
      ASSERT_EQ(expected->offset, parts.offset) << text;
    } else {
      ASSERT_EQ(text, line);
    }
  }
}
