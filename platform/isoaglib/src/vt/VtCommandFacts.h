// What ISO 11783-6 says of each command of a working set: what it is about, and how its answer repeats it. Positions
// count from 0, the function code.
#pragma once

#include <cstddef>
#include <cstdint>

namespace IsoBusHost {

struct VtCommandFacts_s {
  uint8_t function;
  uint8_t subjectBegin; // what the command is about; a newer one for the same thing may take its place
  uint8_t subjectEnd;   // subjectBegin: never
  uint8_t objectAt;     // the object id that is told when it fails; 0: none
  uint8_t repeatedAt;   // what the answer repeats stands here in the command ...
  uint8_t repeatedIn;   // ... and here in the answer
  uint8_t repeatedBytes;
  uint8_t valueAt; // a second part that is repeated at the same place, 4 bytes; 0: none
  uint8_t errorAt; // the error byte of the answer
};

// factsOf: returns the facts of a command, null for a function that is none.
const VtCommandFacts_s* factsOf(uint8_t function);

// isSameThing: whether two commands are about the same thing.
bool isSameThing(const uint8_t* left, const uint8_t* right);

// isAnswer: whether an answer of length bytes is the one to a command of 8 bytes and more.
bool isAnswer(const VtCommandFacts_s& facts, const uint8_t* command, const uint8_t* answer, std::size_t length);

// objectOf: returns the object id that a command is for, FFFF for none.
uint16_t objectOf(const VtCommandFacts_s& facts, const uint8_t* command);

} // namespace IsoBusHost
