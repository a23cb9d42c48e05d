// What the terminal keeps of one client, and the function codes of ISO 11783-6 that are no commands of the model.
#pragma once

#include "Terminal.h"

namespace TerminalPgn {
constexpr uint32_t toEcu = 0xE600;
constexpr uint32_t toTerminal = 0xE700;
} // namespace TerminalPgn

namespace TerminalCode {
constexpr uint8_t lastInput = 0x0A; // from 0 on: messages of the operator's input, and the answers to them
constexpr uint8_t poolPart = 0x11;
constexpr uint8_t endOfPool = 0x12;
constexpr uint8_t getMemory = 0xC0;
constexpr uint8_t getSoftKeys = 0xC2;
constexpr uint8_t getFonts = 0xC3;
constexpr uint8_t getSupportedObjects = 0xC5;
constexpr uint8_t getHardware = 0xC7;
constexpr uint8_t storeVersion = 0xD0;
constexpr uint8_t loadVersion = 0xD1;
constexpr uint8_t removeVersion = 0xD2;
constexpr uint8_t getVersions = 0xDF;
constexpr uint8_t versions = 0xE0;
constexpr uint8_t status = 0xFE;
constexpr uint8_t maintenance = 0xFF;
} // namespace TerminalCode

constexpr uint8_t unusedByte = 0xFF;

struct Terminal_c::Client_s {
  struct Waiting_s {
    uint8_t code;
    uint64_t untilMs;
  };

  Client_s(ModelSettings_s settings, WorkingSetModel_c::ChangeHandler changed) : model(settings, std::move(changed)) {}

  uint64_t number = 0;
  TerminalClient_s state; // as far as it is not the model's
  uint64_t maintainedMs = 0;
  bool outOfMemory = false; // something of the pool has not been taken
  std::vector<Waiting_s> waiting;
  WorkingSetModel_c model;
};
