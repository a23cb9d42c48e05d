// What the host stack and the application frame cost: frames per second on one core, the way from init to the last
// frame sent, memory for each control function. The peers are the same frames without a node, and a bare stack.
#include "BusNode.h"
#include "Host.h"
#include "HostClock.h"
#include "Journal.h"

#include <ZemoApp.h>

#include <benchmark/benchmark.h>
#include <malloc.h>

using namespace IsoBusHost;

namespace {

constexpr int framesPerRound = 1000;
constexpr uint8_t ownAddress = 128;
constexpr uint8_t peerAddress = 249;

std::unique_ptr<CanTransport_c> openLocal() {
  std::string error;
  return openTransport("local:benchmark", error);
}

CanFrame_s makeFrame(uint32_t identifier, std::array<uint8_t, 8> data, uint8_t length) {
  CanFrame_s frame;
  frame.identifier = identifier;
  frame.length = length;
  frame.data = data;
  return frame;
}

// A node with one claimed control function that answers requests for its certification in one frame.
struct ClaimedNode_s {
  ClaimedNode_s() : port(openLocal()), node(port) {
    node.setNetworkManagement(true);
    node.setRequests(true);
    node.setMultiReceive(true);
    node.setMultiSend(true);
    FunctionSettings_s settings;
    settings.name = 0xA000000000000001U;
    settings.preferredAddress = ownAddress;
    settings.answer = [](uint32_t) { return std::vector<uint8_t>(8, 0); };
    function = node.add(settings);
    for (int step = 0; step < 2000 && function->state() != ClaimState_e::claimed; ++step) {
      node.poll();
      HostClock::advanceMs(1);
    }
  }

  CanPort_c port;
  BusNode_c node;
  OwnFunction_c* function = nullptr;
};

void drain(CanTransport_c& transport) {
  while (transport.receive()) {
  }
}

// The peer: the same frames through the same bus, taken out of the port and looked at by nobody.
void framesThroughBareBus(benchmark::State& state) {
  auto sender = openLocal();
  CanPort_c port(openLocal());
  const CanFrame_s frame = makeFrame(0x0CFE4800U | peerAddress, {1, 2, 3, 4, 5, 6, 7, 8}, 8);
  for (auto _ : state) {
    for (int count = 0; count < framesPerRound; ++count) {
      sender->send(frame);
    }
    while (port.receive()) {
    }
  }
  state.SetItemsProcessed(state.iterations() * framesPerRound);
}
BENCHMARK(framesThroughBareBus);

void framesThroughNode(benchmark::State& state) {
  HostClock::turnByHand();
  auto sender = openLocal();
  ClaimedNode_s own;
  const CanFrame_s frame = makeFrame(0x0CFE4800U | peerAddress, {1, 2, 3, 4, 5, 6, 7, 8}, 8);
  for (auto _ : state) {
    for (int count = 0; count < framesPerRound; ++count) {
      sender->send(frame);
    }
    own.node.poll(framesPerRound);
  }
  state.SetItemsProcessed(state.iterations() * framesPerRound);
}
BENCHMARK(framesThroughNode);

void requestsAnsweredByNode(benchmark::State& state) {
  HostClock::turnByHand();
  auto sender = openLocal();
  ClaimedNode_s own;
  const CanFrame_s request = makeFrame(0x18EA8000U | peerAddress, {0x42, 0xFD, 0x00}, 3);
  for (auto _ : state) {
    sender->send(request);
    own.node.poll();
    drain(*sender);
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(requestsAnsweredByNode);

// A message of 1785 bytes from one node to another by RTS/CTS: 255 packets and their management.
void longestMessageBetweenNodes(benchmark::State& state) {
  HostClock::turnByHand();
  ClaimedNode_s own;
  CanPort_c port(openLocal());
  BusNode_c other(port);
  other.setNetworkManagement(true);
  other.setMultiReceive(true);
  other.setMultiSend(true);
  FunctionSettings_s settings;
  settings.name = 0xA000000000000002U;
  settings.preferredAddress = peerAddress;
  OwnFunction_c* function = other.add(settings);
  for (int step = 0; step < 2000 && function->state() != ClaimState_e::claimed; ++step) {
    own.node.poll();
    other.poll();
    HostClock::advanceMs(1);
  }
  IsoMessage_s message;
  message.pgn = 0xEF00;
  message.destination = ownAddress;
  message.data.assign(TransportProtocol_c::maxBytes, 0x5A);
  for (auto _ : state) {
    bool isDone = false;
    other.send(*function, message, [&isDone](bool) { isDone = true; });
    while (!isDone) {
      other.poll();
      own.node.poll();
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(TransportProtocol_c::maxBytes));
}
BENCHMARK(longestMessageBetweenNodes);

void openFrame(__IsoAgLib::ZemoApp& app, int controlFunctions) {
  std::string software = "Benchmark-1.0";
  app.init(__IsoAgLib::ZemoAppVtClient, software, ownAddress, 0, 0, ownAddress, 0, 0, 0, true, false);
  for (int index = 1; index < controlFunctions; ++index) {
    app.addIdentity(software, static_cast<unsigned char>(ownAddress + index), 0, 0, ownAddress,
                    static_cast<unsigned char>(index % 32), static_cast<unsigned char>(index / 32), 0, true);
  }
}

// From the first call of init until every claim and working-set message of the start is on the bus. The clock is
// turned by hand: what is measured is work, not waiting.
void initToLastFrameSent(benchmark::State& state) {
  HostClock::turnByHand();
  for (auto _ : state) {
    {
      __IsoAgLib::ZemoApp app;
      openFrame(app, 1);
      while (!app.getMyIdent(0)->isClaimedAddress()) {
        __IsoAgLib::getSchedulerInstance().runDueWork();
        HostClock::advanceMs(1);
      }
      app.close();
    }
    state.PauseTiming();
    Host::reset();
    Journal::clear();
    state.ResumeTiming();
  }
}
BENCHMARK(initToLastFrameSent)->Unit(benchmark::kMicrosecond);

// The heap that an application with so many control functions holds once all have claimed.
void heapOfControlFunctions(benchmark::State& state) {
  HostClock::turnByHand();
  const auto controlFunctions = static_cast<int>(state.range(0));
  std::size_t heapBytes = 0;
  for (auto _ : state) {
    const std::size_t before = mallinfo2().uordblks;
    {
      __IsoAgLib::ZemoApp app;
      openFrame(app, controlFunctions);
      for (int step = 0; step < 1000; ++step) {
        __IsoAgLib::getSchedulerInstance().runDueWork();
        HostClock::advanceMs(1);
      }
      Journal::clear();
      heapBytes = mallinfo2().uordblks - before;
      app.close();
    }
    Host::reset();
    Journal::clear();
  }
  state.counters["heap_bytes"] = static_cast<double>(heapBytes);
}
BENCHMARK(heapOfControlFunctions)->Arg(1)->Arg(8)->Arg(32)->Iterations(1);

} // namespace
