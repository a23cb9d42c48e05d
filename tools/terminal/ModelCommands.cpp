// Finding a command, and the commands that change values and attributes.
#include "ModelCommand.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::size_t frameBytes = 8;
constexpr uint8_t frameFill = 0xFF;
constexpr int version4 = 4;

// The field that is given blanks where a text is too short; UTF-16 text begins with its mark.
void fillWithBlanks(WorkingSetModel_c::Bytes& text, std::size_t length) {
  const bool isUtf16 = text.size() >= 2 && text[0] == 0xFF && text[1] == 0xFE;
  while (text.size() < length) {
    text.push_back(isUtf16 && text.size() % 2 != 0 ? uint8_t{0} : uint8_t{' '});
  }
}

} // namespace

WorkingSetModel_c::Bytes filled(WorkingSetModel_c::Bytes bytes) {
  bytes.resize(std::max(bytes.size(), frameBytes), frameFill);
  return bytes;
}

WorkingSetModel_c::Bytes WorkingSetModel_c::Command_c::answer(std::size_t repeated,
                                                              std::initializer_list<unsigned int> then) const {
  Bytes bytes(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(repeated));
  for (const unsigned int byte : then) {
    bytes.push_back(static_cast<uint8_t>(byte));
  }
  return filled(std::move(bytes));
}

// --- Finding a command

struct WorkingSetModel_c::CommandRow_s {
  uint8_t code;
  int fromVersion;
  std::size_t length; // in bytes, at least
  Bytes (WorkingSetModel_c::*handler)(const Command_c&);
};

const WorkingSetModel_c::CommandRow_s WorkingSetModel_c::commandRows[] = {
    {CommandCode::escape, 2, 1, &WorkingSetModel_c::escapeInput},
    {0xA0, 2, 4, &WorkingSetModel_c::hideShow},
    {0xA1, 2, 4, &WorkingSetModel_c::enableDisable},
    {0xA2, 2, 4, &WorkingSetModel_c::selectInput},
    {0xA3, 2, 8, &WorkingSetModel_c::audioSignal},
    {0xA4, 2, 2, &WorkingSetModel_c::audioVolume},
    {0xA5, 2, 7, &WorkingSetModel_c::changeChildLocation},
    {0xA6, 2, 7, &WorkingSetModel_c::changeSize},
    {0xA7, 2, 4, &WorkingSetModel_c::changeBackground},
    {0xA8, 2, 8, &WorkingSetModel_c::changeNumericValue},
    {0xA9, 2, 8, &WorkingSetModel_c::changeEndPoint},
    {0xAA, 2, 7, &WorkingSetModel_c::changeFontAttributes},
    {0xAB, 2, 7, &WorkingSetModel_c::changeLineAttributes},
    {0xAC, 2, 7, &WorkingSetModel_c::changeFillAttributes},
    {0xAD, 2, 5, &WorkingSetModel_c::changeActiveMask},
    {0xAE, 2, 6, &WorkingSetModel_c::changeSoftKeyMask},
    {0xAF, 2, 8, &WorkingSetModel_c::changeAttribute},
    {0xB0, 2, 4, &WorkingSetModel_c::changePriority},
    {0xB1, 2, 6, &WorkingSetModel_c::changeListItem},
    {0xB2, 2, 1, &WorkingSetModel_c::deleteObjectPool},
    {CommandCode::stringValue, 2, 5, &WorkingSetModel_c::changeStringValue},
    {CommandCode::childPosition, 2, 9, &WorkingSetModel_c::changeChildPosition},
    {0xB5, version4, 8, &WorkingSetModel_c::changeLabel},
    {0xB6, version4, 8, &WorkingSetModel_c::changePolygonPoint},
    {0xB7, version4, 7, &WorkingSetModel_c::changePolygonScale},
    {0xB9, version4, 4, &WorkingSetModel_c::getAttribute},
    {CommandCode::lockMask, version4, 6, &WorkingSetModel_c::lockMask},
    {CommandCode::runMacro, version4, 2, &WorkingSetModel_c::runMacro},
};

const WorkingSetModel_c::CommandRow_s* WorkingSetModel_c::findCommand(uint8_t code) {
  const auto* found = std::find_if(std::begin(commandRows), std::end(commandRows),
                                   [code](const CommandRow_s& row) { return row.code == code; });
  return found == std::end(commandRows) ? nullptr : found;
}

WorkingSetModel_c::Bytes WorkingSetModel_c::command(const Bytes& message) {
  const CommandRow_s* row = message.empty() ? nullptr : findCommand(message[0]);
  if (row == nullptr || row->fromVersion > m_settings.version || message.size() < row->length) {
    return {};
  }
  return (this->*row->handler)(Command_c(message));
}

// --- Values

WorkingSetModel_c::Bytes WorkingSetModel_c::changeNumericValue(const Command_c& command) {
  enum Error_e : uint8_t { noId = 1, badValue = 2, inUse = 4 };
  TerminalObject_s* object = findWith(command.word(2), Attribute_e::value);
  unsigned int error = errorIf(object == nullptr, noId);
  if (object != nullptr) {
    error |= errorIf(!isNumericValue(*object, command.value(5)), badValue) | errorIf(isInUse(object->id), inUse);
  }
  if (error == 0) {
    set(*object, Attribute_e::value, command.value(5));
  }
  return command.answer(3, {error, command.byte(5), command.byte(6), command.byte(7), command.byte(8)});
}

WorkingSetModel_c::Bytes WorkingSetModel_c::changeStringValue(const Command_c& command) {
  constexpr std::size_t head = 5;
  enum Error_e : uint8_t { noId = 2, tooLong = 4, inUse = 16 };
  TerminalObject_s* object = findWith(command.word(2), Attribute_e::text);
  const std::size_t length = command.word(4);
  if (command.size() < head + length) {
    return {};
  }
  unsigned int error = errorIf(object == nullptr, noId);
  if (object != nullptr) {
    error |= errorIf(length > object->text.size(), tooLong) | errorIf(isInUse(object->id), inUse);
  }
  if (error == 0) {
    Bytes text(command.data() + head, command.data() + head + length);
    fillWithBlanks(text, object->text.size());
    setText(*object, std::move(text));
  }
  return filled({command.byte(1), frameFill, frameFill, command.byte(2), command.byte(3), static_cast<uint8_t>(error)});
}

WorkingSetModel_c::Bytes WorkingSetModel_c::changeListItem(const Command_c& command) {
  enum Error_e : uint8_t { noId = 1, badIndex = 2, noItem = 4, inUse = 8 };
  TerminalObject_s* list = m_pool.find(command.word(2));
  const std::size_t index = command.byte(4);
  const uint16_t item = command.word(5);
  const bool isList =
      list != nullptr && (list->type() == ObjectType_e::inputList || list->type() == ObjectType_e::outputList);
  unsigned int error = errorIf(!isList, noId);
  if (isList) {
    error |= errorIf(index >= list->items.size(), badIndex) | errorIf(!isItem(*list, item), noItem) |
             errorIf(isInUse(list->id), inUse);
  }
  if (error == 0 && list->items[index] != item) {
    Change_s change;
    change.kind = ChangeKind_e::item;
    change.object = list->id;
    change.index = static_cast<unsigned int>(index);
    change.oldValue = std::exchange(list->items[index], item);
    change.newValue = item;
    m_changed(change);
  }
  return command.answer(6, {error});
}

// --- Attributes

WorkingSetModel_c::Bytes WorkingSetModel_c::changeAttribute(const Command_c& command) {
  enum Error_e : uint8_t { noId = 1, noAid = 2, badValue = 4, inUse = 8 };
  TerminalObject_s* object = m_pool.find(command.word(2));
  const FieldRow_s* field = object == nullptr ? nullptr : object->fieldOfAid(command.byte(4));
  unsigned int error = errorIf(object == nullptr, noId);
  if (object != nullptr) {
    const bool isOpen = field != nullptr && !field->isReadOnly;
    error |= errorIf(!isOpen, noAid) | errorIf(isOpen && !isValid(*object, *field, command.value(5)), badValue) |
             errorIf(isInUse(object->id), inUse);
  }
  if (error == 0) {
    set(*object, field->attribute, command.value(5));
  }
  return command.answer(4, {error});
}

WorkingSetModel_c::Bytes WorkingSetModel_c::getAttribute(const Command_c& command) {
  enum Error_e : uint8_t { noId = 1, noAid = 2 };
  const TerminalObject_s* object = m_pool.find(command.word(2));
  const uint8_t aid = command.byte(4);
  const FieldRow_s* field = object == nullptr ? nullptr : object->fieldOfAid(aid);
  if (field == nullptr && (object == nullptr || aid != 0)) {
    const uint8_t error = object == nullptr ? noId : noAid;
    return filled({command.byte(1), frameFill, frameFill, aid, command.byte(2), command.byte(3), error});
  }
  const uint32_t value = aid == 0 ? static_cast<uint32_t>(object->type()) : object->value(*field);
  return command.answer(4, {value, value >> 8U, value >> 16U, value >> 24U});
}

WorkingSetModel_c::Bytes WorkingSetModel_c::changeBackground(const Command_c& command) {
  enum Error_e : uint8_t { noId = 1, badColour = 2 };
  TerminalObject_s* object = findWith(command.word(2), Attribute_e::background);
  const unsigned int error = errorIf(object == nullptr, noId) | errorIf(!isColour(command.byte(4)), badColour);
  if (error == 0) {
    set(*object, Attribute_e::background, command.byte(4));
  }
  return command.answer(4, {error});
}

WorkingSetModel_c::Bytes WorkingSetModel_c::changePriority(const Command_c& command) {
  constexpr uint8_t lowest = 2;
  enum Error_e : uint8_t { noId = 1, badPriority = 2 };
  TerminalObject_s* mask = findTyped(command.word(2), ObjectType_e::alarmMask);
  const unsigned int error = errorIf(mask == nullptr, noId) | errorIf(command.byte(4) > lowest, badPriority);
  if (error == 0) {
    set(*mask, Attribute_e::priority, command.byte(4));
  }
  return command.answer(4, {error});
}

WorkingSetModel_c::Bytes WorkingSetModel_c::changeFontAttributes(const Command_c& command) {
  enum Error_e : uint8_t { noId = 1, badColour = 2, badSize = 4, badType = 8, badStyle = 16 };
  TerminalObject_s* font = findTyped(command.word(2), ObjectType_e::fontAttributes);
  const uint8_t style = command.byte(7);
  const bool isStyle = m_settings.version >= version4 || (style & proportionalBit) == 0;
  const unsigned int error = errorIf(font == nullptr, noId) | errorIf(!isColour(command.byte(4)), badColour) |
                             errorIf(!isFontSize(command.byte(5), style), badSize) |
                             errorIf(!isFontType(command.byte(6)), badType) | errorIf(!isStyle, badStyle);
  if (error == 0) {
    set(*font, Attribute_e::colour, command.byte(4));
    set(*font, Attribute_e::fontSize, command.byte(5));
    set(*font, Attribute_e::fontType, command.byte(6));
    set(*font, Attribute_e::style, style);
  }
  return command.answer(3, {error});
}

WorkingSetModel_c::Bytes WorkingSetModel_c::changeLineAttributes(const Command_c& command) {
  enum Error_e : uint8_t { noId = 1, badColour = 2 };
  TerminalObject_s* line = findTyped(command.word(2), ObjectType_e::lineAttributes);
  const unsigned int error = errorIf(line == nullptr, noId) | errorIf(!isColour(command.byte(4)), badColour);
  if (error == 0) {
    set(*line, Attribute_e::colour, command.byte(4));
    set(*line, Attribute_e::lineWidth, command.byte(5));
    set(*line, Attribute_e::art, command.word(6));
  }
  return command.answer(3, {error});
}

WorkingSetModel_c::Bytes WorkingSetModel_c::changeFillAttributes(const Command_c& command) {
  enum Error_e : uint8_t { noId = 1, badType = 2, badColour = 4, badPattern = 8 };
  constexpr uint8_t lastType = 3;
  TerminalObject_s* fill = findTyped(command.word(2), ObjectType_e::fillAttributes);
  unsigned int error = errorIf(fill == nullptr, noId) | errorIf(command.byte(4) > lastType, badType) |
                       errorIf(!isColour(command.byte(5)), badColour);
  if (fill != nullptr) {
    error |= errorIf(!m_pool.mayRefer(*fill->field(Attribute_e::pattern), command.word(6)), badPattern);
  }
  if (error == 0) {
    set(*fill, Attribute_e::fillType, command.byte(4));
    set(*fill, Attribute_e::colour, command.byte(5));
    set(*fill, Attribute_e::pattern, command.word(6));
  }
  return command.answer(3, {error});
}

WorkingSetModel_c::Bytes WorkingSetModel_c::changeLabel(const Command_c& command) {
  constexpr std::size_t entryBytes = 7;
  enum Error_e : uint8_t { noId = 1, noVariable = 2, badFont = 4, noList = 8, noDesignator = 16 };
  const uint16_t id = command.word(2);
  const uint16_t variable = command.word(4);
  const uint16_t designator = command.word(7);
  const bool isVariable = variable == noObject || findTyped(variable, ObjectType_e::stringVariable) != nullptr;
  uint8_t* entry = nullptr;
  for (const auto& [listId, list] : m_pool.objects()) {
    Bytes* data = list.type() == ObjectType_e::labelList ? &m_pool.find(listId)->data : nullptr;
    for (std::size_t at = 0; data != nullptr && at + entryBytes <= data->size(); at += entryBytes) {
      entry = (*data)[at] == command.byte(2) && (*data)[at + 1] == command.byte(3) ? data->data() + at : entry;
    }
  }
  const unsigned int error = errorIf(m_pool.find(id) == nullptr, noId) | errorIf(!isVariable, noVariable) |
                             errorIf(!isFontType(command.byte(6)), badFont) | errorIf(entry == nullptr, noList) |
                             errorIf(designator != noObject && m_pool.find(designator) == nullptr, noDesignator);
  if (error == 0) {
    std::copy(command.data() + 1, command.data() + 1 + entryBytes, entry);
    Change_s change;
    change.kind = ChangeKind_e::label;
    change.object = id;
    change.newValue = variable;
    change.other = designator;
    m_changed(change);
  }
  return command.answer(1, {error});
}
