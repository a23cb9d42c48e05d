// The application frame: brings the ISOBUS stack up and down and presents the application on the bus as one or more
// control functions, each with its NAME, ECU, product and software identification and certification data.
//
//   Order of use: construct ZemoApp; setIsoAgLibEepromFile where the path differs; init; any number of addIdentity,
//                 queries and function groups; close; destroy.
//   Threads: all calls come from the one thread that drives the stack. Nothing here takes a lock.
//   State of the process: the path of the stack's EEPROM file, the serial-number cache, the VT-version cache.
//   Prints: one line on standard output for a CAN bus that does not open and for a refused registration.
//   Programming errors (a group opened twice, an index out of range, an identity initialised twice) end the process
//   through the standard assertion failure, in every build type, unless isoaglib_assert_callStart() waives the check.
#pragma once

#include "ComponentVersions_c.h"
#include "DataStorage_c.h"
#include "ZemoExport.h"
#include "ZemoPlatform.h"

#include <cstdint>
#include <string>
#include <vector>

// convertSerialNumberTo21Bits: returns the NAME's identity number for a console serial number.
//
//   Takes    serialNumber: a terminated text, not null
//   Gives    the decimal number that begins six characters before the end of the text, its low 20 bits
//   Kept     the first result that is not 0 serves the whole process, whatever text is given later.
//            The mask has 20 bits although an identity number has 21: six digits always fit.
//            The start offset has 8 bits and wraps for texts of more than 261 characters.
//
//   text (first call)    result
//   SN1234567890         567890
//   12AB34               12
//   ABC                  0, not cached
//   -1                   1048575
ZEMO_EXPORT uint32_t convertSerialNumberTo21Bits(char* serialNumber);

// ComponentIdentity_c: one control function on the bus. Owns the stack's identity item and its data storage.
class ZEMO_EXPORT ComponentIdentity_c {
public:
  // All numbers are 0 and both pointers null.
  ComponentIdentity_c();

  // Deletes the identity item and the data storage. Does not deregister the item: ZemoApp::close has done it.
  virtual ~ComponentIdentity_c();

  ComponentIdentity_c(const ComponentIdentity_c&) = delete;
  ComponentIdentity_c& operator=(const ComponentIdentity_c&) = delete;

  // init: builds the NAME, registers the identity item with the stack and sets all identification data.
  //
  //   Takes    swIdentification  first field of the software identification; see formatAppSwIdentification
  //            preferredSa       source address to claim first, 0 to 253
  //            deviceClass       0 to 127; deviceClassInstance 0 to 15
  //            function          0 to 255; functionInstance 0 to 31; ecuInstance 0 to 7
  //            isoInstance       stack instance that registers the item: 0 ISOBUS, 1 chassis
  //            selfConfigurable  whether another address may be claimed when the preferred one is taken
  //            slaveCount        -1: no working-set master; 0 or more: master with that many members
  //            industryGroup     0 to 7 (2: agriculture)
  //   Gives    true whenever it returns
  //   Fails    a refused registration prints "Failed to register ident" and aborts the process;
  //            an empty console part number throws std::out_of_range, the product, software and certification data
  //            are then not set and the item stays registered;
  //            a second call on the same object is a programming error
  //   Kept     manufacturer code 733 always; the product model is "R3700" without and empty with a VIN; all
  //            compliance bits are clear
  //   Source   ISO 11783-5 (NAME), ISO 11783-12 (ECU, product, software), ISO 11783-7 (certification)
  bool init(std::string& swIdentification, uint8_t preferredSa, uint8_t deviceClass, uint8_t deviceClassInstance,
            uint8_t function, uint8_t functionInstance, uint8_t ecuInstance, uint8_t isoInstance, bool selfConfigurable,
            int8_t slaveCount, uint8_t industryGroup);

  // initSerialNumber: reads the console's serial number, stores the NAME's identity number and returns it.
  uint32_t initSerialNumber();

  // The identity number, 0 before init; the storage and the stack's item, null before init and owned by this object.
  uint32_t getSerialNumber();
  DataStorage_c* getDataStorage();
  IsoAgLib::iIdentItem_c* getMyIdent();

private:
  uint8_t m_preferredSa;
  uint8_t m_deviceClass;
  uint8_t m_deviceClassInstance;
  uint8_t m_function;
  uint8_t m_functionInstance;
  uint8_t m_ecuInstance;
  uint8_t m_isoInstance;
  IsoAgLib::iIdentItem_c* m_myIdent;
  DataStorage_c* m_dataStorage;
  uint32_t m_serialNumber;
  bool m_ownsStackObjects;
};

namespace __IsoAgLib {

// ZemoAppType_e: the application kind. Any other value acts as ZemoAppPlain.
enum ZemoAppType_e : int32_t {
  ZemoAppPlain = 0,            // no VT group; identities of industry group 0
  ZemoAppVtServer = 1,         // VT server group; identities are no working-set masters
  ZemoAppVtClient = 2,         // VT client group; identities of industry group 2 (agriculture)
  ZemoAppVtClientAnyGroup = 3, // VT client group; identities of industry group 0
};

// ZemoApp: the one object through which an application brings the stack up, adds its identities and closes.
class ZEMO_EXPORT ZemoApp {
public:
  // Touches no stack state.
  ZemoApp();

  // Deletes identities that close has not deleted, without touching the stack.
  virtual ~ZemoApp();

  ZemoApp(const ZemoApp&) = delete;
  ZemoApp& operator=(const ZemoApp&) = delete;

  // init: brings the stack up and adds the first identity.
  //
  //   Takes    appType; the identity's parameters as ComponentIdentity_c::init takes them; useProprietaryBus: the
  //            second physical bus is a proprietary bus (true) or the chassis ISOBUS instance (false)
  //   Gives    true when the stack came up and the identity was added
  //   Fails    a bus that does not open prints one line and gives false; nothing is rolled back and no identity added
  //   Effects  stores swIdentification up to its first '*' or '#' as the software version
  //   Kept     the software version is stored also when the stack did not come up
  bool init(ZemoAppType_e appType, std::string& swIdentification, unsigned char preferredSa, unsigned char deviceClass,
            unsigned char deviceClassInstance, unsigned char function, unsigned char functionInstance,
            unsigned char ecuInstance, unsigned char isoInstance, bool selfConfigurable, bool useProprietaryBus);

  // initIsoAglib: commonInit, then the VT group of the application kind.
  bool initIsoAglib(bool useProprietaryBus);

  // commonInit: brings system, scheduler, CAN buses (250 kbit/s) and protocol services up, in this order.
  //
  //   Fails    false and one line on standard output, without roll-back:
  //            "FAILED TO INITIALIZE CAN_BUS_INSTANCE_ISOBUS", "FAILED TO INITIALIZE CAN_BUS_INSTANCE_CHASSIS" or
  //            "FAILED TO INITIALIZE PROPRIETARY CAN BUS"
  bool commonInit();

  // close: deregisters the identities, closes the four groups and the stack, deletes the identities.
  //
  //   Kept     items are always deregistered from ISO monitor 0
  void close();

  // commonClose: takes the stack down.
  //
  //   Kept     the ISOBUS instances are taken in the same order as at start-up, not reversed
  void commonClose();

  // The optional function groups. Each init returns true; opening a group that is open is a programming error.
  //
  //   Kept     initTractorFunctions never marks its group: it may be called again and closeTractorFunctions does
  //            nothing after it; were the group marked, closing would initialise its services again.
  //            closeVtClientFunctions always switches the working-set use of the stack on.
  bool initTractorFunctions();
  void closeTractorFunctions();
  bool initTaskControllerFunctions();
  void closeTaskControllerFunctions();
  bool initVtClientFunctions();
  void closeVtClientFunctions();
  bool initVtServerFunctions();
  void closeVtServerFunctions();

  // addIdentity: creates, initialises and appends one identity; parameters as ComponentIdentity_c::init takes them.
  //
  //   Gives    true, whether or not the identity can claim an address later
  //   Fails    as ComponentIdentity_c::init; an identity whose init throws is not appended and not freed, because the
  //            stack still holds its item
  bool addIdentity(std::string& swIdentification, unsigned char preferredSa, unsigned char deviceClass,
                   unsigned char deviceClassInstance, unsigned char function, unsigned char functionInstance,
                   unsigned char ecuInstance, unsigned char isoInstance, bool selfConfigurable);

  // The identity at an index, in the order of addition, and what it holds. An index at or above the number of
  // identities is a programming error.
  ComponentIdentity_c& getComponentIdentity(uint32_t index);
  uint32_t getSerialNumber(uint32_t index);
  DataStorage_c* getDataStorage(uint32_t index);
  IsoAgLib::iIdentItem_c* getMyIdent(uint32_t index);

  // getSetProductVin: reads the product VIN from the console, or stores it there and reads it back.
  //
  //   Takes    set: store vin first; vin: its first 256 characters are handed over
  //   Gives    vin holds the console's VIN
  static void getSetProductVin(bool set, std::string& vin);

  // getVirtualTerminalVersion: returns the version of the console's VT: 2, 3 or 4.
  //
  //   Kept     any other answer of the console counts as 3; the console is asked until it answers other than 0 or an
  //            answer has been replaced by 3, then never again in the process
  static uint8_t getVirtualTerminalVersion();

  // setIsoAgLibEepromFile: sets the path of the stack's EEPROM file, any text. Call it before init.
  static void setIsoAgLibEepromFile(std::string fileName);

private:
  uint32_t m_IsoInstance;
  ZemoAppType_e m_AppType;
  std::vector<ComponentIdentity_c*> m_Identities;
  ComponentVersions_c m_ComponentVersions;
  bool m_bVtServerFunctionsInitialized;
  bool m_bVtClientFunctionsInitialized;
  bool m_bTractorFunctionsInitialized;
  bool m_bTaskControllerFunctionsInitialized;
  // Keeps its place in the object and has no role. Callers rely on the layout.
  bool m_bReserved __attribute__((unused));
  bool m_bUseProprietaryBus;
};

// getZemoEepromFileName: returns the path of the stack's EEPROM file, "/mnt/nand/zemo/settings/eeprom.dat" unless
// ZemoApp::setIsoAgLibEepromFile changed it. The stack's persistent storage asks for it.
//
//   Gives    a terminated text, valid until the next setIsoAgLibEepromFile
ZEMO_EXPORT const char* getZemoEepromFileName();

// getConnectAllowedVtServerType: returns 2, the kind of VT server that the stack's VT client may connect to.
ZEMO_EXPORT int getConnectAllowedVtServerType();

} // namespace __IsoAgLib
