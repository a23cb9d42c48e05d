// The programs for the desk as their users meet them: help, wrong options, buses and files that cannot be opened.
#include "ChildProcess.h"
#include "Files.h"

#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

using TestSupport::Ending_s;
using TestSupport::readFile;
using TestSupport::runProgram;
using TestSupport::TemporaryFolder_c;

namespace {

const std::string surveyDemo = ZEMO_BINARY_DIR "/examples/zemo-survey-demo";
const std::string consoleApp = ZEMO_BINARY_DIR "/examples/zemo-console-app";
const std::string folderReport = ZEMO_BINARY_DIR "/examples/zemo-folder-report";
const std::string serviceTool = ZEMO_BINARY_DIR "/tools/zemo-service-tool";

struct WrongUse_s {
  const char* name;
  std::vector<std::string> arguments;
  int exitStatus;
  std::string error; // the whole of standard error
};

void PrintTo(const WrongUse_s& use, std::ostream* out) {
  *out << use.name;
}

class WrongUseOfAProgram : public testing::TestWithParam<WrongUse_s> {};

TEST_P(WrongUseOfAProgram, EndsWithOneLineThatSaysWhatAndWhere) {
  const Ending_s ending = runProgram(GetParam().arguments);
  EXPECT_EQ(ending.exitStatus, GetParam().exitStatus);
  EXPECT_EQ(ending.standardError, GetParam().error);
}

const std::vector<WrongUse_s> wrongUses = {
    {"noFolder", {folderReport}, 2, "usage: zemo-folder-report FOLDER LOGFILE\n"},
    {"unknownOption", {surveyDemo, "--bus"}, 2, surveyDemo + ": unrecognized option '--bus'\n"},
    {"missingArgument", {surveyDemo, "--can0"}, 2, surveyDemo + ": option '--can0' requires an argument\n"},
    {"noOption", {surveyDemo, "can0"}, 2, "zemo-survey-demo: 'can0' is no option; --help lists them\n"},
    {"kindIsNoNumber", {surveyDemo, "--kind", "two"}, 2, "zemo-survey-demo: --kind: 'two' is no whole number\n"},
    {"kindIsTooLarge",
     {surveyDemo, "--kind", "2147483648"},
     2,
     "zemo-survey-demo: --kind: '2147483648' is no whole number\n"},
    {"secondsOutOfRange",
     {surveyDemo, "--seconds", "0"},
     2,
     "zemo-survey-demo: --seconds: '0' is no whole number from 1 to 86400\n"},
    {"captureInNoFolder",
     {surveyDemo, "--capture", "/nonexistent/demo.pcap"},
     1,
     "zemo-survey-demo: /nonexistent/demo.pcap: No such file or directory\n"},
    {"logIsAFolder", {consoleApp, "--log", "/tmp"}, 1, "zemo-console-app: /tmp: Is a directory\n"},
    {"toolTakesNoValues", {serviceTool, "--values", "x.json"}, 2, serviceTool + ": unrecognized option '--values'\n"},
};

INSTANTIATE_TEST_SUITE_P(Programs, WrongUseOfAProgram, testing::ValuesIn(wrongUses),
                         [](const auto& use) { return use.param.name; });

// Nobody listens at this port of the loopback interface.
const std::string deadBus = "socketcand:127.0.0.1:1/can0";

TEST(SurveyDemoProgram, RunsItsMainJobOnTheBusInsideTheProcess) {
  const Ending_s ending = runProgram({surveyDemo});
  EXPECT_EQ(ending.exitStatus, 0);
  EXPECT_EQ(ending.standardError, "");
  for (const char* line : {"addresses claimed         128, 129 after ", "control functions found   2\n",
                           "8 asked, 8 answered, 0 refused, 0 without an answer\n", "none of them answers\n",
                           "9 tractor services, which the frame never closes\n"}) {
    EXPECT_NE(ending.standardOutput.find(line), std::string::npos) << line << "\n" << ending.standardOutput;
  }
}

TEST(SurveyDemoProgram, RunsAsEveryApplicationKindAndWithAProprietaryBus) {
  for (const char* kind : {"-1", "0", "1", "3", "4"}) {
    const Ending_s ending = runProgram({surveyDemo, "--kind", kind, "--proprietary"});
    EXPECT_EQ(ending.exitStatus, 0) << kind << "\n" << ending.standardError;
  }
}

TEST(SurveyDemoProgram, SaysWhichBusDoesNotOpen) {
  const Ending_s ending = runProgram({surveyDemo, "--can0", deadBus});
  EXPECT_EQ(ending.exitStatus, 1);
  EXPECT_NE(ending.standardOutput.find("FAILED TO INITIALIZE CAN_BUS_INSTANCE_ISOBUS\n"), std::string::npos);
  EXPECT_EQ(ending.standardError, "zemo-survey-demo: can0: " + deadBus + ": Connection refused\n");
}

TEST(SurveyDemoProgram, GoesOnWithDefaultsForWhatTheValuesFileDoesNotName) {
  const std::string file = testing::TempDir() + "/zemo-values-" + std::to_string(getpid()) + ".json";
  std::ofstream(file) << R"({"serialNumber": "SN7", "partNumber": "4711.6", "vin": ""})";
  const Ending_s ending = runProgram({surveyDemo, "--values", file});
  std::remove(file.c_str());
  EXPECT_EQ(ending.exitStatus, 0);
  EXPECT_EQ(ending.standardError, file + ": the defaults serve for what it does not name: bootLoaderVersion, "
                                         "osVersion, hardwareVariant, virtualTerminalVersion, hardwareVersion, "
                                         "certification\n");
  EXPECT_NE(ending.standardOutput.find(" OS:3.1 Boot:1.07 Part:4711.6 Serial:SN7\n"), std::string::npos);
}

TEST(SurveyDemoProgram, EndsWhereTheValuesFileCannotBeRead) {
  const Ending_s ending = runProgram({surveyDemo, "--values", "/nonexistent/values.json"});
  EXPECT_EQ(ending.exitStatus, 1);
  EXPECT_EQ(ending.standardError,
            "zemo-survey-demo: /nonexistent/values.json: cannot be opened: No such file or directory\n");
}

TEST(SurveyDemoProgram, FailsWhenItIsNotDoneInTime) {
  const Ending_s ending = runProgram({surveyDemo, "--seconds", "1"});
  EXPECT_EQ(ending.exitStatus, 1);
  EXPECT_EQ(ending.standardError, "zemo-survey-demo: not done within 1 s\n");
}

TEST(SurveyDemoProgram, SaysThatACaptureIsIncomplete) {
  const Ending_s ending = runProgram({surveyDemo, "--log", "/dev/full"});
  EXPECT_EQ(ending.exitStatus, 1);
  EXPECT_EQ(ending.standardError, "zemo-survey-demo: /dev/full: not all frames could be written\n");
}

TEST(SurveyDemoProgram, PrintsItsHelp) {
  const Ending_s ending = runProgram({surveyDemo, "--help"});
  EXPECT_EQ(ending.exitStatus, 0);
  EXPECT_EQ(ending.standardError, "");
  for (const char* option :
       {"--can0 BUS", "--can1 BUS", "--kind N", "--proprietary", "--values FILE", "--capture FILE", "--log FILE"}) {
    EXPECT_NE(ending.standardOutput.find(option), std::string::npos) << option;
  }
}

TEST(ServiceToolProgram, AsksForABusWhenNoneIsNamed) {
  const Ending_s ending = runProgram({"env", "-u", "ZEMO_CAN0", serviceTool});
  EXPECT_EQ(ending.exitStatus, 1);
  EXPECT_EQ(ending.standardError, "zemo-service-tool: which bus? --can0 socketcan:IFACE or --can0 "
                                  "socketcand:HOST:PORT/BUS\n");
}

TEST(ServiceToolProgram, SaysThatABusDoesNotOpen) {
  const Ending_s ending = runProgram({serviceTool, "--can0", deadBus});
  EXPECT_EQ(ending.exitStatus, 1);
  EXPECT_EQ(ending.standardError, "zemo-service-tool: " + deadBus + ": Connection refused\n");
}

TEST(ServiceToolProgram, FindsNobodyOnAnEmptyBus) {
  const Ending_s ending = runProgram({serviceTool, "--can0", "local:empty"});
  EXPECT_EQ(ending.exitStatus, 0);
  EXPECT_EQ(ending.standardOutput, "On local:empty, asked from address 249:\n\n"
                                   "  Nobody else is on this bus.\n\n"
                                   "0 control functions, 0 questions, 0 answered, 0 refused, 0 without an answer.\n");
}

TEST(ConsoleAppProgram, ClaimsRunsAndCloses) {
  const Ending_s ending = runProgram({consoleApp, "--seconds", "1"});
  EXPECT_EQ(ending.exitStatus, 0);
  EXPECT_EQ(ending.standardOutput, "On the bus at addresses 128 and 129\nClosed\n");
  EXPECT_EQ(ending.standardError, "");
}

} // namespace

TEST(FolderReportProgram, LogsWhatItFindsInAFolder) {
  const TemporaryFolder_c folder;
  const TemporaryFolder_c logFolder;
  std::ofstream(folder.path() + "/field.bin") << "0123456789";
  std::ofstream(folder.path() + "/track.bin") << "01234";
  const std::string log = logFolder.path() + "/report.log";
  const Ending_s ending = runProgram({folderReport, folder.path(), log});
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("_POSIX_THREAD_PRIORITY_SCHEDULING undefined\n", ending.standardOutput);
  EXPECT_EQ(ending.standardError, readFile(log));
  EXPECT_NE(std::string::npos, ending.standardError.find(" MB memory free\n")) << ending.standardError;
  EXPECT_NE(std::string::npos, ending.standardError.find(" percent of the medium free\n")) << ending.standardError;
  EXPECT_NE(std::string::npos, ending.standardError.find(" 2 files, 15 bytes\n")) << ending.standardError;
}

TEST(FolderReportProgram, FailsForAFolderThatIsMissing) {
  const TemporaryFolder_c folder;
  const Ending_s ending = runProgram({folderReport, folder.path() + "/missing", folder.path() + "/report.log"});
  EXPECT_EQ(1, ending.exitStatus);
  EXPECT_NE(std::string::npos, ending.standardError.find(" the folder was not listed to its end\n"));
}
