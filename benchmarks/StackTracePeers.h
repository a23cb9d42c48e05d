// A deep stack of nested templates, and the peers that print it.
#pragma once

#include <benchmark/benchmark.h>
#include <boost/stacktrace.hpp>
#include <cstdio>
#include <cstdlib>
#include <cxxabi.h>
#include <execinfo.h>
#include <ostream>
#include <sstream>
#include <string>

namespace StackTracePeers {

constexpr unsigned int maxFrames = 63;
constexpr int layers = 70; // more than are printed

using Work_t = void (*)(void* context);

// Layer_s: calls the layer inside. The symbol names all layers below, so that the upper names are long.
template <class Inner>
struct Layer_s {
  __attribute__((noinline)) static void call(Work_t work, void* context) {
    Inner::call(work, context);
    benchmark::ClobberMemory(); // something is left to do: the frame stays
  }
};

struct Ground_s {
  __attribute__((noinline)) static void call(Work_t work, void* context) {
    work(context);
    benchmark::ClobberMemory();
  }
};

template <int Depth>
struct Stack_s {
  using type = Layer_s<typename Stack_s<Depth - 1>::type>;
};
template <>
struct Stack_s<0> {
  using type = Ground_s;
};

// onDeepStack: calls the work with as many frames of nested templates under it as a trace prints.
template <class Work>
void onDeepStack(Work& work) {
  Stack_s<layers>::type::call([](void* context) { (*static_cast<Work*>(context))(); }, &work);
}

// printPlainly: the documented steps of print_stacktrace as they are written in C.
__attribute__((noinline)) inline void printPlainly(FILE* out) {
  void* frames[maxFrames + 1];
  fputs("stack trace:\n", out);
  const int count = backtrace(frames, maxFrames + 1);
  if (count == 0) {
    fputs("  <empty, possibly corrupt>\n", out);
    return;
  }
  char** lines = backtrace_symbols(frames, count);
  size_t nameSize = 256;
  char* name = static_cast<char*>(malloc(nameSize));
  for (int index = 1; index < count; ++index) {
    char* open = nullptr;
    char* plus = nullptr;
    char* end = nullptr;
    for (char* place = lines[index]; *place != '\0'; ++place) {
      if (*place == '(') {
        open = place;
      } else if (*place == '+') {
        plus = place;
      } else if (*place == ')' && plus != nullptr) {
        end = place;
        break;
      }
    }
    if (open == nullptr || end == nullptr || open > plus) {
      fprintf(out, "  %s\n", lines[index]);
      continue;
    }
    *open = '\0';
    *plus = '\0';
    *end = '\0';
    int status = 0;
    char* demangled = abi::__cxa_demangle(open + 1, name, &nameSize, &status);
    if (status == 0) {
      name = demangled;
      fprintf(out, "  %s : %s+%s\n", lines[index], name, plus + 1);
    } else {
      fprintf(out, "  %s : %s()+%s\n", lines[index], open + 1, plus + 1);
    }
  }
  free(name);
  free(lines);
}

// printWithBoost: Boost.Stacktrace without a library of debug information, its basic form. How many frames of its own
// it shows depends on the compiler; they are left out with `skip`, so that the same templates are printed.
__attribute__((noinline)) inline void printWithBoost(std::ostream& out, std::size_t skip) {
  out << boost::stacktrace::stacktrace(skip, maxFrames);
  out.flush();
}

// countTemplates: how many functions of the deep stack a trace names.
inline int countTemplates(const std::string& trace) {
  int count = 0;
  for (std::size_t place = 0; (place = trace.find("::call(", place)) != std::string::npos; ++place) {
    ++count;
  }
  return count;
}

template <class Print>
int templatesInTrace(Print&& print) {
  char* text = nullptr;
  std::size_t size = 0;
  FILE* out = open_memstream(&text, &size);
  auto work = [&] { print(out); };
  onDeepStack(work);
  std::fclose(out);
  const int count = countTemplates(std::string(text, size));
  std::free(text);
  return count;
}

inline int templatesInBoostTrace(std::size_t skip) {
  std::ostringstream out;
  auto work = [&] { printWithBoost(out, skip); };
  onDeepStack(work);
  return countTemplates(out.str());
}

// skipForBoost: the frames that Boost has to leave out to print as many templates as so many; -1 where nothing does.
inline int skipForBoost(int templates) {
  for (int skip = 0; skip < 4; ++skip) {
    if (templatesInBoostTrace(static_cast<std::size_t>(skip)) == templates) {
      return skip;
    }
  }
  return -1;
}

} // namespace StackTracePeers
