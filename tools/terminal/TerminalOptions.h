// The command line of zemo-terminal.
#pragma once

#include "Terminal.h"

#include <optional>
#include <string>

struct TerminalOptions_s {
  TerminalSettings_s settings;
  std::string bus; // empty: the environment variable ZEMO_CAN0
  std::string versionFolder;
  std::string captureFile;
  std::string logFile;
  bool quiet = false;
  int seconds = 0; // 0: without an end
};

// parseTerminalOptions: reads the command line.
//
//   Gives    the exit status where the program shall end at once: 0 after --help, 2 after an error; empty to go on
//   Effects  the help goes to standard output; an error is one line on standard error that names the option
std::optional<int> parseTerminalOptions(int argc, char** argv, TerminalOptions_s& options);
