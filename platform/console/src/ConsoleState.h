// What the console of this process knows.
#pragma once

#include "ConsoleValues.h"

#include <deque>
#include <map>
#include <string>

namespace ConsoleHost {

struct State_s {
  Values_s values;
  std::map<int, std::deque<std::string>> queuedAnswers;
  std::string file; // empty: no file in use
};

// state: reads the file that the environment names at the first call.
State_s& state();

// report: tells the journal of a call.
void report(const std::string& entry);

} // namespace ConsoleHost
