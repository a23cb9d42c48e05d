#include "Allocations.h"

#include <cstddef>
#include <cstdlib>
#include <unistd.h>

namespace {

bool s_isCounting = false;
bool s_isRefusing = false;
int s_taken = 0;
int s_givenBack = 0;
const void* s_reported = nullptr;

} // namespace

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

// The C library's own functions, by their second names.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);
}

namespace {

bool noteTaken() {
  s_taken += s_isCounting ? 1 : 0;
  return !s_isRefusing;
}

void noteGivenBack(const void* block) {
  s_givenBack += s_isCounting && block != nullptr ? 1 : 0;
  if (block != nullptr && block == s_reported) {
    s_reported = nullptr;
    constexpr char line[] = "the block is given back\n";
    static_cast<void>(!write(STDERR_FILENO, line, sizeof line - 1));
  }
}

} // namespace

// Seen by all libraries of the program, which are loaded behind it.
#pragma GCC visibility push(default)

extern "C" void* malloc(std::size_t size) noexcept {
  return noteTaken() ? __libc_malloc(size) : nullptr;
}

extern "C" void* calloc(std::size_t count, std::size_t size) noexcept {
  return noteTaken() ? __libc_calloc(count, size) : nullptr;
}

extern "C" void* realloc(void* block, std::size_t size) noexcept {
  return noteTaken() ? __libc_realloc(block, size) : nullptr;
}

extern "C" void free(void* block) noexcept {
  noteGivenBack(block);
  __libc_free(block);
}

#pragma GCC visibility pop

#endif

namespace TestSupport {

bool areAllocationsSeen() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return false;
#else
  return true;
#endif
}

Allocations_c::Allocations_c() {
  s_taken = 0;
  s_givenBack = 0;
  s_isCounting = true;
}

Allocations_c::~Allocations_c() {
  s_isCounting = false;
  s_isRefusing = false;
}

int Allocations_c::taken() const {
  return s_taken;
}

int Allocations_c::givenBack() const {
  return s_givenBack;
}

void Allocations_c::refuse() {
  s_isRefusing = true;
}

void reportWhenGivenBack(const void* block) {
  s_reported = block;
}

} // namespace TestSupport
