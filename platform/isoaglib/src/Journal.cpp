#include "Journal.h"

#include <utility>

namespace IsoBusHost::Journal {

namespace {

std::vector<std::string>& storage() {
  static std::vector<std::string> entries;
  return entries;
}

} // namespace

void add(std::string entry) {
  std::vector<std::string>& all = storage();
  if (all.size() >= maxEntries) {
    all.erase(all.begin(), all.begin() + maxEntries / 2);
  }
  all.push_back(std::move(entry));
}

const std::vector<std::string>& entries() {
  return storage();
}

void clear() {
  storage().clear();
}

} // namespace IsoBusHost::Journal
