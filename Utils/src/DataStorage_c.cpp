#include "DataStorage_c.h"

DataStorage_c::DataStorage_c(uint8_t preferredSa) : m_preferredSa(preferredSa) {}

DataStorage_c::~DataStorage_c() = default;

uint8_t DataStorage_c::loadSa() {
  return m_preferredSa;
}

// The empty bodies are meant: nothing survives a power cycle, the preferred address is always offered anew.

void DataStorage_c::storeSa(uint8_t /*sa*/) {}

void DataStorage_c::loadDtcs(IsoAgLib::iDtcContainer_c& /*dtcs*/) {}

void DataStorage_c::storeDtcs(const IsoAgLib::iDtcContainer_c& /*dtcs*/) {}

void DataStorage_c::loadPreferredVt(IsoAgLib::iIsoName_c& /*name*/, uint8_t& /*bootTime*/) {}

void DataStorage_c::storePreferredVt(const IsoAgLib::iIsoName_c& /*name*/, uint8_t /*bootTime*/) {}
