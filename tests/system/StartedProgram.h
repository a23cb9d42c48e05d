// A program that is running while the test goes on.
#pragma once

#include "ChildProcess.h"

#include <string>
#include <sys/types.h>
#include <vector>

namespace Board {

// boardProgram: the path of the program with the library at work, which lies beside this one.
std::string boardProgram();

class StartedProgram_c {
public:
  // Fails    throws
  explicit StartedProgram_c(const std::vector<std::string>& arguments);
  // Kills it where it is still running.
  ~StartedProgram_c();
  StartedProgram_c(const StartedProgram_c&) = delete;
  StartedProgram_c& operator=(const StartedProgram_c&) = delete;

  // waitForOutput: until its standard output holds the text; throws where it ends without, or after 20 s.
  void waitForOutput(const std::string& text);

  // signalBy: a third process sends the signal.
  void signalBy(int sig) const;

  bool isRunning();

  // isWaitingToWrite: whether it stands still because nobody reads what it writes.
  bool isWaitingToWrite() const;

  // finish: how it ended, with everything that it has written; waits for the end, 20 s at the longest.
  TestSupport::Ending_s finish();

private:
  void read(int& descriptor, std::string& text);
  bool hasEnded();

  pid_t m_process = -1;
  int m_output = -1;
  int m_error = -1;
  bool m_bEnded = false;
  TestSupport::Ending_s m_ending;
};

} // namespace Board
