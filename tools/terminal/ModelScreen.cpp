// The commands that change what is seen where: masks, places, sizes, focus; sound; macros.
#include "ModelCommand.h"

#include "CanFrame.h"
#include "HostClock.h"

#include <algorithm>
#include <utility>

namespace {

constexpr int version4 = 4;

uint32_t place(int x, int y) {
  return (static_cast<uint32_t>(x) & 0xFFFFU) | static_cast<uint32_t>(y) << 16U;
}

bool isPlace(int position) {
  return position >= INT16_MIN && position <= INT16_MAX;
}

} // namespace

// --- Seen or not, enabled or not

WorkingSetModel_c::Bytes WorkingSetModel_c::hideShow(const Command_c& command) {
  enum Error_e : uint8_t { noId = 2, badCommand = 4 };
  TerminalObject_s* container = findTyped(command.word(2), ObjectType_e::container);
  const uint8_t show = command.byte(4);
  const unsigned int error = errorIf(container == nullptr, noId) | errorIf(show > 1, badCommand);
  if (error == 0) {
    set(*container, Attribute_e::hidden, show == 0 ? 1 : 0);
  }
  return command.answer(4, {error});
}

WorkingSetModel_c::Bytes WorkingSetModel_c::enableDisable(const Command_c& command) {
  enum Error_e : uint8_t { noId = 2, badValue = 4, inUse = 8 };
  TerminalObject_s* object = m_pool.find(command.word(2));
  const bool isButton = object != nullptr && object->type() == ObjectType_e::button && m_settings.version >= version4;
  const bool isField =
      object != nullptr && (object->has(Attribute_e::enabled) || object->has(Attribute_e::inputOptions));
  const bool enable = command.byte(4) != 0;
  const unsigned int error = errorIf(!isButton && !isField, noId) | errorIf(command.byte(4) > 1, badValue) |
                             errorIf(isField && isInUse(object->id), inUse);
  if (error == 0 && isButton) {
    const uint32_t options = object->value(Attribute_e::options);
    set(*object, Attribute_e::options, enable ? options & ~buttonDisabledBit : options | buttonDisabledBit);
  } else if (error == 0 && object->has(Attribute_e::enabled)) {
    set(*object, Attribute_e::enabled, enable ? 1 : 0);
  } else if (error == 0) {
    const uint32_t options = object->value(Attribute_e::inputOptions);
    set(*object, Attribute_e::inputOptions, enable ? options | inputEnabledBit : options & ~inputEnabledBit);
  }
  return command.answer(4, {error});
}

// --- Focus

WorkingSetModel_c::Bytes WorkingSetModel_c::selectInput(const Command_c& command) {
  enum Error_e : uint8_t { disabled = 1, noId = 2, notVisible = 4, otherOpen = 8, badOption = 32 };
  enum Option_e : uint8_t { open = 0, focusOnly = 0xFF };
  enum Response_e : uint8_t { notSelected, focused, opened };
  const uint16_t id = command.word(2);
  // Before version 4 the option is an unused byte.
  const uint8_t option = m_settings.version >= version4 ? command.byte(4) : uint8_t{focusOnly};
  const unsigned int optionError = errorIf(option != open && option != focusOnly, badOption);
  if (id == noObject && optionError == 0) {
    setFocus(noObject, false);
    return command.answer(3, {notSelected, 0});
  }
  const TerminalObject_s* object = m_pool.find(id);
  const bool isButton = object != nullptr && m_settings.version >= version4 &&
                        (object->type() == ObjectType_e::button || object->type() == ObjectType_e::key);
  const bool isField =
      object != nullptr && (object->has(Attribute_e::enabled) || object->has(Attribute_e::inputOptions));
  unsigned int error = optionError | errorIf(!isButton && !isField, noId);
  if (isButton || isField) {
    error |= errorIf(!object->isEnabled(), disabled) | errorIf(!isVisible(id), notVisible) |
             errorIf(m_bOpen && m_focus != id, otherOpen);
  }
  if (error != 0) {
    return command.answer(3, {notSelected, error});
  }
  const bool isOpened = option == open && isField;
  setFocus(id, isOpened);
  return command.answer(3, {isOpened ? opened : focused, 0});
}

WorkingSetModel_c::Bytes WorkingSetModel_c::escapeInput(const Command_c& command) {
  enum Error_e : uint8_t { nothingOpen = 1 };
  const unsigned int id = m_bOpen ? m_focus : noObject;
  const unsigned int error = errorIf(!m_bOpen, nothingOpen);
  if (m_bOpen) {
    setFocus(m_focus, false);
  }
  return command.answer(1, {id & 0xFFU, id >> 8U, error});
}

// --- Sound

WorkingSetModel_c::Bytes WorkingSetModel_c::audioSignal(const Command_c& command) {
  Change_s change;
  change.kind = ChangeKind_e::audioSignal;
  change.newValue = command.byte(2);
  m_changed(change);
  return command.answer(1, {0});
}

WorkingSetModel_c::Bytes WorkingSetModel_c::audioVolume(const Command_c& command) {
  constexpr uint8_t all = 100;
  enum Error_e : uint8_t { other = 16 };
  const unsigned int error = errorIf(command.byte(2) > all, other);
  if (error == 0) {
    Change_s change;
    change.kind = ChangeKind_e::audioVolume;
    change.newValue = command.byte(2);
    m_changed(change);
  }
  return command.answer(1, {error});
}

// --- Places and sizes

// moveChild: moves every occurrence of a child in its parent; gives the error byte of both commands.
unsigned int WorkingSetModel_c::moveChild(uint16_t parentId, uint16_t childId, int x, int y, bool isRelative) {
  enum Error_e : uint8_t { noParent = 1, noChild = 2, other = 16 };
  TerminalObject_s* parent = m_pool.find(parentId);
  if (parent == nullptr) {
    return noParent;
  }
  const auto isIt = [childId](const Child_s& child) { return child.id == childId; };
  if (std::none_of(parent->children.begin(), parent->children.end(), isIt)) {
    return noChild;
  }
  const auto leaves = [&](const Child_s& child) {
    return isIt(child) && isRelative && (!isPlace(child.x + x) || !isPlace(child.y + y));
  };
  if (std::any_of(parent->children.begin(), parent->children.end(), leaves)) {
    return other;
  }
  for (Child_s& child : parent->children) {
    const int newX = isRelative ? child.x + x : x;
    const int newY = isRelative ? child.y + y : y;
    if (!isIt(child) || (child.x == newX && child.y == newY)) {
      continue;
    }
    Change_s change;
    change.kind = ChangeKind_e::childPosition;
    change.object = parentId;
    change.other = childId;
    change.oldValue = place(child.x, child.y);
    change.newValue = place(newX, newY);
    child.x = static_cast<int16_t>(newX);
    child.y = static_cast<int16_t>(newY);
    m_changed(change);
  }
  return 0;
}

WorkingSetModel_c::Bytes WorkingSetModel_c::changeChildLocation(const Command_c& command) {
  constexpr int zero = 127; // a byte of 127 stands for no move
  const int x = command.byte(6) - zero;
  const int y = command.byte(7) - zero;
  return command.answer(5, {moveChild(command.word(2), command.word(4), x, y, true)});
}

WorkingSetModel_c::Bytes WorkingSetModel_c::changeChildPosition(const Command_c& command) {
  const auto x = static_cast<int16_t>(command.word(6));
  const auto y = static_cast<int16_t>(command.word(8));
  return command.answer(5, {moveChild(command.word(2), command.word(4), x, y, false)});
}

WorkingSetModel_c::Bytes WorkingSetModel_c::changeSize(const Command_c& command) {
  enum Error_e : uint8_t { noId = 1 };
  TerminalObject_s* object = findWith(command.word(2), Attribute_e::width);
  // A line has an end point instead, and a command of its own for it.
  const bool isSized = object != nullptr && object->type() != ObjectType_e::line;
  if (isSized) {
    set(*object, Attribute_e::width, command.word(4));
  }
  if (isSized && object->has(Attribute_e::height)) {
    set(*object, Attribute_e::height, command.word(6));
  }
  return command.answer(3, {errorIf(!isSized, noId)});
}

WorkingSetModel_c::Bytes WorkingSetModel_c::changeEndPoint(const Command_c& command) {
  enum Error_e : uint8_t { noId = 1, badDirection = 2 };
  TerminalObject_s* line = findTyped(command.word(2), ObjectType_e::line);
  const unsigned int error = errorIf(line == nullptr, noId) | errorIf(command.byte(8) > 1, badDirection);
  if (error == 0) {
    set(*line, Attribute_e::width, command.word(4));
    set(*line, Attribute_e::height, command.word(6));
    set(*line, Attribute_e::direction, command.byte(8));
  }
  return command.answer(3, {error});
}

WorkingSetModel_c::Bytes WorkingSetModel_c::changePolygonPoint(const Command_c& command) {
  enum Error_e : uint8_t { noId = 1, badIndex = 2 };
  TerminalObject_s* polygon = findTyped(command.word(2), ObjectType_e::polygon);
  const std::size_t index = command.byte(4);
  unsigned int error = errorIf(polygon == nullptr, noId);
  if (polygon != nullptr) {
    error = errorIf(index >= polygon->points.size(), badIndex);
  }
  if (error == 0) {
    Point_s& point = polygon->points[index];
    Change_s change;
    change.kind = ChangeKind_e::point;
    change.object = polygon->id;
    change.index = static_cast<unsigned int>(index);
    change.oldValue = place(point.x, point.y);
    change.newValue = place(command.word(5), command.word(7));
    point = {command.word(5), command.word(7)};
    if (change.oldValue != change.newValue) {
      m_changed(change);
    }
  }
  return command.answer(3, {error});
}

WorkingSetModel_c::Bytes WorkingSetModel_c::changePolygonScale(const Command_c& command) {
  enum Error_e : uint8_t { noId = 1 };
  TerminalObject_s* polygon = findTyped(command.word(2), ObjectType_e::polygon);
  if (polygon == nullptr) {
    return command.answer(7, {noId});
  }
  const auto scaled = [](uint32_t position, uint32_t from, uint32_t to) {
    return from == 0 ? static_cast<uint16_t>(position) : static_cast<uint16_t>(position * to / from);
  };
  for (Point_s& point : polygon->points) {
    point.x = scaled(point.x, polygon->value(Attribute_e::width), command.word(4));
    point.y = scaled(point.y, polygon->value(Attribute_e::height), command.word(6));
  }
  set(*polygon, Attribute_e::width, command.word(4));
  set(*polygon, Attribute_e::height, command.word(6));
  return command.answer(7, {0});
}

// --- Masks

WorkingSetModel_c::Bytes WorkingSetModel_c::changeActiveMask(const Command_c& command) {
  enum Error_e : uint8_t { noWorkingSet = 1, noMask = 2 };
  TerminalObject_s* workingSet = findTyped(command.word(2), ObjectType_e::workingSet);
  const TerminalObject_s* mask = m_pool.find(command.word(4));
  const bool isMask =
      mask != nullptr && (mask->type() == ObjectType_e::dataMask || mask->type() == ObjectType_e::alarmMask);
  const unsigned int error = errorIf(workingSet == nullptr, noWorkingSet) | errorIf(!isMask, noMask);
  if (error == 0 && mask->id != m_activeMask) {
    unlock(Lock::maskHidden);
    setFocus(noObject, false);
    m_activeMask = mask->id;
    set(*workingSet, Attribute_e::activeMask, mask->id);
  }
  return command.answer(1, {command.byte(4), command.byte(5), error});
}

WorkingSetModel_c::Bytes WorkingSetModel_c::changeSoftKeyMask(const Command_c& command) {
  enum Error_e : uint8_t { noMask = 1, noKeyMask = 2 };
  TerminalObject_s* mask = m_pool.find(command.word(3));
  const uint16_t keyMask = command.word(5);
  const bool isMask = mask != nullptr && ((command.byte(2) == 1 && mask->type() == ObjectType_e::dataMask) ||
                                          (command.byte(2) == 2 && mask->type() == ObjectType_e::alarmMask));
  const bool isKeyMask = keyMask == noObject || findTyped(keyMask, ObjectType_e::softKeyMask) != nullptr;
  const unsigned int error = errorIf(!isMask, noMask) | errorIf(!isKeyMask, noKeyMask);
  if (error == 0) {
    set(*mask, Attribute_e::softKeyMask, keyMask);
  }
  return command.answer(1, {command.byte(3), command.byte(4), command.byte(5), command.byte(6), error});
}

WorkingSetModel_c::Bytes WorkingSetModel_c::lockMask(const Command_c& command) {
  const bool lock = command.byte(2) == 1;
  const uint64_t limitMs = command.word(5);
  unsigned int error = errorIf(command.byte(2) > 1, Lock::other);
  if (lock) {
    const TerminalObject_s* mask = m_pool.find(m_activeMask);
    const bool isAlarm = mask != nullptr && mask->type() == ObjectType_e::alarmMask;
    error |= errorIf(!m_bShown || mask == nullptr || command.word(3) != m_activeMask, Lock::notVisible) |
             errorIf(m_bLocked, Lock::lockedAlready) | errorIf(isAlarm, Lock::alarmMask);
  } else if (error == 0) {
    error = errorIf(!m_bLocked, Lock::notLocked);
  }
  if (error == 0) {
    m_bLocked = lock;
    m_unlockMs = lock && limitMs != 0 ? IsoBusHost::HostClock::nowMs() + limitMs : IsoBusHost::never;
    Change_s change;
    change.kind = ChangeKind_e::locked;
    change.object = m_activeMask;
    change.oldValue = lock ? 0 : 1;
    change.newValue = lock ? 1 : 0;
    m_changed(change);
  }
  return command.answer(2, {error});
}

WorkingSetModel_c::Bytes WorkingSetModel_c::deleteObjectPool(const Command_c& command) {
  deletePool();
  Change_s change;
  change.kind = ChangeKind_e::poolDeleted;
  m_changed(change);
  return command.answer(1, {0});
}

// --- Macros

WorkingSetModel_c::Bytes WorkingSetModel_c::runMacro(const Command_c& command) {
  enum Error_e : uint8_t { noId = 1, noMacro = 2, other = 4 };
  const TerminalObject_s* macro = m_pool.find(command.byte(2));
  // A macro does not run another one: it comes to an end.
  unsigned int error = errorIf(macro == nullptr, noId) | errorIf(m_bInMacro, other);
  if (macro != nullptr) {
    error |= errorIf(macro->type() != ObjectType_e::macro, noMacro);
  }
  if (error == 0) {
    m_bInMacro = true;
    runCommands(Bytes(macro->data));
    m_bInMacro = false;
  }
  return command.answer(2, {error});
}

// runCommands: their answers stay here, as the client has not asked.
void WorkingSetModel_c::runCommands(const Bytes& commands) {
  constexpr std::size_t frame = 8;
  constexpr std::size_t textHead = 5;
  for (std::size_t at = 0; at < commands.size();) {
    std::size_t length = frame;
    if (commands[at] == CommandCode::childPosition) {
      length = frame + 1;
    } else if (commands[at] == CommandCode::stringValue && at + textHead <= commands.size()) {
      length = std::max(frame, textHead + commands[at + 3] + commands[at + 4] * std::size_t{256});
    }
    if (length > commands.size() - at) {
      return;
    }
    const auto begin = commands.begin() + static_cast<std::ptrdiff_t>(at);
    command(Bytes(begin, begin + static_cast<std::ptrdiff_t>(length)));
    at += length;
  }
}
