#include "ChangeText.h"

#include "TerminalText.h"

#include <array>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

std::string idText(uint32_t id) {
  return id == noObject ? "none" : std::to_string(id);
}

float realOf(uint32_t value) {
  float number = 0;
  std::memcpy(&number, &value, sizeof number);
  return number;
}

std::string valueText(const FieldRow_s& field, uint32_t value) {
  switch (field.kind) {
  case FieldKind_e::reference:
    return idText(value);
  case FieldKind_e::signedNumber:
    return std::to_string(static_cast<int32_t>(value));
  case FieldKind_e::real: {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.9g", static_cast<double>(realOf(value)));
    return text.data();
  }
  default:
    return std::to_string(value);
  }
}

// A place: x in the low half, y in the high half.
std::string placeText(uint32_t place) {
  return std::to_string(static_cast<int16_t>(place & 0xFFFFU)) + "," +
         std::to_string(static_cast<int16_t>(place >> 16U));
}

std::string pointText(uint32_t place) {
  return std::to_string(place & 0xFFFFU) + "," + std::to_string(place >> 16U);
}

// currentValue: of the variable that a field refers to, else its own.
uint32_t currentValue(const WorkingSetModel_c& model, const TerminalObject_s& object) {
  const auto id = static_cast<uint16_t>(object.value(Attribute_e::variable));
  const TerminalObject_s* variable = object.has(Attribute_e::variable) ? model.pool().find(id) : nullptr;
  return variable == nullptr ? object.value(Attribute_e::value) : variable->value(Attribute_e::value);
}

std::string listText(const TerminalObject_s& object) {
  std::string text;
  for (const Child_s& child : object.children) {
    text += ' ' + idText(child.id) + '@' + std::to_string(child.x) + ',' + std::to_string(child.y);
  }
  for (const uint16_t item : object.items) {
    text += ' ' + idText(item);
  }
  for (const Point_s& point : object.points) {
    text += ' ' + std::to_string(point.x) + ',' + std::to_string(point.y);
  }
  return text;
}

std::string stateText(const WorkingSetModel_c& model, const TerminalObject_s& object) {
  std::string text;
  const auto add = [&text](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
  for (const FieldRow_s& field : *object.row) {
    if (field.isAttribute() && field.attribute != Attribute_e::none) {
      add(attributeName(field.attribute) + (' ' + valueText(field, object.value(field))));
    } else if (field.kind == FieldKind_e::text) {
      add("text " + quoted(toUtf8(object.text, fontTypeOf(model, object))));
    }
  }
  if (object.has(Attribute_e::scale)) {
    add("shows " + quoted(shownNumber(object, currentValue(model, object))));
  }
  const std::string list = listText(object);
  if (!list.empty()) {
    add("holds" + list);
  }
  return text;
}

std::string named(const WorkingSetModel_c* model, uint16_t id) {
  const TerminalObject_s* object = model == nullptr ? nullptr : model->pool().find(id);
  return (object == nullptr ? std::string("object") : std::string(object->row->name)) + ' ' + idText(id);
}

std::string textChange(const Change_s& change, const WorkingSetModel_c* model) {
  const TerminalObject_s* object = model == nullptr ? nullptr : model->pool().find(change.object);
  const uint8_t fontType = object == nullptr ? uint8_t{0} : fontTypeOf(*model, *object);
  return "text " + quoted(toUtf8(change.oldText, fontType)) + " -> " + quoted(toUtf8(change.newText, fontType));
}

std::string attributeChange(const Change_s& change, const WorkingSetModel_c* model) {
  const TerminalObject_s* object = model == nullptr ? nullptr : model->pool().find(change.object);
  const FieldRow_s* field = object == nullptr ? nullptr : object->field(change.attribute);
  const auto text = [field](uint32_t value) {
    return field == nullptr ? std::to_string(value) : valueText(*field, value);
  };
  return std::string(attributeName(change.attribute)) + ' ' + text(change.oldValue) + " -> " + text(change.newValue);
}

std::string codeText(uint32_t code) {
  switch (code) {
  case 0:
    return "soft key";
  case 1:
    return "button";
  case 2:
    return "pointing";
  case 3:
    return "select input";
  case 4:
    return "escape";
  case 5:
    return "numeric value";
  default:
    return "string value";
  }
}

std::string arrow(const std::string& what, const std::string& from, const std::string& to) {
  return what + ' ' + from + " -> " + to;
}

// objectChange: of what is about an object; empty where it is not.
std::string objectChange(const Change_s& change, const WorkingSetModel_c* model) {
  switch (change.kind) {
  case ChangeKind_e::attribute:
    return attributeChange(change, model);
  case ChangeKind_e::text:
    return textChange(change, model);
  case ChangeKind_e::childPosition:
    return arrow("place of " + idText(change.other), placeText(change.oldValue), placeText(change.newValue));
  case ChangeKind_e::item:
    return arrow("item " + std::to_string(change.index), idText(change.oldValue), idText(change.newValue));
  case ChangeKind_e::point:
    return arrow("point " + std::to_string(change.index), pointText(change.oldValue), pointText(change.newValue));
  case ChangeKind_e::label:
    return "label: text " + idText(change.newValue) + ", designator " + idText(change.other);
  case ChangeKind_e::focus: {
    constexpr const char* states[] = {"focus lost", "in focus", "open for input"};
    return states[change.newValue];
  }
  case ChangeKind_e::locked:
    return change.newValue != 0 ? "locked" : "unlocked";
  default:
    return {};
  }
}

std::string clientChange(const Change_s& change) {
  switch (change.kind) {
  case ChangeKind_e::clientCame:
    return "has come";
  case ChangeKind_e::clientLost:
    return "is lost: " + change.text;
  case ChangeKind_e::poolTaken:
    return "pool taken, " + std::to_string(change.newValue) + " objects";
  case ChangeKind_e::poolRefused:
    return "pool refused: " + change.text + " (object " + idText(change.object) + ", parent " + idText(change.other) +
           ')';
  case ChangeKind_e::poolDeleted:
    return "pool deleted";
  case ChangeKind_e::shown:
    return "on the screen";
  case ChangeKind_e::stored:
    return "version stored: " + quoted(toUtf8({change.text.begin(), change.text.end()}, 0));
  case ChangeKind_e::loaded:
    return "version loaded: " + quoted(toUtf8({change.text.begin(), change.text.end()}, 0));
  case ChangeKind_e::deleted:
    return "version deleted: " + quoted(toUtf8({change.text.begin(), change.text.end()}, 0));
  case ChangeKind_e::inputAnswered:
    return codeText(change.newValue) + " answered";
  case ChangeKind_e::inputUnanswered:
    return codeText(change.newValue) + " not answered";
  case ChangeKind_e::audioSignal:
    return "sound, " + std::to_string(change.newValue) + " times";
  default:
    return "volume " + std::to_string(change.newValue) + " percent";
  }
}

} // namespace

uint8_t fontTypeOf(const WorkingSetModel_c& model, const TerminalObject_s& object) {
  const auto typeOfFont = [&model](const TerminalObject_s& field) {
    const TerminalObject_s* font = model.pool().find(static_cast<uint16_t>(field.value(Attribute_e::font)));
    return font == nullptr ? uint8_t{0} : static_cast<uint8_t>(font->value(Attribute_e::fontType));
  };
  if (object.type() != ObjectType_e::stringVariable) {
    return object.has(Attribute_e::font) ? typeOfFont(object) : uint8_t{0};
  }
  for (const auto& [id, field] : model.pool().objects()) {
    if (field.has(Attribute_e::font) && field.value(Attribute_e::variable) == object.id) {
      return typeOfFont(field);
    }
  }
  return 0;
}

std::string shownNumber(const TerminalObject_s& field, uint32_t value) {
  constexpr uint32_t blankIfZero = 4;
  constexpr uint32_t truncate = 8;
  constexpr uint32_t mostDecimals = 7;
  const uint32_t options = field.value(Attribute_e::options);
  if ((options & blankIfZero) != 0 && value == 0) {
    return {};
  }
  const auto offset = static_cast<double>(static_cast<int32_t>(field.value(Attribute_e::offset)));
  const double scale = static_cast<double>(realOf(field.value(Attribute_e::scale)));
  double number = (static_cast<double>(value) + offset) * scale;
  const auto decimals = static_cast<int>(std::min(field.value(Attribute_e::decimals), mostDecimals));
  const bool isFixed = field.value(Attribute_e::format) == 0;
  if ((options & truncate) != 0 && isFixed) {
    const double power = std::pow(10.0, decimals);
    number = std::trunc(number * power) / power;
  }
  std::array<char, 400> text{};
  std::snprintf(text.data(), text.size(), isFixed ? "%.*f" : "%.*e", decimals, number);
  return text.data();
}

std::string objectText(const WorkingSetModel_c& model, const TerminalObject_s& object) {
  return std::string(object.row->name) + ' ' + std::to_string(object.id) + " (" + stateText(model, object) + ')';
}

std::string changeText(const TerminalClient_s& client, const Change_s& change, const WorkingSetModel_c* model) {
  const std::string head = "client " + std::to_string(client.address) + ": ";
  const std::string ofObject = objectChange(change, model);
  if (ofObject.empty()) {
    return head + clientChange(change);
  }
  const TerminalObject_s* object = model == nullptr ? nullptr : model->pool().find(change.object);
  return head + named(model, change.object) + ": " + ofObject +
         (object == nullptr ? std::string() : " (" + stateText(*model, *object) + ')');
}

std::string clientText(const TerminalClient_s& client) {
  std::array<char, 32> name{};
  std::snprintf(name.data(), name.size(), "%016" PRIX64, client.name);
  return "client " + std::to_string(client.address) + ": NAME " + name.data() + ", version " +
         std::to_string(client.version) +
         (client.hasPool ? ", mask " + idText(client.activeMask) + ", soft keys " + idText(client.softKeyMask)
                         : std::string(", no pool")) +
         (client.isShown ? ", on the screen" : "") + ", " + std::to_string(client.commands) + " commands, " +
         std::to_string(client.malformed) + " not understood, " + std::to_string(client.inputsAnswered) + " of " +
         std::to_string(client.inputsSent) + " inputs answered";
}
