#include "VtPoolLayout.h"

#include "IsoAgLib/vtrecords.h"

#include <array>

using namespace IsoAgLib;

namespace IsoBusHost {

namespace {

constexpr VtTypes_t shown = vtTypes(VtContainer, VtOutputString, VtOutputNumber, VtOutputList, VtRectangle, VtPolygon,
                                    VtMeter, VtLinearBarGraph, VtObjectPointer);
constexpr VtTypes_t inputs = vtTypes(VtInputBoolean, VtInputString, VtInputNumber, VtInputList);
constexpr VtTypes_t keys = vtTypes(VtKey, VtObjectPointer);
constexpr VtTypes_t fonts = vtTypes(VtFontAttributes);
constexpr VtTypes_t lines = vtTypes(VtLineAttributes);
constexpr VtTypes_t fills = vtTypes(VtFillAttributes);
constexpr VtTypes_t numberVariables = vtTypes(VtNumberVariable);
constexpr VtTypes_t stringVariables = vtTypes(VtStringVariable);
constexpr VtTypes_t nothing = vtTypes(); // no object here has the type that may stand there

constexpr VtField_s field(VtFieldKind_e kind, uint16_t position) {
  return {kind, position, 0, "", nothing, false, BackgroundColour};
}

constexpr VtField_s number8(uint16_t position) {
  return field(VtFieldKind_e::number8, position);
}

constexpr VtField_s number16(uint16_t position) {
  return field(VtFieldKind_e::number16, position);
}

constexpr VtField_s number32(uint16_t position) {
  return field(VtFieldKind_e::number32, position);
}

constexpr VtField_s colour(uint16_t position, e_vtColour kind) {
  return {VtFieldKind_e::colour, position, 0, "", nothing, false, kind};
}

constexpr VtField_s reference(uint16_t position, const char* name, VtTypes_t types) {
  return {VtFieldKind_e::reference, position, 0, name, types, true, BackgroundColour};
}

constexpr VtField_s macros() {
  return field(VtFieldKind_e::macros, 0);
}

constexpr VtField_s text(VtFieldKind_e kind, uint16_t position, uint16_t lengthPosition) {
  return {kind, position, lengthPosition, "", nothing, false, BackgroundColour};
}

constexpr VtField_s list(VtFieldKind_e kind, uint16_t position, uint16_t countPosition, const char* name,
                         VtTypes_t types = nothing, bool mayBeEmpty = false) {
  return {kind, position, countPosition, name, types, mayBeEmpty, BackgroundColour};
}

constexpr VtField_s workingSetFields[] = {
    colour(ISOAGLIB_FIELD_POSITION(iVtObjectWorkingSet_s, backgroundColour), BackgroundColour),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectWorkingSet_s, selectable)),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectWorkingSet_s, activeMask), "active mask", vtTypes(VtDataMask)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectWorkingSet_s, numberOfChildren)),
    macros(),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectWorkingSet_s, numberOfLanguages)),
    list(VtFieldKind_e::children, ISOAGLIB_FIELD_POSITION(iVtObjectWorkingSet_s, children),
         ISOAGLIB_FIELD_POSITION(iVtObjectWorkingSet_s, numberOfChildren), "child", shown),
    list(VtFieldKind_e::languages, ISOAGLIB_FIELD_POSITION(iVtObjectWorkingSet_s, languages),
         ISOAGLIB_FIELD_POSITION(iVtObjectWorkingSet_s, numberOfLanguages), "language"),
};

constexpr VtField_s dataMaskFields[] = {
    colour(ISOAGLIB_FIELD_POSITION(iVtObjectDataMask_s, backgroundColour), BackgroundColour),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectDataMask_s, softKeyMask), "soft key mask", vtTypes(VtSoftKeyMask)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectDataMask_s, numberOfChildren)),
    macros(),
    list(VtFieldKind_e::children, ISOAGLIB_FIELD_POSITION(iVtObjectDataMask_s, children),
         ISOAGLIB_FIELD_POSITION(iVtObjectDataMask_s, numberOfChildren), "child", shown | inputs),
};

constexpr VtField_s containerFields[] = {
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectContainer_s, width)),
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectContainer_s, height)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectContainer_s, hidden)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectContainer_s, numberOfChildren)),
    macros(),
    list(VtFieldKind_e::children, ISOAGLIB_FIELD_POSITION(iVtObjectContainer_s, children),
         ISOAGLIB_FIELD_POSITION(iVtObjectContainer_s, numberOfChildren), "child", shown | inputs),
};

constexpr VtField_s softKeyMaskFields[] = {
    colour(ISOAGLIB_FIELD_POSITION(iVtObjectSoftKeyMask_s, backgroundColour), BackgroundColour),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectSoftKeyMask_s, numberOfKeys)),
    macros(),
    list(VtFieldKind_e::objects, ISOAGLIB_FIELD_POSITION(iVtObjectSoftKeyMask_s, keys),
         ISOAGLIB_FIELD_POSITION(iVtObjectSoftKeyMask_s, numberOfKeys), "key", keys),
};

constexpr VtField_s keyFields[] = {
    colour(ISOAGLIB_FIELD_POSITION(iVtObjectKey_s, backgroundColour), BackgroundColour),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectKey_s, keyCode)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectKey_s, numberOfChildren)),
    macros(),
    list(VtFieldKind_e::children, ISOAGLIB_FIELD_POSITION(iVtObjectKey_s, children),
         ISOAGLIB_FIELD_POSITION(iVtObjectKey_s, numberOfChildren), "child", shown),
};

constexpr VtField_s inputBooleanFields[] = {
    colour(ISOAGLIB_FIELD_POSITION(iVtObjectInputBoolean_s, backgroundColour), BackgroundColour),
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectInputBoolean_s, width)),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectInputBoolean_s, fontAttributes), "font attributes", fonts),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectInputBoolean_s, variableReference), "variable", numberVariables),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectInputBoolean_s, value)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectInputBoolean_s, enabled)),
    macros(),
};

constexpr VtField_s inputStringFields[] = {
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectInputString_s, width)),
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectInputString_s, height)),
    colour(ISOAGLIB_FIELD_POSITION(iVtObjectInputString_s, backgroundColour), BackgroundColour),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectInputString_s, fontAttributes), "font attributes", fonts),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectInputString_s, inputAttributes), "input attributes", nothing),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectInputString_s, options)),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectInputString_s, variableReference), "variable", stringVariables),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectInputString_s, justification)),
    text(VtFieldKind_e::text8, ISOAGLIB_FIELD_POSITION(iVtObjectInputString_s, value),
         ISOAGLIB_FIELD_POSITION(iVtObjectInputString_s, length)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectInputString_s, enabled)),
    macros(),
};

constexpr VtField_s inputNumberFields[] = {
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, width)),
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, height)),
    colour(ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, backgroundColour), BackgroundColour),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, fontAttributes), "font attributes", fonts),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, options)),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, variableReference), "variable", numberVariables),
    number32(ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, value)),
    number32(ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, minimum)),
    number32(ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, maximum)),
    number32(ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, offset)),
    number32(ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, scale)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, numberOfDecimals)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, format)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, justification)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, options2)),
    macros(),
};

constexpr VtField_s inputListFields[] = {
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectInputList_s, width)),
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectInputList_s, height)),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectInputList_s, variableReference), "variable", numberVariables),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectInputList_s, value)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectInputList_s, numberOfItems)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectInputList_s, options)),
    macros(),
    list(VtFieldKind_e::objects, ISOAGLIB_FIELD_POSITION(iVtObjectInputList_s, items),
         ISOAGLIB_FIELD_POSITION(iVtObjectInputList_s, numberOfItems), "item", shown, true),
};

constexpr VtField_s outputStringFields[] = {
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectOutputString_s, width)),
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectOutputString_s, height)),
    colour(ISOAGLIB_FIELD_POSITION(iVtObjectOutputString_s, backgroundColour), BackgroundColour),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectOutputString_s, fontAttributes), "font attributes", fonts),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectOutputString_s, options)),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectOutputString_s, variableReference), "variable", stringVariables),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectOutputString_s, justification)),
    text(VtFieldKind_e::text16, ISOAGLIB_FIELD_POSITION(iVtObjectOutputString_s, value),
         ISOAGLIB_FIELD_POSITION(iVtObjectOutputString_s, length)),
    macros(),
};

constexpr VtField_s outputNumberFields[] = {
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, width)),
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, height)),
    colour(ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, backgroundColour), BackgroundColour),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, fontAttributes), "font attributes", fonts),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, options)),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, variableReference), "variable", numberVariables),
    number32(ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, value)),
    number32(ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, offset)),
    number32(ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, scale)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, numberOfDecimals)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, format)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, justification)),
    macros(),
};

constexpr VtField_s rectangleFields[] = {
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectRectangle_s, lineAttributes), "line attributes", lines),
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectRectangle_s, width)),
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectRectangle_s, height)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectRectangle_s, lineSuppression)),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectRectangle_s, fillAttributes), "fill attributes", fills),
    macros(),
};

constexpr VtField_s polygonFields[] = {
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectPolygon_s, width)),
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectPolygon_s, height)),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectPolygon_s, lineAttributes), "line attributes", lines),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectPolygon_s, fillAttributes), "fill attributes", fills),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectPolygon_s, polygonType)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectPolygon_s, numberOfPoints)),
    macros(),
    list(VtFieldKind_e::points, ISOAGLIB_FIELD_POSITION(iVtObjectPolygon_s, points),
         ISOAGLIB_FIELD_POSITION(iVtObjectPolygon_s, numberOfPoints), "point"),
};

constexpr VtField_s meterFields[] = {
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectMeter_s, width)),
    colour(ISOAGLIB_FIELD_POSITION(iVtObjectMeter_s, needleColour), NeedleColour),
    colour(ISOAGLIB_FIELD_POSITION(iVtObjectMeter_s, borderColour), LineColour),
    colour(ISOAGLIB_FIELD_POSITION(iVtObjectMeter_s, arcAndTickColour), ArcAndTickColour),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectMeter_s, options)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectMeter_s, numberOfTicks)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectMeter_s, startAngle)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectMeter_s, endAngle)),
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectMeter_s, minimum)),
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectMeter_s, maximum)),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectMeter_s, variableReference), "variable", numberVariables),
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectMeter_s, value)),
    macros(),
};

constexpr VtField_s linearBarGraphFields[] = {
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectLinearBarGraph_s, width)),
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectLinearBarGraph_s, height)),
    colour(ISOAGLIB_FIELD_POSITION(iVtObjectLinearBarGraph_s, colour), BarGraphColour),
    colour(ISOAGLIB_FIELD_POSITION(iVtObjectLinearBarGraph_s, targetLineColour), TargetLineColour),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectLinearBarGraph_s, options)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectLinearBarGraph_s, numberOfTicks)),
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectLinearBarGraph_s, minimum)),
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectLinearBarGraph_s, maximum)),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectLinearBarGraph_s, variableReference), "variable", numberVariables),
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectLinearBarGraph_s, value)),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectLinearBarGraph_s, targetVariableReference), "target variable",
              numberVariables),
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectLinearBarGraph_s, targetValue)),
    macros(),
};

constexpr VtField_s numberVariableFields[] = {
    number32(ISOAGLIB_FIELD_POSITION(iVtObjectNumberVariable_s, value)),
};

constexpr VtField_s stringVariableFields[] = {
    text(VtFieldKind_e::text16, ISOAGLIB_FIELD_POSITION(iVtObjectStringVariable_s, value),
         ISOAGLIB_FIELD_POSITION(iVtObjectStringVariable_s, length)),
};

constexpr VtField_s fontAttributesFields[] = {
    colour(ISOAGLIB_FIELD_POSITION(iVtObjectFontAttributes_s, colour), LineColour),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectFontAttributes_s, size)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectFontAttributes_s, type)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectFontAttributes_s, style)),
    macros(),
};

constexpr VtField_s lineAttributesFields[] = {
    colour(ISOAGLIB_FIELD_POSITION(iVtObjectLineAttributes_s, colour), LineColour),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectLineAttributes_s, width)),
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectLineAttributes_s, art)),
    macros(),
};

constexpr VtField_s fillAttributesFields[] = {
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectFillAttributes_s, type)),
    colour(ISOAGLIB_FIELD_POSITION(iVtObjectFillAttributes_s, colour), BackgroundColour),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectFillAttributes_s, pattern), "pattern", nothing),
    macros(),
};

constexpr VtField_s objectPointerFields[] = {
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectObjectPointer_s, value), "value", shown | inputs | keys),
};

constexpr VtField_s outputListFields[] = {
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectOutputList_s, width)),
    number16(ISOAGLIB_FIELD_POSITION(iVtObjectOutputList_s, height)),
    reference(ISOAGLIB_FIELD_POSITION(iVtObjectOutputList_s, variableReference), "variable", numberVariables),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectOutputList_s, value)),
    number8(ISOAGLIB_FIELD_POSITION(iVtObjectOutputList_s, numberOfItems)),
    macros(),
    list(VtFieldKind_e::objects, ISOAGLIB_FIELD_POSITION(iVtObjectOutputList_s, items),
         ISOAGLIB_FIELD_POSITION(iVtObjectOutputList_s, numberOfItems), "item", shown, true),
};

template <std::size_t size>
constexpr VtLayout_s layout(iVtObjectType_t type, const char* name, const VtField_s (&fields)[size]) {
  return {type, name, fields, size};
}

constexpr std::array<VtLayout_s, 22> layouts = {
    layout(VtWorkingSet, "working set", workingSetFields),
    layout(VtDataMask, "data mask", dataMaskFields),
    layout(VtContainer, "container", containerFields),
    layout(VtSoftKeyMask, "soft key mask", softKeyMaskFields),
    layout(VtKey, "key", keyFields),
    layout(VtInputBoolean, "input boolean", inputBooleanFields),
    layout(VtInputString, "input string", inputStringFields),
    layout(VtInputNumber, "input number", inputNumberFields),
    layout(VtInputList, "input list", inputListFields),
    layout(VtOutputString, "output string", outputStringFields),
    layout(VtOutputNumber, "output number", outputNumberFields),
    layout(VtRectangle, "rectangle", rectangleFields),
    layout(VtPolygon, "polygon", polygonFields),
    layout(VtMeter, "meter", meterFields),
    layout(VtLinearBarGraph, "linear bar graph", linearBarGraphFields),
    layout(VtNumberVariable, "number variable", numberVariableFields),
    layout(VtStringVariable, "string variable", stringVariableFields),
    layout(VtFontAttributes, "font attributes", fontAttributesFields),
    layout(VtLineAttributes, "line attributes", lineAttributesFields),
    layout(VtFillAttributes, "fill attributes", fillAttributesFields),
    layout(VtObjectPointer, "object pointer", objectPointerFields),
    layout(VtOutputList, "output list", outputListFields),
};

} // namespace

const VtLayout_s* vtLayoutOf(iVtObjectType_t type) {
  for (const VtLayout_s& candidate : layouts) {
    if (candidate.type == type) {
      return &candidate;
    }
  }
  return nullptr;
}

} // namespace IsoBusHost
