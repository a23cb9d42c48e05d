#include "ConsoleLine.h"

#include <iostream>

void printLine(std::initializer_list<std::string_view> parts) {
  for (const std::string_view part : parts) {
    std::cout << part;
  }
  std::cout << std::endl;
}

void printLine(const char* text) {
  std::cout << std::string_view(text) << std::endl;
}
