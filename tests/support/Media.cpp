#include "Media.h"

#include <array>
#include <linux/capability.h>
#include <stdexcept>
#include <sys/syscall.h>
#include <unistd.h>

namespace TestSupport {

void inChild(const std::function<void()>& function) {
  const Ending_s ending = runInChild([&function] {
    try {
      function();
    } catch (const std::exception& exception) {
      ADD_FAILURE() << exception.what();
    }
    if (testing::Test::HasFailure()) {
      throw std::runtime_error("an expectation failed");
    }
  });
  EXPECT_EQ(0, ending.exitStatus) << "signal " << ending.signal << "\n"
                                  << ending.standardOutput << ending.standardError;
}

void dropPrivileges() {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  const std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> none{};
  if (syscall(SYS_capset, &header, none.data()) != 0) {
    throw std::runtime_error("privileges cannot be dropped");
  }
}

void Media::SetUp() {
  if (!havePrivateMounts()) {
    GTEST_SKIP() << "this machine does not let a process have mounts of its own";
  }
}

void Media::inMounts(const std::function<void()>& function) const {
  inChild([&function] {
    enterPrivateMounts();
    for (const char* path : {"/mnt", "/media", "/opt"}) {
      mountTmpfs(path);
    }
    for (const char* path : {"/mnt/usb1", "/mnt/sdcard1", "/mnt/nand", "/media/usb0", "/opt/zemo"}) {
      makeDirectories(path);
    }
    function();
  });
}

} // namespace TestSupport
