// The attribute records of the VT objects: what a working set keeps of each object (ISO 11783-6, object definitions).
//
//   Fields stand in the order of the object pool. References are pointers to objects, null where there is none. Widths
//   and heights are pixels, angles units of two degrees, colours indices of the VT's palette.
//   Kept   by the application as long as the object; the stack writes the fields that are changed
#pragma once

#include <cstddef>
#include <cstdint>

namespace IsoAgLib {

class iVtObject_c;

// iVtObject_s: what every record begins with.
struct iVtObject_s {
  uint16_t ID; // 0 to 65534, one of its own for each object of a pool
};

// iVtChild_s: a child and its place from the top left of its parent.
struct iVtChild_s {
  iVtObject_c* object;
  int16_t x;
  int16_t y;
};

struct iVtPoint_s {
  uint16_t x;
  uint16_t y;
};

struct iVtObjectWorkingSet_s {
  iVtObject_s object;
  uint8_t backgroundColour;
  uint8_t selectable; // 0 or 1
  iVtObject_c* activeMask;
  uint8_t numberOfChildren;
  const iVtChild_s* children;
  uint8_t numberOfLanguages;
  const char* languages; // two letters each
};

struct iVtObjectDataMask_s {
  iVtObject_s object;
  uint8_t backgroundColour;
  iVtObject_c* softKeyMask;
  uint8_t numberOfChildren;
  const iVtChild_s* children;
};

struct iVtObjectContainer_s {
  iVtObject_s object;
  uint16_t width;
  uint16_t height;
  uint8_t hidden; // 0 or 1
  uint8_t numberOfChildren;
  const iVtChild_s* children;
};

struct iVtObjectSoftKeyMask_s {
  iVtObject_s object;
  uint8_t backgroundColour;
  uint8_t numberOfKeys;
  iVtObject_c* const* keys;
};

struct iVtObjectKey_s {
  iVtObject_s object;
  uint8_t backgroundColour;
  uint8_t keyCode; // 1 to 255
  uint8_t numberOfChildren;
  const iVtChild_s* children;
};

struct iVtObjectInputBoolean_s {
  iVtObject_s object;
  uint8_t backgroundColour;
  uint16_t width;
  iVtObject_c* fontAttributes; // of its foreground
  iVtObject_c* variableReference;
  uint8_t value;   // 0 or 1
  uint8_t enabled; // 0 or 1
};

struct iVtObjectInputString_s {
  iVtObject_s object;
  uint16_t width;
  uint16_t height;
  uint8_t backgroundColour;
  iVtObject_c* fontAttributes;
  iVtObject_c* inputAttributes;
  uint8_t options; // bit 0 transparent, 1 auto-wrap, 2 wrap on hyphen (version 4)
  iVtObject_c* variableReference;
  uint8_t justification;
  uint16_t length; // of the text in bytes, 0 to 255
  char* value;     // length bytes and a NUL; may be null where length is 0
  uint8_t enabled; // bit 0 enabled, 1 real-time editing (version 4)
};

struct iVtObjectInputNumber_s {
  iVtObject_s object;
  uint16_t width;
  uint16_t height;
  uint8_t backgroundColour;
  iVtObject_c* fontAttributes;
  uint8_t options; // bit 0 transparent, 1 leading zeros, 2 blank if 0, 3 truncate (version 4)
  iVtObject_c* variableReference;
  uint32_t value; // shown: (value + offset) * scale
  uint32_t minimum;
  uint32_t maximum;
  int32_t offset;
  float scale;
  uint8_t numberOfDecimals; // 0 to 7
  uint8_t format;           // 0 fixed, 1 exponential
  uint8_t justification;
  uint8_t options2; // bit 0 enabled, 1 real-time editing (version 4)
};

struct iVtObjectInputList_s {
  iVtObject_s object;
  uint16_t width;
  uint16_t height;
  iVtObject_c* variableReference;
  uint8_t value; // index of the item, 255: none (version 4)
  uint8_t numberOfItems;
  uint8_t options;     // bit 0 enabled, 1 real-time editing (version 4)
  iVtObject_c** items; // null: an empty item
};

struct iVtObjectOutputString_s {
  iVtObject_s object;
  uint16_t width;
  uint16_t height;
  uint8_t backgroundColour;
  iVtObject_c* fontAttributes;
  uint8_t options; // bit 0 transparent, 1 auto-wrap, 2 wrap on hyphen (version 4)
  iVtObject_c* variableReference;
  uint8_t justification;
  uint16_t length; // of the text in bytes
  char* value;     // length bytes and a NUL; may be null where length is 0
};

struct iVtObjectOutputNumber_s {
  iVtObject_s object;
  uint16_t width;
  uint16_t height;
  uint8_t backgroundColour;
  iVtObject_c* fontAttributes;
  uint8_t options; // bit 0 transparent, 1 leading zeros, 2 blank if 0, 3 truncate (version 4)
  iVtObject_c* variableReference;
  uint32_t value; // shown: (value + offset) * scale
  int32_t offset;
  float scale;
  uint8_t numberOfDecimals; // 0 to 7
  uint8_t format;           // 0 fixed, 1 exponential
  uint8_t justification;
};

struct iVtObjectOutputList_s {
  iVtObject_s object;
  uint16_t width;
  uint16_t height;
  iVtObject_c* variableReference;
  uint8_t value; // index of the item, 255: none
  uint8_t numberOfItems;
  iVtObject_c** items; // null: an empty item
};

struct iVtObjectRectangle_s {
  iVtObject_s object;
  iVtObject_c* lineAttributes;
  uint16_t width;
  uint16_t height;
  uint8_t lineSuppression; // bit 0 top, 1 right, 2 bottom, 3 left
  iVtObject_c* fillAttributes;
};

struct iVtObjectPolygon_s {
  iVtObject_s object;
  uint16_t width;
  uint16_t height;
  iVtObject_c* lineAttributes;
  iVtObject_c* fillAttributes;
  uint8_t polygonType; // 0 convex, 1 not convex, 2 crossing, 3 open
  uint8_t numberOfPoints;
  const iVtPoint_s* points;
};

struct iVtObjectMeter_s {
  iVtObject_s object;
  uint16_t width;
  uint8_t needleColour;
  uint8_t borderColour;
  uint8_t arcAndTickColour;
  uint8_t options; // bit 0 arc, 1 border, 2 ticks, 3 clockwise
  uint8_t numberOfTicks;
  uint8_t startAngle;
  uint8_t endAngle;
  uint16_t minimum;
  uint16_t maximum;
  iVtObject_c* variableReference;
  uint16_t value;
};

struct iVtObjectLinearBarGraph_s {
  iVtObject_s object;
  uint16_t width;
  uint16_t height;
  uint8_t colour;
  uint8_t targetLineColour;
  uint8_t options; // bit 0 border, 1 target line, 2 ticks, 3 line instead of bar, 4 horizontal, 5 grows right or up
  uint8_t numberOfTicks;
  uint16_t minimum;
  uint16_t maximum;
  iVtObject_c* variableReference;
  uint16_t value;
  iVtObject_c* targetVariableReference;
  uint16_t targetValue;
};

struct iVtObjectNumberVariable_s {
  iVtObject_s object;
  uint32_t value;
};

struct iVtObjectStringVariable_s {
  iVtObject_s object;
  uint16_t length; // of the text in bytes
  char* value;     // length bytes and a NUL; may be null where length is 0
};

struct iVtObjectFontAttributes_s {
  iVtObject_s object;
  uint8_t colour;
  uint8_t size;  // 0 6x8 to 14 128x192
  uint8_t type;  // 0 ISO 8859-1, 1 8859-15, 2 8859-2, 4 8859-4, 5 8859-5, 7 8859-7
  uint8_t style; // bit 0 bold, 1 crossed out, 2 underlined, 3 italic, 4 inverted, 5 and 6 flashing, 7 proportional
};

struct iVtObjectLineAttributes_s {
  iVtObject_s object;
  uint8_t colour;
  uint8_t width;
  uint16_t art; // 16 steps of the brush, 1: drawn
};

struct iVtObjectFillAttributes_s {
  iVtObject_s object;
  uint8_t type; // 0 none, 1 in the line's colour, 2 in colour, 3 with the pattern
  uint8_t colour;
  iVtObject_c* pattern;
};

struct iVtObjectObjectPointer_s {
  iVtObject_s object;
  iVtObject_c* value;
};

} // namespace IsoAgLib

// ISOAGLIB_FIELD_POSITION: the position of a field within its attribute record, in bytes.
#define ISOAGLIB_FIELD_POSITION(record, field) static_cast<uint16_t>(offsetof(record, field))
