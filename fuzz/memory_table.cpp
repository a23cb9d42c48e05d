// Feeds any text as the kernel's table of memory figures and compares with a reading by formatted streams.
//
// The first byte of the input divides the rest into the pieces that one read gives; what is read must not depend on it.
#include "../Utils/src/MemoryTable.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

constexpr std::size_t maxPieces = 100; // more do not fit into a socket

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

// The documented steps, word for word.
uint32_t readByStreams(const std::string& text) {
  std::istringstream stream(text);
  uint32_t sum = 0;
  while (stream.good()) {
    std::string key;
    stream >> key;
    if (key.find("total:") != std::string::npos) {
      stream.ignore(100, '\n').ignore(100, '\n').ignore(100, '\n');
      continue;
    }
    int64_t value = 0;
    if (!(stream >> value)) {
      break;
    }
    std::string unit;
    stream >> unit;
    if (key.find("MemFree:") != std::string::npos) {
      sum += static_cast<uint32_t>(value);
    } else if (key.find("Cached:") != std::string::npos) {
      return sum + static_cast<uint32_t>(value);
    }
  }
  return sum;
}

// The two readings differ in numbers of more than 18 digits, which end the table's.
bool hasLongNumber(const std::string& text) {
  constexpr int maxDigits = 18;
  int digits = 0;
  return std::any_of(text.begin(), text.end(), [&digits](unsigned char character) {
    digits = std::isdigit(character) != 0 ? digits + 1 : 0;
    return digits > maxDigits;
  });
}

uint32_t readAsFile(const std::string& text) {
  const int file = memfd_create("table", MFD_CLOEXEC);
  require(write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size()));
  lseek(file, 0, SEEK_SET);
  const uint32_t kilobytes = MemoryTable_c(file).freeKilobytes();
  close(file);
  return kilobytes;
}

uint32_t readInPieces(const std::string& text, std::size_t size) {
  int ends[2] = {};
  require(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) == 0);
  for (std::size_t begin = 0; begin < text.size(); begin += size) {
    const std::size_t count = std::min(size, text.size() - begin);
    require(send(ends[1], text.data() + begin, count, MSG_DONTWAIT) == static_cast<ssize_t>(count));
  }
  close(ends[1]);
  const uint32_t kilobytes = MemoryTable_c(ends[0]).freeKilobytes();
  close(ends[0]);
  return kilobytes;
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) {
    return 0;
  }
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  const uint32_t kilobytes = readAsFile(text);
  require(hasLongNumber(text) || kilobytes == readByStreams(text));
  const std::size_t pieceSize = data[0] + size_t{1};
  if (text.size() <= maxPieces * pieceSize) {
    require(kilobytes == readInPieces(text, pieceSize));
  }
  return 0;
}
