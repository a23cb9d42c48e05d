#include "FileListings.h"

#include "CapturedOutput.h"

#include <algorithm>
#include <stdexcept>

namespace TestSupport {

namespace {

EntryWatch_c* watch = nullptr;

} // namespace

std::vector<std::string> namesInOrder(const std::string& directory) {
  DIR* stream = opendir(directory.c_str());
  if (stream == nullptr) {
    throw std::runtime_error("cannot list " + directory);
  }
  std::vector<std::string> names;
  while (const dirent64* entry = readdir64(stream)) {
    names.emplace_back(entry->d_name);
  }
  closedir(stream);
  return names;
}

std::vector<std::string> sorted(std::vector<std::string> names) {
  std::sort(names.begin(), names.end());
  return names;
}

SubDirectories_s subDirectoriesOf(const std::string& directory, bool bAbort) {
  SubDirectories_s listing;
  const CapturedOutput_c captured;
  listing.isComplete = FileUtil::getSubDirectories(directory.c_str(), listing.names, bAbort);
  listing.output = captured.standardOutput();
  listing.error = captured.standardError();
  return listing;
}

Files_s filesOf(const std::string& directory, bool bAbort) {
  Files_s listing;
  const CapturedOutput_c captured;
  listing.isComplete = FileUtil::getFilesAndFileSizeInDirectory(directory.c_str(), listing.result, bAbort);
  listing.output = captured.standardOutput();
  listing.error = captured.standardError();
  return listing;
}

EntryWatch_c::EntryWatch_c(std::function<bool(const std::string& name)> seen, bool isEndless)
    : m_readdir("readdir64", &EntryWatch_c::read), m_seen(std::move(seen)), m_bEndless(isEndless) {
  watch = this;
}

EntryWatch_c::~EntryWatch_c() {
  watch = nullptr;
}

dirent64* EntryWatch_c::read(DIR* stream) {
  dirent64* entry = readdir64(stream);
  while (entry != nullptr && !watch->m_seen(entry->d_name)) {
    entry = readdir64(stream);
  }
  if (entry == nullptr && watch->m_bEndless) {
    rewinddir(stream);
    return readdir64(stream);
  }
  return entry;
}

bool withoutDots(const std::string& name) {
  return name != "." && name != "..";
}

} // namespace TestSupport
