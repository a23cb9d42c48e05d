#include "TerminalObject.h"

#include <algorithm>

const FieldRow_s* TerminalObject_s::field(Attribute_e attribute) const {
  const auto* found = std::find_if(row->begin(), row->end(),
                                   [attribute](const FieldRow_s& field) { return field.attribute == attribute; });
  return attribute == Attribute_e::none || found == row->end() ? nullptr : found;
}

const FieldRow_s* TerminalObject_s::fieldOfAid(uint8_t aid) const {
  const auto* found =
      std::find_if(row->begin(), row->end(), [aid](const FieldRow_s& field) { return field.aid == aid; });
  return aid == 0 || found == row->end() ? nullptr : found;
}

uint32_t TerminalObject_s::value(Attribute_e attribute) const {
  const FieldRow_s* found = field(attribute);
  return found == nullptr ? 0 : value(*found);
}

uint32_t TerminalObject_s::value(const FieldRow_s& field) const {
  return values[static_cast<std::size_t>(&field - row->begin())];
}

void TerminalObject_s::setValue(const FieldRow_s& field, uint32_t value) {
  values[static_cast<std::size_t>(&field - row->begin())] = value;
}

bool TerminalObject_s::isEnabled() const {
  if (has(Attribute_e::enabled)) {
    return value(Attribute_e::enabled) != 0;
  }
  if (has(Attribute_e::inputOptions)) {
    return (value(Attribute_e::inputOptions) & inputEnabledBit) != 0;
  }
  return type() != ObjectType_e::button || (value(Attribute_e::options) & buttonDisabledBit) == 0;
}
