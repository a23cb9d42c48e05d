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

// Only what goes out calls the stack, in functions of their own: 32-bit code needs two registers and a load to find the
// stack's functions, which a setter whose value has not changed is spared.

template <class Object_c, class Value_t>
[[gnu::noinline]] void changeValue(Object_c& object, Value_t value) {
  object.setValue(value, updateRecord, mayReplace);
}

[[gnu::noinline]] void changePointer(iVtObjectObjectPointer_c& object, iVtObject_c* value) {
  object.setValue(value, updateRecord, mustNotReplace);
}

[[gnu::noinline]] void change8(__IsoAgLib::vtObject_c& object, uint8_t value, Attribute_s which) {
  object.saveValue8SetAttribute(which.position, which.recordLength, which.id, value, value, mustNotReplace);
}

[[gnu::noinline]] void change32(__IsoAgLib::vtObject_c& object, int32_t value, Attribute_s which) {
  object.saveValue32SetAttribute(which.position, which.recordLength, which.id, value, mustNotReplace);
}

[[gnu::noinline]] void changeFloat(__IsoAgLib::vtObject_c& object, float value, Attribute_s which) {
  object.saveValueFloatSetAttribute(which.position, which.recordLength, which.id, value, mustNotReplace);
}

[[gnu::noinline]] void changeReference(__IsoAgLib::vtObject_c& object, iVtObject_c* value, Attribute_s which) {
  object.saveValuePSetAttribute(which.position, which.recordLength, which.id, value, mustNotReplace);
}

// Stores the wanted colour and sends the one that the VT can show: the next comparison is with what was wanted.
[[gnu::noinline]] void changeColour(__IsoAgLib::vtObject_c& object, uint8_t colour, Attribute_s which,
                                    e_vtColour kind) {
  __IsoAgLib::VtClientConnection_c& connection =
      __IsoAgLib::getVtClientInstance(static_cast<uint8_t>(object.getMultitonInstance()))
          .getClientByID(object.getClientID());
  object.saveValue8SetAttribute(which.position, which.recordLength, which.id, colour,
                                connection.getUserClippedColor(colour, &object, kind), mustNotReplace);
}

[[gnu::noinline]] void able(__IsoAgLib::vtObject_c& object, uint8_t enabled, bool update) {
  object.able(enabled, update, mustNotReplace);
}

[[gnu::noinline]] void hideOrShow(iVtObjectContainer_c& object, uint8_t show) {
  object.hideShow(show, updateRecord, mustNotReplace);
}

uint16_t idOf(const iVtObject_c* object) {
  constexpr uint16_t noObject = 0xFFFF;
  return object == nullptr ? noObject : object->getID();
}

} // namespace

// Values.

void SetVtObject(iVtObjectLinearBarGraph_c& object, unsigned short value, bool force) {
  if (force || object.get_vtObjectLinearBarGraph_a().value != value) {
    changeValue(object, value);
  }
}

void SetVtObject(iVtObjectMeter_c& object, unsigned short value, bool force) {
  if (force || object.get_vtObjectMeter_a().value != value) {
    changeValue(object, value);
  }
}

void SetVtObject(iVtObjectOutputList_c& object, unsigned char value, bool force) {
  if (force || object.get_vtObjectOutputList_a().value != value) {
    changeValue(object, value);
  }
}

void SetVtObject(iVtObjectInputList_c& object, unsigned char value, bool force) {
  if (force || object.get_vtObjectInputList_a().value != value) {
    changeValue(object, value);
  }
}

void SetVtObject(iVtObjectInputBoolean_c& object, bool value, bool force) {
  if (force || (object.get_vtObjectInputBoolean_a().value != 0) != value) {
    changeValue(object, value);
  }
}

void SetVtObject(iVtObjectInputNumber_c& object, unsigned int value, bool force) {
  if (force || object.get_vtObjectInputNumber_a().value != value) {
    changeValue(object, value);
  }
}

void SetVtObject(iVtObjectOutputNumber_c& object, unsigned int value, bool force) {
  if (force || object.get_vtObjectOutputNumber_a().value != value) {
    changeValue(object, value);
  }
}

void SetVtObject(iVtObjectNumberVariable_c& object, unsigned int value, bool force) {
  if (force || object.get_vtObjectNumberVariable_a().value != value) {
    changeValue(object, value);
  }
}

// References.

void SetVtObject(iVtObjectObjectPointer_c& object, iVtObject_c* value, bool force) {
  if (force || object.get_vtObjectObjectPointer_a().value != value) {
    changePointer(object, value);
  }
}

void SetVtObject(iVtObjectPolygon_c& object, iVtObjectFillAttributes_c* fill, bool force) {
  if (force || object.get_vtObjectPolygon_a().fillAttributes != fill) {
    changeReference(object, fill, polygonFill);
  }
}

void SetVtObject(iVtObjectRectangle_c& object, iVtObjectFillAttributes_c* fill, bool force) {
  if (force || object.get_vtObjectRectangle_a().fillAttributes != fill) {
    changeReference(object, fill, rectangleFill);
  }
}

void SetVtObject(iVtObjectMeter_c& object, iVtObjectNumberVariable_c* variable, bool force) {
  if (force || object.get_vtObjectMeter_a().variableReference != variable) {
    changeReference(object, variable, meterVariable);
  }
}

void SetVtObject(iVtObjectOutputNumber_c& object, iVtObjectFontAttributes_c* font, bool force) {
  if (force || object.get_vtObjectOutputNumber_a().fontAttributes != font) {
    changeReference(object, font, outputNumberFont);
  }
}

void SetVtObject(iVtObjectOutputNumber_c& object, iVtObjectNumberVariable_c* variable, bool force) {
  if (force || object.get_vtObjectOutputNumber_a().variableReference != variable) {
    changeReference(object, variable, outputNumberVariable);
  }
}

void SetVtObject(iVtObjectInputString_c& object, iVtObjectStringVariable_c* variable, bool force) {
  if (force || object.get_vtObjectInputString_a().variableReference != variable) {
    changeReference(object, variable, inputStringVariable);
  }
}

void SetVtObject(iVtObjectOutputString_c& object, iVtObjectFontAttributes_c* font, bool force) {
  if (force || object.get_vtObjectOutputString_a().fontAttributes != font) {
    changeReference(object, font, outputStringFont);
  }
}

void SetVtObject(iVtObjectOutputString_c& object, iVtObjectStringVariable_c* variable, bool force) {
  if (force || object.get_vtObjectOutputString_a().variableReference != variable) {
    changeReference(object, variable, outputStringVariable);
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
    change8(object, decimals, outputNumberDecimals);
  }
}

void SetVtDecimals(iVtObjectInputNumber_c& object, unsigned char decimals, bool force) {
  if (force || object.get_vtObjectInputNumber_a().numberOfDecimals != decimals) {
    change8(object, decimals, inputNumberDecimals);
  }
}

void SetVtOffset(iVtObjectOutputNumber_c& object, int offset, bool force) {
  if (force || object.get_vtObjectOutputNumber_a().offset != offset) {
    change32(object, offset, outputNumberOffset);
  }
}

void SetVtOffset(iVtObjectInputNumber_c& object, int offset, bool force) {
  if (force || object.get_vtObjectInputNumber_a().offset != offset) {
    change32(object, offset, inputNumberOffset);
  }
}

// NaN differs from everything, from NaN too, and is sent each time.

void SetVtScale(iVtObjectOutputNumber_c& object, float scale, bool force) {
  if (force || object.get_vtObjectOutputNumber_a().scale != scale) {
    changeFloat(object, scale, outputNumberScale);
  }
}

void SetVtScale(iVtObjectInputNumber_c& object, float scale, bool force) {
  if (force || object.get_vtObjectInputNumber_a().scale != scale) {
    changeFloat(object, scale, inputNumberScale);
  }
}

// Colours.

void SetVtObjectColour(iVtObjectLinearBarGraph_c& object, unsigned char colour, bool force) {
  if (force || object.get_vtObjectLinearBarGraph_a().colour != colour) {
    changeColour(object, colour, barGraphColour, BarGraphColour);
  }
}

void SetVtBackColor(iVtObjectKey_c& object, unsigned char colour, bool force) {
  if (force || object.get_vtObjectKey_a().backgroundColour != colour) {
    changeColour(object, colour, keyBackgroundColour, BackgroundColour);
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
    able(object, enable ? 1 : 0, updateRecord);
  }
}

// b is compared and says whether the record is changed; enabling and disabling skip alike. On purpose.

void SetVtEnableObject(iVtObjectInputNumber_c& object, bool b, bool force) {
  if (force || ((object.get_vtObjectInputNumber_a().options2 & enabledBit) != 0) != b) {
    able(object, 1, b);
  }
}

void SetVtDisableObject(iVtObjectInputNumber_c& object, bool b, bool force) {
  if (force || ((object.get_vtObjectInputNumber_a().options2 & enabledBit) != 0) != b) {
    able(object, 0, b);
  }
}

// Of a boolean the opposite is compared where it is disabled. On purpose.

void SetVtEnableObject(iVtObjectInputBoolean_c& object, bool b, bool force) {
  if (force || (object.get_vtObjectInputBoolean_a().enabled != 0) != b) {
    able(object, 1, b);
  }
}

void SetVtDisableObject(iVtObjectInputBoolean_c& object, bool b, bool force) {
  if (force || (object.get_vtObjectInputBoolean_a().enabled == 0) != b) {
    able(object, 0, b);
  }
}

void ShowVtContainer(iVtObjectContainer_c& object, bool show, bool force) {
  if (force || object.get_vtObjectContainer_a().hidden != (show ? 0 : 1)) {
    hideOrShow(object, show ? 1 : 0);
  }
}

unsigned int GetVtValue(iVtObjectNumberVariable_c& object) {
  return object.get_vtObjectNumberVariable_a().value;
}

unsigned int GetVtValue(iVtObjectInputNumber_c& object) {
  return object.get_vtObjectInputNumber_a().value;
}
