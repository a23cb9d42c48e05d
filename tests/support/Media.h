// The console's media for a test: file systems in memory in place of /mnt, /media and /opt, seen by one child process
// alone.
#pragma once

#include "ChildProcess.h"
#include "Files.h"
#include "PrivateMounts.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>

namespace TestSupport {

// inChild: runs expectations in a child process; those that fail there fail the test.
void inChild(const std::function<void()>& function);

// dropPrivileges: from here on the permissions of files hold the process back as they do an ordinary user. In a child
// process.
void dropPrivileges();

class Media : public testing::Test {
protected:
  void SetUp() override;

  // inMounts: the same within mounts of its own. There are /mnt/usb1, /mnt/sdcard1, /mnt/nand, /media/usb0 and
  // /opt/zemo, all of them empty.
  void inMounts(const std::function<void()>& function) const;

  // A folder outside of the mounts.
  TemporaryFolder_c m_folder;
};

} // namespace TestSupport
