// Marks a name as part of the exported interface of libzemoUtils.
// Everything else in the library is hidden; the version script of the library lists the same names once more.
#pragma once

#define ZEMO_EXPORT __attribute__((visibility("default")))
