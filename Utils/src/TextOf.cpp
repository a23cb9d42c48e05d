#include "TextOf.h"

std::string textOf(const char* text) {
  return text;
}
