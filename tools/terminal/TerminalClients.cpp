// The terminal's clients: who they are, whose masks are seen, queries, pools and versions.
#include "TerminalClient.h"

#include "HostClock.h"

#include <algorithm>
#include <utility>

using namespace IsoBusHost;

namespace {

constexpr int version4 = 4;

template <typename Container_c>
VersionLabel_t labelOf(const Container_c& bytes) {
  VersionLabel_t label;
  std::copy_n(bytes.begin() + 1, label.size(), label.begin());
  return label;
}

// versionAnswer: of the commands that store, load and delete.
WorkingSetModel_c::Bytes versionAnswer(uint8_t code, uint8_t error) {
  return {code, unusedByte, unusedByte, unusedByte, unusedByte, error, unusedByte, unusedByte};
}

WorkingSetModel_c::Bytes toFrame(WorkingSetModel_c::Bytes bytes) {
  constexpr std::size_t frameBytes = 8;
  bytes.resize(std::max(bytes.size(), frameBytes), unusedByte);
  return bytes;
}

} // namespace

// --- Who they are

uint64_t Terminal_c::nameAt(uint8_t address) const {
  const auto found = m_node.others().find(address);
  return found == m_node.others().end() ? 0 : found->second;
}

Terminal_c::Client_s* Terminal_c::clientAt(uint8_t address) const {
  const auto found = std::find_if(m_clients.begin(), m_clients.end(),
                                  [address](const auto& client) { return client->state.address == address; });
  return found == m_clients.end() || address == nullAddress ? nullptr : found->get();
}

// clientOf: the client whose master or member sends from the address.
Terminal_c::Client_s* Terminal_c::clientOf(uint8_t source, bool& isMaster) {
  Client_s* master = clientAt(source);
  isMaster = master != nullptr;
  if (isMaster) {
    return master;
  }
  const uint64_t name = nameAt(source);
  for (const auto& client : m_clients) {
    const auto workingSet = m_workingSets.find(client->state.address);
    if (name != 0 && workingSet != m_workingSets.end() && workingSet->second.names.count(name) != 0) {
      return client.get();
    }
  }
  return nullptr;
}

// followAddresses: a client is its NAME; when that moves, the client moves along. Who takes its place is somebody else.
void Terminal_c::followAddresses() {
  for (const auto& client : m_clients) {
    TerminalClient_s& state = client->state;
    const uint64_t nameHere = nameAt(state.address);
    if (state.name == 0) {
      state.name = nameHere;
    }
    if (nameHere == state.name || state.name == 0) {
      continue;
    }
    const auto moved = std::find_if(m_node.others().begin(), m_node.others().end(),
                                    [&state](const auto& other) { return other.second == state.name; });
    const uint8_t newAddress = moved == m_node.others().end() ? nullAddress : moved->first;
    const auto workingSet = m_workingSets.find(state.address);
    if (workingSet != m_workingSets.end() && newAddress != nullAddress && workingSet->second.name == state.name) {
      m_workingSets[newAddress] = workingSet->second;
      m_workingSets.erase(state.address);
    }
    state.address = newAddress;
  }
}

void Terminal_c::addClient(uint8_t source, int version) {
  const uint64_t number = ++m_lastClient;
  const ModelSettings_s settings = {m_settings.version, m_settings.graphic};
  auto client = std::make_unique<Client_s>(settings, [this, number](const Change_s& change) {
    for (const auto& known : m_clients) {
      if (known->number == number) {
        queue(*known, change);
      }
    }
  });
  client->number = number;
  client->state.address = source;
  client->state.name = nameAt(source);
  client->state.version = version;
  client->maintainedMs = HostClock::nowMs();
  m_clients.push_back(std::move(client));
  Change_s change;
  change.kind = ChangeKind_e::clientCame;
  queue(*m_clients.back(), std::move(change));
}

void Terminal_c::loseClient(const Client_s& client, const std::string& why) {
  Change_s change;
  change.kind = ChangeKind_e::clientLost;
  change.text = why;
  queue(client, std::move(change));
  const uint8_t address = client.state.address;
  const uint64_t number = client.number;
  m_answers.erase(std::remove_if(m_answers.begin(), m_answers.end(),
                                 [address](const Answer_s& late) { return late.destination == address; }),
                  m_answers.end());
  m_heldKeys.erase(std::remove_if(m_heldKeys.begin(), m_heldKeys.end(),
                                  [number](const HeldKey_s& key) { return key.client == number; }),
                   m_heldKeys.end());
  m_clients.erase(std::find_if(m_clients.begin(), m_clients.end(),
                               [&client](const auto& known) { return known.get() == &client; }));
  if (isOnBus()) {
    showSomebody();
  }
}

TerminalClient_s Terminal_c::stateOf(const Client_s& client) const {
  TerminalClient_s state = client.state;
  state.hasPool = client.model.hasPool();
  state.isShown = client.model.isShown();
  state.activeMask = client.model.activeMask();
  state.softKeyMask = client.model.softKeyMask();
  return state;
}

std::vector<TerminalClient_s> Terminal_c::clients() const {
  std::vector<TerminalClient_s> states;
  for (const auto& client : m_clients) {
    states.push_back(stateOf(*client));
  }
  return states;
}

const WorkingSetModel_c* Terminal_c::model(uint8_t client) const {
  const Client_s* found = clientAt(client);
  return found == nullptr ? nullptr : &found->model;
}

const TerminalObject_s* Terminal_c::object(uint8_t client, uint16_t id) const {
  const WorkingSetModel_c* found = model(client);
  return found == nullptr ? nullptr : found->pool().find(id);
}

// --- Whose masks are seen

std::optional<uint8_t> Terminal_c::shownClient() const {
  for (const auto& client : m_clients) {
    if (client->model.isShown()) {
      return client->state.address;
    }
  }
  return std::nullopt;
}

// showSomebody: where nobody is seen, the first one with a pool.
void Terminal_c::showSomebody() {
  Client_s* candidate = nullptr;
  for (const auto& client : m_clients) {
    if (client->model.isShown()) {
      return;
    }
    if (candidate == nullptr && client->model.hasPool()) {
      candidate = client.get();
    }
  }
  if (candidate != nullptr) {
    setShown(*candidate);
  }
}

void Terminal_c::setShown(Client_s& client) {
  if (client.model.isShown()) {
    return;
  }
  for (const auto& other : m_clients) {
    other->model.setShown(false);
  }
  client.model.setShown(true);
  Change_s change;
  change.kind = ChangeKind_e::shown;
  queue(client, std::move(change));
}

void Terminal_c::poolGone(Client_s& client) {
  client.outOfMemory = false;
  client.model.setShown(false);
  showSomebody();
}

// --- Answers

Terminal_c::Bytes Terminal_c::answerOf(Client_s& client, const Bytes& bytes) {
  if (bytes[0] == TerminalCode::poolPart) {
    takePool(client, bytes.data() + 1, bytes.size() - 1);
    return {};
  }
  Bytes answered = query(client, bytes);
  if (answered.empty()) {
    answered = client.model.command(bytes);
    client.state.malformed += answered.empty() ? 1 : 0;
  }
  if (client.model.isShown() && !client.model.hasPool()) {
    poolGone(client);
  }
  return answered;
}

// query: the answer to what is no command of the model; empty where it is one.
Terminal_c::Bytes Terminal_c::query(Client_s& client, const Bytes& bytes) {
  constexpr std::size_t frameBytes = 8;
  const bool isWhole = bytes.size() >= frameBytes;
  switch (bytes[0]) {
  case TerminalCode::endOfPool:
    return endPool(client);
  case TerminalCode::getMemory:
    return memory(client, bytes);
  case TerminalCode::getSoftKeys:
    return softKeys();
  case TerminalCode::getFonts:
    return fonts();
  case TerminalCode::getSupportedObjects:
    return m_settings.version >= version4 ? supportedObjects() : Bytes();
  case TerminalCode::getHardware:
    return hardware();
  case TerminalCode::getVersions:
    return versions(client);
  case TerminalCode::storeVersion:
    return isWhole ? storeVersion(client, bytes) : Bytes();
  case TerminalCode::loadVersion:
    return isWhole ? loadVersion(client, bytes) : Bytes();
  case TerminalCode::removeVersion:
    return isWhole ? removeVersion(client, bytes) : Bytes();
  default:
    return {};
  }
}

// --- What the terminal can do

Terminal_c::Bytes Terminal_c::memory(const Client_s& client, const Bytes& bytes) const {
  constexpr std::size_t shortest = 6;
  if (bytes.size() < shortest) {
    return {};
  }
  uint64_t size = 0;
  for (std::size_t index = 0; index < 4; ++index) {
    size |= uint64_t{bytes[2 + index]} << (8U * index);
  }
  const bool fits = size + usedBytes(client) <= m_settings.memoryBytes;
  return toFrame({bytes[0], static_cast<uint8_t>(m_settings.version), fits ? uint8_t{0} : uint8_t{1}});
}

Terminal_c::Bytes Terminal_c::softKeys() const {
  constexpr uint8_t virtualKeys = 64;
  const uint8_t navigationKeys = m_settings.version >= version4 ? 0 : unusedByte;
  return {TerminalCode::getSoftKeys, navigationKeys,       unusedByte,  unusedByte,
          m_settings.keyPixels,      m_settings.keyPixels, virtualKeys, m_settings.physicalKeys};
}

Terminal_c::Bytes Terminal_c::fonts() const {
  constexpr uint8_t allSizes = 0x7F;
  constexpr uint8_t styles = 0x0F;
  const uint8_t proportional = m_settings.version >= version4 ? proportionalBit : 0;
  return {TerminalCode::getFonts,
          unusedByte,
          unusedByte,
          unusedByte,
          unusedByte,
          allSizes,
          allSizes,
          static_cast<uint8_t>(styles | proportional)};
}

Terminal_c::Bytes Terminal_c::supportedObjects() const {
  Bytes bytes = {TerminalCode::getSupportedObjects, 0};
  for (unsigned int type = 0; type <= UINT8_MAX; ++type) {
    if (isSupported(static_cast<ObjectType_e>(type), m_settings.version)) {
      bytes.push_back(static_cast<uint8_t>(type));
    }
  }
  bytes[1] = static_cast<uint8_t>(bytes.size() - 2);
  return bytes;
}

Terminal_c::Bytes Terminal_c::hardware() const {
  constexpr uint8_t touchPointerSoundVolume = 0x0F;
  const auto lowPixels = static_cast<uint8_t>(m_settings.maskPixels);
  const auto highPixels = static_cast<uint8_t>(m_settings.maskPixels >> 8U);
  return {TerminalCode::getHardware,
          unusedByte,
          static_cast<uint8_t>(m_settings.graphic),
          touchPointerSoundVolume,
          lowPixels,
          highPixels,
          lowPixels,
          highPixels};
}

// --- Pools

uint64_t Terminal_c::usedBytes(const Client_s& without) const {
  uint64_t bytes = 0;
  for (const auto& client : m_clients) {
    bytes += client.get() == &without ? 0 : client->model.poolBytes().size();
  }
  return bytes;
}

void Terminal_c::takePool(Client_s& client, const uint8_t* bytes, std::size_t size) {
  const uint64_t needed = usedBytes(client) + client.model.poolBytes().size() + size;
  client.outOfMemory = client.outOfMemory || needed > m_settings.memoryBytes;
  if (!client.outOfMemory) {
    client.model.readPool(bytes, size);
  }
}

Terminal_c::Bytes Terminal_c::endPool(Client_s& client) {
  enum Error_e : uint8_t { inPool = 1, noMemory = 2 };
  constexpr uint8_t deleted = 8;
  uint8_t error = inPool;
  if (client.outOfMemory) {
    error = noMemory;
    client.model.failPool({PoolError_s::other, noObject, noObject, "the pool is larger than the memory"});
  } else if (m_refusal) {
    client.model.failPool({PoolError_s::other, m_refusal->parent, m_refusal->object, "refused on request"});
  }
  const ObjectPool_c::Error found = client.model.endPool();
  client.outOfMemory = false;
  if (!found) {
    showSomebody();
    return {TerminalCode::endOfPool, 0, unusedByte, unusedByte, unusedByte, unusedByte, 0, unusedByte};
  }
  uint8_t poolError = static_cast<uint8_t>(found->reason | deleted);
  if (error == noMemory) {
    poolError = deleted;
  } else if (m_refusal) {
    error = m_refusal->error;
    poolError = m_refusal->poolError;
    m_refusal.reset();
  }
  return {TerminalCode::endOfPool,
          error,
          static_cast<uint8_t>(found->parent),
          static_cast<uint8_t>(found->parent >> 8U),
          static_cast<uint8_t>(found->object),
          static_cast<uint8_t>(found->object >> 8U),
          poolError,
          unusedByte};
}

// --- Versions

Terminal_c::Bytes Terminal_c::versions(const Client_s& client) const {
  const std::vector<VersionLabel_t> labels = m_versions.labels(client.state.name);
  Bytes bytes = {TerminalCode::versions, static_cast<uint8_t>(labels.size())};
  for (const VersionLabel_t& label : labels) {
    bytes.insert(bytes.end(), label.begin(), label.end());
  }
  return toFrame(std::move(bytes));
}

Terminal_c::Bytes Terminal_c::storeVersion(Client_s& client, const Bytes& bytes) {
  enum Error_e : uint8_t { badLabel = 2, noMemory = 4, other = 8 };
  const VersionLabel_t label = labelOf(bytes);
  uint8_t error = 0;
  if (!isLabel(label)) {
    error = badLabel;
  } else if (!client.model.hasPool()) {
    error = other;
  } else if (!m_versions.store(client.state.name, label, client.model.poolBytes())) {
    error = noMemory;
  }
  if (error == 0) {
    Change_s change;
    change.kind = ChangeKind_e::stored;
    change.text.assign(label.begin(), label.end());
    queue(client, std::move(change));
  }
  return versionAnswer(bytes[0], error);
}

Terminal_c::Bytes Terminal_c::loadVersion(Client_s& client, const Bytes& bytes) {
  enum Error_e : uint8_t { damaged = 1, unknown = 2, noMemory = 4, other = 8 };
  const VersionLabel_t label = labelOf(bytes);
  const Bytes* pool = m_versions.find(client.state.name, label);
  if (pool == nullptr) {
    return versionAnswer(bytes[0], unknown);
  }
  if (usedBytes(client) + pool->size() > m_settings.memoryBytes) {
    return versionAnswer(bytes[0], noMemory);
  }
  client.outOfMemory = false;
  client.model.deletePool();
  Change_s change;
  change.kind = ChangeKind_e::loaded;
  change.text.assign(label.begin(), label.end());
  client.model.readPool(pool->data(), pool->size());
  if (client.model.endPool()) {
    return versionAnswer(bytes[0], m_settings.version >= version4 ? damaged : other);
  }
  queue(client, std::move(change));
  showSomebody();
  return versionAnswer(bytes[0], 0);
}

Terminal_c::Bytes Terminal_c::removeVersion(Client_s& client, const Bytes& bytes) {
  enum Error_e : uint8_t { unknown = 2 };
  const VersionLabel_t label = labelOf(bytes);
  if (!m_versions.remove(client.state.name, label)) {
    return versionAnswer(bytes[0], unknown);
  }
  Change_s change;
  change.kind = ChangeKind_e::deleted;
  change.text.assign(label.begin(), label.end());
  queue(client, std::move(change));
  return versionAnswer(bytes[0], 0);
}
