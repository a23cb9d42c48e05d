#include "IsoText.h"

#include "PlatformInFront.h"

#include <gtest/gtest.h>

using __IsoAgLib::CanPkg_c;
using __IsoAgLib::IsoName_c;

TEST(IsoNameToString, ShowsTheEightBytesByteZeroFirst) {
  const uint8_t bytes[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0xA0};
  const std::string shown = IsoNameToString(IsoName_c(bytes));
  EXPECT_EQ(" IsoName 0x01 0x02 0x03 0x04 0x05 0x06 0x07 0xa0 ", shown);
  EXPECT_EQ(49U, shown.size());
}

TEST(IsoNameToString, ShowsLowestAndHighestBytes) {
  const uint8_t bytes[] = {0x00, 0xFF, 0x00, 0xFF, 0x7F, 0x80, 0x0A, 0xF0};
  EXPECT_EQ(" IsoName 0x00 0xff 0x00 0xff 0x7f 0x80 0x0a 0xf0 ", IsoNameToString(IsoName_c(bytes)));
}

TEST(IsoNameToString, ShowsANameThatWasSetFieldByField) {
  IsoName_c name;
  name.set(true, 2, 7, 1, 0x82, 733, 123456, 3, 2);
  EXPECT_EQ(" IsoName 0x40 0xe2 0xa1 0x5b 0x1a 0x82 0x0e 0xa1 ", IsoNameToString(name));
}

TEST(IsoNameToString, IsEmptyForANameWithoutBytes) {
  EXPECT_EQ("", IsoNameToString(IsoName_c()));
}

namespace {

// Priority 6, PGN EF00 to 26, from 80.
constexpr uint32_t proprietaryFrom80 = 0x18EF2680;

} // namespace

TEST(CanPkgToString, ShowsSourceAddressAndData) {
  const uint8_t data[] = {0x01, 0xFF};
  EXPECT_EQ(" SA 0x80 01 ff ", CanPkgToString(CanPkg_c(proprietaryFrom80, data, 2)));
}

TEST(CanPkgToString, ShowsOnlyTheSourceAddressOfAMessageWithoutData) {
  const uint8_t data[] = {0x01};
  EXPECT_EQ(" SA 0x80 ", CanPkgToString(CanPkg_c(proprietaryFrom80, data, 0)));
}

TEST(CanPkgToString, ShowsAllEightBytesInOrder) {
  const uint8_t data[] = {0x00, 0x01, 0x0A, 0x10, 0x7F, 0x80, 0xAB, 0xFF};
  EXPECT_EQ(" SA 0x05 00 01 0a 10 7f 80 ab ff ", CanPkgToString(CanPkg_c(0x18EEFF05, data, 8)));
}

TEST(CanPkgToString, ShowsNothingElseOfTheIdentifier) {
  const uint8_t data[] = {0x42};
  EXPECT_EQ(" SA 0x80 42 ", CanPkgToString(CanPkg_c(0x00000080, data, 1)));
  EXPECT_EQ(" SA 0x80 42 ", CanPkgToString(CanPkg_c(0x1FFFFF80, data, 1)));
}

TEST(CanPkgToString, ShowsEverySourceAddressWithTwoDigits) {
  const uint8_t data[] = {0x00};
  EXPECT_EQ(" SA 0x00 ", CanPkgToString(CanPkg_c(0x18EEFF00, data, 0)));
  EXPECT_EQ(" SA 0x0f ", CanPkgToString(CanPkg_c(0x18EEFF0F, data, 0)));
  EXPECT_EQ(" SA 0xfe ", CanPkgToString(CanPkg_c(0x18EEFFFE, data, 0)));
  EXPECT_EQ(" SA 0xff ", CanPkgToString(CanPkg_c(0x18EEFFFF, data, 0)));
}

TEST(CanPkgToString, ReadsTheMessageAsOneOfStackInstanceZeroAndReleasesIt) {
  const uint8_t data[] = {0x42};
  CanPkgToString(CanPkg_c(proprietaryFrom80, data, 1));
  EXPECT_EQ(0, TestSupport::platformInFront().messageInstance);
  EXPECT_EQ(0, TestSupport::platformInFront().messagesAlive);
}
