#include "Files.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace TestSupport {

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw std::runtime_error("cannot read " + path);
  }
  std::ostringstream contents;
  contents << file.rdbuf();
  return contents.str();
}

std::vector<std::string> filesIn(const std::string& folder, const std::string& suffix) {
  std::vector<std::string> paths;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string path = entry.path().string();
    const bool isWanted =
        path.size() >= suffix.size() && path.compare(path.size() - suffix.size(), suffix.size(), suffix) == 0;
    if (entry.is_regular_file() && isWanted) {
      paths.push_back(path);
    }
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

TemporaryFolder_c::TemporaryFolder_c() {
  std::string path = (std::filesystem::temp_directory_path() / "zemo-test-XXXXXX").string();
  if (mkdtemp(path.data()) == nullptr) {
    throw std::runtime_error("no temporary folder");
  }
  m_path = path;
}

TemporaryFolder_c::~TemporaryFolder_c() {
  std::error_code ignored;
  std::filesystem::remove_all(m_path, ignored);
}

} // namespace TestSupport
