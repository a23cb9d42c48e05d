#include "Entries.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

namespace TestSupport {

namespace {

constexpr unsigned int nullDevice[] = {1, 3};
constexpr unsigned int loopDevice[] = {7, 0};

#if defined(SYS_utimensat_time64)
constexpr long setTimesCall = SYS_utimensat_time64;
#else
constexpr long setTimesCall = SYS_utimensat;
#endif

void check(bool isDone, const std::string& what) {
  if (!isDone) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
  }
}

bool makeDevice(const std::string& path, mode_t kind, const unsigned int (&numbers)[2]) {
  return mknod(path.c_str(), kind | 0600, makedev(numbers[0], numbers[1])) == 0;
}

} // namespace

void makeDirectory(const std::string& path) {
  check(mkdir(path.c_str(), 0700) == 0, path);
}

void makeLink(const std::string& target, const std::string& path) {
  check(symlink(target.c_str(), path.c_str()) == 0, path);
}

void makeFifo(const std::string& path) {
  check(mkfifo(path.c_str(), 0600) == 0, path);
}

void makeSocket(const std::string& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  check(path.size() < sizeof address.sun_path, path + " is too long");
  path.copy(address.sun_path, path.size());
  const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
  const bool isBound = bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(descriptor);
  check(isBound, path);
}

void makeSparseFile(const std::string& path, uint64_t size) {
  const int descriptor = open64(path.c_str(), O_CREAT | O_WRONLY | O_TRUNC | O_CLOEXEC, 0600);
  const bool isDone = ftruncate64(descriptor, static_cast<off64_t>(size)) == 0;
  close(descriptor);
  check(isDone, path);
}

void setTimes(const std::string& path, int64_t seconds) {
  // As the kernel takes them, also from a program that has only 32 bits for a time.
  const std::array<int64_t, 4> times = {seconds, 0, seconds, 0};
  check(syscall(setTimesCall, AT_FDCWD, path.c_str(), times.data(), 0) == 0, path);
}

bool makeCharacterDevice(const std::string& path) {
  return makeDevice(path, S_IFCHR, nullDevice);
}

bool makeBlockDevice(const std::string& path) {
  return makeDevice(path, S_IFBLK, loopDevice);
}

bool isThere(const std::string& path) {
  return std::filesystem::exists(std::filesystem::symlink_status(path));
}

std::size_t openDescriptors() {
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
}

} // namespace TestSupport
