#include "ObjectTypes.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace {

using A = Attribute_e;
using K = FieldKind_e;
using T = ObjectType_e;

// --- Kinds of fields

constexpr FieldRow_s number(A attribute, uint8_t size, uint8_t aid) {
  return {attribute, size, aid, false, K::number, 0};
}

constexpr FieldRow_s limited(A attribute, uint8_t aid, uint64_t limit) {
  return {attribute, 1, aid, false, K::limited, limit};
}

constexpr FieldRow_s colour(A attribute, uint8_t aid) {
  return {attribute, 1, aid, false, K::colour, 0};
}

constexpr FieldRow_s signedNumber(A attribute, uint8_t aid) {
  return {attribute, 4, aid, false, K::signedNumber, 0};
}

constexpr FieldRow_s scale(uint8_t aid) {
  return {A::scale, 4, aid, false, K::real, 0};
}

constexpr FieldRow_s reference(A attribute, uint8_t aid, uint64_t types) {
  return {attribute, 2, aid, false, K::reference, types};
}

constexpr FieldRow_s fixed(FieldRow_s field) {
  field.isReadOnly = true;
  return field;
}

constexpr FieldRow_s count(K kind, uint8_t size = 1) {
  return {A::none, size, 0, false, kind, 0};
}

constexpr FieldRow_s text(uint8_t lengthSize) {
  return {A::text, lengthSize, 0, false, K::text, 0};
}

// --- What may be referred to

constexpr uint64_t masks = typeBit(T::dataMask) | typeBit(T::alarmMask);
constexpr uint64_t numbers = typeBit(T::numberVariable);
constexpr uint64_t strings = typeBit(T::stringVariable);
constexpr uint64_t fonts = typeBit(T::fontAttributes);
constexpr uint64_t lines = typeBit(T::lineAttributes);
constexpr uint64_t fills = typeBit(T::fillAttributes);
constexpr uint64_t validations = typeBit(T::inputAttributes) | typeBit(T::extendedInputAttributes);

// What can be drawn inside something else. Masks, variables and attribute objects are never children; keys are those of
// soft key masks only.
constexpr uint64_t drawn = typeBit(T::workingSet) | typeBit(T::container) | typeBit(T::button) |
                           typeBit(T::inputBoolean) | typeBit(T::inputString) | typeBit(T::inputNumber) |
                           typeBit(T::inputList) | typeBit(T::outputString) | typeBit(T::outputNumber) |
                           typeBit(T::line) | typeBit(T::rectangle) | typeBit(T::ellipse) | typeBit(T::polygon) |
                           typeBit(T::meter) | typeBit(T::linearBarGraph) | typeBit(T::archedBarGraph) |
                           typeBit(T::pictureGraphic) | typeBit(T::objectPointer) | typeBit(T::auxiliaryFunction1) |
                           typeBit(T::auxiliaryInput1) | typeBit(T::auxiliaryFunction2) | typeBit(T::auxiliaryInput2) |
                           typeBit(T::auxiliaryDesignator) | typeBit(T::graphicsContext) | typeBit(T::outputList);
constexpr uint64_t keys = typeBit(T::key) | typeBit(T::objectPointer);

// --- Ranges

constexpr uint64_t angle = 180;
constexpr uint64_t mostDecimals = 7;

// --- The types

constexpr std::array workingSetFields = {fixed(colour(A::background, 1)),
                                         fixed(limited(A::selectable, 2, 1)),
                                         fixed(reference(A::activeMask, 3, masks)),
                                         count(K::objects),
                                         count(K::macros),
                                         count(K::languages)};
constexpr std::array dataMaskFields = {colour(A::background, 1), reference(A::softKeyMask, 2, typeBit(T::softKeyMask)),
                                       count(K::objects), count(K::macros)};
constexpr std::array alarmMaskFields = {
    colour(A::background, 1),   reference(A::softKeyMask, 2, typeBit(T::softKeyMask)),
    limited(A::priority, 3, 2), number(A::sound, 1, 4),
    count(K::objects),          count(K::macros)};
constexpr std::array containerFields = {fixed(number(A::width, 2, 1)), fixed(number(A::height, 2, 2)),
                                        fixed(limited(A::hidden, 3, 1)), count(K::objects), count(K::macros)};
constexpr std::array softKeyMaskFields = {colour(A::background, 1), count(K::ids), count(K::macros)};
constexpr std::array keyFields = {colour(A::background, 1), number(A::keyCode, 1, 2), count(K::objects),
                                  count(K::macros)};
constexpr std::array buttonFields = {number(A::width, 2, 1),     number(A::height, 2, 2),  colour(A::background, 3),
                                     colour(A::borderColour, 4), number(A::keyCode, 1, 5), number(A::options, 1, 6),
                                     count(K::objects),          count(K::macros)};
constexpr std::array inputBooleanFields = {colour(A::background, 1),
                                           number(A::width, 2, 2),
                                           reference(A::font, 3, fonts),
                                           reference(A::variable, 4, numbers),
                                           fixed(number(A::value, 1, 5)),
                                           fixed(limited(A::enabled, 6, 1)),
                                           count(K::macros)};
constexpr std::array inputStringFields = {number(A::width, 2, 1),
                                          number(A::height, 2, 2),
                                          colour(A::background, 3),
                                          reference(A::font, 4, fonts),
                                          reference(A::inputAttributes, 5, validations),
                                          number(A::options, 1, 6),
                                          reference(A::variable, 7, strings),
                                          FieldRow_s{A::justification, 1, 8, false, K::justification, 0},
                                          text(1),
                                          fixed(limited(A::enabled, 9, 1)),
                                          count(K::macros)};
constexpr std::array inputNumberFields = {number(A::width, 2, 1),
                                          number(A::height, 2, 2),
                                          colour(A::background, 3),
                                          reference(A::font, 4, fonts),
                                          number(A::options, 1, 5),
                                          reference(A::variable, 6, numbers),
                                          fixed(number(A::value, 4, 14)),
                                          number(A::minimum, 4, 7),
                                          number(A::maximum, 4, 8),
                                          signedNumber(A::offset, 9),
                                          scale(10),
                                          limited(A::decimals, 11, mostDecimals),
                                          limited(A::format, 12, 1),
                                          FieldRow_s{A::justification, 1, 13, false, K::justification, 0},
                                          fixed(number(A::inputOptions, 1, 15)),
                                          count(K::macros)};
constexpr std::array inputListFields = {number(A::width, 2, 1),
                                        number(A::height, 2, 2),
                                        reference(A::variable, 3, numbers),
                                        fixed(number(A::value, 1, 4)),
                                        count(K::ids),
                                        fixed(number(A::inputOptions, 1, 5)),
                                        count(K::macros)};
constexpr std::array outputStringFields = {number(A::width, 2, 1),
                                           number(A::height, 2, 2),
                                           colour(A::background, 3),
                                           reference(A::font, 4, fonts),
                                           number(A::options, 1, 5),
                                           reference(A::variable, 6, strings),
                                           FieldRow_s{A::justification, 1, 7, false, K::justification, 0},
                                           text(2),
                                           count(K::macros)};
constexpr std::array outputNumberFields = {number(A::width, 2, 1),
                                           number(A::height, 2, 2),
                                           colour(A::background, 3),
                                           reference(A::font, 4, fonts),
                                           number(A::options, 1, 5),
                                           reference(A::variable, 6, numbers),
                                           fixed(number(A::value, 4, 12)),
                                           signedNumber(A::offset, 7),
                                           scale(8),
                                           limited(A::decimals, 9, mostDecimals),
                                           limited(A::format, 10, 1),
                                           FieldRow_s{A::justification, 1, 11, false, K::justification, 0},
                                           count(K::macros)};
constexpr std::array lineFields = {reference(A::lineAttributes, 1, lines), number(A::width, 2, 2),
                                   number(A::height, 2, 3), limited(A::direction, 4, 1), count(K::macros)};
constexpr std::array rectangleFields = {reference(A::lineAttributes, 1, lines),
                                        number(A::width, 2, 2),
                                        number(A::height, 2, 3),
                                        limited(A::suppression, 4, 15),
                                        reference(A::fillAttributes, 5, fills),
                                        count(K::macros)};
constexpr std::array ellipseFields = {reference(A::lineAttributes, 1, lines),
                                      number(A::width, 2, 2),
                                      number(A::height, 2, 3),
                                      limited(A::ellipseType, 4, 3),
                                      limited(A::start, 5, angle),
                                      limited(A::end, 6, angle),
                                      reference(A::fillAttributes, 7, fills),
                                      count(K::macros)};
constexpr std::array polygonFields = {number(A::width, 2, 1),
                                      number(A::height, 2, 2),
                                      reference(A::lineAttributes, 3, lines),
                                      reference(A::fillAttributes, 4, fills),
                                      limited(A::polygonType, 5, 3),
                                      count(K::points),
                                      count(K::macros)};
constexpr std::array meterFields = {number(A::width, 2, 1),
                                    colour(A::needleColour, 2),
                                    colour(A::borderColour, 3),
                                    colour(A::arcColour, 4),
                                    number(A::options, 1, 5),
                                    number(A::ticks, 1, 6),
                                    limited(A::start, 7, angle),
                                    limited(A::end, 8, angle),
                                    number(A::minimum, 2, 9),
                                    number(A::maximum, 2, 10),
                                    reference(A::variable, 11, numbers),
                                    fixed(number(A::value, 2, 12)),
                                    count(K::macros)};
constexpr std::array linearBarGraphFields = {number(A::width, 2, 1),
                                             number(A::height, 2, 2),
                                             colour(A::colour, 3),
                                             colour(A::targetColour, 4),
                                             number(A::options, 1, 5),
                                             number(A::ticks, 1, 6),
                                             number(A::minimum, 2, 7),
                                             number(A::maximum, 2, 8),
                                             reference(A::variable, 9, numbers),
                                             fixed(number(A::value, 2, 12)),
                                             reference(A::targetVariable, 10, numbers),
                                             number(A::target, 2, 11),
                                             count(K::macros)};
constexpr std::array archedBarGraphFields = {number(A::width, 2, 1),
                                             number(A::height, 2, 2),
                                             colour(A::colour, 3),
                                             colour(A::targetColour, 4),
                                             number(A::options, 1, 5),
                                             limited(A::start, 6, angle),
                                             limited(A::end, 7, angle),
                                             number(A::barWidth, 2, 8),
                                             number(A::minimum, 2, 9),
                                             number(A::maximum, 2, 10),
                                             reference(A::variable, 11, numbers),
                                             fixed(number(A::value, 2, 14)),
                                             reference(A::targetVariable, 12, numbers),
                                             number(A::target, 2, 13),
                                             count(K::macros)};
constexpr std::array pictureGraphicFields = {number(A::width, 2, 1),
                                             fixed(number(A::actualWidth, 2, 4)),
                                             fixed(number(A::actualHeight, 2, 5)),
                                             fixed(limited(A::format, 6, 2)),
                                             number(A::options, 1, 2),
                                             colour(A::transparency, 3),
                                             count(K::bytes, 4),
                                             count(K::macros)};
constexpr std::array numberVariableFields = {fixed(number(A::value, 4, 1))};
constexpr std::array stringVariableFields = {text(2)};
constexpr std::array fontAttributesFields = {colour(A::colour, 1), FieldRow_s{A::fontSize, 1, 2, false, K::fontSize, 0},
                                             FieldRow_s{A::fontType, 1, 3, false, K::fontType, 0},
                                             number(A::style, 1, 4), count(K::macros)};
constexpr std::array lineAttributesFields = {colour(A::colour, 1), number(A::lineWidth, 1, 2), number(A::art, 2, 3),
                                             count(K::macros)};
constexpr std::array fillAttributesFields = {limited(A::fillType, 1, 3), colour(A::colour, 2),
                                             reference(A::pattern, 3, typeBit(T::pictureGraphic)), count(K::macros)};
constexpr std::array inputAttributesFields = {fixed(limited(A::validation, 1, 1)), text(1), count(K::macros)};
constexpr std::array objectPointerFields = {fixed(reference(A::value, 1, drawn | keys))};
constexpr std::array macroFields = {count(K::bytes, 2)};
constexpr std::array outputListFields = {
    number(A::width, 2, 1),        number(A::height, 2, 2), reference(A::variable, 3, numbers),
    fixed(number(A::value, 1, 4)), count(K::ids),           count(K::macros)};

// Objects that are kept, and otherwise left alone.
constexpr std::array auxiliaryFunctionFields = {number(A::none, 1, 0), number(A::none, 1, 0), count(K::objects)};
constexpr std::array auxiliaryInput1Fields = {number(A::none, 1, 0), number(A::none, 1, 0), number(A::none, 1, 0),
                                              count(K::objects)};
constexpr std::array auxiliaryDesignatorFields = {number(A::none, 1, 0), number(A::none, 2, 0)};
constexpr std::array windowMaskFields = {number(A::none, 1, 0), number(A::none, 1, 0), number(A::none, 1, 0),
                                         number(A::none, 1, 0), number(A::none, 1, 0), number(A::none, 2, 0),
                                         number(A::none, 2, 0), number(A::none, 2, 0), count(K::ids),
                                         count(K::objects),     count(K::macros)};
constexpr std::array keyGroupFields = {number(A::none, 1, 0), number(A::none, 2, 0), number(A::none, 2, 0),
                                       count(K::ids), count(K::macros)};
constexpr std::array graphicsContextFields = {
    number(A::none, 2, 0), number(A::none, 2, 0), number(A::none, 2, 0), number(A::none, 2, 0), number(A::none, 2, 0),
    number(A::none, 2, 0), number(A::none, 4, 0), number(A::none, 2, 0), number(A::none, 2, 0), number(A::none, 1, 0),
    number(A::none, 1, 0), number(A::none, 2, 0), number(A::none, 2, 0), number(A::none, 2, 0), number(A::none, 1, 0),
    number(A::none, 1, 0), number(A::none, 1, 0)};
constexpr std::array extendedInputAttributesFields = {number(A::none, 1, 0), count(K::ranges)};
constexpr std::array colourMapFields = {count(K::bytes, 2)};
constexpr std::array labelListFields = {count(K::labels, 2)};

template <std::size_t size>
constexpr TypeRow_s row(T type, const char* name, int fromVersion, const std::array<FieldRow_s, size>& fields,
                        uint64_t childTypes = 0) {
  return {type, name, fromVersion, fields.data(), size, childTypes};
}

constexpr std::array typeRows = {
    row(T::workingSet, "working set", 2, workingSetFields, drawn),
    row(T::dataMask, "data mask", 2, dataMaskFields, drawn),
    row(T::alarmMask, "alarm mask", 2, alarmMaskFields, drawn),
    row(T::container, "container", 2, containerFields, drawn),
    row(T::softKeyMask, "soft key mask", 2, softKeyMaskFields, keys),
    row(T::key, "key", 2, keyFields, drawn),
    row(T::button, "button", 2, buttonFields, drawn),
    row(T::inputBoolean, "input boolean", 2, inputBooleanFields),
    row(T::inputString, "input string", 2, inputStringFields),
    row(T::inputNumber, "input number", 2, inputNumberFields),
    row(T::inputList, "input list", 2, inputListFields, drawn),
    row(T::outputString, "output string", 2, outputStringFields),
    row(T::outputNumber, "output number", 2, outputNumberFields),
    row(T::line, "line", 2, lineFields),
    row(T::rectangle, "rectangle", 2, rectangleFields),
    row(T::ellipse, "ellipse", 2, ellipseFields),
    row(T::polygon, "polygon", 2, polygonFields),
    row(T::meter, "meter", 2, meterFields),
    row(T::linearBarGraph, "linear bar graph", 2, linearBarGraphFields),
    row(T::archedBarGraph, "arched bar graph", 2, archedBarGraphFields),
    row(T::pictureGraphic, "picture graphic", 2, pictureGraphicFields),
    row(T::numberVariable, "number variable", 2, numberVariableFields),
    row(T::stringVariable, "string variable", 2, stringVariableFields),
    row(T::fontAttributes, "font attributes", 2, fontAttributesFields),
    row(T::lineAttributes, "line attributes", 2, lineAttributesFields),
    row(T::fillAttributes, "fill attributes", 2, fillAttributesFields),
    row(T::inputAttributes, "input attributes", 2, inputAttributesFields),
    row(T::objectPointer, "object pointer", 2, objectPointerFields),
    row(T::macro, "macro", 2, macroFields),
    row(T::auxiliaryFunction1, "auxiliary function type 1", 2, auxiliaryFunctionFields, drawn),
    row(T::auxiliaryInput1, "auxiliary input type 1", 2, auxiliaryInput1Fields, drawn),
    row(T::auxiliaryFunction2, "auxiliary function type 2", 3, auxiliaryFunctionFields, drawn),
    row(T::auxiliaryInput2, "auxiliary input type 2", 3, auxiliaryFunctionFields, drawn),
    row(T::auxiliaryDesignator, "auxiliary control designator", 3, auxiliaryDesignatorFields),
    row(T::windowMask, "window mask", 4, windowMaskFields, ~uint64_t{0}),
    row(T::keyGroup, "key group", 4, keyGroupFields, keys),
    row(T::graphicsContext, "graphics context", 4, graphicsContextFields),
    row(T::outputList, "output list", 4, outputListFields, drawn),
    row(T::extendedInputAttributes, "extended input attributes", 4, extendedInputAttributesFields),
    row(T::colourMap, "colour map", 4, colourMapFields),
    row(T::labelList, "object label list", 4, labelListFields),
};

// In the order of Attribute_e.
constexpr const char* attributeNames[] = {
    "",
    "background",
    "selectable",
    "active mask",
    "soft key mask",
    "priority",
    "sound",
    "width",
    "height",
    "hidden",
    "key code",
    "border colour",
    "options",
    "font",
    "variable",
    "value",
    "enabled",
    "input attributes",
    "justification",
    "text",
    "minimum",
    "maximum",
    "offset",
    "scale",
    "decimals",
    "format",
    "input options",
    "line attributes",
    "direction",
    "suppression",
    "fill attributes",
    "ellipse type",
    "start",
    "end",
    "polygon type",
    "needle colour",
    "arc colour",
    "ticks",
    "colour",
    "target colour",
    "target variable",
    "target",
    "bar width",
    "actual width",
    "actual height",
    "transparency",
    "font size",
    "font type",
    "style",
    "line width",
    "art",
    "fill type",
    "pattern",
    "validation",
};
static_assert(std::size(attributeNames) == static_cast<std::size_t>(Attribute_e::validation) + 1);

} // namespace

const char* attributeName(Attribute_e attribute) {
  return attributeNames[static_cast<std::size_t>(attribute)];
}

const TypeRow_s* typeRow(uint8_t type) {
  const auto* found = std::find_if(typeRows.begin(), typeRows.end(),
                                   [type](const TypeRow_s& row) { return static_cast<uint8_t>(row.type) == type; });
  return found == typeRows.end() ? nullptr : found;
}

bool isSupported(ObjectType_e type, int version) {
  return type <= T::macro || (type == T::outputList && version >= 4);
}
