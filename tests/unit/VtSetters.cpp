#include "ChildProcess.h"
#include "Files.h"
#include "LibraryCalls.h"
#include "VtSetterRows.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <sstream>

using namespace TestSupport;
using namespace IsoAgLib;

namespace {

std::string recordOfMissingRecord() {
  return std::string(program_invocation_short_name) +
         ": IsoAgLib/comm/Part6_VirtualTerminal_Client/impl/vtobject_c:0: IsoAgLib::iVtObject_s& "
         "__IsoAgLib::vtObject_c::get_vtObject_a(): Assertion `vtObject_a' failed.\n";
}

std::string rowName(const testing::TestParamInfo<VtSetterRow_s>& row) {
  std::string name = row.param.function;
  name.erase(std::remove_if(name.begin(), name.end(), [](char letter) { return std::isalnum(letter) == 0; }),
             name.end());
  return name;
}

} // namespace

class VtSetter : public VtScreenFixture, public testing::WithParamInterface<VtSetterRow_s> {
protected:
  // Every ordered pair of two values of the row: the first one is held.
  template <class Step_t>
  void forEachPair(const Step_t& step) {
    for (const VtValue_s& held : GetParam().values) {
      for (const VtValue_s& wanted : GetParam().values) {
        if (&held == &wanted) {
          continue;
        }
        SCOPED_TRACE(held.text + " to " + wanted.text);
        held.set(m_screen, true);
        ASSERT_TRUE(held.isHeld(m_screen));
        step(wanted);
      }
    }
  }

  std::string callsOfSetting(const VtValue_s& value, bool force) {
    return callsOf([&] { value.set(m_screen, force); });
  }

  // The records and the list as bytes.
  std::string memory() const {
    return std::string(reinterpret_cast<const char*>(&m_screen.records), sizeof m_screen.records) +
           std::string(reinterpret_cast<const char*>(&m_screen.items), sizeof m_screen.items);
  }
};

TEST_P(VtSetter, SendsAndStoresNothingWhereTheObjectHoldsTheValue) {
  for (const VtValue_s& value : GetParam().values) {
    SCOPED_TRACE(value.text);
    value.set(m_screen, true);
    ASSERT_TRUE(value.isHeld(m_screen));
    const std::string before = memory();
    EXPECT_EQ("", callsOfSetting(value, false));
    EXPECT_EQ("", callsOfSetting(value, false));
    EXPECT_TRUE(before == memory());
  }
}

TEST_P(VtSetter, SendsAndStoresAValueThatDiffersOnce) {
  forEachPair([this](const VtValue_s& wanted) {
    EXPECT_EQ(wanted.call, callsOfSetting(wanted, false));
    EXPECT_TRUE(wanted.isHeld(m_screen));
    EXPECT_EQ("", callsOfSetting(wanted, false));
  });
}

TEST_P(VtSetter, SendsAgainEachTimeItIsForced) {
  forEachPair([this](const VtValue_s& wanted) {
    EXPECT_EQ(wanted.call, callsOfSetting(wanted, true));
    EXPECT_TRUE(wanted.isHeld(m_screen));
    EXPECT_EQ(wanted.call, callsOfSetting(wanted, true));
  });
}

TEST_P(VtSetter, KeepsTheLastValueInTheRecordAlone) {
  const VtValue_s& first = GetParam().values.front();
  const VtValue_s& last = GetParam().values.back();
  first.set(m_screen, true);
  const VtScreen_s::Records_s records = m_screen.records;
  IsoAgLib::iVtObject_c* const item = m_screen.items[2];
  last.set(m_screen, true);
  // As an operator changes it, or another part of the application.
  m_screen.records = records;
  m_screen.items[2] = item;
  EXPECT_EQ("", callsOfSetting(first, false));
  EXPECT_EQ(last.call, callsOfSetting(last, false));
}

TEST_P(VtSetter, AllocatesNothing) {
  IsoBusHost::Journal::setVtCalls(false);
  const HeapUse_c heap;
  for (const VtValue_s& value : GetParam().values) {
    value.set(m_screen, true);
    value.set(m_screen, false);
  }
  EXPECT_EQ(0U, heap.taken());
}

TEST_P(VtSetter, IsAnAssertionOfTheStackForAnObjectWithoutARecord) {
  for (const bool bForce : {false, true}) {
    const Ending_s ending = runInChild([bForce] {
      VtScreen_s screen(false);
      GetParam().values[0].set(screen, bForce);
    });
    EXPECT_EQ(SIGABRT, ending.signal);
    EXPECT_EQ(recordOfMissingRecord(), ending.standardError);
    EXPECT_EQ("", ending.standardOutput);
  }
}

// A comparison asks the stack for the record once, a forced value does not ask.
TEST_P(VtSetter, ComparesWithZeroesForAnObjectWithoutARecordWhereTheAssertionIsWaived) {
  IsoBusHost::Host::faults().assertCallStart = [] { return true; };
  const std::string waived = "isoaglib_assert_callStart() = true\n";
  for (const VtValue_s& value : GetParam().values) {
    SCOPED_TRACE(value.text);
    std::memset(static_cast<void*>(&m_screen.records), 0, sizeof m_screen.records);
    const bool bZeroes = callsOfSetting(value, false).empty();
    VtScreen_s screen(false);
    screen.font.init(&screen.records.font); // the items of the list, which are asked for their id
    screen.fill.init(&screen.records.fill);
    const std::string sent = callsOf([&] { value.set(screen, true); });
    EXPECT_NE(std::string::npos, sent.find("vt "));
    EXPECT_EQ(bZeroes ? waived : waived + sent, callsOf([&] { value.set(screen, false); }));
  }
}

INSTANTIATE_TEST_SUITE_P(, VtSetter, testing::ValuesIn(vtSetterRows()), rowName);

namespace {

// The setters that are not rows of the table above, and where they are tested.
const std::vector<std::string> testedApart = {
    // VtSwitches.cpp
    "SetVtObject(IsoAgLib::iVtObjectWorkingSet_c&, IsoAgLib::iVtObjectDataMask_c*, bool)",
    "SetVtObjectEnable(IsoAgLib::iVtObjectInputList_c&, bool, bool)",
    "SetVtEnableObject(IsoAgLib::iVtObjectInputNumber_c&, bool, bool)",
    "SetVtDisableObject(IsoAgLib::iVtObjectInputNumber_c&, bool, bool)",
    "SetVtEnableObject(IsoAgLib::iVtObjectInputBoolean_c&, bool, bool)",
    "SetVtDisableObject(IsoAgLib::iVtObjectInputBoolean_c&, bool, bool)",
    "GetVtValue(IsoAgLib::iVtObjectNumberVariable_c&)",
    "GetVtValue(IsoAgLib::iVtObjectInputNumber_c&)",
    // VtTextSetters.cpp, VtTextSettersUtf16.cpp
    "SetVtObject(IsoAgLib::iVtObjectStringVariable_c&, std::string const&, bool)",
    "SetVtObject(IsoAgLib::iVtObjectInputString_c&, std::string const&, bool)",
    "SetVtObject(IsoAgLib::iVtObjectOutputString_c&, std::string const&, bool, bool)",
    "SetVtObjectUTF8(IsoAgLib::iVtObjectOutputString_c&, std::string const&, bool, bool)",
    "SetVtObjectUTF8(IsoAgLib::iVtObjectInputString_c&, std::string const&, bool)",
    "SetVtObjectUTF8(IsoAgLib::iVtObjectStringVariable_c&, std::string const&, bool)",
    "GetVtValue(IsoAgLib::iVtObjectOutputString_c&)",
    "GetVtValue(IsoAgLib::iVtObjectInputString_c&)",
    "GetVtValue(IsoAgLib::iVtObjectStringVariable_c&)",
};

// What the library exports of the family, sorted.
std::vector<std::string> exportedFamily() {
  const std::string longName = "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >";
  const Ending_s nm = runProgram({"nm", "-D", "-C", "--defined-only", ZEMO_LIBRARY});
  std::istringstream lines(nm.standardOutput);
  std::vector<std::string> names;
  for (std::string line; std::getline(lines, line);) {
    for (const char* begin : {" T SetVt", " T ShowVt", " T GetVt"}) {
      const std::size_t place = line.find(begin);
      if (place == std::string::npos) {
        continue;
      }
      std::string name = line.substr(place + 3);
      const std::size_t text = name.find(longName);
      names.push_back(text == std::string::npos ? name : name.replace(text, longName.size(), "std::string"));
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

} // namespace

TEST(VtSetterTable, HasEveryExportedFunctionOnce) {
  std::vector<std::string> tested = testedApart;
  for (const VtSetterRow_s& row : vtSetterRows()) {
    tested.push_back(row.function);
    EXPECT_LE(2U, row.values.size()) << row.function;
  }
  std::sort(tested.begin(), tested.end());
  EXPECT_EQ(exportedFamily(), tested);
}
