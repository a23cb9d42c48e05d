#include "VtObjectFixture.h"

#include <cmath>
#include <cstring>
#include <limits>

using namespace IsoAgLib;
using namespace TestSupport;

namespace {

// A record with a field behind it, which nothing may change.
struct GuardedOutputNumber_s {
  iVtObjectOutputNumber_s record;
  uint32_t guard;
};

constexpr uint32_t guardValue = 0x5A5A5A5A;
constexpr uint16_t recordLength = sizeof(iVtObjectOutputNumber_s);
constexpr uint16_t decimals = ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, numberOfDecimals);
constexpr uint16_t width = ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, width);
constexpr uint16_t offset = ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, offset);
constexpr uint16_t scale = ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, scale);
constexpr uint16_t font = ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, fontAttributes);

std::string numbers(uint16_t position, uint16_t length) {
  return "(" + std::to_string(position) + ", " + std::to_string(length) + ", ";
}

} // namespace

class VtObjectAttribute : public VtObjectFixture {
protected:
  void SetUp() override {
    VtObjectFixture::SetUp();
    std::memset(&m_memory, 0, sizeof m_memory);
    m_memory.record.object.ID = 1001;
    m_memory.guard = guardValue;
    m_number.init(&m_memory.record);
  }

  // expectUntouched: nothing but the id is in the record, and nothing was written behind it.
  void expectUntouched() {
    GuardedOutputNumber_s empty;
    std::memset(&empty, 0, sizeof empty);
    empty.record.object.ID = 1001;
    empty.guard = guardValue;
    EXPECT_EQ(0, std::memcmp(&empty, &m_memory, sizeof empty));
  }

  GuardedOutputNumber_s m_memory;
  iVtObjectOutputNumber_c m_number;
};

TEST_F(VtObjectAttribute, OfEightBitsStoresOneValueAndSendsAnother) {
  EXPECT_TRUE(m_number.saveValue8SetAttribute(decimals, recordLength, 9, 2, 3, false));
  EXPECT_EQ(2, m_memory.record.numberOfDecimals);
  EXPECT_EQ(0, m_memory.record.format);
  expectOne("vt 1001: saveValue8SetAttribute" + numbers(decimals, recordLength) + "9, 2, 3, false)",
            "AF E9 03 09 03 00 00 00", m_number);
}

TEST_F(VtObjectAttribute, OfSixteenBitsIsStoredAndSent) {
  m_commands.answer(false);
  EXPECT_FALSE(m_number.saveValue16SetAttribute(width, recordLength, 1, 0xABCD, true));
  EXPECT_EQ(0xABCD, m_memory.record.width);
  EXPECT_EQ(0, m_memory.record.height);
  expectOne("vt 1001: saveValue16SetAttribute" + numbers(width, recordLength) + "1, 43981, true)",
            "AF E9 03 01 CD AB 00 00 replaces", m_number);
}

TEST_F(VtObjectAttribute, OfThirtyTwoBitsKeepsItsSign) {
  EXPECT_TRUE(m_number.saveValue32SetAttribute(offset, recordLength, 7, -2, false));
  EXPECT_EQ(-2, m_memory.record.offset);
  expectOne("vt 1001: saveValue32SetAttribute" + numbers(offset, recordLength) + "7, -2, false)",
            "AF E9 03 07 FE FF FF FF", m_number);
}

TEST_F(VtObjectAttribute, OfAFloatIsSentAsItsBits) {
  EXPECT_TRUE(m_number.saveValueFloatSetAttribute(scale, recordLength, 8, 2.5F, false));
  EXPECT_EQ(2.5F, m_memory.record.scale);
  expectOne("vt 1001: saveValueFloatSetAttribute" + numbers(scale, recordLength) + "8, 2.5, false)",
            "AF E9 03 08 00 00 20 40", m_number);
}

TEST_F(VtObjectAttribute, OfAFloatIsToldWithTheDigitsThatTellItFromOthers) {
  m_number.saveValueFloatSetAttribute(scale, recordLength, 8, 0.1F, false);
  EXPECT_EQ("vt 1001: saveValueFloatSetAttribute" + numbers(scale, recordLength) + "8, 0.1, false)\n", journalText());
}

TEST_F(VtObjectAttribute, OfAFloatTakesWhatIsNoNumber) {
  EXPECT_TRUE(
      m_number.saveValueFloatSetAttribute(scale, recordLength, 8, std::numeric_limits<float>::quiet_NaN(), true));
  EXPECT_TRUE(std::isnan(m_memory.record.scale));
  expectOne("vt 1001: saveValueFloatSetAttribute" + numbers(scale, recordLength) + "8, nan, true)",
            "AF E9 03 08 00 00 C0 7F replaces", m_number);
}

TEST_F(VtObjectAttribute, OfAReferenceIsSentAsTheID) {
  iVtObjectFontAttributes_s fontRecord{};
  fontRecord.object.ID = 0x2345;
  iVtObjectFontAttributes_c fontObject;
  fontObject.init(&fontRecord);
  EXPECT_TRUE(m_number.saveValuePSetAttribute(font, recordLength, 4, &fontObject, false));
  EXPECT_EQ(&fontObject, m_memory.record.fontAttributes);
  expectOne("vt 1001: saveValuePSetAttribute" + numbers(font, recordLength) + "4, 9029, false)",
            "AF E9 03 04 45 23 00 00", m_number);
}

TEST_F(VtObjectAttribute, OfAReferenceToNothingIsSentAsTheIDForNone) {
  m_memory.record.fontAttributes = &m_number;
  EXPECT_TRUE(m_number.saveValuePSetAttribute(font, recordLength, 4, nullptr, true));
  EXPECT_EQ(nullptr, m_memory.record.fontAttributes);
  expectOne("vt 1001: saveValuePSetAttribute" + numbers(font, recordLength) + "4, 65535, true)",
            "AF E9 03 04 FF FF 00 00 replaces", m_number);
}

TEST_F(VtObjectAttribute, IsNotStoredBeyondTheLengthThatIsTold) {
  m_number.saveValue8SetAttribute(decimals, decimals, 9, 1, 1, false);
  m_number.saveValue16SetAttribute(width, width + 1, 1, 0xFFFF, false);
  m_number.saveValue32SetAttribute(offset, offset + 3, 7, -1, false);
  m_number.saveValueFloatSetAttribute(scale, scale + 3, 8, 2.5F, false);
  m_number.saveValuePSetAttribute(font, font + sizeof(void*) - 1, 4, &m_number, false);
  expectUntouched();
  EXPECT_EQ("AF E9 03 09 01 00 00 00\nAF E9 03 01 FF FF 00 00\nAF E9 03 07 FF FF FF FF\nAF E9 03 08 00 00 20 40\n"
            "AF E9 03 04 E9 03 00 00\n",
            m_commands.text());
}

TEST_F(VtObjectAttribute, IsStoredUpToTheLengthThatIsTold) {
  m_number.saveValue8SetAttribute(decimals, decimals + 1, 9, 1, 1, false);
  m_number.saveValue16SetAttribute(width, width + 2, 1, 2, false);
  m_number.saveValue32SetAttribute(offset, offset + 4, 7, 3, false);
  m_number.saveValueFloatSetAttribute(scale, scale + 4, 8, 4, false);
  m_number.saveValuePSetAttribute(font, font + sizeof(void*), 4, &m_number, false);
  EXPECT_EQ(1, m_memory.record.numberOfDecimals);
  EXPECT_EQ(2, m_memory.record.width);
  EXPECT_EQ(3, m_memory.record.offset);
  EXPECT_EQ(4.0F, m_memory.record.scale);
  EXPECT_EQ(&m_number, m_memory.record.fontAttributes);
}

TEST_F(VtObjectAttribute, IsNotStoredBeyondTheRecordWhateverLengthIsTold) {
  m_number.saveValue8SetAttribute(recordLength, 0xFFFF, 9, 1, 1, false);
  m_number.saveValue16SetAttribute(recordLength - 1, 0xFFFF, 1, 0xFFFF, false);
  m_number.saveValue32SetAttribute(recordLength, 0xFFFF, 7, -1, false);
  m_number.saveValue32SetAttribute(0xFFFF, 0xFFFF, 7, -1, false);
  expectUntouched();
  EXPECT_EQ(4U, m_commands.commands().size());
}

TEST_F(VtObjectAttribute, IsStoredUpToTheEndOfTheRecord) {
  m_number.saveValue8SetAttribute(recordLength - 1, 0xFFFF, 9, 0xAA, 1, false);
  EXPECT_EQ(0xAA, reinterpret_cast<const uint8_t*>(&m_memory.record)[recordLength - 1]);
}

namespace {

// Whether the last byte of a record of this type is written, and the byte behind it is not.
template <class Object_c, class Record_s>
void expectWholeRecordIsWritable() {
  alignas(Record_s) uint8_t memory[sizeof(Record_s) + 1] = {};
  Object_c object;
  object.init(reinterpret_cast<Record_s*>(memory));
  object.saveValue8SetAttribute(sizeof(Record_s) - 1, 0xFFFF, 1, 0x11, 0, false);
  object.saveValue8SetAttribute(sizeof(Record_s), 0xFFFF, 1, 0x22, 0, false);
  EXPECT_EQ(0x11, memory[sizeof(Record_s) - 1]) << int{object.objectType()};
  EXPECT_EQ(0x00, memory[sizeof(Record_s)]) << int{object.objectType()};
}

} // namespace

TEST_F(VtObjectAttribute, IsBoundByTheRecordOfEveryType) {
  expectWholeRecordIsWritable<iVtObjectWorkingSet_c, iVtObjectWorkingSet_s>();
  expectWholeRecordIsWritable<iVtObjectDataMask_c, iVtObjectDataMask_s>();
  expectWholeRecordIsWritable<iVtObjectContainer_c, iVtObjectContainer_s>();
  expectWholeRecordIsWritable<iVtObjectSoftKeyMask_c, iVtObjectSoftKeyMask_s>();
  expectWholeRecordIsWritable<iVtObjectKey_c, iVtObjectKey_s>();
  expectWholeRecordIsWritable<iVtObjectInputBoolean_c, iVtObjectInputBoolean_s>();
  expectWholeRecordIsWritable<iVtObjectInputString_c, iVtObjectInputString_s>();
  expectWholeRecordIsWritable<iVtObjectInputNumber_c, iVtObjectInputNumber_s>();
  expectWholeRecordIsWritable<iVtObjectInputList_c, iVtObjectInputList_s>();
  expectWholeRecordIsWritable<iVtObjectOutputString_c, iVtObjectOutputString_s>();
  expectWholeRecordIsWritable<iVtObjectOutputNumber_c, iVtObjectOutputNumber_s>();
  expectWholeRecordIsWritable<iVtObjectOutputList_c, iVtObjectOutputList_s>();
  expectWholeRecordIsWritable<iVtObjectRectangle_c, iVtObjectRectangle_s>();
  expectWholeRecordIsWritable<iVtObjectPolygon_c, iVtObjectPolygon_s>();
  expectWholeRecordIsWritable<iVtObjectMeter_c, iVtObjectMeter_s>();
  expectWholeRecordIsWritable<iVtObjectLinearBarGraph_c, iVtObjectLinearBarGraph_s>();
  expectWholeRecordIsWritable<iVtObjectNumberVariable_c, iVtObjectNumberVariable_s>();
  expectWholeRecordIsWritable<iVtObjectStringVariable_c, iVtObjectStringVariable_s>();
  expectWholeRecordIsWritable<iVtObjectFontAttributes_c, iVtObjectFontAttributes_s>();
  expectWholeRecordIsWritable<iVtObjectLineAttributes_c, iVtObjectLineAttributes_s>();
  expectWholeRecordIsWritable<iVtObjectFillAttributes_c, iVtObjectFillAttributes_s>();
  expectWholeRecordIsWritable<iVtObjectObjectPointer_c, iVtObjectObjectPointer_s>();
}

// --- able

class VtObjectAble : public VtObjectFixture {
protected:
  template <class Object_c, class Record_s>
  void enable(Object_c& object, Record_s& record, uint8_t enabled, bool updateObject = true) {
    record.object.ID = 0x0102;
    object.init(&record);
    EXPECT_TRUE(object.able(enabled, updateObject, false));
  }
};

TEST_F(VtObjectAble, SetsTheEnabledAttributeOfAnInputBoolean) {
  iVtObjectInputBoolean_c object;
  iVtObjectInputBoolean_s record{};
  enable(object, record, 1);
  EXPECT_EQ(1, record.enabled);
  expectOne("vt 258: able(1, true, false)", "A1 02 01 01 FF FF FF FF", object);
  enable(object, record, 0);
  EXPECT_EQ(0, record.enabled);
}

TEST_F(VtObjectAble, SetsTheFirstBitOfTheEnabledAttributeOfAnInputString) {
  iVtObjectInputString_c object;
  iVtObjectInputString_s record{};
  record.enabled = 0x02;
  enable(object, record, 1);
  EXPECT_EQ(0x03, record.enabled);
  enable(object, record, 0);
  EXPECT_EQ(0x02, record.enabled);
}

TEST_F(VtObjectAble, SetsTheFirstBitOfTheSecondOptionsOfAnInputNumber) {
  iVtObjectInputNumber_c object;
  iVtObjectInputNumber_s record{};
  record.options2 = 0x03;
  enable(object, record, 0);
  EXPECT_EQ(0x02, record.options2);
  EXPECT_EQ(0, record.options);
  expectOne("vt 258: able(0, true, false)", "A1 02 01 00 FF FF FF FF", object);
  enable(object, record, 1);
  EXPECT_EQ(0x03, record.options2);
}

TEST_F(VtObjectAble, SetsTheFirstBitOfTheOptionsOfAnInputList) {
  iVtObjectInputList_c object;
  iVtObjectInputList_s record{};
  record.options = 0x02;
  enable(object, record, 1);
  EXPECT_EQ(0x03, record.options);
  enable(object, record, 0);
  EXPECT_EQ(0x02, record.options);
}

TEST_F(VtObjectAble, IsSentAsOneForAnyOtherNumber) {
  iVtObjectInputBoolean_c object;
  iVtObjectInputBoolean_s record{};
  enable(object, record, 2);
  EXPECT_EQ(1, record.enabled);
  expectOne("vt 258: able(2, true, false)", "A1 02 01 01 FF FF FF FF", object);
}

TEST_F(VtObjectAble, StoresNothingWithoutUpdate) {
  iVtObjectInputNumber_c object;
  iVtObjectInputNumber_s record{};
  enable(object, record, 1, false);
  EXPECT_EQ(0, record.options2);
  expectOne("vt 258: able(1, false, false)", "A1 02 01 01 FF FF FF FF", object);
}

TEST_F(VtObjectAble, StoresNothingInOtherTypesAndIsSentAllTheSame) {
  iVtObjectKey_c object;
  iVtObjectKey_s record{};
  iVtObjectKey_s expected{};
  expected.object.ID = 0x0102;
  enable(object, record, 1);
  EXPECT_EQ(0, std::memcmp(&expected, &record, sizeof record));
  expectOne("vt 258: able(1, true, false)", "A1 02 01 01 FF FF FF FF", object);
}

TEST_F(VtObjectAble, MayReplaceAndGivesWhatTheConnectionSays) {
  iVtObjectInputBoolean_c object;
  iVtObjectInputBoolean_s record{};
  object.init(&record);
  m_commands.answer(false);
  EXPECT_FALSE(object.able(1, true, true));
  expectOne("vt 0: able(1, true, true)", "A1 00 00 01 FF FF FF FF replaces", object);
}

// --- The object itself

TEST(VtObject, BelongsToNoConnectionAtFirst) {
  const iVtObjectKey_c object;
  EXPECT_EQ(0xFF, object.getClientID());
  EXPECT_EQ(0U, object.getMultitonInstance());
  EXPECT_FALSE(object.hasRecord());
}

TEST(VtObject, RemembersItsConnectionUntilItIsDetached) {
  iVtObjectKey_c object;
  object.attach(1, 3);
  EXPECT_EQ(3, object.getClientID());
  EXPECT_EQ(1U, object.getMultitonInstance());
  object.detach();
  EXPECT_EQ(0xFF, object.getClientID());
}

TEST(VtObject, GivesItsRecordAndItsID) {
  iVtObjectKey_c object;
  iVtObjectKey_s record{};
  record.object.ID = 77;
  object.init(&record);
  EXPECT_TRUE(object.hasRecord());
  EXPECT_EQ(&record, &object.get_vtObjectKey_a());
  EXPECT_EQ(&record.object, &object.get_vtObject_a());
  EXPECT_EQ(77, object.getID());
}
