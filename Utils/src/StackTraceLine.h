// Takes a line of backtrace_symbols apart: module, "(", symbol, "+", offset, ")" and the address in brackets.
#pragma once

#include <cstring>

// StackTraceLine_s: the parts of a line; all null where the line has another form.
struct StackTraceLine_s {
  const char* module = nullptr;
  const char* name = nullptr;
  const char* offset = nullptr;
};

// splitStackTraceLine: ends the parts with zeros, in the line itself. A line of another form is left as it is.
//
//   line                         module      name     offset
//   ./app(_Z4plowi+0x12) [0x80]  ./app       _Z4plowi 0x12
//   ./app(+0x1234) [0x80]        ./app                0x1234
//   ./b(1)/app(main+0x2) [0x80]  ./b(1)/app  main     0x2
//   ./app() [0x80]               -           -        -
inline StackTraceLine_s splitStackTraceLine(char* line) {
  char* open = nullptr;
  char* plus = nullptr;
  char* end = nullptr;
  // Names of templates are long: the search goes from one mark to the next.
  constexpr const char* marks = "(+)";
  for (char* place = std::strpbrk(line, marks); place != nullptr && end == nullptr;
       place = std::strpbrk(place + 1, marks)) {
    if (*place == '(') {
      open = place;
    } else if (*place == '+') {
      plus = place;
    } else if (plus != nullptr) {
      end = place;
    }
  }
  if (open == nullptr || end == nullptr || open > plus) {
    return {};
  }
  *open = '\0';
  *plus = '\0';
  *end = '\0';
  return {line, open + 1, plus + 1};
}
