// The virtual tables word by word, as applications that call and derive in binary rely on them.
#include "ZemoApp.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>
#include <string>
#include <typeinfo>
#include <vector>

namespace {

// A name as the whole process sees it: the linker may have moved type information into this program. Null where there
// is none.
void* named(const std::string& mangledName) {
  return dlsym(RTLD_DEFAULT, mangledName.c_str());
}

std::size_t wordsOf(const void* table) {
  Dl_info info = {};
  void* entry = nullptr;
  EXPECT_NE(0, dladdr1(table, &info, &entry, RTLD_DL_SYMENT));
  return static_cast<const ElfW(Sym)*>(entry)->st_size / sizeof(void*);
}

// What stands in front of the functions of each part of a table: how far the whole object lies back, and its type.
void expectHeader(void* const* part, std::ptrdiff_t back, const std::string& typeInformation) {
  EXPECT_EQ(back, reinterpret_cast<std::ptrdiff_t>(part[0]));
  EXPECT_EQ(named(typeInformation), part[1]);
}

void expectSlots(void* const* part, const std::vector<std::string>& functions) {
  for (std::size_t number = 0; number < functions.size(); ++number) {
    ASSERT_NE(nullptr, named(functions[number])) << functions[number];
    EXPECT_EQ(named(functions[number]), part[2 + number]) << functions[number] << " in slot " << number;
  }
}

// One part: no base, or a base that brings no table.
void expectTable(const std::string& type, const std::vector<std::string>& functions) {
  auto* table = static_cast<void**>(named("_ZTV" + type));
  ASSERT_NE(nullptr, table);
  EXPECT_EQ(2 + functions.size(), wordsOf(table));
  expectHeader(table, 0, "_ZTI" + type);
  expectSlots(table, functions);
}

// typeid of the type information: of classes without a base, with one, or with several.
const std::type_info& kindOf(const std::string& type) {
  const auto* information = static_cast<const std::type_info*>(named("_ZTI" + type));
  return typeid(*information);
}

} // namespace

TEST(VirtualTable, OfZemoAppIsItsTwoDestructors) {
  expectTable("N10__IsoAgLib7ZemoAppE", {"_ZN10__IsoAgLib7ZemoAppD1Ev", "_ZN10__IsoAgLib7ZemoAppD0Ev"});
  EXPECT_TRUE(kindOf("N10__IsoAgLib7ZemoAppE") == typeid(abi::__class_type_info));
}

TEST(VirtualTable, OfComponentIdentityIsItsTwoDestructors) {
  expectTable("19ComponentIdentity_c", {"_ZN19ComponentIdentity_cD1Ev", "_ZN19ComponentIdentity_cD0Ev"});
  EXPECT_TRUE(kindOf("19ComponentIdentity_c") == typeid(abi::__class_type_info));
}

TEST(VirtualTable, OfThreadIsItsTwoDestructors) {
  expectTable("8Thread_c", {"_ZN8Thread_cD1Ev", "_ZN8Thread_cD0Ev"});
  EXPECT_TRUE(kindOf("8Thread_c") == typeid(abi::__class_type_info));
}

TEST(VirtualTable, OfDataStorageIsTheFirstInterfaceThenDestructorsThenTheSecondInterface) {
  auto* table = static_cast<void**>(named("_ZTV13DataStorage_c"));
  ASSERT_NE(nullptr, table);
  EXPECT_EQ(2U + 8U + 2U + 2U, wordsOf(table));
  expectHeader(table, 0, "_ZTI13DataStorage_c");
  expectSlots(table, {
                         "_ZN13DataStorage_c6loadSaEv",
                         "_ZN13DataStorage_c7storeSaEh",
                         "_ZN13DataStorage_c8loadDtcsERN8IsoAgLib15iDtcContainer_cE",
                         "_ZN13DataStorage_c9storeDtcsERKN8IsoAgLib15iDtcContainer_cE",
                         "_ZN13DataStorage_cD1Ev",
                         "_ZN13DataStorage_cD0Ev",
                         "_ZN13DataStorage_c15loadPreferredVtERN8IsoAgLib10iIsoName_cERh",
                         "_ZN13DataStorage_c16storePreferredVtERKN8IsoAgLib10iIsoName_cEh",
                     });
}

TEST(VirtualTable, OfDataStorageForwardsTheSecondInterfaceFromAPartOfItsOwn) {
  auto* table = static_cast<void**>(named("_ZTV13DataStorage_c"));
  ASSERT_NE(nullptr, table);
  void** part = table + 2 + 8;
  const std::string thunk = sizeof(void*) == 8 ? "_ZThn8_N" : "_ZThn4_N";
  expectHeader(part, -static_cast<std::ptrdiff_t>(sizeof(void*)), "_ZTI13DataStorage_c");
  expectSlots(part, {
                        thunk + "13DataStorage_c15loadPreferredVtERN8IsoAgLib10iIsoName_cERh",
                        thunk + "13DataStorage_c16storePreferredVtERKN8IsoAgLib10iIsoName_cEh",
                    });
}

TEST(VirtualTable, IsWhatTheObjectsOfTheLibraryPointTo) {
  DataStorage_c storage(0);
  auto* table = static_cast<void**>(named("_ZTV13DataStorage_c"));
  EXPECT_EQ(table + 2, *reinterpret_cast<void***>(&storage));
  EXPECT_EQ(table + 2 + 8 + 2, *reinterpret_cast<void***>(static_cast<IsoAgLib::iVtClientDataStorage_c*>(&storage)));
  ComponentIdentity_c identity;
  EXPECT_EQ(static_cast<void**>(named("_ZTV19ComponentIdentity_c")) + 2, *reinterpret_cast<void***>(&identity));
  __IsoAgLib::ZemoApp app;
  EXPECT_EQ(static_cast<void**>(named("_ZTVN10__IsoAgLib7ZemoAppE")) + 2, *reinterpret_cast<void***>(&app));
}

TEST(VirtualTable, IsNoPartOfTheOtherClasses) {
  for (const char* type : {"19ComponentVersions_c", "16FileOperations_c", "18SelectSpecificVT_c"}) {
    EXPECT_EQ(nullptr, named(std::string("_ZTV") + type)) << type;
    EXPECT_EQ(nullptr, named(std::string("_ZTI") + type)) << type;
  }
}
