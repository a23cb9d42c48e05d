// VT objects that hold their records themselves, with few fields and in an order of their own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#define ISOAGLIB_FIELD_POSITION(record, field) uint16_t(offsetof(record, field))

namespace IsoAgLib {

enum e_vtColour : uint8_t { BackgroundColour = 0, BarGraphColour = 4 };

class iVtObject_c {
public:
  explicit iVtObject_c(uint16_t objectID) : m_objectID(objectID) {}
  virtual ~iVtObject_c() = default;
  uint16_t getID() const { return m_objectID; }

private:
  uint16_t m_objectID;
};

// clang-format off
struct iVtObjectWorkingSet_s { iVtObject_c* activeMask; };
struct iVtObjectDataMask_s { iVtObject_c* softKeyMask; };
struct iVtObjectContainer_s { uint8_t hidden; };
struct iVtObjectSoftKeyMask_s {};
struct iVtObjectKey_s { uint8_t keyCode; uint8_t backgroundColour; };
struct iVtObjectInputBoolean_s { uint8_t enabled; uint8_t value; };
struct iVtObjectInputString_s { char* value; iVtObject_c* variableReference; uint16_t length; };
struct iVtObjectInputNumber_s { uint8_t options2; uint8_t numberOfDecimals; float scale; int32_t offset; uint32_t value; };
struct iVtObjectInputList_s { uint8_t options; uint8_t value; };
struct iVtObjectOutputString_s { char* value; iVtObject_c* variableReference; iVtObject_c* fontAttributes; uint16_t length; };
struct iVtObjectOutputNumber_s { uint8_t numberOfDecimals; float scale; int32_t offset; uint32_t value; iVtObject_c* variableReference; iVtObject_c* fontAttributes; };
struct iVtObjectOutputList_s { uint8_t value; };
struct iVtObjectRectangle_s { iVtObject_c* fillAttributes; };
struct iVtObjectPolygon_s { iVtObject_c* fillAttributes; };
struct iVtObjectMeter_s { uint16_t value; iVtObject_c* variableReference; };
struct iVtObjectLinearBarGraph_s { uint16_t value; uint8_t colour; };
struct iVtObjectNumberVariable_s { uint32_t value; };
struct iVtObjectStringVariable_s { char* value; uint16_t length; };
struct iVtObjectFontAttributes_s {};
struct iVtObjectFillAttributes_s {};
struct iVtObjectObjectPointer_s { iVtObject_c* value; };
// clang-format on

} // namespace IsoAgLib

namespace __IsoAgLib {

// Every change ends up as a line; none changes a record.
class vtObject_c : public IsoAgLib::iVtObject_c {
public:
  using iVtObject_c::iVtObject_c;
  int getMultitonInstance() const { return 0; }
  int getClientID() const { return 3; }
  void saveValue8SetAttribute(int position, int size, int attribute, int stored, int sent, bool replace);
  void saveValue32SetAttribute(int position, int size, int attribute, int value, bool replace);
  void saveValueFloatSetAttribute(int position, int size, int attribute, float value, bool replace);
  void saveValuePSetAttribute(int position, int size, int attribute, const iVtObject_c* object, bool replace);
  void able(int enabled, bool update, bool replace);

protected:
  void record(const std::string& call, const std::vector<long>& arguments);
};

class vtObjectString_c : public vtObject_c {
public:
  using vtObject_c::vtObject_c;
  virtual const char* getValueText() const = 0;
  void setValueCopy(const char* text, bool update, bool replace);
  void setValueCopyUTF16(const char* text, int byteLength, bool update, bool replace);
};

template <class Record_s, class Base_c>
class WithRecord_c : public Base_c {
public:
  using Base_c::Base_c;
  Record_s own = {};
};

template <class Record_s>
class WithNumber_c : public WithRecord_c<Record_s, vtObject_c> {
public:
  using WithRecord_c<Record_s, vtObject_c>::WithRecord_c;
  void setValue(long value, bool update, bool replace) { this->record("value", {value, update, replace}); }
};

template <class Record_s>
class WithText_c : public WithRecord_c<Record_s, vtObjectString_c> {
public:
  using WithRecord_c<Record_s, vtObjectString_c>::WithRecord_c;
  const char* getValueText() const override { return this->own.value; }
};

void convertStringUnicodeTo8859(const char* utf8, int byteLength, char* target, int fontEncoding);

} // namespace __IsoAgLib

namespace IsoAgLib {

using __IsoAgLib::vtObject_c;
using __IsoAgLib::WithNumber_c;
using __IsoAgLib::WithRecord_c;
using __IsoAgLib::WithText_c;

class iVtObjectWorkingSet_c : public WithRecord_c<iVtObjectWorkingSet_s, vtObject_c> {
public:
  using WithRecord_c::WithRecord_c;
  const iVtObjectWorkingSet_s& get_vtObjectWorkingSet_a() const { return own; }
  void changeActiveMask(const iVtObject_c* mask, bool update, bool replace) {
    record("mask", {mask->getID(), update, replace});
  }
};

class iVtObjectDataMask_c : public WithRecord_c<iVtObjectDataMask_s, vtObject_c> {
public:
  using WithRecord_c::WithRecord_c;
  const iVtObjectDataMask_s& get_vtObjectDataMask_a() const { return own; }
  virtual void setSoftKeyMask(const iVtObject_c* mask, bool update, bool replace) {
    record("soft keys", {mask->getID(), update, replace});
  }
};

class iVtObjectContainer_c : public WithRecord_c<iVtObjectContainer_s, vtObject_c> {
public:
  using WithRecord_c::WithRecord_c;
  const iVtObjectContainer_s& get_vtObjectContainer_a() const { return own; }
  void hideShow(int show, bool update, bool replace) { record("show", {show, update, replace}); }
};

class iVtObjectSoftKeyMask_c : public WithRecord_c<iVtObjectSoftKeyMask_s, vtObject_c> {
public:
  using WithRecord_c::WithRecord_c;
};

class iVtObjectKey_c : public WithRecord_c<iVtObjectKey_s, vtObject_c> {
public:
  using WithRecord_c::WithRecord_c;
  const iVtObjectKey_s& get_vtObjectKey_a() const { return own; }
};

class iVtObjectInputBoolean_c : public WithNumber_c<iVtObjectInputBoolean_s> {
public:
  using WithNumber_c::WithNumber_c;
  const iVtObjectInputBoolean_s& get_vtObjectInputBoolean_a() const { return own; }
};

class iVtObjectInputString_c : public WithText_c<iVtObjectInputString_s> {
public:
  using WithText_c::WithText_c;
  const iVtObjectInputString_s& get_vtObjectInputString_a() const { return own; }
};

class iVtObjectInputNumber_c : public WithNumber_c<iVtObjectInputNumber_s> {
public:
  using WithNumber_c::WithNumber_c;
  const iVtObjectInputNumber_s& get_vtObjectInputNumber_a() const { return own; }
};

class iVtObjectInputList_c : public WithNumber_c<iVtObjectInputList_s> {
public:
  using WithNumber_c::WithNumber_c;
  const iVtObjectInputList_s& get_vtObjectInputList_a() const { return own; }
  const iVtObject_c* getListItem(int /*index*/) const { return nullptr; }
  void setItem(int index, const iVtObject_c* item, bool replace) { record("item", {index, item->getID(), replace}); }
};

class iVtObjectOutputString_c : public WithText_c<iVtObjectOutputString_s> {
public:
  using WithText_c::WithText_c;
  const iVtObjectOutputString_s& get_vtObjectOutputString_a() const { return own; }
};

class iVtObjectOutputNumber_c : public WithNumber_c<iVtObjectOutputNumber_s> {
public:
  using WithNumber_c::WithNumber_c;
  const iVtObjectOutputNumber_s& get_vtObjectOutputNumber_a() const { return own; }
};

class iVtObjectOutputList_c : public WithNumber_c<iVtObjectOutputList_s> {
public:
  using WithNumber_c::WithNumber_c;
  const iVtObjectOutputList_s& get_vtObjectOutputList_a() const { return own; }
};

class iVtObjectRectangle_c : public WithRecord_c<iVtObjectRectangle_s, vtObject_c> {
public:
  using WithRecord_c::WithRecord_c;
  const iVtObjectRectangle_s& get_vtObjectRectangle_a() const { return own; }
};

class iVtObjectPolygon_c : public WithRecord_c<iVtObjectPolygon_s, vtObject_c> {
public:
  using WithRecord_c::WithRecord_c;
  const iVtObjectPolygon_s& get_vtObjectPolygon_a() const { return own; }
};

class iVtObjectMeter_c : public WithNumber_c<iVtObjectMeter_s> {
public:
  using WithNumber_c::WithNumber_c;
  const iVtObjectMeter_s& get_vtObjectMeter_a() const { return own; }
};

class iVtObjectLinearBarGraph_c : public WithNumber_c<iVtObjectLinearBarGraph_s> {
public:
  using WithNumber_c::WithNumber_c;
  const iVtObjectLinearBarGraph_s& get_vtObjectLinearBarGraph_a() const { return own; }
};

class iVtObjectNumberVariable_c : public WithNumber_c<iVtObjectNumberVariable_s> {
public:
  using WithNumber_c::WithNumber_c;
  const iVtObjectNumberVariable_s& get_vtObjectNumberVariable_a() const { return own; }
};

class iVtObjectStringVariable_c : public WithText_c<iVtObjectStringVariable_s> {
public:
  using WithText_c::WithText_c;
  const iVtObjectStringVariable_s& get_vtObjectStringVariable_a() const { return own; }
};

class iVtObjectFontAttributes_c : public WithRecord_c<iVtObjectFontAttributes_s, vtObject_c> {
public:
  using WithRecord_c::WithRecord_c;
};

class iVtObjectFillAttributes_c : public WithRecord_c<iVtObjectFillAttributes_s, vtObject_c> {
public:
  using WithRecord_c::WithRecord_c;
};

class iVtObjectObjectPointer_c : public WithRecord_c<iVtObjectObjectPointer_s, vtObject_c> {
public:
  using WithRecord_c::WithRecord_c;
  const iVtObjectObjectPointer_s& get_vtObjectObjectPointer_a() const { return own; }
  void setValue(const iVtObject_c* value, bool update, bool replace) {
    record("reference", {value->getID(), update, replace});
  }
};

} // namespace IsoAgLib
