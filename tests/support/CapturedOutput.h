// Catches what this process writes to standard output and standard error, apart and byte for byte.
#pragma once

#include <string>

namespace TestSupport {

// CapturedOutput_c: catches from its construction to its destruction.
class CapturedOutput_c {
public:
  CapturedOutput_c();
  ~CapturedOutput_c();
  CapturedOutput_c(const CapturedOutput_c&) = delete;
  CapturedOutput_c& operator=(const CapturedOutput_c&) = delete;

  // What has been written so far, all of it at each call.
  std::string standardOutput() const;
  std::string standardError() const;

private:
  int m_output;
  int m_error;
  int m_savedOutput;
  int m_savedError;
};

} // namespace TestSupport
