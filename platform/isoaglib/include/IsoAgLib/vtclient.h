// The VT client of an ISOBUS instance (ISO 11783-6): it finds a VT, uploads the object pool of a working set, keeps the
// working set alive, sends its commands one after the other and takes the operator's input.
//
//   Order of use: VtClient_c::init; an identity that is a working-set master registered with the instance's monitor;
//                 initAndRegisterObjectPool; Scheduler_c::runDueWork does the rest. A connection ends with
//                 deregisterObjectPool, or when the client or the bus is closed.
//   Threads: the thread that drives the stack; the pool's events come from Scheduler_c::runDueWork.
#pragma once

#include "identity.h"
#include "network.h"
#include "vtobjects.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace IsoAgLib {

// iVtClientState_t: how far a connection has come.
enum iVtClientState_t {
  VtClientWaitsForAddress, // the identity has no address yet
  VtClientWaitsForVt,      // no VT is there that may be taken
  VtClientAsksVt,          // version, memory, soft keys, fonts and hardware of the VT
  VtClientUploadsPool,     // the pool is on its way, or the VT looks at it
  VtClientIsConnected,     // commands go out
  VtClientRefused,         // the VT does not take the pool; tried again when the VT has gone and come back
};

// iVtProperties_s: what the VT says of itself.
struct iVtProperties_s {
  uint8_t version;        // 2 (or before), 3, 4, 5, 6; 0: not known
  uint8_t graphicType;    // 0 black and white, 1 16 colours, 2 256 colours
  uint8_t hardware;       // bit 0 touch, 1 pointer, ...
  uint16_t dataMaskWidth; // pixels, height the same
  uint8_t softKeyWidth;   // pixels
  uint8_t softKeyHeight;
  uint8_t virtualSoftKeys;
  uint8_t physicalSoftKeys;
  uint8_t smallFonts; // bit 0 8x8 ... 6 32x32
  uint8_t largeFonts; // bit 0 32x48 ... 6 128x192
  uint8_t fontStyles;
};

// iVtKeyState_t: what an operator does with a key.
enum iVtKeyState_t {
  VtKeyReleased = 0,
  VtKeyPressed = 1,
  VtKeyHeld = 2,
  VtKeyAborted = 3,
};

// iVtObjectPool_c: the objects of a working set, and what the application wants to hear. The application derives from
// it. Objects, records and texts have to live as long as the pool is registered.
class iVtObjectPool_c {
public:
  // Takes    objects: count objects, one working set among them
  iVtObjectPool_c(__IsoAgLib::vtObject_c* const* objects, uint16_t count) : m_objects(objects), m_count(count) {}
  virtual ~iVtObjectPool_c() = default;
  iVtObjectPool_c(const iVtObjectPool_c&) = delete;
  iVtObjectPool_c& operator=(const iVtObjectPool_c&) = delete;

  __IsoAgLib::vtObject_c* const* objects() const { return m_objects; }
  uint16_t count() const { return m_count; }

  // The pool is on the VT and its commands are taken; the VT has gone or was changed.
  virtual void eventConnected(const iVtProperties_s& /*vt*/) {}
  virtual void eventDisconnected() {}

  // eventRefused: told why, in one line without line end.
  virtual void eventRefused(const char* /*reason*/) {}

  // The operator's input. A record has the new value already.
  virtual void eventSoftKey(uint8_t /*keyCode*/, uint16_t /*keyID*/, uint16_t /*maskID*/, iVtKeyState_t /*state*/) {}
  virtual void eventButton(uint8_t /*keyCode*/, uint16_t /*buttonID*/, uint16_t /*parentID*/, iVtKeyState_t /*state*/) {
  }
  virtual void eventNumericValue(uint16_t /*objectID*/, uint32_t /*value*/) {}
  virtual void eventStringValue(uint16_t /*objectID*/, const char* /*text*/, uint8_t /*length*/) {}
  virtual void eventSelectInput(uint16_t /*objectID*/, bool /*isSelected*/, bool /*isOpen*/) {}

  // eventCommandFailed: told of a command that the VT answered with an error, or not at all (error 0xFF).
  //
  //   Takes    command: its function code (ISO 11783-6); objectID: of the object that it was for
  virtual void eventCommandFailed(uint8_t /*command*/, uint16_t /*objectID*/, uint8_t /*error*/) {}

  // convertColour: returns the colour to show in place of one that the VT lacks. The default is black for black and
  // white for all else where there are two colours, and the nearest of the 16 where there are 16.
  virtual uint8_t convertColour(uint8_t colour, const iVtProperties_s& vt, const iVtObject_c* object, e_vtColour kind);

private:
  __IsoAgLib::vtObject_c* const* m_objects;
  uint16_t m_count;
};

} // namespace IsoAgLib

namespace __IsoAgLib {

// VtClientConnection_c: one working set and its VT.
class VtClientConnection_c {
public:
  VtClientConnection_c();
  ~VtClientConnection_c();
  VtClientConnection_c(const VtClientConnection_c&) = delete;
  VtClientConnection_c& operator=(const VtClientConnection_c&) = delete;

  // setVtServerSelection: asks `accepts` for each VT with its NAME, once the VT is seen; without it the first VT of
  // the kind that getConnectAllowedVtServerType() names is taken. A VT that the storage prefers is waited for first.
  using VtServerSelection = std::function<bool(const IsoAgLib::iIsoName_c& candidate)>;
  void setVtServerSelection(VtServerSelection accepts);

  IsoAgLib::iVtClientState_t state() const;
  bool isConnected() const { return state() == IsoAgLib::VtClientIsConnected; }
  const IsoAgLib::iVtProperties_s& vtProperties() const;

  // getUserClippedColor: returns the colour that the VT can show for the one that is wanted; the same one while there
  // is no VT.
  uint8_t getUserClippedColor(uint8_t colour, IsoAgLib::iVtObject_c* object, IsoAgLib::e_vtColour colourKind);

  // commandsWaiting: returns how many commands wait for the VT, the one that is not answered yet included.
  std::size_t commandsWaiting() const;

  // What the stack keeps behind the connection; null for the one that keeps nothing.
  struct State_s;
  State_s* connectionState() const { return m_state.get(); }
  void setState(std::unique_ptr<State_s> state);

private:
  std::unique_ptr<State_s> m_state;
};

// VtClient_c: the virtual-terminal client of an ISOBUS instance.
class VtClient_c : public InstanceService_c {
public:
  explicit VtClient_c(unsigned int instance) : InstanceService_c(instance) {}

  // init: starts the client and asks getConnectAllowedVtServerType() which kind of VT server it may connect to.
  void init();

  // close: ends every connection; the pool of a connected VT is deleted.
  void close();

  // initAndRegisterObjectPool: begins a connection for a working set.
  //
  //   Takes    ident: registered with the monitor of the same instance, a working-set master
  //            pool: used until it is deregistered
  //            versionLabel: 7 characters under which the VT may store the pool, or null: it is always uploaded. A
  //            pool that is laid out another way needs another label
  //            storage: asked for the preferred VT and told the one in use; may be null
  //   Gives    the connection, null when the client is not initialised, the pool is registered already, the identity
  //            has a pool already, or the objects are not sound, which the error observer is told in one line: an
  //            object without record, an id twice, no or two working sets, a reference to an object outside of the
  //            pool, a loop
  VtClientConnection_c* initAndRegisterObjectPool(IdentItem_c& ident, IsoAgLib::iVtObjectPool_c& pool,
                                                  const char* versionLabel = nullptr,
                                                  IsoAgLib::iVtClientDataStorage_c* storage = nullptr);

  // deregisterObjectPool: ends the connection without an event, and deletes the pool on a VT that is connected; the
  // pointer of the connection is not valid afterwards.
  bool deregisterObjectPool(IsoAgLib::iVtObjectPool_c& pool);

  // getClientByID: returns the connection of a number, one that keeps nothing for any other.
  VtClientConnection_c& getClientByID(uint8_t clientID);
};

VtClient_c& getVtClientInstance(unsigned char instance);

} // namespace __IsoAgLib
