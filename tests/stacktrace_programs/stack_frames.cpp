// Prints its own stack from functions of every kind: stack_frames WAY [LOG_FILE]. Built with its functions in the
// dynamic table, without them, and stripped.
#include "DebugLog.h"
#include "SignalHandling.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

void plough(int depth);
void harrow();
void ploughToStandardError();
void ploughToLogFile();
void breakDown();
void tellBreakdown(int sig);

extern "C" {
void sow(void);
void i(void);
void printHere(void);
void standingFrame(void);
}

namespace FieldWork {
struct AttachmentWithARatherLongName_s {};
template <class... Attachment_s>
struct Combination_s {};
using Pair_s = Combination_s<AttachmentWithARatherLongName_s, AttachmentWithARatherLongName_s>;
using Four_s = Combination_s<Pair_s, AttachmentWithARatherLongName_s, Pair_s>;

template <class Attachment_s>
void work(Attachment_s) {
  plough(3);
}

void workWithFour();
void workWithFour() {
  work(Four_s());
}
} // namespace FieldWork

namespace {

void hidden() {
  print_stacktrace(stdout, 63);
}

} // namespace

void plough(int) {
  print_stacktrace(stdout, 63);
}

void harrow() {
  hidden();
}

void ploughToStandardError() {
  PrintBackTrace(false);
}

void ploughToLogFile() {
  PrintBackTrace(true);
}

extern "C" void sow(void) {
  plough(1);
}

// Its name is also the demangler's letter for a type.
extern "C" void i(void) {
  print_stacktrace(stdout, 63);
}

// A fault, with the page kept from every access.
void breakDown() {
  static volatile char* page = static_cast<char*>(mmap(nullptr, 1, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  *page = 1;
}

void tellBreakdown(int) {
  PrintBackTrace(false);
  _exit(3);
}

extern "C" void printHere(void) {
  print_stacktrace(stdout, 4294967295U);
}

// A frame that says that it was called from itself, with the same stack: an unwinder that does not look for progress
// stays here.
#if defined(__x86_64__)
asm(R"(
.text
.globl standingFrame
.type standingFrame, @function
standingFrame:
  .cfi_startproc
  lea 1f(%rip), %rax
  push %rax
  .cfi_def_cfa %rsp, 0
  .cfi_offset %rip, 0
  call printHere@PLT
1:
  pop %rax
  ret
  .cfi_endproc
.size standingFrame, . - standingFrame
)");
#elif defined(__i386__)
asm(R"(
.text
.globl standingFrame
.type standingFrame, @function
standingFrame:
  .cfi_startproc
  push %ebx
  call 2f
2:
  pop %ebx
  lea 1f-2b(%ebx), %eax
  sub $4, %esp
  push %eax
  .cfi_def_cfa %esp, 0
  .cfi_offset %eip, 0
  add $_GLOBAL_OFFSET_TABLE_+(.-2b), %ebx
  call printHere@PLT
1:
  add $8, %esp
  pop %ebx
  ret
  .cfi_endproc
.size standingFrame, . - standingFrame
)");
#endif

namespace {

struct Way_s {
  const char* name;
  void (*function)();
};

void breakDownHandled() {
  SetSignalHandler(tellBreakdown);
  AddAllTerminationSignals();
  breakDown();
}

void standStill() {
  const rlimit someSeconds = {2, 4};
  setrlimit(RLIMIT_CPU, &someSeconds);
  standingFrame();
}

void ploughDirectly() {
  plough(2);
}

constexpr Way_s ways[] = {
    {"function", ploughDirectly},
    {"hidden function", harrow},
    {"C function", sow},
    {"one letter", i},
    {"template", FieldWork::workWithFour},
    {"standard error", ploughToStandardError},
    {"log file", ploughToLogFile},
    {"fault", breakDownHandled},
    {"standing frame", standStill},
};

} // namespace

int main(int count, char** arguments) {
  if (count > 2) {
    set_log_filename(arguments[2]);
  }
  for (const Way_s& way : ways) {
    if (count > 1 && std::strcmp(way.name, arguments[1]) == 0) {
      way.function();
      return 0;
    }
  }
  return 2;
}
