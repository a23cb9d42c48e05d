// The library's own lines on standard output. They go through std::cout, in order with the application's own.
#pragma once

#include <initializer_list>
#include <string_view>

// printLine: writes the parts, or the one text, and a line end, with a flush.
//
//   Fails    as std::cout does, exceptions that the application has asked for included
void printLine(std::initializer_list<std::string_view> parts);
void printLine(const char* text);
