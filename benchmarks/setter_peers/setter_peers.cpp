#include "setter_peers.h"

void emptyFunction(void* /*object*/, unsigned int /*value*/, bool /*force*/) {}

bool isNewValue(const std::unordered_map<uint16_t, uint32_t>& lastValues, uint16_t objectID, uint32_t value) {
  const auto last = lastValues.find(objectID);
  return last == lastValues.end() || last->second != value;
}
