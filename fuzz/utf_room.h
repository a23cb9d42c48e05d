// What the fuzz targets of Unicode text have in common: buffers of exactly the size that is told, and a conversion into
// a room of any size, compared with what another library expects of it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

inline void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

// A copy on the heap, so that the sanitizer sees a step outside.
template <class Unit_t>
class ExactCopy_c {
public:
  ExactCopy_c(const Unit_t* units, std::size_t size) : m_units(new Unit_t[size]), m_size(size) {
    if (size > 0) {
      std::memcpy(m_units.get(), units, size * sizeof(Unit_t));
    }
  }

  Unit_t* begin() const { return m_units.get(); }
  Unit_t* end() const { return m_units.get() + m_size; }

private:
  std::unique_ptr<Unit_t[]> m_units;
  std::size_t m_size;
};

// What one character of a source has to become.
template <class Target_t>
struct Step_s {
  int result;          // 0, or what the conversion ends with in front of the character
  bool isTold = false; // a 3 at the end of a conversion that goes on
  std::size_t taken = 0;
  std::size_t size = 0;
  Target_t units[4] = {};
};

struct Outcome_s {
  int result;
  std::size_t taken;
};

// Walks over a source by the steps of another library.
template <class Source_t, class Target_t, class NextStep_c>
Outcome_s expectedOutcome(const ExactCopy_c<Source_t>& source, std::size_t room, const NextStep_c& nextStep,
                          std::vector<Target_t>& target) {
  Outcome_s outcome = {0, 0};
  const auto size = static_cast<std::size_t>(source.end() - source.begin());
  while (outcome.taken < size) {
    const Step_s<Target_t> step = nextStep(source.begin() + outcome.taken, size - outcome.taken);
    if (step.result != 0) {
      return {step.result, outcome.taken};
    }
    if (room - target.size() < step.size) {
      return {2, outcome.taken};
    }
    target.insert(target.end(), step.units, step.units + step.size);
    outcome.taken += step.taken;
    outcome.result = step.isTold ? 3 : outcome.result;
  }
  return outcome;
}

// Converts a source into a room of exactly so many units.
template <class Source_t, class Target_t, class Convert_c, class NextStep_c>
void checkConversion(const ExactCopy_c<Source_t>& source, std::size_t room, int flags, const Convert_c& convert,
                     const NextStep_c& nextStep) {
  std::vector<Target_t> expected;
  const Outcome_s outcome = expectedOutcome<Source_t, Target_t>(source, room, nextStep, expected);
  const std::unique_ptr<Target_t[]> target(new Target_t[room]);
  std::memset(target.get(), 0xA5, room * sizeof(Target_t));
  const Source_t* sourceCursor = source.begin();
  Target_t* targetCursor = target.get();
  require(convert(&sourceCursor, source.end(), &targetCursor, target.get() + room, flags) == outcome.result);
  require(sourceCursor == source.begin() + outcome.taken);
  require(targetCursor == target.get() + expected.size());
  require(std::equal(expected.begin(), expected.end(), target.get()));
  const auto* behind = reinterpret_cast<const uint8_t*>(targetCursor);
  const auto* end = reinterpret_cast<const uint8_t*>(target.get() + room);
  for (; behind < end; ++behind) {
    require(*behind == 0xA5);
  }
}
