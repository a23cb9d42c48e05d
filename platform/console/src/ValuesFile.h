// The file of console values: JSON text, one object.
#pragma once

#include "ConsoleValues.h"

#include <string>

namespace ConsoleHost {

// readValuesFile: takes every value that the file names and that is in order.
//
//   Takes    values: keeps what the file does not name, and holds its missing keys afterwards
//   Gives    an empty text, or one line that says what is wrong and where
std::string readValuesFile(const std::string& path, Values_s& values);

// writeVin: writes the VIN to the file and keeps everything else that stands there; a missing file is made.
//
//   Gives    an empty text, or one line that says why the file is as it was
//   Effects  a new file takes the place of the old one whole; a symbolic link stays and its target is replaced
std::string writeVin(const std::string& path, const std::string& vin);

} // namespace ConsoleHost
