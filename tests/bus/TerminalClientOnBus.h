// A terminal on a wire, and clients that speak frames.
#pragma once

#include "BusText.h"
#include "TerminalPool.h"
#include "terminal/Terminal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace TerminalOnBus {

constexpr uint64_t nameOfTerminal = 0xA0001D005BA00001U;

// Client_s: a node of its own that says what the test says.
struct Client_s {
  Client_s(BusText::Wire_c& wire, uint64_t name, uint8_t address, std::vector<uint64_t> members = {}) : station(wire) {
    IsoBusHost::BusNode_c& node = station.node;
    node.setNetworkManagement(true);
    node.setRequests(true);
    node.setMultiReceive(true);
    node.setMultiSend(true);
    node.setWorkingSets(true);
    IsoBusHost::FunctionSettings_s settings;
    settings.name = name;
    settings.preferredAddress = address;
    settings.workingSetMembers = static_cast<int>(members.size());
    settings.memberNames = std::move(members);
    self = node.add(settings);
    node.onMessage([this](const IsoBusHost::IsoMessage_s& message) {
      if (message.pgn == 0xE600 && message.destination == self->address()) {
        heard.push_back(TerminalPool::withoutFill(message.data));
        whole.push_back(message.data);
      } else if (message.pgn == IsoBusHost::Pgn::acknowledgement) {
        heard.push_back("ack " + TerminalPool::hex(message.data));
      }
    });
  }

  // say: fills a short message up to 8 bytes.
  void say(const std::string& text) {
    TerminalPool::Bytes bytes = BusText::bytesOf(text);
    bytes.resize(std::max<std::size_t>(bytes.size(), 8), 0xFF);
    send(std::move(bytes));
  }

  void send(TerminalPool::Bytes bytes) {
    IsoBusHost::IsoMessage_s message;
    message.pgn = 0xE700;
    message.priority = 5;
    message.destination = 38;
    message.data = std::move(bytes);
    EXPECT_TRUE(station.node.send(*self, std::move(message)));
  }

  // take: what was heard since the last call, joined with " | ".
  std::string take() {
    std::string text;
    for (const std::string& message : heard) {
      text += (text.empty() ? "" : " | ") + message;
    }
    heard.clear();
    return text;
  }

  BusText::Station_s station;
  IsoBusHost::OwnFunction_c* self = nullptr;
  std::vector<std::string> heard;
  std::vector<TerminalPool::Bytes> whole;
};

class Fixture : public testing::Test {
protected:
  explicit Fixture(TerminalSettings_s settings = {}) : terminal(station.node, named(settings)) {
    terminal.onChange([this](const TerminalClient_s& client, const Change_s& change) {
      changes.push_back(change);
      changedClients.push_back(client);
    });
  }

  static TerminalSettings_s named(TerminalSettings_s settings) {
    settings.name = nameOfTerminal;
    return settings;
  }

  Client_s& addClient(uint64_t name, uint8_t address, std::vector<uint64_t> members = {}) {
    clients.push_back(std::make_unique<Client_s>(wire, name, address, std::move(members)));
    return *clients.back();
  }

  void settle() {
    for (bool isBusy = true; isBusy;) {
      terminal.poll();
      isBusy = station.node.port().hasPending() || terminal.nextDueMs() <= IsoBusHost::HostClock::nowMs();
      for (const auto& client : clients) {
        client->station.node.poll();
      }
      for (const auto& client : clients) {
        isBusy = isBusy || client->station.node.port().hasPending() ||
                 client->station.node.nextDueMs() <= IsoBusHost::HostClock::nowMs();
      }
      isBusy = isBusy || station.node.port().hasPending();
    }
  }

  void run(uint64_t milliseconds) {
    settle();
    for (; milliseconds > 0; --milliseconds) {
      IsoBusHost::HostClock::advanceMs(1);
      settle();
    }
  }

  // ask: what the client hears in answer.
  std::string ask(Client_s& client, const std::string& command) {
    client.take();
    client.say(command);
    settle();
    return client.take();
  }

  // begin: maintenance with the initiating bit.
  void begin(Client_s& client) {
    client.say("FF 01 04");
    settle();
  }

  void maintain() {
    for (const auto& client : clients) {
      client->say("FF 00 04");
    }
    settle();
  }

  // runMaintained: lets time pass while all clients do their maintenance each second.
  void runMaintained(uint64_t seconds) {
    for (; seconds > 0; --seconds) {
      maintain();
      run(1000);
    }
  }

  // load: transfers a pool and ends it; gives the answer.
  std::string load(Client_s& client, TerminalPool::Bytes pool) {
    pool.insert(pool.begin(), 0x11);
    client.send(std::move(pool));
    run(500);
    return ask(client, "12");
  }

  std::vector<std::string> statuses() {
    std::vector<std::string> found;
    for (const std::string& frame : wire.takeTimed()) {
      if (frame.find(" 1CE6FF26 FE") != std::string::npos) {
        found.push_back(frame);
      }
    }
    return found;
  }

  BusText::Wire_c wire;
  BusText::Station_s station{wire};
  Terminal_c terminal;
  std::vector<std::unique_ptr<Client_s>> clients;
  std::vector<Change_s> changes;
  std::vector<TerminalClient_s> changedClients;
};

} // namespace TerminalOnBus
