// Termination signals that another process sends to a running program.
#include "DebugLog.h"

#include "Board.h"
#include "Files.h"
#include "StartedProgram.h"

#include <csignal>
#include <filesystem>
#include <ostream>
#include <sstream>

using namespace Board;
using namespace TestSupport;

namespace {

struct Signal_s {
  int number;
  std::string name;
};

void PrintTo(const Signal_s& sig, std::ostream* stream) {
  *stream << sig.name;
}

const Signal_s terminationSignals[] = {{1, "SIGHUP"}, {2, "SIGINT"},   {3, "SIGQUIT"},
                                       {8, "SIGFPE"}, {11, "SIGSEGV"}, {15, "SIGTERM"}};

std::string announcementOf(const Signal_s& sig) {
  return "ZemoInternalSignalHandler signal " + std::to_string(sig.number) + " " + sig.name + "\n";
}

class BoardSignal : public OnBoard {};

class BoardTerminationSignal : public OnBoard, public testing::WithParamInterface<Signal_s> {
protected:
  void TearDown() override {
    if (!IsSkipped()) {
      std::filesystem::remove(g_LogFileName);
    }
  }
};

INSTANTIATE_TEST_SUITE_P(Signals, BoardTerminationSignal, testing::ValuesIn(terminationSignals),
                         [](const auto& row) { return row.param.name; });

// The place of each text behind that of the one before.
void expectInOrder(const std::string& whole, const std::vector<std::string>& texts) {
  std::size_t at = 0;
  for (const std::string& text : texts) {
    const std::size_t found = whole.find(text, at);
    ASSERT_NE(std::string::npos, found) << text << "\nis not there, or too early, in\n" << whole;
    at = found + text.size();
  }
}

// One line a frame, the innermost first: the printer's caller, the application's handler, the library's, and below the
// signal what the program was about.
void expectTraceOf(const std::string& handler, const std::string& trace) {
  EXPECT_EQ(0U, trace.find("stack trace:\n  "));
  EXPECT_EQ(trace.find("stack trace:"), trace.rfind("stack trace:"));
  expectInOrder(trace, {"libzemoUtils.so.1 : PrintBackTrace(bool)+0x", "zemo_board_program : " + handler + "(int)+0x",
                        "libzemoUtils.so.1", "zemo_board_program : waitForSignals()+0x"});
  std::istringstream lines(trace);
  std::string line;
  std::getline(lines, line);
  while (std::getline(lines, line)) {
    EXPECT_EQ(0U, line.find("  ")) << line;
  }
}

} // namespace

TEST_P(BoardTerminationSignal, WithoutAHandlerIsAnnouncedAndSwallowed) {
  StartedProgram_c program({boardProgram(), "signals", "none"});
  program.waitForOutput("ready\n");
  program.signalBy(GetParam().number);
  program.waitForOutput(announcementOf(GetParam()));
  program.signalBy(GetParam().number);
  program.waitForOutput(announcementOf(GetParam()) + announcementOf(GetParam()));
  EXPECT_TRUE(program.isRunning());
  program.signalBy(SIGUSR1);
  const Ending_s ending = program.finish();
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("ready\n" + announcementOf(GetParam()) + announcementOf(GetParam()) + "done\n", ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
}

TEST_P(BoardTerminationSignal, EndsTheProgramWithTheStatusThatItsHandlerChooses) {
  StartedProgram_c program({boardProgram(), "signals", "status"});
  program.waitForOutput("ready\n");
  program.signalBy(GetParam().number);
  const Ending_s ending = program.finish();
  EXPECT_EQ(40 + GetParam().number, ending.exitStatus);
  EXPECT_EQ(0, ending.signal);
  EXPECT_EQ("ready\n" + announcementOf(GetParam()), ending.standardOutput);
  expectTraceOf("endWithStatus", ending.standardError);
}

TEST_P(BoardTerminationSignal, EndsTheProgramByItselfWhereItsHandlerRaisesItAgain) {
  StartedProgram_c program({boardProgram(), "signals", "signal"});
  program.waitForOutput("ready\n");
  program.signalBy(GetParam().number);
  const Ending_s ending = program.finish();
  EXPECT_EQ(GetParam().number, ending.signal);
  EXPECT_EQ("ready\n" + announcementOf(GetParam()), ending.standardOutput);
  expectTraceOf("endByTheSignal", ending.standardError);
}

TEST_P(BoardTerminationSignal, LeavesItsTraceInTheLogOnTheFlash) {
  StartedProgram_c program({boardProgram(), "signals", "log"});
  program.waitForOutput("ready\n");
  program.signalBy(GetParam().number);
  program.waitForOutput(announcementOf(GetParam()));
  program.signalBy(SIGUSR1);
  const Ending_s ending = program.finish();
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("ready\n" + announcementOf(GetParam()) + "done\n", ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
  expectTraceOf("traceToLog", readFile("/mnt/nand/DebugLog.txt"));
}

TEST_F(BoardSignal, ThatCannotBeCaughtEndsTheProgramWithoutALine) {
  StartedProgram_c program({boardProgram(), "signals", "status"});
  program.waitForOutput("ready\n");
  program.signalBy(SIGKILL);
  const Ending_s ending = program.finish();
  EXPECT_EQ(SIGKILL, ending.signal);
  EXPECT_EQ("ready\n", ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
}

TEST_F(BoardSignal, ThatIsNoneOfTheSixStillEndsTheProgram) {
  for (const int sig : {SIGPIPE, SIGABRT, SIGALRM, SIGUSR2}) {
    StartedProgram_c program({boardProgram(), "signals", "status"});
    program.waitForOutput("ready\n");
    program.signalBy(sig);
    const Ending_s ending = program.finish();
    EXPECT_EQ(sig, ending.signal);
    EXPECT_EQ("ready\n", ending.standardOutput);
  }
}

TEST_F(BoardSignal, IsAnnouncedOncePerDelivery) {
  StartedProgram_c program({boardProgram(), "signals", "none"});
  program.waitForOutput("ready\n");
  std::string expected = "ready\n";
  for (const Signal_s& sig : terminationSignals) {
    program.signalBy(sig.number);
    expected += announcementOf(sig);
    program.waitForOutput(expected);
  }
  program.signalBy(SIGUSR1);
  EXPECT_EQ(expected + "done\n", program.finish().standardOutput);
}
