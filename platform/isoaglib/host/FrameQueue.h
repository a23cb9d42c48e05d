// Frames that wait, oldest first, up to a most. It takes memory only while it grows longer than it has ever been, and
// for the first few frames when it is made.
#pragma once

#include "CanFrame.h"

#include <cstddef>
#include <vector>

namespace IsoBusHost {

class FrameQueue_c {
public:
  explicit FrameQueue_c(std::size_t most);

  // push: false when the queue is full.
  bool push(const CanFrame_s& frame);

  // front, pop: of a queue that is not empty.
  const CanFrame_s& front() const { return m_ring[m_first]; }
  void pop();

  bool isEmpty() const { return m_size == 0; }
  bool isFull() const { return m_size == m_most; }
  std::size_t size() const { return m_size; }
  void clear() { m_size = 0; }

private:
  void grow();

  std::vector<CanFrame_s> m_ring;
  std::size_t m_first = 0;
  std::size_t m_size = 0;
  std::size_t m_most;
};

} // namespace IsoBusHost
