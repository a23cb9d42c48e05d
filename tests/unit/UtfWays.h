// The ways through which Unicode text goes, side by side: the library as it is built, with the fast ways of this
// processor; the same sources built without any, as they are for another processor; and the plain way alone, which is
// the truth.
#pragma once

#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

namespace TestSupport {

template <class Source_t, class Target_t>
using Converter_t = int (*)(const Source_t**, const Source_t*, Target_t**, Target_t*, int);

struct Way_s {
  const char* name;
  std::tuple<Converter_t<uint8_t, uint16_t>, Converter_t<uint8_t, uint32_t>, Converter_t<uint16_t, uint8_t>,
             Converter_t<uint16_t, uint32_t>, Converter_t<uint32_t, uint8_t>, Converter_t<uint32_t, uint16_t>>
      converters;
};

// The checks of texts, of the library and of a build without fast ways.
struct Checks_s {
  const char* name;
  int (*isLegalSequence)(const uint8_t*, const uint8_t*);
  bool (*isLegal)(const unsigned char*, int);
  bool (*isLegalUpTo)(const unsigned char*, int, int);
  int (*offsetOf)(const unsigned char*, int, int);
  void (*trim)(std::string&);
  std::string (*toBom)(const std::string&);
  std::string (*fromBom)(const std::string&);
};

// The library's, then the portable ones.
const std::vector<Way_s>& ways();
const std::vector<Checks_s>& checks();

// The plain way alone.
const Way_s& plainWay();

inline void PrintTo(const Way_s& way, std::ostream* stream) {
  *stream << way.name;
}

inline void PrintTo(const Checks_s& set, std::ostream* stream) {
  *stream << set.name;
}

template <class Source_t, class Target_t>
Converter_t<Source_t, Target_t> converterOf(const Way_s& way) {
  return std::get<Converter_t<Source_t, Target_t>>(way.converters);
}

} // namespace TestSupport
