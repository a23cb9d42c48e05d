#include "VtClientBus.h"

#include "CanTransport.h"
#include "HostClock.h"
#include "Identification.h"

#include <array>
#include <cstdio>
#include <stdexcept>

using namespace IsoBusHost;

namespace VtTest {

namespace {

constexpr uint32_t toEcu = 0xE600;
constexpr uint32_t toVt = 0xE700;

std::string decimal(uint64_t value) {
  return std::to_string(value);
}

} // namespace

std::string hexOf(const std::vector<uint8_t>& bytes) {
  std::string text;
  for (const uint8_t byte : bytes) {
    char digits[4];
    std::snprintf(digits, sizeof digits, "%s%02X", text.empty() ? "" : " ", byte);
    text += digits;
  }
  return text;
}

// --- The pool

Pool_c::Pool_c()
    : iVtObjectPool_c(m_objects, 10), m_children{{&container, 0, 0}, {&number, 10, 20}},
      m_maskChildren{{&number, 0, 0}}, m_items{&number, nullptr}, m_keys{&key}, m_objects{&workingSet,  &mask,
                                                                                          &container,   &number,
                                                                                          &font,        &variable,
                                                                                          &text,        &list,
                                                                                          &softKeyMask, &key} {
  m_workingSetRecord.object.ID = 1000;
  m_workingSetRecord.selectable = 1;
  m_workingSetRecord.activeMask = &mask;
  m_maskRecord.object.ID = 1100;
  m_maskRecord.backgroundColour = 12;
  m_maskRecord.softKeyMask = &softKeyMask;
  m_maskRecord.numberOfChildren = 2;
  m_maskRecord.children = m_children;
  m_containerRecord.object.ID = 1200;
  m_containerRecord.width = 100;
  m_containerRecord.height = 50;
  m_numberRecord.object.ID = 1300;
  m_numberRecord.width = 80;
  m_numberRecord.height = 20;
  m_numberRecord.fontAttributes = &font;
  m_numberRecord.variableReference = &variable;
  m_numberRecord.scale = 1.0F;
  m_fontRecord.object.ID = 1350;
  m_variableRecord.object.ID = 1400;
  m_variableRecord.value = 5;
  m_textRecord.object.ID = 1500;
  m_textRecord.length = 10;
  m_textRecord.value = m_text;
  m_listRecord.object.ID = 1600;
  m_listRecord.numberOfItems = 2;
  m_listRecord.items = m_items;
  m_softKeyMaskRecord.object.ID = 1700;
  m_softKeyMaskRecord.numberOfKeys = 1;
  m_softKeyMaskRecord.keys = m_keys;
  m_keyRecord.object.ID = 1701;
  m_keyRecord.keyCode = 7;
  workingSet.init(&m_workingSetRecord);
  mask.init(&m_maskRecord);
  container.init(&m_containerRecord);
  number.init(&m_numberRecord);
  font.init(&m_fontRecord);
  variable.init(&m_variableRecord);
  text.init(&m_textRecord);
  list.init(&m_listRecord);
  softKeyMask.init(&m_softKeyMaskRecord);
  key.init(&m_keyRecord);
}

void Pool_c::tell(const std::string& what) {
  told.push_back(what);
  if (onTold) {
    const auto does = onTold;
    does(what);
  }
}

void Pool_c::eventConnected(const IsoAgLib::iVtProperties_s& properties) {
  vt = properties;
  tell("connected");
}

void Pool_c::eventDisconnected() {
  tell("disconnected");
}

void Pool_c::eventRefused(const char* reason) {
  tell(std::string("refused: ") + reason);
}

void Pool_c::eventSoftKey(uint8_t keyCode, uint16_t keyID, uint16_t maskID, IsoAgLib::iVtKeyState_t state) {
  tell("soft key " + decimal(keyCode) + " " + decimal(keyID) + " " + decimal(maskID) + " " + decimal(state));
}

void Pool_c::eventButton(uint8_t keyCode, uint16_t buttonID, uint16_t parentID, IsoAgLib::iVtKeyState_t state) {
  tell("button " + decimal(keyCode) + " " + decimal(buttonID) + " " + decimal(parentID) + " " + decimal(state));
}

void Pool_c::eventNumericValue(uint16_t objectID, uint32_t value) {
  tell("number " + decimal(objectID) + " " + decimal(value));
}

void Pool_c::eventStringValue(uint16_t objectID, const char* value, uint8_t length) {
  tell("text " + decimal(objectID) + " \"" + value + "\" " + decimal(length));
}

void Pool_c::eventSelectInput(uint16_t objectID, bool isSelected, bool isOpen) {
  tell("select " + decimal(objectID) + " " + decimal(isSelected ? 1 : 0) + " " + decimal(isOpen ? 1 : 0));
}

void Pool_c::eventCommandFailed(uint8_t command, uint16_t objectID, uint8_t error) {
  tell("failed " + hexOf({command}) + " " + decimal(objectID) + " " + hexOf({error}));
}

uint8_t Pool_c::convertColour(uint8_t colour, const IsoAgLib::iVtProperties_s& properties,
                              const IsoAgLib::iVtObject_c* object, IsoAgLib::e_vtColour kind) {
  if (onColour) {
    onColour();
  }
  return iVtObjectPool_c::convertColour(colour, properties, object, kind);
}

// --- The VT

const char* const PlayedVt_c::standardName = "01 00 00 00 00 1D 00 A0";

PlayedVt_c::PlayedVt_c(const std::string& name, uint8_t address, const std::string& bus)
    : m_startMs(HostClock::nowMs()) {
  std::string error;
  m_port = std::make_unique<CanPort_c>(openTransport("local:" + bus, error));
  m_node = std::make_unique<BusNode_c>(*m_port);
  m_node->setNetworkManagement(true);
  m_node->setMultiReceive(true);
  m_node->setMultiSend(true);
  FunctionSettings_s settings;
  settings.name = BusText::nameOf(name);
  settings.preferredAddress = address;
  m_function = m_node->add(settings);
  m_node->onMessage([this](const IsoMessage_s& message) { hear(message); });
}

void PlayedVt_c::run() {
  if (!isThere) {
    while (m_port->receive()) {
    }
    return;
  }
  m_node->poll();
  const bool isUp = m_function->state() == ClaimState_e::claimed;
  if (isOn && isUp && HostClock::nowMs() >= m_statusMs) {
    m_statusMs = HostClock::nowMs() + 1000;
    status(busy);
  }
}

void PlayedVt_c::status(const std::string& busyByte) {
  tell(toEcu, "FE FF FF FF FF FF " + busyByte + " FF");
}

void PlayedVt_c::tell(uint32_t pgn, const std::string& bytes) {
  m_node->send(*m_function, {pgn, 7, nullAddress, globalAddress, bytesOf(bytes)});
}

void PlayedVt_c::say(const std::string& bytes, uint8_t to) {
  m_node->send(*m_function, {toEcu, 7, nullAddress, to, bytesOf(bytes)});
}

void PlayedVt_c::hear(const IsoMessage_s& message) {
  if (message.pgn == Pgn::workingSetMaster || message.pgn == Pgn::workingSetMember) {
    heard.push_back(BusText::textOf(message));
  }
  if (message.pgn != toVt || message.data.empty()) {
    return;
  }
  const uint8_t code = message.data[0];
  const std::string text = hexOf(message.data);
  if (code == 0xFF) {
    maintenance.push_back(decimal(HostClock::nowMs() - m_startMs) + " " + text);
  } else if (code == 0x11) {
    pool = message.data;
    heard.push_back("11 ...");
  } else {
    heard.push_back(text);
  }
  const auto answerTo = answers.find(code);
  const std::string said = answerTo == answers.end() ? "" : answerTo->second(message.data);
  if (!said.empty()) {
    say(said, message.source);
  }
}

void answerAll(PlayedVt_c& vt) {
  vt.answer(0xC0, "C0 04 00 FF FF FF FF FF");
  vt.answer(0xC2, "C2 00 FF FF 3C 20 40 08");
  vt.answer(0xC3, "C3 FF FF FF FF 7F 3F 8F");
  vt.answer(0xC7, "C7 0C 02 0F E0 01 E0 01");
  vt.answer(0xDF, "E0 00 FF FF FF FF FF FF");
  vt.answer(0xD0, "D0 FF FF FF FF 00 FF FF");
  vt.answer(0xD1, "D1 FF FF FF FF 00 FF FF");
  vt.answer(0x12, "12 00 FF FF FF FF 00 FF");
  constexpr std::array<uint8_t, 8> commands{0xA0, 0xA1, 0xA8, 0xAD, 0xAE, 0xAF, 0xB1, 0xB3};
  for (const uint8_t code : commands) {
    vt.answers[code] = contentAnswer;
  }
}

std::string contentAnswer(const std::vector<uint8_t>& command) {
  std::vector<uint8_t> answer(command.begin(), command.begin() + 8);
  switch (command[0]) {
  case 0xA0:
  case 0xA1:
  case 0xAF:
    answer[4] = 0;
    answer.resize(5);
    break;
  case 0xA8:
    answer[3] = 0;
    break;
  case 0xAD:
    answer = {0xAD, command[3], command[4], 0};
    break;
  case 0xAE:
    answer = {0xAE, command[2], command[3], command[4], command[5], 0};
    break;
  case 0xB1:
    answer[6] = 0;
    break;
  case 0xB3:
    answer = {0xB3, 0xFF, 0xFF, command[1], command[2], 0};
    break;
  default:
    throw std::logic_error("no answer");
  }
  answer.resize(8, 0xFF);
  return hexOf(answer);
}

// --- The storage

void Storage_s::loadPreferredVt(IsoAgLib::iIsoName_c& name, uint8_t& bootTime) {
  if (!preferred.empty()) {
    name = IsoAgLib::iIsoName_c(bytesOf(preferred).data());
    bootTime = preferredBootTime;
  }
}

void Storage_s::storePreferredVt(const IsoAgLib::iIsoName_c& name, uint8_t bootTime) {
  stored.push_back(hexOf({name.outputString(), name.outputString() + 8}) + ", " + decimal(bootTime));
}

// --- The fixture

void VtClientFixture::SetUp() {
  HostFixture::SetUp();
  __IsoAgLib::getSchedulerInstance().init(&errors);
  ident = std::make_unique<IsoAgLib::iIdentItem_c>();
  startStack(0, *ident, storage, "07 00 00 00 00 80 00 A0");
}

void VtClientFixture::TearDown() {
  eachRound = {};
  HostFixture::TearDown();
}

void VtClientFixture::startStack(unsigned int instance, IsoAgLib::iIdentItem_c& item, Storage_s& store,
                                 const std::string& name, int8_t members) {
  __IsoAgLib::getCanInstance(instance).init(static_cast<uint8_t>(instance), 250);
  __IsoAgLib::getIsoMonitorInstance(instance).init();
  __IsoAgLib::getMultiReceiveInstance(instance).init();
  __IsoAgLib::getMultiSendInstance(instance).init();
  __IsoAgLib::getVtClientInstance(static_cast<uint8_t>(instance)).init();
  item.init(__IsoAgLib::IsoName_c(bytesOf(name).data()), store, members, nullptr, true);
  __IsoAgLib::getIsoMonitorInstance(instance).registerIdentItem(item);
}

__IsoAgLib::VtClientConnection_c& VtClientFixture::registerPool(const char* label, bool hasStorage) {
  return *client().initAndRegisterObjectPool(*ident, pool, label, hasStorage ? &storage : nullptr);
}

PlayedVt_c& VtClientFixture::startVt(const std::string& name, uint8_t address, const std::string& bus) {
  vts.push_back(std::make_unique<PlayedVt_c>(name, address, bus));
  answerAll(*vts.back());
  return *vts.back();
}

void VtClientFixture::settle() {
  constexpr int mostRounds = 1000;
  for (int round = 0; round < mostRounds; ++round) {
    const bool isDue = __IsoAgLib::getSchedulerInstance().runDueWork() == 0;
    bool isPending = eachRound && eachRound();
    for (const auto& vt : vts) {
      vt->run();
    }
    for (const auto& vt : vts) {
      isPending = isPending || (vt->isThere && vt->port().hasPending());
    }
    for (const unsigned int instance : {0U, 1U}) {
      isPending = isPending || (Host::port(instance) != nullptr && Host::port(instance)->hasPending());
    }
    if (!isDue && !isPending) {
      return;
    }
  }
}

void VtClientFixture::run(uint64_t milliseconds) {
  constexpr uint64_t stepMs = 10;
  settle();
  for (uint64_t passed = 0; passed < milliseconds; passed += stepMs) {
    HostClock::advanceMs(stepMs);
    settle();
  }
}

PlayedVt_c& VtClientFixture::connect(const char* label) {
  PlayedVt_c& vt = startVt();
  registerPool(label);
  run(2000);
  vt.heard.clear();
  pool.told.clear();
  errors.lines.clear();
  return vt;
}

} // namespace VtTest
