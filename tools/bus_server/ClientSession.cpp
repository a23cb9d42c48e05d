#include "ClientSession.h"

using namespace IsoBusHost;

namespace {

constexpr size_t mostUnfinished = 65536; // bytes without the end of a message

} // namespace

std::optional<unsigned int> busNumber(std::string_view name, unsigned int buses) {
  for (unsigned int bus = 0; bus < buses; ++bus) {
    if (name == "can" + std::to_string(bus)) {
      return bus;
    }
  }
  return std::nullopt;
}

void ClientSession_c::greet() {
  m_owner.onAnswer(*this, "< hi >");
}

void ClientSession_c::feed(std::string_view bytes) {
  if (m_over) {
    return;
  }
  const uint64_t droppedBefore = m_reader.dropped();
  m_reader.feed(bytes, [this](std::string_view message) {
    takeMessage(message);
    return true;
  });
  if (m_reader.unfinished() > mostUnfinished) {
    m_over = true;
    m_owner.onAnswer(*this, "< error no end of message >");
  } else if (m_reader.dropped() != droppedBefore) {
    m_owner.onAnswer(*this, "< error message cannot be read >");
  }
}

void ClientSession_c::takeMessage(std::string_view message) {
  const auto words = splitWords(message);
  const std::string answer = answerTo(words.empty() ? std::string_view() : words.front(), message);
  if (!answer.empty()) {
    m_owner.onAnswer(*this, answer);
  }
}

std::string ClientSession_c::answerTo(std::string_view command, std::string_view message) {
  if (command == "send") {
    return sendFrame(message);
  }
  if (command == "open") {
    return openBus(message);
  }
  if (message == "rawmode") {
    return enterRawMode();
  }
  if (message == "echo") {
    return "< echo >";
  }
  return refuse("unknown command");
}

std::string ClientSession_c::openBus(std::string_view message) {
  const auto words = splitWords(message);
  if (m_bus) {
    return refuse("a bus is open already");
  }
  if (words.size() == 2) {
    m_bus = busNumber(words[1], m_buses);
  }
  return m_bus ? "< ok >" : refuse("there is no such bus");
}

std::string ClientSession_c::enterRawMode() {
  if (!m_bus) {
    return refuse("no bus is open");
  }
  m_rawMode = true;
  return "< ok >";
}

std::string ClientSession_c::sendFrame(std::string_view message) {
  if (!m_rawMode) {
    return refuse("send needs raw mode");
  }
  const std::optional<CanFrame_s> frame = readSendMessage(message);
  if (!frame) {
    return refuse("no data frame");
  }
  m_owner.onFrame(*this, *frame);
  return {};
}

std::string ClientSession_c::refuse(const std::string& reason) {
  ++m_refused;
  return "< error " + reason + " >";
}
