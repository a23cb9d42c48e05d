// The object pool of a sprayer: one mask to work with and one to set it up, 240 x 240 pixels, for a VT of version 4.
#pragma once

#include <IsoAgLib/isoaglib.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

// Part_s: a VT object and its attribute record.
template <class Object_c>
struct Part_s {
  using Record_s = std::remove_reference_t<decltype(std::declval<Object_c&>().record())>;

  Part_s(const Record_s& values) : record(values) { object.init(&record); } // NOLINT: a record is all it takes

  Object_c object;
  Record_s record;
};

// Text_s: the storage of a text of some bytes, and its end.
template <std::size_t size>
struct Text_s {
  static constexpr uint16_t bytes = size;
  char text[size + 1] = {};
};

namespace ScreenColour {
constexpr uint8_t black = 0;
constexpr uint8_t white = 1;
constexpr uint8_t green = 2;
constexpr uint8_t silver = 7;
constexpr uint8_t grey = 8;
constexpr uint8_t red = 12;
constexpr uint8_t yellow = 14;
} // namespace ScreenColour

namespace ScreenKey {
constexpr uint8_t page = 1;  // the other mask
constexpr uint8_t alarm = 2; // takes an alarm away
} // namespace ScreenKey

// What the application is doing: the index into the list `activity`.
enum class Activity_e : uint8_t {
  transport = 0,
  spraying = 1,
  turning = 2,
};

// SprayerScreen_s: it stays where it is, since the records refer to each other.
struct SprayerScreen_s {
  static constexpr std::size_t sections = 6;

  // all: returns every object, as a pool takes them.
  std::vector<__IsoAgLib::vtObject_c*> all();

private:
  std::deque<std::string> m_labels; // stands first: the parts below put their texts here

public:
  // --- What others refer to

  Part_s<IsoAgLib::iVtObjectLineAttributes_c> line{{{3001}, ScreenColour::black, 1, 0xFFFF}};
  Part_s<IsoAgLib::iVtObjectFillAttributes_c> openFill{{{3011}, 2, ScreenColour::green, nullptr}};
  Part_s<IsoAgLib::iVtObjectFillAttributes_c> closedFill{{{3012}, 2, ScreenColour::silver, nullptr}};
  Part_s<IsoAgLib::iVtObjectFillAttributes_c> alarmFill{{{3013}, 2, ScreenColour::red, nullptr}};
  Part_s<IsoAgLib::iVtObjectFontAttributes_c> largeFont{{{3021}, ScreenColour::black, 4, 0, 1}};
  Part_s<IsoAgLib::iVtObjectFontAttributes_c> latinFont{{{3022}, ScreenColour::black, 2, 0, 0}};
  Part_s<IsoAgLib::iVtObjectFontAttributes_c> greekFont{{{3023}, ScreenColour::black, 2, 7, 0}};
  Part_s<IsoAgLib::iVtObjectFontAttributes_c> cyrillicFont{{{3024}, ScreenColour::black, 2, 5, 0}};

  Part_s<IsoAgLib::iVtObjectOutputString_c> title = label(3101, "Sprayer");
  Part_s<IsoAgLib::iVtObjectOutputString_c> speedUnit = label(3102, "km/h");
  Part_s<IsoAgLib::iVtObjectOutputString_c> widthUnit = label(3103, "m");
  Part_s<IsoAgLib::iVtObjectOutputString_c> flowUnit = label(3104, "l/min");
  Part_s<IsoAgLib::iVtObjectOutputString_c> tankUnit = label(3105, "l");
  Part_s<IsoAgLib::iVtObjectOutputString_c> transportText = label(3111, "Transport");
  Part_s<IsoAgLib::iVtObjectOutputString_c> sprayingText = label(3112, "Spraying");
  Part_s<IsoAgLib::iVtObjectOutputString_c> turningText = label(3113, "Headland");
  Part_s<IsoAgLib::iVtObjectOutputString_c> automaticText = label(3121, "AUTO");
  Part_s<IsoAgLib::iVtObjectOutputString_c> manualText = label(3122, "MANUAL");
  Part_s<IsoAgLib::iVtObjectOutputString_c> rateUnit = label(3131, "l/ha");
  Part_s<IsoAgLib::iVtObjectOutputString_c> controlText = label(3132, "Section control");
  Part_s<IsoAgLib::iVtObjectOutputString_c> redNozzle = label(3141, "ISO 04 red");
  Part_s<IsoAgLib::iVtObjectOutputString_c> blueNozzle = label(3142, "ISO 03 blue");
  Part_s<IsoAgLib::iVtObjectOutputString_c> pageText = label(3151, "Page");
  Part_s<IsoAgLib::iVtObjectOutputString_c> quietText = label(3152, "OK");

  // --- What the work mask shows. Shown numbers are (value + offset) * scale.

  Part_s<IsoAgLib::iVtObjectOutputNumber_c> speed = number(1401, nullptr);
  Part_s<IsoAgLib::iVtObjectOutputNumber_c> width = number(1402, nullptr);
  Part_s<IsoAgLib::iVtObjectNumberVariable_c> flowVariable{{{1501}, 0}};
  Part_s<IsoAgLib::iVtObjectOutputNumber_c> flow = number(1403, &flowVariable.object);
  Part_s<IsoAgLib::iVtObjectOutputNumber_c> tank = number(1404, nullptr);

  Part_s<IsoAgLib::iVtObjectLinearBarGraph_c> tankBar{
      {{1601}, 20, 100, ScreenColour::green, ScreenColour::red, 0x27, 5, 0, 600, nullptr, 0, nullptr, 420}};
  Part_s<IsoAgLib::iVtObjectMeter_c> speedMeter{
      {{1602}, 60, ScreenColour::red, ScreenColour::black, ScreenColour::black, 0x0F, 5, 110, 70, 0, 150, nullptr, 0}};

  IsoAgLib::iVtObject_c* activityItems[3] = {&transportText.object, &sprayingText.object, &turningText.object};
  Part_s<IsoAgLib::iVtObjectOutputList_c> activity{{{1603}, 96, 12, nullptr, 0, 3, activityItems}};

  std::array<Part_s<IsoAgLib::iVtObjectRectangle_c>, sections> section{
      rectangle(1701), rectangle(1702), rectangle(1703), rectangle(1704), rectangle(1705), rectangle(1706)};

  IsoAgLib::iVtPoint_s arrowPoints[3] = {{0, 19}, {9, 0}, {19, 19}};
  Part_s<IsoAgLib::iVtObjectPolygon_c> arrow{{{1711}, 20, 20, &line.object, &closedFill.object, 0, 3, arrowPoints}};
  Part_s<IsoAgLib::iVtObjectObjectPointer_c> mode{{{1712}, &automaticText.object}};

  Text_s<16> latinStorage, greekStorage, cyrillicStorage, chineseStorage;
  Part_s<IsoAgLib::iVtObjectOutputString_c> stateLatin = state(1301, latinFont, latinStorage);
  Part_s<IsoAgLib::iVtObjectOutputString_c> stateGreek = state(1302, greekFont, greekStorage);
  Part_s<IsoAgLib::iVtObjectOutputString_c> stateCyrillic = state(1303, cyrillicFont, cyrillicStorage);
  Part_s<IsoAgLib::iVtObjectOutputString_c> stateChinese = state(1304, latinFont, chineseStorage);

  Text_s<16> alarmStorage;
  Part_s<IsoAgLib::iVtObjectStringVariable_c> alarmText{{{1502}, alarmStorage.bytes, alarmStorage.text}};
  Part_s<IsoAgLib::iVtObjectRectangle_c> alarmFrame{{{1902}, &line.object, 140, 24, 0, &alarmFill.object}};
  Part_s<IsoAgLib::iVtObjectOutputString_c> alarmLine{
      {{1901}, 128, 12, ScreenColour::red, &latinFont.object, 1, &alarmText.object, 1, 0, nullptr}};
  IsoAgLib::iVtChild_s alarmChildren[2] = {{&alarmFrame.object, 0, 0}, {&alarmLine.object, 6, 6}};
  Part_s<IsoAgLib::iVtObjectContainer_c> alarmBox{{{1900}, 140, 24, 1, 2, alarmChildren}};

  // --- What the set-up mask asks for

  Part_s<IsoAgLib::iVtObjectInputNumber_c> rate{
      {{2001}, 60, 16, ScreenColour::white, &largeFont.object, 0, nullptr, 200, 50, 400, 0, 1.0F, 0, 0, 2, 1}};
  Part_s<IsoAgLib::iVtObjectInputBoolean_c> sectionControl{
      {{2002}, ScreenColour::white, 16, &latinFont.object, nullptr, 1, 1}};
  IsoAgLib::iVtObject_c* nozzleItems[3] = {&redNozzle.object, &blueNozzle.object, nullptr};
  Part_s<IsoAgLib::iVtObjectInputList_c> nozzle{{{2003}, 96, 12, nullptr, 0, 3, 1, nozzleItems}};
  Text_s<12> fieldStorage;
  Part_s<IsoAgLib::iVtObjectInputString_c> fieldName{{{2004},
                                                      96,
                                                      12,
                                                      ScreenColour::white,
                                                      &latinFont.object,
                                                      nullptr,
                                                      0,
                                                      nullptr,
                                                      0,
                                                      fieldStorage.bytes,
                                                      fieldStorage.text,
                                                      1}};

  // --- Keys and masks

  IsoAgLib::iVtChild_s pageChildren[1] = {{&pageText.object, 4, 8}};
  Part_s<IsoAgLib::iVtObjectKey_c> pageKey{{{1201}, ScreenColour::silver, ScreenKey::page, 1, pageChildren}};
  IsoAgLib::iVtChild_s quietChildren[1] = {{&quietText.object, 4, 8}};
  Part_s<IsoAgLib::iVtObjectKey_c> alarmKey{{{1202}, ScreenColour::silver, ScreenKey::alarm, 1, quietChildren}};
  IsoAgLib::iVtObject_c* keys[2] = {&pageKey.object, &alarmKey.object};
  Part_s<IsoAgLib::iVtObjectSoftKeyMask_c> softKeys{{{1200}, ScreenColour::silver, 2, keys}};

  IsoAgLib::iVtChild_s workChildren[25] = {
      {&title.object, 8, 4},          {&activity.object, 136, 4},      {&mode.object, 8, 20},
      {&speed.object, 8, 40},         {&speedUnit.object, 80, 44},     {&width.object, 8, 60},
      {&widthUnit.object, 80, 64},    {&flow.object, 8, 80},           {&flowUnit.object, 80, 84},
      {&tank.object, 8, 100},         {&tankUnit.object, 80, 104},     {&tankBar.object, 212, 24},
      {&speedMeter.object, 140, 36},  {&section[0].object, 8, 130},    {&section[1].object, 42, 130},
      {&section[2].object, 76, 130},  {&section[3].object, 110, 130},  {&section[4].object, 144, 130},
      {&section[5].object, 178, 130}, {&arrow.object, 160, 104},       {&stateLatin.object, 8, 156},
      {&stateGreek.object, 112, 156}, {&stateCyrillic.object, 8, 172}, {&stateChinese.object, 112, 172},
      {&alarmBox.object, 50, 200},
  };
  Part_s<IsoAgLib::iVtObjectDataMask_c> workMask{{{1100}, ScreenColour::white, &softKeys.object, 25, workChildren}};
  IsoAgLib::iVtChild_s setupChildren[6] = {
      {&rate.object, 8, 20},         {&rateUnit.object, 80, 24}, {&sectionControl.object, 8, 60},
      {&controlText.object, 40, 62}, {&nozzle.object, 8, 100},   {&fieldName.object, 8, 140},
  };
  Part_s<IsoAgLib::iVtObjectDataMask_c> setupMask{{{1101}, ScreenColour::white, &softKeys.object, 6, setupChildren}};

  IsoAgLib::iVtChild_s badge[1] = {{&title.object, 0, 0}};
  Part_s<IsoAgLib::iVtObjectWorkingSet_c> workingSet{
      {{1000}, ScreenColour::white, 1, &workMask.object, 1, badge, 1, "en"}};

private:
  // label: a text that stays as it is.
  IsoAgLib::iVtObjectOutputString_s label(uint16_t id, const char* text);
  IsoAgLib::iVtObjectOutputNumber_s number(uint16_t id, IsoAgLib::iVtObject_c* variable);
  IsoAgLib::iVtObjectRectangle_s rectangle(uint16_t id);
  template <std::size_t size>
  IsoAgLib::iVtObjectOutputString_s state(uint16_t id, Part_s<IsoAgLib::iVtObjectFontAttributes_c>& font,
                                          Text_s<size>& storage) {
    return {{id}, 96, 12, ScreenColour::white, &font.object, 0, nullptr, 0, storage.bytes, storage.text};
  }
};
