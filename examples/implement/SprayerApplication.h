// The application of a sprayer: one control function that shows a drive on a virtual terminal.
#pragma once

#include "Drive.h"
#include "SprayerScreen.h"

#include <ZemoApp.h>

#include <cstdint>
#include <string>

class SprayerApplication_c {
public:
  // open: brings the stack up as a VT client and registers the screen.
  //
  //   Gives    false when a bus does not open or the screen is not taken; why stands in the stack's last error
  bool open(bool useProprietaryBus);
  void close();

  // show: puts a row on the screen, the way a screen is refreshed: every value, whether it has changed or not.
  //
  //   Takes    force: also sends what has not changed
  void show(const DriveRow_s& row, bool force);

  bool isConnected() const { return m_connection != nullptr && m_connection->isConnected(); }
  const __IsoAgLib::VtClientConnection_c& connection() const { return *m_connection; } // between open and close
  std::size_t commandsWaiting() const { return m_connection == nullptr ? 0 : m_connection->commandsWaiting(); }
  const std::string& refusal() const { return m_pool.refusal; } // why the terminal did not take the screen

  // setterCalls: returns how often a setter of the library was called.
  uint64_t setterCalls() const { return m_setterCalls; }
  uint64_t failedCommands() const { return m_pool.failedCommands; }

  SprayerScreen_s& screen() { return m_screen; }
  __IsoAgLib::ZemoApp& frame() { return m_app; }

private:
  // Pool_s: the screen as the stack knows it, and what the operator does with it.
  struct Pool_s : IsoAgLib::iVtObjectPool_c {
    Pool_s(SprayerApplication_c& owner, const std::vector<__IsoAgLib::vtObject_c*>& objects);

    void eventRefused(const char* reason) override { refusal = reason; }
    void eventCommandFailed(uint8_t command, uint16_t objectID, uint8_t error) override;
    void eventSoftKey(uint8_t keyCode, uint16_t keyID, uint16_t maskID, IsoAgLib::iVtKeyState_t state) override;

    SprayerApplication_c& application;
    std::string refusal;
    uint64_t failedCommands = 0;
  };

  template <class Object_c, class Value_c>
  void set(Part_s<Object_c>& part, Value_c value);
  void setState(Activity_e activity);
  void setSections(const DriveRow_s& row);
  void setAlarm(Alarm_e alarm);
  void changeMask();

  __IsoAgLib::ZemoApp m_app;
  SprayerScreen_s m_screen;
  std::vector<__IsoAgLib::vtObject_c*> m_objects = m_screen.all();
  Pool_s m_pool{*this, m_objects};
  __IsoAgLib::VtClientConnection_c* m_connection = nullptr;
  bool m_bForce = false;
  bool m_bSetup = false;           // the set-up mask is on
  Alarm_e m_alarm = Alarm_e::none; // of the row that is shown
  Alarm_e m_taken = Alarm_e::none; // the one that the operator has taken away
  uint64_t m_setterCalls = 0;
};
