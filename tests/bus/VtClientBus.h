// A VT client of the host stack on the bus inside the process, its pool, and a VT that is played by hand. The clock is
// turned by hand.
#pragma once

#include "BusNode.h"
#include "BusText.h"
#include "Host.h"
#include "HostFixture.h"
#include "IsoAgLib/isoaglib.h"
#include "VtClientHost.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace VtTest {

using BusText::bytesOf;
using Texts = std::vector<std::string>;

// hexOf: bytes as "A8 E8 03".
std::string hexOf(const std::vector<uint8_t>& bytes);

// Pool_c: a working set 1000 with one mask 1100, a container 1200, an output number 1300 with the variable 1400, a text
// variable 1500 of 10 bytes, an input list 1600, a soft key mask 1700 with the key 1701; it keeps what it is told.
class Pool_c : public IsoAgLib::iVtObjectPool_c {
public:
  Pool_c();

  void eventConnected(const IsoAgLib::iVtProperties_s& vt) override;
  void eventDisconnected() override;
  void eventRefused(const char* reason) override;
  void eventSoftKey(uint8_t keyCode, uint16_t keyID, uint16_t maskID, IsoAgLib::iVtKeyState_t state) override;
  void eventButton(uint8_t keyCode, uint16_t buttonID, uint16_t parentID, IsoAgLib::iVtKeyState_t state) override;
  void eventNumericValue(uint16_t objectID, uint32_t value) override;
  void eventStringValue(uint16_t objectID, const char* text, uint8_t length) override;
  void eventSelectInput(uint16_t objectID, bool isSelected, bool isOpen) override;
  void eventCommandFailed(uint8_t command, uint16_t objectID, uint8_t error) override;
  uint8_t convertColour(uint8_t colour, const IsoAgLib::iVtProperties_s& properties,
                        const IsoAgLib::iVtObject_c* object, IsoAgLib::e_vtColour kind) override;

  // set: changes the value of the variable 1400.
  bool set(uint32_t value, bool mayReplace = true) { return variable.setValue(value, true, mayReplace); }

  Texts take() { return std::exchange(told, {}); }

  Texts told;
  std::function<void(const std::string&)> onTold; // what the application does when it is told something
  std::function<void()> onColour;                 // what the application does when it is asked for a colour
  IsoAgLib::iVtProperties_s vt{};

  IsoAgLib::iVtObjectWorkingSet_c workingSet;
  IsoAgLib::iVtObjectDataMask_c mask;
  IsoAgLib::iVtObjectContainer_c container;
  IsoAgLib::iVtObjectOutputNumber_c number;
  IsoAgLib::iVtObjectFontAttributes_c font;
  IsoAgLib::iVtObjectNumberVariable_c variable;
  IsoAgLib::iVtObjectStringVariable_c text;
  IsoAgLib::iVtObjectInputList_c list;
  IsoAgLib::iVtObjectSoftKeyMask_c softKeyMask;
  IsoAgLib::iVtObjectKey_c key;

private:
  void tell(const std::string& what);

  IsoAgLib::iVtChild_s m_children[2];
  IsoAgLib::iVtChild_s m_maskChildren[1];
  IsoAgLib::iVtObject_c* m_items[2];
  IsoAgLib::iVtObject_c* m_keys[1];
  char m_text[11] = "          ";
  IsoAgLib::iVtObjectWorkingSet_s m_workingSetRecord{};
  IsoAgLib::iVtObjectDataMask_s m_maskRecord{};
  IsoAgLib::iVtObjectContainer_s m_containerRecord{};
  IsoAgLib::iVtObjectOutputNumber_s m_numberRecord{};
  IsoAgLib::iVtObjectFontAttributes_s m_fontRecord{};
  IsoAgLib::iVtObjectNumberVariable_s m_variableRecord{};
  IsoAgLib::iVtObjectStringVariable_s m_textRecord{};
  IsoAgLib::iVtObjectInputList_s m_listRecord{};
  IsoAgLib::iVtObjectSoftKeyMask_s m_softKeyMaskRecord{};
  IsoAgLib::iVtObjectKey_s m_keyRecord{};
  __IsoAgLib::vtObject_c* m_objects[10];
};

// PlayedVt_c: a VT that answers as it is told to and keeps what working sets say.
class PlayedVt_c {
public:
  // Takes    name: NAME as text; bus: "can0" or "can1"
  explicit PlayedVt_c(const std::string& name = standardName, uint8_t address = 0x26, const std::string& bus = "can0");

  // run: what is due at this time: a status each second while it is on.
  void run();

  // say: sends a message to a working set; tell: to all.
  void say(const std::string& bytes, uint8_t to = 0x80);
  void tell(uint32_t pgn, const std::string& bytes);
  void status(const std::string& busy = "00");

  // heard: what the working sets have said so far, the function code first, maintenance aside.
  Texts take() { return std::exchange(heard, {}); }

  // answers: by function code; the command is given, the answer returned, empty: none. Without an entry: no answer.
  std::map<uint8_t, std::function<std::string(const std::vector<uint8_t>&)>> answers;
  void answer(uint8_t code, const std::string& bytes) {
    answers[code] = [bytes](const std::vector<uint8_t>&) { return bytes; };
  }
  void silent(uint8_t code) { answers.erase(code); }

  bool isOn = true;    // sends its status
  bool isThere = true; // hears and sends anything at all
  std::string busy = "00";
  Texts heard;
  Texts maintenance;         // those with the time in front: "250 FF 01 04 FF FF FF FF FF"
  std::vector<uint8_t> pool; // the last one, function code included
  IsoBusHost::BusNode_c& node() { return *m_node; }
  IsoBusHost::CanPort_c& port() { return *m_port; }

  static const char* const standardName;

private:
  void hear(const IsoBusHost::IsoMessage_s& message);

  std::unique_ptr<IsoBusHost::CanPort_c> m_port;
  std::unique_ptr<IsoBusHost::BusNode_c> m_node;
  IsoBusHost::OwnFunction_c* m_function;
  uint64_t m_statusMs = 0;
  uint64_t m_startMs;
};

// Storage_s: what an identity and a VT client keep.
struct Storage_s final : IsoAgLib::iIdentDataStorage_c, IsoAgLib::iVtClientDataStorage_c {
  uint8_t loadSa() override { return address; }
  void storeSa(uint8_t /*sa*/) override {}
  void loadDtcs(IsoAgLib::iDtcContainer_c& /*dtcs*/) override {}
  void storeDtcs(const IsoAgLib::iDtcContainer_c& /*dtcs*/) override {}
  void loadPreferredVt(IsoAgLib::iIsoName_c& name, uint8_t& bootTime) override;
  void storePreferredVt(const IsoAgLib::iIsoName_c& name, uint8_t bootTime) override;

  uint8_t address = 0x80;
  std::string preferred; // NAME, empty: none
  uint8_t preferredBootTime = 0;
  Texts stored; // "01 00 ... 80, 12"
};

struct Errors_s final : IsoAgLib::iErrorObserver_c {
  void onError(const char* text) override { lines.emplace_back(text); }
  Texts lines;
  Texts take() { return std::exchange(lines, {}); }
};

// VtClientFixture: a stack whose instance 0 has an identity at 80 and a VT client; a VT is there or comes later.
class VtClientFixture : public TestSupport::HostFixture {
protected:
  void SetUp() override;
  void TearDown() override;

  // startStack: switches an instance on, with an identity.
  void startStack(unsigned int instance, IsoAgLib::iIdentItem_c& item, Storage_s& store, const std::string& name,
                  int8_t members = 0);

  // registerPool: begins the connection of pool.
  __IsoAgLib::VtClientConnection_c& registerPool(const char* label = nullptr, bool hasStorage = false);

  // startVt: puts a VT on the bus that answers every question and takes every pool and command.
  PlayedVt_c& startVt(const std::string& name = PlayedVt_c::standardName, uint8_t address = 0x26,
                      const std::string& bus = "can0");

  // settle: carries frames until nobody has anything more to say; run: the same with the clock turned on by 10 ms.
  void settle();
  void run(uint64_t milliseconds);

  // connect: registers the pool and lets it connect to a VT, then forgets what was said.
  PlayedVt_c& connect(const char* label = nullptr);

  __IsoAgLib::VtClient_c& client() { return __IsoAgLib::getVtClientInstance(0); }
  __IsoAgLib::VtClientConnection_c& connection() { return client().getClientByID(0); }
  IsoBusHost::VtClientStatistics_s statistics() { return IsoBusHost::vtClientStatistics(connection()); }

  Errors_s errors;
  Storage_s storage;
  Pool_c pool;
  std::unique_ptr<IsoAgLib::iIdentItem_c> ident;
  std::vector<std::unique_ptr<PlayedVt_c>> vts;
  std::function<bool()> eachRound; // runs what else is on the bus; whether it has more to do
};

// The answers of a VT that is content with everything; commands are answered as ISO 11783-6 has it.
void answerAll(PlayedVt_c& vt);
std::string contentAnswer(const std::vector<uint8_t>& command);

} // namespace VtTest
