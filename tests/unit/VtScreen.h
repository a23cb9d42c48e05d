// One VT object of each type with a record of its own, no number in it the same as another, and the library's calls of
// them in the journal.
#pragma once

#include "HostFixture.h"
#include "VtObjects.h"
#include "VtText.h"

#include <cstring>
#include <string>
#include <vector>

namespace TestSupport {

struct VtScreen_s {
  struct Records_s {
    IsoAgLib::iVtObjectWorkingSet_s workingSet = {{1000}, 3, 1, nullptr, 0, nullptr, 0, nullptr};
    IsoAgLib::iVtObjectDataMask_s dataMask = {{1100}, 4, nullptr, 0, nullptr};
    IsoAgLib::iVtObjectDataMask_s otherDataMask = {{1101}, 4, nullptr, 0, nullptr};
    IsoAgLib::iVtObjectContainer_s container = {{1300}, 50, 60, 0, 0, nullptr};
    IsoAgLib::iVtObjectSoftKeyMask_s softKeyMask = {{1400}, 5, 0, nullptr};
    IsoAgLib::iVtObjectSoftKeyMask_s otherSoftKeyMask = {{1401}, 5, 0, nullptr};
    IsoAgLib::iVtObjectSoftKeyMask_s twinOfSoftKeyMask = {{1400}, 5, 0, nullptr};
    IsoAgLib::iVtObjectKey_s key = {{1500}, 6, 7, 0, nullptr};
    IsoAgLib::iVtObjectInputBoolean_s inputBoolean = {{1700}, 8, 70, nullptr, nullptr, 0, 0};
    IsoAgLib::iVtObjectInputString_s inputString = {{1800}, 80, 81, 9, nullptr, nullptr, 0, nullptr, 0, 0, nullptr, 0};
    IsoAgLib::iVtObjectInputNumber_s inputNumber = {{1900}, 90,      91, 10,   nullptr, 11, nullptr, 1900001,
                                                    0,      5000000, 0,  0.0F, 0,       0,  0,       0};
    IsoAgLib::iVtObjectInputList_s inputList = {{2000}, 100, 101, nullptr, 0, 3, 0, nullptr};
    IsoAgLib::iVtObjectOutputString_s outputString = {{2100}, 110, 111, 12, nullptr, 0, nullptr, 0, 0, nullptr};
    IsoAgLib::iVtObjectOutputNumber_s outputNumber = {{2200},  120, 121,  13, nullptr, 14, nullptr,
                                                      2200001, 0,   0.0F, 0,  0,       0};
    IsoAgLib::iVtObjectOutputList_s outputList = {{2300}, 130, 131, nullptr, 0, 0, nullptr};
    IsoAgLib::iVtObjectRectangle_s rectangle = {{2400}, nullptr, 140, 141, 15, nullptr};
    IsoAgLib::iVtObjectPolygon_s polygon = {{2500}, 150, 151, nullptr, nullptr, 0, 0, nullptr};
    IsoAgLib::iVtObjectMeter_s meter = {{2600}, 160, 16, 17, 18, 19, 20, 21, 22, 0, 500, nullptr, 0};
    IsoAgLib::iVtObjectLinearBarGraph_s barGraph = {{2700}, 170, 171, 23, 24, 25, 26, 0, 600, nullptr, 0, nullptr, 27};
    IsoAgLib::iVtObjectNumberVariable_s numberVariable = {{2800}, 2800001};
    IsoAgLib::iVtObjectNumberVariable_s otherNumberVariable = {{2801}, 2800001};
    IsoAgLib::iVtObjectNumberVariable_s twinOfNumberVariable = {{2800}, 2800001};
    IsoAgLib::iVtObjectStringVariable_s stringVariable = {{2900}, 0, nullptr};
    IsoAgLib::iVtObjectStringVariable_s otherStringVariable = {{2901}, 0, nullptr};
    IsoAgLib::iVtObjectStringVariable_s twinOfStringVariable = {{2900}, 0, nullptr};
    IsoAgLib::iVtObjectFontAttributes_s font = {{3000}, 28, 1, 0, 0};
    IsoAgLib::iVtObjectFontAttributes_s otherFont = {{3001}, 28, 1, 0, 0};
    IsoAgLib::iVtObjectFontAttributes_s twinOfFont = {{3000}, 28, 1, 0, 0};
    IsoAgLib::iVtObjectFillAttributes_s fill = {{3100}, 2, 29, nullptr};
    IsoAgLib::iVtObjectFillAttributes_s otherFill = {{3101}, 2, 29, nullptr};
    IsoAgLib::iVtObjectFillAttributes_s twinOfFill = {{3100}, 2, 29, nullptr};
    IsoAgLib::iVtObjectObjectPointer_s objectPointer = {{3200}, nullptr};
  };

  // Gives every object its record, or none of them.
  explicit VtScreen_s(bool hasRecords = true);
  VtScreen_s(const VtScreen_s&) = delete;
  VtScreen_s& operator=(const VtScreen_s&) = delete;

  Records_s records;
  IsoAgLib::iVtObject_c* items[3] = {};

  IsoAgLib::iVtObjectWorkingSet_c workingSet;
  IsoAgLib::iVtObjectDataMask_c dataMask;
  IsoAgLib::iVtObjectDataMask_c otherDataMask;
  IsoAgLib::iVtObjectContainer_c container;
  IsoAgLib::iVtObjectSoftKeyMask_c softKeyMask;
  IsoAgLib::iVtObjectSoftKeyMask_c otherSoftKeyMask;
  IsoAgLib::iVtObjectSoftKeyMask_c twinOfSoftKeyMask; // another object with the same id, as the other twins
  IsoAgLib::iVtObjectKey_c key;
  IsoAgLib::iVtObjectInputBoolean_c inputBoolean;
  IsoAgLib::iVtObjectInputString_c inputString;
  IsoAgLib::iVtObjectInputNumber_c inputNumber;
  IsoAgLib::iVtObjectInputList_c inputList;
  IsoAgLib::iVtObjectOutputString_c outputString;
  IsoAgLib::iVtObjectOutputNumber_c outputNumber;
  IsoAgLib::iVtObjectOutputList_c outputList;
  IsoAgLib::iVtObjectRectangle_c rectangle;
  IsoAgLib::iVtObjectPolygon_c polygon;
  IsoAgLib::iVtObjectMeter_c meter;
  IsoAgLib::iVtObjectLinearBarGraph_c barGraph;
  IsoAgLib::iVtObjectNumberVariable_c numberVariable;
  IsoAgLib::iVtObjectNumberVariable_c otherNumberVariable;
  IsoAgLib::iVtObjectNumberVariable_c twinOfNumberVariable;
  IsoAgLib::iVtObjectStringVariable_c stringVariable;
  IsoAgLib::iVtObjectStringVariable_c otherStringVariable;
  IsoAgLib::iVtObjectStringVariable_c twinOfStringVariable;
  IsoAgLib::iVtObjectFontAttributes_c font;
  IsoAgLib::iVtObjectFontAttributes_c otherFont;
  IsoAgLib::iVtObjectFontAttributes_c twinOfFont;
  IsoAgLib::iVtObjectFillAttributes_c fill;
  IsoAgLib::iVtObjectFillAttributes_c otherFill;
  IsoAgLib::iVtObjectFillAttributes_c twinOfFill;
  IsoAgLib::iVtObjectObjectPointer_c objectPointer;
};

class VtScreenFixture : public HostFixture {
protected:
  void SetUp() override {
    HostFixture::SetUp();
    IsoBusHost::Journal::setVtCalls(true);
  }
  void TearDown() override {
    IsoBusHost::Journal::setVtCalls(false);
    HostFixture::TearDown();
  }

  // callsOf: what the library called meanwhile, one call a line.
  template <class Step_t>
  static std::string callsOf(const Step_t& step) {
    IsoBusHost::Journal::clear();
    step();
    return journalText();
  }

  VtScreen_s m_screen;
};

} // namespace TestSupport
