#include "CapturedOutput.h"

#include <array>
#include <cstdio>
#include <iostream>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

namespace TestSupport {

namespace {

void flushAll() {
  std::cout.flush();
  std::cerr.flush();
  std::fflush(nullptr);
}

int redirect(int descriptor, int& saved) {
  const int file = memfd_create("captured", MFD_CLOEXEC);
  saved = dup(descriptor);
  if (file < 0 || saved < 0 || dup2(file, descriptor) < 0) {
    throw std::runtime_error("no file to capture into");
  }
  return file;
}

void restore(int descriptor, int saved, int file) {
  dup2(saved, descriptor);
  close(saved);
  close(file);
}

std::string contents(int file) {
  flushAll();
  std::string text;
  std::array<char, 4096> buffer{};
  ssize_t count = 0;
  while ((count = pread(file, buffer.data(), buffer.size(), static_cast<off_t>(text.size()))) > 0) {
    text.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return text;
}

} // namespace

CapturedOutput_c::CapturedOutput_c() : m_output(-1), m_error(-1), m_savedOutput(-1), m_savedError(-1) {
  flushAll();
  m_output = redirect(STDOUT_FILENO, m_savedOutput);
  m_error = redirect(STDERR_FILENO, m_savedError);
}

CapturedOutput_c::~CapturedOutput_c() {
  flushAll();
  restore(STDOUT_FILENO, m_savedOutput, m_output);
  restore(STDERR_FILENO, m_savedError, m_error);
}

std::string CapturedOutput_c::standardOutput() const {
  return contents(m_output);
}

std::string CapturedOutput_c::standardError() const {
  return contents(m_error);
}

} // namespace TestSupport
