// A drive from a data file: what the sensors of a sprayer say, row by row. The file tells its units and its origin.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <istream>
#include <string>
#include <vector>

enum class Alarm_e : uint8_t {
  none = 0,
  tankLow = 1,
  pressureLow = 2,
};

struct DriveRow_s {
  static constexpr std::size_t sections = 6;

  double seconds = 0;                  // since the start
  double speedKmh = 0;                 // over ground
  double widthM = 0;                   // of the sections that spray
  std::array<bool, sections> sprays{}; // left to right
  double tankL = 0;                    // left in the tank
  double flowLPerMin = 0;              // to all sections
  Alarm_e alarm = Alarm_e::none;
};

class Drive_c {
public:
  static constexpr unsigned int rowsPerSecond = 10;

  // load, read: replace the rows.
  //
  //   Gives    why not, one line with the number of the line that is wrong; empty when all is well
  std::string load(const std::string& file);
  std::string read(std::istream& text);

  const std::vector<DriveRow_s>& rows() const { return m_rows; }

private:
  std::vector<DriveRow_s> m_rows;
};
