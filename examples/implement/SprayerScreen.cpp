#include "SprayerScreen.h"

std::vector<__IsoAgLib::vtObject_c*> SprayerScreen_s::all() {
  std::vector<__IsoAgLib::vtObject_c*> objects = {
      &line.object,        &openFill.object,      &closedFill.object,   &alarmFill.object,      &largeFont.object,
      &latinFont.object,   &greekFont.object,     &cyrillicFont.object, &title.object,          &speedUnit.object,
      &widthUnit.object,   &flowUnit.object,      &tankUnit.object,     &transportText.object,  &sprayingText.object,
      &turningText.object, &automaticText.object, &manualText.object,   &rateUnit.object,       &controlText.object,
      &redNozzle.object,   &blueNozzle.object,    &pageText.object,     &quietText.object,      &speed.object,
      &width.object,       &flowVariable.object,  &flow.object,         &tank.object,           &tankBar.object,
      &speedMeter.object,  &activity.object,      &arrow.object,        &mode.object,           &stateLatin.object,
      &stateGreek.object,  &stateCyrillic.object, &stateChinese.object, &alarmText.object,      &alarmFrame.object,
      &alarmLine.object,   &alarmBox.object,      &rate.object,         &sectionControl.object, &nozzle.object,
      &fieldName.object,   &pageKey.object,       &alarmKey.object,     &softKeys.object,       &workMask.object,
      &setupMask.object,   &workingSet.object,
  };
  for (Part_s<IsoAgLib::iVtObjectRectangle_c>& rectangle : section) {
    objects.push_back(&rectangle.object);
  }
  return objects;
}

IsoAgLib::iVtObjectOutputString_s SprayerScreen_s::label(uint16_t id, const char* text) {
  std::string& storage = m_labels.emplace_back(text);
  constexpr uint16_t letterWidth = 8;
  const auto length = static_cast<uint16_t>(storage.size());
  const auto pixels = static_cast<uint16_t>(letterWidth * length);
  return {{id}, pixels, 12, ScreenColour::white, &latinFont.object, 1, nullptr, 0, length, storage.data()};
}

IsoAgLib::iVtObjectOutputNumber_s SprayerScreen_s::number(uint16_t id, IsoAgLib::iVtObject_c* variable) {
  return {{id}, 64, 16, ScreenColour::white, &largeFont.object, 0, variable, 0, 0, 0.1F, 1, 0, 2};
}

IsoAgLib::iVtObjectRectangle_s SprayerScreen_s::rectangle(uint16_t id) {
  return {{id}, &line.object, 30, 16, 0, &closedFill.object};
}
