// The documented fields of every class by name, type and place, in 64 and in 32 bit. This file alone is compiled
// without regard to access: applications in binary rely on private fields too.
#include "FileUtil.h"
#include "SelectSpecificVT_c.h"
#include "Thread_c.h"
#include "ZemoApp.h"

#include <gtest/gtest.h>
#include <type_traits>

namespace {

struct Places_s {
  std::size_t in64Bit;
  std::size_t in32Bit;

  std::size_t here() const { return sizeof(void*) == 8 ? in64Bit : in32Bit; }
};

// A field that has exactly this type.
template <class Field_t, class Object_c>
struct Field_s {
  const char* name;
  Field_t Object_c::*pointer;
  Places_s places;
};

template <class Field_t, class Object_c>
Field_s<Field_t, Object_c> at(const char* name, Field_t Object_c::*pointer, std::size_t in64Bit, std::size_t in32Bit) {
  return {name, pointer, {in64Bit, in32Bit}};
}

template <class Field_t, class Object_c>
void expectField(const Object_c& object, const Field_s<Field_t, Object_c>& field) {
  const auto* place = reinterpret_cast<const char*>(&(object.*field.pointer));
  EXPECT_EQ(field.places.here(), static_cast<std::size_t>(place - reinterpret_cast<const char*>(&object)))
      << field.name;
}

template <class Object_c, class... Field_t>
void expectFields(const Object_c& object, Places_s sizes, const Field_s<Field_t, Object_c>&... fields) {
  EXPECT_EQ(sizes.here(), sizeof(Object_c));
  (expectField(object, fields), ...);
}

} // namespace

TEST(FieldOrder, OfComponentIdentityIsSevenBytesTwoPointersTheSerialNumberAndTheFlag) {
  using Identity_c = ComponentIdentity_c;
  expectFields(Identity_c(), {40, 28}, at<uint8_t>("m_preferredSa", &Identity_c::m_preferredSa, 8, 4),
               at<uint8_t>("m_deviceClass", &Identity_c::m_deviceClass, 9, 5),
               at<uint8_t>("m_deviceClassInstance", &Identity_c::m_deviceClassInstance, 10, 6),
               at<uint8_t>("m_function", &Identity_c::m_function, 11, 7),
               at<uint8_t>("m_functionInstance", &Identity_c::m_functionInstance, 12, 8),
               at<uint8_t>("m_ecuInstance", &Identity_c::m_ecuInstance, 13, 9),
               at<uint8_t>("m_isoInstance", &Identity_c::m_isoInstance, 14, 10),
               at<IsoAgLib::iIdentItem_c*>("m_myIdent", &Identity_c::m_myIdent, 16, 12),
               at<DataStorage_c*>("m_dataStorage", &Identity_c::m_dataStorage, 24, 16),
               at<uint32_t>("m_serialNumber", &Identity_c::m_serialNumber, 32, 20),
               at<bool>("m_ownsStackObjects", &Identity_c::m_ownsStackObjects, 36, 24));
}

TEST(FieldOrder, OfDataStorageIsTheTwoInterfacesAndTheAddress) {
  expectFields(DataStorage_c(0), {24, 12}, at<uint8_t>("m_preferredSa", &DataStorage_c::m_preferredSa, 16, 8));
}

TEST(FieldOrder, OfComponentVersionsIsTheFlagAndFiveTexts) {
  using Versions_c = ComponentVersions_c;
  expectFields(Versions_c(), {168, 124}, at<bool>("m_initialized", &Versions_c::m_initialized, 0, 0),
               at<std::string>("m_softwareVersion", &Versions_c::m_softwareVersion, 8, 4),
               at<std::string>("m_bootLoaderVersion", &Versions_c::m_bootLoaderVersion, 40, 28),
               at<std::string>("m_osVersion", &Versions_c::m_osVersion, 72, 52),
               at<std::string>("m_serialNumber", &Versions_c::m_serialNumber, 104, 76),
               at<std::string>("m_partNumber", &Versions_c::m_partNumber, 136, 100));
}

TEST(FieldOrder, OfZemoAppIsInstanceKindIdentitiesVersionsAndSixFlags) {
  using __IsoAgLib::ZemoApp;
  expectFields(
      ZemoApp(), {216, 156}, at<uint32_t>("m_IsoInstance", &ZemoApp::m_IsoInstance, 8, 4),
      at<__IsoAgLib::ZemoAppType_e>("m_AppType", &ZemoApp::m_AppType, 12, 8),
      at<std::vector<ComponentIdentity_c*>>("m_Identities", &ZemoApp::m_Identities, 16, 12),
      at<ComponentVersions_c>("m_ComponentVersions", &ZemoApp::m_ComponentVersions, 40, 24),
      at<bool>("m_bVtServerFunctionsInitialized", &ZemoApp::m_bVtServerFunctionsInitialized, 208, 148),
      at<bool>("m_bVtClientFunctionsInitialized", &ZemoApp::m_bVtClientFunctionsInitialized, 209, 149),
      at<bool>("m_bTractorFunctionsInitialized", &ZemoApp::m_bTractorFunctionsInitialized, 210, 150),
      at<bool>("m_bTaskControllerFunctionsInitialized", &ZemoApp::m_bTaskControllerFunctionsInitialized, 211, 151),
      at<bool>("m_bReserved", &ZemoApp::m_bReserved, 212, 152),
      at<bool>("m_bUseProprietaryBus", &ZemoApp::m_bUseProprietaryBus, 213, 153));
}

TEST(FieldOrder, OfFileOperationsIsTwoTextsTheNamesTwoNumbersAndThreeFlags) {
  using Files_c = FileOperations_c;
  static_assert(!std::is_polymorphic<Files_c>::value, "no virtual operation");
  expectFields(Files_c(), {112, 76}, at<std::string>("m_Directory", &Files_c::m_Directory, 0, 0),
               at<std::string>("m_ApplicationText", &Files_c::m_ApplicationText, 32, 24),
               at<std::vector<std::string>>("m_FileNames", &Files_c::m_FileNames, 64, 48),
               at<int32_t>("m_ApplicationNumber", &Files_c::m_ApplicationNumber, 88, 60),
               at<int64_t>("m_TotalSize", &Files_c::m_TotalSize, 96, 64),
               at<bool>("m_bApplicationFlag1", &Files_c::m_bApplicationFlag1, 104, 72),
               at<bool>("m_bApplicationFlag2", &Files_c::m_bApplicationFlag2, 105, 73),
               at<bool>("m_bApplicationFlag3", &Files_c::m_bApplicationFlag3, 106, 74));
}

TEST(FieldOrder, OfThreadIsTheIdentityAndTwoFlags) {
  expectFields(Thread_c(), {24, 12}, at<unsigned long>("m_ThreadId", &Thread_c::m_ThreadId, 8, 4),
               at<bool>("m_bRunning", &Thread_c::m_bRunning, 16, 8),
               at<bool>("m_bAborted", &Thread_c::m_bAborted, 17, 9));
}

// How long a NAME is stands with the stack.
TEST(FieldOrder, OfSelectSpecificVTIsTheNameAndTheMask) {
  using Selection_c = SelectSpecificVT_c;
  constexpr std::size_t name = sizeof(IsoAgLib::iIsoName_c);
  expectFields(Selection_c(IsoAgLib::iIsoName_c(), 0), {name + 1, name + 1},
               at<IsoAgLib::iIsoName_c>("m_wanted", &Selection_c::m_wanted, 0, 0),
               at<uint8_t>("m_matchMask", &Selection_c::m_matchMask, name, name));
}
