#include "IsoAgLib/vtclient.h"

#include <array>
#include <cstddef>

namespace {

constexpr uint8_t black = 0;
constexpr uint8_t white = 1;
constexpr uint8_t namedColours = 16;
constexpr uint8_t firstOwnColour = 232;

constexpr uint8_t twoColours = 0;
constexpr uint8_t sixteenColours = 1;

struct Rgb_s {
  int red;
  int green;
  int blue;
};

// The first colours of the palette of ISO 11783-6.
constexpr std::array<Rgb_s, namedColours> palette = {{
    {0x00, 0x00, 0x00}, // black
    {0xFF, 0xFF, 0xFF}, // white
    {0x00, 0x99, 0x00}, // green
    {0x00, 0x99, 0x99}, // teal
    {0x99, 0x00, 0x00}, // maroon
    {0x99, 0x00, 0x99}, // purple
    {0x99, 0x99, 0x00}, // olive
    {0xCC, 0xCC, 0xCC}, // silver
    {0x99, 0x99, 0x99}, // grey
    {0x00, 0x00, 0xFF}, // blue
    {0x00, 0xFF, 0x00}, // lime
    {0x00, 0xFF, 0xFF}, // cyan
    {0xFF, 0x00, 0x00}, // red
    {0xFF, 0x00, 0xFF}, // magenta
    {0xFF, 0xFF, 0x00}, // yellow
    {0x00, 0x00, 0x99}, // navy
}};

// The rest of it: six levels of red, green and blue.
Rgb_s mixedColour(uint8_t colour) {
  constexpr int levels = 6;
  constexpr int step = 0x33;
  const int cell = colour - namedColours;
  return {cell / (levels * levels) * step, cell / levels % levels * step, cell % levels * step};
}

int distance(const Rgb_s& left, const Rgb_s& right) {
  const int red = left.red - right.red;
  const int green = left.green - right.green;
  const int blue = left.blue - right.blue;
  return red * red + green * green + blue * blue;
}

// The lowest one where several are as near.
uint8_t nearestNamedColour(const Rgb_s& wanted) {
  std::size_t nearest = 0;
  for (std::size_t candidate = 1; candidate < palette.size(); ++candidate) {
    if (distance(palette[candidate], wanted) < distance(palette[nearest], wanted)) {
      nearest = candidate;
    }
  }
  return static_cast<uint8_t>(nearest);
}

} // namespace

namespace IsoAgLib {

uint8_t iVtObjectPool_c::convertColour(uint8_t colour, const iVtProperties_s& vt, const iVtObject_c* /*object*/,
                                       e_vtColour /*kind*/) {
  constexpr uint8_t mixedBlack = namedColours; // the first of the mixed ones looks the same as black
  if (vt.graphicType == twoColours) {
    return colour == black || colour == mixedBlack ? black : white;
  }
  if (vt.graphicType != sixteenColours || colour < namedColours) {
    return colour;
  }
  // Chosen: what a colour of the VT's own looks like is not known. It becomes white, as where there are two colours.
  return colour >= firstOwnColour ? white : nearestNamedColour(mixedColour(colour));
}

} // namespace IsoAgLib
