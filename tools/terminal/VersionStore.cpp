#include "VersionStore.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <utility>

namespace {

constexpr std::size_t mostVersions = 255;   // of one working set: their number is one byte
constexpr std::size_t mostBytes = 64000000; // of all versions together
constexpr const char* forbidden = "\\\"'`/:*<>|?";
constexpr const char* suffix = ".pool";

bool isIn(const char* characters, uint8_t character) {
  return character != 0 && std::strchr(characters, character) != nullptr;
}

std::string hexOf(const VersionLabel_t& label) {
  std::string text;
  for (const uint8_t character : label) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned int>(character));
    text += digits;
  }
  return text;
}

// readFileName: "00000012-A00080000000001A-41424320202020.pool": number, NAME, label.
bool readFileName(const std::string& file, unsigned int& number, uint64_t& name, VersionLabel_t& label) {
  unsigned long long readName = 0;
  unsigned int bytes[labelBytes];
  int end = 0;
  const int fields = std::sscanf(file.c_str(), "%8u-%16llX-%2X%2X%2X%2X%2X%2X%2X.pool%n", &number, &readName, &bytes[0],
                                 &bytes[1], &bytes[2], &bytes[3], &bytes[4], &bytes[5], &bytes[6], &end);
  if (fields != 2 + static_cast<int>(labelBytes) || static_cast<std::size_t>(end) != file.size()) {
    return false;
  }
  name = readName;
  std::transform(std::begin(bytes), std::end(bytes), label.begin(),
                 [](unsigned int byte) { return static_cast<uint8_t>(byte); });
  return isLabel(label);
}

std::vector<std::string> filesOf(const std::string& folder, std::string& error) {
  std::vector<std::string> files;
  DIR* stream = opendir(folder.c_str());
  if (stream == nullptr) {
    error = folder + ": " + std::strerror(errno);
    return files;
  }
  for (const dirent* entry = readdir(stream); entry != nullptr; entry = readdir(stream)) {
    files.emplace_back(entry->d_name);
  }
  closedir(stream);
  std::sort(files.begin(), files.end());
  return files;
}

} // namespace

bool isBlank(const VersionLabel_t& label) {
  return std::all_of(label.begin(), label.end(), [](uint8_t character) { return character == ' '; });
}

bool isLabel(const VersionLabel_t& label) {
  constexpr uint8_t firstCharacter = 0x20;
  return !isBlank(label) && std::all_of(label.begin(), label.end(), [](uint8_t character) {
    return character >= firstCharacter && !isIn(forbidden, character);
  });
}

// --- Files

std::string VersionStore_c::open(const std::string& folder) {
  std::string error;
  const std::vector<std::string> files = filesOf(folder, error);
  if (!error.empty()) {
    return error;
  }
  m_folder = folder;
  for (const std::string& file : files) {
    readFile(file);
  }
  return {};
}

void VersionStore_c::readFile(const std::string& file) {
  unsigned int number = 0;
  Version_s version{};
  if (!readFileName(file, number, version.name, version.label)) {
    return;
  }
  m_lastNumber = std::max(m_lastNumber, number);
  version.file = m_folder + '/' + file;
  std::ifstream stream(version.file, std::ios::binary | std::ios::ate);
  const std::streamoff size = stream.tellg();
  if (size < 0 || !hasRoom(static_cast<uint64_t>(size))) {
    return;
  }
  version.pool.resize(static_cast<std::size_t>(size));
  stream.seekg(0);
  stream.read(reinterpret_cast<char*>(version.pool.data()), static_cast<std::streamsize>(size));
  remove(version.name, version.label); // an earlier one that was to be replaced
  m_versions.push_back(std::move(version));
}

bool VersionStore_c::hasRoom(uint64_t bytes) const {
  for (const Version_s& version : m_versions) {
    bytes += version.pool.size();
  }
  return bytes <= mostBytes;
}

std::string VersionStore_c::nextFile(uint64_t name, const VersionLabel_t& label) {
  char head[32];
  std::snprintf(head, sizeof head, "%08u-%016llX-", ++m_lastNumber, static_cast<unsigned long long>(name));
  return m_folder + '/' + head + hexOf(label) + suffix;
}

// --- Versions

std::size_t VersionStore_c::indexOf(uint64_t name, const VersionLabel_t& label) const {
  const auto same = [&](const Version_s& version) {
    return version.name == name && (isBlank(label) || version.label == label);
  };
  const auto found = std::find_if(m_versions.rbegin(), m_versions.rend(), same);
  return found == m_versions.rend() ? m_versions.size() : static_cast<std::size_t>(m_versions.rend() - found) - 1;
}

std::vector<VersionLabel_t> VersionStore_c::labels(uint64_t name) const {
  std::vector<VersionLabel_t> found;
  for (const Version_s& version : m_versions) {
    if (version.name == name) {
      found.push_back(version.label);
    }
  }
  return found;
}

bool VersionStore_c::store(uint64_t name, const VersionLabel_t& label, const Bytes& pool) {
  const bool isNew = indexOf(name, label) == m_versions.size();
  if ((isNew && labels(name).size() >= mostVersions) || !hasRoom(pool.size())) {
    return false;
  }
  Version_s version{name, label, pool, {}};
  if (!m_folder.empty()) {
    version.file = nextFile(name, label);
    std::ofstream stream(version.file, std::ios::binary);
    stream.write(reinterpret_cast<const char*>(pool.data()), static_cast<std::streamsize>(pool.size()));
    stream.close();
    if (!stream) {
      std::remove(version.file.c_str());
      return false;
    }
  }
  remove(name, label);
  m_versions.push_back(std::move(version));
  return true;
}

const VersionStore_c::Bytes* VersionStore_c::find(uint64_t name, const VersionLabel_t& label) const {
  const std::size_t index = indexOf(name, label);
  return index == m_versions.size() ? nullptr : &m_versions[index].pool;
}

bool VersionStore_c::remove(uint64_t name, const VersionLabel_t& label) {
  const std::size_t index = indexOf(name, label);
  if (index == m_versions.size()) {
    return false;
  }
  if (!m_versions[index].file.empty()) {
    std::remove(m_versions[index].file.c_str());
  }
  m_versions.erase(m_versions.begin() + static_cast<std::ptrdiff_t>(index));
  return true;
}
