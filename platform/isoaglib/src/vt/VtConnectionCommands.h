// The commands of a connected working set: one is sent, its answer awaited, then the next.
#pragma once

#include "VtCommandFacts.h"
#include "VtCommandQueue.h"
#include "VtConnectionLink.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace IsoBusHost {

// VtFailure_s: a command that was answered with an error, or not at all.
struct VtFailure_s {
  static constexpr uint8_t noAnswer = 0xFF;

  uint8_t command;
  uint16_t objectID;
  uint8_t error;
};

class VtConnectionCommands_c {
public:
  VtConnectionCommands_c(VtConnectionLink_c& link, VtClientStatistics_s& statistics)
      : m_link(link), m_statistics(statistics) {}

  // setKept: whether commands are kept for later; not kept, those that wait are dropped.
  void setKept(bool on);
  bool isKept() const { return m_isKept; }

  // setSending: whether they go out.
  void setSending(bool on) { m_isSending = on; }

  // put: keeps a command and sends it at once if nothing is in its way.
  bool put(const uint8_t* bytes, std::size_t length, bool mayReplace);

  // work: sends what is due; gives the command that is given up.
  std::optional<VtFailure_s> work();

  // answer: takes an answer of the VT. False when nobody asked for it.
  bool answer(const std::vector<uint8_t>& data, std::optional<VtFailure_s>& failure);

  std::size_t waiting() const { return m_queue.size() + (m_tries.isOpen() ? 1 : 0); }
  uint64_t dueMs() const;

private:
  bool isAboutCommandInFlight(const std::vector<uint8_t>& data) const;
  void sendNext();
  void sendInFlight();
  VtFailure_s fail(uint8_t error);
  void endInFlight();

  VtConnectionLink_c& m_link;
  VtClientStatistics_s& m_statistics;
  VtCommandQueue_c m_queue;
  VtCommand_s m_inFlight; // while m_tries is open
  VtTries_c m_tries;
  bool m_isKept = false;
  bool m_isSending = false;
};

} // namespace IsoBusHost
