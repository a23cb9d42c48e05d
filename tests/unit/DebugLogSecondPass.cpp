// A '%' that is left in a message: verbatim in the file, expanded once more on standard error.
#include "DebugLog.h"

#include "CapturedOutput.h"
#include "LogFixture.h"

#include <cstdio>
#include <ostream>

using namespace TestSupport;

namespace {

struct Text_s {
  const char* name;
  std::string logged;
  std::string printed;
};

void PrintTo(const Text_s& row, std::ostream* stream) {
  *stream << row.logged;
}

std::string times(int count, const std::string& text) {
  std::string all;
  for (; count > 0; --count) {
    all += text;
  }
  return all;
}

const Text_s expanded[] = {
    {"Integer", "%d|%i|%u|%x|%o\n", "0|0|0|0|0\n"},
    {"LongInteger", "%ld|%lld|%zu|%jd|%hhd\n", "0|0|0|0|0\n"},
    {"FlagsAndWidth", "[%5d][%-3d][%+d][%03d]\n", "[    0][0  ][+0][000]\n"},
    {"WidthOfAValue", "[%*d]\n", "[0]\n"},
    {"WidthAndPrecisionOfValues", "[%*.*f]\n", "[0]\n"},
    {"Text", "%s\n", "(null)\n"},
    {"TextWithAPrecision", "[%.3s]\n", "[]\n"},
    {"Pointer", "%p\n", "(nil)\n"},
    {"Character", "[%c]\n", std::string("[\0]\n", 4)},
    {"WideText", "%ls\n", "(null)\n"},
    {"FloatingPoint", "%f|%.1f|%e|%g|%a\n", "0.000000|0.0|0.000000e+00|0|0x0p+0\n"},
    {"LongDouble", "%Lf|%Lg\n", "0.000000|0\n"},
    {"KindsMixed", "%d %f %s %Lf %d %s\n", "0 0.000000 (null) 0.000000 0 (null)\n"},
    {"BothPositions", "%2$d and %1$s\n", "0 and (null)\n"},
    {"OnePositionTwice", "%1$d %1$d\n", "0 0\n"},
    {"DoubledPercent", "100%% done\n", "100% done\n"},
    {"PercentTwiceDoubled", "100%%%% done\n", "100%% done\n"},
    {"BlankAsAFlag", "100% done\n", "100 0one\n"},
    {"SixteenIntegers", times(16, "%d "), times(16, "0 ")},
    {"SixteenTexts", times(16, "%s"), times(16, "(null)")},
    {"SixteenDoubles", times(16, "%.1f "), times(16, "0.0 ")},
    {"SixteenLongDoubles", times(16, "%.1Lf "), times(16, "0.0 ")},
    {"SixteenWidthsAndValues", times(8, "%*d "), times(8, "0 ")},
    {"SixteenPositions", "%16$s%1$d%2$d%3$d%4$d%5$d%6$d%7$d%8$d%9$d%10$d%11$d%12$d%13$d%14$d%15$d\n",
     "(null)" + times(15, "0") + "\n"},
};

const Text_s verbatim[] = {
    {"ThatStores", "%n", "%n"},
    {"ThatStoresAmongOthers", "%d%s%hhn%d\n", "%d%s%hhn%d\n"},
    {"ThatStoresALong", "%ln", "%ln"},
    {"ThatStoresALongLong", "%lln", "%lln"},
    {"ThatStoresAtAPosition", "%1$d%2$n", "%1$d%2$n"},
    {"OfSeventeenIntegers", times(17, "%d "), times(17, "%d ")},
    {"OfSeventeenTexts", times(17, "%s"), times(17, "%s")},
    {"OfSeventeenLongDoubles", times(17, "%Lf"), times(17, "%Lf")},
    {"OfSeventeenWidthsAndValues", times(8, "%*d ") + "%d", times(8, "%*d ") + "%d"},
    {"OfAThousandTexts", times(1000, "%s"), times(1000, "%s")},
    {"OfASecondPositionWithoutAFirst", "%2$d\n", "%2$d\n"},
    {"OfAFarPosition", "%17$s\n", "%17$s\n"},
    {"OfAPositionBeyondReason", "%2000000000$s\n", "%2000000000$s\n"},
};

class SecondPass : public LogFixture, public testing::WithParamInterface<Text_s> {
protected:
  void expectWithTheDefaultHandler(const Text_s& row) const {
    const CapturedOutput_c output;
    default_log_handler(row.logged.c_str());
    EXPECT_EQ(row.logged, logged());
    EXPECT_EQ(row.printed, output.standardError());
  }

  void expectWithLogMsg(const Text_s& row) const {
    const CapturedOutput_c output;
    log_msg("%s", row.logged.c_str());
    EXPECT_EQ(row.logged, logged());
    EXPECT_EQ(row.printed, output.standardError());
  }
};

class TextThatIsExpanded : public SecondPass {};

TEST_P(TextThatIsExpanded, WithZerosOnStandardErrorAndVerbatimInTheFile) {
  expectWithTheDefaultHandler(GetParam());
}

TEST_P(TextThatIsExpanded, AlsoAsAnArgumentOfAMessage) {
  expectWithLogMsg(GetParam());
}

INSTANTIATE_TEST_SUITE_P(SecondPass, TextThatIsExpanded, testing::ValuesIn(expanded),
                         [](const auto& row) { return row.param.name; });

class TextThatIsPrintedVerbatim : public SecondPass {};

TEST_P(TextThatIsPrintedVerbatim, OnStandardErrorAndInTheFile) {
  expectWithTheDefaultHandler(GetParam());
}

TEST_P(TextThatIsPrintedVerbatim, AlsoAsAnArgumentOfAMessage) {
  expectWithLogMsg(GetParam());
}

INSTANTIATE_TEST_SUITE_P(SecondPass, TextThatIsPrintedVerbatim, testing::ValuesIn(verbatim),
                         [](const auto& row) { return row.param.name; });

// What the C library makes of a format that takes no value.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
std::string printedByTheCLibrary(const char* text) {
  const CapturedOutput_c output;
  std::fprintf(stderr, text);
  return output.standardError();
}
#pragma GCC diagnostic pop

class TextWithAnUnknownConversion : public LogFixture {};

TEST_F(TextWithAnUnknownConversion, IsPrintedAsItIs) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer warns of such a format on standard error";
#endif
  const CapturedOutput_c output;
  default_log_handler("load 50%\n, speed 5%y %d\n");
  EXPECT_EQ("load 50%\n, speed 5%y %d\n", logged());
  EXPECT_EQ("load 50%\n, speed 5%y 0\n", output.standardError());
}

class TextThatEndsInAPercent : public LogFixture {};

TEST_F(TextThatEndsInAPercent, IsPrintedAsTheCLibraryPrintsSuchAFormat) {
  const std::string expected = printedByTheCLibrary("load 100%");
  const CapturedOutput_c output;
  default_log_handler("load 100%");
  EXPECT_EQ("load 100%", logged());
  EXPECT_EQ(expected, output.standardError());
}

} // namespace
