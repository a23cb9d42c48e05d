#include "VtObjects.h"

using namespace IsoAgLib;

namespace {

// Attribute_s: where a record keeps an attribute, and its number in the Change Attribute command (ISO 11783-6).
struct Attribute_s {
  uint16_t position;
  uint16_t recordLength;
  uint8_t id;
};

template <class Record_s>
constexpr Attribute_s attribute(uint16_t position, uint8_t id) {
  return {position, sizeof(Record_s), id};
}

constexpr Attribute_s keyBackgroundColour =
    attribute<iVtObjectKey_s>(ISOAGLIB_FIELD_POSITION(iVtObjectKey_s, backgroundColour), 1);
constexpr Attribute_s barGraphColour =
    attribute<iVtObjectLinearBarGraph_s>(ISOAGLIB_FIELD_POSITION(iVtObjectLinearBarGraph_s, colour), 3);
constexpr Attribute_s polygonFill =
    attribute<iVtObjectPolygon_s>(ISOAGLIB_FIELD_POSITION(iVtObjectPolygon_s, fillAttributes), 4);
constexpr Attribute_s rectangleFill =
    attribute<iVtObjectRectangle_s>(ISOAGLIB_FIELD_POSITION(iVtObjectRectangle_s, fillAttributes), 5);
constexpr Attribute_s meterVariable =
    attribute<iVtObjectMeter_s>(ISOAGLIB_FIELD_POSITION(iVtObjectMeter_s, variableReference), 11);
constexpr Attribute_s inputStringVariable =
    attribute<iVtObjectInputString_s>(ISOAGLIB_FIELD_POSITION(iVtObjectInputString_s, variableReference), 7);
constexpr Attribute_s outputStringFont =
    attribute<iVtObjectOutputString_s>(ISOAGLIB_FIELD_POSITION(iVtObjectOutputString_s, fontAttributes), 4);
constexpr Attribute_s outputStringVariable =
    attribute<iVtObjectOutputString_s>(ISOAGLIB_FIELD_POSITION(iVtObjectOutputString_s, variableReference), 6);
constexpr Attribute_s outputNumberFont =
    attribute<iVtObjectOutputNumber_s>(ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, fontAttributes), 4);
constexpr Attribute_s outputNumberVariable =
    attribute<iVtObjectOutputNumber_s>(ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, variableReference), 6);
constexpr Attribute_s outputNumberOffset =
    attribute<iVtObjectOutputNumber_s>(ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, offset), 7);
constexpr Attribute_s outputNumberScale =
    attribute<iVtObjectOutputNumber_s>(ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, scale), 8);
constexpr Attribute_s outputNumberDecimals =
    attribute<iVtObjectOutputNumber_s>(ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, numberOfDecimals), 9);
constexpr Attribute_s inputNumberOffset =
    attribute<iVtObjectInputNumber_s>(ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, offset), 9);
constexpr Attribute_s inputNumberScale =
    attribute<iVtObjectInputNumber_s>(ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, scale), 10);
constexpr Attribute_s inputNumberDecimals =
    attribute<iVtObjectInputNumber_s>(ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, numberOfDecimals), 11);

// The flags of every change. Only values, which are sent again and again, may overtake each other in the queue.
constexpr bool updateRecord = true;
constexpr bool mayReplace = true;
constexpr bool mustNotReplace = false;

constexpr uint8_t enabledBit = 1;

void change8(__IsoAgLib::vtObject_c& object, const Attribute_s& which, uint8_t stored, uint8_t sent) {
  object.saveValue8SetAttribute(which.position, which.recordLength, which.id, stored, sent, mustNotReplace);
}

void change32(__IsoAgLib::vtObject_c& object, const Attribute_s& which, int32_t value) {
  object.saveValue32SetAttribute(which.position, which.recordLength, which.id, value, mustNotReplace);
}

void changeFloat(__IsoAgLib::vtObject_c& object, const Attribute_s& which, float value) {
  object.saveValueFloatSetAttribute(which.position, which.recordLength, which.id, value, mustNotReplace);
}

void changeReference(__IsoAgLib::vtObject_c& object, const Attribute_s& which, iVtObject_c* value) {
  object.saveValuePSetAttribute(which.position, which.recordLength, which.id, value, mustNotReplace);
}

// Stores the wanted colour and sends the one that the VT can show: the next comparison is with what was wanted.
void changeColour(__IsoAgLib::vtObject_c& object, const Attribute_s& which, uint8_t colour, e_vtColour kind) {
  __IsoAgLib::VtClientConnection_c& connection =
      __IsoAgLib::getVtClientInstance(static_cast<uint8_t>(object.getMultitonInstance()))
          .getClientByID(object.getClientID());
  change8(object, which, colour, connection.getUserClippedColor(colour, &object, kind));
}

uint16_t idOf(const iVtObject_c* object) {
  constexpr uint16_t noObject = 0xFFFF;
  return object == nullptr ? noObject : object->getID();
}

} // namespace

// Values.

void SetVtObject(iVtObjectLinearBarGraph_c& object, unsigned short value, bool force) {
  if (force || object.get_vtObjectLinearBarGraph_a().value != value) {
    object.setValue(value, updateRecord, mayReplace);
  }
}

void SetVtObject(iVtObjectMeter_c& object, unsigned short value, bool force) {
  if (force || object.get_vtObjectMeter_a().value != value) {
    object.setValue(value, updateRecord, mayReplace);
  }
}

void SetVtObject(iVtObjectOutputList_c& object, unsigned char value, bool force) {
  if (force || object.get_vtObjectOutputList_a().value != value) {
    object.setValue(value, updateRecord, mayReplace);
  }
}

void SetVtObject(iVtObjectInputList_c& object, unsigned char value, bool force) {
  if (force || object.get_vtObjectInputList_a().value != value) {
    object.setValue(value, updateRecord, mayReplace);
  }
}

void SetVtObject(iVtObjectInputBoolean_c& object, bool value, bool force) {
  if (force || (object.get_vtObjectInputBoolean_a().value != 0) != value) {
    object.setValue(value, updateRecord, mayReplace);
  }
}

void SetVtObject(iVtObjectInputNumber_c& object, unsigned int value, bool force) {
  if (force || object.get_vtObjectInputNumber_a().value != value) {
    object.setValue(value, updateRecord, mayReplace);
  }
}

void SetVtObject(iVtObjectOutputNumber_c& object, unsigned int value, bool force) {
  if (force || object.get_vtObjectOutputNumber_a().value != value) {
    object.setValue(value, updateRecord, mayReplace);
  }
}

void SetVtObject(iVtObjectNumberVariable_c& object, unsigned int value, bool force) {
  if (force || object.get_vtObjectNumberVariable_a().value != value) {
    object.setValue(value, updateRecord, mayReplace);
  }
}

// References.

void SetVtObject(iVtObjectObjectPointer_c& object, iVtObject_c* value, bool force) {
  if (force || object.get_vtObjectObjectPointer_a().value != value) {
    object.setValue(value, updateRecord, mustNotReplace);
  }
}

void SetVtObject(iVtObjectPolygon_c& object, iVtObjectFillAttributes_c* fill, bool force) {
  if (force || object.get_vtObjectPolygon_a().fillAttributes != fill) {
    changeReference(object, polygonFill, fill);
  }
}

void SetVtObject(iVtObjectRectangle_c& object, iVtObjectFillAttributes_c* fill, bool force) {
  if (force || object.get_vtObjectRectangle_a().fillAttributes != fill) {
    changeReference(object, rectangleFill, fill);
  }
}

void SetVtObject(iVtObjectMeter_c& object, iVtObjectNumberVariable_c* variable, bool force) {
  if (force || object.get_vtObjectMeter_a().variableReference != variable) {
    changeReference(object, meterVariable, variable);
  }
}

void SetVtObject(iVtObjectOutputNumber_c& object, iVtObjectFontAttributes_c* font, bool force) {
  if (force || object.get_vtObjectOutputNumber_a().fontAttributes != font) {
    changeReference(object, outputNumberFont, font);
  }
}

void SetVtObject(iVtObjectOutputNumber_c& object, iVtObjectNumberVariable_c* variable, bool force) {
  if (force || object.get_vtObjectOutputNumber_a().variableReference != variable) {
    changeReference(object, outputNumberVariable, variable);
  }
}

void SetVtObject(iVtObjectInputString_c& object, iVtObjectStringVariable_c* variable, bool force) {
  if (force || object.get_vtObjectInputString_a().variableReference != variable) {
    changeReference(object, inputStringVariable, variable);
  }
}

void SetVtObject(iVtObjectOutputString_c& object, iVtObjectFontAttributes_c* font, bool force) {
  if (force || object.get_vtObjectOutputString_a().fontAttributes != font) {
    changeReference(object, outputStringFont, font);
  }
}

void SetVtObject(iVtObjectOutputString_c& object, iVtObjectStringVariable_c* variable, bool force) {
  if (force || object.get_vtObjectOutputString_a().variableReference != variable) {
    changeReference(object, outputStringVariable, variable);
  }
}

// Masks.

void SetVtObject(iVtObjectDataMask_c& object, iVtObjectSoftKeyMask_c* softKeyMask, bool force) {
  if (force || object.get_vtObjectDataMask_a().softKeyMask != softKeyMask) {
    object.setSoftKeyMask(softKeyMask, updateRecord, mustNotReplace);
  }
}

// The active mask is never compared and force is not looked at. On purpose.
void SetVtObject(iVtObjectWorkingSet_c& object, iVtObjectDataMask_c* mask, bool /*force*/) {
  object.changeActiveMask(mask, updateRecord, mustNotReplace);
}

// Attributes of numbers.

void SetVtDecimals(iVtObjectOutputNumber_c& object, unsigned char decimals, bool force) {
  if (force || object.get_vtObjectOutputNumber_a().numberOfDecimals != decimals) {
    change8(object, outputNumberDecimals, decimals, decimals);
  }
}

void SetVtDecimals(iVtObjectInputNumber_c& object, unsigned char decimals, bool force) {
  if (force || object.get_vtObjectInputNumber_a().numberOfDecimals != decimals) {
    change8(object, inputNumberDecimals, decimals, decimals);
  }
}

void SetVtOffset(iVtObjectOutputNumber_c& object, int offset, bool force) {
  if (force || object.get_vtObjectOutputNumber_a().offset != offset) {
    change32(object, outputNumberOffset, offset);
  }
}

void SetVtOffset(iVtObjectInputNumber_c& object, int offset, bool force) {
  if (force || object.get_vtObjectInputNumber_a().offset != offset) {
    change32(object, inputNumberOffset, offset);
  }
}

// NaN differs from everything, from NaN too, and is sent each time.

void SetVtScale(iVtObjectOutputNumber_c& object, float scale, bool force) {
  if (force || object.get_vtObjectOutputNumber_a().scale != scale) {
    changeFloat(object, outputNumberScale, scale);
  }
}

void SetVtScale(iVtObjectInputNumber_c& object, float scale, bool force) {
  if (force || object.get_vtObjectInputNumber_a().scale != scale) {
    changeFloat(object, inputNumberScale, scale);
  }
}

// Colours.

void SetVtObjectColour(iVtObjectLinearBarGraph_c& object, unsigned char colour, bool force) {
  if (force || object.get_vtObjectLinearBarGraph_a().colour != colour) {
    changeColour(object, barGraphColour, colour, BarGraphColour);
  }
}

void SetVtBackColor(iVtObjectKey_c& object, unsigned char colour, bool force) {
  if (force || object.get_vtObjectKey_a().backgroundColour != colour) {
    changeColour(object, keyBackgroundColour, colour, BackgroundColour);
  }
}

// Lists, input objects, containers.

void SetVtListIndex(iVtObjectInputList_c& object, unsigned char index, iVtObject_c* item, bool force) {
  if (force || idOf(object.getListItem(index)) != idOf(item)) {
    object.setItem(index, item, mayReplace);
  }
}

// Skips what would change the list and sends what it is already. On purpose.
void SetVtObjectEnable(iVtObjectInputList_c& object, bool enable, bool force) {
  if (force || object.get_vtObjectInputList_a().options != (enable ? 0 : 1)) {
    object.able(enable ? 1 : 0, updateRecord, mustNotReplace);
  }
}

// b is compared and says whether the record is changed; enabling and disabling skip alike. On purpose.

void SetVtEnableObject(iVtObjectInputNumber_c& object, bool b, bool force) {
  if (force || ((object.get_vtObjectInputNumber_a().options2 & enabledBit) != 0) != b) {
    object.able(1, b, mustNotReplace);
  }
}

void SetVtDisableObject(iVtObjectInputNumber_c& object, bool b, bool force) {
  if (force || ((object.get_vtObjectInputNumber_a().options2 & enabledBit) != 0) != b) {
    object.able(0, b, mustNotReplace);
  }
}

// Of a boolean the opposite is compared where it is disabled. On purpose.

void SetVtEnableObject(iVtObjectInputBoolean_c& object, bool b, bool force) {
  if (force || (object.get_vtObjectInputBoolean_a().enabled != 0) != b) {
    object.able(1, b, mustNotReplace);
  }
}

void SetVtDisableObject(iVtObjectInputBoolean_c& object, bool b, bool force) {
  if (force || (object.get_vtObjectInputBoolean_a().enabled == 0) != b) {
    object.able(0, b, mustNotReplace);
  }
}

void ShowVtContainer(iVtObjectContainer_c& object, bool show, bool force) {
  if (force || object.get_vtObjectContainer_a().hidden != (show ? 0 : 1)) {
    object.hideShow(show ? 1 : 0, updateRecord, mustNotReplace);
  }
}

unsigned int GetVtValue(iVtObjectNumberVariable_c& object) {
  return object.get_vtObjectNumberVariable_a().value;
}

unsigned int GetVtValue(iVtObjectInputNumber_c& object) {
  return object.get_vtObjectInputNumber_a().value;
}
