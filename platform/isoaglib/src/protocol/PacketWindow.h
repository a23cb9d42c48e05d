// Which packets of a message are there, and how often each of the missing ones was asked for. All packets before the
// first missing one are there; what is known of those behind it covers `width` packets, however long the message is.
#pragma once

#include <array>
#include <bitset>
#include <cstdint>

namespace IsoBusHost {

class PacketWindow_c {
public:
  static constexpr unsigned int width = 256;

  // packets: how many the message has; the first is 1.
  explicit PacketWindow_c(unsigned int packets) : m_packets(packets) {}

  unsigned int firstMissing() const { return m_first; }
  bool isComplete() const { return m_first > m_packets; }

  // hasGap: whether a packet behind the first missing one is there.
  bool hasGap() const { return m_there.any(); }

  // isWanted: whether the packet was asked for and is not there yet.
  bool isWanted(unsigned int packet) const;

  // store: notes that a wanted packet has come.
  void store(unsigned int packet);

  // endOfMissing: returns one more than the last of the first missing packets that lie one behind the other, at most
  // maxCount of them. maxCount is less than `width`.
  unsigned int endOfMissing(unsigned int maxCount) const;

  // Times that the packets from begin to before end were asked for, none of them there: the highest, one more, one
  // less.
  unsigned int timesAsked(unsigned int begin, unsigned int end) const;
  void ask(unsigned int begin, unsigned int end);
  void withdraw(unsigned int begin, unsigned int end);

private:
  bool isInside(unsigned int packet) const { return packet >= m_first && packet - m_first < width; }

  std::bitset<width> m_there; // by packet number modulo width, as the next
  std::array<uint8_t, width> m_timesAsked{};
  unsigned int m_first = 1;
  unsigned int m_packets;
};

} // namespace IsoBusHost
