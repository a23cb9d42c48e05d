// Listings of FileUtil with all that they leave behind, and a look at each entry before the library has it.
#pragma once

#include "FileUtil.h"
#include "LibraryCalls.h"

#include <dirent.h>
#include <functional>
#include <string>
#include <vector>

namespace TestSupport {

// namesInOrder: all names that a directory yields, "." and ".." too, in its order.
std::vector<std::string> namesInOrder(const std::string& directory);

// sorted: the same names in the order of their bytes.
std::vector<std::string> sorted(std::vector<std::string> names);

// SubDirectories_s: what getSubDirectories gave and printed.
struct SubDirectories_s {
  bool isComplete = false;
  std::vector<std::string> names;
  std::string output;
  std::string error;
};
SubDirectories_s subDirectoriesOf(const std::string& directory, bool bAbort = false);

// Files_s: what getFilesAndFileSizeInDirectory gave and printed.
struct Files_s {
  bool isComplete = false;
  FileOperations_c result;
  std::string output;
  std::string error;
};
Files_s filesOf(const std::string& directory, bool bAbort = false);

// EntryWatch_c: from its construction to its destruction the test sees each name that the library is about to take from
// a directory.
//
//   Takes    seen: gives whether the library gets the entry
//            isEndless: the directory begins anew where it ends
class EntryWatch_c {
public:
  explicit EntryWatch_c(std::function<bool(const std::string& name)> seen, bool isEndless = false);
  ~EntryWatch_c();
  EntryWatch_c(const EntryWatch_c&) = delete;
  EntryWatch_c& operator=(const EntryWatch_c&) = delete;

private:
  static dirent64* read(DIR* stream);

  LibraryCall_c m_readdir;
  std::function<bool(const std::string&)> m_seen;
  bool m_bEndless;
};

// withoutDots: for EntryWatch_c.
bool withoutDots(const std::string& name);

} // namespace TestSupport
