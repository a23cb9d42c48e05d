// One object of a pool with its current attributes, whatever its type.
#pragma once

#include "ObjectTypes.h"

#include <cstdint>
#include <vector>

struct Child_s {
  uint16_t id;
  int16_t x; // from the parent's top left
  int16_t y;
};

struct Point_s {
  uint16_t x;
  uint16_t y;
};

struct MacroReference_s {
  uint8_t event;
  uint8_t macro;
};

struct TerminalObject_s {
  uint16_t id = noObject;
  const TypeRow_s* row = nullptr;       // never null in a pool
  std::vector<uint32_t> values;         // one for each field of the row
  std::vector<uint8_t> text;            // of strings, and the characters of input attributes; as it came
  std::vector<uint8_t> data;            // of pictures, macros and what is kept only
  std::vector<Child_s> children;        // drawn in this order
  std::vector<uint16_t> items;          // of lists, soft key masks; of lists perhaps noObject
  std::vector<Point_s> points;          // of polygons
  std::vector<MacroReference_s> macros; //
  std::vector<uint16_t> languages;      // of the working set, first letter in the low byte

  ObjectType_e type() const { return row->type; }

  // field: null where the type has no such attribute. Of the text it is the row of the text's length.
  const FieldRow_s* field(Attribute_e attribute) const;
  const FieldRow_s* fieldOfAid(uint8_t aid) const;
  bool has(Attribute_e attribute) const { return field(attribute) != nullptr; }

  // value: the current value as it stands in the record, 0 where the type has no such attribute.
  uint32_t value(Attribute_e attribute) const;
  uint32_t value(const FieldRow_s& field) const;
  void setValue(const FieldRow_s& field, uint32_t value);

  // isEnabled: whether an input object, a button or a key takes input.
  bool isEnabled() const;
};

// The bits that commands turn.
constexpr uint32_t inputEnabledBit = 1;    // of "input options"
constexpr uint32_t buttonLatchableBit = 1; // of a button's options
constexpr uint32_t buttonLatchedBit = 2;
constexpr uint32_t buttonDisabledBit = 16; // from version 4 on
constexpr uint32_t proportionalBit = 128;  // of a font's style, from version 4 on
