#include "VtObjectFixture.h"

using namespace IsoAgLib;
using namespace TestSupport;

namespace {

// What setValue of a type does to its record and puts into its command.
template <class Object_c, class Record_s, class Value_t>
struct Setting_s {
  Record_s record{};
  Object_c object;

  explicit Setting_s(uint16_t objectID) {
    record.object.ID = objectID;
    object.init(&record);
  }
  bool set(Value_t value, bool updateObject = true, bool mayReplace = true) {
    return object.setValue(value, updateObject, mayReplace);
  }
};

// The name of a type by the number that the pool has for it.
struct TypeName_s {
  template <class Setting_t>
  static std::string GetName(int) {
    return "OfType" + std::to_string(decltype(Setting_t::object)().objectType());
  }
};

using InputBoolean_s = Setting_s<iVtObjectInputBoolean_c, iVtObjectInputBoolean_s, bool>;
using InputNumber_s = Setting_s<iVtObjectInputNumber_c, iVtObjectInputNumber_s, uint32_t>;
using InputList_s = Setting_s<iVtObjectInputList_c, iVtObjectInputList_s, uint8_t>;
using OutputNumber_s = Setting_s<iVtObjectOutputNumber_c, iVtObjectOutputNumber_s, uint32_t>;
using OutputList_s = Setting_s<iVtObjectOutputList_c, iVtObjectOutputList_s, uint8_t>;
using Meter_s = Setting_s<iVtObjectMeter_c, iVtObjectMeter_s, uint16_t>;
using LinearBarGraph_s = Setting_s<iVtObjectLinearBarGraph_c, iVtObjectLinearBarGraph_s, uint16_t>;
using NumberVariable_s = Setting_s<iVtObjectNumberVariable_c, iVtObjectNumberVariable_s, uint32_t>;
using ObjectPointer_s = Setting_s<iVtObjectObjectPointer_c, iVtObjectObjectPointer_s, iVtObject_c*>;

} // namespace

class VtObjectValue : public VtObjectFixture {};

TEST_F(VtObjectValue, OfAnInputBooleanIsOneOrZero) {
  InputBoolean_s field(1001);
  EXPECT_TRUE(field.set(true));
  EXPECT_EQ(1, field.record.value);
  expectOne("vt 1001: setValue(true, true, true)", "A8 E9 03 FF 01 00 00 00 replaces", field.object);
  field.set(false);
  EXPECT_EQ(0, field.record.value);
}

TEST_F(VtObjectValue, OfAnInputNumberHasFourBytes) {
  InputNumber_s field(1002);
  EXPECT_TRUE(field.set(0x89ABCDEF));
  EXPECT_EQ(0x89ABCDEF, field.record.value);
  expectOne("vt 1002: setValue(2309737967, true, true)", "A8 EA 03 FF EF CD AB 89 replaces", field.object);
}

TEST_F(VtObjectValue, OfAnInputListHasOneByte) {
  InputList_s field(1003);
  EXPECT_TRUE(field.set(0xFF));
  EXPECT_EQ(0xFF, field.record.value);
  expectOne("vt 1003: setValue(255, true, true)", "A8 EB 03 FF FF 00 00 00 replaces", field.object);
}

TEST_F(VtObjectValue, OfAnOutputNumberHasFourBytes) {
  OutputNumber_s field(1004);
  EXPECT_TRUE(field.set(250));
  EXPECT_EQ(250U, field.record.value);
  expectOne("vt 1004: setValue(250, true, true)", "A8 EC 03 FF FA 00 00 00 replaces", field.object);
}

TEST_F(VtObjectValue, OfAnOutputListHasOneByte) {
  OutputList_s field(1005);
  EXPECT_TRUE(field.set(7));
  EXPECT_EQ(7, field.record.value);
  expectOne("vt 1005: setValue(7, true, true)", "A8 ED 03 FF 07 00 00 00 replaces", field.object);
}

TEST_F(VtObjectValue, OfAMeterHasTwoBytes) {
  Meter_s field(1006);
  EXPECT_TRUE(field.set(0xFEDC));
  EXPECT_EQ(0xFEDC, field.record.value);
  expectOne("vt 1006: setValue(65244, true, true)", "A8 EE 03 FF DC FE 00 00 replaces", field.object);
}

TEST_F(VtObjectValue, OfALinearBarGraphHasTwoBytes) {
  LinearBarGraph_s field(1007);
  EXPECT_TRUE(field.set(0x1234));
  EXPECT_EQ(0x1234, field.record.value);
  EXPECT_EQ(0, field.record.targetValue);
  expectOne("vt 1007: setValue(4660, true, true)", "A8 EF 03 FF 34 12 00 00 replaces", field.object);
}

TEST_F(VtObjectValue, OfANumberVariableHasFourBytes) {
  NumberVariable_s field(1008);
  EXPECT_TRUE(field.set(0x01020304));
  EXPECT_EQ(0x01020304U, field.record.value);
  expectOne("vt 1008: setValue(16909060, true, true)", "A8 F0 03 FF 04 03 02 01 replaces", field.object);
}

TEST_F(VtObjectValue, OfAnObjectPointerIsAnObjectID) {
  ObjectPointer_s field(1009);
  NumberVariable_s other(0x1234);
  EXPECT_TRUE(field.set(&other.object));
  EXPECT_EQ(&other.object, field.record.value);
  expectOne("vt 1009: setValue(4660, true, true)", "A8 F1 03 FF 34 12 00 00 replaces", field.object);
}

TEST_F(VtObjectValue, OfAnObjectPointerToNothingIsTheIDForNone) {
  ObjectPointer_s field(1009);
  NumberVariable_s other(1);
  field.record.value = &other.object;
  EXPECT_TRUE(field.set(nullptr));
  EXPECT_EQ(nullptr, field.record.value);
  expectOne("vt 1009: setValue(65535, true, true)", "A8 F1 03 FF FF FF 00 00 replaces", field.object);
}

// A call that leaves the record as it is and may not replace.
template <class Setting_t>
class VtObjectValueWithoutUpdate : public VtObjectFixture {};

using Settings_t = testing::Types<InputBoolean_s, InputNumber_s, InputList_s, OutputNumber_s, OutputList_s, Meter_s,
                                  LinearBarGraph_s, NumberVariable_s>;
TYPED_TEST_SUITE(VtObjectValueWithoutUpdate, Settings_t, TypeName_s);

TYPED_TEST(VtObjectValueWithoutUpdate, IsSentButNotStored) {
  TypeParam field(1);
  EXPECT_TRUE(field.set(1, false, false));
  EXPECT_EQ(0U, field.record.value);
  EXPECT_EQ("A8 01 00 FF 01 00 00 00\n", this->m_commands.text());
}

TYPED_TEST(VtObjectValueWithoutUpdate, GivesWhatTheConnectionSays) {
  TypeParam field(1);
  this->m_commands.answer(false);
  EXPECT_FALSE(field.set(1));
  EXPECT_EQ(1U, field.record.value);
}

TYPED_TEST(VtObjectValueWithoutUpdate, IsSentWhetherItChangesOrNot) {
  TypeParam field(1);
  field.set(1);
  field.set(1);
  EXPECT_EQ(2U, this->m_commands.commands().size());
}

TEST_F(VtObjectValue, OfAnObjectPointerIsNotStoredWithoutUpdate) {
  ObjectPointer_s field(1009);
  NumberVariable_s other(2);
  m_commands.answer(false);
  EXPECT_FALSE(field.set(&other.object, false, false));
  EXPECT_EQ(nullptr, field.record.value);
  expectOne("vt 1009: setValue(2, false, false)", "A8 F1 03 FF 02 00 00 00", field.object);
}

TEST_F(VtObjectValue, LeavesNoEntryWhileTheJournalTakesNone) {
  IsoBusHost::Journal::setVtCalls(false);
  InputNumber_s field(1);
  EXPECT_TRUE(field.set(5));
  EXPECT_EQ("", journalText());
  EXPECT_EQ("A8 01 00 FF 05 00 00 00 replaces\n", m_commands.text());
}

// --- Masks, containers, lists

class VtObjectMask : public VtObjectFixture {
protected:
  void SetUp() override {
    VtObjectFixture::SetUp();
    m_workingSetRecord.object.ID = 1000;
    m_workingSet.init(&m_workingSetRecord);
    m_maskRecord.object.ID = 1100;
    m_mask.init(&m_maskRecord);
    m_keysRecord.object.ID = 1200;
    m_keys.init(&m_keysRecord);
  }

  iVtObjectWorkingSet_s m_workingSetRecord{};
  iVtObjectDataMask_s m_maskRecord{};
  iVtObjectSoftKeyMask_s m_keysRecord{};
  iVtObjectWorkingSet_c m_workingSet;
  iVtObjectDataMask_c m_mask;
  iVtObjectSoftKeyMask_c m_keys;
};

TEST_F(VtObjectMask, BecomesTheActiveOneOfTheWorkingSet) {
  EXPECT_TRUE(m_workingSet.changeActiveMask(&m_mask, true, false));
  EXPECT_EQ(&m_mask, m_workingSetRecord.activeMask);
  expectOne("vt 1000: changeActiveMask(1100, true, false)", "AD E8 03 4C 04 FF FF FF", m_workingSet);
}

TEST_F(VtObjectMask, IsNotStoredAsTheActiveOneWithoutUpdate) {
  m_commands.answer(false);
  EXPECT_FALSE(m_workingSet.changeActiveMask(&m_mask, false, true));
  EXPECT_EQ(nullptr, m_workingSetRecord.activeMask);
  expectOne("vt 1000: changeActiveMask(1100, false, true)", "AD E8 03 4C 04 FF FF FF replaces", m_workingSet);
}

TEST_F(VtObjectMask, ThatIsNoneIsSentAsSuch) {
  m_workingSetRecord.activeMask = &m_mask;
  EXPECT_TRUE(m_workingSet.changeActiveMask(nullptr, true, false));
  EXPECT_EQ(nullptr, m_workingSetRecord.activeMask);
  expectOne("vt 1000: changeActiveMask(65535, true, false)", "AD E8 03 FF FF FF FF FF", m_workingSet);
}

TEST_F(VtObjectMask, GetsSoftKeysAsADataMask) {
  EXPECT_TRUE(m_mask.setSoftKeyMask(&m_keys, true, false));
  EXPECT_EQ(&m_keys, m_maskRecord.softKeyMask);
  expectOne("vt 1100: setSoftKeyMask(1200, true, false)", "AE 01 4C 04 B0 04 FF FF", m_mask);
}

TEST_F(VtObjectMask, KeepsItsSoftKeysWithoutUpdate) {
  m_maskRecord.softKeyMask = &m_keys;
  m_commands.answer(false);
  EXPECT_FALSE(m_mask.setSoftKeyMask(nullptr, false, true));
  EXPECT_EQ(&m_keys, m_maskRecord.softKeyMask);
  expectOne("vt 1100: setSoftKeyMask(65535, false, true)", "AE 01 4C 04 FF FF FF FF replaces", m_mask);
}

class VtObjectContainer : public VtObjectFixture {
protected:
  void SetUp() override {
    VtObjectFixture::SetUp();
    m_record.object.ID = 500;
    m_container.init(&m_record);
  }

  iVtObjectContainer_s m_record{};
  iVtObjectContainer_c m_container;
};

TEST_F(VtObjectContainer, IsHidden) {
  EXPECT_TRUE(m_container.hideShow(0, true, false));
  EXPECT_EQ(1, m_record.hidden);
  expectOne("vt 500: hideShow(0, true, false)", "A0 F4 01 00 FF FF FF FF", m_container);
}

TEST_F(VtObjectContainer, IsShown) {
  m_record.hidden = 1;
  EXPECT_TRUE(m_container.hideShow(1, true, true));
  EXPECT_EQ(0, m_record.hidden);
  expectOne("vt 500: hideShow(1, true, true)", "A0 F4 01 01 FF FF FF FF replaces", m_container);
}

TEST_F(VtObjectContainer, IsShownByAnyOtherNumber) {
  m_record.hidden = 1;
  EXPECT_TRUE(m_container.hideShow(4, true, false));
  EXPECT_EQ(0, m_record.hidden);
  expectOne("vt 500: hideShow(4, true, false)", "A0 F4 01 01 FF FF FF FF", m_container);
}

TEST_F(VtObjectContainer, StaysAsItIsStoredWithoutUpdate) {
  m_commands.answer(false);
  EXPECT_FALSE(m_container.hideShow(0, false, false));
  EXPECT_EQ(0, m_record.hidden);
  expectOne("vt 500: hideShow(0, false, false)", "A0 F4 01 00 FF FF FF FF", m_container);
}

class VtObjectList : public VtObjectFixture {
protected:
  void SetUp() override {
    VtObjectFixture::SetUp();
    m_itemRecord.object.ID = 0x0A0B;
    m_item.init(&m_itemRecord);
    m_record.object.ID = 700;
    m_record.numberOfItems = 2;
    m_record.items = m_items;
    m_list.init(&m_record);
  }

  iVtObjectStringVariable_s m_itemRecord{};
  iVtObjectStringVariable_c m_item;
  iVtObject_c* m_items[3] = {nullptr, nullptr, nullptr};
  iVtObjectInputList_s m_record{};
  iVtObjectInputList_c m_list;
};

TEST_F(VtObjectList, TakesAnItem) {
  EXPECT_TRUE(m_list.setItem(1, &m_item, true));
  EXPECT_EQ(&m_item, m_items[1]);
  expectOne("vt 700: setItem(1, 2571, true)", "B1 BC 02 01 0B 0A FF FF replaces", m_list);
}

TEST_F(VtObjectList, EmptiesASlot) {
  m_items[0] = &m_item;
  m_commands.answer(false);
  EXPECT_FALSE(m_list.setItem(0, nullptr, false));
  EXPECT_EQ(nullptr, m_items[0]);
  expectOne("vt 700: setItem(0, 65535, false)", "B1 BC 02 00 FF FF FF FF", m_list);
}

TEST_F(VtObjectList, NeitherStoresNorSendsBeyondItsItems) {
  EXPECT_FALSE(m_list.setItem(2, &m_item, true));
  EXPECT_EQ(nullptr, m_items[2]);
  EXPECT_EQ("vt 700: setItem(2, 2571, true)\n", journalText());
  EXPECT_EQ("", m_commands.text());
}

TEST_F(VtObjectList, WithoutStorageStillSends) {
  m_record.items = nullptr;
  EXPECT_TRUE(m_list.setItem(1, &m_item, true));
  expectOne("vt 700: setItem(1, 2571, true)", "B1 BC 02 01 0B 0A FF FF replaces", m_list);
}

TEST_F(VtObjectList, GivesItsItemsAndNullWhereThereIsNone) {
  m_items[1] = &m_item;
  m_items[2] = &m_item;
  EXPECT_EQ(nullptr, m_list.getListItem(0));
  EXPECT_EQ(&m_item, m_list.getListItem(1));
  EXPECT_EQ(nullptr, m_list.getListItem(2));
  m_record.items = nullptr;
  EXPECT_EQ(nullptr, m_list.getListItem(1));
  EXPECT_EQ("", journalText());
}
