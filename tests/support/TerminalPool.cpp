#include "TerminalPool.h"

#include "BusText.h"

#include <cstdio>

namespace TerminalPool {

namespace {

const char* const head = "64 00 00 00 01 65 00 01 00 01 72 00 05 00 05 00 65 6E "
                         "65 00 01 01 67 00 04 01 68 00 00 00 00 00 6F 00 0A 00 14 00 70 00 0A 00 14 00 "
                         "80 00 00 00 32 00 01 05 "
                         "66 00 02 0C FF FF 01 00 01 00 6F 00 00 00 00 00 "
                         "67 00 04 0C 01 00 69 00 ";

const char* const childrenOfContainer = "6A 00 00 00 00 00 6B 00 00 00 00 00 6C 00 00 00 00 00 6D 00 00 00 00 00 "
                                        "6E 00 00 00 00 00 71 00 00 00 00 00 72 00 00 00 00 00 73 00 00 00 00 00 "
                                        "75 00 00 00 00 00 76 00 00 00 00 00 77 00 00 00 00 00 78 00 00 00 00 00 "
                                        "79 00 00 00 00 00 ";

const char* const rest = "69 00 05 0C 07 01 00 6F 00 00 00 00 00 "
                         "6A 00 06 50 00 1E 00 07 00 09 01 00 00 "
                         "6B 00 07 07 0A 00 7C 00 FF FF 00 01 00 "
                         "6C 00 0A 50 00 14 00 FF FF 00 02 01 00 6F 00 FF FF "
                         "6D 00 09 50 00 14 00 07 7C 00 00 FF FF 05 00 00 00 00 00 00 00 E8 03 00 00 00 00 00 00 "
                         "00 00 80 3F 00 00 00 01 00 "
                         "6E 00 08 50 00 14 00 07 7C 00 7F 00 00 7B 00 00 00 01 00 "
                         "6F 00 0B 50 00 14 00 07 7C 00 00 FF FF 00 05 00 48 65 6C 6C 6F 00 "
                         "70 00 0C 50 00 14 00 07 7C 00 00 7A 00 03 00 00 00 00 00 00 00 00 00 80 3F 01 00 00 00 "
                         "71 00 0D 7D 00 0A 00 0A 00 00 00 "
                         "72 00 0E 7D 00 0A 00 0A 00 00 7E 00 00 "
                         "73 00 0F 7D 00 0A 00 0A 00 00 00 B4 FF FF 00 "
                         "75 00 10 14 00 14 00 7D 00 7E 00 00 03 00 00 00 00 00 0A 00 00 00 0A 00 0A 00 "
                         "76 00 11 50 00 01 02 03 0F 05 00 B4 00 00 64 00 FF FF 0A 00 00 "
                         "77 00 12 50 00 14 00 01 02 0F 05 00 00 64 00 FF FF 0A 00 FF FF 14 00 00 "
                         "78 00 13 50 00 50 00 01 02 0F 00 B4 0A 00 00 00 64 00 FF FF 0A 00 FF FF 14 00 00 "
                         "79 00 14 02 00 02 00 02 00 02 00 00 04 00 00 00 00 01 02 03 04 "
                         "7A 00 15 07 00 00 00 "
                         "7B 00 16 04 00 41 42 43 44 "
                         "7C 00 17 00 03 00 00 00 "
                         "7D 00 18 00 01 FF FF 00 "
                         "7E 00 19 02 03 FF FF 00 "
                         "7F 00 1A 00 04 41 42 43 20 00 "
                         "80 00 1B 6F 00 "
                         "05 00 1C 08 00 A7 65 00 02 FF FF FF FF "
                         "82 00 01 00 FF FF 00 00 ";

const char* const ofVersion4 = "74 00 25 50 00 14 00 FF FF 00 01 00 6F 00 "
                               "83 00 28 01 00 64 00 FF FF 00 FF FF ";

} // namespace

Bytes sample(int version) {
  const bool is4 = version >= 4;
  const std::string container = "68 00 03 C8 00 C8 00 00 " + std::string(is4 ? "0E 00 " : "0D 00 ") +
                                childrenOfContainer + (is4 ? "74 00 00 00 00 00 " : "");
  return BusText::bytesOf(head + container + rest + (is4 ? ofVersion4 : ""));
}

Bytes smallest() {
  return BusText::bytesOf("01 00 00 00 01 02 00 00 00 00 02 00 01 00 FF FF 00 00");
}

std::string hex(const Bytes& bytes) {
  std::string text;
  for (const uint8_t byte : bytes) {
    char digits[4];
    std::snprintf(digits, sizeof digits, text.empty() ? "%02X" : " %02X", static_cast<unsigned int>(byte));
    text += digits;
  }
  return text;
}

std::string withoutFill(const Bytes& answer) {
  if (answer.empty()) {
    return "no answer";
  }
  constexpr std::size_t frameBytes = 8;
  Bytes bytes = answer;
  while (bytes.back() == 0xFF) {
    bytes.pop_back();
  }
  return hex(bytes) + (answer.size() == frameBytes ? "" : " in " + std::to_string(answer.size()) + " bytes");
}

} // namespace TerminalPool
