#include "PrivateMounts.h"

#include "ChildProcess.h"
#include "Files.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sched.h>
#include <stdexcept>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace TestSupport {

namespace {

void check(bool isDone, const std::string& what) {
  if (!isDone) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
  }
}

// An ordinary user becomes root of a name space of its own.
void becomeRootOfOwnNamespace() {
  const uid_t user = getuid();
  const gid_t group = getgid();
  check(unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0, "no name space for users and mounts");
  writeFile("/proc/self/setgroups", "deny");
  writeFile("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
  writeFile("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
}

} // namespace

bool havePrivateMounts() {
  const Ending_s ending = runInChild([] {
    enterPrivateMounts();
    mountTmpfs("/mnt");
  });
  return ending.exitStatus == 0;
}

void enterPrivateMounts() {
  if (unshare(CLONE_NEWNS) != 0) {
    becomeRootOfOwnNamespace();
  }
  check(mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "mounts cannot be made private");
}

void mountTmpfs(const std::string& path, const std::string& options) {
  check(mount("tmpfs", path.c_str(), "tmpfs", 0, options.c_str()) == 0, "no tmpfs on " + path);
}

void remountReadOnly(const std::string& path) {
  check(mount("tmpfs", path.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0,
        path + " cannot be made read-only");
}

void bindFile(const std::string& source, const std::string& target) {
  check(mount(source.c_str(), target.c_str(), nullptr, MS_BIND, nullptr) == 0, source + " over " + target);
}

void makeDirectories(const std::string& path) {
  std::filesystem::create_directories(path);
}

void writeFile(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text << std::flush;
  check(file.good(), path + " cannot be written");
}

RecordingTools_c::RecordingTools_c(const std::string& folder, const std::vector<std::string>& names, int exitStatus)
    : m_record(folder + "/calls") {
  writeFile(m_record, "");
  for (const std::string& name : names) {
    const std::string tool = folder + "/" + name;
    writeFile(tool, "#!/bin/sh\necho \"" + name + "${*:+ $*}\" >>'" + m_record + "'\nexit " +
                        std::to_string(exitStatus) + "\n");
    check(chmod(tool.c_str(), 0755) == 0, tool);
  }
  check(setenv("PATH", folder.c_str(), 1) == 0, "PATH");
}

std::string RecordingTools_c::calls() const {
  return readFile(m_record);
}

} // namespace TestSupport
