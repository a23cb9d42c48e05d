#include "Board.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/mount.h>
#include <thread>
#include <unistd.h>

namespace Board {

namespace {

struct Mount_s {
  std::string device;
  std::string path;
  std::string type;
};

// The mount on top is the last one of its path.
Mount_s mountOn(const std::string& path) {
  std::ifstream table("/proc/mounts");
  Mount_s found;
  for (std::string line; std::getline(table, line);) {
    Mount_s mount;
    std::istringstream(line) >> mount.device >> mount.path >> mount.type;
    if (mount.path == path) {
      found = mount;
    }
  }
  return found;
}

} // namespace

// The board's own list of what it has; no other machine keeps one.
bool isHere() {
  std::ifstream list("/etc/board");
  std::string line;
  return std::getline(list, line) && line == "modules virtio";
}

bool hasFileSystem(const std::string& name) {
  std::ifstream table("/proc/filesystems");
  for (std::string word; table >> word;) {
    if (word == name) {
      return true;
    }
  }
  return false;
}

bool isMountPoint(const std::string& path) {
  return !mountOn(path).type.empty();
}

std::string deviceOf(const std::string& mountPoint) {
  return mountOn(mountPoint).device;
}

std::string typeOf(const std::string& mountPoint) {
  return mountOn(mountPoint).type;
}

void mountDisk(const std::string& device, const std::string& path, const std::string& type, unsigned long flags,
               const std::string& options) {
  if (mount(device.c_str(), path.c_str(), type.c_str(), flags, options.c_str()) != 0) {
    throw std::runtime_error(device + " cannot be mounted on " + path + ": " + std::strerror(errno));
  }
}

void unmountDisk(const std::string& path) {
  if (umount(path.c_str()) != 0) {
    throw std::runtime_error(path + " cannot be unmounted: " + std::strerror(errno));
  }
}

long long fill(const std::string& path) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  long long bytes = 0;
  for (const std::size_t size : {65536, 512, 1}) {
    const std::string piece(size, 'x');
    ssize_t count = 0;
    while ((count = write(file, piece.data(), piece.size())) > 0) {
      bytes += count;
    }
  }
  close(file);
  sync();
  return bytes;
}

double Stopwatch_c::seconds() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
}

void restABit() {
  std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

void OnBoard::SetUp() {
  if (!isHere()) {
    GTEST_SKIP() << "only on the emulated board: the case changes the machine that it runs on";
  }
}

} // namespace Board
