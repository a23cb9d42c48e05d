// The checks of texts, which look at blocks at a time, give what the oracle gives character by character.
#include "UtfCase.h"
#include "UtfRandomText.h"

using namespace TestSupport;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr unsigned int slowness = 10;
#else
constexpr unsigned int slowness = 1;
#endif

constexpr std::size_t readBehind = 8;

// How many characters a text has up to its first wrong one; the last is taken whole.
struct Survey_s {
  bool isLegal;
  int characters;
};

Survey_s survey(const uint8_t* text, std::size_t size) {
  Survey_s result = {true, 0};
  for (std::size_t place = 0; place < size;) {
    const std::size_t length = sequenceLength(text[place]);
    if (!isWellFormedSequence(text + place, length)) {
      return {false, result.characters};
    }
    ++result.characters;
    place += length;
  }
  return result;
}

// Texts have readable bytes behind them.
void expectSurvey(const uint8_t* text, std::size_t size) {
  const Survey_s expected = survey(text, size);
  const auto length = static_cast<int>(size);
  for (const Checks_s& set : checks()) {
    ASSERT_EQ(expected.isLegal, set.isLegal(text, length)) << set.name << ": " << hexadecimal(text, size + readBehind);
    ASSERT_EQ(expected.isLegal, set.isLegalUpTo(text, length, expected.characters))
        << set.name << ": " << hexadecimal(text, size + readBehind);
    ASSERT_FALSE(set.isLegalUpTo(text, length, expected.characters - 1))
        << set.name << ": " << hexadecimal(text, size + readBehind);
  }
}

std::vector<uint8_t> withZeros(std::vector<uint8_t> text) {
  text.resize(text.size() + readBehind);
  return text;
}

constexpr std::size_t errorRates[] = {0, 0, 500, 50, 5};

const uint8_t oddBytes[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xC1,
                            0xC2, 0xDF, 0xE0, 0xED, 0xEF, 0xF0, 0xF4, 0xF5, 0xF8, 0xFF};

} // namespace

TEST(StringUtilDifferential, ChecksRandomTexts) {
  RandomText_c random(21);
  for (unsigned int turn = 0; turn < 20000 / slowness; ++turn) {
    const std::size_t size = random.below(turn % 10 == 0 ? 2000 : 100);
    const auto text = withZeros(random.text<uint8_t>(size, errorRates[turn % 5]));
    expectSurvey(text.data(), text.size() - readBehind);
    ASSERT_FALSE(HasFatalFailure());
  }
}

TEST(StringUtilDifferential, ChecksLongTextsOfOneScript) {
  RandomText_c random(22);
  for (const uint32_t value : {0x41U, 0xE9U, 0x20ACU, 0x1F600U}) {
    uint8_t units[4];
    const std::size_t length = encode(value, units);
    for (unsigned int turn = 0; turn < 100 / slowness; ++turn) {
      std::vector<uint8_t> text;
      for (std::size_t index = 0; index < 9000 + turn; ++index) {
        text.push_back(units[index % length]);
      }
      text = withZeros(text);
      expectSurvey(text.data(), text.size() - readBehind);
      text[random.below(text.size())] = 0xC0;
      expectSurvey(text.data(), text.size() - readBehind);
      ASSERT_FALSE(HasFatalFailure());
    }
  }
}

TEST(StringUtilDifferential, ChecksEveryCut) {
  RandomText_c random(23);
  for (unsigned int turn = 0; turn < 500 / slowness; ++turn) {
    const auto text = withZeros(random.text<uint8_t>(random.below(200), errorRates[turn % 5]));
    for (std::size_t size = 0; size + readBehind <= text.size(); ++size) {
      expectSurvey(text.data(), size);
      expectSurvey(text.data() + size, text.size() - readBehind - size);
      ASSERT_FALSE(HasFatalFailure());
    }
  }
}

TEST(StringUtilDifferential, ChecksAnErrorAtEveryPlace) {
  RandomText_c random(24);
  for (unsigned int turn = 0; turn < 100 / slowness; ++turn) {
    const auto text = withZeros(random.text<uint8_t>(10 + random.below(120), 0));
    for (std::size_t place = 0; place + readBehind < text.size(); ++place) {
      for (const uint8_t byte : oddBytes) {
        auto broken = text;
        broken[place] = byte;
        expectSurvey(broken.data(), broken.size() - readBehind);
        ASSERT_FALSE(HasFatalFailure());
      }
    }
  }
}

TEST(StringUtilDifferential, FindsOffsetsInRandomTexts) {
  RandomText_c random(25);
  for (unsigned int turn = 0; turn < 2000 / slowness; ++turn) {
    const auto text = random.text<uint8_t>(1 + random.below(60), errorRates[turn % 5]);
    const auto length = static_cast<int>(text.size());
    std::size_t offset = 0;
    for (int n = 0; n <= length + 2; ++n) {
      const int expected = n == 0 || offset < text.size() ? static_cast<int>(offset) : -1;
      for (const Checks_s& set : checks()) {
        ASSERT_EQ(expected, set.offsetOf(text.data(), length, n))
            << set.name << ": " << hexadecimal(text.data(), text.size());
      }
      offset += offset < text.size() ? sequenceLength(text[offset]) : 0;
    }
  }
}
