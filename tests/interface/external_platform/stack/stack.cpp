#include <IsoAgLib/isoaglib.h>

#include <map>
#include <utility>

namespace {

std::string s_calls;

std::string quoted(const std::string& text) {
  return '"' + text + '"';
}

const char* textOf(bool value) {
  return value ? "true" : "false";
}

template <class Kind_c>
Kind_c& instanceOf(const std::string& name, int instance) {
  static std::map<std::pair<std::string, int>, Kind_c> instances;
  return instances.try_emplace({name, instance}, name, static_cast<unsigned int>(instance)).first->second;
}

} // namespace

void recordCall(const std::string& call) {
  s_calls += call + '\n';
}

std::string recordedCalls() {
  return s_calls;
}

bool isoaglib_assert_callStart() {
  return false;
}

void isoaglib_assert_callFinish() {}

const char* getIsoAgLibVersion() {
  return "recorder-1";
}

namespace __IsoAgLib {

void IsoName_c::set(bool selfConfigurable, uint8_t industryGroup, uint8_t deviceClass, uint8_t deviceClassInstance,
                    uint8_t function, uint16_t manufacturerCode, uint32_t identityNumber, uint8_t functionInstance,
                    uint8_t ecuInstance) {
  recordCall(std::string("NAME ") + textOf(selfConfigurable) + " group " + std::to_string(industryGroup) + " class " +
             std::to_string(deviceClass) + "." + std::to_string(deviceClassInstance) + " function " +
             std::to_string(function) + "." + std::to_string(functionInstance) + " ecu " + std::to_string(ecuInstance) +
             " maker " + std::to_string(manufacturerCode) + " number " + std::to_string(identityNumber));
}

const uint8_t* IsoName_c::outputString() const {
  return reinterpret_cast<const uint8_t*>(&m_value);
}

CanPkgExt_c::CanPkgExt_c(const CanPkg_c& message, int /*instance*/) : CanPkg_c(message) {}

Service_c::Service_c(std::string name, unsigned int instance) : m_name(std::move(name)), m_instance(instance) {}

std::string Service_c::call(const std::string& function) const {
  return m_name + " " + std::to_string(m_instance) + " " + function;
}

void Service_c::init() {
  recordCall(call("init"));
}

void Service_c::close() {
  recordCall(call("close"));
}

void IsoMonitor_c::setUseWorkingSet(bool use) {
  recordCall(std::string("working set of monitor ") + textOf(use));
}

void IsoMonitor_c::setSARequestPeriod(int periodMs) {
  recordCall("request period " + std::to_string(periodMs));
}

bool IsoMonitor_c::registerIdentItem(IdentItem_c& /*item*/) {
  recordCall(call("register"));
  return true;
}

bool IsoMonitor_c::deregisterIdentItem(IdentItem_c& /*item*/) {
  recordCall(call("deregister"));
  return true;
}

void IsoItem_c::setUseWorkingSet(bool use) {
  recordCall(std::string("working set of item ") + textOf(use));
}

CanBus_c::CanBus_c(std::string name, unsigned int instance)
    : m_name(std::move(name) + " " + std::to_string(instance)) {}

bool CanBus_c::init(int busNumber, int bitrateKbit) {
  recordCall(m_name + " init " + std::to_string(busNumber) + " " + std::to_string(bitrateKbit));
  return true;
}

bool CanBus_c::close() {
  recordCall(m_name + " close");
  return true;
}

bool System_c::init() {
  recordCall(std::string("system init ") + getZemoEepromFileName());
  return true;
}

void System_c::close() {
  recordCall("system close");
}

void Scheduler_c::init(IsoAgLib::iErrorObserver_c* observer) {
  recordCall(std::string("scheduler init ") + (observer == nullptr ? "null" : "observer"));
}

void Scheduler_c::close() {
  recordCall("scheduler close");
}

System_c& getSystemInstance() {
  static System_c system;
  return system;
}

Scheduler_c& getSchedulerInstance() {
  static Scheduler_c scheduler;
  return scheduler;
}

CanIo_c& getCanInstance(unsigned int instance) {
  return instanceOf<CanIo_c>("can", instance);
}

Service_c& getIsoRequestPgnInstance(unsigned int instance) {
  return instanceOf<Service_c>("requests", instance);
}

IsoMonitor_c& getIsoMonitorInstance(unsigned int instance) {
  return instanceOf<IsoMonitor_c>("monitor", instance);
}

Service_c& getIsoFilterManagerInstance(unsigned int instance) {
  return instanceOf<Service_c>("filters", instance);
}

Service_c& getProprietaryMessageHandlerInstance(unsigned char instance) {
  return instanceOf<Service_c>("proprietary", instance);
}

Service_c& getMultiReceiveInstance(unsigned int instance) {
  return instanceOf<Service_c>("receive", instance);
}

Service_c& getMultiSendInstance(unsigned int instance) {
  return instanceOf<Service_c>("send", instance);
}

VtClient_c& getVtClientInstance(int instance) {
  return instanceOf<VtClient_c>("vt", instance);
}

Service_c& getTcClientInstance(int instance) {
  return instanceOf<Service_c>("tc", instance);
}

Service_c& getTracGeneralInstance(int instance) {
  return instanceOf<Service_c>("general", instance);
}

Service_c& getTracFacilitiesInstance(int instance) {
  return instanceOf<Service_c>("facilities", instance);
}

Service_c& getTracMoveInstance(int instance) {
  return instanceOf<Service_c>("move", instance);
}

Service_c& getTracPtoInstance(int instance) {
  return instanceOf<Service_c>("pto", instance);
}

Service_c& getTracLightInstance(int instance) {
  return instanceOf<Service_c>("light", instance);
}

Service_c& getTracAuxInstance(int instance) {
  return instanceOf<Service_c>("aux", instance);
}

Service_c& getTracGuidanceInstance(int instance) {
  return instanceOf<Service_c>("guidance", instance);
}

Service_c& getTracGuidanceCommandInstance(int instance) {
  return instanceOf<Service_c>("guidance command", instance);
}

Service_c& getTimePosGpsInstance(int instance) {
  return instanceOf<Service_c>("gps", instance);
}

IdentItem_c::~IdentItem_c() {
  recordCall("ident destroyed");
}

void IdentItem_c::setUseWorkingSet(bool use) {
  recordCall(std::string("working set of ident ") + textOf(use));
}

void IdentItem_c::init(const IsoName_c& /*name*/, IsoAgLib::iIdentDataStorage_c& storage, int slaveCount,
                       const IsoName_c* slaves, bool claim) {
  recordCall("ident init address " + std::to_string(storage.loadSa()) + " slaves " + std::to_string(slaveCount) +
             (slaves == nullptr ? " null " : " names ") + textOf(claim));
}

void IdentItem_c::setEcuIdentification(const std::string& partNumber, const std::string& serialNumber,
                                       const std::string& location, const std::string& type,
                                       const std::string& manufacturer, const std::string& hardwareId) {
  recordCall("ident ecu " + quoted(partNumber) + quoted(serialNumber) + quoted(location) + quoted(type) +
             quoted(manufacturer) + quoted(hardwareId));
}

void IdentItem_c::setProductIdentification(const std::string& code, const std::string& brand,
                                           const std::string& model) {
  recordCall("ident product " + quoted(code) + quoted(brand) + quoted(model));
}

void IdentItem_c::setSwIdentification(const std::string& fields) {
  recordCall("ident software " + quoted(fields));
}

void IdentItem_c::setCertificationData(uint16_t year, uint8_t revision, IsoAgLib::CertificationLabType_t laboratoryType,
                                       uint16_t laboratoryId,
                                       BitFieldWrapperLeft_c<IsoAgLib::Certification_s> compliance,
                                       uint16_t referenceNumber) {
  recordCall("ident certification " + std::to_string(year) + " " + std::to_string(revision) + " " +
             std::to_string(laboratoryType) + " " + std::to_string(laboratoryId) + " " +
             std::to_string(compliance.bits()) + " " + std::to_string(referenceNumber));
}

} // namespace __IsoAgLib

namespace IsoAgLib {

__IsoAgLib::CanBus_c& getIProprietaryBusInstance(int instance) {
  return instanceOf<__IsoAgLib::CanBus_c>("proprietary bus", instance);
}

} // namespace IsoAgLib
