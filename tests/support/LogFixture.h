// A log file of its own for each test of the debug log, not there at first.
#pragma once

#include "DebugLog.h"

#include "Files.h"

#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace TestSupport {

inline bool exists(const std::string& path) {
  return access(path.c_str(), F_OK) == 0;
}

// sizeOfFile: in bytes, in 32 bit also beyond 2 GiB; -1 where there is none.
inline long long sizeOfFile(const std::string& path) {
  struct stat64 status = {};
  return stat64(path.c_str(), &status) == 0 ? static_cast<long long>(status.st_size) : -1;
}

class LogFixture : public testing::Test {
protected:
  LogFixture() { set_log_filename(log().c_str()); }
  ~LogFixture() override { set_log_handler(default_log_handler); }

  std::string log() const { return m_folder.path() + "/log.txt"; }
  std::string logged() const { return readFile(log()); }

  TemporaryFolder_c m_folder;
};

} // namespace TestSupport
