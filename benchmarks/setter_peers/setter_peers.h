// The peers of the setters of VT objects, in a shared library as the setters are.
#pragma once

#include <cstdint>
#include <unordered_map>

// emptyFunction: what a call costs by itself.
void emptyFunction(void* object, unsigned int value, bool force);

// isNewValue: whether a table of the last values has another one for an object.
bool isNewValue(const std::unordered_map<uint16_t, uint32_t>& lastValues, uint16_t objectID, uint32_t value);
