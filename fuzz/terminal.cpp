// Feeds a client's model of the terminal with whatever pools, commands and operator the input says, and looks at what
// it answers and prints.
//
// The first byte is the version and the colours: 2 + value modulo 3, value / 3 modulo 3. Then a row of steps: a byte
// for the kind (modulo 5), the number of bytes (2, lowest first), the bytes; where the input ends early the step ends
// there.
//
//   0  pool records       1  end of the pool       2  a command
//   3  the operator: what, object (2), value (4) or a text      4  milliseconds (2) go by
#include "HostClock.h"
#include "terminal/ChangeText.h"
#include "terminal/TerminalText.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

using Bytes = std::vector<uint8_t>;

constexpr std::size_t bytesOfFrame = 8;
constexpr std::size_t mostObjects = 200; // of a pool whose every object is printed

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

class Session_c {
public:
  explicit Session_c(ModelSettings_s settings)
      : m_model(settings, [this](const Change_s& change) { m_changes.push_back(change); }) {}

  void step(unsigned int kind, const Bytes& bytes) {
    switch (kind) {
    case 0:
      m_model.readPool(bytes.data(), bytes.size());
      break;
    case 1:
      require(m_model.endPool().has_value() != m_model.hasPool());
      m_model.setShown(m_model.hasPool());
      break;
    case 2:
      command(bytes);
      break;
    case 3:
      operate(bytes);
      break;
    default:
      IsoBusHost::HostClock::advanceMs(bytes.empty() ? 1 : bytes[0]);
      m_model.work();
      break;
    }
    for (const Bytes& message : m_model.takeUnasked()) {
      require(message.size() == bytesOfFrame);
    }
    print();
  }

private:
  void command(const Bytes& bytes) {
    const Bytes answer = m_model.command(bytes);
    require(answer.empty() || (answer.size() == bytesOfFrame && answer[0] == bytes[0]));
  }

  void operate(const Bytes& bytes) {
    constexpr std::size_t head = 7;
    if (bytes.size() < head) {
      return;
    }
    const auto id = static_cast<uint16_t>(bytes[1] | bytes[2] << 8);
    const auto state = static_cast<KeyState_e>(bytes[3] % 4);
    const uint32_t value = bytes[3] | static_cast<uint32_t>(bytes[4]) << 8U | static_cast<uint32_t>(bytes[5]) << 16U |
                           static_cast<uint32_t>(bytes[6]) << 24U;
    const Bytes text(bytes.begin() + 3, bytes.end());
    InputResult_s result;
    switch (bytes[0] % 7) {
    case 0:
      result = m_model.key(id, state);
      break;
    case 1:
      result = m_model.button(id, state);
      break;
    case 2:
      result = m_model.enterNumber(id, value);
      break;
    case 3:
      result = m_model.enterText(id, text);
      break;
    case 4:
      result = m_model.select(id, value % 2 == 0);
      break;
    case 5:
      result = m_model.unselect();
      break;
    default:
      result = m_model.escape();
      break;
    }
    require(result.message.empty() != result.error.empty());
    require(result.message.empty() || result.message.size() >= bytesOfFrame);
  }

  // print: what a line says is one line, and UTF-8.
  void print() {
    std::vector<std::string> lines;
    for (const Change_s& change : m_changes) {
      lines.push_back(changeText({}, change, &m_model));
    }
    m_changes.clear();
    if (m_model.pool().objects().size() <= mostObjects) {
      for (const auto& [id, object] : m_model.pool().objects()) {
        lines.push_back(objectText(m_model, object));
      }
    }
    for (const std::string& line : lines) {
      require(line.find('\n') == std::string::npos && !toUtf16(line).empty());
    }
  }

  WorkingSetModel_c m_model;
  std::vector<Change_s> m_changes;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr std::size_t head = 3;
  IsoBusHost::HostClock::turnByHand();
  const unsigned int first = size == 0 ? 2 : data[0];
  Session_c session({2 + static_cast<int>(first % 3), static_cast<int>(first / 3 % 3)});
  for (std::size_t at = 1; at + head <= size;) {
    const std::size_t length = std::min(data[at + 1] + std::size_t{256} * data[at + 2], size - at - head);
    session.step(data[at] % 5U, Bytes(data + at + head, data + at + head + length));
    at += head + length;
  }
  return 0;
}
