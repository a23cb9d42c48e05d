// What the spreader does: it shows its state, and follows the operator.
#pragma once

#include "Screen.h"

#include <VtObjects.h>
#include <VtText.h>

class Spreader_c : public IsoAgLib::iVtObjectPool_c {
public:
  Spreader_c() : iVtObjectPool_c(screen.all, 11) {}

  // Called as often as you like: what the screen shows already puts nothing on the bus.
  void refresh() {
    SetVtObject(screen.speed.object, m_isOn ? 82U : 0U, false);
    SetVtObject(screen.range.object, hopperKg * 10 / screen.rate.record.value, false);
    setFontEncoding(0); // ISO 8859-1, as the font says
    SetVtObject(screen.state.object, m_isOn ? "Épandage" : "Prêt", false, true);
    SetVtObjectUTF8(screen.crop.object, "小麦", false, true); // no font page has this: it goes out as UTF-16
  }

  // The stack calls these.
  void eventConnected(const IsoAgLib::iVtProperties_s& /*vt*/) override { refresh(); }

  void eventSoftKey(uint8_t keyCode, uint16_t /*keyID*/, uint16_t /*maskID*/, IsoAgLib::iVtKeyState_t state) override {
    if (keyCode == Screen_s::startKeyCode && state == IsoAgLib::VtKeyPressed) {
      m_isOn = !m_isOn;
      refresh();
    }
  }

  void eventNumericValue(uint16_t /*objectID*/, uint32_t /*value*/) override { refresh(); } // the record has it

  Screen_s screen;

private:
  static constexpr uint32_t hopperKg = 1200;
  bool m_isOn = false;
};
