#include "TransportAddress.h"

#include <algorithm>
#include <net/if.h>

namespace IsoBusHost {

namespace {

constexpr size_t longestName = 64;
constexpr size_t longestHost = 253; // RFC 1035
constexpr unsigned int highestPort = 65535;

bool isOneOf(char character, const char* others) {
  return std::string(others).find(character) != std::string::npos;
}

bool isNameCharacter(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         (character >= '0' && character <= '9') || isOneOf(character, "_-.");
}

bool isName(const std::string& text, size_t longest) {
  return !text.empty() && text.size() <= longest && std::all_of(text.begin(), text.end(), isNameCharacter);
}

bool isHost(const std::string& text) {
  return !text.empty() && text.size() <= longestHost && std::all_of(text.begin(), text.end(), [](char character) {
    return isNameCharacter(character) || isOneOf(character, ":%");
  });
}

bool isPort(const std::string& text) {
  if (text.empty() || text.size() > 5 || text.find_first_not_of("0123456789") != std::string::npos) {
    return false;
  }
  const unsigned long value = std::stoul(text);
  return value >= 1 && value <= highestPort;
}

// quoted: the text as it may stand in one line of an error.
std::string quoted(const std::string& text) {
  constexpr size_t longest = 100;
  std::string shown = text.substr(0, longest);
  std::replace_if(
      shown.begin(), shown.end(), [](char character) { return character < ' ' || character > '~'; }, '?');
  return '"' + shown + (text.size() > longest ? "..." : "") + '"';
}

// takePrefix: cuts the prefix off where the text starts with it.
bool takePrefix(std::string& text, const std::string& prefix) {
  if (text.compare(0, prefix.size(), prefix) != 0) {
    return false;
  }
  text.erase(0, prefix.size());
  return true;
}

std::string readSocketCan(const std::string& interfaceName, TransportAddress_s& address) {
  address.kind = TransportKind_e::socketCan;
  address.bus = interfaceName;
  if (interfaceName.size() >= IFNAMSIZ) {
    return "an interface name has at most " + std::to_string(IFNAMSIZ - 1) + " characters";
  }
  return isName(interfaceName, IFNAMSIZ - 1) ? "" : "expected socketcan:IFACE";
}

std::string readSocketcand(const std::string& rest, TransportAddress_s& address) {
  constexpr const char* expected = "expected socketcand:HOST:PORT/BUS";
  address.kind = TransportKind_e::socketcand;
  const size_t slash = rest.find('/');
  const size_t colon = rest.substr(0, slash).rfind(':');
  if (slash == std::string::npos || colon == std::string::npos) {
    return expected;
  }
  address.host = rest.substr(0, colon);
  address.port = rest.substr(colon + 1, slash - colon - 1);
  address.bus = rest.substr(slash + 1);
  const bool inBrackets = address.host.size() > 2 && address.host.front() == '[' && address.host.back() == ']';
  if (inBrackets) {
    address.host = address.host.substr(1, address.host.size() - 2);
  } else if (address.host.find(':') != std::string::npos) {
    return "an IPv6 address stands in brackets, socketcand:[::1]:29536/can0 for example";
  }
  if (!isPort(address.port)) {
    return "the port is a number from 1 to 65535";
  }
  return isHost(address.host) && isName(address.bus, longestName) ? "" : expected;
}

std::string readAddress(std::string text, TransportAddress_s& address) {
  address = TransportAddress_s{};
  if (text == "local") {
    return "";
  }
  if (takePrefix(text, "local:")) {
    address.bus = text;
    return isName(text, longestName) ? "" : "expected local:NAME";
  }
  if (takePrefix(text, "socketcan:")) {
    return readSocketCan(text, address);
  }
  if (takePrefix(text, "socketcand:")) {
    return readSocketcand(text, address);
  }
  return "expected local, local:NAME, socketcan:IFACE or socketcand:HOST:PORT/BUS";
}

} // namespace

std::string parseTransportAddress(const std::string& text, TransportAddress_s& address) {
  const std::string problem = readAddress(text, address);
  return problem.empty() ? "" : "bus address " + quoted(text) + ": " + problem;
}

} // namespace IsoBusHost
