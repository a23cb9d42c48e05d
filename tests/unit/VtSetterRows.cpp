#include "VtSetterRows.h"

#include <cstddef>
#include <limits>
#include <sstream>

using namespace IsoAgLib;

namespace TestSupport {

namespace {

std::string textOf(bool value) {
  return value ? "true" : "false";
}

std::string textOf(float value) {
  std::ostringstream text;
  text << value;
  return text.str();
}

template <class Number_t>
std::string textOf(Number_t value) {
  return std::to_string(value);
}

// Puts a text in place of each '%'.
std::string filledIn(std::string call, const std::string& text) {
  for (std::size_t place = call.find('%'); place != std::string::npos; place = call.find('%', place + text.size())) {
    call.replace(place, 1, text);
  }
  return call;
}

// A row of numbers. `field` is where the record keeps the number, `call` the expected call with '%' for the number.
template <class Object_c, class Number_t, class Record_s, class Field_t>
VtSetterRow_s numbers(const std::string& function, void (*set)(Object_c&, Number_t, bool), Object_c VtScreen_s::*object,
                      Record_s VtScreen_s::Records_s::*record, Field_t Record_s::*field, const std::string& call,
                      const std::vector<Number_t>& values) {
  VtSetterRow_s row = {function, {}};
  for (const Number_t value : values) {
    row.values.push_back({textOf(value), [=](VtScreen_s& screen, bool force) { set(screen.*object, value, force); },
                          filledIn(call, textOf(value)),
                          [=](VtScreen_s& screen) { return screen.records.*record.*field == Field_t(value); }});
  }
  return row;
}

// A row of references: none, an object, another one, and one more that shares its id with the first.
template <class Object_c, class Reference_c, class Record_s>
VtSetterRow_s references(const std::string& function, void (*set)(Object_c&, Reference_c*, bool),
                         Object_c VtScreen_s::*object, Record_s VtScreen_s::Records_s::*record,
                         iVtObject_c* Record_s::*field, const std::string& call,
                         std::vector<Reference_c VtScreen_s::*> referenced) {
  VtSetterRow_s row = {function, {}};
  row.values.push_back({"none", [=](VtScreen_s& screen, bool force) { set(screen.*object, nullptr, force); },
                        filledIn(call, "65535"),
                        [=](VtScreen_s& screen) { return screen.records.*record.*field == nullptr; }});
  for (Reference_c VtScreen_s::*reference : referenced) {
    const VtScreen_s screen;
    const std::string id = std::to_string((screen.*reference).getID());
    row.values.push_back({id, [=](VtScreen_s& own, bool force) { set(own.*object, &(own.*reference), force); },
                          filledIn(call, id),
                          [=](VtScreen_s& own) { return own.records.*record.*field == &(own.*reference); }});
  }
  return row;
}

// The call of a method that writes a field of a record.
template <class Record_s>
std::string attributeCall(const char* object, const char* method, std::size_t position, const char* rest) {
  return std::string("vt ") + object + ": " + method + "(" + std::to_string(position) + ", " +
         std::to_string(sizeof(Record_s)) + ", " + rest + ")\n";
}

const std::vector<uint16_t> numbers16 = {0, 1, 500, 33268, 65535};
const std::vector<uint8_t> numbers8 = {0, 1, 7, 135, 255};
const std::vector<uint32_t> numbers32 = {0, 1, 65536, 70000, 2147483648U, 4294967295U};
const std::vector<int> signedNumbers32 = {0, 1, -1, 65536, 2147483647, std::numeric_limits<int>::min()};
const std::vector<float> floats = {0.0F, 1.0F, -1.0F, 0.5F, 1.0e10F, std::numeric_limits<float>::infinity()};

using Screen = VtScreen_s;
using Records = VtScreen_s::Records_s;

std::vector<VtSetterRow_s> valueRows() {
  return {
      numbers<iVtObjectLinearBarGraph_c, uint16_t>(
          "SetVtObject(IsoAgLib::iVtObjectLinearBarGraph_c&, unsigned short, bool)", &SetVtObject, &Screen::barGraph,
          &Records::barGraph, &iVtObjectLinearBarGraph_s::value, "vt 2700: setValue(%, true, true)\n", numbers16),
      numbers<iVtObjectMeter_c, uint16_t>("SetVtObject(IsoAgLib::iVtObjectMeter_c&, unsigned short, bool)",
                                          &SetVtObject, &Screen::meter, &Records::meter, &iVtObjectMeter_s::value,
                                          "vt 2600: setValue(%, true, true)\n", numbers16),
      numbers<iVtObjectOutputList_c, uint8_t>(
          "SetVtObject(IsoAgLib::iVtObjectOutputList_c&, unsigned char, bool)", &SetVtObject, &Screen::outputList,
          &Records::outputList, &iVtObjectOutputList_s::value, "vt 2300: setValue(%, true, true)\n", numbers8),
      numbers<iVtObjectInputList_c, uint8_t>(
          "SetVtObject(IsoAgLib::iVtObjectInputList_c&, unsigned char, bool)", &SetVtObject, &Screen::inputList,
          &Records::inputList, &iVtObjectInputList_s::value, "vt 2000: setValue(%, true, true)\n", numbers8),
      numbers<iVtObjectInputBoolean_c, bool>(
          "SetVtObject(IsoAgLib::iVtObjectInputBoolean_c&, bool, bool)", &SetVtObject, &Screen::inputBoolean,
          &Records::inputBoolean, &iVtObjectInputBoolean_s::value, "vt 1700: setValue(%, true, true)\n", {false, true}),
      numbers<iVtObjectInputNumber_c, uint32_t>(
          "SetVtObject(IsoAgLib::iVtObjectInputNumber_c&, unsigned int, bool)", &SetVtObject, &Screen::inputNumber,
          &Records::inputNumber, &iVtObjectInputNumber_s::value, "vt 1900: setValue(%, true, true)\n", numbers32),
      numbers<iVtObjectOutputNumber_c, uint32_t>(
          "SetVtObject(IsoAgLib::iVtObjectOutputNumber_c&, unsigned int, bool)", &SetVtObject, &Screen::outputNumber,
          &Records::outputNumber, &iVtObjectOutputNumber_s::value, "vt 2200: setValue(%, true, true)\n", numbers32),
      numbers<iVtObjectNumberVariable_c, uint32_t>(
          "SetVtObject(IsoAgLib::iVtObjectNumberVariable_c&, unsigned int, bool)", &SetVtObject,
          &Screen::numberVariable, &Records::numberVariable, &iVtObjectNumberVariable_s::value,
          "vt 2800: setValue(%, true, true)\n", numbers32),
  };
}

std::vector<VtSetterRow_s> referenceRows() {
  return {
      references<iVtObjectPolygon_c, iVtObjectFillAttributes_c>(
          "SetVtObject(IsoAgLib::iVtObjectPolygon_c&, IsoAgLib::iVtObjectFillAttributes_c*, bool)", &SetVtObject,
          &Screen::polygon, &Records::polygon, &iVtObjectPolygon_s::fillAttributes,
          attributeCall<iVtObjectPolygon_s>("2500", "saveValuePSetAttribute",
                                            offsetof(iVtObjectPolygon_s, fillAttributes), "4, %, false"),
          {&Screen::fill, &Screen::otherFill, &Screen::twinOfFill}),
      references<iVtObjectRectangle_c, iVtObjectFillAttributes_c>(
          "SetVtObject(IsoAgLib::iVtObjectRectangle_c&, IsoAgLib::iVtObjectFillAttributes_c*, bool)", &SetVtObject,
          &Screen::rectangle, &Records::rectangle, &iVtObjectRectangle_s::fillAttributes,
          attributeCall<iVtObjectRectangle_s>("2400", "saveValuePSetAttribute",
                                              offsetof(iVtObjectRectangle_s, fillAttributes), "5, %, false"),
          {&Screen::fill, &Screen::otherFill, &Screen::twinOfFill}),
      references<iVtObjectMeter_c, iVtObjectNumberVariable_c>(
          "SetVtObject(IsoAgLib::iVtObjectMeter_c&, IsoAgLib::iVtObjectNumberVariable_c*, bool)", &SetVtObject,
          &Screen::meter, &Records::meter, &iVtObjectMeter_s::variableReference,
          attributeCall<iVtObjectMeter_s>("2600", "saveValuePSetAttribute",
                                          offsetof(iVtObjectMeter_s, variableReference), "11, %, false"),
          {&Screen::numberVariable, &Screen::otherNumberVariable, &Screen::twinOfNumberVariable}),
      references<iVtObjectOutputNumber_c, iVtObjectFontAttributes_c>(
          "SetVtObject(IsoAgLib::iVtObjectOutputNumber_c&, IsoAgLib::iVtObjectFontAttributes_c*, bool)", &SetVtObject,
          &Screen::outputNumber, &Records::outputNumber, &iVtObjectOutputNumber_s::fontAttributes,
          attributeCall<iVtObjectOutputNumber_s>("2200", "saveValuePSetAttribute",
                                                 offsetof(iVtObjectOutputNumber_s, fontAttributes), "4, %, false"),
          {&Screen::font, &Screen::otherFont, &Screen::twinOfFont}),
      references<iVtObjectOutputNumber_c, iVtObjectNumberVariable_c>(
          "SetVtObject(IsoAgLib::iVtObjectOutputNumber_c&, IsoAgLib::iVtObjectNumberVariable_c*, bool)", &SetVtObject,
          &Screen::outputNumber, &Records::outputNumber, &iVtObjectOutputNumber_s::variableReference,
          attributeCall<iVtObjectOutputNumber_s>("2200", "saveValuePSetAttribute",
                                                 offsetof(iVtObjectOutputNumber_s, variableReference), "6, %, false"),
          {&Screen::numberVariable, &Screen::otherNumberVariable, &Screen::twinOfNumberVariable}),
      references<iVtObjectInputString_c, iVtObjectStringVariable_c>(
          "SetVtObject(IsoAgLib::iVtObjectInputString_c&, IsoAgLib::iVtObjectStringVariable_c*, bool)", &SetVtObject,
          &Screen::inputString, &Records::inputString, &iVtObjectInputString_s::variableReference,
          attributeCall<iVtObjectInputString_s>("1800", "saveValuePSetAttribute",
                                                offsetof(iVtObjectInputString_s, variableReference), "7, %, false"),
          {&Screen::stringVariable, &Screen::otherStringVariable, &Screen::twinOfStringVariable}),
      references<iVtObjectOutputString_c, iVtObjectFontAttributes_c>(
          "SetVtObject(IsoAgLib::iVtObjectOutputString_c&, IsoAgLib::iVtObjectFontAttributes_c*, bool)", &SetVtObject,
          &Screen::outputString, &Records::outputString, &iVtObjectOutputString_s::fontAttributes,
          attributeCall<iVtObjectOutputString_s>("2100", "saveValuePSetAttribute",
                                                 offsetof(iVtObjectOutputString_s, fontAttributes), "4, %, false"),
          {&Screen::font, &Screen::otherFont, &Screen::twinOfFont}),
      references<iVtObjectOutputString_c, iVtObjectStringVariable_c>(
          "SetVtObject(IsoAgLib::iVtObjectOutputString_c&, IsoAgLib::iVtObjectStringVariable_c*, bool)", &SetVtObject,
          &Screen::outputString, &Records::outputString, &iVtObjectOutputString_s::variableReference,
          attributeCall<iVtObjectOutputString_s>("2100", "saveValuePSetAttribute",
                                                 offsetof(iVtObjectOutputString_s, variableReference), "6, %, false"),
          {&Screen::stringVariable, &Screen::otherStringVariable, &Screen::twinOfStringVariable}),
      references<iVtObjectDataMask_c, iVtObjectSoftKeyMask_c>(
          "SetVtObject(IsoAgLib::iVtObjectDataMask_c&, IsoAgLib::iVtObjectSoftKeyMask_c*, bool)", &SetVtObject,
          &Screen::dataMask, &Records::dataMask, &iVtObjectDataMask_s::softKeyMask,
          "vt 1100: setSoftKeyMask(%, true, false)\n",
          {&Screen::softKeyMask, &Screen::otherSoftKeyMask, &Screen::twinOfSoftKeyMask}),
  };
}

std::vector<VtSetterRow_s> attributeRows() {
  return {
      numbers<iVtObjectOutputNumber_c, uint8_t>(
          "SetVtDecimals(IsoAgLib::iVtObjectOutputNumber_c&, unsigned char, bool)", &SetVtDecimals,
          &Screen::outputNumber, &Records::outputNumber, &iVtObjectOutputNumber_s::numberOfDecimals,
          attributeCall<iVtObjectOutputNumber_s>("2200", "saveValue8SetAttribute",
                                                 offsetof(iVtObjectOutputNumber_s, numberOfDecimals), "9, %, %, false"),
          numbers8),
      numbers<iVtObjectInputNumber_c, uint8_t>(
          "SetVtDecimals(IsoAgLib::iVtObjectInputNumber_c&, unsigned char, bool)", &SetVtDecimals, &Screen::inputNumber,
          &Records::inputNumber, &iVtObjectInputNumber_s::numberOfDecimals,
          attributeCall<iVtObjectInputNumber_s>("1900", "saveValue8SetAttribute",
                                                offsetof(iVtObjectInputNumber_s, numberOfDecimals), "11, %, %, false"),
          numbers8),
      numbers<iVtObjectOutputNumber_c, int>(
          "SetVtOffset(IsoAgLib::iVtObjectOutputNumber_c&, int, bool)", &SetVtOffset, &Screen::outputNumber,
          &Records::outputNumber, &iVtObjectOutputNumber_s::offset,
          attributeCall<iVtObjectOutputNumber_s>("2200", "saveValue32SetAttribute",
                                                 offsetof(iVtObjectOutputNumber_s, offset), "7, %, false"),
          signedNumbers32),
      numbers<iVtObjectInputNumber_c, int>(
          "SetVtOffset(IsoAgLib::iVtObjectInputNumber_c&, int, bool)", &SetVtOffset, &Screen::inputNumber,
          &Records::inputNumber, &iVtObjectInputNumber_s::offset,
          attributeCall<iVtObjectInputNumber_s>("1900", "saveValue32SetAttribute",
                                                offsetof(iVtObjectInputNumber_s, offset), "9, %, false"),
          signedNumbers32),
      numbers<iVtObjectOutputNumber_c, float>(
          "SetVtScale(IsoAgLib::iVtObjectOutputNumber_c&, float, bool)", &SetVtScale, &Screen::outputNumber,
          &Records::outputNumber, &iVtObjectOutputNumber_s::scale,
          attributeCall<iVtObjectOutputNumber_s>("2200", "saveValueFloatSetAttribute",
                                                 offsetof(iVtObjectOutputNumber_s, scale), "8, %, false"),
          floats),
      numbers<iVtObjectInputNumber_c, float>(
          "SetVtScale(IsoAgLib::iVtObjectInputNumber_c&, float, bool)", &SetVtScale, &Screen::inputNumber,
          &Records::inputNumber, &iVtObjectInputNumber_s::scale,
          attributeCall<iVtObjectInputNumber_s>("1900", "saveValueFloatSetAttribute",
                                                offsetof(iVtObjectInputNumber_s, scale), "10, %, false"),
          floats),
      numbers<iVtObjectLinearBarGraph_c, uint8_t>(
          "SetVtObjectColour(IsoAgLib::iVtObjectLinearBarGraph_c&, unsigned char, bool)", &SetVtObjectColour,
          &Screen::barGraph, &Records::barGraph, &iVtObjectLinearBarGraph_s::colour,
          attributeCall<iVtObjectLinearBarGraph_s>("2700", "saveValue8SetAttribute",
                                                   offsetof(iVtObjectLinearBarGraph_s, colour), "3, %, %, false"),
          numbers8),
      numbers<iVtObjectKey_c, uint8_t>("SetVtBackColor(IsoAgLib::iVtObjectKey_c&, unsigned char, bool)",
                                       &SetVtBackColor, &Screen::key, &Records::key, &iVtObjectKey_s::backgroundColour,
                                       attributeCall<iVtObjectKey_s>("1500", "saveValue8SetAttribute",
                                                                     offsetof(iVtObjectKey_s, backgroundColour),
                                                                     "1, %, %, false"),
                                       numbers8),
  };
}

// A container holds the opposite of what it is set to.
VtSetterRow_s containerRow() {
  VtSetterRow_s row = {"ShowVtContainer(IsoAgLib::iVtObjectContainer_c&, bool, bool)", {}};
  for (const bool bShow : {false, true}) {
    row.values.push_back({bShow ? "shown" : "hidden",
                          [=](VtScreen_s& screen, bool force) { ShowVtContainer(screen.container, bShow, force); },
                          bShow ? "vt 1300: hideShow(1, true, false)\n" : "vt 1300: hideShow(0, true, false)\n",
                          [=](VtScreen_s& screen) { return screen.records.container.hidden == (bShow ? 0 : 1); }});
  }
  return row;
}

// A row of references to objects of any type: none, a font, a fill.
VtSetterRow_s anyObject(const std::string& function, std::function<void(VtScreen_s&, iVtObject_c*, bool)> set,
                        std::function<const iVtObject_c*(VtScreen_s&)> held, const std::string& call) {
  const std::vector<std::function<iVtObject_c*(VtScreen_s&)>> objects = {
      [](VtScreen_s&) { return nullptr; },
      [](VtScreen_s& screen) { return &screen.font; },
      [](VtScreen_s& screen) { return &screen.fill; },
  };
  const std::vector<std::string> ids = {"65535", "3000", "3100"};
  VtSetterRow_s row = {function, {}};
  for (std::size_t index = 0; index < objects.size(); ++index) {
    const auto object = objects[index];
    row.values.push_back({ids[index], [=](VtScreen_s& screen, bool force) { set(screen, object(screen), force); },
                          filledIn(call, ids[index]),
                          [=](VtScreen_s& screen) { return held(screen) == object(screen); }});
  }
  return row;
}

VtSetterRow_s objectPointerRow() {
  return anyObject(
      "SetVtObject(IsoAgLib::iVtObjectObjectPointer_c&, IsoAgLib::iVtObject_c*, bool)",
      [](VtScreen_s& screen, iVtObject_c* value, bool force) { SetVtObject(screen.objectPointer, value, force); },
      [](VtScreen_s& screen) { return screen.records.objectPointer.value; }, "vt 3200: setValue(%, true, false)\n");
}

VtSetterRow_s listItemRow() {
  return anyObject(
      "SetVtListIndex(IsoAgLib::iVtObjectInputList_c&, unsigned char, IsoAgLib::iVtObject_c*, bool)",
      [](VtScreen_s& screen, iVtObject_c* item, bool force) { SetVtListIndex(screen.inputList, 2, item, force); },
      [](VtScreen_s& screen) { return screen.items[2]; }, "vt 2000: setItem(2, %, true)\n");
}

} // namespace

std::vector<VtSetterRow_s> vtSetterRows() {
  std::vector<VtSetterRow_s> rows = valueRows();
  for (const std::vector<VtSetterRow_s>& more : {referenceRows(), attributeRows()}) {
    rows.insert(rows.end(), more.begin(), more.end());
  }
  rows.push_back(containerRow());
  rows.push_back(objectPointerRow());
  rows.push_back(listItemRow());
  return rows;
}

void PrintTo(const VtSetterRow_s& row, std::ostream* stream) {
  *stream << row.function;
}

} // namespace TestSupport
