#include "IsoAgLib/vtclient.h"

#include <gtest/gtest.h>
#include <utility>
#include <vector>

using namespace IsoAgLib;

namespace {

uint8_t shown(uint8_t colour, uint8_t graphicType) {
  iVtObjectPool_c pool(nullptr, 0);
  iVtProperties_s vt{};
  vt.graphicType = graphicType;
  return pool.convertColour(colour, vt, nullptr, BackgroundColour);
}

// The place of a mixed colour in the palette, each part from 0 to 5.
uint8_t mixed(int red, int green, int blue) {
  return static_cast<uint8_t>(16 + 36 * red + 6 * green + blue);
}

constexpr uint8_t twoColours = 0;
constexpr uint8_t sixteenColours = 1;
constexpr uint8_t allColours = 2;

} // namespace

TEST(VtObjectColour, IsBlackOrWhiteWhereThereAreTwo) {
  EXPECT_EQ(0, shown(0, twoColours));
  for (const int colour : {1, 2, 8, 15, 17, 231, 232, 255}) {
    EXPECT_EQ(1, shown(static_cast<uint8_t>(colour), twoColours)) << colour;
  }
}

TEST(VtObjectColour, IsBlackAlsoForTheMixedColourThatLooksTheSame) {
  EXPECT_EQ(0, shown(mixed(0, 0, 0), twoColours));
}

TEST(VtObjectColour, StaysWhereTheVtHasItAmongSixteen) {
  for (int colour = 0; colour < 16; ++colour) {
    EXPECT_EQ(colour, shown(static_cast<uint8_t>(colour), sixteenColours));
  }
}

TEST(VtObjectColour, BecomesTheNearestOfSixteen) {
  const std::vector<std::pair<uint8_t, int>> rows = {
      {mixed(0, 0, 0), 0},  {mixed(5, 5, 5), 1},  {mixed(0, 3, 0), 2},  {mixed(0, 3, 3), 3},  {mixed(3, 0, 0), 4},
      {mixed(3, 0, 3), 5},  {mixed(3, 3, 0), 6},  {mixed(4, 4, 4), 7},  {mixed(3, 3, 3), 8},  {mixed(0, 0, 5), 9},
      {mixed(0, 5, 0), 10}, {mixed(0, 5, 5), 11}, {mixed(5, 0, 0), 12}, {mixed(5, 0, 5), 13}, {mixed(5, 5, 0), 14},
      {mixed(0, 0, 3), 15}, {mixed(0, 0, 1), 0},  {mixed(4, 0, 0), 4},  {mixed(5, 1, 0), 12}, {mixed(1, 1, 1), 0},
      {mixed(2, 2, 2), 8},  {mixed(5, 5, 4), 1},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.second, shown(row.first, sixteenColours)) << int{row.first};
  }
}

TEST(VtObjectColour, IsWhiteAmongSixteenWhereOnlyTheVtKnowsIt) {
  EXPECT_EQ(1, shown(232, sixteenColours));
  EXPECT_EQ(1, shown(255, sixteenColours));
}

TEST(VtObjectColour, StaysWhereTheVtHasAll) {
  for (int colour = 0; colour <= 255; ++colour) {
    EXPECT_EQ(colour, shown(static_cast<uint8_t>(colour), allColours));
  }
}
