// Small helpers for files of the tests.
#pragma once

#include <string>
#include <vector>

namespace TestSupport {

// readFile: the whole file; throws where it cannot be read.
std::string readFile(const std::string& path);

// filesIn: the paths of the files of a folder that end in a suffix, sorted.
std::vector<std::string> filesIn(const std::string& folder, const std::string& suffix = {});

// TemporaryFolder_c: a folder of its own for each test, gone with the object.
class TemporaryFolder_c {
public:
  TemporaryFolder_c();
  ~TemporaryFolder_c();
  TemporaryFolder_c(const TemporaryFolder_c&) = delete;
  TemporaryFolder_c& operator=(const TemporaryFolder_c&) = delete;

  const std::string& path() const { return m_path; }

private:
  std::string m_path;
};

} // namespace TestSupport
