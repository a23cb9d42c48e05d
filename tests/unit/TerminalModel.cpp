// The commands of a client and their answers, byte for byte: fields repeated, each error bit, what changes.
#include "TerminalModelFixture.h"

#include "HostClock.h"

#include <cstring>

using namespace TerminalPool;

namespace {

class TerminalModel : public TerminalModelFixture {};

struct Exchange_s {
  const char* command;
  const char* answer;
};

void PrintTo(const Exchange_s& exchange, std::ostream* out) {
  *out << exchange.command << " -> " << exchange.answer;
}

class TerminalAnswer : public TerminalModelFixture, public testing::WithParamInterface<Exchange_s> {};

TEST_P(TerminalAnswer, RepeatsTheFieldsOfTheCommandAndTellsEachErrorByItsBit) {
  EXPECT_EQ(ask(GetParam().command), GetParam().answer);
}

// As they were seen on a bus, with the same ids.
const Exchange_s seen[] = {
    {"A2 6D 00 FF", "A2 6D 00 01 00"},
    {"A2 6D 00 00", "A2 6D 00 02 00"},
    {"A2 6D 00 05", "A2 6D 00 00 20"},
    {"A5 65 00 70 00 89 75", "A5 65 00 70 00 00"},
    {"A5 88 13 70 00 7F 7F", "A5 88 13 70 00 01"},
    {"A6 88 13 21 00 2C 00", "A6 88 13 01"},
    {"AF 70 00 63 01 00 00 00", "AF 70 00 63 02"},
    {"AF 70 00 08 00 00 20 40", "AF 70 00 08 00"},
    {"AE 01 65 00 88 13", "AE 65 00 88 13 02"},
    {"AD 64 00 88 13", "AD 88 13 02"},
    {"B0 66 00 07", "B0 66 00 07 02"},
    {"B3 6F 00 02 00 48 69", "B3 FF FF 6F 00 00"},
    {"B6 75 00 09 0A 00 14 00", "B6 75 00 02"},
};
INSTANTIATE_TEST_SUITE_P(Seen, TerminalAnswer, testing::ValuesIn(seen));

const Exchange_s accepted[] = {
    {"A0 68 00 00", "A0 68 00 00 00"},
    {"A0 68 00 01", "A0 68 00 01 00"},
    {"A1 6B 00 00", "A1 6B 00 00 00"},
    {"A1 6C 00 01", "A1 6C 00 01 00"},
    {"A1 6A 00 00", "A1 6A 00 00 00"},
    {"A2 FF FF FF", "A2 FF FF 00 00"},
    {"A2 69 00 FF", "A2 69 00 01 00"},
    {"A2 6A 00 00", "A2 6A 00 01 00"},
    {"A3 02 B8 01 64 00 64 00", "A3 00"},
    {"A4 64", "A4 00"},
    {"A6 70 00 21 00 2C 00", "A6 70 00 00"},
    {"A7 65 00 0C", "A7 65 00 0C 00"},
    {"A7 64 00 02", "A7 64 00 02 00"},
    {"A8 7A 00 FF 78 56 34 12", "A8 7A 00 00 78 56 34 12"},
    {"A8 6B 00 FF 01 00 00 00", "A8 6B 00 00 01 00 00 00"},
    {"A8 6C 00 FF FF 00 00 00", "A8 6C 00 00 FF 00 00 00"},
    {"A8 74 00 FF 00 00 00 00", "A8 74 00 00 00 00 00 00"},
    {"A8 76 00 FF FF FF 00 00", "A8 76 00 00 FF FF 00 00"},
    {"A8 80 00 FF FF FF 00 00", "A8 80 00 00 FF FF 00 00"},
    {"A8 80 00 FF 68 00 00 00", "A8 80 00 00 68 00 00 00"},
    {"A9 71 00 1E 00 28 00 01", "A9 71 00 00"},
    {"AA 7C 00 0F 0E 07 7F", "AA 7C 00 00"},
    {"AA 7C 00 0F 64 F0 80", "AA 7C 00 00"},
    {"AB 7D 00 0F 03 AA AA", "AB 7D 00 00"},
    {"AC 7E 00 03 0F 79 00", "AC 7E 00 00"},
    {"AC 7E 00 00 0F FF FF", "AC 7E 00 00"},
    {"AD 64 00 82 00", "AD 82 00 00"},
    {"AE 01 65 00 FF FF", "AE 65 00 FF FF 00"},
    {"AE 02 66 00 67 00", "AE 66 00 67 00 00"},
    {"B0 66 00 00", "B0 66 00 00 00"},
    {"B1 6C 00 01 70 00", "B1 6C 00 01 70 00 00"},
    {"B1 74 00 00 FF FF", "B1 74 00 00 FF FF 00"},
    {"B2", "B2 00"},
    {"B4 65 00 70 00 F6 FF 14 00", "B4 65 00 70 00 00"},
    {"B5 64 00 7B 00 00 6F 00", "B5 00"},
    {"B6 75 00 02 0A 00 14 00", "B6 75 00 00"},
    {"B7 75 00 28 00 0A 00", "B7 75 00 28 00 0A 00 00"},
    {"B9 70 00 08", "B9 70 00 08 00 00 80 3F"},
    {"BD 01 65 00 00 00", "BD 01 00"},
    {"BE 05", "BE 05 00"},
};
INSTANTIATE_TEST_SUITE_P(Accepted, TerminalAnswer, testing::ValuesIn(accepted));

const Exchange_s wrong[] = {
    {"A0 88 13 01", "A0 88 13 01 02"}, // no object
    {"A0 65 00 01", "A0 65 00 01 02"}, // no container
    {"A0 68 00 02", "A0 68 00 02 04"},
    {"A1 88 13 01", "A1 88 13 01 02"},
    {"A1 70 00 01", "A1 70 00 01 02"}, // takes no input
    {"A1 6B 00 02", "A1 6B 00 02 04"},
    {"A2 88 13 FF", "A2 88 13 00 02"},
    {"A2 70 00 FF", "A2 70 00 00 02"},
    {"A4 65", "A4 10"},
    {"A5 65 00 88 13 7F 7F", "A5 65 00 88 13 02"},
    {"A5 65 00 71 00 7F 7F", "A5 65 00 71 00 02"}, // a child of another
    {"A6 71 00 01 00 01 00", "A6 71 00 01"},       // a line has an end point
    {"A6 7D 00 01 00 01 00", "A6 7D 00 01"},       // the width of a line is no size
    {"A7 88 13 01", "A7 88 13 01 01"},
    {"A7 70 00 01", "A7 70 00 01 00"},
    {"A7 71 00 01", "A7 71 00 01 01"},
    {"A8 88 13 FF 01 00 00 00", "A8 88 13 01 01 00 00 00"},
    {"A8 6F 00 FF 01 00 00 00", "A8 6F 00 01 01 00 00 00"},
    {"A8 6B 00 FF 02 00 00 00", "A8 6B 00 02 02 00 00 00"},
    {"A8 6C 00 FF 02 00 00 00", "A8 6C 00 02 02 00 00 00"},
    {"A8 76 00 FF 00 00 01 00", "A8 76 00 02 00 00 01 00"},
    {"A8 80 00 FF 88 13 00 00", "A8 80 00 02 88 13 00 00"},
    {"A8 80 00 FF 7C 00 00 00", "A8 80 00 02 7C 00 00 00"}, // a font is never drawn
    {"A8 80 00 FF 80 00 00 00", "A8 80 00 02 80 00 00 00"}, // would contain itself
    {"A9 72 00 01 00 01 00 00", "A9 72 00 01"},
    {"A9 71 00 01 00 01 00 02", "A9 71 00 02"},
    {"AA 7D 00 00 00 00 00", "AA 7D 00 01"},
    {"AA 7C 00 00 0F 00 00", "AA 7C 00 04"},
    {"AA 7C 00 00 07 00 80", "AA 7C 00 04"}, // a height of 7 pixels
    {"AA 7C 00 00 00 03 00", "AA 7C 00 08"},
    {"AA 7C 00 00 0F 06 00", "AA 7C 00 0C"},
    {"AB 7C 00 00 01 FF FF", "AB 7C 00 01"},
    {"AC 7D 00 00 00 FF FF", "AC 7D 00 01"},
    {"AC 7E 00 04 00 FF FF", "AC 7E 00 02"},
    {"AC 7E 00 03 00 88 13", "AC 7E 00 08"},
    {"AC 7E 00 03 00 7C 00", "AC 7E 00 08"},
    {"AD 65 00 82 00", "AD 82 00 01"},
    {"AD 64 00 67 00", "AD 67 00 02"},
    {"AD 88 13 88 13", "AD 88 13 03"},
    {"AE 01 66 00 67 00", "AE 66 00 67 00 01"}, // an alarm mask, called a data mask
    {"AE 02 65 00 67 00", "AE 65 00 67 00 01"},
    {"AE 03 65 00 67 00", "AE 65 00 67 00 01"},
    {"AE 01 65 00 66 00", "AE 65 00 66 00 02"},
    {"AF 88 13 01 00 00 00 00", "AF 88 13 01 01"},
    {"AF 70 00 00 00 00 00 00", "AF 70 00 00 02"},
    {"AF 70 00 0C 00 00 00 00", "AF 70 00 0C 02"}, // read-only
    {"AF 70 00 04 7D 00 00 00", "AF 70 00 04 04"}, // no font
    {"AF 70 00 04 88 13 00 00", "AF 70 00 04 04"},
    {"AF 70 00 01 00 00 01 00", "AF 70 00 01 04"}, // more than its size
    {"AF 70 00 08 00 00 C0 7F", "AF 70 00 08 04"}, // not a number
    {"AF 70 00 09 08 00 00 00", "AF 70 00 09 04"},
    {"AF 70 00 0B 03 00 00 00", "AF 70 00 0B 04"},
    {"AF 7C 00 02 0F 00 00 00", "AF 7C 00 02 04"},
    {"AF 7C 00 03 06 00 00 00", "AF 7C 00 03 04"},
    {"B0 65 00 00", "B0 65 00 00 01"},
    {"B1 70 00 00 FF FF", "B1 70 00 00 FF FF 01"},
    {"B1 6C 00 02 FF FF", "B1 6C 00 02 FF FF 02"},
    {"B1 6C 00 00 88 13", "B1 6C 00 00 88 13 04"},
    {"B1 6C 00 00 7C 00", "B1 6C 00 00 7C 00 04"},
    {"B1 6C 00 00 68 00", "B1 6C 00 00 68 00 04"}, // the container that holds the list
    {"B3 88 13 02 00 48 69", "B3 FF FF 88 13 02"},
    {"B3 70 00 02 00 48 69", "B3 FF FF 70 00 02"},
    {"B3 7B 00 05 00 31 32 33 34 35", "B3 FF FF 7B 00 04"},
    {"B4 88 13 70 00 00 00 00 00", "B4 88 13 70 00 01"},
    {"B4 65 00 71 00 00 00 00 00", "B4 65 00 71 00 02"},
    {"B5 88 13 FF FF 00 FF FF", "B5 09"}, // unknown, and in no label list
    {"B5 65 00 FF FF 00 FF FF", "B5 08"},
    {"B5 64 00 7A 00 00 FF FF", "B5 02"},
    {"B5 64 00 FF FF 03 FF FF", "B5 04"},
    {"B5 64 00 FF FF 00 88 13", "B5 10"},
    {"B6 70 00 00 00 00 00 00", "B6 70 00 01"},
    {"B6 75 00 03 00 00 00 00", "B6 75 00 02"},
    {"B7 70 00 28 00 0A 00", "B7 70 00 28 00 0A 00 01"},
    {"B9 88 13 01", "B9 FF FF 01 88 13 01"},
    {"B9 70 00 63", "B9 FF FF 63 70 00 02"},
    {"BD 01 82 00 00 00", "BD 01 01"},
    {"BD 00 65 00 00 00", "BD 00 04"},
    {"BD 02 65 00 00 00", "BD 02 80"},
    {"BE 06", "BE 06 01"},
    {"BE 65", "BE 65 02"},
    {"92", "92 FF FF 01"},
};
INSTANTIATE_TEST_SUITE_P(Wrong, TerminalAnswer, testing::ValuesIn(wrong));

TEST_F(TerminalModel, SaysNothingToAnUnknownFunctionOrACommandThatIsCutOff) {
  for (const char* command : {"A0 68 00", "A8 7A 00 FF 01 00 00", "AF 70 00 08 00 00 20", "B4 65 00 70 00 00 00 00",
                              "BC 05 00", "B8", "90", "C6", "B3 6F 00 05 00 48 69", "B3 6F 00 02"}) {
    EXPECT_TRUE(model.command(BusText::bytesOf(command)).empty()) << command;
  }
  EXPECT_TRUE(model.command({}).empty());
  EXPECT_TRUE(changes.empty());
}

TEST_F(TerminalModel, AnswersTheWholePoolWithUnknownIdsOnceItIsDeleted) {
  EXPECT_EQ(ask("B2"), "B2 00");
  EXPECT_FALSE(model.hasPool());
  EXPECT_EQ(model.activeMask(), noObject);
  EXPECT_EQ(ask("A8 7A 00 FF 01 00 00 00"), "A8 7A 00 01 01 00 00 00");
  EXPECT_EQ(ask("AD 64 00 65 00"), "AD 65 00 03");
}

// --- What changes

TEST_F(TerminalModel, TellsAChangeOnceAndNothingWhereTheValueIsThereAlready) {
  ask("A8 7A 00 FF 2A 00 00 00");
  ASSERT_EQ(changes.size(), 1U);
  EXPECT_EQ(changes[0].kind, ChangeKind_e::attribute);
  EXPECT_EQ(changes[0].object, 0x7A);
  EXPECT_EQ(changes[0].attribute, Attribute_e::value);
  EXPECT_EQ(changes[0].oldValue, 7U);
  EXPECT_EQ(changes[0].newValue, 42U);
  ask("A8 7A 00 FF 2A 00 00 00");
  EXPECT_EQ(changes.size(), 1U);
  EXPECT_EQ(value(0x7A, Attribute_e::value), 42U);
}

TEST_F(TerminalModel, ChangesNothingWithAnError) {
  for (const Exchange_s& exchange : wrong) {
    if (std::strcmp(exchange.command, "A7 70 00 01") == 0) {
      continue; // the one among them that is right
    }
    ask(exchange.command);
    EXPECT_TRUE(changes.empty()) << exchange.command;
  }
}

TEST_F(TerminalModel, LeavesTheVariableAloneWhenAFieldThatRefersToItIsChanged) {
  ask("A8 70 00 FF 2A 00 00 00");
  EXPECT_EQ(value(0x70, Attribute_e::value), 42U);
  EXPECT_EQ(value(0x7A, Attribute_e::value), 7U);
}

TEST_F(TerminalModel, HidesShowsEnablesAndDisables) {
  ask("A0 68 00 00");
  EXPECT_EQ(value(0x68, Attribute_e::hidden), 1U);
  ask("A0 68 00 01");
  EXPECT_EQ(value(0x68, Attribute_e::hidden), 0U);
  ask("A1 6B 00 00");
  EXPECT_EQ(value(0x6B, Attribute_e::enabled), 0U);
  ask("A1 6D 00 00");
  EXPECT_EQ(value(0x6D, Attribute_e::inputOptions), 0U);
  ask("A1 6A 00 00");
  EXPECT_EQ(value(0x6A, Attribute_e::options), 0x11U);
  ask("A1 6A 00 01");
  EXPECT_EQ(value(0x6A, Attribute_e::options), 0x01U);
}

TEST_F(TerminalModel, FillsAShortTextWithBlanks) {
  ask("B3 6F 00 02 00 48 69");
  EXPECT_EQ(hex(model.pool().find(0x6F)->text), "48 69 20 20 20");
  ASSERT_EQ(changes.size(), 1U);
  EXPECT_EQ(hex(changes[0].oldText), "48 65 6C 6C 6F");
  EXPECT_EQ(hex(changes[0].newText), "48 69 20 20 20");
}

TEST_F(TerminalModel, FillsUtf16TextWithBlanksOfTwoBytes) {
  ask("B3 7B 00 02 00 FF FE");
  EXPECT_EQ(hex(model.pool().find(0x7B)->text), "FF FE 20 00");
}

TEST_F(TerminalModel, MovesAChildByADistanceAndToAPlace) {
  const auto& child = model.pool().find(0x65)->children[2];
  ask("A5 65 00 70 00 89 75"); // +10, -10
  EXPECT_EQ(child.x, 20);
  EXPECT_EQ(child.y, 10);
  ask("A5 65 00 70 00 00 FF"); // -127, +128
  EXPECT_EQ(child.x, -107);
  EXPECT_EQ(child.y, 138);
  ask("B4 65 00 70 00 00 80 FF 7F");
  EXPECT_EQ(child.x, -32768);
  EXPECT_EQ(child.y, 32767);
  EXPECT_EQ(ask("A5 65 00 70 00 7E 7F"), "A5 65 00 70 00 10"); // beyond the last place
  EXPECT_EQ(child.x, -32768);
}

TEST_F(TerminalModel, ChangesSizesEndPointsAndAttributes) {
  ask("A6 70 00 21 00 2C 00");
  EXPECT_EQ(value(0x70, Attribute_e::width), 0x21U);
  EXPECT_EQ(value(0x70, Attribute_e::height), 0x2CU);
  ask("A6 76 00 21 00 2C 00"); // a meter has a width only
  EXPECT_EQ(value(0x76, Attribute_e::width), 0x21U);
  ask("A9 71 00 1E 00 28 00 01");
  EXPECT_EQ(value(0x71, Attribute_e::width), 30U);
  EXPECT_EQ(value(0x71, Attribute_e::height), 40U);
  EXPECT_EQ(value(0x71, Attribute_e::direction), 1U);
  ask("AA 7C 00 0F 0E 07 7F");
  EXPECT_EQ(value(0x7C, Attribute_e::colour), 15U);
  EXPECT_EQ(value(0x7C, Attribute_e::fontSize), 14U);
  EXPECT_EQ(value(0x7C, Attribute_e::fontType), 7U);
  EXPECT_EQ(value(0x7C, Attribute_e::style), 0x7FU);
  ask("AB 7D 00 0F 03 CD AB");
  EXPECT_EQ(value(0x7D, Attribute_e::colour), 15U);
  EXPECT_EQ(value(0x7D, Attribute_e::lineWidth), 3U);
  EXPECT_EQ(value(0x7D, Attribute_e::art), 0xABCDU);
  ask("AC 7E 00 03 0F 79 00");
  EXPECT_EQ(value(0x7E, Attribute_e::fillType), 3U);
  EXPECT_EQ(value(0x7E, Attribute_e::colour), 15U);
  EXPECT_EQ(value(0x7E, Attribute_e::pattern), 0x79U);
  ask("A7 65 00 0C");
  EXPECT_EQ(value(0x65, Attribute_e::background), 12U);
  ask("B0 66 00 02");
  EXPECT_EQ(value(0x66, Attribute_e::priority), 2U);
}

TEST_F(TerminalModel, ChangesListItemsPolygonsAndLabels) {
  ask("B1 6C 00 01 70 00");
  EXPECT_EQ(model.pool().find(0x6C)->items[1], 0x70);
  ask("B6 75 00 02 0A 00 14 00");
  EXPECT_EQ(model.pool().find(0x75)->points[2].x, 10);
  EXPECT_EQ(model.pool().find(0x75)->points[2].y, 20);
  ask("B7 75 00 28 00 0A 00"); // twice as wide, half as high
  EXPECT_EQ(model.pool().find(0x75)->points[2].x, 20);
  EXPECT_EQ(model.pool().find(0x75)->points[2].y, 10);
  EXPECT_EQ(value(0x75, Attribute_e::width), 40U);
  EXPECT_EQ(value(0x75, Attribute_e::height), 10U);
  ask("B5 64 00 7B 00 01 6F 00");
  EXPECT_EQ(hex(model.pool().find(0x83)->data), "64 00 7B 00 01 6F 00");
}

TEST_F(TerminalModel, ChangesTheActiveMaskAndItsSoftKeys) {
  EXPECT_EQ(model.activeMask(), 0x65);
  EXPECT_EQ(model.softKeyMask(), 0x67);
  ask("AE 01 65 00 FF FF");
  EXPECT_EQ(model.softKeyMask(), noObject);
  ask("AD 64 00 66 00");
  EXPECT_EQ(model.activeMask(), 0x66);
  EXPECT_EQ(value(0x64, Attribute_e::activeMask), 0x66U);
}

TEST_F(TerminalModel, RunsTheCommandsOfAMacroOnce) {
  ask("BE 05");
  EXPECT_EQ(value(0x65, Attribute_e::background), 2U);
  EXPECT_EQ(changes.size(), 1U);
}

TEST_F(TerminalModel, RunsNoMacroInsideAMacroAndStopsAtACommandThatIsCutOff) {
  // Two macros: one runs itself, moves a child and writes a text of five bytes before it changes a colour, the other
  // one is cut off in its second command.
  const Bytes macros = BusText::bytesOf("06 00 1C 23 00 BE 06 FF FF FF FF FF FF B4 65 00 70 00 01 00 02 00 "
                                        "B3 6F 00 05 00 31 32 33 34 35 A7 65 00 09 FF FF FF FF "
                                        "07 00 1C 0A 00 A7 65 00 04 FF FF FF FF A7 65");
  model.readPool(macros.data(), macros.size());
  ASSERT_FALSE(model.endPool());
  changes.clear();
  EXPECT_EQ(ask("BE 06"), "BE 06 00");
  EXPECT_EQ(model.pool().find(0x65)->children[2].x, 1);
  EXPECT_EQ(hex(model.pool().find(0x6F)->text), "31 32 33 34 35");
  EXPECT_EQ(value(0x65, Attribute_e::background), 9U);
  EXPECT_EQ(ask("BE 07"), "BE 07 00");
  EXPECT_EQ(value(0x65, Attribute_e::background), 4U);
}

// --- Focus

TEST_F(TerminalModel, GivesTheFocusToOneFieldAndOpensIt) {
  EXPECT_EQ(ask("A2 6D 00 00"), "A2 6D 00 02 00");
  EXPECT_EQ(model.focus(), 0x6D);
  EXPECT_TRUE(model.isOpen());
  EXPECT_EQ(ask("A2 6C 00 FF"), "A2 6C 00 00 08"); // another one is open
  EXPECT_EQ(ask("92"), "92 6D 00 00");
  EXPECT_FALSE(model.isOpen());
  EXPECT_EQ(ask("A2 6C 00 FF"), "A2 6C 00 01 00");
  EXPECT_EQ(ask("A2 FF FF FF"), "A2 FF FF 00 00");
  EXPECT_EQ(model.focus(), noObject);
}

TEST_F(TerminalModel, RefusesTheFocusToWhatIsDisabledOrNotSeen) {
  ask("A1 6D 00 00");
  EXPECT_EQ(ask("A2 6D 00 FF"), "A2 6D 00 00 01");
  ask("A0 68 00 00");
  EXPECT_EQ(ask("A2 6C 00 FF"), "A2 6C 00 00 04");
  EXPECT_EQ(ask("A2 6D 00 FF"), "A2 6D 00 00 05");
  ask("A0 68 00 01");
  model.setShown(false);
  EXPECT_EQ(ask("A2 6C 00 FF"), "A2 6C 00 00 04");
}

TEST_F(TerminalModel, SaysThatAnOpenFieldIsInUse) {
  ask("A2 6D 00 00");
  EXPECT_EQ(ask("A8 6D 00 FF 09 00 00 00"), "A8 6D 00 04 09 00 00 00");
  EXPECT_EQ(ask("AF 6D 00 01 09 00 00 00"), "AF 6D 00 01 08");
  EXPECT_EQ(ask("A1 6D 00 00"), "A1 6D 00 00 08");
  ask("92");
  ask("A2 6C 00 00");
  EXPECT_EQ(ask("B1 6C 00 00 FF FF"), "B1 6C 00 00 FF FF 08");
  ask("92");
  ask("A2 6E 00 00");
  EXPECT_EQ(ask("B3 6E 00 00 00"), "B3 FF FF 6E 00 10");
}

// --- Locked masks

TEST_F(TerminalModel, LocksAndUnlocksTheMask) {
  EXPECT_EQ(ask("BD 01 65 00 00 00"), "BD 01 00");
  EXPECT_TRUE(model.isLocked());
  EXPECT_EQ(ask("BD 01 65 00 00 00"), "BD 01 02");
  EXPECT_EQ(ask("BD 00 65 00 00 00"), "BD 00 00");
  EXPECT_FALSE(model.isLocked());
  EXPECT_TRUE(model.takeUnasked().empty());
}

TEST_F(TerminalModel, UnlocksAfterItsTimeAndSaysSo) {
  IsoBusHost::HostClock::turnByHand();
  ask("BD 01 65 00 F4 01");
  IsoBusHost::HostClock::advanceMs(499);
  model.work();
  EXPECT_TRUE(model.isLocked());
  EXPECT_EQ(model.nextDueMs(), IsoBusHost::HostClock::nowMs() + 1);
  IsoBusHost::HostClock::advanceMs(1);
  model.work();
  EXPECT_FALSE(model.isLocked());
  const auto unasked = model.takeUnasked();
  ASSERT_EQ(unasked.size(), 1U);
  EXPECT_EQ(withoutFill(unasked[0]), "BD 00 10");
}

TEST_F(TerminalModel, UnlocksWhenTheMaskIsHidden) {
  ask("BD 01 65 00 00 00");
  EXPECT_EQ(ask("AD 64 00 82 00"), "AD 82 00 00");
  const auto unasked = model.takeUnasked();
  ASSERT_EQ(unasked.size(), 1U);
  EXPECT_EQ(withoutFill(unasked[0]), "BD 00 20");
}

TEST_F(TerminalModel, LocksNoAlarmMask) {
  ask("AD 64 00 66 00");
  EXPECT_EQ(ask("BD 01 66 00 00 00"), "BD 01 08");
}

// --- Earlier versions, fewer colours

class TerminalModelOfVersion3 : public TerminalModelFixture {
protected:
  TerminalModelOfVersion3() : TerminalModelFixture({3, 1}) {}
};

TEST_F(TerminalModelOfVersion3, HasNoCommandsOfVersion4) {
  for (const char* command : {"B5 64 00 7B 00 00 6F 00", "B6 75 00 00 00 00 00 00", "B7 75 00 28 00 0A 00",
                              "B9 70 00 08", "BD 01 65 00 00 00", "BE 05"}) {
    EXPECT_EQ(ask(command), "no answer") << command;
  }
}

TEST_F(TerminalModelOfVersion3, KnowsNoButtonsToEnableNoOptionNoEmptyListAndTwoAlphabets) {
  EXPECT_EQ(ask("A1 6A 00 00"), "A1 6A 00 00 02");
  EXPECT_EQ(ask("A2 6A 00 FF"), "A2 6A 00 00 02");
  EXPECT_EQ(ask("A2 6D 00 05"), "A2 6D 00 01 00");
  EXPECT_EQ(ask("A8 6C 00 FF FF 00 00 00"), "A8 6C 00 02 FF 00 00 00");
  EXPECT_EQ(ask("AA 7C 00 00 00 01 00"), "AA 7C 00 00");
  EXPECT_EQ(ask("AA 7C 00 00 00 02 00"), "AA 7C 00 08");
  EXPECT_EQ(ask("AA 7C 00 00 00 00 80"), "AA 7C 00 10");
  EXPECT_EQ(ask("AF 70 00 0B 04 00 00 00"), "AF 70 00 0B 04");
}

TEST_F(TerminalModelOfVersion3, HasSixteenColours) {
  EXPECT_EQ(ask("A7 65 00 0F"), "A7 65 00 0F 00");
  EXPECT_EQ(ask("A7 65 00 10"), "A7 65 00 10 02");
  EXPECT_EQ(ask("AA 7C 00 10 00 00 00"), "AA 7C 00 02");
  EXPECT_EQ(ask("AB 7D 00 10 01 FF FF"), "AB 7D 00 02");
  EXPECT_EQ(ask("AC 7E 00 00 10 FF FF"), "AC 7E 00 04");
  EXPECT_EQ(ask("AF 69 00 01 10 00 00 00"), "AF 69 00 01 04");
}

class TerminalModelInBlackAndWhite : public TerminalModelFixture {
protected:
  TerminalModelInBlackAndWhite() : TerminalModelFixture({2, 0}) {}
};

TEST_F(TerminalModelInBlackAndWhite, HasTwoColours) {
  EXPECT_EQ(ask("A7 65 00 01"), "A7 65 00 01 00");
  EXPECT_EQ(ask("A7 65 00 02"), "A7 65 00 02 02");
}

} // namespace
