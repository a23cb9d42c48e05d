// Time zones for the clock's tests, written out so that no zone file of the machine is needed.
#pragma once

#include <cstdlib>
#include <ctime>
#include <string>

namespace Zones {

const std::string utc = "UTC0";
const std::string berlin = "CET-1CEST,M3.5.0,M10.5.0/3"; // an hour east of UTC, in summer two
const std::string lagos = "WAT-1";                       // an hour east of UTC, without rules
const std::string newYork = "EST5EDT,M3.2.0,M11.1.0";
const std::string delhi = "IST-5:30";
const std::string stJohns = "NST3:30NDT,M3.2.0,M11.1.0";
const std::string sydney = "AEST-10AEDT,M10.1.0,M4.1.0/3"; // summer at the turn of the year

inline void enter(const std::string& zone) {
  setenv("TZ", zone.c_str(), 1);
  tzset();
}

} // namespace Zones
