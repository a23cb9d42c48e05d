#include "JournalText.h"

#include "Journal.h"

#include <algorithm>

namespace TestSupport {

namespace {

bool beginsWith(const std::string& line, const std::string& prefix) {
  return line.compare(0, prefix.size(), prefix) == 0;
}

template <class Predicate_c>
std::string journalWhere(const Predicate_c& isWanted) {
  Lines_t lines;
  for (const std::string& entry : IsoBusHost::Journal::entries()) {
    if (isWanted(entry)) {
      lines.push_back(entry);
    }
  }
  return text(lines);
}

} // namespace

Lines_t operator+(Lines_t left, const Lines_t& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

std::string text(const Lines_t& lines) {
  std::string joined;
  for (const std::string& line : lines) {
    joined += line + "\n";
  }
  return joined;
}

std::string journalText() {
  return text(IsoBusHost::Journal::entries());
}

std::string libraryCalls() {
  return journalWhere([](const std::string& entry) { return !beginsWith(entry, "-> "); });
}

std::string callsOf(const Lines_t& prefixes) {
  return journalWhere([&prefixes](const std::string& entry) {
    return std::any_of(prefixes.begin(), prefixes.end(),
                       [&entry](const std::string& prefix) { return beginsWith(entry, prefix); });
  });
}

} // namespace TestSupport
