// The documented signatures, checked by the compiler: a signature that differs does not build.
#include "ComponentVersions_c.h"
#include "DataStorage_c.h"
#include "DebugLog.h"
#include "FileUtil.h"
#include "IsoText.h"
#include "RealTimeClockApi.h"
#include "SelectSpecificVT_c.h"
#include "SignalHandling.h"
#include "SwIdentification.h"
#include "SystemUtils.h"
#include "Thread_c.h"
#include "UtfConversion.h"
#include "VtObjects.h"
#include "VtText.h"
#include "ZemoApp.h"
#include "string_util.h"

#include <type_traits>

using __IsoAgLib::ZemoApp;
using __IsoAgLib::ZemoAppType_e;

namespace {

using Byte_t = unsigned char;
using VersionFunctions_t = std::vector<const char* (*)()>;

// is<Expected>(&function): exactly this type, no conversion.
template <class Expected_t, class Actual_t>
constexpr bool is(Actual_t) {
  return std::is_same<Expected_t, Actual_t>::value;
}

// isOverload<Expected>(&function): one of the functions of an overloaded name has exactly this type.
template <class Expected_t>
constexpr bool isOverload(Expected_t) {
  return true;
}

// The application frame.
static_assert(is<bool (ZemoApp::*)(ZemoAppType_e, std::string&, Byte_t, Byte_t, Byte_t, Byte_t, Byte_t, Byte_t, Byte_t,
                                   bool, bool)>(&ZemoApp::init),
              "ZemoApp::init");
static_assert(is<bool (ZemoApp::*)(bool)>(&ZemoApp::initIsoAglib), "ZemoApp::initIsoAglib");
static_assert(is<bool (ZemoApp::*)()>(&ZemoApp::commonInit), "ZemoApp::commonInit");
static_assert(is<void (ZemoApp::*)()>(&ZemoApp::close), "ZemoApp::close");
static_assert(is<void (ZemoApp::*)()>(&ZemoApp::commonClose), "ZemoApp::commonClose");
static_assert(is<bool (ZemoApp::*)()>(&ZemoApp::initTractorFunctions), "ZemoApp::initTractorFunctions");
static_assert(is<void (ZemoApp::*)()>(&ZemoApp::closeTractorFunctions), "ZemoApp::closeTractorFunctions");
static_assert(is<bool (ZemoApp::*)()>(&ZemoApp::initTaskControllerFunctions), "ZemoApp::initTaskControllerFunctions");
static_assert(is<void (ZemoApp::*)()>(&ZemoApp::closeTaskControllerFunctions), "ZemoApp::closeTaskControllerFunctions");
static_assert(is<bool (ZemoApp::*)()>(&ZemoApp::initVtClientFunctions), "ZemoApp::initVtClientFunctions");
static_assert(is<void (ZemoApp::*)()>(&ZemoApp::closeVtClientFunctions), "ZemoApp::closeVtClientFunctions");
static_assert(is<bool (ZemoApp::*)()>(&ZemoApp::initVtServerFunctions), "ZemoApp::initVtServerFunctions");
static_assert(is<void (ZemoApp::*)()>(&ZemoApp::closeVtServerFunctions), "ZemoApp::closeVtServerFunctions");
static_assert(is<bool (ZemoApp::*)(std::string&, Byte_t, Byte_t, Byte_t, Byte_t, Byte_t, Byte_t, Byte_t, bool)>(
                  &ZemoApp::addIdentity),
              "ZemoApp::addIdentity");
static_assert(is<ComponentIdentity_c& (ZemoApp::*)(uint32_t)>(&ZemoApp::getComponentIdentity),
              "ZemoApp::getComponentIdentity");
static_assert(is<uint32_t (ZemoApp::*)(uint32_t)>(&ZemoApp::getSerialNumber), "ZemoApp::getSerialNumber");
static_assert(is<DataStorage_c* (ZemoApp::*)(uint32_t)>(&ZemoApp::getDataStorage), "ZemoApp::getDataStorage");
static_assert(is<IsoAgLib::iIdentItem_c* (ZemoApp::*)(uint32_t)>(&ZemoApp::getMyIdent), "ZemoApp::getMyIdent");
static_assert(is<void (*)(bool, std::string&)>(&ZemoApp::getSetProductVin), "ZemoApp::getSetProductVin");
static_assert(is<uint8_t (*)()>(&ZemoApp::getVirtualTerminalVersion), "ZemoApp::getVirtualTerminalVersion");
static_assert(is<void (*)(std::string)>(&ZemoApp::setIsoAgLibEepromFile), "ZemoApp::setIsoAgLibEepromFile");
static_assert(is<const char* (*)()>(&__IsoAgLib::getZemoEepromFileName), "getZemoEepromFileName");
static_assert(is<int (*)()>(&__IsoAgLib::getConnectAllowedVtServerType), "getConnectAllowedVtServerType");

// The application kind: a signed number of 32 bits whose values matter.
static_assert(sizeof(ZemoAppType_e) == 4, "ZemoAppType_e");
static_assert(std::is_same<std::underlying_type<ZemoAppType_e>::type, int32_t>::value, "ZemoAppType_e");
static_assert(static_cast<ZemoAppType_e>(-1) < static_cast<ZemoAppType_e>(0), "ZemoAppType_e");

// Component identity.
static_assert(is<bool (ComponentIdentity_c::*)(std::string&, uint8_t, uint8_t, uint8_t, uint8_t, uint8_t, uint8_t,
                                               uint8_t, bool, int8_t, uint8_t)>(&ComponentIdentity_c::init),
              "ComponentIdentity_c::init");
static_assert(is<uint32_t (ComponentIdentity_c::*)()>(&ComponentIdentity_c::initSerialNumber),
              "ComponentIdentity_c::initSerialNumber");
static_assert(is<uint32_t (ComponentIdentity_c::*)()>(&ComponentIdentity_c::getSerialNumber),
              "ComponentIdentity_c::getSerialNumber");
static_assert(is<DataStorage_c* (ComponentIdentity_c::*)()>(&ComponentIdentity_c::getDataStorage),
              "ComponentIdentity_c::getDataStorage");
static_assert(is<IsoAgLib::iIdentItem_c* (ComponentIdentity_c::*)()>(&ComponentIdentity_c::getMyIdent),
              "ComponentIdentity_c::getMyIdent");
static_assert(is<uint32_t (*)(char*)>(&convertSerialNumberTo21Bits), "convertSerialNumberTo21Bits");

// Data storage.
static_assert(std::is_constructible<DataStorage_c, uint8_t>::value, "DataStorage_c");
static_assert(is<uint8_t (DataStorage_c::*)()>(&DataStorage_c::loadSa), "DataStorage_c::loadSa");
static_assert(is<void (DataStorage_c::*)(uint8_t)>(&DataStorage_c::storeSa), "DataStorage_c::storeSa");
static_assert(std::is_base_of<IsoAgLib::iIdentDataStorage_c, DataStorage_c>::value, "DataStorage_c");
static_assert(std::is_base_of<IsoAgLib::iVtClientDataStorage_c, DataStorage_c>::value, "DataStorage_c");

// Component versions.
static_assert(is<void (ComponentVersions_c::*)()>(&ComponentVersions_c::init), "ComponentVersions_c::init");
static_assert(is<void (ComponentVersions_c::*)(const std::string&)>(&ComponentVersions_c::setSoftwareVersion),
              "ComponentVersions_c::setSoftwareVersion");
static_assert(is<std::string (ComponentVersions_c::*)()>(&ComponentVersions_c::getSoftwareVersion),
              "ComponentVersions_c::getSoftwareVersion");
static_assert(is<std::string (ComponentVersions_c::*)()>(&ComponentVersions_c::getBootLoaderVersion),
              "ComponentVersions_c::getBootLoaderVersion");
static_assert(is<std::string (ComponentVersions_c::*)()>(&ComponentVersions_c::getOSVersion),
              "ComponentVersions_c::getOSVersion");
static_assert(is<std::string (ComponentVersions_c::*)()>(&ComponentVersions_c::getSerialNumber),
              "ComponentVersions_c::getSerialNumber");
static_assert(is<std::string (ComponentVersions_c::*)()>(&ComponentVersions_c::getZemoPartNumber),
              "ComponentVersions_c::getZemoPartNumber");
static_assert(is<int (ComponentVersions_c::*)()>(&ComponentVersions_c::getVehicleCode),
              "ComponentVersions_c::getVehicleCode");

// Software identification strings.
static_assert(is<const char* (*)()>(&getUtilsVersion), "getUtilsVersion");
static_assert(is<int (*)()>(&GetHardwareRevision), "GetHardwareRevision");
static_assert(is<std::string (*)(const VersionFunctions_t*)>(&__IsoAgLib::stringizeWithMaxZEMOLibVersion),
              "stringizeWithMaxZEMOLibVersion");
static_assert(is<std::string (*)(std::string, const VersionFunctions_t*)>(&__IsoAgLib::formatAppSwIdentification),
              "formatAppSwIdentification");

// Diagnostic text.
static_assert(is<std::string (*)(const __IsoAgLib::IsoName_c&)>(&IsoNameToString), "IsoNameToString");
static_assert(is<std::string (*)(const __IsoAgLib::CanPkg_c&)>(&CanPkgToString), "CanPkgToString");

// Debug log.
static_assert(std::is_same<std::string, decltype(g_LogFileName)>::value, "g_LogFileName");
static_assert(std::is_same<void (*)(const char*), decltype(g_funcLogHandler)>::value, "g_funcLogHandler");
static_assert(is<void (*)(const char*, ...)>(&log_msg), "log_msg");
static_assert(is<void (*)(void (*)(const char*))>(&set_log_handler), "set_log_handler");
static_assert(is<void (*)(const char*)>(&set_log_filename), "set_log_filename");
static_assert(is<void (*)(const char*)>(&default_log_handler), "default_log_handler");
static_assert(is<void (*)()>(&log_clear), "log_clear");
static_assert(is<void (*)()>(&log_check_size), "log_check_size");
static_assert(is<void (*)(FILE*, unsigned int)>(&print_stacktrace), "print_stacktrace");
static_assert(is<std::string (*)()>(&GetDateTimeStamp), "GetDateTimeStamp");

// Signals and stack traces.
static_assert(is<void (*)(int)>(&AddSignalToHandle), "AddSignalToHandle");
static_assert(is<void (*)()>(&AddAllTerminationSignals), "AddAllTerminationSignals");
static_assert(is<void (*)(void (*)(int))>(&SetSignalHandler), "SetSignalHandler");
static_assert(is<void (*)(bool)>(&PrintBackTrace), "PrintBackTrace");

// System utilities.
static_assert(is<int (*)()>(&SystemUtils::getTimeMsRaw), "getTimeMsRaw");
static_assert(is<int (*)()>(&SystemUtils::getTimeMs), "getTimeMs");
static_assert(is<float (*)()>(&SystemUtils::getMinimumReservedFreeMemoryMB), "getMinimumReservedFreeMemoryMB");
static_assert(is<float (*)()>(&SystemUtils::getSystemMemoryFreeMB), "getSystemMemoryFreeMB");
static_assert(is<float (*)()>(&SystemUtils::getSystemMemoryTotalMB), "getSystemMemoryTotalMB");
static_assert(is<bool (*)()>(&SystemUtils::isSystemFreeMemoryBelowMinimum), "isSystemFreeMemoryBelowMinimum");

// File utilities.
static_assert(is<bool (*)(const char*, std::vector<std::string>&, bool&)>(&FileUtil::getSubDirectories),
              "getSubDirectories");
static_assert(is<bool (*)(const char*, FileOperations_c&, bool&)>(&FileUtil::getFilesAndFileSizeInDirectory),
              "getFilesAndFileSizeInDirectory");
static_assert(is<void (*)(const char*)>(&FileUtil::deleteAllFilesInDirectory), "deleteAllFilesInDirectory");
static_assert(is<bool (*)(const char*, long long&, long long&)>(&FileUtil::getDiskSpace), "getDiskSpace");
static_assert(is<int (*)(const char*)>(&FileUtil::getFreeDiskSpacePercent), "getFreeDiskSpacePercent");
static_assert(is<int (*)(const char*)>(&FileUtil::getUsedDiskSpacePercent), "getUsedDiskSpacePercent");
static_assert(is<bool (*)(const char*, std::string&)>(&FileUtil::getParentDirectory), "getParentDirectory");
static_assert(is<bool (*)(const char*)>(&FileUtil::forceUnmount), "forceUnmount");
static_assert(is<void (*)(std::string&)>(&FileUtil::copyPCBackupBatchFile), "copyPCBackupBatchFile");
static_assert(is<const char* (*)()>(&FileUtil::getConsoleModel), "getConsoleModel");
static_assert(is<bool (*)(const char*)>(&FileUtil::fileExists), "fileExists");
static_assert(is<bool (*)(const char*)>(&FileUtil::directoryExists), "directoryExists");
static_assert(is<bool (*)(const char*)>(&FileUtil::createDirectory), "createDirectory");

// Real-time clock.
static_assert(is<long (*)(long*)>(&RealTimeClockApi::time), "time");
static_assert(is<long (*)(int)>(&RealTimeClockApi::read_rtc), "read_rtc");
static_assert(is<void (*)(long, int)>(&RealTimeClockApi::write_rtc), "write_rtc");
static_assert(is<int (*)(int)>(&RealTimeClockApi::to_sys_clock), "to_sys_clock");
static_assert(is<int (*)(int)>(&RealTimeClockApi::from_sys_clock), "from_sys_clock");
static_assert(is<void (*)(int, int, int, int, int, int)>(&RealTimeClockApi::setRtcTime), "setRtcTime");

// Unicode text.
static_assert(is<int (*)(const uint8_t**, const uint8_t*, uint16_t**, uint16_t*, int)>(&ConvertUTF8toUTF16),
              "ConvertUTF8toUTF16");
static_assert(is<int (*)(const uint8_t**, const uint8_t*, uint32_t**, uint32_t*, int)>(&ConvertUTF8toUTF32),
              "ConvertUTF8toUTF32");
static_assert(is<int (*)(const uint16_t**, const uint16_t*, uint8_t**, uint8_t*, int)>(&ConvertUTF16toUTF8),
              "ConvertUTF16toUTF8");
static_assert(is<int (*)(const uint16_t**, const uint16_t*, uint32_t**, uint32_t*, int)>(&ConvertUTF16toUTF32),
              "ConvertUTF16toUTF32");
static_assert(is<int (*)(const uint32_t**, const uint32_t*, uint8_t**, uint8_t*, int)>(&ConvertUTF32toUTF8),
              "ConvertUTF32toUTF8");
static_assert(is<int (*)(const uint32_t**, const uint32_t*, uint16_t**, uint16_t*, int)>(&ConvertUTF32toUTF16),
              "ConvertUTF32toUTF16");
static_assert(is<int (*)(const uint8_t*, const uint8_t*)>(&isLegalUTF8Sequence), "isLegalUTF8Sequence");
static_assert(utfConversionOk == 0 && utfSourceExhausted == 1 && utfTargetExhausted == 2 && utfSourceIllegal == 3,
              "results");
static_assert(is<bool (*)(const unsigned char*, int)>(&isStringLegalUTF8), "isStringLegalUTF8");
static_assert(is<bool (*)(const unsigned char*, int, int)>(&isMaxStringLengthLegalUTF8), "isMaxStringLengthLegalUTF8");
static_assert(is<int (*)(const unsigned char*, int, int)>(&byteOffsetToUTF8CharIndex), "byteOffsetToUTF8CharIndex");
static_assert(is<void (*)(std::string&)>(&trimToValidUtf8String), "trimToValidUtf8String");
static_assert(is<std::string (*)(const std::string&)>(&ConvertUtf8String2BomString), "ConvertUtf8String2BomString");
static_assert(is<std::string (*)(const std::string&)>(&ConvertBomString2Utf8String), "ConvertBomString2Utf8String");

// Virtual Terminal objects. An overloaded name has each of these types.
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectLinearBarGraph_c&, unsigned short, bool)>(&SetVtObject),
              "SetVtObject");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectMeter_c&, unsigned short, bool)>(&SetVtObject), "SetVtObject");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectOutputList_c&, unsigned char, bool)>(&SetVtObject), "SetVtObject");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectInputList_c&, unsigned char, bool)>(&SetVtObject), "SetVtObject");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectInputBoolean_c&, bool, bool)>(&SetVtObject), "SetVtObject");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectInputNumber_c&, unsigned int, bool)>(&SetVtObject), "SetVtObject");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectOutputNumber_c&, unsigned int, bool)>(&SetVtObject),
              "SetVtObject");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectNumberVariable_c&, unsigned int, bool)>(&SetVtObject),
              "SetVtObject");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectObjectPointer_c&, IsoAgLib::iVtObject_c*, bool)>(&SetVtObject),
              "SetVtObject");
static_assert(
    isOverload<void (*)(IsoAgLib::iVtObjectPolygon_c&, IsoAgLib::iVtObjectFillAttributes_c*, bool)>(&SetVtObject),
    "SetVtObject");
static_assert(
    isOverload<void (*)(IsoAgLib::iVtObjectRectangle_c&, IsoAgLib::iVtObjectFillAttributes_c*, bool)>(&SetVtObject),
    "SetVtObject");
static_assert(
    isOverload<void (*)(IsoAgLib::iVtObjectMeter_c&, IsoAgLib::iVtObjectNumberVariable_c*, bool)>(&SetVtObject),
    "SetVtObject");
static_assert(
    isOverload<void (*)(IsoAgLib::iVtObjectOutputNumber_c&, IsoAgLib::iVtObjectFontAttributes_c*, bool)>(&SetVtObject),
    "SetVtObject");
static_assert(
    isOverload<void (*)(IsoAgLib::iVtObjectOutputNumber_c&, IsoAgLib::iVtObjectNumberVariable_c*, bool)>(&SetVtObject),
    "SetVtObject");
static_assert(
    isOverload<void (*)(IsoAgLib::iVtObjectInputString_c&, IsoAgLib::iVtObjectStringVariable_c*, bool)>(&SetVtObject),
    "SetVtObject");
static_assert(
    isOverload<void (*)(IsoAgLib::iVtObjectOutputString_c&, IsoAgLib::iVtObjectFontAttributes_c*, bool)>(&SetVtObject),
    "SetVtObject");
static_assert(
    isOverload<void (*)(IsoAgLib::iVtObjectOutputString_c&, IsoAgLib::iVtObjectStringVariable_c*, bool)>(&SetVtObject),
    "SetVtObject");
static_assert(
    isOverload<void (*)(IsoAgLib::iVtObjectDataMask_c&, IsoAgLib::iVtObjectSoftKeyMask_c*, bool)>(&SetVtObject),
    "SetVtObject");
static_assert(
    isOverload<void (*)(IsoAgLib::iVtObjectWorkingSet_c&, IsoAgLib::iVtObjectDataMask_c*, bool)>(&SetVtObject),
    "SetVtObject");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectOutputNumber_c&, unsigned char, bool)>(&SetVtDecimals),
              "SetVtDecimals");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectInputNumber_c&, unsigned char, bool)>(&SetVtDecimals),
              "SetVtDecimals");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectOutputNumber_c&, int, bool)>(&SetVtOffset), "SetVtOffset");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectInputNumber_c&, int, bool)>(&SetVtOffset), "SetVtOffset");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectOutputNumber_c&, float, bool)>(&SetVtScale), "SetVtScale");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectInputNumber_c&, float, bool)>(&SetVtScale), "SetVtScale");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectLinearBarGraph_c&, unsigned char, bool)>(&SetVtObjectColour),
              "SetVtObjectColour");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectKey_c&, unsigned char, bool)>(&SetVtBackColor), "SetVtBackColor");
static_assert(
    isOverload<void (*)(IsoAgLib::iVtObjectInputList_c&, unsigned char, IsoAgLib::iVtObject_c*, bool)>(&SetVtListIndex),
    "SetVtListIndex");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectInputList_c&, bool, bool)>(&SetVtObjectEnable),
              "SetVtObjectEnable");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectInputNumber_c&, bool, bool)>(&SetVtEnableObject),
              "SetVtEnableObject");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectInputNumber_c&, bool, bool)>(&SetVtDisableObject),
              "SetVtDisableObject");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectInputBoolean_c&, bool, bool)>(&SetVtEnableObject),
              "SetVtEnableObject");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectInputBoolean_c&, bool, bool)>(&SetVtDisableObject),
              "SetVtDisableObject");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectContainer_c&, bool, bool)>(&ShowVtContainer), "ShowVtContainer");
static_assert(isOverload<unsigned int (*)(IsoAgLib::iVtObjectNumberVariable_c&)>(&GetVtValue), "GetVtValue");
static_assert(isOverload<unsigned int (*)(IsoAgLib::iVtObjectInputNumber_c&)>(&GetVtValue), "GetVtValue");
static_assert(isOverload<const char* (*)(IsoAgLib::iVtObjectOutputString_c&)>(&GetVtValue), "GetVtValue");
static_assert(isOverload<const char* (*)(IsoAgLib::iVtObjectInputString_c&)>(&GetVtValue), "GetVtValue");
static_assert(isOverload<const char* (*)(IsoAgLib::iVtObjectStringVariable_c&)>(&GetVtValue), "GetVtValue");
static_assert(is<unsigned char (*)()>(&getFontEncoding), "getFontEncoding");
static_assert(is<void (*)(unsigned char)>(&setFontEncoding), "setFontEncoding");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectStringVariable_c&, const std::string&, bool)>(&SetVtObject),
              "SetVtObject");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectStringVariable_c&, const std::string&, bool)>(&SetVtObjectUTF8),
              "SetVtObjectUTF8");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectInputString_c&, const std::string&, bool)>(&SetVtObject),
              "SetVtObject");
static_assert(isOverload<void (*)(IsoAgLib::iVtObjectInputString_c&, const std::string&, bool)>(&SetVtObjectUTF8),
              "SetVtObjectUTF8");
static_assert(isOverload<bool (*)(IsoAgLib::iVtObjectOutputString_c&, const std::string&, bool, bool)>(&SetVtObject),
              "SetVtObject");
static_assert(
    isOverload<bool (*)(IsoAgLib::iVtObjectOutputString_c&, const std::string&, bool, bool)>(&SetVtObjectUTF8),
    "SetVtObjectUTF8");
static_assert(is<void (*)(std::string&, unsigned short)>(&spacePadUTF16String), "spacePadUTF16String");

// Selection of a Virtual Terminal.
static_assert(is<bool (SelectSpecificVT_c::*)(const IsoAgLib::iIsoName_c&) const>(&SelectSpecificVT_c::selectVtServer),
              "SelectSpecificVT_c::selectVtServer");
static_assert(std::is_constructible<SelectSpecificVT_c, const IsoAgLib::iIsoName_c&, uint8_t>::value,
              "SelectSpecificVT_c");
static_assert(!std::is_polymorphic<SelectSpecificVT_c>::value, "SelectSpecificVT_c");

// Threads.
static_assert(is<void (Thread_c::*)(void* (*)(void*), void*)>(&Thread_c::start), "Thread_c::start");
static_assert(is<void (*)(unsigned long&, void* (*)(void*), void*)>(&Thread_c::startThread), "Thread_c::startThread");
static_assert(is<void (Thread_c::*)()>(&Thread_c::stop), "Thread_c::stop");
static_assert(is<bool (Thread_c::*)()>(&Thread_c::isAborted), "Thread_c::isAborted");
static_assert(is<bool (Thread_c::*)()>(&Thread_c::isRunning), "Thread_c::isRunning");
static_assert(std::has_virtual_destructor<Thread_c>::value, "Thread_c");
static_assert(!std::is_polymorphic<FileOperations_c>::value, "FileOperations_c");

} // namespace
