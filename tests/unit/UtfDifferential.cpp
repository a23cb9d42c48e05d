// Every way gives what the plain one gives, and that is what the oracle gives: random texts, cut at every place and
// into every room.
#include "UtfCase.h"
#include "UtfRandomText.h"

using namespace TestSupport;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr unsigned int slowness = 10;
#else
constexpr unsigned int slowness = 1;
#endif

template <class Source_t, class Target_t>
class Comparison_c {
public:
  // False after a difference; it has been told then.
  bool isSame(const Source_t* text, std::size_t size, std::size_t room, int flags) {
    m_case.prepare(text, size, room, flags);
    if (!m_case.isRightBy(plainWay())) {
      ADD_FAILURE() << m_case.told(plainWay());
      return false;
    }
    for (const Way_s& way : ways()) {
      if (!m_case.isRightBy(way)) {
        ADD_FAILURE() << m_case.told(way);
        return false;
      }
    }
    return true;
  }

  std::size_t written() const { return m_case.expected().written; }

private:
  UtfCase_c<Source_t, Target_t> m_case;
};

// More room than a conversion can need.
template <class Source_t, class Target_t>
std::size_t amplyFor(std::size_t size) {
  return size * (sizeof(Target_t) == 1 ? 4 : 2) + 4;
}

constexpr std::size_t errorRates[] = {0, 0, 200, 30, 5};

template <class Source_t, class Target_t>
void compareRandomTexts(unsigned int seed, unsigned int count, std::size_t longest) {
  RandomText_c random(seed);
  Comparison_c<Source_t, Target_t> comparison;
  for (unsigned int turn = 0; turn < count / slowness; ++turn) {
    const auto text = random.text<Source_t>(random.below(longest), errorRates[random.below(5)]);
    const std::size_t room = amplyFor<Source_t, Target_t>(text.size());
    ASSERT_TRUE(comparison.isSame(text.data(), text.size(), room, strict));
    const std::size_t exact = comparison.written();
    for (const int flags : {strict, lenient}) {
      ASSERT_TRUE(comparison.isSame(text.data(), text.size(), room, flags));
      ASSERT_TRUE(comparison.isSame(text.data(), text.size(), exact, flags));
      ASSERT_TRUE(comparison.isSame(text.data(), text.size(), exact + random.below(40), flags));
      ASSERT_TRUE(comparison.isSame(text.data(), text.size(), random.below(exact + 1), flags));
    }
  }
}

template <class Source_t, class Target_t>
void compareEveryCutAndRoom(unsigned int seed, unsigned int count) {
  RandomText_c random(seed);
  Comparison_c<Source_t, Target_t> comparison;
  for (unsigned int turn = 0; turn < count / slowness; ++turn) {
    const auto text = random.text<Source_t>(1 + random.below(turn % 8 == 0 ? 600 : 80), errorRates[turn % 5]);
    const std::size_t room = amplyFor<Source_t, Target_t>(text.size());
    const int flags = turn % 2 == 0 ? strict : lenient;
    for (std::size_t size = 0; size <= text.size(); ++size) {
      ASSERT_TRUE(comparison.isSame(text.data(), size, room, flags));
      ASSERT_TRUE(comparison.isSame(text.data() + size, text.size() - size, room, flags));
    }
    for (std::size_t smaller = 0; smaller <= comparison.written() + 40; ++smaller) {
      ASSERT_TRUE(comparison.isSame(text.data(), text.size(), smaller, flags));
    }
  }
}

// One error at every place of a text that is in order, for each of the errors that there are.
template <class Source_t, class Target_t>
void compareEveryPlaceOfAnError(unsigned int seed, const std::vector<Source_t>& errors) {
  RandomText_c random(seed);
  Comparison_c<Source_t, Target_t> comparison;
  for (unsigned int turn = 0; turn < 60 / slowness; ++turn) {
    const auto text = random.text<Source_t>(10 + random.below(turn % 10 == 0 ? 560 : 70), 0);
    for (std::size_t place = 0; place < text.size(); ++place) {
      for (const Source_t error : errors) {
        auto broken = text;
        broken[place] = error;
        ASSERT_TRUE(comparison.isSame(broken.data(), broken.size(), amplyFor<Source_t, Target_t>(text.size()),
                                      turn % 2 == 0 ? strict : lenient));
      }
    }
  }
}

const std::vector<uint8_t> oddBytes = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xC1,
                                       0xC2, 0xDF, 0xE0, 0xED, 0xEF, 0xF0, 0xF4, 0xF5, 0xF8, 0xFF};
const std::vector<uint16_t> oddUnits = {0x00,   0x7F,   0x80,   0x7FF,  0x800,  0xD7FF,
                                        0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xE000, 0xFFFF};

} // namespace

TEST(UtfDifferential, UTF8toUTF16InShortTexts) {
  compareRandomTexts<uint8_t, uint16_t>(1, 60000, 70);
}

TEST(UtfDifferential, UTF8toUTF16InLongTexts) {
  compareRandomTexts<uint8_t, uint16_t>(2, 4000, 3000);
}

TEST(UtfDifferential, UTF8toUTF16AtEveryCutAndInEveryRoom) {
  compareEveryCutAndRoom<uint8_t, uint16_t>(3, 600);
}

TEST(UtfDifferential, UTF8toUTF16WithAnErrorAtEveryPlace) {
  compareEveryPlaceOfAnError<uint8_t, uint16_t>(4, oddBytes);
}

TEST(UtfDifferential, UTF8toUTF32InShortTexts) {
  compareRandomTexts<uint8_t, uint32_t>(5, 60000, 70);
}

TEST(UtfDifferential, UTF8toUTF32InLongTexts) {
  compareRandomTexts<uint8_t, uint32_t>(6, 4000, 3000);
}

TEST(UtfDifferential, UTF8toUTF32AtEveryCutAndInEveryRoom) {
  compareEveryCutAndRoom<uint8_t, uint32_t>(7, 600);
}

TEST(UtfDifferential, UTF8toUTF32WithAnErrorAtEveryPlace) {
  compareEveryPlaceOfAnError<uint8_t, uint32_t>(8, oddBytes);
}

TEST(UtfDifferential, UTF16toUTF8InShortTexts) {
  compareRandomTexts<uint16_t, uint8_t>(9, 60000, 70);
}

TEST(UtfDifferential, UTF16toUTF8InLongTexts) {
  compareRandomTexts<uint16_t, uint8_t>(10, 4000, 3000);
}

TEST(UtfDifferential, UTF16toUTF8AtEveryCutAndInEveryRoom) {
  compareEveryCutAndRoom<uint16_t, uint8_t>(11, 600);
}

TEST(UtfDifferential, UTF16toUTF8WithAnErrorAtEveryPlace) {
  compareEveryPlaceOfAnError<uint16_t, uint8_t>(12, oddUnits);
}

TEST(UtfDifferential, UTF16toUTF32) {
  compareRandomTexts<uint16_t, uint32_t>(13, 20000, 100);
  compareEveryCutAndRoom<uint16_t, uint32_t>(14, 200);
}

TEST(UtfDifferential, UTF32toUTF8) {
  compareRandomTexts<uint32_t, uint8_t>(15, 20000, 100);
  compareEveryCutAndRoom<uint32_t, uint8_t>(16, 200);
}

TEST(UtfDifferential, UTF32toUTF16) {
  compareRandomTexts<uint32_t, uint16_t>(17, 20000, 100);
  compareEveryCutAndRoom<uint32_t, uint16_t>(18, 200);
}
