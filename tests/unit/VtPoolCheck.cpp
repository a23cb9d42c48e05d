#include "VtPoolParts.h"

#include <gtest/gtest.h>
#include <ostream>

using namespace IsoAgLib;
using namespace TestSupport;

namespace {

// A pool that has every type once, each where it may stand.
struct SoundPool_s {
  WorkingSet_s workingSet{1000};
  DataMask_s mask{1100};
  Container_s container{1200};
  SoftKeyMask_s keys{1300};
  Key_s key{1310};
  InputBoolean_s inputBoolean{1400};
  InputString_s inputString{1410};
  InputNumber_s inputNumber{1420};
  InputList_s inputList{1430};
  OutputString_s outputString{1500};
  OutputNumber_s outputNumber{1510};
  OutputList_s outputList{1520};
  Rectangle_s rectangle{1600};
  Polygon_s polygon{1610};
  Meter_s meter{1620};
  LinearBarGraph_s graph{1630};
  NumberVariable_s number{1700};
  StringVariable_s string{1710};
  FontAttributes_s font{1800};
  LineAttributes_s line{1810};
  FillAttributes_s fill{1820};
  ObjectPointer_s pointer{1900};

  iVtChild_s sign[1] = {{&outputString.object, 0, 0}};
  iVtChild_s maskChildren[2] = {{&container.object, 0, 0}, {&pointer.object, 0, 0}};
  iVtChild_s containerChildren[11] = {
      {&inputBoolean.object, 0, 0}, {&inputString.object, 0, 0},  {&inputNumber.object, 0, 0},
      {&inputList.object, 0, 0},    {&outputString.object, 0, 0}, {&outputNumber.object, 0, 0},
      {&outputList.object, 0, 0},   {&rectangle.object, 0, 0},    {&polygon.object, 0, 0},
      {&meter.object, 0, 0},        {&graph.object, 0, 0},
  };
  iVtObject_c* keyList[2] = {&key.object, &pointer.object};
  iVtObject_c* inputItems[2] = {nullptr, &outputString.object};
  iVtObject_c* outputItems[2] = {&meter.object, nullptr};
  iVtPoint_s points[3] = {{0, 0}, {1, 1}, {2, 0}};
  Objects_t objects;

  SoundPool_s() {
    workingSet.record.activeMask = &mask.object;
    workingSet.record.numberOfChildren = 1;
    workingSet.record.children = sign;
    workingSet.record.numberOfLanguages = 1;
    workingSet.record.languages = "en";
    mask.record.softKeyMask = &keys.object;
    mask.record.numberOfChildren = 2;
    mask.record.children = maskChildren;
    container.record.numberOfChildren = 11;
    container.record.children = containerChildren;
    keys.record.numberOfKeys = 2;
    keys.record.keys = keyList;
    key.record.numberOfChildren = 1;
    key.record.children = sign;
    inputBoolean.record.fontAttributes = &font.object;
    inputBoolean.record.variableReference = &number.object;
    inputString.record.fontAttributes = &font.object;
    inputString.record.variableReference = &string.object;
    inputNumber.record.fontAttributes = &font.object;
    inputNumber.record.variableReference = &number.object;
    inputList.record.variableReference = &number.object;
    inputList.record.numberOfItems = 2;
    inputList.record.items = inputItems;
    outputString.record.fontAttributes = &font.object;
    outputString.record.variableReference = &string.object;
    outputNumber.record.fontAttributes = &font.object;
    outputNumber.record.variableReference = &number.object;
    outputList.record.variableReference = &number.object;
    outputList.record.numberOfItems = 2;
    outputList.record.items = outputItems;
    rectangle.record.lineAttributes = &line.object;
    rectangle.record.fillAttributes = &fill.object;
    polygon.record.lineAttributes = &line.object;
    polygon.record.fillAttributes = &fill.object;
    polygon.record.numberOfPoints = 3;
    polygon.record.points = points;
    meter.record.variableReference = &number.object;
    graph.record.variableReference = &number.object;
    graph.record.targetVariableReference = &number.object;
    pointer.record.value = &key.object;
    objects = {&workingSet.object,   &mask.object,        &container.object,   &keys.object,      &key.object,
               &inputBoolean.object, &inputString.object, &inputNumber.object, &inputList.object, &outputString.object,
               &outputNumber.object, &outputList.object,  &rectangle.object,   &polygon.object,   &meter.object,
               &graph.object,        &number.object,      &string.object,      &font.object,      &line.object,
               &fill.object,         &pointer.object};
  }
  SoundPool_s(const SoundPool_s&) = delete;
  SoundPool_s& operator=(const SoundPool_s&) = delete;

  std::string problem() const { return problemOf(objects); }
};

} // namespace

TEST(CheckVtPool, FindsNothingWhereAllIsWell) {
  EXPECT_EQ("", SoundPool_s().problem());
}

TEST(CheckVtPool, TakesReferencesToNothing) {
  SoundPool_s pool;
  pool.workingSet.record.activeMask = nullptr;
  pool.mask.record.softKeyMask = nullptr;
  pool.inputString.record.fontAttributes = nullptr;
  pool.meter.record.variableReference = nullptr;
  pool.pointer.record.value = nullptr;
  EXPECT_EQ("", pool.problem());
}

TEST(CheckVtPool, TakesListsThatAreNullWhereTheyAreEmpty) {
  SoundPool_s pool;
  pool.container.record.numberOfChildren = 0;
  pool.container.record.children = nullptr;
  pool.inputList.record.numberOfItems = 0;
  pool.inputList.record.items = nullptr;
  EXPECT_EQ("", pool.problem());
}

// --- Objects

TEST(CheckVtPool, FindsAnObjectThatIsNull) {
  SoundPool_s pool;
  pool.objects[1] = nullptr;
  EXPECT_EQ("object 2 of the pool is null", pool.problem());
}

TEST(CheckVtPool, FindsAnObjectWithoutRecord) {
  SoundPool_s pool;
  iVtObjectKey_c key;
  pool.objects.push_back(&key);
  EXPECT_EQ("object 23 of the pool has no attribute record", pool.problem());
}

namespace {

class UnknownObject_c : public __IsoAgLib::vtObject_c {
public:
  UnknownObject_c() { setRecord(&m_record); }
  iVtObjectType_t objectType() const override { return static_cast<iVtObjectType_t>(6); }

private:
  iVtObject_s m_record = {1};
};

} // namespace

TEST(CheckVtPool, FindsAnObjectOfAnUnknownType) {
  SoundPool_s pool;
  UnknownObject_c unknown;
  pool.objects.insert(pool.objects.begin(), &unknown);
  EXPECT_EQ("object 1 of the pool has the unknown type 6", pool.problem());
}

TEST(CheckVtPool, FindsTheIDThatStandsForNoObject) {
  SoundPool_s pool;
  pool.container.record.object.ID = 65535;
  EXPECT_EQ("object 3 of the pool has the id that stands for no object", pool.problem());
  pool.container.record.object.ID = 65534;
  EXPECT_EQ("", pool.problem());
}

TEST(CheckVtPool, FindsAnIDThatIsThereTwice) {
  SoundPool_s pool;
  pool.pointer.record.object.ID = 1000;
  EXPECT_EQ("the id 1000 is there twice", pool.problem());
}

TEST(CheckVtPool, FindsAnObjectThatIsThereTwice) {
  SoundPool_s pool;
  pool.objects.push_back(&pool.meter.object);
  EXPECT_EQ("the id 1620 is there twice", pool.problem());
}

TEST(CheckVtPool, WantsAWorkingSet) {
  SoundPool_s pool;
  pool.objects.erase(pool.objects.begin());
  EXPECT_EQ("the pool has no working set", pool.problem());
  EXPECT_EQ("the pool has no working set", problemOf({}));
}

TEST(CheckVtPool, WantsOneWorkingSetOnly) {
  SoundPool_s pool;
  WorkingSet_s second(1);
  WorkingSet_s third(2);
  pool.objects.push_back(&second.object);
  EXPECT_EQ("the pool has 2 working sets", pool.problem());
  pool.objects.push_back(&third.object);
  EXPECT_EQ("the pool has 3 working sets", pool.problem());
}

// --- Lists and texts

TEST(CheckVtPool, FindsAListThatIsNotThere) {
  SoundPool_s pool;
  pool.container.record.children = nullptr;
  EXPECT_EQ("child 1 of container 1200 is not there: the list is null", pool.problem());
}

TEST(CheckVtPool, FindsKeysItemsPointsAndLanguagesThatAreNotThere) {
  SoundPool_s keys;
  keys.keys.record.keys = nullptr;
  EXPECT_EQ("key 1 of soft key mask 1300 is not there: the list is null", keys.problem());
  SoundPool_s items;
  items.outputList.record.items = nullptr;
  EXPECT_EQ("item 1 of output list 1520 is not there: the list is null", items.problem());
  SoundPool_s points;
  points.polygon.record.points = nullptr;
  EXPECT_EQ("point 1 of polygon 1610 is not there: the list is null", points.problem());
  SoundPool_s languages;
  languages.workingSet.record.languages = nullptr;
  EXPECT_EQ("language 1 of working set 1000 is not there: the list is null", languages.problem());
}

TEST(CheckVtPool, FindsAnInputTextThatIsTooLong) {
  SoundPool_s pool;
  pool.inputString.record.length = 255;
  EXPECT_EQ("", pool.problem());
  pool.inputString.record.length = 256;
  EXPECT_EQ("the text of input string 1410 is longer than 255 bytes", pool.problem());
}

TEST(CheckVtPool, TakesALongOutputText) {
  SoundPool_s pool;
  pool.outputString.record.length = 256;
  pool.string.record.length = 0xFFFF;
  EXPECT_EQ("", pool.problem());
}

// --- References

TEST(CheckVtPool, FindsAReferenceOutOfThePool) {
  SoundPool_s pool;
  DataMask_s outside(1);
  pool.workingSet.record.activeMask = &outside.object;
  EXPECT_EQ("the active mask of working set 1000 is not in the pool", pool.problem());
}

TEST(CheckVtPool, DoesNotLookIntoWhatIsNotInThePool) {
  SoundPool_s pool;
  const iVtObjectMeter_c withoutRecord;
  pool.pointer.record.value = const_cast<iVtObjectMeter_c*>(&withoutRecord);
  EXPECT_EQ("the value of object pointer 1900 is not in the pool", pool.problem());
}

TEST(CheckVtPool, FindsAChildOutOfThePool) {
  SoundPool_s pool;
  Meter_s outside(1);
  pool.containerChildren[1].object = &outside.object;
  EXPECT_EQ("child 2 of container 1200 is not in the pool", pool.problem());
}

TEST(CheckVtPool, FindsAnItemOutOfThePool) {
  SoundPool_s pool;
  Meter_s outside(1);
  pool.inputItems[1] = &outside.object;
  EXPECT_EQ("item 2 of input list 1430 is not in the pool", pool.problem());
}

TEST(CheckVtPool, FindsAChildThatIsNull) {
  SoundPool_s pool;
  pool.maskChildren[0].object = nullptr;
  EXPECT_EQ("child 1 of data mask 1100 is null", pool.problem());
}

TEST(CheckVtPool, FindsAKeyThatIsNull) {
  SoundPool_s pool;
  pool.keyList[1] = nullptr;
  EXPECT_EQ("key 2 of soft key mask 1300 is null", pool.problem());
}

TEST(CheckVtPool, TellsTheFirstProblem) {
  SoundPool_s pool;
  pool.maskChildren[0].object = nullptr;
  pool.maskChildren[1].object = nullptr;
  pool.keyList[1] = nullptr;
  EXPECT_EQ("child 1 of data mask 1100 is null", pool.problem());
}

namespace {

// What must not stand at a place, and the line about it.
struct Misplaced_s {
  const char* name;
  void (*misplace)(SoundPool_s& pool);
  const char* problem;
};

void PrintTo(const Misplaced_s& row, std::ostream* stream) {
  *stream << row.name;
}

const Misplaced_s misplaced[] = {
    {"ActiveMask", [](SoundPool_s& pool) { pool.workingSet.record.activeMask = &pool.keys.object; },
     "the active mask of working set 1000 may not be soft key mask 1300"},
    {"SignOfAWorkingSet", [](SoundPool_s& pool) { pool.sign[0].object = &pool.inputNumber.object; },
     "child 1 of working set 1000 may not be input number 1420"},
    {"SoftKeyMask", [](SoundPool_s& pool) { pool.mask.record.softKeyMask = &pool.mask.object; },
     "the soft key mask of data mask 1100 may not be data mask 1100"},
    {"ChildOfAMask", [](SoundPool_s& pool) { pool.maskChildren[0].object = &pool.key.object; },
     "child 1 of data mask 1100 may not be key 1310"},
    {"ChildOfAContainer", [](SoundPool_s& pool) { pool.containerChildren[0].object = &pool.number.object; },
     "child 1 of container 1200 may not be number variable 1700"},
    {"Key", [](SoundPool_s& pool) { pool.keyList[0] = &pool.outputString.object; },
     "key 1 of soft key mask 1300 may not be output string 1500"},
    {"ChildOfAKey",
     [](SoundPool_s& pool) {
       pool.workingSet.record.numberOfChildren = 0;
       pool.sign[0].object = &pool.inputList.object;
     },
     "child 1 of key 1310 may not be input list 1430"},
    {"FontOfAnInputBoolean", [](SoundPool_s& pool) { pool.inputBoolean.record.fontAttributes = &pool.line.object; },
     "the font attributes of input boolean 1400 may not be line attributes 1810"},
    {"VariableOfAnInputBoolean",
     [](SoundPool_s& pool) { pool.inputBoolean.record.variableReference = &pool.string.object; },
     "the variable of input boolean 1400 may not be string variable 1710"},
    {"FontOfAnInputString", [](SoundPool_s& pool) { pool.inputString.record.fontAttributes = &pool.fill.object; },
     "the font attributes of input string 1410 may not be fill attributes 1820"},
    {"InputAttributes", [](SoundPool_s& pool) { pool.inputString.record.inputAttributes = &pool.font.object; },
     "the input attributes of input string 1410 may not be font attributes 1800"},
    {"VariableOfAnInputString",
     [](SoundPool_s& pool) { pool.inputString.record.variableReference = &pool.number.object; },
     "the variable of input string 1410 may not be number variable 1700"},
    {"FontOfAnInputNumber", [](SoundPool_s& pool) { pool.inputNumber.record.fontAttributes = &pool.meter.object; },
     "the font attributes of input number 1420 may not be meter 1620"},
    {"VariableOfAnInputNumber",
     [](SoundPool_s& pool) { pool.inputNumber.record.variableReference = &pool.graph.object; },
     "the variable of input number 1420 may not be linear bar graph 1630"},
    {"VariableOfAnInputList",
     [](SoundPool_s& pool) { pool.inputList.record.variableReference = &pool.inputBoolean.object; },
     "the variable of input list 1430 may not be input boolean 1400"},
    {"ItemOfAnInputList", [](SoundPool_s& pool) { pool.inputItems[0] = &pool.string.object; },
     "item 1 of input list 1430 may not be string variable 1710"},
    {"FontOfAnOutputString",
     [](SoundPool_s& pool) { pool.outputString.record.fontAttributes = &pool.rectangle.object; },
     "the font attributes of output string 1500 may not be rectangle 1600"},
    {"VariableOfAnOutputString",
     [](SoundPool_s& pool) { pool.outputString.record.variableReference = &pool.number.object; },
     "the variable of output string 1500 may not be number variable 1700"},
    {"FontOfAnOutputNumber", [](SoundPool_s& pool) { pool.outputNumber.record.fontAttributes = &pool.polygon.object; },
     "the font attributes of output number 1510 may not be polygon 1610"},
    {"VariableOfAnOutputNumber",
     [](SoundPool_s& pool) { pool.outputNumber.record.variableReference = &pool.string.object; },
     "the variable of output number 1510 may not be string variable 1710"},
    {"VariableOfAnOutputList",
     [](SoundPool_s& pool) { pool.outputList.record.variableReference = &pool.pointer.object; },
     "the variable of output list 1520 may not be object pointer 1900"},
    {"ItemOfAnOutputList", [](SoundPool_s& pool) { pool.outputItems[1] = &pool.inputString.object; },
     "item 2 of output list 1520 may not be input string 1410"},
    {"LineOfARectangle", [](SoundPool_s& pool) { pool.rectangle.record.lineAttributes = &pool.fill.object; },
     "the line attributes of rectangle 1600 may not be fill attributes 1820"},
    {"FillOfARectangle", [](SoundPool_s& pool) { pool.rectangle.record.fillAttributes = &pool.line.object; },
     "the fill attributes of rectangle 1600 may not be line attributes 1810"},
    {"LineOfAPolygon", [](SoundPool_s& pool) { pool.polygon.record.lineAttributes = &pool.outputNumber.object; },
     "the line attributes of polygon 1610 may not be output number 1510"},
    {"FillOfAPolygon", [](SoundPool_s& pool) { pool.polygon.record.fillAttributes = &pool.outputList.object; },
     "the fill attributes of polygon 1610 may not be output list 1520"},
    {"VariableOfAMeter", [](SoundPool_s& pool) { pool.meter.record.variableReference = &pool.container.object; },
     "the variable of meter 1620 may not be container 1200"},
    {"VariableOfABarGraph", [](SoundPool_s& pool) { pool.graph.record.variableReference = &pool.workingSet.object; },
     "the variable of linear bar graph 1630 may not be working set 1000"},
    {"TargetOfABarGraph", [](SoundPool_s& pool) { pool.graph.record.targetVariableReference = &pool.string.object; },
     "the target variable of linear bar graph 1630 may not be string variable 1710"},
    {"PatternOfAFill", [](SoundPool_s& pool) { pool.fill.record.pattern = &pool.rectangle.object; },
     "the pattern of fill attributes 1820 may not be rectangle 1600"},
    {"ValueOfAnObjectPointer", [](SoundPool_s& pool) { pool.pointer.record.value = &pool.mask.object; },
     "the value of object pointer 1900 may not be data mask 1100"},
};

} // namespace

class CheckVtPoolPlace : public testing::TestWithParam<Misplaced_s> {};

TEST_P(CheckVtPoolPlace, IsNotForEveryType) {
  SoundPool_s pool;
  GetParam().misplace(pool);
  EXPECT_EQ(GetParam().problem, pool.problem());
}

INSTANTIATE_TEST_SUITE_P(, CheckVtPoolPlace, testing::ValuesIn(misplaced),
                         [](const testing::TestParamInfo<Misplaced_s>& row) { return row.param.name; });

TEST(CheckVtPool, TakesAnythingShownOrEnteredBehindAnObjectPointer) {
  SoundPool_s pool;
  pool.mask.record.numberOfChildren = 1;
  pool.keys.record.numberOfKeys = 1;
  for (const iVtChild_s& child : pool.containerChildren) {
    pool.pointer.record.value = child.object;
    EXPECT_EQ("", pool.problem());
  }
}

// --- Loops

TEST(CheckVtPool, FindsAContainerThatIsItsOwnChild) {
  SoundPool_s pool;
  pool.containerChildren[3].object = &pool.container.object;
  EXPECT_EQ("container 1200 stands within itself", pool.problem());
}

TEST(CheckVtPool, FindsALoopByWayOfOthers) {
  SoundPool_s pool;
  pool.keys.record.numberOfKeys = 1;
  pool.containerChildren[0].object = &pool.pointer.object;
  pool.pointer.record.value = &pool.outputList.object;
  pool.outputItems[0] = &pool.container.object;
  EXPECT_EQ("container 1200 stands within itself", pool.problem());
}

TEST(CheckVtPool, FindsAnObjectPointerToItself) {
  SoundPool_s pool;
  pool.pointer.record.value = &pool.pointer.object;
  EXPECT_EQ("object pointer 1900 stands within itself", pool.problem());
}

TEST(CheckVtPool, TakesAnObjectThatStandsAtSeveralPlaces) {
  SoundPool_s pool;
  for (iVtChild_s& child : pool.containerChildren) {
    child.object = &pool.meter.object;
  }
  pool.maskChildren[1].object = &pool.meter.object;
  EXPECT_EQ("", pool.problem());
}

TEST(CheckVtPool, TakesContainersWithinContainersHoweverMany) {
  constexpr uint16_t depth = 60000;
  SoundPool_s pool;
  std::vector<iVtObjectContainer_s> records(depth);
  std::vector<iVtObjectContainer_c> containers(depth);
  std::vector<iVtChild_s> children(depth);
  for (uint16_t index = 0; index < depth; ++index) {
    records[index].object.ID = static_cast<uint16_t>(2000 + index);
    containers[index].init(&records[index]);
    children[index] = {&containers[index], 0, 0};
    pool.objects.push_back(&containers[index]);
    if (index > 0) {
      records[index - 1U].numberOfChildren = 1;
      records[index - 1U].children = &children[index];
    }
  }
  EXPECT_EQ("", pool.problem());
  records.back().numberOfChildren = 1;
  records.back().children = &children[0];
  EXPECT_EQ("container 2000 stands within itself", pool.problem());
}
