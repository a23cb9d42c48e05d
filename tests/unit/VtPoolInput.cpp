#include "VtPoolParts.h"

#include <gtest/gtest.h>

using namespace IsoAgLib;
using namespace TestSupport;
using IsoBusHost::storeVtText;
using IsoBusHost::storeVtValue;

namespace {

const iVtObjectPool_c emptyPool(nullptr, 0);

const uint8_t* bytesOf(const char* text) {
  return reinterpret_cast<const uint8_t*>(text);
}

template <class Part_t>
bool takesAValue() {
  Part_t part(1);
  return storeVtValue(part.object, 1, emptyPool);
}

template <class Part_t>
bool takesAText() {
  Part_t part(1);
  return storeVtText(part.object, bytesOf("a"), 1);
}

} // namespace

TEST(VtPoolInputValue, OfAnInputBooleanIsOneOrZero) {
  InputBoolean_s part(1);
  EXPECT_TRUE(storeVtValue(part.object, 1, emptyPool));
  EXPECT_EQ(1, part.record.value);
  EXPECT_TRUE(storeVtValue(part.object, 0, emptyPool));
  EXPECT_EQ(0, part.record.value);
  EXPECT_TRUE(storeVtValue(part.object, 0x100, emptyPool));
  EXPECT_EQ(1, part.record.value);
}

TEST(VtPoolInputValue, OfNumbersHasFourBytes) {
  InputNumber_s number(1);
  EXPECT_TRUE(storeVtValue(number.object, 0x89ABCDEF, emptyPool));
  EXPECT_EQ(0x89ABCDEF, number.record.value);
  NumberVariable_s variable(2);
  EXPECT_TRUE(storeVtValue(variable.object, 0x89ABCDEF, emptyPool));
  EXPECT_EQ(0x89ABCDEF, variable.record.value);
}

TEST(VtPoolInputValue, OfAListIsAnIndexOfOneByte) {
  InputList_s list(1);
  EXPECT_TRUE(storeVtValue(list.object, 255, emptyPool));
  EXPECT_EQ(255, list.record.value);
  EXPECT_FALSE(storeVtValue(list.object, 256, emptyPool));
  EXPECT_EQ(255, list.record.value);
}

TEST(VtPoolInputValue, OfAnObjectPointerIsAnObjectOfThePool) {
  ObjectPointer_s pointer(1);
  Meter_s meter(2);
  const Objects_t objects = {&pointer.object, &meter.object};
  const iVtObjectPool_c pool(objects.data(), 2);
  EXPECT_TRUE(storeVtValue(pointer.object, 2, pool));
  EXPECT_EQ(&meter.object, pointer.record.value);
  EXPECT_FALSE(storeVtValue(pointer.object, 3, pool));
  EXPECT_FALSE(storeVtValue(pointer.object, 0x10002, pool));
  EXPECT_EQ(&meter.object, pointer.record.value);
  EXPECT_TRUE(storeVtValue(pointer.object, 0xFFFF, pool));
  EXPECT_EQ(nullptr, pointer.record.value);
}

TEST(VtPoolInputValue, IsNotThatOfAnyOtherType) {
  EXPECT_FALSE(takesAValue<WorkingSet_s>());
  EXPECT_FALSE(takesAValue<Container_s>());
  EXPECT_FALSE(takesAValue<InputString_s>());
  EXPECT_FALSE(takesAValue<OutputNumber_s>());
  EXPECT_FALSE(takesAValue<OutputList_s>());
  EXPECT_FALSE(takesAValue<Meter_s>());
  EXPECT_FALSE(takesAValue<LinearBarGraph_s>());
  EXPECT_FALSE(takesAValue<StringVariable_s>());
}

TEST(VtPoolInputText, IsStoredAndTheRestIsZeroed) {
  char inputText[] = "######";
  InputString_s input(1);
  input.record.length = 4;
  input.record.value = inputText;
  EXPECT_TRUE(storeVtText(input.object, bytesOf("ab"), 2));
  EXPECT_EQ(std::string("ab\0\0\0#", 6), std::string(inputText, 6));
  char variableText[] = "######";
  StringVariable_s variable(1);
  variable.record.length = 4;
  variable.record.value = variableText;
  EXPECT_TRUE(storeVtText(variable.object, bytesOf("abcdef"), 6));
  EXPECT_EQ(std::string("abcd\0#", 6), std::string(variableText, 6));
}

TEST(VtPoolInputText, MayBeEmptyOrHaveNoStorage) {
  char text[] = "####";
  InputString_s input(1);
  input.record.length = 2;
  input.record.value = text;
  EXPECT_TRUE(storeVtText(input.object, nullptr, 0));
  EXPECT_EQ(std::string("\0\0\0#", 4), std::string(text, 4));
  input.record.value = nullptr;
  EXPECT_TRUE(storeVtText(input.object, bytesOf("a"), 1));
}

TEST(VtPoolInputText, IsNotThatOfAnyOtherType) {
  EXPECT_FALSE(takesAText<InputNumber_s>());
  EXPECT_FALSE(takesAText<OutputString_s>());
  EXPECT_FALSE(takesAText<NumberVariable_s>());
}

TEST(VtPoolObject, IsFoundByItsID) {
  Meter_s first(10);
  Meter_s second(20);
  const Objects_t objects = {&first.object, &second.object};
  const iVtObjectPool_c pool(objects.data(), 2);
  EXPECT_EQ(&first.object, IsoBusHost::findVtObject(pool, 10));
  EXPECT_EQ(&second.object, IsoBusHost::findVtObject(pool, 20));
  EXPECT_EQ(nullptr, IsoBusHost::findVtObject(pool, 15));
  EXPECT_EQ(nullptr, IsoBusHost::findVtObject(pool, 0xFFFF));
  EXPECT_EQ(nullptr, IsoBusHost::findVtObject(emptyPool, 10));
}
