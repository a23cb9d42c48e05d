#include "WorkingSetModel.h"

#include "CanFrame.h"
#include "HostClock.h"
#include "ModelCommand.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <set>
#include <utility>

using namespace IsoBusHost;

namespace {

constexpr int attributesOfVersion4 = 4;

} // namespace

WorkingSetModel_c::WorkingSetModel_c(ModelSettings_s settings, ChangeHandler changed)
    : m_settings(settings), m_changed(std::move(changed)), m_pool(settings.version), m_unlockMs(never) {}

// --- The pool

void WorkingSetModel_c::readPool(const uint8_t* bytes, std::size_t size) {
  if (m_poolError) {
    return;
  }
  m_poolBytes.insert(m_poolBytes.end(), bytes, bytes + size);
  m_poolError = m_pool.read(bytes, size);
}

void WorkingSetModel_c::failPool(PoolError_s error) {
  if (!m_poolError) {
    m_poolError = std::move(error);
  }
}

ObjectPool_c::Error WorkingSetModel_c::endPool() {
  ObjectPool_c::Error error = m_poolError ? m_poolError : m_pool.check();
  if (error) {
    deletePool();
    Change_s change;
    change.kind = ChangeKind_e::poolRefused;
    change.object = error->object;
    change.other = error->parent;
    change.text = error->text;
    m_changed(change);
    return error;
  }
  const bool isFirst = !m_bHasPool;
  m_bHasPool = true;
  Change_s change;
  change.kind = ChangeKind_e::poolTaken;
  change.newValue = static_cast<uint32_t>(m_pool.objects().size());
  m_changed(change);
  if (isFirst) {
    m_activeMask = static_cast<uint16_t>(m_pool.workingSet()->value(Attribute_e::activeMask));
  }
  return std::nullopt;
}

void WorkingSetModel_c::deletePool() {
  m_pool.clear();
  m_poolBytes.clear();
  m_poolError.reset();
  m_bHasPool = false;
  m_activeMask = noObject;
  m_focus = noObject;
  m_bOpen = false;
  m_bLocked = false;
  m_unlockMs = never;
}

// --- State

uint16_t WorkingSetModel_c::softKeyMask() const {
  const TerminalObject_s* mask = m_pool.find(m_activeMask);
  return mask == nullptr ? noObject : static_cast<uint16_t>(mask->value(Attribute_e::softKeyMask));
}

bool WorkingSetModel_c::isVisible(uint16_t id) const {
  std::set<uint16_t> seen;
  std::vector<uint16_t> waiting;
  if (m_bShown) {
    waiting = {m_activeMask, softKeyMask()};
  }
  while (!waiting.empty()) {
    const TerminalObject_s* object = m_pool.find(waiting.back());
    waiting.pop_back();
    if (object == nullptr || object->value(Attribute_e::hidden) != 0 || !seen.insert(object->id).second) {
      continue;
    }
    if (object->id == id) {
      return true;
    }
    for (const uint16_t part : partsOf(*object)) {
      waiting.push_back(part);
    }
  }
  return false;
}

void WorkingSetModel_c::setShown(bool shown) {
  m_bShown = shown;
  if (!shown) {
    unlock(Lock::maskHidden);
    setFocus(noObject, false);
  }
}

TerminalObject_s* WorkingSetModel_c::findTyped(uint16_t id, ObjectType_e type) {
  TerminalObject_s* object = m_pool.find(id);
  return object != nullptr && object->type() == type ? object : nullptr;
}

TerminalObject_s* WorkingSetModel_c::findWith(uint16_t id, Attribute_e attribute) {
  TerminalObject_s* object = m_pool.find(id);
  return object != nullptr && object->has(attribute) ? object : nullptr;
}

bool WorkingSetModel_c::isInUse(uint16_t id) const {
  return m_settings.version >= attributesOfVersion4 && m_bOpen && m_focus == id;
}

void WorkingSetModel_c::set(TerminalObject_s& object, Attribute_e attribute, uint32_t value) {
  const FieldRow_s& field = *object.field(attribute);
  const uint32_t oldValue = object.value(field);
  if (oldValue == value) {
    return;
  }
  object.setValue(field, value);
  Change_s change;
  change.object = object.id;
  change.attribute = attribute;
  change.oldValue = oldValue;
  change.newValue = value;
  m_changed(change);
}

void WorkingSetModel_c::setText(TerminalObject_s& object, Bytes text) {
  if (object.text == text) {
    return;
  }
  Change_s change;
  change.kind = ChangeKind_e::text;
  change.object = object.id;
  change.attribute = Attribute_e::text;
  change.oldText = std::exchange(object.text, text);
  change.newText = std::move(text);
  m_changed(change);
}

void WorkingSetModel_c::setFocus(uint16_t id, bool open) {
  if (m_focus == id && m_bOpen == open) {
    return;
  }
  const auto tell = [this](uint32_t state) {
    Change_s change;
    change.kind = ChangeKind_e::focus;
    change.object = m_focus;
    change.newValue = state;
    m_changed(change);
  };
  if (m_focus != id && m_focus != noObject) {
    tell(0);
  }
  m_focus = id;
  m_bOpen = open;
  if (m_focus != noObject) {
    tell(open ? 2 : 1);
  }
}

void WorkingSetModel_c::unlock(uint8_t why) {
  if (!m_bLocked) {
    return;
  }
  m_bLocked = false;
  m_unlockMs = never;
  m_unasked.push_back(filled({CommandCode::lockMask, 0, why}));
  Change_s change;
  change.kind = ChangeKind_e::locked;
  change.object = m_activeMask;
  change.oldValue = 1;
  m_changed(change);
}

void WorkingSetModel_c::work() {
  if (m_unlockMs <= HostClock::nowMs()) {
    unlock(Lock::timeOut);
  }
}

std::vector<WorkingSetModel_c::Bytes> WorkingSetModel_c::takeUnasked() {
  return std::exchange(m_unasked, {});
}

// --- What attributes may be

bool WorkingSetModel_c::isColour(uint32_t value) const {
  constexpr uint32_t colours[] = {2, 16, 256};
  return value < colours[m_settings.graphic];
}

bool WorkingSetModel_c::isFontType(uint32_t value) const {
  constexpr uint32_t firstProprietary = 240;
  if (value <= 1 || (value >= firstProprietary && value <= UINT8_MAX)) {
    return true;
  }
  return m_settings.version >= attributesOfVersion4 && (value == 2 || value == 4 || value == 5 || value == 7);
}

bool WorkingSetModel_c::isFontSize(uint32_t size, uint32_t style) const {
  constexpr uint32_t largestSize = 14;
  constexpr uint32_t leastHeight = 8;
  const bool isProportional = m_settings.version >= attributesOfVersion4 && (style & proportionalBit) != 0;
  return isProportional ? size >= leastHeight && size <= UINT8_MAX : size <= largestSize;
}

bool WorkingSetModel_c::isValid(const TerminalObject_s& object, const FieldRow_s& field, uint32_t value) const {
  if (field.size < sizeof value && (value >> (8U * field.size)) != 0) {
    return false;
  }
  switch (field.kind) {
  case FieldKind_e::real: {
    float number = 0;
    std::memcpy(&number, &value, sizeof number);
    return std::isfinite(number);
  }
  case FieldKind_e::limited:
    return value <= field.limit;
  case FieldKind_e::colour:
    return isColour(value);
  case FieldKind_e::fontSize:
    return isFontSize(value, object.value(Attribute_e::style));
  case FieldKind_e::fontType:
    return isFontType(value);
  case FieldKind_e::justification: {
    const uint32_t most = m_settings.version >= attributesOfVersion4 ? 10 : 2;
    return value <= most && (value & 3U) != 3;
  }
  case FieldKind_e::reference:
    return m_pool.mayRefer(field, static_cast<uint16_t>(value));
  default:
    return true;
  }
}

// isNumericValue: whether the command that changes a value may give this one.
bool WorkingSetModel_c::isNumericValue(const TerminalObject_s& object, uint32_t value) const {
  constexpr uint32_t nothing = 255; // of a list, from version 4 on
  const FieldRow_s& field = *object.field(Attribute_e::value);
  switch (object.type()) {
  case ObjectType_e::inputBoolean:
    return value <= 1;
  case ObjectType_e::inputList:
  case ObjectType_e::outputList:
    return value < object.items.size() || (value == nothing && m_settings.version >= attributesOfVersion4);
  case ObjectType_e::objectPointer:
    return isValid(object, field, value) && !m_pool.reaches(static_cast<uint16_t>(value), object.id);
  default:
    return isValid(object, field, value);
  }
}

bool WorkingSetModel_c::isItem(const TerminalObject_s& list, uint16_t item) const {
  const TerminalObject_s* object = m_pool.find(item);
  return item == noObject ||
         (object != nullptr && (list.row->childTypes & typeBit(object->type())) != 0 && !m_pool.reaches(item, list.id));
}
