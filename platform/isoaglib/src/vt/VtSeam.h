// What the VT objects and the VT client's connections ask of each other.
#pragma once

#include "IsoAgLib/vtclient.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace IsoBusHost {

// --- What the objects ask of the connection that they belong to

// queueVtCommand: hands a command to the object's connection.
//
//   Takes    bytes: the command from its function code on, 8 bytes at least for a short one, filled with FF
//            mayReplace: whether it takes the place of a waiting one for the same thing that may be replaced
//   Gives    false when the connection keeps no commands, or too many wait
//   Kept     nothing; a short command allocates nothing
bool queueVtCommand(const __IsoAgLib::vtObject_c& object, const uint8_t* bytes, std::size_t length, bool mayReplace);

// --- What the connection asks of the objects

// checkVtPool: returns one line about what is wrong with a pool, empty when all is well.
std::string checkVtPool(const IsoAgLib::iVtObjectPool_c& pool);

// VtColourClip: returns the colour that is sent for the one in a record.
using VtColourClip =
    std::function<uint8_t(uint8_t colour, const __IsoAgLib::vtObject_c& object, IsoAgLib::e_vtColour kind)>;

// writeVtPool: returns the records of a sound pool as the VT reads them (ISO 11783-6), with the values they have now.
std::vector<uint8_t> writeVtPool(const IsoAgLib::iVtObjectPool_c& pool, const VtColourClip& clip);

// storeVtValue, storeVtText: write the operator's input into the record of an object.
//
//   Gives    false for an object that has no such value
bool storeVtValue(__IsoAgLib::vtObject_c& object, uint32_t value, const IsoAgLib::iVtObjectPool_c& pool);
bool storeVtText(__IsoAgLib::vtObject_c& object, const uint8_t* text, std::size_t length);

// findVtObject: returns the object of a pool with an id, null for none.
__IsoAgLib::vtObject_c* findVtObject(const IsoAgLib::iVtObjectPool_c& pool, uint16_t objectID);

} // namespace IsoBusHost
