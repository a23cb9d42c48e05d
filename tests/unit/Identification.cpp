#include "Identification.h"

#include "BusText.h"

#include <gtest/gtest.h>

using namespace IsoBusHost;
using BusText::bytesOf;
using BusText::nameOf;

namespace {

using Fields = std::vector<std::string>;

std::vector<uint8_t> vectorOf(const std::array<uint8_t, 8>& bytes) {
  return {bytes.begin(), bytes.end()};
}

TEST(IdentificationName, HasItsFieldsInTheirPlaces) {
  Name_s name;
  name.identityNumber = 123456;
  name.manufacturerCode = 733;
  name.function = 29;
  name.industryGroup = 2;
  name.selfConfigurable = true;
  EXPECT_EQ(vectorOf(nameBytes(encodeName(name))), bytesOf("40 E2 A1 5B 00 1D 00 A0"));
}

TEST(IdentificationName, OfAnotherStackIsRead) {
  const Name_s name = decodeName(nameOf("01 00 E0 AF 00 1D 00 80"));
  EXPECT_EQ(name.identityNumber, 1U);
  EXPECT_EQ(name.manufacturerCode, 1407U);
  EXPECT_EQ(name.ecuInstance, 0U);
  EXPECT_EQ(name.functionInstance, 0U);
  EXPECT_EQ(name.function, 29U);
  EXPECT_EQ(name.deviceClass, 0U);
  EXPECT_EQ(name.deviceClassInstance, 0U);
  EXPECT_EQ(name.industryGroup, 0U);
  EXPECT_TRUE(name.selfConfigurable);
}

TEST(IdentificationName, HasEachInstanceInItsOwnBits) {
  Name_s name;
  name.ecuInstance = 7;
  EXPECT_EQ(encodeName(name), 0x0000000700000000U);
  name = {};
  name.functionInstance = 31;
  EXPECT_EQ(encodeName(name), 0x000000F800000000U);
  name = {};
  name.deviceClass = 127;
  EXPECT_EQ(encodeName(name), 0x00FE000000000000U);
  name = {};
  name.deviceClassInstance = 15;
  EXPECT_EQ(encodeName(name), 0x0F00000000000000U);
  name = {};
  name.industryGroup = 7;
  EXPECT_EQ(encodeName(name), 0x7000000000000000U);
}

TEST(IdentificationName, DropsWhatIsTooLargeForAField) {
  Name_s name;
  name.identityNumber = 0xFFFFFFFF;
  name.ecuInstance = 8;
  EXPECT_EQ(encodeName(name), 0x1FFFFFU);
}

TEST(IdentificationName, OfAllBitsComesBackWithoutTheReservedOne) {
  EXPECT_EQ(encodeName(decodeName(UINT64_MAX)), 0xFFFEFFFFFFFFFFFFU);
}

TEST(IdentificationText, IsSplitAtEachStar) {
  EXPECT_EQ(splitFields("a*b*c*"), (Fields{"a", "b", "c"}));
  EXPECT_EQ(splitFields("**x*"), (Fields{"", "", "x"}));
  EXPECT_EQ(splitFields(""), Fields{});
  EXPECT_EQ(splitFields("*"), Fields{""});
}

TEST(IdentificationText, KeepsALastFieldThatIsNotClosed) {
  EXPECT_EQ(splitFields("a*b"), (Fields{"a", "b"}));
  EXPECT_EQ(splitFields("a"), Fields{"a"});
}

TEST(IdentificationSoftware, BeginsWithTheNumberOfItsFields) {
  EXPECT_EQ(encodeSoftwareIdentification("A1#B*C*"), bytesOf("02 41 31 23 42 2A 43 2A"));
  EXPECT_EQ(encodeSoftwareIdentification("*"), bytesOf("01 2A"));
  EXPECT_EQ(encodeSoftwareIdentification(""), bytesOf("00"));
}

TEST(IdentificationSoftware, ClosesAnOpenLastField) {
  EXPECT_EQ(encodeSoftwareIdentification("A*B"), bytesOf("02 41 2A 42 2A"));
}

TEST(IdentificationSoftware, HasAtMost125Fields) {
  const std::vector<uint8_t> data = encodeSoftwareIdentification(std::string(200, '*'));
  EXPECT_EQ(data.size(), 126U);
  EXPECT_EQ(data.front(), 125U);
}

TEST(IdentificationSoftware, IsReadWithAndWithoutItsCount) {
  EXPECT_EQ(textOfSoftwareIdentification(bytesOf("02 41 2A 42 2A")), "A*B*");
  EXPECT_EQ(textOfSoftwareIdentification(bytesOf("41 2A 42 2A")), "A*B*");
  EXPECT_EQ(textOfSoftwareIdentification(bytesOf("1F 41 2A")), "A*");
  EXPECT_EQ(textOfSoftwareIdentification(bytesOf("20 41 2A")), " A*");
  EXPECT_EQ(textOfSoftwareIdentification({}), "");
}

TEST(IdentificationCertification, HasItsFieldsInTheirPlaces) {
  Certification_s certification;
  certification.year = 2013;
  certification.revision = 31;
  certification.laboratoryType = 3;
  certification.laboratoryId = 733;
  EXPECT_EQ(vectorOf(encodeCertification(certification)), bytesOf("CD BF 5B 00 00 00 00 00"));
}

TEST(IdentificationCertification, SplitsTheRevisionAroundTheLaboratoryType) {
  Certification_s certification;
  certification.laboratoryType = 0;
  const std::pair<uint8_t, const char*> rows[] = {
      {1, "40 00"}, {2, "80 00"}, {4, "00 01"}, {8, "00 08"}, {16, "00 10"}};
  for (const auto& [revision, bytes] : rows) {
    certification.revision = revision;
    EXPECT_EQ(vectorOf(encodeCertification(certification)), bytesOf(bytes + std::string(" 00 00 00 00 00 00")));
  }
}

TEST(IdentificationCertification, SendsComplianceBytesAsTheyStandAndTheReferenceLowByteFirst) {
  Certification_s certification;
  certification.revision = 0;
  certification.laboratoryType = 1;
  certification.laboratoryId = 0x7FF;
  certification.compliance = {0x11, 0x22, 0x80};
  certification.referenceNumber = 0xABCD;
  EXPECT_EQ(vectorOf(encodeCertification(certification)), bytesOf("00 E2 FF 11 22 80 CD AB"));
}

TEST(IdentificationCertification, SendsAYearThatDoesNotFitAsNotAvailable) {
  Certification_s certification;
  certification.revision = 0;
  certification.laboratoryType = 0;
  for (const unsigned int year : {0U, 1999U, 2064U, 65535U}) {
    certification.year = static_cast<uint16_t>(year);
    EXPECT_EQ(encodeCertification(certification)[0], 63U) << year;
  }
  certification.year = 2061;
  EXPECT_EQ(encodeCertification(certification)[0], 61U);
}

TEST(IdentificationCertification, IsRead) {
  const auto certification = decodeCertification(bytesOf("CD BF 5B 01 02 80 34 12"));
  ASSERT_TRUE(certification);
  EXPECT_EQ(certification->year, 2013U);
  EXPECT_EQ(certification->revision, 31U);
  EXPECT_EQ(certification->laboratoryType, 3U);
  EXPECT_EQ(certification->laboratoryId, 733U);
  EXPECT_EQ(certification->compliance, (std::array<uint8_t, 3>{1, 2, 0x80}));
  EXPECT_EQ(certification->referenceNumber, 0x1234U);
}

TEST(IdentificationCertification, OfFewerThan8BytesIsRefused) {
  EXPECT_FALSE(decodeCertification(bytesOf("CD BF 5B 00 00 00 00")));
  EXPECT_FALSE(decodeCertification({}));
}

} // namespace
