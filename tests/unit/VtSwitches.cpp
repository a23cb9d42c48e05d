#include "ChildProcess.h"
#include "VtScreen.h"

#include <csignal>

using namespace TestSupport;
using namespace IsoAgLib;

class VtActiveMask : public VtScreenFixture {};

TEST_F(VtActiveMask, IsSentWhetherOrNotItIsActiveAndForceMakesNoDifference) {
  for (const bool bForce : {false, true, false, true}) {
    EXPECT_EQ("vt 1000: changeActiveMask(1100, true, false)\n",
              callsOf([&] { SetVtObject(m_screen.workingSet, &m_screen.dataMask, bForce); }));
    EXPECT_EQ(&m_screen.dataMask, m_screen.records.workingSet.activeMask);
  }
  EXPECT_EQ("vt 1000: changeActiveMask(1101, true, false)\n",
            callsOf([&] { SetVtObject(m_screen.workingSet, &m_screen.otherDataMask, false); }));
  EXPECT_EQ(&m_screen.otherDataMask, m_screen.records.workingSet.activeMask);
  EXPECT_EQ("vt 1000: changeActiveMask(65535, true, false)\n",
            callsOf([&] { SetVtObject(m_screen.workingSet, static_cast<iVtObjectDataMask_c*>(nullptr), false); }));
}

namespace {

// A data mask that takes the change itself.
class OwnDataMask_c : public iVtObjectDataMask_c {
public:
  bool setSoftKeyMask(iVtObject_c* softKeyMask, bool updateObject, bool enableReplaceOfCommand) override {
    m_softKeyMask = softKeyMask;
    m_bUpdateObject = updateObject;
    m_bReplace = enableReplaceOfCommand;
    return false;
  }

  iVtObject_c* m_softKeyMask = nullptr;
  bool m_bUpdateObject = false;
  bool m_bReplace = true;
};

} // namespace

class VtSoftKeyMask : public VtScreenFixture {};

TEST_F(VtSoftKeyMask, IsSetByTheVirtualFunctionOfTheDataMask) {
  OwnDataMask_c mask;
  mask.init(&m_screen.records.dataMask);
  EXPECT_EQ("", callsOf([&] { SetVtObject(mask, &m_screen.softKeyMask, false); }));
  EXPECT_EQ(&m_screen.softKeyMask, mask.m_softKeyMask);
  EXPECT_TRUE(mask.m_bUpdateObject);
  EXPECT_FALSE(mask.m_bReplace);
}

namespace {

// What a switch does for each state of an object, with and without force: `sent` and `forced` are the calls, `after`
// is the state after the call that was not forced.
struct Switch_s {
  uint8_t state;
  bool argument;
  const char* sent;
  const char* forced;
  uint8_t after;
};

} // namespace

class VtSwitch : public VtScreenFixture {
protected:
  template <class Object_c>
  static void expectRows(Object_c& object, uint8_t& state, void (*change)(Object_c&, bool, bool),
                         const std::vector<Switch_s>& rows) {
    for (const Switch_s& row : rows) {
      SCOPED_TRACE("state " + std::to_string(row.state) + (row.argument ? ", true" : ", false"));
      state = row.state;
      EXPECT_EQ(row.forced, callsOf([&] { change(object, row.argument, true); }));
      state = row.state;
      EXPECT_EQ(row.sent, callsOf([&] { change(object, row.argument, false); }));
      EXPECT_EQ(row.after, state);
    }
  }
};

TEST_F(VtSwitch, EnablesANumberUnlessItsEnabledBitEqualsTheArgument) {
  const char* stored = "vt 1900: able(1, true, false)\n";
  const char* sentOnly = "vt 1900: able(1, false, false)\n";
  expectRows<iVtObjectInputNumber_c>(m_screen.inputNumber, m_screen.records.inputNumber.options2, &SetVtEnableObject,
                                     {{0, true, stored, stored, 1},
                                      {1, true, "", stored, 1},
                                      {2, true, stored, stored, 3},
                                      {3, true, "", stored, 3},
                                      {0, false, "", sentOnly, 0},
                                      {1, false, sentOnly, sentOnly, 1},
                                      {2, false, "", sentOnly, 2},
                                      {3, false, sentOnly, sentOnly, 3},
                                      {254, false, "", sentOnly, 254}});
}

TEST_F(VtSwitch, DisablesANumberUnlessItsEnabledBitEqualsTheArgument) {
  const char* stored = "vt 1900: able(0, true, false)\n";
  const char* sentOnly = "vt 1900: able(0, false, false)\n";
  expectRows<iVtObjectInputNumber_c>(m_screen.inputNumber, m_screen.records.inputNumber.options2, &SetVtDisableObject,
                                     {{0, true, stored, stored, 0},
                                      {1, true, "", stored, 1},
                                      {2, true, stored, stored, 2},
                                      {3, true, "", stored, 3},
                                      {0, false, "", sentOnly, 0},
                                      {1, false, sentOnly, sentOnly, 1},
                                      {2, false, "", sentOnly, 2},
                                      {3, false, sentOnly, sentOnly, 3},
                                      {254, true, stored, stored, 254}});
}

TEST_F(VtSwitch, EnablesABooleanUnlessEnabledEqualsTheArgument) {
  const char* stored = "vt 1700: able(1, true, false)\n";
  const char* sentOnly = "vt 1700: able(1, false, false)\n";
  expectRows<iVtObjectInputBoolean_c>(m_screen.inputBoolean, m_screen.records.inputBoolean.enabled, &SetVtEnableObject,
                                      {{0, true, stored, stored, 1},
                                       {1, true, "", stored, 1},
                                       {2, true, "", stored, 2},
                                       {0, false, "", sentOnly, 0},
                                       {1, false, sentOnly, sentOnly, 1},
                                       {128, false, sentOnly, sentOnly, 128}});
}

TEST_F(VtSwitch, DisablesABooleanUnlessNotEnabledEqualsTheArgument) {
  const char* stored = "vt 1700: able(0, true, false)\n";
  const char* sentOnly = "vt 1700: able(0, false, false)\n";
  expectRows<iVtObjectInputBoolean_c>(m_screen.inputBoolean, m_screen.records.inputBoolean.enabled, &SetVtDisableObject,
                                      {{0, true, "", stored, 0},
                                       {1, true, stored, stored, 0},
                                       {2, true, stored, stored, 0},
                                       {0, false, sentOnly, sentOnly, 0},
                                       {1, false, "", sentOnly, 1},
                                       {128, false, "", sentOnly, 128}});
}

TEST_F(VtSwitch, SkipsAListWhoseOptionsAreTheOppositeOfWhatIsWanted) {
  const char* enables = "vt 2000: able(1, true, false)\n";
  const char* disables = "vt 2000: able(0, true, false)\n";
  expectRows<iVtObjectInputList_c>(m_screen.inputList, m_screen.records.inputList.options, &SetVtObjectEnable,
                                   {{0, true, "", enables, 0},
                                    {1, true, enables, enables, 1},
                                    {2, true, enables, enables, 3},
                                    {3, true, enables, enables, 3},
                                    {0, false, disables, disables, 0},
                                    {1, false, "", disables, 1},
                                    {2, false, disables, disables, 2},
                                    {3, false, disables, disables, 2}});
}

TEST_F(VtSwitch, ShowsAContainerUnlessItIsShownAlready) {
  const char* shows = "vt 1300: hideShow(1, true, false)\n";
  const char* hides = "vt 1300: hideShow(0, true, false)\n";
  expectRows<iVtObjectContainer_c>(m_screen.container, m_screen.records.container.hidden, &ShowVtContainer,
                                   {{0, true, "", shows, 0},
                                    {1, true, shows, shows, 0},
                                    {0, false, hides, hides, 1},
                                    {1, false, "", hides, 1},
                                    // Neither: it is no state of a container.
                                    {2, true, shows, shows, 0},
                                    {2, false, hides, hides, 1}});
}

// Disabling with true does not do what it says: an enabled number stays enabled, and nothing is sent.
TEST_F(VtSwitch, DisablesWithTrueANumberThatIsDisabledAlready) {
  m_screen.records.inputNumber.options2 = 1;
  EXPECT_EQ("", callsOf([&] { SetVtDisableObject(m_screen.inputNumber, true, false); }));
  m_screen.records.inputNumber.options2 = 0;
  for (int call = 0; call < 2; ++call) {
    EXPECT_EQ("vt 1900: able(0, true, false)\n",
              callsOf([&] { SetVtDisableObject(m_screen.inputNumber, true, false); }));
  }
}

TEST_F(VtSwitch, EndsTheProcessForAnObjectWithoutARecord) {
  const std::vector<std::function<void(VtScreen_s&, bool)>> switches = {
      [](VtScreen_s& screen, bool force) { SetVtEnableObject(screen.inputNumber, true, force); },
      [](VtScreen_s& screen, bool force) { SetVtDisableObject(screen.inputNumber, true, force); },
      [](VtScreen_s& screen, bool force) { SetVtEnableObject(screen.inputBoolean, true, force); },
      [](VtScreen_s& screen, bool force) { SetVtDisableObject(screen.inputBoolean, true, force); },
      [](VtScreen_s& screen, bool force) { SetVtObjectEnable(screen.inputList, true, force); },
      [](VtScreen_s& screen, bool force) { SetVtObject(screen.workingSet, &screen.dataMask, force); },
      [](VtScreen_s& screen, bool) { GetVtValue(screen.inputNumber); },
      [](VtScreen_s& screen, bool) { GetVtValue(screen.numberVariable); },
  };
  for (const auto& change : switches) {
    for (const bool bForce : {false, true}) {
      const Ending_s ending = runInChild([&] {
        VtScreen_s screen(false);
        change(screen, bForce);
      });
      EXPECT_EQ(SIGABRT, ending.signal);
      EXPECT_NE(std::string::npos, ending.standardError.find("Assertion `vtObject_a' failed.")) << ending.standardError;
    }
  }
}

class VtBoolean : public VtScreenFixture {};

TEST_F(VtBoolean, IsSetWhereItsValueIsAnyNumberButZero) {
  m_screen.records.inputBoolean.value = 2;
  EXPECT_EQ("", callsOf([&] { SetVtObject(m_screen.inputBoolean, true, false); }));
  EXPECT_EQ(2, m_screen.records.inputBoolean.value);
  EXPECT_EQ("vt 1700: setValue(false, true, true)\n",
            callsOf([&] { SetVtObject(m_screen.inputBoolean, false, false); }));
  EXPECT_EQ(0, m_screen.records.inputBoolean.value);
}

class VtValue : public VtScreenFixture {};

TEST_F(VtValue, IsReadFromTheRecordAndNothingIsSent) {
  for (const uint32_t value : {0U, 1U, 65536U, 2147483648U, 4294967295U}) {
    m_screen.records.inputNumber.value = value;
    m_screen.records.numberVariable.value = value;
    EXPECT_EQ("", callsOf([&] {
                EXPECT_EQ(value, GetVtValue(m_screen.inputNumber));
                EXPECT_EQ(value, GetVtValue(m_screen.numberVariable));
              }));
  }
}

TEST_F(VtValue, IsTheLastOneThatWasSetOrPutInByTheOperator) {
  SetVtObject(m_screen.numberVariable, 77U, false);
  EXPECT_EQ(77U, GetVtValue(m_screen.numberVariable));
  m_screen.records.inputNumber.value = 4711;
  EXPECT_EQ(4711U, GetVtValue(m_screen.inputNumber));
  // What the operator put in counts as held.
  EXPECT_EQ("", callsOf([&] { SetVtObject(m_screen.inputNumber, 4711U, false); }));
}
