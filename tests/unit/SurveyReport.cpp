// What people read of a survey, byte for byte.
#include "desk/SurveyReport.h"

#include <gtest/gtest.h>
#include <sstream>

namespace {

std::vector<uint8_t> bytesOfText(const std::string& text) {
  return {text.begin(), text.end()};
}

std::string reportOf(const SurveyedFunction_s& function) {
  std::ostringstream out;
  printFunction(out, function);
  return out.str();
}

SurveyedFunction_s silentFunction() {
  SurveyedFunction_s function;
  function.name = 0xA92C802B5BA1E240U;
  function.address = 128;
  return function;
}

TEST(SurveyReport, ShowsTheNameFieldByFieldAndEveryAnswer) {
  SurveyedFunction_s function = silentFunction();
  function.workingSetMembers = 1;
  function.answers[0] = {AnswerState_e::answered, bytesOfText("4711.5*ZC123456*Armrest*Console*ZEMO*000119*")};
  function.answers[1] = {AnswerState_e::answered, bytesOfText("ZC123456*Harlow-Mede**")};
  function.answers[2] = {AnswerState_e::answered, bytesOfText("\x03"
                                                              "App-1#Lib-2*3.1*1.07*")};
  function.answers[3] = {AnswerState_e::answered, {0xCD, 0xBF, 0x5B, 0, 0, 0, 0x39, 0x30}};
  EXPECT_EQ(reportOf(function), "  address 128 (80)\n"
                                "    NAME A92C802B5BA1E240\n"
                                "      identity number         123456\n"
                                "      manufacturer code       733\n"
                                "      ECU instance            3\n"
                                "      function instance       5\n"
                                "      function                128\n"
                                "      device class            22\n"
                                "      device class instance   9\n"
                                "      industry group          2, agriculture and forestry\n"
                                "      address                 self-configurable\n"
                                "    working-set master, members: 1\n"
                                "    ECU identification\n"
                                "      part number             4711.5\n"
                                "      serial number           ZC123456\n"
                                "      location                Armrest\n"
                                "      type                    Console\n"
                                "      manufacturer            ZEMO\n"
                                "      hardware ID             000119\n"
                                "    product identification\n"
                                "      code                    ZC123456\n"
                                "      brand                   Harlow-Mede\n"
                                "      model                   (empty)\n"
                                "    software identification\n"
                                "      field 1                 App-1\n"
                                "                              Lib-2\n"
                                "      field 2                 3.1\n"
                                "      field 3                 1.07\n"
                                "    compliance certification\n"
                                "      year of the test        2013\n"
                                "      revision                not available\n"
                                "      laboratory              733, not available\n"
                                "      compliance bits         00 00 00\n"
                                "      reference number        12345\n");
}

TEST(SurveyReport, SaysWhyThereIsNoAnswer) {
  SurveyedFunction_s function = silentFunction();
  function.answers[0].state = AnswerState_e::refused;
  function.answers[1].state = AnswerState_e::silent;
  const std::string report = reportOf(function);
  EXPECT_NE(report.find("    ECU identification: refused\n"), std::string::npos) << report;
  EXPECT_NE(report.find("    product identification: no answer\n"), std::string::npos) << report;
  EXPECT_NE(report.find("    software identification: not asked\n"), std::string::npos) << report;
}

TEST(SurveyReport, ShowsHostileBytesAsTheirCodes) {
  SurveyedFunction_s function = silentFunction();
  function.answers[1] = {AnswerState_e::answered, bytesOfText("a\x1B[2J\n*b\xE9*c*")};
  const std::string report = reportOf(function);
  EXPECT_NE(report.find("code                    a\\x1B[2J\\x0A\n"), std::string::npos) << report;
  EXPECT_NE(report.find("brand                   b\\xE9\n"), std::string::npos) << report;
}

TEST(SurveyReport, SaysHowLongAnUnreadableCertificationIs) {
  SurveyedFunction_s function = silentFunction();
  function.answers[3] = {AnswerState_e::answered, {1, 2, 3}};
  EXPECT_NE(reportOf(function).find("unreadable              3 bytes instead of 8\n"), std::string::npos);
}

TEST(SurveyReport, LeavesOutTheFillOfAShortAnswer) {
  SurveyedFunction_s function = silentFunction();
  function.answers[1] = {AnswerState_e::answered, bytesOfText("a*b*c*\xFF\xFF")};
  EXPECT_NE(reportOf(function).find("      model                   c\n    software"), std::string::npos)
      << reportOf(function);
}

TEST(SurveyReport, SaysThatAFunctionHasLeftItsAddress) {
  SurveyedFunction_s function = silentFunction();
  function.address = IsoBusHost::nullAddress;
  EXPECT_EQ(reportOf(function).rfind("  a control function that has left its address\n", 0), 0U);
}

} // namespace
