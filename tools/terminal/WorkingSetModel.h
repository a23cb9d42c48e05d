// One client of the terminal without bus, input and output: its pool, which masks are active, and the answer to every
// command of ISO 11783-6 up to version 4, byte for byte. The answers repeat what the command says; what it has changed
// is told as data.
//
//   Macros run on the command that runs macros, not on events.
//   Auxiliary controls, window masks, key groups, graphics contexts and colour maps are kept, without a function.
//   Threads: one thread.
#pragma once

#include "Change.h"
#include "ObjectPool.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct ModelSettings_s {
  int version = 4; // 2, 3 or 4
  int graphic = 2; // 0: black and white, 1: 16 colours, 2: 256 colours
};

// InputResult_s: what input of the operator leads to.
struct InputResult_s {
  std::vector<uint8_t> message; // for the client; empty where the input is refused
  std::string error;            // why, one line
};

enum class KeyState_e : uint8_t { released = 0, pressed = 1, held = 2, aborted = 3 };

class WorkingSetModel_c {
public:
  using Bytes = std::vector<uint8_t>;
  using ChangeHandler = std::function<void(const Change_s&)>;

  // Takes    changed: told every change in the order in which it happens; it does not call the model
  WorkingSetModel_c(ModelSettings_s settings, ChangeHandler changed);

  // --- The pool

  // readPool: takes the records of one transfer. After the first error nothing more is taken.
  void readPool(const uint8_t* bytes, std::size_t size);

  // endPool: checks the pool and begins with its active mask, or deletes it.
  //
  //   Gives    none, or the first error
  ObjectPool_c::Error endPool();

  // failPool: the pool is wrong for a reason of the terminal's own.
  void failPool(PoolError_s error);
  void deletePool();

  // hasPool: whether a pool has been ended without an error.
  bool hasPool() const { return m_bHasPool; }

  // poolBytes: what was transferred since the pool was empty.
  const Bytes& poolBytes() const { return m_poolBytes; }

  // --- State

  const ObjectPool_c& pool() const { return m_pool; }
  uint16_t activeMask() const { return m_activeMask; }
  uint16_t softKeyMask() const; // of the active mask
  uint16_t focus() const { return m_focus; }
  bool isOpen() const { return m_bOpen; } // the object in focus is open for input
  bool isLocked() const { return m_bLocked; }

  // isVisible: whether the object is drawn on the active masks, and these are on the screen.
  bool isVisible(uint16_t id) const;

  // setShown: whether the client's masks are on the screen.
  void setShown(bool shown);
  bool isShown() const { return m_bShown; }

  // --- Commands

  // command: does what a message of the client says.
  //
  //   Gives    the answer, 8 bytes; empty where there is none: a message cut off, or a function that this version of
  //            the terminal does not have
  Bytes command(const Bytes& message);

  // work: ends a lock of the mask that ran out. nextDueMs: when that is.
  void work();
  uint64_t nextDueMs() const { return m_unlockMs; }

  // takeUnasked: messages for the client that are no answers: of a lock that has ended.
  std::vector<Bytes> takeUnasked();

  // --- Input of the operator: gives the message for the client, and changes the state as a terminal does.

  InputResult_s key(uint16_t id, KeyState_e state);    // a soft key
  InputResult_s button(uint16_t id, KeyState_e state); // latchable ones change with each press
  InputResult_s enterNumber(uint16_t id, uint32_t value);
  InputResult_s enterText(uint16_t id, const Bytes& text);
  InputResult_s select(uint16_t id, bool open);
  InputResult_s unselect();
  InputResult_s escape();
  InputResult_s point(uint16_t x, uint16_t y, KeyState_e state);

private:
  class Command_c;
  struct CommandRow_s;
  static const CommandRow_s* findCommand(uint8_t code);
  static const CommandRow_s commandRows[];

  // The commands, by their names in ISO 11783-6; each gives its answer.
  Bytes hideShow(const Command_c& command);
  Bytes enableDisable(const Command_c& command);
  Bytes selectInput(const Command_c& command);
  Bytes escapeInput(const Command_c& command);
  Bytes audioSignal(const Command_c& command);
  Bytes audioVolume(const Command_c& command);
  Bytes changeChildLocation(const Command_c& command);
  Bytes changeChildPosition(const Command_c& command);
  Bytes changeSize(const Command_c& command);
  Bytes changeBackground(const Command_c& command);
  Bytes changeNumericValue(const Command_c& command);
  Bytes changeStringValue(const Command_c& command);
  Bytes changeEndPoint(const Command_c& command);
  Bytes changeFontAttributes(const Command_c& command);
  Bytes changeLineAttributes(const Command_c& command);
  Bytes changeFillAttributes(const Command_c& command);
  Bytes changeActiveMask(const Command_c& command);
  Bytes changeSoftKeyMask(const Command_c& command);
  Bytes changeAttribute(const Command_c& command);
  Bytes changePriority(const Command_c& command);
  Bytes changeListItem(const Command_c& command);
  Bytes deleteObjectPool(const Command_c& command);
  Bytes changeLabel(const Command_c& command);
  Bytes changePolygonPoint(const Command_c& command);
  Bytes changePolygonScale(const Command_c& command);
  Bytes getAttribute(const Command_c& command);
  Bytes lockMask(const Command_c& command);
  Bytes runMacro(const Command_c& command);

  // Whether an attribute may have a value.
  bool isColour(uint32_t value) const;
  bool isFontType(uint32_t value) const;
  bool isFontSize(uint32_t size, uint32_t style) const;
  bool isValid(const TerminalObject_s& object, const FieldRow_s& field, uint32_t value) const;
  bool isNumericValue(const TerminalObject_s& object, uint32_t value) const;
  bool isItem(const TerminalObject_s& list, uint16_t item) const;
  bool isInUse(uint16_t id) const; // open for input; nobody asks before version 4

  TerminalObject_s* findTyped(uint16_t id, ObjectType_e type);
  TerminalObject_s* findWith(uint16_t id, Attribute_e attribute);
  unsigned int moveChild(uint16_t parent, uint16_t child, int x, int y, bool isRelative);
  void runCommands(const Bytes& commands);

  // What keeps the state and tells of it; nothing is told where nothing changes.
  void set(TerminalObject_s& object, Attribute_e attribute, uint32_t value);
  void setText(TerminalObject_s& object, Bytes text);
  void setFocus(uint16_t id, bool open);
  void unlock(uint8_t why);
  std::string refusal(const TerminalObject_s* object) const; // why an object takes no input now; empty: it does
  InputResult_s press(uint8_t code, const TerminalObject_s& object, KeyState_e state) const;

  ModelSettings_s m_settings;
  ChangeHandler m_changed;
  ObjectPool_c m_pool;
  Bytes m_poolBytes;
  ObjectPool_c::Error m_poolError;
  bool m_bHasPool = false;
  bool m_bShown = false;
  uint16_t m_activeMask = noObject;
  uint16_t m_focus = noObject;
  bool m_bOpen = false;
  bool m_bLocked = false;
  uint64_t m_unlockMs;
  bool m_bInMacro = false;
  std::vector<Bytes> m_unasked;
};
