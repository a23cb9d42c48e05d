// The storage object that the ISOBUS stack asks for what should survive a power cycle.
// It offers the preferred source address of one control function and keeps nothing else.
//
//   Order of use: created by ComponentIdentity_c::init, handed to the stack's identity item, deleted with the identity.
//   Threads: the thread that drives the stack.
#pragma once

#include "ZemoExport.h"
#include "ZemoPlatform.h"

#include <cstdint>

// DataStorage_c: answers both storage interfaces of the stack without persisting anything.
//
//   Kept     every store and every load but loadSa is empty: an application starts from its own settings each time,
//            whatever address, trouble codes or terminal it had before. Callers rely on it.
//            Neither interface has a virtual destructor: delete through DataStorage_c only.
class ZEMO_EXPORT DataStorage_c : public IsoAgLib::iIdentDataStorage_c, public IsoAgLib::iVtClientDataStorage_c {
public:
  // Takes    preferredSa: the source address to claim first, 0 to 253 (ISO 11783-5)
  explicit DataStorage_c(uint8_t preferredSa);

  // loadSa: returns the preferred source address given at construction, also after the stack has stored another one.
  uint8_t loadSa() override;
  void storeSa(uint8_t sa) override;
  void loadDtcs(IsoAgLib::iDtcContainer_c& dtcs) override;
  void storeDtcs(const IsoAgLib::iDtcContainer_c& dtcs) override;

  // Stands here, between the operations of the two interfaces: the order of the virtual table is part of the interface.
  virtual ~DataStorage_c();

  // loadPreferredVt: leaves both arguments as they are; the stack goes on as if no terminal had been stored.
  void loadPreferredVt(IsoAgLib::iIsoName_c& name, uint8_t& bootTime) override;
  void storePreferredVt(const IsoAgLib::iIsoName_c& name, uint8_t bootTime) override;

private:
  uint8_t m_preferredSa;
};
