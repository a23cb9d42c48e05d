// What the operator of the terminal does.
#include "TerminalClient.h"

#include "HostClock.h"

#include <algorithm>
#include <utility>

using namespace IsoBusHost;

namespace {

constexpr uint64_t answerTimeMs = 1500;
constexpr uint64_t repeatMs = 200;
constexpr int version4 = 4;

} // namespace

std::string Terminal_c::show(uint8_t address) {
  Client_s* client = clientAt(address);
  if (client == nullptr) {
    return "there is no client at address " + std::to_string(address);
  }
  if (!client->model.hasPool()) {
    return "the client has no pool";
  }
  setShown(*client);
  tellChanges();
  return {};
}

// input: lets the model take the input, and sends what follows.
std::string Terminal_c::input(uint8_t address, const std::function<InputResult_s(WorkingSetModel_c&)>& what) {
  Client_s* client = clientAt(address);
  if (client == nullptr) {
    return "there is no client at address " + std::to_string(address);
  }
  InputResult_s result = what(client->model);
  if (!result.error.empty()) {
    return result.error;
  }
  ++client->state.inputsSent;
  client->waiting.push_back({result.message[0], HostClock::nowMs() + answerTimeMs});
  send(client->state.address, std::move(result.message));
  tellChanges();
  return {};
}

// --- Keys

std::string Terminal_c::key(uint8_t client, uint16_t id, KeyState_e state) {
  return press(client, id, false, state);
}

std::string Terminal_c::button(uint8_t client, uint16_t id, KeyState_e state) {
  return press(client, id, true, state);
}

std::string Terminal_c::press(uint8_t address, uint16_t id, bool isButton, KeyState_e state) {
  const Client_s* client = clientAt(address);
  const auto held = std::find_if(m_heldKeys.begin(), m_heldKeys.end(), [&](const HeldKey_s& key) {
    return client != nullptr && key.client == client->number && key.id == id;
  });
  const bool isHeld = held != m_heldKeys.end();
  if (client != nullptr && isHeld == (state == KeyState_e::pressed)) {
    return "object " + std::to_string(id) + (isHeld ? " is pressed already" : " is not pressed");
  }
  std::string error = input(
      address, [&](WorkingSetModel_c& model) { return isButton ? model.button(id, state) : model.key(id, state); });
  if (!error.empty()) {
    return error;
  }
  if (state == KeyState_e::pressed) {
    m_heldKeys.push_back({client->number, id, isButton, HostClock::nowMs() + repeatMs});
  } else if (state == KeyState_e::held) {
    held->dueMs = HostClock::nowMs() + repeatMs;
  } else {
    m_heldKeys.erase(held);
  }
  return {};
}

// repeatHeldKeys: a key that has gone from the screen is held no longer.
void Terminal_c::repeatHeldKeys() {
  const std::vector<HeldKey_s> keys = m_heldKeys;
  for (const HeldKey_s& key : keys) {
    const auto client = std::find_if(m_clients.begin(), m_clients.end(),
                                     [&key](const auto& known) { return known->number == key.client; });
    if (key.dueMs > HostClock::nowMs() || client == m_clients.end()) {
      continue;
    }
    const KeyState_e gone = m_settings.version >= version4 ? KeyState_e::aborted : KeyState_e::released;
    const bool isVisible = (*client)->model.isVisible(key.id);
    press((*client)->state.address, key.id, key.isButton, isVisible ? KeyState_e::held : gone);
  }
}

// --- Fields

std::string Terminal_c::enterNumber(uint8_t client, uint16_t id, uint32_t value) {
  return input(client, [&](WorkingSetModel_c& model) { return model.enterNumber(id, value); });
}

std::string Terminal_c::enterText(uint8_t client, uint16_t id, const Bytes& text) {
  return input(client, [&](WorkingSetModel_c& model) { return model.enterText(id, text); });
}

std::string Terminal_c::select(uint8_t client, uint16_t id, bool open) {
  return input(client, [&](WorkingSetModel_c& model) { return model.select(id, open); });
}

std::string Terminal_c::unselect(uint8_t client) {
  return input(client, [](WorkingSetModel_c& model) { return model.unselect(); });
}

std::string Terminal_c::escape(uint8_t client) {
  return input(client, [](WorkingSetModel_c& model) { return model.escape(); });
}

std::string Terminal_c::point(uint8_t client, uint16_t x, uint16_t y, KeyState_e state) {
  return input(client, [&](WorkingSetModel_c& model) { return model.point(x, y, state); });
}

void Terminal_c::sendUnasked(Client_s& client) {
  for (Bytes& message : client.model.takeUnasked()) {
    send(client.state.address, std::move(message));
  }
}
