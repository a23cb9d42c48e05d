// Lets a VT say whatever the input says to a connected working set, and looks whether the connection comes back when
// the VT is itself again.
//
// The input is a row of steps: a byte for the kind (modulo 8), then what the kind needs; where the input ends early the
// rest is 0.
//
//   0  message of the VT to the working set: 8 bytes
//   1  status of the VT: busy bits
//   2  message of any length: length (modulo 40), bytes
//   3  any frame: PGN (2 bytes, lowest first), source, destination, length, data
//   4  pause: milliseconds (2 bytes, lowest first)
//   5  change of an object: which, value (2 bytes)
//   6  whether the VT answers as it should from now on: 0 not
//   7  answer to the last command with one byte changed: which, by what
#include "BusNode.h"
#include "Host.h"
#include "HostClock.h"
#include "IsoAgLib/isoaglib.h"
#include "Journal.h"
#include "VtClientHost.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace IsoBusHost;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

constexpr uint32_t toEcu = 0xE600;
constexpr uint32_t toVt = 0xE700;
constexpr uint8_t ownAddress = 0x80;
constexpr uint8_t vtAddress = 0x26;
constexpr uint64_t stepMs = 200;
constexpr std::size_t frameBytes = 8;

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

class Input_c {
public:
  Input_c(const uint8_t* data, std::size_t size) : m_data(data), m_end(data + size) {}

  bool isOver() const { return m_data == m_end; }
  uint8_t byte() { return isOver() ? uint8_t{0} : *m_data++; }
  uint16_t number() {
    const uint8_t low = byte();
    return static_cast<uint16_t>(low | byte() << 8);
  }
  std::vector<uint8_t> bytes(std::size_t count) {
    std::vector<uint8_t> all(count);
    std::generate(all.begin(), all.end(), [this] { return byte(); });
    return all;
  }

private:
  const uint8_t* m_data;
  const uint8_t* m_end;
};

class Pool_c final : public IsoAgLib::iVtObjectPool_c {
public:
  Pool_c() : iVtObjectPool_c(m_objects, 4) {
    m_workingSetRecord.object.ID = 1000;
    m_workingSetRecord.selectable = 1;
    m_workingSetRecord.activeMask = &m_mask;
    m_maskRecord.object.ID = 1100;
    m_variableRecord.object.ID = 1400;
    m_textRecord.object.ID = 1500;
    m_textRecord.length = 10;
    m_textRecord.value = m_characters;
    m_workingSet.init(&m_workingSetRecord);
    m_mask.init(&m_maskRecord);
    m_variable.init(&m_variableRecord);
    m_text.init(&m_textRecord);
  }

  void eventConnected(const IsoAgLib::iVtProperties_s& /*vt*/) override {
    require(!m_isConnected);
    m_isConnected = true;
  }
  void eventDisconnected() override {
    require(m_isConnected);
    m_isConnected = false;
  }
  void eventStringValue(uint16_t /*objectID*/, const char* text, uint8_t length) override {
    require(text[length] == '\0');
  }

  void change(uint8_t which, uint16_t value) {
    switch (which % 4U) {
    case 0:
      m_variable.setValue(value, true, true);
      break;
    case 1:
      m_variable.setValue(value, true, false);
      break;
    case 2:
      m_text.setValueCopy("some words", true, true);
      break;
    default:
      m_workingSet.changeActiveMask(&m_mask, true, value != 0);
      break;
    }
  }

private:
  bool m_isConnected = false;
  char m_characters[11] = "          ";
  IsoAgLib::iVtObjectWorkingSet_s m_workingSetRecord{};
  IsoAgLib::iVtObjectDataMask_s m_maskRecord{};
  IsoAgLib::iVtObjectNumberVariable_s m_variableRecord{};
  IsoAgLib::iVtObjectStringVariable_s m_textRecord{};
  IsoAgLib::iVtObjectWorkingSet_c m_workingSet;
  IsoAgLib::iVtObjectDataMask_c m_mask;
  IsoAgLib::iVtObjectNumberVariable_c m_variable;
  IsoAgLib::iVtObjectStringVariable_c m_text;
  __IsoAgLib::vtObject_c* m_objects[4] = {&m_workingSet, &m_mask, &m_variable, &m_text};
};

struct Storage_s final : IsoAgLib::iIdentDataStorage_c {
  uint8_t loadSa() override { return ownAddress; }
  void storeSa(uint8_t /*sa*/) override {}
  void loadDtcs(IsoAgLib::iDtcContainer_c& /*dtcs*/) override {}
  void storeDtcs(const IsoAgLib::iDtcContainer_c& /*dtcs*/) override {}
};

// contentAnswer: what a VT answers that is content; empty: nothing.
std::vector<uint8_t> contentAnswer(const std::vector<uint8_t>& said) {
  std::vector<uint8_t> answer(said.begin(),
                              said.begin() + static_cast<std::ptrdiff_t>(std::min(said.size(), frameBytes)));
  switch (said[0]) {
  case 0x12:
    answer = {0x12, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0};
    break;
  case 0xC0:
    answer = {0xC0, 4, 0};
    break;
  case 0xC2:
  case 0xC3:
  case 0xC7:
    break;
  case 0xDF:
    answer = {0xE0, 0};
    break;
  case 0xD0:
    answer = {0xD0, 0xFF, 0xFF, 0xFF, 0xFF, 0};
    break;
  case 0xA8:
    answer[3] = 0;
    break;
  case 0xAD:
    answer = {0xAD, said[3], said[4], 0};
    break;
  case 0xB3:
    answer = {0xB3, 0xFF, 0xFF, said[1], said[2], 0};
    break;
  default:
    return {};
  }
  answer.resize(frameBytes, 0xFF);
  return answer;
}

class Vt_c {
public:
  Vt_c() {
    m_node.setNetworkManagement(true);
    m_node.setMultiReceive(true);
    m_node.setMultiSend(true);
    FunctionSettings_s settings;
    settings.name = 0xA0001D0000000001ULL;
    settings.preferredAddress = vtAddress;
    m_function = m_node.add(settings);
    m_node.onMessage([this](const IsoMessage_s& message) { hear(message); });
  }

  void run() {
    m_node.poll();
    if (isOn && HostClock::nowMs() >= m_statusMs) {
      m_statusMs = HostClock::nowMs() + 1000;
      status(0);
    }
  }

  void status(uint8_t busy) { send(globalAddress, {0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, busy, 0xFF}); }
  void say(std::vector<uint8_t> data) { send(ownAddress, std::move(data)); }
  void sayChanged(uint8_t place, uint8_t change) {
    std::vector<uint8_t> answer = m_last.empty() ? std::vector<uint8_t>{} : contentAnswer(m_last);
    if (!answer.empty()) {
      answer[place % answer.size()] = static_cast<uint8_t>(answer[place % answer.size()] ^ change);
      say(answer);
    }
  }
  void put(const CanFrame_s& frame) { m_port.send(frame); }
  bool hasPending() const { return m_port.hasPending(); }

  bool isOn = true;
  bool isContent = true;

private:
  void send(uint8_t destination, std::vector<uint8_t> data) {
    m_node.send(*m_function, {toEcu, 7, nullAddress, destination, std::move(data)});
  }

  void hear(const IsoMessage_s& message) {
    if (message.pgn != toVt || message.data.empty()) {
      return;
    }
    require(message.data.size() >= frameBytes);
    m_last = message.data;
    const std::vector<uint8_t> answer = contentAnswer(message.data);
    if (isContent && !answer.empty()) {
      send(message.source, answer);
    }
  }

  std::string m_error;
  CanPort_c m_port{openTransport("local:can0", m_error)};
  BusNode_c m_node{m_port};
  OwnFunction_c* m_function = nullptr;
  uint64_t m_statusMs = 0;
  std::vector<uint8_t> m_last;
};

class Session_c {
public:
  Session_c() {
    __IsoAgLib::getSchedulerInstance().init(nullptr);
    __IsoAgLib::getCanInstance(0).init(0, 250);
    __IsoAgLib::getIsoMonitorInstance(0).init();
    __IsoAgLib::getMultiReceiveInstance(0).init();
    __IsoAgLib::getMultiSendInstance(0).init();
    __IsoAgLib::getVtClientInstance(0).init();
    const uint8_t name[] = {7, 0, 0, 0, 0, 0x80, 0, 0xA0};
    m_ident.init(__IsoAgLib::IsoName_c(name), m_storage, 0, nullptr, true);
    __IsoAgLib::getIsoMonitorInstance(0).registerIdentItem(m_ident);
    require(__IsoAgLib::getVtClientInstance(0).initAndRegisterObjectPool(m_ident, m_pool, "FUZZ") != nullptr);
    run(5000);
    require(connection().isConnected());
  }

  ~Session_c() { Host::reset(); }

  void step(Input_c& input) {
    switch (input.byte() % 8U) {
    case 0:
      m_vt.say(input.bytes(frameBytes));
      break;
    case 1:
      m_vt.status(input.byte());
      break;
    case 2:
      m_vt.say(input.bytes(input.byte() % 40U));
      break;
    case 3:
      m_vt.put(frameOf(input));
      break;
    case 4:
      run(input.number() % 4096U);
      break;
    case 5: {
      const uint8_t which = input.byte();
      m_pool.change(which, input.number());
      break;
    }
    case 6:
      m_vt.isContent = input.byte() != 0;
      break;
    default: {
      const uint8_t place = input.byte();
      m_vt.sayChanged(place, input.byte());
      break;
    }
    }
    settle();
    require(connection().commandsWaiting() <= maxVtCommands + 1);
  }

  // end: the VT goes, comes back and is content.
  void end() {
    m_vt.isOn = false;
    run(4000);
    require(!connection().isConnected());
    m_vt.isOn = true;
    m_vt.isContent = true;
    constexpr int mostSeconds = 60;
    for (int second = 0; second < mostSeconds && !connection().isConnected(); ++second) {
      run(1000);
    }
    require(connection().isConnected());
  }

private:
  static __IsoAgLib::VtClientConnection_c& connection() { return __IsoAgLib::getVtClientInstance(0).getClientByID(0); }

  // The control functions keep their addresses: who claims them is another target's subject.
  static CanFrame_s frameOf(Input_c& input) {
    CanFrame_s frame;
    const uint32_t pgn = input.number();
    const uint8_t source = input.byte();
    const uint8_t destination = input.byte();
    const bool isHarmless = pgn != 0xEE00 && pgn >> 8U != 0xEE && pgn != 0xFED8 && source != ownAddress &&
                            pgn >> 8U != 0xEC && pgn >> 8U != 0xC8;
    frame.identifier = encodeIdentifier({6, isHarmless ? pgn : toEcu, destination, source});
    frame.length = static_cast<uint8_t>(input.byte() % (frameBytes + 1));
    for (std::size_t index = 0; index < frame.length; ++index) {
      frame.data.at(index) = input.byte();
    }
    return frame;
  }

  void settle() {
    constexpr int mostRounds = 200;
    for (int round = 0; round < mostRounds; ++round) {
      const bool isDue = __IsoAgLib::getSchedulerInstance().runDueWork() == 0;
      m_vt.run();
      if (!isDue && !m_vt.hasPending()) {
        return;
      }
    }
  }

  void run(uint64_t milliseconds) {
    settle();
    for (uint64_t passed = 0; passed < milliseconds; passed += stepMs) {
      HostClock::advanceMs(stepMs);
      settle();
    }
  }

  Storage_s m_storage;
  Pool_c m_pool;
  IsoAgLib::iIdentItem_c m_ident;
  Vt_c m_vt;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  HostClock::turnByHand();
  Host::reset();
  Journal::clear();
  Input_c input(data, std::min<std::size_t>(size, 400));
  Session_c session;
  while (!input.isOver()) {
    session.step(input);
  }
  session.end();
  return 0;
}
