#include "DeskOptions.h"

#include "CanTransport.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <getopt.h>
#include <vector>

namespace {

constexpr int usageError = 2;
constexpr int longestSeconds = 86400;

enum OptionCode_e { can0 = 1, can1, kind, proprietary, values, capture, logFile, seconds, help, firstOwn = 100 };

void printHelp(const DeskProgram_s& program) {
  std::printf("%s: %s\n\nUsage: %s [options]\n\n", program.name, program.purpose, program.name);
  // Alone on a bus inside the process a tool would find nobody, so that it asks which bus.
  std::printf("  --can0 BUS        ISOBUS: local[:NAME], socketcan:IFACE or socketcand:HOST:PORT/BUS\n"
              "                    (default: the environment variable ZEMO_CAN0%s)\n",
              program.isApplication ? ", else a bus inside the process" : "");
  if (program.isApplication) {
    std::printf("  --can1 BUS        chassis or proprietary bus, likewise (ZEMO_CAN1)\n");
    if (!program.isOfOneKind) {
      std::printf("  --kind N          application kind: 0 plain, 1 VT server, 2 and 3 VT client (default 2)\n");
    }
    std::printf(
        "  --proprietary     run bus 1 as a proprietary bus\n"
        "  --values FILE     console values, a JSON file (default: ZEMO_CONSOLE_VALUES, else built-in values)\n");
  }
  for (const DeskOption_s& own : program.own) {
    const std::string form = std::string(own.name) + (own.argument == nullptr ? "" : std::string(" ") + own.argument);
    std::printf("  --%-16s%s\n", form.c_str(), own.help);
  }
  std::printf("  --capture FILE    write the frames of the ISOBUS to a pcap file, for Wireshark\n"
              "  --log FILE        write all frames to a log file in candump's format\n"
              "  --seconds N       end after N seconds\n"
              "  --help            this text\n");
}

bool readInteger(const char* text, int smallest, int largest, int& value) {
  char* end = nullptr;
  errno = 0;
  const long number = std::strtol(text, &end, 10);
  if (errno != 0 || end == text || *end != '\0' || number < smallest || number > largest) {
    return false;
  }
  value = static_cast<int>(number);
  return true;
}

std::optional<int> refuse(const DeskProgram_s& program, const std::string& what) {
  std::fprintf(stderr, "%s: %s\n", program.name, what.c_str());
  return usageError;
}

std::optional<int> takeBus(const DeskProgram_s& program, const char* option, const char* address, std::string& bus) {
  const std::string error = IsoBusHost::checkTransportAddress(address);
  if (!error.empty()) {
    return refuse(program, std::string(option) + ": " + error);
  }
  bus = address;
  return std::nullopt;
}

std::optional<int> takeOwn(const DeskProgram_s& program, const DeskOption_s& own) {
  const std::string error = own.take(optarg);
  if (!error.empty()) {
    return refuse(program, std::string("--") + own.name + ": " + error);
  }
  return std::nullopt;
}

std::optional<int> takeOption(int code, const DeskProgram_s& program, DeskOptions_s& options) {
  if (code >= firstOwn) {
    return takeOwn(program, program.own[static_cast<std::size_t>(code - firstOwn)]);
  }
  switch (code) {
  case can0:
    return takeBus(program, "--can0", optarg, options.can0);
  case can1:
    return takeBus(program, "--can1", optarg, options.can1);
  case kind:
    if (!readInteger(optarg, INT_MIN, INT_MAX, options.applicationKind)) {
      return refuse(program, std::string("--kind: '") + optarg + "' is no whole number");
    }
    return std::nullopt;
  case proprietary:
    options.useProprietaryBus = true;
    return std::nullopt;
  case values:
    options.valuesFile = optarg;
    return std::nullopt;
  case capture:
    options.captureFile = optarg;
    return std::nullopt;
  case logFile:
    options.logFile = optarg;
    return std::nullopt;
  case seconds:
    if (!readInteger(optarg, 1, longestSeconds, options.seconds)) {
      return refuse(program, std::string("--seconds: '") + optarg + "' is no whole number from 1 to " +
                                 std::to_string(longestSeconds));
    }
    return std::nullopt;
  case help:
    printHelp(program);
    return 0;
  default:
    // getopt has named the option already.
    return usageError;
  }
}

std::vector<option> knownOptions(const DeskProgram_s& program) {
  std::vector<option> known = {{"can0", required_argument, nullptr, can0},
                               {"capture", required_argument, nullptr, capture},
                               {"log", required_argument, nullptr, logFile},
                               {"seconds", required_argument, nullptr, seconds},
                               {"help", no_argument, nullptr, help}};
  if (program.isApplication) {
    known.push_back({"can1", required_argument, nullptr, can1});
    if (!program.isOfOneKind) {
      known.push_back({"kind", required_argument, nullptr, kind});
    }
    known.push_back({"proprietary", no_argument, nullptr, proprietary});
    known.push_back({"values", required_argument, nullptr, values});
  }
  int code = firstOwn;
  for (const DeskOption_s& own : program.own) {
    known.push_back({own.name, own.argument == nullptr ? no_argument : required_argument, nullptr, code++});
  }
  known.push_back({nullptr, 0, nullptr, 0});
  return known;
}

} // namespace

std::optional<int> parseDeskOptions(int argc, char** argv, const DeskProgram_s& program, DeskOptions_s& options) {
  const std::vector<option> known = knownOptions(program);
  for (int code = getopt_long(argc, argv, "", known.data(), nullptr); code != -1;
       code = getopt_long(argc, argv, "", known.data(), nullptr)) {
    if (const std::optional<int> exitStatus = takeOption(code, program, options)) {
      return exitStatus;
    }
  }
  if (optind < argc) {
    return refuse(program, std::string("'") + argv[optind] + "' is no option; --help lists them");
  }
  return std::nullopt;
}

std::string toolBus(const DeskOptions_s& options) {
  if (!options.can0.empty()) {
    return options.can0;
  }
  const char* fromEnvironment = std::getenv("ZEMO_CAN0");
  return fromEnvironment == nullptr ? "" : fromEnvironment;
}
