// The terminal's operator as lines of text: "key 5 press", "number 112 42". One line in, lines of answer out.
#pragma once

#include "Terminal.h"

#include <string>

struct LineResult_s {
  std::string text;  // lines to print, each with its end; empty where there is nothing to say
  std::string error; // one line without an end, where the line was not understood or could not be done
  bool isEnd = false;
};

// runLine: does what a line says.
//
//   Takes    line: without its end; an empty one, and what begins with '#', do nothing
LineResult_s runLine(Terminal_c& terminal, const std::string& line);
