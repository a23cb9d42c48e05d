#include "Journal.h"

#include <utility>

namespace IsoBusHost::Journal {

namespace {

std::vector<std::string>& storage() {
  static std::vector<std::string> entries;
  return entries;
}

std::function<void(const std::string&)>& listenerStorage() {
  static std::function<void(const std::string&)> listener;
  return listener;
}

bool& vtCalls() {
  static bool on = false;
  return on;
}

} // namespace

void setVtCalls(bool on) {
  vtCalls() = on;
}

bool hasVtCalls() {
  return vtCalls();
}

void add(std::string entry) {
  if (listenerStorage()) {
    listenerStorage()(entry);
  }
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

void listen(std::function<void(const std::string& entry)> listener) {
  listenerStorage() = std::move(listener);
}

} // namespace IsoBusHost::Journal
