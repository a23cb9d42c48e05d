#include "VtObjects.h"

#include <cstring>

using namespace IsoAgLib;

namespace {

// Change_e: how a change is sent.
enum Change_e : uint8_t {
  changeAttribute, // of a byte, a float or a reference
  changeAttribute32,
  changeBackgroundColour,
  changeBarGraphColour,
  changeBarGraph,
  changeMeter,
  changeInputBoolean,
  changeInputList,
  changeOutputList,
  changeInputNumber,
  changeOutputNumber,
  changeNumberVariable,
  changeObjectPointer,
  changeSoftKeyMask,
  changeHidden,
  changeDisabled,
  enable, // the value says whether the record is changed too
  disable,
  disableTurned, // the value says whether the record stays
};

// Place_t: where a record keeps a value, the length of the record, the value's number in the Change Attribute command
// (ISO 11783-6), and how a change is sent. A byte each: one word is handed on in one register.
enum Place_t : uint32_t {};

constexpr uint8_t positionOf(Place_t place) {
  return place & 0xFF;
}

constexpr uint8_t recordLengthOf(Place_t place) {
  return place >> 8 & 0xFF;
}

constexpr uint8_t attributeOf(Place_t place) {
  return place >> 16 & 0xFF;
}

constexpr Change_e changeOf(Place_t place) {
  return static_cast<Change_e>(place >> 24);
}

// What is compared: the number, or whether one of these bits is set.
constexpr uint8_t theNumber = 0;
constexpr uint8_t anyBit = 0xFF;
constexpr uint8_t enabledBit = 1;

// Field_s: a place, what the record has there, and what of it is compared.
template <class Held_t, uint8_t bits>
struct Field_s {
  Place_t place;
};

template <uint8_t bits = theNumber, class Held_t, class Record_s>
constexpr Field_s<Held_t, bits> field(Held_t Record_s::* /*member*/, uint32_t position, Change_e change,
                                      uint8_t attribute = 0) {
  static_assert(sizeof(Record_s) <= 0xFF, "a place has a byte for the position and one for the length");
  return {Place_t(position | sizeof(Record_s) << 8 | uint32_t{attribute} << 16 | uint32_t{change} << 24)};
}

constexpr auto maskSoftKeys = field(&iVtObjectDataMask_s::softKeyMask,
                                    ISOAGLIB_FIELD_POSITION(iVtObjectDataMask_s, softKeyMask), changeSoftKeyMask);
constexpr auto containerHidden =
    field(&iVtObjectContainer_s::hidden, ISOAGLIB_FIELD_POSITION(iVtObjectContainer_s, hidden), changeHidden);
constexpr auto keyColour = field(&iVtObjectKey_s::backgroundColour,
                                 ISOAGLIB_FIELD_POSITION(iVtObjectKey_s, backgroundColour), changeBackgroundColour, 1);
constexpr auto booleanValue = field<anyBit>(
    &iVtObjectInputBoolean_s::value, ISOAGLIB_FIELD_POSITION(iVtObjectInputBoolean_s, value), changeInputBoolean);
constexpr auto booleanEnabling =
    field<anyBit>(&iVtObjectInputBoolean_s::enabled, ISOAGLIB_FIELD_POSITION(iVtObjectInputBoolean_s, enabled), enable);
constexpr auto booleanDisabling = field<anyBit>(
    &iVtObjectInputBoolean_s::enabled, ISOAGLIB_FIELD_POSITION(iVtObjectInputBoolean_s, enabled), disableTurned);
constexpr auto inputStringVariable =
    field(&iVtObjectInputString_s::variableReference,
          ISOAGLIB_FIELD_POSITION(iVtObjectInputString_s, variableReference), changeAttribute, 7);
constexpr auto inputNumberValue =
    field(&iVtObjectInputNumber_s::value, ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, value), changeInputNumber);
constexpr auto inputNumberOffset = field(&iVtObjectInputNumber_s::offset,
                                         ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, offset), changeAttribute32, 9);
constexpr auto inputNumberScale =
    field(&iVtObjectInputNumber_s::scale, ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, scale), changeAttribute, 10);
constexpr auto inputNumberDecimals =
    field(&iVtObjectInputNumber_s::numberOfDecimals, ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, numberOfDecimals),
          changeAttribute, 11);
constexpr auto inputNumberEnabling = field<enabledBit>(
    &iVtObjectInputNumber_s::options2, ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, options2), enable);
constexpr auto inputNumberDisabling = field<enabledBit>(
    &iVtObjectInputNumber_s::options2, ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, options2), disable);
constexpr auto inputListValue =
    field(&iVtObjectInputList_s::value, ISOAGLIB_FIELD_POSITION(iVtObjectInputList_s, value), changeInputList);
constexpr auto inputListOptions =
    field(&iVtObjectInputList_s::options, ISOAGLIB_FIELD_POSITION(iVtObjectInputList_s, options), changeDisabled);
constexpr auto outputStringFont =
    field(&iVtObjectOutputString_s::fontAttributes, ISOAGLIB_FIELD_POSITION(iVtObjectOutputString_s, fontAttributes),
          changeAttribute, 4);
constexpr auto outputStringVariable =
    field(&iVtObjectOutputString_s::variableReference,
          ISOAGLIB_FIELD_POSITION(iVtObjectOutputString_s, variableReference), changeAttribute, 6);
constexpr auto outputNumberFont =
    field(&iVtObjectOutputNumber_s::fontAttributes, ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, fontAttributes),
          changeAttribute, 4);
constexpr auto outputNumberVariable =
    field(&iVtObjectOutputNumber_s::variableReference,
          ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, variableReference), changeAttribute, 6);
constexpr auto outputNumberValue =
    field(&iVtObjectOutputNumber_s::value, ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, value), changeOutputNumber);
constexpr auto outputNumberOffset = field(
    &iVtObjectOutputNumber_s::offset, ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, offset), changeAttribute32, 7);
constexpr auto outputNumberScale =
    field(&iVtObjectOutputNumber_s::scale, ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, scale), changeAttribute, 8);
constexpr auto outputNumberDecimals =
    field(&iVtObjectOutputNumber_s::numberOfDecimals,
          ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, numberOfDecimals), changeAttribute, 9);
constexpr auto outputListValue =
    field(&iVtObjectOutputList_s::value, ISOAGLIB_FIELD_POSITION(iVtObjectOutputList_s, value), changeOutputList);
constexpr auto rectangleFill = field(&iVtObjectRectangle_s::fillAttributes,
                                     ISOAGLIB_FIELD_POSITION(iVtObjectRectangle_s, fillAttributes), changeAttribute, 5);
constexpr auto polygonFill = field(&iVtObjectPolygon_s::fillAttributes,
                                   ISOAGLIB_FIELD_POSITION(iVtObjectPolygon_s, fillAttributes), changeAttribute, 4);
constexpr auto meterVariable = field(&iVtObjectMeter_s::variableReference,
                                     ISOAGLIB_FIELD_POSITION(iVtObjectMeter_s, variableReference), changeAttribute, 11);
constexpr auto meterValue =
    field(&iVtObjectMeter_s::value, ISOAGLIB_FIELD_POSITION(iVtObjectMeter_s, value), changeMeter);
constexpr auto barGraphColour =
    field(&iVtObjectLinearBarGraph_s::colour, ISOAGLIB_FIELD_POSITION(iVtObjectLinearBarGraph_s, colour),
          changeBarGraphColour, 3);
constexpr auto barGraphValue =
    field(&iVtObjectLinearBarGraph_s::value, ISOAGLIB_FIELD_POSITION(iVtObjectLinearBarGraph_s, value), changeBarGraph);
constexpr auto numberVariableValue = field(
    &iVtObjectNumberVariable_s::value, ISOAGLIB_FIELD_POSITION(iVtObjectNumberVariable_s, value), changeNumberVariable);
constexpr auto objectPointerValue = field(
    &iVtObjectObjectPointer_s::value, ISOAGLIB_FIELD_POSITION(iVtObjectObjectPointer_s, value), changeObjectPointer);

// The flags of every change. Only values, which are sent again and again, may overtake each other in the queue.
constexpr bool updateRecord = true;
constexpr bool mayReplace = true;
constexpr bool mustNotReplace = false;

// Only what goes out calls the stack, in functions of their own: 32-bit code needs two registers and a load to find the
// stack's functions, which a setter whose value has not changed is spared. Cold: short, and not in the setters' way.
// Their arguments are ordered so that a setter has them in place already.

template <class Object_c, class Number_t>
void changeValue(__IsoAgLib::vtObject_c& object, Number_t value) {
  static_cast<Object_c&>(object).setValue(value, updateRecord, mayReplace);
}

// Stores the wanted colour and sends the one that the VT can show: the next comparison is with what was wanted.
void change8(__IsoAgLib::vtObject_c& object, uint8_t value, Place_t place) {
  uint8_t shown = value;
  if (changeOf(place) != changeAttribute) {
    const e_vtColour kind = changeOf(place) == changeBarGraphColour ? BarGraphColour : BackgroundColour;
    shown = __IsoAgLib::getVtClientInstance(static_cast<uint8_t>(object.getMultitonInstance()))
                .getClientByID(object.getClientID())
                .getUserClippedColor(value, &object, kind);
  }
  object.saveValue8SetAttribute(positionOf(place), recordLengthOf(place), attributeOf(place), value, shown,
                                mustNotReplace);
}

[[gnu::noinline, gnu::cold]] void send(Place_t place, uint32_t value, __IsoAgLib::vtObject_c& object) {
  switch (changeOf(place)) {
  case changeAttribute32:
    object.saveValue32SetAttribute(positionOf(place), recordLengthOf(place), attributeOf(place),
                                   static_cast<int32_t>(value), mustNotReplace);
    break;
  case changeBarGraph:
    changeValue<iVtObjectLinearBarGraph_c>(object, static_cast<uint16_t>(value));
    break;
  case changeMeter:
    changeValue<iVtObjectMeter_c>(object, static_cast<uint16_t>(value));
    break;
  case changeInputBoolean:
    changeValue<iVtObjectInputBoolean_c>(object, value != 0);
    break;
  case changeInputList:
    changeValue<iVtObjectInputList_c>(object, static_cast<uint8_t>(value));
    break;
  case changeOutputList:
    changeValue<iVtObjectOutputList_c>(object, static_cast<uint8_t>(value));
    break;
  case changeInputNumber:
    changeValue<iVtObjectInputNumber_c>(object, value);
    break;
  case changeOutputNumber:
    changeValue<iVtObjectOutputNumber_c>(object, value);
    break;
  case changeNumberVariable:
    changeValue<iVtObjectNumberVariable_c>(object, value);
    break;
  case changeHidden:
    static_cast<iVtObjectContainer_c&>(object).hideShow(value == 0 ? 1 : 0, updateRecord, mustNotReplace);
    break;
  case enable:
    object.able(1, value != 0, mustNotReplace);
    break;
  case disable:
    object.able(0, value != 0, mustNotReplace);
    break;
  case disableTurned:
    object.able(0, value == 0, mustNotReplace);
    break;
  case changeDisabled:
    object.able(value == 0 ? 1 : 0, updateRecord, mustNotReplace);
    break;
  default:
    change8(object, static_cast<uint8_t>(value), place);
  }
}

[[gnu::noinline, gnu::cold]] void send(Place_t place, float value, __IsoAgLib::vtObject_c& object) {
  object.saveValueFloatSetAttribute(positionOf(place), recordLengthOf(place), attributeOf(place), value,
                                    mustNotReplace);
}

[[gnu::noinline, gnu::cold]] void send(Place_t place, iVtObject_c* value, __IsoAgLib::vtObject_c& object) {
  switch (changeOf(place)) {
  case changeObjectPointer:
    static_cast<iVtObjectObjectPointer_c&>(object).setValue(value, updateRecord, mustNotReplace);
    break;
  case changeSoftKeyMask:
    static_cast<iVtObjectDataMask_c&>(object).setSoftKeyMask(value, updateRecord, mustNotReplace);
    break;
  default:
    object.saveValuePSetAttribute(positionOf(place), recordLengthOf(place), attributeOf(place), value, mustNotReplace);
  }
}

uint16_t idOf(const iVtObject_c* object) {
  constexpr uint16_t noObject = 0xFFFF;
  return object == nullptr ? noObject : object->getID();
}

// The records, by the stack's accessors.

const auto& recordOf(const iVtObjectDataMask_c& object) {
  return object.get_vtObjectDataMask_a();
}

const auto& recordOf(const iVtObjectContainer_c& object) {
  return object.get_vtObjectContainer_a();
}

const auto& recordOf(const iVtObjectKey_c& object) {
  return object.get_vtObjectKey_a();
}

const auto& recordOf(const iVtObjectInputBoolean_c& object) {
  return object.get_vtObjectInputBoolean_a();
}

const auto& recordOf(const iVtObjectInputString_c& object) {
  return object.get_vtObjectInputString_a();
}

const auto& recordOf(const iVtObjectInputNumber_c& object) {
  return object.get_vtObjectInputNumber_a();
}

const auto& recordOf(const iVtObjectInputList_c& object) {
  return object.get_vtObjectInputList_a();
}

const auto& recordOf(const iVtObjectOutputString_c& object) {
  return object.get_vtObjectOutputString_a();
}

const auto& recordOf(const iVtObjectOutputNumber_c& object) {
  return object.get_vtObjectOutputNumber_a();
}

const auto& recordOf(const iVtObjectOutputList_c& object) {
  return object.get_vtObjectOutputList_a();
}

const auto& recordOf(const iVtObjectRectangle_c& object) {
  return object.get_vtObjectRectangle_a();
}

const auto& recordOf(const iVtObjectPolygon_c& object) {
  return object.get_vtObjectPolygon_a();
}

const auto& recordOf(const iVtObjectMeter_c& object) {
  return object.get_vtObjectMeter_a();
}

const auto& recordOf(const iVtObjectLinearBarGraph_c& object) {
  return object.get_vtObjectLinearBarGraph_a();
}

const auto& recordOf(const iVtObjectNumberVariable_c& object) {
  return object.get_vtObjectNumberVariable_a();
}

const auto& recordOf(const iVtObjectObjectPointer_c& object) {
  return object.get_vtObjectObjectPointer_a();
}

template <class Held_t, uint8_t bits, class Record_s, class Value_t>
bool holds(const Record_s& record, Value_t value, Place_t place) {
  Held_t held;
  const char* position = reinterpret_cast<const char*>(&record) + positionOf(place);
  std::memcpy(&held, position, sizeof held); // NOLINT(bugprone-sizeof-expression): a reference is held as a pointer
  if constexpr (bits == theNumber) {
    return static_cast<Value_t>(held) == value;
  } else {
    return ((held & bits) != 0 ? 1U : 0U) == value;
  }
}

// hasRecord: whether the object has its record. Of a stack that does not tell, the accessor sees to objects without.

template <class Object_c>
auto hasRecord(const Object_c& object, int) -> decltype(object.hasRecord()) {
  return object.hasRecord();
}

template <class Object_c>
bool hasRecord(const Object_c& /*object*/, long) {
  return true;
}

// Without a record the accessor calls the stack, which is kept out of the setters like everything that goes out. The
// functions for records that keep the value alike are alike, and become one.
template <class Held_t, uint8_t bits, class Object_c, class Value_t>
[[gnu::noinline, gnu::cold]] void setWithoutRecord(Place_t place, Value_t value, Object_c& object) {
  if (!holds<Held_t, bits>(recordOf(object), value, place)) {
    send(place, value, object);
  }
}

template <class Held_t, uint8_t bits, class Object_c, class Value_t>
void set(Object_c& object, Value_t value, Field_s<Held_t, bits> field, bool force) {
  if (!force && !hasRecord(object, 0)) {
    setWithoutRecord<Held_t, bits>(field.place, value, object);
    return;
  }
  if (force || !holds<Held_t, bits>(recordOf(object), value, field.place)) {
    send(field.place, value, object);
  }
}

template <class Held_t, uint8_t bits, class Object_c>
void setNumber(Object_c& object, uint32_t value, Field_s<Held_t, bits> field, bool force) {
  set(object, value, field, force);
}

template <class Held_t, uint8_t bits, class Object_c>
void setReference(Object_c& object, iVtObject_c* value, Field_s<Held_t, bits> field, bool force) {
  set(object, value, field, force);
}

} // namespace

// Values.

void SetVtObject(iVtObjectLinearBarGraph_c& object, unsigned short value, bool force) {
  setNumber(object, value, barGraphValue, force);
}

void SetVtObject(iVtObjectMeter_c& object, unsigned short value, bool force) {
  setNumber(object, value, meterValue, force);
}

void SetVtObject(iVtObjectOutputList_c& object, unsigned char value, bool force) {
  setNumber(object, value, outputListValue, force);
}

void SetVtObject(iVtObjectInputList_c& object, unsigned char value, bool force) {
  setNumber(object, value, inputListValue, force);
}

void SetVtObject(iVtObjectInputBoolean_c& object, bool value, bool force) {
  setNumber(object, value ? 1 : 0, booleanValue, force);
}

void SetVtObject(iVtObjectInputNumber_c& object, unsigned int value, bool force) {
  setNumber(object, value, inputNumberValue, force);
}

void SetVtObject(iVtObjectOutputNumber_c& object, unsigned int value, bool force) {
  setNumber(object, value, outputNumberValue, force);
}

void SetVtObject(iVtObjectNumberVariable_c& object, unsigned int value, bool force) {
  setNumber(object, value, numberVariableValue, force);
}

// References.

void SetVtObject(iVtObjectObjectPointer_c& object, iVtObject_c* value, bool force) {
  setReference(object, value, objectPointerValue, force);
}

void SetVtObject(iVtObjectPolygon_c& object, iVtObjectFillAttributes_c* fill, bool force) {
  setReference(object, fill, polygonFill, force);
}

void SetVtObject(iVtObjectRectangle_c& object, iVtObjectFillAttributes_c* fill, bool force) {
  setReference(object, fill, rectangleFill, force);
}

void SetVtObject(iVtObjectMeter_c& object, iVtObjectNumberVariable_c* variable, bool force) {
  setReference(object, variable, meterVariable, force);
}

void SetVtObject(iVtObjectOutputNumber_c& object, iVtObjectFontAttributes_c* font, bool force) {
  setReference(object, font, outputNumberFont, force);
}

void SetVtObject(iVtObjectOutputNumber_c& object, iVtObjectNumberVariable_c* variable, bool force) {
  setReference(object, variable, outputNumberVariable, force);
}

void SetVtObject(iVtObjectInputString_c& object, iVtObjectStringVariable_c* variable, bool force) {
  setReference(object, variable, inputStringVariable, force);
}

void SetVtObject(iVtObjectOutputString_c& object, iVtObjectFontAttributes_c* font, bool force) {
  setReference(object, font, outputStringFont, force);
}

void SetVtObject(iVtObjectOutputString_c& object, iVtObjectStringVariable_c* variable, bool force) {
  setReference(object, variable, outputStringVariable, force);
}

// Masks.

void SetVtObject(iVtObjectDataMask_c& object, iVtObjectSoftKeyMask_c* softKeyMask, bool force) {
  setReference(object, softKeyMask, maskSoftKeys, force);
}

// The active mask is never compared and force is not looked at. On purpose.
void SetVtObject(iVtObjectWorkingSet_c& object, iVtObjectDataMask_c* mask, bool /*force*/) {
  object.changeActiveMask(mask, updateRecord, mustNotReplace);
}

// Attributes of numbers.

void SetVtDecimals(iVtObjectOutputNumber_c& object, unsigned char decimals, bool force) {
  setNumber(object, decimals, outputNumberDecimals, force);
}

void SetVtDecimals(iVtObjectInputNumber_c& object, unsigned char decimals, bool force) {
  setNumber(object, decimals, inputNumberDecimals, force);
}

void SetVtOffset(iVtObjectOutputNumber_c& object, int offset, bool force) {
  setNumber(object, static_cast<uint32_t>(offset), outputNumberOffset, force);
}

void SetVtOffset(iVtObjectInputNumber_c& object, int offset, bool force) {
  setNumber(object, static_cast<uint32_t>(offset), inputNumberOffset, force);
}

// NaN differs from everything, from NaN too, and is sent each time.

void SetVtScale(iVtObjectOutputNumber_c& object, float scale, bool force) {
  set(object, scale, outputNumberScale, force);
}

void SetVtScale(iVtObjectInputNumber_c& object, float scale, bool force) {
  set(object, scale, inputNumberScale, force);
}

// Colours.

void SetVtObjectColour(iVtObjectLinearBarGraph_c& object, unsigned char colour, bool force) {
  setNumber(object, colour, barGraphColour, force);
}

void SetVtBackColor(iVtObjectKey_c& object, unsigned char colour, bool force) {
  setNumber(object, colour, keyColour, force);
}

// Lists, input objects, containers.

void SetVtListIndex(iVtObjectInputList_c& object, unsigned char index, iVtObject_c* item, bool force) {
  if (force || idOf(object.getListItem(index)) != idOf(item)) {
    object.setItem(index, item, mayReplace);
  }
}

// Skips what would change the list and sends what it is already. On purpose.
void SetVtObjectEnable(iVtObjectInputList_c& object, bool enable, bool force) {
  setNumber(object, enable ? 0 : 1, inputListOptions, force);
}

// b is compared and says whether the record is changed; enabling and disabling skip alike. On purpose.

void SetVtEnableObject(iVtObjectInputNumber_c& object, bool b, bool force) {
  setNumber(object, b ? 1 : 0, inputNumberEnabling, force);
}

void SetVtDisableObject(iVtObjectInputNumber_c& object, bool b, bool force) {
  setNumber(object, b ? 1 : 0, inputNumberDisabling, force);
}

// Of a boolean the opposite is compared where it is disabled. On purpose.

void SetVtEnableObject(iVtObjectInputBoolean_c& object, bool b, bool force) {
  setNumber(object, b ? 1 : 0, booleanEnabling, force);
}

void SetVtDisableObject(iVtObjectInputBoolean_c& object, bool b, bool force) {
  setNumber(object, b ? 0 : 1, booleanDisabling, force);
}

void ShowVtContainer(iVtObjectContainer_c& object, bool show, bool force) {
  setNumber(object, show ? 0 : 1, containerHidden, force);
}

unsigned int GetVtValue(iVtObjectNumberVariable_c& object) {
  return object.get_vtObjectNumberVariable_a().value;
}

unsigned int GetVtValue(iVtObjectInputNumber_c& object) {
  return object.get_vtObjectInputNumber_a().value;
}
