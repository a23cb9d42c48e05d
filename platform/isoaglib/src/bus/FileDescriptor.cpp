#include "FileDescriptor.h"

#include <poll.h>
#include <unistd.h>

namespace IsoBusHost {

void FileDescriptor_c::close() {
  if (isOpen()) {
    ::close(m_descriptor);
    m_descriptor = -1;
  }
}

bool isReadable(int descriptor) {
  pollfd waiting = {descriptor, POLLIN, 0};
  return poll(&waiting, 1, 0) > 0;
}

} // namespace IsoBusHost
