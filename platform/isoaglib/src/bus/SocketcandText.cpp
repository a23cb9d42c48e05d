#include "SocketcandText.h"

#include <algorithm>

namespace IsoBusHost {

namespace {

constexpr uint32_t highestIdentifier = 0x1FFFFFFF;
constexpr uint32_t highestShortIdentifier = 0x7FF;
constexpr size_t digitsOfShortIdentifier = 3;
constexpr size_t digitsOfIdentifier = 8;

bool isSpace(char character) {
  return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isSpace(text.front())) {
    text.remove_prefix(1);
  }
  while (!text.empty() && isSpace(text.back())) {
    text.remove_suffix(1);
  }
  return text;
}

int hexDigit(char character) {
  if (character >= '0' && character <= '9') {
    return character - '0';
  }
  if (character >= 'a' && character <= 'f') {
    return character - 'a' + 10;
  }
  if (character >= 'A' && character <= 'F') {
    return character - 'A' + 10;
  }
  return -1;
}

std::optional<uint32_t> readHex(std::string_view digits, size_t mostDigits) {
  if (digits.empty() || digits.size() > mostDigits) {
    return std::nullopt;
  }
  uint32_t value = 0;
  for (const char character : digits) {
    const int digit = hexDigit(character);
    if (digit < 0) {
      return std::nullopt;
    }
    value = (value << 4U) | static_cast<uint32_t>(digit);
  }
  return value;
}

bool readIdentifier(std::string_view word, CanFrame_s& frame) {
  const std::optional<uint32_t> value = readHex(word, digitsOfIdentifier);
  if (!value || *value > highestIdentifier) {
    return false;
  }
  frame.identifier = *value;
  frame.extended = word.size() > digitsOfShortIdentifier || *value > highestShortIdentifier;
  return true;
}

bool addByte(std::string_view digits, CanFrame_s& frame) {
  const std::optional<uint32_t> value = readHex(digits, 2);
  if (!value || frame.length == frame.data.size()) {
    return false;
  }
  frame.data[frame.length++] = static_cast<uint8_t>(*value);
  return true;
}

bool addBytesOfWord(std::string_view word, CanFrame_s& frame) {
  if (word.size() % 2 != 0) {
    return false;
  }
  for (; !word.empty(); word.remove_prefix(2)) {
    if (!addByte(word.substr(0, 2), frame)) {
      return false;
    }
  }
  return true;
}

template <typename Iterator>
bool addBytes(Iterator begin, Iterator end, CanFrame_s& frame) {
  return std::all_of(begin, end, [&frame](std::string_view word) { return addByte(word, frame); });
}

bool isDecimal(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// isTime: seconds with or without a fraction. The value is not used: a frame's time is the time of its arrival.
bool isTime(std::string_view word) {
  const size_t point = word.find('.');
  return isDecimal(word.substr(0, point)) && (point == std::string_view::npos || isDecimal(word.substr(point + 1)));
}

void appendHex(std::string& text, uint32_t value, size_t digits) {
  for (size_t digit = digits; digit-- > 0;) {
    text += "0123456789ABCDEF"[(value >> (4 * digit)) & 0xFU];
  }
}

size_t bytesOf(const CanFrame_s& frame) {
  return std::min<size_t>(frame.length, frame.data.size());
}

} // namespace

void SocketcandReader_c::feed(std::string_view bytes, const Taker& take) {
  for (const char byte : bytes) {
    if (byte != '>' || m_state != State_e::inside) {
      takeByte(byte);
      continue;
    }
    m_state = State_e::between;
    m_unfinished = 0;
    if (!take(trimmed(m_message))) {
      return;
    }
  }
}

void SocketcandReader_c::takeByte(char byte) {
  if (byte == '<') {
    begin();
    return;
  }
  if (m_state == State_e::between && isSpace(byte)) {
    return;
  }
  ++m_unfinished;
  if (m_state == State_e::between) {
    m_state = State_e::stray;
    ++m_dropped;
  } else if (m_state == State_e::inside && m_message.size() == longestMessage) {
    m_state = State_e::tooLong;
    ++m_dropped;
  } else if (m_state == State_e::tooLong && byte == '>') {
    m_state = State_e::between;
    m_unfinished = 0;
  } else if (m_state == State_e::inside) {
    m_message += byte;
  }
}

void SocketcandReader_c::begin() {
  if (m_state == State_e::inside) {
    ++m_dropped;
  }
  m_state = State_e::inside;
  m_message.clear();
  ++m_unfinished;
}

std::vector<std::string_view> splitWords(std::string_view message) {
  std::vector<std::string_view> words;
  size_t begin = 0;
  while (begin < message.size()) {
    const auto isWordEnd = [&message](size_t at) { return at == message.size() || isSpace(message[at]); };
    size_t end = begin;
    while (!isWordEnd(end)) {
      ++end;
    }
    if (end > begin) {
      words.push_back(message.substr(begin, end - begin));
    }
    begin = end + 1;
  }
  return words;
}

std::optional<CanFrame_s> readSendMessage(std::string_view message) {
  const std::vector<std::string_view> words = splitWords(message);
  CanFrame_s frame;
  if (words.size() < 3 || words[0] != "send" || !readIdentifier(words[1], frame)) {
    return std::nullopt;
  }
  const std::optional<uint32_t> length = readHex(words[2], 2);
  if (!length || words.size() - 3 != *length || !addBytes(words.begin() + 3, words.end(), frame)) {
    return std::nullopt;
  }
  return frame;
}

std::optional<CanFrame_s> readFrameMessage(std::string_view message) {
  const std::vector<std::string_view> words = splitWords(message);
  CanFrame_s frame;
  if (words.size() < 3 || words[0] != "frame" || !readIdentifier(words[1], frame) || !isTime(words[2])) {
    return std::nullopt;
  }
  const bool isWhole =
      words.size() == 4 ? addBytesOfWord(words[3], frame) : addBytes(words.begin() + 3, words.end(), frame);
  return isWhole ? std::optional<CanFrame_s>(frame) : std::nullopt;
}

std::string identifierText(const CanFrame_s& frame) {
  std::string text;
  appendHex(text, frame.identifier, frame.extended ? digitsOfIdentifier : digitsOfShortIdentifier);
  return text;
}

std::string dataText(const CanFrame_s& frame) {
  std::string text;
  for (size_t i = 0; i < bytesOf(frame); ++i) {
    appendHex(text, frame.data[i], 2);
  }
  return text;
}

std::string sendText(const CanFrame_s& frame) {
  std::string text = "< send " + identifierText(frame) + ' ' + std::to_string(bytesOf(frame)) + ' ';
  for (size_t i = 0; i < bytesOf(frame); ++i) {
    appendHex(text, frame.data[i], 2);
    text += ' ';
  }
  return text + '>';
}

std::string frameText(const CanFrame_s& frame, uint64_t wallClockUs) {
  constexpr uint64_t usPerSecond = 1000000;
  constexpr size_t microDigits = 6;
  const std::string micros = std::to_string(wallClockUs % usPerSecond);
  return "< frame " + identifierText(frame) + ' ' + std::to_string(wallClockUs / usPerSecond) + '.' +
         std::string(microDigits - micros.size(), '0') + micros + ' ' + dataText(frame) + " >";
}

} // namespace IsoBusHost
