#include "TerminalOptions.h"

#include "CanTransport.h"

#include <cstdio>
#include <cstring>
#include <getopt.h>

namespace {

constexpr int usageError = 2;
constexpr unsigned long mostMemory = 100000000;

constexpr const char* helpText = "zemo-terminal: a virtual terminal on the bus, without a picture. It prints what its "
                                 "clients change, one line each,\n"
                                 "and takes lines on standard input for what an operator does; the line 'help' lists "
                                 "them. SIGINT or SIGTERM ends it.\n"
                                 "\n"
                                 "Usage: zemo-terminal [options]\n"
                                 "\n"
                                 "  --bus BUS           local[:NAME], socketcan:IFACE or socketcand:HOST:PORT/BUS\n"
                                 "                      (default: the environment variable ZEMO_CAN0)\n"
                                 "  --address N         preferred address (default 38)\n"
                                 "  --version N         version of ISO 11783-6: 2, 3 or 4 (default 4)\n"
                                 "  --graphic N         0 black and white, 1 16 colours, 2 256 colours (default 2)\n"
                                 "  --memory BYTES      for the pools of all clients (default 4000000)\n"
                                 "  --store FOLDER      keep stored versions in files there (default: in memory)\n"
                                 "  --quiet             print no changes\n"
                                 "  --capture FILE      write the frames to a pcap file, for Wireshark\n"
                                 "  --log FILE          write the frames to a log file in candump's format\n"
                                 "  --seconds N         end after N seconds\n"
                                 "  --help              this text\n";

enum OptionCode_e { bus = 1, address, version, graphic, memory, store, quiet, capture, logFile, seconds, help };

constexpr option knownOptions[] = {{"bus", required_argument, nullptr, bus},
                                   {"address", required_argument, nullptr, address},
                                   {"version", required_argument, nullptr, version},
                                   {"graphic", required_argument, nullptr, graphic},
                                   {"memory", required_argument, nullptr, memory},
                                   {"store", required_argument, nullptr, store},
                                   {"quiet", no_argument, nullptr, quiet},
                                   {"capture", required_argument, nullptr, capture},
                                   {"log", required_argument, nullptr, logFile},
                                   {"seconds", required_argument, nullptr, seconds},
                                   {"help", no_argument, nullptr, help},
                                   {nullptr, 0, nullptr, 0}};

std::optional<int> refuse(const std::string& what) {
  std::fprintf(stderr, "zemo-terminal: %s\n", what.c_str());
  return usageError;
}

template <typename Number_c>
std::optional<int> takeNumber(const char* name, unsigned long smallest, unsigned long largest, Number_c& number) {
  constexpr std::size_t mostDigits = 9;
  const std::size_t digits = std::strspn(optarg, "0123456789");
  const bool isNumber = digits != 0 && digits <= mostDigits && optarg[digits] == '\0';
  const unsigned long value = isNumber ? std::stoul(optarg) : 0;
  if (!isNumber || value < smallest || value > largest) {
    return refuse(std::string(name) + ": '" + optarg + "' is no whole number from " + std::to_string(smallest) +
                  " to " + std::to_string(largest));
  }
  number = static_cast<Number_c>(value);
  return std::nullopt;
}

std::optional<int> takeBus(TerminalOptions_s& options) {
  const std::string error = IsoBusHost::checkTransportAddress(optarg);
  if (!error.empty()) {
    return refuse("--bus: " + error);
  }
  options.bus = optarg;
  return std::nullopt;
}

std::optional<int> takeOption(int code, TerminalOptions_s& options) {
  constexpr unsigned long day = 86400;
  switch (code) {
  case bus:
    return takeBus(options);
  case address:
    return takeNumber("--address", 0, IsoBusHost::maxAddress, options.settings.preferredAddress);
  case version:
    return takeNumber("--version", 2, 4, options.settings.version);
  case graphic:
    return takeNumber("--graphic", 0, 2, options.settings.graphic);
  case memory:
    return takeNumber("--memory", 0, mostMemory, options.settings.memoryBytes);
  case store:
    options.versionFolder = optarg;
    return std::nullopt;
  case quiet:
    options.quiet = true;
    return std::nullopt;
  case capture:
    options.captureFile = optarg;
    return std::nullopt;
  case logFile:
    options.logFile = optarg;
    return std::nullopt;
  case seconds:
    return takeNumber("--seconds", 1, day, options.seconds);
  case help:
    std::fputs(helpText, stdout);
    return 0;
  default:
    // getopt has named the option already.
    return usageError;
  }
}

} // namespace

std::optional<int> parseTerminalOptions(int argc, char** argv, TerminalOptions_s& options) {
  for (int code = getopt_long(argc, argv, "", knownOptions, nullptr); code != -1;
       code = getopt_long(argc, argv, "", knownOptions, nullptr)) {
    if (const auto exitStatus = takeOption(code, options)) {
      return exitStatus;
    }
  }
  if (optind < argc) {
    return refuse(std::string("'") + argv[optind] + "' is no option; --help lists them");
  }
  return std::nullopt;
}
