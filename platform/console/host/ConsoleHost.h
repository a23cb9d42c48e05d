// The console's values on a machine without a console: from a JSON file, with defaults for what it does not name.
//
//   Environment: ZEMO_CONSOLE_VALUES names the file; it is read at the first use of the console, also by the functions
//                here, so that what they set stays.
//   File: {"bootLoaderVersion": "1.07", "osVersion": "3.1", "serialNumber": "ZC123456", "partNumber": "4711.5",
//          "hardwareVariant": "1", "vin": "", "virtualTerminalVersion": 3, "hardwareVersion": 5,
//          "certification": {"year": 2013, "revision": 31, "laboratoryType": 3, "laboratoryId": 733,
//                            "referenceNumber": 0}}
//          Each key may be left out. "certification": null or false stands for a console without certification data.
//   Prints: one line on standard error when the file that the environment names cannot be read, has errors or does not
//           name every key, and when a VIN cannot be written back; the defaults serve for what could not be read.
//   Threads: one thread.
#pragma once

#include <string>

namespace ConsoleHost {

// loadFile: reads the values from a file, ahead of the environment. A VIN that is stored is written back to it.
//
//   Takes    path: JSON text of at most 1 MB, nested at most 32 levels deep; values set before are forgotten
//   Gives    an empty text, or one line that says what is wrong and where; values that could be read are taken
std::string loadFile(const std::string& path);

// missingKeys: returns one line that lists the keys that the file in use does not name; empty where it names all, could
// not be read, or there is none.
std::string missingKeys();

// setString: sets a text by the number of its DBusValue_e; answers queued with queueAnswer come first.
void setString(int value, const std::string& text);
// queueAnswer: lets the next getString of the value give this text once, after those queued before.
void queueAnswer(int value, const std::string& text);
// setVin: sets the VIN without writing it back; callers of the published interface see its first 255 characters.
void setVin(const std::string& vin);
void setCertification(bool known, unsigned int year, unsigned int revision, unsigned int laboratoryType,
                      unsigned int laboratoryId, unsigned int referenceNumber);
void setVirtualTerminalVersion(int version);
void setHardwareVersion(int version);

// setJournal: told each call of the published interface as one line, for example "DBusConnection_c::getString(8)".
void setJournal(void (*journal)(const std::string& entry));

// reset: back to the defaults; the environment is read again at the next use. The journal stays connected.
void reset();

} // namespace ConsoleHost
