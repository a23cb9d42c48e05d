#include "SprayerApplication.h"

#include <SwIdentification.h>
#include <VtObjects.h>
#include <VtText.h>

#include <cmath>

namespace {

// How the control function presents itself: NAME fields and preferred address.
constexpr unsigned char deviceClass = 6; // sprayers
constexpr unsigned char deviceClassInstance = 0;
constexpr unsigned char function = 132; // section on or off control
constexpr unsigned char address = 130;

// The code pages of ISO 11783-6 that the texts of the state go out in.
constexpr unsigned char latin1 = 0;
constexpr unsigned char cyrillic = 5;
constexpr unsigned char greek = 7;

constexpr double speedOfTurning = 6.0; // km/h; slower without spraying is the headland
constexpr double lowTankL = 42.0;

// Names_s: an activity in the languages of the screen.
struct Names_s {
  const char* latin;
  const char* greek;
  const char* cyrillic;
  const char* chinese;
};

const Names_s& namesOf(Activity_e activity) {
  static constexpr Names_s names[] = {{"Überführung", "Μεταφορά", "Переезд", "运输"},
                                      {"Pulvérisation", "Ψεκασμός", "Опрыскивание", "喷洒"},
                                      {"Tête de champ", "Κεφαλάρι", "Разворот", "地头转弯"}};
  return names[static_cast<std::size_t>(activity)];
}

const char* textOf(Alarm_e alarm) {
  static constexpr const char* texts[] = {"", "Tank low", "Pressure low"};
  return texts[static_cast<std::size_t>(alarm)];
}

Activity_e activityOf(const DriveRow_s& row) {
  if (row.widthM > 0) {
    return Activity_e::spraying;
  }
  return row.speedKmh > 0 && row.speedKmh < speedOfTurning ? Activity_e::turning : Activity_e::transport;
}

// tenths: the screen's numbers have one decimal.
template <class Number_t>
Number_t tenths(double value) {
  return static_cast<Number_t>(std::lround(value * 10));
}

} // namespace

SprayerApplication_c::Pool_s::Pool_s(SprayerApplication_c& owner, const std::vector<__IsoAgLib::vtObject_c*>& objects)
    : iVtObjectPool_c(objects.data(), static_cast<uint16_t>(objects.size())), application(owner) {}

void SprayerApplication_c::Pool_s::eventCommandFailed(uint8_t /*command*/, uint16_t /*objectID*/, uint8_t /*error*/) {
  ++failedCommands;
}

void SprayerApplication_c::Pool_s::eventSoftKey(uint8_t keyCode, uint16_t /*keyID*/, uint16_t /*maskID*/,
                                                IsoAgLib::iVtKeyState_t state) {
  if (state != IsoAgLib::VtKeyPressed) {
    return;
  }
  if (keyCode == ScreenKey::page) {
    application.changeMask();
  } else if (keyCode == ScreenKey::alarm) {
    application.m_taken = application.m_alarm;
  }
}

bool SprayerApplication_c::open(bool useProprietaryBus) {
  std::string software = __IsoAgLib::formatAppSwIdentification("Sprayer-1.0", nullptr);
  if (!m_app.init(__IsoAgLib::ZemoAppVtClient, software, address, deviceClass, deviceClassInstance, function, 0, 0, 0,
                  true, useProprietaryBus)) {
    return false;
  }
  m_connection = __IsoAgLib::getVtClientInstance(0).initAndRegisterObjectPool(*m_app.getMyIdent(0), m_pool, nullptr,
                                                                              m_app.getDataStorage(0));
  return m_connection != nullptr;
}

void SprayerApplication_c::close() {
  m_connection = nullptr;
  m_app.close();
}

template <class Object_c, class Value_c>
void SprayerApplication_c::set(Part_s<Object_c>& part, Value_c value) {
  SetVtObject(part.object, value, m_bForce);
  ++m_setterCalls;
}

void SprayerApplication_c::show(const DriveRow_s& row, bool force) {
  m_bForce = force;
  set(m_screen.speed, tenths<unsigned int>(row.speedKmh));
  set(m_screen.width, tenths<unsigned int>(row.widthM));
  set(m_screen.tank, tenths<unsigned int>(row.tankL));
  set(m_screen.flowVariable, tenths<unsigned int>(row.flowLPerMin));
  set(m_screen.speedMeter, tenths<unsigned short>(row.speedKmh));
  set(m_screen.tankBar, tenths<unsigned short>(row.tankL));
  SetVtObjectColour(m_screen.tankBar.object, row.tankL < lowTankL ? ScreenColour::red : ScreenColour::green, m_bForce);
  ++m_setterCalls;
  setState(activityOf(row));
  setSections(row);
  setAlarm(row.alarm);
}

void SprayerApplication_c::setState(Activity_e activity) {
  const Names_s& names = namesOf(activity);
  set(m_screen.activity, static_cast<unsigned char>(activity));
  set<IsoAgLib::iVtObjectObjectPointer_c, IsoAgLib::iVtObject_c*>(
      m_screen.mode, activity == Activity_e::spraying ? &m_screen.automaticText.object : &m_screen.manualText.object);
  set(m_screen.arrow, activity == Activity_e::turning ? &m_screen.openFill.object : &m_screen.closedFill.object);

  setFontEncoding(latin1);
  SetVtObject(m_screen.stateLatin.object, names.latin, m_bForce, true);
  setFontEncoding(greek);
  SetVtObject(m_screen.stateGreek.object, names.greek, m_bForce, true);
  setFontEncoding(cyrillic);
  SetVtObject(m_screen.stateCyrillic.object, names.cyrillic, m_bForce, true);
  SetVtObjectUTF8(m_screen.stateChinese.object, names.chinese, m_bForce, true);
  m_setterCalls += 4;
}

void SprayerApplication_c::setSections(const DriveRow_s& row) {
  for (std::size_t section = 0; section < SprayerScreen_s::sections; ++section) {
    set(m_screen.section[section], row.sprays[section] ? &m_screen.openFill.object : &m_screen.closedFill.object);
  }
}

void SprayerApplication_c::setAlarm(Alarm_e alarm) {
  m_alarm = alarm;
  const bool isShown = alarm != Alarm_e::none && alarm != m_taken;
  setFontEncoding(latin1);
  SetVtObject(m_screen.alarmText.object, textOf(alarm), m_bForce);
  ShowVtContainer(m_screen.alarmBox.object, isShown, m_bForce);
  SetVtBackColor(m_screen.alarmKey.object, isShown ? ScreenColour::yellow : ScreenColour::silver, m_bForce);
  m_setterCalls += 3;
}

void SprayerApplication_c::changeMask() {
  m_bSetup = !m_bSetup;
  SetVtObject(m_screen.workingSet.object, m_bSetup ? &m_screen.setupMask.object : &m_screen.workMask.object, false);
  ++m_setterCalls;
}
