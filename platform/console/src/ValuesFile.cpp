#include "ValuesFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace ConsoleHost {

namespace {

// Keeps the order of the keys, so that a file that is written back looks as its author left it.
using Json_t = nlohmann::ordered_json;

constexpr std::size_t maxFileSize = 1024UL * 1024UL;
constexpr int maxNesting = 32;
constexpr std::size_t maxProblems = 8;
constexpr std::size_t maxQuotedLength = 60;
constexpr std::size_t maxReasonLength = 240;

// FileError_c: why the file as a whole cannot be used.
class FileError_c : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

class Descriptor_c {
public:
  explicit Descriptor_c(int descriptor) : m_descriptor(descriptor) {}
  ~Descriptor_c() {
    if (m_descriptor >= 0) {
      ::close(m_descriptor);
    }
  }
  Descriptor_c(const Descriptor_c&) = delete;
  Descriptor_c& operator=(const Descriptor_c&) = delete;

  int get() const { return m_descriptor; }

private:
  int m_descriptor;
};

// Texts of a file end up in messages: a message stays one line of printable characters whatever they hold.
std::string printable(std::string text) {
  for (char& character : text) {
    if (static_cast<unsigned char>(character) < 0x20 || static_cast<unsigned char>(character) > 0x7E) {
      character = '?';
    }
  }
  return text;
}

std::string cut(const std::string& text, std::size_t length) {
  return text.size() <= length ? text : text.substr(0, length) + "...";
}

std::string quoted(const std::string& text) {
  return '"' + cut(printable(text), maxQuotedLength) + '"';
}

[[noreturn]] void failWithErrno(const char* action) {
  throw FileError_c(std::string(action) + ": " + std::strerror(errno));
}

// Problems_c: what is wrong inside a file that could be read, gathered into one line.
class Problems_c {
public:
  void add(const std::string& problem) {
    ++m_count;
    if (m_count <= maxProblems) {
      m_text += (m_text.empty() ? "" : "; ") + problem;
    }
  }

  std::string text() const {
    return m_count <= maxProblems ? m_text : m_text + "; and " + std::to_string(m_count - maxProblems) + " more";
  }

private:
  std::string m_text;
  std::size_t m_count = 0;
};

std::string readWhole(const std::string& path) {
  // Not blocking: a named pipe without a writer would be waited for.
  const Descriptor_c file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status = {};
  if (file.get() < 0 || ::fstat(file.get(), &status) != 0) {
    failWithErrno("cannot be opened");
  }
  if (S_ISDIR(status.st_mode)) {
    errno = EISDIR;
    failWithErrno("cannot be read");
  }
  if (!S_ISREG(status.st_mode)) {
    throw FileError_c("cannot be read: not a regular file");
  }

  std::string content;
  std::vector<char> block(65536);
  for (;;) {
    const ssize_t length = ::read(file.get(), block.data(), block.size());
    if (length < 0 && errno == EINTR) {
      continue;
    }
    if (length < 0) {
      failWithErrno("cannot be read");
    }
    if (length == 0) {
      return content;
    }
    content.append(block.data(), static_cast<std::size_t>(length));
    if (content.size() > maxFileSize) {
      throw FileError_c("larger than 1 MB");
    }
  }
}

// The parser's reason without its class and number: "parse error at line 1, column 2: ...".
std::string parseReason(const nlohmann::json::exception& error) {
  const std::string text = error.what();
  const std::size_t end = text.find("] ");
  return cut(printable(end == std::string::npos ? text : text.substr(end + 2)), maxReasonLength);
}

// KeyWatch_c: watches the parser for keys that are given twice and for nesting that no file of values needs.
class KeyWatch_c {
public:
  explicit KeyWatch_c(Problems_c& problems) : m_problems(problems) {}

  bool operator()(int depth, Json_t::parse_event_t event, const Json_t& parsed) {
    using Event_t = Json_t::parse_event_t;
    if (depth > maxNesting) {
      throw FileError_c("nested deeper than " + std::to_string(maxNesting) + " levels");
    }
    if (event == Event_t::object_start) {
      m_keys.at(static_cast<std::size_t>(depth)).clear();
    } else if (event == Event_t::key) {
      // A key stands one level below the start of its object.
      const std::string key = parsed.get<std::string>();
      if (!m_keys.at(static_cast<std::size_t>(depth) - 1).insert(key).second) {
        m_problems.add(quoted(key) + ": given twice, the last one counts");
      }
    }
    return true;
  }

private:
  Problems_c& m_problems;
  std::array<std::set<std::string>, maxNesting + 1> m_keys;
};

Json_t parse(const std::string& content, Problems_c& problems) {
  KeyWatch_c watch(problems);
  Json_t document;
  try {
    document = Json_t::parse(content, [&watch](int depth, Json_t::parse_event_t event, const Json_t& parsed) {
      return watch(depth, event, parsed);
    });
  } catch (const nlohmann::json::exception& error) {
    throw FileError_c(parseReason(error));
  }
  if (!document.is_object()) {
    throw FileError_c(std::string("expected an object, found ") + document.type_name());
  }
  return document;
}

const char* found(const Json_t& value) {
  return value.is_number_float() ? "a number with a fraction or beyond 64 bits" : value.type_name();
}

void takeText(const Json_t& value, const std::string& key, std::string& text, Problems_c& problems) {
  if (!value.is_string()) {
    problems.add(quoted(key) + ": expected a text, found " + found(value));
    return;
  }
  const std::string& given = value.get_ref<const std::string&>();
  if (given.find('\0') != std::string::npos) {
    problems.add(quoted(key) + ": expected a text without the character NUL");
    return;
  }
  text = given;
}

template <typename Number_t>
void takeNumber(const Json_t& value, const std::string& key, int64_t lowest, int64_t highest, Number_t& number,
                Problems_c& problems) {
  const bool inRange = value.is_number_unsigned() ? value.get<uint64_t>() <= static_cast<uint64_t>(highest)
                                                  : value.is_number_integer() && value.get<int64_t>() >= lowest &&
                                                        value.get<int64_t>() <= highest;
  if (!inRange) {
    problems.add(quoted(key) + ": expected a whole number from " + std::to_string(lowest) + " to " +
                 std::to_string(highest) + ", found " +
                 (value.is_number_integer() ? value.dump() : std::string(found(value))));
    return;
  }
  number = value.get<Number_t>();
}

// The keys that a file may name.
struct Text_s {
  const char* key;
  DBusValue_e number;
};
constexpr std::array<Text_s, 5> textKeys = {{{"bootLoaderVersion", DBusBootLoaderVersion},
                                             {"osVersion", DBusOsVersion},
                                             {"serialNumber", DBusSerialNumber},
                                             {"partNumber", DBusPartNumber},
                                             {"hardwareVariant", DBusHardwareVariant}}};
constexpr std::array<const char*, 4> otherKeys = {"vin", "virtualTerminalVersion", "hardwareVersion", "certification"};
struct Field_s {
  const char* key;
  uint32_t CertificationData_s::*number;
  uint32_t highest;
};
constexpr std::array<Field_s, 5> certificationFields = {
    {{"year", &CertificationData_s::year, 0xFFFF},
     {"revision", &CertificationData_s::revision, 0xFF},
     {"laboratoryType", &CertificationData_s::laboratoryType, 3},
     {"laboratoryId", &CertificationData_s::laboratoryId, 0xFFFF},
     {"referenceNumber", &CertificationData_s::referenceNumber, 0xFFFF}}};

void takeCertification(const Json_t& value, Values_s& values, Problems_c& problems) {
  if (value.is_null() || (value.is_boolean() && !value.get<bool>())) {
    values.hasCertification = false;
    return;
  }
  if (!value.is_object()) {
    problems.add(std::string("\"certification\": expected an object, null or false, found ") +
                 (value.is_boolean() ? "true" : found(value)));
    return;
  }
  for (const auto& entry : value.items()) {
    const std::string key = "certification." + entry.key();
    const auto field = std::find_if(certificationFields.begin(), certificationFields.end(),
                                    [&entry](const Field_s& candidate) { return entry.key() == candidate.key; });
    if (field == certificationFields.end()) {
      problems.add(quoted(key) + ": unknown key");
    } else {
      takeNumber(entry.value(), key, 0, field->highest, values.certification.*(field->number), problems);
    }
  }
}

void takeValue(const std::string& key, const Json_t& value, Values_s& values, Problems_c& problems) {
  const auto text =
      std::find_if(textKeys.begin(), textKeys.end(), [&key](const Text_s& candidate) { return key == candidate.key; });
  if (text != textKeys.end()) {
    takeText(value, key, values.texts[text->number], problems);
  } else if (key == "vin") {
    takeText(value, key, values.vin, problems);
  } else if (key == "virtualTerminalVersion") {
    takeNumber(value, key, 0, UINT8_MAX, values.virtualTerminalVersion, problems);
  } else if (key == "hardwareVersion") {
    takeNumber(value, key, -1, INT_MAX, values.hardwareVersion, problems);
  } else if (key == "certification") {
    takeCertification(value, values, problems);
  } else {
    problems.add(quoted(key) + ": unknown key");
  }
}

std::vector<std::string> missingKeys(const Json_t& document) {
  std::vector<std::string> missing;
  const auto expect = [&missing](const Json_t& object, const std::string& prefix, const char* key) {
    if (!object.contains(key)) {
      missing.push_back(prefix + key);
    }
  };
  for (const Text_s& text : textKeys) {
    expect(document, "", text.key);
  }
  for (const char* key : otherKeys) {
    expect(document, "", key);
  }
  const auto certification = document.find("certification");
  if (certification != document.end() && certification->is_object()) {
    for (const Field_s& field : certificationFields) {
      expect(*certification, "certification.", field.key);
    }
  }
  return missing;
}

std::string message(const std::string& path, const std::string& reason) {
  return printable(path) + ": " + reason;
}

// The path behind symbolic links; the path itself where there is no file yet.
std::string targetOf(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> target(::realpath(path.c_str(), nullptr), &std::free);
  return target ? target.get() : path;
}

bool exists(const std::string& path) {
  struct stat status = {};
  return ::lstat(path.c_str(), &status) == 0 || errno != ENOENT;
}

void writeWhole(int file, const std::string& content) {
  std::size_t written = 0;
  while (written < content.size()) {
    const ssize_t length = ::write(file, content.data() + written, content.size() - written);
    if (length < 0 && errno != EINTR) {
      failWithErrno("cannot be written");
    }
    written += length > 0 ? static_cast<std::size_t>(length) : 0;
  }
}

// Who reads the file sees the old text or the new one, never a part.
void replaceWhole(const std::string& path, const std::string& content) {
  struct stat status = {};
  const bool isThere = ::stat(path.c_str(), &status) == 0;
  if (isThere && ::access(path.c_str(), W_OK) != 0) {
    failWithErrno("cannot be written");
  }
  std::string temporary = path + ".XXXXXX";
  const Descriptor_c file(::mkostemp(temporary.data(), O_CLOEXEC));
  if (file.get() < 0) {
    failWithErrno("cannot be written");
  }
  constexpr mode_t permissionBits = 0777;
  constexpr mode_t newFileMode = 0644;
  try {
    writeWhole(file.get(), content);
    if (::fchmod(file.get(), isThere ? status.st_mode & permissionBits : newFileMode) != 0 ||
        ::fsync(file.get()) != 0 || ::rename(temporary.c_str(), path.c_str()) != 0) {
      failWithErrno("cannot be written");
    }
  } catch (const FileError_c&) {
    ::unlink(temporary.c_str());
    throw;
  }
}

} // namespace

std::string readValuesFile(const std::string& path, Values_s& values) {
  Problems_c problems;
  try {
    const Json_t document = parse(readWhole(path), problems);
    for (const auto& entry : document.items()) {
      takeValue(entry.key(), entry.value(), values, problems);
    }
    values.missingKeys = missingKeys(document);
  } catch (const FileError_c& error) {
    return message(path, error.what());
  }
  return problems.text().empty() ? std::string() : message(path, problems.text());
}

std::string writeVin(const std::string& path, const std::string& vin) {
  try {
    const std::string target = targetOf(path);
    Json_t document = Json_t::object();
    Problems_c ignored; // told when the file was read
    if (exists(target)) {
      document = parse(readWhole(target), ignored);
    }
    if (document.contains("vin") && document["vin"] == vin) {
      return {};
    }
    document["vin"] = vin;
    replaceWhole(target, document.dump(2) + "\n");
  } catch (const FileError_c& error) {
    return message(path, std::string("the VIN is not kept in the file: ") + error.what());
  } catch (const nlohmann::json::exception&) {
    return message(path, "the VIN is not kept in the file: it is no UTF-8 text");
  }
  return {};
}

} // namespace ConsoleHost
