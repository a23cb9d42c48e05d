#include "Drive.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

namespace {

const std::string columns = "time,speed,width,sections,tank,flow,alarm";

std::vector<std::string> splitFields(const std::string& line) {
  std::vector<std::string> fields;
  std::istringstream text(line);
  for (std::string field; std::getline(text, field, ',');) {
    fields.push_back(field);
  }
  return fields;
}

bool parseNumber(const std::string& text, double most, double& number) {
  char* end = nullptr;
  number = std::strtod(text.c_str(), &end);
  return !text.empty() && *end == '\0' && std::isfinite(number) && number >= 0 && number <= most;
}

bool parseSections(const std::string& text, DriveRow_s& row) {
  if (text.size() != DriveRow_s::sections || text.find_first_not_of("01") != std::string::npos) {
    return false;
  }
  for (std::size_t section = 0; section < text.size(); ++section) {
    row.sprays[section] = text[section] == '1';
  }
  return true;
}

bool parseAlarm(const std::string& text, Alarm_e& alarm) {
  if (text != "0" && text != "1" && text != "2") {
    return false;
  }
  alarm = static_cast<Alarm_e>(text[0] - '0');
  return true;
}

// The limits are those of the screen's numbers.
bool parseRow(const std::string& line, DriveRow_s& row) {
  const std::vector<std::string> fields = splitFields(line);
  return fields.size() == 7 && parseNumber(fields[0], 86400, row.seconds) && parseNumber(fields[1], 99, row.speedKmh) &&
         parseNumber(fields[2], 99, row.widthM) && parseSections(fields[3], row) &&
         parseNumber(fields[4], 9999, row.tankL) && parseNumber(fields[5], 999, row.flowLPerMin) &&
         parseAlarm(fields[6], row.alarm);
}

} // namespace

std::string Drive_c::load(const std::string& file) {
  std::ifstream text(file);
  if (!text) {
    return file + ": " + std::strerror(errno);
  }
  const std::string error = read(text);
  return error.empty() ? "" : file + ": " + error;
}

std::string Drive_c::read(std::istream& text) {
  m_rows.clear();
  bool isPastHeading = false;
  std::size_t number = 0;
  for (std::string line; std::getline(text, line);) {
    ++number;
    if (line.empty() || line[0] == '#') {
      continue;
    }
    if (!isPastHeading) {
      if (line != columns) {
        return "line " + std::to_string(number) + ": the columns are not " + columns;
      }
      isPastHeading = true;
      continue;
    }
    DriveRow_s row;
    if (!parseRow(line, row)) {
      return "line " + std::to_string(number) + ": no row of a drive: " + line;
    }
    m_rows.push_back(row);
  }
  return m_rows.empty() ? "no rows" : "";
}
