// Changes attributes of Virtual Terminal objects, one call a change, and puts a command on the bus only where the
// object does not hold the wanted value already. Screens can be refreshed as often as an application likes.
//
//   Order of use: the object has its attribute record; a change goes to the bus once its pool is on the VT.
//   Threads: the thread that drives the stack.
//   State: none beyond the objects' attribute records.
//
//   Every setter
//     Takes    object: the one to change; it must have an attribute record
//              value: compared with the one in the record; equal means that nothing is sent and nothing stored
//              force: sends without comparing
//     Fails    silently: what the stack answers is dropped. An object without an attribute record is an assertion of
//              the stack.
//     Effects  the wanted value stands in the record, unless something else is said
//     Source   ISO 11783-6, Change Numeric Value, Change Attribute, Change List Item, Enable/Disable Object, Hide/Show
//              Object, Change Active Mask, Change Soft Key Mask
//
//   Values of numbers, bars, meters, lists and booleans may take the place of a command for the same object that still
//   waits to be sent; nothing else may.
//
//   A literal 0 or nullptr does not tell a value or one kind of reference from another: give it its type.
#pragma once

#include "ZemoExport.h"
#include "ZemoPlatform.h"

// SetVtObject: sets a value; that of a list is the index of the item.
//
//   Kept     a boolean is compared as set or not set, whatever number the record holds
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectLinearBarGraph_c& object, unsigned short value, bool force);
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectMeter_c& object, unsigned short value, bool force);
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectOutputList_c& object, unsigned char value, bool force);
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectInputList_c& object, unsigned char value, bool force);
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectInputBoolean_c& object, bool value, bool force);
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectInputNumber_c& object, unsigned int value, bool force);
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectOutputNumber_c& object, unsigned int value, bool force);
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectNumberVariable_c& object, unsigned int value, bool force);

// SetVtObject: sets a reference to another object.
//
//   Takes    the object to refer to, or null; objects are compared by identity, not by what they hold
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectObjectPointer_c& object, IsoAgLib::iVtObject_c* value, bool force);
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectPolygon_c& object, IsoAgLib::iVtObjectFillAttributes_c* fill,
                             bool force);
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectRectangle_c& object, IsoAgLib::iVtObjectFillAttributes_c* fill,
                             bool force);
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectMeter_c& object, IsoAgLib::iVtObjectNumberVariable_c* variable,
                             bool force);
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectOutputNumber_c& object, IsoAgLib::iVtObjectFontAttributes_c* font,
                             bool force);
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectOutputNumber_c& object, IsoAgLib::iVtObjectNumberVariable_c* variable,
                             bool force);
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectInputString_c& object, IsoAgLib::iVtObjectStringVariable_c* variable,
                             bool force);
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectOutputString_c& object, IsoAgLib::iVtObjectFontAttributes_c* font,
                             bool force);
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectOutputString_c& object, IsoAgLib::iVtObjectStringVariable_c* variable,
                             bool force);
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectDataMask_c& object, IsoAgLib::iVtObjectSoftKeyMask_c* softKeyMask,
                             bool force);

// SetVtObject: changes the mask that is shown.
//
//   Kept     sends always, also where the mask is active already; force makes no difference
ZEMO_EXPORT void SetVtObject(IsoAgLib::iVtObjectWorkingSet_c& object, IsoAgLib::iVtObjectDataMask_c* mask, bool force);

// SetVtDecimals, SetVtOffset, SetVtScale: set how a number is shown: (value + offset) * scale.
//
//   Takes    scale: compared as a number: 0 equals -0, and NaN equals nothing, so that NaN is always sent
ZEMO_EXPORT void SetVtDecimals(IsoAgLib::iVtObjectOutputNumber_c& object, unsigned char decimals, bool force);
ZEMO_EXPORT void SetVtDecimals(IsoAgLib::iVtObjectInputNumber_c& object, unsigned char decimals, bool force);
ZEMO_EXPORT void SetVtOffset(IsoAgLib::iVtObjectOutputNumber_c& object, int offset, bool force);
ZEMO_EXPORT void SetVtOffset(IsoAgLib::iVtObjectInputNumber_c& object, int offset, bool force);
ZEMO_EXPORT void SetVtScale(IsoAgLib::iVtObjectOutputNumber_c& object, float scale, bool force);
ZEMO_EXPORT void SetVtScale(IsoAgLib::iVtObjectInputNumber_c& object, float scale, bool force);

// SetVtObjectColour, SetVtBackColor: set a colour, and send the one that the VT of the object can show in its place.
//
//   Kept     the record keeps the wanted colour: a colour is compared with the one that was wanted before, not with the
//            one that is shown
ZEMO_EXPORT void SetVtObjectColour(IsoAgLib::iVtObjectLinearBarGraph_c& object, unsigned char colour, bool force);
ZEMO_EXPORT void SetVtBackColor(IsoAgLib::iVtObjectKey_c& object, unsigned char colour, bool force);

// SetVtListIndex: puts an item into a list.
//
//   Takes    index: of the item, from 0
//            item: compared with the present one by object ID; null empties the place, and equals an empty one
ZEMO_EXPORT void SetVtListIndex(IsoAgLib::iVtObjectInputList_c& object, unsigned char index,
                                IsoAgLib::iVtObject_c* item, bool force);

// SetVtObjectEnable: enables or disables a list.
//
//   Kept     skips where the options of the list are 0 and it is to be enabled, or 1 and it is to be disabled: what is
//            left out is the change, what is sent is what the list is already
//
//   options   enable         options   disable
//   0         nothing        0         disables
//   1         enables        1         nothing
//   3         enables        3         disables
ZEMO_EXPORT void SetVtObjectEnable(IsoAgLib::iVtObjectInputList_c& object, bool enable, bool force);

// SetVtEnableObject, SetVtDisableObject: enable an input object, disable it.
//
//   Takes    b: whether the record is changed too, and what the record is compared with
//   Kept     both skip a number whose enabled bit equals b. For a boolean, enabling skips where "enabled" equals b and
//            disabling where "not enabled" equals b.
//
//                         number enabled   not enabled    boolean enabled   not enabled
//   enable, b true        nothing          enables        nothing           enables
//   enable, b false       enables          nothing        enables           nothing
//   disable, b true       nothing          disables       disables          nothing
//   disable, b false      disables         nothing        nothing           disables
ZEMO_EXPORT void SetVtEnableObject(IsoAgLib::iVtObjectInputNumber_c& object, bool b, bool force);
ZEMO_EXPORT void SetVtDisableObject(IsoAgLib::iVtObjectInputNumber_c& object, bool b, bool force);
ZEMO_EXPORT void SetVtEnableObject(IsoAgLib::iVtObjectInputBoolean_c& object, bool b, bool force);
ZEMO_EXPORT void SetVtDisableObject(IsoAgLib::iVtObjectInputBoolean_c& object, bool b, bool force);

// ShowVtContainer: shows a container or hides it.
ZEMO_EXPORT void ShowVtContainer(IsoAgLib::iVtObjectContainer_c& object, bool show, bool force);

// GetVtValue: returns the value in the record; sends nothing.
ZEMO_EXPORT unsigned int GetVtValue(IsoAgLib::iVtObjectNumberVariable_c& object);
ZEMO_EXPORT unsigned int GetVtValue(IsoAgLib::iVtObjectInputNumber_c& object);
