// Announces signals on standard output and passes them to one handler of the application; prints the current call stack
// to standard error or to the debug log. The two are independent: a handler that wants a stack trace prints it.
//
//   Order of use: SetSignalHandler and AddSignalToHandle in either order. A signal without a handler is only announced.
//   Threads: handlers run on the thread that the signal is delivered to; the handler's pointer is stored without a
//   lock. State: the application's handler, none at first. What is installed stays so for the life of the process.
//   Prints each signal on standard output, by number and name. A name is told for SIGHUP, SIGINT, SIGQUIT, SIGFPE,
//   SIGKILL, SIGSEGV, SIGTERM, SIGCHLD and SIGSTOP; every other signal is an "UNKNOWN SIGNAL".
//
//   Kept     neither the announcement nor the stack trace keeps to what POSIX calls safe within a signal handler
#pragma once

#include "ZemoExport.h"

// AddSignalToHandle: lets the library handle a signal; what was installed before is given up, not chained.
//
//   Takes    sig: the number of a signal (signal(7))
//   Fails    with a line on standard output: "FAILED to add signal handler for signal 9 SIGKILL ERROR 22"
//   Effects  each delivery prints "ZemoInternalSignalHandler signal 11 SIGSEGV", flushes, and calls the application's
//            handler if there is one
//   Kept     nothing else happens: no exit, no default action, no stack trace. SIGINT, SIGTERM, SIGHUP and SIGQUIT are
//            swallowed unless the application's handler ends the process; a fault recurs with its instruction.
ZEMO_EXPORT void AddSignalToHandle(int sig);

// AddAllTerminationSignals: AddSignalToHandle for SIGINT, SIGHUP, SIGFPE, SIGSEGV, SIGQUIT and SIGTERM, in this order;
// one that fails does not stop the others.
ZEMO_EXPORT void AddAllTerminationSignals();

// SetSignalHandler: the application's handler for all signals that the library handles, in place of the one before.
//
//   Takes    handler: called with the number of the signal; null for none
ZEMO_EXPORT void SetSignalHandler(void (*handler)(int));

// PrintBackTrace: prints the current call stack, 63 frames at most, as print_stacktrace does.
//
//   Takes    toLogFile: true appends to the debug log file, false prints on standard error
//   Fails    silently: where the log file cannot be opened nothing is printed
//   Kept     there is no falling back to standard error
ZEMO_EXPORT void PrintBackTrace(bool toLogFile);
