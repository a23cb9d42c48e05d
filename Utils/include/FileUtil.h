// Files, directories and media of the console: internal flash under "/mnt/nand", a USB stick under "/mnt/usb1/" or
// "/media/usb0/", an SD card under "/mnt/sdcard1/".
//
//   Order of use: any.
//   Threads: listings may run on a worker thread while another sets their abort flag, a plain bool read once for each
//            entry. directoryExists and createDirectory change the working directory of the whole process.
//   State: none, but for the working directory.
//   Prints on standard output what each function says.
//
//   Directories are given to the listings with "/" at their end: the path of an entry is directory and name, with
//   nothing put between. Without it every entry is looked for in the wrong place.
#pragma once

#include "ZemoExport.h"

#include <cstdint>
#include <string>
#include <vector>

// FileOperations_c: what getFilesAndFileSizeInDirectory has found. The application owns it; the library never empties
// it.
class ZEMO_EXPORT FileOperations_c {
public:
  // Nothing has been found: everything is empty, 0 or false.
  FileOperations_c();

  // Frees the names.
  ~FileOperations_c();

  std::string m_Directory;              // as given to the last listing
  std::string m_ApplicationText;        // the application's own; empty at first
  std::vector<std::string> m_FileNames; // names, not paths, in the order of the directory
  int32_t m_ApplicationNumber;          // the application's own; 0 at first
  int64_t m_TotalSize;                  // bytes, of the last listing that came to its end
  bool m_bApplicationFlag1;             // the application's own, all three; false at first
  bool m_bApplicationFlag2;
  bool m_bApplicationFlag3;
};

namespace FileUtil {

// getSubDirectories: appends the names of the sub-directories of a directory, in its order, without "." and "..".
//
//   Takes    bAbort: may be set by another thread; a listing reads it after each entry
//   Gives    true when the directory has been listed to its end
//   Fails    false without a word where the directory cannot be opened; false and
//            "FileUtil::getSubDirectories aborted" where the flag is set. "error stat on file <path>" for an entry that
//            is gone or cannot be looked at; the listing goes on.
//   Kept     block devices and sockets count as directories. A flag that is set before the call lets the first entry
//            through.
ZEMO_EXPORT bool getSubDirectories(const char* directory, std::vector<std::string>& names, bool& bAbort);

// getFilesAndFileSizeInDirectory: appends the names of the files of a directory, and sums up their sizes.
//
//   Gives    true when the directory has been listed to its end; m_TotalSize is the sum of this listing alone
//   Fails    false, with the names found so far and m_TotalSize as it was: without a word where the directory cannot be
//            opened; with "getFilesAndFileSizeInDirectory aborted" where the flag is set; with
//            "error stat on file <path>" and a forced unmount of the directory's medium at the first entry that is gone
//            or cannot be looked at
//   Kept     names are added to those of an earlier listing. Block devices and sockets count as directories. Each size
//            counts as a signed number of 32 bits. A flag that is set before the call lets the first entry through.
ZEMO_EXPORT bool getFilesAndFileSizeInDirectory(const char* directory, FileOperations_c& result, bool& bAbort);

// deleteAllFilesInDirectory: removes the files of a directory, as getFilesAndFileSizeInDirectory finds them.
//
//   Fails    silently; what cannot be removed stays
//   Effects  sub-directories and what is in them stay
ZEMO_EXPORT void deleteAllFilesInDirectory(const char* directory);

// getDiskSpace: the capacity of the medium that a path lies on, and what an unprivileged user may still write, in
// bytes.
//
//   Fails    false, and both 0
//   Kept     the product of the block size (not the fundamental one) and a count of blocks, each taken in 32 bits
//   Source   POSIX, statvfs
ZEMO_EXPORT bool getDiskSpace(const char* path, long long& totalBytes, long long& freeBytes);

// getFreeDiskSpacePercent: returns the free space in percent, cut to a whole number; 0 where it cannot be told.
ZEMO_EXPORT int getFreeDiskSpacePercent(const char* path);

// getUsedDiskSpacePercent: returns 100 less the free space in percent.
//
//   Kept     a path that cannot be queried counts as full
ZEMO_EXPORT int getUsedDiskSpacePercent(const char* path);

// getParentDirectory: the directory above a path, with "/" at its end.
//
//   Fails    false: for a null path with parent untouched; otherwise with parent as the path, and
//            "parent of dir <path> doesn't exist"
//   Kept     the root is nobody's parent; a path that ends with two slashes only loses one
//
//   path                parent              result
//   /mnt/usb1/data/     /mnt/usb1/          true
//   /mnt/usb1/data      /mnt/usb1/          true
//   data/maps           data/               true
//   /mnt/usb1//         /mnt/usb1/          true
//   /mnt                /mnt                false
//   /                   /                   false
ZEMO_EXPORT bool getParentDirectory(const char* path, std::string& parent);

// forceUnmount: takes the medium that a path lies on off its mount point.
//
//   Gives    true when the path begins with "/mnt/usb1/", "/mnt/sdcard1/" or "/media/usb0/", whether or not the medium
//            could be unmounted
//   Effects  runs "umount -f /mnt/usb1/", "umount -f /mnt/sdcard1/" or "umount -f /media/usb0/"
//   Kept     a mount point without its last "/" is not one of them
ZEMO_EXPORT bool forceUnmount(const char* path);

// copyPCBackupBatchFile: copies "/opt/zemo/Save_TASKDATA_Files_To_PC.bat" to a destination.
//
//   Takes    destination: 36 characters at most (a longer one costs a heap block); a word of the shell
//   Fails    silently
//   Effects  runs "cp /opt/zemo/Save_TASKDATA_Files_To_PC.bat <destination>", then "sync"
ZEMO_EXPORT void copyPCBackupBatchFile(std::string& destination);

// getConsoleModel: returns "R3700", whatever the hardware.
ZEMO_EXPORT const char* getConsoleModel();

// fileExists: true for everything that stat finds, directories too.
ZEMO_EXPORT bool fileExists(const char* path);

// directoryExists: true where the process can make the path its working directory.
//
//   Effects  the working directory of the process is "/opt/zemo" afterwards, where that exists
//   Kept     so it is after every call, whatever the result
ZEMO_EXPORT bool directoryExists(const char* path);

// createDirectory: makes a directory that only its owner may read and write; true where it exists afterwards.
//
//   Effects  those of directoryExists
//   Kept     there is no right to search it, so only a privileged process can enter it or sees true for a new one
ZEMO_EXPORT bool createDirectory(const char* path);

} // namespace FileUtil
