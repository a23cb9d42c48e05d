// Every block that this program takes from the heap goes through functions of its own, also those that the C library
// takes for itself.
#pragma once

namespace TestSupport {

// areAllocationsSeen: false under a sanitizer, which has a heap of its own.
bool areAllocationsSeen();

// Allocations_c: those of this program from the object's construction on. One at a time, and one thread.
class Allocations_c {
public:
  Allocations_c();
  ~Allocations_c();
  Allocations_c(const Allocations_c&) = delete;
  Allocations_c& operator=(const Allocations_c&) = delete;

  int taken() const;
  int givenBack() const;

  // refuse: from here on no block is to be had.
  void refuse();
};

// reportWhenGivenBack: writes a line on standard error when this block goes back to the heap, also at the program's
// end.
void reportWhenGivenBack(const void* block);

} // namespace TestSupport
