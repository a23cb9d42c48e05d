// The numbers of the console values that this library asks for. The numbers are the interface; the console-services
// library may name them as it likes.
#pragma once

#include "ZemoPlatform.h"

namespace ConsoleValue {

constexpr DBusValue_e bootLoaderVersion = static_cast<DBusValue_e>(5);
constexpr DBusValue_e osVersion = static_cast<DBusValue_e>(6);
constexpr DBusValue_e serialNumber = static_cast<DBusValue_e>(8);
constexpr DBusValue_e partNumber = static_cast<DBusValue_e>(10);
constexpr DBusValue_e hardwareVariant = static_cast<DBusValue_e>(11);

} // namespace ConsoleValue
