// The objects of one working set: reading of records, and the check of a whole pool. Whatever the bytes are, it takes
// no more memory than a small multiple of their number and comes to an end.
#pragma once

#include "TerminalObject.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

// PoolError_s: the first thing that is wrong with a pool, as the answer to the end of a pool tells it.
struct PoolError_s {
  enum Reason_e : uint8_t { unknownAttribute = 1, missingObject = 2, other = 4 }; // bits of the answer

  Reason_e reason = other;
  uint16_t parent = noObject;
  uint16_t object = noObject;
  std::string text; // for people: "a record ends too early"
};

class ObjectPool_c {
public:
  using Objects = std::map<uint16_t, TerminalObject_s>;
  using Error = std::optional<PoolError_s>;

  explicit ObjectPool_c(int version) : m_version(version) {}

  // read: takes the records of one transfer; an object of the same id is replaced if it has the same type.
  //
  //   Gives    none, or the first error; the records in front of it have been taken
  Error read(const uint8_t* bytes, std::size_t size);

  // check: looks for objects that are missing, that are where they may not be, or that contain themselves.
  Error check() const;

  const TerminalObject_s* find(uint16_t id) const;
  TerminalObject_s* find(uint16_t id);
  const TerminalObject_s* workingSet() const;
  const Objects& objects() const { return m_objects; }
  void clear() { m_objects.clear(); }

  // mayRefer: whether a reference of this kind may hold the id: none, or an object of the right type.
  bool mayRefer(const FieldRow_s& field, uint16_t id) const;

  // reaches: whether an object is found among another one, its children, its items, and theirs.
  bool reaches(uint16_t from, uint16_t to) const;

private:
  Error readRecord(const uint8_t* bytes, std::size_t size, std::size_t& length);
  Error checkObject(const TerminalObject_s& object) const;
  Error checkReferences(const TerminalObject_s& object) const;
  Error checkChild(const TerminalObject_s& parent, uint16_t id) const;
  Error checkMacros(const TerminalObject_s& object) const;
  Error checkLoops() const;

  int m_version;
  Objects m_objects;
};

// partsOf: the ids that an object draws: children, items, and what a pointer points to.
std::vector<uint16_t> partsOf(const TerminalObject_s& object);
