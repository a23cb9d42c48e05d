// A file descriptor that is closed with its owner.
#pragma once

#include <utility>

namespace IsoBusHost {

class FileDescriptor_c {
public:
  FileDescriptor_c() = default;
  explicit FileDescriptor_c(int descriptor) : m_descriptor(descriptor) {}
  FileDescriptor_c(FileDescriptor_c&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
  FileDescriptor_c& operator=(FileDescriptor_c&& other) noexcept {
    std::swap(m_descriptor, other.m_descriptor);
    return *this;
  }
  ~FileDescriptor_c() { close(); }

  int get() const { return m_descriptor; }
  bool isOpen() const { return m_descriptor >= 0; }
  void close();

private:
  int m_descriptor = -1;
};

// isReadable: whether reading would not wait; true as well where it would say that the other side has closed.
bool isReadable(int descriptor);

} // namespace IsoBusHost
