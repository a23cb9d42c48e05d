#include "VtObjectFixture.h"

#include <cstring>

using namespace IsoAgLib;
using namespace TestSupport;

namespace {

// A string object, its record, and a storage of ten bytes with more behind it.
template <class Object_c, class Record_s>
struct Text_s {
  Record_s record{};
  Object_c object;
  std::string storage;

  explicit Text_s(uint16_t length = 10) : storage(length + 1U, '#') {
    storage += "##";
    record.object.ID = 1003;
    record.length = length;
    record.value = &storage[0];
    object.init(&record);
  }
};

using Texts_t = testing::Types<Text_s<iVtObjectInputString_c, iVtObjectInputString_s>,
                               Text_s<iVtObjectOutputString_c, iVtObjectOutputString_s>,
                               Text_s<iVtObjectStringVariable_c, iVtObjectStringVariable_s>>;

// The name of a type by the number that the pool has for it.
struct TypeName_s {
  template <class Text_t>
  static std::string GetName(int) {
    return "OfType" + std::to_string(decltype(Text_t::object)().objectType());
  }
};

std::string bytes(const char* text, std::size_t length) {
  return std::string(text, length);
}

} // namespace

template <class Text_t>
class VtObjectText : public VtObjectFixture {
protected:
  Text_t m_text;
};
TYPED_TEST_SUITE(VtObjectText, Texts_t, TypeName_s);

TYPED_TEST(VtObjectText, IsStoredSentAndTold) {
  EXPECT_TRUE(this->m_text.object.setValueCopy("Speed", true, false));
  EXPECT_EQ(bytes("Speed\0\0\0\0\0\0##", 13), this->m_text.storage);
  this->expectOne("vt 1003: setValueCopy(\"Speed\", true, false)", "B3 EB 03 05 00 53 70 65 65 64",
                  this->m_text.object);
}

TYPED_TEST(VtObjectText, OfThreeBytesFillsAFrame) {
  EXPECT_TRUE(this->m_text.object.setValueCopy("abc", true, true));
  this->expectOne("vt 1003: setValueCopy(\"abc\", true, true)", "B3 EB 03 03 00 61 62 63 replaces",
                  this->m_text.object);
}

TYPED_TEST(VtObjectText, OfFewerBytesIsFilledUpToAFrame) {
  this->m_text.object.setValueCopy("Hi", true, false);
  EXPECT_EQ("B3 EB 03 02 00 48 69 FF\n", this->m_commands.text());
}

TYPED_TEST(VtObjectText, MayBeEmpty) {
  EXPECT_TRUE(this->m_text.object.setValueCopy("", true, false));
  EXPECT_EQ(bytes("\0\0\0\0\0\0\0\0\0\0\0##", 13), this->m_text.storage);
  this->expectOne("vt 1003: setValueCopy(\"\", true, false)", "B3 EB 03 00 00 FF FF FF", this->m_text.object);
}

TYPED_TEST(VtObjectText, ThatIsNullIsEmpty) {
  EXPECT_TRUE(this->m_text.object.setValueCopy(nullptr, true, false));
  EXPECT_EQ(bytes("\0\0\0\0\0\0\0\0\0\0\0##", 13), this->m_text.storage);
  this->expectOne("vt 1003: setValueCopy(\"\", true, false)", "B3 EB 03 00 00 FF FF FF", this->m_text.object);
}

TYPED_TEST(VtObjectText, ThatFitsExactlyKeepsItsNul) {
  this->m_text.object.setValueCopy("0123456789", true, false);
  EXPECT_EQ(bytes("0123456789\0##", 13), this->m_text.storage);
}

TYPED_TEST(VtObjectText, ThatIsLongerIsSentWholeAndStoredAsFarAsItFits) {
  this->m_text.object.setValueCopy("0123456789A", true, false);
  EXPECT_EQ(bytes("0123456789\0##", 13), this->m_text.storage);
  EXPECT_EQ("B3 EB 03 0B 00 30 31 32 33 34 35 36 37 38 39 41\n", this->m_commands.text());
}

TYPED_TEST(VtObjectText, IsNotStoredWithoutUpdate) {
  this->m_commands.answer(false);
  EXPECT_FALSE(this->m_text.object.setValueCopy("Hi", false, true));
  EXPECT_EQ("#############", this->m_text.storage);
  this->expectOne("vt 1003: setValueCopy(\"Hi\", false, true)", "B3 EB 03 02 00 48 69 FF replaces",
                  this->m_text.object);
}

TYPED_TEST(VtObjectText, WithoutStorageIsSentAllTheSame) {
  this->m_text.record.value = nullptr;
  EXPECT_TRUE(this->m_text.object.setValueCopy("Hi", true, false));
  EXPECT_EQ("B3 EB 03 02 00 48 69 FF\n", this->m_commands.text());
}

TYPED_TEST(VtObjectText, OfLengthZeroKeepsItsNul) {
  TypeParam none(0);
  none.object.setValueCopy("Hi", true, false);
  EXPECT_EQ(bytes("\0##", 3), none.storage);
}

TYPED_TEST(VtObjectText, MayLieInTheStorageOfTheObject) {
  std::memcpy(&this->m_text.storage[0], "abcdefghi", 10);
  this->m_text.object.setValueCopy(&this->m_text.storage[2], true, false);
  EXPECT_EQ(bytes("cdefghi\0\0\0\0##", 13), this->m_text.storage);
  EXPECT_EQ("B3 EB 03 07 00 63 64 65 66 67 68 69\n", this->m_commands.text());
}

TYPED_TEST(VtObjectText, IsToldWithItsBytesInHexadecimalWhereTheyAreNoCharactersOfAscii) {
  this->m_text.object.setValueCopy("\x1F ~\x7F\xE9", true, false);
  EXPECT_EQ("vt 1003: setValueCopy(\"\\x1F ~\\x7F\\xE9\", true, false)\n", journalText());
}

TYPED_TEST(VtObjectText, OfManyBytesIsOneCommand) {
  const std::string longText(1000, 'x');
  this->m_text.object.setValueCopy(longText.c_str(), true, false);
  ASSERT_EQ(1U, this->m_commands.commands().size());
  const std::vector<uint8_t>& command = this->m_commands.commands()[0].bytes;
  ASSERT_EQ(1005U, command.size());
  EXPECT_EQ(0xE8, command[3]);
  EXPECT_EQ(0x03, command[4]);
  EXPECT_EQ('x', command[1004]);
}

TYPED_TEST(VtObjectText, IsCutWhereItsLengthEndsInTheCommand) {
  const std::string longText(0x10001, 'x');
  this->m_text.object.setValueCopy(longText.c_str(), true, false);
  ASSERT_EQ(1U, this->m_commands.commands().size());
  const std::vector<uint8_t>& command = this->m_commands.commands()[0].bytes;
  EXPECT_EQ(5U + 0xFFFF, command.size());
  EXPECT_EQ(0xFF, command[3]);
  EXPECT_EQ(0xFF, command[4]);
}

TYPED_TEST(VtObjectText, OfUtf16IsTakenByItsLengthInBytes) {
  EXPECT_TRUE(this->m_text.object.setValueCopyUTF16("\xFF\xFE\x41\x00\x42\x00\x43\x00", 6, true, false));
  EXPECT_EQ(bytes("\xFF\xFE\x41\0\x42\0\0\0\0\0\0##", 13), this->m_text.storage);
  this->expectOne("vt 1003: setValueCopyUTF16(\"\\xFF\\xFEA\\x00B\\x00\", 6, true, false)",
                  "B3 EB 03 06 00 FF FE 41 00 42 00", this->m_text.object);
}

TYPED_TEST(VtObjectText, OfUtf16ThatIsLongerIsSentWholeAndStoredAsFarAsItFits) {
  this->m_text.object.setValueCopyUTF16("\xFF\xFE\x41\x00\x42\x00\x43\x00\x44\x00\x45\x00", 12, true, true);
  EXPECT_EQ(bytes("\xFF\xFE\x41\0\x42\0\x43\0\x44\0\0##", 13), this->m_text.storage);
  EXPECT_EQ("B3 EB 03 0C 00 FF FE 41 00 42 00 43 00 44 00 45 00 replaces\n", this->m_commands.text());
}

TYPED_TEST(VtObjectText, OfUtf16IsNotStoredWithoutUpdate) {
  this->m_commands.answer(false);
  EXPECT_FALSE(this->m_text.object.setValueCopyUTF16("\xFF\xFE", 2, false, false));
  EXPECT_EQ("#############", this->m_text.storage);
  EXPECT_EQ("B3 EB 03 02 00 FF FE FF\n", this->m_commands.text());
}

TYPED_TEST(VtObjectText, OfUtf16ThatIsNullIsEmpty) {
  EXPECT_TRUE(this->m_text.object.setValueCopyUTF16(nullptr, 4, true, false));
  EXPECT_EQ(bytes("\0\0\0\0\0\0\0\0\0\0\0##", 13), this->m_text.storage);
  EXPECT_EQ("B3 EB 03 00 00 FF FF FF\n", this->m_commands.text());
}

TYPED_TEST(VtObjectText, OfUtf16WithoutStorageIsSentAllTheSame) {
  this->m_text.record.value = nullptr;
  EXPECT_TRUE(this->m_text.object.setValueCopyUTF16("\xFF\xFE", 2, true, false));
  EXPECT_EQ("B3 EB 03 02 00 FF FE FF\n", this->m_commands.text());
}

TYPED_TEST(VtObjectText, IsReadFromTheRecord) {
  std::memcpy(&this->m_text.storage[0], "value", 6);
  EXPECT_STREQ("value", this->m_text.object.getValueText());
  EXPECT_EQ(10, this->m_text.object.getLength());
  this->m_text.record.value = nullptr;
  EXPECT_STREQ("", this->m_text.object.getValueText());
}
