// The command line of the bus server.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

struct ServerOptions_s {
  unsigned int buses = 2;
  uint16_t port = 29536; // 0: any free port
  std::string captureFile;
  unsigned int captureBus = 0;
  std::string logFile;
};

// parseServerOptions: reads the command line.
//
//   Gives    the exit status where the program shall end at once: 0 after --help, 2 after an error; empty to go on
//   Effects  the help goes to standard output; an error is one line on standard error that names the option
std::optional<int> parseServerOptions(int argc, char** argv, ServerOptions_s& options);
