#include "ChildProcess.h"
#include "VtTextObjects.h"

#include <csignal>

using namespace TestSupport;
using namespace IsoAgLib;

namespace {

std::string objectName(const testing::TestParamInfo<VtTextObject_s>& row) {
  return row.param.name;
}

} // namespace

class VtLatinText : public VtTextFixture, public testing::WithParamInterface<VtTextObject_s> {
protected:
  void hold(uint16_t length, const std::string& text) { giveStorage(GetParam(), length, text); }

  std::string callsOfSetting(const std::string& text, bool force) {
    return callsOf([&] { GetParam().setLatin(m_screen, text, force); });
  }

  static std::string sent(const std::string& text) {
    return "vt " + GetParam().id + ": setValueCopy(\"" + text + "\", true, false)\n";
  }
};

TEST_P(VtLatinText, IsPaddedWithBlanksToTheLengthOfTheObject) {
  hold(6, "");
  EXPECT_EQ(sent("ab    "), callsOfSetting("ab", false));
  EXPECT_EQ("ab    ", stored());
}

TEST_P(VtLatinText, IsCutAtTheLengthOfTheObject) {
  hold(3, "");
  EXPECT_EQ(sent("abc"), callsOfSetting("abcdef", false));
  EXPECT_EQ("abc", stored());
  hold(1, "");
  EXPECT_EQ(sent("a"), callsOfSetting("abcdef", false));
}

TEST_P(VtLatinText, OfExactlyTheLengthIsSentAsItIs) {
  hold(4, "");
  EXPECT_EQ(sent("abcd"), callsOfSetting("abcd", false));
}

// Four characters in seven bytes.
TEST_P(VtLatinText, IsMeasuredInCharactersNotInBytes) {
  hold(6, "");
  EXPECT_EQ(sent("\\xE4\\xF6\\xFC1  "), callsOfSetting("\xC3\xA4\xC3\xB6\xC3\xBC"
                                                       "1",
                                                       false));
  EXPECT_EQ("\xE4\xF6\xFC"
            "1  ",
            stored());
  hold(2, "");
  EXPECT_EQ(sent("\\xE4\\xF6"), callsOfSetting("\xC3\xA4\xC3\xB6\xC3\xBC", false));
}

TEST_P(VtLatinText, IsSentOnceAndAgainWhereItIsForced) {
  hold(5, "");
  EXPECT_EQ(sent("abc  "), callsOfSetting("abc", false));
  EXPECT_EQ("", callsOfSetting("abc", false));
  EXPECT_EQ(sent("abc  "), callsOfSetting("abc", true));
  EXPECT_EQ(sent("abc  "), callsOfSetting("abc", true));
  EXPECT_EQ("", callsOfSetting("abc", false));
  EXPECT_EQ(sent("abd  "), callsOfSetting("abd", false));
  EXPECT_EQ(sent("abc  "), callsOfSetting("abc", false));
}

TEST_P(VtLatinText, IsComparedAsItWouldBeSent) {
  hold(4, "ab  ");
  EXPECT_EQ("", callsOfSetting("ab", false));
  EXPECT_EQ("", callsOfSetting("ab ", false));
  EXPECT_EQ("", callsOfSetting("ab      x", false));
  hold(3, "abc");
  EXPECT_EQ("", callsOfSetting("abcdef", false));
  EXPECT_EQ("", callsOfSetting("abcxyz", false));
}

TEST_P(VtLatinText, DiffersFromAShorterOneWithoutBlanks) {
  hold(4, "ab");
  EXPECT_EQ(sent("ab  "), callsOfSetting("ab", false));
  hold(4, "");
  EXPECT_EQ(sent("    "), callsOfSetting("", false));
  EXPECT_EQ("", callsOfSetting("", false));
}

TEST_P(VtLatinText, IsComparedToItsLastCharacter) {
  hold(4, "abcx");
  EXPECT_EQ(sent("abcd"), callsOfSetting("abcd", false));
}

TEST_P(VtLatinText, EndsAtAZero) {
  hold(4, "");
  EXPECT_EQ(sent("a   "), callsOfSetting(std::string("a\0b", 3), false));
}

TEST_P(VtLatinText, IsLookedAtInItsSizeModulo65536) {
  hold(5, "");
  EXPECT_EQ(sent("abc  "), callsOfSetting("abc" + std::string(65536, 'x'), false));
  EXPECT_EQ(sent("     "), callsOfSetting(std::string(65536, 'x'), false));
  EXPECT_EQ(sent("xxxxx"), callsOfSetting(std::string(65535, 'x'), false));
  EXPECT_EQ(sent("y    "), callsOfSetting(std::string(131073, 'y'), false));
}

TEST_P(VtLatinText, FillsTheLongestObject) {
  hold(65535, "");
  EXPECT_EQ(sent("ab" + std::string(65533, ' ')), callsOfSetting("ab", false));
  EXPECT_EQ("", callsOfSetting("ab", false));
}

TEST_P(VtLatinText, OfAnObjectWithoutLengthIsNothing) {
  hold(0, "");
  EXPECT_EQ("", callsOfSetting("", false));
  EXPECT_EQ("", callsOfSetting("abc", false));
  EXPECT_EQ(sent(""), callsOfSetting("", true));
  EXPECT_EQ(sent(""), callsOfSetting("abc", true));
  EXPECT_EQ("", stored());
}

TEST_P(VtLatinText, OfAnObjectWithoutStorageIsNothing) {
  GetParam().setStorage(m_screen, 0, nullptr);
  EXPECT_EQ("", callsOfSetting("", false));
  EXPECT_EQ("", callsOfSetting("abc", false));
  EXPECT_EQ(sent(""), callsOfSetting("", true));
  EXPECT_EQ(sent(""), callsOfSetting("abc", true));
}

// One object after another, each with its own length, through the one buffer.
TEST_P(VtLatinText, DoesNotDependOnTheTextsBefore) {
  hold(40, "");
  EXPECT_EQ(sent("a long text that fills the buffer once  "),
            callsOfSetting("a long text that fills the buffer once", false));
  hold(3, "");
  EXPECT_EQ(sent("x  "), callsOfSetting("x", false));
  hold(8, "");
  EXPECT_EQ(sent("12345678"), callsOfSetting("123456789", false));
  hold(8, "");
  EXPECT_EQ(sent("12      "), callsOfSetting("12", false));
}

INSTANTIATE_TEST_SUITE_P(, VtLatinText, testing::ValuesIn(vtTextObjects()), objectName);

class VtForcedEmptyText : public VtTextFixture {};

TEST_F(VtForcedEmptyText, EmptiesAnOutputStringWithoutBlanks) {
  for (const bool bSend : {true, false}) {
    giveStorage(5, "abcde");
    EXPECT_EQ("vt 2100: setValueCopy(\"\", true, false)\n",
              callsOf([&] { EXPECT_FALSE(SetVtObject(m_screen.outputString, "", true, bSend)); }));
    EXPECT_EQ(std::string(5, '\0'), stored());
  }
}

TEST_F(VtForcedEmptyText, IsSentEachTime) {
  giveStorage(5, "");
  for (int call = 0; call < 2; ++call) {
    EXPECT_EQ("vt 2100: setValueCopy(\"\", true, false)\n",
              callsOf([&] { SetVtObject(m_screen.outputString, "", true, true); }));
  }
}

TEST_F(VtForcedEmptyText, IsBlanksForTheOtherObjects) {
  for (const VtTextObject_s& object : {vtTextObjects()[1], vtTextObjects()[2]}) {
    giveStorage(object, 3, "abc");
    EXPECT_EQ("vt " + object.id + ": setValueCopy(\"   \", true, false)\n",
              callsOf([&] { object.setLatin(m_screen, "", true); }));
  }
}

TEST_F(VtForcedEmptyText, DiffersFromTheBlanksOfAnEmptyTextThatIsNotForced) {
  giveStorage(2, "ab");
  SetVtObject(m_screen.outputString, "", true, true);
  EXPECT_EQ("vt 2100: setValueCopy(\"  \", true, false)\n",
            callsOf([&] { SetVtObject(m_screen.outputString, "", false, true); }));
  EXPECT_EQ("", callsOf([&] { SetVtObject(m_screen.outputString, "", false, true); }));
}

class VtStoredText : public VtTextFixture {
protected:
  std::string callsOfStoring(const std::string& text, bool force, bool expected) {
    return callsOf([&] { EXPECT_EQ(expected, SetVtObject(m_screen.outputString, text, force, false)); });
  }
};

TEST_F(VtStoredText, IsPutIntoTheObjectWithoutACommand) {
  giveStorage(5, "12345");
  EXPECT_EQ("", callsOfStoring("abc", false, true));
  EXPECT_EQ("abc  ", stored());
  EXPECT_EQ("", callsOfStoring("abcdefg", false, true));
  EXPECT_EQ("abcde", stored());
}

TEST_F(VtStoredText, IsUnchangedTheNextTime) {
  giveStorage(5, "12345");
  callsOfStoring("abc", false, true);
  EXPECT_EQ("", callsOfStoring("abc", false, false));
  EXPECT_EQ("", callsOf([&] { EXPECT_FALSE(SetVtObject(m_screen.outputString, "abc", false, true)); }));
}

TEST_F(VtStoredText, IsStoredAgainWhereItIsForced) {
  giveStorage(5, "abc  ");
  EXPECT_EQ("", callsOfStoring("abc", true, true));
  EXPECT_EQ("abc  ", stored());
}

TEST_F(VtStoredText, IsBlanksWhereItIsEmptyAndNotForced) {
  giveStorage(3, "abc");
  EXPECT_EQ("", callsOfStoring("", false, true));
  EXPECT_EQ("   ", stored());
}

// What ends the text is the object's own.
TEST_F(VtStoredText, IsExactlyTheLengthOfTheObject) {
  giveStorage(3, "abc");
  m_storage[3] = untouched;
  EXPECT_EQ("", callsOfStoring("xyz", true, true));
  EXPECT_EQ(untouched, m_storage[3]);
  m_storage[3] = '\0';
  EXPECT_EQ("xyz", stored());
}

TEST_F(VtStoredText, OfAnObjectWithoutStorageIsNothing) {
  m_screen.records.outputString.length = 0;
  m_screen.records.outputString.value = nullptr;
  EXPECT_EQ("", callsOfStoring("abc", false, false));
  EXPECT_EQ("", callsOfStoring("abc", true, true));
  EXPECT_EQ("", callsOfStoring("", false, false));
}

class VtTextValue : public VtTextFixture, public testing::WithParamInterface<VtTextObject_s> {};

TEST_P(VtTextValue, IsTheObjectsStorageAndNothingIsSent) {
  giveStorage(GetParam(), 5, "abc");
  EXPECT_EQ("", callsOf([&] {
              EXPECT_EQ(m_storage.data(), GetParam().value(m_screen));
              EXPECT_STREQ("abc", GetParam().value(m_screen));
            }));
}

TEST_P(VtTextValue, IsEmptyForAnObjectWithoutStorage) {
  GetParam().setStorage(m_screen, 0, nullptr);
  EXPECT_STREQ("", GetParam().value(m_screen));
}

TEST_P(VtTextValue, AndTextsOfAnObjectWithoutARecordAreAnAssertionOfTheStack) {
  const std::vector<std::function<void(VtScreen_s&)>> calls = {
      [](VtScreen_s& screen) { GetParam().value(screen); },
      [](VtScreen_s& screen) { GetParam().setLatin(screen, "a", false); },
      [](VtScreen_s& screen) { GetParam().setLatin(screen, "", true); },
      [](VtScreen_s& screen) { GetParam().setUtf16(screen, "a", false); },
      [](VtScreen_s& screen) { GetParam().setUtf16(screen, "", true); },
  };
  for (const auto& call : calls) {
    const Ending_s ending = runInChild([&] {
      VtScreen_s screen(false);
      call(screen);
    });
    EXPECT_EQ(SIGABRT, ending.signal);
    EXPECT_NE(std::string::npos, ending.standardError.find("Assertion `vtObject_a' failed.")) << ending.standardError;
  }
}

// Waived, the record is one of zeroes: without a length and without storage.
TEST_P(VtTextValue, AndTextsOfAnObjectWithoutARecordAreNothingWhereTheAssertionIsWaived) {
  IsoBusHost::Host::faults().assertCallStart = [] { return true; };
  VtScreen_s screen(false);
  EXPECT_STREQ("", GetParam().value(screen));
  GetParam().setLatin(screen, "abc", false);
  GetParam().setUtf16(screen, "abc", false);
  EXPECT_FALSE(SetVtObject(screen.outputString, "abc", false, false));
  EXPECT_TRUE(SetVtObject(screen.outputString, "abc", true, false));
  EXPECT_TRUE(SetVtObjectUTF8(screen.outputString, "abc", true, false));
}

INSTANTIATE_TEST_SUITE_P(, VtTextValue, testing::ValuesIn(vtTextObjects()), objectName);

namespace {

class OwnOutputString_c : public iVtObjectOutputString_c {
public:
  const char* getValueText() const override { return "own"; }
};

class OwnInputString_c : public iVtObjectInputString_c {
public:
  const char* getValueText() const override { return "own"; }
};

class OwnStringVariable_c : public iVtObjectStringVariable_c {
public:
  const char* getValueText() const override { return "own"; }
};

} // namespace

TEST(VtTextValueOfAnOwnObject, IsWhatItsVirtualAccessorGives) {
  OwnOutputString_c outputString;
  EXPECT_STREQ("own", GetVtValue(outputString));
  OwnInputString_c inputString;
  EXPECT_STREQ("own", GetVtValue(inputString));
  OwnStringVariable_c stringVariable;
  EXPECT_STREQ("own", GetVtValue(stringVariable));
}
