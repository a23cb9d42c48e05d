// The debug log: one text sink for applications, kept in a file and echoed on standard error, and the printer of stack
// traces that can write to the same file. The library itself never logs here: its messages go to standard output.
//
//   Order of use: any. Optionally set_log_filename or set_log_handler, once log_check_size, then log_msg at will.
//   Threads: no lock. Each message is one write to a file opened for appending, so threads and processes may log to one
//            file at once; who changes file name or handler meanwhile must keep the others from logging.
//   State: g_LogFileName and g_funcLogHandler, read afresh at each call; no file stays open between calls.
//   Prints what is logged, on standard error. Failures of the file are silent.
#pragma once

#include "ZemoExport.h"

#include <cstdio>
#include <string>

extern "C" {

// g_LogFileName: the path of the log file, "/mnt/nand/DebugLog.txt" once the library is loaded.
extern ZEMO_EXPORT std::string g_LogFileName;

// g_funcLogHandler: what log_msg hands each message to. Valid before any constructor has run.
extern ZEMO_EXPORT void (*g_funcLogHandler)(const char* text);

// log_msg: formats a message and hands it to the log handler.
//
//   Takes    fmt: a format of printf, and its values. The message is meant to stay below 4096 bytes with its
//            terminating zero; a longer one is handed over whole, at the price of a heap block.
//   Effects  those of the handler. Nothing is added to the text: no stamp, no line feed.
//   Kept     the handler is called without a check, also where it is null
__attribute__((format(printf, 1, 2))) ZEMO_EXPORT void log_msg(const char* fmt, ...);

// set_log_handler: the function that is handed each message from now on.
//
//   Takes    handler: not null, though nothing checks it; called on the thread that logs, the text valid for the call
ZEMO_EXPORT void set_log_handler(void (*handler)(const char* text));

// set_log_filename: the path of the log file from now on.
//
//   Takes    name: ends with a zero, not null; copied
ZEMO_EXPORT void set_log_filename(const char* name);

// default_log_handler: appends the text to the log file and prints it on standard error.
//
//   Takes    text: not null
//   Fails    silently: a file that cannot be opened or written loses the text; standard error has it in any case
//   Effects  creates the file where it is missing; opens, writes and closes it for each message
//   Kept     the text is its own format on standard error: a '%' left in it is expanded once more there, with zeros for
//            values. The file copy is verbatim. A text that as a format would store something, leave out a value, or
//            take more than 16 is printed verbatim.
//
//   log_msg format           log file              standard error
//   "%d ha\n", 5             5 ha                  5 ha
//   "100%%%% done\n"         100%% done            100% done
ZEMO_EXPORT void default_log_handler(const char* text);

// log_clear: empties the log file, or creates it, and leaves "LogCleared" in it.
//
//   Fails    silently: a file that cannot be opened stays as it is
//   Kept     10 bytes without a line feed: the next message goes on in the same line unless it begins with one
ZEMO_EXPORT void log_clear();

// log_check_size: clears the log file where it is longer than 1000000 bytes.
//
//   Fails    silently: a file that is missing or has no size is left alone and not created
//   Kept     the size is a signed number of 32 bits: a file of 2 GiB counts as negative and stays. The library never
//            calls this while it logs; applications do, at start-up or from time to time.
ZEMO_EXPORT void log_check_size();

// print_stacktrace: prints the current call stack, one line a frame, from the caller of this function on.
//
//   Takes    out: a stream open for writing; where it is null nothing is printed
//            maxFrames: how many frames to print at most
//   Effects  "stack trace:", then the lines, or "  <empty, possibly corrupt>" where no frame can be had.
//            Takes heap blocks for the names: not made for use where the heap may be locked.
//   Source   backtrace(3), backtrace_symbols(3), Itanium C++ ABI (demangling)
//
//   frame                                        line
//   a C++ function of the dynamic table          "  ./app : plough(int)+0x12"
//   a name that is no C++ name                   "  ./app : main()+0x2f"
//   a function that is not in the table          "  ./app : ()+0x1234"
//   an address that belongs to no module         "  [0x80]"
ZEMO_EXPORT void print_stacktrace(FILE* out, unsigned int maxFrames);

} // extern "C"

// GetDateTimeStamp: returns the local date and time and a millisecond counter, ending in a blank.
//
//   Gives    month-day-year-hour:minute:second on a clock of 12 hours without AM or PM, then ':' and the value of
//            SystemUtils::getTimeMs with at least three digits
//   Kept     the last number is not the millisecond within the second: it counts from the first call of getTimeMs in
//            this process and grows
//
//   3 July 2017, 14:05:09, getTimeMs 7          "07-03-17-02:05:09:007 "
//   3 July 2017, 00:05:09, getTimeMs 123456     "07-03-17-12:05:09:123456 "
ZEMO_EXPORT std::string GetDateTimeStamp();
