// Stack traces of real programs: their functions in the dynamic table, not there, and stripped.
#include "ChildProcess.h"
#include "Files.h"

#include <csignal>
#include <gtest/gtest.h>
#include <regex>

using namespace TestSupport;

namespace {

const std::string exportedProgram = ZEMO_BINARY_DIR "/tests/stack_frames_exported";
const std::string plainProgram = ZEMO_BINARY_DIR "/tests/stack_frames";
const std::string strippedProgram = ZEMO_BINARY_DIR "/tests/stack_frames_stripped";

const std::string longAttachment = "FieldWork::AttachmentWithARatherLongName_s";
const std::string pairOfAttachments = "FieldWork::Combination_s<" + longAttachment + ", " + longAttachment + ">";
const std::string fourAttachments =
    "FieldWork::Combination_s<" + pairOfAttachments + ", " + longAttachment + ", " + pairOfAttachments + " >";

std::string withoutOffsets(const std::string& text) {
  return std::regex_replace(text, std::regex("\\+0x[0-9a-f]+\n"), "+OFFSET\n");
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size())) {
    text.replace(at, what.size(), with);
  }
  return text;
}

// The trace with PROGRAM and OFFSET in place of what a build decides.
std::string shapeOf(const std::string& trace, const std::string& program) {
  return withoutOffsets(replaced(trace, "  " + program + " : ", "  PROGRAM : "));
}

std::string firstLines(const std::string& text, std::size_t count) {
  std::size_t end = 0;
  for (; count > 0 && end != std::string::npos; --count) {
    end = text.find('\n', end);
    end = end == std::string::npos ? end : end + 1;
  }
  return text.substr(0, end);
}

struct Trace_s {
  const char* name;
  const char* way;
  std::vector<std::string> functions; // from the caller of the printer on, main at the end
};

void PrintTo(const Trace_s& trace, std::ostream* out) {
  *out << trace.name;
}

// The nameless one in between, ploughDirectly, is of an unnamed namespace: no dynamic table holds it.
const std::vector<Trace_s> traces = {
    {"CppFunction", "function", {"plough(int)", "()", "main()"}},
    {"HiddenFunction", "hidden function", {"()", "harrow()", "main()"}},
    {"CFunction", "C function", {"plough(int)", "sow()", "main()"}},
    {"CNameThatIsATypeToTheDemangler", "one letter", {"int", "main()"}},
    {"TemplateWithALongName",
     "template",
     {"plough(int)", "void FieldWork::work<" + fourAttachments + " >(" + fourAttachments + ")",
      "FieldWork::workWithFour()", "main()"}},
};

std::string expectedShape(const std::vector<std::string>& functions) {
  std::string text = "stack trace:\n";
  for (const std::string& function : functions) {
    text += "  PROGRAM : " + function + "+OFFSET\n";
  }
  return text;
}

// Traces whose first frame is looked at.
class ExactTrace_c : public testing::Test {
protected:
  void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer puts a frame of its own between the printer and the system";
#endif
  }
};

class StackTraceOfAProgram : public ExactTrace_c, public testing::WithParamInterface<Trace_s> {};

INSTANTIATE_TEST_SUITE_P(Functions, StackTraceOfAProgram, testing::ValuesIn(traces),
                         [](const auto& row) { return row.param.name; });

} // namespace

TEST_P(StackTraceOfAProgram, BeginsWithTheCallerAndNamesWhatTheDynamicTableHolds) {
  const Ending_s ending = runProgram({exportedProgram, GetParam().way});
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("", ending.standardError);
  const std::string shape = shapeOf(ending.standardOutput, exportedProgram);
  EXPECT_EQ(expectedShape(GetParam().functions), firstLines(shape, GetParam().functions.size() + 1));
}

TEST_P(StackTraceOfAProgram, HasEmptyNamesWithoutADynamicTable) {
  const std::vector<std::string> noNames(GetParam().functions.size(), "()");
  for (const std::string& program : {plainProgram, strippedProgram}) {
    const Ending_s ending = runProgram({program, GetParam().way});
    EXPECT_EQ(0, ending.exitStatus);
    EXPECT_EQ("", ending.standardError);
    EXPECT_EQ(expectedShape(noNames), firstLines(shapeOf(ending.standardOutput, program), noNames.size() + 1));
  }
}

TEST(StackTraceOfOneFunction, DoesNotShowTheAddressInBrackets) {
  const Ending_s ending = runProgram({exportedProgram, "function"});
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ(std::string::npos, ending.standardOutput.find('['));
}

class PrintBackTraceOfAProgram : public ExactTrace_c {};

namespace {

// PrintBackTrace itself, in the library, then its caller.
void expectBackTrace(const std::string& trace, const std::string& caller) {
  const std::regex form("stack trace:\n"
                        "  [^\n ]*/libzemoUtils\\.so[.0-9]* : PrintBackTrace\\(bool\\)\\+0x[0-9a-f]+\n"
                        "  [^\n ]*/stack_frames_exported : " +
                        caller + "\\(\\)\\+0x[0-9a-f]+\n(  [^\n]*\n)*");
  EXPECT_TRUE(std::regex_match(trace, form)) << trace;
}

} // namespace

TEST_F(PrintBackTraceOfAProgram, BeginsWithItselfOnStandardError) {
  const Ending_s ending = runProgram({exportedProgram, "standard error"});
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("", ending.standardOutput);
  expectBackTrace(ending.standardError, "ploughToStandardError");
}

TEST_F(PrintBackTraceOfAProgram, BeginsWithItselfInTheLogFile) {
  const TemporaryFolder_c folder;
  const std::string log = folder.path() + "/log.txt";
  const Ending_s ending = runProgram({exportedProgram, "log file", log});
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("", ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
  expectBackTrace(readFile(log), "ploughToLogFile");
}

TEST(PrintBackTraceInAHandler, ShowsTheFaultFromWithinTheHandler) {
  const Ending_s ending = runProgram({exportedProgram, "fault"});
  EXPECT_EQ(0, ending.signal);
  EXPECT_EQ(3, ending.exitStatus);
  EXPECT_EQ("ZemoInternalSignalHandler signal 11 SIGSEGV\n", ending.standardOutput);
  std::size_t at = 0;
  for (const char* function :
       {"stack trace:\n", " : PrintBackTrace(bool)+", " : tellBreakdown(int)+", " : breakDown()+", " : main()+"}) {
    at = ending.standardError.find(function, at);
    ASSERT_NE(std::string::npos, at) << function << " is missing in\n" << ending.standardError;
  }
}

// A processor limit ends a program that does not come back.
TEST(StackTraceOfAStandingFrame, Ends) {
  const Ending_s ending = runProgram({exportedProgram, "standing frame"});
  EXPECT_EQ(0, ending.signal);
  EXPECT_EQ(0, ending.exitStatus);
  const std::size_t caller = ending.standardOutput.find(" : printHere()+");
  ASSERT_NE(std::string::npos, caller);
  EXPECT_NE(std::string::npos, ending.standardOutput.find(" : standingFrame()+", caller));
}
