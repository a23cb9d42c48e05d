#pragma once

#include <string>

// textOf: a string with the text. The library makes its strings here, once, and not anew in each of its units.
std::string textOf(const char* text);
