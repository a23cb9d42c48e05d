// zemo-terminal as its users meet it: options, lines in and out, a client on a bus between processes, its end.
#include "BusServerProcess.h"
#include "ChildProcess.h"
#include "FileDescriptor.h"
#include "Files.h"

#include <array>
#include <csignal>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace TestSupport;
using IsoBusHost::FileDescriptor_c;

namespace {

const std::string terminal = ZEMO_BINARY_DIR "/tools/zemo-terminal";

// TerminalProcess_c: the program with its standard input and output on pipes; gone with its object.
class TerminalProcess_c {
public:
  explicit TerminalProcess_c(std::vector<std::string> arguments) {
    std::array<int, 2> input{};
    std::array<int, 2> output{};
    EXPECT_EQ(pipe(input.data()), 0);
    EXPECT_EQ(pipe(output.data()), 0);
    arguments.insert(arguments.begin(), terminal);
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
      pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    m_process = fork();
    if (m_process == 0) {
      dup2(input[0], STDIN_FILENO);
      dup2(output[1], STDOUT_FILENO);
      for (int descriptor = STDERR_FILENO + 1; descriptor < 64; ++descriptor) {
        ::close(descriptor);
      }
      execv(pointers[0], pointers.data());
      _exit(127);
    }
    close(input[0]);
    close(output[1]);
    m_input = FileDescriptor_c(input[1]);
    m_output = FileDescriptor_c(output[0]);
  }
  TerminalProcess_c(const TerminalProcess_c&) = delete;
  TerminalProcess_c& operator=(const TerminalProcess_c&) = delete;
  ~TerminalProcess_c() {
    if (m_process > 0) {
      kill(m_process, SIGKILL);
      waitpid(m_process, nullptr, 0);
    }
  }

  void say(const std::string& line) const {
    EXPECT_EQ(write(m_input.get(), line.data(), line.size()), static_cast<ssize_t>(line.size()));
  }

  // hear: the next line without the time in front and its end; empty at the end, or when nothing comes for too long.
  std::string hear() {
    std::string line;
    char byte = 0;
    pollfd waiting = {m_output.get(), POLLIN, 0};
    while (poll(&waiting, 1, 20000) > 0 && read(m_output.get(), &byte, 1) == 1 && byte != '\n') {
      line += byte;
    }
    const bool hasTime =
        !line.empty() && line.find_first_not_of("0123456789.") == line.find(' ') && line.find('.') < line.find(' ');
    return hasTime ? line.substr(line.find(' ') + 1) : line;
  }

  int stop(int signal) {
    kill(m_process, signal);
    return wait();
  }

  int wait() {
    int status = 0;
    waitpid(m_process, &status, 0);
    m_process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

private:
  pid_t m_process = -1;
  FileDescriptor_c m_input;
  FileDescriptor_c m_output;
};

// hearFrom38: the next message of the terminal to the client, "18E68026 C0 04 ..." for example, without the time.
std::string hearFrom38(SocketClient_c& client, const std::string& identifier) {
  for (std::string message = client.hear(); !message.empty(); message = client.hear()) {
    const std::size_t at = message.find("frame " + identifier);
    if (at != std::string::npos) {
      const std::size_t time = message.find(' ', at + 6);
      const std::size_t data = message.find(' ', time + 1);
      return message.substr(data + 1, message.rfind(' ') - data - 1);
    }
  }
  return {};
}

TEST(TerminalProgram, ServesAClientOfAnotherProcessAndDoesWhatItsOperatorSays) {
  const BusServerProcess_c server;
  SocketClient_c client(server.port());
  client.join("can0");
  TerminalProcess_c program({"--can0", server.address("can0")});
  EXPECT_EQ(program.hear(), "on the bus at address 38");
  client.say("< send 18EEFF80 8 10 0 0 0 0 80 0 a0 >"
             "< send 1CFE0D80 8 1 ff ff ff ff ff ff ff >"
             "< send 14E72680 8 ff 1 4 ff ff ff ff ff >");
  EXPECT_EQ(program.hear(), "client 128: has come");
  // A working set (1), a data mask (2) with a soft key mask (3), a key (4): 38 bytes of records.
  client.say("< send 1CEC2680 8 10 22 0 5 ff 0 e7 0 >");
  EXPECT_EQ(hearFrom38(client, "1CEC8026"), "110501FFFF00E700");
  client.say("< send 1CEB2680 8 1 11 1 0 0 0 1 2 >"
             "< send 1CEB2680 8 2 0 0 0 0 2 0 1 >"
             "< send 1CEB2680 8 3 0 3 0 0 0 3 0 >"
             "< send 1CEB2680 8 4 4 0 1 0 4 0 4 >"
             "< send 1CEB2680 8 5 0 5 c 7 0 0 ff >");
  EXPECT_EQ(hearFrom38(client, "1CEC8026"), "13220005FF00E700");
  client.say("< send 14E72680 8 12 ff ff ff ff ff ff ff >");
  EXPECT_EQ(hearFrom38(client, "1CE68026"), "1200FFFFFFFF00FF");
  EXPECT_EQ(program.hear(), "client 128: pool taken, 4 objects");
  EXPECT_EQ(program.hear(), "client 128: on the screen");
  client.say("< send 14E72680 8 a7 4 0 9 ff ff ff ff >");
  EXPECT_EQ(hearFrom38(client, "1CE68026"), "A704000900FFFFFF");
  EXPECT_EQ(program.hear(), "client 128: key 4: background 12 -> 9 (background 9, key code 7)");
  program.say("object 4\nkey 4 click\n");
  EXPECT_EQ(program.hear(), "key 4 (background 9, key code 7)");
  EXPECT_EQ(hearFrom38(client, "1CE68026"), "00010400020007FF");
  EXPECT_EQ(hearFrom38(client, "1CE68026"), "00000400020007FF");
  client.say("< send 14E72680 8 0 1 4 0 2 0 7 ff >");
  EXPECT_EQ(program.hear(), "client 128: soft key answered");
  EXPECT_EQ(program.stop(SIGTERM), 0);
}

TEST(TerminalProgram, EndsOnItsLineAndOnBothSignals) {
  {
    TerminalProcess_c program({"--can0", "local:a"});
    program.say("clients\nquit\nclients\n");
    EXPECT_EQ(program.hear(), "no clients");
    EXPECT_EQ(program.hear().substr(0, 10), "0 changes,");
    EXPECT_EQ(program.hear(), "");
    EXPECT_EQ(program.wait(), 0);
  }
  for (const int signal : {SIGINT, SIGTERM}) {
    TerminalProcess_c program({"--can0", "local:a"});
    EXPECT_EQ(program.hear(), "on the bus at address 38");
    EXPECT_EQ(program.stop(signal), 0);
  }
}

TEST(TerminalProgram, GoesOnWithoutStandardInput) {
  const Ending_s ending = runProgram({terminal, "--can0", "local:a", "--seconds", "1"}, "clients");
  EXPECT_EQ(ending.exitStatus, 0);
  EXPECT_EQ(ending.standardOutput.substr(0, 11), "no clients\n"); // a last line without its end
  EXPECT_NE(ending.standardOutput.find(" on the bus at address 38\n"), std::string::npos);
  EXPECT_NE(ending.standardOutput.find("0 changes, 0 frames received, "), std::string::npos);
  EXPECT_EQ(ending.standardError, "");
}

TEST(TerminalProgram, NamesALineThatItDoesNotUnderstandAndGoesOn) {
  const Ending_s ending =
      runProgram({terminal, "--can0", "local:a"}, "push 4\nkey x press\n\n# a remark\nclients\nquit\n");
  EXPECT_EQ(ending.exitStatus, 0);
  EXPECT_EQ(ending.standardError, "zemo-terminal: 'push' is no command; help lists them\n"
                                  "zemo-terminal: which object? a number from 0 to 65534\n");
  EXPECT_EQ(ending.standardOutput.substr(0, 11), "no clients\n");
}

TEST(TerminalProgram, WritesItsFramesToALog) {
  const TemporaryFolder_c folder;
  const std::string log = folder.path() + "/frames.log";
  const Ending_s ending =
      runProgram({terminal, "--can0", "local:a", "--address", "40", "--seconds", "1", "--log", log});
  EXPECT_EQ(ending.exitStatus, 0);
  EXPECT_NE(readFile(log).find(" can0 1CE6FF28#FEFEFFFFFFFF00FF\n"), std::string::npos);
}

TEST(TerminalProgram, LearnsItsBusFromTheEnvironment) {
  const Ending_s named = runProgram({"env", "ZEMO_CAN0=local:a", terminal}, "quit\n");
  EXPECT_EQ(named.exitStatus, 0);
  const Ending_s unnamed = runProgram({"env", "-u", "ZEMO_CAN0", terminal}, "quit\n");
  EXPECT_EQ(unnamed.exitStatus, 1);
  EXPECT_EQ(unnamed.standardError,
            "zemo-terminal: which bus? --can0 socketcan:IFACE or --can0 socketcand:HOST:PORT/BUS\n");
}

struct WrongUse_s {
  std::vector<std::string> options;
  int exitStatus;
  std::string error;
};

TEST(TerminalProgram, EndsWithOneLineThatSaysWhatIsWrong) {
  const WrongUse_s rows[] = {
      {{"--version", "5"}, 2, "zemo-terminal: --version: '5' is no whole number from 2 to 4\n"},
      {{"--version", "1"}, 2, "zemo-terminal: --version: '1' is no whole number from 2 to 4\n"},
      {{"--graphic", "3"}, 2, "zemo-terminal: --graphic: '3' is no whole number from 0 to 2\n"},
      {{"--memory", "x"}, 2, "zemo-terminal: --memory: 'x' is no whole number from 0 to 100000000\n"},
      {{"--memory", "9999999999"}, 2, "zemo-terminal: --memory: '9999999999' is no whole number from 0 to 100000000\n"},
      {{"--address", "254"}, 2, "zemo-terminal: --address: '254' is no whole number from 0 to 253\n"},
      {{"--seconds", "0"}, 2, "zemo-terminal: --seconds: '0' is no whole number from 1 to 86400\n"},
      {{"local:a"}, 2, "zemo-terminal: 'local:a' is no option; --help lists them\n"},
      {{"--nonsense"}, 2, terminal + ": unrecognized option '--nonsense'\n"},
      {{"--can0", "socketcand:127.0.0.1:1/can0"},
       1,
       "zemo-terminal: socketcand:127.0.0.1:1/can0: Connection refused\n"},
      {{"--can0", "local:a", "--store", "/nonexistent/v"},
       1,
       "zemo-terminal: /nonexistent/v: No such file or directory\n"},
      {{"--can0", "local:a", "--log", "/tmp"}, 1, "zemo-terminal: /tmp: Is a directory\n"},
      {{"--can0", "local:a", "--log", "/dev/full", "--seconds", "1"},
       1,
       "zemo-terminal: /dev/full: not all frames could be written\n"},
  };
  for (const WrongUse_s& row : rows) {
    std::vector<std::string> arguments = {terminal};
    arguments.insert(arguments.end(), row.options.begin(), row.options.end());
    const Ending_s ending = runProgram(arguments);
    EXPECT_EQ(ending.exitStatus, row.exitStatus) << row.error;
    EXPECT_EQ(ending.standardError, row.error);
  }
}

TEST(TerminalProgram, ExplainsItsOptions) {
  const Ending_s ending = runProgram({terminal, "--help"});
  EXPECT_EQ(ending.exitStatus, 0);
  EXPECT_EQ(ending.standardError, "");
  for (const char* option : {"--can0 BUS", "--address N", "--version N", "--graphic N", "--memory BYTES",
                             "--store FOLDER", "--quiet", "--capture FILE", "--log FILE", "--seconds N", "--help"}) {
    EXPECT_NE(ending.standardOutput.find(option), std::string::npos) << option;
  }
}

} // namespace
