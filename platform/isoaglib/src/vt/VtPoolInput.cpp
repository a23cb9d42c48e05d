#include "VtObjectRecords.h"
#include "VtSeam.h"

using namespace IsoAgLib;

namespace IsoBusHost {

namespace {

// The id of an object of the pool, or the one for none.
bool storePointer(iVtObjectObjectPointer_s& record, uint32_t value, const iVtObjectPool_c& pool) {
  if (value > noVtObject) {
    return false;
  }
  __IsoAgLib::vtObject_c* target = findVtObject(pool, static_cast<uint16_t>(value));
  if (target == nullptr && value != noVtObject) {
    return false;
  }
  record.value = target;
  return true;
}

bool storeIndex(iVtObjectInputList_s& record, uint32_t value) {
  if (value > 0xFF) {
    return false;
  }
  record.value = static_cast<uint8_t>(value);
  return true;
}

} // namespace

bool storeVtValue(__IsoAgLib::vtObject_c& object, uint32_t value, const iVtObjectPool_c& pool) {
  iVtObject_s& record = object.get_vtObject_a();
  switch (object.objectType()) {
  case VtInputBoolean:
    vtRecordAs<iVtObjectInputBoolean_s>(record).value = value != 0 ? 1 : 0;
    return true;
  case VtInputNumber:
    vtRecordAs<iVtObjectInputNumber_s>(record).value = value;
    return true;
  case VtNumberVariable:
    vtRecordAs<iVtObjectNumberVariable_s>(record).value = value;
    return true;
  case VtInputList:
    return storeIndex(vtRecordAs<iVtObjectInputList_s>(record), value);
  case VtObjectPointer:
    return storePointer(vtRecordAs<iVtObjectObjectPointer_s>(record), value, pool);
  default:
    return false;
  }
}

bool storeVtText(__IsoAgLib::vtObject_c& object, const uint8_t* text, std::size_t length) {
  iVtObject_s& record = object.get_vtObject_a();
  const auto* characters = reinterpret_cast<const char*>(text);
  if (object.objectType() == VtInputString) {
    const auto& own = vtRecordAs<iVtObjectInputString_s>(record);
    storeVtBytes(own.value, own.length, characters, length);
    return true;
  }
  if (object.objectType() == VtStringVariable) {
    const auto& own = vtRecordAs<iVtObjectStringVariable_s>(record);
    storeVtBytes(own.value, own.length, characters, length);
    return true;
  }
  return false;
}

__IsoAgLib::vtObject_c* findVtObject(const iVtObjectPool_c& pool, uint16_t objectID) {
  for (uint16_t index = 0; index < pool.count(); ++index) {
    if (pool.objects()[index]->getID() == objectID) {
      return pool.objects()[index];
    }
  }
  return nullptr;
}

} // namespace IsoBusHost
