#include "StartedProgram.h"

#include "Board.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace Board {

namespace {

std::array<int, 2> makePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipe");
  }
  return ends;
}

[[noreturn]] void become(const std::vector<std::string>& arguments, int output, int error) {
  std::vector<std::string> copies = arguments;
  std::vector<char*> list;
  for (std::string& argument : copies) {
    list.push_back(argument.data());
  }
  list.push_back(nullptr);
  dup2(output, STDOUT_FILENO);
  dup2(error, STDERR_FILENO);
  execv(list[0], list.data());
  _exit(127);
}

} // namespace

std::string boardProgram() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path().string() + "/zemo_board_program";
}

StartedProgram_c::StartedProgram_c(const std::vector<std::string>& arguments) {
  const std::array<int, 2> output = makePipe();
  const std::array<int, 2> error = makePipe();
  m_process = fork();
  if (m_process < 0) {
    throw std::runtime_error("no child process");
  }
  if (m_process == 0) {
    become(arguments, output[1], error[1]);
  }
  close(output[1]);
  close(error[1]);
  m_output = output[0];
  m_error = error[0];
  for (const int descriptor : {m_output, m_error}) {
    fcntl(descriptor, F_SETFL, O_NONBLOCK);
  }
}

StartedProgram_c::~StartedProgram_c() {
  if (isRunning()) {
    kill(m_process, SIGKILL);
    waitUntil([this] { return hasEnded(); });
  }
  for (const int descriptor : {m_output, m_error}) {
    if (descriptor >= 0) {
      close(descriptor);
    }
  }
}

void StartedProgram_c::read(int& descriptor, std::string& text) {
  std::array<char, 4096> buffer{};
  ssize_t count = 0;
  while (descriptor >= 0 && (count = ::read(descriptor, buffer.data(), buffer.size())) > 0) {
    text.append(buffer.data(), static_cast<std::size_t>(count));
  }
  if (descriptor >= 0 && count == 0) {
    close(descriptor);
    descriptor = -1;
  }
}

bool StartedProgram_c::hasEnded() {
  int status = 0;
  if (m_bEnded || waitpid(m_process, &status, WNOHANG) != m_process) {
    return m_bEnded;
  }
  m_bEnded = true;
  if (WIFSIGNALED(status)) {
    m_ending.signal = WTERMSIG(status);
  } else {
    m_ending.exitStatus = WEXITSTATUS(status);
  }
  return true;
}

bool StartedProgram_c::isRunning() {
  return !hasEnded();
}

void StartedProgram_c::waitForOutput(const std::string& text) {
  const bool hasCome = waitUntil([this, &text] {
    read(m_output, m_ending.standardOutput);
    return m_output < 0 || m_ending.standardOutput.find(text) != std::string::npos;
  });
  if (!hasCome || m_ending.standardOutput.find(text) == std::string::npos) {
    throw std::runtime_error("\"" + text + "\" did not come, but \"" + m_ending.standardOutput + "\"");
  }
}

void StartedProgram_c::signalBy(int sig) const {
  const std::vector<std::string> command = {"/bin/kill", "-" + std::to_string(sig), std::to_string(m_process)};
  if (TestSupport::runProgram(command).exitStatus != 0) {
    throw std::runtime_error("the signal cannot be sent");
  }
}

bool StartedProgram_c::isWaitingToWrite() const {
  std::ifstream place("/proc/" + std::to_string(m_process) + "/wchan");
  std::string function;
  place >> function;
  return function.find("pipe_write") != std::string::npos;
}

TestSupport::Ending_s StartedProgram_c::finish() {
  waitUntil([this] {
    read(m_output, m_ending.standardOutput);
    read(m_error, m_ending.standardError);
    return m_output < 0 && m_error < 0 && hasEnded();
  });
  if (!hasEnded()) {
    throw std::runtime_error("the program does not end; it said \"" + m_ending.standardOutput + "\"");
  }
  return m_ending;
}

} // namespace Board
