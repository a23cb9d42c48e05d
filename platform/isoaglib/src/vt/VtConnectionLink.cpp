#include "VtConnectionLink.h"

#include <algorithm>
#include <array>
#include <utility>

namespace IsoBusHost {

namespace {

constexpr std::size_t frameBytes = 8;
constexpr uint8_t unused = 0xFF;
constexpr uint8_t vtPriority = 5;

} // namespace

const OwnFunction_c* VtConnectionLink_c::function() const {
  const bool isHere = m_ident != nullptr && m_ident->isRegistered && m_ident->instance == m_instance;
  const OwnFunction_c* function = isHere && nodeOf(m_instance) != nullptr ? m_ident->function : nullptr;
  return function != nullptr && function->state() == ClaimState_e::claimed ? function : nullptr;
}

uint8_t VtConnectionLink_c::ownAddress() const {
  return function() == nullptr ? nullAddress : function()->address();
}

bool VtConnectionLink_c::announce() {
  return function() != nullptr && nodeOf(m_instance)->announce(*function());
}

bool VtConnectionLink_c::isAnnouncing() const {
  return function() != nullptr && nodeOf(m_instance)->isAnnouncing(*function());
}

bool VtConnectionLink_c::send(const uint8_t* bytes, std::size_t length) {
  std::array<uint8_t, frameBytes> frame;
  frame.fill(unused);
  std::copy_n(bytes, std::min(length, frameBytes), frame.begin());
  const OwnFunction_c* from = function();
  return from != nullptr &&
         nodeOf(m_instance)->send(*from, VtPgn::toVt, vtPriority, m_vtAddress, frame.data(), frame.size());
}

bool VtConnectionLink_c::sendLong(std::vector<uint8_t> bytes) {
  forgetTransfer();
  const OwnFunction_c* from = function();
  IsoMessage_s message{VtPgn::toVt, vtPriority, nullAddress, m_vtAddress, std::move(bytes)};
  const auto told = [transfer = m_transfer](bool sent) { *transfer = sent ? Transfer_e::sent : Transfer_e::failed; };
  const bool isTaken = from != nullptr && nodeOf(m_instance)->send(*from, std::move(message), told);
  *m_transfer = isTaken ? Transfer_e::underWay : Transfer_e::failed;
  return isTaken;
}

void VtConnectionLink_c::forgetTransfer() {
  if (*m_transfer == Transfer_e::none) {
    return;
  }
  if (*m_transfer == Transfer_e::underWay) {
    m_forgotten = m_transfer;
  }
  m_transfer = std::make_shared<Transfer_e>(Transfer_e::none);
}

void VtTries_c::tried(uint64_t nowMs) {
  ++m_count;
  m_dueMs = nowMs + vtAnswerMs;
}

} // namespace IsoBusHost
