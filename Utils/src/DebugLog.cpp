#include "DebugLog.h"

#include "StackTraceLine.h"
#include "SystemUtils.h"
#include "TextOf.h"

#include <algorithm>
#include <alloca.h>
#include <array>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cxxabi.h>
#include <execinfo.h>
#include <fcntl.h>
#include <ios>
#include <memory>
#include <printf.h>
#include <unistd.h>
#include <unwind.h>

namespace {

constexpr const char* defaultFileName = "/mnt/nand/DebugLog.txt";
constexpr std::size_t messageSize = 4096;
constexpr int32_t maxFileSize = 1000000;
constexpr mode_t newFileMode = 0666; // less the umask, as for any file that is made through a stream
constexpr std::size_t maxSecondPassValues = 16;
constexpr std::size_t maxFramesOnStack = 1024;
constexpr std::size_t firstNameSize = 256;

// Closed at once; failures have nobody to tell.
class LogFile_c {
public:
  explicit LogFile_c(int flags) : m_descriptor(open(g_LogFileName.c_str(), flags | O_CLOEXEC, newFileMode)) {}
  ~LogFile_c() {
    if (isOpen()) {
      close(m_descriptor);
    }
  }
  LogFile_c(const LogFile_c&) = delete;
  LogFile_c& operator=(const LogFile_c&) = delete;

  bool isOpen() const { return m_descriptor >= 0; }

  void append(const char* text, std::size_t size) const {
    while (size > 0) {
      const ssize_t written = write(m_descriptor, text, size);
      if (written <= 0) {
        return;
      }
      text += written;
      size -= static_cast<std::size_t>(written);
    }
  }

  off_t end() const { return lseek(m_descriptor, 0, SEEK_END); }

private:
  int m_descriptor;
};

void writeToLog(int flags, const char* text, std::size_t size) {
  const LogFile_c file(O_RDWR | O_CREAT | flags);
  if (file.isOpen()) {
    file.append(text, size);
  }
}

// A signed number of 32 bits, whatever the file's size; -1 where it cannot be told. Does not wait for the writer of a
// pipe.
int32_t sizeOfLog() {
  const LogFile_c file(O_RDONLY | O_NONBLOCK);
  return file.isOpen() ? static_cast<int32_t>(file.end()) : -1;
}

// Whether a text, taken as a format, reads a few values in a row and stores none ("%n"). Where it leaves out a value,
// the type of that is none, which has every flag.
bool isHarmlessFormat(const char* text) {
  constexpr int none = -1;
  std::array<int, maxSecondPassValues> types; // NOLINT: filled by the next call
  types.fill(none);
  std::size_t count = parse_printf_format(text, types.size(), types.data());
  if (count > types.size()) {
    return false;
  }
  while (count > 0 && (types[count - 1] & PA_FLAG_PTR) == 0) {
    --count;
  }
  return count == 0;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral" // the formats are the application's
#pragma GCC diagnostic ignored "-Wformat-security"

// On the stack, a long double (three words, or two with their alignment) for each value.
struct Zeros_s {
  std::array<long, 3 * maxSecondPassValues> words;
};

// Zeros for every value that a harmless format can ask for: those of the registers, then those of the stack.
void printWithZeros(const char* text) {
  std::fprintf(stderr, text, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0L, 0L, 0L, 0L, Zeros_s{});
}

// The text is its own format: a '%' left in it is expanded once more on standard error. On purpose.
void printAsFormat(const char* text, std::size_t size) {
  if (std::memchr(text, '%', size) != nullptr && isHarmlessFormat(text)) {
    printWithZeros(text);
  } else {
    std::fwrite(text, 1, size, stderr);
  }
}

struct Free_s {
  void operator()(void* block) const { std::free(block); }
};

using Message_t = std::unique_ptr<char[], Free_s>;

// A message that is too long for the buffer; null where there is no memory for it.
Message_t longMessage(std::size_t size, const char* fmt, va_list arguments) {
  Message_t message(static_cast<char*>(std::malloc(size)));
  if (message != nullptr) {
    std::vsnprintf(message.get(), size, fmt, arguments);
  }
  return message;
}

void handMessage(const char* fmt, va_list arguments) {
  std::array<char, messageSize> buffer; // NOLINT: filled by the next call
  va_list again;
  va_copy(again, arguments);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the caller has started the list
  const int length = std::vsnprintf(buffer.data(), buffer.size(), fmt, arguments);
  Message_t message;
  if (length >= static_cast<int>(buffer.size())) {
    message = longMessage(static_cast<std::size_t>(length) + 1, fmt, again);
  }
  va_end(again);
  // No check of the handler: it is what the application has set.
  g_funcLogHandler(message != nullptr ? message.get() : buffer.data());
}

#pragma GCC diagnostic pop

struct Depth_s {
  std::size_t count;
  _Unwind_Ptr address;
  _Unwind_Word frame;
};

// A frame that is its own caller ends the count: the stack is corrupt there.
_Unwind_Reason_Code countFrame(_Unwind_Context* context, void* argument) {
  auto* depth = static_cast<Depth_s*>(argument);
  const Depth_s next = {depth->count + 1, _Unwind_GetIP(context), _Unwind_GetCFA(context)};
  if (next.address == depth->address && next.frame == depth->frame) {
    return _URC_END_OF_STACK;
  }
  *depth = next;
  return _URC_NO_REASON;
}

std::size_t depthOfStack() {
  Depth_s depth = {};
  _Unwind_Backtrace(countFrame, &depth);
  return depth.count;
}

void printFrame(FILE* out, char* line, std::string& text, char*& name, std::size_t& nameSize) {
  const StackTraceLine_s parts = splitStackTraceLine(line);
  text = "  ";
  text.append(line);
  if (parts.name != nullptr) {
    int status = 0;
    char* demangled = abi::__cxa_demangle(parts.name, name, &nameSize, &status);
    if (status == 0) {
      name = demangled;
    }
    text.append(" : ").append(status == 0 ? name : parts.name).append(status == 0 ? "+" : "()+").append(parts.offset);
  }
  text.append("\n");
  // In one piece, so that the line stays whole on a stream without a buffer.
  std::fwrite(text.data(), 1, text.size(), out);
}

void printFrames(FILE* out, void* const* frames, int count) {
  char** lines = backtrace_symbols(frames, count);
  if (lines == nullptr) {
    return;
  }
  std::size_t nameSize = firstNameSize;
  auto* name = static_cast<char*>(std::malloc(nameSize));
  std::string text;
  for (int index = 1; index < count; ++index) {
    printFrame(out, lines[index], text, name, nameSize);
  }
  std::free(name);
  std::free(lines);
}

const std::ios_base::Init s_streams;

} // namespace

std::string g_LogFileName;

namespace {

// The check comes first and finds no name: loading the library never clears a log. On purpose.
struct WorkAtLoad_s {
  WorkAtLoad_s() {
    log_check_size();
    g_LogFileName = defaultFileName;
  }
};

const WorkAtLoad_s s_workAtLoad;

} // namespace

void (*g_funcLogHandler)(const char* text) = default_log_handler;

void log_msg(const char* fmt, ...) {
  va_list arguments;
  va_start(arguments, fmt);
  handMessage(fmt, arguments);
  va_end(arguments);
}

void set_log_handler(void (*handler)(const char* text)) {
  g_funcLogHandler = handler;
}

void set_log_filename(const char* name) {
  g_LogFileName = name;
}

void default_log_handler(const char* text) {
  const std::size_t size = std::strlen(text);
  // One write, at the end of the file: what threads and processes log at once stays whole.
  writeToLog(O_APPEND, text, size);
  printAsFormat(text, size);
}

void log_clear() {
  // Without a line feed: the next message goes on in the same line. On purpose.
  writeToLog(O_TRUNC, "LogCleared", 10);
}

void log_check_size() {
  if (sizeOfLog() > maxFileSize) {
    log_clear();
  }
}

// The stack is captured here and nowhere else: the first entry is this function's, and is not printed.
void print_stacktrace(FILE* out, unsigned int maxFrames) {
  if (out == nullptr) {
    return;
  }
  std::fputs("stack trace:\n", out);
  const std::size_t wanted = std::min<std::size_t>(maxFrames, INT_MAX - 1) + 1;
  std::size_t size = std::min(wanted, maxFramesOnStack + 1);
  auto** frames = static_cast<void**>(alloca(size * sizeof(void*)));
  std::size_t count = 0;
  std::unique_ptr<void*[]> manyFrames;
  while (true) {
    count = static_cast<std::size_t>(backtrace(frames, static_cast<int>(size)));
    if (count < size || size == wanted || manyFrames != nullptr) {
      break;
    }
    // A stack must not be asked to hold what it may not have room for: more frames go to the heap.
    size = std::max(size, std::min(wanted, depthOfStack()));
    manyFrames.reset(new void*[size]);
    frames = manyFrames.get();
  }
  if (count == 0) {
    std::fputs("  <empty, possibly corrupt>\n", out);
    return;
  }
  printFrames(out, frames, static_cast<int>(count));
}

std::string GetDateTimeStamp() {
  const std::time_t now = std::time(nullptr);
  std::array<char, 128> text; // NOLINT: filled by the next calls
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-y2k" // two digits of the year are the stamp's form
  const std::size_t length = std::strftime(text.data(), text.size(), "%m-%d-%y-%I:%M:%S", std::localtime(&now));
#pragma GCC diagnostic pop
  // Counted from the first call of getTimeMs, not within the second. On purpose.
  std::snprintf(text.data() + length, text.size() - length, ":%3.3d ", SystemUtils::getTimeMs());
  return textOf(text.data());
}
