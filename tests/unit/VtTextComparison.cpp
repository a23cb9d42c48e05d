#include "VtTextObjects.h"

using namespace TestSupport;

// Texts and fields of every size around those that are compared in one piece.
class VtTextComparison : public VtTextFixture {
protected:
  static constexpr uint16_t longest = 50;

  static std::string textOf(std::size_t size) {
    std::string text;
    for (std::size_t index = 0; index < size; ++index) {
      text += static_cast<char>('a' + index % 26);
    }
    return text;
  }

  // callsWith: what is called where one character of the value has been replaced.
  std::string callsWith(std::size_t place, char character, const std::string& text) {
    const char before = m_storage[place];
    m_storage[place] = character;
    const std::string calls = callsOf([&] { SetVtObject(m_screen.stringVariable, text, false); });
    m_storage[place] = before;
    return calls;
  }

  void hold(uint16_t length, const std::string& text) { giveStorage(vtTextObjects()[2], length, text); }
};

TEST_F(VtTextComparison, FindsATextThatIsTheSame) {
  for (uint16_t length = 0; length <= longest; ++length) {
    for (std::size_t size = 0; size <= length + 2U; ++size) {
      hold(length, textOf(size) + std::string(length, ' '));
      EXPECT_EQ("", callsOf([&] { SetVtObject(m_screen.stringVariable, textOf(size), false); }))
          << length << " " << size;
    }
  }
}

TEST_F(VtTextComparison, FindsADifferenceAtEveryPlace) {
  for (uint16_t length = 1; length <= longest; ++length) {
    for (const std::size_t size : {0, length / 3, length / 2, length - 1, int{length}, length + 1}) {
      const std::string text = textOf(size);
      hold(length, text + std::string(length, ' '));
      const std::string sent = "vt 2900: setValueCopy(\"" + stored() + "\", true, false)\n";
      for (std::size_t place = 0; place < length; ++place) {
        EXPECT_EQ(sent, callsWith(place, '#', text)) << length << " " << size << " " << place;
        EXPECT_EQ(sent, callsWith(place, '\0', text)) << length << " " << size << " " << place;
        if (place < size) {
          EXPECT_EQ(sent, callsWith(place, ' ', text)) << length << " " << size << " " << place;
        }
      }
    }
  }
}

TEST_F(VtTextComparison, FindsATextThatGoesOnBehindTheBlanks) {
  hold(20, textOf(12) + "  12345678");
  EXPECT_EQ("vt 2900: setValueCopy(\"" + textOf(12) + "        \", true, false)\n",
            callsOf([&] { SetVtObject(m_screen.stringVariable, textOf(12), false); }));
}

TEST_F(VtTextComparison, FindsAValueThatGoesOnBehindItsLength) {
  for (uint16_t length = 0; length <= longest; ++length) {
    const std::string text = length > 0 ? "a" : "";
    hold(length, text + std::string(length, ' '));
    EXPECT_NE("", callsWith(length, 'x', text)) << length;
  }
}

// What is behind a text in the buffer is from the texts before.
TEST_F(VtTextComparison, IsNotMisledByALongerTextBefore) {
  hold(longest, "");
  SetVtObject(m_screen.stringVariable, textOf(longest), false);
  for (std::size_t size = 0; size < longest; ++size) {
    SetVtObject(m_screen.stringVariable, textOf(longest), true);
    EXPECT_NE("", callsOf([&] { SetVtObject(m_screen.stringVariable, textOf(size) + "-", false); })) << size;
    EXPECT_EQ("", callsOf([&] { SetVtObject(m_screen.stringVariable, textOf(size) + "-", false); })) << size;
  }
}
