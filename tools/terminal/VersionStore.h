// The pools that clients have stored, by the NAME of the working set and a label: in memory, and where a folder is
// named in files that outlive the program.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

constexpr std::size_t labelBytes = 7;
using VersionLabel_t = std::array<uint8_t, labelBytes>; // ISO 8859-1, filled with blanks

// isLabel: whether a version may be stored under it: not blank, no character that ISO 11783-6 forbids.
bool isLabel(const VersionLabel_t& label);
bool isBlank(const VersionLabel_t& label);

class VersionStore_c {
public:
  using Bytes = std::vector<uint8_t>;

  // open: keeps the versions in a folder from now on, and takes in what is there.
  //
  //   Gives    an empty text, or one line that names the folder and the reason
  std::string open(const std::string& folder);

  // labels: of one working set, in the order of storing.
  std::vector<VersionLabel_t> labels(uint64_t name) const;

  // store: replaces the version of the same label.
  //
  //   Gives    false when there are 255 versions already, all versions of all clients would take more than
  //            64,000,000 bytes, or the file cannot be written
  bool store(uint64_t name, const VersionLabel_t& label, const Bytes& pool);

  // find: none when the label is unknown. A blank label stands for the version stored last.
  const Bytes* find(uint64_t name, const VersionLabel_t& label) const;
  bool remove(uint64_t name, const VersionLabel_t& label);

private:
  struct Version_s {
    uint64_t name;
    VersionLabel_t label;
    Bytes pool;
    std::string file; // empty: in memory only
  };
  using Versions = std::vector<Version_s>;

  std::size_t indexOf(uint64_t name, const VersionLabel_t& label) const;
  void readFile(const std::string& name);
  bool hasRoom(uint64_t bytes) const;
  std::string nextFile(uint64_t name, const VersionLabel_t& label);

  Versions m_versions; // oldest first
  std::string m_folder;
  unsigned int m_lastNumber = 0; // of a file
};
