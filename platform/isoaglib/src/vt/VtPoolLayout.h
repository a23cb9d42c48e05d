// How the attribute record of each type becomes its record in the object pool (ISO 11783-6).
#pragma once

#include "IsoAgLib/vtobjects.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace IsoBusHost {

// What a field is, in the pool.
enum class VtFieldKind_e : uint8_t {
  number8,
  number16,
  number32, // also with a sign, and of floating point
  colour,
  reference,
  text8,  // the length in one byte, the text
  text16, // the length in two bytes, the text
  macros, // how many there are: none
  children,
  objects, // ids
  points,
  languages,
};

// VtTypes_t: a set of object types, a bit each.
using VtTypes_t = uint64_t;

constexpr VtTypes_t vtTypes() {
  return 0;
}

template <class... Types_t>
constexpr VtTypes_t vtTypes(IsoAgLib::iVtObjectType_t type, Types_t... others) {
  return VtTypes_t{1} << type | vtTypes(others...);
}

// VtField_s: a field of a pool record and where the attribute record has it.
struct VtField_s {
  VtFieldKind_e kind;
  uint16_t position;
  uint16_t countPosition;          // of a list, its number of entries (8 bits); of a text, its length (16 bits)
  const char* name;                // of a reference or a list
  VtTypes_t types;                 // those that a reference or an entry of a list may have
  bool mayBeEmpty;                 // whether an entry of a list may be no object
  IsoAgLib::e_vtColour colourKind; // of a colour
};

// VtLayout_s: the fields of a type behind id and type, in the order of the pool.
struct VtLayout_s {
  IsoAgLib::iVtObjectType_t type;
  const char* name;
  const VtField_s* fields;
  std::size_t numberOfFields;

  const VtField_s* begin() const { return fields; }
  const VtField_s* end() const { return fields + numberOfFields; }
};

// vtLayoutOf: returns the layout of a type, null for one that is not known.
const VtLayout_s* vtLayoutOf(IsoAgLib::iVtObjectType_t type);

// VtRecord_c: reads the fields of an attribute record.
class VtRecord_c {
public:
  explicit VtRecord_c(const IsoAgLib::iVtObject_s& record) : m_bytes(reinterpret_cast<const unsigned char*>(&record)) {}

  template <class Value_t>
  Value_t at(uint16_t position) const {
    Value_t value;
    std::memcpy(&value, m_bytes + position, sizeof value); // NOLINT: of a reference it is the pointer that is read
    return value;
  }

  uint8_t count(const VtField_s& list) const { return at<uint8_t>(list.countPosition); }

private:
  const unsigned char* m_bytes;
};

// forEachVtReference: hands on every object that a record refers to, with the field and, of a list, the entry.
template <class Visitor_t>
void forEachVtReference(const VtLayout_s& layout, const VtRecord_c& record, const Visitor_t& visit) {
  for (const VtField_s& field : layout) {
    if (field.kind == VtFieldKind_e::reference) {
      visit(field, std::size_t{0}, record.at<const IsoAgLib::iVtObject_c*>(field.position));
    }
    if (field.kind == VtFieldKind_e::children) {
      const auto* children = record.at<const IsoAgLib::iVtChild_s*>(field.position);
      for (std::size_t index = 0; index < record.count(field); ++index) {
        visit(field, index, children[index].object);
      }
    }
    if (field.kind == VtFieldKind_e::objects) {
      const auto* objects = record.at<const IsoAgLib::iVtObject_c* const*>(field.position);
      for (std::size_t index = 0; index < record.count(field); ++index) {
        visit(field, index, objects[index]);
      }
    }
  }
}

} // namespace IsoBusHost
