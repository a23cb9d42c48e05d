#include "ChildProcess.h"

#include "Journal.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <poll.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace TestSupport {

namespace {

constexpr int journalDescriptor = 100;

struct Pipe_s {
  int readEnd = -1;
  int writeEnd = -1;

  Pipe_s() {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
      throw std::runtime_error("no pipe");
    }
    readEnd = ends[0];
    writeEnd = ends[1];
  }
};

void writeAll(int descriptor, const char* text, std::size_t size) {
  std::size_t written = 0;
  while (written < size) {
    const ssize_t count = write(descriptor, text + written, size - written);
    if (count <= 0) {
      return;
    }
    written += static_cast<std::size_t>(count);
  }
}

// Without any memory of its own: it also runs while a signal is handled.
void leaveJournal() {
  for (const std::string& entry : IsoBusHost::Journal::entries()) {
    writeAll(journalDescriptor, entry.data(), entry.size());
    writeAll(journalDescriptor, "\n", 1);
  }
}

// abort() comes through here before it ends the process.
extern "C" void leaveJournalOnAbort(int) {
  leaveJournal();
}

// Takes from all pipes at once, so that a child never waits for a reader.
void readAll(const std::vector<std::pair<int, std::string*>>& sources) {
  std::vector<pollfd> descriptors;
  for (const auto& source : sources) {
    descriptors.push_back({source.first, POLLIN, 0});
  }
  std::size_t open = sources.size();
  while (open > 0) {
    poll(descriptors.data(), descriptors.size(), -1);
    for (std::size_t index = 0; index < sources.size(); ++index) {
      if (descriptors[index].revents == 0) {
        continue;
      }
      std::array<char, 4096> buffer{};
      const ssize_t count = read(sources[index].first, buffer.data(), buffer.size());
      if (count > 0) {
        sources[index].second->append(buffer.data(), static_cast<std::size_t>(count));
        continue;
      }
      close(sources[index].first);
      descriptors[index].fd = -1;
      descriptors[index].revents = 0;
      --open;
    }
  }
}

void waitFor(pid_t child, Ending_s& ending) {
  int status = 0;
  if (waitpid(child, &status, 0) != child) {
    throw std::runtime_error("no child to wait for");
  }
  if (WIFSIGNALED(status)) {
    ending.signal = WTERMSIG(status);
  } else {
    ending.exitStatus = WEXITSTATUS(status);
  }
}

[[noreturn]] void runAndLeave(const std::function<void()>& function) {
  setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
  std::signal(SIGABRT, leaveJournalOnAbort);
  int status = 0;
  try {
    function();
  } catch (...) {
    status = uncaughtException;
  }
  std::cout.flush();
  std::fflush(nullptr);
  leaveJournal();
  _exit(status);
}

} // namespace

Ending_s runInChild(const std::function<void()>& function) {
  std::cout.flush();
  std::fflush(nullptr);
  const Pipe_s output;
  const Pipe_s error;
  const Pipe_s journal;
  const pid_t child = fork();
  if (child < 0) {
    throw std::runtime_error("no child process");
  }
  if (child == 0) {
    dup2(output.writeEnd, STDOUT_FILENO);
    dup2(error.writeEnd, STDERR_FILENO);
    dup2(journal.writeEnd, journalDescriptor);
    for (const Pipe_s& pipe : {output, error, journal}) {
      close(pipe.readEnd);
      close(pipe.writeEnd);
    }
    runAndLeave(function);
  }
  for (const Pipe_s& pipe : {output, error, journal}) {
    close(pipe.writeEnd);
  }
  Ending_s ending;
  readAll({{output.readEnd, &ending.standardOutput},
           {error.readEnd, &ending.standardError},
           {journal.readEnd, &ending.journal}});
  waitFor(child, ending);
  return ending;
}

Ending_s runProgram(const std::vector<std::string>& arguments, const std::string& standardInput) {
  std::vector<char*> argumentList;
  std::vector<std::string> copies = arguments;
  for (std::string& argument : copies) {
    argumentList.push_back(argument.data());
  }
  argumentList.push_back(nullptr);
  return runInChild([&argumentList, &standardInput] {
    // Short enough for the pipe to hold it whole.
    const Pipe_s input;
    writeAll(input.writeEnd, standardInput.data(), standardInput.size());
    close(input.writeEnd);
    dup2(input.readEnd, STDIN_FILENO);
    close(input.readEnd);
    close(journalDescriptor);
    std::signal(SIGABRT, SIG_DFL);
    execvp(argumentList[0], argumentList.data());
    _exit(127);
  });
}

} // namespace TestSupport
