#include "SystemCallFilter.h"

#include "ChildProcess.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <vector>

namespace TestSupport {

namespace {

sock_filter load(std::size_t offset) {
  return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<uint32_t>(offset));
}

// Goes on with the next instruction where the loaded word has this value, else past the following ones.
sock_filter orSkip(uint32_t value, uint8_t instructions) {
  return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, 0, instructions);
}

sock_filter answer(uint32_t action) {
  return BPF_STMT(BPF_RET | BPF_K, action);
}

} // namespace

bool haveSystemCallFilter() {
  const Ending_s ending = runInChild([] { refuseSystemCall(SYS_acct, EPERM); });
  return ending.exitStatus == 0;
}

void refuseSystemCall(long number, int error, std::optional<int> firstArgument) {
  std::vector<sock_filter> filter = {load(offsetof(seccomp_data, nr))};
  if (firstArgument) {
    filter.push_back(orSkip(static_cast<uint32_t>(number), 3));
    filter.push_back(load(offsetof(seccomp_data, args)));
    filter.push_back(orSkip(static_cast<uint32_t>(*firstArgument), 1));
  } else {
    filter.push_back(orSkip(static_cast<uint32_t>(number), 1));
  }
  filter.push_back(answer(SECCOMP_RET_ERRNO | static_cast<uint32_t>(error)));
  filter.push_back(answer(SECCOMP_RET_ALLOW));
  const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
    throw std::runtime_error("no filter of system calls");
  }
}

} // namespace TestSupport
