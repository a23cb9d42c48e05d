#include "LibraryCalls.h"
#include "VtTextObjects.h"

#include <new>

using namespace TestSupport;

class VtFontEncoding : public VtTextFixture {};

TEST_F(VtFontEncoding, IsZeroAtFirst) {
  EXPECT_EQ(0, getFontEncoding());
}

TEST_F(VtFontEncoding, IsSetToAnyNumberBelowEight) {
  for (int encoding = 7; encoding >= 0; --encoding) {
    setFontEncoding(static_cast<uint8_t>(encoding));
    EXPECT_EQ(encoding, getFontEncoding());
  }
}

TEST_F(VtFontEncoding, StaysWhereEightOrMoreIsAskedFor) {
  for (const uint8_t held : {uint8_t{0}, uint8_t{5}}) {
    setFontEncoding(held);
    for (int encoding = 8; encoding < 256; ++encoding) {
      setFontEncoding(static_cast<uint8_t>(encoding));
      EXPECT_EQ(held, getFontEncoding());
    }
  }
}

TEST_F(VtFontEncoding, SaysWhichCodePageATextIsConvertedTo) {
  struct Row_s {
    uint8_t encoding;
    const char* utf8;
    const char* latin;
  };
  for (const Row_s& row : {
           Row_s{0, "\xC3\xBC", "\xFC"},     // u with diaeresis
           Row_s{1, "\xE2\x82\xAC", "\xA4"}, // euro sign
           Row_s{2, "\xC5\x81", "\xA3"},     // L with stroke
           Row_s{4, "\xC5\x96", "\xA3"},     // R with cedilla
           Row_s{5, "\xD0\x96", "\xB6"},     // zhe
           Row_s{7, "\xCE\xA9", "\xD9"},     // omega
       }) {
    SCOPED_TRACE(static_cast<int>(row.encoding));
    setFontEncoding(row.encoding);
    for (const VtTextObject_s& object : vtTextObjects()) {
      giveStorage(object, 2, "");
      object.setLatin(m_screen, row.utf8, false);
      EXPECT_EQ(std::string(row.latin) + " ", stored());
    }
  }
}

TEST_F(VtFontEncoding, MakesTheSameTextAnotherOne) {
  giveStorage(1, "");
  const std::string zhe = "\xD0\x96";
  SetVtObject(m_screen.outputString, zhe, false, true);
  EXPECT_EQ("?", stored());
  setFontEncoding(5);
  EXPECT_EQ("vt 2100: setValueCopy(\"\\xB6\", true, false)\n",
            callsOf([&] { SetVtObject(m_screen.outputString, zhe, false, true); }));
}

namespace {

// What the library did with its buffer, and what the conversion in place of the stack's writes.
struct Seen_s {
  std::vector<std::size_t> blocks; // sizes that were taken
  int givenBack = 0;
  int conversions = 0;
  const char* text = nullptr;
  uint16_t byteLength = 0;
  char* target = nullptr;
  std::string targetBefore; // as many characters as expected
  uint8_t fontEncoding = 0xFF;

  std::size_t expectedCapacity = 0;
  std::string answer;
};
Seen_s seen;

void* takeBlock(std::size_t size) {
  seen.blocks.push_back(size);
  return ::operator new[](size);
}

void giveBlockBack(void* block) {
  if (block != nullptr) {
    ++seen.givenBack;
  }
  ::operator delete[](block);
}

void convert(const char* text, uint16_t byteLength, char* target, uint8_t fontEncoding) {
  ++seen.conversions;
  seen.text = text;
  seen.byteLength = byteLength;
  seen.target = target;
  seen.targetBefore.assign(target, seen.expectedCapacity);
  seen.fontEncoding = fontEncoding;
  if (!seen.answer.empty()) {
    std::memcpy(target, seen.answer.c_str(), seen.answer.size() + 1);
  }
}

} // namespace

// Each case in a process of its own begins without a block.
class VtConversionBuffer : public VtTextFixture {
protected:
  void SetUp() override {
    VtTextFixture::SetUp();
    seen = Seen_s();
  }

  std::string callsOfSetting(uint16_t length, const std::string& text, bool force = true) {
    giveStorage(vtTextObjects()[1], length, "");
    return callsOf([&] { SetVtObject(m_screen.inputString, text, force); });
  }

private:
  LibraryCall_c m_new{sizeof(void*) == 8 ? "_Znam" : "_Znaj", &takeBlock};
  LibraryCall_c m_delete{"_ZdaPv", &giveBlockBack};
  LibraryCall_c m_convert{"_ZN10__IsoAgLib26convertStringUnicodeTo8859EPKctPch", &convert};
};

TEST_F(VtConversionBuffer, IsTakenWhereItIsNeededFirst) {
  EXPECT_EQ("", callsOfSetting(0, "", false));
  EXPECT_EQ("vt 1800: setValueCopy(\"\", true, false)\n", callsOfSetting(0, "", true));
  EXPECT_EQ(0, seen.conversions);
  EXPECT_TRUE(seen.blocks.empty());
  callsOfSetting(1, "");
  EXPECT_EQ(std::vector<std::size_t>({2}), seen.blocks);
  EXPECT_EQ(0, seen.givenBack);
}

TEST_F(VtConversionBuffer, HasRoomForTheLongerOfTextAndLengthAndANul) {
  callsOfSetting(5, "abc");
  EXPECT_EQ(std::vector<std::size_t>({6}), seen.blocks);
  callsOfSetting(2, "abcdefgh");
  EXPECT_EQ(std::vector<std::size_t>({6, 9}), seen.blocks);
  EXPECT_EQ(1, seen.givenBack);
  callsOfSetting(65535, "abcdefgh");
  EXPECT_EQ(std::vector<std::size_t>({6, 9, 65536}), seen.blocks);
  EXPECT_EQ(2, seen.givenBack);
  callsOfSetting(1, std::string(65540, 'x'));
  EXPECT_EQ(std::vector<std::size_t>({6, 9, 65536, 65541}), seen.blocks);
}

TEST_F(VtConversionBuffer, OnlyGrows) {
  callsOfSetting(10, "");
  const char* block = seen.target;
  for (const std::size_t size : {10U, 9U, 1U, 0U, 10U}) {
    callsOfSetting(static_cast<uint16_t>(size), "");
    EXPECT_EQ(block, seen.target);
    callsOfSetting(0, std::string(size, 'x'));
    EXPECT_EQ(block, seen.target);
  }
  EXPECT_EQ(1U, seen.blocks.size());
  EXPECT_EQ(0, seen.givenBack);
}

TEST_F(VtConversionBuffer, IsOneForAllObjects) {
  callsOfSetting(10, "");
  const char* block = seen.target;
  for (const VtTextObject_s& object : vtTextObjects()) {
    giveStorage(object, 4, "");
    object.setLatin(m_screen, "abc", true);
    EXPECT_EQ(block, seen.target);
  }
  EXPECT_EQ(4, seen.conversions);
}

TEST_F(VtConversionBuffer, IsZeroedAsFarAsItIsNeeded) {
  seen.answer = "0123456789";
  callsOfSetting(10, "");
  seen.expectedCapacity = 10;
  callsOfSetting(4, "abc");
  EXPECT_EQ(std::string(4, '\0') + "456789", seen.targetBefore);
  seen.answer = "0123456789";
  callsOfSetting(10, "");
  callsOfSetting(2, "abcdef");
  EXPECT_EQ(std::string(6, '\0') + "6789", seen.targetBefore);
}

TEST_F(VtConversionBuffer, IsZeroedAsFarAsAnyLengthNeedsIt) {
  for (uint16_t length = 1; length <= 100; ++length) {
    seen.expectedCapacity = 0;
    seen.answer = std::string(100, 'x');
    callsOfSetting(100, "");
    seen.expectedCapacity = 100;
    callsOfSetting(length, "");
    EXPECT_EQ(std::string(length, '\0') + std::string(100U - length, 'x'), seen.targetBefore) << length;
  }
}

TEST_F(VtConversionBuffer, IsComparedUpToTheEndOfTheTextOnly) {
  for (std::size_t end = 0; end < 45; ++end) {
    seen.answer = std::string(45, 'x');
    seen.answer[end] = '\0';
    giveStorage(vtTextObjects()[1], 45, std::string(end, 'x') + std::string(45 - end, ' '));
    EXPECT_EQ("", callsOf([&] { SetVtObject(m_screen.inputString, "", false); })) << end;
  }
}

TEST_F(VtConversionBuffer, IsBlankBehindTheTextUpToItsWholeCapacity) {
  seen.answer = "0123456789";
  callsOfSetting(10, "");
  seen.answer = "ab";
  EXPECT_EQ("vt 1800: setValueCopy(\"ab  \", true, false)\n", callsOfSetting(4, "xx"));
  EXPECT_EQ(std::string("ab  \0     ", 10), std::string(seen.target, 10));
}

TEST_F(VtConversionBuffer, IsBlankWhereNothingIsConverted) {
  EXPECT_EQ("vt 1800: setValueCopy(\"   \", true, false)\n", callsOfSetting(3, "xx"));
}

TEST_F(VtConversionBuffer, HasTheZeroOfALongTextAtTheLengthOfTheObject) {
  seen.answer = "abcdef";
  EXPECT_EQ("vt 1800: setValueCopy(\"abc\", true, false)\n", callsOfSetting(3, "xxxxxx"));
  EXPECT_EQ(std::string("abc\0ef", 7), std::string(seen.target, 7));
}

TEST_F(VtConversionBuffer, IsFilledFromTheTextByItsSizeModulo65536AndTheFontEncoding) {
  setFontEncoding(3);
  const std::string text(65536 + 700, 'x');
  callsOfSetting(3, text);
  EXPECT_EQ(text.data(), seen.text);
  EXPECT_EQ(700, seen.byteLength);
  EXPECT_EQ(3, seen.fontEncoding);
  callsOfSetting(3, std::string(65535, 'x'));
  EXPECT_EQ(65535, seen.byteLength);
}

class VtTextRefresh : public VtTextFixture {};

TEST_F(VtTextRefresh, AllocatesNothingOnceTheLongestTextWasSeen) {
  IsoBusHost::Journal::setVtCalls(false);
  const std::vector<std::string> texts = {"", "a short one", std::string(60, 'x'), "\xC3\xA4\xC3\xB6\xC3\xBC"};
  giveStorage(60, "");
  SetVtObject(m_screen.outputString, texts[2], false, true);
  seen = Seen_s();
  const LibraryCall_c newArray(sizeof(void*) == 8 ? "_Znam" : "_Znaj", &takeBlock);
  const HeapUse_c heap;
  for (int round = 0; round < 3; ++round) {
    for (const std::string& text : texts) {
      SetVtObject(m_screen.outputString, text, false, true);
      SetVtObject(m_screen.outputString, text, false, true);
      SetVtObject(m_screen.outputString, text, false, false);
    }
  }
  EXPECT_EQ(0U, heap.taken());
  EXPECT_TRUE(seen.blocks.empty());
}
