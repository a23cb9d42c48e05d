// Stations on a wire that claim addresses, and NAMEs for them.
#pragma once

#include "BusText.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace BusText {

// NAMEs in order of their priority, all with RTxD 0. The fixed ones cannot take another address.
const std::string first = "02 00 00 00 00 5E 00 A0";
const std::string second = "01 00 00 00 00 5F 00 A0";
const std::string third = "00 00 00 00 00 60 00 A0";
const std::string fixedFirst = "02 00 00 00 00 DE 00 20";
const std::string fixedSecond = "01 00 00 00 00 DF 00 20";

inline IsoBusHost::FunctionSettings_s settingsOf(const std::string& name, uint8_t address) {
  IsoBusHost::FunctionSettings_s settings;
  settings.name = nameOf(name);
  settings.preferredAddress = address;
  return settings;
}

// claimOf: an address claimed, or with address FE a cannot claim.
inline std::string claimOf(const std::string& address, const std::string& name) {
  return "18EEFF" + address + " " + name;
}

class WireFixture : public testing::Test {
protected:
  // start: brings a station on the wire; its functions claim 250 ms later.
  void start(Station_s& starter) {
    starter.node.setNetworkManagement(true);
    nodes.push_back(&starter.node);
  }

  IsoBusHost::OwnFunction_c* add(Station_s& owner, const std::string& name, uint8_t address) {
    return owner.node.add(settingsOf(name, address));
  }

  // settleIn: lets time pass until everybody who is there has claimed, and forgets what was sent.
  void settleIn() {
    run(1000);
    wire.take();
  }

  void settle() { Stations_c(nodes).settle(); }
  void run(uint64_t milliseconds) { Stations_c(nodes).run(milliseconds); }
  void say(const std::string& frame) {
    wire.say(frame);
    settle();
  }

  Wire_c wire;
  std::vector<IsoBusHost::BusNode_c*> nodes;
  Station_s station{wire};
  IsoBusHost::BusNode_c& node = station.node;
};

} // namespace BusText
