// The demonstration as its users meet it.
#include "ChildProcess.h"
#include "Files.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

using TestSupport::Ending_s;
using TestSupport::runProgram;
using TestSupport::TemporaryFolder_c;

namespace {

const std::string demo = ZEMO_BINARY_DIR "/examples/zemo-demo";

// The two numbers behind a label of the summary.
std::pair<double, double> summaryOf(const std::string& output, const std::string& label) {
  const std::size_t at = output.find("  " + label + " ");
  if (at == std::string::npos) {
    return {-1, -1};
  }
  std::string line = output.substr(at, output.find('\n', at) - at);
  line.erase(0, label.size() + 2);
  for (char& character : line) {
    character = character == '%' ? ' ' : character;
  }
  std::istringstream numbers(line);
  std::pair<double, double> both = {-1, -1};
  numbers >> both.first >> both.second;
  return both;
}

bool contains(const Ending_s& ending, const std::string& text) {
  return ending.standardOutput.find(text) != std::string::npos;
}

const std::string columns = "time,speed,width,sections,tank,flow,alarm\n";

} // namespace

TEST(DemoProgram, ShowsTheDriveOnTheTerminalInFourAlphabets) {
  const Ending_s ending = runProgram({demo});
  EXPECT_EQ(ending.standardError, "");
  ASSERT_EQ(ending.exitStatus, 0) << ending.standardOutput;
  for (const char* line : {"  object pool               58 objects, ",
                           "  after 20 s  8.2 km/h, 8.0 m, 21.8 l/min, 52.6 l left   sections ####..   Spraying\n"
                           "              Pulvérisation, Ψεκασμός, Опрыскивание, 喷洒\n",
                           "  after 32 s  5.0 km/h, 0.0 m, 0.0 l/min, ",
                           "   sections ......   Headland\n"
                           "              Tête de champ, Κεφαλάρι, Разворот, 地头转弯\n",
                           "              alarm: Tank low\n", "the application shows mask 1101\n",
                           "the application has 250, before 200\n"}) {
    EXPECT_TRUE(contains(ending, line)) << line << "\n" << ending.standardOutput;
  }
}

TEST(DemoProgram, TellsWhatSendingOnlyChangesSaves) {
  const Ending_s ending = runProgram({demo});
  ASSERT_EQ(ending.exitStatus, 0) << ending.standardError;
  const auto refreshes = summaryOf(ending.standardOutput, "refreshes");
  EXPECT_EQ(refreshes, std::make_pair(600.0, 600.0));
  const auto calls = summaryOf(ending.standardOutput, "setter calls");
  EXPECT_EQ(calls.first, 600 * 23);
  EXPECT_EQ(calls.second, 600 * 23);
  const auto commands = summaryOf(ending.standardOutput, "commands sent");
  EXPECT_GT(commands.first, 600);
  EXPECT_LT(commands.first, calls.first / 5);
  EXPECT_EQ(commands.second, calls.second);
  const auto load = summaryOf(ending.standardOutput, "bus load at 250 kbit/s");
  EXPECT_GT(load.first, 0.5);
  EXPECT_LT(load.first * 5, load.second);
  EXPECT_LT(load.second, 100);
}

TEST(DemoProgram, TakesAnotherDrive) {
  const TemporaryFolder_c folder;
  std::ofstream(folder.path() + "/drive.csv") << "# one second\n"
                                              << columns << "0.0,3.0,0.0,000000,9.0,0.0,0\n"
                                              << "20,10.0,2.0,010000,9.0,6.7,2\n";
  const Ending_s ending = runProgram({demo, "--drive", folder.path() + "/drive.csv"});
  EXPECT_EQ(ending.standardError, "");
  ASSERT_EQ(ending.exitStatus, 0);
  EXPECT_TRUE(contains(ending, "  after 20 s  10.0 km/h, 2.0 m, 6.7 l/min, 9.0 l left   sections .#....   Spraying\n"))
      << ending.standardOutput;
  EXPECT_TRUE(contains(ending, "              alarm: Pressure low\n"));
}

TEST(DemoProgram, NamesTheLineOfADriveThatIsNoRow) {
  const TemporaryFolder_c folder;
  const std::string file = folder.path() + "/drive.csv";
  for (const char* row : {"0.0,3.0,0.0,000000,9.0,0.0", "0.0,3.0,0.0,000000,9.0,0.0,3", "0.0,3.0,0.0,00000,9.0,0.0,0",
                          "0.0,3.0,0.0,000002,9.0,0.0,0", "0.0,-1,0.0,000000,9.0,0.0,0", "0.0,x,0.0,000000,9.0,0.0,0",
                          "0.0,nan,0.0,000000,9.0,0.0,0", "0.0,100,0.0,000000,9.0,0.0,0",
                          "0.0,3.0,0.0,000000,10000,0.0,0", "0.0,3.0,0.0,000000,9.0,1000,0"}) {
    std::ofstream(file) << columns << "0.0,3.0,0.0,000000,9.0,0.0,0\n" << row << "\n";
    const Ending_s ending = runProgram({demo, "--drive", file});
    EXPECT_EQ(ending.exitStatus, 1) << row;
    EXPECT_EQ(ending.standardError, "zemo-demo: " + file + ": line 3: no row of a drive: " + row + "\n");
  }
}

TEST(DemoProgram, SaysWhyADriveCannotBeRead) {
  const TemporaryFolder_c folder;
  const std::string file = folder.path() + "/drive.csv";
  EXPECT_EQ(runProgram({demo, "--drive", file}).standardError, "zemo-demo: " + file + ": No such file or directory\n");
  std::ofstream(file) << "time,speed\n";
  EXPECT_EQ(runProgram({demo, "--drive", file}).standardError,
            "zemo-demo: " + file + ": line 1: the columns are not " + columns);
  std::ofstream(file, std::ios::trunc) << columns;
  EXPECT_EQ(runProgram({demo, "--drive", file}).standardError, "zemo-demo: " + file + ": no rows\n");
}

TEST(DemoProgram, GivesUpAfterTheSecondsThatItWasGiven) {
  const Ending_s ending = runProgram({demo, "--seconds", "1"});
  EXPECT_EQ(ending.exitStatus, 1);
  EXPECT_EQ(ending.standardError, "zemo-demo: not done within 1 s\n");
}

TEST(DemoProgram, SaysThatACaptureIsIncomplete) {
  const Ending_s ending = runProgram({demo, "--log", "/dev/full"});
  EXPECT_EQ(ending.exitStatus, 1);
  EXPECT_EQ(ending.standardError, "zemo-demo: /dev/full: not all frames could be written\n");
}

TEST(DemoProgram, SaysWhichBusDoesNotOpen) {
  const Ending_s ending = runProgram({demo, "--can0", "socketcand:127.0.0.1:1/can0"});
  EXPECT_EQ(ending.exitStatus, 1);
  EXPECT_TRUE(contains(ending, "FAILED TO INITIALIZE CAN_BUS_INSTANCE_ISOBUS\n"));
  EXPECT_EQ(ending.standardError, "zemo-demo: can0: socketcand:127.0.0.1:1/can0: Connection refused\n");
}

TEST(DemoProgram, IsAVtClientWhateverHappens) {
  const Ending_s ending = runProgram({demo, "--kind", "0"});
  EXPECT_EQ(ending.exitStatus, 2);
  EXPECT_EQ(ending.standardError, demo + ": unrecognized option '--kind'\n");
}

TEST(DemoProgram, PrintsItsHelp) {
  const Ending_s ending = runProgram({demo, "--help"});
  EXPECT_EQ(ending.exitStatus, 0);
  EXPECT_EQ(ending.standardError, "");
  for (const char* option : {"--can0 BUS", "--can1 BUS", "--proprietary", "--values FILE", "--drive FILE",
                             "--capture FILE", "--log FILE", "--seconds N"}) {
    EXPECT_TRUE(contains(ending, option)) << option;
  }
}
