#include "VtPoolParts.h"

#include <gtest/gtest.h>

using namespace IsoAgLib;
using namespace TestSupport;

namespace {

uint8_t sameColour(uint8_t colour, const __IsoAgLib::vtObject_c&, e_vtColour) {
  return colour;
}

std::string hexOf(const std::vector<uint8_t>& bytes) {
  constexpr const char* digits = "0123456789ABCDEF";
  std::string text;
  for (const uint8_t byte : bytes) {
    text += text.empty() ? "" : " ";
    text += digits[byte >> 4];
    text += digits[byte & 0x0F];
  }
  return text;
}

std::string poolOf(const Objects_t& objects, const IsoBusHost::VtColourClip& clip = sameColour) {
  return hexOf(IsoBusHost::writeVtPool({objects.data(), static_cast<uint16_t>(objects.size())}, clip));
}

// What the records refer to.
struct Referred_s {
  FontAttributes_s font{0x0401};
  NumberVariable_s number{0x0402};
  StringVariable_s string{0x0403};
  LineAttributes_s line{0x0404};
  FillAttributes_s fill{0x0405};
};

} // namespace

TEST(VtPoolRecord, OfAWorkingSetEndsWithItsLanguages) {
  DataMask_s mask(0x0301);
  Container_s child(0x0302);
  const iVtChild_s children[] = {{&child.object, 3, -4}};
  WorkingSet_s part(0x0102);
  part.record.backgroundColour = 7;
  part.record.selectable = 1;
  part.record.activeMask = &mask.object;
  part.record.numberOfChildren = 1;
  part.record.children = children;
  part.record.numberOfLanguages = 2;
  part.record.languages = "ende";
  EXPECT_EQ("02 01 00 07 01 01 03 01 00 02 02 03 03 00 FC FF 65 6E 64 65", poolOf({&part.object}));
}

TEST(VtPoolRecord, OfADataMaskHasItsSoftKeyMaskAndChildren) {
  SoftKeyMask_s keys(0x0303);
  Container_s first(0x0302);
  Meter_s second(0x0304);
  const iVtChild_s children[] = {{&first.object, 0x0102, 0x0304}, {&second.object, -1, 0}};
  DataMask_s part(0x0301);
  part.record.backgroundColour = 1;
  part.record.softKeyMask = &keys.object;
  part.record.numberOfChildren = 2;
  part.record.children = children;
  EXPECT_EQ("01 03 01 01 03 03 02 00 02 03 02 01 04 03 04 03 FF FF 00 00", poolOf({&part.object}));
}

TEST(VtPoolRecord, OfADataMaskWithoutSoftKeysHasTheIDForNone) {
  DataMask_s part(0x0301);
  EXPECT_EQ("01 03 01 00 FF FF 00 00", poolOf({&part.object}));
}

TEST(VtPoolRecord, OfAContainerHasWidthHeightAndHidden) {
  OutputNumber_s child(0x0305);
  const iVtChild_s children[] = {{&child.object, 1, 2}};
  Container_s part(0x0302);
  part.record.width = 0x0102;
  part.record.height = 0x0304;
  part.record.hidden = 1;
  part.record.numberOfChildren = 1;
  part.record.children = children;
  EXPECT_EQ("02 03 03 02 01 04 03 01 01 00 05 03 01 00 02 00", poolOf({&part.object}));
}

TEST(VtPoolRecord, OfASoftKeyMaskHasKeysWithoutPlaces) {
  Key_s first(0x0501);
  Key_s second(0x0502);
  iVtObject_c* const keys[] = {&first.object, &second.object};
  SoftKeyMask_s part(0x0303);
  part.record.backgroundColour = 9;
  part.record.numberOfKeys = 2;
  part.record.keys = keys;
  EXPECT_EQ("03 03 04 09 02 00 01 05 02 05", poolOf({&part.object}));
}

TEST(VtPoolRecord, OfAKeyHasItsCode) {
  OutputString_s child(0x0306);
  const iVtChild_s children[] = {{&child.object, 5, 6}};
  Key_s part(0x0501);
  part.record.backgroundColour = 2;
  part.record.keyCode = 3;
  part.record.numberOfChildren = 1;
  part.record.children = children;
  EXPECT_EQ("01 05 05 02 03 01 00 06 03 05 00 06 00", poolOf({&part.object}));
}

TEST(VtPoolRecord, OfAnInputBoolean) {
  Referred_s referred;
  InputBoolean_s part(0x0601);
  part.record.backgroundColour = 1;
  part.record.width = 0x0203;
  part.record.fontAttributes = &referred.font.object;
  part.record.variableReference = &referred.number.object;
  part.record.value = 1;
  part.record.enabled = 1;
  EXPECT_EQ("01 06 07 01 03 02 01 04 02 04 01 01 00", poolOf({&part.object}));
}

TEST(VtPoolRecord, OfAnInputStringHasItsLengthInOneByte) {
  Referred_s referred;
  char text[] = "ab\0\0";
  InputString_s part(0x0602);
  part.record.width = 0x0102;
  part.record.height = 0x0304;
  part.record.backgroundColour = 5;
  part.record.fontAttributes = &referred.font.object;
  part.record.options = 6;
  part.record.variableReference = &referred.string.object;
  part.record.justification = 7;
  part.record.length = 4;
  part.record.value = text;
  part.record.enabled = 3;
  EXPECT_EQ("02 06 08 02 01 04 03 05 01 04 FF FF 06 03 04 07 04 61 62 20 20 03 00", poolOf({&part.object}));
}

TEST(VtPoolRecord, OfAnInputNumber) {
  Referred_s referred;
  InputNumber_s part(0x0603);
  part.record.width = 0x0102;
  part.record.height = 0x0304;
  part.record.backgroundColour = 5;
  part.record.fontAttributes = &referred.font.object;
  part.record.options = 6;
  part.record.variableReference = &referred.number.object;
  part.record.value = 0x11121314;
  part.record.minimum = 0x21222324;
  part.record.maximum = 0x31323334;
  part.record.offset = -2;
  part.record.scale = 2.5F;
  part.record.numberOfDecimals = 7;
  part.record.format = 1;
  part.record.justification = 8;
  part.record.options2 = 2;
  EXPECT_EQ(
      "03 06 09 02 01 04 03 05 01 04 06 02 04 14 13 12 11 24 23 22 21 34 33 32 31 FE FF FF FF 00 00 20 40 07 01 08 "
      "02 00",
      poolOf({&part.object}));
}

TEST(VtPoolRecord, OfAnInputListHasItsOptionsBehindTheNumberOfItems) {
  Referred_s referred;
  OutputString_s item(0x0306);
  iVtObject_c* items[] = {&item.object, nullptr};
  InputList_s part(0x0604);
  part.record.width = 0x0102;
  part.record.height = 0x0304;
  part.record.variableReference = &referred.number.object;
  part.record.value = 0xFF;
  part.record.numberOfItems = 2;
  part.record.options = 3;
  part.record.items = items;
  EXPECT_EQ("04 06 0A 02 01 04 03 02 04 FF 02 03 00 06 03 FF FF", poolOf({&part.object}));
}

TEST(VtPoolRecord, OfAnOutputStringHasItsLengthInTwoBytes) {
  Referred_s referred;
  std::string text(0x0102 + 1, '\0');
  text[0] = 'x';
  OutputString_s part(0x0306);
  part.record.width = 0x0102;
  part.record.height = 0x0304;
  part.record.backgroundColour = 5;
  part.record.fontAttributes = &referred.font.object;
  part.record.options = 6;
  part.record.variableReference = &referred.string.object;
  part.record.justification = 7;
  part.record.length = 0x0102;
  part.record.value = &text[0];
  std::string blanks;
  for (int index = 1; index < 0x0102; ++index) {
    blanks += " 20";
  }
  EXPECT_EQ("06 03 0B 02 01 04 03 05 01 04 06 03 04 07 02 01 78" + blanks + " 00", poolOf({&part.object}));
}

TEST(VtPoolRecord, OfAnOutputNumber) {
  Referred_s referred;
  OutputNumber_s part(0x0305);
  part.record.width = 0x0102;
  part.record.height = 0x0304;
  part.record.backgroundColour = 5;
  part.record.fontAttributes = &referred.font.object;
  part.record.options = 6;
  part.record.variableReference = &referred.number.object;
  part.record.value = 0x11121314;
  part.record.offset = -3;
  part.record.scale = 1;
  part.record.numberOfDecimals = 2;
  part.record.format = 1;
  part.record.justification = 8;
  EXPECT_EQ("05 03 0C 02 01 04 03 05 01 04 06 02 04 14 13 12 11 FD FF FF FF 00 00 80 3F 02 01 08 00",
            poolOf({&part.object}));
}

TEST(VtPoolRecord, OfAnOutputList) {
  Referred_s referred;
  OutputString_s item(0x0306);
  iVtObject_c* items[] = {nullptr, &item.object};
  OutputList_s part(0x0605);
  part.record.width = 0x0102;
  part.record.height = 0x0304;
  part.record.variableReference = &referred.number.object;
  part.record.value = 1;
  part.record.numberOfItems = 2;
  part.record.items = items;
  EXPECT_EQ("05 06 25 02 01 04 03 02 04 01 02 00 FF FF 06 03", poolOf({&part.object}));
}

TEST(VtPoolRecord, OfARectangle) {
  Referred_s referred;
  Rectangle_s part(0x0701);
  part.record.lineAttributes = &referred.line.object;
  part.record.width = 0x0102;
  part.record.height = 0x0304;
  part.record.lineSuppression = 5;
  part.record.fillAttributes = &referred.fill.object;
  EXPECT_EQ("01 07 0E 04 04 02 01 04 03 05 05 04 00", poolOf({&part.object}));
}

TEST(VtPoolRecord, OfAPolygonEndsWithItsPoints) {
  Referred_s referred;
  const iVtPoint_s points[] = {{1, 2}, {0x0103, 4}, {5, 0xFFFE}};
  Polygon_s part(0x0702);
  part.record.width = 0x0102;
  part.record.height = 0x0304;
  part.record.lineAttributes = &referred.line.object;
  part.record.fillAttributes = &referred.fill.object;
  part.record.polygonType = 2;
  part.record.numberOfPoints = 3;
  part.record.points = points;
  EXPECT_EQ("02 07 10 02 01 04 03 04 04 05 04 02 03 00 01 00 02 00 03 01 04 00 05 00 FE FF", poolOf({&part.object}));
}

TEST(VtPoolRecord, OfAMeter) {
  Referred_s referred;
  Meter_s part(0x0703);
  part.record.width = 0x0102;
  part.record.needleColour = 3;
  part.record.borderColour = 4;
  part.record.arcAndTickColour = 5;
  part.record.options = 6;
  part.record.numberOfTicks = 7;
  part.record.startAngle = 8;
  part.record.endAngle = 9;
  part.record.minimum = 0x0A0B;
  part.record.maximum = 0x0C0D;
  part.record.variableReference = &referred.number.object;
  part.record.value = 0x0E0F;
  EXPECT_EQ("03 07 11 02 01 03 04 05 06 07 08 09 0B 0A 0D 0C 02 04 0F 0E 00", poolOf({&part.object}));
}

TEST(VtPoolRecord, OfALinearBarGraph) {
  Referred_s referred;
  NumberVariable_s target(0x0406);
  LinearBarGraph_s part(0x0704);
  part.record.width = 0x0102;
  part.record.height = 0x0304;
  part.record.colour = 5;
  part.record.targetLineColour = 6;
  part.record.options = 7;
  part.record.numberOfTicks = 8;
  part.record.minimum = 0x090A;
  part.record.maximum = 0x0B0C;
  part.record.variableReference = &referred.number.object;
  part.record.value = 0x0D0E;
  part.record.targetVariableReference = &target.object;
  part.record.targetValue = 0x0F10;
  EXPECT_EQ("04 07 12 02 01 04 03 05 06 07 08 0A 09 0C 0B 02 04 0E 0D 06 04 10 0F 00", poolOf({&part.object}));
}

TEST(VtPoolRecord, OfANumberVariable) {
  NumberVariable_s part(0x0402);
  part.record.value = 0x01020304;
  EXPECT_EQ("02 04 15 04 03 02 01", poolOf({&part.object}));
}

TEST(VtPoolRecord, OfAStringVariable) {
  char text[] = "Hi!";
  StringVariable_s part(0x0403);
  part.record.length = 3;
  part.record.value = text;
  EXPECT_EQ("03 04 16 03 00 48 69 21", poolOf({&part.object}));
}

TEST(VtPoolRecord, OfFontAttributes) {
  FontAttributes_s part(0x0401);
  part.record.colour = 1;
  part.record.size = 2;
  part.record.type = 5;
  part.record.style = 4;
  EXPECT_EQ("01 04 17 01 02 05 04 00", poolOf({&part.object}));
}

TEST(VtPoolRecord, OfLineAttributes) {
  LineAttributes_s part(0x0404);
  part.record.colour = 1;
  part.record.width = 2;
  part.record.art = 0xFFFE;
  EXPECT_EQ("04 04 18 01 02 FE FF 00", poolOf({&part.object}));
}

TEST(VtPoolRecord, OfFillAttributes) {
  FillAttributes_s part(0x0405);
  part.record.type = 2;
  part.record.colour = 3;
  EXPECT_EQ("05 04 19 02 03 FF FF 00", poolOf({&part.object}));
}

TEST(VtPoolRecord, OfAnObjectPointer) {
  Meter_s target(0x0703);
  ObjectPointer_s part(0x0801);
  EXPECT_EQ("01 08 1B FF FF", poolOf({&part.object}));
  part.record.value = &target.object;
  EXPECT_EQ("01 08 1B 03 07", poolOf({&part.object}));
}

TEST(VtPoolRecord, StandsInTheOrderOfTheObjects) {
  NumberVariable_s first(2);
  NumberVariable_s second(1);
  EXPECT_EQ("02 00 15 00 00 00 00 01 00 15 00 00 00 00", poolOf({&first.object, &second.object}));
  EXPECT_EQ("", poolOf({}));
}

// --- Texts

namespace {

// The pool's text of a string variable.
std::string poolText(std::string storage, uint16_t length) {
  StringVariable_s part(1);
  part.record.length = length;
  storage.resize(length + 1U, '\0');
  part.record.value = &storage[0];
  const std::string pool = poolOf({&part.object});
  constexpr std::size_t head = 3 * 5;
  return pool.size() < head ? "" : pool.substr(head);
}

} // namespace

TEST(VtPoolText, IsFilledWithBlanks) {
  EXPECT_EQ("61 62 20 20 20", poolText("ab", 5));
}

TEST(VtPoolText, ThatFillsItsLengthIsWhole) {
  EXPECT_EQ("61 62 63", poolText("abc", 3));
}

TEST(VtPoolText, EndsAtItsNul) {
  EXPECT_EQ("61 20 20", poolText(std::string("a\0b", 3), 3));
}

TEST(VtPoolText, OfLengthZeroIsNothing) {
  EXPECT_EQ("", poolText("abc", 0));
}

TEST(VtPoolText, OfUtf16HasItsNulBytesAndBlanksOfTwoBytes) {
  EXPECT_EQ("FF FE 41 00 20 00 20 00", poolText(std::string("\xFF\xFE\x41\0", 4), 8));
}

TEST(VtPoolText, OfUtf16MayHaveALowByteOfZero) {
  EXPECT_EQ("FF FE 00 04 20 00", poolText(std::string("\xFF\xFE\x00\x04", 4), 6));
}

TEST(VtPoolText, OfUtf16AndAnOddLengthEndsWithHalfABlank) {
  EXPECT_EQ("FF FE 41 00 20", poolText(std::string("\xFF\xFE\x41\0", 4), 5));
}

TEST(VtPoolText, WithoutStorageIsBlank) {
  StringVariable_s part(1);
  part.record.length = 3;
  EXPECT_EQ("01 00 16 03 00 20 20 20", poolOf({&part.object}));
}

// --- Colours

namespace {

struct Clipped_s {
  const __IsoAgLib::vtObject_c* object;
  int colour;
  e_vtColour kind;
};

std::vector<Clipped_s> clippedColours(__IsoAgLib::vtObject_c& object) {
  std::vector<Clipped_s> asked;
  poolOf({&object}, [&asked](uint8_t colour, const __IsoAgLib::vtObject_c& owner, e_vtColour kind) {
    asked.push_back({&owner, colour, kind});
    return colour;
  });
  return asked;
}

// The kinds and colours that are asked for, as "4:5 5:6", all for the object itself.
std::string clippedText(__IsoAgLib::vtObject_c& object) {
  std::string text;
  for (const Clipped_s& row : clippedColours(object)) {
    EXPECT_EQ(&object, row.object);
    text += text.empty() ? "" : " ";
    text += std::to_string(row.kind) + ":" + std::to_string(row.colour);
  }
  return text;
}

template <class Part_t>
std::string clippedBackground() {
  Part_t part(1);
  part.record.backgroundColour = 200;
  return clippedText(part.object);
}

} // namespace

TEST(VtPoolColour, OfABackgroundIsAskedForAsSuch) {
  EXPECT_EQ("0:200", clippedBackground<WorkingSet_s>());
  EXPECT_EQ("0:200", clippedBackground<DataMask_s>());
  EXPECT_EQ("0:200", clippedBackground<SoftKeyMask_s>());
  EXPECT_EQ("0:200", clippedBackground<Key_s>());
  EXPECT_EQ("0:200", clippedBackground<InputBoolean_s>());
  EXPECT_EQ("0:200", clippedBackground<InputString_s>());
  EXPECT_EQ("0:200", clippedBackground<InputNumber_s>());
  EXPECT_EQ("0:200", clippedBackground<OutputString_s>());
  EXPECT_EQ("0:200", clippedBackground<OutputNumber_s>());
}

TEST(VtPoolColour, OfALineAndAFontIsALineColourAndOfAFillABackground) {
  LineAttributes_s line(1);
  line.record.colour = 3;
  EXPECT_EQ("1:3", clippedText(line.object));
  FontAttributes_s font(1);
  font.record.colour = 4;
  EXPECT_EQ("1:4", clippedText(font.object));
  FillAttributes_s fill(1);
  fill.record.colour = 5;
  EXPECT_EQ("0:5", clippedText(fill.object));
}

TEST(VtPoolColour, OfAMeterIsThatOfNeedleBorderAndArc) {
  Meter_s meter(1);
  meter.record.needleColour = 20;
  meter.record.borderColour = 21;
  meter.record.arcAndTickColour = 22;
  EXPECT_EQ("2:20 1:21 3:22", clippedText(meter.object));
}

TEST(VtPoolColour, OfABarGraphIsThatOfBarAndTarget) {
  LinearBarGraph_s graph(1);
  graph.record.colour = 20;
  graph.record.targetLineColour = 21;
  EXPECT_EQ("4:20 5:21", clippedText(graph.object));
}

TEST(VtPoolColour, ThatIsClippedIsWrittenAndTheRecordKeepsItsOwn) {
  LineAttributes_s line(1);
  line.record.colour = 3;
  EXPECT_EQ("01 00 18 09 00 00 00 00",
            poolOf({&line.object}, [](uint8_t, const __IsoAgLib::vtObject_c&, e_vtColour) { return uint8_t{9}; }));
  EXPECT_EQ(3, line.record.colour);
}
