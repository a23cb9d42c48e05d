// Every call of the published interface of the host stack and the host console, in order, as text.
//
//   One entry a call, for example
//     IdentItem_c::setUseWorkingSet(true)
//     System_c::init()
//     Scheduler_c::init(null)
//     CanIo_c[0]::init(0, 250)
//     IsoMonitor_c[0]::registerIdentItem(ident 1)
//     ident 1: setProductIdentification("123456", "Harlow-Mede", "R3700")
//     DBusConnection_c::getString(8)
//   Texts stand in double quotes. Identity items are numbered from 1 in the order of their creation in the process.
//   Threads: the thread that drives the stack.
#pragma once

#include <string>
#include <vector>

namespace IsoBusHost::Journal {

void add(std::string entry);
const std::vector<std::string>& entries();
void clear();

// The newest entries only are kept from this number on, so that a long run does not grow.
constexpr std::size_t maxEntries = 100000;

} // namespace IsoBusHost::Journal
