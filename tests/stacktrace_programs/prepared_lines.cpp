// Prints a stack trace of lines that it is given: prepared_lines LIMIT [LINE...]. The first line stands for the printer
// itself. Standard error tells the room for entries that the library asked the system to fill.
#include "DebugLog.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <execinfo.h>
#include <string>
#include <vector>

namespace {

std::vector<std::string> g_lines;

} // namespace

// In front of the system's function: the library finds this one.
extern "C" int backtrace(void** entries, int room) {
  std::fprintf(stderr, "room for %d\n", room);
  const int count = std::min(room, static_cast<int>(g_lines.size()));
  std::fill_n(entries, count, nullptr);
  return count;
}

// One block, as the system gives it; none where a line is missing.
extern "C" char** backtrace_symbols(void* const*, int count) noexcept {
  if (std::count(g_lines.begin(), g_lines.end(), "NO MEMORY") != 0) {
    return nullptr;
  }
  const auto used = static_cast<std::size_t>(count);
  std::size_t size = used * sizeof(char*);
  for (std::size_t index = 0; index < used; ++index) {
    size += g_lines[index].size() + 1;
  }
  auto** lines = static_cast<char**>(std::malloc(size));
  char* text = reinterpret_cast<char*>(lines + used);
  for (std::size_t index = 0; index < used; ++index) {
    lines[index] = std::strcpy(text, g_lines[index].c_str());
    text += g_lines[index].size() + 1;
  }
  return lines;
}

int main(int count, char** arguments) {
  if (count < 2) {
    return 2;
  }
  g_lines.assign(arguments + 2, arguments + count);
  print_stacktrace(stdout, static_cast<unsigned int>(std::strtoul(arguments[1], nullptr, 10)));
  return 0;
}
