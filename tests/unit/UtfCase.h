// One conversion, run by any of the ways and compared whole with what it has to give: result, cursors, units, and what
// lies behind them.
#pragma once

#include "UtfOracle.h"
#include "UtfWays.h"

#include <algorithm>
#include <climits>
#include <gtest/gtest.h>
#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

namespace TestSupport {

constexpr int strict = 0;
constexpr int lenient = 1;
constexpr std::size_t margin = 48; // units behind a target that nobody may touch

// No two neighbours of it are the same, and none is what a conversion writes everywhere.
template <class Unit_t>
void fillWithSentinels(std::vector<Unit_t>& units, std::size_t size) {
  units.resize(std::max(units.size(), size));
  for (std::size_t index = 0; index < size; ++index) {
    units[index] = static_cast<Unit_t>(0xA5C3E187U + 37 * index);
  }
}

template <class Unit_t>
std::string hexadecimal(const Unit_t* units, std::size_t size) {
  std::ostringstream text;
  text << std::hex << std::uppercase << std::setfill('0');
  for (std::size_t index = 0; index < size; ++index) {
    text << (index == 0 ? "" : " ") << std::setw(2 * sizeof(Unit_t)) << uint32_t{units[index]};
  }
  return text.str();
}

template <class Source_t, class Target_t>
class UtfCase_c {
public:
  // What has to come is given by the oracle.
  void prepare(const Source_t* text, std::size_t size, std::size_t room, int flags) {
    begin(text, size, room, flags);
    m_expected = expectedConversion(text, size, m_expectedTarget.data(), room, flags);
  }

  // What has to come is given.
  void prepare(const Source_t* text, std::size_t size, std::size_t room, int flags, const Expected_s& expected,
               const Target_t* target) {
    begin(text, size, room, flags);
    std::copy(target, target + expected.written, m_expectedTarget.begin());
    m_expected = expected;
  }

  bool isRightBy(const Way_s& way) {
    std::copy(m_sentinels.begin(), m_sentinels.begin() + total(), m_target.begin());
    const Source_t* source = m_text;
    Target_t* target = m_target.data();
    m_actual.result =
        converterOf<Source_t, Target_t>(way)(&source, m_text + m_size, &target, m_target.data() + m_room, m_flags);
    m_actual.taken = static_cast<std::size_t>(source - m_text);
    m_actual.written = static_cast<std::size_t>(target - m_target.data());
    return m_actual.result == m_expected.result && m_actual.taken == m_expected.taken &&
           m_actual.written == m_expected.written &&
           std::equal(m_target.begin(), m_target.begin() + total(), m_expectedTarget.begin());
  }

  const Expected_s& expected() const { return m_expected; }

  // What came last, and what had to.
  std::string told(const Way_s& way) const {
    std::ostringstream text;
    text << way.name << ", UTF-" << 8 * sizeof(Source_t) << " to UTF-" << 8 * sizeof(Target_t) << ", flags " << m_flags
         << ", room " << m_room << ": " << hexadecimal(m_text, m_size) << "\n";
    tell(text, "expected", m_expected, m_expectedTarget);
    tell(text, "actual", m_actual, m_target);
    return text.str();
  }

private:
  void begin(const Source_t* text, std::size_t size, std::size_t room, int flags) {
    m_text = text;
    m_size = size;
    m_room = room;
    m_flags = flags;
    if (m_sentinels.size() < room + margin) {
      fillWithSentinels(m_sentinels, room + margin);
      m_target.resize(room + margin);
      m_expectedTarget.resize(room + margin);
    }
    std::copy(m_sentinels.begin(), m_sentinels.begin() + total(), m_expectedTarget.begin());
  }

  std::ptrdiff_t total() const { return static_cast<std::ptrdiff_t>(m_room + margin); }

  void tell(std::ostream& text, const char* what, const Expected_s& outcome,
            const std::vector<Target_t>& target) const {
    text << what << ": result " << outcome.result << ", taken " << outcome.taken << ", written " << outcome.written
         << ", target and behind " << hexadecimal(target.data(), m_room + margin) << "\n";
  }

  const Source_t* m_text = nullptr;
  std::size_t m_size = 0;
  std::size_t m_room = 0;
  int m_flags = 0;
  Expected_s m_expected = {};
  Expected_s m_actual = {};
  std::vector<Target_t> m_sentinels;
  std::vector<Target_t> m_target;
  std::vector<Target_t> m_expectedTarget;
};

// A conversion written down.
//
//   flags   one or more of them that make no difference
template <class Source_t, class Target_t>
struct UtfRow_s {
  const char* name;
  std::vector<Source_t> source;
  std::size_t room;
  std::vector<int> flags;
  int result;
  std::size_t taken;
  std::vector<Target_t> target;
};

const std::vector<int> inStrictMode = {strict};
const std::vector<int> inLenientMode = {lenient, -1, 2, 0x10000, INT_MIN};
const std::vector<int> inBothModes = {strict, lenient, -1};

template <class Source_t, class Target_t>
void expectRows(const std::vector<UtfRow_s<Source_t, Target_t>>& rows) {
  UtfCase_c<Source_t, Target_t> one;
  for (const auto& row : rows) {
    for (const int flags : row.flags) {
      const Expected_s expected = {row.result, row.taken, row.target.size()};
      one.prepare(row.source.data(), row.source.size(), row.room, flags, expected, row.target.data());
      EXPECT_TRUE(one.isRightBy(plainWay())) << row.name << "\n" << one.told(plainWay());
      for (const Way_s& way : ways()) {
        EXPECT_TRUE(one.isRightBy(way)) << row.name << "\n" << one.told(way);
      }
    }
  }
}

} // namespace TestSupport
