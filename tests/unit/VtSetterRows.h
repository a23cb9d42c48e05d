// The documented table of the setters that compare: what is called for each of several values, and how the record
// shows it.
#pragma once

#include "VtScreen.h"

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace TestSupport {

// VtValue_s: one of a row's values.
struct VtValue_s {
  std::string text;
  std::function<void(VtScreen_s&, bool force)> set;
  std::string call; // a line
  std::function<bool(VtScreen_s&)> isHeld;
};

// VtSetterRow_s: a setter. No two of its values are equal.
struct VtSetterRow_s {
  std::string function; // as it is exported
  std::vector<VtValue_s> values;
};

std::vector<VtSetterRow_s> vtSetterRows();
void PrintTo(const VtSetterRow_s& row, std::ostream* stream);

} // namespace TestSupport
