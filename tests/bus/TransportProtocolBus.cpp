#include "TransportProtocolBus.h"

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <utility>

using namespace IsoBusHost;

namespace TransportTest {

std::string textOf(const CanFrame_s& frame) {
  char part[16];
  std::snprintf(part, sizeof part, "%08X", static_cast<unsigned int>(frame.identifier));
  std::string text = part;
  for (std::size_t index = 0; index < frame.length; ++index) {
    std::snprintf(part, sizeof part, " %02X", static_cast<unsigned int>(frame.data.at(index)));
    text += part;
  }
  return text;
}

CanFrame_s frameOf(const std::string& text) {
  std::istringstream stream(text);
  CanFrame_s frame;
  stream >> std::hex >> frame.identifier;
  for (unsigned int value = 0; stream >> value; ++frame.length) {
    frame.data.at(frame.length) = static_cast<uint8_t>(value);
  }
  return frame;
}

std::vector<uint8_t> countingBytes(std::size_t count) {
  std::vector<uint8_t> bytes;
  for (std::size_t index = 1; index <= count; ++index) {
    bytes.push_back(static_cast<uint8_t>(index & 0xFFU));
  }
  return bytes;
}

IsoMessage_s makeMessage(uint8_t source, uint8_t destination, std::size_t bytes, uint32_t pgn) {
  IsoMessage_s message;
  message.pgn = pgn;
  message.source = source;
  message.destination = destination;
  message.data = countingBytes(bytes);
  return message;
}

Station_c::Station_c(std::set<uint8_t> addresses)
    : own(std::move(addresses)), protocol({[this](const CanFrame_s& frame) { return take(frame); },
                                           [this](const IsoMessage_s& message) {
                                             delivered.push_back(message);
                                             if (onDelivered) {
                                               onDelivered(message);
                                             }
                                           },
                                           [this](uint8_t address) { return own.count(address) != 0; }}) {
  if (!HostClock::isTurnedByHand()) {
    HostClock::turnByHand();
  }
  protocol.setReceiving(true);
  protocol.setSending(true);
}

bool Station_c::take(const CanFrame_s& frame) {
  if (busRefuses > 0) {
    --busRefuses;
    return false;
  }
  if (busTakes == 0) {
    return false;
  }
  --busTakes;
  sent.push_back(frame);
  return true;
}

Lines Station_c::hear(const Lines& frames) {
  for (const std::string& frame : frames) {
    protocol.handleFrame(frameOf(frame));
  }
  return workAfter(0);
}

Lines Station_c::workAfter(uint64_t milliseconds) {
  HostClock::advanceMs(milliseconds);
  protocol.work();
  return takeSent();
}

bool Station_c::send(IsoMessage_s message) {
  return protocol.send(std::move(message), [this](bool isSent) { results.push_back(isSent); });
}

Lines Station_c::takeSent() {
  Lines lines;
  for (const CanFrame_s& frame : sent) {
    lines.push_back(textOf(frame));
  }
  sent.clear();
  return lines;
}

Station_c& Wire_c::add(std::set<uint8_t> addresses) {
  m_stations.push_back(std::make_unique<Station_c>(std::move(addresses)));
  return *m_stations.back();
}

void Wire_c::settle(uint64_t milliseconds) {
  const uint64_t endMs = HostClock::nowMs() + milliseconds;
  for (;;) {
    carry();
    const uint64_t due = nextDueMs();
    if (due > endMs) {
      return;
    }
    const uint64_t now = HostClock::nowMs();
    HostClock::advanceMs(due > now ? due - now : 0);
    for (const auto& station : m_stations) {
      station->protocol.work();
    }
  }
}

// Until nobody has anything to say to what was carried.
void Wire_c::carry() {
  const auto hasSent = [](const auto& station) { return !station->sent.empty(); };
  while (std::any_of(m_stations.begin(), m_stations.end(), hasSent)) {
    carryOnce();
  }
}

void Wire_c::carryOnce() {
  for (const auto& sender : m_stations) {
    for (const CanFrame_s& frame : std::exchange(sender->sent, {})) {
      log.push_back(textOf(frame));
      if (loses && loses(frame)) {
        continue;
      }
      for (const auto& receiver : m_stations) {
        if (receiver != sender) {
          receiver->protocol.handleFrame(frame);
        }
      }
    }
  }
}

uint64_t Wire_c::nextDueMs() const {
  uint64_t due = never;
  for (const auto& station : m_stations) {
    due = std::min(due, station->protocol.nextDueMs());
  }
  return due;
}

} // namespace TransportTest
