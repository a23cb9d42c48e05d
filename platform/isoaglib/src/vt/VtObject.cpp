// The assertion about a missing record holds in every build type.
#undef NDEBUG

#include "IsoAgLib/system.h"
#include "VtObjectCalls.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>

using namespace IsoAgLib;
using namespace IsoBusHost;

namespace IsoBusHost {

namespace {

struct RecordSize_s {
  iVtObjectType_t type;
  std::size_t size;
};

constexpr std::array<RecordSize_s, 22> recordSizes = {{
    {VtWorkingSet, sizeof(iVtObjectWorkingSet_s)},
    {VtDataMask, sizeof(iVtObjectDataMask_s)},
    {VtContainer, sizeof(iVtObjectContainer_s)},
    {VtSoftKeyMask, sizeof(iVtObjectSoftKeyMask_s)},
    {VtKey, sizeof(iVtObjectKey_s)},
    {VtInputBoolean, sizeof(iVtObjectInputBoolean_s)},
    {VtInputString, sizeof(iVtObjectInputString_s)},
    {VtInputNumber, sizeof(iVtObjectInputNumber_s)},
    {VtInputList, sizeof(iVtObjectInputList_s)},
    {VtOutputString, sizeof(iVtObjectOutputString_s)},
    {VtOutputNumber, sizeof(iVtObjectOutputNumber_s)},
    {VtRectangle, sizeof(iVtObjectRectangle_s)},
    {VtPolygon, sizeof(iVtObjectPolygon_s)},
    {VtMeter, sizeof(iVtObjectMeter_s)},
    {VtLinearBarGraph, sizeof(iVtObjectLinearBarGraph_s)},
    {VtNumberVariable, sizeof(iVtObjectNumberVariable_s)},
    {VtStringVariable, sizeof(iVtObjectStringVariable_s)},
    {VtFontAttributes, sizeof(iVtObjectFontAttributes_s)},
    {VtLineAttributes, sizeof(iVtObjectLineAttributes_s)},
    {VtFillAttributes, sizeof(iVtObjectFillAttributes_s)},
    {VtObjectPointer, sizeof(iVtObjectObjectPointer_s)},
    {VtOutputList, sizeof(iVtObjectOutputList_s)},
}};

constexpr std::size_t largestRecord() {
  std::size_t largest = 0;
  for (const RecordSize_s& record : recordSizes) {
    largest = std::max(largest, record.size);
  }
  return largest;
}

// Zeroed each time: what was written into it for one object is not seen by the next.
iVtObject_s& recordOfZeroes() {
  alignas(std::max_align_t) static std::array<unsigned char, largestRecord()> zeroes;
  zeroes.fill(0);
  return *reinterpret_cast<iVtObject_s*>(zeroes.data());
}

// The enabled state of an input object; the other types have none.
void storeEnabled(iVtObjectType_t type, iVtObject_s& record, bool isEnabled) {
  constexpr uint8_t enabledBit = 1;
  const auto set = [isEnabled](uint8_t& options) {
    options = static_cast<uint8_t>((options & ~enabledBit) | (isEnabled ? enabledBit : 0));
  };
  switch (type) {
  case VtInputBoolean:
    vtRecordAs<iVtObjectInputBoolean_s>(record).enabled = isEnabled ? 1 : 0;
    break;
  case VtInputString:
    set(vtRecordAs<iVtObjectInputString_s>(record).enabled);
    break;
  case VtInputNumber:
    set(vtRecordAs<iVtObjectInputNumber_s>(record).options2);
    break;
  case VtInputList:
    set(vtRecordAs<iVtObjectInputList_s>(record).options);
    break;
  default:
    break;
  }
}

// Writes a field where it lies within what the caller says of the record and within the record itself.
void storeField(iVtObjectType_t type, iVtObject_s& record, uint16_t position, uint16_t recordLength, const void* value,
                std::size_t size) {
  if (position + size <= std::min<std::size_t>(recordLength, vtRecordSize(type))) {
    std::memcpy(reinterpret_cast<unsigned char*>(&record) + position, value, size);
  }
}

bool sendAttribute(const __IsoAgLib::vtObject_c& object, uint16_t objectID, uint8_t attributeID, uint32_t value,
                   bool mayReplace) {
  return VtShortCommand_c(vtChangeAttribute).add16(objectID).add8(attributeID).add32(value).queue(object, mayReplace);
}

} // namespace

std::size_t vtRecordSize(iVtObjectType_t type) {
  for (const RecordSize_s& record : recordSizes) {
    if (record.type == type) {
      return record.size;
    }
  }
  return 0;
}

} // namespace IsoBusHost

namespace __IsoAgLib {

void vtObject_c::attach(unsigned int multitonInstance, uint8_t clientID) {
  m_multitonInstance = multitonInstance;
  m_clientID = clientID;
}

// The record of the report is part of the interface and does not follow the lines of a file: the line is 0.
iVtObject_s& vtObject_c::missingRecord() const {
  if (isoaglib_assert_callStart()) {
    return recordOfZeroes();
  }
  if (vtObject_a == nullptr) {
    __assert_fail("vtObject_a", "IsoAgLib/comm/Part6_VirtualTerminal_Client/impl/vtobject_c", 0,
                  "IsoAgLib::iVtObject_s& __IsoAgLib::vtObject_c::get_vtObject_a()");
  }
  isoaglib_assert_callFinish();
  return *vtObject_a;
}

bool vtObject_c::saveValue8SetAttribute(uint16_t fieldPosition, uint16_t recordLength, uint8_t attributeID,
                                        uint8_t valueToStore, uint8_t valueToSend, bool enableReplaceOfCommand) {
  iVtObject_s& record = get_vtObject_a();
  journalVtCall(record.ID, "saveValue8SetAttribute", fieldPosition, recordLength, attributeID, valueToStore,
                valueToSend, enableReplaceOfCommand);
  storeField(objectType(), record, fieldPosition, recordLength, &valueToStore, sizeof valueToStore);
  return sendAttribute(*this, record.ID, attributeID, valueToSend, enableReplaceOfCommand);
}

bool vtObject_c::saveValue16SetAttribute(uint16_t fieldPosition, uint16_t recordLength, uint8_t attributeID,
                                         uint16_t value, bool enableReplaceOfCommand) {
  iVtObject_s& record = get_vtObject_a();
  journalVtCall(record.ID, "saveValue16SetAttribute", fieldPosition, recordLength, attributeID, value,
                enableReplaceOfCommand);
  storeField(objectType(), record, fieldPosition, recordLength, &value, sizeof value);
  return sendAttribute(*this, record.ID, attributeID, value, enableReplaceOfCommand);
}

bool vtObject_c::saveValue32SetAttribute(uint16_t fieldPosition, uint16_t recordLength, uint8_t attributeID,
                                         int32_t value, bool enableReplaceOfCommand) {
  iVtObject_s& record = get_vtObject_a();
  journalVtCall(record.ID, "saveValue32SetAttribute", fieldPosition, recordLength, attributeID, value,
                enableReplaceOfCommand);
  storeField(objectType(), record, fieldPosition, recordLength, &value, sizeof value);
  return sendAttribute(*this, record.ID, attributeID, static_cast<uint32_t>(value), enableReplaceOfCommand);
}

bool vtObject_c::saveValueFloatSetAttribute(uint16_t fieldPosition, uint16_t recordLength, uint8_t attributeID,
                                            float value, bool enableReplaceOfCommand) {
  iVtObject_s& record = get_vtObject_a();
  journalVtCall(record.ID, "saveValueFloatSetAttribute", fieldPosition, recordLength, attributeID, value,
                enableReplaceOfCommand);
  storeField(objectType(), record, fieldPosition, recordLength, &value, sizeof value);
  uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return sendAttribute(*this, record.ID, attributeID, bits, enableReplaceOfCommand);
}

bool vtObject_c::saveValuePSetAttribute(uint16_t fieldPosition, uint16_t recordLength, uint8_t attributeID,
                                        iVtObject_c* object, bool enableReplaceOfCommand) {
  iVtObject_s& record = get_vtObject_a();
  journalVtCall(record.ID, "saveValuePSetAttribute", fieldPosition, recordLength, attributeID, object,
                enableReplaceOfCommand);
  // NOLINTNEXTLINE: it is the pointer that is stored
  storeField(objectType(), record, fieldPosition, recordLength, &object, sizeof object);
  return sendAttribute(*this, record.ID, attributeID, vtObjectID(object), enableReplaceOfCommand);
}

bool vtObject_c::able(uint8_t enabled, bool updateObject, bool enableReplaceOfCommand) {
  iVtObject_s& record = get_vtObject_a();
  journalVtCall(record.ID, "able", enabled, updateObject, enableReplaceOfCommand);
  if (updateObject) {
    storeEnabled(objectType(), record, enabled != 0);
  }
  return VtShortCommand_c(vtEnableDisable)
      .add16(record.ID)
      .add8(enabled != 0 ? 1 : 0)
      .queue(*this, enableReplaceOfCommand);
}

} // namespace __IsoAgLib
