// The pool on its way to the VT: loaded by the VT from its own storage, or uploaded, and stored there afterwards.
#pragma once

#include "VtConnectionLink.h"

#include <functional>
#include <string>
#include <vector>

namespace IsoBusHost {

class VtConnectionPool_c {
public:
  // Writer: returns the records of the pool.
  using Writer = std::function<std::vector<uint8_t>()>;

  explicit VtConnectionPool_c(VtConnectionLink_c& link) : m_link(link) {}

  // load: has the VT take the pool that it stored under a label of 7 characters; store: has it store the one it has.
  void load(const std::string& label);
  void store(const std::string& label);

  // upload: sends the pool; written anew for each attempt.
  void upload(Writer writer);

  // stop: awaits no answer any more.
  void stop();

  enum class State_e {
    waiting,
    done,
    refused,    // with the reason
    unanswered, // or it cannot be sent
  };
  State_e work();

  // answer: takes an answer of the VT. False when nobody asked for it.
  bool answer(const std::vector<uint8_t>& data);

  // status: the VT has sent its status.
  void status(uint8_t busy);

  // reason: what the VT has against the pool.
  const std::string& reason() const { return m_reason; }
  uint64_t dueMs() const;

private:
  void begin(uint8_t question, const std::string& label);
  State_e workOnTransfer();
  State_e workOnQuestion();
  bool isTimeOver() const;
  void sendPool();
  void sendQuestion();

  VtConnectionLink_c& m_link;
  Writer m_writer;
  bool m_isTransferring = false;
  std::vector<uint8_t> m_question;
  VtTries_c m_tries;
  int m_idleStatuses = 0; // in a row, since the question
  State_e m_state = State_e::waiting;
  std::string m_reason;
};

} // namespace IsoBusHost
