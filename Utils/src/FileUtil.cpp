#include "FileUtil.h"

#include "TextOf.h"

#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

constexpr const char* workingDirectory = "/opt/zemo";
constexpr mode_t newDirectoryMode = 0600; // nobody may search it. On purpose.

// Each ends with the path of its mount point.
constexpr char unmountCommands[][24] = {"umount -f /mnt/usb1/", "umount -f /mnt/sdcard1/", "umount -f /media/usb0/"};
constexpr std::size_t pathInCommand = sizeof "umount -f " - 1;

constexpr const char* copyCommand = "cp /opt/zemo/Save_TASKDATA_Files_To_PC.bat ";
constexpr std::size_t copyCommandSize = 80;

// What the command ends with is nobody's concern here.
void runCommand(const char* command) {
  static_cast<void>(!std::system(command));
}

// Sets the working directory of the process.
bool enter(const char* path) {
  return chdir(path) == 0;
}

// Devices and sockets share the bit and count as directories too. On purpose.
bool isDirectory(const struct stat& status) {
  return (status.st_mode & S_IFDIR) != 0;
}

bool isDirectoryItself(const char* name) {
  return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

// Nothing is put between.
std::string joined(const char* directory, const char* name) {
  std::string path;
  path.append(directory).append(name);
  return path;
}

void append(std::vector<std::string>& names, const char* name) {
  names.push_back(textOf(name));
}

// A directory while it is listed.
class Listing_c {
public:
  explicit Listing_c(const char* directory)
      : m_directory(textOf(directory)), m_stream(opendir(directory)), m_bRelative(isPathOfEntries()) {}

  bool isOpen() const { return m_stream != nullptr; }

  // The next name; null at the end.
  const char* next() const {
    const dirent* entry = readdir(m_stream.get());
    return entry == nullptr ? nullptr : entry->d_name;
  }

  // False, with a line on standard output, where the entry is gone or cannot be looked at.
  bool look(const char* name, struct stat& status) const {
    const int result = m_bRelative ? fstatat(dirfd(m_stream.get()), name, &status, 0)
                                   : stat(joined(m_directory.c_str(), name).c_str(), &status);
    if (result != 0) {
      std::printf("error stat on file %s%s\n", m_directory.c_str(), name);
    }
    return result == 0;
  }

  void close() { m_stream.reset(); }

private:
  struct Close_s {
    void operator()(DIR* stream) const { closedir(stream); }
  };

  // Whether directory and name together lead to the entry, so that it can be looked for from the open directory: a
  // directory without "/" at its end, or a path that is too long, leads nowhere and has to fail.
  bool isPathOfEntries() const {
    return !m_directory.empty() && m_directory.back() == '/' && m_directory.size() + NAME_MAX < PATH_MAX;
  }

  std::string m_directory;
  std::unique_ptr<DIR, Close_s> m_stream;
  bool m_bRelative;
};

// 32 bits each, whatever the medium's size.
long long bytesOf(unsigned long blockSize, fsblkcnt_t blocks) {
  const uint64_t bytes = uint64_t{static_cast<uint32_t>(blockSize)} * static_cast<uint32_t>(blocks);
  return static_cast<long long>(bytes);
}

bool hasNoParent(const std::string& path) {
  std::printf("parent of dir %s doesn't exist\n", path.c_str());
  return false;
}

} // namespace

FileOperations_c::FileOperations_c()
    : m_ApplicationNumber(0), m_TotalSize(0), m_bApplicationFlag1(false), m_bApplicationFlag2(false),
      m_bApplicationFlag3(false) {}

FileOperations_c::~FileOperations_c() = default;

namespace FileUtil {

bool getSubDirectories(const char* directory, std::vector<std::string>& names, bool& bAbort) {
  const Listing_c listing(directory);
  if (!listing.isOpen()) {
    return false;
  }
  while (const char* name = listing.next()) {
    struct stat status; // NOLINT: filled by the next call
    if (listing.look(name, status) && isDirectory(status) && !isDirectoryItself(name)) {
      append(names, name);
    }
    // After the entry, so that the first one is let through whatever the flag. On purpose.
    if (bAbort) {
      std::puts("FileUtil::getSubDirectories aborted");
      return false;
    }
  }
  return true;
}

bool getFilesAndFileSizeInDirectory(const char* directory, FileOperations_c& result, bool& bAbort) {
  result.m_Directory = directory;
  int64_t total = 0;
  Listing_c listing(directory);
  if (!listing.isOpen()) {
    return false;
  }
  while (const char* name = listing.next()) {
    struct stat status; // NOLINT: filled by the next call
    if (!listing.look(name, status)) {
      listing.close();
      forceUnmount(result.m_Directory.c_str());
      return false;
    }
    if (!isDirectory(status)) {
      append(result.m_FileNames, name);
      total += static_cast<int32_t>(status.st_size); // 32 bits with their sign, whatever the file's size
    }
    if (bAbort) {
      std::puts("getFilesAndFileSizeInDirectory aborted");
      return false;
    }
  }
  result.m_TotalSize = total;
  return true;
}

void deleteAllFilesInDirectory(const char* directory) {
  FileOperations_c files;
  bool bAbort = false;
  getFilesAndFileSizeInDirectory(directory, files, bAbort);
  for (const std::string& name : files.m_FileNames) {
    unlink(joined(files.m_Directory.c_str(), name.c_str()).c_str());
  }
}

bool getDiskSpace(const char* path, long long& totalBytes, long long& freeBytes) {
  totalBytes = 0;
  freeBytes = 0;
  struct statvfs medium; // NOLINT: filled by the next call
  if (statvfs(path, &medium) != 0) {
    return false;
  }
  totalBytes = bytesOf(medium.f_bsize, medium.f_blocks);
  freeBytes = bytesOf(medium.f_bsize, medium.f_bavail);
  return true;
}

int getFreeDiskSpacePercent(const char* path) {
  long long totalBytes = 0;
  long long freeBytes = 0;
  if (!getDiskSpace(path, totalBytes, freeBytes) || totalBytes == 0) {
    return 0;
  }
  return static_cast<int>(static_cast<double>(freeBytes) / static_cast<double>(totalBytes) * 100);
}

int getUsedDiskSpacePercent(const char* path) {
  // A path that cannot be queried is full. On purpose.
  return 100 - getFreeDiskSpacePercent(path);
}

bool getParentDirectory(const char* path, std::string& parent) {
  if (path == nullptr) {
    return false;
  }
  parent = path;
  // One slash at the end belongs to the path. The first character is never looked at: the root is nobody's parent. Both
  // on purpose.
  const std::size_t slash = parent.size() < 2 ? 0 : parent.rfind('/', parent.size() - 2);
  if (slash == std::string::npos || slash == 0) {
    return hasNoParent(parent);
  }
  parent.resize(slash + 1, '\0');
  return true;
}

bool forceUnmount(const char* path) {
  if (path == nullptr) {
    return false;
  }
  for (const char* command : unmountCommands) {
    const char* mountPoint = command + pathInCommand;
    if (std::strncmp(path, mountPoint, std::strlen(mountPoint)) == 0) {
      runCommand(command);
      return true;
    }
  }
  return false;
}

void copyPCBackupBatchFile(std::string& destination) {
  std::array<char, copyCommandSize> command; // NOLINT: filled by the next call
  const int length = std::snprintf(command.data(), command.size(), "%s%s", copyCommand, destination.c_str());
  if (length < static_cast<int>(command.size())) {
    runCommand(command.data());
  } else {
    runCommand(joined(copyCommand, destination.c_str()).c_str());
  }
  runCommand("sync");
}

const char* getConsoleModel() {
  return "R3700";
}

bool fileExists(const char* path) {
  struct stat status; // NOLINT: filled by the next call
  return stat(path, &status) == 0;
}

bool directoryExists(const char* path) {
  const bool exists = enter(path);
  // In every case, and for the whole process. On purpose.
  enter(workingDirectory);
  return exists;
}

bool createDirectory(const char* path) {
  mkdir(path, newDirectoryMode);
  return directoryExists(path);
}

} // namespace FileUtil
