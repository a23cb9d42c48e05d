#include "ConsoleHost.h"

#include "ConsoleState.h"
#include "ValuesFile.h"

#include <cstdio>
#include <cstdlib>

namespace ConsoleHost {

namespace {

void (*s_journal)(const std::string& entry) = nullptr;

// Whether the file is settled for this process: named by loadFile, or by the environment at the first use.
bool s_isFileSettled = false;

State_s& bareState() {
  static State_s state;
  return state;
}

} // namespace

State_s& state() {
  if (!s_isFileSettled) {
    const char* path = std::getenv("ZEMO_CONSOLE_VALUES");
    s_isFileSettled = true;
    if (path != nullptr && *path != '\0') {
      const std::string problem = loadFile(path);
      const std::string message = problem.empty() ? missingKeys() : problem;
      std::fputs(message.empty() ? "" : (message + "\n").c_str(), stderr);
    }
  }
  return bareState();
}

void report(const std::string& entry) {
  if (s_journal != nullptr) {
    s_journal(entry);
  }
}

std::string loadFile(const std::string& path) {
  s_isFileSettled = true;
  State_s& current = bareState();
  current.values = Values_s();
  current.file = path;
  return readValuesFile(path, current.values);
}

std::string missingKeys() {
  std::string list;
  for (const std::string& key : state().values.missingKeys) {
    list += (list.empty() ? "" : ", ") + key;
  }
  return list.empty() ? list : state().file + ": the defaults serve for what it does not name: " + list;
}

void setString(int value, const std::string& text) {
  state().values.texts[value] = text;
}

void queueAnswer(int value, const std::string& text) {
  state().queuedAnswers[value].push_back(text);
}

void setVin(const std::string& vin) {
  state().values.vin = vin;
}

void setCertification(bool known, unsigned int year, unsigned int revision, unsigned int laboratoryType,
                      unsigned int laboratoryId, unsigned int referenceNumber) {
  Values_s& values = state().values;
  values.hasCertification = known;
  values.certification = {year, revision, laboratoryType, laboratoryId, referenceNumber};
}

void setVirtualTerminalVersion(int version) {
  state().values.virtualTerminalVersion = version;
}

void setHardwareVersion(int version) {
  state().values.hardwareVersion = version;
}

void setJournal(void (*journal)(const std::string& entry)) {
  s_journal = journal;
}

void reset() {
  bareState() = State_s();
  s_isFileSettled = false;
}

} // namespace ConsoleHost
