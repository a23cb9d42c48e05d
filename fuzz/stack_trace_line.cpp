// Feeds lines to the splitter of stack traces, in a heap block of exactly their size.
#include "../Utils/src/StackTraceLine.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

// Whether a line has the three parts: the first ")" behind a "+" ends them; the last "(" and "+" before it count.
bool hasParts(const std::string& line) {
  const std::size_t firstPlus = line.find('+');
  const std::size_t end = firstPlus == std::string::npos ? firstPlus : line.find(')', firstPlus);
  if (end == std::string::npos) {
    return false;
  }
  const std::size_t open = line.rfind('(', end);
  return open != std::string::npos && open < line.rfind('+', end);
}

// The parts with their marks are the beginning of the line again; what follows is as it was.
void checkParts(const std::string& line, const char* block, const StackTraceLine_s& parts) {
  const std::string joined = std::string(parts.module) + "(" + parts.name + "+" + parts.offset + ")";
  require(parts.module == block);
  require(line.compare(0, joined.size(), joined) == 0);
  require(std::string(block + joined.size()) == line.substr(joined.size()));
  require(std::string(parts.name).find('(') == std::string::npos);
  require(std::string(parts.offset).find_first_of("(+)") == std::string::npos);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string line(data, data + size);
  line.resize(std::char_traits<char>::length(line.c_str())); // a line ends at its first zero
  const auto block = std::make_unique<char[]>(line.size() + 1);
  line.copy(block.get(), line.size());
  const StackTraceLine_s parts = splitStackTraceLine(block.get());
  require((parts.name != nullptr) == hasParts(line));
  if (parts.name != nullptr) {
    checkParts(line, block.get(), parts);
  } else {
    require(parts.module == nullptr && parts.offset == nullptr && line == block.get());
  }
  return 0;
}
