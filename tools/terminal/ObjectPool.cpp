#include "ObjectPool.h"

#include "ByteReader.h"

#include <algorithm>
#include <set>
#include <utility>

namespace {

constexpr std::size_t shortestHead = 3;  // id and type
constexpr std::size_t mostFillBytes = 2; // what a frame leaves after the shortest record
constexpr std::size_t labelBytes = 7;
constexpr uint8_t fill = 0xFF;
constexpr uint8_t wideMacroEvent = 255; // of version 5: the macro's id in 16 bits, in two entries

struct Count_s {
  FieldKind_e kind;
  uint32_t entries;
};

bool isFill(const uint8_t* bytes, std::size_t size) {
  return size <= mostFillBytes && std::all_of(bytes, bytes + size, [](uint8_t byte) { return byte == fill; });
}

void readText(ByteReader_c& reader, uint32_t length, std::vector<uint8_t>& text) {
  const uint8_t* bytes = reader.take(length);
  if (bytes != nullptr) {
    text.assign(bytes, bytes + length);
  }
}

// readRanges: code planes, each with its ranges of characters; kept as they are.
void readRanges(ByteReader_c& reader, uint32_t planes, std::vector<uint8_t>& data) {
  constexpr std::size_t rangeBytes = 4;
  const uint8_t* begin = reader.position();
  for (uint32_t plane = 0; plane < planes && reader.isGood(); ++plane) {
    reader.byte();
    const std::size_t ranges = reader.byte();
    reader.take(ranges * rangeBytes);
  }
  data.assign(begin, reader.position());
}

void readList(ByteReader_c& reader, const Count_s& count, TerminalObject_s& object) {
  if (count.kind == FieldKind_e::bytes) {
    readText(reader, count.entries, object.data);
    return;
  }
  if (count.kind == FieldKind_e::labels) {
    readText(reader, count.entries * labelBytes, object.data);
    return;
  }
  if (count.kind == FieldKind_e::ranges) {
    readRanges(reader, count.entries, object.data);
    return;
  }
  // An entry is there before room is made for it: a count alone costs nothing.
  for (uint32_t entry = 0; entry < count.entries && reader.isGood(); ++entry) {
    const uint16_t first = count.kind == FieldKind_e::macros ? reader.byte() : reader.word();
    switch (count.kind) {
    case FieldKind_e::objects: {
      const auto x = static_cast<int16_t>(reader.word());
      const auto y = static_cast<int16_t>(reader.word());
      object.children.push_back({first, x, y});
      break;
    }
    case FieldKind_e::ids:
      object.items.push_back(first);
      break;
    case FieldKind_e::points:
      object.points.push_back({first, reader.word()});
      break;
    case FieldKind_e::macros:
      object.macros.push_back({static_cast<uint8_t>(first), reader.byte()});
      break;
    default:
      object.languages.push_back(first);
      break;
    }
  }
}

// readFields: reads an object behind its id and type.
void readFields(ByteReader_c& reader, TerminalObject_s& object) {
  std::vector<Count_s> counts;
  object.values.reserve(object.row->fieldCount);
  for (const FieldRow_s& field : *object.row) {
    const uint32_t value = reader.number(field.size);
    object.values.push_back(value);
    if (field.kind == FieldKind_e::text) {
      readText(reader, value, object.text);
    } else if (!field.isAttribute()) {
      counts.push_back({field.kind, value});
    }
  }
  for (const Count_s& count : counts) {
    readList(reader, count, object);
  }
}

PoolError_s wrong(uint16_t parent, uint16_t object, std::string text) {
  return {PoolError_s::other, parent, object, std::move(text)};
}

PoolError_s missing(uint16_t parent, uint16_t object) {
  return {PoolError_s::missingObject, parent, object, "a referenced object is missing"};
}

// isListItem: lists may have empty places.
bool mayBeEmpty(ObjectType_e parent) {
  return parent == ObjectType_e::inputList || parent == ObjectType_e::outputList;
}

} // namespace

// --- Reading

ObjectPool_c::Error ObjectPool_c::read(const uint8_t* bytes, std::size_t size) {
  while (size > 0 && !isFill(bytes, size)) {
    std::size_t length = 0;
    Error error = readRecord(bytes, size, length);
    if (error) {
      return error;
    }
    bytes += length;
    size -= length;
  }
  return std::nullopt;
}

ObjectPool_c::Error ObjectPool_c::readRecord(const uint8_t* bytes, std::size_t size, std::size_t& length) {
  ByteReader_c reader(bytes, size);
  TerminalObject_s object;
  object.id = size < shortestHead ? noObject : reader.word();
  const uint8_t type = reader.byte();
  if (size < shortestHead) {
    return wrong(noObject, noObject, "a record ends too early");
  }
  if (object.id == noObject) {
    return wrong(noObject, noObject, "a record has the id of no object");
  }
  object.row = typeRow(type);
  if (object.row == nullptr || object.row->fromVersion > m_version) {
    return wrong(noObject, object.id, "type " + std::to_string(type) + " is unknown");
  }
  readFields(reader, object);
  if (!reader.isGood()) {
    return wrong(noObject, object.id, "a record ends too early");
  }
  const TerminalObject_s* known = find(object.id);
  if (known != nullptr && known->type() != object.type()) {
    return wrong(noObject, object.id, "an object of another type has this id already");
  }
  length = size - reader.left();
  m_objects[object.id] = std::move(object);
  return std::nullopt;
}

// --- Finding

const TerminalObject_s* ObjectPool_c::find(uint16_t id) const {
  const auto found = m_objects.find(id);
  return found == m_objects.end() ? nullptr : &found->second;
}

TerminalObject_s* ObjectPool_c::find(uint16_t id) {
  const auto found = m_objects.find(id);
  return found == m_objects.end() ? nullptr : &found->second;
}

const TerminalObject_s* ObjectPool_c::workingSet() const {
  const auto found = std::find_if(m_objects.begin(), m_objects.end(),
                                  [](const auto& entry) { return entry.second.type() == ObjectType_e::workingSet; });
  return found == m_objects.end() ? nullptr : &found->second;
}

bool ObjectPool_c::mayRefer(const FieldRow_s& field, uint16_t id) const {
  const TerminalObject_s* object = find(id);
  return id == noObject || (object != nullptr && (field.limit & typeBit(object->type())) != 0);
}

std::vector<uint16_t> partsOf(const TerminalObject_s& object) {
  std::vector<uint16_t> parts = object.items;
  for (const Child_s& child : object.children) {
    parts.push_back(child.id);
  }
  if (object.type() == ObjectType_e::objectPointer) {
    parts.push_back(static_cast<uint16_t>(object.value(Attribute_e::value)));
  }
  return parts;
}

bool ObjectPool_c::reaches(uint16_t from, uint16_t to) const {
  std::set<uint16_t> seen;
  std::vector<uint16_t> waiting = {from};
  while (!waiting.empty()) {
    const uint16_t id = waiting.back();
    waiting.pop_back();
    const TerminalObject_s* object = find(id);
    if (object == nullptr || !seen.insert(id).second) {
      continue;
    }
    if (id == to) {
      return true;
    }
    for (const uint16_t part : partsOf(*object)) {
      waiting.push_back(part);
    }
  }
  return false;
}

// --- Checking

ObjectPool_c::Error ObjectPool_c::check() const {
  const auto workingSets = std::count_if(m_objects.begin(), m_objects.end(), [](const auto& entry) {
    return entry.second.type() == ObjectType_e::workingSet;
  });
  if (workingSets != 1) {
    return wrong(noObject, noObject, std::to_string(workingSets) + " working set objects instead of one");
  }
  for (const auto& [id, object] : m_objects) {
    if (Error error = checkObject(object)) {
      return error;
    }
  }
  return checkLoops();
}

// checkObject: what is kept only is not looked into.
ObjectPool_c::Error ObjectPool_c::checkObject(const TerminalObject_s& object) const {
  if (!isSupported(object.type(), m_version)) {
    return std::nullopt;
  }
  if (Error error = checkReferences(object)) {
    return error;
  }
  for (const Child_s& child : object.children) {
    if (Error error = checkChild(object, child.id)) {
      return error;
    }
  }
  for (const uint16_t item : object.items) {
    if (Error error = checkChild(object, item)) {
      return error;
    }
  }
  return checkMacros(object);
}

ObjectPool_c::Error ObjectPool_c::checkReferences(const TerminalObject_s& object) const {
  for (const FieldRow_s& field : *object.row) {
    if (field.kind != FieldKind_e::reference) {
      continue;
    }
    const auto id = static_cast<uint16_t>(object.value(field));
    if (find(id) == nullptr && (id != noObject || field.attribute == Attribute_e::activeMask)) {
      return missing(object.id, id);
    }
    if (!mayRefer(field, id)) {
      return wrong(object.id, id, std::string("it is of no use as ") + attributeName(field.attribute));
    }
  }
  return std::nullopt;
}

ObjectPool_c::Error ObjectPool_c::checkChild(const TerminalObject_s& parent, uint16_t id) const {
  if (id == noObject && mayBeEmpty(parent.type())) {
    return std::nullopt;
  }
  const TerminalObject_s* child = find(id);
  if (child == nullptr) {
    return missing(parent.id, id);
  }
  if ((parent.row->childTypes & typeBit(child->type())) == 0) {
    return wrong(parent.id, id, std::string("a ") + child->row->name + " cannot be inside a " + parent.row->name);
  }
  return std::nullopt;
}

ObjectPool_c::Error ObjectPool_c::checkMacros(const TerminalObject_s& object) const {
  for (const MacroReference_s& reference : object.macros) {
    const TerminalObject_s* macro = find(reference.macro);
    if (reference.event == wideMacroEvent) {
      return wrong(object.id, reference.macro, "event 255 is of a later version");
    }
    if (macro == nullptr) {
      return missing(object.id, reference.macro);
    }
    if (macro->type() != ObjectType_e::macro) {
      return wrong(object.id, reference.macro, "it is no macro");
    }
  }
  return std::nullopt;
}

// checkLoops: goes down from every object once; an object met on the way down to itself closes a loop.
ObjectPool_c::Error ObjectPool_c::checkLoops() const {
  struct Step_s {
    uint16_t id;
    std::vector<uint16_t> left; // parts not gone into yet
  };
  std::set<uint16_t> done;
  std::set<uint16_t> open;
  for (const auto& [start, first] : m_objects) {
    std::vector<Step_s> way;
    if (done.count(start) == 0) {
      way.push_back({start, partsOf(first)});
      open.insert(start);
    }
    while (!way.empty()) {
      if (way.back().left.empty()) {
        open.erase(way.back().id);
        done.insert(way.back().id);
        way.pop_back();
        continue;
      }
      const uint16_t part = way.back().left.back();
      way.back().left.pop_back();
      if (open.count(part) != 0) {
        return wrong(way.back().id, part, "the object contains itself");
      }
      const TerminalObject_s* object = find(part);
      if (object != nullptr && done.count(part) == 0) {
        open.insert(part);
        way.push_back({part, partsOf(*object)});
      }
    }
  }
  return std::nullopt;
}
