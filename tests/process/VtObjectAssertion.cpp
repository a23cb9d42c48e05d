#include "ChildProcess.h"
#include "HostFixture.h"

#include "IsoAgLib/vtobjects.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <iostream>

using namespace IsoAgLib;
using namespace TestSupport;
namespace Host = IsoBusHost::Host;

class VtObjectWithoutRecord : public HostFixture {};

TEST_F(VtObjectWithoutRecord, ReportsItsAssertionAndEndsTheProcess) {
  const Ending_s ending = runInChild([] { iVtObjectOutputNumber_c().getID(); });
  EXPECT_EQ(SIGABRT, ending.signal);
  EXPECT_EQ(std::string(program_invocation_short_name) +
                ": IsoAgLib/comm/Part6_VirtualTerminal_Client/impl/vtobject_c:0: "
                "IsoAgLib::iVtObject_s& __IsoAgLib::vtObject_c::get_vtObject_a(): Assertion `vtObject_a' failed.\n",
            ending.standardError);
  EXPECT_EQ("", ending.standardOutput);
  EXPECT_EQ("isoaglib_assert_callStart() = false\n", ending.journal);
}

TEST_F(VtObjectWithoutRecord, EndsTheProcessBeforeItSends) {
  IsoBusHost::Journal::setVtCalls(true);
  const Ending_s ending = runInChild([] { iVtObjectMeter_c().setValue(1, true, true); });
  EXPECT_EQ(SIGABRT, ending.signal);
  EXPECT_EQ("isoaglib_assert_callStart() = false\n", ending.journal);
}

TEST_F(VtObjectWithoutRecord, HasOneOfZeroesWhereTheAssertionIsWaived) {
  Host::faults().assertCallStart = [] { return true; };
  const Ending_s ending = runInChild([] {
    const iVtObjectInputNumber_c number;
    std::cout << number.getID() << " " << number.get_vtObjectInputNumber_a().maximum << " "
              << number.get_vtObjectInputNumber_a().scale;
  });
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("0 0 0", ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
  EXPECT_EQ("isoaglib_assert_callStart() = true\nisoaglib_assert_callStart() = true\n"
            "isoaglib_assert_callStart() = true\n",
            ending.journal);
}

TEST_F(VtObjectWithoutRecord, IsZeroedAnewForEveryUse) {
  Host::faults().assertCallStart = [] { return true; };
  const Ending_s ending = runInChild([] {
    const iVtObjectInputNumber_c number;
    number.get_vtObjectInputNumber_a().options2 = 1;
    number.get_vtObjectInputNumber_a().object.ID = 5;
    std::cout << int{number.get_vtObjectInputNumber_a().options2} << " " << number.getID();
  });
  EXPECT_EQ("0 0", ending.standardOutput);
}

namespace {

template <class Object_c>
bool isWritableWhole() {
  const Object_c object;
  auto& record = object.record();
  std::memset(&record, 0xFF, sizeof record);
  const auto address = reinterpret_cast<std::uintptr_t>(&record);
  return address % alignof(decltype(record)) == 0;
}

} // namespace

// Under a sanitizer a record that is too small is told.
TEST_F(VtObjectWithoutRecord, HasRoomForARecordOfEveryType) {
  Host::faults().assertCallStart = [] { return true; };
  const Ending_s ending = runInChild([] {
    std::cout << (isWritableWhole<iVtObjectWorkingSet_c>() && isWritableWhole<iVtObjectDataMask_c>() &&
                  isWritableWhole<iVtObjectContainer_c>() && isWritableWhole<iVtObjectSoftKeyMask_c>() &&
                  isWritableWhole<iVtObjectKey_c>() && isWritableWhole<iVtObjectInputBoolean_c>() &&
                  isWritableWhole<iVtObjectInputString_c>() && isWritableWhole<iVtObjectInputNumber_c>() &&
                  isWritableWhole<iVtObjectInputList_c>() && isWritableWhole<iVtObjectOutputString_c>() &&
                  isWritableWhole<iVtObjectOutputNumber_c>() && isWritableWhole<iVtObjectOutputList_c>() &&
                  isWritableWhole<iVtObjectRectangle_c>() && isWritableWhole<iVtObjectPolygon_c>() &&
                  isWritableWhole<iVtObjectMeter_c>() && isWritableWhole<iVtObjectLinearBarGraph_c>() &&
                  isWritableWhole<iVtObjectNumberVariable_c>() && isWritableWhole<iVtObjectStringVariable_c>() &&
                  isWritableWhole<iVtObjectFontAttributes_c>() && isWritableWhole<iVtObjectLineAttributes_c>() &&
                  isWritableWhole<iVtObjectFillAttributes_c>() && isWritableWhole<iVtObjectObjectPointer_c>());
  });
  EXPECT_EQ(0, ending.exitStatus) << ending.standardError;
  EXPECT_EQ("1", ending.standardOutput);
}

TEST_F(VtObjectWithoutRecord, IsChangedWithoutHarmWhereTheAssertionIsWaived) {
  Host::faults().assertCallStart = [] { return true; };
  const Ending_s ending = runInChild([] {
    iVtObjectInputNumber_c number;
    number.setValue(5, true, true);
    number.able(1, true, false);
    number.saveValue32SetAttribute(ISOAGLIB_FIELD_POSITION(iVtObjectInputNumber_s, offset),
                                   sizeof(iVtObjectInputNumber_s), 9, 1, false);
    iVtObjectInputString_c string;
    string.setValueCopy("text", true, false);
    iVtObjectInputList_c list;
    std::cout << list.setItem(0, &number, true) << (list.getListItem(0) == nullptr);
  });
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("01", ending.standardOutput);
  EXPECT_EQ("", ending.standardError);
}

TEST_F(VtObjectWithoutRecord, AsksNobodyOnceItHasOne) {
  iVtObjectKey_c key;
  iVtObjectKey_s record{};
  record.object.ID = 9;
  key.init(&record);
  EXPECT_EQ(9, key.getID());
  EXPECT_EQ("", journalText());
}

TEST_F(VtObjectWithoutRecord, GoesOnWithARecordThatTheHookGaveIt) {
  const Ending_s ending = runInChild([] {
    iVtObjectKey_c key;
    iVtObjectKey_s record{};
    record.object.ID = 9;
    Host::faults().assertCallStart = [&] {
      key.init(&record);
      return false;
    };
    std::cout << key.getID();
  });
  EXPECT_EQ(0, ending.exitStatus);
  EXPECT_EQ("9", ending.standardOutput);
  EXPECT_EQ("isoaglib_assert_callStart() = false\nisoaglib_assert_callFinish()\n", ending.journal);
}
