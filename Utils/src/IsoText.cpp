#include "IsoText.h"

#include "TextOf.h"

#include <cstdint>
#include <cstdio>

namespace {

constexpr std::size_t nameTextSize = 256;

// The source address and as many bytes as a length can tell, each with three characters, and the terminating zero.
constexpr std::size_t messageTextSize = sizeof " SA 0x00 " + std::size_t{3} * UINT8_MAX;

} // namespace

std::string IsoNameToString(const __IsoAgLib::IsoName_c& name) {
  const uint8_t* bytes = name.outputString();
  if (bytes == nullptr) {
    return {};
  }
  char text[nameTextSize];
  std::snprintf(text, sizeof text,
                " IsoName 0x%2.2x 0x%2.2x 0x%2.2x 0x%2.2x 0x%2.2x 0x%2.2x 0x%2.2x 0x%2.2x ", // byte 0 first
                bytes[0], bytes[1], bytes[2], bytes[3], bytes[4], bytes[5], bytes[6], bytes[7]);
  return textOf(text);
}

std::string CanPkgToString(const __IsoAgLib::CanPkg_c& pkg) {
  // Neither identifier nor PGN, priority or destination is shown. On purpose.
  const __IsoAgLib::CanPkgExt_c message(pkg, 0);
  char text[messageTextSize];
  int length = std::snprintf(text, sizeof text, " SA 0x%2.2x ", message.isoSa());
  for (uint8_t index = 0; index < message.getLen(); ++index) {
    length += std::snprintf(text + length, sizeof text - static_cast<std::size_t>(length), "%2.2x ", message[index]);
  }
  return textOf(text);
}
