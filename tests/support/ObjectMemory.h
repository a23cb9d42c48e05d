// The library's objects as they lie in memory: the documented place of every field, for 64 and 32 bit, and access to
// it. Tests look at private fields through it, and set those that nothing in the library sets.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class ComponentIdentity_c;

namespace TestSupport {

constexpr std::size_t in64And32(std::size_t in64Bit, std::size_t in32Bit) {
  return sizeof(void*) == 8 ? in64Bit : in32Bit;
}

// field: the field of type Field_t at an offset of an object.
template <class Field_t>
Field_t& field(void* object, std::size_t offset) {
  return *reinterpret_cast<Field_t*>(static_cast<unsigned char*>(object) + offset);
}

namespace ZemoAppLayout {
constexpr std::size_t isoInstance = in64And32(8, 4);                   // uint32_t
constexpr std::size_t appType = in64And32(12, 8);                      // ZemoAppType_e
constexpr std::size_t identities = in64And32(16, 12);                  // std::vector<ComponentIdentity_c*>
constexpr std::size_t componentVersions = in64And32(40, 24);           // ComponentVersions_c
constexpr std::size_t vtServerInitialized = in64And32(208, 148);       // bool
constexpr std::size_t vtClientInitialized = in64And32(209, 149);       // bool
constexpr std::size_t tractorInitialized = in64And32(210, 150);        // bool
constexpr std::size_t taskControllerInitialized = in64And32(211, 151); // bool
constexpr std::size_t reserved = in64And32(212, 152);                  // bool
constexpr std::size_t useProprietaryBus = in64And32(213, 153);         // bool
constexpr std::size_t size = in64And32(216, 156);
} // namespace ZemoAppLayout

namespace ComponentIdentityLayout {
constexpr std::size_t preferredSa = in64And32(8, 4); // uint8_t, as the six that follow
constexpr std::size_t deviceClass = in64And32(9, 5);
constexpr std::size_t deviceClassInstance = in64And32(10, 6);
constexpr std::size_t function = in64And32(11, 7);
constexpr std::size_t functionInstance = in64And32(12, 8);
constexpr std::size_t ecuInstance = in64And32(13, 9);
constexpr std::size_t isoInstance = in64And32(14, 10);
constexpr std::size_t myIdent = in64And32(16, 12);          // IsoAgLib::iIdentItem_c*
constexpr std::size_t dataStorage = in64And32(24, 16);      // DataStorage_c*
constexpr std::size_t serialNumber = in64And32(32, 20);     // uint32_t
constexpr std::size_t ownsStackObjects = in64And32(36, 24); // bool
constexpr std::size_t size = in64And32(40, 28);
} // namespace ComponentIdentityLayout

namespace DataStorageLayout {
constexpr std::size_t secondInterface = in64And32(8, 4); // the IsoAgLib::iVtClientDataStorage_c part
constexpr std::size_t preferredSa = in64And32(16, 8);    // uint8_t
constexpr std::size_t size = in64And32(24, 12);
} // namespace DataStorageLayout

namespace ComponentVersionsLayout {
constexpr std::size_t initialized = 0;                   // bool
constexpr std::size_t softwareVersion = in64And32(8, 4); // std::string, as the four that follow
constexpr std::size_t bootLoaderVersion = in64And32(40, 28);
constexpr std::size_t osVersion = in64And32(72, 52);
constexpr std::size_t serialNumber = in64And32(104, 76);
constexpr std::size_t partNumber = in64And32(136, 100);
constexpr std::size_t size = in64And32(168, 124);
} // namespace ComponentVersionsLayout

} // namespace TestSupport
