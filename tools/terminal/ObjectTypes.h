// What an object pool is made of (ISO 11783-6): the types of objects and the fields of each, as one table that the
// reading of pools, the commands, and the output share.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr uint16_t noObject = 0xFFFF;

enum class ObjectType_e : uint8_t {
  workingSet = 0,
  dataMask = 1,
  alarmMask = 2,
  container = 3,
  softKeyMask = 4,
  key = 5,
  button = 6,
  inputBoolean = 7,
  inputString = 8,
  inputNumber = 9,
  inputList = 10,
  outputString = 11,
  outputNumber = 12,
  line = 13,
  rectangle = 14,
  ellipse = 15,
  polygon = 16,
  meter = 17,
  linearBarGraph = 18,
  archedBarGraph = 19,
  pictureGraphic = 20,
  numberVariable = 21,
  stringVariable = 22,
  fontAttributes = 23,
  lineAttributes = 24,
  fillAttributes = 25,
  inputAttributes = 26,
  objectPointer = 27,
  macro = 28,
  auxiliaryFunction1 = 29,
  auxiliaryInput1 = 30,
  auxiliaryFunction2 = 31,
  auxiliaryInput2 = 32,
  auxiliaryDesignator = 33,
  windowMask = 34,
  keyGroup = 35,
  graphicsContext = 36,
  outputList = 37,
  extendedInputAttributes = 38,
  colourMap = 39,
  labelList = 40,
};

// Attribute_e: what a field means, the same name in every type that has it.
enum class Attribute_e : uint8_t {
  none, // of a count, or of a field that only the record knows
  background,
  selectable,
  activeMask,
  softKeyMask,
  priority,
  sound,
  width,
  height,
  hidden,
  keyCode,
  borderColour,
  options,
  font,
  variable,
  value,
  enabled,
  inputAttributes,
  justification,
  text,
  minimum,
  maximum,
  offset,
  scale,
  decimals,
  format,
  inputOptions,
  lineAttributes,
  direction,
  suppression,
  fillAttributes,
  ellipseType,
  start,
  end,
  polygonType,
  needleColour,
  arcColour,
  ticks,
  colour,
  targetColour,
  targetVariable,
  target,
  barWidth,
  actualWidth,
  actualHeight,
  transparency,
  fontSize,
  fontType,
  style,
  lineWidth,
  art,
  fillType,
  pattern,
  validation,
};

// attributeName: "font size" for example.
const char* attributeName(Attribute_e attribute);

enum class FieldKind_e : uint8_t {
  number,        // every value of its size
  signedNumber,  // 4 bytes
  real,          // 4 bytes, IEEE 754, finite
  limited,       // 0 to FieldRow_s::limit
  colour,        // as the terminal's graphic type allows
  fontSize,      // a size of ISO 11783-6, or a height in pixels where the style is proportional
  fontType,      // an alphabet that the terminal's version knows
  justification, // two bits each, the upper ones from version 4 on; 3 means nothing
  reference,     // none, or an object of the types in FieldRow_s::limit
  // No attributes: how many entries of a list stand behind the fields, in the order of the counts.
  objects,   // id, x, y
  ids,       // id
  points,    // x, y
  bytes,     // one byte
  labels,    // 7 bytes
  ranges,    // code planes of extended input attributes
  macros,    // event, macro
  languages, // two letters
  // The length of a text, and then the text itself.
  text,
};

// typeBit: the place of a type in FieldRow_s::limit of a reference.
constexpr uint64_t typeBit(ObjectType_e type) {
  return uint64_t{1} << static_cast<unsigned int>(type);
}

struct FieldRow_s {
  Attribute_e attribute;
  uint8_t size; // bytes in the record
  uint8_t aid;  // attribute id of ISO 11783-6, 0: none
  bool isReadOnly;
  FieldKind_e kind;
  uint64_t limit;

  bool isAttribute() const { return kind < FieldKind_e::objects; }
};

struct TypeRow_s {
  ObjectType_e type;
  const char* name;
  int fromVersion; // of the terminal
  const FieldRow_s* fields;
  std::size_t fieldCount;
  uint64_t childTypes; // typeBit of what may be a child or an item; 0: any number of none

  const FieldRow_s* begin() const { return fields; }
  const FieldRow_s* end() const { return fields + fieldCount; }
};

// typeRow: null for a type that the tables do not have.
const TypeRow_s* typeRow(uint8_t type);

// isSupported: whether commands reach every attribute of the type; the others are kept and not looked into.
bool isSupported(ObjectType_e type, int version);
