#include "TerminalOptions.h"

#include <cstring>

namespace {

constexpr unsigned long mostMemory = 100000000;

constexpr const char* purpose = "a virtual terminal on the bus, without a picture. It prints what its clients change,\n"
                                "one line each, and takes lines on standard input for what an operator does; the line\n"
                                "'help' lists them. SIGINT or SIGTERM ends it";

template <typename Number_c>
std::string takeNumber(const char* text, unsigned long smallest, unsigned long largest, Number_c& number) {
  constexpr std::size_t mostDigits = 9;
  const std::size_t digits = std::strspn(text, "0123456789");
  const bool isNumber = digits != 0 && digits <= mostDigits && text[digits] == '\0';
  const unsigned long value = isNumber ? std::stoul(text) : 0;
  if (!isNumber || value < smallest || value > largest) {
    return std::string("'") + text + "' is no whole number from " + std::to_string(smallest) + " to " +
           std::to_string(largest);
  }
  number = static_cast<Number_c>(value);
  return "";
}

template <typename Number_c>
DeskOption_s numberOption(const char* name, const char* argument, const char* help, unsigned long smallest,
                          unsigned long largest, Number_c& number) {
  return {name, argument, help,
          [smallest, largest, &number](const char* text) { return takeNumber(text, smallest, largest, number); }};
}

std::vector<DeskOption_s> ownOptions(TerminalOptions_s& options) {
  TerminalSettings_s& settings = options.settings;
  return {numberOption("address", "N", "preferred address (default 38)", 0, IsoBusHost::maxAddress,
                       settings.preferredAddress),
          numberOption("version", "N", "version of ISO 11783-6: 2, 3 or 4 (default 4)", 2, 4, settings.version),
          numberOption("graphic", "N", "0 black and white, 1 16 colours, 2 256 colours (default 2)", 0, 2,
                       settings.graphic),
          numberOption("memory", "BYTES", "for the pools of all clients (default 4000000)", 0, mostMemory,
                       settings.memoryBytes),
          {"store", "FOLDER", "keep stored versions in files there (default: in memory)",
           [&options](const char* folder) {
             options.versionFolder = folder;
             return std::string();
           }},
          {"quiet", nullptr, "print no changes", [&options](const char* /*none*/) {
             options.quiet = true;
             return std::string();
           }}};
}

} // namespace

std::optional<int> parseTerminalOptions(int argc, char** argv, TerminalOptions_s& options) {
  return parseDeskOptions(argc, argv, {"zemo-terminal", purpose, false, ownOptions(options)}, options.desk);
}
