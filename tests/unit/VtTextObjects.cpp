#include "VtTextObjects.h"

#include <algorithm>

namespace TestSupport {

std::vector<VtTextObject_s> vtTextObjects() {
  const auto give = [](auto& record, uint16_t length, char* storage) {
    record.length = length;
    record.value = storage;
  };
  return {
      {"OutputString", "2100",
       [](VtScreen_s& screen, const std::string& text, bool force) {
         EXPECT_FALSE(SetVtObject(screen.outputString, text, force, true));
       },
       [](VtScreen_s& screen, const std::string& text, bool force) {
         EXPECT_FALSE(SetVtObjectUTF8(screen.outputString, text, force, true));
       },
       [](VtScreen_s& screen) { return GetVtValue(screen.outputString); },
       [=](VtScreen_s& screen, uint16_t length, char* storage) { give(screen.records.outputString, length, storage); }},
      {"InputString", "1800",
       [](VtScreen_s& screen, const std::string& text, bool force) { SetVtObject(screen.inputString, text, force); },
       [](VtScreen_s& screen, const std::string& text, bool force) {
         SetVtObjectUTF8(screen.inputString, text, force);
       },
       [](VtScreen_s& screen) { return GetVtValue(screen.inputString); },
       [=](VtScreen_s& screen, uint16_t length, char* storage) { give(screen.records.inputString, length, storage); }},
      {"StringVariable", "2900",
       [](VtScreen_s& screen, const std::string& text, bool force) { SetVtObject(screen.stringVariable, text, force); },
       [](VtScreen_s& screen, const std::string& text, bool force) {
         SetVtObjectUTF8(screen.stringVariable, text, force);
       },
       [](VtScreen_s& screen) { return GetVtValue(screen.stringVariable); },
       [=](VtScreen_s& screen, uint16_t length, char* storage) {
         give(screen.records.stringVariable, length, storage);
       }},
  };
}

void PrintTo(const VtTextObject_s& object, std::ostream* stream) {
  *stream << object.name;
}

void VtTextFixture::fillStorage(uint16_t length, const std::string& text) {
  constexpr std::size_t behind = 16;
  m_length = length;
  m_storage.assign(length + 1U, '\0');
  std::copy_n(text.begin(), std::min<std::size_t>(text.size(), length), m_storage.begin());
  m_storage.insert(m_storage.end(), behind, untouched);
}

void VtTextFixture::giveStorage(const VtTextObject_s& object, uint16_t length, const std::string& text) {
  fillStorage(length, text);
  object.setStorage(m_screen, length, m_storage.data());
}

void VtTextFixture::giveStorage(uint16_t length, const std::string& text) {
  giveStorage(vtTextObjects()[0], length, text);
}

std::string VtTextFixture::stored() const {
  const auto end = m_storage.begin() + m_length;
  EXPECT_EQ('\0', *end);
  EXPECT_TRUE(std::all_of(end + 1, m_storage.end(), [](char byte) { return byte == untouched; }));
  return std::string(m_storage.begin(), end);
}

} // namespace TestSupport
