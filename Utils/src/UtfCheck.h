// The check of UTF-8 on the fast way.
#pragma once

#include <cstdint>

namespace Utf {

// The place up to which a text of UTF-8 is well-formed without a doubt.
const uint8_t* skipWellFormed(const uint8_t* text, const uint8_t* textEnd);

} // namespace Utf
