#include "Allocations.h"
#include "IsoAgLib/vtobjects.h"
#include "Journal.h"

#include <gtest/gtest.h>
#include <string>

using namespace IsoAgLib;
using namespace TestSupport;

namespace {

// An object of every kind of change, in no pool.
struct Screen_s {
  iVtObjectWorkingSet_s workingSetRecord{};
  iVtObjectWorkingSet_c workingSet;
  iVtObjectDataMask_s maskRecord{};
  iVtObjectDataMask_c mask;
  iVtObjectContainer_s containerRecord{};
  iVtObjectContainer_c container;
  iVtObjectOutputNumber_s numberRecord{};
  iVtObjectOutputNumber_c number;
  iVtObjectInputList_s listRecord{};
  iVtObjectInputList_c list;
  iVtObject_c* items[1] = {nullptr};
  iVtObjectOutputString_s stringRecord{};
  iVtObjectOutputString_c string;
  char storage[301] = {};

  Screen_s() {
    workingSet.init(&workingSetRecord);
    mask.init(&maskRecord);
    container.init(&containerRecord);
    number.init(&numberRecord);
    listRecord.numberOfItems = 1;
    listRecord.items = items;
    list.init(&listRecord);
    stringRecord.length = 300;
    stringRecord.value = storage;
    string.init(&stringRecord);
  }

  void changeAll(const std::string& text) {
    workingSet.changeActiveMask(&mask, true, false);
    mask.setSoftKeyMask(nullptr, true, false);
    container.hideShow(0, true, false);
    number.setValue(1, true, true);
    number.saveValueFloatSetAttribute(ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, scale),
                                      sizeof(iVtObjectOutputNumber_s), 8, 0.1F, false);
    number.saveValuePSetAttribute(ISOAGLIB_FIELD_POSITION(iVtObjectOutputNumber_s, fontAttributes),
                                  sizeof(iVtObjectOutputNumber_s), 4, nullptr, false);
    list.able(1, true, false);
    list.setItem(0, &string, true);
    string.setValueCopy(text.c_str(), true, false);
    string.setValueCopyUTF16(text.data(), static_cast<uint16_t>(text.size()), true, false);
  }
};

} // namespace

TEST(VtObjectChange, TakesNothingFromTheHeapWhileTheJournalTakesNoVtCalls) {
  if (!areAllocationsSeen()) {
    GTEST_SKIP() << "the sanitizer has a heap of its own";
  }
  Screen_s screen;
  const std::string text(300, 'x');
  screen.changeAll(text); // with the first change the VT client comes into being
  const Allocations_c allocations;
  screen.changeAll(text);
  EXPECT_EQ(0, allocations.taken());
}

TEST(VtObjectChange, TakesFromTheHeapWhatTheJournalKeeps) {
  if (!areAllocationsSeen()) {
    GTEST_SKIP() << "the sanitizer has a heap of its own";
  }
  Screen_s screen;
  const std::string text(300, 'x');
  IsoBusHost::Journal::setVtCalls(true);
  const Allocations_c allocations;
  screen.changeAll(text);
  EXPECT_LT(0, allocations.taken());
  IsoBusHost::Journal::setVtCalls(false);
}
