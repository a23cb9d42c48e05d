// The screen of a spreader: one mask, one key.
#pragma once

#include <IsoAgLib/isoaglib.h>

// An object and its record: what the pool says of it at first, and what the screen holds later.
template <class Object_c, class Record_s>
struct Part_s {
  Part_s(const Record_s& values) : record(values) { object.init(&record); }

  Object_c object;
  Record_s record;
};

struct Screen_s {
  static constexpr uint8_t black = 0, white = 1, silver = 7;
  static constexpr uint8_t startKeyCode = 1;

  Part_s<IsoAgLib::iVtObjectFontAttributes_c, IsoAgLib::iVtObjectFontAttributes_s> latin{{{1301}, black, 2, 0, 0}};

  // What is shown. A number is shown as (value + offset) * scale: 82 is 8.2 km/h.
  char stateText[17] = {};
  Part_s<IsoAgLib::iVtObjectOutputString_c, IsoAgLib::iVtObjectOutputString_s> state{
      {{1401}, 160, 12, white, &latin.object, 0, nullptr, 0, 16, stateText}};
  char cropText[17] = {};
  Part_s<IsoAgLib::iVtObjectOutputString_c, IsoAgLib::iVtObjectOutputString_s> crop{
      {{1402}, 160, 12, white, &latin.object, 0, nullptr, 0, 16, cropText}};
  Part_s<IsoAgLib::iVtObjectOutputNumber_c, IsoAgLib::iVtObjectOutputNumber_s> speed{
      {{1403}, 64, 12, white, &latin.object, 0, nullptr, 0, 0, 0.1F, 1, 0, 2}};
  Part_s<IsoAgLib::iVtObjectOutputNumber_c, IsoAgLib::iVtObjectOutputNumber_s> range{
      {{1404}, 64, 12, white, &latin.object, 0, nullptr, 0, 0, 0.1F, 1, 0, 2}};

  // What the operator enters: kg/ha, 50 to 400, 200 at first.
  Part_s<IsoAgLib::iVtObjectInputNumber_c, IsoAgLib::iVtObjectInputNumber_s> rate{
      {{1501}, 64, 12, white, &latin.object, 0, nullptr, 200, 50, 400, 0, 1.0F, 0, 0, 2, 1}};

  // The key, the mask with all of it, and the working set that owns the mask.
  char startText[6] = "Start";
  Part_s<IsoAgLib::iVtObjectOutputString_c, IsoAgLib::iVtObjectOutputString_s> startLabel{
      {{1302}, 40, 12, silver, &latin.object, 1, nullptr, 0, 5, startText}};
  IsoAgLib::iVtChild_s startChildren[1] = {{&startLabel.object, 4, 8}};
  Part_s<IsoAgLib::iVtObjectKey_c, IsoAgLib::iVtObjectKey_s> startKey{{{1201}, silver, startKeyCode, 1, startChildren}};
  IsoAgLib::iVtObject_c* keys[1] = {&startKey.object};
  Part_s<IsoAgLib::iVtObjectSoftKeyMask_c, IsoAgLib::iVtObjectSoftKeyMask_s> softKeys{{{1200}, silver, 1, keys}};
  IsoAgLib::iVtChild_s places[5] = {{&state.object, 8, 8},
                                    {&crop.object, 8, 28},
                                    {&speed.object, 8, 48},
                                    {&range.object, 8, 68},
                                    {&rate.object, 8, 88}};
  Part_s<IsoAgLib::iVtObjectDataMask_c, IsoAgLib::iVtObjectDataMask_s> mask{
      {{1100}, white, &softKeys.object, 5, places}};
  IsoAgLib::iVtChild_s badge[1] = {{&startLabel.object, 0, 0}};
  Part_s<IsoAgLib::iVtObjectWorkingSet_c, IsoAgLib::iVtObjectWorkingSet_s> workingSet{
      {{1000}, white, 1, &mask.object, 1, badge, 1, "en"}};

  // All of them, as a pool takes them.
  __IsoAgLib::vtObject_c* all[11] = {&latin.object,    &state.object, &crop.object,       &speed.object,
                                     &range.object,    &rate.object,  &startLabel.object, &startKey.object,
                                     &softKeys.object, &mask.object,  &workingSet.object};
};
