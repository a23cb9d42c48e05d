#include "BusServerProcess.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace TestSupport {

using IsoBusHost::FileDescriptor_c;

namespace {

constexpr int longestWaitSeconds = 20;

struct Pipe_s {
  FileDescriptor_c readEnd;
  FileDescriptor_c writeEnd;

  Pipe_s() {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
      throw std::runtime_error("no pipe");
    }
    readEnd = FileDescriptor_c(ends[0]);
    writeEnd = FileDescriptor_c(ends[1]);
  }
};

// readSome: gives an empty text at the end, and when nothing comes for too long.
std::string readSome(int descriptor) {
  pollfd waiting = {descriptor, POLLIN, 0};
  std::array<char, 65536> bytes;
  if (poll(&waiting, 1, longestWaitSeconds * 1000) <= 0) {
    ADD_FAILURE() << "nothing has come";
    return {};
  }
  const ssize_t size = read(descriptor, bytes.data(), bytes.size());
  return size <= 0 ? std::string() : std::string(bytes.data(), static_cast<size_t>(size));
}

std::string readLine(int descriptor) {
  std::string line;
  char byte = 0;
  while (line.size() < 1000 && read(descriptor, &byte, 1) == 1 && byte != '\n') {
    line += byte;
  }
  return line;
}

std::string readAll(int descriptor) {
  std::string text;
  for (std::string some = readSome(descriptor); !some.empty(); some = readSome(descriptor)) {
    text += some;
  }
  return text;
}

void limitDescriptors(unsigned int most) {
  if (most != 0) {
    const rlimit limit = {most, most};
    setrlimit(RLIMIT_NOFILE, &limit);
  }
}

} // namespace

std::string busServerProgram() {
  return ZEMO_BINARY_DIR "/tools/zemo-bus-server";
}

BusServerProcess_c::BusServerProcess_c(const std::vector<std::string>& options, unsigned int mostDescriptors) {
  const std::string program = busServerProgram();
  std::vector<const char*> arguments = {program.c_str(), "--port", "0"};
  for (const std::string& option : options) {
    arguments.push_back(option.c_str());
  }
  arguments.push_back(nullptr);
  Pipe_s output;
  Pipe_s error;
  m_process = fork();
  if (m_process == 0) {
    dup2(output.writeEnd.get(), STDOUT_FILENO);
    dup2(error.writeEnd.get(), STDERR_FILENO);
    for (int descriptor = STDERR_FILENO + 1; descriptor < 64; ++descriptor) {
      ::close(descriptor);
    }
    limitDescriptors(mostDescriptors);
    execv(program.c_str(), const_cast<char* const*>(arguments.data()));
    _exit(127);
  }
  m_output = std::move(output.readEnd);
  m_error = std::move(error.readEnd);
  output.writeEnd.close();
  const std::string line = readLine(m_output.get());
  const std::string beginning = "listening on 127.0.0.1:";
  EXPECT_EQ(line.substr(0, beginning.size()), beginning);
  m_port = static_cast<uint16_t>(std::atoi(line.substr(std::min(line.size(), beginning.size())).c_str()));
}

BusServerProcess_c::~BusServerProcess_c() {
  if (m_process > 0) {
    kill(m_process, SIGKILL);
    waitpid(m_process, nullptr, 0);
  }
}

std::string BusServerProcess_c::address(const std::string& bus) const {
  return "socketcand:127.0.0.1:" + std::to_string(m_port) + '/' + bus;
}

void BusServerProcess_c::freeze() const {
  kill(m_process, SIGSTOP);
}

BusServerProcess_c::End_s BusServerProcess_c::stop(int signal) {
  End_s end;
  kill(m_process, signal);
  end.summary = readAll(m_output.get());
  end.standardError = readAll(m_error.get());
  int status = 0;
  waitpid(m_process, &status, 0);
  m_process = -1;
  end.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return end;
}

SocketClient_c::SocketClient_c(uint16_t port) : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  const int on = 1;
  const timeval longest = {longestWaitSeconds, 0};
  setsockopt(m_socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  setsockopt(m_socket.get(), SOL_SOCKET, SO_SNDTIMEO, &longest, sizeof longest);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  if (connect(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw std::runtime_error("no connection to the bus server");
  }
}

bool SocketClient_c::say(const std::string& text) {
  size_t done = 0;
  while (done < text.size()) {
    const ssize_t size = send(m_socket.get(), text.data() + done, text.size() - done, MSG_NOSIGNAL);
    if (size < 0) {
      return false;
    }
    done += static_cast<size_t>(size);
  }
  return true;
}

std::string SocketClient_c::hear() {
  size_t end = m_heard.find('>', m_taken);
  while (end == std::string::npos) {
    const std::string some = readSome(m_socket.get());
    if (some.empty()) {
      return {};
    }
    m_heard.erase(0, m_taken);
    m_taken = 0;
    m_heard += some;
    end = m_heard.find('>');
  }
  const std::string message = m_heard.substr(m_taken, end + 1 - m_taken);
  m_taken = end + 1;
  return message;
}

std::string SocketClient_c::hearOnce() {
  return readSome(m_socket.get());
}

void SocketClient_c::join(const std::string& bus) {
  EXPECT_EQ(hear(), "< hi >");
  say("< open " + bus + " >");
  EXPECT_EQ(hear(), "< ok >");
  say("< rawmode >");
  EXPECT_EQ(hear(), "< ok >");
}

std::vector<std::string> SocketClient_c::echo() {
  std::vector<std::string> messages;
  say("< echo >");
  for (std::string message = hear(); message != "< echo >" && !message.empty(); message = hear()) {
    messages.push_back(message);
  }
  return messages;
}

void SocketClient_c::endOwnSide() {
  shutdown(m_socket.get(), SHUT_WR);
}

void SocketClient_c::reset() {
  const linger atOnce = {1, 0};
  setsockopt(m_socket.get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
  m_socket.close();
}

} // namespace TestSupport
