#include "GuardedMemory.h"

#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

namespace TestSupport {

namespace {

std::size_t pageSize() {
  return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

// Null where there is none.
uint8_t* reserve(std::size_t size, std::size_t times = 1) {
  std::size_t total = 0;
  if (__builtin_mul_overflow(size, times, &total)) {
    return nullptr;
  }
  void* place = mmap(nullptr, total, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  return place == MAP_FAILED ? nullptr : static_cast<uint8_t*>(place);
}

bool mapParts(uint8_t* begin, std::size_t partSize, std::size_t parts) {
  const int file = memfd_create("repeated", MFD_CLOEXEC);
  bool isMapped = file >= 0 && ftruncate(file, static_cast<off_t>(partSize)) == 0;
  for (std::size_t part = 0; isMapped && part < parts; ++part) {
    isMapped =
        mmap(begin + part * partSize, partSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0) != MAP_FAILED;
  }
  close(file);
  return isMapped;
}

} // namespace

GuardedMemory_c::GuardedMemory_c(std::size_t size) : m_begin(nullptr), m_end(nullptr) {
  const std::size_t page = pageSize();
  const std::size_t inner = (size + page - 1) / page * page;
  uint8_t* whole = reserve(inner + 2 * page);
  if (whole == nullptr || mprotect(whole + page, inner, PROT_READ | PROT_WRITE) != 0) {
    throw std::runtime_error("no memory between guards");
  }
  m_begin = whole + page;
  m_end = m_begin + inner;
}

GuardedMemory_c::~GuardedMemory_c() {
  const std::size_t page = pageSize();
  munmap(m_begin - page, static_cast<std::size_t>(m_end - m_begin) + 2 * page);
}

RepeatedMemory_c::RepeatedMemory_c(std::size_t partSize, std::size_t parts)
    : m_begin(reserve(partSize, parts)), m_size(partSize * parts) {
  if (m_begin != nullptr && !mapParts(m_begin, partSize, parts)) {
    munmap(m_begin, m_size);
    m_begin = nullptr;
  }
}

RepeatedMemory_c::~RepeatedMemory_c() {
  if (m_begin != nullptr) {
    munmap(m_begin, m_size);
  }
}

} // namespace TestSupport
