// Entries of every kind for the directories of a test.
//
//   Fails    throws
#pragma once

#include <cstdint>
#include <string>

namespace TestSupport {

void makeDirectory(const std::string& path);
void makeLink(const std::string& target, const std::string& path);
void makeFifo(const std::string& path);
void makeSocket(const std::string& path);

// makeSparseFile: a file of any size that takes no room.
void makeSparseFile(const std::string& path, uint64_t size);

// setTimes: both times of a file, in seconds since 1970.
void setTimes(const std::string& path, int64_t seconds);

// makeCharacterDevice, makeBlockDevice: give false where this machine lets nobody make devices.
bool makeCharacterDevice(const std::string& path);
bool makeBlockDevice(const std::string& path);

bool isThere(const std::string& path);

// openDescriptors: how many files this process has open.
std::size_t openDescriptors();

} // namespace TestSupport
