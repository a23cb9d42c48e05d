#include "VtCommandFacts.h"

#include <algorithm>
#include <array>

namespace IsoBusHost {

namespace {

constexpr uint16_t noObject = 0xFFFF;
constexpr std::size_t valueBytes = 4;

// A5 moves by a distance: two of them are not the same as the newer one.
constexpr std::array<VtCommandFacts_s, 22> allFacts = {{
    // function, subject from and to, object, repeated at, in and bytes, value, error
    {0xA0, 1, 3, 1, 1, 1, 3, 0, 4}, // hide/show
    {0xA1, 1, 3, 1, 1, 1, 3, 0, 4}, // enable/disable
    {0xA2, 1, 1, 1, 1, 1, 2, 0, 4}, // select input
    {0xA3, 1, 1, 0, 1, 1, 0, 0, 1}, // audio signal
    {0xA4, 1, 1, 0, 1, 1, 0, 0, 1}, // audio volume
    {0xA5, 1, 1, 3, 1, 1, 4, 0, 5}, // child location
    {0xA6, 1, 3, 1, 1, 1, 2, 0, 3}, // size
    {0xA7, 1, 3, 1, 1, 1, 3, 0, 4}, // background colour
    {0xA8, 1, 3, 1, 1, 1, 2, 4, 3}, // numeric value
    {0xA9, 1, 3, 1, 1, 1, 2, 0, 3}, // end point
    {0xAA, 1, 3, 1, 1, 1, 2, 0, 3}, // font attributes
    {0xAB, 1, 3, 1, 1, 1, 2, 0, 3}, // line attributes
    {0xAC, 1, 3, 1, 1, 1, 2, 0, 3}, // fill attributes
    {0xAD, 1, 3, 1, 3, 1, 2, 0, 3}, // active mask
    {0xAE, 1, 4, 2, 2, 1, 4, 0, 5}, // soft key mask
    {0xAF, 1, 4, 1, 1, 1, 3, 0, 4}, // attribute
    {0xB0, 1, 3, 1, 1, 1, 3, 0, 4}, // priority
    {0xB1, 1, 4, 1, 1, 1, 5, 0, 6}, // list item
    {0xB3, 1, 3, 1, 1, 3, 2, 0, 5}, // string value
    {0xB4, 1, 5, 3, 1, 1, 4, 0, 5}, // child position
    {0xB6, 1, 4, 1, 1, 1, 2, 0, 3}, // polygon point
    {0xB7, 1, 3, 1, 1, 1, 6, 0, 7}, // polygon scale
}};

} // namespace

const VtCommandFacts_s* factsOf(uint8_t function) {
  const auto* const found = std::find_if(allFacts.begin(), allFacts.end(), [function](const VtCommandFacts_s& facts) {
    return facts.function == function;
  });
  return found == allFacts.end() ? nullptr : found;
}

bool isSameThing(const uint8_t* left, const uint8_t* right) {
  if (left[0] != right[0]) {
    return false;
  }
  const VtCommandFacts_s* facts = factsOf(left[0]);
  return facts != nullptr && facts->subjectBegin < facts->subjectEnd &&
         std::equal(left + facts->subjectBegin, left + facts->subjectEnd, right + facts->subjectBegin);
}

bool isAnswer(const VtCommandFacts_s& facts, const uint8_t* command, const uint8_t* answer, std::size_t length) {
  constexpr std::size_t frameBytes = 8;
  if (length < frameBytes || answer[0] != facts.function) {
    return false;
  }
  const uint8_t* repeated = command + facts.repeatedAt;
  if (!std::equal(repeated, repeated + facts.repeatedBytes, answer + facts.repeatedIn)) {
    return false;
  }
  const uint8_t* value = command + facts.valueAt;
  return facts.valueAt == 0 || std::equal(value, value + valueBytes, answer + facts.valueAt);
}

uint16_t objectOf(const VtCommandFacts_s& facts, const uint8_t* command) {
  if (facts.objectAt == 0) {
    return noObject;
  }
  const uint8_t* id = command + facts.objectAt;
  return static_cast<uint16_t>(id[0] | id[1] << 8);
}

} // namespace IsoBusHost
