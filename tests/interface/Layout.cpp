#include "Application.h"
#include "HostFixture.h"
#include "SelectSpecificVT_c.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <cxxabi.h>
#include <typeinfo>

using __IsoAgLib::ZemoApp;
using namespace TestSupport;

namespace {

// Where a run of bytes begins in an object; the size of the object where it is not there.
template <class Object_c>
std::size_t placeOf(const Object_c& object, const std::vector<unsigned char>& run) {
  const auto* begin = reinterpret_cast<const unsigned char*>(&object);
  const auto* end = begin + sizeof object;
  return static_cast<std::size_t>(std::search(begin, end, run.begin(), run.end()) - begin);
}

template <class Value_t>
std::vector<unsigned char> bytesOf(const Value_t& value) {
  std::vector<unsigned char> bytes(sizeof value);
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

// The offset of the only byte that a step changes in an object.
template <class Object_c, class Step_c>
std::size_t byteChangedBy(Object_c& object, const Step_c& step) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(&object);
  const std::vector<unsigned char> before(bytes, bytes + sizeof object);
  step();
  std::size_t changed = sizeof object;
  for (std::size_t offset = 0; offset < sizeof object; ++offset) {
    if (bytes[offset] != before[offset]) {
      EXPECT_EQ(sizeof object, changed) << "a second byte at " << offset;
      changed = offset;
    }
  }
  return changed;
}

// The class of a type's run-time information: with one base, several bases, or none.
const std::type_info& kindOf(const std::type_info& type) {
  return typeid(type);
}

} // namespace

class ZemoAppMemory : public HostFixture {};

TEST_F(ZemoAppMemory, HasTheDocumentedSizeAndNoBase) {
  EXPECT_EQ(ZemoAppLayout::size, sizeof(ZemoApp));
  EXPECT_TRUE(kindOf(typeid(ZemoApp)) == typeid(abi::__class_type_info));
}

TEST_F(ZemoAppMemory, HasInstanceAndKindBehindTheVirtualTable) {
  ZemoApp app;
  const auto kind = static_cast<__IsoAgLib::ZemoAppType_e>(0x5A5A5A5A);
  std::string swIdentification = "x";
  IsoBusHost::Host::faults().canBusFails[0] = true;
  app.init(kind, swIdentification, 0x80, 7, 1, 0x82, 3, 2, 0, true, false);
  EXPECT_EQ(ZemoAppLayout::appType, placeOf(app, {0x5A, 0x5A, 0x5A, 0x5A}));
  IsoBusHost::Host::faults().canBusFails[0] = false;
  // The instance is only read; what a group opens tells its place.
  field<uint32_t>(&app, ZemoAppLayout::isoInstance) = 1;
  IsoBusHost::Journal::clear();
  app.initTaskControllerFunctions();
  EXPECT_EQ("TcClient_c[1]::init()\n", journalText());
}

TEST_F(ZemoAppMemory, HasTheIdentitiesInAVectorInFrontOfTheVersions) {
  ZemoApp app;
  ASSERT_TRUE(initApplication(app, 0, false, "version-of-26-letters-here"));
  ComponentIdentity_c* const* first = identities(app).data();
  EXPECT_EQ(ZemoAppLayout::identities, placeOf(app, bytesOf(first)));
  EXPECT_EQ(&app.getComponentIdentity(0), first[0]);
  EXPECT_EQ("version-of-26-letters-here",
            field<std::string>(&app, ZemoAppLayout::componentVersions + ComponentVersionsLayout::softwareVersion));
}

TEST_F(ZemoAppMemory, HasTheSixFlagsInOrderAtItsEnd) {
  ZemoApp app;
  EXPECT_EQ(ZemoAppLayout::vtServerInitialized, byteChangedBy(app, [&app] { app.initVtServerFunctions(); }));
  EXPECT_EQ(ZemoAppLayout::vtClientInitialized, byteChangedBy(app, [&app] { app.initVtClientFunctions(); }));
  EXPECT_EQ(ZemoAppLayout::taskControllerInitialized,
            byteChangedBy(app, [&app] { app.initTaskControllerFunctions(); }));
  EXPECT_EQ(ZemoAppLayout::useProprietaryBus, byteChangedBy(app, [&app] { app.initIsoAglib(true); }));
  flag(app, ZemoAppLayout::tractorInitialized) = true;
  EXPECT_EQ(ZemoAppLayout::tractorInitialized, byteChangedBy(app, [&app] { app.closeTractorFunctions(); }));
}

TEST_F(ZemoAppMemory, NeverWritesTheReservedFlag) {
  ZemoApp app;
  flag(app, ZemoAppLayout::reserved) = true;
  initApplication(app, 1, true);
  app.initVtClientFunctions();
  app.initTractorFunctions();
  app.initTaskControllerFunctions();
  app.close();
  EXPECT_TRUE(flag(app, ZemoAppLayout::reserved));
}

class ComponentIdentityMemory : public HostFixture {};

TEST_F(ComponentIdentityMemory, HasTheDocumentedSizeAndNoBase) {
  EXPECT_EQ(ComponentIdentityLayout::size, sizeof(ComponentIdentity_c));
  EXPECT_TRUE(kindOf(typeid(ComponentIdentity_c)) == typeid(abi::__class_type_info));
}

TEST_F(ComponentIdentityMemory, HasItsFieldsInOrder) {
  ZemoApp app;
  ASSERT_TRUE(app.initIsoAglib(false));
  ComponentIdentity_c identity;
  std::string swIdentification = "x";
  identity.init(swIdentification, 0x91, 0x65, 0x0C, 0x19, 0x16, 0x03, 1, false, 0, 0);
  EXPECT_EQ(ComponentIdentityLayout::preferredSa, placeOf(identity, {0x91, 0x65, 0x0C, 0x19, 0x16, 0x03, 0x01}));
  EXPECT_EQ(ComponentIdentityLayout::myIdent, placeOf(identity, bytesOf(identity.getMyIdent())));
  EXPECT_EQ(ComponentIdentityLayout::dataStorage, placeOf(identity, bytesOf(identity.getDataStorage())));
  EXPECT_EQ(ComponentIdentityLayout::serialNumber, placeOf(identity, bytesOf(uint32_t{123456})));
  EXPECT_TRUE(field<bool>(&identity, ComponentIdentityLayout::ownsStackObjects));
}

class DataStorageMemory : public HostFixture {};

TEST_F(DataStorageMemory, HasBothInterfacesThenTheAddress) {
  DataStorage_c storage(0x5C);
  EXPECT_EQ(DataStorageLayout::size, sizeof storage);
  EXPECT_EQ(static_cast<void*>(&storage), static_cast<IsoAgLib::iIdentDataStorage_c*>(&storage));
  EXPECT_EQ(reinterpret_cast<char*>(&storage) + DataStorageLayout::secondInterface,
            reinterpret_cast<char*>(static_cast<IsoAgLib::iVtClientDataStorage_c*>(&storage)));
  EXPECT_EQ(0x5C, field<uint8_t>(&storage, DataStorageLayout::preferredSa));
  field<uint8_t>(&storage, DataStorageLayout::preferredSa) = 0x33;
  EXPECT_EQ(0x33, storage.loadSa());
}

TEST_F(DataStorageMemory, HasTwoPublicBases) {
  const std::type_info& type = typeid(DataStorage_c);
  ASSERT_TRUE(kindOf(type) == typeid(abi::__vmi_class_type_info));
  const auto& bases = static_cast<const abi::__vmi_class_type_info&>(type);
  ASSERT_EQ(2U, bases.__base_count);
  EXPECT_STREQ("N8IsoAgLib19iIdentDataStorage_cE", bases.__base_info[0].__base_type->name());
  EXPECT_STREQ("N8IsoAgLib22iVtClientDataStorage_cE", bases.__base_info[1].__base_type->name());
  EXPECT_TRUE(bases.__base_info[0].__is_public_p());
  EXPECT_TRUE(bases.__base_info[1].__is_public_p());
}

class ComponentVersionsMemory : public HostFixture {};

TEST_F(ComponentVersionsMemory, HasTheFlagThenTheFiveTextsInOrder) {
  static_assert(!std::is_polymorphic<ComponentVersions_c>::value, "no virtual operation");
  EXPECT_EQ(ComponentVersionsLayout::size, sizeof(ComponentVersions_c));
  ComponentVersions_c versions;
  versions.setSoftwareVersion("the application");
  versions.init();
  EXPECT_TRUE(field<bool>(&versions, ComponentVersionsLayout::initialized));
  EXPECT_EQ("the application", field<std::string>(&versions, ComponentVersionsLayout::softwareVersion));
  EXPECT_EQ("B7", field<std::string>(&versions, ComponentVersionsLayout::bootLoaderVersion));
  EXPECT_EQ("OS-3.1", field<std::string>(&versions, ComponentVersionsLayout::osVersion));
  EXPECT_EQ("ZC123456", field<std::string>(&versions, ComponentVersionsLayout::serialNumber));
  EXPECT_EQ("4711.5", field<std::string>(&versions, ComponentVersionsLayout::partNumber));
}

TEST(SelectSpecificVTMemory, HasTheNameThenTheMaskAndNoVirtualTable) {
  static_assert(!std::is_polymorphic<SelectSpecificVT_c>::value, "no virtual operation");
  static_assert(sizeof(SelectSpecificVT_c) == sizeof(IsoAgLib::iIsoName_c) + 1, "nothing else");
  const std::array<uint8_t, 8> bytes = {0x40, 0xE2, 0xA1, 0x5B, 0x00, 0x1D, 0x32, 0xA0};
  const IsoAgLib::iIsoName_c name(bytes.data());
  SelectSpecificVT_c selection(name, 0x2C);
  EXPECT_EQ(0U, placeOf(selection, bytesOf(name)));
  EXPECT_EQ(0x2C, field<uint8_t>(&selection, sizeof name));
}
