// The three kinds of VT objects with a text, as one.
#pragma once

#include "VtScreen.h"

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace TestSupport {

// VtTextObject_s: a kind of object, by its setters and its record.
struct VtTextObject_s {
  const char* name;
  std::string id; // of the one on the screen
  std::function<void(VtScreen_s&, const std::string& text, bool force)> setLatin;
  std::function<void(VtScreen_s&, const std::string& text, bool force)> setUtf16;
  std::function<const char*(VtScreen_s&)> value;
  std::function<void(VtScreen_s&, uint16_t length, char* storage)> setStorage;
};

std::vector<VtTextObject_s> vtTextObjects();
void PrintTo(const VtTextObject_s& object, std::ostream* stream);

// VtTextFixture: a storage for the texts of an object: its length in bytes, a NUL, and bytes that nobody may touch.
class VtTextFixture : public VtScreenFixture {
protected:
  static constexpr char untouched = '\x5A';

  // giveStorage: makes the object hold a text in so many bytes.
  void giveStorage(const VtTextObject_s& object, uint16_t length, const std::string& text);
  void giveStorage(uint16_t length, const std::string& text); // to the output string

  // stored: the bytes of the storage. What lies behind them has to be as it was.
  std::string stored() const;

  std::vector<char> m_storage;

private:
  void fillStorage(uint16_t length, const std::string& text);

  uint16_t m_length = 0;
};

} // namespace TestSupport
