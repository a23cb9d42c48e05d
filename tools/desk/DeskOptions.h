// The options that the programs for the desk have in common.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

struct DeskOptions_s {
  std::string can0; // transport of physical bus 0 and 1, empty: environment or the bus inside the process
  std::string can1;
  int applicationKind = 2;
  bool useProprietaryBus = false;
  std::string valuesFile;
  std::string captureFile;
  std::string logFile;
  int seconds = 0; // 0: the program's own end
};

// DeskOption_s: an option that one program has for itself.
struct DeskOption_s {
  const char* name;                             // without the dashes
  const char* argument;                         // its name in the help, null for an option without one
  const char* help;                             // one line
  std::function<std::string(const char*)> take; // told the argument; gives why it is wrong, empty when all is well
};

// DeskProgram_s: what a program says of itself in its help, and which options it takes.
struct DeskProgram_s {
  const char* name;
  const char* purpose;
  bool isApplication; // takes --can1, --kind, --proprietary and --values as well
  std::vector<DeskOption_s> own = {};
  bool isOfOneKind = false; // an application that does not take --kind
};

// parseDeskOptions: reads the command line.
//
//   Gives    the exit status where the program shall end at once: 0 after --help, 2 after an error; empty to go on
//   Effects  the help goes to standard output; an error is one line on standard error that names the option
std::optional<int> parseDeskOptions(int argc, char** argv, const DeskProgram_s& program, DeskOptions_s& options);

// toolBus: returns the bus of a tool, from the option or the environment variable ZEMO_CAN0; empty where neither names
// one, since a bus inside the process would have nobody else on it.
std::string toolBus(const DeskOptions_s& options);
constexpr const char* noToolBus = "which bus? --can0 socketcan:IFACE or --can0 socketcand:HOST:PORT/BUS";
