// Long rows of one character, and of one byte that is none: whole blocks and whole pieces of the same.
#include "UtfCase.h"

using namespace TestSupport;

namespace {

constexpr std::size_t rowLength = 90; // more than the fast ways need to look for ASCII

template <class Unit_t>
std::vector<Unit_t> rowOf(uint32_t value) {
  Unit_t units[4];
  const std::size_t length = encode(value, units);
  std::vector<Unit_t> row;
  for (std::size_t count = 0; count < rowLength; ++count) {
    row.insert(row.end(), units, units + length);
  }
  return row;
}

template <class Source_t, class Target_t>
void expectConversion(const std::vector<Source_t>& source, const std::vector<Target_t>& target) {
  UtfCase_c<Source_t, Target_t> one;
  one.prepare(source.data(), source.size(), target.size(), strict, {0, source.size(), target.size()}, target.data());
  for (const Way_s& way : ways()) {
    ASSERT_TRUE(one.isRightBy(way)) << one.told(way);
  }
}

void expectRow(uint32_t value) {
  const std::vector<uint8_t> in8 = rowOf<uint8_t>(value);
  const std::vector<uint16_t> in16 = rowOf<uint16_t>(value);
  const std::vector<uint32_t> in32 = rowOf<uint32_t>(value);
  expectConversion(in8, in16);
  expectConversion(in8, in32);
  expectConversion(in16, in8);
  expectConversion(in16, in32);
  expectConversion(in32, in8);
  expectConversion(in32, in16);
  for (const Checks_s& set : checks()) {
    ASSERT_TRUE(set.isLegal(in8.data(), static_cast<int>(in8.size()))) << set.name << ": " << value;
  }
}

// Illegal at once, with nothing taken behind so many letters.
template <class Target_t>
void expectStop(std::size_t letters, std::size_t continuations, uint8_t byte) {
  std::vector<uint8_t> text(letters, 'a');
  text.insert(text.end(), continuations, byte);
  const std::vector<Target_t> target(letters, 'a');
  UtfCase_c<uint8_t, Target_t> one;
  one.prepare(text.data(), text.size(), text.size(), strict, {3, letters, letters}, target.data());
  for (const Way_s& way : ways()) {
    ASSERT_TRUE(one.isRightBy(way)) << one.told(way);
  }
}

// The borders of the surrogates, and each with one bit changed.
std::vector<uint16_t> nearSurrogates() {
  std::vector<uint16_t> units;
  for (const unsigned int border : {0xD800U, 0xDBFFU, 0xDC00U, 0xDFFFU}) {
    units.push_back(static_cast<uint16_t>(border));
    for (unsigned int bit = 0; bit < 16; ++bit) {
      units.push_back(static_cast<uint16_t>(border ^ 1U << bit));
    }
  }
  return units;
}

// As the oracle has it, in both modes.
void expectOutcome(UtfCase_c<uint16_t, uint8_t>& one, const std::vector<uint16_t>& text) {
  for (const int flags : {strict, lenient}) {
    one.prepare(text.data(), text.size(), 3 * text.size(), flags);
    for (const Way_s& way : ways()) {
      ASSERT_TRUE(one.isRightBy(way)) << one.told(way);
    }
  }
}

} // namespace

TEST(UtfRepeated, ConvertsARowOfEachCharacterUpTo0FFF) {
  for (uint32_t value = 0; value <= 0xFFF; ++value) {
    expectRow(value);
    ASSERT_FALSE(HasFatalFailure());
  }
}

TEST(UtfRepeated, ConvertsARowOfEachCharacterWithOneBitMoreOrLess) {
  for (unsigned int bit = 12; bit < 21; ++bit) {
    for (const uint32_t value : {1U << bit, (1U << bit) - 1, 0xFFFF ^ 1U << bit % 16, 0x10000 | 1U << bit % 16,
                                 0x10FFFF ^ 1U << bit, 0x10FFFF ^ 1U << (bit - 12)}) {
      if (value <= 0x10FFFF && value / 0x800 != 0xD800 / 0x800) {
        expectRow(value);
        ASSERT_FALSE(HasFatalFailure());
      }
    }
  }
}

TEST(UtfRepeated, TakesNoRowOfUnitsForPairsThatAreNone) {
  constexpr std::size_t pairs = 6;
  const std::vector<uint16_t> units = nearSurrogates();
  UtfCase_c<uint16_t, uint8_t> one;
  for (const uint16_t first : units) {
    for (const uint16_t second : units) {
      std::vector<uint16_t> row;
      std::vector<uint16_t> onlyOne;
      for (std::size_t pair = 0; pair < pairs; ++pair) {
        row.insert(row.end(), {first, second});
        onlyOne.insert(onlyOne.end(), {0xD83D, 0xDE00});
      }
      expectOutcome(one, row);
      const std::size_t place = (first + second) % pairs * 2;
      onlyOne[place] = first;
      onlyOne[place + 1] = second;
      expectOutcome(one, onlyOne);
      ASSERT_FALSE(HasFatalFailure());
    }
  }
}

TEST(UtfRepeated, StopsAtOnceOnARowOfContinuationsLongerThanAnyPiece) {
  for (const std::size_t letters : {0U, 1U, 15U, 40U, 300U}) {
    for (const std::size_t continuations : {1U, 16U, 33U, 255U, 256U, 257U, 600U, 5000U}) {
      for (const uint8_t byte : {uint8_t{0x80}, uint8_t{0xBF}}) {
        expectStop<uint16_t>(letters, continuations, byte);
        expectStop<uint32_t>(letters, continuations, byte);
        ASSERT_FALSE(HasFatalFailure());
      }
    }
  }
}

TEST(UtfRepeated, ARowOfContinuationsLongerThanAnyPieceIsNoLegalText) {
  for (const std::size_t letters : {0U, 1U, 64U, 300U}) {
    for (const std::size_t continuations : {1U, 256U, 4095U, 4096U, 4097U, 9000U}) {
      std::vector<uint8_t> text(letters, 'a');
      text.insert(text.end(), continuations, 0x80);
      const auto length = static_cast<int>(text.size());
      for (const Checks_s& set : checks()) {
        EXPECT_FALSE(set.isLegal(text.data(), length)) << set.name << ", " << letters << ", " << continuations;
        EXPECT_FALSE(set.isLegalUpTo(text.data(), length, length)) << set.name << ", " << letters;
      }
    }
  }
}

TEST(UtfRepeated, OneWrongByteAnywhereInARowOfLettersIsFound) {
  for (const std::size_t size : {64U, 65U, 80U, 128U, 200U}) {
    for (std::size_t place = 0; place < size; ++place) {
      for (const uint8_t byte : {uint8_t{0x80}, uint8_t{0xC3}, uint8_t{0xFF}}) {
        std::vector<uint8_t> text(size + 1, 'a');
        text[place] = byte;
        text[size] = 0;
        for (const Checks_s& set : checks()) {
          ASSERT_FALSE(set.isLegal(text.data(), static_cast<int>(size)))
              << set.name << ": " << hexadecimal(text.data(), size);
        }
      }
    }
  }
}

TEST(UtfRepeated, OneUnitBeyondASCIIAnywhereInARowOfLettersIsConverted) {
  constexpr std::size_t size = 80;
  UtfCase_c<uint16_t, uint8_t> one;
  for (std::size_t place = 0; place < size; ++place) {
    for (unsigned int bit = 0; bit < 16; ++bit) {
      std::vector<uint16_t> text(size, 'a');
      text[place] = static_cast<uint16_t>(1U << bit);
      expectOutcome(one, text);
      ASSERT_FALSE(HasFatalFailure());
    }
  }
}
