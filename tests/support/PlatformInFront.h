// Stands in front of some functions of the platform, to see what the library hands over and to give answers that the
// host has no setting for. What is not answered here goes on to the host.
//
//   Only a program that compiles unit/PlatformInFront.cpp has it.
#pragma once

#include <functional>
#include <string>

namespace TestSupport {

// PlatformInFront_s: for the test that runs; take back what you set.
struct PlatformInFront_s {
  // Text of getIsoAgLibVersion() and how often it was asked.
  std::string stackVersion = "Stack-1";
  int stackVersionAsked = 0;

  // How often the library asked for the console's connection.
  int connectionAsked = 0;

  // The stack instance of the last CanPkgExt_c that was built, and how many of them there are.
  int messageInstance = -1;
  int messagesAlive = 0;

  // Called in place of DBusConnection_c::getSetProductVin; empty: the host console answers.
  std::function<void(bool set, char* buffer)> getSetProductVin;
};

PlatformInFront_s& platformInFront();

} // namespace TestSupport
