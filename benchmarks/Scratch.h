// Folders for the time of a run, in memory and where temporary files go.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

// ScratchFolder_c: a new folder, gone with everything in it when the program ends.
class ScratchFolder_c {
public:
  explicit ScratchFolder_c(const std::filesystem::path& parent) : m_path((parent / "zemo-bench-XXXXXX").string()) {
    if (mkdtemp(m_path.data()) == nullptr) {
      throw std::runtime_error("no folder can be made in " + parent.string());
    }
  }
  ~ScratchFolder_c() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  ScratchFolder_c(const ScratchFolder_c&) = delete;
  ScratchFolder_c& operator=(const ScratchFolder_c&) = delete;

  // Without "/" at its end.
  const std::string& path() const { return m_path; }

  static const ScratchFolder_c& inMemory() {
    static const ScratchFolder_c folder("/dev/shm");
    return folder;
  }
  static const ScratchFolder_c& onDisk() {
    static const ScratchFolder_c folder(std::filesystem::temp_directory_path());
    return folder;
  }

private:
  std::string m_path;
};
