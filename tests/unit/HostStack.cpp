// The published interface of the host stack: what stands behind the singletons that the library calls.
#include "BusText.h"
#include "HostClock.h"
#include "HostFixture.h"
#include "IsoAgLib/isoaglib.h"

using namespace IsoBusHost;
using namespace __IsoAgLib;
using TestSupport::HostFixture;

namespace {

class Storage_c final : public IsoAgLib::iIdentDataStorage_c {
public:
  uint8_t loadSa() override { return preferred; }
  void storeSa(uint8_t sa) override { stored.push_back(sa); }
  void loadDtcs(IsoAgLib::iDtcContainer_c& /*dtcs*/) override { ++dtcsLoaded; }
  void storeDtcs(const IsoAgLib::iDtcContainer_c& /*dtcs*/) override { ++dtcsStored; }

  uint8_t preferred = 128;
  std::vector<uint8_t> stored;
  int dtcsLoaded = 0;
  int dtcsStored = 0;
};

class Observer_c final : public IsoAgLib::iErrorObserver_c {
public:
  void onError(const char* text) override { errors.emplace_back(text); }
  std::vector<std::string> errors;
};

IsoName_c nameWith(uint32_t identityNumber) {
  IsoName_c name;
  name.set(true, 2, 0, 0, 128, 733, identityNumber, 0, 0);
  return name;
}

class HostStack : public HostFixture {
protected:
  void SetUp() override {
    HostFixture::SetUp();
    HostClock::turnByHand();
    Host::observe([this](const std::string& bus, const CanFrame_s& frame, Direction_e direction, uint64_t) {
      if (direction == Direction_e::sent) {
        frames.push_back(bus + " " + BusText::textOf(frame));
      }
    });
  }

  void bringUp() {
    getSchedulerInstance().init(&observer);
    for (unsigned int instance = 0; instance < 2; ++instance) {
      ASSERT_TRUE(getCanInstance(instance).init(static_cast<unsigned char>(instance), 250));
      getIsoRequestPgnInstance(instance).init();
      getIsoMonitorInstance(instance).init();
      getMultiReceiveInstance(instance).init();
      getMultiSendInstance(instance).init();
    }
  }

  static void run(int milliseconds) {
    for (int elapsed = 0; elapsed <= milliseconds; ++elapsed) {
      getSchedulerInstance().runDueWork();
      HostClock::advanceMs(1);
    }
  }

  // claim: puts an item on the ISOBUS and lets it claim address 128.
  void claim(IdentItem_c& item) {
    item.init(nameWith(1), storage, -1, nullptr, true);
    ASSERT_TRUE(getIsoMonitorInstance(0).registerIdentItem(item));
    run(1000);
    ASSERT_TRUE(item.isClaimedAddress());
  }

  // ask: somebody else sends a frame on the ISOBUS.
  void ask(const std::string& frame) {
    openTransport("local:can0", error)->send(BusText::frameOf(frame));
    run(0);
  }

  std::vector<std::string> framesWith(const std::string& start) const {
    std::vector<std::string> found;
    for (const std::string& frame : frames) {
      if (frame.rfind(start, 0) == 0) {
        found.push_back(frame);
      }
    }
    return found;
  }

  Observer_c observer;
  Storage_c storage;
  std::vector<std::string> frames;
  std::string error; // of openTransport
};

TEST_F(HostStack, NameCutsFieldsToTheirPlaces) {
  IsoName_c name;
  name.set(false, 0xFF, 0xFF, 0xFF, 0xFF, 0xFFFF, 0xFFFFFFFFU, 0xFF, 0xFF);
  EXPECT_EQ(name.value(), 0x7FFEFFFFFFFFFFFFU);
  EXPECT_EQ(name.industryGroup(), 7);
  EXPECT_EQ(name.deviceClass(), 127);
  EXPECT_EQ(name.deviceClassInstance(), 15);
  EXPECT_EQ(name.function(), 255);
  EXPECT_EQ(name.manufacturerCode(), 2047);
  EXPECT_EQ(name.identityNumber(), 2097151U);
  EXPECT_EQ(name.functionInstance(), 31);
  EXPECT_EQ(name.ecuInstance(), 7);
  EXPECT_FALSE(name.selfConfigurable());
}

TEST_F(HostStack, NameHasNoBytesBeforeItIsSet) {
  const IsoName_c name;
  EXPECT_EQ(name.outputString(), nullptr);
  EXPECT_EQ(name.value(), 0U);
}

TEST_F(HostStack, MessageHoldsAtMostEightBytes) {
  const uint8_t bytes[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  const CanPkg_c message(0x18FEF180, bytes, 9);
  EXPECT_EQ(message.getLen(), 8);
  EXPECT_EQ(message[7], 8);
  EXPECT_EQ(message[8], 0);
  EXPECT_EQ(CanPkgExt_c(message, 1).isoSa(), 0x80);
  EXPECT_EQ(CanPkgExt_c(message, 1).instance(), 1);
}

TEST_F(HostStack, CanInstanceOutOfRangeCannotBeOpened) {
  getSchedulerInstance().init(&observer);
  EXPECT_FALSE(getCanInstance(3).init(0, 250));
  EXPECT_FALSE(getCanInstance(0).init(2, 250));
  EXPECT_EQ(observer.errors,
            std::vector<std::string>({"CAN instance 3: there is no bus 0", "CAN instance 0: there is no bus 2"}));
}

TEST_F(HostStack, BusThatFailsOnRequestSaysSoUntilItIsTakenBack) {
  Host::faults().canBusFails[0] = true;
  EXPECT_FALSE(getCanInstance(0).init(0, 250));
  EXPECT_EQ(Host::lastError(), "can0: fails on request");
  EXPECT_EQ(Host::port(0), nullptr);
  Host::faults().canBusFails[0] = false;
  EXPECT_TRUE(getCanInstance(0).init(0, 250));
  EXPECT_EQ(Host::lastError(), "");
}

TEST_F(HostStack, BusThatIsOpenStaysAsItIsWhenItIsOpenedAgain) {
  ASSERT_TRUE(getCanInstance(0).init(0, 250));
  const CanPort_c* port = Host::port(0);
  EXPECT_TRUE(getCanInstance(0).init(0, 250));
  EXPECT_EQ(Host::port(0), port);
}

TEST_F(HostStack, BusAddressComesFromTheCallThenTheEnvironmentThenTheProcess) {
  unsetenv("ZEMO_CAN1");
  EXPECT_EQ(Host::busAddress(1), "local:can1");
  setenv("ZEMO_CAN1", "local:elsewhere", 1);
  EXPECT_EQ(Host::busAddress(1), "local:elsewhere");
  Host::setBus(1, "local:here");
  EXPECT_EQ(Host::busAddress(1), "local:here");
  Host::setBus(1, "");
  EXPECT_EQ(Host::busAddress(1), "local:elsewhere");
  unsetenv("ZEMO_CAN1");
}

TEST_F(HostStack, BusWhoseAddressCannotBeReadDoesNotOpen) {
  Host::setBus(0, "carrier-pigeon:can0");
  EXPECT_FALSE(getCanInstance(0).init(0, 250));
  EXPECT_EQ(Host::lastError().rfind("can0: ", 0), 0U) << Host::lastError();
}

TEST_F(HostStack, ItemIsRegisteredOnceAndOnlyWithAMonitorThatIsUp) {
  IdentItem_c item;
  item.init(nameWith(1), storage, -1, nullptr, true);
  EXPECT_FALSE(getIsoMonitorInstance(0).registerIdentItem(item));
  bringUp();
  EXPECT_TRUE(getIsoMonitorInstance(0).registerIdentItem(item));
  EXPECT_FALSE(getIsoMonitorInstance(0).registerIdentItem(item));
  EXPECT_FALSE(getIsoMonitorInstance(1).registerIdentItem(item));
  EXPECT_FALSE(getIsoMonitorInstance(1).deregisterIdentItem(item));
  EXPECT_TRUE(getIsoMonitorInstance(0).deregisterIdentItem(item));
  EXPECT_FALSE(getIsoMonitorInstance(0).deregisterIdentItem(item));
  EXPECT_EQ(storage.dtcsLoaded, 1);
  EXPECT_EQ(storage.dtcsStored, 1);
}

TEST_F(HostStack, ItemWithoutANameOrOnAnUnknownInstanceIsNotRegistered) {
  bringUp();
  IdentItem_c nameless;
  EXPECT_FALSE(getIsoMonitorInstance(0).registerIdentItem(nameless));
  IdentItem_c item;
  item.init(nameWith(1), storage, -1, nullptr, true);
  EXPECT_FALSE(getIsoMonitorInstance(2).registerIdentItem(item));
  EXPECT_FALSE(getIsoMonitorInstance(4000000000U).registerIdentItem(item));
  Host::faults().refuseRegistration = true;
  EXPECT_FALSE(getIsoMonitorInstance(0).registerIdentItem(item));
}

TEST_F(HostStack, ItemOfANameThatIsThereAlreadyIsRegisteredAndStaysSilent) {
  bringUp();
  IdentItem_c first;
  IdentItem_c second;
  first.init(nameWith(1), storage, -1, nullptr, true);
  second.init(nameWith(1), storage, -1, nullptr, true);
  EXPECT_TRUE(getIsoMonitorInstance(0).registerIdentItem(first));
  EXPECT_TRUE(getIsoMonitorInstance(0).registerIdentItem(second));
  run(1000);
  EXPECT_TRUE(first.isClaimedAddress());
  EXPECT_FALSE(second.isClaimedAddress());
  EXPECT_EQ(second.nr(), 254);
  EXPECT_EQ(framesWith("can0 18EE").size(), 1U);
  EXPECT_TRUE(getIsoMonitorInstance(0).deregisterIdentItem(second));
}

TEST_F(HostStack, ItemThatShallNotClaimStaysSilent) {
  bringUp();
  IdentItem_c item;
  item.init(nameWith(1), storage, -1, nullptr, false);
  EXPECT_TRUE(getIsoMonitorInstance(0).registerIdentItem(item));
  run(1000);
  EXPECT_FALSE(item.isClaimedAddress());
  EXPECT_EQ(framesWith("can0 18EE").size(), 0U);
}

TEST_F(HostStack, ClaimedAddressIsToldToTheStorage) {
  bringUp();
  IdentItem_c item;
  item.init(nameWith(1), storage, -1, nullptr, true);
  getIsoMonitorInstance(1).registerIdentItem(item);
  run(1000);
  EXPECT_EQ(storage.stored, std::vector<uint8_t>({128}));
  EXPECT_EQ(item.nr(), 128);
  EXPECT_EQ(framesWith("can1 18EEFF80"), std::vector<std::string>({"can1 18EEFF80 01 00 A0 5B 00 80 00 A0"}));
  EXPECT_EQ(framesWith("can0 18EE").size(), 0U);
}

TEST_F(HostStack, ItemLeavesTheBusWithItsMonitorItsBusAndItsEnd) {
  bringUp();
  auto item = std::make_unique<IdentItem_c>();
  item->init(nameWith(1), storage, -1, nullptr, true);
  getIsoMonitorInstance(0).registerIdentItem(*item);
  run(1000);
  ASSERT_TRUE(item->isClaimedAddress());
  getIsoMonitorInstance(0).close();
  EXPECT_FALSE(item->isClaimedAddress());

  getIsoMonitorInstance(0).init();
  EXPECT_TRUE(getIsoMonitorInstance(0).registerIdentItem(*item));
  run(1000);
  ASSERT_TRUE(item->isClaimedAddress());
  getCanInstance(0).close();
  EXPECT_FALSE(item->isClaimedAddress());

  ASSERT_TRUE(getCanInstance(0).init(0, 250));
  getIsoMonitorInstance(0).init();
  EXPECT_TRUE(getIsoMonitorInstance(0).registerIdentItem(*item));
  run(1000);
  frames.clear();
  item.reset();
  auto asker = openTransport("local:can0", error);
  asker->send(BusText::frameOf("18EAFFFE 00 EE 00"));
  run(100);
  EXPECT_EQ(framesWith("can0 18EE").size(), 0U);
}

TEST_F(HostStack, WorkingSetMessagesFollowTheSwitchOfTheIdentityItems) {
  IdentItem_c::setUseWorkingSet(false);
  bringUp();
  IdentItem_c item;
  const IsoName_c members[] = {nameWith(11), nameWith(12)};
  item.init(nameWith(1), storage, 2, members, true);
  getIsoMonitorInstance(0).registerIdentItem(item);
  run(1000);
  EXPECT_EQ(framesWith("can0 1CFE0").size(), 0U);

  IdentItem_c::setUseWorkingSet(true);
  IdentItem_c::setUseWorkingSet(true);
  run(1000);
  EXPECT_EQ(framesWith("can0 1CFE0"),
            std::vector<std::string>({"can0 1CFE0D80 03 FF FF FF FF FF FF FF", "can0 1CFE0C80 0B 00 A0 5B 00 80 00 A0",
                                      "can0 1CFE0C80 0C 00 A0 5B 00 80 00 A0"}));
}

TEST_F(HostStack, RequestPeriodHoldsForBothInstancesAndForThoseThatComeUpLater) {
  IsoMonitor_c::setSARequestPeriod(2000);
  bringUp();
  run(6500);
  EXPECT_EQ(framesWith("can0 18EAFFFE 00 EE 00").size(), 4U);
  EXPECT_EQ(framesWith("can1 18EAFFFE 00 EE 00").size(), 4U);
  IsoMonitor_c::setSARequestPeriod(0);
  frames.clear();
  run(6500);
  EXPECT_EQ(frames.size(), 0U);
}

TEST_F(HostStack, TextOverItsFieldsLengthIsRefusedWholeAndTheOldOneStays) {
  bringUp();
  IdentItem_c item;
  const std::string full(200, 'x');
  const std::string tooLong(201, 'x');
  EXPECT_TRUE(item.setEcuIdentification(full.c_str(), "", "", "", "", ""));
  EXPECT_FALSE(item.setEcuIdentification("", "", "", "", "", tooLong.c_str()));
  EXPECT_TRUE(item.setProductIdentification("", "", std::string(50, 'x').c_str()));
  EXPECT_FALSE(item.setProductIdentification("", "", std::string(51, 'x').c_str()));
  EXPECT_TRUE(item.setSwIdentification((full + "*").c_str()));
  EXPECT_FALSE(item.setSwIdentification((tooLong + "*").c_str()));
  EXPECT_EQ(observer.errors.size(), 3U);
  claim(item);
  ask("18EAFFF9 C5 FD 00");
  EXPECT_EQ(framesWith("can0 1CEC"), std::vector<std::string>({"can0 1CECFF80 20 CE 00 1E FF C5 FD 00"})); // 206 bytes
}

TEST_F(HostStack, TextWithACharacterThatIsNotAllowedIsRefused) {
  IdentItem_c item;
  EXPECT_FALSE(item.setProductIdentification("a*b", "", ""));
  EXPECT_FALSE(item.setProductIdentification("a\nb", "", ""));
  EXPECT_FALSE(item.setProductIdentification("a\x7F", "", ""));
  EXPECT_FALSE(item.setProductIdentification("a\x9F", "", ""));
  EXPECT_TRUE(item.setProductIdentification("a\xA0\xFF ~", "", ""));
}

TEST_F(HostStack, SoftwareFieldsMustBeClosedAndFitIntoAMessage) {
  IdentItem_c item;
  EXPECT_FALSE(item.setSwIdentification(""));
  EXPECT_FALSE(item.setSwIdentification("open"));
  EXPECT_TRUE(item.setSwIdentification("closed*"));
  std::string fields;
  for (int count = 0; count < 8; ++count) {
    fields += std::string(200, 'x') + "*";
  }
  EXPECT_TRUE(item.setSwIdentification((fields + std::string(175, 'x') + "*").c_str()));
  EXPECT_FALSE(item.setSwIdentification((fields + std::string(176, 'x') + "*").c_str()));
  bringUp();
  claim(item);
  ask("18EAFFF9 DA FE 00");
  EXPECT_EQ(framesWith("can0 1CEC"), std::vector<std::string>({"can0 1CECFF80 20 F9 06 FF FF DA FE 00"})); // 1785 bytes
}

TEST_F(HostStack, SchedulerTellsWhenItIsNeededNext) {
  EXPECT_EQ(getSchedulerInstance().runDueWork(), 1000);
  bringUp();
  EXPECT_EQ(getSchedulerInstance().runDueWork(), 1000);
  IdentItem_c item;
  item.init(nameWith(1), storage, -1, nullptr, true);
  HostClock::advanceMs(1000); // the others had their time to answer: the claim goes out at once
  getIsoMonitorInstance(0).registerIdentItem(item);
  EXPECT_EQ(getSchedulerInstance().runDueWork(), 250);
  HostClock::advanceMs(249);
  EXPECT_EQ(getSchedulerInstance().runDueWork(), 1);
  EXPECT_FALSE(item.isClaimedAddress());
  HostClock::advanceMs(1);
  EXPECT_EQ(getSchedulerInstance().runDueWork(), 1000);
  EXPECT_TRUE(item.isClaimedAddress());
}

TEST_F(HostStack, SchedulerIsDueAtOnceWhenAFrameWaits) {
  bringUp();
  EXPECT_FALSE(getSchedulerInstance().waitForWork(1000));
  auto other = openTransport("local:can0", error);
  other->send(BusText::frameOf("18FEF180 01 02 03 04 05 06 07 08"));
  EXPECT_TRUE(getSchedulerInstance().waitForWork(1000));
  EXPECT_EQ(getSchedulerInstance().runDueWork(), 1000);
  EXPECT_FALSE(getSchedulerInstance().waitForWork(1000));
}

TEST_F(HostStack, FramesOfTheProprietaryBusAreTakenAndSeenByObservers) {
  getSchedulerInstance().init(nullptr);
  ASSERT_TRUE(IsoAgLib::getIProprietaryBusInstance(0).init(1, 250));
  auto other = openTransport("local:can1", error);
  other->send(BusText::frameOf("18FEF180 01 02 03 04 05 06 07 08"));
  getSchedulerInstance().runDueWork();
  EXPECT_EQ(Host::port(2)->framesReceived(), 1U);
  EXPECT_FALSE(getSchedulerInstance().waitForWork(0));
  EXPECT_EQ(frames.size(), 0U);
}

TEST_F(HostStack, ProprietaryBusOtherThanZeroCannotBeOpened) {
  EXPECT_FALSE(IsoAgLib::getIProprietaryBusInstance(1).init(1, 250));
}

TEST_F(HostStack, ServicesThatAreOnAreListedUntilTheyAreClosed) {
  getTcClientInstance(1).init();
  getTracPtoInstance(0).init();
  getVtClientInstance(0).init();
  EXPECT_EQ(Host::servicesOn(), std::vector<std::string>({"TcClient_c[1]", "TracPto_c[0]", "VtClient_c[0]"}));
  getTcClientInstance(1).close();
  getTracPtoInstance(0).close();
  getVtClientInstance(0).close();
  EXPECT_TRUE(Host::servicesOn().empty());
}

TEST_F(HostStack, ResetForgetsEverything) {
  bringUp();
  IdentItem_c item;
  item.init(nameWith(1), storage, -1, nullptr, true);
  getIsoMonitorInstance(0).registerIdentItem(item);
  Host::faults().refuseRegistration = true;
  Host::setBus(0, "local:x");
  Host::reset();
  EXPECT_EQ(Host::port(0), nullptr);
  EXPECT_EQ(Host::node(0), nullptr);
  EXPECT_TRUE(Host::servicesOn().empty());
  EXPECT_FALSE(Host::faults().refuseRegistration);
  EXPECT_FALSE(item.isClaimedAddress());
  Journal::clear();
  const IdentItem_c first;
  EXPECT_EQ(Journal::entries(), std::vector<std::string>({"ident 1: created"}));
}

} // namespace
