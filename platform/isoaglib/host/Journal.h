// Every call of the published interface of the host stack and the host console, in order, as text.
//
//   One entry a call, for example
//     IdentItem_c::setUseWorkingSet(true)
//     System_c::init()
//     Scheduler_c::init(null)
//     CanIo_c[0]::init(0, 250)
//     iProprietaryBus_c[0]::init(1, 250)          followed by the call that it makes, CanIo_c[2]::init(1, 250)
//     IsoMonitor_c[0]::registerIdentItem(ident 1)
//     ident 1: created
//     ident 1: init(A0001D005BA1E240, -1, null, true)          NAME, slave count, slave NAMEs, claim when registered
//     ident 1: setProductIdentification("123456", "Harlow-Mede", "R3700")
//     ident 1: setCertificationData(2013, 31, 3, 733, 000000, 0)       the fifth: compliance bits, 3 bytes
//     ident 1: destroyed
//     VtClient_c[0]::initAndRegisterObjectPool(ident 1, pool of 10 objects, "LABEL", storage)       or null, null
//     VtClient_c[0]::deregisterObjectPool(pool of 10 objects) = true
//     isoaglib_assert_callStart() = false
//     DBusConnection_c::getString(8)              where the console's journal is connected (ConsoleHost::setJournal)
//   What the stack asks of the application begins with an arrow, for example
//     -> getZemoEepromFileName() = "/mnt/nand/zemo/settings/eeprom.dat"
//     -> getConnectAllowedVtServerType() = 2
//     -> ident 1 loadSa() = 128
//     -> ident 1 storeSa(128)
//     -> VT client 0 loadPreferredVt() = A0001D0000000001, 3              NAME (0: none) and boot time in seconds
//     -> VT client 0 storePreferredVt(A0001D0000000001, 12)
//   Texts stand in double quotes. Identity items are numbered from 1 in the order of their creation since Host::reset.
//   Threads: the thread that drives the stack.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace IsoBusHost::Journal {

void add(std::string entry);
const std::vector<std::string>& entries();
void clear();

// setVtCalls: whether the calls of VT objects are written too; off at first, since there are many and an entry costs an
// allocation. For example
//     vt 1001: setValue(250, true, true)
//     vt 1001: saveValue8SetAttribute(41, 48, 9, 2, 2, false)                as the published call, numbers in decimal
//     vt 1003: setValueCopy("Speed   ", true, false)                         bytes beyond 32 to 126 as \xNN
//     vt 1000: changeActiveMask(1100, true, false)                           objects by their id, none as 65535
void setVtCalls(bool on);
bool hasVtCalls();

// listen: told each entry before it is kept, in the middle of the call that makes it; an empty function ends it.
void listen(std::function<void(const std::string& entry)> listener);

// When this many entries are kept the older half goes, so that a long run does not grow.
constexpr std::size_t maxEntries = 100000;

} // namespace IsoBusHost::Journal
