// Prints a stack trace of lines that it is given: prepared_lines LIMIT [LINE...]. The first line stands for the printer
// itself. Standard error tells the room for entries that the library asked the system to fill, and each change of the
// buffer that it has for names.
#include "DebugLog.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <malloc.h>
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

namespace {

using Demangler = char* (*)(const char*, char*, std::size_t*, int*);

struct NameBuffer_s {
  const char* place = nullptr;
  std::size_t size = 0;
};

NameBuffer_s g_nameBuffer;

} // namespace

namespace __cxxabiv1 {

char* __cxa_demangle(const char* name, char* buffer, std::size_t* size, int* status) {
  static const auto demangle = reinterpret_cast<Demangler>(dlsym(RTLD_NEXT, "__cxa_demangle"));
  if (buffer == nullptr || size == nullptr || malloc_usable_size(buffer) < *size) {
    std::fputs("no name buffer\n", stderr);
  } else if (buffer != g_nameBuffer.place) {
    std::fprintf(stderr, "name buffer of %zu bytes\n", *size);
  } else if (*size != g_nameBuffer.size) {
    std::fputs("its size is not kept\n", stderr);
  }
  char* result = demangle(name, buffer, size, status);
  g_nameBuffer = {result != nullptr ? result : buffer, size != nullptr ? *size : 0};
  return result;
}

} // namespace __cxxabiv1

int main(int count, char** arguments) {
  if (count < 2) {
    return 2;
  }
  g_lines.assign(arguments + 2, arguments + count);
  print_stacktrace(stdout, static_cast<unsigned int>(std::strtoul(arguments[1], nullptr, 10)));
  return 0;
}
