// Random texts of mixed scripts, with or without errors; the same ones in each run.
#pragma once

#include "UtfOracle.h"

#include <random>
#include <vector>

namespace TestSupport {

class RandomText_c {
public:
  explicit RandomText_c(unsigned int seed) : m_engine(seed) {}

  // Below a limit.
  std::size_t below(std::size_t limit) { return m_engine() % limit; }

  // So many units or up to three more, in runs of scripts. Every errorsIn-th character is an error; never where it is
  // 0.
  template <class Unit_t>
  std::vector<Unit_t> text(std::size_t size, std::size_t errorsIn) {
    std::vector<Unit_t> units;
    const std::size_t longestRun = 1 + below(40);
    while (units.size() < size) {
      const std::size_t script = below(6);
      for (std::size_t left = 1 + below(longestRun); left > 0 && units.size() < size; --left) {
        append(units, script, errorsIn);
      }
    }
    return units;
  }

private:
  template <class Unit_t>
  void append(std::vector<Unit_t>& units, std::size_t script, std::size_t errorsIn) {
    if (errorsIn > 0 && below(errorsIn) == 0) {
      appendError(units);
      return;
    }
    Unit_t some[4];
    units.insert(units.end(), some, some + encode(character(script), some));
  }

  uint32_t character(std::size_t script) {
    struct Range_s {
      uint32_t from;
      uint32_t count;
    };
    constexpr Range_s scripts[] = {{0x20, 0x5F},     {0x80, 0x780},    {0x800, 0xD000},
                                   {0xE000, 0x2000}, {0x1F300, 0x400}, {0x10000, 0x100000}};
    return scripts[script].from + static_cast<uint32_t>(below(scripts[script].count));
  }

  void appendError(std::vector<uint8_t>& units) {
    const std::vector<std::vector<uint8_t>> errors = {{0x80},
                                                      {0xC0, 0x80},
                                                      {0xC3},
                                                      {0xE0, 0x80, 0x80},
                                                      {0xE2, 0x82},
                                                      {0xED, 0xA0, 0x80},
                                                      {0xF0, 0x9F},
                                                      {0xF4, 0x90, 0x80},
                                                      {0xFF},
                                                      {0xF8, 0x88},
                                                      {0xC1},
                                                      {0xF5, 0x80, 0x80, 0x80},
                                                      {0xE1, 0x41},
                                                      {0xF0, 0x80},
                                                      {0xED, 0x41, 0x80},
                                                      {0xF4, 0x41, 0x80, 0x80},
                                                      {0xBF, 0xBF},
                                                      {0xF1, 0x80, 0x80}};
    const std::vector<uint8_t>& error = errors[below(errors.size())];
    units.insert(units.end(), error.begin(), error.end());
  }

  void appendError(std::vector<uint16_t>& units) { units.push_back(static_cast<uint16_t>(0xD800 + below(0x800))); }

  void appendError(std::vector<uint32_t>& units) {
    units.push_back(below(2) == 0 ? static_cast<uint32_t>(0xD800 + below(0x800))
                                  : 0x110000 + static_cast<uint32_t>(m_engine() >> below(20)) % 0xFFEF0000U);
  }

  std::mt19937 m_engine;
};

} // namespace TestSupport
