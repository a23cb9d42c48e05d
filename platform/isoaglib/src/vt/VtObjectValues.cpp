#include "VtObjectCalls.h"

using namespace IsoAgLib;
using namespace IsoBusHost;

namespace {

// changeNumber: setValue of every object whose value is a number.
template <class Record_s, class Field_t, class Value_t>
bool changeNumber(const __IsoAgLib::vtObject_c& object, Record_s& record, Field_t Record_s::*field, Value_t value,
                  bool updateObject, bool mayReplace) {
  journalVtCall(record.object.ID, "setValue", value, updateObject, mayReplace);
  if (updateObject) {
    record.*field = value;
  }
  return sendVtNumber(object, record.object.ID, value, mayReplace);
}

} // namespace

namespace __IsoAgLib {

bool vtObjectInputBoolean_c::setValue(bool value, bool updateObject, bool enableReplaceOfCommand) {
  return changeNumber(*this, record(), &iVtObjectInputBoolean_s::value, value, updateObject, enableReplaceOfCommand);
}

bool vtObjectInputNumber_c::setValue(uint32_t value, bool updateObject, bool enableReplaceOfCommand) {
  return changeNumber(*this, record(), &iVtObjectInputNumber_s::value, value, updateObject, enableReplaceOfCommand);
}

bool vtObjectInputList_c::setValue(uint8_t value, bool updateObject, bool enableReplaceOfCommand) {
  return changeNumber(*this, record(), &iVtObjectInputList_s::value, value, updateObject, enableReplaceOfCommand);
}

bool vtObjectOutputNumber_c::setValue(uint32_t value, bool updateObject, bool enableReplaceOfCommand) {
  return changeNumber(*this, record(), &iVtObjectOutputNumber_s::value, value, updateObject, enableReplaceOfCommand);
}

bool vtObjectOutputList_c::setValue(uint8_t value, bool updateObject, bool enableReplaceOfCommand) {
  return changeNumber(*this, record(), &iVtObjectOutputList_s::value, value, updateObject, enableReplaceOfCommand);
}

bool vtObjectMeter_c::setValue(uint16_t value, bool updateObject, bool enableReplaceOfCommand) {
  return changeNumber(*this, record(), &iVtObjectMeter_s::value, value, updateObject, enableReplaceOfCommand);
}

bool vtObjectLinearBarGraph_c::setValue(uint16_t value, bool updateObject, bool enableReplaceOfCommand) {
  return changeNumber(*this, record(), &iVtObjectLinearBarGraph_s::value, value, updateObject, enableReplaceOfCommand);
}

bool vtObjectNumberVariable_c::setValue(uint32_t value, bool updateObject, bool enableReplaceOfCommand) {
  return changeNumber(*this, record(), &iVtObjectNumberVariable_s::value, value, updateObject, enableReplaceOfCommand);
}

bool vtObjectObjectPointer_c::setValue(iVtObject_c* value, bool updateObject, bool enableReplaceOfCommand) {
  iVtObjectObjectPointer_s& own = record();
  journalVtCall(own.object.ID, "setValue", value, updateObject, enableReplaceOfCommand);
  if (updateObject) {
    own.value = value;
  }
  return sendVtNumber(*this, own.object.ID, vtObjectID(value), enableReplaceOfCommand);
}

bool vtObjectWorkingSet_c::changeActiveMask(iVtObject_c* mask, bool updateObject, bool enableReplaceOfCommand) {
  iVtObjectWorkingSet_s& own = record();
  journalVtCall(own.object.ID, "changeActiveMask", mask, updateObject, enableReplaceOfCommand);
  if (updateObject) {
    own.activeMask = mask;
  }
  return VtShortCommand_c(vtChangeActiveMask)
      .add16(own.object.ID)
      .add16(vtObjectID(mask))
      .queue(*this, enableReplaceOfCommand);
}

bool vtObjectDataMask_c::setSoftKeyMask(iVtObject_c* softKeyMask, bool updateObject, bool enableReplaceOfCommand) {
  constexpr uint8_t ofDataMask = 1;
  iVtObjectDataMask_s& own = record();
  journalVtCall(own.object.ID, "setSoftKeyMask", softKeyMask, updateObject, enableReplaceOfCommand);
  if (updateObject) {
    own.softKeyMask = softKeyMask;
  }
  return VtShortCommand_c(vtChangeSoftKeyMask)
      .add8(ofDataMask)
      .add16(own.object.ID)
      .add16(vtObjectID(softKeyMask))
      .queue(*this, enableReplaceOfCommand);
}

bool vtObjectContainer_c::hideShow(uint8_t show, bool updateObject, bool enableReplaceOfCommand) {
  iVtObjectContainer_s& own = record();
  journalVtCall(own.object.ID, "hideShow", show, updateObject, enableReplaceOfCommand);
  if (updateObject) {
    own.hidden = show == 0 ? 1 : 0;
  }
  return VtShortCommand_c(vtHideShow).add16(own.object.ID).add8(show != 0 ? 1 : 0).queue(*this, enableReplaceOfCommand);
}

iVtObject_c* vtObjectInputList_c::getListItem(uint8_t index) const {
  const iVtObjectInputList_s& own = record();
  return own.items == nullptr || index >= own.numberOfItems ? nullptr : own.items[index];
}

bool vtObjectInputList_c::setItem(uint8_t index, iVtObject_c* item, bool enableReplaceOfCommand) {
  iVtObjectInputList_s& own = record();
  journalVtCall(own.object.ID, "setItem", index, item, enableReplaceOfCommand);
  if (index >= own.numberOfItems) {
    return false;
  }
  if (own.items != nullptr) {
    own.items[index] = item;
  }
  return VtShortCommand_c(vtChangeListItem)
      .add16(own.object.ID)
      .add8(index)
      .add16(vtObjectID(item))
      .queue(*this, enableReplaceOfCommand);
}

} // namespace __IsoAgLib
