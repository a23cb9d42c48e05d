// CAN buses and CAN messages of the ISOBUS stack.
#pragma once

#include <cstdint>

namespace __IsoAgLib {

// CanIo_c: one CAN instance of the stack. Instances 0 and 1 carry the ISOBUS instances of the same number, instance 2
// the proprietary bus.
class CanIo_c {
public:
  // init: opens a physical bus.
  //
  //   Takes    busNumber: 0 ISOBUS, 1 chassis or proprietary; bitrateKbit: 250
  //   Gives    false when the bus cannot be opened
  bool init(unsigned char busNumber, unsigned int bitrateKbit);

  // close: closes the bus and forgets that it was open; closing a closed instance does nothing.
  bool close();

  // The instance's own number, 0 to 2.
  explicit CanIo_c(unsigned int instance);

private:
  unsigned int m_instance;
};

// Takes    instance: 0 to 2; any other number gets an instance that cannot be opened
CanIo_c& getCanInstance(unsigned int instance);

// CanPkg_c: one CAN message with a 29-bit identifier (ISO 11783-3).
class CanPkg_c {
public:
  CanPkg_c();

  // Takes    identifier: 29 bits; data: length bytes, 0 to 8; more than 8 are cut
  CanPkg_c(uint32_t identifier, const uint8_t* data, uint8_t length);

  uint32_t ident() const;

  // getLen: returns the number of data bytes, 0 to 8.
  uint8_t getLen() const;

  // Takes    index: 0 to 7; the bytes from getLen() on are 0, an index from 8 on gives 0
  uint8_t operator[](uint8_t index) const;

private:
  uint32_t m_identifier;
  uint8_t m_length;
  uint8_t m_data[8];
};

// CanPkgExt_c: a CAN message read as an ISO 11783 message of one stack instance.
class CanPkgExt_c : public CanPkg_c {
public:
  CanPkgExt_c(const CanPkg_c& message, int instance);
  ~CanPkgExt_c();

  // isoSa: returns the source address.
  uint8_t isoSa() const;

  // instance: returns the stack instance that the message belongs to.
  int instance() const { return m_instance; }

private:
  int m_instance;
};

} // namespace __IsoAgLib

namespace IsoAgLib {

// iProprietaryBus_c: the CAN bus of a maker's own protocol, carried by CAN instance 2 + its number.
class iProprietaryBus_c {
public:
  bool init(unsigned char busNumber, unsigned int bitrateKbit);
  bool close();

  explicit iProprietaryBus_c(unsigned int canInstance);

private:
  unsigned int m_canInstance;
};

// Takes    instance: 0
iProprietaryBus_c& getIProprietaryBusInstance(unsigned char instance);

} // namespace IsoAgLib
