// The documented assertions hold in every build type.
#undef NDEBUG

#include "ZemoApp.h"

#include "ConsoleLine.h"
#include "ConsoleValues.h"
#include "TextOf.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace {

std::string s_isoAgLibEepromFile = textOf("/mnt/nand/zemo/settings/eeprom.dat");

// 0: no serial number has given a number yet.
uint32_t s_serialNumberCache = 0;

// 0: the console has not been asked yet.
uint8_t s_virtualTerminalVersion = 0;

constexpr uint16_t manufacturerCode = 733;
constexpr unsigned int bitrateKbit = 250;
constexpr int vtServerSaRequestPeriodMs = 55000;
constexpr std::size_t vinSize = 256;

// What a failed assertion reports. The records are part of the interface and do not follow the lines of this file.
struct AssertionRecord_s {
  const char* expression;
  unsigned int line;
  const char* function;
};

constexpr const char* assertionFile = "Utils/src/ZemoApp";

constexpr AssertionRecord_s identityInitialisedOnce = {
    "__null == m_dataStorage", 217,
    "bool ComponentIdentity_c::init(std::string&, uint8_t, uint8_t, uint8_t, uint8_t, uint8_t, uint8_t, uint8_t, "
    "bool, int8_t, uint8_t)"};

constexpr const char* indexExpression = "index < m_Identities.size()";
constexpr AssertionRecord_s componentIdentityIndex = {
    indexExpression, 398, "ComponentIdentity_c& __IsoAgLib::ZemoApp::getComponentIdentity(uint32_t)"};
constexpr AssertionRecord_s myIdentIndex = {indexExpression, 404,
                                            "IsoAgLib::iIdentItem_c* __IsoAgLib::ZemoApp::getMyIdent(uint32_t)"};
constexpr AssertionRecord_s dataStorageIndex = {indexExpression, 410,
                                                "DataStorage_c* __IsoAgLib::ZemoApp::getDataStorage(uint32_t)"};
constexpr AssertionRecord_s serialNumberIndex = {indexExpression, 416,
                                                 "uint32_t __IsoAgLib::ZemoApp::getSerialNumber(uint32_t)"};

constexpr AssertionRecord_s vtServerClosed = {"false == m_bVtServerFunctionsInitialized", 604,
                                              "bool __IsoAgLib::ZemoApp::initVtServerFunctions()"};
constexpr AssertionRecord_s vtClientClosed = {"false == m_bVtClientFunctionsInitialized", 619,
                                              "bool __IsoAgLib::ZemoApp::initVtClientFunctions()"};
constexpr AssertionRecord_s tractorClosed = {"false == m_bTractorFunctionsInitialized", 642,
                                             "bool __IsoAgLib::ZemoApp::initTractorFunctions()"};
constexpr AssertionRecord_s taskControllerClosed = {"false == m_bTaskControllerFunctionsInitialized", 679,
                                                    "bool __IsoAgLib::ZemoApp::initTaskControllerFunctions()"};

// The stack's assertion convention: its first hook may waive the check; if it does not, the condition is looked at
// again, because the hook may have mended it.
template <typename Condition_c>
void requireUnlessWaived(const Condition_c& holds, const AssertionRecord_s& record) {
  if (holds() || isoaglib_assert_callStart()) {
    return;
  }
  if (!holds()) {
    __assert_fail(record.expression, assertionFile, record.line, record.function);
  }
  isoaglib_assert_callFinish();
}

void requireClosed(const bool& groupFlag, const AssertionRecord_s& record) {
  requireUnlessWaived([&groupFlag] { return !groupFlag; }, record);
}

ComponentIdentity_c* s_neverInitialised = nullptr;

// The identity at an index under the assertion convention. Where the check was waived for an index out of range the
// result has no meaning; an identity that was never initialised keeps it from doing harm.
ComponentIdentity_c& identityAt(const std::vector<ComponentIdentity_c*>& identities, uint32_t index,
                                const AssertionRecord_s& record) {
  const auto isInRange = [&identities, index] { return index < identities.size(); };
  requireUnlessWaived(isInRange, record);
  if (isInRange()) {
    return *identities[index];
  }
  if (s_neverInitialised == nullptr) {
    s_neverInitialised = new ComponentIdentity_c;
  }
  return *s_neverInitialised;
}

std::string consoleString(DBusValue_e value) {
  return getDBusInterfaceInstance()->getString(value);
}

void exchangeVin(bool set, std::string& vin) {
  // One character more than the console may use, so that a text of full length is terminated as well.
  char buffer[vinSize + 1] = {};
  if (set) {
    std::strncpy(buffer, vin.c_str(), vinSize);
  }
  getDBusInterfaceInstance()->getSetProductVin(set, buffer);
  buffer[vinSize] = '\0';
  vin = buffer;
}

const char* getBrandName(char code) {
  // From '0' on.
  static constexpr char names[][12] = {"QB", "LX", "ZT", "WN", "JR", "Harlow-Mede", "Tovra"};
  const auto index = static_cast<std::size_t>(code - '0');
  return index < std::size(names) ? names[index] : "Unknown";
}

bool isHardwareVariant(char variant) {
  const std::string text = consoleString(ConsoleValue::hardwareVariant);
  return text.size() == 1 && text[0] == variant;
}

const char* readHardwareId() {
  // The variant is asked for once for each question. On purpose: the first answer "1" decides.
  if (isHardwareVariant('1')) {
    return "000119";
  }
  return isHardwareVariant('2') ? "000118" : "N/A";
}

void setEcuIdentification(__IsoAgLib::IdentItem_c& item) {
  const char* hardwareId = readHardwareId();
  const std::string partNumber = consoleString(ConsoleValue::partNumber);
  const std::string serialNumber = consoleString(ConsoleValue::serialNumber);
  item.setEcuIdentification(partNumber.c_str(), serialNumber.c_str(), "Armrest", "Console", "ZEMO", hardwareId);
}

void setProductIdentification(__IsoAgLib::IdentItem_c& item) {
  std::string code;
  exchangeVin(false, code);
  // The model name belongs to the console, not to a vehicle: a VIN goes with an empty model. On purpose.
  const char* model = "";
  if (code.empty()) {
    consoleString(ConsoleValue::serialNumber).swap(code);
    model = "R3700";
  }
  const std::string partNumber = consoleString(ConsoleValue::partNumber);
  // An empty part number throws out of range and leaves the identity half set. Kept: callers see the exception.
  const char* brand = getBrandName(partNumber.at(partNumber.size() - 1));
  item.setProductIdentification(code.c_str(), brand, model);
}

void appendField(std::string& fields, const std::string& field) {
  fields.append(field.data(), field.size()).append("*", 1);
}

void setSwIdentification(__IsoAgLib::IdentItem_c& item, const std::string& swIdentification) {
  // Taken whole: a '*' in the application's text makes further fields. On purpose.
  std::string fields;
  appendField(fields, swIdentification);
  appendField(fields, consoleString(ConsoleValue::osVersion));
  appendField(fields, consoleString(ConsoleValue::bootLoaderVersion));
  item.setSwIdentification(fields.c_str());
}

void setCertificationData(__IsoAgLib::IdentItem_c& item) {
  // The compliance bits stay clear whatever the console holds. On purpose.
  const BitFieldWrapperLeft_c<IsoAgLib::Certification_s> noCompliance;
  CertificationData_s data = {};
  if (!getDBusInterfaceInstance()->getCertificationData(data)) {
    // The laboratory is the manufacturer itself. On purpose.
    data.year = 2013;
    data.revision = 31;
    data.laboratoryType = 3;
    data.laboratoryId = manufacturerCode;
    data.referenceNumber = 0;
  }
  item.setCertificationData(static_cast<uint16_t>(data.year), static_cast<uint8_t>(data.revision),
                            static_cast<IsoAgLib::CertificationLabType_t>(data.laboratoryType),
                            static_cast<uint16_t>(data.laboratoryId), noCompliance,
                            static_cast<uint16_t>(data.referenceNumber));
}

} // namespace

uint32_t convertSerialNumberTo21Bits(char* serialNumber) {
  // The first number serves the whole process, whatever text is given later. On purpose.
  if (s_serialNumberCache != 0) {
    return s_serialNumberCache;
  }
  const std::size_t length = std::strlen(serialNumber);
  // Eight bits, wrapping for very long texts, and a mask of 20 bits: both are kept.
  const auto start = static_cast<uint8_t>(length > 6 ? length - 6 : 0);
  s_serialNumberCache = static_cast<uint32_t>(std::strtoul(serialNumber + start, nullptr, 10) & 0xFFFFFU);
  return s_serialNumberCache;
}

ComponentIdentity_c::ComponentIdentity_c()
    : m_preferredSa(0), m_deviceClass(0), m_deviceClassInstance(0), m_function(0), m_functionInstance(0),
      m_ecuInstance(0), m_isoInstance(0), m_myIdent(nullptr), m_dataStorage(nullptr), m_serialNumber(0),
      m_ownsStackObjects(true) {}

ComponentIdentity_c::~ComponentIdentity_c() {
  if (m_ownsStackObjects) {
    delete m_myIdent;
    delete m_dataStorage;
  }
  m_myIdent = nullptr;
  m_dataStorage = nullptr;
}

bool ComponentIdentity_c::init(std::string& swIdentification, uint8_t preferredSa, uint8_t deviceClass,
                               uint8_t deviceClassInstance, uint8_t function, uint8_t functionInstance,
                               uint8_t ecuInstance, uint8_t isoInstance, bool selfConfigurable, int8_t slaveCount,
                               uint8_t industryGroup) {
  requireUnlessWaived([this] { return m_dataStorage == nullptr; }, identityInitialisedOnce);

  m_preferredSa = preferredSa;
  m_deviceClass = deviceClass;
  m_deviceClassInstance = deviceClassInstance;
  m_function = function;
  m_functionInstance = functionInstance;
  m_ecuInstance = ecuInstance;
  m_isoInstance = isoInstance;

  // An earlier item and storage are left alone where a second call was waived: the stack still uses them.
  m_dataStorage = new DataStorage_c(m_preferredSa);
  initSerialNumber();

  __IsoAgLib::IsoName_c name;
  name.set(selfConfigurable, industryGroup, m_deviceClass, m_deviceClassInstance, m_function, manufacturerCode,
           m_serialNumber, m_functionInstance, m_ecuInstance);
  m_myIdent = new IsoAgLib::iIdentItem_c;
  m_myIdent->init(name, *m_dataStorage, slaveCount, nullptr, true);

  if (!__IsoAgLib::getIsoMonitorInstance(m_isoInstance).registerIdentItem(*m_myIdent)) {
    printLine("Failed to register ident");
    std::abort();
  }

  setEcuIdentification(*m_myIdent);
  setProductIdentification(*m_myIdent);
  setSwIdentification(*m_myIdent, swIdentification);
  setCertificationData(*m_myIdent);
  return true;
}

uint32_t ComponentIdentity_c::initSerialNumber() {
  m_serialNumber = 0;
  std::string serialNumber = consoleString(ConsoleValue::serialNumber);
  m_serialNumber = convertSerialNumberTo21Bits(&serialNumber[0]) & 0x1FFFFFU;
  return m_serialNumber;
}

uint32_t ComponentIdentity_c::getSerialNumber() {
  return m_serialNumber;
}

DataStorage_c* ComponentIdentity_c::getDataStorage() {
  return m_dataStorage;
}

IsoAgLib::iIdentItem_c* ComponentIdentity_c::getMyIdent() {
  return m_myIdent;
}

namespace __IsoAgLib {

namespace {

void setUseWorkingSetOfIdentItemFirst() {
  IdentItem_c::setUseWorkingSet(true);
  IsoItem_c::setUseWorkingSet(true);
  IsoMonitor_c::setUseWorkingSet(true);
}

// In new room, as identities are few.
void append(std::vector<ComponentIdentity_c*>& identities, ComponentIdentity_c* identity) {
  std::vector<ComponentIdentity_c*> all(identities.size() + 1, identity);
  std::copy(identities.begin(), identities.end(), all.begin());
  identities.swap(all);
}

// The text up to the first of "*" and "#", or the whole.
std::string firstVersionOf(const std::string& swIdentification) {
  std::size_t length = 0;
  while (length < swIdentification.size() && swIdentification[length] != '*' && swIdentification[length] != '#') {
    ++length;
  }
  std::string version;
  version.assign(swIdentification.data(), length);
  return version;
}

// Gives the line for the bus that does not open, or null. The ISOBUS is always instance 0, not the application's. On
// purpose. A failure leaves open what is open.
const char* openBuses(bool useProprietaryBus) {
  if (!getCanInstance(0).init(0, bitrateKbit)) {
    return "FAILED TO INITIALIZE CAN_BUS_INSTANCE_ISOBUS";
  }
  if (useProprietaryBus) {
    return IsoAgLib::getIProprietaryBusInstance(0).init(1, bitrateKbit) ? nullptr
                                                                        : "FAILED TO INITIALIZE PROPRIETARY CAN BUS";
  }
  return getCanInstance(1).init(1, bitrateKbit) ? nullptr : "FAILED TO INITIALIZE CAN_BUS_INSTANCE_CHASSIS";
}

void initProtocolServices(uint32_t instance) {
  getIsoRequestPgnInstance(instance).init();
  getIsoMonitorInstance(instance).init();
  getIsoFilterManagerInstance(instance).init();
  getProprietaryMessageHandlerInstance(static_cast<unsigned char>(instance)).init();
  getMultiReceiveInstance(instance).init();
  getMultiSendInstance(instance).init();
}

void closeProtocolServices(uint32_t instance) {
  getMultiSendInstance(instance).close();
  getMultiReceiveInstance(instance).close();
  getProprietaryMessageHandlerInstance(static_cast<unsigned char>(instance)).close();
  getIsoFilterManagerInstance(instance).close();
  getIsoMonitorInstance(instance).close();
  getIsoRequestPgnInstance(instance).close();
}

void initTractorServices(unsigned char instance) {
  getTracGeneralInstance(instance).init();
  getTracFacilitiesInstance(instance).init();
  getTracMoveInstance(instance).init();
  getTracPtoInstance(instance).init();
  getTracLightInstance(instance).init();
  getTracAuxInstance(instance).init();
  getTracGuidanceInstance(instance).init();
  getTracGuidanceCommandInstance(instance).init();
  getTimePosGpsInstance(instance).init();
}

} // namespace

ZemoApp::ZemoApp()
    : m_IsoInstance(0), m_AppType(ZemoAppPlain), m_bVtServerFunctionsInitialized(false),
      m_bVtClientFunctionsInitialized(false), m_bTractorFunctionsInitialized(false),
      m_bTaskControllerFunctionsInitialized(false), m_bReserved(false), m_bUseProprietaryBus(false) {}

ZemoApp::~ZemoApp() {
  for (ComponentIdentity_c* identity : m_Identities) {
    delete identity;
  }
}

bool ZemoApp::init(ZemoAppType_e appType, std::string& swIdentification, unsigned char preferredSa,
                   unsigned char deviceClass, unsigned char deviceClassInstance, unsigned char function,
                   unsigned char functionInstance, unsigned char ecuInstance, unsigned char isoInstance,
                   bool selfConfigurable, bool useProprietaryBus) {
  m_AppType = appType;
  bool ok = initIsoAglib(useProprietaryBus);
  if (ok) {
    ok = addIdentity(swIdentification, preferredSa, deviceClass, deviceClassInstance, function, functionInstance,
                     ecuInstance, isoInstance, selfConfigurable);
  }
  // Also where the stack failed to come up: the application shows its version all the same. On purpose.
  m_ComponentVersions.setSoftwareVersion(firstVersionOf(swIdentification));
  return ok;
}

bool ZemoApp::initIsoAglib(bool useProprietaryBus) {
  m_bUseProprietaryBus = useProprietaryBus;
  if (!commonInit()) {
    return false;
  }
  switch (m_AppType) {
  case ZemoAppVtServer: {
    const bool ok = initVtServerFunctions();
    IsoMonitor_c::setSARequestPeriod(vtServerSaRequestPeriodMs);
    return ok;
  }
  case ZemoAppVtClient:
  case ZemoAppVtClientAnyGroup:
    return initVtClientFunctions();
  default:
    return true;
  }
}

bool ZemoApp::commonInit() {
  setUseWorkingSetOfIdentItemFirst();
  getSystemInstance().init();
  getSchedulerInstance().init(nullptr);
  if (const char* failure = openBuses(m_bUseProprietaryBus)) {
    printLine(failure);
    return false;
  }
  if (m_bUseProprietaryBus) {
    initProtocolServices(m_IsoInstance);
  } else {
    initProtocolServices(0);
    initProtocolServices(1);
  }
  return true;
}

void ZemoApp::close() {
  for (ComponentIdentity_c* identity : m_Identities) {
    // Always monitor 0, not m_IsoInstance and not the instance that registered the item. On purpose.
    getIsoMonitorInstance(0).deregisterIdentItem(*identity->getMyIdent());
  }
  closeVtServerFunctions();
  closeVtClientFunctions();
  closeTractorFunctions();
  closeTaskControllerFunctions();
  commonClose();
  for (ComponentIdentity_c* identity : m_Identities) {
    delete identity;
  }
  m_Identities.clear();
}

void ZemoApp::commonClose() {
  if (m_bUseProprietaryBus) {
    closeProtocolServices(m_IsoInstance);
    IsoAgLib::getIProprietaryBusInstance(0).close();
  } else {
    // Taken in the same order as at start-up, not reversed. On purpose.
    closeProtocolServices(0);
    closeProtocolServices(1);
    getCanInstance(1).close();
  }
  getCanInstance(m_IsoInstance).close();
  getSchedulerInstance().close();
  getSystemInstance().close();
}

bool ZemoApp::initTractorFunctions() {
  requireClosed(m_bTractorFunctionsInitialized, tractorClosed);
  // The flag stays false: the group may be initialised any number of times. On purpose.
  initTractorServices(static_cast<unsigned char>(m_IsoInstance));
  return true;
}

void ZemoApp::closeTractorFunctions() {
  if (!m_bTractorFunctionsInitialized) {
    return;
  }
  m_bTractorFunctionsInitialized = false;
  // Initialised again rather than closed. On purpose.
  initTractorServices(static_cast<unsigned char>(m_IsoInstance));
}

bool ZemoApp::initTaskControllerFunctions() {
  requireClosed(m_bTaskControllerFunctionsInitialized, taskControllerClosed);
  getTcClientInstance(static_cast<unsigned char>(m_IsoInstance)).init();
  m_bTaskControllerFunctionsInitialized = true;
  return true;
}

void ZemoApp::closeTaskControllerFunctions() {
  if (!m_bTaskControllerFunctionsInitialized) {
    return;
  }
  m_bTaskControllerFunctionsInitialized = false;
  getTcClientInstance(static_cast<unsigned char>(m_IsoInstance)).close();
}

bool ZemoApp::initVtClientFunctions() {
  requireClosed(m_bVtClientFunctionsInitialized, vtClientClosed);
  // Marked before the client starts; the task controller's group is marked after. On purpose.
  m_bVtClientFunctionsInitialized = true;
  getVtClientInstance(static_cast<unsigned char>(m_IsoInstance)).init();
  return true;
}

void ZemoApp::closeVtClientFunctions() {
  if (m_bVtClientFunctionsInitialized) {
    m_bVtClientFunctionsInitialized = false;
    getVtClientInstance(static_cast<unsigned char>(m_IsoInstance)).close();
  }
  // Also where the client was never started, and IsoItem_c first here. On purpose.
  IsoItem_c::setUseWorkingSet(true);
  IdentItem_c::setUseWorkingSet(true);
  IsoMonitor_c::setUseWorkingSet(true);
}

bool ZemoApp::initVtServerFunctions() {
  requireClosed(m_bVtServerFunctionsInitialized, vtServerClosed);
  m_bVtServerFunctionsInitialized = true;
  return true;
}

void ZemoApp::closeVtServerFunctions() {
  m_bVtServerFunctionsInitialized = false;
}

bool ZemoApp::addIdentity(std::string& swIdentification, unsigned char preferredSa, unsigned char deviceClass,
                          unsigned char deviceClassInstance, unsigned char function, unsigned char functionInstance,
                          unsigned char ecuInstance, unsigned char isoInstance, bool selfConfigurable) {
  const auto slaveCount = static_cast<int8_t>(m_AppType == ZemoAppVtServer ? -1 : 0);
  const auto industryGroup = static_cast<uint8_t>(m_AppType == ZemoAppVtClient ? 2 : 0);
  // Not held by a smart pointer: if init throws, the stack still holds the identity's item and it must stay.
  auto* identity = new ComponentIdentity_c;
  identity->init(swIdentification, preferredSa, deviceClass, deviceClassInstance, function, functionInstance,
                 ecuInstance, isoInstance, selfConfigurable, slaveCount, industryGroup);
  append(m_Identities, identity);
  // True also for an identity that cannot claim an address later. On purpose.
  return true;
}

ComponentIdentity_c& ZemoApp::getComponentIdentity(uint32_t index) {
  return identityAt(m_Identities, index, componentIdentityIndex);
}

uint32_t ZemoApp::getSerialNumber(uint32_t index) {
  return identityAt(m_Identities, index, serialNumberIndex).getSerialNumber();
}

DataStorage_c* ZemoApp::getDataStorage(uint32_t index) {
  return identityAt(m_Identities, index, dataStorageIndex).getDataStorage();
}

IsoAgLib::iIdentItem_c* ZemoApp::getMyIdent(uint32_t index) {
  return identityAt(m_Identities, index, myIdentIndex).getMyIdent();
}

void ZemoApp::getSetProductVin(bool set, std::string& vin) {
  exchangeVin(set, vin);
}

uint8_t ZemoApp::getVirtualTerminalVersion() {
  if (s_virtualTerminalVersion == 0) {
    s_virtualTerminalVersion = getDBusInterfaceInstance()->getVirtualTerminalVersion();
  }
  // Any other answer counts as 3 for the rest of the process, without a word. On purpose.
  if (s_virtualTerminalVersion < 2 || s_virtualTerminalVersion > 4) {
    s_virtualTerminalVersion = 3;
  }
  return s_virtualTerminalVersion;
}

void ZemoApp::setIsoAgLibEepromFile(std::string fileName) {
  s_isoAgLibEepromFile.swap(fileName);
}

const char* getZemoEepromFileName() {
  return s_isoAgLibEepromFile.c_str();
}

int getConnectAllowedVtServerType() {
  return 2;
}

} // namespace __IsoAgLib
