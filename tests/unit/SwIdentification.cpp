#include "SwIdentification.h"

#include "HostFixture.h"
#include "PlatformInFront.h"

using __IsoAgLib::formatAppSwIdentification;
using __IsoAgLib::stringizeWithMaxZEMOLibVersion;
using namespace TestSupport;

namespace {

using Functions_t = std::vector<const char* (*)()>;

constexpr const char* ownVersion = "ZEMOLib.891.170906.0046";

const char* family900() {
  return "ZEMOLib.900.180101.0000";
}
const char* family800() {
  return "ZEMOLib.800.170101.0000";
}
const char* family892() {
  return "ZEMOLib.892.000000.0000";
}
const char* familyOneDigitLess() {
  return "ZEMOLib.999.991231.999";
}
const char* familyLonger() {
  return "ZEMOLib.1000.180101.0000";
}
const char* familyLongerAndLower() {
  return "ZEMOLib.000.000000.00000";
}
const char* familySameAsOwn() {
  return "ZEMOLib.891.170906.0046";
}
const char* familyHighByte() {
  return "ZEMOLib.\xFF"
         "91.170906.0046";
}
const char* familyNameAlone() {
  return "ZEMOLib.";
}
const char* sevenCharacters() {
  return "ZEMOLib";
}
const char* otherSpelling() {
  return "zemoLib.999.999999.9999";
}
const char* familyInside() {
  return "XZEMOLib.999.999999.999";
}
const char* gps() {
  return "GPS-2.1";
}
const char* maps() {
  return "Maps-1.0";
}
const char* stack() {
  return "Stack-1";
}
const char* withStackInside() {
  return "uses Stack-1.5";
}
const char* emptyText() {
  return "";
}

std::string calls;

const char* firstCalled() {
  calls += "first ";
  return "A";
}
const char* secondCalled() {
  calls += "second ";
  return "B";
}

} // namespace

class StringizeWithMaxZEMOLibVersion : public HostFixture {
protected:
  void TearDown() override {
    platformInFront() = PlatformInFront_s();
    HostFixture::TearDown();
  }
};

TEST_F(StringizeWithMaxZEMOLibVersion, GivesOwnAndStackVersionForANullList) {
  EXPECT_EQ("ZEMOLib.891.170906.0046#Stack-1", stringizeWithMaxZEMOLibVersion(nullptr));
}

TEST_F(StringizeWithMaxZEMOLibVersion, CallsEachFunctionOnceInOrder) {
  const Functions_t functions = {firstCalled, secondCalled, firstCalled};
  EXPECT_EQ("ZEMOLib.891.170906.0046#A#B#A#Stack-1", stringizeWithMaxZEMOLibVersion(&functions));
  EXPECT_EQ("first second first ", calls);
}

TEST_F(StringizeWithMaxZEMOLibVersion, AsksTheStackForItsVersion) {
  stringizeWithMaxZEMOLibVersion(nullptr);
  EXPECT_LE(1, platformInFront().stackVersionAsked);
}

TEST_F(StringizeWithMaxZEMOLibVersion, CountsAnEmptyStackVersionAsAlreadyPresent) {
  platformInFront().stackVersion = "";
  EXPECT_EQ(ownVersion, stringizeWithMaxZEMOLibVersion(nullptr));
}

TEST_F(StringizeWithMaxZEMOLibVersion, FindsTheStackVersionAnywhereInTheResult) {
  platformInFront().stackVersion = "170906";
  EXPECT_EQ(ownVersion, stringizeWithMaxZEMOLibVersion(nullptr));
  platformInFront().stackVersion = "0046#GPS";
  const Functions_t functions = {gps};
  EXPECT_EQ("ZEMOLib.891.170906.0046#GPS-2.1", stringizeWithMaxZEMOLibVersion(&functions));
}

namespace {

struct Versions_s {
  const char* name;
  Functions_t functions;
  const char* result;
};

void PrintTo(const Versions_s& row, std::ostream* stream) {
  *stream << row.name;
}

} // namespace

class SwIdentificationVersions : public HostFixture, public testing::WithParamInterface<Versions_s> {
protected:
  void TearDown() override {
    platformInFront() = PlatformInFront_s();
    HostFixture::TearDown();
  }
};

TEST_P(SwIdentificationVersions, AreJoined) {
  EXPECT_EQ(GetParam().result, stringizeWithMaxZEMOLibVersion(&GetParam().functions));
}

TEST_P(SwIdentificationVersions, FollowTheApplication) {
  EXPECT_EQ(std::string("App-1.2#") + GetParam().result, formatAppSwIdentification("App-1.2", &GetParam().functions));
}

INSTANTIATE_TEST_SUITE_P(
    , SwIdentificationVersions,
    testing::Values(
        Versions_s{"NoFunction", {}, "ZEMOLib.891.170906.0046#Stack-1"},
        Versions_s{"SameLengthAndHigher", {family900}, "ZEMOLib.900.180101.0000#Stack-1"},
        Versions_s{"SameLengthAndLower", {family800}, "ZEMOLib.891.170906.0046#Stack-1"},
        Versions_s{"SameText", {familySameAsOwn}, "ZEMOLib.891.170906.0046#Stack-1"},
        Versions_s{"Longer", {familyLonger}, "ZEMOLib.1000.180101.0000#Stack-1"},
        Versions_s{"LongerThoughLower", {familyLongerAndLower}, "ZEMOLib.000.000000.00000#Stack-1"},
        Versions_s{"ShorterThoughHigher", {familyOneDigitLess}, "ZEMOLib.891.170906.0046#Stack-1"},
        Versions_s{"HighestOfThree", {family892, family900, family800}, "ZEMOLib.900.180101.0000#Stack-1"},
        Versions_s{"HighestThatComesLast", {family800, family892, family900}, "ZEMOLib.900.180101.0000#Stack-1"},
        Versions_s{"LongerStaysAgainstHigher", {familyLongerAndLower, family900}, "ZEMOLib.000.000000.00000#Stack-1"},
        Versions_s{
            "HigherByUnsignedCharacter", {family900, familyHighByte}, "ZEMOLib.\xFF\x39\x31.170906.0046#Stack-1"},
        Versions_s{"FamilyNameAlone", {familyNameAlone}, "ZEMOLib.891.170906.0046#Stack-1"},
        Versions_s{"SevenCharactersAreForeign", {sevenCharacters}, "ZEMOLib.891.170906.0046#ZEMOLib#Stack-1"},
        Versions_s{
            "OtherSpellingIsForeign", {otherSpelling}, "ZEMOLib.891.170906.0046#zemoLib.999.999999.9999#Stack-1"},
        Versions_s{
            "FamilyNameInsideIsForeign", {familyInside}, "ZEMOLib.891.170906.0046#XZEMOLib.999.999999.999#Stack-1"},
        Versions_s{"ForeignInOrder", {gps, maps}, "ZEMOLib.891.170906.0046#GPS-2.1#Maps-1.0#Stack-1"},
        Versions_s{"ForeignInTheOtherOrder", {maps, gps}, "ZEMOLib.891.170906.0046#Maps-1.0#GPS-2.1#Stack-1"},
        Versions_s{"ForeignRepeated", {gps, gps}, "ZEMOLib.891.170906.0046#GPS-2.1#GPS-2.1#Stack-1"},
        Versions_s{"ForeignAroundFamily", {gps, family900, maps}, "ZEMOLib.900.180101.0000#GPS-2.1#Maps-1.0#Stack-1"},
        Versions_s{"ForeignEmpty", {emptyText, gps}, "ZEMOLib.891.170906.0046##GPS-2.1#Stack-1"},
        Versions_s{"StackAmongTheForeign", {stack}, "ZEMOLib.891.170906.0046#Stack-1"},
        Versions_s{"StackAmongTheForeignInOrder", {stack, gps}, "ZEMOLib.891.170906.0046#Stack-1#GPS-2.1"},
        Versions_s{"StackInsideAForeign", {withStackInside}, "ZEMOLib.891.170906.0046#uses Stack-1.5"}),
    [](const testing::TestParamInfo<Versions_s>& row) { return row.param.name; });

class FormatAppSwIdentification : public StringizeWithMaxZEMOLibVersion {};

TEST_F(FormatAppSwIdentification, PutsTheApplicationInFront) {
  EXPECT_EQ("App-1.2#ZEMOLib.891.170906.0046#Stack-1", formatAppSwIdentification("App-1.2", nullptr));
}

TEST_F(FormatAppSwIdentification, TakesAnyApplicationTextAsItIs) {
  EXPECT_EQ("#ZEMOLib.891.170906.0046#Stack-1", formatAppSwIdentification("", nullptr));
  EXPECT_EQ("a*b#c#ZEMOLib.891.170906.0046#Stack-1", formatAppSwIdentification("a*b#c", nullptr));
}

TEST_F(FormatAppSwIdentification, DoesNotLookForTheStackVersionInTheApplicationText) {
  EXPECT_EQ("Stack-1#ZEMOLib.891.170906.0046#Stack-1", formatAppSwIdentification("Stack-1", nullptr));
}

class GetUtilsVersion : public HostFixture {};

TEST_F(GetUtilsVersion, GivesTheFixedText) {
  EXPECT_STREQ("ZEMOLib.891.170906.0046", getUtilsVersion());
}

TEST_F(GetUtilsVersion, HasTheFormOfAVersionFunction) {
  const Functions_t functions = {getUtilsVersion};
  EXPECT_EQ("ZEMOLib.891.170906.0046#Stack-1", stringizeWithMaxZEMOLibVersion(&functions));
}

class HardwareRevision : public HostFixture {};

TEST_F(HardwareRevision, IsAskedForOnce) {
  ConsoleHost::setHardwareVersion(5);
  EXPECT_EQ(5, GetHardwareRevision());
  ConsoleHost::setHardwareVersion(6);
  EXPECT_EQ(5, GetHardwareRevision());
  EXPECT_EQ("GetConsoleHWVersion()\n", journalText());
}

TEST_F(HardwareRevision, IsAskedForAgainWhileTheConsoleDoesNotKnowIt) {
  ConsoleHost::setHardwareVersion(-1);
  EXPECT_EQ(-1, GetHardwareRevision());
  EXPECT_EQ(-1, GetHardwareRevision());
  EXPECT_EQ("GetConsoleHWVersion()\nGetConsoleHWVersion()\n", journalText());
  ConsoleHost::setHardwareVersion(7);
  EXPECT_EQ(7, GetHardwareRevision());
  EXPECT_EQ(7, GetHardwareRevision());
  EXPECT_EQ("GetConsoleHWVersion()\nGetConsoleHWVersion()\nGetConsoleHWVersion()\n", journalText());
}

TEST_F(HardwareRevision, IsKeptWhenItIsZeroOrNegative) {
  ConsoleHost::setHardwareVersion(0);
  EXPECT_EQ(0, GetHardwareRevision());
  ConsoleHost::setHardwareVersion(9);
  EXPECT_EQ(0, GetHardwareRevision());
}

TEST_F(HardwareRevision, KeepsAnyNumberButMinusOne) {
  ConsoleHost::setHardwareVersion(-2);
  EXPECT_EQ(-2, GetHardwareRevision());
  ConsoleHost::setHardwareVersion(9);
  EXPECT_EQ(-2, GetHardwareRevision());
}
