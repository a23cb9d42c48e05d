// Objects and records of a small pool, and what the tests of pools share.
#pragma once

#include "../../platform/isoaglib/src/vt/VtSeam.h"

#include <cstdint>
#include <string>
#include <vector>

namespace TestSupport {

// Part_s: an object and its record.
template <class Object_c, class Record_s>
struct Part_s {
  Record_s record{};
  Object_c object;

  explicit Part_s(uint16_t objectID) {
    record.object.ID = objectID;
    object.init(&record);
  }
};

using WorkingSet_s = Part_s<IsoAgLib::iVtObjectWorkingSet_c, IsoAgLib::iVtObjectWorkingSet_s>;
using DataMask_s = Part_s<IsoAgLib::iVtObjectDataMask_c, IsoAgLib::iVtObjectDataMask_s>;
using Container_s = Part_s<IsoAgLib::iVtObjectContainer_c, IsoAgLib::iVtObjectContainer_s>;
using SoftKeyMask_s = Part_s<IsoAgLib::iVtObjectSoftKeyMask_c, IsoAgLib::iVtObjectSoftKeyMask_s>;
using Key_s = Part_s<IsoAgLib::iVtObjectKey_c, IsoAgLib::iVtObjectKey_s>;
using InputBoolean_s = Part_s<IsoAgLib::iVtObjectInputBoolean_c, IsoAgLib::iVtObjectInputBoolean_s>;
using InputString_s = Part_s<IsoAgLib::iVtObjectInputString_c, IsoAgLib::iVtObjectInputString_s>;
using InputNumber_s = Part_s<IsoAgLib::iVtObjectInputNumber_c, IsoAgLib::iVtObjectInputNumber_s>;
using InputList_s = Part_s<IsoAgLib::iVtObjectInputList_c, IsoAgLib::iVtObjectInputList_s>;
using OutputString_s = Part_s<IsoAgLib::iVtObjectOutputString_c, IsoAgLib::iVtObjectOutputString_s>;
using OutputNumber_s = Part_s<IsoAgLib::iVtObjectOutputNumber_c, IsoAgLib::iVtObjectOutputNumber_s>;
using OutputList_s = Part_s<IsoAgLib::iVtObjectOutputList_c, IsoAgLib::iVtObjectOutputList_s>;
using Rectangle_s = Part_s<IsoAgLib::iVtObjectRectangle_c, IsoAgLib::iVtObjectRectangle_s>;
using Polygon_s = Part_s<IsoAgLib::iVtObjectPolygon_c, IsoAgLib::iVtObjectPolygon_s>;
using Meter_s = Part_s<IsoAgLib::iVtObjectMeter_c, IsoAgLib::iVtObjectMeter_s>;
using LinearBarGraph_s = Part_s<IsoAgLib::iVtObjectLinearBarGraph_c, IsoAgLib::iVtObjectLinearBarGraph_s>;
using NumberVariable_s = Part_s<IsoAgLib::iVtObjectNumberVariable_c, IsoAgLib::iVtObjectNumberVariable_s>;
using StringVariable_s = Part_s<IsoAgLib::iVtObjectStringVariable_c, IsoAgLib::iVtObjectStringVariable_s>;
using FontAttributes_s = Part_s<IsoAgLib::iVtObjectFontAttributes_c, IsoAgLib::iVtObjectFontAttributes_s>;
using LineAttributes_s = Part_s<IsoAgLib::iVtObjectLineAttributes_c, IsoAgLib::iVtObjectLineAttributes_s>;
using FillAttributes_s = Part_s<IsoAgLib::iVtObjectFillAttributes_c, IsoAgLib::iVtObjectFillAttributes_s>;
using ObjectPointer_s = Part_s<IsoAgLib::iVtObjectObjectPointer_c, IsoAgLib::iVtObjectObjectPointer_s>;

using Objects_t = std::vector<__IsoAgLib::vtObject_c*>;

inline std::string problemOf(const Objects_t& objects) {
  return IsoBusHost::checkVtPool({objects.data(), static_cast<uint16_t>(objects.size())});
}

} // namespace TestSupport
