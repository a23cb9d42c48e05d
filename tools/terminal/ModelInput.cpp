// Input of the operator.
#include "ModelCommand.h"

#include <algorithm>
#include <utility>

namespace {

constexpr int version4 = 4;
constexpr uint8_t unused = 0xFF;

uint8_t low(uint16_t value) {
  return static_cast<uint8_t>(value);
}

uint8_t high(uint16_t value) {
  return static_cast<uint8_t>(value >> 8U);
}

InputResult_s refused(std::string why) {
  return {{}, std::move(why)};
}

std::string named(uint16_t id) {
  return "object " + std::to_string(id);
}

bool isInput(const TerminalObject_s& object) {
  return object.has(Attribute_e::enabled) || object.has(Attribute_e::inputOptions);
}

} // namespace

std::string WorkingSetModel_c::refusal(const TerminalObject_s* object) const {
  if (!isVisible(object->id)) {
    return named(object->id) + " is not on the screen";
  }
  return object->isEnabled() ? std::string() : named(object->id) + " is disabled";
}

// --- Keys

InputResult_s WorkingSetModel_c::key(uint16_t id, KeyState_e state) {
  const TerminalObject_s* key = findTyped(id, ObjectType_e::key);
  if (key == nullptr) {
    return refused(named(id) + " is no key");
  }
  return press(InputCode::softKey, *key, state);
}

InputResult_s WorkingSetModel_c::button(uint16_t id, KeyState_e state) {
  TerminalObject_s* button = findTyped(id, ObjectType_e::button);
  if (button == nullptr) {
    return refused(named(id) + " is no button");
  }
  InputResult_s result = press(InputCode::button, *button, state);
  const uint32_t options = button->value(Attribute_e::options);
  if (result.error.empty() && state == KeyState_e::pressed && (options & buttonLatchableBit) != 0) {
    set(*button, Attribute_e::options, options ^ buttonLatchedBit);
  }
  return result;
}

InputResult_s WorkingSetModel_c::press(uint8_t code, const TerminalObject_s& object, KeyState_e state) const {
  if (state == KeyState_e::aborted && m_settings.version < version4) {
    return refused("no key is aborted before version 4");
  }
  // A key that is pressed is let go wherever it is.
  const std::string why = state == KeyState_e::pressed ? refusal(&object) : std::string();
  if (!why.empty()) {
    return refused(why);
  }
  return {filled({code, static_cast<uint8_t>(state), low(object.id), high(object.id), low(m_activeMask),
                  high(m_activeMask), static_cast<uint8_t>(object.value(Attribute_e::keyCode))}),
          {}};
}

// --- Values

InputResult_s WorkingSetModel_c::enterNumber(uint16_t id, uint32_t value) {
  TerminalObject_s* field = m_pool.find(id);
  if (field == nullptr || !isInput(*field) || !field->has(Attribute_e::value)) {
    return refused(named(id) + " takes no number");
  }
  const std::string why = refusal(field);
  if (!why.empty()) {
    return refused(why);
  }
  const bool isInRange = field->type() != ObjectType_e::inputNumber ||
                         (value >= field->value(Attribute_e::minimum) && value <= field->value(Attribute_e::maximum));
  if (!isInRange || !isNumericValue(*field, value)) {
    return refused(std::to_string(value) + " is out of range for " + named(id));
  }
  TerminalObject_s* variable = m_pool.find(static_cast<uint16_t>(field->value(Attribute_e::variable)));
  TerminalObject_s& holder = variable == nullptr ? *field : *variable;
  setFocus(id, false);
  set(holder, Attribute_e::value, value);
  const auto lowHalf = static_cast<uint16_t>(value);
  const auto highHalf = static_cast<uint16_t>(value >> 16U);
  return {{InputCode::numericValue, low(holder.id), high(holder.id), unused, low(lowHalf), high(lowHalf), low(highHalf),
           high(highHalf)},
          {}};
}

InputResult_s WorkingSetModel_c::enterText(uint16_t id, const Bytes& text) {
  TerminalObject_s* field = findTyped(id, ObjectType_e::inputString);
  if (field == nullptr) {
    return refused(named(id) + " takes no text");
  }
  const std::string why = refusal(field);
  if (!why.empty()) {
    return refused(why);
  }
  TerminalObject_s* variable = m_pool.find(static_cast<uint16_t>(field->value(Attribute_e::variable)));
  TerminalObject_s& holder = variable == nullptr ? *field : *variable;
  if (text.size() > std::min<std::size_t>(holder.text.size(), UINT8_MAX)) {
    return refused("the text is too long for " + named(id));
  }
  const TerminalObject_s* validation = m_pool.find(static_cast<uint16_t>(field->value(Attribute_e::inputAttributes)));
  if (validation != nullptr && validation->type() == ObjectType_e::inputAttributes) {
    const bool isListAllowed = validation->value(Attribute_e::validation) == 0;
    for (const uint8_t character : text) {
      const Bytes& list = validation->text;
      if ((std::find(list.begin(), list.end(), character) != list.end()) != isListAllowed) {
        return refused("a character of the text is not allowed in " + named(id));
      }
    }
  }
  Bytes message = {InputCode::stringValue, low(holder.id), high(holder.id), static_cast<uint8_t>(text.size())};
  message.insert(message.end(), text.begin(), text.end());
  setFocus(id, false);
  Bytes whole = text;
  whole.resize(holder.text.size(), ' ');
  setText(holder, std::move(whole));
  return {filled(std::move(message)), {}};
}

// --- Focus

InputResult_s WorkingSetModel_c::select(uint16_t id, bool open) {
  const TerminalObject_s* object = m_pool.find(id);
  const bool isButton = object != nullptr && m_settings.version >= version4 &&
                        (object->type() == ObjectType_e::button || object->type() == ObjectType_e::key);
  if (object == nullptr || !(isInput(*object) || (isButton && !open))) {
    return refused(named(id) + " cannot be selected");
  }
  const std::string why = refusal(object);
  if (!why.empty()) {
    return refused(why);
  }
  setFocus(id, open);
  const uint8_t opened = open ? 1 : 0;
  return {filled({InputCode::selectInput, low(id), high(id), 1, m_settings.version < version4 ? unused : opened}), {}};
}

InputResult_s WorkingSetModel_c::unselect() {
  if (m_focus == noObject) {
    return refused("nothing is selected");
  }
  const uint16_t id = m_focus;
  setFocus(noObject, false);
  return {filled({InputCode::selectInput, low(id), high(id), 0, m_settings.version < version4 ? unused : uint8_t{0}}),
          {}};
}

InputResult_s WorkingSetModel_c::escape() {
  if (!m_bOpen) {
    return refused("nothing is open for input");
  }
  setFocus(m_focus, false);
  return {filled({InputCode::escape, low(m_focus), high(m_focus), 0}), {}};
}

InputResult_s WorkingSetModel_c::point(uint16_t x, uint16_t y, KeyState_e state) {
  if (!m_bShown) {
    return refused("the client's mask is not on the screen");
  }
  return {filled({InputCode::pointing, low(x), high(x), low(y), high(y),
                  m_settings.version < version4 ? unused : static_cast<uint8_t>(state)}),
          {}};
}
