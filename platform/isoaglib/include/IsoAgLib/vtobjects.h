// The VT objects of a working set (ISO 11783-6). Each has an attribute record, the working set's own copy of the
// object's attributes; a change writes the record where asked to and becomes a command to the VT.
//
//   Every change
//     Takes    updateObject: whether the record is changed too; enableReplaceOfCommand: whether a command for the same
//              value that still waits and may be replaced itself gives way to this one
//     Gives    true when the command waits to be sent; false while the object belongs to no connection that keeps
//              commands (the record goes out with the pool then), or too many wait
//   Threads: the thread that drives the stack.
#pragma once

#include "vtrecords.h"

#include <cstdint>

namespace IsoAgLib {

// iVtObject_c: any object, as others refer to it.
class iVtObject_c {
public:
  uint16_t getID() const;

protected:
  iVtObject_c() = default;
  ~iVtObject_c() = default; // objects are not deleted through it
};

// e_vtColour: what a colour is for.
enum e_vtColour {
  BackgroundColour = 0,
  LineColour = 1,
  NeedleColour = 2,
  ArcAndTickColour = 3,
  BarGraphColour = 4,
  TargetLineColour = 5,
};

// iVtObjectType_t: the type of an object as the pool has it.
enum iVtObjectType_t : uint8_t {
  VtWorkingSet = 0,
  VtDataMask = 1,
  VtContainer = 3,
  VtSoftKeyMask = 4,
  VtKey = 5,
  VtInputBoolean = 7,
  VtInputString = 8,
  VtInputNumber = 9,
  VtInputList = 10,
  VtOutputString = 11,
  VtOutputNumber = 12,
  VtRectangle = 14,
  VtPolygon = 16,
  VtMeter = 17,
  VtLinearBarGraph = 18,
  VtNumberVariable = 21,
  VtStringVariable = 22,
  VtFontAttributes = 23,
  VtLineAttributes = 24,
  VtFillAttributes = 25,
  VtObjectPointer = 27,
  VtOutputList = 37,
};

} // namespace IsoAgLib

namespace __IsoAgLib {

class vtObject_c : public IsoAgLib::iVtObject_c {
public:
  virtual ~vtObject_c() = default;
  vtObject_c(const vtObject_c&) = delete;
  vtObject_c& operator=(const vtObject_c&) = delete;

  virtual IsoAgLib::iVtObjectType_t objectType() const = 0;

  // getMultitonInstance, getClientID: the ISOBUS instance and, within it, the connection that the object belongs to.
  // getVtClientInstance(0).getClientByID(noClient) is a connection that keeps nothing.
  unsigned int getMultitonInstance() const { return m_multitonInstance; }
  uint8_t getClientID() const { return m_clientID; }
  static constexpr uint8_t noClient = 0xFF;

  // attach: told by the connection whose pool the object belongs to.
  void attach(unsigned int multitonInstance, uint8_t clientID);
  void detach() { m_clientID = noClient; }

  bool hasRecord() const { return vtObject_a != nullptr; }

  // get_vtObject_a: returns the attribute record.
  //
  //   Fails    without a record it is an assertion ("vtObject_a") by the convention of isoaglib_assert_callStart;
  //            waived, a record of zeroes is given
  IsoAgLib::iVtObject_s& get_vtObject_a() const {
    return __builtin_expect(vtObject_a == nullptr, false) ? missingRecord() : *vtObject_a;
  }

  // saveValue...SetAttribute: sends a change of an attribute (Change Attribute command), and writes the record first.
  //
  //   Takes    fieldPosition: ISOAGLIB_FIELD_POSITION of the field; recordLength: sizeof the record, beyond which
  //            nothing is written; attributeID as ISO 11783-6 has it; a null object is sent as FFFF
  bool saveValue8SetAttribute(uint16_t fieldPosition, uint16_t recordLength, uint8_t attributeID, uint8_t valueToStore,
                              uint8_t valueToSend, bool enableReplaceOfCommand);
  bool saveValue16SetAttribute(uint16_t fieldPosition, uint16_t recordLength, uint8_t attributeID, uint16_t value,
                               bool enableReplaceOfCommand);
  bool saveValue32SetAttribute(uint16_t fieldPosition, uint16_t recordLength, uint8_t attributeID, int32_t value,
                               bool enableReplaceOfCommand);
  bool saveValueFloatSetAttribute(uint16_t fieldPosition, uint16_t recordLength, uint8_t attributeID, float value,
                                  bool enableReplaceOfCommand);
  bool saveValuePSetAttribute(uint16_t fieldPosition, uint16_t recordLength, uint8_t attributeID,
                              IsoAgLib::iVtObject_c* object, bool enableReplaceOfCommand);

  // able: enables (1) or disables (0) an input object.
  bool able(uint8_t enabled, bool updateObject, bool enableReplaceOfCommand);

protected:
  vtObject_c() = default;

  void setRecord(IsoAgLib::iVtObject_s* record) { vtObject_a = record; }

private:
  // Virtual for the accessor's sake, which is inlined: a call by the table costs a setter nothing while there is a
  // record.
  virtual IsoAgLib::iVtObject_s& missingRecord() const;

  IsoAgLib::iVtObject_s* vtObject_a = nullptr;
  unsigned int m_multitonInstance = 0;
  uint8_t m_clientID = noClient;
};

} // namespace __IsoAgLib

inline uint16_t IsoAgLib::iVtObject_c::getID() const {
  return static_cast<const __IsoAgLib::vtObject_c*>(this)->get_vtObject_a().ID;
}

namespace __IsoAgLib {

// vtObjectWithRecord_c: an object of a type and its typed record, which begins with the common one.
template <class Record_s, IsoAgLib::iVtObjectType_t type>
class vtObjectWithRecord_c : public vtObject_c {
public:
  // init: gives the object its record, which has to outlive it.
  void init(Record_s* record) { setRecord(&record->object); }

  IsoAgLib::iVtObjectType_t objectType() const override { return type; }
  Record_s& record() const { return reinterpret_cast<Record_s&>(get_vtObject_a()); }
};

class vtObjectWorkingSet_c : public vtObjectWithRecord_c<IsoAgLib::iVtObjectWorkingSet_s, IsoAgLib::VtWorkingSet> {
public:
  IsoAgLib::iVtObjectWorkingSet_s& get_vtObjectWorkingSet_a() const { return record(); }
  bool changeActiveMask(IsoAgLib::iVtObject_c* mask, bool updateObject, bool enableReplaceOfCommand);
};

class vtObjectDataMask_c : public vtObjectWithRecord_c<IsoAgLib::iVtObjectDataMask_s, IsoAgLib::VtDataMask> {
public:
  IsoAgLib::iVtObjectDataMask_s& get_vtObjectDataMask_a() const { return record(); }
  virtual bool setSoftKeyMask(IsoAgLib::iVtObject_c* softKeyMask, bool updateObject, bool enableReplaceOfCommand);
};

class vtObjectContainer_c : public vtObjectWithRecord_c<IsoAgLib::iVtObjectContainer_s, IsoAgLib::VtContainer> {
public:
  IsoAgLib::iVtObjectContainer_s& get_vtObjectContainer_a() const { return record(); }

  // hideShow: hides (0) or shows (1).
  bool hideShow(uint8_t show, bool updateObject, bool enableReplaceOfCommand);
};

class vtObjectSoftKeyMask_c : public vtObjectWithRecord_c<IsoAgLib::iVtObjectSoftKeyMask_s, IsoAgLib::VtSoftKeyMask> {
public:
  IsoAgLib::iVtObjectSoftKeyMask_s& get_vtObjectSoftKeyMask_a() const { return record(); }
};

class vtObjectKey_c : public vtObjectWithRecord_c<IsoAgLib::iVtObjectKey_s, IsoAgLib::VtKey> {
public:
  IsoAgLib::iVtObjectKey_s& get_vtObjectKey_a() const { return record(); }
};

class vtObjectInputBoolean_c
    : public vtObjectWithRecord_c<IsoAgLib::iVtObjectInputBoolean_s, IsoAgLib::VtInputBoolean> {
public:
  IsoAgLib::iVtObjectInputBoolean_s& get_vtObjectInputBoolean_a() const { return record(); }
  bool setValue(bool value, bool updateObject, bool enableReplaceOfCommand);
};

// vtObjectString_c: what the objects with a text have in common.
class vtObjectString_c : public vtObject_c {
public:
  // getValueText: returns the text as the record has it, ended by a NUL; empty where there is none.
  virtual const char* getValueText() const = 0;
  virtual uint16_t getLength() const = 0;

protected:
  // setText: sends byteLength bytes whole; the record takes as many as it has room for, the rest of it is zeroed.
  bool setText(char* storage, const char* text, uint16_t byteLength, bool updateObject, bool enableReplaceOfCommand);
};

// vtObjectText_c: a string object of a type.
//
//   setValueCopy         takes a text in the code page of the object's font, ended by a NUL
//   setValueCopyUTF16    takes byteLength bytes of UTF-16, the byte-order mark first
template <class Record_s, IsoAgLib::iVtObjectType_t type>
class vtObjectText_c : public vtObjectString_c {
public:
  void init(Record_s* record) { setRecord(&record->object); }

  IsoAgLib::iVtObjectType_t objectType() const override { return type; }
  Record_s& record() const { return reinterpret_cast<Record_s&>(get_vtObject_a()); }
  const char* getValueText() const override { return record().value == nullptr ? "" : record().value; }
  uint16_t getLength() const override { return record().length; }
};

class vtObjectInputString_c : public vtObjectText_c<IsoAgLib::iVtObjectInputString_s, IsoAgLib::VtInputString> {
public:
  IsoAgLib::iVtObjectInputString_s& get_vtObjectInputString_a() const { return record(); }
  bool setValueCopy(const char* text, bool updateObject, bool enableReplaceOfCommand);
  bool setValueCopyUTF16(const char* text, uint16_t byteLength, bool updateObject, bool enableReplaceOfCommand);
};

class vtObjectOutputString_c : public vtObjectText_c<IsoAgLib::iVtObjectOutputString_s, IsoAgLib::VtOutputString> {
public:
  IsoAgLib::iVtObjectOutputString_s& get_vtObjectOutputString_a() const { return record(); }
  bool setValueCopy(const char* text, bool updateObject, bool enableReplaceOfCommand);
  bool setValueCopyUTF16(const char* text, uint16_t byteLength, bool updateObject, bool enableReplaceOfCommand);
};

class vtObjectStringVariable_c
    : public vtObjectText_c<IsoAgLib::iVtObjectStringVariable_s, IsoAgLib::VtStringVariable> {
public:
  IsoAgLib::iVtObjectStringVariable_s& get_vtObjectStringVariable_a() const { return record(); }
  bool setValueCopy(const char* text, bool updateObject, bool enableReplaceOfCommand);
  bool setValueCopyUTF16(const char* text, uint16_t byteLength, bool updateObject, bool enableReplaceOfCommand);
};

class vtObjectInputNumber_c : public vtObjectWithRecord_c<IsoAgLib::iVtObjectInputNumber_s, IsoAgLib::VtInputNumber> {
public:
  IsoAgLib::iVtObjectInputNumber_s& get_vtObjectInputNumber_a() const { return record(); }
  bool setValue(uint32_t value, bool updateObject, bool enableReplaceOfCommand);
};

class vtObjectInputList_c : public vtObjectWithRecord_c<IsoAgLib::iVtObjectInputList_s, IsoAgLib::VtInputList> {
public:
  IsoAgLib::iVtObjectInputList_s& get_vtObjectInputList_a() const { return record(); }
  bool setValue(uint8_t value, bool updateObject, bool enableReplaceOfCommand);

  // getListItem: returns the item, null where the slot is empty or there is none.
  IsoAgLib::iVtObject_c* getListItem(uint8_t index) const;

  // setItem: writes the record and sends. An index beyond the list does neither and gives false.
  bool setItem(uint8_t index, IsoAgLib::iVtObject_c* item, bool enableReplaceOfCommand);
};

class vtObjectOutputNumber_c
    : public vtObjectWithRecord_c<IsoAgLib::iVtObjectOutputNumber_s, IsoAgLib::VtOutputNumber> {
public:
  IsoAgLib::iVtObjectOutputNumber_s& get_vtObjectOutputNumber_a() const { return record(); }
  bool setValue(uint32_t value, bool updateObject, bool enableReplaceOfCommand);
};

class vtObjectOutputList_c : public vtObjectWithRecord_c<IsoAgLib::iVtObjectOutputList_s, IsoAgLib::VtOutputList> {
public:
  IsoAgLib::iVtObjectOutputList_s& get_vtObjectOutputList_a() const { return record(); }
  bool setValue(uint8_t value, bool updateObject, bool enableReplaceOfCommand);
};

class vtObjectRectangle_c : public vtObjectWithRecord_c<IsoAgLib::iVtObjectRectangle_s, IsoAgLib::VtRectangle> {
public:
  IsoAgLib::iVtObjectRectangle_s& get_vtObjectRectangle_a() const { return record(); }
};

class vtObjectPolygon_c : public vtObjectWithRecord_c<IsoAgLib::iVtObjectPolygon_s, IsoAgLib::VtPolygon> {
public:
  IsoAgLib::iVtObjectPolygon_s& get_vtObjectPolygon_a() const { return record(); }
};

class vtObjectMeter_c : public vtObjectWithRecord_c<IsoAgLib::iVtObjectMeter_s, IsoAgLib::VtMeter> {
public:
  IsoAgLib::iVtObjectMeter_s& get_vtObjectMeter_a() const { return record(); }
  bool setValue(uint16_t value, bool updateObject, bool enableReplaceOfCommand);
};

class vtObjectLinearBarGraph_c
    : public vtObjectWithRecord_c<IsoAgLib::iVtObjectLinearBarGraph_s, IsoAgLib::VtLinearBarGraph> {
public:
  IsoAgLib::iVtObjectLinearBarGraph_s& get_vtObjectLinearBarGraph_a() const { return record(); }
  bool setValue(uint16_t value, bool updateObject, bool enableReplaceOfCommand);
};

class vtObjectNumberVariable_c
    : public vtObjectWithRecord_c<IsoAgLib::iVtObjectNumberVariable_s, IsoAgLib::VtNumberVariable> {
public:
  IsoAgLib::iVtObjectNumberVariable_s& get_vtObjectNumberVariable_a() const { return record(); }
  bool setValue(uint32_t value, bool updateObject, bool enableReplaceOfCommand);
};

class vtObjectFontAttributes_c
    : public vtObjectWithRecord_c<IsoAgLib::iVtObjectFontAttributes_s, IsoAgLib::VtFontAttributes> {
public:
  IsoAgLib::iVtObjectFontAttributes_s& get_vtObjectFontAttributes_a() const { return record(); }
};

class vtObjectLineAttributes_c
    : public vtObjectWithRecord_c<IsoAgLib::iVtObjectLineAttributes_s, IsoAgLib::VtLineAttributes> {
public:
  IsoAgLib::iVtObjectLineAttributes_s& get_vtObjectLineAttributes_a() const { return record(); }
};

class vtObjectFillAttributes_c
    : public vtObjectWithRecord_c<IsoAgLib::iVtObjectFillAttributes_s, IsoAgLib::VtFillAttributes> {
public:
  IsoAgLib::iVtObjectFillAttributes_s& get_vtObjectFillAttributes_a() const { return record(); }
};

class vtObjectObjectPointer_c
    : public vtObjectWithRecord_c<IsoAgLib::iVtObjectObjectPointer_s, IsoAgLib::VtObjectPointer> {
public:
  IsoAgLib::iVtObjectObjectPointer_s& get_vtObjectObjectPointer_a() const { return record(); }
  bool setValue(IsoAgLib::iVtObject_c* value, bool updateObject, bool enableReplaceOfCommand);
};

// convertStringUnicodeTo8859: converts UTF-8 to a part of ISO 8859.
//
//   Takes    utf8: byteLength bytes; target: room for byteLength + 1 characters; fontEncoding: 0 ISO 8859-1,
//            1 8859-15, 2 8859-2, 4 8859-4, 5 8859-5, 7 8859-7; any other is taken as 0
//   Gives    the text in target, ended by a NUL. A character that the part lacks becomes '?', so does a byte that
//            belongs to no character
void convertStringUnicodeTo8859(const char* utf8, uint16_t byteLength, char* target, uint8_t fontEncoding);

} // namespace __IsoAgLib

namespace IsoAgLib {

class iVtObjectWorkingSet_c : public __IsoAgLib::vtObjectWorkingSet_c {};
class iVtObjectDataMask_c : public __IsoAgLib::vtObjectDataMask_c {};
class iVtObjectContainer_c : public __IsoAgLib::vtObjectContainer_c {};
class iVtObjectSoftKeyMask_c : public __IsoAgLib::vtObjectSoftKeyMask_c {};
class iVtObjectKey_c : public __IsoAgLib::vtObjectKey_c {};
class iVtObjectInputBoolean_c : public __IsoAgLib::vtObjectInputBoolean_c {};
class iVtObjectInputString_c : public __IsoAgLib::vtObjectInputString_c {};
class iVtObjectInputNumber_c : public __IsoAgLib::vtObjectInputNumber_c {};
class iVtObjectInputList_c : public __IsoAgLib::vtObjectInputList_c {};
class iVtObjectOutputString_c : public __IsoAgLib::vtObjectOutputString_c {};
class iVtObjectOutputNumber_c : public __IsoAgLib::vtObjectOutputNumber_c {};
class iVtObjectOutputList_c : public __IsoAgLib::vtObjectOutputList_c {};
class iVtObjectRectangle_c : public __IsoAgLib::vtObjectRectangle_c {};
class iVtObjectPolygon_c : public __IsoAgLib::vtObjectPolygon_c {};
class iVtObjectMeter_c : public __IsoAgLib::vtObjectMeter_c {};
class iVtObjectLinearBarGraph_c : public __IsoAgLib::vtObjectLinearBarGraph_c {};
class iVtObjectNumberVariable_c : public __IsoAgLib::vtObjectNumberVariable_c {};
class iVtObjectStringVariable_c : public __IsoAgLib::vtObjectStringVariable_c {};
class iVtObjectFontAttributes_c : public __IsoAgLib::vtObjectFontAttributes_c {};
class iVtObjectLineAttributes_c : public __IsoAgLib::vtObjectLineAttributes_c {};
class iVtObjectFillAttributes_c : public __IsoAgLib::vtObjectFillAttributes_c {};
class iVtObjectObjectPointer_c : public __IsoAgLib::vtObjectObjectPointer_c {};

} // namespace IsoAgLib
