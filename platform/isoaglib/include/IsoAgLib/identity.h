// The identity of a control function: its NAME, its identification data and the storage that the stack asks for what
// should survive a power cycle.
#pragma once

#include "name.h"

#include <cstdint>
#include <memory>

namespace IsoAgLib {

// iDtcContainer_c: the diagnostic trouble codes of a control function.
class iDtcContainer_c {};

// iIdentDataStorage_c: implemented by the application. The order of the operations is part of the interface.
class iIdentDataStorage_c {
public:
  // loadSa: returns the source address to claim first.
  virtual uint8_t loadSa() = 0;

  // storeSa: told the address that was claimed.
  virtual void storeSa(uint8_t sa) = 0;
  virtual void loadDtcs(iDtcContainer_c& dtcs) = 0;
  virtual void storeDtcs(const iDtcContainer_c& dtcs) = 0;

protected:
  ~iIdentDataStorage_c() = default;
};

// iVtClientDataStorage_c: implemented by the application of a VT client.
class iVtClientDataStorage_c {
public:
  // loadPreferredVt: may set the NAME and the boot time in seconds of the VT to wait for.
  virtual void loadPreferredVt(iIsoName_c& name, uint8_t& bootTime) = 0;

  // storePreferredVt: told the VT in use.
  virtual void storePreferredVt(const iIsoName_c& name, uint8_t bootTime) = 0;

protected:
  ~iVtClientDataStorage_c() = default;
};

// CertificationLabType_t: the kind of laboratory that certified compliance (ISO 11783-7).
enum CertificationLabType_t : uint32_t {
  CertificationLabNone = 0,
  CertificationLabAccredited = 1,
  CertificationLabReserved = 2,
  CertificationLabNotAvailable = 3,
};

// Certification_s: the compliance bits of the certification message, its bytes 4 to 6 (ISO 11783-7).
struct Certification_s {
  static constexpr unsigned int size = 24;
};

} // namespace IsoAgLib

// BitFieldWrapperLeft_c: Field_s::size bits, bit 0 the highest bit of the first byte. All are clear at first.
template <class Field_s>
class BitFieldWrapperLeft_c {
public:
  static constexpr unsigned int byteCount = Field_s::size / 8;

  BitFieldWrapperLeft_c() : m_bytes() {}

  // Takes    bit: 0 to Field_s::size - 1; any other bit is ignored
  void setBit(unsigned int bit, bool value) {
    if (bit >= Field_s::size) {
      return;
    }
    const uint8_t mask = static_cast<uint8_t>(0x80U >> (bit % 8));
    uint8_t& byte = m_bytes[bit / 8];
    byte = static_cast<uint8_t>(value ? (byte | mask) : (byte & ~mask));
  }

  // Takes    index: 0 to byteCount - 1
  uint8_t byte(unsigned int index) const { return m_bytes[index]; }

private:
  uint8_t m_bytes[byteCount];
};

namespace __IsoAgLib {

// IdentItem_c: one control function of this application, registered with the ISO monitor of an instance.
class IdentItem_c {
public:
  IdentItem_c();
  ~IdentItem_c();
  IdentItem_c(const IdentItem_c&) = delete;
  IdentItem_c& operator=(const IdentItem_c&) = delete;

  // setUseWorkingSet: switches working-set messages of own control functions on or off.
  static void setUseWorkingSet(bool use);

  // init: gives the item its NAME.
  //
  //   Takes    storage: used as long as the item is registered
  //            slaveCount: -1 no working-set master; n: master with n members besides itself
  //            slaveNames: slaveCount NAMEs, may be null
  //            claimWhenRegistered: claim an address as soon as the item is registered
  void init(const IsoName_c& name, IsoAgLib::iIdentDataStorage_c& storage, int8_t slaveCount,
            const IsoName_c* slaveNames, bool claimWhenRegistered);

  // The identification texts, without '*' at the end; all are copied.
  //
  //   Gives    false, and keeps nothing, when a text is longer than its field: 200 characters, 50 for the product
  //   Source   ISO 11783-12: ECU FDC5, product FC8D, software FEDA
  bool setEcuIdentification(const char* partNumber, const char* serialNumber, const char* location, const char* type,
                            const char* manufacturerName, const char* hardwareId);
  bool setProductIdentification(const char* code, const char* brand, const char* model);

  // Takes    fields: each field closed by '*'
  bool setSwIdentification(const char* fields);

  // setCertificationData: keeps the compliance certification (ISO 11783-7, FD42).
  //
  //   Takes    year: 2000 to 2061; revision 0 to 31 (31: not available); laboratoryId 0 to 2047
  void setCertificationData(uint16_t year, uint8_t revision, IsoAgLib::CertificationLabType_t laboratoryType,
                            uint16_t laboratoryId, const BitFieldWrapperLeft_c<IsoAgLib::Certification_s>& compliance,
                            uint16_t referenceNumber);

  const IsoName_c& isoName() const;

  // isClaimedAddress: whether the item owns an address and may send.
  bool isClaimedAddress() const;

  // nr: returns the source address, 254 while there is none.
  uint8_t nr() const;

  // What the stack keeps behind the item.
  struct State_s;
  State_s& state() { return *m_state; }
  const State_s& state() const { return *m_state; }

private:
  std::unique_ptr<State_s> m_state;
};

} // namespace __IsoAgLib

namespace IsoAgLib {

class iIdentItem_c : public __IsoAgLib::IdentItem_c {};

} // namespace IsoAgLib
