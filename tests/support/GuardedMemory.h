// Memory between two pages that cannot be touched, and large memory that repeats itself.
#pragma once

#include <cstddef>
#include <cstdint>

namespace TestSupport {

// GuardedMemory_c: room for bytes with an inaccessible page right before it and right behind it: what touches a byte
// too many ends with SIGSEGV.
class GuardedMemory_c {
public:
  // At least so many bytes. Throws where there is no memory.
  explicit GuardedMemory_c(std::size_t size);
  ~GuardedMemory_c();
  GuardedMemory_c(const GuardedMemory_c&) = delete;
  GuardedMemory_c& operator=(const GuardedMemory_c&) = delete;

  // The first byte, and just past the last one.
  uint8_t* begin() const { return m_begin; }
  uint8_t* end() const { return m_end; }

private:
  uint8_t* m_begin;
  uint8_t* m_end;
};

// RepeatedMemory_c: the same pages again and again, one behind another: gigabytes that cost little memory.
class RepeatedMemory_c {
public:
  // Takes  partSize: a multiple of the page size
  RepeatedMemory_c(std::size_t partSize, std::size_t parts);
  ~RepeatedMemory_c();
  RepeatedMemory_c(const RepeatedMemory_c&) = delete;
  RepeatedMemory_c& operator=(const RepeatedMemory_c&) = delete;

  // Null where so much address space cannot be had. What is written to one part is in all of them.
  uint8_t* begin() const { return m_begin; }
  std::size_t size() const { return m_size; }

private:
  uint8_t* m_begin;
  std::size_t m_size;
};

} // namespace TestSupport
