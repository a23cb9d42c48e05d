#include "DataStorage_c.h"

#include "Application.h"
#include "HostClock.h"
#include "HostFixture.h"

#include <cstring>
#include <memory>

using namespace TestSupport;
namespace Journal = IsoBusHost::Journal;

class DataStorage : public HostFixture {};

namespace {

class TellingStorage_c : public DataStorage_c {
public:
  TellingStorage_c() : DataStorage_c(0x80) {}
  ~TellingStorage_c() override { Journal::add("storage deleted"); }
};

} // namespace

TEST_F(DataStorage, LoadsThePreferredAddressGivenAtConstruction) {
  for (unsigned int sa = 0; sa <= 255; ++sa) {
    DataStorage_c storage(static_cast<uint8_t>(sa));
    EXPECT_EQ(sa, storage.loadSa());
  }
}

TEST_F(DataStorage, DoesNotKeepAnAddressThatIsStored) {
  DataStorage_c storage(0x80);
  storage.storeSa(0x91);
  EXPECT_EQ(0x80, storage.loadSa());
  storage.storeSa(254);
  EXPECT_EQ(0x80, storage.loadSa());
}

TEST_F(DataStorage, LeavesTheTroubleCodesAsTheStackGaveThem) {
  DataStorage_c storage(0x80);
  alignas(IsoAgLib::iDtcContainer_c) unsigned char memory[sizeof(IsoAgLib::iDtcContainer_c)];
  std::memset(memory, 0x5A, sizeof memory);
  auto& dtcs = reinterpret_cast<IsoAgLib::iDtcContainer_c&>(memory);
  storage.loadDtcs(dtcs);
  storage.storeDtcs(dtcs);
  for (const unsigned char byte : memory) {
    EXPECT_EQ(0x5A, byte);
  }
}

TEST_F(DataStorage, LeavesNameAndBootTimeOfThePreferredVtUntouched) {
  DataStorage_c storage(0x80);
  IsoAgLib::iIsoName_c name;
  uint8_t bootTime = 17;
  storage.loadPreferredVt(name, bootTime);
  EXPECT_EQ(nullptr, name.outputString());
  EXPECT_EQ(17, bootTime);
  name.set(true, 2, 7, 1, 0x82, 733, 123456, 3, 2);
  const uint64_t value = name.value();
  storage.loadPreferredVt(name, bootTime);
  EXPECT_EQ(value, name.value());
  EXPECT_EQ(17, bootTime);
}

TEST_F(DataStorage, DoesNotKeepAPreferredVtThatIsStored) {
  DataStorage_c storage(0x80);
  IsoAgLib::iIsoName_c stored;
  stored.set(true, 2, 7, 1, 0x82, 733, 123456, 3, 2);
  storage.storePreferredVt(stored, 17);
  IsoAgLib::iIsoName_c loaded;
  uint8_t bootTime = 3;
  storage.loadPreferredVt(loaded, bootTime);
  EXPECT_EQ(nullptr, loaded.outputString());
  EXPECT_EQ(3, bootTime);
}

TEST_F(DataStorage, AnswersThroughBothInterfacesOfTheStack) {
  DataStorage_c storage(0x91);
  IsoAgLib::iIdentDataStorage_c& identStorage = storage;
  IsoAgLib::iVtClientDataStorage_c& vtStorage = storage;
  IsoAgLib::iIsoName_c name;
  uint8_t bootTime = 17;
  vtStorage.storePreferredVt(name, 5);
  vtStorage.loadPreferredVt(name, bootTime);
  identStorage.storeSa(0x80);
  EXPECT_EQ(0x91, identStorage.loadSa());
  EXPECT_EQ(nullptr, name.outputString());
  EXPECT_EQ(17, bootTime);
}

TEST_F(DataStorage, TouchesNeitherStackNorConsole) {
  DataStorage_c storage(0x80);
  IsoAgLib::iDtcContainer_c dtcs;
  IsoAgLib::iIsoName_c name;
  uint8_t bootTime = 17;
  storage.storeSa(storage.loadSa());
  storage.loadDtcs(dtcs);
  storage.storeDtcs(dtcs);
  storage.loadPreferredVt(name, bootTime);
  storage.storePreferredVt(name, bootTime);
  EXPECT_EQ("", journalText());
}

TEST_F(DataStorage, RunsTheDestructorOfADerivedObject) {
  std::unique_ptr<DataStorage_c> storage = std::make_unique<TellingStorage_c>();
  storage.reset();
  EXPECT_EQ("storage deleted\n", journalText());
}

TEST_F(DataStorage, StillPrefersItsAddressAfterTheStackClaimedAnother) {
  __IsoAgLib::ZemoApp app;
  ASSERT_TRUE(initApplication(app, 0, false));
  std::string swIdentification = "other";
  ASSERT_TRUE(app.addIdentity(swIdentification, 0x80, 7, 2, 0x83, 3, 2, 0, true));
  for (int step = 0; step < 100; ++step) {
    IsoBusHost::HostClock::advanceMs(20);
    __IsoAgLib::getSchedulerInstance().runDueWork();
  }
  ASSERT_TRUE(app.getMyIdent(0)->isClaimedAddress());
  ASSERT_TRUE(app.getMyIdent(1)->isClaimedAddress());
  ASSERT_NE(app.getMyIdent(0)->nr(), app.getMyIdent(1)->nr());
  EXPECT_EQ(0x80, app.getDataStorage(0)->loadSa());
  EXPECT_EQ(0x80, app.getDataStorage(1)->loadSa());
}
