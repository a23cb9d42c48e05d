// Real labels: the translations of iso-codes (names of countries, languages, currencies, scripts) in every language
// that the machine has.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace Labels {

// A catalogue of translations as gettext compiles it, in the byte order of this machine: a table of lengths and places.
inline void appendTranslations(const std::string& catalogue, std::vector<std::string>& texts) {
  constexpr uint32_t magic = 0x950412DE;
  const auto wordAt = [&catalogue](std::size_t place) {
    uint32_t word = 0;
    if (place + sizeof word <= catalogue.size()) {
      std::memcpy(&word, catalogue.data() + place, sizeof word);
    }
    return word;
  };
  if (wordAt(0) != magic) {
    return;
  }
  const uint32_t count = wordAt(8);
  const uint32_t table = wordAt(16);
  for (uint32_t index = 0; index < count; ++index) {
    const uint32_t size = wordAt(table + 8 * index);
    const uint32_t place = wordAt(table + 8 * index + 4);
    if (size >= 4 && size <= 64 && std::size_t{place} + size <= catalogue.size()) {
      texts.push_back(catalogue.substr(place, size));
    }
  }
}

// `count` of them, drawn by chance but the same at each run; none where iso-codes is not installed.
inline std::vector<std::string> some(std::size_t count) {
  std::vector<std::string> paths;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::recursive_directory_iterator("/usr/share/locale", ignored)) {
    const std::string name = entry.path().filename().string();
    if (name.compare(0, 4, "iso_") == 0 && entry.path().extension() == ".mo") {
      paths.push_back(entry.path().string());
    }
  }
  std::sort(paths.begin(), paths.end());
  std::vector<std::string> texts;
  for (const std::string& path : paths) {
    std::ifstream file(path, std::ios::binary);
    appendTranslations(std::string(std::istreambuf_iterator<char>(file), {}), texts);
  }
  std::sort(texts.begin(), texts.end());
  texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
  std::shuffle(texts.begin(), texts.end(), std::mt19937(1));
  texts.resize(std::min(count, texts.size()));
  return texts;
}

} // namespace Labels
