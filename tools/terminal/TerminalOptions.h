// The command line of zemo-terminal.
#pragma once

#include "Terminal.h"
#include "desk/DeskOptions.h"

#include <optional>
#include <string>

struct TerminalOptions_s {
  DeskOptions_s desk;
  TerminalSettings_s settings;
  std::string versionFolder;
  bool quiet = false;
};

// parseTerminalOptions: reads the command line, as parseDeskOptions does.
std::optional<int> parseTerminalOptions(int argc, char** argv, TerminalOptions_s& options);
