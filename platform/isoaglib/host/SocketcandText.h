// The text of the socketcand protocol in raw mode, as client and server share it: messages between '<' and '>'.
//
//   client: < open can0 >  < rawmode >  < send 18EAFFFE 3 00 EE 00 >  < echo >
//   server: < hi >  < ok >  < frame 18EAFFFE 1690000000.123456 00EE00 >  < error TEXT >  < echo >
#pragma once

#include "CanFrame.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace IsoBusHost {

// SocketcandReader_c: cuts a stream of bytes into messages, however the stream is divided. It keeps no more than one
// message that has begun.
class SocketcandReader_c {
public:
  static constexpr size_t longestMessage = 512; // bytes between '<' and '>'

  // Takes what stands between '<' and '>' without the spaces at both ends; gives false to leave the rest unread.
  using Taker = std::function<bool(std::string_view message)>;

  void feed(std::string_view bytes, const Taker& take);

  // dropped: returns how often something was dropped: a message that is too long, one that a new '<' cut off, or bytes
  // other than white space between two messages.
  uint64_t dropped() const { return m_dropped; }

  // unfinished: returns how many bytes have come since the last whole message, white space between messages aside.
  size_t unfinished() const { return m_unfinished; }

private:
  enum class State_e { between, stray, inside, tooLong };

  void takeByte(char byte);
  void begin();

  State_e m_state = State_e::between;
  std::string m_message;
  size_t m_unfinished = 0;
  uint64_t m_dropped = 0;
};

// splitWords: returns the words of a message; spaces and tabs part them, one or several.
std::vector<std::string_view> splitWords(std::string_view message);

// readSendMessage: reads "send ID DLC b0 b1 ..."; a byte has one or two digits.
// readFrameMessage: reads "frame ID SECONDS.MICROS DATA"; DATA is one word, or a word for each byte.
//
//   Gives    empty where the message is anything but a whole data frame
//   Kept     an ID of more than three digits, or over 7FF, is a 29-bit identifier: peers write no leading zeros
//
//   send 18EAFFFE 3 0 ee 0                18EAFFFE, extended: 00 EE 00
//   send CFE4621 0                        0CFE4621, extended, no data
//   send 123 1 ff                         123, 11 bits: FF
//   send 123 2 ff                         empty
//   frame 18EAFFFE 23.424242 00EE00       18EAFFFE, extended: 00 EE 00
std::optional<CanFrame_s> readSendMessage(std::string_view message);
std::optional<CanFrame_s> readFrameMessage(std::string_view message);

// sendText, frameText: return the message with '<' and '>'. An extended identifier has 8 digits, one of 11 bits has 3.
std::string sendText(const CanFrame_s& frame);
std::string frameText(const CanFrame_s& frame, uint64_t wallClockUs);

// identifierText: returns the identifier with 8 or 3 digits; dataText: returns two digits for each byte, in capitals.
std::string identifierText(const CanFrame_s& frame);
std::string dataText(const CanFrame_s& frame);

} // namespace IsoBusHost
