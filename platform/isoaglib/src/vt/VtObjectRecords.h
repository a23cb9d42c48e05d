// What the object methods and the operator's input know of the attribute records.
#pragma once

#include "IsoAgLib/vtobjects.h"

#include <cstddef>
#include <cstdint>

namespace IsoBusHost {

constexpr uint16_t noVtObject = 0xFFFF;

// vtObjectID: returns the id of an object, the one for none where there is none.
inline uint16_t vtObjectID(const IsoAgLib::iVtObject_c* object) {
  return object == nullptr ? noVtObject : object->getID();
}

// vtRecordSize: returns the size of the attribute record of a type.
std::size_t vtRecordSize(IsoAgLib::iVtObjectType_t type);

// vtRecordAs: returns a record by its own type. Every record begins with the common one.
template <class Record_s>
Record_s& vtRecordAs(IsoAgLib::iVtObject_s& record) {
  return reinterpret_cast<Record_s&>(record);
}

// storeVtBytes: puts a text into the storage of a record, as much as there is room for, and zeroes the rest.
//
//   Takes    storage: room bytes and one for a NUL, may be null; text: may lie in the storage
void storeVtBytes(char* storage, uint16_t room, const char* text, std::size_t length);

} // namespace IsoBusHost
