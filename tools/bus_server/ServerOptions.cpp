#include "ServerOptions.h"

#include "ClientSession.h"

#include <cstdio>
#include <cstring>
#include <getopt.h>

namespace {

constexpr int usageError = 2;
constexpr unsigned int mostBuses = 32;
constexpr unsigned int highestPort = 65535;

constexpr const char* helpText =
    "zemo-bus-server: virtual CAN buses for several programs, through the raw mode of the socketcand protocol.\n"
    "It listens on 127.0.0.1 only. SIGINT or SIGTERM ends it.\n"
    "\n"
    "Usage: zemo-bus-server [options]\n"
    "\n"
    "  --buses N           number of buses, can0 and up (default 2, at most 32)\n"
    "  --port P            TCP port (default 29536; 0: any free port)\n"
    "  --capture FILE      write the frames of one bus to a pcap file, for Wireshark\n"
    "  --capture-bus BUS   which one (default can0)\n"
    "  --log FILE          write the frames of all buses to a log file in candump's format\n"
    "  --help              this text\n";

enum OptionCode_e { buses = 1, port, capture, captureBus, logFile, help };

constexpr option knownOptions[] = {{"buses", required_argument, nullptr, buses},
                                   {"port", required_argument, nullptr, port},
                                   {"capture", required_argument, nullptr, capture},
                                   {"capture-bus", required_argument, nullptr, captureBus},
                                   {"log", required_argument, nullptr, logFile},
                                   {"help", no_argument, nullptr, help},
                                   {nullptr, 0, nullptr, 0}};

std::optional<int> refuse(const std::string& what) {
  std::fprintf(stderr, "zemo-bus-server: %s\n", what.c_str());
  return usageError;
}

std::optional<unsigned int> readNumber(const char* text, unsigned int smallest, unsigned int largest) {
  constexpr size_t mostDigits = 6;
  const size_t digits = std::strspn(text, "0123456789");
  if (digits == 0 || digits > mostDigits || text[digits] != '\0') {
    return std::nullopt;
  }
  const auto number = static_cast<unsigned int>(std::stoul(text));
  return number >= smallest && number <= largest ? std::optional<unsigned int>(number) : std::nullopt;
}

std::optional<int> takePort(ServerOptions_s& options) {
  const auto number = readNumber(optarg, 0, highestPort);
  if (!number) {
    return refuse(std::string("--port: '") + optarg + "' is no whole number from 0 to 65535");
  }
  options.port = static_cast<uint16_t>(*number);
  return std::nullopt;
}

std::optional<int> takeBuses(ServerOptions_s& options) {
  const auto number = readNumber(optarg, 1, mostBuses);
  if (!number) {
    return refuse(std::string("--buses: '") + optarg + "' is no whole number from 1 to 32");
  }
  options.buses = *number;
  return std::nullopt;
}

std::optional<int> takeOption(int code, ServerOptions_s& options, std::string& captureBusName) {
  switch (code) {
  case buses:
    return takeBuses(options);
  case port:
    return takePort(options);
  case capture:
    options.captureFile = optarg;
    return std::nullopt;
  case captureBus:
    captureBusName = optarg;
    return std::nullopt;
  case logFile:
    options.logFile = optarg;
    return std::nullopt;
  case help:
    std::fputs(helpText, stdout);
    return 0;
  default:
    // getopt has named the option already.
    return usageError;
  }
}

// takeCaptureBus: comes after all options, as the number of buses may stand behind the name of one.
std::optional<int> takeCaptureBus(const std::string& name, ServerOptions_s& options) {
  if (name.empty()) {
    return std::nullopt;
  }
  const auto bus = busNumber(name, options.buses);
  if (!bus) {
    return refuse("--capture-bus: there is no bus '" + name + "'");
  }
  if (options.captureFile.empty()) {
    return refuse("--capture-bus: goes with --capture only");
  }
  options.captureBus = *bus;
  return std::nullopt;
}

} // namespace

std::optional<int> parseServerOptions(int argc, char** argv, ServerOptions_s& options) {
  std::string captureBusName;
  for (int code = getopt_long(argc, argv, "", knownOptions, nullptr); code != -1;
       code = getopt_long(argc, argv, "", knownOptions, nullptr)) {
    if (const auto exitStatus = takeOption(code, options, captureBusName)) {
      return exitStatus;
    }
  }
  if (optind < argc) {
    return refuse(std::string("'") + argv[optind] + "' is no option; --help lists them");
  }
  return takeCaptureBus(captureBusName, options);
}
