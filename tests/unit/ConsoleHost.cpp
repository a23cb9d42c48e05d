#include "ConsoleHost.h"
#include "zemoconsole.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

std::vector<std::string> s_calls;

std::string stringOf(int value) {
  return getDBusInterfaceInstance()->getString(static_cast<DBusValue_e>(value));
}

std::string readVin() {
  char buffer[256];
  std::memset(buffer, '#', sizeof(buffer));
  getDBusInterfaceInstance()->getSetProductVin(false, buffer);
  return {buffer, ::strnlen(buffer, sizeof(buffer))};
}

std::string storeVin(const std::string& vin) {
  char buffer[256] = {};
  std::memcpy(buffer, vin.data(), std::min(vin.size(), sizeof(buffer)));
  getDBusInterfaceInstance()->getSetProductVin(true, buffer);
  return {buffer, ::strnlen(buffer, sizeof(buffer))};
}

CertificationData_s certification() {
  CertificationData_s data = {1, 1, 1, 1, 1};
  EXPECT_TRUE(getDBusInterfaceInstance()->getCertificationData(data));
  return data;
}

void expectDefaults() {
  EXPECT_EQ(stringOf(5), "1.07");
  EXPECT_EQ(stringOf(6), "3.1");
  EXPECT_EQ(stringOf(8), "ZC123456");
  EXPECT_EQ(stringOf(10), "4711.5");
  EXPECT_EQ(stringOf(11), "1");
  EXPECT_EQ(readVin(), "");
  EXPECT_EQ(getDBusInterfaceInstance()->getVirtualTerminalVersion(), 3);
  EXPECT_EQ(GetConsoleHWVersion(), 5);
  const CertificationData_s data = certification();
  EXPECT_EQ(data.year, 2013U);
  EXPECT_EQ(data.revision, 31U);
  EXPECT_EQ(data.laboratoryType, 3U);
  EXPECT_EQ(data.laboratoryId, 733U);
  EXPECT_EQ(data.referenceNumber, 0U);
}

class ConsoleHostTest : public testing::Test {
protected:
  void SetUp() override {
    std::string name = (std::filesystem::temp_directory_path() / "zemo-console-XXXXXX").string();
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    m_folder = name;
    m_file = (m_folder / "values.json").string();
    ::unsetenv("ZEMO_CONSOLE_VALUES");
    ConsoleHost::setJournal(nullptr);
    ConsoleHost::reset();
    s_calls.clear();
  }

  void TearDown() override { std::filesystem::remove_all(m_folder); }

  std::string load(const std::string& content) {
    write(content);
    return ConsoleHost::loadFile(m_file);
  }

  // What is wrong with a file, without the name of the file that stands in front.
  std::string problemOf(const std::string& content) {
    const std::string problem = load(content);
    EXPECT_EQ(problem.find('\n'), std::string::npos) << problem;
    if (problem.empty()) {
      return problem;
    }
    EXPECT_THAT(problem, StartsWith(m_file + ": "));
    return problem.substr(std::min(problem.size(), m_file.size() + 2));
  }

  void write(const std::string& content) const { std::ofstream(m_file, std::ios::binary) << content; }

  std::string content() const {
    std::ifstream file(m_file, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::vector<std::string> namesInFolder() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder)) {
      names.push_back(entry.path().filename().string());
    }
    return names;
  }

  std::filesystem::path m_folder;
  std::string m_file;
};

TEST_F(ConsoleHostTest, GivesTheDefaultsWithoutAFile) {
  expectDefaults();
}

TEST_F(ConsoleHostTest, HasOneConnectionPerProcess) {
  EXPECT_NE(getDBusInterfaceInstance(), nullptr);
  EXPECT_EQ(getDBusInterfaceInstance(), getDBusInterfaceInstance());
}

TEST_F(ConsoleHostTest, GivesAnEmptyTextForANumberThatTheConsoleDoesNotKnow) {
  EXPECT_EQ(stringOf(7), "");
  EXPECT_EQ(stringOf(-1), "");
}

TEST_F(ConsoleHostTest, TakesEveryValueFromTheFile) {
  EXPECT_EQ(load(R"({"bootLoaderVersion": "B", "osVersion": "O", "serialNumber": "S", "partNumber": "P",
                     "hardwareVariant": "2", "vin": "WVWZZZ1KZAW000001", "virtualTerminalVersion": 4,
                     "hardwareVersion": 9, "certification": {"year": 2020, "revision": 1, "laboratoryType": 2,
                     "laboratoryId": 7, "referenceNumber": 99}})"),
            "");
  EXPECT_EQ(stringOf(5), "B");
  EXPECT_EQ(stringOf(6), "O");
  EXPECT_EQ(stringOf(8), "S");
  EXPECT_EQ(stringOf(10), "P");
  EXPECT_EQ(stringOf(11), "2");
  EXPECT_EQ(readVin(), "WVWZZZ1KZAW000001");
  EXPECT_EQ(getDBusInterfaceInstance()->getVirtualTerminalVersion(), 4);
  EXPECT_EQ(GetConsoleHWVersion(), 9);
  const CertificationData_s data = certification();
  EXPECT_EQ(data.year, 2020U);
  EXPECT_EQ(data.revision, 1U);
  EXPECT_EQ(data.laboratoryType, 2U);
  EXPECT_EQ(data.laboratoryId, 7U);
  EXPECT_EQ(data.referenceNumber, 99U);
}

TEST_F(ConsoleHostTest, AnEmptyObjectLeavesTheDefaults) {
  EXPECT_EQ(load("{}"), "");
  expectDefaults();
}

TEST_F(ConsoleHostTest, KeysThatAreMissingLeaveTheirDefaults) {
  EXPECT_EQ(load(R"({"osVersion": "9", "certification": {"year": 2021}})"), "");
  EXPECT_EQ(stringOf(5), "1.07");
  EXPECT_EQ(stringOf(6), "9");
  EXPECT_EQ(certification().year, 2021U);
  EXPECT_EQ(certification().laboratoryId, 733U);
}

TEST_F(ConsoleHostTest, AnEmptyTextIsAValue) {
  EXPECT_EQ(load(R"({"partNumber": ""})"), "");
  EXPECT_EQ(stringOf(10), "");
}

TEST_F(ConsoleHostTest, ASecondFileForgetsTheFirst) {
  EXPECT_EQ(load(R"({"osVersion": "9"})"), "");
  EXPECT_EQ(load(R"({"partNumber": "1"})"), "");
  EXPECT_EQ(stringOf(6), "3.1");
  EXPECT_EQ(stringOf(10), "1");
}

TEST_F(ConsoleHostTest, HasNoCertificationDataForNullOrFalse) {
  for (const char* content : {R"({"certification": null})", R"({"certification": false})"}) {
    EXPECT_EQ(load(content), "") << content;
    CertificationData_s data = {1, 2, 3, 4, 5};
    EXPECT_FALSE(getDBusInterfaceInstance()->getCertificationData(data)) << content;
    EXPECT_EQ(data.year, 1U) << content;
    EXPECT_EQ(data.referenceNumber, 5U) << content;
  }
}

struct Problem_s {
  const char* name;
  const char* content;
  const char* problem;
};

void PrintTo(const Problem_s& row, std::ostream* out) {
  *out << row.content;
}

class ConsoleHostProblemTest : public ConsoleHostTest, public testing::WithParamInterface<Problem_s> {};

TEST_P(ConsoleHostProblemTest, IsToldInOneLineAndLeavesTheDefaults) {
  EXPECT_EQ(problemOf(GetParam().content), GetParam().problem);
  expectDefaults();
}

const Problem_s problems[] = {
    {"NumberForText", R"({"osVersion": 3})", R"("osVersion": expected a text, found number)"},
    {"NullForText", R"({"partNumber": null})", R"("partNumber": expected a text, found null)"},
    {"ObjectForText", R"({"vin": {}})", R"("vin": expected a text, found object)"},
    {"NulInText", R"({"vin": "A\u0000B"})", R"("vin": expected a text without the character NUL)"},
    {"TextForNumber", R"({"hardwareVersion": "5"})",
     R"("hardwareVersion": expected a whole number from -1 to 2147483647, found string)"},
    {"BooleanForNumber", R"({"virtualTerminalVersion": true})",
     R"("virtualTerminalVersion": expected a whole number from 0 to 255, found boolean)"},
    {"FractionForNumber", R"({"virtualTerminalVersion": 3.5})",
     R"("virtualTerminalVersion": expected a whole number from 0 to 255, found a number with a fraction or beyond 64 bits)"},
    {"NumberJustTooHigh", R"({"virtualTerminalVersion": 256})",
     R"("virtualTerminalVersion": expected a whole number from 0 to 255, found 256)"},
    {"NumberJustTooLow", R"({"virtualTerminalVersion": -1})",
     R"("virtualTerminalVersion": expected a whole number from 0 to 255, found -1)"},
    {"HardwareVersionTooLow", R"({"hardwareVersion": -2})",
     R"("hardwareVersion": expected a whole number from -1 to 2147483647, found -2)"},
    {"HardwareVersionTooHigh", R"({"hardwareVersion": 2147483648})",
     R"("hardwareVersion": expected a whole number from -1 to 2147483647, found 2147483648)"},
    {"HighestUnsigned", R"({"hardwareVersion": 18446744073709551615})",
     R"("hardwareVersion": expected a whole number from -1 to 2147483647, found 18446744073709551615)"},
    {"BeyondUnsigned", R"({"hardwareVersion": 18446744073709551616})",
     R"("hardwareVersion": expected a whole number from -1 to 2147483647, found a number with a fraction or beyond 64 bits)"},
    {"YearTooHigh", R"({"certification": {"year": 65536}})",
     R"("certification.year": expected a whole number from 0 to 65535, found 65536)"},
    {"RevisionTooHigh", R"({"certification": {"revision": 256}})",
     R"("certification.revision": expected a whole number from 0 to 255, found 256)"},
    {"LaboratoryTypeTooHigh", R"({"certification": {"laboratoryType": 4}})",
     R"("certification.laboratoryType": expected a whole number from 0 to 3, found 4)"},
    {"LaboratoryIdTooHigh", R"({"certification": {"laboratoryId": 65536}})",
     R"("certification.laboratoryId": expected a whole number from 0 to 65535, found 65536)"},
    {"ReferenceNumberNegative", R"({"certification": {"referenceNumber": -1}})",
     R"("certification.referenceNumber": expected a whole number from 0 to 65535, found -1)"},
    {"TrueForCertification", R"({"certification": true})",
     R"("certification": expected an object, null or false, found true)"},
    {"TextForCertification", R"({"certification": "no"})",
     R"("certification": expected an object, null or false, found string)"},
    {"UnknownKey", R"({"osVersoin": "4"})", R"("osVersoin": unknown key)"},
    {"UnknownKeyInCertification", R"({"certification": {"yaer": 2020}})", R"("certification.yaer": unknown key)"},
    {"KeyOfAnotherCase", R"({"VIN": "X"})", R"("VIN": unknown key)"},
    {"KeyWithLineEnd", "{\"a\\nb\": 1}", R"("a?b": unknown key)"},
    {"ArrayAtTheTop", "[1]", "expected an object, found array"},
    {"TextAtTheTop", "\"x\"", "expected an object, found string"},
};

INSTANTIATE_TEST_SUITE_P(Of, ConsoleHostProblemTest, testing::ValuesIn(problems),
                         [](const testing::TestParamInfo<Problem_s>& row) { return row.param.name; });

TEST_F(ConsoleHostTest, TakesTheLimitsOfEachNumber) {
  EXPECT_EQ(load(R"({"virtualTerminalVersion": 255, "hardwareVersion": 2147483647, "certification": {"year": 65535,
                     "revision": 255, "laboratoryType": 0, "laboratoryId": 65535, "referenceNumber": 65535}})"),
            "");
  EXPECT_EQ(getDBusInterfaceInstance()->getVirtualTerminalVersion(), 255);
  EXPECT_EQ(GetConsoleHWVersion(), 2147483647);
  EXPECT_EQ(certification().laboratoryType, 0U);
  EXPECT_EQ(certification().referenceNumber, 65535U);
  EXPECT_EQ(load(R"({"virtualTerminalVersion": 0, "hardwareVersion": -1})"), "");
  EXPECT_EQ(getDBusInterfaceInstance()->getVirtualTerminalVersion(), 0);
  EXPECT_EQ(GetConsoleHWVersion(), -1);
}

TEST_F(ConsoleHostTest, TellsAllWrongKeysInOneLineAndTakesTheOthers) {
  EXPECT_EQ(problemOf(R"({"osVersion": 1, "partNumber": "77", "colour": "red"})"),
            R"("osVersion": expected a text, found number; "colour": unknown key)");
  EXPECT_EQ(stringOf(10), "77");
  EXPECT_EQ(stringOf(6), "3.1");
}

TEST_F(ConsoleHostTest, CountsWrongKeysBeyondTheEighth) {
  EXPECT_THAT(problemOf(R"({"a": 1, "b": 1, "c": 1, "d": 1, "e": 1, "f": 1, "g": 1, "h": 1, "i": 1, "j": 1})"),
              testing::EndsWith(R"("h": unknown key; and 2 more)"));
}

TEST_F(ConsoleHostTest, CutsALongKeyInTheMessage) {
  EXPECT_EQ(problemOf("{\"" + std::string(5000, 'k') + "\": 1}"), '"' + std::string(60, 'k') + "...\": unknown key");
}

TEST_F(ConsoleHostTest, TellsAKeyThatIsGivenTwiceAndTakesTheLast) {
  EXPECT_EQ(problemOf(R"({"osVersion": "1", "osVersion": "2"})"), R"("osVersion": given twice, the last one counts)");
  EXPECT_EQ(stringOf(6), "2");
}

TEST_F(ConsoleHostTest, TheSameKeyInTwoObjectsIsNotGivenTwice) {
  EXPECT_EQ(problemOf(R"({"x": [{"k": 1}, {"k": 2}], "y": {"k": 3}})"), R"("x": unknown key; "y": unknown key)");
}

struct Malformed_s {
  const char* name;
  std::string content;
  const char* place;
};

void PrintTo(const Malformed_s& row, std::ostream* out) {
  *out << testing::PrintToString(row.content);
}

class ConsoleHostMalformedTest : public ConsoleHostTest, public testing::WithParamInterface<Malformed_s> {};

TEST_P(ConsoleHostMalformedTest, IsToldWithItsPlaceAndLeavesTheDefaults) {
  EXPECT_THAT(problemOf(GetParam().content), StartsWith(std::string("parse error at ") + GetParam().place));
  expectDefaults();
}

const Malformed_s malformed[] = {
    {"EmptyFile", "", "line 1, column 1: "},
    {"OnlyBlanks", "  \n ", "line 2, column 2: "},
    {"EndInsideObject", "{\"osVersion\": \"1\"", "line 1, column 18: "},
    {"EndInsideText", "{\"osVersion\": \"1", "line 1, column 17: "},
    {"CommaMissing", "{\"osVersion\": \"1\"\n \"partNumber\": \"2\"}", "line 2, column 13: "},
    {"CommaTooMany", "{\"osVersion\": \"1\",}", "line 1, column 19: "},
    {"TextBehindTheObject", "{} x", "line 1, column 4: "},
    {"SingleQuotes", "{'osVersion': '1'}", "line 1, column 2: "},
    {"Comment", "{} // values", "line 1, column 4: "},
    {"LineEndInText", "{\"vin\": \"a\nb\"}", "line 2, column 0: "},
    {"InvalidUtf8", "{\"vin\": \"\xC3\x28\"}", "line 1, column 11: "},
    {"LoneSurrogate", "{\"vin\": \"\\uD800\"}", "line 1, column 16: "},
    {"NulByte", std::string("{\0}", 3), "line 1, column 2: "},
    {"Binary",
     "\x7F"
     "ELF\x01\x01",
     "line 1, column 1: "},
    {"LongGarbage", "{\"a\": " + std::string(100000, 'x') + "}", "line 1, column 7: "},
};

INSTANTIATE_TEST_SUITE_P(Of, ConsoleHostMalformedTest, testing::ValuesIn(malformed),
                         [](const testing::TestParamInfo<Malformed_s>& row) { return row.param.name; });

TEST_F(ConsoleHostTest, KeepsTheMessageForAMalformedFileShortAndPrintable) {
  const std::string problem = problemOf("{\"a\": \"" + std::string(100000, 'x') + "\xFF\"}");
  EXPECT_LT(problem.size(), 300U);
  for (const char character : problem) {
    EXPECT_TRUE(character >= ' ' && character <= '~') << problem;
  }
}

TEST_F(ConsoleHostTest, RefusesANumberThatNoDoubleHolds) {
  EXPECT_THAT(problemOf(R"({"hardwareVersion": 1e999})"), HasSubstr("number overflow"));
  expectDefaults();
}

TEST_F(ConsoleHostTest, RefusesDeepNestingWithoutHarm) {
  EXPECT_EQ(problemOf("{\"a\": " + std::string(500000, '[')), "nested deeper than 32 levels");
  std::string objects;
  for (int level = 0; level < 100000; ++level) {
    objects += "{\"a\":";
  }
  EXPECT_EQ(problemOf(objects), "nested deeper than 32 levels");
  expectDefaults();
}

TEST_F(ConsoleHostTest, AllowsNestingOf32LevelsInAnUnknownKey) {
  EXPECT_EQ(problemOf("{\"a\": " + std::string(32, '[') + std::string(32, ']') + "}"), R"("a": unknown key)");
  EXPECT_EQ(problemOf("{\"a\": " + std::string(33, '[') + std::string(33, ']') + "}"), "nested deeper than 32 levels");
}

TEST_F(ConsoleHostTest, ReadsAFileOfOneMegabyteAndRefusesOneByteMore) {
  const std::string values = R"({"osVersion": "8"})";
  const std::size_t megabyte = 1024 * 1024;
  EXPECT_EQ(problemOf(values + std::string(megabyte - values.size(), ' ')), "");
  EXPECT_EQ(stringOf(6), "8");
  EXPECT_EQ(problemOf(values + std::string(megabyte + 1 - values.size(), ' ')), "larger than 1 MB");
  expectDefaults();
}

TEST_F(ConsoleHostTest, SkipsAByteOrderMark) {
  EXPECT_EQ(load("\xEF\xBB\xBF{\"osVersion\": \"8\"}"), "");
  EXPECT_EQ(stringOf(6), "8");
}

TEST_F(ConsoleHostTest, TellsAMissingFile) {
  EXPECT_EQ(ConsoleHost::loadFile(m_file), m_file + ": cannot be opened: No such file or directory");
  expectDefaults();
}

TEST_F(ConsoleHostTest, TellsADirectory) {
  EXPECT_EQ(ConsoleHost::loadFile(m_folder.string()), m_folder.string() + ": cannot be read: Is a directory");
  expectDefaults();
}

TEST_F(ConsoleHostTest, DoesNotWaitForANamedPipe) {
  ASSERT_EQ(::mkfifo(m_file.c_str(), 0600), 0);
  EXPECT_EQ(ConsoleHost::loadFile(m_file), m_file + ": cannot be read: not a regular file");
}

TEST_F(ConsoleHostTest, DoesNotReadADevice) {
  EXPECT_EQ(ConsoleHost::loadFile("/dev/zero"), "/dev/zero: cannot be read: not a regular file");
}

TEST_F(ConsoleHostTest, TellsAFileThatMayNotBeRead) {
  if (::geteuid() == 0) {
    ASSERT_EQ(::seteuid(65534), 0); // the superuser may read everything
  }
  const std::string problem = ConsoleHost::loadFile("/etc/shadow");
  ASSERT_EQ(::seteuid(::getuid()), 0);
  EXPECT_EQ(problem, "/etc/shadow: cannot be opened: Permission denied");
}

TEST_F(ConsoleHostTest, ReadsTheFileOfTheEnvironmentAtTheFirstUse) {
  ::setenv("ZEMO_CONSOLE_VALUES", m_file.c_str(), 1);
  write(R"({"osVersion": "7"})");
  EXPECT_EQ(stringOf(6), "7");
  write(R"({"osVersion": "8"})");
  EXPECT_EQ(stringOf(6), "7");
  ConsoleHost::reset();
  EXPECT_EQ(stringOf(6), "8");
}

TEST_F(ConsoleHostTest, PrintsOneLineOnceForABadFileOfTheEnvironment) {
  ::setenv("ZEMO_CONSOLE_VALUES", m_file.c_str(), 1);
  write(R"({"osVersion": 7})");
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  expectDefaults();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), m_file + ": \"osVersion\": expected a text, found number\n");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(ConsoleHostTest, ListsTheKeysThatTheFileDoesNotName) {
  EXPECT_EQ(load(R"({"osVersion": "7", "serialNumber": "S", "vin": "", "hardwareVersion": 1})"), "");
  EXPECT_EQ(ConsoleHost::missingKeys(),
            m_file + ": the defaults serve for what it does not name: bootLoaderVersion, partNumber, hardwareVariant, "
                     "virtualTerminalVersion, certification");
  EXPECT_EQ(load(R"({"bootLoaderVersion": "B", "osVersion": "O", "serialNumber": "S", "partNumber": "P",
                     "hardwareVariant": "2", "vin": "", "virtualTerminalVersion": 4, "hardwareVersion": 9,
                     "certification": {"year": 2020, "laboratoryType": 2}})"),
            "");
  EXPECT_EQ(ConsoleHost::missingKeys(), m_file + ": the defaults serve for what it does not name: "
                                                 "certification.revision, certification.laboratoryId, "
                                                 "certification.referenceNumber");
}

TEST_F(ConsoleHostTest, ListsNoKeysWhereAllAreNamedOrThereIsNoFile) {
  EXPECT_EQ(ConsoleHost::missingKeys(), "");
  EXPECT_EQ(load(R"({"bootLoaderVersion": "B", "osVersion": "O", "serialNumber": "S", "partNumber": "P",
                     "hardwareVariant": "2", "vin": "", "virtualTerminalVersion": 4, "hardwareVersion": 9,
                     "certification": null})"),
            "");
  EXPECT_EQ(ConsoleHost::missingKeys(), "");
  EXPECT_NE(load("{"), "");
  EXPECT_EQ(ConsoleHost::missingKeys(), "");
}

TEST_F(ConsoleHostTest, PrintsOneLineForAFileOfTheEnvironmentThatIsMissingKeys) {
  ::setenv("ZEMO_CONSOLE_VALUES", m_file.c_str(), 1);
  write(R"({"bootLoaderVersion": "B", "osVersion": "O", "serialNumber": "S", "partNumber": "P", "vin": "",
            "virtualTerminalVersion": 4, "hardwareVersion": 9, "certification": false})");
  testing::internal::CaptureStderr();
  EXPECT_EQ(stringOf(6), "O");
  EXPECT_EQ(stringOf(11), "1");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            m_file + ": the defaults serve for what it does not name: hardwareVariant\n");
}

TEST_F(ConsoleHostTest, PrintsOneLineForAMissingFileOfTheEnvironment) {
  ::setenv("ZEMO_CONSOLE_VALUES", m_file.c_str(), 1);
  testing::internal::CaptureStderr();
  expectDefaults();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), m_file + ": cannot be opened: No such file or directory\n");
}

TEST_F(ConsoleHostTest, AnEmptyEnvironmentVariableNamesNoFile) {
  ::setenv("ZEMO_CONSOLE_VALUES", "", 1);
  testing::internal::CaptureStderr();
  expectDefaults();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(ConsoleHostTest, LoadFileComesAheadOfTheEnvironmentAndPrintsNothing) {
  ::setenv("ZEMO_CONSOLE_VALUES", (m_folder / "other.json").c_str(), 1);
  testing::internal::CaptureStderr();
  EXPECT_EQ(load(R"({"osVersion": "7"})"), "");
  EXPECT_EQ(stringOf(6), "7");
  EXPECT_NE(load("{"), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(ConsoleHostTest, WhatIsSetStaysWhereTheEnvironmentNamesAFile) {
  ::setenv("ZEMO_CONSOLE_VALUES", m_file.c_str(), 1);
  write(R"({"osVersion": "7", "partNumber": "6"})");
  ConsoleHost::setString(6, "set");
  EXPECT_EQ(stringOf(6), "set");
  EXPECT_EQ(stringOf(10), "6");
}

TEST_F(ConsoleHostTest, SetsEachValue) {
  ConsoleHost::setString(5, "five");
  ConsoleHost::setString(77, "other");
  ConsoleHost::setVin("V");
  ConsoleHost::setVirtualTerminalVersion(2);
  ConsoleHost::setHardwareVersion(-1);
  ConsoleHost::setCertification(true, 0x12345678, 0x123, 9, 0x10001, 0xFFFFFFFF);
  EXPECT_EQ(stringOf(5), "five");
  EXPECT_EQ(stringOf(77), "other");
  EXPECT_EQ(readVin(), "V");
  EXPECT_EQ(getDBusInterfaceInstance()->getVirtualTerminalVersion(), 2);
  EXPECT_EQ(GetConsoleHWVersion(), -1);
  const CertificationData_s data = certification();
  EXPECT_EQ(data.year, 0x12345678U);
  EXPECT_EQ(data.revision, 0x123U);
  EXPECT_EQ(data.laboratoryType, 9U);
  EXPECT_EQ(data.laboratoryId, 0x10001U);
  EXPECT_EQ(data.referenceNumber, 0xFFFFFFFFU);
  ConsoleHost::setCertification(false, 0, 0, 0, 0, 0);
  CertificationData_s untouched = {};
  EXPECT_FALSE(getDBusInterfaceInstance()->getCertificationData(untouched));
}

TEST_F(ConsoleHostTest, QueuedAnswersComeFirstEachOnceInOrder) {
  ConsoleHost::queueAnswer(8, "first");
  ConsoleHost::queueAnswer(8, "");
  ConsoleHost::setString(8, "set");
  EXPECT_EQ(stringOf(6), "3.1");
  EXPECT_EQ(stringOf(8), "first");
  EXPECT_EQ(stringOf(8), "");
  EXPECT_EQ(stringOf(8), "set");
  EXPECT_EQ(stringOf(8), "set");
}

TEST_F(ConsoleHostTest, ResetGoesBackToTheDefaultsAndForgetsTheFile) {
  EXPECT_EQ(load(R"({"osVersion": "7", "certification": null, "vin": "V"})"), "");
  ConsoleHost::queueAnswer(8, "first");
  ConsoleHost::setHardwareVersion(77);
  ConsoleHost::reset();
  expectDefaults();
  storeVin("AFTER");
  EXPECT_THAT(content(), Not(HasSubstr("AFTER")));
}

TEST_F(ConsoleHostTest, StoresTheVinAndWritesItBackIntoTheBuffer) {
  EXPECT_EQ(storeVin("WVWZZZ1KZAW000001"), "WVWZZZ1KZAW000001");
  EXPECT_EQ(readVin(), "WVWZZZ1KZAW000001");
  EXPECT_EQ(storeVin(""), "");
  EXPECT_EQ(readVin(), "");
}

TEST_F(ConsoleHostTest, ReadingTheVinLooksAtNothingInTheBuffer) {
  ConsoleHost::setVin("VIN");
  char buffer[256];
  std::memset(buffer, 'x', sizeof(buffer));
  getDBusInterfaceInstance()->getSetProductVin(false, buffer);
  EXPECT_STREQ(buffer, "VIN");
  EXPECT_EQ(buffer[4], 'x');
}

TEST_F(ConsoleHostTest, KeepsAVinOf255Characters) {
  const std::string vin(255, 'v');
  EXPECT_EQ(storeVin(vin), vin);
  EXPECT_EQ(readVin(), vin);
}

TEST_F(ConsoleHostTest, CutsAVinThatFillsTheBufferTo255Characters) {
  EXPECT_EQ(storeVin(std::string(256, 'v')), std::string(255, 'v'));
  EXPECT_EQ(readVin(), std::string(255, 'v'));
}

TEST_F(ConsoleHostTest, CutsALongVinOfTheFileTo255Characters) {
  EXPECT_EQ(load("{\"vin\": \"" + std::string(300, 'v') + "\"}"), "");
  EXPECT_EQ(readVin(), std::string(255, 'v'));
}

TEST_F(ConsoleHostTest, WritesTheVinBackAndKeepsTheOtherKeysInTheirOrder) {
  ASSERT_THAT(load(R"({"serialNumber": "S", "note": ["mine", 1.5], "vin": "OLD", "bootLoaderVersion": "B"})"),
              HasSubstr("\"note\": unknown key"));
  EXPECT_EQ(storeVin("NEW"), "NEW");
  EXPECT_EQ(content(), "{\n  \"serialNumber\": \"S\",\n  \"note\": [\n    \"mine\",\n    1.5\n  ],\n"
                       "  \"vin\": \"NEW\",\n  \"bootLoaderVersion\": \"B\"\n}\n");
  EXPECT_THAT(namesInFolder(), ElementsAre("values.json"));
}

TEST_F(ConsoleHostTest, WritesTheVinBackToTheFileOfTheEnvironment) {
  ::setenv("ZEMO_CONSOLE_VALUES", m_file.c_str(), 1);
  write("{}");
  storeVin("NEW");
  EXPECT_EQ(content(), "{\n  \"vin\": \"NEW\"\n}\n");
  ConsoleHost::reset();
  EXPECT_EQ(readVin(), "NEW");
}

TEST_F(ConsoleHostTest, KeepsWhatOthersWroteToTheFileMeanwhile) {
  EXPECT_EQ(load("{}"), "");
  write(R"({"osVersion": "8"})");
  storeVin("NEW");
  EXPECT_EQ(content(), "{\n  \"osVersion\": \"8\",\n  \"vin\": \"NEW\"\n}\n");
}

TEST_F(ConsoleHostTest, LeavesTheFileAloneWhenItHoldsTheVinAlready) {
  EXPECT_EQ(load(R"({"vin":"SAME"})"), "");
  storeVin("SAME");
  EXPECT_EQ(content(), R"({"vin":"SAME"})");
}

TEST_F(ConsoleHostTest, ReadingTheVinDoesNotWriteTheFile) {
  EXPECT_EQ(load(R"({"vin":"SAME"})"), "");
  ConsoleHost::setVin("OTHER");
  EXPECT_EQ(readVin(), "OTHER");
  EXPECT_EQ(content(), R"({"vin":"SAME"})");
}

TEST_F(ConsoleHostTest, AMissingFileIsMadeForTheVin) {
  EXPECT_NE(ConsoleHost::loadFile(m_file), "");
  storeVin("NEW");
  EXPECT_EQ(content(), "{\n  \"vin\": \"NEW\"\n}\n");
}

TEST_F(ConsoleHostTest, KeepsThePermissionsOfTheFile) {
  EXPECT_EQ(load("{}"), "");
  ASSERT_EQ(::chmod(m_file.c_str(), 0640), 0);
  storeVin("NEW");
  struct stat status = {};
  ASSERT_EQ(::stat(m_file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(ConsoleHostTest, FollowsASymbolicLinkToTheFile) {
  write("{}");
  const std::filesystem::path link = m_folder / "link.json";
  std::filesystem::create_symlink(m_file, link);
  EXPECT_EQ(ConsoleHost::loadFile(link.string()), "");
  storeVin("NEW");
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_THAT(content(), HasSubstr("NEW"));
}

TEST_F(ConsoleHostTest, DoesNotWriteOverAMalformedFile) {
  EXPECT_NE(load("{\"vin\": \"OLD\""), "");
  testing::internal::CaptureStderr();
  EXPECT_EQ(storeVin("NEW"), "NEW");
  EXPECT_THAT(
      testing::internal::GetCapturedStderr(),
      MatchesRegex(".*/values.json: the VIN is not kept in the file: parse error at line 1, column 14: [^\n]*\n"));
  EXPECT_EQ(content(), "{\"vin\": \"OLD\"");
  EXPECT_EQ(readVin(), "NEW");
}

TEST_F(ConsoleHostTest, TellsAVinThatCannotBeWrittenAndKeepsItInMemory) {
  EXPECT_EQ(load("{}"), "");
  std::filesystem::remove_all(m_folder);
  testing::internal::CaptureStderr();
  EXPECT_EQ(storeVin("NEW"), "NEW");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            m_file + ": the VIN is not kept in the file: cannot be written: No such file or directory\n");
  EXPECT_EQ(readVin(), "NEW");
}

TEST_F(ConsoleHostTest, DoesNotReplaceAFileThatMayNotBeWritten) {
  EXPECT_EQ(load("{}"), "");
  ASSERT_EQ(::chmod(m_file.c_str(), 0444), 0);
  ASSERT_EQ(::chmod(m_folder.c_str(), 0777), 0);
  const bool isSuperuser = ::geteuid() == 0; // who may write everything
  if (isSuperuser) {
    ASSERT_EQ(::setresuid(65534, 65534, 0), 0);
  }
  testing::internal::CaptureStderr();
  storeVin("NEW");
  const std::string printed = testing::internal::GetCapturedStderr();
  if (isSuperuser) {
    ASSERT_EQ(::setresuid(0, 0, 0), 0);
  }
  EXPECT_EQ(printed, m_file + ": the VIN is not kept in the file: cannot be written: Permission denied\n");
  EXPECT_EQ(content(), "{}");
  EXPECT_THAT(namesInFolder(), ElementsAre("values.json"));
}

TEST_F(ConsoleHostTest, TellsAVinThatIsNoUtf8TextAndKeepsItInMemory) {
  EXPECT_EQ(load("{}"), "");
  testing::internal::CaptureStderr();
  EXPECT_EQ(storeVin("\xFF"), "\xFF");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            m_file + ": the VIN is not kept in the file: it is no UTF-8 text\n");
  EXPECT_EQ(content(), "{}");
  EXPECT_EQ(readVin(), "\xFF");
}

TEST_F(ConsoleHostTest, ReportsEachPublishedCallToTheJournal) {
  ConsoleHost::setJournal([](const std::string& entry) { s_calls.push_back(entry); });
  stringOf(8);
  stringOf(99);
  storeVin("TEXT");
  readVin();
  certification();
  getDBusInterfaceInstance()->getVirtualTerminalVersion();
  GetConsoleHWVersion();
  ConsoleHost::setString(8, "not a published call");
  EXPECT_THAT(s_calls,
              ElementsAre("DBusConnection_c::getString(8)", "DBusConnection_c::getString(99)",
                          "DBusConnection_c::getSetProductVin(true, \"TEXT\")",
                          "DBusConnection_c::getSetProductVin(false)", "DBusConnection_c::getCertificationData()",
                          "DBusConnection_c::getVirtualTerminalVersion()", "GetConsoleHWVersion()"));
}

TEST_F(ConsoleHostTest, ResetKeepsTheJournalConnected) {
  ConsoleHost::setJournal([](const std::string& entry) { s_calls.push_back(entry); });
  ConsoleHost::reset();
  GetConsoleHWVersion();
  EXPECT_THAT(s_calls, ElementsAre("GetConsoleHWVersion()"));
}

} // namespace
